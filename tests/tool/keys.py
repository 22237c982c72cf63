"""What the tests of "derkit key" share: keys by openssl, and many keys in one run of the tool."""

import re

import openssl
from der import pem, unpem
from tool import ToolTest, fields, objects

WRONG_PASSWORD = "wrong password, or the encrypted data was altered"


def make_key(algorithm="gost2001", param_set="A", **settings):
    key = openssl.gost("genpkey", "-algorithm", algorithm, "-pkeyopt", "paramset:" + param_set, settings=settings)
    return unpem(key)[0]


def encrypt(key, password="secret", *options, **settings):
    """Encrypts with the cipher that the library reads unless options name another one."""
    options = options or ["-v2", "gost89"]
    command = ["pkcs8", "-topk8", "-inform", "DER", "-outform", "DER", *options, "-passout", "env:KEY_PASSWORD"]
    return openssl.gost(*command, stdin=key, settings=settings, KEY_PASSWORD=password)


def number_by_openssl(key):
    """Returns the number of a key as openssl prints it, highest octet first."""
    text = openssl.gost("pkey", "-inform", "DER", "-noout", "-text", stdin=key).decode()
    number = text.splitlines()[0].removeprefix("Private key: ")
    return bytes.fromhex(number.rjust(2 * (64 if len(number) > 64 else 32), "0"))


class KeyTest(ToolTest):
    COMMAND = ("key",)

    def show_all(self, ders, *options, label="PRIVATE KEY", **how):
        """Runs over one file of all keys; returns (fields, problem) of each, None for what is not there."""
        blocks = [pem(data, label) for data in ders]
        done = self.tool("--json", *options, "-", stdin=b"".join(blocks), **how)
        shown = {found.pop("index"): found for found in objects(done.text)}
        problems = {}
        for line in done.errors:
            index, line_number, problem = re.fullmatch(
                r"derkit: \(standard input\): key (\d+) \(line (\d+)\): (.*)", line).groups()
            problems[int(index)] = problem
            self.assertEqual(int(line_number), b"".join(blocks[: int(index) - 1]).count(b"\n") + 1)
        self.assertEqual((len(problems), done.status), (len(done.errors), 1 if done.errors else 0))
        return [(shown.get(i), problems.get(i)) for i in range(1, len(blocks) + 1)]

    def check_all(self, cases, *options, **how):
        """Each case is (DER, problem, expected fields); a field that is None must not be there."""
        for (data, problem, expected), (shown, told) in zip(cases, self.show_all([c[0] for c in cases], *options, **how)):
            with self.subTest(data=data.hex()):
                self.assertEqual({name: shown.get(name) for name in expected}, expected)
                self.assertEqual(told, problem)

    def assert_fields(self, got, **expected):
        self.assertEqual({name: got.get(name) for name in expected}, expected)

    def shows_and_fails(self, *arguments, **how):
        """Returns the fields and the one message."""
        done = self.tool(*arguments, **how)
        self.assertEqual((done.status, len(done.errors)), (1, 1), (arguments, done.errors))
        return fields(done.text), done.errors[0].removeprefix("derkit: ")

    def password_file(self, password):
        return ["--password-file", self.file("password", password + "\n")]
