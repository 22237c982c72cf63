#!/usr/bin/env python3
"""Tests "derkit p12 convert" and "derkit p12 password": what they make is opened by openssl where it knows the kind."""

import os
import subprocess
import unittest

import der
import openssl
import pfx
from der import unpem
from p12 import NAME, PASSWORD, P12Test, limit_file_size, mode, pairs, with_more_fields
from tool import Terminal, only_with_all_cases, thin

NEW = "новый 2"
QUICK = ["--iterations", "3"]
# Format: its options beyond --to, and whether openssl opens it.
FORMATS = {
    "gost94": ([], True),
    "tc26": ([], True),
    "rfc9548": (["--cipher", "magma"], True),
    "rfc9548-omac": ([], False),
    "aes": ([], True),
    "native": ([], False),
}


class ConvertTest(P12Test):
    def setUp(self):
        super().setUp()
        self.source = self.file("source.p12", self.exported())
        self.out = self.folder / "out.p12"

    @classmethod
    def exported(cls, **how):
        return cls.pair.export("-iter", 5, **how)

    def convert(self, *options, source=None, command="convert", **how):
        """Returns the new container."""
        self.assertEqual(
            self.succeeds(command, source or self.source, "--out", self.out, "--force", *QUICK, *options, **how), "")
        return self.out.read_bytes()

    def new_password(self, text=NEW):
        return ["--new-password-file", self.file("new", text + "\n")]

    def check_read_by_openssl(self, pair=None, password=PASSWORD):
        pair = pair or self.pair
        read = openssl.gost("pkcs12", "-in", self.out, "-nodes", "-passin", "env:P12_PASSWORD", P12_PASSWORD=password)
        self.assertEqual((unpem(read, "PRIVATE KEY"), unpem(read, "CERTIFICATE")), ([pair.key], [pair.certificate]))
        self.assertEqual(read.count(b"friendlyName: " + NAME.encode("utf-16-be")[1::2]), 2)

    def is_read_by_openssl(self, certificate):
        try:
            read = openssl.gost("pkcs12", "-in", self.out, "-nokeys", "-passin", "env:P12_PASSWORD", P12_PASSWORD=PASSWORD)
        except RuntimeError:
            return False
        return unpem(read) == [certificate]

    def check_failure(self, problem, *options, source=None, command="convert", **how):
        arguments = [command, source or self.source, "--out", self.out, *options]
        self.check_failures([(arguments, problem)], **how)
        self.assertFalse(self.out.exists())


