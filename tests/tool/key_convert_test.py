#!/usr/bin/env python3
"""Tests "derkit key convert": openssl must find the same number in what the tool writes."""

import base64
import unittest

import der
import openssl
from der import pem, unpem
from keys import encrypt, make_key, number_by_openssl
from p12 import limit_file_size, mode
from tool import Terminal, ToolTest, run

PASSWORD = "секрет 1"
NEW = "новый 2"
QUICK = ["--iterations", "3"]
ENCRYPTIONS = ["gost94", "tc26", "rfc9548", "aes"]  # that openssl decrypts
FAMILIES = [("gost2001", "A"), ("gost2012_256", "TCA"), ("gost2012_512", "A")]


class KeyConvertTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        cls.key = make_key()

    def setUp(self):
        super().setUp()
        self.plain = self.file("plain.pem", pem(self.key, "PRIVATE KEY"))
        self.encrypted = self.file("encrypted.pem", pem(encrypt(self.key, PASSWORD), "ENCRYPTED PRIVATE KEY"))
        self.out = self.folder / "out"

    def tool(self, *arguments, password=None, new=None, **how):
        options = []
        if password is not None:
            options += ["--password-env", "KEY_PASSWORD"]
        if new is not None:
            options += ["--new-password-env", "NEW_PASSWORD"]
        env = {"KEY_PASSWORD": password or "", "NEW_PASSWORD": new or ""}
        return super().tool("key", "convert", *arguments, *options, env=env, **how)

    def convert(self, *options, source=None, **how):
        """Returns the new file."""
        arguments = [source or self.plain, "--out", self.out, "--force", *options]
        self.assertEqual(self.succeeds(*arguments, **how), "")
        return self.out.read_bytes()

    def decrypt(self, data, password):
        return openssl.gost("pkcs8", "-inform", "DER", "-passin", "env:KEY_PASSWORD", "-outform", "DER", stdin=data,
                            KEY_PASSWORD=password)

    def check_failure(self, problem, *arguments, **how):
        self.check_failures([([*arguments, "--out", self.out], problem)], **how)
        self.assertFalse(self.out.exists())


class Forms(KeyConvertTest):
    def test_a_plain_key_of_each_family(self):
        for algorithm, param_set in FAMILIES:
            key = make_key(algorithm, param_set)
            for source, how in (key, {}), (encrypt(key, PASSWORD), {"password": PASSWORD}):
                path = self.file("key.der", source)
                self.assertEqual(self.convert("--to", "der", source=path, **how), key)
                self.assertEqual(self.convert("--to", "pem", source=path, **how), pem(key, "PRIVATE KEY"))

    def test_an_encrypted_key_of_each_family(self):
        for algorithm, param_set in FAMILIES:
            key = make_key(algorithm, param_set)
            source = self.file("key.der", key)
            for to in ENCRYPTIONS:
                with self.subTest(f"{algorithm} to {to}"):
                    made = self.convert("--to", to, *QUICK, source=source, new=PASSWORD)
                    [info] = unpem(made, "ENCRYPTED PRIVATE KEY")
                    self.assertEqual(self.decrypt(info, PASSWORD), key)
                    self.assertEqual(self.convert("--to", to, *QUICK, "--der", source=source, new=PASSWORD)[:1], b"\x30")
                    self.assertEqual(self.convert("--to", "der", source=self.copy(made), password=PASSWORD), key)

    def copy(self, data):
        return self.file("copy", data)

    def test_encryptions_that_openssl_lacks_come_back(self):
        for cipher in "kuznyechik", "magma":
            made = self.convert("--to", "rfc9548-omac", "--cipher", cipher, *QUICK, new=PASSWORD)
            self.assertIn(cipher, run("key", self.copy(made)).text.lower())
            self.assertEqual(self.convert("--to", "der", source=self.copy(made), password=PASSWORD), self.key)

    def test_shapes(self):
        octets = number_by_openssl(self.key)[::-1]
        for form, content in [
            ([], octets),
            (["--pkcs8-form", "octets"], octets),
            (["--pkcs8-form", "string"], der.octet_string(octets)),
            (["--pkcs8-form", "integer"], der.integer(int.from_bytes(octets, "little"))),
        ]:
            made = self.convert("--to", "der", *form)
            self.assertTrue(made.endswith(der.octet_string(content)), form)
            self.assertEqual(number_by_openssl(made)[::-1], octets)
            [info] = unpem(self.convert("--to", "tc26", *QUICK, *form, new=PASSWORD), "ENCRYPTED PRIVATE KEY")
            self.assertEqual(number_by_openssl(self.decrypt(info, PASSWORD))[::-1], octets)
            self.assertEqual(self.convert("--to", "der", source=self.file("other", made)), self.key)

    def test_attributes_are_left_out_with_a_warning(self):
        attributes = der.element(der.CONTEXT_0, der.attribute("2.5.4.3", der.UTF8_STRING, b"x"))
        source = self.file("key.der", der.sequence(self.key[2:] if self.key[1] < 128 else self.key[3:], attributes))
        done = self.tool(source, "--to", "der", "--out", self.out)
        self.assertEqual((done.status, done.errors),
                         (0, [f"derkit: {source}: warning: attributes after the key are left out"]))
        self.assertEqual(self.out.read_bytes(), self.key)

    def test_input_from_standard_input_and_output_to_standard_output(self):
        done = self.tool("-", "--to", "pem", "--out", "-", stdin=self.key)
        self.assertEqual((done.status, done.out, done.errors), (0, pem(self.key, "PRIVATE KEY"), []))


