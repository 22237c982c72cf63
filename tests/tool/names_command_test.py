#!/usr/bin/env python3
"""Tests "derkit names": the names in certificates, requests, CRLs and PKCS#7 or CMS files, and where they stand.

Most files are made by openssl; expectations are the names that they were made of.
"""

import unittest

import der
import openssl
from der import element, octet_string, oid, pem, sequence
from tool import ToolTest, objects, thin

NOTHING = "holds no certificate, request, CRL or PKCS#7 file, but {}"
TIME = element(der.UTC_TIME, b"250102030405Z")
ISSUER = "2.5.29.29"  # certificateIssuer


def extension(dotted, value):
    return sequence(oid(dotted), octet_string(value))


def directory_name(text):
    return element(0xA4, der.common_name(text))


def crl(*revoked, extensions=b"", version=der.integer(1), next_update=TIME):
    """Encodes a CRL (RFC 5280 5.1)."""
    tbs = sequence(version, der.SHA256_RSA, der.common_name("ca"), TIME, next_update, sequence(*revoked) if revoked else b"",
                   element(der.CONTEXT_0, sequence(extensions)) if extensions else b"")
    return sequence(tbs, der.SHA256_RSA, element(der.BIT_STRING, b"\0"))


def content_info(dotted, *fields):
    return sequence(oid(dotted), element(der.CONTEXT_0, sequence(*fields)))


class NamesTest(ToolTest):
    COMMAND = ("names",)

    def found(self, data, *options, problems=()):
        """Returns (holder, where, dn) of each name."""
        done = self.tool("--json", "--oid-map", "/dev/null", *options, "-", stdin=data)
        self.assertEqual(done.errors, [f"derkit: (standard input): {problem}" for problem in problems])
        self.assertEqual(done.status, 1 if any("warning" not in problem for problem in problems) else 0)
        found = objects(done.text)
        self.assertEqual([(each["object"], each["index"]) for each in found], [("name", i) for i in range(1, len(found) + 1)])
        return [(each["holder"], each["where"], each["dn"]) for each in found]

    def places(self, data, **how):
        return [(where, dn) for _, where, dn in self.found(data, **how)]


