#!/usr/bin/env python3
"""Tests what "derkit cert" shows of version, extensions and fingerprints: what openssl shows of the same certificates."""

import hashlib
import os
import unittest

import der
import openssl
from der import element, octet_string, oid, sequence
from tool import ToolTest, objects

WITH_GOST = os.environ.get("DERKIT_WITH_GOST") == "1"
BOOLEAN = 0x01
TRUE = element(BOOLEAN, b"\xff")
# RFC 5280 4.2.1.3, in the order of the bits
USAGES = ["digitalSignature", "nonRepudiation", "keyEncipherment", "dataEncipherment", "keyAgreement", "keyCertSign", "cRLSign",
          "encipherOnly", "decipherOnly"]
TEXTS_OF_USAGES = ["Digital Signature", "Non Repudiation", "Key Encipherment", "Data Encipherment", "Key Agreement",
                   "Certificate Sign", "CRL Sign", "Encipher Only", "Decipher Only"]


def extension(dotted, value, critical=b""):
    return sequence(oid(dotted), critical, octet_string(value))


def certificate(*extensions, tail=None):
    """Encodes a certificate with extensions, or with other octets after its key."""
    fields = der.element(0xA3, sequence(*extensions)) if tail is None else tail
    return der.certificate("x", after_key=fields)


class ExtensionsTest(ToolTest):
    COMMAND = ("cert",)

    def extensions(self, data, problems=()):
        """Returns the extensions by their names or OIDs."""
        done = self.tool("--json", "--oid-map", "/dev/null", "-", stdin=data)
        self.assertEqual(done.errors, [f"derkit: (standard input): {problem}" for problem in problems])
        self.assertEqual(done.status, 1 if any("warning" not in problem for problem in problems) else 0)
        [found] = objects(done.text)
        return {each.get("name", each["oid"]): each for each in found.get("extensions", [])}