class Passwords(KeyConvertTest):
    def test_the_old_one_stays_unless_there_is_a_new_one(self):
        for how, expected in ({}, PASSWORD), ({"new": NEW}, NEW), ({"new": ""}, ""):
            made = self.convert("--to", "tc26", *QUICK, source=self.encrypted, password=PASSWORD, **how)
            self.assertEqual(self.decrypt(unpem(made, "ENCRYPTED PRIVATE KEY")[0], expected), self.key)

    def test_of_standard_input_the_first_line_is_the_old_one(self):
        made = self.convert("--to", "tc26", *QUICK, "--password-stdin", "--new-password-stdin", source=self.encrypted,
                            stdin=f"{PASSWORD}\n{NEW}\n".encode())
        self.assertEqual(self.decrypt(unpem(made, "ENCRYPTED PRIVATE KEY")[0], NEW), self.key)

    def test_a_plain_key_gets_one_that_is_asked_for_twice(self):
        asked = f"Password for the new {self.out}"
        for again, expected in ("other", 1), (NEW, 0):
            terminal = Terminal(self).start("key", "convert", self.plain, "--to", "tc26", *QUICK, "--out", self.out)
            for prompt, answer in (asked, NEW), (f"{asked} again", again):
                terminal.read_until(f"{prompt}: ".encode())
                terminal.type(answer.encode() + b"\n")
            status, shown = terminal.end()
            self.assertEqual((status, self.out.exists()), (expected, not expected), shown)
            self.assertNotIn(NEW, shown)
        [info] = unpem(self.out.read_bytes(), "ENCRYPTED PRIVATE KEY")
        self.assertEqual(self.decrypt(info, NEW), self.key)

    def test_a_new_one_that_is_not_there_is_told_before_the_old_one_is_asked_for(self):
        """There is no terminal, so asking would fail in another way."""
        missing = self.folder / "no"
        for options, problem in [
            (["--new-password-file", missing], f"{missing}: No such file or directory"),
            (["--new-password-env", "NO_SUCH_VARIABLE"], "NO_SUCH_VARIABLE: no such variable in the environment"),
        ]:
            self.check_failure(problem, self.encrypted, "--to", "tc26", *options)

    def test_a_wrong_one(self):
        self.check_failure(f"{self.encrypted} (line 1): wrong password, or the encrypted data was altered",
                           self.encrypted, "--to", "pem", password="wrong")


