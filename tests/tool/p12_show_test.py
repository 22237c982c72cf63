#!/usr/bin/env python3
"""Tests what "derkit p12 show" says of a container, without its password and with it.

It must show what openssl put into a container, and extract must write the same octets; both refuse the same.
"""

import hashlib
import re
import unittest

import der
import openssl
import pfx
from der import BMP_STRING, CONTEXT_0_PRIMITIVE, NULL, element, integer, octet_string, oid, private_key, sequence
from p12 import (
    NAME, ONLY_28147, ONLY_GOST_94, ONLY_HMAC_94, ONLY_PARAM_SET_A, PASSWORD, TOO_MANY_ITERATIONS, UNDECRYPTABLE,
    UNREADABLE_MAC, P12Test, pairs,
)
from tool import thin

EXTRACTED_NOTHING = "nothing is extracted, because not everything can be read (--partial extracts the rest)"
X = pfx.cert_bag(der.certificate("x"))
OTHER_TYPE = "is of a type that is not read"
AES_256 = "AES-256-CBC (2.16.840.1.101.3.4.1.42)"
# An attribute of the right type with a value of the wrong one.
WIDE_NAME = pfx.attribute(pfx.FRIENDLY_NAME, element(der.UTF8_STRING, b"x"))


def certificate_of(not_before, not_after):
    times = [(der.UTC_TIME if len(text) < 15 else der.GENERALIZED_TIME, text) for text in (not_before, not_after)]
    return der.certificate("x", validity=der.validity(*times))


class ContainersOfOpenssl(P12Test):
    def test_each_family_is_shown_and_extracted_with_the_same_octets(self):
        for pair in pairs():
            with self.subTest(pair.family):
                container = pair.export("-iter", "2048")
                mac, key, shown = self.show(container)
                self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", "standard", "PBKDF2"))
                key_id = hashlib.sha1(pair.certificate).hexdigest().upper()
                for found in key, shown:
                    self.assertEqual((found["friendly_name"], found["local_key_id"], found["encrypted"]), (NAME, key_id, "yes"))
                self.assertEqual((key["family"], key["bits"]), (pair.family, 512 if pair.family.endswith("512") else 256))
                self.assertEqual(shown["subject"], pair.subject)
                dates = openssl.gost("x509", "-in", pair.certificate_file, "-noout", "-dates", "-dateopt", "iso_8601")
                times = re.findall(r"=(\d+)-(\d\d)-(\d\d) (\S+)Z", dates.decode())
                self.assertEqual([f"{day}.{month}.{year} {time} GMT" for year, month, day, time in times],
                                 [shown["not_before"], shown["not_after"]])
                self.check_extracted(container, [pair.key], [pair.certificate])

    def test_the_mac_key_by_the_pkcs12_derivation_is_found_too(self):
        container = self.pair.export(LEGACY_GOST_PKCS12="1")
        mac = self.show(container)[0]
        self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", "standard", "PKCS#12 KDF"))
        self.check_extracted(container, [self.pair.key], [self.pair.certificate])

    def test_a_chain_keeps_its_order(self):
        chain = self.file("chain.pem", b"".join(pair.certificate_pem for pair in pairs()[1:]))
        container = self.pair.export("-certfile", chain)
        subjects = [found["subject"] for found in self.show(container)[2:]]
        self.assertEqual(subjects, [pair.subject for pair in pairs()])
        self.check_extracted(container, [self.pair.key], [pair.certificate for pair in pairs()])

    def test_certificates_alone(self):
        self.check_extracted(self.pair.export("-nokeys"), [], [self.pair.certificate])

    def test_a_key_in_the_clear_is_reported(self):
        container = self.pair.export("-keypbe", "NONE", "-nocerts")
        shown = [(found["object"], found.get("encrypted")) for found in self.show(container)[1:]]
        self.assertEqual(shown, [("key", "no")])
        self.check_extracted(container, [self.pair.key], [])

    def test_without_a_password_the_outside_is_listed(self):
        mac, certificates, keys, key = self.show(self.pair.export("-iter", "2001"), password=None)
        self.assertEqual(mac, {
            "object": "mac", "algorithm": "GOST R 34.11-94", "algorithm_oid": "1.2.643.2.2.9", "size": 32, "salt_size": 8,
            "iterations": 2001,
        })
        encryption = pfx.SHOWN_PBES2 | {"iterations": 2001}
        encrypted_data = {"content_type": "encryptedData", "content_type_oid": pfx.ENCRYPTED_DATA}
        data = {"content_type": "data", "content_type_oid": pfx.DATA}
        shrouded = {"type": "pkcs8ShroudedKeyBag", "type_oid": pfx.SHROUDED_KEY_BAG}
        sizes = [found.pop("size") for found in (certificates, keys, key)]
        self.assertEqual(certificates, {"object": "entry", "entry": 1, **encrypted_data, **encryption})
        self.assertEqual(keys, {"object": "entry", "entry": 2, **data})
        self.assertEqual(key, {"object": "bag", "entry": 2, "bag": 1, **shrouded, **encryption})
        # ciphertexts are as long as what was encrypted
        self.assertGreater(sizes[0], len(self.pair.certificate))
        self.assertGreater(sizes[1], sizes[2])
        self.assertGreater(sizes[2], len(self.pair.key))

    def test_lines_have_the_object_first(self):
        path = self.file("a.p12", self.pair.export())
        for password, lines in [
            (None, ["mac: algorithm: GOST R 34.11-94", "mac: salt_size: 8", "entry 1: content_type: encryptedData",
                    "entry 1: cipher_param_set_oid: 1.2.643.2.2.31.1", "entry 2, bag 1: type: pkcs8ShroudedKeyBag"]),
            (PASSWORD, ["mac: verdict: good", f"key 1: friendly_name: {NAME}", f"certificate 1: subject: {self.pair.subject}"]),
        ]:
            shown = self.succeeds("show", path, password=password).splitlines()
            self.assertEqual([line for line in lines if line not in shown], [])

    def test_a_password_may_come_from_a_file_the_environment_and_standard_input(self):
        container = self.pair.export()
        path = self.file("a.p12", container)
        password = self.file("password", PASSWORD + "\nmore\n")
        expected = self.succeeds("show", path)
        for arguments, stdin in [
            ([path, "--password-file", password], b""),
            ([path, "--password-stdin"], f"{PASSWORD}\n".encode()),
            (["-", "--password-file", password], container),
        ]:
            self.assertEqual(self.succeeds("show", *arguments, password=None, stdin=stdin), expected)

    def test_standard_input_cannot_be_both_container_and_password(self):
        out = self.folder / "out"
        for command in ["show", "-"], ["extract", "-", "--out", out]:
            self.assertIn("standard input", self.fails(*command, "--password-stdin", password=None, status=2))
        self.assertFalse(out.exists())