class ByOpenssl(ExtensionsTest):
    """Each case is made by openssl and compared with what it prints of it."""

    SECTIONS = ("[req]\ndistinguished_name = d\nx509_extensions = none\n[d]\n[none]\n[dn]\nC = RU\nO = Example, Inc.\n")

    def make(self, *extensions):
        configuration = self.file("openssl.cnf", self.SECTIONS)
        options = [option for each in extensions for option in ("-addext", each)]
        return openssl.certificate("/CN=x", "-config", configuration, *options)

    def printed(self, data, name):
        """Returns openssl's lines of an extension: its title, and what the value says."""
        title, *lines = openssl.run("x509", "-noout", "-ext", name, stdin=data).decode().splitlines()
        return title, [line.strip() for line in lines]

    def test_subject_alternative_names(self):
        data = self.make("subjectAltName=DNS:a.example,DNS:*.b.example,email:a@b.example,URI:http://x/?q=1,IP:192.0.2.1,"
                         "IP:2001:db8::1,RID:1.2.3.4,dirName:dn,otherName:1.2.3;UTF8:x")
        found = self.extensions(data)["subjectAltName"]
        title, [line] = self.printed(data, "subjectAltName")
        self.assertEqual((found["oid"], found["critical"], "critical" in title), ("2.5.29.17", False, False))
        theirs = dict(pair.split(":", 1) for pair in line.split(", ") if ":" in pair)
        self.assertEqual(theirs["URI"], "http://x/?q=1")
        self.assertEqual(found["names"], [
            "DNS:a.example", "DNS:*.b.example", "email:a@b.example", "URI:http://x/?q=1", "IP:192.0.2.1", "IP:2001:db8::1",
            "RID:1.2.3.4", "dirName:C=RU,O=Example\\, Inc.", "otherName:1.2.3:#0C0178"])

    def test_every_key_usage(self):
        for usages in [[name] for name in USAGES] + [USAGES, ["keyCertSign", "cRLSign"]]:
            data = self.make("keyUsage=critical," + ",".join(usages))
            found = self.extensions(data)["keyUsage"]
            title, [line] = self.printed(data, "keyUsage")
            self.assertIn("critical", title)
            self.assertEqual((found["critical"], found["usages"]), (True, usages))
            self.assertEqual([TEXTS_OF_USAGES[USAGES.index(name)] for name in found["usages"]], line.split(", "))

    def test_purposes(self):
        names = ["serverAuth", "clientAuth", "codeSigning", "emailProtection", "timeStamping", "OCSPSigning"]
        data = self.make("extendedKeyUsage=" + ",".join([*names, "1.2.3.4"]))
        self.assertEqual(self.extensions(data)["extKeyUsage"]["purposes"], [*names, "1.2.3.4"])
        _, [line] = self.printed(data, "extendedKeyUsage")
        self.assertEqual(line, "TLS Web Server Authentication, TLS Web Client Authentication, Code Signing, E-mail Protection, "
                               "Time Stamping, OCSP Signing, 1.2.3.4")

    def test_basic_constraints(self):
        for text, ca, path_length in ("CA:FALSE", False, None), ("CA:TRUE", True, None), ("CA:TRUE, pathlen:7", True, 7):
            data = self.make("basicConstraints=critical," + text.replace(" ", ""))
            found = self.extensions(data)["basicConstraints"]
            self.assertEqual(self.printed(data, "basicConstraints")[1], [text])
            self.assertEqual((found["ca"], found.get("path_length")), (ca, path_length))

    def test_key_identifiers(self):
        data = self.make("subjectKeyIdentifier=hash", "authorityKeyIdentifier=keyid:always")
        found = self.extensions(data)
        for name in "subjectKeyIdentifier", "authorityKeyIdentifier":
            _, [line] = self.printed(data, name)
            self.assertEqual(found[name]["key_id"], line.removeprefix("keyid:").replace(":", ""))

    def test_others_by_name_size_and_short_values(self):
        data = self.make("nsComment=hi", "certificatePolicies=1.2.3", "tlsfeature=status_request", "1.2.3.4=DER:0500",
                         "crlDistributionPoints=URI:http://" + "x" * 50)
        found = self.extensions(data)
        self.assertEqual(list(found), ["netscape-comment", "certificatePolicies", "tlsfeature", "1.2.3.4", "cRLDistributionPoints",
                                       "subjectKeyIdentifier"])  # which openssl adds
        self.assertEqual(found["1.2.3.4"], {"oid": "1.2.3.4", "critical": False, "size": 2, "value": "0500"})
        self.assertEqual(found["netscape-comment"]["value"], "16026869")
        self.assertEqual((found["cRLDistributionPoints"]["size"], "value" in found["cRLDistributionPoints"]), (67, False))

    @unittest.skipUnless(WITH_GOST, "the tool has no libgcrypt")
    def test_fingerprints(self):
        data = self.make("basicConstraints=CA:FALSE")
        [encoded] = der.unpem(data)
        [found] = self.objects("-", stdin=data)
        self.assertEqual(found["fingerprint_sha256"], hashlib.sha256(encoded).hexdigest().upper())
        printed = openssl.gost("dgst", "-md_gost12_256", stdin=encoded).decode()
        self.assertEqual(found["fingerprint_streebog256"], printed.split("= ")[1].strip().upper())
        for tail in encoded + b"\0", encoded:  # octets after it do not count
            self.assertEqual(objects(self.tool("--json", "-", stdin=tail).text)[0]["fingerprint_sha256"], found["fingerprint_sha256"])

    def test_version(self):
        self.assertEqual(self.objects("-", stdin=self.make("basicConstraints=CA:FALSE"))[0]["version"], 3)
        request = openssl.run("req", "-new", *openssl.NEW_EC_KEY[:-1], self.folder / "key.pem", "-subj", "/CN=x")
        first = openssl.run("x509", "-req", "-signkey", self.folder / "key.pem", stdin=request)
        text = openssl.run("x509", "-noout", "-text", stdin=first).decode()
        self.assertIn("Version: 1 ", text)
        [found] = self.objects("-", stdin=first)
        self.assertEqual((found["version"], "extensions" in found), (1, False))