class Formats(ConvertTest):
    def test_openssl_and_extract_find_the_same_octets(self):
        for name, (options, openssl_opens) in FORMATS.items():
            for pair in thin(pairs(), 3):
                with self.subTest(f"{pair.family} to {name}"):
                    source = self.file("source.p12", pair.export("-iter", 5))
                    made = self.convert("--to", name, *options, source=source)
                    self.check_extracted(made, [pair.key], [pair.certificate])
                    if openssl_opens:
                        self.check_read_by_openssl(pair)

    @only_with_all_cases
    def test_certtool_finds_the_same_octets_where_it_knows_the_kind(self):
        for to in "gost94", "tc26", "aes":
            self.convert("--to", to)
            done = subprocess.run(["certtool", "--p12-info", "--inder", "--infile", self.out, "--password", PASSWORD],
                                  capture_output=True, env=os.environ | {"LC_ALL": "C.UTF-8"})
            self.assertEqual(unpem(done.stdout, "CERTIFICATE"), [self.pair.certificate], (to, done.stderr))
            [key] = unpem(done.stdout, "ENCRYPTED PRIVATE KEY")
            opened = openssl.gost("pkcs8", "-inform", "DER", "-outform", "DER", "-passin", "env:P12_PASSWORD", stdin=key,
                                  P12_PASSWORD=PASSWORD)
            self.assertEqual(opened, self.pair.key, to)

    def test_every_format_becomes_every_other(self):
        made = {name: self.convert("--to", name) for name in FORMATS}
        for name, container in made.items():
            for to in thin(FORMATS, 5):
                with self.subTest(f"{name} to {to}"):
                    source = self.file("source.p12", container)
                    self.check_extracted(self.convert("--to", to, source=source), [self.pair.key], [self.pair.certificate])

    def test_long_content_needs_the_sections_that_openssl_has(self):
        """The key of Magma changes after 1,024 octets for openssl, and after 8,192 in the standard."""
        certificate = der.certificate("a" * 10000)
        safe = pfx.data_entry(pfx.key_bag(der.private_key()), pfx.cert_bag(certificate))
        source = self.file("source.p12", pfx.container(PASSWORD, safe))
        for cipher in "kuznyechik", "magma":
            for sections in "standard", "tls":
                made = self.convert("--to", "rfc9548", "--cipher", cipher, "--sections", sections, source=source)
                self.check_extracted(made, [der.private_key()], [certificate])
                self.assertEqual(self.is_read_by_openssl(certificate), sections == "tls", cipher)

    def test_iterations_are_those_of_the_option_or_of_the_format(self):
        for options, expected in [
            (["--to", "tc26", "--iterations", "7"], 7), (["--to", "gost94"], 2000), (["--to", "aes"], 100001)]:
            self.succeeds("convert", self.source, "--out", self.out, "--force", *options)
            mac, *_ = self.show(self.out.read_bytes(), password=None)
            self.assertEqual(mac["iterations"], expected)

    def test_forms_of_the_key(self):
        octets = self.pair.key[-32:]
        for form, content in [
            ("octets", octets),
            ("string", der.octet_string(octets)),
            ("integer", der.integer(int.from_bytes(octets, "little"))),
        ]:
            out = self.folder / form
            self.convert("--to", "gost94", "--pkcs8-form", form)
            self.succeeds("extract", self.out, "--out", out)
            [key] = unpem((out / "key-1.pem").read_bytes())
            self.assertTrue(key.endswith(der.octet_string(content)), form)
            numbers = {openssl.gost("pkey", "-inform", "DER", "-noout", "-text", stdin=data) for data in (key, self.pair.key)}
            self.assertEqual(len(numbers), 1)

    def test_as_many_bags_as_are_allowed_go_along(self):
        bags = pfx.data_entry(*[pfx.bag(pfx.CRL_BAG, der.NULL)] * 10_001)
        source = self.file("source.p12", pfx.container(PASSWORD, bags))
        made = self.file("made.p12", self.convert("--to", "tc26", "--max-bags", "10001", source=source))
        self.check_failures([(["show", made], f"{made}: there are too many bags (--max-bags allows more)")])

    def test_a_form_leaves_out_what_follows_the_key_with_a_warning(self):
        key = pfx.key_bag(with_more_fields(self.pair.key))
        source = self.file("source.p12", pfx.container(PASSWORD, pfx.data_entry(key)))
        done = self.tool("convert", source, "--to", "tc26", *QUICK, "--pkcs8-form", "octets", "--out", self.out)
        self.assertEqual((done.status, done.errors), (0, [
            f"derkit: {source}: warning: attributes after the key are left out",
            f"derkit: {source}: warning: the public key after the key is left out",
        ]))

    def test_bags_of_other_types_go_along(self):
        crl = pfx.bag(pfx.CRL_BAG, der.sequence(
            der.oid("1.2.840.113549.1.9.23.1"), der.element(der.CONTEXT_0, der.octet_string(der.sequence()))))
        safe = pfx.data_entry(pfx.cert_bag(self.pair.certificate), crl)
        source = self.file("source.p12", pfx.container(PASSWORD, safe))
        self.convert("--to", "aes", source=source)
        self.assertIn(b"unsupported bag type: crlBag", openssl.messages(
            "pkcs12", "-in", self.out, "-info", "-noout", "-passin", "env:P12_PASSWORD", P12_PASSWORD=PASSWORD))
        self.out.unlink()
        self.check_failure(f"{self.out}: invalid argument: the native form holds keys and certificates only",
                           "--to", "native", source=source)


