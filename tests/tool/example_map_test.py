#!/usr/bin/env python3
"""Tests the example map of OIDs, which DERKIT_EXAMPLE_MAP names."""

import os
import re
import unittest
from pathlib import Path

import openssl
from tool import ToolTest, run, thin

EXAMPLE_MAP = Path(os.environ["DERKIT_EXAMPLE_MAP"])
# From X.520, RFC 2985, the EV guidelines of the CA/Browser Forum and the Russian order on certificate forms.
NAMES = {
    "INN": "1.2.643.3.131.1.1",
    "OGRN": "1.2.643.100.1",
    "SNILS": "1.2.643.100.3",
    "INNLE": "1.2.643.100.4",
    "OGRNIP": "1.2.643.100.5",
    "SERIALNUMBER": "2.5.4.5",
    "DESCRIPTION": "2.5.4.13",
    "BUSINESSCATEGORY": "2.5.4.15",
    "POSTALADDRESS": "2.5.4.16",
    "POSTALCODE": "2.5.4.17",
    "POSTOFFICEBOX": "2.5.4.18",
    "PHYSICALDELIVERYOFFICENAME": "2.5.4.19",
    "X500UNIQUEIDENTIFIER": "2.5.4.45",
    "HOUSEIDENTIFIER": "2.5.4.51",
    "DMDNAME": "2.5.4.54",
    "ROLE": "2.5.4.72",
    "ORGANIZATIONIDENTIFIER": "2.5.4.97",
    "JURISDICTIONL": "1.3.6.1.4.1.311.60.2.1.1",
    "JURISDICTIONST": "1.3.6.1.4.1.311.60.2.1.2",
    "JURISDICTIONC": "1.3.6.1.4.1.311.60.2.1.3",
    "UNSTRUCTUREDNAME": "1.2.840.113549.1.9.2",
    "UNSTRUCTUREDADDRESS": "1.2.840.113549.1.9.8",
}
# Names that are read only, and what is printed in their place.
SECOND_NAMES = {
    "SURNAME": "SN",
    "TITLE": "T",
    "GIVENNAME": "GN",
    "G": "GN",
    "INITIALS": "I",
    "PSEUDONYM": "PS",
    "EMAILADDRESS": "E",
    "EMAIL": "E",
}


def dn_of(types):
    return ",".join(f"{attribute_type}=1" for attribute_type in types)


class ExampleMap(ToolTest):
    LINE = re.compile(r"([\d.]+) = (\w+), (\w+)")

    def rows(self):
        """Returns (OID, short name, long name) of every line that is not a comment; all must have the plain form."""
        lines = EXAMPLE_MAP.read_text(encoding="ascii").splitlines()
        return [self.LINE.fullmatch(line).groups() for line in lines if line and line[0] != "#"]

    def printed(self, dn):
        return self.succeeds("dn", "--oid-map", EXAMPLE_MAP, dn).rstrip("\n")

    def test_its_names_are_found_and_printed(self):
        self.assertEqual({name: oid for oid, name, _ in self.rows() if name not in SECOND_NAMES}, NAMES)
        self.assertEqual(self.printed(dn_of(NAMES)), dn_of(NAMES))
        self.assertEqual(self.printed(dn_of(NAMES.values())), dn_of(NAMES))

    def test_second_names_are_read_and_the_first_is_printed(self):
        self.assertEqual(len(self.rows()), len(NAMES) + len(SECOND_NAMES))
        self.assertEqual(self.printed(dn_of(SECOND_NAMES)), dn_of(SECOND_NAMES.values()))

    def test_the_built_in_table_lacks_them(self):
        for name in thin([*NAMES, *SECOND_NAMES]):
            done = run("dn", "--oid-map", "/dev/null", f"{name}=1")
            self.assertEqual((done.status, done.out, len(done.errors)), (1, b"", 1), name)

    def test_openssl_has_the_same_long_names(self):
        known = 0
        for oid, _, long_name in self.rows():
            name = openssl.run("asn1parse", "-genstr", "OID:" + oid).decode().rpartition(":")[2].strip()
            if name != oid:  # it has no name for some
                known += 1
                self.assertEqual(name.lower(), long_name.lower(), oid)
        self.assertGreater(known, 25)

    def test_a_certificate_with_them_by_openssl(self):
        types = "INN", "OGRN", "SNILS", "postalCode", "serialNumber", "businessCategory", "organizationIdentifier"
        rdns = ["C=RU", *(f"{name}={i}" for i, name in enumerate(types))]
        made = openssl.certificate("/" + "/".join(rdns))
        out = self.succeeds("cert", "--oid-map", EXAMPLE_MAP, "--round-trip", "-", stdin=made)
        self.assertEqual(out.splitlines()[1], "subject: " + ",".join(map(str.upper, rdns)))
        self.assertTrue(out.endswith("\nnames: 2\nround_trips: 2\nfailures: 0\n"))


if __name__ == "__main__":
    unittest.main()
