#!/usr/bin/env python3
"""Subjects of certificates of Russian authorities: derkit, with the example map, prints what two public tools print.

DERKIT_TEST_CORPUS names a folder with gost-russian-ca/*.der and gost-russian-ca/expected-subject.tsv: file, subject by
OpenSSL (-nameopt RFC2253,-esc_msb), subject by certtool of GnuTLS.
"""

import json
import os
import subprocess
import sys
from pathlib import Path

from dn_text import read_dn

SKIPPED = 77
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


def subjects_by_derkit(paths):
    command = [os.environ["DERKIT_TOOL"], "cert", "--json", "--order", "reversed"]
    command += ["--oid-map", os.environ["DERKIT_EXAMPLE_MAP"], *paths]
    out = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode()
    return {Path(shown["file"]).name: shown["subject"] for shown in map(json.loads, out.splitlines())}


def main():
    corpus = os.environ.get("DERKIT_TEST_CORPUS")
    folder = Path(corpus or ".") / "gost-russian-ca"
    if corpus is None or not (folder / "expected-subject.tsv").exists():
        print("skipped: DERKIT_TEST_CORPUS names no folder with gost-russian-ca")
        return SKIPPED
    rows = [line.split("\t") for line in (folder / "expected-subject.tsv").read_text("utf-8").splitlines()]
    shown = subjects_by_derkit([folder / row[0] for row in rows])
    failures = 0
    for name, *expected in rows:
        for tool, text in zip(TOOLS, expected, strict=True):
            if read_dn(shown[name], {}) != read_dn(text, TYPES):
                failures += 1
                print(f"{name}:\n  derkit  {shown[name]}\n  {tool} {text}")
    print(f"{len(rows) * len(TOOLS)} names compared, {failures} differ")
    return 1 if failures or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
