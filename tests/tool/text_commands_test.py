#!/usr/bin/env python3
"""Tests the subcommands that take text: "derkit dn", "oid", "alg" and "time".

Most cases come from tests/data/vectors, as do those of the library.
"""

import unittest

import der
import openssl
from tool import ToolTest, fields, objects, shown, thin, vectors


def cases(file, *ways, text="text"):
    """Returns the cases of a file, or those of some ways. No argument holds a zero octet."""
    found = [case for case in vectors.read(file) if not ways or case.field("way") in ways]
    return thin([case for case in found if b"\0" not in case.text(text)], 8)


def argument(octets):
    return octets.decode("utf-8", "surrogateescape")


class DnCommand(ToolTest):
    COMMAND = ("dn",)
    NORMALISED = {
        "CN=\\D0\\98": "CN=И",
        "CN=a\\1B[0m\\00\\E2\\80\\AE": "CN=a\\1B[0m\\00\\E2\\80\\AE",
        "CN=\u202e": "CN=\\E2\\80\\AE",
    }
    ENCODED = {"": "3000", "CN=abc": "300E310C300A06035504031303616263"}

    def test_the_text_is_normalised(self):
        for text, normalised in self.NORMALISED.items():
            self.assertEqual(self.succeeds(text), normalised + "\n")

    def converts(self, *arguments):
        """Returns the output; the only warnings are of types that are no OIDs and of values that begin with a blank."""
        done = self.tool(*arguments)
        others = [line for line in done.errors
                  if " is no OID; " not in line and not line.endswith("(--loose takes it without)")]
        self.assertEqual((done.status, others), (0, []), arguments)
        return done.text

    def test_canonical_text_and_der_of_names(self):
        for case in cases("names.txt", "both", "encode", "print"):
            with self.subTest(case.where):
                text = argument(case.text("text"))
                [found] = objects(self.converts(text, "--json"))
                if case.field("way") != "print":
                    self.assertEqual(found["der"], case.octets("DER").hex().upper())
                if case.field("map") == "built-in":  # the tool is never without one
                    canonical = case.text_or("canonical", case.text("text"))
                    self.assertEqual(found["dn"], shown(canonical))
                    in_reverse = case.text_or("reversed", canonical)
                    self.assertEqual(self.converts("--reverse", text), shown(in_reverse) + "\n")

    def test_der_and_hex_are_the_encoded_name(self):
        for text, expected in self.ENCODED.items():
            self.assertEqual(self.succeeds("--hex", text), expected + "\n")
            self.assertEqual(self.tool("--der", text), (0, bytes.fromhex(expected), []))

    def test_der_is_accepted_by_openssl(self):
        out = self.tool("--der", "C=RU,O=Пример,CN=a_b").out
        dump = openssl.run("asn1parse", "-inform", "DER", stdin=out).decode()
        for part in "PRINTABLESTRING   :RU", "UTF8STRING        :Пример", "IA5STRING         :a_b":
            self.assertIn(part, dump)

    def test_types_have_the_arcs_of_their_der(self):
        for text in "2.999=x", "2.40.1=x", "2.4294967215=x":
            self.assertEqual(self.succeeds(text), text + "\n")

    def test_a_type_that_is_no_oid_is_told(self):
        """The library encodes it as another one. The same digits in a value are no type."""
        for text, name, *other in [
            ("1.40=x", "2.0=x", ("1.40", "2.0")),
            ("CN=a, 1.40 =x", "CN=a,2.0=x", ("1.40", "2.0")),
            ("2.4294967295=x", "1.39=x", ("2.4294967295", "1.39")),
            ("1.40=x+1.41=y", "2.0=x+2.1=y", ("1.40", "2.0"), ("1.41", "2.1")),
            ('CN="1.40=x"', "CN=1.40\\=x"),
            ("CN=1.40\\=x", "CN=1.40\\=x"),
            ("02.05.4.03=x", "CN=x"),
        ]:
            done = self.tool(text)
            self.assertEqual((done.status, done.text, done.errors), (0, name + "\n", [
                f"derkit: {text}: warning: {given} is no OID; libderkit encodes it as {arcs}" for given, arcs in other]))

    def test_a_value_that_the_library_does_not_print_is_shown_all_the_same(self):
        done = self.tool("C=RU,CN=#1E00")
        self.assertEqual((done.status, done.text, done.errors), (0, "C=RU,CN=#1E00\n", [
            "derkit: C=RU,CN=#1E00: warning: the value of CN is no text of its string type, so it is shown in "
            "hexadecimal"]))

    def test_get_returns_values_as_they_are_written(self):
        text = "CN=a\\,b\\00c,O=x,O=y"
        for arguments, value in [
            (["CN", text], "a\\,b\\00c"),
            (["O", text], "x\ny"),
            (["O", "--reverse", text], "y\nx"),
            (["C", "C=,CN=x"], ""),
        ]:
            self.assertEqual(self.succeeds("--get", *arguments), value + "\n")
        self.assertEqual(self.objects("--get", "O", "CN=abc,O=\\1B")[0]["values"], ["\\1B"])
        self.check_failures([(["--get", "OU", text], f"{text}: has no attribute OU")])

    def test_reverse_comes_before_encoding(self):
        self.assertEqual(self.succeeds("--reverse", "--hex", "CN=x,C=RU"), self.succeeds("--hex", "C=RU,CN=x"))

    SYNTAX = r"does not parse as a distinguished name|attribute \d+: (is empty|has no =|has no type|the value of .+ is malformed)"
    TYPE = r"attribute \d+: (type .+ is not in the map(; .+ is( taken)?)?|is empty)"
    VALUE = r"attribute \d+: the value of .+ is malformed( \(--loose .*\))?|has an unknown type or a malformed value"

    def test_text_that_is_no_name_says_why(self):
        patterns = {"syntax": self.SYNTAX, "type": self.TYPE}
        rules = {b"--x": "syntax"} | {
            case.text("text"): case.field("rule") for case in cases("texts-refused.txt")
            if case.field("case") != "short name without a map"}  # the tool is never without one
        for text, rule in rules.items():
            with self.subTest(text, rule=rule):
                message = self.fails("--", argument(text))
                start = f"{shown(text)}: "
                self.assertTrue(message.startswith(start), message)
                self.assertRegex(message.removeprefix(start), f"^({patterns.get(rule, self.VALUE)})$")

    def test_the_attribute_that_is_wrong_is_named(self):
        self.check_failures([([text], f"{text}: {problem}") for text, problem in [
            ("C=RU,O=x,emailAddress=a", "attribute 3: type emailAddress is not in the map; E is"),
            ("C=RU+postalCode=1", "attribute 2: type postalCode is not in the map; its OID 2.5.4.17 is taken"),
            ("CN=a\\,b,nonsense=1", "attribute 2: type nonsense is not in the map"),
            ('CN="a,b",O=<', "attribute 2: the value of O is malformed"),
            ("CN=x,O", "attribute 2: has no ="),
            ("CN=x,,O=y", "attribute 2: is empty"),
            ("CN=x,=y", "attribute 2: has no type"),
            ("CN=#zz", "attribute 1: the value of CN is malformed"),
        ]])

    def test_what_openssl_prints_with_blanks_is_warned_of_or_taken_without(self):
        made = openssl.certificate("/C=RU/O=Example, Inc./CN=user1")
        printed = openssl.run("x509", "-noout", "-subject", "-nameopt", "oneline,-esc_msb", stdin=made).decode()
        text = printed.strip().removeprefix("subject=")
        self.assertIn("C = RU, O = ", text)
        self.assertEqual(self.succeeds("--loose", text), "C=RU,O=Example\\, Inc.,CN=user1\n")
        self.assertEqual(self.fails(text), f"{text}: attribute 2: the value of O is malformed (--loose takes it without the "
                                           "blank in front)")
        done = self.tool("C = RU, CN=x, O = y")
        self.assertEqual((done.status, done.text, done.errors), (0, "C= RU,CN=x,O= y\n", [
            f"derkit: C = RU, CN=x, O = y: warning: attribute {i}: the value begins with a blank (--loose takes it without)"
            for i in (1, 3)]))

    def test_loose_leaves_other_blanks(self):
        for text, expected in [
            ("CN=  a b ", "CN=a b "), ("CN=\\20a", "CN= a"), ("CN = x+O= y", "CN=x+O=y"), ('CN= "a, b"', "CN=a\\, b"),
            ("CN= ", "CN="),
        ]:
            self.assertEqual(self.succeeds("--loose", text), expected + "\n", text)

    def test_names_come_from_der_in_files_hexadecimal_and_standard_input(self):
        name = der.name(der.attribute("2.5.4.6", der.PRINTABLE_STRING, b"RU"), der.attribute("2.5.4.3", der.UTF8_STRING, b"x"))
        path = self.file("name.der", name)
        for arguments, stdin in [
            (["--from", "der", path], b""), (["--from", "der", "-"], name), (["--from", "hex", name.hex()], b""),
            (["--from", "hex", "-"], name.hex().encode() + b"\n"), (["-"], b"C=RU,CN=x\r\n"), (["--from=text", "C=RU,CN=x"], b""),
        ]:
            self.assertEqual(self.succeeds(*arguments, stdin=stdin), "C=RU,CN=x\n", arguments)
        self.assertEqual(self.tool("--from", "der", "--der", path).out, name)
        self.assertEqual(self.succeeds("--from", "der", "--reverse", path), "CN=x,C=RU\n")
        self.assertEqual(self.tool("--from", "der", "--reverse", "--der", path).out, self.tool("--der", "CN=x,C=RU").out)
        self.check_failures([
            (["--from", "hex", "3G"], "3G: is not hexadecimal"),
            (["--from", "hex", "300E"], "300E: is not the DER of one Name"),
            (["--from", "hex", "3000FF"], "3000FF: is not the DER of one Name"),
            (["--from", "der", self.folder / "missing"], f"{self.folder / 'missing'}: No such file or directory"),
        ])

    def test_many_names_and_lines(self):
        self.assertEqual(self.succeeds("CN=x", "CN=y"), "CN=x\nCN=y\n")
        done = self.tool("--json", "-", stdin=b"CN=x\n\nCN\nCN=y\n")
        self.assertEqual((done.status, done.errors), (1, ["derkit: (standard input): line 3: attribute 1: has no ="]))
        self.assertEqual([(found["file"], found["index"], found["dn"]) for found in objects(done.text)],
                         [("(standard input)", 1, "CN=x"), ("(standard input)", 4, "CN=y")])

    def test_get_takes_any_name_and_returns_all_values(self):
        text = "CN=a\\,b,O=x+CN=\\D0\\98\\00"
        for name in "CN", "cn", "commonName", "COMMONNAME", "2.5.4.3":
            self.assertEqual(self.succeeds("--get", name, text), "a\\,b\nИ\\00\n")
        self.assertEqual(self.tool("--get", "CN", "--unescaped", text), (0, "a,b\nИ\0\n".encode(), []))
        self.assertEqual(self.succeeds("--get", "emailAddress", "E=a@b.c"), "a@b.c\n")
        oid_map = self.file("map", f"{der.EXAMPLE_OID} = mine, My own\n")
        for name in "mine", "my own":
            self.assertEqual(self.succeeds("--oid-map", oid_map, "--get", name, f"{der.EXAMPLE_OID}=x"), "x\n")
        self.check_failures([(["--get", "nonsense", text], "nonsense: is no type of an attribute")])
        self.check_usage([(["--unescaped", "CN=x"], "--unescaped"), (["--unescaped", "--json", "--get", "CN", "CN=x"], "--json")])

    def test_unescaped_values_are_those_of_the_der(self):
        values = ["#1", '"', "\\", " a ", "a+b;c<d>e=f", "\u202e", "é\x7f", "\\41"]
        name = der.name(*(der.attribute("2.5.4.3", der.UTF8_STRING, value.encode()) for value in values))
        done = self.tool("--from", "hex", "--get", "CN", "--unescaped", name.hex())
        self.assertEqual(done, (0, "".join(f"{value}\n" for value in values).encode(), []))

    def test_an_oid_map_names_types_in_both_directions(self):
        oid_map = self.file("map", f"{der.EXAMPLE_OID} = mine, My own\n")
        self.assertEqual(self.succeeds("--oid-map", oid_map, f"{der.EXAMPLE_OID}=x,cn=y"), "MINE=x,CN=y\n")
        self.assertEqual(self.succeeds("--oid-map", oid_map, "--hex", "Mine=x"),
                         self.succeeds("--hex", f"{der.EXAMPLE_OID}=x"))


