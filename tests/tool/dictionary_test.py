#!/usr/bin/env python3
"""Tests the dictionary of OIDs: every name that the tool shows, or that openssl and certtool have, leads to its OID."""

import re
import subprocess
import unittest

import der
import openssl
from tool import ToolTest, objects, run, thin

# What the library calls algorithms that have an OID: those of `derkit alg` in docs/algorithms.md and more.
ALGORITHMS = {
    "RSA": "1.2.840.113549.1.1.1", "sha256RSA": "1.2.840.113549.1.1.11", "SHA1": "1.3.14.3.2.26", "sha1DSA": "1.2.840.10040.4.3",
    "GOST R 34.10-2012 256": "1.2.643.7.1.1.1.1", "GOST 34.11-94": "1.2.643.2.2.9",
}


def names_of_openssl():
    """Yields (OID, names)."""
    for line in openssl.run("list", "-objects").decode().splitlines():
        short_name, equals, rest = line.partition(" = ")
        long_name, comma, oid = rest.rpartition(", ")
        if equals:
            yield oid, [short_name, long_name] if comma else [short_name]


def shown_of(*arguments):
    done = run("oid", "--oid-map", "/dev/null", "--json", *arguments)
    return done.errors, objects(done.text)


def certtool_names(certificate):
    """Returns the names of the key, the signature and the curve that certtool prints."""
    done = subprocess.run(["certtool", "--certificate-info"], input=certificate, capture_output=True, check=True)
    return re.findall(r"(?:Public Key Algorithm|Signature Algorithm|Curve):\s*(.*\S)", done.stdout.decode())


class Names(ToolTest):
    COMMAND = ("oid",)

    def check(self, oids_of_names):
        """Checks that names, as they are and in the other case, lead to their OID, or one of their OIDs."""
        names = list(oids_of_names)
        for variant in names, [name.swapcase() for name in names]:
            errors, found = shown_of(*variant)
            self.assertEqual(errors, [])
            for name, each in zip(names, found, strict=True):
                self.assertIn(each["oid"], [oids_of_names[name]] if isinstance(oids_of_names[name], str) else oids_of_names[name])

    def test_openssl_names_of_all_oids_with_a_name_here(self):
        theirs = dict(names_of_openssl())
        _, known = shown_of(*theirs)
        named = [found["oid"] for found in known if "name" in found]
        self.assertGreater(len(named), 250)
        # The library's names come first: RSA, DSA and so on are those of its algorithms.
        self.check({name: oid for oid in thin(named) for name in theirs[oid]})

    def test_every_name_that_is_shown_is_taken(self):
        theirs = dict(names_of_openssl())
        _, known = shown_of(*theirs)
        oids = {}
        for found in known:
            names = [found.get(key) for key in ("name", "algorithm", "short_name", "long_name")]
            for name in [*filter(None, names), *found.get("other_names", [])]:
                oids.setdefault(name, []).append(found["oid"])  # two OIDs of a signature algorithm have one code
        self.assertGreater(len(oids), 500)
        self.check(oids)

    def test_names_of_the_library_and_of_its_companion(self):
        self.check(ALGORITHMS)
        # as p12 show, key and spki show them
        self.check({
            "HMAC-SHA-256": "1.2.840.113549.2.9", "HMAC GOST R 34.11-2012-512": "1.2.643.7.1.1.4.2",
            "GOST R 34.11-2012-256": "1.2.643.7.1.1.2.2", "GOST 28147-89 CFB": "1.2.643.2.2.21",
            "PBE-SHA1-3DES": "1.2.840.113549.1.12.1.3", "Kuznyechik CTR-ACPKM": "1.2.643.7.1.1.5.2.1",
            "a vendor's export of keys": "1.2.840.113549.1.12.1.80",
            "GOST R 34.10-2012 256 key agreement": "1.2.643.7.1.1.6.1", "id-tc26-gost3411-12-256": "1.2.643.7.1.1.2.2",
            "id-GostR3410-2001-CryptoPro-A-ParamSet": "1.2.643.2.2.35.1", "pkcs8ShroudedKeyBag": "1.2.840.113549.1.12.10.1.2",
        })

    def test_names_that_certtool_prints(self):
        certificates = [
            openssl.run("req", "-x509", "-newkey", *key, "-nodes", "-keyout", "/dev/null", "-subj", "/CN=x", *options)
            for key, options in [
                (["ec", "-pkeyopt", "ec_paramgen_curve:P-384"], ["-sha384"]), (["rsa:1024"], ["-sha512"]), (["ed25519"], []),
            ]]
        known = {}
        for certificate in certificates:
            [found] = objects(run("cert", "--json", "-", stdin=certificate).text)
            known |= {name: found for name in certtool_names(certificate)}
        self.assertGreaterEqual(len(known), 6)
        for name, found in known.items():
            errors, [shown] = shown_of(name)
            self.assertEqual(errors, [])
            self.assertIn(shown["oid"], [found[key] for key in found if key.endswith("_oid")], name)

    def test_a_map_adds_names_and_those_beside_it_win(self):
        oid_map = self.file("map", f"# comment\r\n {der.EXAMPLE_OID} = mine, My own name\n1.2.840.10045.3.1.7 = X, y\n2.5.4.3 = Z\n")
        for name in "mine", "MINE", "my OWN name", der.EXAMPLE_OID:
            self.assertEqual(self.objects("--oid-map", oid_map, name)[0]["oid"], der.EXAMPLE_OID)
        [found] = self.facts("--oid-map", oid_map, "P-256")
        self.assertEqual((found["name"], found["short_name"], found["long_name"]), ("secp256r1", "X", "y"))
        self.assertEqual(self.objects("--oid-map", oid_map, "y")[0]["oid"], "1.2.840.10045.3.1.7")
        key = der.public_key(der.algorithm(der.EXAMPLE_OID), b"x")
        for command, data, field in [
            ("spki", key, "public_key_algorithm"), ("cert", der.certificate("x", key=key), "public_key_algorithm"),
            ("alg", None, "name"),
        ]:
            arguments = [der.EXAMPLE_OID] if data is None else ["-"]
            done = run(command, "--json", "--oid-map", oid_map, *arguments, stdin=data or b"")
            self.assertEqual(objects(done.text)[0][field], "MINE", command)

    def test_kinds(self):
        for name, kind in [
            ("CN", "attribute"), ("keyUsage", "extension"), ("serverAuth", "purpose"), ("prime256v1", "curve"), ("SHA-256", "hash"),
            ("ecdsa-with-SHA256", "signature"), ("PBES2", "scheme"), ("TC26-256-A", "parameter set"), ("certBag", "bag"),
        ]:
            self.assertEqual(self.shows("--oid-map", "/dev/null", name)["kind"], kind)