class ByOpenssl(NamesTest):
    SECTIONS = "[req]\ndistinguished_name = d\nx509_extensions = none\n[d]\n[none]\n[dn]\nCN = alternative\n[other]\nCN = other\n"

    def setUp(self):
        super().setUp()
        self.key = self.folder / "key.pem"
        self.configuration = self.file("openssl.cnf", self.SECTIONS)
        new_key = [*openssl.NEW_EC_KEY[:-1], self.key, "-config", self.configuration]
        self.ca = openssl.run("req", "-x509", *new_key, "-subj", "/C=RU/CN=ca", "-days", "1")
        self.ca_file = self.file("ca.pem", self.ca)

    def request(self):
        return openssl.run("req", "-new", *openssl.NEW_EC_KEY[:-1], self.folder / "leaf.key", "-config", self.configuration,
                           "-subj", "/O=Example/CN=leaf", "-addext", "subjectAltName=DNS:x,dirName:dn")

    def certificate(self):
        """Makes one whose names are all different."""
        extensions = self.file("extensions", "subjectAltName=DNS:x,dirName:dn\nnameConstraints=permitted;dirName:other\n"
                               "authorityKeyIdentifier=issuer:always\ncrlDistributionPoints=points\n"
                               "[points]\nfullname=URI:http://x/\nCRLissuer=dirName:other\n" + self.SECTIONS)
        return openssl.run("x509", "-req", "-CA", self.ca_file, "-CAkey", self.key, "-CAcreateserial", "-extfile", extensions,
                           "-days", "1", stdin=self.request())

    NAMES = [
        ("issuer", "C=RU,CN=ca"), ("subject", "O=Example,CN=leaf"), ("subjectAltName", "CN=alternative"),
        ("nameConstraints", "CN=other"), ("authorityKeyIdentifier", "C=RU,CN=ca"), ("cRLDistributionPoints", "CN=other"),
    ]

    def test_certificate(self):
        data = self.certificate()
        for each in data, der.unpem(data)[0]:
            self.assertEqual(self.found(each), [("certificate", *name) for name in self.NAMES])

    def test_request(self):
        data = self.request()
        for each in data, der.unpem(data)[0]:
            self.assertEqual(self.found(each), [
                ("request", "subject", "O=Example,CN=leaf"), ("request", "subjectAltName", "CN=alternative")])

    def test_crl(self):
        index, serial = self.file("index.txt"), self.file("crlnumber", "01\n")
        configuration = self.file("ca.cnf", "[ca]\ndefault_ca = x\n[x]\n" f"database = {index}\ncrlnumber = {serial}\n"
                                  "default_md = sha256\ncrl_extensions = e\n[e]\nauthorityKeyIdentifier = issuer:always\n")
        data = openssl.run("ca", "-gencrl", "-config", configuration, "-cert", self.ca_file, "-keyfile", self.key, "-crldays", "1")
        self.assertEqual(self.found(data), [
            ("CRL", "issuer", "C=RU,CN=ca"), ("CRL", "authorityKeyIdentifier", "C=RU,CN=ca")])

    def test_signed_data(self):
        leaf = self.file("leaf.pem", self.certificate())
        signed = openssl.run("cms", "-sign", "-signer", leaf, "-inkey", self.folder / "leaf.key", "-certfile", self.ca_file,
                             "-outform", "DER", stdin=b"text")
        found = self.found(signed)
        self.assertEqual({holder for holder, _, _ in found}, {"PKCS#7"})
        places = [(where, dn) for _, where, dn in found]
        self.assertEqual(places[-1], ("signer 1: issuer", "C=RU,CN=ca"))
        # openssl may sort the certificates
        subjects = {where.split(":")[0]: dn for where, dn in places if where.endswith(": subject")}
        self.assertEqual(sorted(subjects.values()), ["C=RU,CN=ca", "O=Example,CN=leaf"])
        [leaf_place] = [place for place, dn in subjects.items() if dn == "O=Example,CN=leaf"]
        self.assertEqual([(where.split(": ")[1], dn) for where, dn in places if where.startswith(leaf_place)], self.NAMES)

    def test_enveloped_data_by_both_ways_of_agreeing_on_a_key(self):
        rsa = openssl.run("req", "-x509", "-newkey", "rsa:1024", "-nodes", "-keyout", "/dev/null", "-subj", "/CN=rsa")
        rsa_file = self.file("rsa.pem", rsa)
        enveloped = openssl.run("cms", "-encrypt", "-outform", "DER", "-recip", rsa_file, "-recip", self.ca_file, stdin=b"text")
        self.assertEqual(sorted(self.places(enveloped)), sorted([
            ("recipient 1: issuer", "CN=rsa"), ("recipient 2: key 1: issuer", "C=RU,CN=ca")]))

    def test_a_bundle_of_everything(self):
        chain = openssl.run("crl2pkcs7", "-nocrl", "-certfile", self.ca_file)
        key = pem(b"x", "PRIVATE KEY")
        data = b"text\n" + key + self.request() + chain + self.ca
        path = self.file("all.pem", data)
        self.assertEqual(self.found(data), [
            ("request", "subject", "O=Example,CN=leaf"), ("request", "subjectAltName", "CN=alternative"),
            ("PKCS#7", "certificate 1: issuer", "C=RU,CN=ca"), ("PKCS#7", "certificate 1: subject", "C=RU,CN=ca"),
            ("certificate", "issuer", "C=RU,CN=ca"), ("certificate", "subject", "C=RU,CN=ca")])
        heading = self.succeeds("--oid-map", "/dev/null", path).splitlines()[0]
        self.assertEqual(heading, f"==> {path}: request 1 (line {1 + data[:data.index(b'-----BEGIN CERT')].count(b'%c' % 10)}): subject <==")


