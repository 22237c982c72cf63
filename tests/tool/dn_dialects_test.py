#!/usr/bin/env python3
"""Tests "derkit dn --to" and "--from" against the programs whose dialects they are.

openssl and certtool are asked here; what Java writes and reads is in tests/data/vectors/dn-dialects.txt.
"""

import re
import subprocess
import unittest

import der
import openssl
from tool import ToolTest, shown, vectors

DIALECTS = "openssl", "rfc4514", "rfc2253", "java", "cryptopro"


def utf8(dotted, text):
    return der.attribute(dotted, der.UTF8_STRING, text.encode())


def cn(text):
    return utf8(der.COMMON_NAME, text)


# What openssl has a name for.
NAMED_BY_OPENSSL = (
    *(f"2.5.4.{number}" for number in (3, 4, 5, 7, 8, 9, 10, 11, 12, 13, 15, 17, 20, 41, 42, 43, 44, 46, 65, 97)),
    "0.9.2342.19200300.100.1.1", "0.9.2342.19200300.100.1.25", "1.2.840.113549.1.9.1", "1.2.840.113549.1.9.2",
    "1.2.643.3.131.1.1", "1.2.643.100.1", "1.2.643.100.3", "1.2.643.100.5",
)
# Those of RFC 4514 that are of any string type; certtool writes "street", which is the same.
NAMED_BY_RFC = "2.5.4.3", "2.5.4.7", "2.5.4.8", "2.5.4.10", "2.5.4.11", "0.9.2342.19200300.100.1.1"
TEXTS = ("user1", "Example, Inc.", 'a "b" c', 'x,"y"', "#a+b;c<d>e\\g", " a b  c ", " ", "a=b", "a/b", "Ключ", "é", "a\\", '"', "Å b")
NAMES = [
    der.name(der.attribute(der.COUNTRY, der.PRINTABLE_STRING, b"RU"), utf8(der.ORGANIZATION, "Example"), cn("user1")),
    der.name(*map(cn, TEXTS)),
    der.name(der.attribute(der.COMMON_NAME, der.BMP_STRING, "Ключ".encode("utf-16-be"))),
    der.name(der.attribute(der.COMMON_NAME, der.T61_STRING, b"abc"), utf8(der.EXAMPLE_OID, "x")),
    der.name(),
]
MULTIPLE = der.name(utf8(der.ORGANIZATION, "x"), [cn("a"), utf8("2.5.4.11", "b")])