class Costs(KeyConvertTest):
    def test_the_limit_is_for_what_is_read_and_not_for_what_is_made(self):
        """What was made is read again all the same."""
        made = self.convert("--to", "tc26", "--iterations", "30", "--max-iterations", "20", new=PASSWORD)
        self.assertEqual(self.decrypt(unpem(made, "ENCRYPTED PRIVATE KEY")[0], PASSWORD), self.key)
        copy = self.file("copy", made)
        self.out.unlink()
        self.check_failure(f"{copy} (line 1): the iteration count is above the limit: 30 (--max-iterations allows more)",
                           copy, "--to", "der", "--max-iterations", "20", password=PASSWORD)


class Files(KeyConvertTest):
    def test_every_file_is_for_its_owner_alone_and_nothing_else_is_left(self):
        for options, how in (["--to", "pem"], {}), (["--to", "der"], {}), (["--to", "tc26", *QUICK], {"new": NEW}):
            self.convert(*options, **how)
            self.assertEqual(mode(self.out), 0o600)
            self.out.unlink()
            self.check_failure(f"{self.out}: File too large", self.plain, *options, preexec_fn=limit_file_size(20), **how)
            self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["encrypted.pem", "plain.pem"])

    def test_only_what_is_asked_for_holds_the_key_in_the_clear(self):
        octets = number_by_openssl(self.key)[::-1]
        for options in ["--to", "tc26", *QUICK], ["--to", "aes", "--der", *QUICK]:
            made = self.convert(*options, source=self.encrypted, password=PASSWORD)
            for secret in octets[4:-4], octets[::-1][4:-4], base64.b64encode(self.key)[-31:-7]:
                self.assertNotIn(secret, made)

    def test_what_needs_no_password_is_told_before_one_is_asked_for(self):
        """There is no terminal, so asking would fail in another way."""
        existing = self.file("existing", b"old")
        unknown = self.file("unknown.der", der.sequence(der.sequence(der.oid("1.2.3")), der.octet_string(b"x")))
        ec_key = self.file("ec.pem", openssl.run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
        self.check_failures([
            ([self.encrypted, "--to", "pem", "--out", existing], f"{existing}: already exists (--force overwrites it)"),
            ([unknown, "--to", "pem", "--out", self.out], f"{unknown}: the encryption scheme is not supported: 1.2.3"),
            ([self.folder / "no", "--to", "pem", "--out", self.out], f"{self.folder / 'no'}: No such file or directory"),
            ([self.file("two.pem", 2 * self.plain.read_bytes()), "--to", "pem", "--out", self.out],
             f"{self.folder / 'two.pem'}: holds more than one private key"),
        ])
        message = self.fails(ec_key, "--to", "tc26", "--out", self.out)
        self.assertTrue(message.startswith(f"{ec_key} (line 1): the key is not a GOST R 34.10 key: "), message)
        self.assertEqual(existing.read_bytes(), b"old")

    def test_command_lines_that_make_no_sense(self):
        base = [self.plain, "--out", self.out]
        self.check_usage([
            (base, "--to is required"),
            ([self.plain, "--to", "pem"], "--out is required"),
            ([*base, "--to", "native"], "--to"),
            ([*base, "--to", "pem", "--new-password-ask"], "--to pem: makes a plain key, which has no password"),
            ([*base, "--to", "der", "--iterations", "5"], "--to der: makes a plain key, which is not encrypted"),
            ([*base, "--to", "pem", "--der"], "--to pem: --der contradicts it"),
            ([*base, "--to", "pem", "--pkcs8-form", "masked"], "--pkcs8-form"),
            (["-", "--out", self.out, "--to", "tc26", "--new-password-stdin"],
             "--new-password-stdin: the standard input holds the file already"),
        ])
        for arguments in ["--json", "convert"], [self.plain, "convert"]:
            done = run("key", *arguments, self.plain, "--to", "pem", "--out", self.out)
            self.assertEqual((done.status, done.errors),
                             (2, ["derkit: usage: convert: must come first (see --help)"]))
        self.assertFalse(self.out.exists())

    def test_a_key_in_a_file_of_that_name_can_be_shown(self):
        self.file("convert", self.key)
        self.assertEqual(run("key", "./convert", cwd=self.folder).status, 0)


if __name__ == "__main__":
    unittest.main()