class ByHand(NamesTest):
    def test_crls(self):
        plain = sequence(der.integer(5), TIME)
        entry = sequence(der.integer(6), TIME, sequence(extension(ISSUER, sequence(directory_name("other")))))
        key_id = extension("2.5.29.35", sequence(element(0xA1, directory_name("key"))))
        for how in {}, {"version": b""}, {"next_update": b""}, {"version": b"", "next_update": b""}:
            self.assertEqual(self.places(crl(**how)), [("issuer", "CN=ca")])
            self.assertEqual(self.places(crl(plain, entry, extensions=key_id, **how)), [
                ("issuer", "CN=ca"), ("revoked 2: certificateIssuer", "CN=other"), ("authorityKeyIdentifier", "CN=key")])

    def test_crls_and_recipients_in_pkcs7(self):
        signer = sequence(der.integer(1), sequence(der.common_name("s"), der.integer(1)), b"")
        by_key_id = sequence(der.integer(3), element(0x80, b"id"))
        signed = content_info("1.2.840.113549.1.7.2", der.integer(1), element(der.SET), sequence(oid("1.2.840.113549.1.7.1")),
                              element(0xA0, der.certificate("c"), element(0xA2, b"")), element(0xA1, crl()),
                              element(der.SET, by_key_id, signer))
        self.assertEqual(self.places(signed), [
            ("certificate 1: issuer", "CN=c"), ("certificate 1: subject", "CN=c"), ("CRL 1: issuer", "CN=ca"),
            ("signer 2: issuer", "CN=s")])
        originator = element(0xA0, element(0xA0, der.certificate("o")))
        enveloped = content_info("1.2.840.113549.1.7.3", der.integer(2), originator,
                                 element(der.SET, by_key_id, element(0xA3, b"\2\1\0"), signer), sequence())
        self.assertEqual(self.places(enveloped), [
            ("certificate 1: issuer", "CN=o"), ("certificate 1: subject", "CN=o"), ("recipient 3: issuer", "CN=s")])

    def test_what_is_wrong_is_named_and_the_names_before_it_are_shown(self):
        cases = [
            (sequence(), "not a certificate: tbsCertificate is missing or malformed", []),
            (b"\xff", "not a certificate: Certificate is missing or malformed", []),
            (content_info("1.2.3"), "no names are read from 1.2.3", []),
            (content_info("1.2.840.113549.1.7.1"), "no names are read from data (1.2.840.113549.1.7.1)", []),
            (sequence(oid("1.2.840.113549.1.7.2")), "content is missing or malformed", []),
            (content_info("1.2.840.113549.1.7.2", der.integer(1)), "signerInfos is missing or malformed", []),
            (crl(sequence(der.integer(1))), "revoked 1 is missing or malformed", [("issuer", "CN=ca")]),
            (crl(extensions=der.NULL), "an extension is malformed", [("issuer", "CN=ca")]),
            (content_info("1.2.840.113549.1.7.2", der.integer(1), element(der.SET), sequence(), element(0xA0, sequence()),
                          element(der.SET)),
             "certificate 1: not a certificate: tbsCertificate is missing or malformed", []),
        ]
        for data, problem, names in cases:
            self.assertEqual(self.places(data, problems=[problem]), names)
        self.assertEqual(self.places(b"", problems=["is empty"]), [])
        for label in "PRIVATE KEY", "PUBLIC KEY":
            self.assertEqual(self.places(pem(b"x", label), problems=[NOTHING.format(label)]), [])
        good = pem(der.certificate("x"))
        bad = pem(b"x", "X509 CRL")
        self.assertEqual(len(self.places(bad + good, problems=[
            "object 1 (line 1): not a certificate: Certificate is missing or malformed"])), 2)

    def test_a_name_without_text_is_warned_of(self):
        name = sequence(element(der.SET))
        self.assertEqual(self.places(der.certificate("x", issuer=name), problems=[
            "issuer: warning: dn: an RDN is empty, so it is shown in hexadecimal"]), [("issuer", "#3100"), ("subject", "CN=x")])

    def test_options_for_names(self):
        name = der.name(der.attribute("2.5.4.6", der.PRINTABLE_STRING, b"RU"),
                        der.attribute("2.5.4.3", der.T61_STRING, "ü".encode("latin-1")))
        self.assertEqual(self.found(der.certificate(name), "--order", "reversed", "--t61", "latin1")[0][2], "CN=ü,C=RU")

    def test_octets_after_der_are_warned_of(self):
        self.assertEqual(len(self.places(crl() + b"xy", problems=["warning: 2 bytes after the object are ignored"])), 1)

    def test_every_prefix_and_damage_are_survived(self):
        value = extension("2.5.29.17", sequence(directory_name("d")))
        entry = sequence(der.integer(6), TIME, sequence(extension(ISSUER, sequence(directory_name("other")))))
        for data in crl(entry, extensions=value), der.certificate("x", after_key=element(0xA3, sequence(value))):
            paths = [self.file(f"prefix{size}", data[:size]) for size in thin(range(1, len(data)))]
            done = self.tool(*paths)
            self.assertEqual((done.status, len(done.errors)), (1, len(paths)))
            damaged = [data[:i] + bytes([octet]) + data[i + 1 :] for octet in (0, 0x7F, 0x84, 0xFF) for i in range(len(data))]
            done = self.tool("-", stdin=b"".join(pem(each) for each in thin(damaged)))
            self.assertEqual([line for line in done.errors if not line.startswith("derkit: ")], [])
        nested = b""
        for _ in range(2000):
            nested = element(0xA0, nested)
        self.assertEqual(len(self.places(der.certificate("x", after_key=element(0xA3, sequence(extension("1.2.3", nested)))))), 2)


if __name__ == "__main__":
    unittest.main()
