#!/usr/bin/env python3
"""Tests "derkit dn compare": RFC 5280 7.1 and RFC 4518, and what is said of names that differ."""

import unicodedata
import unittest

import der
from tool import ToolTest, only_with_all_cases


def cn(tag, text):
    return der.attribute(der.COMMON_NAME, tag, text)


PRINTABLE, UTF8 = cn(der.PRINTABLE_STRING, b"ab"), cn(der.UTF8_STRING, b"ab")
O_X = der.attribute(der.ORGANIZATION, der.UTF8_STRING, b"x")


class DnCompare(ToolTest):
    COMMAND = ("dn", "compare")

    # two names, the result, the order, and the kinds of each difference
    TEXTS = [
        ("CN=a,C=RU", "CN=a,C=RU", "same_octets", "same"),
        ("", "", "same_octets", "same"),
        ("CN=Ab", "CN=aB", "match", "same", ["case"]),
        ("CN=ЮГ", "CN=юг", "match", "same", ["case"]),
        ("CN=ÉTÉ", "CN=été", "match", "same", ["case"]),
        ("CN=straße", "CN=STRASSE", "match", "same", ["string_type", "form"]),
        ("CN=a  b", "CN=a b", "match", "same", ["blanks"]),
        ("CN= a b ", "CN=a b", "match", "same", ["blanks"]),
        ("CN= A  b", "CN=a b", "match", "same", ["case", "blanks"]),
        ("CN=é", "CN=e\u0301", "match", "same", ["form"]),
        ("CN=\ufb01", "CN=fi", "match", "same", ["string_type", "form"]),
        ("CN=a\u00adb", "CN=ab", "match", "same", ["string_type", "form"]),
        ("CN=a\u00a0b", "CN=a b", "match", "same", ["string_type", "form"]),
        ("CN=a_b", "CN=A_B", "match", "same", ["case"]),
        ("CN=a+OU=b", "OU=b+CN=a", "match", "same", ["member_order"]),
        ("CN=a,O=b", "CN=a,O=b,C=c", "different", "same", ["missing"]),
        ("CN=a,O=b,C=c", "CN=a,C=c", "different", "same", ["missing"]),
        ("CN=a", "", "different", "same", ["missing"]),
        ("CN=a,O=b", "O=b,CN=a", "different", "reversed"),
        ("CN=a,O=b,C=c", "O=b,CN=a,C=c", "different", "other"),
        ("CN=A,O=b", "O=b,CN=a", "different", "reversed", ["case"]),
        ("CN=a", "OU=a", "different", "same", ["type"]),
        ("CN=a", "CN=b", "different", "same", ["value"]),
        ("CN=a,O=x", "CN=b,O=x", "different", "same", ["value"]),
        ("CN=a", "CN=#0500", "different", "same", ["string_type", "value"]),
        ("CN=#0500", "CN=#0500", "same_octets", "same"),
        ("CN=#040161", "CN=#040162", "different", "same", ["value"]),
        ("CN=Pocc", "CN=Росс", "different", "same", ["string_type", "look_alike"]),
        ("CN=l0", "CN=1O", "different", "same", ["look_alike"]),
        ("CN=a+OU=b", "CN=a+OU=c", "different", "same", ["value"]),
        ("CN=a+OU=b", "CN=a", "different", "same", ["missing"]),
    ]

    def compared(self, *arguments):
        [found] = self.objects(*arguments)
        kinds = [difference["kinds"] for difference in found.get("differences", [])]
        return found, (found["result"], found["order"], *kinds)

    def test_texts(self):
        for a, b, *expected in self.TEXTS:
            with self.subTest((a, b)):
                self.assertEqual(self.compared(a, b)[1], tuple(expected))
                self.assertEqual(self.compared(b, a)[1], tuple(expected))

    NAMES = [
        (der.name(PRINTABLE), der.name(UTF8), "match", ["string_type"]),
        (der.name(cn(der.BMP_STRING, "Яб".encode("utf-16-be"))), der.name(cn(der.UTF8_STRING, "яБ".encode())), "match",
         ["string_type", "case"]),
        (der.name(cn(der.T61_STRING, b"\xc2a")), der.name(cn(der.UTF8_STRING, "á".encode())), "match", ["string_type"]),
        (der.name([PRINTABLE, O_X]), der.name([O_X, UTF8]), "match", ["string_type"]),
    ]

    def test_names_in_der(self):
        for a, b, result, kinds in self.NAMES:
            with self.subTest((a.hex(), b.hex())):
                self.assertEqual(self.compared("--from", "hex", a.hex(), b.hex())[1], (result, "same", kinds))
                paths = self.file("a", a), self.file("b", b)
                self.assertEqual(self.compared("--from", "der", *paths)[1], (result, "same", kinds))

    def test_another_length_of_the_same_value(self):
        b = bytes.fromhex("300D 310B 3009 0603550403 0C8101 61")
        a = der.name(cn(der.UTF8_STRING, b"a"))
        self.assertEqual(self.compared("--from", "hex", a.hex(), b.hex())[1], ("match", "same", ["encoding"]))

    def test_a_difference_says_where_and_what(self):
        found, _ = self.compared("C=RU,CN=Pocc", "CN=Росс,C=RU")
        self.assertEqual(found["differences"], [{
            "kinds": ["string_type", "look_alike"], "rdn_a": 2, "type_a": "commonName", "value_a": "PrintableString Pocc",
            "rdn_b": 1, "type_b": "commonName", "value_b": "UTF8String Росс",
            "look_alikes": ["character 1: U+0070 and U+0440", "character 2: U+006F and U+043E",
                            "character 3: U+0063 and U+0441", "character 4: U+0063 and U+0441"],
        }])

    def test_names_in_dialects(self):
        _, result = self.compared("--from", "java", 'CN="a,b", C=RU', "cn=a\\,b,c=ru")
        self.assertEqual(result, ("match", "same", ["case"]))

    def test_a_result_can_be_required(self):
        for required, a, b, status in [
            ("match", "CN=a", "CN=A", 0), ("match", "CN=a", "CN=b", 1), ("octets", "CN=a", "CN=a", 0), ("octets", "CN=a", "CN=A", 1),
        ]:
            done = self.tool("--require", required, a, b)
            self.assertEqual((done.status, len(done.errors)), (status, status), (required, a, b))

    def test_what_is_no_name(self):
        self.check_failures([
            (["--from", "hex", "3000", "30"], "30: is no Name"),
            (["--from", "hex", "3000", "300000"], "300000: is no Name"),
            (["--from", "hex", "3000", "3002 3100"], "3002 3100: is no Name"),
            (["--from", "hex", "3000", "x"], "x: is not hexadecimal"),
        ])
        many = der.name(*[UTF8] * 1001)
        self.assertEqual(self.fails("--from", "der", *[self.file("many", many)] * 2), "name: has more than 1000 attributes")
        self.check_usage([([], ""), (["CN=a"], "")])

    @only_with_all_cases
    def test_characters_are_compared_as_unicode_says(self):
        """All characters of the first planes in names of 500 attributes, against Python's own data."""
        if unicodedata.unidata_version != "14.0.0":
            self.skipTest("another version of Unicode")

        def key(text):
            while (again := unicodedata.normalize("NFKD", unicodedata.normalize("NFKD", text).casefold())) != text:
                text = again
            return text

        left_out = [*range(0xAC00, 0xD7A4), *range(0xF900, 0xFB00), *range(0xD800, 0xE000)]
        codes = [code for code in range(0x41, 0x3400) if code not in left_out and chr(code).isalnum()]
        pairs = [(chr(code), key(chr(code))) for code in codes]
        for first in range(0, len(pairs), 500):
            part = pairs[first:first + 500]
            a, b = (der.name(*(cn(der.UTF8_STRING, ("x" + pair[side]).encode()) for pair in part)) for side in (0, 1))
            text = self.succeeds("--from", "der", self.file("a", a), self.file("b", b))
            self.assertRegex(text, "\nresult: (match|same_octets)\n", f"from U+{ord(part[0][0]):04X} on")


if __name__ == "__main__":
    unittest.main()
