#!/usr/bin/env python3
"""Tests of what "derkit cert" shows beside the names, and of "derkit spki": DERKIT_TOOL names the tool.

Certificates are built by hand; expectations come from the standards that lay down their fields.
"""

import base64
import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import der

TOOL = os.environ["DERKIT_TOOL"]
TIME_LIMIT = 60

NOT_BEFORE, NOT_AFTER = "02.01.2025 03:04:05 GMT", "31.12.2049 23:59:59 GMT"
FACTS = {
    "serial": "01",
    "not_before": NOT_BEFORE,
    "not_after": NOT_AFTER,
    "signature_algorithm": "sha256RSA",
    "signature_algorithm_oid": "1.2.840.113549.1.1.11",
    "public_key_algorithm": "RSA",
    "public_key_algorithm_oid": "1.2.840.113549.1.1.1",
    "public_key_bits": 10,
}
KEY_FACTS = {key: value for key, value in FACTS.items() if key.startswith("public_key")}
EC = "2A8648CE3D0201"
PSS = "2A864886F70D01010A"
GOST_256, GOST_512 = "2A85030701010101", "2A85030701010102"
NOTHING = der.element(der.SEQUENCE)


def oid(content):
    return der.element(der.OBJECT_IDENTIFIER, bytes.fromhex(content))


def pem(data, label):
    return f"-----BEGIN {label}-----\n{base64.b64encode(data).decode()}\n-----END {label}-----\n".encode()


def certificate(**fields):
    return der.certificate(der.common_name("x"), **fields)


def validity(*times):
    return der.element(der.SEQUENCE, *(der.element(tag, text.encode()) for tag, text in times))


def pss_signature(hash_content):
    """RSASSA-PSS with a hash (RFC 4055 3.1)."""
    return der.algorithm(PSS, der.element(der.SEQUENCE, der.element(0xA0, der.algorithm(hash_content))))


def gost_key(algorithm, size, *param_sets):
    parameters = der.element(der.SEQUENCE, *map(oid, param_sets))
    return der.public_key(der.algorithm(algorithm, parameters), der.element(0x04, bytes(size)))


class FactsTest(unittest.TestCase):
    maxDiff = 4000

    def run_tool(self, *arguments, stdin=b"", **env):
        done = subprocess.run([TOOL, *arguments], input=stdin, capture_output=True, timeout=TIME_LIMIT,
                              env={**os.environ, **env})
        return done.returncode, done.stdout.decode(), done.stderr.decode().splitlines()

    def facts(self, command, data, *options, problems=(), **env):
        """What is shown of the one object, without its place and names."""
        status, out, errors = self.run_tool(command, "--json", "--oid-map", "/dev/null", *options, "-", stdin=data, **env)
        self.assertEqual(errors, [f"derkit: (standard input): {problem}" for problem in problems])
        self.assertEqual(status, 1 if problems else 0)
        shown = json.loads(out) if out else {}
        return {key: value for key, value in shown.items() if key not in ("file", "index", "subject", "issuer")}


