#!/usr/bin/env python3
"""Tests "derkit asn1": against openssl asn1parse, and by X.690 where openssl stops or does not look."""

import re
import subprocess
import unittest
from pathlib import Path

import der
import openssl
from tool import ToolTest, objects, only_with_all_cases, thin

DATA = Path(__file__).parents[1] / "data"
OPENSSL_LINE = re.compile(r" *(\d+):d=(\d+) +hl=(\d+) l= *(\d+|inf) +(prim|cons): (.*?) *(?::.*|\[HEX.*)?$")
# What openssl calls otherwise.
OPENSSL_TYPES = {
    "EOC": "end-of-contents", "OBJECT": "OBJECT IDENTIFIER", "UTF8STRING": "UTF8String", "NUMERICSTRING": "NumericString",
    "PRINTABLESTRING": "PrintableString", "T61STRING": "T61String", "IA5STRING": "IA5String", "UTCTIME": "UTCTime",
    "GENERALIZEDTIME": "GeneralizedTime", "VISIBLESTRING": "VisibleString", "BMPSTRING": "BMPString",
    "UNIVERSALSTRING": "UniversalString", "GENERALSTRING": "GeneralString",
}


def type_of_openssl(name):
    tagged = re.match(r"(cont|appl|priv) \[ (\d+) \]", name)
    if tagged:
        return {"cont": "[", "appl": "[APPLICATION ", "priv": "[PRIVATE "}[tagged[1]] + tagged[2] + "]"
    return OPENSSL_TYPES.get(name, name)


def rows_of_openssl(*arguments, **how):
    rows = []
    for line in openssl.run("asn1parse", *arguments, **how).decode().splitlines():
        match = OPENSSL_LINE.match(line)
        if match:
            offset, depth, header, size, form, name = match.groups()
            rows.append((int(offset), int(depth), int(header), None if size == "inf" else int(size), form == "cons",
                         type_of_openssl(name)))
    return rows


def rows(found):
    """Returns the same of our objects, without what is inside strings: openssl does not open them."""
    kept, inside_until = [], 0
    for element in found:
        if element["offset"] < inside_until:
            continue
        end = element["offset"] + element["header_size"] + element.get("content_size", 0)
        inside_until = end if element.get("encapsulates") else inside_until
        kept.append((element["offset"], element["depth"], element["header_size"], element.get("content_size"),
                     element["constructed"], element["type"]))
    return kept


