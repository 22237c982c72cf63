#!/usr/bin/env python3
"""Tests what "derkit cert" shows beside the names, and "derkit spki".

Certificates are built by hand; expectations come from the standards that lay down their fields.
"""

import re
import unittest

import der
import openssl
from der import pem, sequence
from tool import ToolTest, objects, thin, without_place

NOT_BEFORE, NOT_AFTER = "2025-01-02T03:04:05Z", "2049-12-31T23:59:59Z"
FACTS = {
    "version": 3,
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
RSA_NUMBERS = {"modulus": "032F", "exponent": "03"}
RSA, EC, DSA, PSS = "1.2.840.113549.1.1.1", "1.2.840.10045.2.1", "1.2.840.10040.4.1", "1.2.840.113549.1.1.10"
UTC, GENERAL = der.UTC_TIME, der.GENERALIZED_TIME
NO_MAP = ["--oid-map", "/dev/null"]
NEITHER = "neither a SubjectPublicKeyInfo nor a certificate, as PEM or DER"


def certificate(**fields):
    return der.certificate("x", **fields)


def pss_signature(hash_oid):
    """Encodes RSASSA-PSS with a hash (RFC 4055 3.1)."""
    return der.algorithm(PSS, sequence(der.element(der.CONTEXT_0, der.algorithm(hash_oid))))


def key(algorithm, parameters, bits=b""):
    return der.public_key(der.algorithm(algorithm, parameters), bits)


def gost_key(algorithm, size, *param_sets):
    return key(algorithm, der.param_sets(*param_sets), der.octet_string(bytes(size)))


class FactsTest(ToolTest):
    def facts(self, data, *options, problems=(), **how):
        """Returns what is shown of each certificate, without its place and names."""
        done = self.tool("--json", *NO_MAP, *options, "-", stdin=data, **how)
        self.assertEqual(done.errors, [f"derkit: (standard input): {problem}" for problem in problems])
        self.assertEqual(done.status, 1 if problems else 0)
        others = "subject", "issuer", "fingerprint_sha256", "fingerprint_streebog256"
        return [{key: value for key, value in without_place(found).items() if key not in others} for found in objects(done.text)]

    def facts_of_many(self, *ders, problems=(), label="CERTIFICATE", what="certificate"):
        """Returns the facts of many objects by one run; a problem is None or that of its object."""
        blocks, expected = [pem(data, label) for data in ders], []
        for i, problem in enumerate(problems):
            line = b"".join(blocks[:i]).count(b"\n") + 1
            expected += [f"{what} {i + 1} (line {line}): {problem}"] if problem else []
        return self.facts(b"".join(blocks), problems=expected)


class Certificates(FactsTest):
    COMMAND = ("cert",)

    def test_facts_follow_the_names_in_this_order(self):
        lines = ["subject: CN=x", "issuer: CN=x", *(f"{key}: {value}" for key, value in FACTS.items())]
        shown = [line for line in self.succeeds("-", stdin=certificate()).splitlines() if not line.startswith("fingerprint_")]
        self.assertEqual(shown, lines)
        self.assertEqual(list(self.facts(certificate())[0].items()), list(FACTS.items()))

    def test_serial_number_is_hexadecimal_without_leading_zero_octets(self):
        serials = {
            "00": "00", "7F": "7F", "0080": "80", "000001": "01", "0102030405060708090A": "0102030405060708090A",
            "FF": "-01", "80": "-80", "FF00": "-0100", "FF7F": "-81",
        }
        shown = self.facts_of_many(*(certificate(serial=bytes.fromhex(content)) for content in serials))
        self.assertEqual(dict(zip(serials, (found["serial"] for found in shown))), serials)

    def test_times_of_both_forms(self):
        cases = [
            ((UTC, "500101000000Z"), (UTC, "491231235959Z"), "1950-01-01T00:00:00Z", "2049-12-31T23:59:59Z"),
            ((UTC, "000229120000Z"), (GENERAL, "20500101000000Z"), "2000-02-29T12:00:00Z", "2050-01-01T00:00:00Z"),
            ((GENERAL, "19000101000000Z"), (GENERAL, "99991231235959Z"), "1900-01-01T00:00:00Z", "9999-12-31T23:59:59Z"),
        ]
        shown = self.facts_of_many(*(certificate(validity=der.validity(begin, end)) for begin, end, _, _ in cases))
        self.assertEqual([(found["not_before"], found["not_after"]) for found in shown],
                         [case[2:] for case in cases])

    def test_local_time_on_request(self):
        # three hours east of Greenwich all year round
        [shown] = self.facts(certificate(), "--local", env={"TZ": "XYZ-3"})
        self.assertEqual((shown["not_before"], shown["not_before_local"]), (NOT_BEFORE, "2025-01-02T06:04:05+03:00"))
        # where time ends in 2038, a later one stays as it is
        self.assertIn(shown["not_after_local"], ("2050-01-01T02:59:59+03:00", NOT_AFTER))

    def test_a_bad_time_is_named_and_the_other_one_is_shown(self):
        good = UTC, "250102030405Z"
        utc_form = "is not of the form YYMMDDHHMMSSZ of a UTCTime"
        general_form = "is not of the form YYYYMMDDHHMMSSZ of a GeneralizedTime"
        cases = [
            *((good, (tag, text), f"notAfter {problem}: {text}", "not_after") for tag, text, problem in [
                (UTC, "2501020304Z", utc_form), (UTC, "250102030405+0300", utc_form), (UTC, "2501O2030405Z", utc_form),
                (UTC, "", utc_form), (GENERAL, "20250102030405.5Z", general_form), (GENERAL, "", general_form),
                (UTC, "20250102030405Z", "is a UTCTime with a year of four digits"),
                (GENERAL, "250102030405Z", "is a GeneralizedTime with a year of two digits"),
                (UTC, "250229000000Z", "has an impossible day"),
                (UTC, "250100000000Z", "has an impossible day"),
                (UTC, "251301000000Z", "has an impossible month"),
                (UTC, "250001000000Z", "has an impossible month"),
                (UTC, "250101240000Z", "has an impossible hour"),
                (UTC, "250101006000Z", "has an impossible minute"),
                (UTC, "250101000060Z", "has an impossible second"),
                (GENERAL, "18991231235959Z", "lies before 1900"),
            ]),
            (good, (der.UTF8_STRING, "250102030405Z"), "notAfter is neither a UTCTime nor a GeneralizedTime", "not_after"),
            ((der.UTF8_STRING, "x"), good, "notBefore is neither a UTCTime nor a GeneralizedTime", "not_before"),
            ((UTC, "x"), good, f"notBefore {utc_form}: x", "not_before"),
        ]
        certificates = [certificate(validity=der.validity(begin, end)) for begin, end, _, _ in cases]
        shown = self.facts_of_many(*certificates, problems=[problem for _, _, problem, _ in cases])
        for (begin, end, _, hidden), found in zip(cases, shown):
            expected = FACTS | {"not_after": NOT_BEFORE if end == good else NOT_AFTER}
            self.assertEqual(found, {key: value for key, value in expected.items() if key != hidden}, (begin, end))

    def test_both_bad_times_are_named(self):
        missing = "is missing or malformed"
        for validity, not_before, not_after in [
            (der.validity((UTC, "20250102030405Z"), (UTC, "251301000000Z")),
             "is a UTCTime with a year of four digits: 20250102030405Z", "has an impossible month: 251301000000Z"),
            (der.validity((der.UTF8_STRING, "x"), (GENERAL, "x")),
             "is neither a UTCTime nor a GeneralizedTime", "is not of the form YYYYMMDDHHMMSSZ of a GeneralizedTime: x"),
            (sequence(), missing, missing),
            (sequence(b"\x17\x7f"), missing, missing),
        ]:
            [found] = self.facts(certificate(validity=validity), problems=[f"notBefore {not_before}", f"notAfter {not_after}"])
            self.assertEqual(found, {key: value for key, value in FACTS.items() if not key.startswith("not_")})

    def test_the_hash_of_rsassa_pss_comes_from_its_parameters(self):
        cases = [
            (der.algorithm(PSS, b""), "sha1RSASSA-PSS"),
            (der.algorithm(PSS, sequence()), "sha1RSASSA-PSS"),
            (pss_signature("2.16.840.1.101.3.4.2.3"), "sha512RSASSA-PSS"),
            (pss_signature("2.16.840.1.101.3.4.2.6"), "RSASSA-PSS"),  # SHA-512/256, which has no code
        ]
        shown = self.facts_of_many(*(certificate(signature=signature) for signature, _ in cases))
        self.assertEqual([(found["signature_algorithm"], found["signature_algorithm_oid"]) for found in shown],
                         [(name, PSS) for _, name in cases])

    def test_an_algorithm_without_name_is_an_oid_alone_unless_a_map_names_it(self):
        data = certificate(signature=der.algorithm(der.EXAMPLE_OID))
        [shown] = self.facts(data)
        self.assertEqual((shown.get("signature_algorithm"), shown["signature_algorithm_oid"]), (None, der.EXAMPLE_OID))
        [shown] = self.facts(data, "--oid-map", self.file("map", f"{der.EXAMPLE_OID} = MINE\n"))
        self.assertEqual(shown["signature_algorithm"], "MINE")

    def test_an_oid_whose_text_would_be_that_of_another_is_hexadecimal(self):
        # 1.3.101.4294967408: in 32 bits, the last arc is that of Ed25519
        content = bytes.fromhex("2B65 9080808070")
        algorithm = sequence(der.element(der.OBJECT_IDENTIFIER, content))
        warnings = [f"derkit: (standard input): warning: {field} has no dotted text that leads back to its DER, so it is "
                    "shown in hexadecimal" for field in ("signature_algorithm_oid", "public_key_algorithm_oid")]
        data = certificate(signature=algorithm, key=der.public_key(algorithm, bytes(32)))
        done = self.tool("--json", "-", stdin=data)
        [found] = objects(done.text)
        self.assertEqual((done.status, done.errors), (0, warnings))
        for field in "signature_algorithm", "public_key_algorithm":
            self.assertEqual((found.get(field), found[f"{field}_oid"]), (None, "#2B659080808070"))
        [found] = self.facts(certificate(signature=der.algorithm("2.999.1")))
        self.assertEqual(found["signature_algorithm_oid"], "2.999.1")

    def test_each_fact_that_cannot_be_shown_is_named_and_the_others_are_shown(self):
        differs = "the signature algorithm differs from the signed one"
        cases = [
            ({"serial": b""}, "serialNumber is empty", "serial"),
            ({"signature": sequence()}, "signatureAlgorithm has no OID", "signature_algorithm"),
            ({"key": sequence()}, "the public key is malformed", "public_key"),
            ({"inner_signature": der.algorithm("1.2.840.113549.1.1.5")}, differs, "none"),
        ]
        shown = self.facts_of_many(*(certificate(**changed) for changed, _, _ in cases), problems=[case[1] for case in cases])
        self.assertEqual(shown, [
            {key: value for key, value in FACTS.items() if not key.startswith(hidden)} for _, _, hidden in cases])

    def test_facts_that_cannot_be_shown_do_not_count_as_names(self):
        done = self.tool("--round-trip", "-", stdin=certificate(serial=b"", key=sequence()))
        self.assertEqual(done.text.splitlines()[-3:], ["names: 2", "round_trips: 2", "failures: 0"])


class PublicKeys(FactsTest):
    COMMAND = ("spki",)

    def test_a_key_alone_and_in_a_certificate_as_pem_and_der(self):
        for data in der.RSA_KEY, certificate():
            self.assertEqual(self.facts(data), [KEY_FACTS | RSA_NUMBERS])
        both = b"text\n" + pem(der.RSA_KEY, "PUBLIC KEY") + pem(b"x", "X509 CRL") + pem(certificate())
        place = {"format": 1, "object": "public_key", "file": "(standard input)"}
        expected = [{**place, "index": i, **KEY_FACTS, **RSA_NUMBERS} for i in (1, 2)]
        self.assertEqual(self.objects("-", stdin=both), expected)

    def test_parameters_of_each_kind_of_key(self):
        rsa = sequence(der.element(der.INTEGER, b"\0\0\0\x80" + bytes(127)), der.integer(3))
        dsa = sequence(der.element(der.INTEGER, b"\x01" + bytes(128)), der.integer(5), der.integer(2))
        rsa_facts = {"public_key_bits": 1024, "modulus": "80" + "00" * 127, "exponent": "03"}
        prime = sequence(der.oid("1.2.840.10045.1.1"), der.integer(2**255 - 19))
        binary = sequence(der.oid("1.2.840.10045.1.2"), sequence(der.integer(283), b""))
        cases = [
            (key(RSA, der.NULL, rsa), {"public_key_algorithm": "RSA"} | rsa_facts),
            (key(PSS, b"", rsa), {"public_key_algorithm": "RSASSA-PSS"} | rsa_facts),
            (key(RSA, der.NULL, sequence(der.integer(0x32F), der.element(der.INTEGER))),
             {"public_key_algorithm": "RSA", "public_key_bits": 10, "modulus": "032F", "exponent": "00"}),
            (key(DSA, dsa), {"public_key_algorithm": "DSA", "public_key_bits": 1025}),
            (key(DSA, b"", b"x"), {"public_key_algorithm": "DSA"}),
            (key(EC, der.oid("1.3.132.0.34"), b"x"),
             {"public_key_algorithm": "id-ecPublicKey", "public_key_bits": 384, "curve": "secp384r1", "curve_oid": "1.3.132.0.34"}),
            (key(EC, der.oid("1.3.132.0.99"), b"x"),
             {"public_key_algorithm": "id-ecPublicKey", "curve_oid": "1.3.132.0.99"}),
            (key(EC, sequence(der.integer(1), prime), b"x"), {"public_key_algorithm": "id-ecPublicKey", "public_key_bits": 255}),
            (key(EC, sequence(der.integer(1), binary), b"x"), {"public_key_algorithm": "id-ecPublicKey", "public_key_bits": 283}),
            (key(EC, sequence(), b"x"), {"public_key_algorithm": "id-ecPublicKey"}),
            (gost_key(der.GOST_2001, 64, "1.2.643.2.2.35.1", "1.2.643.2.2.30.1", "1.2.643.2.2.31.1"),
             {"public_key_algorithm": "GOST R 34.10-2001", "public_key_bits": 256,
              "param_set": "id-GostR3410-2001-CryptoPro-A-ParamSet", "param_set_oid": "1.2.643.2.2.35.1",
              "digest_param_set": "id-GostR3411-94-CryptoProParamSet", "digest_param_set_oid": "1.2.643.2.2.30.1",
              "encryption_param_set": "id-Gost28147-89-CryptoPro-A-ParamSet", "encryption_param_set_oid": "1.2.643.2.2.31.1"}),
            # RFC 9215 4.2: without the digest
            (gost_key(der.GOST_2012_512, 128, "1.2.643.7.1.2.1.2.3"),
             {"public_key_algorithm": "GOST R 34.10-2012 512", "public_key_bits": 512,
              "param_set": "id-tc26-gost-3410-2012-512-paramSetC", "param_set_oid": "1.2.643.7.1.2.1.2.3"}),
            (key(der.EXAMPLE_OID, b""), {}),
        ]
        shown = self.facts_of_many(*(data for data, _ in cases), label="PUBLIC KEY")
        self.assertTrue(all(found.pop("public_key_algorithm_oid") for found in shown))
        self.assertEqual(shown, [expected for _, expected in cases])

    def test_parameters_of_rsassa_pss(self):
        rsa = sequence(der.integer(0x32F), der.integer(3))
        mgf1, sha1, sha256 = "1.2.840.113549.1.1.8", "1.3.14.3.2.26", "2.16.840.1.101.3.4.2.1"

        def field(number, *parts):
            return der.element(der.CONTEXT_0 + number, *parts)

        def mask(hash_oid):
            return field(1, sequence(der.oid(mgf1), der.algorithm(hash_oid)))

        def params(hash_name, hash_oid, mask_hash, mask_hash_oid, salt_size):
            return {"pss_hash": hash_name, "pss_hash_oid": hash_oid, "pss_mask": "MGF1", "pss_mask_oid": mgf1,
                    "pss_mask_hash": mask_hash, "pss_mask_hash_oid": mask_hash_oid, "pss_salt_size": salt_size}

        # RFC 4055 3.1: SHA-1, MGF1 with SHA-1 and 20 octets are the defaults.
        cases = [
            (b"", {}),
            (sequence(), params("SHA-1", sha1, "SHA-1", sha1, 20)),
            (sequence(field(0, der.algorithm(sha256)), mask(sha256), field(2, der.integer(32))),
             params("SHA-256", sha256, "SHA-256", sha256, 32)),
            (sequence(mask(sha256)), params("SHA-1", sha1, "SHA-256", sha256, 20)),
            (sequence(field(2, der.integer(0)), field(3, der.integer(1))), params("SHA-1", sha1, "SHA-1", sha1, 0)),
            (sequence(field(1, sequence(der.oid(der.EXAMPLE_OID)))),
             {"pss_hash": "SHA-1", "pss_hash_oid": sha1, "pss_mask_oid": der.EXAMPLE_OID, "pss_salt_size": 20}),
        ]
        shown = self.facts_of_many(*(key(PSS, parameters, rsa) for parameters, _ in cases), label="PUBLIC KEY")
        self.assertEqual([{name: value for name, value in found.items() if name.startswith("pss")} for found in shown],
                         [expected for _, expected in cases])
        refused = "the public key is no key of RSASSA-PSS (1.2.840.113549.1.1.10)"
        for parameters in der.NULL, sequence(field(0, b"x")), sequence(field(1, sequence(der.oid(mgf1)))), sequence(field(2, b"\x02\x01\x80")):
            self.assertEqual(self.facts(key(PSS, parameters, rsa), problems=[refused]), [])

    def test_named_curves_have_the_size_of_their_field(self):
        """The points of openssl's keys tell the size in octets, the names of the curves that in bits."""
        names = [line.split(b":")[0].decode().strip() for line in openssl.run("ecparam", "-list_curves").splitlines() if b":" in line]
        names = [name for name in names if re.fullmatch(r"(sec[pt](163r2|224r1|256k1|384r1|521r1|163k1|233..|283..|409..|571..)|"
                                                        r"prime256v1|prime192v1|brainpoolP...[rt]1)", name)]
        self.assertEqual(len(names), 30)
        for name in thin(names):
            public = openssl.run("pkey", "-pubout", stdin=openssl.run("ecparam", "-genkey", "-noout", "-name", name))
            [found] = self.facts(public)
            [data] = der.unpem(public)
            bits = found["public_key_bits"]
            point_size = data.index(b"\0\4", 20)  # the BIT STRING's unused bits and an uncompressed point
            self.assertEqual((len(data) - point_size - 2) // 2, (bits + 7) // 8, name)
            self.assertIn(str(bits), name)
            curve = {"prime192v1": "secp192r1", "prime256v1": "secp256r1"}.get(name, name)
            self.assertEqual(found["curve"], curve)

    def test_keys_that_are_none_are_refused(self):
        malformed = "the public key is malformed"
        no_rsa = "the public key is no key of RSA (1.2.840.113549.1.1.1)"
        no_gost = "the public key is no key of GOST R 34.10-2012 256 (1.2.643.7.1.1.1.1)"
        for data, problem in [
            (b"", "is empty"),
            (b"text", NEITHER),
            (sequence(), malformed),
            (sequence(der.RSA), malformed),
            (sequence(der.RSA, b"\x03\x00"), malformed),
            (key(RSA, der.NULL), no_rsa),
            (key(RSA, der.NULL, sequence(der.integer(0), der.integer(3))), no_rsa),
            (gost_key(der.GOST_2012_256, 64), no_gost),
            (gost_key(der.GOST_2012_256, 0, "1.2.643.2.2.35.1"), no_gost),
            (pem(b"x", "PRIVATE KEY"), "holds no PUBLIC KEY and no certificate, but PRIVATE KEY"),
            (pem(b"x", "PUBLIC KEY"), f"key 1 (line 1): {NEITHER}"),
            (pem(der.RSA_KEY), "key 1 (line 1): not a certificate: serialNumber is missing or malformed"),
        ]:
            with self.subTest(problem, data=data):
                self.assertEqual(self.facts(data, problems=[problem]), [])

    def test_every_prefix_of_a_key_is_refused(self):
        prefixes = [der.RSA_KEY[:size] for size in range(1, len(der.RSA_KEY))]
        problems = [NEITHER] * len(prefixes)
        self.assertEqual(self.facts_of_many(*prefixes, problems=problems, label="PUBLIC KEY", what="key"), [])
        for prefix in prefixes[0], prefixes[-1]:
            self.assertEqual(self.facts(prefix, problems=[NEITHER]), [])

    def test_damage_to_any_octet_is_survived(self):
        data = der.RSA_KEY
        damaged = [data[:i] + bytes([value]) + data[i + 1 :] for i in range(len(data)) for value in (0x00, 0x7F, 0x84, 0xFF)]
        done = self.tool("-", stdin=b"".join(pem(key, "PUBLIC KEY") for key in damaged))
        self.assertEqual(done.status, 1)
        self.assertEqual([line for line in done.errors if not line.startswith("derkit: ")], [])

    def test_octets_after_a_key_are_warned_about(self):
        done = self.tool("-", stdin=der.RSA_KEY + b"xy")
        warning = "derkit: (standard input): warning: 2 bytes after the key are ignored"
        self.assertEqual((done.status, done.errors), (0, [warning]))
        self.assertEqual(done.text.splitlines(), [f"{key}: {value}" for key, value in (KEY_FACTS | RSA_NUMBERS).items()])


if __name__ == "__main__":
    unittest.main()
