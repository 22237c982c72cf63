#!/usr/bin/env python3
"""Tests "derkit p12 make": openssl must read what the tool makes."""

import hashlib
import re
import unittest

import der
import openssl
import pfx
from der import pem, unpem
from p12 import NAME, PASSWORD, UNREADABLE_MAC, P12Test, limit_file_size, mode, pairs, with_more_fields
from tool import Terminal


def certificate_of_size(size, pair):
    """Makes a certificate for the key of a pair."""
    key = openssl.gost("pkey", "-in", pair.key_file, "-pubout", "-outform", "DER")
    made = (der.certificate("a" * (size - more), der.name(), key=key) for more in range(100, 300))
    return next(data for data in made if len(data) == size)


class MakeTest(P12Test):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "made.p12"

    def arguments(self, *options, key=None, certificate=None):
        """Few iterations unless the options have their own number."""
        quick = [] if "--iterations" in options else ["--iterations", "3"]
        return ["make", "--key", key or self.pair.key_file, "--cert", certificate or self.pair.certificate_file,
                "--out", self.out, *quick, *options]

    def make(self, *options, key=None, certificate=None, **how):
        """Makes a container, and returns it."""
        self.assertEqual(self.succeeds(*self.arguments(*options, "--force", key=key, certificate=certificate), **how), "")
        return self.out.read_bytes()

    def read_with_openssl(self, password=PASSWORD):
        return openssl.gost("pkcs12", "-in", self.out, "-nodes", "-passin", "env:P12_PASSWORD", P12_PASSWORD=password)

    def read_by_openssl(self, label, **how):
        return unpem(self.read_with_openssl(**how), label)

    def refuses_input(self, problem, options=(), password=PASSWORD, **what):
        self.check_failures([(self.arguments(*options, **what), problem)], password=password)
        self.assertFalse(self.out.exists())