class Refusals(P12Test):
    """Containers of which nothing is read."""

    def test_a_wrong_password_and_a_changed_container_cannot_be_told_apart(self):
        container = self.pair.export()
        middle = len(container) // 2
        changed = container[:middle] + bytes([container[middle] ^ 1]) + container[middle + 1 :]
        for data, password in (container, "пароль 1"), (container, ""), (changed, PASSWORD):
            self.check_refused(data, UNREADABLE_MAC, password=password)

    def test_a_missing_mac(self):
        container = self.pair.export("-nomac")
        self.check_refused(container, "has no MAC; containers without one are not read")
        self.assertEqual(self.show(container, password=None)[0], {
            "object": "mac", "algorithm": "none", "not_read": "has no MAC; containers without one are not read"})

    def test_macs_of_other_digests(self):
        digests = {
            "sha1": "SHA-1 (1.3.14.3.2.26)",
            "sha256": "SHA-256 (2.16.840.1.101.3.4.2.1)",
            "sha512": "SHA-512 (2.16.840.1.101.3.4.2.3)",
            "md_gost12_256": "GOST R 34.11-2012 256 (1.2.643.7.1.1.2.2)",
            "md_gost12_512": "GOST R 34.11-2012 512 (1.2.643.7.1.1.2.3)",
        }
        for digest, name in digests.items():
            with self.subTest(digest):
                container = self.pair.export(mac=digest)
                problem = f"is made with {name}; {ONLY_GOST_94}"
                self.check_refused(container, f"its MAC {problem}")
                self.assertEqual(self.show(container, password=None)[0]["not_read"], f"its MAC {problem}")

    def test_a_mac_of_another_digest_is_refused_even_when_it_would_hold(self):
        safe = sequence()
        mac = pfx.legacy_mac("x", safe)
        sha1 = pfx.mac_data(mac, algorithm=der.algorithm("1.3.14.3.2.26"))
        self.assertEqual(self.show(pfx.pfx(safe, pfx.mac_data(mac)), password="x")[0]["verdict"], "good")
        problem = f"its MAC is made with SHA-1 (1.3.14.3.2.26); {ONLY_GOST_94}"
        self.check_refused(pfx.pfx(safe, sha1), problem, password="x")

    def test_pbmac1(self):
        prf = sequence(oid("1.2.840.113549.2.9"))
        derivation = sequence(oid(pfx.PBKDF2), sequence(octet_string(bytes(9)), integer(3000), integer(32), prf))
        algorithm = sequence(oid(pfx.PBMAC1), sequence(derivation, der.algorithm("1.2.840.113549.2.11")))
        container = pfx.pfx(sequence(), pfx.mac_data(bytes(64), algorithm=algorithm))
        problem = f"is made with PBMAC1 (1.2.840.113549.1.5.14); {ONLY_GOST_94}"
        self.check_refused(container, f"its MAC {problem}")
        self.assertEqual(self.show(container, password=None), [{
            "object": "mac",
            "algorithm": "PBMAC1",
            "algorithm_oid": "1.2.840.113549.1.5.14",
            "size": 64,
            "kdf": "PBKDF2",
            "kdf_oid": "1.2.840.113549.1.5.12",
            "prf": "HMAC SHA-256",
            "prf_oid": "1.2.840.113549.2.9",
            "salt_size": 9,
            "iterations": 3000,
            "mac": "HMAC SHA-512",
            "mac_oid": "1.2.840.113549.2.11",
            "not_read": f"its MAC {problem}",
        }])

    def test_macs_that_cannot_be_computed(self):
        self.check_all_refused([
            (pfx.pfx(sequence(), mac), f"its MAC {problem}")
            for mac, problem in [
                (pfx.mac_data(bytes(31)), "has 31 bytes instead of 32"),
                (pfx.mac_data(bytes(32), salt=b""), "has an empty salt"),
                (pfx.mac_data(bytes(32), iterations=0), "has an iteration count of 0"),
                (pfx.mac_data(bytes(32), iterations=1_000_001), TOO_MANY_ITERATIONS),
            ]
        ])

    def test_the_count_of_a_mac_is_1_when_it_is_not_there(self):
        container = pfx.pfx(sequence(), pfx.mac_data(pfx.mac("x", sequence()), iterations=None))
        self.assertEqual(self.show(container, password="x")[0]["iterations"], 1)

    def test_no_password_and_an_empty_one_are_two_things(self):
        none, empty = (pfx.container(password, pfx.data_entry(X)) for password in (None, ""))
        self.assertEqual(self.show(empty, password="")[1]["subject"], "CN=x")
        self.check_refused(none, UNREADABLE_MAC, password="")
        path = self.file("a.p12", none)
        shown = self.succeeds("show", path, "--no-password", password=None)
        self.assertIn("certificate 1: subject: CN=x\n", shown)
        path = self.file("b.p12", empty)
        self.check_failures([(["show", path, "--no-password"], f"{path}: {UNREADABLE_MAC}")], password=None)

    def test_what_is_no_container(self):
        begin = "not a PKCS#12 container: "
        data = pfx.content_info(pfx.DATA, octet_string(sequence()))
        pieces = pfx.content_info(pfx.DATA, element(0x24, octet_string(b"a"), octet_string(b"b")))
        self.check_all_refused([
            (b"", "is empty"),
            (b"text", begin + "PFX is missing"),
            (self.pair.certificate, begin + "version is missing"),
            (self.pair.certificate_pem, begin + "PFX is missing"),
            (bytes.fromhex("3080020103"), begin + "PFX has an indefinite length (BER), which is not read"),
            (sequence(integer(3)), begin + "authSafe is missing"),
            (sequence(bytes.fromhex("02020103"), data), begin + "version is malformed"),
            (pfx.pfx(sequence(), pfx.mac_data(bytes(32)), content_type="1.2.3"),
             "damaged: authSafe is 1.2.3; only data is read"),
            (pfx.pfx(sequence(), b"", content_type=""), begin + "authSafe is (no OID); only data is read"),
            (sequence(integer(3), pieces, pfx.mac_data(bytes(32))),
             "damaged: the OCTET STRING of authSafe is in pieces (BER), which is not read"),
        ])

    def test_a_container_that_a_public_key_protects_is_one(self):
        problem = "is protected by a public key (authSafe is signedData); only protection by a password is read"
        container = pfx.pfx(sequence(), b"", content_type=pfx.SIGNED_DATA)
        self.assertEqual(self.show(container, password=None), [{"object": "mac", "algorithm": "none", "not_read": problem}])
        self.check_refused(container, problem)

    def test_damage_is_named_with_its_place(self):
        info = sequence(oid(pfx.DATA), pfx.pbes2(), element(CONTEXT_0_PRIMITIVE, b"x"))
        wrong_id = pfx.attribute(pfx.LOCAL_KEY_ID, integer(1))
        encrypted_data = pfx.ENCRYPTED_DATA
        named = pfx.cert_bag(der.certificate("x"), WIDE_NAME)
        cases = [
            ([b"x"], "entry 1: ContentInfo is missing"),
            ([pfx.data_entry(), sequence(oid(pfx.DATA))], "entry 2: content is missing"),
            ([pfx.content_info(pfx.DATA, NULL)], "entry 1: the OCTET STRING of data is missing"),
            ([pfx.content_info(pfx.DATA, octet_string(b"x"))], "entry 1: SafeContents is missing"),
            ([pfx.data_entry(X, b"\x30\x05")], "entry 1, bag 2: SafeBag is cut short"),
            ([pfx.data_entry(sequence(oid(pfx.CERT_BAG)))], "entry 1, bag 1: bagValue is missing"),
            ([pfx.data_entry(pfx.bag(pfx.CERT_BAG, NULL))], "entry 1, bag 1: CertBag is missing"),
            ([pfx.data_entry(named)], "entry 1, bag 1: the BMPString of friendlyName is missing"),
            ([pfx.data_entry(X, pfx.bag(pfx.CRL_BAG, NULL, wrong_id))],
             "entry 1, bag 2: the OCTET STRING of localKeyId is missing"),
            ([pfx.content_info(encrypted_data, sequence(integer(0)))], "entry 1: EncryptedContentInfo is missing"),
            ([pfx.content_info(encrypted_data, sequence(bytes.fromhex("02020100"), info))], "entry 1: version is malformed"),
        ]
        self.check_all_refused([(pfx.container("x", *entries), f"damaged: {problem}") for entries, problem in cases], password="x")
        hidden = pfx.container("x", pfx.encrypt_entry("x", named))
        problem = "an encrypted entry, bag 1: the BMPString of friendlyName is missing"
        self.check_refused(hidden, f"its MAC is good, but it is damaged: {problem}", password="x")

    def test_every_prefix_is_refused(self):
        container = pfx.container("x")
        for size in thin(range(1, len(container))):
            self.fails("show", self.file("a.p12", container[:size]), password="x")

    def test_every_change_of_an_octet_is_survived(self):
        hidden = pfx.encrypt_entry("x", NULL)
        entries = pfx.data_entry(pfx.encrypt_key("x", NULL), pfx.cert_bag(NULL, pfx.local_key_id(b"x"))), hidden
        container = pfx.container("x", *entries)
        safe = sequence(*entries)
        covered = range(container.index(safe), container.index(safe) + len(safe))
        for place in thin(range(len(container))):
            changed = container[:place] + bytes([container[place] ^ 0x81]) + container[place + 1 :]
            done = self.tool("show", self.file("a.p12", changed), password="x")
            self.assertIn(done.status, (0, 1), (place, done.errors))
            if place in covered:
                self.assertEqual((done.status, done.out), (1, b""), place)

    def test_octets_after_a_container_are_warned_about(self):
        path = self.file("a.p12", pfx.container("x") + b"more")
        for password in None, "x":
            done = self.tool("show", path, password=password)
            warning = f"derkit: {path}: warning: 4 bytes after the container are ignored"
            self.assertEqual((done.status, done.errors), (0, [warning]))

    def test_a_missing_file(self):
        path = self.folder / "no"
        self.check_failures([(["show", path], f"{path}: No such file or directory")], password=None)

    def test_a_command_line_that_makes_no_sense(self):
        make = ["make", "--key", "a", "--cert", "b"]
        self.check_usage([
            ([], "a subcommand of p12 is required"),
            (["foo"], "not expected: foo"),
            (["show"], "FILE is required"),
            (["extract", "a"], "--out is required"),
            (["make", "--key", "a", "--out", "b"], "--cert is required"),
            (["make", "--cert", "a", "--out", "b"], "--key is required"),
            (make, "--out is required"),
            ([*make, "--out", "c", "--profile", "x"], "not in {standard,native}"),
            (["show", "a", "--no-password", "--password-stdin"], "excludes"),
            (["show", "a", "--password", "x"], "not expected"),
        ], password=None)