class Passwords(ConvertTest):
    def test_without_another_one_the_password_stays(self):
        self.convert("--to", "tc26")
        self.check_read_by_openssl()

    def test_a_new_one_replaces_it(self):
        for command, options in ("convert", ["--to", "tc26"]), ("password", []):
            self.convert(*options, *self.new_password(), command=command)
            self.check_read_by_openssl(password=NEW)

    def test_of_standard_input_the_first_line_is_the_old_one(self):
        for options, stdin in [
            (["--password-stdin", "--new-password-stdin"], f"{PASSWORD}\n{NEW}\n"),
            (["--password-file", self.file("old", PASSWORD), "--new-password-stdin"], f"{NEW}\n"),
            (["--password-stdin", *self.new_password()], f"{PASSWORD}\n"),
        ]:
            self.convert(*options, command="password", password=None, stdin=stdin.encode())
            self.check_read_by_openssl(password=NEW)

    def test_an_empty_one_and_none(self):
        self.convert(*self.new_password(""), command="password")
        self.check_read_by_openssl(password="")
        source = self.file("none.p12", openssl.run(
            "pkcs12", "-export", "-nokeys", "-in", self.pair.certificate_file, "-keypbe", "NONE", "-certpbe", "NONE",
            "-iter", 5, "-passout", "pass:"))
        made = self.convert("--no-password", "--to", "aes", *self.new_password(PASSWORD), source=source, password=None)
        self.check_extracted(made, [], [self.pair.certificate])

    def test_at_the_terminal_both_are_asked_for_and_the_new_one_twice(self):
        for again, expected in ("other", 1), (NEW, 0):
            terminal = Terminal(self).start("password", self.source, "--out", self.out, *QUICK)
            asked = f"Password for the new {self.out}"
            for prompt, answer in (f"Password for {self.source}", PASSWORD), (asked, NEW), (f"{asked} again", again):
                terminal.read_until(f"{prompt}: ".encode())
                terminal.type(answer.encode() + b"\n")
            status, shown = terminal.end()
            self.assertEqual(status, expected, shown)
            self.assertEqual(f"derkit: the new {self.out}: the two passwords differ" in shown, expected == 1, shown)
            self.assertEqual(self.out.exists(), expected == 0)
            self.assertFalse(NEW in shown or PASSWORD in shown)
        self.check_read_by_openssl(password=NEW)

    def test_a_wrong_old_one_is_told_before_the_new_one_is_asked_for(self):
        terminal = Terminal(self).start("password", self.source, "--out", self.out)
        terminal.read_until(f"Password for {self.source}: ".encode())
        terminal.type(b"wrong\n")
        status, shown = terminal.end()
        self.assertEqual((status, shown.count("Password for")), (1, 1), shown)

    def test_a_new_one_that_is_not_there_is_told_before_the_old_one_is_asked_for(self):
        """There is no terminal, so asking would fail in another way."""
        missing = self.folder / "no"
        for options, problem in [
            (["--new-password-file", missing], f"{missing}: No such file or directory"),
            (["--new-password-env", "NO_SUCH_VARIABLE"], "NO_SUCH_VARIABLE: no such variable in the environment"),
        ]:
            for command, to in ("password", []), ("convert", ["--to", "aes"]):
                self.check_failure(problem, *to, *options, command=command, password=None)

    def test_a_new_one_that_is_not_utf_8(self):
        new = ["--new-password-file", self.file("new", b"\xcf\xc1\n")]
        self.check_failure(f"the new {self.out}: the password is not UTF-8", *new, command="password")

    def test_a_file_may_replace_itself(self):
        self.out = self.source
        self.convert(*self.new_password(), command="password")
        self.check_read_by_openssl(password=NEW)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["new", "source.p12"])
        self.assertEqual(mode(self.out), 0o600)

    def test_the_format_stays(self):
        for name in FORMATS:
            first = self.convert("--to", name)
            made = self.convert(*self.new_password(), command="password", source=self.file("first.p12", first))
            schemes = [[found.get("cipher") for found in self.show(data, password=None)] for data in (first, made)]
            self.assertEqual(*schemes, name)
            kinds = [self.show_all(data, password=word)[0] for data, word in ((first, PASSWORD), (made, NEW))]
            self.assertEqual(*kinds, name)

    def test_the_cipher_stays(self):
        for cipher in "magma", "kuznyechik":
            first = self.convert("--to", "rfc9548", "--cipher", cipher)
            made = self.convert(*self.new_password(), command="password", source=self.file("first.p12", first))
            self.assertEqual(*([found.get("cipher") for found in self.show(data, password=None)] for data in (first, made)))


