#!/usr/bin/env python3
"""Tests what "derkit p12 show" says of a container, without its password and with it.

It must show what openssl put into a container, and extract must write the same octets; both refuse the same.
"""

import hashlib
import re
import resource
import unittest

import der
import openssl
import pfx
from der import BMP_STRING, CONTEXT_0_PRIMITIVE, NULL, element, integer, octet_string, oid, private_key, sequence
from p12 import (
    MALFORMED, MALFORMED_PARAMETERS, NAME, NO_MAC, NOT_A_CONTAINER, OTHER_MAC, OVER_BUDGET, PASSWORD,
    TOO_MANY_ITERATIONS, UNDECRYPTABLE, UNREADABLE_MAC, P12Test, pairs,
)
from tool import lines_with_places, objects, only_with_all_cases, thin, without_place

EXTRACTED_NOTHING = "nothing is extracted, because not everything can be read (--partial extracts the rest)"
X = pfx.cert_bag(der.certificate("x"))
OTHER_TYPE = "is of a type that is not read"
FOR_A_RECIPIENT = "encrypted for a recipient's key, not under a password"
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
                self.assertEqual((mac["verdict"], mac["key"]), ("good", "PBKDF2"))
                key, shown = sorted((key, shown), key=lambda found: found["object"], reverse=True)
                key_id = hashlib.sha1(pair.certificate).hexdigest().upper()
                for found in key, shown:
                    self.assertEqual((found["friendly_name"], found["local_key_id"], found["encrypted"]), (NAME, key_id, True))
                self.assertEqual((key["family"], key["bits"]), (pair.family, 512 if pair.family.endswith("512") else 256))
                self.assertEqual(shown["subject"], pair.subject)
                dates = openssl.gost("x509", "-in", pair.certificate_file, "-noout", "-dates", "-dateopt", "iso_8601")
                times = re.findall(r"=(\S+) (\S+Z)", dates.decode())
                self.assertEqual([f"{day}T{time}" for day, time in times],
                                 [shown["not_before"], shown["not_after"]])
                self.check_extracted(container, [pair.key], [pair.certificate])

    def test_the_mac_key_by_the_pkcs12_derivation_is_found_too(self):
        container = self.pair.export(LEGACY_GOST_PKCS12="1")
        mac = self.show(container)[0]
        self.assertEqual((mac["verdict"], mac["key"]), ("good", "PKCS#12 KDF"))
        self.check_extracted(container, [self.pair.key], [self.pair.certificate])

    def test_a_chain_keeps_its_order(self):
        chain = self.file("chain.pem", b"".join(pair.certificate_pem for pair in pairs()[1:]))
        container = self.pair.export("-certfile", chain)
        subjects = [found["subject"] for found in self.show(container) if found["object"] == "certificate"]
        self.assertEqual(subjects, [pair.subject for pair in pairs()])
        self.check_extracted(container, [self.pair.key], [pair.certificate for pair in pairs()])

    def test_certificates_alone(self):
        self.check_extracted(self.pair.export("-nokeys"), [], [self.pair.certificate])

    def test_a_key_in_the_clear_is_reported(self):
        container = self.pair.export("-keypbe", "NONE", "-nocerts")
        shown = [(found["object"], found.get("encrypted")) for found in self.show(container)[1:]]
        self.assertEqual(shown, [("key", False)])
        self.check_extracted(container, [self.pair.key], [])

    def test_without_a_password_the_outside_is_listed(self):
        container, mac, certificates, keys, key = self.show_all(self.pair.export("-iter", "2001"), password=None)
        path = str(self.folder / "shown.p12")
        place = {"format": 1, "file": path, "index": 1}
        self.assertEqual(container, place | {"object": "container", "kind": "GOST R 34.11-94", "kind_number": 1})
        self.assertEqual(mac, place | {
            "object": "mac", "algorithm": "GOST R 34.11-94", "algorithm_oid": "1.2.643.2.2.9", "salt_size": 8,
            "iterations": 2001,
        })
        encryption = pfx.SHOWN_PBES2 | {"iterations": 2001}
        encrypted_data = {"content_type": "encryptedData", "content_type_oid": pfx.ENCRYPTED_DATA}
        data = {"content_type": "data", "content_type_oid": pfx.DATA}
        shrouded = {"type": "pkcs8ShroudedKeyBag", "type_oid": pfx.SHROUDED_KEY_BAG}
        self.assertEqual(certificates, place | {"object": "entry", "entry": 1, **encrypted_data, **encryption})
        self.assertEqual(keys, place | {"object": "entry", "index": 2, "entry": 2, **data})
        self.assertEqual(key, place | {"object": "bag", "entry": 2, "bag": 1, **shrouded, **encryption})

    def test_with_the_password_the_scheme_of_each_part_is_shown(self):
        shown = {found["object"]: found for found in self.show_all(self.pair.export("-iter", "2001"))}
        self.assertEqual(without_place(shown["container"]), {"kind": "GOST R 34.11-94", "kind_number": 1, "form": "standard"})
        encryption = pfx.SHOWN_PBES2 | {"iterations": 2001}
        for each in "key", "certificate":
            self.assertEqual({name: shown[each][name] for name in encryption}, encryption)

    def test_each_object_has_its_place_in_its_heading(self):
        path = self.file("a.p12", self.pair.export())
        for password, lines in [
            (None, ["mac: algorithm: GOST R 34.11-94", "mac: salt_size: 8", "entry 1: content_type: encryptedData",
                    "entry 1: cipher_param_set_oid: 1.2.643.2.2.31.1", "entry 2, bag 1: type: pkcs8ShroudedKeyBag"]),
            (PASSWORD, ["mac: verdict: good", f"key 1: friendly_name: {NAME}", f"certificate 1: subject: {self.pair.subject}"]),
        ]:
            shown = lines_with_places(self.succeeds("show", path, password=password), path)
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
            shown = self.succeeds("show", *arguments, password=None, stdin=stdin)
            self.assertEqual(shown.replace("(standard input)", str(path)), expected)

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
        self.check_refused(container, NO_MAC)
        whole, mac, *_ = self.show_all(container, password=None)
        self.assertEqual(without_place(whole), {"kind": "no MAC", "kind_number": 11, "not_read": NO_MAC})
        self.assertEqual((mac["object"], without_place(mac)), ("mac", {"algorithm": "none"}))

    def test_what_no_mac_vouches_for_is_opened_when_asked_for(self):
        md4 = pfx.mac_data(bytes(16), algorithm=der.algorithm("1.2.840.113549.2.4"))
        cases = [
            (self.pair.export("-nomac"), PASSWORD, "none"),
            (pfx.pfx(sequence(pfx.data_entry(X)), md4), "x", "unsupported"),
            (pfx.pfx(sequence(pfx.data_entry(X)), pfx.mac_data(bytes(32))), "x", "wrong"),
        ]
        for container, password, verdict in cases:
            with self.subTest(verdict):
                path, out = self.file("a.p12", container), self.folder / verdict
                done = self.tool("show", "--json", "--accept-unverified", path, password=password)
                warning = f"derkit: {path}: warning: anyone may have made or altered it: MAC {verdict}"
                self.assertEqual((done.status, done.errors), (0, [warning]))
                self.assertEqual(objects(done.text)[1]["verdict"], verdict)
                self.assertIn("certificate", [found["object"] for found in objects(done.text)])
                self.succeeds("extract", path, "--accept-unverified", "--out", out, password=password)
                self.assertTrue((out / "certificate-1.pem").exists())

    def test_unverified_keys_of_another_password_are_refused_one_by_one(self):
        path = self.file("a.p12", self.pair.export("-nomac"))
        done = self.tool("show", "--accept-unverified", path, password="other")
        # openssl does not encrypt the certificate then
        self.assertEqual((done.status, done.errors[1:]),
                         (1, [f"derkit: {path}: entry 2, bag 1 (pkcs8ShroudedKeyBag): {UNDECRYPTABLE}"]))

    def test_what_stands_against_a_container_is_told_before_a_password_is_read(self):
        missing = ["--password-file", self.folder / "no such file"]
        out = self.folder / "out"
        for container, problem in [
            (self.pair.export("-nomac"), NO_MAC),
            (pfx.pfx(sequence(), pfx.mac_data(bytes(32), iterations=10_000_001)), TOO_MANY_ITERATIONS.format(10_000_001)),
            (b"text", NOT_A_CONTAINER),
        ]:
            path = self.file("a.p12", container)
            for command in ["show", path], ["extract", path, "--out", out]:
                self.check_failures([([*command, *missing], f"{path}: {problem}")], password=None)
        path = self.file("a.p12", self.pair.export())
        out.mkdir()
        (out / "key-1.pem").write_bytes(b"old")
        self.assertIn("already exists", self.fails("extract", path, "--out", out, *missing, password=None))

    def test_macs_of_other_digests(self):
        """Those that the GOST library has are good; the kind is general only where the rest is too."""
        for digest, name in {"sha1": "SHA-1", "sha256": "SHA-256", "sha512": "SHA-512",
                             "md_gost12_256": "GOST R 34.11-2012-256", "md_gost12_512": "GOST R 34.11-2012-512"}.items():
            with self.subTest(digest):
                mac = self.show(self.pair.export(mac=digest))[0]
                self.assertEqual((mac["algorithm"], mac["verdict"]), (name, "good"))

    def test_a_mac_of_an_unsupported_digest(self):
        container = pfx.pfx(sequence(), pfx.mac_data(bytes(16), algorithm=der.algorithm("1.2.840.113549.2.4")))
        problem = OTHER_MAC.format("MD4 (1.2.840.113549.2.4)")
        self.check_refused(container, problem)
        whole, mac = self.show_all(container, password=None)
        self.assertEqual((whole["not_read"], mac["not_read"]), (problem, problem))

    def test_pbmac1(self):
        prf = sequence(oid("1.2.840.113549.2.9"))
        derivation = sequence(oid(pfx.PBKDF2), sequence(octet_string(bytes(9)), integer(3000), integer(32), prf))
        algorithm = sequence(oid(pfx.PBMAC1), sequence(derivation, der.algorithm("1.2.840.113549.2.11")))
        container = pfx.pfx(sequence(), pfx.mac_data(bytes(64), algorithm=algorithm))
        problem = OTHER_MAC.format("PBMAC1 (1.2.840.113549.1.5.14)")
        self.check_refused(container, problem)
        mac = self.show(container, password=None)[0]
        self.assertEqual((mac["algorithm"], mac["algorithm_oid"], mac["not_read"]),
                         ("PBMAC1", "1.2.840.113549.1.5.14", problem))

    def test_macs_that_cannot_be_computed(self):
        malformed = f"{MALFORMED_PARAMETERS}: MacData"
        self.check_all_refused([
            (pfx.pfx(sequence(), mac), problem)
            for mac, problem in [
                (pfx.mac_data(bytes(31)), malformed),
                (pfx.mac_data(bytes(32), salt=b""), malformed),
                (pfx.mac_data(bytes(32), iterations=0), malformed),
                (pfx.mac_data(bytes(32), iterations=10_000_001), TOO_MANY_ITERATIONS.format(10_000_001)),
            ]
        ])

    def test_the_count_of_a_mac_is_1_when_it_is_not_there(self):
        container = pfx.pfx(sequence(), pfx.mac_data(pfx.mac("x", sequence()), iterations=None))
        self.assertEqual(self.show(container, password="x")[0]["iterations"], 1)

    def test_no_password_and_an_empty_one_are_told_apart_by_the_mac(self):
        for made_with in None, "":
            path = self.file("a.p12", pfx.container(made_with, pfx.data_entry(X)))
            self.assertIn("\nsubject: CN=x\n", self.succeeds("show", path, password=""))
            self.assertIn("\nsubject: CN=x\n", self.succeeds("show", path, "--no-password", password=None))

    def test_what_is_no_container(self):
        data = pfx.content_info(pfx.DATA, octet_string(sequence()))
        self.check_all_refused([
            (b"", "is empty"),
            *((data, NOT_A_CONTAINER) for data in (
                b"text", self.pair.certificate, self.pair.certificate_pem, bytes.fromhex("3080020103"),
                sequence(integer(3)), pfx.pfx(sequence(), b"", content_type=""), sequence(integer(3), data, NULL),
            )),
            (pfx.pfx(sequence(), pfx.mac_data(bytes(32)), content_type="1.2.3"), "the content type is not supported: 1.2.3"),
        ])

    def test_lengths_of_ber_are_read(self):
        safe = sequence(pfx.data_entry(X))
        pieces = element(0x24, octet_string(safe[:10]), octet_string(safe[10:]))
        container = sequence(integer(3), pfx.content_info(pfx.DATA, pieces), pfx.mac_data(pfx.mac("x", safe)))
        indefinite = b"\x30\x80" + container[4 if container[1] == 0x82 else 3 :] + bytes(2)
        for each in container, indefinite:
            self.assertEqual(self.show(each, password="x")[1]["subject"], "CN=x")

    def test_a_container_that_a_public_key_protects_is_named(self):
        enveloped = pfx.content_info(pfx.ENVELOPED_DATA, sequence(integer(0)))
        info = sequence(oid(pfx.DATA), element(der.CONTEXT_0, octet_string(sequence(enveloped))))
        signed = sequence(integer(1), element(der.SET), info, element(der.SET))
        container = sequence(integer(3), pfx.content_info(pfx.SIGNED_DATA, signed))
        whole, mac, entry = self.show_all(container, password=None)
        self.assertEqual((whole["kind"], whole["kind_number"]), ("for a recipient", 12))
        self.assertEqual((whole["not_read"], entry["not_read"]), (FOR_A_RECIPIENT, FOR_A_RECIPIENT))
        self.assertEqual((mac["algorithm"], entry["content_type"]), ("none", "envelopedData"))
        for options in [], ["--accept-unverified"]:
            path = self.file("a.p12", container)
            self.check_failures([(["show", *options, path], f"{path}: {FOR_A_RECIPIENT}")])

    def test_a_container_that_is_signed_instead_of_having_a_mac_is_named(self):
        info = sequence(oid(pfx.DATA), element(der.CONTEXT_0, octet_string(sequence(pfx.data_entry(X)))))
        signed = sequence(integer(1), element(der.SET), info, element(der.SET))
        container = sequence(integer(3), pfx.content_info(pfx.SIGNED_DATA, signed))
        whole, mac, entry, bag = self.show_all(container, password=None)
        problem = "signed instead of having a MAC; signatures are not verified"
        self.assertEqual((whole["kind"], whole["kind_number"], whole["not_read"]), ("signed", 14, problem))
        self.assertEqual((mac["algorithm"], entry["content_type"], bag["type"]), ("none", "data", "certBag"))
        for options in [], ["--accept-unverified"]:
            path = self.file("a.p12", container)
            self.check_failures([(["show", *options, path], f"{path}: {problem}")])

    def test_damage_is_named_with_its_place_and_the_rest_is_read(self):
        wrong_set = sequence(oid(pfx.CERT_BAG), element(der.CONTEXT_0, NULL), NULL)
        cases = [
            (pfx.content_info(pfx.DATA, NULL), "entry 2 (data)"),
            (pfx.content_info(pfx.DATA, octet_string(b"x")), "entry 2 (data)"),
            (pfx.data_entry(X, b"\x30\x05"), "entry 2 (data)"),
            (pfx.data_entry(sequence(oid(pfx.CERT_BAG))), "entry 2 (data)"),
            (pfx.data_entry(wrong_set), "entry 2 (data)"),
            (pfx.data_entry(pfx.bag(pfx.CERT_BAG, NULL)), "entry 2, bag 1 (certBag)"),
            (pfx.content_info(pfx.ENCRYPTED_DATA, sequence(integer(0))), "entry 2 (encryptedData)"),
        ]
        for entry, place in cases:
            with self.subTest(place, entry=entry.hex()):
                container = pfx.container("x", pfx.data_entry(X), entry)
                for password in "x", None:
                    shown, told = self.show_with_problems(container, password=password)
                    self.assertEqual(told, [f"{place}: {MALFORMED}"])
                    self.assertEqual([found["not_read"] for found in shown if "not_read" in found], [MALFORMED])
        for entries in [b"x"], [pfx.data_entry(), sequence(oid(pfx.DATA), b"x")]:
            self.check_refused(pfx.container("x", *entries), NOT_A_CONTAINER, password="x")

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
            ([*make, "--out", "c", "--to", "x"], "not in {gost94,tc26,"),
            (["show", "a", "--no-password", "--password-stdin"], "excludes"),
            (["show", "a", "--max-bags", "0"], "--max-bags: needs a number from 1 to 1000000000"),
            (["extract", "a", "--out", "b", "--max-iterations", "1x"], "--max-iterations: needs a number from 1 to 4294967295"),
            (["show", "a", "--password", "x"], "not expected"),
        ], password=None)


