"""Runs the tool over every file of the folder that DERKIT_TEST_CORPUS names.

Any file may stand there. The tool must read it or refuse it with a line that names it, within a second.
"""

import os
import pathlib
import subprocess
import sys

SKIPPED = 77
MAX_SECONDS = 1.0
SANITIZER_WORDS = (b"Sanitizer", b"runtime error:")


def cpu_seconds(before, after):
    return after.children_user + after.children_system - before.children_user - before.children_system


def fault_of(tool, path):
    """What is wrong with how the tool takes this file, or None."""
    before = os.times()
    run = subprocess.run([tool, "cert", "--round-trip", path], capture_output=True, timeout=60)
    seconds = cpu_seconds(before, os.times())
    if run.returncode not in (0, 1):
        return f"exit status {run.returncode}"
    if any(word in run.stderr for word in SANITIZER_WORDS):
        return run.stderr.decode(errors="replace")
    if run.returncode == 1 and os.fsencode(path) not in run.stderr:
        return f"refused without its name: {run.stderr!r}"
    if seconds > MAX_SECONDS:
        return f"took {seconds:.1f} seconds"
    return None


def main():
    corpus = os.environ.get("DERKIT_TEST_CORPUS")
    if corpus is None:
        print("DERKIT_TEST_CORPUS is not set")
        return SKIPPED
    files = sorted(path for path in pathlib.Path(corpus).rglob("*") if path.is_file())
    num_faults = 0
    for path in files:
        fault = fault_of(sys.argv[1], str(path))
        if fault is not None:
            num_faults += 1
            print(f"FAILED: {path}: {fault}")
    print(f"{len(files)} files, {num_faults} failures")
    return 0 if files and num_faults == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
