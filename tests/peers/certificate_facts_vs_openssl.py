#!/usr/bin/env python3
"""Serial number, validity, algorithms and keys of certificates: derkit and openssl read the same from each.

The certificates are the system's root certificates and some that openssl makes in a temporary folder, those of GOST by
its engine. DERKIT_TOOL is the tool.
"""

import calendar
import re
import sys
import time

from peer import GOST_PARAM_SETS, KEY_ALGORITHMS, SIGNATURE_ALGORITHMS, Comparison, Workshop, bundled_certificates
from peer import derkit, option, printed_number, printed_signature_algorithm

CURVE_NAMES = {"prime256v1": "secp256r1"}
# Shown by derkit only if openssl shows it.
OPTIONAL_FACTS = ["public_key_bits", "curve_oid", "param_set_oid", "digest_param_set_oid", "encryption_param_set_oid"]


def derkit_name(algorithms, name):
    """Algorithms that are not in the table have the same name in both."""
    return algorithms[name][1] if name in algorithms else name


def made(shop):
    """Certificates as PEM, by what they are made of."""

    def rsa(*options):
        return shop.certificate(shop.make_key("-algorithm", "RSA", *option("rsa_keygen_bits", 1031)), *options)

    pss = ["-sigopt", "rsa_padding_mode:pss"]
    yield "RSA", rsa("-sha512", "-set_serial", "0x80FF")
    yield "serial 0", rsa("-set_serial", "0")
    yield "negative serial", rsa("-set_serial", "-256")
    yield "times beyond 2050", rsa("-days", "20000")
    yield "PSS with SHA-384", rsa("-sha384", *pss)
    yield "PSS with SHA-1", rsa("-sha1", *pss)
    pss_key = shop.make_key("-algorithm", "RSA-PSS", *option("rsa_keygen_bits", 1024))
    yield "key for PSS", shop.certificate(pss_key, "-sha256")
    yield "DSA", shop.certificate(shop.make_dsa_key(*option("dsa_paramgen_bits", 1024)), "-sha256")
    yield "Ed25519", shop.certificate(shop.make_key("-algorithm", "ED25519"))
    for curve in "P-224", "P-521":
        key = shop.make_key("-algorithm", "EC", *option("ec_paramgen_curve", curve))
        yield curve, shop.certificate(key, "-sha256")
    for algorithm, sets in GOST_PARAM_SETS.items():
        for param_set in sets:
            key = shop.make_key("-algorithm", algorithm, *option("paramset", param_set), gost=True)
            yield f"{algorithm} {param_set}", shop.certificate(key, gost=True)


def gmt(text):
    """openssl's time in derkit's layout."""
    seconds = calendar.timegm(time.strptime(text, "%b %d %H:%M:%S %Y GMT"))
    return "{2:02}.{1:02}.{0} {3:02}:{4:02}:{5:02} GMT".format(*time.gmtime(seconds))


def dotted(content):
    arcs, number = [], 0
    for octet in content:
        number = number << 7 | octet & 0x7F
        if octet < 0x80:
            arcs.append(number)
            number = 0
    first = min(arcs[0] // 40, 2)
    return ".".join(map(str, [first, arcs[0] - 40 * first, *arcs[1:]]))


def signature_name(text):
    name, pss_hash = printed_signature_algorithm(text)
    return f"{pss_hash}RSASSA-PSS" if name == "rsassaPss" else derkit_name(SIGNATURE_ALGORITHMS, name)


def key_facts(shop, pem, text):
    public_key = shop.openssl("x509", "-noout", "-pubkey", input=pem, gost=True)
    der = shop.openssl("pkey", "-pubin", "-outform", "DER", input=public_key, gost=True)
    algorithm, *parameters = (dotted(e.content) for e in shop.elements(der) if e.tag == "OBJECT")
    name = re.search(r"Public Key Algorithm: (.*\S)", text)[1]
    facts = {"public_key_algorithm": derkit_name(KEY_ALGORITHMS, name), "public_key_algorithm_oid": algorithm}
    if name in ("rsaEncryption", "rsassaPss", "dsaEncryption"):
        p = printed_number(text, "P")  # for DSA, the text shows the size of y
        size = p.bit_length() if p else re.search(r"Public-Key: \((\d+) bit\)", text)[1]
        facts["public_key_bits"] = int(size)
    elif name == "id-ecPublicKey":
        curve = re.search(r"ASN1 OID: (\S+)", text)[1]
        facts["curve"] = CURVE_NAMES.get(curve, curve)
        facts["curve_oid"] = parameters[0]
    elif name.startswith("GOST"):
        printed_x = re.search(r"X:([0-9A-F]+)", text)[1]
        facts["public_key_bits"] = 512 if len(printed_x) > 64 else 256
        facts["param_set"] = re.search(r"Parameter set: (.*\S)", text)[1]
        for key, oid in zip(["param_set_oid", "digest_param_set_oid", "encryption_param_set_oid"], parameters):
            facts[key] = oid
    return facts


def facts_by_openssl(shop, pem):
    out = shop.openssl("x509", "-noout", "-serial", "-dates", input=pem).decode()
    lines = dict(line.split("=", 1) for line in out.splitlines())
    text = shop.openssl("x509", "-noout", "-text", input=pem, gost=True).decode(errors="replace")
    return {
        "serial": lines["serial"],
        "not_before": gmt(lines["notBefore"]),
        "not_after": gmt(lines["notAfter"]),
        "signature_algorithm": signature_name(text),
        **key_facts(shop, pem, text),
    }


def same_param_set(shop, openssl_name, oid):
    """openssl has long names of its own for the parameter sets."""
    printed = shop.openssl("asn1parse", "-genstr", f"OID:{oid}", gost=True).decode()
    return printed.rstrip("\n").endswith(":" + openssl_name)


def compare(comparison, shop, case, pem, shown):
    expected = facts_by_openssl(shop, pem)
    for key, value in expected.items():
        if key != "param_set":
            comparison.same(case, key, value, shown.get(key))
        elif not same_param_set(shop, value, shown["param_set_oid"]):
            comparison.fail(f"{case}: parameter set {shown['param_set_oid']} is not {value}")
    for key in set(OPTIONAL_FACTS) - set(expected):
        comparison.same(case, key, None, shown.get(key))


def main():
    comparison, shop = Comparison(), Workshop()
    cases = [*made(shop), *((f"root certificate {i}", pem) for i, pem in enumerate(bundled_certificates(), 1))]
    everything = b"".join(pem for _, pem in cases)
    certificates, keys = derkit("cert", input=everything), derkit("spki", input=everything)
    for (case, pem), certificate, key in zip(cases, certificates, keys, strict=True):
        compare(comparison, shop, case, pem, certificate)
        for field in set(key) - {"file", "index"}:
            comparison.same(case, f"{field} of spki", certificate.get(field), key[field])
    return comparison.exit_status(f"facts of {len(cases)} certificates")


if __name__ == "__main__":
    sys.exit(main())
