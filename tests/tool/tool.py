"""Runs the command-line tool for its tests and compares what it writes. DERKIT_TOOL names it.

With DERKIT_FEW_CASES set, a test takes only some of many like cases: enough for a build that watches memory or tries
another compiler.
"""

import fcntl
import json
import os
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile
import termios
import time
import unittest
from pathlib import Path
from typing import NamedTuple

sys.path[:0] = [str(Path(__file__).parents[1] / folder) for folder in ("data", "support")]
import output_schema
import vectors  # for tests that share cases with the library's own

TOOL = os.environ["DERKIT_TOOL"]
COMMAND = [TOOL]
FEW_CASES = bool(os.environ.get("DERKIT_FEW_CASES"))
TIME_LIMIT = 60  # in seconds; no run comes near it unless something is quadratic

# Controls, bidirectional controls, line and paragraph separators.
NOT_SHOWN = re.compile("[\x00-\x1f\x7f-\x9f\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069\u2028\u2029]")

only_with_all_cases = unittest.skipIf(FEW_CASES, "DERKIT_FEW_CASES is set")


def thin(cases, step=16):
    """Returns all cases; where few will do every `step`th and the last one."""
    cases = list(cases)
    return [*cases[:-1:step], *cases[-1:]] if FEW_CASES else cases


class Run(NamedTuple):
    status: int
    out: bytes
    errors: list  # lines of standard error

    @property
    def text(self):
        return self.out.decode()


def run(*arguments, stdin=b"", env={}, stdout=subprocess.PIPE, **options):
    """Runs the tool without a terminal. All JSON that it writes is held against its schema."""
    done = subprocess.run(
        [*COMMAND, *map(str, arguments)], input=stdin, stdout=stdout, stderr=subprocess.PIPE, timeout=TIME_LIMIT,
        start_new_session=True, env=os.environ | env, **options,
    )
    if "--json" in arguments and done.stdout and done.returncode in (0, 1):
        output_schema.check_output(done.stdout.decode())
    return Run(done.returncode, done.stdout, done.stderr.decode().splitlines())


def shown(octets, specials=""):
    """Returns text as the tool shows it, given its UTF-8 octets; special characters have a backslash in front."""

    def show(character):
        if 0xDC80 <= ord(character) <= 0xDCFF:  # an octet that Python's decoder refused
            return f"\\{ord(character) - 0xDC00:02X}"
        if NOT_SHOWN.match(character):
            return "".join(f"\\{byte:02X}" for byte in character.encode())
        return "\\" + character if character in specials else character

    return "".join(map(show, octets.decode("utf-8", "surrogateescape")))


def fields(text):
    """Returns the "key: value" lines of one object, without its lists."""
    lines = [line for line in text.splitlines() if not line.startswith(("- ", "  ")) and not line.endswith(":")]
    return dict(line.split(": ", 1) for line in lines)


def objects(text):
    """Returns the JSON objects, one a line."""
    return list(map(json.loads, text.splitlines()))


def without_place(found):
    """Returns an object without what all objects have."""
    return {key: value for key, value in found.items() if key not in ("format", "object", "file", "index")}


def lines_with_places(text, path):
    """Returns the lines of all objects, each after its place in the file."""
    blocks = [block.splitlines() for block in text.split("\n\n")]
    places = [block[0].removeprefix(f"==> {path}: ").removesuffix(" <==") for block in blocks]
    return [f"{place}: {line}" for place, block in zip(places, blocks) for line in block[1:]]


def as_text(facts):
    """Returns the lines of the values of an object, as the tool shows them without --json."""
    yes_or_no = {False: "no", True: "yes"}
    return [f"{key}: {yes_or_no[value] if isinstance(value, bool) else value}" for key, value in facts.items()]