class MadeContainers(MakeTest):
    def test_openssl_reads_the_same_octets_of_each_family(self):
        for pair in pairs():
            with self.subTest(pair.family):
                self.make(key=pair.key_file, certificate=pair.certificate_file)
                self.assertEqual(self.read_by_openssl("PRIVATE KEY"), [pair.key])
                self.assertEqual(self.read_by_openssl("CERTIFICATE"), [pair.certificate])

    def test_key_and_first_certificate_share_name_and_the_sha1_of_the_certificate(self):
        made = self.make("--cert", pairs()[1].certificate_file, "--name", NAME)
        key_id = hashlib.sha1(self.pair.certificate).hexdigest().upper()
        read = self.read_with_openssl()
        self.assertEqual(read.count(b"localKeyID: " + " ".join(re.findall("..", key_id)).encode()), 2)
        # of each unit of UTF-16 openssl shows the lower octet
        self.assertEqual(read.count(b"friendlyName: " + NAME.encode("utf-16-be")[1::2]), 2)
        _, first, second, key = self.show(made)
        for found in key, first:
            self.assertEqual((found["friendly_name"], found["local_key_id"]), (NAME, key_id))
        self.assertFalse({"friendly_name", "local_key_id"} & set(second))

    def test_a_name_may_have_characters_of_any_plane(self):
        self.assertEqual([found["friendly_name"] for found in self.show(self.make("--name", "🔑"))[1:]], 2 * ["🔑"])

    def test_there_is_no_name_unless_one_is_given(self):
        for options in [], ["--name", ""]:
            made = self.make(*options)
            self.assertNotIn(b"friendlyName", self.read_with_openssl())
            self.assertTrue(all("friendly_name" not in found for found in self.show(made)))

    def test_all_certificates_of_all_files_go_in_as_they_come(self):
        other = der.certificate("other")
        bundle = self.file("bundle.pem", b"text\n" + pairs()[2].certificate_pem + pem(other))
        single = self.file("single.der", pairs()[1].certificate)
        made = self.make("--cert", bundle, "--cert", single)
        expected = [self.pair.certificate, pairs()[2].certificate, other, pairs()[1].certificate]
        self.check_extracted(made, [self.pair.key], expected)

    def test_every_format_is_what_it_is_called(self):
        for name, kind, cipher in [
            ("gost94", "GOST R 34.11-94", "GOST 28147-89 CFB"),
            ("tc26", "GOST R 34.11-2012", "GOST 28147-89 CFB"),
            ("rfc9548", "RFC 9548", "Kuznyechik CTR-ACPKM"),
            ("rfc9548-omac", "RFC 9548 with OMAC", "Kuznyechik CTR-ACPKM-OMAC"),
            ("aes", "general PKCS#12", "AES-256-CBC"),
            ("native", "GOST R 34.11-94", "GOST 28147-89 CFB"),
        ]:
            with self.subTest(name):
                made = self.make("--to", name)
                container, mac, *bags = self.show_all(made)
                self.assertEqual((container["kind"], container["form"]), (kind, "native" if name == "native" else "standard"))
                self.assertEqual((mac["verdict"], {found["cipher"] for found in bags}), ("good", {cipher}))
                self.check_extracted(made, [self.pair.key], [self.pair.certificate])

    def test_openssl_does_not_read_the_native_one(self):
        self.make("--to", "native")
        with self.assertRaisesRegex(RuntimeError, "Mac verify error"):
            self.read_with_openssl()

    def test_several_keys_each_with_its_certificate(self):
        """The certificates come in another order than the keys."""
        keys = [option for pair in pairs() for option in ("--key", pair.key_file)]
        names = [option for pair in pairs() for option in ("--name", pair.algorithm)]
        certificates = [option for pair in pairs()[::-1] for option in ("--cert", pair.certificate_file)]
        self.succeeds("make", *keys, *names, *certificates, "--out", self.out, "--iterations", "3")
        self.check_extracted(self.out.read_bytes(), [pair.key for pair in pairs()],
                             [pair.certificate for pair in pairs()[::-1]])
        shown = self.show(self.out.read_bytes())
        for pair in pairs():
            key_id = hashlib.sha1(pair.certificate).hexdigest().upper()
            found = [(one["object"], one["friendly_name"]) for one in shown if one.get("local_key_id") == key_id]
            self.assertEqual(sorted(found), [("certificate", pair.algorithm), ("key", pair.algorithm)])

    def test_forms_of_the_key(self):
        for form, octets in ("octets", self.pair.key[-32:]), ("string", der.octet_string(self.pair.key[-32:])):
            self.make("--pkcs8-form", form)
            out = self.folder / form
            self.succeeds("extract", self.out, "--out", out)
            self.assertTrue(unpem((out / "key-1.pem").read_bytes())[0].endswith(der.octet_string(octets)))

    def test_a_form_leaves_out_what_follows_the_key_with_a_warning(self):
        key = self.file("key.der", with_more_fields(self.pair.key))
        done = self.tool(*self.arguments("--pkcs8-form", "octets", key=key))
        self.assertEqual((done.status, done.errors), (0, [
            f"derkit: {key}: warning: attributes after the key are left out",
            f"derkit: {key}: warning: the public key after the key is left out",
        ]))

    def test_a_native_container_covers_its_octet_string_and_wraps_its_bags(self):
        """Built by hand, so that the tool is not only held against itself."""
        wrapped = pfx.encrypt("x", der.octet_string(der.sequence(pfx.cert_bag(der.certificate("x")))))
        safe = der.sequence(pfx.encrypted_entry(pfx.pbes2(), wrapped))
        made = pfx.pfx(safe, pfx.mac_data(pfx.mac("x", der.octet_string(safe))))
        container, mac, found = self.show_all(made, password="x")
        self.assertEqual((container["form"], mac["key"], found["subject"]), ("native", "PBKDF2", "CN=x"))

    def test_salts_are_32_octets_and_iterations_those_of_the_format_by_default(self):
        for to, iterations in ("gost94", 2000), ("native", 2000), ("aes", 100001):
            self.succeeds("make", "--key", self.pair.key_file, "--cert", self.pair.certificate_file, "--out", self.out,
                          "--force", "--to", to)
            protected = [found for found in self.show(self.out.read_bytes(), password=None) if "iterations" in found]
            self.assertGreater(len(protected), 1)
            for found in protected:
                self.assertEqual((found["salt_size"], found["iterations"]), (32, iterations), found)

    def test_the_default_is_tc26(self):
        self.assertEqual(self.show_all(self.make())[0]["kind"], "GOST R 34.11-2012")

    def test_nothing_of_two_containers_is_the_same_but_their_form(self):
        one, other = self.make(), self.make()
        self.assertEqual(len(one), len(other))
        self.assertLess(sum(a == b for a, b in zip(one, other)), len(one) / 2)

    def test_key_and_certificate_are_hidden(self):
        """The native form hides the name too; in the others it is outside of the key's encryption, as RFC 7292 has it."""
        for to in "tc26", "native":
            made = self.make("--name", NAME, "--to", to)
            for secret in self.pair.key[-32:], self.pair.certificate[20:60]:
                self.assertNotIn(secret, made)
            self.assertEqual(NAME.encode("utf-16-be") in made, to == "tc26")

    def test_an_empty_password_is_a_password(self):
        made = self.make(password="")
        self.assertEqual(self.read_by_openssl("CERTIFICATE", password=""), [self.pair.certificate])
        self.assertEqual(self.show(made, password="")[0]["verdict"], "good")
        self.check_refused(made, UNREADABLE_MAC, password=" ")

    def test_the_container_is_for_its_owner_alone_and_nothing_else_is_left(self):
        self.make()
        self.assertEqual(mode(self.out), 0o600)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["made.p12"])

    def test_a_file_is_overwritten_under_force_only(self):
        self.out.write_bytes(b"old")
        self.check_failures([(self.arguments(), f"{self.out}: already exists (--force overwrites it)")])
        self.assertEqual(self.out.read_bytes(), b"old")
        self.make()
        self.assertEqual(self.read_by_openssl("CERTIFICATE"), [self.pair.certificate])
        self.assertEqual([path.name for path in self.folder.iterdir()], ["made.p12"])

    def test_a_failure_leaves_no_file(self):
        self.check_failures([(self.arguments(), f"{self.out}: File too large")], preexec_fn=limit_file_size(100))
        self.assertEqual(list(self.folder.iterdir()), [])
        self.out = self.folder / "no" / "made.p12"
        self.check_failures([(self.arguments(), f"{self.out.parent}: No such file or directory")])

    def test_lengths_with_zero_octets(self):
        for size in 0x10000, 0x11111:
            path = self.file("big.der", certificate_of_size(size, self.pair))
            for to in "tc26", "native":
                made = self.make("--to", to, certificate=path)
                self.check_extracted(made, [self.pair.key], [path.read_bytes()])