class Refusals(ConvertTest):
    def test_what_needs_no_password_is_told_before_one_is_asked_for(self):
        """There is no terminal, so asking would fail in another way."""
        safe = pfx.data_entry(pfx.cert_bag(self.pair.certificate))
        no_mac = self.file("no-mac.p12", openssl.gost(
            "pkcs12", "-export", "-inkey", self.pair.key_file, "-in", self.pair.certificate_file, "-nomac",
            "-keypbe", "gost89", "-certpbe", "gost89", "-passout", "pass:x"))
        existing = self.file("existing.p12", b"old")
        for arguments, problem in [
            (["convert", self.source, "--to", "tc26", "--out", existing],
             f"{existing}: already exists (--force overwrites it)"),
            (["password", self.source, "--out", existing], f"{existing}: already exists (--force overwrites it)"),
            (["convert", no_mac, "--to", "tc26", "--out", self.out],
             f"{no_mac}: the container has no MAC (--accept-unverified opens it all the same)"),
            (["password", self.file("text", b"text"), "--out", self.out],
             f"{self.folder / 'text'}: not a PKCS#12 container: the data is malformed or truncated"),
            (["password", no_mac, "--accept-unverified", "--out", self.out],
             f"{no_mac}: containers of its kind (no MAC) are not made; --to chooses another"),
        ]:
            self.check_failures([(arguments, problem)], password=None)
        self.assertEqual(existing.read_bytes(), b"old")

    def test_a_container_without_mac_gets_one_when_asked_for(self):
        source = self.file("source.p12", openssl.gost(
            "pkcs12", "-export", "-inkey", self.pair.key_file, "-in", self.pair.certificate_file, "-iter", "5", "-nomac",
            "-keypbe", "gost89", "-certpbe", "gost89", "-name", NAME, "-passout", "env:P", P=PASSWORD))
        arguments = ["convert", source, "--out", self.out, "--to", "tc26", *QUICK, "--accept-unverified"]
        done = self.tool(*arguments)
        self.assertEqual((done.status, done.errors), (
            0, [f"derkit: {source}: warning: no good MAC vouches for it; the new container will have one"]))
        self.check_read_by_openssl()
        self.out.unlink()
        message = self.fails(*arguments, password="wrong")
        self.assertIn("wrong password", message)
        self.assertFalse(self.out.exists())

    def test_a_wrong_password(self):
        self.check_failure(f"{self.source}: the MAC does not match: wrong password, or the file was altered",
                           "--to", "tc26", password="wrong")

    def test_nothing_is_written_if_a_part_cannot_be_read(self):
        unknown = pfx.encrypted_entry(der.sequence(der.oid("1.2.3")), b"x" * 8)
        source = self.file("source.p12", pfx.container(
            PASSWORD, pfx.data_entry(pfx.cert_bag(self.pair.certificate)), unknown))
        self.check_failure(f"{source}: entry 2 (encryptedData): the encryption scheme is not supported: 1.2.3",
                           "--to", "tc26", source=source, password=None)

    def test_a_key_that_is_no_gost_key_has_no_forms(self):
        key = unpem(openssl.run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))[0]
        source = self.file("source.p12", pfx.container(PASSWORD, pfx.data_entry(pfx.key_bag(key))))
        self.check_extracted(self.convert("--to", "tc26", source=source), [key], [])
        self.out.unlink()
        done = self.fails("convert", source, "--out", self.out, "--to", "tc26", "--pkcs8-form", "octets")
        self.assertTrue(done.startswith(f"{source}: the key is not a GOST R 34.10 key: "), done)

    def test_a_failure_leaves_nothing_behind(self):
        self.check_failure(f"{self.out}: File too large", "--to", "gost94", preexec_fn=limit_file_size(100))
        self.assertEqual(list(self.folder.iterdir()), [self.source])

    def test_command_lines_that_make_no_sense(self):
        convert = ["convert", self.source, "--out", self.out]
        self.check_usage([
            (["convert", self.source, "--to", "tc26"], "--out is required"),
            (convert, "--to is required"),
            ([*convert, "--to", "pem"], "--to"),
            ([*convert, "--to", "tc26", "--cipher", "magma"], "--cipher: only for rfc9548 and rfc9548-omac"),
            ([*convert, "--to", "aes", "--sections", "tls"], "--sections: only for rfc9548 and rfc9548-omac"),
            (["password", self.source, "--out", self.out, "--cipher", "magma"], "--cipher: only for"),
            ([*convert, "--to", "native", "--iterations", "65537"], "--iterations: native has no numbers with a zero octet"),
            *(([*convert, "--to", "tc26", "--iterations", number], "--iterations: needs a number from 1 to 1000000")
              for number in ("0", "1000001", "-1", "1e3", "", "99999999999999999999")),
            (["convert", "-", "--to", "tc26", "--out", self.out, "--new-password-stdin"],
             "--new-password-stdin: the standard input holds the file already"),
            ([*convert, "--to", "tc26", "--new-password-stdin", "--new-password-ask"], "excludes"),
            ([*convert, "--to", "tc26", "--new-password-file", "-"],
             "--new-password-file: - is no file (see --new-password-stdin)"),
        ])
        self.assertFalse(self.out.exists())

    def test_standard_output(self):
        done = self.tool("convert", self.source, "--to", "tc26", *QUICK, "--out", "-")
        self.assertEqual((done.status, done.errors), (0, []))
        self.out.write_bytes(done.out)
        self.check_read_by_openssl()


if __name__ == "__main__":
    unittest.main()
