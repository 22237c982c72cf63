#!/usr/bin/env python3
"""Tests the subcommands that take text: "derkit dn", "oid", "alg" and "time"."""

import unittest

import der
import openssl
from tool import ToolTest, fields, thin


class DnCommand(ToolTest):
    COMMAND = ("dn",)
    NORMALISED = {
        "": "",
        "cn=a , 2.5.4.10=b": "CN=a ,O=b",
        'CN="a,b"+OU=c': "CN=a\\,b+OU=c",
        "S=x,CN=#0C0161": "ST=x,CN=a",
        "CN=\\D0\\98": "CN=И",
        "CN=a\\1B[0m\\00\\E2\\80\\AE": "CN=a\\1B[0m\\00\\E2\\80\\AE",
        "CN=\u202e": "CN=\\E2\\80\\AE",
    }
    # PrintableString, IA5String, UTF8String by the characters of the value
    ENCODED = {
        "": "3000",
        "CN=abc": "300E310C300A06035504031303616263",
        "CN=a_b": "300E310C300A06035504031603615F62",
        "CN=я": "300D310B300906035504030C02D18F",
        "C=RU,CN=x": "3019310B3009060355040613025255310A30080603550403130178",
    }
    NOT_PARSED = ["CN", "CN=x,", "=x", 'CN="x', "CN =x y, ", "--x"]
    NOT_ENCODED = ["NOSUCHNAME=x", "CN=a#b", "CN=#0C", "3.1=x", "CN=a\\zb"]

    def test_the_text_is_normalised(self):
        for text, normalised in self.NORMALISED.items():
            self.assertEqual(self.succeeds(text), normalised + "\n")

    def test_der_and_hex_are_the_encoded_name(self):
        for text, expected in self.ENCODED.items():
            self.assertEqual(self.succeeds("--hex", text), expected + "\n")
            self.assertEqual(self.tool("--der", text), (0, bytes.fromhex(expected), []))

    def test_der_is_accepted_by_openssl(self):
        out = self.tool("--der", "C=RU,O=Пример,CN=a_b").out
        dump = openssl.run("asn1parse", "-inform", "DER", stdin=out).decode()
        for part in "PRINTABLESTRING   :RU", "UTF8STRING        :Пример", "IA5STRING         :a_b":
            self.assertIn(part, dump)

    def test_get_returns_the_value_as_it_is_written(self):
        text = "CN=a\\,b\\00c,O=x,O=y"
        for arguments, value in [
            (["CN", text], "a\\,b\\00c"),
            (["O", text], "x"),
            (["O", "--reverse", text], "y"),
            (["C", "C=,CN=x"], ""),
        ]:
            self.assertEqual(self.succeeds("--get", *arguments), value + "\n")
        self.check_failures([(["--get", "OU", text], f"{text}: has no attribute OU")])

    def test_reverse_turns_the_rdns_around_before_all_else(self):
        self.assertEqual(self.succeeds("--reverse", "CN=a+OU=b, O=c\\,d,C=RU"), "C=RU,O=c\\,d,CN=a+OU=b\n")
        self.assertEqual(self.succeeds("--reverse", "--hex", "CN=x,C=RU"), self.ENCODED["C=RU,CN=x"] + "\n")

    def test_json_holds_text_and_der(self):
        self.assertEqual(self.objects("cn=abc"), [{"dn": "CN=abc", "der": self.ENCODED["CN=abc"]}])
        self.assertEqual(self.objects("--get", "O", "CN=abc,O=\\1B")[0]["value"], "\\1B")

    def test_text_that_is_no_name_says_why(self):
        self.check_failures(
            [(["--", text], f"{text}: does not parse as a distinguished name") for text in thin(self.NOT_PARSED, 4)]
            + [(["--", text], f"{text}: has a type that is unknown or a value that is malformed")
               for text in thin(self.NOT_ENCODED, 4)])

    def test_an_oid_map_names_types_in_both_directions(self):
        oid_map = self.file("map", f"{der.EXAMPLE_OID} = mine, My own\n")
        self.assertEqual(self.succeeds("--oid-map", oid_map, f"{der.EXAMPLE_OID}=x,cn=y"), "MINE=x,CN=y\n")
        self.assertEqual(self.succeeds("--oid-map", oid_map, "--hex", "Mine=x"),
                         self.succeeds("--hex", f"{der.EXAMPLE_OID}=x"))