class OidCommand(ToolTest):
    COMMAND = ("oid",)
    CN = {"oid": "2.5.4.3", "der": "550403", "short_name": "CN", "long_name": "commonName", "name": "commonName",
          "kind": "attribute"}
    NOT_AN_OID = "neither a dotted OID, nor a known name, nor the DER of an OID in hexadecimal"
    LOST = "warning: its dotted text does not lead back to its DER: arcs are padded or above 32 bits"

    def test_dotted_text_short_name_and_hex(self):
        for text in thin(["2.5.4.3", "CN", "cn", "550403", "55:04:03", "55 04 03", " 5504 03 "], 4):
            self.assertEqual(self.shows(text), self.CN)
            self.assertEqual(self.facts(text), [self.CN])
        self.assertEqual(self.shows(der.EXAMPLE_OID), {"oid": der.EXAMPLE_OID, "der": "2B06010401868D1F01"})

    def warns(self, text, *warnings):
        """Returns the one object that is shown with these warnings."""
        done = self.tool("--json", text)
        self.assertEqual((done.status, done.errors), (0, [f"derkit: {text}: {warning}" for warning in warnings]))
        [found] = objects(done.text)
        return found

    def check_shown(self, case, text, content, *warnings):
        """The arcs are those of the DER; what the library prints is beside them where it differs."""
        arcs, printed = der.arcs(content), case.text_or("canonical", case.text("text")).decode()
        found = self.warns(text, *warnings, *([] if der.has_arcs_of_the_library(content) else [self.LOST]))
        self.assertEqual(
            (found["oid"], found["der"], found.get("libderkit", arcs), found.get("algorithm", "")),
            (arcs, content.hex().upper(), printed, case.field("algorithm")))
        self.assertEqual("libderkit" in found, arcs != printed)

    def test_dotted_text_and_content(self):
        for case in cases("oids.txt"):
            with self.subTest(case.where):
                way, content = case.field("way"), case.octets("content")
                if way in ("both", "encode"):
                    text, arcs = case.field("text"), der.arcs(content)
                    given = ".".join(arc.lstrip("0") or "0" for arc in text.split("."))
                    other = [f"warning: is no OID; libderkit encodes it as {arcs}"] if given != arcs else []
                    self.check_shown(case, text, content, *other)
                if way == "cut":
                    self.check_failures([([content.hex()], f"{content.hex()}: {self.NOT_AN_OID}")])
                else:
                    self.check_shown(case, case.field("content"), content)

    def test_arcs_of_any_size_and_padded_ones(self):
        uuid = "2.25.329800735698586629295641978511506172918"  # X.667 annex A
        for content, arcs, library, *warnings in [
            ("8837", "2.999", "26.39"),
            ("78", "2.40", "3.0"),
            ("55049080808003", "2.5.4.4294967299", "2.5.4.3", self.LOST),
            ("2B65908080 8070", "1.3.101.4294967408", "1.3.101.112", self.LOST),
            (der.oid_content(uuid).hex(), uuid, None, self.LOST),
            ("55048003", "2.5.4.3", "2.5.4.3", self.LOST),
            ("80 04", "0.4", "0.4", self.LOST),
        ]:
            found = self.warns(content, *warnings)
            self.assertEqual((found["oid"], found.get("algorithm"), found.get("short_name")), (arcs, None, None))
            if library:
                self.assertEqual(found.get("libderkit", arcs), library)

    def test_a_whole_element_is_taken_for_its_content(self):
        for text in "0603550403", "06 03 55 04 03", "0681 03 550403", "#550403", "#0603550403":
            self.assertEqual(self.facts(text), [self.CN])
        # Octets after an element, or fewer than it says: content that happens to begin with 06.
        for text, arcs in ("06035504 0301", "0.6.3.85.4.3.1"), ("06045504 03", "0.6.4.85.4.3"), ("0600", "0.6.0"):
            self.assertEqual(self.objects(text)[0]["oid"], arcs)

    def test_a_short_name_comes_before_hex(self):
        self.assertEqual(self.shows("DC")["der"], "0992268993F22C640119")

    def test_der_agrees_with_openssl(self):
        for oid in "1.2.643.7.1.1.3.2", "2.16.840.1.101.3.4.2.1", "0.9.2342.19200300.100.1.25", "1.2.4294967295":
            encoded = self.folder / "oid.der"
            openssl.run("asn1parse", "-genstr", "OID:" + oid, "-noout", "-out", encoded)
            self.assertEqual(self.shows(oid)["der"], encoded.read_bytes()[2:].hex().upper())

    def test_text_that_is_no_oid(self):
        texts = [b"NOSUCHNAME", b"550", b"zz", *(case.text("text") for case in cases("oids-refused.txt"))]
        self.check_failures([(["--", argument(text)], f"{shown(text)}: {self.NOT_AN_OID}") for text in texts])

    def test_a_hostile_map_is_shown_safely(self):
        oid_map = self.file("map", b"1.2.3 = a\x1b, long\x1b[2J\xff name\n")
        self.assertEqual(self.shows("--oid-map", oid_map, "1.2.3"),
                         {"oid": "1.2.3", "der": "2A03", "short_name": "A\\1B", "long_name": "long\\1B[2J\\FF name"})


