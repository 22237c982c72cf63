#!/usr/bin/env python3
"""Subjects and issuers of the system's root certificates: derkit and openssl read the same from each."""

import sys
from pathlib import Path

from dn_text import read_dn
from peer import BUNDLE, Comparison, Workshop, bundled_certificates, derkit, skip

sys.path.insert(0, str(Path(__file__).parents[1] / "data"))
import vectors

# RDNs as encoded, types as OIDs, values in UTF-8 with RFC 2253's escapes, what is no string as hexadecimal DER. The OIDs
# lose nothing in openssl's own names for types.
NAME_OPTIONS = "oid,sep_comma_plus,utf8,esc_2253,esc_ctrl,dump_nostr,dump_der"


def oids_of_types():
    """OIDs of the types that derkit names; others it prints as OIDs too."""
    case = next(case for case in vectors.read("names.txt") if case.field("case") == "all names of the built in map")
    oids, names = (read_dn(case.text(field).decode(), {}) for field in ("text", "canonical"))
    return {name: oid for [(name, _)], [(oid, _)] in zip(names, oids, strict=True)}


def names_by_openssl(shop, certificate):
    out = shop.openssl("x509", "-noout", "-subject", "-issuer", "-nameopt", NAME_OPTIONS, input=certificate).decode()
    return dict(line.split("=", 1) for line in out.splitlines())


def main():
    certificates = bundled_certificates()
    if not certificates:
        skip(f"no {BUNDLE}")
    comparison, shop, oids = Comparison(), Workshop(), oids_of_types()
    for certificate, shown in zip(certificates, derkit("cert", BUNDLE), strict=True):
        expected = names_by_openssl(shop, certificate)
        for field in "subject", "issuer":
            name = f"certificate {shown['index']}"
            comparison.same(name, field, read_dn(expected[field], {}), read_dn(shown[field], oids))
    return comparison.exit_status("names")


if __name__ == "__main__":
    sys.exit(main())
