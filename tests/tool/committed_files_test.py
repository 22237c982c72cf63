"""Runs the tool over the keys and containers of tests/data: what each shows, and how what is declined or broken is said.

With "--valgrind PROGRAM" in front, every run is watched for errors of memory.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = os.environ["DERKIT_TOOL"]
DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
PASSWORDS = dict(
    line.split(" ", 1) for line in (DATA / "passwords.txt").read_text(encoding="utf-8").splitlines())
VALGRIND_ERROR = 99
WATCHER = []

# Container -> lines that its listing holds.
READ = {
    "2001.p12": ["mac: profile: standard", "mac: key: PBKDF2", "mac: iterations: 2000", "key 1: friendly_name: Ключ 2001",
                 "key 1: family: GOST R 34.10-2001", "certificate 1: subject: C=RU,O=Пример,CN=Ключ 2001"],
    "2012-256.p12": ["key 1: friendly_name: Ключ 2012-256", "key 1: family: GOST R 34.10-2012 256"],
    "2012-512.p12": ["key 1: friendly_name: Ключ 2012-512", "key 1: family: GOST R 34.10-2012 512"],
    "chain.p12": ["certificate 3: subject: C=RU,O=Пример,CN=Ключ 2012-512"],
    "mac-by-pkcs12-kdf.p12": ["mac: verdict: good", "mac: key: PKCS#12 KDF", "key 1: family: GOST R 34.10-2001"],
    "empty-password.p12": ["mac: verdict: good", "key 1: family: GOST R 34.10-2001"],
}

# Container -> what the message says.
REFUSED = {
    "declined-aes.p12": "AES-256-CBC",
    "declined-no-mac.p12": "has no MAC",
    "declined-sha256-mac.p12": "SHA-256",
    "declined-streebog.p12": "GOST R 34.11-2012 256",
    "broken-cut.p12": "not a PKCS#12 container",
    "broken-mac.p12": "the MAC is wrong",
}

KEYS = ["2001", "2012-256", "2012-512"]


def run(*arguments, password=None):
    done = subprocess.run(WATCHER + [TOOL, *map(str, arguments)], input=None if password is None else password + "\n",
                          capture_output=True, text=True, encoding="utf-8", timeout=120)
    if done.returncode == VALGRIND_ERROR:
        raise AssertionError(done.stderr)
    return done


def without_pem(path):
    return "".join(line for line in path.read_text().splitlines() if not line.startswith("-----"))


class CommittedFiles(unittest.TestCase):
    def test_every_file_has_its_case(self):
        self.assertEqual(set(READ) | set(REFUSED), {path.name for path in DATA.glob("*.p12")})

    def test_containers_that_are_read(self):
        for name, lines in READ.items():
            with self.subTest(name):
                done = run("p12", "show", "--password-stdin", DATA / name, password=PASSWORDS[name])
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                for line in lines:
                    self.assertIn(line, done.stdout.splitlines())

    def test_what_is_refused_and_why(self):
        for name, reason in REFUSED.items():
            with self.subTest(name):
                done = run("p12", "show", "--password-stdin", DATA / name, password=PASSWORDS[name])
                self.assertEqual(done.returncode, 1)
                self.assertIn(reason, done.stderr)

    def test_a_wrong_password(self):
        for name in READ:
            with self.subTest(name):
                done = run("p12", "show", "--password-stdin", DATA / name, password="wrong")
                self.assertEqual(done.returncode, 1)
                self.assertIn("wrong password", done.stderr)

    def test_extracted_keys_and_certificates_are_those_that_went_in(self):
        for key in KEYS:
            with self.subTest(key), tempfile.TemporaryDirectory() as folder:
                out = pathlib.Path(folder) / "out"
                name = key + ".p12"
                done = run("p12", "extract", "--password-stdin", DATA / name, "--out", out, password=PASSWORDS[name])
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertEqual(without_pem(out / "key-1.pem"), without_pem(DATA / f"{key}.key.pem"))
                self.assertEqual(without_pem(out / "certificate-1.pem"), without_pem(DATA / f"{key}.cert.pem"))

    def test_keys(self):
        for key in KEYS:
            family = "GOST R 34.10-" + key.replace("-", " ", 1) if "-" in key else "GOST R 34.10-2001"
            encrypted = f"{key}.encrypted.pem"
            for arguments in (["key", DATA / f"{key}.key.pem"], ["key", "--password-stdin", DATA / encrypted]):
                with self.subTest(arguments[-1].name):
                    done = run(*arguments, password=PASSWORDS[encrypted])
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
                    self.assertIn(family, done.stdout)

    def test_a_key_encrypted_in_another_way(self):
        name = "declined-streebog.encrypted.pem"
        done = run("key", "--password-stdin", DATA / name, password=PASSWORDS[name])
        self.assertEqual(done.returncode, 1)
        self.assertIn("34.11-2012", done.stderr)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--valgrind"]:
        WATCHER = [sys.argv[2], "--quiet", f"--error-exitcode={VALGRIND_ERROR}", "--leak-check=full",
                   "--errors-for-leak-kinds=definite"]
        del sys.argv[1:3]
    unittest.main()