class ByHand(ExtensionsTest):
    def test_lists_in_text(self):
        data = certificate(extension("2.5.29.15", element(der.BIT_STRING, b"\x01\x06"), TRUE), extension("1.2.3", b"\0"))
        text = self.succeeds("-", stdin=data)
        self.assertTrue(text.endswith(
            "\nextensions:\n- name: keyUsage\n  oid: 2.5.29.15\n  critical: yes\n  usages:\n  - keyCertSign\n  - cRLSign\n"
            "- oid: 1.2.3\n  critical: no\n  size: 1\n  value: 00\n"), text)

    def test_authority_key_identifier_with_issuer_and_serial(self):
        issuer = element(0xA1, element(0xA4, der.common_name("ca")))
        value = sequence(element(0x80, b"\1\2"), issuer, element(0x82, b"\0\xff"))
        found = self.extensions(certificate(extension("2.5.29.35", value)))["authorityKeyIdentifier"]
        self.assertEqual((found["key_id"], found["issuer"], found["serial"]), ("0102", ["dirName:CN=ca"], "00FF"))

    def test_what_is_malformed_is_named_and_shown_in_hexadecimal(self):
        good = extension("1.2.3", b"\0")
        for dotted, name, value in [
            ("2.5.29.15", "keyUsage", b"\x04\0"), ("2.5.29.15", "keyUsage", element(der.BIT_STRING)),
            ("2.5.29.15", "keyUsage", element(der.BIT_STRING, b"\x08\0")), ("2.5.29.17", "subjectAltName", sequence()),
            ("2.5.29.17", "subjectAltName", sequence(b"\x82\x05a")), ("2.5.29.17", "subjectAltName", sequence(b"\x82\1a") + b"\0"),
            ("2.5.29.19", "basicConstraints", der.integer(1)), ("2.5.29.19", "basicConstraints", sequence(element(der.INTEGER, b"\x80"))),
            ("2.5.29.19", "basicConstraints", sequence(der.NULL)), ("2.5.29.14", "subjectKeyIdentifier", b"\1\2"),
            ("2.5.29.35", "authorityKeyIdentifier", sequence(der.NULL)), ("2.5.29.37", "extKeyUsage", sequence(der.NULL)),
            ("2.5.29.37", "extKeyUsage", b""),
        ]:
            found = self.extensions(certificate(extension(dotted, value), good), [f"extension {name} is malformed"])
            self.assertEqual(found[name], {"name": name, "oid": dotted, "critical": False, "size": len(value),
                                           "value": value.hex().upper()})
            self.assertIn("1.2.3", found)

    def test_extensions_that_are_none(self):
        problem = ["an extension is malformed"]
        good = extension("2.5.29.14", octet_string(b"\1"))
        self.assertEqual(list(self.extensions(certificate(good, sequence(der.integer(1))), problem)), ["subjectKeyIdentifier"])
        self.assertEqual(self.extensions(certificate(b"\x30\x05"), problem), {})
        for tail in b"", element(0x81, b"\0\1"), element(0xA3, der.NULL), b"\xa3\x05":
            self.assertEqual(self.extensions(certificate(tail=tail)), {})
        both = element(0x81, b"\0\1") + element(0x82, b"\0\2") + element(0xA3, sequence(good))
        self.assertEqual(list(self.extensions(certificate(tail=both))), ["subjectKeyIdentifier"])

    def test_names_are_shown_safely(self):
        value = sequence(element(0x82, b"a\x1b[2J\\\xff"), element(0x87, b"\1\2\3"), element(0xA3, b""),
                         element(0xA4, sequence(element(der.SET))))
        found = self.extensions(certificate(extension("2.5.29.17", value)),
                                ["warning: subjectAltName: an RDN is empty, so it is shown in hexadecimal"])
        self.assertEqual(found["subjectAltName"]["names"],
                         ["DNS:a\\1B[2J\\5C\\FF", "IP:#010203", "#A300", "dirName:#3100"])

    def test_versions(self):
        for content, version in (b"\0", 1), (b"\1", 2), (b"\2", 3), (b"\x7f", 128):
            data = der.certificate("x").replace(bytes.fromhex("A003020102"), element(der.CONTEXT_0, element(der.INTEGER, content)))
            self.assertEqual(self.objects("-", stdin=data)[0]["version"], version)
        data = der.certificate("x").replace(bytes.fromhex("A003020102"), bytes.fromhex("A0030201FF"))
        done = self.tool("-", stdin=data)
        self.assertEqual((done.status, done.errors), (1, ["derkit: (standard input): version is malformed"]))


if __name__ == "__main__":
    unittest.main()