class PassedOver(P12Test):
    """The tool names what the library passes over, and shows the rest."""

    def check_passed_over(self, entries, *problems):
        """Checks that show and extract name each problem; extract writes nothing, or the rest with --partial."""
        container = pfx.container("x", pfx.data_entry(pfx.cert_bag(der.certificate("good"))), *entries)
        shown, told = self.show_with_problems(container, password="x")
        self.assertEqual(told, list(problems))
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=good"])
        path, out = self.file("a.p12", container), self.folder / "out"
        errors = [f"derkit: {path}: {problem}" for problem in problems]
        done = self.tool("extract", path, "--out", out, password="x")
        self.assertEqual(done, (1, b"", [*errors, f"derkit: {path}: {EXTRACTED_NOTHING}"]))
        self.assertFalse(out.exists())
        done = self.tool("extract", path, "--out", out, "--partial", "--force", password="x")
        self.assertEqual(done, (1, f"{out}/certificate-1.pem\n".encode(), errors))
        (out / "certificate-1.pem").unlink()
        out.rmdir()

    def seen_outside(self, entries):
        """Returns why entries and bags are not read, None for those that are, as it is shown without a password."""
        return [found.get("not_read") for found in self.show(pfx.container("x", *entries), password=None)[1:]]

    def test_other_content_types(self):
        types = {
            pfx.SIGNED_DATA: ("signedData", OTHER_TYPE),
            pfx.ENVELOPED_DATA: ("envelopedData", "is encrypted for a public key, which is not read"),
            "1.2.3.4": ("1.2.3.4", OTHER_TYPE),
        }
        entries = [pfx.content_info(content_type, sequence()) for content_type in types]
        self.assertEqual(self.seen_outside(entries), [problem for _, problem in types.values()])
        self.check_passed_over(entries,
                               *(f"entry {i} ({name}) {problem}" for i, (name, problem) in enumerate(types.values(), 2)))

    def test_other_bags_in_the_clear_and_encrypted(self):
        """Bags inside a safeContentsBag do not count as read either."""
        nested = sequence(pfx.key_bag(private_key()))
        bags = [
            (pfx.CRL_BAG, "crlBag", sequence()),
            (pfx.SECRET_BAG, "secretBag", sequence()),
            (pfx.SAFE_CONTENTS_BAG, "safeContentsBag", sequence()),
            (pfx.SAFE_CONTENTS_BAG, "safeContentsBag", nested),
            ("1.2.3.4", "1.2.3.4", sequence()),
        ]
        encoded = [pfx.bag(bag_type, content) for bag_type, _, content in bags]
        self.assertEqual(self.seen_outside([pfx.data_entry(X, *encoded)])[2:], [OTHER_TYPE] * len(bags))
        self.check_passed_over([pfx.data_entry(*encoded), pfx.encrypt_entry("x", *encoded)], *(
            f"entry {entry}, bag {i} ({name}) {OTHER_TYPE}" for entry in (2, 3) for i, (_, name, _) in enumerate(bags, 1)))

    def test_encryption_of_other_kinds(self):
        rc2 = sequence(oid("1.2.840.113549.1.12.1.6"), sequence(octet_string(bytes(8)), integer(2048)))
        prf = sequence(oid(pfx.HMAC_GOST_2012_256), NULL)
        names = {
            "1.2.643.2.2.31.0": "id-Gost28147-89-TestParamSet",
            "1.2.643.2.2.31.2": "id-Gost28147-89-CryptoPro-B-ParamSet",
            "1.2.643.2.2.31.3": "id-Gost28147-89-CryptoPro-C-ParamSet",
            "1.2.643.2.2.31.4": "id-Gost28147-89-CryptoPro-D-ParamSet",
            "1.2.643.7.1.2.5.1.1": "id-tc26-gost-28147-param-Z",
        }
        algorithms = [
            (rc2, "is encrypted with pbeWithSHAAnd40BitRC2-CBC (1.2.840.113549.1.12.1.6); only PBES2 is read"),
            (pfx.pbes2(cipher="2.16.840.1.101.3.4.1.42"), f"is encrypted with {AES_256}; {ONLY_28147}"),
            (pfx.pbes2(cipher="1.2.643.7.1.1.5.1.1"), f"is encrypted with Magma CTR-ACPKM (1.2.643.7.1.1.5.1.1); {ONLY_28147}"),
            (pfx.pbes2(kdf="1.3.6.1.4.1.11591.4.11"),
             "has a key derived with scrypt (1.3.6.1.4.1.11591.4.11); only PBKDF2 is read"),
            (pfx.pbes2(prf=prf), f"has a key derived with HMAC GOST R 34.11-2012 256 ({pfx.HMAC_GOST_2012_256}); {ONLY_HMAC_94}"),
            *((pfx.pbes2(param_set=dotted), f"is encrypted with the parameter set {name} ({dotted}); {ONLY_PARAM_SET_A}")
              for dotted, name in names.items()),
            (pfx.pbes2(iv=bytes(7)), "has an IV of 7 bytes instead of 8"),
            (pfx.pbes2(salt=b""), "has an empty salt"),
            (pfx.pbes2(iterations=integer(0)), "has an iteration count of 0"),
            (pfx.pbes2(iterations=integer(1_000_001)), TOO_MANY_ITERATIONS),
            (sequence(oid(pfx.PBES2)), "has malformed parameters of its encryption"),
            (sequence(element(der.OBJECT_IDENTIFIER)), "does not name its encryption"),
        ]
        # What would decrypt well if the parameters were taken for those that are read. Each ciphertext is another one:
        # which of two equal ones is declined cannot be told apart.
        entries, problems = [], []
        for i, (algorithm, problem) in enumerate(algorithms):
            certificates = pfx.encrypt("x", sequence(pfx.cert_bag(der.certificate(str(i)))))
            key, other_key = (pfx.encrypt("x", private_key(bytes([i + first]) * 32)) for first in (1, 101))
            first = len(entries) + 2
            entries += [
                pfx.encrypted_entry(algorithm, certificates),
                pfx.data_entry(pfx.shrouded_bag(algorithm, key)),
                pfx.encrypt_entry("x", pfx.shrouded_bag(algorithm, other_key)),
            ]
            problems += [
                f"entry {first} (encryptedData) {problem}",
                f"entry {first + 1}, bag 1 (pkcs8ShroudedKeyBag) {problem}",
                f"entry {first + 2}, bag 1 (pkcs8ShroudedKeyBag) {problem}",
            ]
        self.check_passed_over(entries, *problems)
        outside = [pfx.encrypted_entry(algorithm, b"") for algorithm, _ in algorithms]
        shown = self.show(pfx.container("x", *outside), password=None)[1:]
        self.assertEqual([found["not_read"] for found in shown], [problem for _, problem in algorithms])

    def test_oids_that_are_empty_leave_no_hole_in_a_message(self):
        unnamed = sequence(element(der.OBJECT_IDENTIFIER))
        no_cipher = sequence(oid(pfx.PBES2), sequence(sequence(oid(pfx.PBKDF2), sequence()), unnamed))
        entries = [
            pfx.encrypted_entry(unnamed, b"x"), pfx.encrypted_entry(no_cipher, b"x"),
            pfx.encrypted_entry(pfx.pbes2(), b"x", content_type=""), pfx.content_info("", sequence()),
        ]
        problems = [
            "is encrypted with (no OID); only PBES2 is read", f"is encrypted with (no OID); {ONLY_28147}",
            "holds (no OID) instead of data", OTHER_TYPE,
        ]
        self.assertEqual(self.seen_outside(entries), problems)
        names = [" (encryptedData) "] * 3 + [" "]
        self.check_passed_over(entries, *(f"entry {i}{name}{problem}" for i, (name, problem) in enumerate(zip(names, problems), 2)))
        no_mac_name = pfx.pfx(sequence(), pfx.mac_data(bytes(32), algorithm=unnamed))
        self.check_refused(no_mac_name, f"its MAC is made with (no OID); {ONLY_GOST_94}", password="x")

    def test_files_of_openssl_with_other_encryption(self):
        b_name, b_set = "id-Gost28147-89-CryptoPro-B-ParamSet", "1.2.643.2.2.31.2"
        triple_des = "pbeWithSHAAnd3-KeyTripleDES-CBC (1.2.840.113549.1.12.1.3)"
        for how, problem in [
            ({"encryption": "aes-256-cbc"}, f"is encrypted with {AES_256}; {ONLY_28147}"),
            ({"encryption": "PBE-SHA1-3DES"}, f"is encrypted with {triple_des}; only PBES2 is read"),
            ({"settings": {"PBE_PARAMS": "md_gost12_256"}},
             f"has a key derived with HMAC GOST R 34.11-2012 256 (1.2.643.7.1.1.4.1); {ONLY_HMAC_94}"),
            ({"settings": {"CRYPT_PARAMS": b_name}},
             f"is encrypted with the parameter set {b_name} ({b_set}); {ONLY_PARAM_SET_A}"),
        ]:
            with self.subTest(problem):
                [shown], told = self.show_with_problems(self.pair.export(**how))
                self.assertEqual((shown["object"], shown["verdict"]), ("mac", "good"))
                self.assertEqual(told, [
                    f"entry 1 (encryptedData) {problem}", f"entry 2, bag 1 (pkcs8ShroudedKeyBag) {problem}"])

    def test_what_cannot_be_decrypted_or_read(self):
        entries = {
            pfx.encrypt_entry("other", X): f"(encryptedData) {UNDECRYPTABLE}",
            pfx.data_entry(pfx.encrypt_key("other", private_key())): f"bag 1 (pkcs8ShroudedKeyBag) {UNDECRYPTABLE}",
            pfx.encrypt_entry("x", pfx.encrypt_key("other", private_key())): f"bag 1 (pkcs8ShroudedKeyBag) {UNDECRYPTABLE}",
            pfx.data_entry(pfx.bag(pfx.SHROUDED_KEY_BAG, NULL)): "bag 1 (pkcs8ShroudedKeyBag) is malformed",
            pfx.encrypted_entry(pfx.pbes2(), pfx.encrypt("x", sequence()), content_type=pfx.SIGNED_DATA):
                "(encryptedData) holds signedData (1.2.840.113549.1.7.2) instead of data",
        }
        self.check_passed_over(entries, *(
            f"entry {i}{', ' if problem.startswith('bag') else ' '}{problem}" for i, problem in enumerate(entries.values(), 2)))

    def test_the_same_ciphertext_twice_counts_twice(self):
        twice = pfx.encrypt_entry("x", X)
        shown = self.show(pfx.container("x", twice, twice), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=x", "CN=x"])

    def test_a_ciphertext_that_is_read_under_one_salt_alone_is_missed(self):
        """The second one decrypts to nothing that makes sense."""
        ciphertext = pfx.encrypt("x", sequence(X))
        entries = [pfx.encrypted_entry(pfx.pbes2(iterations=integer(count)), ciphertext) for count in (1, 2)]
        shown, told = self.show_with_problems(pfx.container("x", *entries), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=x"])
        self.assertEqual(told, ["holds 2 keys and certificates, of which 1 were read"])


class Bags(P12Test):
    def show_bags(self, *bags):
        """Returns the objects after the MAC."""
        return self.show(pfx.container("x", pfx.data_entry(*bags)), password="x")[1:]

    def show_bad_bags(self, *bags):
        return self.show_with_problems(pfx.container("x", pfx.data_entry(*bags)), password="x")

    def test_every_way_to_keep_a_key(self):
        keys = [private_key(octet_string(bytes([i]) * 32)) for i in range(1, 5)]
        container = pfx.container(
            "x",
            pfx.data_entry(pfx.key_bag(keys[0]), pfx.encrypt_key("x", keys[1])),
            pfx.encrypt_entry("x", pfx.key_bag(keys[2]), pfx.encrypt_key("x", keys[3])),
        )
        shown = self.show(container, password="x")[1:]
        self.assertEqual([found["encrypted"] for found in shown], ["no", "yes", "yes", "yes"])
        kinds = {(found["family"], found["shape"]) for found in shown}
        self.assertEqual(kinds, {("GOST R 34.10-2001", "OCTET STRING")})
        self.check_extracted(container, keys, [], password="x")

    def test_no_key_is_ever_shown(self):
        path = self.file("a.p12", pfx.container("x", pfx.data_entry(pfx.key_bag(private_key()))))
        for options in [], ["--json"]:
            out = self.succeeds("show", path, *options, password="x")
            for text in der.KEY_32.hex(), der.KEY_32.hex().upper(), der.KEY_32.decode():
                self.assertNotIn(text, out)

    def test_a_container_without_bags(self):
        self.assertEqual([found["object"] for found in self.show(pfx.container("x"), password="x")], ["mac"])

    def test_names_are_shown_safely(self):
        [found] = self.show_bags(pfx.cert_bag(der.certificate("x"), pfx.friendly_name("a\x1b[2J\n\u202eb")))
        self.assertEqual(found["friendly_name"], "a\\1B[2J\\0A\\E2\\80\\AEb")

    def test_a_backslash_in_a_friendly_name_is_no_escape(self):
        names = "\x1b", "\\1B", "\\", "\\5C", "C:\\key"
        shown = self.show_bags(*(pfx.cert_bag(der.certificate("x"), pfx.friendly_name(name)) for name in names))
        self.assertEqual([found["friendly_name"] for found in shown], ["\\1B", "\\5C1B", "\\5C", "\\5C5C", "C:\\5Ckey"])

    def test_a_name_with_latin_1_in_a_t61_string(self):
        name = der.name(der.attribute(der.COMMON_NAME, der.T61_STRING, "ü".encode("latin-1")))
        path = self.file("shown.p12", pfx.container("x", pfx.data_entry(pfx.cert_bag(der.certificate(name)))))
        for options, subject in ([], "CN=þ"), (["--t61", "latin1"], "CN=ü"):
            self.assertIn(f"certificate 1: subject: {subject}\n", self.succeeds("show", *options, path, password="x"))

    def test_times_of_validity(self):
        times = [
            ("250102030405Z", "491231235959Z", "02.01.2025 03:04:05 GMT", "31.12.2049 23:59:59 GMT"),
            ("500101000000Z", "20500101000000Z", "01.01.1950 00:00:00 GMT", "01.01.2050 00:00:00 GMT"),
            ("991231235959Z", "99991231235959Z", "31.12.1999 23:59:59 GMT", "31.12.9999 23:59:59 GMT"),
        ]
        shown = self.show_bags(*(pfx.cert_bag(certificate_of(begin, end)) for begin, end, _, _ in times))
        self.assertEqual([(found["not_before"], found["not_after"]) for found in shown], [row[2:] for row in times])

    def test_what_is_wrong_with_a_bag_is_told_and_the_others_go_on(self):
        bad_names = b"a", b"\xd8\x00", b"\xdc\x00\x00a"
        shown, told = self.show_bad_bags(
            pfx.cert_bag(b"x"),
            pfx.cert_bag(certificate_of("991399999999Z", "20500101000000.5Z")),
            pfx.key_bag(sequence()),
            *(pfx.cert_bag(der.certificate("x"), pfx.friendly_name(octets)) for octets in bad_names),
            pfx.cert_bag(der.certificate("good")),
        )
        self.assertEqual(told, [
            "key 1: not a PrivateKeyInfo: version is missing or malformed",
            "certificate 1: not a certificate: Certificate is missing or malformed",
            "certificate 2: notBefore has an impossible month: 991399999999Z",
            "certificate 2: notAfter is not of the form YYYYMMDDHHMMSSZ of a GeneralizedTime: 20500101000000.5Z",
            *(f"certificate {i}: friendly name is not UTF-16" for i in (3, 4, 5)),
        ])
        self.assertEqual([found["subject"] for found in shown[-4:]], ["CN=x", "CN=x", "CN=x", "CN=good"])

    def test_octets_that_are_not_a_key_fail_as_they_do_for_the_command_key(self):
        shown, told = self.show_bad_bags(pfx.key_bag(private_key(octet_string(bytes(31)))))
        self.assertEqual((shown[1]["readable"], shown[1]["shape"]), ("no", "OCTET STRING"))
        self.assertEqual(told, ["key 1: its 31 bytes (shape: OCTET STRING) are not a key of GOST R 34.10-2001"])

    def test_every_shape_of_a_key_is_readable(self):
        octets = bytes(range(1, 33))
        shapes = octet_string(octets), octets, element(der.INTEGER, octets)
        shown = self.show_bags(*(pfx.key_bag(private_key(each)) for each in shapes))
        self.assertEqual([found["readable"] for found in shown], ["yes"] * 3)

    def test_an_attribute_of_another_kind_is_no_matter(self):
        other = pfx.attribute("1.3.6.1.4.1.311.17.1", element(BMP_STRING, b"\0x"))
        self.assertEqual(self.show_bags(pfx.cert_bag(der.certificate("x"), other))[0]["subject"], "CN=x")

    def test_names_of_types_come_from_the_maps(self):
        subject = der.name(der.attribute(der.EXAMPLE_OID, der.UTF8_STRING, b"x"))
        path = self.file("a.p12", pfx.container("x", pfx.data_entry(pfx.cert_bag(der.certificate(subject)))))
        for mark in "", "\ufeff":  # that some editors put in front of UTF-8
            oid_map = self.file("map", f"{mark}{der.EXAMPLE_OID} = mine\n")
            self.assertIn("subject: MINE=x\n", self.succeeds("show", path, "--oid-map", oid_map, password="x"))

    def test_thousands_of_bags(self):
        names = list(map(str, range(5000)))
        shown = self.show_bags(*(pfx.cert_bag(der.certificate(name)) for name in names))
        self.assertEqual([found["subject"] for found in shown], [f"CN={name}" for name in names])


if __name__ == "__main__":
    unittest.main()