class Asn1Command(ToolTest):
    COMMAND = ("asn1",)

    def elements(self, data, *arguments, errors=0, status=0):
        done = self.tool("--json", *arguments, "-", stdin=bytes.fromhex(data) if isinstance(data, str) else data)
        self.assertEqual((done.status, len(done.errors)), (status, errors), done.errors)
        return objects(done.text)

    def test_the_same_elements_as_openssl(self):
        paths = thin([*DATA.glob("*.cert.pem"), *DATA.glob("*.key.pem"), *DATA.glob("*.encrypted.pem")], 4)
        for path in paths:
            self.assertEqual(rows(self.objects(path)), rows_of_openssl("-in", path), path)
        for path in thin(sorted(DATA.glob("*.p12")), 4):
            if path.name != "broken-cut.p12":
                self.assertEqual(rows(objects(self.tool("--json", path).text)),
                                 rows_of_openssl("-inform", "DER", "-in", path), path)

    def test_indefinite_lengths_like_openssl(self):
        key, certificate = self.folder / "key.pem", self.folder / "certificate.pem"
        openssl.run("req", "-x509", *openssl.NEW_EC_KEY[:-1], key, "-subj", "/CN=x", "-days", "1", "-out", certificate)
        message = openssl.run("cms", "-sign", "-stream", "-nodetach", "-outform", "DER", "-signer", certificate,
                              "-inkey", key, stdin=b"text\n")
        found = self.elements(message, errors=1)
        expected = rows_of_openssl("-inform", "DER", stdin=message)
        self.assertEqual(rows(found), expected)
        self.assertIn(None, [row[3] for row in expected])

    VALUES = [  # content of one primitive element, fields of the object
        ("0101FF", {"boolean": True}),
        ("010100", {"boolean": False}),
        ("020100", {"integer": 0}),
        ("0201FF", {"integer": -1}),
        ("0203010001", {"integer": 65537}),
        ("02087FFFFFFFFFFFFFFF", {"integer": 2**63 - 1}),
        ("02088000000000000000", {"integer": -(2**63)}),
        ("0209008000000000000000", {"octets": "008000000000000000"}),
        ("0A0103", {"integer": 3}),
        ("0304 06 6E5D C0", {"unused_bits": 6, "octets": "6E5DC0"}),
        ("030100", {"unused_bits": 0}),
        ("0403010203", {"octets": "010203"}),
        ("0500", {}),
        ("0603550403", {"oid": "2.5.4.3", "oid_name": "commonName"}),
        ("06062A0304050607", {"oid": "1.2.3.4.5.6.7"}),
        ("06028837", {"oid": "2.999"}),
        ("0C04D0AFD18F", {"text": "Яя"}),
        ("0C00", {"text": ""}),
        ("0C03615C62", {"text": "a\\5Cb"}),
        ("1203313220", {"text": "12 "}),
        ("13024142", {"text": "AB"}),
        ("1402C261", {"text": "á"}),
        ("16026140", {"text": "a@"}),
        ("170D3439313233313233353935395A", {"text": "491231235959Z", "time": "2049-12-31T23:59:59Z"}),
        ("170D3530303130313030303030305A", {"text": "500101000000Z", "time": "1950-01-01T00:00:00Z"}),
        ("180F32303234303232393133303530395A", {"text": "20240229130509Z", "time": "2024-02-29T13:05:09Z"}),
        ("181132303234303232393133303530392E355A", {"text": "20240229130509.5Z"}),
        ("1C0400000041", {"text": "A"}),
        ("1E040041042F", {"text": "AЯ"}),
        ("8003010203", {"octets": "010203"}),
        ("5F8A3900", {}),
        ("1F850000", {}),
    ]

    def test_values(self):
        whole = bytes.fromhex("".join(data for data, _ in self.VALUES))
        place = {"format", "object", "file", "index", "offset", "depth", "header_size", "content_size", "type", "class",
                 "number", "constructed"}
        found = self.elements(whole)
        self.assertEqual(len(found), len(self.VALUES))
        for element, (data, fields) in zip(found, self.VALUES):
            self.assertEqual({key: value for key, value in element.items() if key not in place}, fields, data)
        self.assertEqual([(element["type"], element["class"], element["number"]) for element in found[-2:]],
                         [("[APPLICATION 1337]", "application", 1337), ("[UNIVERSAL 640]", "universal", 640)])

    # data, then (offset, type, clause of X.690) of each breach, and whether BER is broken
    BROKEN = [
        ("30800201050000", False, (0, "SEQUENCE", "10.1")),
        ("3003 028101 0500", True, (2, "INTEGER", "8.1.3"), (2, "INTEGER", "10.1")),
        ("3004028101 05", False, (2, "INTEGER", "10.1")),
        ("308400000003020105", False, (0, "SEQUENCE", "10.1")),
        ("02820001 05", False, (0, "INTEGER", "10.1")),
        ("010101", False, (0, "BOOLEAN", "11.1")),
        ("01020000", True, (0, "BOOLEAN", "8.2.1")),
        ("0200", True, (0, "INTEGER", "8.3.1")),
        ("0202007F", True, (0, "INTEGER", "8.3.2")),
        ("0202FF80", True, (0, "INTEGER", "8.3.2")),
        ("0300", True, (0, "BIT STRING", "8.6.2.2")),
        ("03020880", True, (0, "BIT STRING", "8.6.2.2")),
        ("030101", True, (0, "BIT STRING", "8.6.2.3")),
        ("03020481", False, (0, "BIT STRING", "11.2.1")),
        ("050100", True, (0, "NULL", "8.8.2")),
        ("0600", True, (0, "OBJECT IDENTIFIER", "8.19.2")),
        ("0603558003", True, (0, "OBJECT IDENTIFIER", "8.19.2")),
        ("06025583", True, (0, "OBJECT IDENTIFIER", "8.19.2")),
        ("0C01FF", True, (0, "UTF8String", "8.23")),
        ("120141", True, (0, "NumericString", "8.23")),
        ("130140", True, (0, "PrintableString", "8.23")),
        ("160180", True, (0, "IA5String", "8.23")),
        ("1E0141", True, (0, "BMPString", "8.23")),
        ("1C0400110000", True, (0, "UniversalString", "8.23")),
        ("170B323430323239313330355A", False, (0, "UTCTime", "11.8")),
        ("170D3234303233303133303530395A", True, (0, "UTCTime", "11.8")),
        ("180D32303234303232393133303530", False, (0, "GeneralizedTime", "11.7")),
        ("181132303234303232393133303530392E305A", False, (0, "GeneralizedTime", "11.7")),
        ("1000", True, (0, "SEQUENCE", "8.9.1")),
        ("2203020105", True, (0, "INTEGER", "8.3.1")),
        ("24030401AA", False, (0, "OCTET STRING", "10.2")),
        ("9F0500", True, (0, "[5]", "8.1.2.2")),
        ("9F802A00", True, (0, "[42]", "8.1.2.4.2")),
        ("3106020102020101", False, (5, "INTEGER", "11.6")),
        # Lengths that do not fit, and what comes after them.
        ("30070205010203 0500 0500", False),
        ("3007 3003 020501 0500 0500", True, (4, "INTEGER", "8.1.3")),
        ("3004 04040102 0500", True, (2, "OCTET STRING", "8.1.3")),
        ("30 04 30 FF 01 02 05 00", True, (2, "unreadable", "8.1.3.5")),
        ("30 04 04 80 01 02 05 00", True, (2, "unreadable", "8.1.3.2")),
        ("30 04 00 00 01 02 05 00", True, (2, "unreadable", "8.1.5")),
        ("30 05 30 80 02 01 05 05 00", True, (2, "SEQUENCE", "10.1"), (7, "unreadable", "8.1.5")),
        ("30 03 02 01", True, (2, "INTEGER", "8.1.3")),
        ("30 05 02 01 05", True, (5, "unreadable", "8.1.3")),
        ("30 80 02 01 05", True, (0, "SEQUENCE", "10.1"), (5, "unreadable", "8.1.5")),
        ("02", True, (0, "unreadable", "8.1.3")),
        ("0282", True, (0, "unreadable", "8.1.3.5")),
        ("1F", True, (0, "unreadable", "8.1.2.4")),
        ("02 8F 00 00 00 00 00 00 00 FF FF FF FF FF FF FF FF 05", True,
         (0, "INTEGER", "10.1"), (0, "INTEGER", "8.1.3")),
        ("30 8A FF FF FF FF FF FF FF FF FF FF 02 01 05", True, (15, "unreadable", "8.1.3")),
    ]

    def test_breaches_have_their_place_and_their_rule(self):
        for data, breaks_ber, *expected in self.BROKEN:
            with self.subTest(data):
                done = self.tool("--json", "-", stdin=bytes.fromhex(data))
                found = [(element["offset"], element["type"], re.match(r"X\.690 ([\d.]+): |", problem)[1])
                         for element in objects(done.text) for problem in element.get("problems", [])]
                self.assertEqual((sorted(found, key=str), done.status), (sorted(expected, key=str), int(breaks_ber)))
                self.assertEqual(bool(done.errors), bool(expected))

    OPENED = [  # a string, and whether what is in it is shown
        ("0402 0500", True),
        ("0303 00 0500", True),
        ("0405 30 03 02 01 05", True),
        ("0404 04 02 05 00", True),
        ("0403 05 00 00", False),  # an octet after the element
        ("0404 0500 0500", False),
        ("0403 02 02 00", False),  # an octet too few
        ("0404 02 02 00 05", False),  # BER, but not DER
        ("0404 30 02 02 00", False),
        ("0404 30 80 00 00", False),
        ("0403 80 01 00", False),  # not a universal type
        ("0402 0F00", False),
        ("0402 0000", False),
        ("0303 01 0500", False),
        ("0400", False),
        ("0301 00", False),
        ("2404 0402 0500", False),  # a part of a string
        ("0C02 0500", False),
        ("8002 0500", False),
    ]

    def test_strings_that_hold_one_element_in_der_are_opened(self):
        for data, is_opened in self.OPENED:
            with self.subTest(data):
                octets = bytes.fromhex(data)
                found = objects(self.tool("--json", "-", stdin=octets).text)
                self.assertEqual(any(element.get("encapsulates", False) for element in found), is_opened)
                self.assertEqual([element for element in found if is_opened and "octets" in element], [])

    def test_elements_inside_a_string_have_their_place_in_the_file(self):
        found = self.elements("0308 00 3005 0403 0401 55")
        self.assertEqual([(element["offset"], element["depth"], element["type"], element.get("octets")) for element in found],
                         [(0, 0, "BIT STRING", None), (3, 1, "SEQUENCE", None), (5, 2, "OCTET STRING", None),
                          (7, 3, "OCTET STRING", "55")])

    def test_large_strings_are_opened_by_their_first_header(self):
        for inner, is_opened in [
            (der.sequence(der.octet_string(bytes(70000))), True),
            (der.octet_string(bytes(70000)), False),
            (der.sequence(der.octet_string(bytes(70000))) + b"\0", False),
        ]:
            found = self.elements(der.octet_string(inner))
            self.assertEqual([bool(found[0].get("encapsulates")), "cut" in found[-1]], [is_opened, True])

    def test_deep_nesting_ends_at_a_limit(self):
        for count, limit_is_met in (255, False), (256, False), (257, True), (5000, True):
            data = b"\x05\x00"
            for _ in range(count):
                data = der.sequence(data)
            found = self.elements(data + b"\x01\x01\x00", errors=limit_is_met, status=limit_is_met)
            self.assertEqual((len(found), found[-1]["type"]), (min(count, 257) + 1 + (not limit_is_met), "BOOLEAN"))

    def test_octets_and_text_are_cut(self):
        for data, limit, field, shown, is_cut in [
            ("0403010203", "2", "octets", "0102", True),
            ("0403010203", "3", "octets", "010203", False),
            ("0403010203", "0", "octets", None, True),
            ("0C04D0AFD18F", "3", "text", "Я", True),
            ("0C04D0AFD18F", "4", "text", "Яя", False),
            ("0441" + "00" * 65, None, "octets", "00" * 64, True),
            ("0440" + "00" * 64, None, "octets", "00" * 64, False),
        ]:
            [found] = self.elements(data, *(["--max-octets", limit] if limit else []))
            self.assertEqual((found.get(field), found.get("cut", False)), (shown, is_cut), (data, limit))
        self.check_usage([(["--max-octets", bad, "x"], "--max-octets: needs a number from 0 to 65536")
                          for bad in ("-1", "65537", "1x")])

    def test_the_outline_as_text(self):
        data = bytes.fromhex("30 80 31 04 06 02 2A 03 A0 05 80 03 61 62 63 03 03 07 01 80 24 05 04 03 30 01 00 0101 07 00 00")
        done = self.tool("-", stdin=data)
        self.assertEqual((done.status, done.text.splitlines()), (0, [
            "  offset header  content",
            "       0      2        -  SEQUENCE",
            "                          ! X.690 10.1: the length is indefinite",
            "       2      2        4    SET",
            "       4      2        2      OBJECT IDENTIFIER 1.2.3",
            "       8      2        5    [0]",
            '      10      2        3      [0] 616263 "abc"',
            "      15      2        3    BIT STRING 0180 (7 bits unused)",
            "      20      2        5    OCTET STRING",
            "                            ! X.690 10.2: a string is constructed",
            "      22      2        3      OCTET STRING 300100",
            "      27      2        1    BOOLEAN true",
            "                            ! X.690 11.1: true is FF",
            "      30      2        0    end-of-contents",
        ]))
        self.assertEqual(done.errors, [
            "derkit: (standard input): warning: is no DER at offset 0: X.690 10.1: the length is indefinite, and 2 more"])

    def test_blocks_of_pem_have_headings_and_their_own_offsets(self):
        bundle = (b"text\n" + der.pem(bytes.fromhex("020105"), "ONE") + b"-----BEGIN TWO-----\n?\n-----END TWO-----\n" +
                  der.pem(bytes.fromhex("0500"), "THREE"))
        path = self.file("bundle", bundle)
        done = self.tool(path)
        self.assertEqual(done.text.splitlines(), [
            f"==> {path}: ONE 1 (line 2) <==", "  offset header  content", "       0      2        1  INTEGER 5", "",
            f"==> {path}: THREE 3 (line 8) <==", "  offset header  content", "       0      2        0  NULL"])
        self.assertEqual((done.status, done.errors), (1, [f"derkit: {path}: TWO 2 (line 5): not valid base64"]))
        found = objects(self.tool("--json", path).text)
        self.assertEqual([(element["index"], element["block"], element["label"]) for element in found],
                         [(1, 1, "ONE"), (2, 3, "THREE")])

    def test_several_files(self):
        one, two = self.file("one", b"\5\0"), self.file("two", b"\1\1\0")
        done = self.tool(one, "missing", two)
        self.assertEqual((done.status, len(done.errors)), (1, 1))
        self.assertEqual([line for line in done.text.splitlines() if line.startswith("==>") or not line],
                         [f"==> {one} <==", "", f"==> {two} <=="])
        self.check_failures([([self.file("empty")], f"{self.folder}/empty: is empty")])

    def test_hostile_text_is_shown_safely(self):
        oid_map = self.file("map", b"1.2.3 = a\x1b, long name\n")
        text = self.succeeds("--oid-map", oid_map, "-", stdin=bytes.fromhex("0C051B5B324A5C 06022A03"))
        self.assertIn('UTF8String "\\1B[2J\\5C"', text)
        self.assertIn("A\\1B (1.2.3)", text)

    def test_every_octet_of_a_file_is_accounted_for(self):
        """Elements and octets that are none follow each other without a gap, however a file is spoiled."""
        good = der.certificate("x") + bytes.fromhex("3080 3080 0500 0000 0000")
        for place in thin(range(0, len(good), 3), 40):
            for value in 0x00, 0x80, 0xFF:
                spoiled = good[:place] + bytes([value]) + good[place + 1:]
                self.check_places(spoiled)
        for size in thin(range(1, len(good), 7), 10):
            self.check_places(good[:size])

    def check_places(self, data):
        place = 0
        for element in objects(self.tool("--json", "-", stdin=data).text):
            prefix = 1 if element.get("encapsulates") and element["type"] == "BIT STRING" else 0
            self.assertEqual(element["offset"], place, data.hex())
            has_content = not element.get("constructed") and not element.get("encapsulates")
            size = element.get("header_size", 0) + prefix + (element.get("content_size", 0) if has_content else 0)
            place = min(place + size, self.end_of(element, data))
        self.assertEqual(place, len(data), data.hex())

    def end_of(self, element, data):
        """Returns where an element must end at the latest: what it runs past, if it does."""
        for problem in element.get("problems", []):
            excess = re.search(r"runs (\d+) octets? past the end", problem)
            if excess:
                return element["offset"] + element["header_size"] + element["content_size"] - int(excess[1])
        return len(data)

    @only_with_all_cases
    def test_memory_does_not_grow_with_the_file(self):
        def element_count(size):
            return der.sequence(*[der.sequence(der.integer(i), der.octet_string(bytes(100))) for i in range(size)])

        peaks = []
        for data in (element_count(3000), element_count(30000),
                     der.octet_string(der.sequence(der.octet_string(bytes(5 << 20)), element_count(1000)))):
            child = self.start("-", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
            child.stdin.write(data)
            child.stdin.flush()
            peaks.append(int(re.search(r"VmHWM:\s+(\d+) kB", Path(f"/proc/{child.pid}/status").read_text())[1]))
            child.stdin.close()
            self.assertEqual(child.wait(), 0)
        self.assertLess(max(peaks), 1.3 * peaks[0])

    def test_elements_come_while_the_input_goes_on(self):
        child = self.start("--json", "-", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        child.stdin.write(b"\x30\x83\x0f\xff\xff" + der.octet_string(bytes(90)) * 300)
        child.stdin.flush()
        self.assertIn(b'"content_size":1048575', child.stdout.readline())


if __name__ == "__main__":
    unittest.main()
