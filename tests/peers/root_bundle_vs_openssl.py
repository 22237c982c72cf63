#!/usr/bin/env python3
"""Subjects and issuers of the system's root certificates: derkit and openssl read the same from each."""

import json
import os
import re
import subprocess
import sys
from pathlib import Path

from dn_text import read_dn

BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")
SKIPPED = 77

# openssl prints types as OIDs, so that nothing is lost in its own names for them. These are derkit's names for the
# types that it knows (RFC 4519, RFC 2985); others it prints as OIDs too.
OIDS = {
    "CN": "2.5.4.3",
    "SN": "2.5.4.4",
    "C": "2.5.4.6",
    "L": "2.5.4.7",
    "ST": "2.5.4.8",
    "STREET": "2.5.4.9",
    "O": "2.5.4.10",
    "OU": "2.5.4.11",
    "T": "2.5.4.12",
    "UID": "0.9.2342.19200300.100.1.1",
    "DC": "0.9.2342.19200300.100.1.25",
    "E": "1.2.840.113549.1.9.1",
}
# RDNs as encoded, types as OIDs, values in UTF-8 with RFC 2253's escapes, what is no string as hexadecimal DER.
NAME_OPTIONS = "oid,sep_comma_plus,utf8,esc_2253,esc_ctrl,dump_nostr,dump_der"


def names_by_openssl(certificate):
    command = ["openssl", "x509", "-noout", "-subject", "-issuer", "-nameopt", NAME_OPTIONS]
    out = subprocess.run(command, input=certificate, stdout=subprocess.PIPE, check=True).stdout.decode()
    return dict(line.split("=", 1) for line in out.splitlines())


def names_by_derkit(tool):
    # an empty map: no names of this machine's own
    command = [tool, "cert", "--json", "--oid-map", "/dev/null", BUNDLE]
    out = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode()
    return [json.loads(line) for line in out.splitlines()]


def main():
    if not BUNDLE.exists():
        print(f"skipped: no {BUNDLE}")
        return SKIPPED
    certificates = re.findall(rb"-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----\n", BUNDLE.read_bytes(), re.DOTALL)
    objects = names_by_derkit(os.environ["DERKIT_TOOL"])
    failures = 0
    if len(objects) != len(certificates):
        print(f"{len(certificates)} certificates, but derkit shows {len(objects)}")
        failures += 1
    for certificate, shown in zip(certificates, objects):
        expected = names_by_openssl(certificate)
        for field in "subject", "issuer":
            if read_dn(shown[field], OIDS) != read_dn(expected[field], {}):
                failures += 1
                print(f"certificate {shown['index']}, {field}:\n  derkit  {shown[field]}\n  openssl {expected[field]}")
    print(f"{2 * len(objects)} names compared, {failures} differ")
    return 1 if failures or not objects else 0


if __name__ == "__main__":
    sys.exit(main())
