#!/usr/bin/env python3
"""Programs and commands in a Markdown document.

    document.py extract DOCUMENT PROGRAM.cpp    writes its programs: PROGRAM.cpp, PROGRAM_2.cpp and so on
    document.py run DOCUMENT [options]          runs everything in the order of the document

A block of the language cpp is a complete program, and the next block of the language text is what it
prints. A block of the language console has commands after "$ ", each followed by what it prints. The commands of a block of the
language sh are not run, but their scripts and presets must exist. All other blocks are text.
"""

import argparse
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

TIME_LIMIT = 60


class Block(NamedTuple):
    language: str
    text: str
    line: int


def blocks_of(document: Path) -> list[Block]:
    text = document.read_text(encoding="utf-8")
    return [
        Block(match[1], match[2], text.count("\n", 0, match.start()) + 1)
        for match in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
    ]


def programs_of(document: Path) -> list[str]:
    return [block.text for block in blocks_of(document) if block.language == "cpp"]


def extract(document: Path, program: Path) -> None:
    paths = [program, *(program.with_stem(f"{program.stem}_{number}") for number in range(2, 10))]
    programs = programs_of(document)
    for path, text in zip(paths, programs):
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            path.write_text(text, encoding="utf-8")
    for path in paths[len(programs):]:
        path.unlink(missing_ok=True)


class Runner:
    def __init__(self, options: argparse.Namespace):
        self.options = options
        self.failures = 0
        self.compared = 0
        folder = tempfile.TemporaryDirectory()
        self.folder = folder  # until the runner goes
        self.environment = dict(os.environ, LC_ALL="C.UTF-8")
        self.make_tree(Path(folder.name))

    def make_tree(self, tree: Path) -> None:
        """What the commands find in the current directory: links to the sources, the tool on the path."""
        for name in "docs", "include", "tests", "tools":
            (tree / name).symlink_to(self.options.source / name)
        (tree / "build").mkdir()
        (tree / "build" / "native").symlink_to(self.options.build)
        commands = tree / "commands"
        commands.mkdir()
        (commands / "derkit").symlink_to(self.options.tool)
        self.environment["PATH"] = f"{commands}:{self.environment['PATH']}"
        if self.options.program:
            (tree / "example.cpp").write_text(programs_of(self.options.document)[0], encoding="utf-8")

    def fail(self, line: int, message: str) -> None:
        self.failures += 1
        print(f"{self.options.document}:{line}: {message}")

    def compare(self, line: int, what: str, command, expected: str, shell: bool) -> None:
        done = subprocess.run(
            command, shell=shell, cwd=self.folder.name, env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=TIME_LIMIT
        )
        self.compared += 1
        got = done.stdout.decode(errors="backslashreplace")
        if done.returncode != 0 or got != expected:
            self.fail(line, f"{what}: exit status {done.returncode}\nexpected: {expected!r}\ngot:      {got!r}")

    def run_console(self, block: Block) -> None:
        if self.options.without_gcrypt and re.search(r"derkit (key|p12)", block.text):
            return
        for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block.text, re.MULTILINE):
            if command.startswith("g++ ") and not self.options.native:
                continue
            self.compare(block.line, command, command, expected, shell=True)

    def check_command(self, line: int, words: list[str]) -> None:
        """Of commands that install packages or build everything, only checks that they exist."""
        source = self.options.source
        if words[0].startswith("scripts/"):
            good = os.access(source / words[0], os.X_OK)
            good = good and subprocess.run(["bash", "-n", source / words[0]]).returncode == 0
        elif "--preset" in words:
            presets = json.loads((source / "CMakePresets.json").read_text())
            kind = "test" if words[0] == "ctest" else "build" if "--build" in words else "configure"
            name = words[words.index("--preset") + 1]
            good = any(preset["name"] == name for preset in presets[kind + "Presets"])
        else:
            good = False
        self.compared += 1
        if not good:
            self.fail(line, f"no script and no preset: {shlex.join(words)}")

    def check_links(self) -> None:
        """To files of the tree."""
        text = self.options.document.read_text(encoding="utf-8")
        for match in re.finditer(r"\]\((?!https?:|#)([^)#]+)[^)]*\)", text):
            if not (self.options.document.parent / match[1]).exists():
                self.fail(text.count("\n", 0, match.start()) + 1, f"no such file: {match[1]}")

    def run(self) -> int:
        self.check_links()
        program_line = 0
        programs = iter(self.options.program)
        for block in blocks_of(self.options.document):
            if block.language == "cpp":
                program_line = block.line
            elif block.language == "text" and program_line:
                if (program := next(programs, "none")) != "none":
                    self.compare(program_line, "the program", [program], block.text, shell=False)
                program_line = 0
            elif block.language == "console":
                self.run_console(block)
            elif block.language == "sh":
                for command in block.text.splitlines():
                    self.check_command(block.line, shlex.split(command, comments=True) or [""])
        if program_line:
            self.fail(program_line, "the program has no block that says what it prints")
        print(f"{self.compared} programs and commands, {self.failures} failures")
        return 1 if self.failures else 0


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    modes = parser.add_subparsers(dest="mode", required=True)
    extracting = modes.add_parser("extract")
    extracting.add_argument("document", type=Path)
    extracting.add_argument("program", type=Path)
    running = modes.add_parser("run")
    running.add_argument("document", type=Path)
    running.add_argument("--source", type=Path, required=True)
    running.add_argument("--build", type=Path, required=True)
    running.add_argument("--tool", type=Path, required=True)
    running.add_argument("--program", action="append", default=[], help="in the document's order; none: not built")
    running.add_argument("--without-gcrypt", action="store_true", help="the tool has no key and p12")
    running.add_argument("--native", action="store_true", help="g++ as it stands can link with the build")
    options = parser.parse_args()
    if options.mode == "extract":
        extract(options.document, options.program)
        return 0
    return Runner(options).run()


if __name__ == "__main__":
    sys.exit(main())