class Certificates(FactsTest):
    def test_facts_follow_the_names_in_this_order(self):
        status, out, errors = self.run_tool("cert", "-", stdin=certificate())
        lines = ["subject: CN=x", "issuer: CN=x", *(f"{key}: {value}" for key, value in FACTS.items())]
        self.assertEqual((status, out.splitlines(), errors), (0, lines, []))
        self.assertEqual(list(self.facts("cert", certificate()).items()), list(FACTS.items()))

    def test_serial_number_is_hexadecimal_without_leading_zero_octets(self):
        for content, text in [
            ("00", "00"), ("7F", "7F"), ("0080", "80"), ("000001", "01"), ("0102030405060708090A", "0102030405060708090A"),
            ("FF", "-01"), ("80", "-80"), ("FF00", "-0100"), ("FF7F", "-81"),
        ]:
            with self.subTest(content):
                self.assertEqual(self.facts("cert", certificate(serial=bytes.fromhex(content)))["serial"], text)

    def test_times_of_both_forms(self):
        utc, general = der.UTC_TIME, der.GENERALIZED_TIME
        for begin, end, not_before, not_after in [
            ((utc, "500101000000Z"), (utc, "491231235959Z"), "01.01.1950 00:00:00 GMT", "31.12.2049 23:59:59 GMT"),
            ((utc, "000229120000Z"), (general, "20500101000000Z"), "29.02.2000 12:00:00 GMT", "01.01.2050 00:00:00 GMT"),
            ((general, "19000101000000Z"), (general, "99991231235959Z"), "01.01.1900 00:00:00 GMT", "31.12.9999 23:59:59 GMT"),
        ]:
            shown = self.facts("cert", certificate(validity=validity(begin, end)))
            self.assertEqual((shown["not_before"], shown["not_after"]), (not_before, not_after))

    def test_local_time_on_request(self):
        # three hours east of Greenwich all year round
        shown = self.facts("cert", certificate(), "--local", TZ="XYZ-3")
        self.assertEqual((shown["not_before"], shown["not_before_local"]), (NOT_BEFORE, "02.01.2025 06:04:05"))
        # where time ends in 2038, a later one stays as it is
        self.assertIn(shown["not_after_local"], ("01.01.2050 02:59:59", NOT_AFTER))

    def test_a_bad_time_is_named_and_the_other_one_is_shown(self):
        utc, general, good = der.UTC_TIME, der.GENERALIZED_TIME, (der.UTC_TIME, "250102030405Z")
        form = "is not of the form YYMMDDHHMMSSZ or YYYYMMDDHHMMSSZ: "
        calendar = "is no time of the calendar from 1900 on: "
        for time, problem in [
            ((utc, "2501020304Z"), form + "2501020304Z"),
            ((utc, "250102030405+0300"), form + "250102030405+0300"),
            ((utc, "2501O2030405Z"), form + "2501O2030405Z"),
            ((utc, ""), form),
            ((general, "20250102030405.5Z"), form + "20250102030405.5Z"),
            ((general, "250102030405Z"), form + "250102030405Z"),
            ((utc, "250229000000Z"), calendar + "2025-02-29T00:00:00Z"),
            ((utc, "250100000000Z"), calendar + "2025-01-00T00:00:00Z"),
            ((utc, "251301000000Z"), calendar + "2025-13-01T00:00:00Z"),
            ((utc, "250001000000Z"), calendar + "2025-00-01T00:00:00Z"),
            ((utc, "250101240000Z"), calendar + "2025-01-01T24:00:00Z"),
            ((utc, "250101006000Z"), calendar + "2025-01-01T00:60:00Z"),
            ((utc, "250101000060Z"), calendar + "2025-01-01T00:00:60Z"),
            ((general, "18991231235959Z"), calendar + "1899-12-31T23:59:59Z"),
            ((der.UTF8_STRING, "250102030405Z"), "is missing or malformed"),
        ]:
            with self.subTest(time):
                shown = self.facts("cert", certificate(validity=validity(good, time)), problems=["notAfter " + problem])
                self.assertEqual(shown, {key: value for key, value in FACTS.items() if key != "not_after"})
        shown = self.facts("cert", certificate(validity=validity((utc, "x"), good)), problems=[f"notBefore {form}x"])
        self.assertEqual((shown["not_after"], "not_before" in shown), (NOT_BEFORE, False))
        self.facts("cert", certificate(validity=NOTHING), problems=["notBefore is missing or malformed"])

    def test_the_hash_of_rsassa_pss_comes_from_its_parameters(self):
        for algorithm, name in [
            (der.algorithm(PSS, b""), "sha1RSASSA-PSS"),
            (der.algorithm(PSS, NOTHING), "sha1RSASSA-PSS"),
            (pss_signature("608648016503040203"), "sha512RSASSA-PSS"),
            (pss_signature("608648016503040206"), "RSASSA-PSS"),  # SHA-512/256, which has no code
        ]:
            shown = self.facts("cert", certificate(signature=algorithm))
            self.assertEqual((shown["signature_algorithm"], shown["signature_algorithm_oid"]),
                             (name, "1.2.840.113549.1.1.10"))

    def test_an_algorithm_without_name_is_an_oid_alone_unless_a_map_names_it(self):
        data = certificate(signature=der.algorithm("2B06010401868D1F01"))
        shown = self.facts("cert", data)
        self.assertEqual(shown["signature_algorithm_oid"], "1.3.6.1.4.1.99999.1")
        self.assertNotIn("signature_algorithm", shown)
        with tempfile.TemporaryDirectory() as folder:
            oid_map = Path(folder, "map")
            oid_map.write_text("1.3.6.1.4.1.99999.1 = MINE\n")
            self.assertEqual(self.facts("cert", data, "--oid-map", str(oid_map))["signature_algorithm"], "MINE")

    def test_each_fact_that_cannot_be_shown_is_named_and_the_others_are_shown(self):
        other = der.algorithm("2A864886F70D010105")
        differs = "the signature algorithm outside differs from the one that is signed"
        for fields, problem, hidden in [
            ({"serial": b""}, "serialNumber is empty", "serial"),
            ({"signature": NOTHING}, "signatureAlgorithm has no OID", "signature_algorithm"),
            ({"key": NOTHING}, "the public key is malformed", "public_key"),
            ({"inner_signature": other}, differs, "none"),
        ]:
            expected = {key: value for key, value in FACTS.items() if not key.startswith(hidden)}
            self.assertEqual(self.facts("cert", certificate(**fields), problems=[problem]), expected)

    def test_facts_that_cannot_be_shown_do_not_count_as_names(self):
        _, out, _ = self.run_tool("cert", "--round-trip", "-", stdin=certificate(serial=b"", key=NOTHING))
        self.assertEqual(out.splitlines()[-1], "2 names, 2 round trips hold, 0 failures")