class AlgCommand(ToolTest):
    COMMAND = ("alg",)
    # RFC 8017 9.2, note 1
    PREFIXES = {
        "MD2": "3020300c06082a864886f70d020205000410",
        "MD5": "3020300c06082a864886f70d020505000410",
        "SHA1": "3021300906052b0e03021a05000414",
        "SHA224": "302d300d06096086480165030402040500041c",
        "SHA256": "3031300d060960864801650304020105000420",
        "SHA384": "3041300d060960864801650304020205000430",
        "SHA512": "3051300d060960864801650304020305000440",
    }
    # RFC 5831, RFC 6986: 256 bits, 256 and 512 bits
    GOST_DIGEST_SIZES = {
        "GOST 34.11-94": 32,
        "GOST 34.11-94 (CPRO)": 32,
        "GOST 34.11-94 (QEV)": 32,
        "GOST 34.11-2012 256": 32,
        "GOST 34.11-2012 512": 64,
    }
    # RFC 7427 A
    IKE = {
        "sha1RSA": "300d06092a864886f70d0101050500",
        "sha256RSA": "300d06092a864886f70d01010b0500",
        "sha384RSA": "300d06092a864886f70d01010c0500",
        "sha512RSA": "300d06092a864886f70d01010d0500",
        "sha1DSA": "300906072a8648ce380403",
        "sha1RSASSA-PSS": "300d06092a864886f70d01010a3000",
    }
    KEYS = {
        "RSA": {"code": "0x00000001", "name": "RSA", "oid": "1.2.840.113549.1.1.1"},
        "2KEY 3DES": {"code": "0x0000000B", "name": "2KEY 3DES"},
    }

    def test_name_code_and_oid_find_the_same(self):
        expected = {
            "code": "0x00040001",
            "name": "sha256RSA",
            "oid": "1.2.840.113549.1.1.11",
            "ike_algorithm_identifier": "300D06092A864886F70D01010B0500",
        }
        for text in "sha256RSA", "SHA256rsa", "0x00040001", "0X40001", "262145", "1.2.840.113549.1.1.11":
            self.assertEqual(self.shows(text), expected)
            self.assertEqual(self.facts(text), [expected | {"code": 0x00040001}])

    def test_a_hash_has_the_octets_before_its_digest(self):
        for name, prefix in thin(self.PREFIXES.items(), 4):
            [got] = self.objects(name)
            self.assertEqual((got["digest_info_prefix"], got["digest_size"]), (prefix.upper(), int(prefix[-2:], 16)))
            self.assertNotIn("ike_algorithm_identifier", got)

    def test_the_prefix_of_a_gost_hash_ends_with_an_octet_string_of_the_digest_size(self):
        for name, size in thin(self.GOST_DIGEST_SIZES.items(), 4):
            [got] = self.objects(name)
            prefix = bytes.fromhex(got["digest_info_prefix"])
            self.assertEqual((got["digest_size"], prefix[-2:]), (size, bytes([4, size])))
            self.assertEqual(prefix[1], len(prefix) - 2 + size)

    def test_a_signature_has_its_identifier_for_ike(self):
        for name, identifier in thin(self.IKE.items(), 4):
            [got] = self.objects(name)
            self.assertEqual(got["ike_algorithm_identifier"], identifier.upper())
            self.assertNotIn("digest_info_prefix", got)

    def test_a_key_has_at_most_its_oid(self):
        for name, expected in self.KEYS.items():
            self.assertEqual(self.shows(name), expected)

    def test_text_that_is_no_algorithm(self):
        problem = "neither the name, nor the code, nor the OID of a known algorithm"
        texts = ["NOSUCHNAME", "0", "0x", "0xFFFFFFFF", "4294967297", "1 ", "-1", "2.5.4.3", ""]
        self.check_failures([(["--", text], f"{text}: {problem}") for text in thin(texts, 4)])


