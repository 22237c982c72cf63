#!/usr/bin/env python3
"""Tests the tool that was built without libgcrypt: "derkit key" and "derkit p12" say that they are not there."""

import unittest

from tool import run


class WithoutGcrypt(unittest.TestCase):
    COMMAND_LINES = (
        ("key",), ("key", "--json", "key.pem"), ("key", "--help"), ("key", "--password-file", "password", "-"),
        ("p12",), ("p12", "show", "a.p12"), ("p12", "extract", "--force", "--out", "folder", "a.p12"),
        ("p12", "make", "--help"), ("p12", "nonsense"),
    )

    def test_a_missing_subcommand_says_what_is_missing(self):
        for line in self.COMMAND_LINES:
            with self.subTest(line):
                done = run(*line)
                self.assertEqual((done.status, done.out, len(done.errors)), (2, b"", 1), done)
                self.assertRegex(done.errors[0], f"^derkit: usage: {line[0]}: .*not in this build.*libgcrypt")

    def test_the_help_says_so_too(self):
        text = " ".join(run("--help").text.split())
        for command in "key Private keys", "p12 PKCS#12 containers":
            self.assertIn(f"{command}: not in this build, which is without libgcrypt", text)


if __name__ == "__main__":
    unittest.main(verbosity=2)