class PublicKeys(FactsTest):
    def test_a_key_alone_and_in_a_certificate_as_pem_and_der(self):
        for data in der.RSA_KEY, certificate():
            self.assertEqual(self.facts("spki", data), KEY_FACTS)
        both = b"text\n" + pem(der.RSA_KEY, "PUBLIC KEY") + pem(b"x", "X509 CRL") + pem(certificate(), "CERTIFICATE")
        status, out, errors = self.run_tool("spki", "--json", "-", stdin=both)
        objects = [{"file": "(standard input)", "index": i, **KEY_FACTS} for i in (1, 2)]
        self.assertEqual((status, list(map(json.loads, out.splitlines())), errors), (0, objects, []))

    def test_parameters_of_each_kind_of_key(self):
        modulus = der.element(der.INTEGER, b"\0\0\0\x80" + bytes(127))
        rsa = der.element(der.SEQUENCE, modulus, b"\x02\x01\x03")
        dsa = der.element(der.SEQUENCE, *(der.element(der.INTEGER, c) for c in (b"\x01" + bytes(128), b"\x05", b"\x02")))
        for key, expected in [
            (der.public_key(der.RSA, rsa), {"public_key_algorithm": "RSA", "public_key_bits": 1024}),
            (der.public_key(der.algorithm(PSS, b""), rsa), {"public_key_algorithm": "RSASSA-PSS", "public_key_bits": 1024}),
            (der.public_key(der.algorithm("2A8648CE380401", dsa), b""), {"public_key_algorithm": "DSA", "public_key_bits": 1025}),
            (der.public_key(der.algorithm("2A8648CE380401", b""), b"x"), {"public_key_algorithm": "DSA"}),
            (der.public_key(der.algorithm(EC, oid("2B81040022")), b"x"),
             {"public_key_algorithm": "id-ecPublicKey", "curve": "secp384r1", "curve_oid": "1.3.132.0.34"}),
            (der.public_key(der.algorithm(EC, oid("2B2403030208010107")), b"x"),
             {"public_key_algorithm": "id-ecPublicKey", "curve_oid": "1.3.36.3.3.2.8.1.1.7"}),
            (der.public_key(der.algorithm(EC, NOTHING), b"x"), {"public_key_algorithm": "id-ecPublicKey"}),
            (gost_key("2A8503020213", 64, "2A850302022301", "2A850302021E01", "2A850302021F01"),
             {"public_key_algorithm": "GOST R 34.10-2001", "public_key_bits": 256,
              "param_set": "id-GostR3410-2001-CryptoPro-A-ParamSet", "param_set_oid": "1.2.643.2.2.35.1",
              "digest_param_set": "id-GostR3411-94-CryptoProParamSet", "digest_param_set_oid": "1.2.643.2.2.30.1",
              "encryption_param_set": "id-Gost28147-89-CryptoPro-A-ParamSet", "encryption_param_set_oid": "1.2.643.2.2.31.1"}),
            # RFC 9215 4.2: without the digest
            (gost_key(GOST_512, 128, "2A8503070102010203"),
             {"public_key_algorithm": "GOST R 34.10-2012 512", "public_key_bits": 512,
              "param_set": "id-tc26-gost-3410-2012-512-paramSetC", "param_set_oid": "1.2.643.7.1.2.1.2.3"}),
            (der.public_key(der.algorithm("2B06010401868D1F01", b""), b""), {}),
        ]:
            with self.subTest(expected):
                shown = self.facts("spki", key)
                self.assertIn("public_key_algorithm_oid", shown)
                self.assertEqual({k: v for k, v in shown.items() if k != "public_key_algorithm_oid"}, expected)

    def test_keys_that_are_none_are_refused(self):
        neither = "neither a SubjectPublicKeyInfo nor a certificate, as PEM or DER"
        malformed = "the public key is malformed"
        no_rsa = "the public key is no key of RSA (1.2.840.113549.1.1.1)"
        no_gost = "the public key is no key of GOST R 34.10-2012 256 (1.2.643.7.1.1.1.1)"
        for data, problem in [
            (b"", "is empty"),
            (b"text", neither),
            (NOTHING, malformed),
            (der.element(der.SEQUENCE, der.RSA), malformed),
            (der.element(der.SEQUENCE, der.RSA, b"\x03\x00"), malformed),
            (der.public_key(der.RSA, b""), no_rsa),
            (der.public_key(der.RSA, der.element(der.SEQUENCE, b"\x02\x01\x00\x02\x01\x03")), no_rsa),
            (gost_key(GOST_256, 64), no_gost),
            (gost_key(GOST_256, 0, "2A850302022301"), no_gost),
            (pem(b"x", "PRIVATE KEY"), "holds no PUBLIC KEY and no certificate, but PRIVATE KEY"),
            (pem(b"x", "PUBLIC KEY"), "key 1 (line 1): " + neither),
            (pem(der.RSA_KEY, "CERTIFICATE"), "key 1 (line 1): not a certificate: serialNumber is missing or malformed"),
        ]:
            with self.subTest(problem, data=data):
                self.assertEqual(self.facts("spki", data, problems=[problem]), {})

    def test_every_prefix_of_a_key_is_refused_and_damage_to_any_byte_is_survived(self):
        key = der.RSA_KEY
        for size in range(len(key)):
            status, out, errors = self.run_tool("spki", "-", stdin=key[:size])
            self.assertEqual((status, out, len(errors)), (1, "", 1))
        for i in range(len(key)):
            for value in 0x00, 0x7F, 0x84, 0xFF:
                status, _, errors = self.run_tool("spki", "-", stdin=key[:i] + bytes([value]) + key[i + 1 :])
                self.assertIn(status, (0, 1))
                self.assertTrue(all(line.startswith("derkit: ") for line in errors))

    def test_bytes_behind_a_key_are_warned_about(self):
        status, out, errors = self.run_tool("spki", "-", stdin=der.RSA_KEY + b"xy")
        self.assertEqual((status, errors), (0, ["derkit: (standard input): warning: 2 bytes behind the key are not looked at"]))
        self.assertEqual(out.splitlines(), [f"{key}: {value}" for key, value in KEY_FACTS.items()])


if __name__ == "__main__":
    unittest.main()