class AlgorithmsWithoutCode(ToolTest):
    COMMAND = ("alg",)
    # RFC 5758 3.2, RFC 8410 3; identifiers: RFC 7427 A.2 and A.3, RFC 8420
    SIGNATURES = {
        "ecdsa-with-SHA256": ("1.2.840.10045.4.3.2", "SHA-256", "id-ecPublicKey", "300a06082a8648ce3d040302"),
        "ecdsa-with-SHA384": ("1.2.840.10045.4.3.3", "SHA-384", "id-ecPublicKey", "300a06082a8648ce3d040303"),
        "ecdsa-with-SHA512": ("1.2.840.10045.4.3.4", "SHA-512", "id-ecPublicKey", "300a06082a8648ce3d040304"),
        "id-dsa-with-sha256": ("2.16.840.1.101.3.4.3.2", "SHA-256", "id-dsa", "300b0609608648016503040302"),
        "id-Ed25519": ("1.3.101.112", None, "id-Ed25519", "300506032b6570"),
        "id-Ed448": ("1.3.101.113", None, "id-Ed448", "300506032b6571"),
    }

    def test_signatures_have_names_and_no_code(self):
        for name, (oid, hash_name, key, identifier) in self.SIGNATURES.items():
            for text in name, name.upper(), oid:
                [found] = self.facts(text)
                self.assertNotIn("code", found)
                self.assertEqual(
                    (found["name"], found["oid"], found.get("hash"), found["key"], found["ike_algorithm_identifier"]),
                    (name, oid, hash_name, key, identifier.upper()))

    def test_hashes_have_the_octets_before_their_digest(self):
        # RFC 8017 9.2 note 1
        for name, prefix in ("SHA-512/224", "302d300d06096086480165030402050500041c"), \
                ("SHA-512/256", "3031300d060960864801650304020605000420"):
            [found] = self.facts(name)
            self.assertEqual((found["digest_info_prefix"], found["digest_size"]), (prefix.upper(), int(prefix[-2:], 16)))
        self.assertEqual(self.facts("SHA3-384")[0]["digest_size"], 48)

    def test_names_of_others_find_the_code(self):
        for name, code in ("sha256WithRSAEncryption", 0x00040001), ("RSA-SHA256", 0x00040001), ("rsaEncryption", 1):
            self.assertEqual(self.facts(name)[0]["code"], code)

    def test_names_of_other_things_are_no_algorithms(self):
        problem = "neither the name, nor the code, nor the OID of a known algorithm"
        self.check_failures([([text], f"{text}: {problem}") for text in ("CN", "keyUsage", "prime256v1", "1.2.3.4")])


if __name__ == "__main__":
    unittest.main()
