"""Runs the tool over every file of the folder that DERKIT_TEST_CORPUS names.

Any file may be there. The tool must read it, or refuse it with a message that names it, within a second.
"""

import os
import pathlib
import subprocess
import sys

SKIPPED = 77
MAX_FILES = 64  # a run
MAX_SECONDS = 1.0
SANITIZER_WORDS = (b"Sanitizer", b"runtime error:")


def child_seconds():
    times = os.times()
    return times.children_user + times.children_system


def names_of(run, path):
    """Whether the run shows the file, or names it in a message."""
    path = os.fsencode(path)
    return path + b": " in run.stdout + run.stderr or b"==> " + path + b" <==" in run.stdout


def fault_of(tool, paths, max_seconds=MAX_SECONDS):
    """Returns what the tool does wrong with these files, or None."""
    before = child_seconds()
    run = subprocess.run([tool, "cert", "--round-trip", *paths], capture_output=True, timeout=60 * len(paths))
    seconds = child_seconds() - before
    if run.returncode not in (0, 1):
        return f"exit status {run.returncode}"
    if any(word in run.stderr for word in SANITIZER_WORDS):
        return run.stderr.decode(errors="replace")
    if len(paths) == 1 and run.returncode == 1 and not names_of(run, paths[0]):
        return f"refused without its name: {run.stderr!r}"
    silent = [path for path in paths if len(paths) > 1 and not names_of(run, path)]
    if silent:
        return f"neither shown nor refused: {silent}"
    if seconds > max_seconds:
        return f"took {seconds:.1f} seconds"
    return None


def faults_of(tool, paths):
    """Yields (path, fault); files that are at fault together, or take a second together, are run one by one."""
    for start in range(0, len(paths), MAX_FILES):
        group = paths[start : start + MAX_FILES]
        if fault_of(tool, group) is None:
            continue
        alone = [(path, fault) for path in group if (fault := fault_of(tool, [path])) is not None]
        yield from alone
        if not alone and (fault := fault_of(tool, group, MAX_SECONDS * len(group))) is not None:
            yield f"{group[0]} and those after it, together", fault


def main():
    corpus = os.environ.get("DERKIT_TEST_CORPUS")
    if corpus is None:
        print("DERKIT_TEST_CORPUS is not set")
        return SKIPPED
    files = sorted(str(path) for path in pathlib.Path(corpus).rglob("*") if path.is_file())
    faults = list(faults_of(sys.argv[1], files))
    for path, fault in faults:
        print(f"FAILED: {path}: {fault}")
    print(f"{len(files)} files, {len(faults)} failures")
    return 0 if files and not faults else 1


if __name__ == "__main__":
    sys.exit(main())