class Belonging(MakeTest):
    NONE = "none of the certificates is for this key"
    REMEDY = " (--force makes the container all the same)"

    def test_a_key_without_its_certificate_is_refused(self):
        other = pairs()[1]
        place = f"{self.pair.key_file} (line 1)"
        self.refuses_input(f"{place}: {self.NONE}{self.REMEDY}", certificate=other.certificate_file)
        self.refuses_input(f"{place}: {self.NONE}{self.REMEDY}", certificate=other.certificate_file, password=None)
        self.refuses_input(f"{other.key_file} (line 1): {self.NONE}{self.REMEDY}", options=["--key", other.key_file])

    def test_of_the_same_family_too(self):
        other = self.file("other.key", openssl.gost("genpkey", "-algorithm", "gost2001", "-pkeyopt", "paramset:A"))
        self.refuses_input(f"{other} (line 1): {self.NONE}{self.REMEDY}", key=other)

    def test_an_encrypted_one_is_refused_once_it_is_open(self):
        key = self.file("key", openssl.gost("pkcs8", "-topk8", "-in", self.pair.key_file, "-v2", "gost89", "-passout",
                                            "env:P12_PASSWORD", P12_PASSWORD=PASSWORD))
        self.refuses_input(f"{key} (line 1): {self.NONE}{self.REMEDY}", key=key,
                           certificate=pairs()[1].certificate_file)

    def test_force_makes_it_with_the_certificate_in_its_place(self):
        other = pairs()[1]
        done = self.tool(*self.arguments("--force", certificate=other.certificate_file))
        self.assertEqual((done.status, done.errors), (0, [f"derkit: {self.pair.key_file} (line 1): warning: {self.NONE}"]))
        made = self.out.read_bytes()
        self.check_extracted(made, [self.pair.key], [other.certificate])
        ids = {found["local_key_id"] for found in self.show(made)[1:]}
        self.assertEqual(ids, {hashlib.sha1(other.certificate).hexdigest().upper()})

    def test_a_key_of_another_algorithm_cannot_be_compared(self):
        ec_key = self.file("ec.pem", openssl.run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
        problem = f"{ec_key} (line 1): cannot be compared with the certificates: the key is not a GOST R 34.10 key: "
        message = self.fails(*self.arguments(key=ec_key))
        self.assertTrue(message.startswith(problem) and message.endswith(self.REMEDY), message)
        self.assertEqual(self.tool(*self.arguments("--force", key=ec_key)).status, 0)
        self.check_extracted(self.out.read_bytes(), [unpem(ec_key.read_bytes())[0]], [self.pair.certificate])

    def test_a_certificate_has_one_key_at_most_that_was_forced(self):
        """The second key takes no certificate, since the one in its place is another's."""
        first, second = pairs()[:2]
        done = self.tool("make", "--key", first.key_file, "--key", second.key_file, "--cert", pairs()[2].certificate_file,
                         "--cert", first.certificate_file, "--out", self.out, "--iterations", "3", "--force")
        self.assertEqual((done.status, len(done.errors)), (0, 1), done.errors)
        keys = [found for found in self.show(self.out.read_bytes()) if found["object"] == "key"]
        self.assertEqual(["local_key_id" in found for found in keys], [True, False])


class Inputs(MakeTest):
    def test_an_encrypted_key_has_the_password_of_the_container(self):
        for form in "PEM", "DER":
            key = self.file("key", openssl.gost(
                *["pkcs8", "-topk8", "-in", self.pair.key_file, "-v2", "gost89", "-passout", "env:P12_PASSWORD"],
                *["-outform", form], P12_PASSWORD=PASSWORD))
            self.make(key=key)
            self.assertEqual(self.read_by_openssl("PRIVATE KEY"), [self.pair.key])
            message = self.fails(*self.arguments("--force", key=key), password="other")
            self.assertTrue(message.endswith("wrong password, or the encrypted data was altered"), message)
            self.assertEqual(self.read_by_openssl("PRIVATE KEY"), [self.pair.key])

    def test_forms_of_keys_and_certificates(self):
        both = self.file("both.pem", self.pair.certificate_pem + self.pair.key_pem)
        # what follows a certificate does not go in
        trusted = self.file("a.pem", pem(self.pair.certificate + der.sequence(), "TRUSTED CERTIFICATE"))
        for what, key in [
            ({"key": "-", "stdin": self.pair.key}, self.pair.key),
            ({"key": "-", "stdin": self.pair.key_pem}, self.pair.key),
            ({"key": both, "certificate": both}, self.pair.key),
            ({"certificate": trusted}, self.pair.key),
        ]:
            with self.subTest(what):
                self.check_extracted(self.make(**what), [key], [self.pair.certificate])

    def test_keys_that_are_none_are_refused(self):
        unknown = der.sequence(der.sequence(der.oid("1.2.3")), der.octet_string(b"x"))
        not_pkcs8 = ": holds no PKCS#8 key (PRIVATE KEY), but "
        key = self.folder / "key"
        for data, problem in {
            b"": ": is empty",
            b"text": ": neither PEM nor DER of a PKCS#8 key",
            pem(b"x", "EC PRIVATE KEY"): not_pkcs8 + "EC PRIVATE KEY",
            self.pair.certificate_pem: not_pkcs8 + "CERTIFICATE",
            self.pair.key_pem * 2: ": holds more than one private key",
            pem(self.pair.key, "PRIVATE KEY")[:-5]: " (line 1): no END line",
            self.pair.certificate: ": neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, or cut short",
            self.pair.key + b"more": ": has 4 bytes after the key",
            pem(self.pair.key[:-1], "PRIVATE KEY"): " (line 1): not a PrivateKeyInfo: SEQUENCE is missing or malformed",
            unknown: ": the encryption scheme is not supported: 1.2.3",
        }.items():
            key.write_bytes(data)
            self.refuses_input(f"{key}{problem}", key=key)
        key.unlink()
        self.refuses_input(f"{key}: No such file or directory", key=key)

    def test_certificates_that_are_none_are_refused(self):
        good = self.pair.certificate_pem
        for data, problem in {
            b"": ": is empty",
            b"text": ": holds no certificate",
            self.pair.key_pem: ": holds no certificate",
            good + b"-----BEGIN CERTIFICATE-----\n": f" (line {len(good.splitlines()) + 1}): no END line",
            pem(self.pair.certificate[:-1]): " (line 1): the certificate is cut short",
            self.pair.certificate[:-1]: ": the certificate is cut short",
        }.items():
            path = self.file("certificate", data)
            self.refuses_input(f"{path}{problem}", certificate=path)

    def test_a_name_must_be_text(self):
        self.refuses_input("--name: is not UTF-8", options=["--name", b"\xff".decode("utf-8", "surrogateescape")])

    def test_a_password_typed_is_asked_for_twice(self):
        for options, answers, expected in [
            ([], ["one", "other"], 1),
            (["--password-ask"], ["one", "other"], 1),
            ([], [PASSWORD, PASSWORD], 0),
        ]:
            terminal = Terminal(self).start(*self.arguments(*options))
            for what, answer in zip((self.out, f"{self.out} again"), answers):
                terminal.read_until(f"Password for {what}: ".encode())
                terminal.type(answer.encode() + b"\n")
            status, shown = terminal.end()
            self.assertEqual((status, shown.count("Password for")), (expected, 2), shown)
            self.assertEqual(f"derkit: {self.out}: the two passwords differ" in shown, expected == 1, shown)
            self.assertEqual(self.out.exists(), expected == 0)
            self.assertNotIn(PASSWORD, shown)
        self.assertEqual(self.read_by_openssl("CERTIFICATE"), [self.pair.certificate])


if __name__ == "__main__":
    unittest.main()