class OidCommand(ToolTest):
    COMMAND = ("oid",)
    CN = {"oid": "2.5.4.3", "der": "550403", "short_name": "CN", "long_name": "commonName"}
    CASES = {
        **dict.fromkeys(["2.5.4.3", "2.005.4.3", "CN", "cn", "550403", "55:04:03", "55 04 03", " 5504 03 "], CN),
        "2A864886F70D01010B": {"oid": "1.2.840.113549.1.1.11", "der": "2A864886F70D01010B", "algorithm": "sha256RSA"},
        der.EXAMPLE_OID: {"oid": der.EXAMPLE_OID, "der": "2B06010401868D1F01"},
    }

    def test_dotted_text_short_name_and_hex(self):
        for text, expected in thin(self.CASES.items(), 4):
            self.assertEqual(self.shows(text), expected)
            self.assertEqual(self.objects(text), [expected])

    def test_a_short_name_comes_before_hex(self):
        self.assertEqual(self.shows("DC")["der"], "0992268993F22C640119")

    def test_der_agrees_with_openssl(self):
        for oid in "1.2.643.7.1.1.3.2", "2.16.840.1.101.3.4.2.1", "0.9.2342.19200300.100.1.25", "1.2.4294967295":
            encoded = self.folder / "oid.der"
            openssl.run("asn1parse", "-genstr", "OID:" + oid, "-noout", "-out", encoded)
            self.assertEqual(self.shows(oid)["der"], encoded.read_bytes()[2:].hex().upper())

    def test_text_that_is_no_oid(self):
        problem = "neither a dotted OID, nor a known short name, nor the hexadecimal content of an OID"
        texts = ["NOSUCHNAME", "2.5.", "3.1", "", "550", "2A86", "zz", "2.4294967296"]
        self.check_failures([(["--", text], f"{text}: {problem}") for text in texts])

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
            self.assertEqual(self.objects(text), [expected])

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
    LEAP_DAY = {
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
        for moment in "2024.02.29 13:05:09", "2024.02.29 13:05:09 GMT", "2024.2.29 13:5:9", "1709211909":
            self.assertEqual(list(self.shows(moment).items()), list(self.LEAP_DAY.items()))
        self.assertEqual(self.objects("1709211909"), [self.LEAP_DAY | {"seconds": 1709211909}])

    def test_a_text_is_gmt_whatever_the_zone(self):
        # zones without daylight saving, five and a half hours east and eight west of Greenwich
        for zone, local in ("XYZ-5:30", "18:35:09"), ("XYZ8", "05:05:09"):
            expected = self.LEAP_DAY | {
                "local": f"29.02.2024 {local}", "local_log": f"2024.02.29 {local}", "local_ctime": f"Thu Feb 29 {local} 2024"
            }
            for moment in "2024.02.29 13:05:09", "1709211909":
                self.assertEqual(self.shows(moment, zone=zone), expected)

    def test_the_seconds_of_another_season_have_their_own_daylight_saving(self):
        # one hour east of Greenwich, two in summer: July and January
        for seconds, local in ("1720000000", "2024.07.03 11:46:40"), ("1704067200", "2024.01.01 01:00:00"):
            self.assertEqual(self.shows(seconds, zone="CET-1CEST,M3.5.0,M10.5.0/3")["local_log"], local)

    def test_the_seconds_around_the_epoch(self):
        for seconds, gmt in [
            ("0", "01.01.1970 00:00:00 GMT"),
            ("-1", "31.12.1969 23:59:59 GMT"),
            ("-2", "31.12.1969 23:59:58 GMT"),
            ("2147483647", "19.01.2038 03:14:07 GMT"),
        ]:
            found = self.shows(seconds)
            self.assertEqual((found["gmt"], found["seconds"]), (gmt, seconds))

    def test_a_text_whose_seconds_cannot_be_told_has_none(self):
        done = self.tool("1969.12.31 23:59:59")
        warning = "derkit: 1969.12.31 23:59:59: warning: this system does not count the seconds from the epoch to it"
        self.assertEqual((done.status, done.errors), (0, [warning]))
        self.assertEqual(list(fields(done.text)), ["gmt", "gmt_log", "local"])

    def test_what_is_no_moment_is_refused(self):
        neither = 'neither seconds since the epoch nor a time like "2024.02.29 13:05:09" from 1900 on'
        too_far = "no certificate time is so many seconds from the epoch"
        problems = {
            **dict.fromkeys(["", "now", "-", "2024.1.1", "12x", "1899.01.01 00:00:00", "2024.00.10 00:00:00",
                             "2024.01.00 00:00:00"], neither),
            **dict.fromkeys(["99999999999999999999", "-99999999999999999999", "-2208988801"], too_far),
        }
        self.check_failures([(["--", moment], f"{moment}: {problem}") for moment, problem in thin(problems.items(), 4)])

    def test_one_moment_is_required(self):
        self.check_usage([([], ""), (["1", "2"], "")])


if __name__ == "__main__":
    unittest.main()
