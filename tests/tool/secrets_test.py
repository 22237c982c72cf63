#!/usr/bin/env python3
"""Tests that the tool leaves no key and no password in its memory, in core dumps or to other processes.

TOOL_MEMORY_SCAN names a library that looks through the memory of the tool when its work is done.
"""

import base64
import hashlib
import os
import resource
import signal
import subprocess
import unittest

import pfx
from der import certificate, octet_string, pem, private_key
from keys import encrypt
from p12 import certificate_of
from tool import ToolTest, run

SCAN = os.environ.get("TOOL_MEMORY_SCAN")
KEY = hashlib.sha256(b"a key that is nowhere by chance").digest()
KEY_INFO = private_key(octet_string(KEY))
PASSWORD = "correct horse battery staple"
NEW_PASSWORD = "staple battery horse correct"


def forms(octets):
    """Returns all ways to write octets, with some left out at both ends. The base64 is within a line of PEM."""
    return [octets[4:-4], octets[::-1][4:-4], base64.b64encode(KEY_INFO)[-31:-7],
            octets.hex().encode()[4:-4], octets.hex().upper().encode()[4:-4]]


@unittest.skipUnless(SCAN, "TOOL_MEMORY_SCAN is not set")
class Memory(ToolTest):
    def count(self, patterns, *arguments, status=0, **how):
        """Returns how often each of the octet strings is found after a run.

        Libraries are bound at once: the dynamic linker would save registers, with what is in them, while it looks.
        """
        report = self.folder / "report"
        inverted = ",".join(bytes(octet ^ 0xFF for octet in pattern).hex() for pattern in patterns)
        env = {"LD_PRELOAD": SCAN, "MEMORY_SCAN_FOR": inverted, "MEMORY_SCAN_REPORT": str(report),
               "LD_BIND_NOW": "1"}
        done = run(*arguments, env=env, **how)
        self.assertEqual((done.status, done.errors if status == 0 else []), (status, []), done)
        return list(map(int, report.read_text().split()))

    def check_nothing_left(self, *arguments, **how):
        found = self.count([*forms(KEY), PASSWORD.encode(), NEW_PASSWORD.encode()], *arguments, **how)
        self.assertFalse(any(found), (arguments, found))

    def test_the_scan_finds_what_is_there(self):
        marker = b"an argument that stays where it is"
        self.assertGreater(self.count([marker, b"this is nowhere at all"], "dn", f"CN={marker.decode()}")[0], 0)

    def test_a_plain_key(self):
        for data in KEY_INFO, pem(KEY_INFO, "PRIVATE KEY"):
            path = self.file("key", data)
            for options in [], ["--json"], ["--reveal"], ["--reveal", "--json"]:
                self.check_nothing_left("key", path, *options)

    def test_an_encrypted_key(self):
        path = self.file("key", pem(encrypt(KEY_INFO, PASSWORD), "ENCRYPTED PRIVATE KEY"))
        password = self.file("password", PASSWORD)
        self.check_nothing_left("key", path, "--reveal", "--password-file", password)
        self.check_nothing_left("key", path, "--password-stdin", stdin=PASSWORD.encode())

    def test_containers(self):
        made = self.folder / "made.p12"
        password = ["--password-file", self.file("password", PASSWORD)]
        inputs = ["--key", self.file("key", pem(KEY_INFO, "PRIVATE KEY")), "--cert", self.file("cert", certificate_of(KEY_INFO))]
        for to in "tc26", "native":
            self.check_nothing_left("p12", "make", *inputs, "--force", "--to", to, "--iterations", "3", "--out", made, *password)
            self.check_nothing_left("p12", "show", made, *password)
            self.check_nothing_left("p12", "extract", made, "--force", "--out", self.folder / "out", *password)
        clear = self.file("clear.p12", pfx.container("x", pfx.data_entry(pfx.key_bag(KEY_INFO))))
        self.check_nothing_left("p12", "extract", clear, "--out", self.folder / "other", "--password-stdin", stdin=b"x")

    def test_conversions(self):
        key = self.file("key", pem(KEY_INFO, "PRIVATE KEY"))
        old = self.file("old.p12", pfx.container(PASSWORD, pfx.data_entry(pfx.key_bag(KEY_INFO))))
        password = ["--password-file", self.file("password", PASSWORD)]
        new = ["--new-password-stdin", "--iterations", "3", "--force", "--out", self.folder / "out"]
        how = {"stdin": NEW_PASSWORD.encode()}
        for to in "rfc9548-omac", "aes":
            self.check_nothing_left("p12", "convert", old, "--to", to, "--pkcs8-form", "string", *password, *new, **how)
            self.check_nothing_left("key", "convert", key, "--to", to, *new, **how)
        self.check_nothing_left("p12", "password", old, *password, *new, **how)
        encrypted = self.file("encrypted", encrypt(KEY_INFO, PASSWORD))
        for to in "pem", "der":
            self.check_nothing_left("key", "convert", encrypted, "--to", to, *password, "--out", self.folder / to)

    def test_failures(self):
        encrypted = self.file("key", encrypt(KEY_INFO, PASSWORD))
        self.check_nothing_left("key", encrypted, "--password-stdin", stdin=PASSWORD.encode() + b"x", status=1)
        cut = self.file("cut", pem(KEY_INFO, "PRIVATE KEY")[:-20])
        self.check_nothing_left("key", cut, status=1)
        out = self.folder / "no" / "out"
        clear = self.file("clear.p12", pfx.container("x", pfx.data_entry(pfx.key_bag(KEY_INFO))))
        self.check_nothing_left("p12", "extract", clear, "--out", out, "--password-stdin", stdin=b"x", status=1)


class Process(ToolTest):
    def waiting(self, **how):
        """Returns a run that has shown two certificates and waits for more."""
        child = self.start("cert", "--json", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **how)
        child.stdin.write(2 * pem(certificate("x")))
        child.stdin.flush()
        self.assertEqual(child.stdout.read(1), b"{")
        return child

    def test_there_is_no_core_dump(self):
        """The limit that is inherited allows one."""
        hard = resource.getrlimit(resource.RLIMIT_CORE)[1]
        if hard == 0:
            self.skipTest("no process here may dump its core")
        child = self.waiting(cwd=self.folder,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (hard, hard)))
        self.assertEqual(resource.prlimit(child.pid, resource.RLIMIT_CORE), (0, 0))
        child.send_signal(signal.SIGQUIT)
        _, status = os.waitpid(child.pid, 0)
        self.assertEqual((os.WTERMSIG(status), os.WCOREDUMP(status)), (signal.SIGQUIT, False))
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_its_memory_is_not_for_other_processes(self):
        """The files under /proc of a process that may not be dumped belong to root."""
        if os.geteuid() != 0:
            child = self.waiting()
            self.assertEqual(os.stat(f"/proc/{child.pid}/mem").st_uid, 0)
            return
        nobody = 65534
        self.folder.chmod(0o755)
        child = self.waiting(user=nobody, group=nobody)
        self.assertEqual(os.stat(f"/proc/{child.pid}/mem").st_uid, 0)


if __name__ == "__main__":
    unittest.main()