class ToolTest(unittest.TestCase):
    maxDiff = None
    COMMAND = ()  # precedes the arguments of every run

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def file(self, name, data=b""):
        path = self.folder / name
        path.write_bytes(data.encode() if isinstance(data, str) else data)
        return path

    def tool(self, *arguments, **how):
        return run(*self.COMMAND, *arguments, **how)

    def succeeds(self, *arguments, **how):
        """Returns the standard output of a run without messages."""
        done = self.tool(*arguments, **how)
        self.assertEqual((done.status, done.errors), (0, []), arguments)
        return done.text

    def shows(self, *arguments, **how):
        """Returns the fields that a run without messages shows."""
        return fields(self.succeeds(*arguments, **how))

    def objects(self, *arguments, **how):
        """Returns the JSON objects of a run without messages."""
        return objects(self.succeeds(*arguments, "--json", **how))

    def facts(self, *arguments, **how):
        """The same without what all objects have."""
        return list(map(without_place, self.objects(*arguments, **how)))

    def fails(self, *arguments, status=1, **how):
        """Returns the one message, without its "derkit: ", of a run that writes nothing else."""
        done = self.tool(*arguments, **how)
        self.assertEqual((done.status, done.out, len(done.errors)), (status, b"", 1), (arguments, done.errors))
        self.assertTrue(done.errors[0].startswith("derkit: "), done.errors)
        return done.errors[0].removeprefix("derkit: ")

    def check_failures(self, cases, status=1, **how):
        """Each case is (arguments, message)."""
        for arguments, message in cases:
            with self.subTest(arguments):
                self.assertEqual(self.fails(*arguments, status=status, **how), message)

    def check_usage(self, cases, **how):
        """Each case is (arguments, part of the message) of a command line that makes no sense."""
        for arguments, part in cases:
            with self.subTest(arguments):
                message = self.fails(*arguments, status=2, **how)
                self.assertTrue(message.startswith("usage: ") and part in message, message)

    def start(self, *arguments, **how):
        """Starts the tool and leaves it running until the test ends."""
        child = subprocess.Popen([TOOL, *map(str, [*self.COMMAND, *arguments])], **how)

        def clean_up():
            child.kill()
            child.wait()
            for stream in child.stdin, child.stdout, child.stderr:
                try:
                    if stream is not None:
                        stream.close()
                except BrokenPipeError:  # for what was still to be written
                    pass

        self.addCleanup(clean_up)
        return child


class Terminal:
    """A terminal, on which the tool runs or writes, and a user who types."""

    def __init__(self, test):
        self.test = test
        self.seen = b""
        self.outside, self.inside = pty.openpty()
        test.addCleanup(os.close, self.outside)
        test.addCleanup(os.close, self.inside)
        self.mode_before = self.mode()
        test.assertTrue(self.echoes())

    def start(self, *arguments):
        """Starts the tool with the terminal as its own."""
        streams = {"stdin": self.inside, "stdout": self.inside, "stderr": self.inside}
        self.child = self.test.start(*arguments, **streams, start_new_session=True, preexec_fn=self.become_foreground)
        return self

    @staticmethod
    def become_foreground():
        """Does what a shell does for a command: tests in the background may run with some signals ignored."""
        fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        for number in signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM, signal.SIGTSTP:
            signal.signal(number, signal.SIG_DFL)

    def mode(self):
        return termios.tcgetattr(self.outside)[3]

    def echoes(self):
        return bool(self.mode() & termios.ECHO)

    def read(self, seconds=0):
        ready, _, _ = select.select([self.outside], [], [], seconds)
        self.seen += os.read(self.outside, 65536) if ready else b""
        return bool(ready)

    def read_until(self, text):
        deadline = time.monotonic() + TIME_LIMIT
        while text not in self.seen:
            ready = self.read(max(0, deadline - time.monotonic()))
            self.test.assertTrue(ready, f"nothing more after {self.seen!r}")

    def type(self, text):
        os.write(self.outside, text)

    def shown(self):
        """Returns all that the terminal has shown."""
        while self.read():
            pass
        return self.seen.decode()

    def end(self):
        """Waits for the tool; returns its exit status and what the terminal has shown."""
        status = self.child.wait(TIME_LIMIT)
        return status, self.shown()