class PassedOver(P12Test):
    """The tool names what the library passes over, and shows the rest."""

    def check_passed_over(self, entries, *problems):
        """Checks that show and extract name each problem; extract writes nothing, or the rest with --partial."""
        container = pfx.container("x", pfx.data_entry(pfx.cert_bag(der.certificate("good"))), *entries)
        shown, told = self.show_with_problems(container, password="x")
        self.assertEqual(told, list(problems))
        self.assertEqual([found["subject"] for found in shown if "subject" in found], ["CN=good"])
        self.assertEqual([f": {found['not_read']}" for found in shown if "not_read" in found],
                         [problem[problem.index(": ") :] for problem in problems])
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
            pfx.SIGNED_DATA: ("signedData", "the content type is not supported: signedData (1.2.840.113549.1.7.2)"),
            pfx.ENVELOPED_DATA: ("envelopedData", FOR_A_RECIPIENT),
            "1.2.3.4": ("1.2.3.4", "the content type is not supported: 1.2.3.4"),
        }
        entries = [pfx.content_info(content_type, sequence()) for content_type in types]
        self.assertEqual(self.seen_outside(entries), [problem for _, problem in types.values()])
        self.check_passed_over(entries,
                               *(f"entry {i} ({name}): {problem}" for i, (name, problem) in enumerate(types.values(), 2)))

    def test_other_bags_in_the_clear_and_encrypted(self):
        bags = (pfx.CRL_BAG, "crlBag"), (pfx.SECRET_BAG, "secretBag"), ("1.2.3.4", "1.2.3.4")
        encoded = [pfx.bag(bag_type, sequence()) for bag_type, _ in bags]
        self.assertEqual(self.seen_outside([pfx.data_entry(X, *encoded)])[2:], [OTHER_TYPE] * len(bags))
        self.check_passed_over([pfx.data_entry(*encoded), pfx.encrypt_entry("x", *encoded)], *(
            f"entry {entry}, bag {i} ({name}): {OTHER_TYPE}" for entry in (2, 3) for i, (_, name) in enumerate(bags, 1)))

    def test_bags_inside_a_bag_are_read(self):
        nested = pfx.bag(pfx.SAFE_CONTENTS_BAG, sequence(X, pfx.key_bag(private_key())))
        container = pfx.container("x", pfx.data_entry(pfx.cert_bag(der.certificate("a")), nested))
        shown = self.show(container, password="x")[1:]
        self.assertEqual([found.get("subject", found["object"]) for found in shown], ["CN=a", "CN=x", "key"])
        self.check_extracted(container, [private_key()], [der.certificate("a"), der.certificate("x")], password="x")
        places = [found.get("bag") for found in self.show(container, password=None)[1:]]
        self.assertEqual(places, [None, 1, 2, 3, 4])

    def test_encryption_of_unsupported_kinds(self):
        vendor = sequence(oid("1.2.840.113549.1.12.1.80"), sequence(octet_string(bytes(8)), integer(2048)))
        unnamed = sequence(element(der.OBJECT_IDENTIFIER))
        no_cipher = sequence(oid(pfx.PBES2), sequence(sequence(oid(pfx.PBKDF2), sequence()), unnamed))
        test_set = "id-Gost28147-89-TestParamSet (1.2.643.2.2.31.0)"
        algorithms = [
            (vendor, "encrypted by a vendor's own scheme, which is not supported: 1.2.840.113549.1.12.1.80"),
            (der.algorithm("1.2.3.4"), "the encryption scheme is not supported: 1.2.3.4"),
            (pfx.pbes2(cipher="1.2.3.4"), "the cipher is not supported: 1.2.3.4"),
            (pfx.pbes2(kdf="1.3.6.1.4.1.11591.4.11"),
             "the key derivation function is not supported: scrypt (1.3.6.1.4.1.11591.4.11)"),
            (pfx.pbes2(prf=sequence(oid("1.2.3.4"))), "the pseudo-random function is not supported: 1.2.3.4"),
            (pfx.pbes2(param_set="1.2.643.2.2.31.0"), f"the parameter set is not supported: {test_set}"),
            (pfx.pbes2(iv=bytes(7)), f"{MALFORMED_PARAMETERS}: GOST 28147-89 CFB"),
            (pfx.pbes2(salt=b""), f"{MALFORMED_PARAMETERS}: PBKDF2"),
            (pfx.pbes2(iterations=integer(0)), f"{MALFORMED_PARAMETERS}: PBKDF2"),
            (pfx.pbes2(iterations=integer(10_000_001)), TOO_MANY_ITERATIONS.format(10_000_001)),
            (sequence(oid(pfx.PBES2)), f"{MALFORMED_PARAMETERS}: PBES2"),
            (unnamed, f"{MALFORMED_PARAMETERS}: AlgorithmIdentifier"),
            (no_cipher, MALFORMED_PARAMETERS),
        ]
        entries, problems = [], []
        for algorithm, problem in algorithms:
            first = len(entries) + 2
            entries += [
                pfx.encrypted_entry(algorithm, bytes(32)),
                pfx.data_entry(pfx.shrouded_bag(algorithm, bytes(32))),
                pfx.encrypt_entry("x", pfx.shrouded_bag(algorithm, bytes(32))),
            ]
            problems += [
                f"entry {first} (encryptedData): {problem}",
                f"entry {first + 1}, bag 1 (pkcs8ShroudedKeyBag): {problem}",
                f"entry {first + 2}, bag 1 (pkcs8ShroudedKeyBag): {problem}",
            ]
        self.check_passed_over(entries, *problems)
        outside = [pfx.encrypted_entry(algorithm, b"") for algorithm, _ in algorithms]
        self.assertEqual(self.seen_outside(outside), [problem for _, problem in algorithms])

    def test_what_cannot_be_decrypted_or_read(self):
        entries = {
            pfx.encrypt_entry("other", X): f"(encryptedData): {UNDECRYPTABLE}",
            pfx.data_entry(pfx.encrypt_key("other", private_key())): f"bag 1 (pkcs8ShroudedKeyBag): {UNDECRYPTABLE}",
            pfx.encrypt_entry("x", pfx.encrypt_key("other", private_key())): f"bag 1 (pkcs8ShroudedKeyBag): {UNDECRYPTABLE}",
            pfx.data_entry(pfx.bag(pfx.SHROUDED_KEY_BAG, NULL)): f"bag 1 (pkcs8ShroudedKeyBag): {MALFORMED}",
            pfx.encrypted_entry(pfx.pbes2(), pfx.encrypt("x", sequence()), content_type=pfx.SIGNED_DATA):
                "(encryptedData): the content type is not supported: signedData (1.2.840.113549.1.7.2)",
        }
        self.check_passed_over(entries, *(
            f"entry {i}{', ' if problem.startswith('bag') else ' '}{problem}" for i, problem in enumerate(entries.values(), 2)))

    def test_the_same_ciphertext_twice_counts_twice(self):
        twice = pfx.encrypt_entry("x", X)
        shown = self.show(pfx.container("x", twice, twice), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=x", "CN=x"])

    def test_a_ciphertext_under_another_iteration_count_is_refused(self):
        ciphertext = pfx.encrypt("x", sequence(X))
        entries = [pfx.encrypted_entry(pfx.pbes2(iterations=integer(count)), ciphertext) for count in (1, 2)]
        shown, told = self.show_with_problems(pfx.container("x", *entries), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=x", None])
        self.assertEqual(told, [f"entry 2 (encryptedData): {UNDECRYPTABLE}"])


class Costs(P12Test):
    def many(self, count):
        """Bags of which each asks for an expensive key of its own."""
        salts = (bytes([i]) * 8 for i in range(1, 21))
        return [pfx.shrouded_bag(pfx.pbes2(salt=salt, iterations=integer(count)), bytes(32)) for salt in salts]

    def test_all_iterations_of_a_run_have_a_budget(self):
        container = pfx.container("x", pfx.data_entry(*self.many(1000)))
        for budget, num_within in ("10000", 9), ("100000", 20):
            path = self.file("a.p12", container)
            done = self.tool("show", "--max-iterations", budget, path, password="x")
            refused = [line.split(": ", 3)[3] for line in done.errors]
            over = OVER_BUDGET.format(1000)
            # the MAC takes a few iterations too
            self.assertEqual([refused.count(UNDECRYPTABLE), refused.count(over)], [num_within, 20 - num_within])

    def test_one_count_above_the_budget_is_refused_at_once(self):
        container = pfx.container("x", pfx.data_entry(*self.many(1001)))
        outside = self.show(container, "--max-iterations", "1000", password=None)[2:]
        self.assertEqual({found["not_read"] for found in outside}, {TOO_MANY_ITERATIONS.format(1001)})

    def test_bags_are_limited_in_number(self):
        tiny = pfx.bag(pfx.CRL_BAG, NULL)
        path = self.file("a.p12", pfx.container("x", pfx.data_entry(*[tiny] * 10_001)))
        self.check_failures([(["show", path], f"{path}: there are too many bags (--max-bags allows more)")], password=None)
        self.succeeds("show", "--max-bags", "10001", path, password=None)

    @only_with_all_cases
    def test_millions_of_tiny_bags_take_little_memory(self):
        """In one process after the other, so that the largest is the one that counts."""
        content = sequence(*[pfx.bag(pfx.CRL_BAG, NULL)] * 600_000)
        path = self.file("a.p12", pfx.pfx(sequence(pfx.content_info(pfx.DATA, octet_string(content))), b""))
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        self.fails("show", path, password=None)
        after = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        self.assertLess(after - before, 6 * path.stat().st_size // 1024)


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
        self.assertEqual([found["encrypted"] for found in shown], [False, True, True, True])
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
            self.assertIn(f"\nsubject: {subject}\n", self.succeeds("show", *options, path, password="x"))

    def test_times_of_validity(self):
        times = [
            ("250102030405Z", "491231235959Z", "2025-01-02T03:04:05Z", "2049-12-31T23:59:59Z"),
            ("500101000000Z", "20500101000000Z", "1950-01-01T00:00:00Z", "2050-01-01T00:00:00Z"),
            ("991231235959Z", "99991231235959Z", "1999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"),
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
            "certificate 1: not a certificate: Certificate is missing or malformed",
            "certificate 2: notBefore has an impossible month: 991399999999Z",
            "certificate 2: notAfter is not of the form YYYYMMDDHHMMSSZ of a GeneralizedTime: 20500101000000.5Z",
            "key 1: not a PrivateKeyInfo: version is missing or malformed",
            *(f"certificate {i}: friendly name is not UTF-16" for i in (3, 4, 5)),
        ])
        self.assertEqual([found["subject"] for found in shown[-4:]], ["CN=x", "CN=x", "CN=x", "CN=good"])

    def test_octets_that_are_not_a_key_fail_as_they_do_for_the_command_key(self):
        shown, told = self.show_bad_bags(pfx.key_bag(private_key(octet_string(bytes(31)))))
        self.assertEqual(shown[1]["readable"], False)
        self.assertEqual(told, [f"key 1: not a key of GOST R 34.10-2001: {MALFORMED}"])

    def test_every_shape_of_a_key_is_readable(self):
        octets = bytes(range(1, 33))
        shapes = octet_string(octets), octets, element(der.INTEGER, octets)
        shown = self.show_bags(*(pfx.key_bag(private_key(each)) for each in shapes))
        self.assertEqual([found["readable"] for found in shown], [True] * 3)

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