class TimeCommand(ToolTest):
    COMMAND = ("time",)
    NO_MOMENT = ('neither seconds since the epoch nor a time like 2024-02-29T13:05:09Z or "2024.02.29 13:05:09" from '
                 "1900 on")
    ZONES = {"UTC": "UTC0", "Marquesas": "<-0930>9:30", "Kiritimati": "<+14>-14", "Paris": "CET-1CEST,M3.5.0,M10.5.0/3"}
    LEAP_DAY = {
        "time": "2024-02-29T13:05:09Z",
        "time_local": "2024-02-29T13:05:09+00:00",
        "gmt": "29.02.2024 13:05:09 GMT",
        "gmt_log": "2024.02.29 13:05:09 GMT",
        "local": "29.02.2024 13:05:09",
        "seconds": "1709211909",
        "local_log": "2024.02.29 13:05:09",
        "local_ctime": "Thu Feb 29 13:05:09 2024",
    }

    def tool(self, *arguments, zone="UTC0"):
        return super().tool(*arguments, env={"TZ": zone})

    def test_a_text_and_its_seconds_are_the_same_moment(self):
        for moment in ("2024-02-29T13:05:09Z", "2024.02.29 13:05:09", "2024.02.29 13:05:09 GMT", "2024.2.29 13:5:9",
                       "1709211909"):
            self.assertEqual(list(self.shows(moment).items()), list(self.LEAP_DAY.items()))
        self.assertEqual(self.facts("1709211909"), [self.LEAP_DAY | {"seconds": 1709211909}])

    def test_a_text_is_gmt_whatever_the_zone(self):
        for zone, local, offset in ("XYZ-5:30", "18:35:09", "+05:30"), ("XYZ8", "05:05:09", "-08:00"):
            expected = self.LEAP_DAY | {
                "time_local": f"2024-02-29T{local}{offset}",
                "local": f"29.02.2024 {local}", "local_log": f"2024.02.29 {local}", "local_ctime": f"Thu Feb 29 {local} 2024"
            }
            for moment in "2024.02.29 13:05:09", "1709211909":
                self.assertEqual(self.shows(moment, zone=zone), expected)

    def test_texts_in_gmt(self):
        for case in cases("cert-times.txt", "both", "parse", text="log text"):
            text, octets = argument(case.text("log text")), case.octets("time")
            if octets == bytes([255] * 8):  # which stands for no time
                self.check_failures([([text], f"{text}: {self.NO_MOMENT}")])
                continue
            month, *others = octets[3:]
            parts = int.from_bytes(octets[:3], "big"), month + 1, *others
            gmt = "{2:02}.{1:02}.{0} {3:02}:{4:02}:{5:02} GMT".format(*parts)
            gmt_log = "{}.{:02}.{:02} {:02}:{:02}:{:02} GMT".format(*parts)
            if case.field("way") == "both":
                self.assertEqual((gmt, gmt_log), (case.field("display text"), text), case.where)
            done = self.tool(text)  # which warns if this system does not count the seconds
            found = fields(done.text)
            self.assertEqual((done.status, found["gmt"], found["gmt_log"]), (0, gmt, gmt_log), case.where)

    def test_seconds_have_the_daylight_saving_of_their_own_season(self):
        for case in cases("seconds.txt", text="log text"):
            seconds, zone = case.field("seconds"), self.ZONES.get(case.field("zone"))
            if zone and abs(int(seconds)) < 2**31:  # there are such seconds on all systems
                found = self.shows("--", seconds, zone=zone)
                log_text = case.field("log text")
                self.assertEqual((found["seconds"], found["local_log"], found["local_ctime"]),
                                 (seconds, log_text, case.field("ctime text")), case.where)
                if case.field("zone") == "UTC":
                    self.assertEqual(found["gmt_log"], f"{log_text} GMT")

    def test_a_text_whose_seconds_cannot_be_told_has_none(self):
        done = self.tool("1969.12.31 23:59:59")
        warning = "derkit: 1969.12.31 23:59:59: warning: has no number of seconds since the epoch on this system"
        self.assertEqual((done.status, done.errors), (0, [warning]))
        self.assertEqual([key for key in fields(done.text) if key != "time_local"], ["time", "gmt", "gmt_log", "local"])

    def test_what_is_no_moment_is_refused(self):
        texts = [b"-", b"12x", *(case.text("log text") for case in cases("cert-times.txt", "refused", text="log text"))]
        too_far = "is beyond the times of certificates"
        self.check_failures([
            *((["--", argument(text)], f"{shown(text)}: {self.NO_MOMENT}") for text in texts),
            *((["--", seconds], f"{seconds}: {too_far}") for seconds in ("9" * 20, "-" + "9" * 20, "-2208988801")),
        ])

    def test_local_time_has_the_offset_of_its_own_season(self):
        for moment, local in ("2024-01-15T12:00:00Z", "13:00:00+01:00"), ("2024-07-15T12:00:00Z", "14:00:00+02:00"):
            self.assertEqual(self.shows(moment, zone=self.ZONES["Paris"])["time_local"], f"{moment[:10]}T{local}")

    def test_times_that_iso_8601_writes_otherwise_are_refused(self):
        texts = ("2024-02-29T13:05:09", "2024-02-29 13:05:09Z", "2024-02-30T13:05:09Z", "2024-2-29T13:05:09Z",
                 "2024-02-29T24:00:00Z", "-2024-02-29T13:05:09Z", "1899-12-31T23:59:59Z")
        self.check_failures([(["--", text], f"{text}: {self.NO_MOMENT}") for text in texts])

    def test_a_moment_is_required(self):
        self.check_usage([([], "")])


if __name__ == "__main__":
    unittest.main()
