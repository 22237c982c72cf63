#!/usr/bin/env python3
"""Tests "derkit p12 make": openssl must read what the tool makes."""

import hashlib
import re
import unittest

import der
import openssl
import pfx
from der import pem, unpem
from p12 import NAME, PASSWORD, UNREADABLE_MAC, P12Test, limit_file_size, mode, pairs
from tool import Terminal


def certificate_of_size(size):
    made = (der.certificate("a" * (size - more), der.name()) for more in range(100, 200))
    return next(data for data in made if len(data) == size)


class MakeTest(P12Test):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "made.p12"

    def arguments(self, *options, key=None, certificate=None):
        return ["make", "--key", key or self.pair.key_file, "--cert", certificate or self.pair.certificate_file,
                "--out", self.out, *options]

    def make(self, *options, key=None, certificate=None, **how):
        """Makes a container, and returns it."""
        self.assertEqual(self.succeeds(*self.arguments(*options, "--force", key=key, certificate=certificate), **how), "")
        return self.out.read_bytes()

    def read_with_openssl(self, password=PASSWORD):
        return openssl.gost("pkcs12", "-in", self.out, "-nodes", "-passin", "env:P12_PASSWORD", P12_PASSWORD=password)

    def read_by_openssl(self, label, **how):
        return unpem(self.read_with_openssl(**how), label)

    def refuses_input(self, problem, **what):
        self.check_failures([(self.arguments(*what.pop("options", []), **what), problem)])
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
        _, key, first, second = self.show(made)
        for found in key, first:
            self.assertEqual((found["friendly_name"], found["local_key_id"]), (NAME, key_id))
        self.assertFalse({"friendly_name", "local_key_id"} & set(second))

    def test_a_name_may_have_characters_of_any_plane(self):
        self.assertEqual(self.show(self.make("--name", "🔑"))[1]["friendly_name"], "🔑")

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

    def test_the_native_profile_is_told_from_the_standard_one(self):
        for profile in "standard", "native":
            made = self.make("--profile", profile)
            mac = self.show(made)[0]
            self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", profile, "PBKDF2"))
            self.check_extracted(made, [self.pair.key], [self.pair.certificate])
        with self.assertRaisesRegex(RuntimeError, "Mac verify error"):
            self.read_with_openssl()

    def test_a_native_container_covers_its_octet_string_and_wraps_its_bags(self):
        """Built by hand, so that the tool is not only held against itself."""
        wrapped = pfx.encrypt("x", der.octet_string(der.sequence(pfx.cert_bag(der.certificate("x")))))
        safe = der.sequence(pfx.encrypted_entry(pfx.pbes2(), wrapped))
        made = pfx.pfx(safe, pfx.mac_data(pfx.mac("x", der.octet_string(safe))))
        mac, found = self.show(made, password="x")
        self.assertEqual((mac["profile"], mac["key"], found["subject"]), ("native", "PBKDF2", "CN=x"))

    def test_salts_are_32_octets_and_iterations_2000_by_default(self):
        mac, entry = self.show(self.make(), password=None)
        self.assertEqual((mac["algorithm"], mac["salt_size"], mac["iterations"]), ("GOST R 34.11-94", 32, 2000))
        self.assertEqual((entry["salt_size"], entry["iterations"], entry["iv_size"]), (32, 2000, 8))
        self.assertEqual(entry["cipher_param_set"], "id-Gost28147-89-CryptoPro-A-ParamSet")
        self.assertNotIn("not_read", entry)

    def test_nothing_of_two_containers_is_the_same_but_their_form(self):
        one, other = self.make(), self.make()
        self.assertEqual(len(one), len(other))
        self.assertLess(sum(a == b for a, b in zip(one, other)), len(one) / 2)

    def test_key_and_names_are_hidden(self):
        made = self.make("--name", NAME)
        for secret in self.pair.key[-32:], NAME.encode("utf-16-be"), self.pair.certificate[20:60]:
            self.assertNotIn(secret, made)

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

    def test_a_container_that_would_not_come_back_is_not_written(self):
        """The library drops a zero octet of a length of 64 KiB or more."""
        key = self.file("key.der", der.private_key())
        for profile in "standard", "native":
            path = self.file("big.der", certificate_of_size(0x10000))
            problem = f"{self.out}: the size of the container does not fit into its header"
            self.refuses_input(problem, key=key, certificate=path, options=["--profile", profile])
        for profile in "standard", "native":
            path = self.file("big.der", certificate_of_size(0x11111))
            made = self.make("--profile", profile, key=key, certificate=path)
            self.check_extracted(made, [der.private_key()], [path.read_bytes()])


class Inputs(MakeTest):
    def test_an_encrypted_key_has_the_password_of_the_container(self):
        for form in "PEM", "DER":
            key = self.file("key", openssl.gost(
                *["pkcs8", "-topk8", "-in", self.pair.key_file, "-v2", "gost89", "-passout", "env:P12_PASSWORD"],
                *["-outform", form], P12_PASSWORD=PASSWORD))
            self.make(key=key)
            self.assertEqual(self.read_by_openssl("PRIVATE KEY"), [self.pair.key])
            message = self.fails(*self.arguments("--force", key=key), password="other")
            self.assertTrue(message.endswith("wrong password for the encrypted key, or the key is damaged"), message)
            self.assertEqual(self.read_by_openssl("PRIVATE KEY"), [self.pair.key])

    def test_forms_of_keys_and_certificates(self):
        both = self.file("both.pem", self.pair.certificate_pem + self.pair.key_pem)
        ec_key = self.file("ec.pem", openssl.run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
        # what follows a certificate does not go in
        trusted = self.file("a.pem", pem(self.pair.certificate + der.sequence(), "TRUSTED CERTIFICATE"))
        for what, key in [
            ({"key": "-", "stdin": self.pair.key}, self.pair.key),
            ({"key": "-", "stdin": self.pair.key_pem}, self.pair.key),
            ({"key": both, "certificate": both}, self.pair.key),
            ({"key": ec_key}, unpem(ec_key.read_bytes())[0]),
            ({"certificate": trusted}, self.pair.key),
        ]:
            with self.subTest(what):
                self.check_extracted(self.make(**what), [key], [self.pair.certificate])

    def test_keys_that_are_none_are_refused(self):
        aes = openssl.run(
            *["pkcs8", "-topk8", "-v2", "aes-256-cbc", "-passout", "pass:x", "-outform", "DER"],
            stdin=openssl.run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
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
            aes: ": the key is encrypted with AES-256-CBC (2.16.840.1.101.3.4.1.42); only GOST 28147-89 is read",
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
