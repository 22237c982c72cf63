#!/usr/bin/env python3
"""Tests "derkit p12 extract": which files it writes, and that a failure leaves none."""

import os
import unittest

import der
import openssl
import pfx
from der import certificate, pem, private_key
from p12 import PASSWORD, P12Test, limit_file_size, mode
from tool import Terminal


class ExtractTest(P12Test):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out"
        self.container = self.bags("a.p12", pfx.key_bag(private_key()), *map(pfx.cert_bag, map(certificate, "ab")))

    def bags(self, name, *bags):
        return self.file(name, pfx.container("x", pfx.data_entry(*bags)))

    def arguments(self, *options, container=None, out=None):
        return ["extract", container or self.container, "--out", out or self.out, *options]

    def tool(self, *arguments, password="x", **how):
        return super().tool(*arguments, password=password, **how)

    def files(self):
        return {path.name: path.read_bytes() for path in self.out.iterdir()}

    def put_into_out(self, name, data=b"old"):
        self.out.mkdir(exist_ok=True)
        (self.out / name).write_bytes(data)
        return self.out / name


class WrittenFiles(ExtractTest):
    def test_files_are_listed_and_keys_are_for_their_owner_alone(self):
        printed = self.succeeds(*self.arguments(), preexec_fn=lambda: os.umask(0))
        modes = {"key-1.pem": 0o600, "certificate-1.pem": 0o666, "certificate-2.pem": 0o666}
        self.assertEqual(printed, "".join(f"{self.out}/{name}\n" for name in modes))
        self.assertEqual({path.name: mode(path) for path in self.out.iterdir()}, modes)
        self.assertEqual(mode(self.out), 0o700)

    def test_openssl_reads_what_is_extracted(self):
        self.succeeds(*self.arguments(container=self.file("b.p12", self.pair.export())), password=PASSWORD)
        key = openssl.gost("pkey", "-in", self.out / "key-1.pem", "-pubout")
        of_certificate = openssl.gost("x509", "-in", self.out / "certificate-1.pem", "-noout", "-pubkey")
        self.assertEqual(key, of_certificate)

    def test_a_directory_that_is_there_is_used_with_what_it_holds(self):
        other = self.put_into_out("other")
        self.out.chmod(0o755)
        self.succeeds(*self.arguments(out=f"{self.out}/"))
        self.assertEqual(mode(self.out), 0o755)
        self.assertEqual((len(self.files()), other.read_bytes()), (4, b"old"))

    def test_files_are_overwritten_under_force_only(self):
        for taken in "key-1.pem", "certificate-2.pem":
            self.put_into_out(taken)
            problem = f"{self.out}/{taken}: already exists (--force overwrites it)"
            self.check_failures([(self.arguments(), problem)])
            self.assertEqual(self.files(), {taken: b"old"})
            self.succeeds(*self.arguments("--force"))
            self.assertEqual(len(self.files()), 3)
            self.assertNotEqual(self.files()[taken], b"old")
            for path in self.out.iterdir():
                path.unlink()

    def test_an_overwritten_key_is_for_its_owner_alone_too(self):
        key = self.put_into_out("key-1.pem")
        key.chmod(0o666)
        self.succeeds(*self.arguments("--force"))
        self.assertEqual(mode(key), 0o600)

    def test_what_follows_a_key_or_certificate_is_left_out_with_a_warning(self):
        path = self.bags("b.p12", pfx.key_bag(private_key() + b"abc"), pfx.cert_bag(certificate("x") + b"de"))
        done = self.tool(*self.arguments(container=path))
        self.assertEqual((done.status, done.errors), (0, [
            f"derkit: {path}: key 1: warning: 3 bytes after it are left out",
            f"derkit: {path}: certificate 1: warning: 2 bytes after it are left out",
        ]))
        expected = {"key-1.pem": pem(private_key(), "PRIVATE KEY"), "certificate-1.pem": pem(certificate("x"))}
        self.assertEqual(self.files(), expected)

    def test_a_password_is_typed_once_to_read(self):
        terminal = Terminal(self).start(*self.arguments())
        terminal.read_until(f"Password for {self.container}: ".encode())
        terminal.type(b"x\n")
        status, shown = terminal.end()
        self.assertEqual((status, shown.count("Password for")), (0, 1), shown)
        self.assertTrue((self.out / "key-1.pem").exists())