class DnDialects(ToolTest):
    COMMAND = ("dn",)

    def written(self, name, dialect):
        return self.succeeds("--from", "hex", "--to", dialect, name.hex()).removesuffix("\n")

    def subject_of_openssl(self, name, options):
        path = self.file("certificate.pem", der.pem(der.certificate(name)))
        return openssl.run("x509", "-in", path, "-noout", "-subject", "-nameopt", options).decode()[8:].removesuffix("\n")

    def subject_of_certtool(self, name):
        path = self.file("certificate.pem", der.pem(der.certificate(name)))
        text = subprocess.run(["certtool", "-i", "--infile", path], capture_output=True, check=True).stdout.decode()
        return re.search(r"^\tSubject: ?(.*)$", text, re.MULTILINE)[1]

    def test_openssl_writes_the_same(self):
        for name in [*NAMES, MULTIPLE, der.name(*(utf8(oid, "x") for oid in NAMED_BY_OPENSSL))]:
            with self.subTest(name.hex()):
                self.assertEqual(self.written(name, "openssl"), self.subject_of_openssl(name, "oneline,-esc_msb"))

    def test_openssl_writes_the_same_rfc2253(self):
        for name in NAMES:
            with self.subTest(name.hex()):
                expected = self.subject_of_openssl(name, "RFC2253,-esc_msb")
                self.assertEqual(self.written(name, "rfc2253").lower(), expected.lower())

    def test_certtool_writes_the_same_rfc4514(self):
        country = der.attribute(der.COUNTRY, der.PRINTABLE_STRING, b"RU")
        domain = der.attribute("0.9.2342.19200300.100.1.25", der.IA5_STRING, b"ru")
        for name in [*NAMES, MULTIPLE, der.name(cn("#"), country, domain),
                     der.name(*(utf8(oid, "x") for oid in NAMED_BY_RFC))]:
            with self.subTest(name.hex()):
                self.assertEqual(self.written(name, "rfc4514"), self.subject_of_certtool(name))

    def test_java_writes_and_reads_the_same(self):
        for case in vectors.read("dn-dialects.txt"):
            dialect, name, text = case.field("dialect"), case.octets("DER"), case.text("text").decode()
            with self.subTest(case.where):
                if case.field("way") == "write":
                    self.assertEqual(self.written(name, dialect), text)
                self.assertEqual(self.succeeds("--from", dialect, "--", text), self.succeeds("--from", "hex", name.hex()))

    # The rules of CertNameToStr() for X.500 names: quotes around values with special characters, twice inside.
    CRYPTOPRO = [
        (["CN=a"], "CN=a"),
        (["C=RU", "ST=x", "E=a@b"], "C=RU, S=x, E=a@b"),
        (["O=Example\\, Inc."], 'O="Example, Inc."'),
        (['CN=a \\"b\\"'], 'CN="a ""b"""'),
        (["CN=a\\\\b"], "CN=a\\b"),
        (["CN="], 'CN=""'),
        (["CN=a "], 'CN="a "'),
        (["CN=a+OU=b"], "CN=a + OU=b"),
        (["1.2.3=x"], "OID.1.2.3=x"),
        (["CN=#0500"], "CN=#0500"),
        (["SN=a", "GN=b", "T=c", "I=d"], "SN=a, G=b, T=c, I=d"),
    ]

    def test_cryptopro(self):
        for rdns, text in self.CRYPTOPRO:
            with self.subTest(text):
                self.assertEqual(self.succeeds("--to", "cryptopro", ",".join(rdns)), text + "\n")
                self.assertEqual(self.succeeds("--from", "cryptopro", text), ",".join(rdns) + "\n")

    def test_texts_lead_back_to_the_name(self):
        for name in [*NAMES, MULTIPLE]:
            plain = self.succeeds("--from", "hex", name.hex())
            for dialect in DIALECTS:
                with self.subTest((dialect, plain)):
                    self.assertEqual(self.succeeds("--from", dialect, "--", self.written(name, dialect)), plain)

    # Texts that other programs write otherwise, and the name that they are.
    READ = [
        ("openssl", "C=RU,CN=x", "C=RU,CN=x"),
        ("openssl", "C = RU, O = \\D0\\9F, CN = a\\0Ab", "C=RU,O=П,CN=a\\0Ab"),
        ("openssl", "SN = a, GN = b, emailAddress = c", "SN=a,GN=b,E=c"),
        ("rfc4514", "cn=a,o=b", "O=b,CN=a"),
        ("rfc4514", "EMAIL=a,surName=b", "SN=b,E=a"),  # as certtool has it
        ("rfc4514", "CN=a\\,b\\20\\C3\\A9", "CN=a\\,b é"),
        ("rfc2253", 'CN="a,b";OID.2.5.4.10=c', "O=c,CN=a\\,b"),
        ("java", 'CN="a\nb"', "CN=a\\0Ab"),
    ]

    def test_texts_in_other_forms(self):
        for dialect, text, expected in self.READ:
            with self.subTest(text):
                self.assertEqual(self.succeeds("--from", dialect, text), expected + "\n")

    def test_refusals_say_where(self):
        for dialect, text, problem in [
            ("java", "CN=a, b", "attribute 2: has no ="),
            ("java", 'CN="a', "attribute 1: a quote is not closed"),
            ("java", 'CN="a" b', "attribute 1: something follows the closing quote"),
            ("java", "CN=a\\", "attribute 1: a backslash has nothing after it"),
            ("java", "CN=a,Wrong=b", "attribute 2: type Wrong is not known"),
            ("java", "CN=#0", "attribute 1: the value is not hexadecimal"),
            ("java", "CN=a,", "attribute 2: has no ="),
        ]:
            with self.subTest(text):
                self.assertEqual(self.fails("--from", dialect, text), f"{shown(text.encode())}: {problem}")

    def test_json_has_both_texts(self):
        [found] = self.objects("--to", "java", "CN=a,C=RU")
        self.assertEqual((found["dn"], found["dialect"], found["dialect_text"]), ("CN=a,C=RU", "java", "C=RU, CN=a"))

    def test_usage(self):
        self.check_usage([(["--to", "latex", "CN=x"], "--to"), (["--from", "latex", "CN=x"], "--from"),
                          (["--to", "java", "--der", "CN=x"], "--to"), (["--to", "java", "--get", "CN", "CN=x"], "--to")])


if __name__ == "__main__":
    unittest.main()
