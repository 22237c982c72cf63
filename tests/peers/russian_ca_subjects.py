#!/usr/bin/env python3
"""Subjects of certificates of Russian authorities: derkit, with the example map, prints what two public tools print.

DERKIT_TEST_CORPUS names a folder with gost-russian-ca/*.der and gost-russian-ca/expected-subject.tsv: file, subject by
OpenSSL (-nameopt RFC2253,-esc_msb), subject by certtool of GnuTLS.
"""

import os
import sys
from pathlib import Path

from dn_text import read_dn
from peer import Comparison, derkit, skip

TOOLS = ["openssl", "certtool"]

# What the two tools call types, in derkit's words. All values agree, in all files. One type differs by more than a
# spelling: certtool has no name for postalAddress, which two certificates (UC_GBU_CIT_Orenburgskoi_oblasti) have.
TYPES = {
    "emailAddress": "E",
    "EMAIL": "E",
    "postalAddress": "POSTALADDRESS",
    "2.5.4.16": "POSTALADDRESS",
    "street": "STREET",
    "surName": "SN",
    "title": "T",
}


def main():
    corpus = os.environ.get("DERKIT_TEST_CORPUS")
    folder = Path(corpus or ".") / "gost-russian-ca"
    if corpus is None or not (folder / "expected-subject.tsv").exists():
        skip("DERKIT_TEST_CORPUS names no folder with gost-russian-ca")
    rows = [line.split("\t") for line in (folder / "expected-subject.tsv").read_text("utf-8").splitlines()]
    paths = [folder / row[0] for row in rows]
    shown = derkit("cert", "--order", "reversed", *paths, oid_map=os.environ["DERKIT_EXAMPLE_MAP"])
    subjects = {Path(certificate["file"]).name: certificate["subject"] for certificate in shown}
    comparison = Comparison()
    for name, *expected in rows:
        for tool, text in zip(TOOLS, expected, strict=True):
            comparison.same(name, tool, read_dn(text, TYPES), read_dn(subjects[name], {}))
    return comparison.exit_status("names")


if __name__ == "__main__":
    sys.exit(main())
