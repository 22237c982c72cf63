#!/usr/bin/env python3
"""Tests what the tool shows of the keys and containers of tests/data, and what it says of those declined or broken.

With "--valgrind PROGRAM" first, every run is watched for errors of memory, and every third file is enough.
"""

import sys
import unittest
from pathlib import Path

import tool
from der import unpem

DATA = Path(__file__).resolve().parent.parent / "data"
PASSWORDS = dict(line.split(" ", 1) for line in (DATA / "passwords.txt").read_text(encoding="utf-8").splitlines())
VALGRIND = sys.argv[2] if sys.argv[1:2] == ["--valgrind"] else None
VALGRIND_ERROR = 99

# Container -> lines that its listing holds.
READ = {
    "2001.p12": ["container: kind: GOST R 34.11-94", "container: form: standard", "mac: key: PBKDF2", "mac: iterations: 2000", "key 1: friendly_name: Ключ 2001",
                 "key 1: family: GOST R 34.10-2001", "certificate 1: subject: C=RU,O=Пример,CN=Ключ 2001"],
    "2012-256.p12": ["key 1: friendly_name: Ключ 2012-256", "key 1: family: GOST R 34.10-2012 256"],
    "2012-512.p12": ["key 1: friendly_name: Ключ 2012-512", "key 1: family: GOST R 34.10-2012 512"],
    "chain.p12": ["certificate 3: subject: C=RU,O=Пример,CN=Ключ 2012-512"],
    "mac-by-pkcs12-kdf.p12": ["mac: verdict: good", "mac: key: PKCS#12 KDF", "key 1: family: GOST R 34.10-2001"],
    "empty-password.p12": ["mac: verdict: good", "key 1: family: GOST R 34.10-2001"],
    "mixed-aes.p12": ["container: kind: mixed algorithms", "mac: algorithm: GOST R 34.11-94", "key 1: cipher: AES-256-CBC"],
    "mixed-sha256-mac.p12": ["container: kind: mixed algorithms", "mac: algorithm: SHA-256", "mac: key: PKCS#12 KDF",
                             "key 1: cipher: GOST 28147-89 CFB"],
    "streebog.p12": ["container: kind: GOST R 34.11-2012", "mac: key: PBKDF2", "key 1: prf: HMAC GOST R 34.11-2012-256"],
}

# File -> a part of the message.
REFUSED = {
    "no-mac.p12": "has no MAC",
    "broken-cut.p12": "not a PKCS#12 container",
    "broken-mac.p12": "the MAC does not match",
}

FAMILIES = {
    "2001": "GOST R 34.10-2001",
    "2012-256": "GOST R 34.10-2012 256",
    "2012-512": "GOST R 34.10-2012 512",
}


def some(files):
    return [*files][:: 3 if VALGRIND else 1]


class CommittedFiles(tool.ToolTest):
    def tool(self, *command, name, password=None):
        password = PASSWORDS[name] if password is None else password
        done = super().tool(*command, "--password-stdin", DATA / name, stdin=f"{password}\n".encode())
        self.assertNotEqual(done.status, VALGRIND_ERROR, "\n".join(done.errors))
        return done

    def check_refused(self, name, part, password=None):
        with self.subTest(name):
            command = ["key"] if name.endswith(".pem") else ["p12", "show"]
            done = self.tool(*command, name=name, password=password)
            self.assertEqual(done.status, 1)
            self.assertIn(part, "\n".join(done.errors))

    def test_every_file_has_its_case(self):
        containers = {name for name in [*READ, *REFUSED] if name.endswith(".p12")}
        self.assertEqual(containers, {path.name for path in DATA.glob("*.p12")})

    def test_containers_that_are_read(self):
        for name in some(READ):
            with self.subTest(name):
                shown = tool.lines_with_places(self.succeeds("p12", "show", name=name), DATA / name)
                self.assertEqual([line for line in READ[name] if line not in shown], [])

    def test_what_is_refused_and_why(self):
        for name in some(REFUSED):
            self.check_refused(name, REFUSED[name])

    def test_a_wrong_password(self):
        for name in some(READ):
            self.check_refused(name, "wrong password", password="wrong")

    def test_extracted_keys_and_certificates_are_those_that_went_in(self):
        for key in some(FAMILIES):
            with self.subTest(key):
                out = self.folder / key
                self.succeeds("p12", "extract", "--out", out, name=f"{key}.p12")
                for kind, extracted in ("key", "key-1.pem"), ("cert", "certificate-1.pem"):
                    expected = (DATA / f"{key}.{kind}.pem").read_bytes()
                    self.assertEqual(unpem((out / extracted).read_bytes()), unpem(expected))

    def test_a_container_without_mac_is_opened_when_asked_to(self):
        done = self.tool("p12", "show", "--accept-unverified", name="no-mac.p12")
        self.assertEqual((done.status, len(done.errors)), (0, 1), done.errors)
        self.assertIn("key 1: family: GOST R 34.10-2001", tool.lines_with_places(done.text, DATA / "no-mac.p12"))

    def test_keys(self):
        for key in some(FAMILIES):
            for name in f"{key}.key.pem", f"{key}.encrypted.pem":
                with self.subTest(name):
                    shown = self.shows("key", name=name, password=PASSWORDS[f"{key}.encrypted.pem"])
                    self.assertEqual(shown["family"], FAMILIES[key])
        shown = self.shows("key", name="streebog.encrypted.pem")
        self.assertEqual((shown["family"], shown["prf"]), (FAMILIES["2012-256"], "HMAC GOST R 34.11-2012-256"))


if __name__ == "__main__":
    if VALGRIND:
        tool.COMMAND = [VALGRIND, "--quiet", f"--error-exitcode={VALGRIND_ERROR}", "--leak-check=full",
                        "--errors-for-leak-kinds=definite", tool.TOOL]
        del sys.argv[1:3]
    unittest.main()
