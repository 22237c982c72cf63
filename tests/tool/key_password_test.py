#!/usr/bin/env python3
"""Tests where "derkit key" takes the password of an encrypted key from: files, variables, standard input, a terminal."""

import signal
import time
import unittest

import der
from keys import WRONG_PASSWORD, KeyTest, encrypt, make_key
from tool import Terminal, thin

MAX_SIZE = 4095
MARK = b"\xef\xbb\xbf"  # that some editors put in front of UTF-8


def setUpModule():
    global KEY, EMPTY_KEY
    key = make_key()
    KEY, EMPTY_KEY = encrypt(key), encrypt(key, "")


class Passwords(KeyTest):
    def setUp(self):
        super().setUp()
        self.key = self.file("key.der", KEY)
        # An empty line is a password like any other.
        self.empty_key = self.file("empty.der", EMPTY_KEY)

    def opens(self, key, *options, **how):
        self.assert_fields(self.shows(key, *options, **how), family="GOST R 34.10-2001")

    def wrong(self, *options, **how):
        _, error = self.shows_and_fails(self.key, *options, **how)
        self.assertEqual(error, f"{self.key}: {WRONG_PASSWORD}")

    def given(self, content):
        return ["--password-file", self.file("password", content)]

    def test_of_a_file_the_first_line_counts(self):
        for content in b"secret", b"secret\n", b"secret\r\n", b"secret\nsecond\n", MARK + b"secret\n":
            self.opens(self.key, *self.given(content))
        for content in b"\n", b"\r\n", b"\nsecond", MARK, MARK + b"\n":
            self.opens(self.empty_key, *self.given(content))
        # other blanks belong to the password
        for content in b"secret \n", b"secret\t\n", b"secret\r", b"secret\r\r\n", MARK * 2 + b"secret\n", b"secret" + MARK:
            self.wrong(*self.given(content))

    def test_of_standard_input_the_first_line_counts(self):
        for content in b"secret", b"secret\n", b"secret\r\n", b"secret\nsecond\n", MARK + b"secret\n":
            self.opens(self.key, "--password-stdin", stdin=content)
        self.opens(self.empty_key, "--password-stdin", stdin=b"\n")

    def test_of_a_variable_the_whole_value_counts(self):
        self.opens(self.key, "--password-env", "KEY_PASSWORD", env={"KEY_PASSWORD": "secret"})
        self.opens(self.empty_key, "--password-env", "KEY_PASSWORD", env={"KEY_PASSWORD": ""})
        self.wrong("--password-env", "KEY_PASSWORD", env={"KEY_PASSWORD": "secret\n"})

    def test_passwords_of_any_characters(self):
        key = make_key()
        for password in "пароль", "a b\t'\"", "x" * 200:
            self.opens(self.file("other.der", encrypt(key, password)), *self.given(f"{password}\n"))

    def test_no_password_is_not_an_empty_one(self):
        no_line = "has no line with a password, not even an empty one"
        path = self.file("password")
        for key in self.key, self.empty_key:
            self.assert_fields(self.shows(key), form="EncryptedPrivateKeyInfo", family=None)
            self.check_failures([
                ([key, "--password-file", path], f"{path}: {no_line}"),
                ([key, "--password-stdin"], f"(standard input): {no_line}"),
                ([key, "--password-env", "KEY_PASSWORD"], "KEY_PASSWORD: no such variable in the environment"),
            ])

    def test_passwords_that_cannot_be_read(self):
        missing = self.folder / "missing"
        too_long = f"a password has at most {MAX_SIZE} bytes"
        self.check_failures([
            ([self.key, "--password-file", missing], f"{missing}: No such file or directory"),
            ([self.key, "--password-file", self.folder], f"{self.folder}: Is a directory"),
            ([self.key, "--password-file", "/dev/zero"], f"/dev/zero: {too_long}"),
            ([self.key, "--password-ask"], f"{self.key}: cannot ask for the password: there is no terminal"),
        ])
        for start in b"", MARK:
            for end in b"", b"\n", b"\r\n":
                self.wrong(*self.given(start + b"x" * MAX_SIZE + end))
                option, path = self.given(start + b"x" * (MAX_SIZE + 1) + end)
                self.check_failures([([self.key, option, path], f"{path}: {too_long}")])

    def test_command_lines_that_make_no_sense(self):
        sources = [self.given(b"secret"), ["--password-env", "KEY_PASSWORD"], ["--password-stdin"], ["--password-ask"]]
        pairs = [(first, second) for first in sources for second in sources if first is not second]
        self.check_usage([([self.key, *first, *second], "excludes") for first, second in thin(pairs, 4)])
        # no option takes the password itself
        self.check_usage([([self.key, option, "secret"], "") for option in ("--password", "--pass", "-p")])

    def test_key_and_password_cannot_both_come_from_standard_input(self):
        error = self.fails("-", "--password-stdin", stdin=b"secret\n", status=2)
        self.assertIn("--password-stdin: the key itself comes from the standard input", error)
        self.opens("-", *self.given("secret\n"), stdin=KEY)


