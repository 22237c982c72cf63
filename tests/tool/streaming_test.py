#!/usr/bin/env python3
"""Tests of the command-line tool on inputs that it need not have in memory as a whole. DERKIT_TOOL names it."""

import base64
import json
import os
import pty
import re
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

import der

TOOL = os.environ["DERKIT_TOOL"]
CHUNK_SIZE = 65536  # of what the tool reads at a time
# Freed blocks would be kept back otherwise, so that memory grew with the work done.
os.environ["ASAN_OPTIONS"] = "quarantine_size_mb=0"


def pem(data, line_end="\n"):
    text = base64.b64encode(data).decode()
    lines = [text[i : i + 64] for i in range(0, len(text), 64)]
    return line_end.join(["-----BEGIN CERTIFICATE-----", *lines, "-----END CERTIFICATE-----", ""]).encode()


def certificate(number):
    return der.certificate(der.common_name(f"{number:08}"))


def bundle(count):
    return b"".join(pem(certificate(i)) for i in range(count))


def subjects(output):
    return re.findall(r"subject: CN=(.*)", output.decode())


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def start(self, *arguments, **streams):
        child = subprocess.Popen([TOOL, *map(str, arguments)], **streams)

        def clean_up():
            child.kill()
            child.wait()
            for stream in child.stdin, child.stdout, child.stderr:
                if stream is not None:
                    try:
                        stream.close()
                    except BrokenPipeError:  # of what was still to be written
                        pass

        self.addCleanup(clean_up)
        return child


