#!/usr/bin/env python3
"""Tests the tool on inputs that it need not hold in memory as a whole, and the progress that it shows of them."""

import json
import os
import re
import signal
import subprocess
import time
import unittest
from pathlib import Path

import der
from der import pem
from tool import output_schema, Terminal, ToolTest, only_with_all_cases, run, thin

CHUNK_SIZE = 65536  # the tool reads so much at a time
LINE_ENDS = ["\n", "\r\n", "\r"]


def certificate(number):
    return der.certificate(f"{number:08}")


def bundle(count):
    return b"".join(pem(certificate(i)) for i in range(count))


def subjects(text):
    return re.findall(r"subject: CN=(.*)", text)


class Streaming(ToolTest):
    COMMAND = ("cert",)

    def peak_memory(self, command, data):
        """Returns KiB, after all of the data but what a pipe holds was read.

        The kernel is asked while the tool still runs: its count for finished children starts with the memory of this
        interpreter.
        """
        self.COMMAND = (command,)
        child = self.start("-", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        child.stdin.write(data)
        child.stdin.flush()
        status = Path(f"/proc/{child.pid}/status").read_text()
        child.stdin.close()
        self.assertEqual(child.wait(), 0)
        return int(re.search(r"VmHWM:\s+(\d+) kB", status).group(1))

    @only_with_all_cases
    def test_memory_does_not_grow_with_the_bundle(self):
        small, large = bundle(1000), bundle(20000)
        for command in "cert", "names", "spki":
            before, after = self.peak_memory(command, small), self.peak_memory(command, large)
            self.assertLess(after, 1.3 * before, command)

    def test_objects_come_while_the_input_goes_on(self):
        child = self.start("--json", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for i in range(3):
            child.stdin.write(pem(certificate(i)))
            child.stdin.flush()
            line = child.stdout.readline()
            output_schema.check_object(json.loads(line))
            self.assertEqual(json.loads(line)["subject"], f"CN={i:08}")

    def test_blocks_may_cross_the_end_of_a_chunk(self):
        for line_end in LINE_ENDS:
            blocks = pem(certificate(1), line_end=line_end) + pem(certificate(2), line_end=line_end)
            shifts = thin(range(len(blocks) + 2))
            paths = [
                self.file(f"shifted{shift}", b"x" * (CHUNK_SIZE - shift - len(line_end)) + line_end.encode() + blocks)
                for shift in shifts
            ]
            self.assertEqual(subjects(self.succeeds(*paths)), ["00000001", "00000002"] * len(paths))

    def test_messages_count_lines_across_chunks(self):
        for line_end in LINE_ENDS:
            broken = pem(b"x" * 100, line_end=line_end).replace(b"eHh4", b"????", 1)
            text = f"text{line_end}".encode() * 40000
            message = self.fails("-", stdin=text + broken)
            self.assertEqual(message, "(standard input): certificate 1 (line 40001): not valid base64")

    def test_octets_after_der_are_counted_to_the_end(self):
        done = self.tool("-", stdin=certificate(1) + b"\0" * 3 * CHUNK_SIZE)
        self.assertEqual(len(done.errors), 1)
        self.assertIn(f"warning: {3 * CHUNK_SIZE} bytes after the certificate", done.errors[0])
        self.assertEqual((done.status, subjects(done.text)), (0, ["00000001"]))

    def test_text_that_starts_like_der_is_text(self):
        for start in b"0\r\n", b"0 certificates\n", b"0\x84\xff\xff\xff\xff\n", b"0\x82\n":
            for command in "cert", "names", "spki":
                done = run(command, "-", stdin=start + bundle(1))
                self.assertEqual((done.status, done.errors), (0, []), (command, start))

    def test_a_reader_that_leaves_ends_the_work_quietly(self):
        child = self.start(self.file("bundle", bundle(2000)), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        child.stdout.readline()
        child.stdout.close()
        self.assertEqual((child.stderr.read(), child.wait()), (b"", 1))


class Progress(ToolTest):
    COMMAND = ("cert",)
    DELAY = 0.6  # more than that of the tool

    def setUp(self):
        super().setUp()
        self.terminal = Terminal(self)

    def start_long_work(self, errors, stdout):
        """Has the tool show two certificates and work for a while, then gives it a third.

        Returns the process and what its standard output has shown, unless that is the terminal.
        """
        child = self.start("-", stdin=subprocess.PIPE, stdout=stdout, stderr=errors)
        child.stdin.write(bundle(2))
        child.stdin.flush()
        shown = b""
        if child.stdout is None:
            self.terminal.read_until(b"00000001")
        while child.stdout is not None and b"00000001" not in shown:
            shown += os.read(child.stdout.fileno(), 4096)
        time.sleep(self.DELAY)
        child.stdin.write(pem(certificate(2)))
        child.stdin.close()
        return child, shown

    def test_a_terminal_is_shown_how_far_long_work_is_and_left_clean(self):
        child, shown = self.start_long_work(self.terminal.inside, subprocess.PIPE)
        self.assertEqual(len(subjects((shown + child.stdout.read()).decode())), 3)
        self.assertEqual(child.wait(), 0)
        text = "3 certificates of (standard input)"
        self.assertEqual(self.terminal.shown(), f"\r{text}\r{' ' * len(text)}\r")

    def test_a_signal_that_ends_it_leaves_the_terminal_clean(self):
        text = "3 certificates of (standard input)"
        for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
            self.terminal.seen = b""
            child = self.start("-", stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.terminal.inside)
            child.stdin.write(bundle(2))
            child.stdin.flush()
            os.read(child.stdout.fileno(), 1)
            time.sleep(self.DELAY)
            child.stdin.write(pem(certificate(2)))
            child.stdin.flush()
            self.terminal.read_until(text.encode())
            child.send_signal(number)
            self.assertEqual(child.wait(), -number)
            self.assertEqual(self.terminal.shown(), f"\r{text}\r{' ' * len(text)}\r")

    def test_text_on_the_terminal_is_not_disturbed(self):
        child, _ = self.start_long_work(self.terminal.inside, self.terminal.inside)
        self.assertEqual(child.wait(), 0)
        # Text that is overwritten from the start of its line is gone.
        lines = self.terminal.shown().replace("\r\n", "\n").split("\n")
        self.assertTrue(any("3 certificates" in line for line in lines), lines)
        left = [re.sub(r".*\r", "", line) for line in lines]
        self.assertEqual([line for line in left if "certificates of" in line], [])
        self.assertEqual(subjects("\n".join(left)), ["00000000", "00000001", "00000002"])

    def test_a_pipe_is_shown_nothing(self):
        child, _ = self.start_long_work(subprocess.PIPE, subprocess.PIPE)
        self.assertEqual((child.stderr.read(), child.wait()), (b"", 0))

    def test_short_work_shows_no_progress(self):
        started = time.monotonic()
        child = self.start("-", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=self.terminal.inside)
        child.communicate(bundle(2))
        self.assertEqual(child.returncode, 0)
        if time.monotonic() - started < 0.5:  # on a busy machine it is long work
            self.assertEqual(self.terminal.shown(), "")

    def test_a_file_has_a_percentage(self):
        path = self.file("bundle", bundle(2000))
        # The output is held up until the work has been long.
        child = self.start(path, stdout=subprocess.PIPE, stderr=self.terminal.inside)
        shown = os.read(child.stdout.fileno(), 1)
        time.sleep(self.DELAY)
        self.assertEqual(len(subjects((shown + child.stdout.read()).decode())), 2000)
        self.assertEqual(child.wait(), 0)
        self.assertRegex(self.terminal.shown(), r"^\r\d+ certificates, \d+% of /")


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    unittest.main()