class AtTheTerminal(KeyTest):
    def setUp(self):
        super().setUp()
        self.key = self.file("key.der", KEY)
        self.prompt = f"Password for {self.key}: "

    def asked(self):
        """Returns a terminal on which the tool has asked for the password."""
        terminal = Terminal(self).start("--password-ask", self.key)
        terminal.read_until(self.prompt.encode())
        self.assertFalse(terminal.echoes())
        return terminal

    def end_after(self, typed):
        """Returns exit status and what the terminal has shown after this was typed."""
        terminal = self.asked()
        terminal.type(typed)
        status, shown = terminal.end()
        self.assertEqual(terminal.mode(), terminal.mode_before)
        self.assertTrue(shown.startswith(self.prompt), shown)
        shown = shown.removeprefix(self.prompt)
        self.assertNotIn("secr", shown.replace(str(self.key), ""))
        return status, shown

    def test_the_password_is_asked_for_and_not_shown(self):
        status, shown = self.end_after(b"secret\n")
        self.assertEqual(status, 0, shown)
        self.assertTrue(shown.startswith("\r\nform: "), shown)
        self.assertIn("family: GOST R 34.10-2001", shown)

    def test_the_line_can_be_edited_as_usual(self):
        status, shown = self.end_after(b"secrex\x7ft\n")
        self.assertEqual(status, 0, shown)

    def test_a_line_is_a_password_and_no_line_is_none(self):
        for typed, message, other in [
            (b"wrong\n", WRONG_PASSWORD, "family"),
            (b"\n", WRONG_PASSWORD, "family"),
            (b"\x04", "has no line with a password", WRONG_PASSWORD),
        ]:
            with self.subTest(typed):
                status, shown = self.end_after(typed)
                self.assertEqual(status, 1, shown)
                self.assertIn(message, shown)
                self.assertNotIn(other, shown)

    def test_keys_that_interrupt_leave_the_terminal_as_before(self):
        for typed, number in (b"secr\x03", signal.SIGINT), (b"secr\x1c", signal.SIGQUIT):
            with self.subTest(typed):
                status, shown = self.end_after(typed)
                self.assertEqual(status, -number, shown)

    def test_after_ctrl_d_in_a_line_the_keys_that_interrupt_still_work(self):
        terminal = self.asked()
        terminal.type(b"secr\x04")
        time.sleep(0.2)  # so that the tool has read the first part
        terminal.type(b"\x03")
        self.assertEqual(terminal.end()[0], -signal.SIGINT)
        self.assertEqual(terminal.mode(), terminal.mode_before)

    def test_ctrl_d_in_a_line_does_not_end_it(self):
        terminal = self.asked()
        terminal.type(b"secr\x04")
        time.sleep(0.2)
        terminal.type(b"et\n")
        self.assertEqual(terminal.end()[0], 0)

    def test_a_signal_from_elsewhere_leaves_the_terminal_as_before_too(self):
        for number in signal.SIGTERM, signal.SIGHUP:
            terminal = self.asked()
            terminal.child.send_signal(number)
            status, shown = terminal.end()
            self.assertEqual(status, -number, shown)
            self.assertEqual(terminal.mode(), terminal.mode_before)

    def test_it_asks_again_after_it_was_stopped(self):
        terminal = self.asked()
        terminal.type(b"secr")
        # SIGTSTP itself does not stop the only process of a session, but it gets that far.
        terminal.child.send_signal(signal.SIGTSTP)
        terminal.read_until(f"{self.prompt}\r\n{self.prompt}".encode())
        self.assertFalse(terminal.echoes())
        terminal.type(b"secret\n")
        status, shown = terminal.end()
        self.assertEqual(status, 0, shown)
        self.assertEqual(terminal.mode(), terminal.mode_before)

    def test_nobody_is_asked_for_the_password_of_a_plain_key(self):
        path = self.file("plain.der", der.private_key())
        status, shown = Terminal(self).start("--password-ask", path).end()
        self.assertEqual(status, 0)
        self.assertTrue(shown.startswith("form: PrivateKeyInfo"), shown)

    def test_control_characters_of_a_file_name_do_not_reach_the_terminal(self):
        terminal = Terminal(self).start("--password-ask", self.file("a\x1bb", KEY))
        terminal.read_until(b"a\\1Bb: ")
        terminal.type(b"secret\n")
        self.assertEqual(terminal.end()[0], 0)


if __name__ == "__main__":
    unittest.main()