class Streaming(ToolTest):
    def peak_memory(self, command, data):
        """In KiB, after all of the data but what a pipe holds was read. Asked of the kernel while the tool still runs:
        its own count of finished children starts with the memory of this interpreter."""
        child = self.start(command, "-", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        child.stdin.write(data)
        child.stdin.flush()
        status = Path(f"/proc/{child.pid}/status").read_text()
        child.stdin.close()
        self.assertEqual(child.wait(), 0)
        return int(re.search(r"VmHWM:\s+(\d+) kB", status).group(1))

    def test_memory_does_not_grow_with_the_bundle(self):
        small, large = bundle(1000), bundle(20000)
        for command in "cert", "spki":
            before, after = self.peak_memory(command, small), self.peak_memory(command, large)
            self.assertLess(after, 1.3 * before, command)

    def test_objects_come_while_the_input_goes_on(self):
        child = self.start("cert", "--json", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for i in range(3):
            child.stdin.write(pem(certificate(i)))
            child.stdin.flush()
            self.assertEqual(json.loads(child.stdout.readline())["subject"], f"CN={i:08}")

    def test_blocks_lie_anywhere_in_what_is_read_at_a_time(self):
        for line_end in "\n", "\r\n", "\r":
            first, second = pem(certificate(1), line_end), pem(certificate(2), line_end)
            paths = []
            for shift in range(len(first) + len(second) + 2):
                paths.append(self.folder / f"shifted{shift}")
                text = b"x" * (CHUNK_SIZE - shift - len(line_end)) + line_end.encode()
                paths[-1].write_bytes(text + first + second)
            done = subprocess.run([TOOL, "cert", *paths], capture_output=True, check=True)
            self.assertEqual(subjects(done.stdout), ["00000001", "00000002"] * len(paths))
            self.assertEqual(done.stderr, b"")

    def test_messages_count_lines_across_what_is_read_at_a_time(self):
        for line_end in "\n", "\r\n", "\r":
            broken = pem(b"x" * 100, line_end).replace(b"eHh4", b"????", 1)
            text = f"text{line_end}".encode() * 40000
            done = subprocess.run([TOOL, "cert", "-"], input=text + broken, capture_output=True)
            self.assertEqual(
                done.stderr.decode(), "derkit: (standard input): certificate 1 (line 40001): not valid base64\n"
            )

    def test_bytes_behind_der_are_counted_to_the_end(self):
        path = self.folder / "padded"
        path.write_bytes(certificate(1) + b"\0" * 3 * CHUNK_SIZE)
        done = subprocess.run([TOOL, "cert", path], capture_output=True, check=True)
        self.assertIn(f"warning: {3 * CHUNK_SIZE} bytes behind the certificate", done.stderr.decode())
        self.assertEqual(subjects(done.stdout), ["00000001"])

    def test_text_that_starts_like_der_is_text(self):
        for start in b"0\r\n", b"0 certificates\n", b"0\x84\xff\xff\xff\xff\n", b"0\x82\n":
            for command in "cert", "spki":
                done = subprocess.run([TOOL, command, "-"], input=start + bundle(1), capture_output=True)
                self.assertEqual((done.returncode, done.stderr), (0, b""), (command, start))

    def test_a_reader_that_leaves_ends_the_work_quietly(self):
        path = self.folder / "bundle"
        path.write_bytes(bundle(2000))
        child = self.start("cert", path, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        child.stdout.readline()
        child.stdout.close()
        self.assertEqual((child.stderr.read(), child.wait()), (b"", 1))


class Progress(ToolTest):
    DELAY = 0.6  # more than that of the tool

    def start_long_work(self, errors, stdout, output):
        """Shows two certificates on `output`, and has been at work for a while then; a third is to come."""
        child = self.start("cert", "-", stdin=subprocess.PIPE, stdout=stdout, stderr=errors)
        child.stdin.write(bundle(2))
        child.stdin.flush()
        shown = b""
        while b"00000001" not in shown:
            shown += os.read(child.stdout.fileno() if output is None else output, 4096)
        time.sleep(self.DELAY)
        child.stdin.write(pem(certificate(2)))
        child.stdin.close()
        return child, shown

    def read_terminal(self, terminal):
        os.set_blocking(terminal, False)
        shown = b""
        try:
            while more := os.read(terminal, 4096):
                shown += more
        except BlockingIOError:
            pass
        return shown

    def test_a_terminal_is_shown_how_far_long_work_is_and_left_clean(self):
        terminal, inside = pty.openpty()
        child, shown = self.start_long_work(inside, subprocess.PIPE, None)
        self.assertEqual(len(subjects(shown + child.stdout.read())), 3)
        self.assertEqual(child.wait(), 0)
        text = "3 certificates of (standard input)"
        self.assertEqual(self.read_terminal(terminal).decode(), f"\r{text}\r{' ' * len(text)}\r")

    def test_what_stands_on_the_terminal_is_not_disturbed(self):
        terminal, inside = pty.openpty()
        child, shown = self.start_long_work(inside, inside, terminal)
        self.assertEqual(child.wait(), 0)
        # What is overwritten from the start of a line is gone.
        lines = (shown + self.read_terminal(terminal)).decode().replace("\r\n", "\n").split("\n")
        self.assertTrue(any("3 certificates" in line for line in lines), lines)
        left = [re.sub(r".*\r", "", line) for line in lines]
        self.assertEqual([line for line in left if "certificates of" in line], [])
        self.assertEqual(subjects("\n".join(left).encode()), ["00000000", "00000001", "00000002"])

    def test_a_pipe_is_shown_nothing(self):
        child, _ = self.start_long_work(subprocess.PIPE, subprocess.PIPE, None)
        self.assertEqual((child.stderr.read(), child.wait()), (b"", 0))

    def test_short_work_is_not_spoken_of(self):
        terminal, inside = pty.openpty()
        started = time.monotonic()
        subprocess.run([TOOL, "cert", "-"], input=bundle(2), stdout=subprocess.DEVNULL, stderr=inside, check=True)
        if time.monotonic() - started < 0.5:  # on a busy machine it is long work
            self.assertEqual(self.read_terminal(terminal), b"")

    def test_a_file_has_a_percentage(self):
        path = self.folder / "bundle"
        path.write_bytes(bundle(2000))
        terminal, inside = pty.openpty()
        # The output is held up until the work has been long.
        child = self.start("cert", path, stdout=subprocess.PIPE, stderr=inside)
        shown = os.read(child.stdout.fileno(), 1)
        time.sleep(self.DELAY)
        self.assertEqual(len(subjects(shown + child.stdout.read())), 2000)
        self.assertEqual(child.wait(), 0)
        self.assertRegex(self.read_terminal(terminal).decode(), r"^\r\d+ certificates, \d+% of /")


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    unittest.main()