class Failures(ExtractTest):
    def test_when_a_later_file_fails_none_is_left(self):
        big = self.bags("big.p12", pfx.key_bag(private_key()), pfx.cert_bag(certificate("a" * 4096)))
        problem = f"{self.out}/certificate-1.pem: File too large"
        limit = limit_file_size(4096)
        self.check_failures([(self.arguments(container=big), problem)], preexec_fn=limit)
        self.assertFalse(self.out.exists())
        self.put_into_out("key-1.pem")
        self.check_failures([(self.arguments("--force", container=big), problem)], preexec_fn=limit)
        self.assertEqual(self.files(), {"key-1.pem": b"old"})

    def test_a_directory_in_the_place_of_a_file(self):
        (self.out / "certificate-2.pem").mkdir(parents=True)
        self.fails(*self.arguments("--force"))
        self.assertEqual([path.name for path in self.out.iterdir()], ["certificate-2.pem"])

    def test_no_directory_can_be_made(self):
        nowhere, taken = self.folder / "no" / "out", self.file("taken", b"old")
        self.check_failures([
            (self.arguments(out=nowhere), f"{nowhere.parent}: No such file or directory"),
            (self.arguments(out=taken), f"{taken}: Not a directory"),
        ])
        self.assertEqual(taken.read_bytes(), b"old")

    def test_a_bag_that_is_not_what_it_says_stops_it_all(self):
        good = pfx.key_bag(private_key()), pfx.cert_bag(certificate("x")), pfx.cert_bag(certificate("x"))
        for bad, problem in {
            pfx.cert_bag(b"x"): "certificate 3: not a certificate: Certificate is missing or malformed",
            pfx.key_bag(der.NULL): "key 2: not a PrivateKeyInfo: SEQUENCE is missing or malformed",
        }.items():
            path = self.bags("bad.p12", *good, bad)
            self.check_failures([(self.arguments(container=path), f"{path}: {problem}")])
            self.assertFalse(self.out.exists())

    def test_a_container_without_bags(self):
        path = self.file("empty.p12", pfx.container("x"))
        problem = f"{path}: holds neither a key nor a certificate that can be read"
        self.check_failures([(self.arguments(container=path), problem)])
        self.assertFalse(self.out.exists())

    def test_what_no_password_opens_is_told_before_one_is_asked_for(self):
        """There is no terminal, so asking would fail in another way."""
        unknown = der.sequence(der.oid("1.2.3"))
        path = self.file("a.p12", pfx.container("x", pfx.encrypted_entry(unknown, b"x" * 8), pfx.data_entry(
            pfx.shrouded_bag(unknown, b"x" * 8), pfx.bag(pfx.CRL_BAG, der.NULL))))
        for options in [], ["--partial"]:
            done = self.tool(*self.arguments(*options, container=path), password=None)
            unsupported = "the encryption scheme is not supported: 1.2.3"
            self.assertEqual((done.status, done.errors), (1, [
                f"derkit: {path}: entry 1 (encryptedData): {unsupported}",
                f"derkit: {path}: entry 2, bag 1 (pkcs8ShroudedKeyBag): {unsupported}",
                f"derkit: {path}: entry 2, bag 2 (crlBag): is of a type that is not read",
                f"derkit: {path}: holds neither a key nor a certificate that can be read",
            ]))
            self.assertFalse(self.out.exists())

    def test_a_password_is_asked_for_where_something_may_be_opened(self):
        unknown = pfx.encrypted_entry(der.sequence(der.oid("1.2.3")), b"x" * 8)
        for entry in pfx.data_entry(pfx.cert_bag(certificate("a"))), pfx.data_entry(pfx.key_bag(private_key())):
            path = self.file("a.p12", pfx.container("x", unknown, entry))
            self.assertIn("there is no terminal", self.fails(*self.arguments(container=path), password=None))

    def test_a_password_cannot_be_asked_for_without_a_terminal(self):
        self.assertIn("there is no terminal", self.fails(*self.arguments(), password=None))


if __name__ == "__main__":
    unittest.main()
