#!/usr/bin/env python3
"""Serial number, validity, algorithms and keys of certificates: derkit and openssl read the same from each.

The certificates are the system's root certificates and some that openssl makes in a temporary folder, those of GOST by
its engine. DERKIT_TOOL is the tool.
"""

import re
import sys
import time

from peer import GOST_PARAM_SETS, KEY_ALGORITHMS, SIGNATURE_ALGORITHMS, Comparison, bundled_certificates, certificate
from peer import derkit, elements, gost, make_dsa_key, make_key, printed_number, printed_signature_algorithm
from der import oid_content, unpem

CURVE_NAMES = {"prime256v1": "secp256r1"}
# Shown by derkit only if openssl shows it.
OPTIONAL_FACTS = ["public_key_bits", "curve_oid", "param_set_oid", "digest_param_set_oid", "encryption_param_set_oid"]


def derkit_name(algorithms, name):
    """Algorithms that are not in the table have the same name in both."""
    return algorithms[name][1] if name in algorithms else name


def made():
    """Certificates as PEM, by what they are made of."""

    def rsa(*options):
        return certificate(make_key("RSA", rsa_keygen_bits=1031), *options)

    pss = ["-sigopt", "rsa_padding_mode:pss"]
    yield "RSA", rsa("-sha512", "-set_serial", "0x80FF")
    yield "serial 0", rsa("-set_serial", "0")
    yield "negative serial", rsa("-set_serial", "-256")
    yield "times beyond 2050", rsa("-days", "20000")
    yield "PSS with SHA-384", rsa("-sha384", *pss)
    yield "PSS with SHA-1", rsa("-sha1", *pss)
    pss_key = make_key("RSA-PSS", rsa_keygen_bits=1024)
    yield "key for PSS", certificate(pss_key, "-sha256")
    yield "DSA", certificate(make_dsa_key(dsa_paramgen_bits=1024), "-sha256")
    yield "Ed25519", certificate(make_key("ED25519"))
    for curve in "P-224", "P-521":
        key = make_key("EC", ec_paramgen_curve=curve)
        yield curve, certificate(key, "-sha256")
    for algorithm, sets in GOST_PARAM_SETS.items():
        for param_set in sets:
            key = make_key(algorithm, paramset=param_set)
            yield f"{algorithm} {param_set}", certificate(key)


def gmt(text):
    """Returns openssl's time in derkit's layout."""
    return time.strftime("%Y-%m-%dT%H:%M:%SZ", time.strptime(text, "%b %d %H:%M:%S %Y GMT"))


def signature_name(text):
    name, pss_hash = printed_signature_algorithm(text)
    return f"{pss_hash}RSASSA-PSS" if name == "rsassaPss" else derkit_name(SIGNATURE_ALGORITHMS, name)


def key_facts(der, text):
    algorithm, *parameters = (e.content for e in elements(der) if e.tag == "OBJECT")
    name = re.search(r"Public Key Algorithm: (.*\S)", text)[1]
    facts = {"public_key_algorithm": derkit_name(KEY_ALGORITHMS, name), "public_key_algorithm_oid": algorithm}
    if name in ("rsaEncryption", "rsassaPss", "dsaEncryption"):
        p = printed_number(text, "P")  # for DSA, the text shows the size of y
        size = p.bit_length() if p else re.search(r"Public-Key: \((\d+) bit\)", text)[1]
        facts["public_key_bits"] = int(size)
    elif name == "id-ecPublicKey":
        curve = re.search(r"ASN1 OID: (\S+)", text)[1]
        facts["curve"] = CURVE_NAMES.get(curve, curve)
        facts["public_key_bits"] = int(re.search(r"Public-Key: \((\d+) bit\)", text)[1])
        facts["curve_oid"] = parameters[0]
    elif name.startswith("GOST"):
        printed_x = re.search(r"X:([0-9A-F]+)", text)[1]
        facts["public_key_bits"] = 512 if len(printed_x) > 64 else 256
        facts["param_set"] = re.search(r"Parameter set: (.*\S)", text)[1]
        for key, oid in zip(["param_set_oid", "digest_param_set_oid", "encryption_param_set_oid"], parameters):
            facts[key] = oid
    return facts


def rsa_numbers(text):
    modulus, exponent = printed_number(text, "Modulus"), re.search(r"Exponent: (\d+)", text)
    if not modulus or not exponent:
        return {}
    numbers = {"modulus": modulus, "exponent": int(exponent[1])}
    return {key: number.to_bytes((number.bit_length() + 7) // 8, "big").hex().upper() for key, number in numbers.items()}


def facts_by_openssl(pem):
    out = gost("x509", "-noout", "-serial", "-dates", "-pubkey", "-text", stdin=pem)
    [public_key], text = unpem(out), out.decode(errors="replace")
    serial, not_before, not_after = (
        re.search(f"^{name}=(.*)", text, re.MULTILINE)[1] for name in ("serial", "notBefore", "notAfter"))
    return {
        "serial": serial,
        "not_before": gmt(not_before),
        "not_after": gmt(not_after),
        "signature_algorithm": signature_name(text),
        **key_facts(public_key, text),
        **rsa_numbers(text),
    }


def same_param_set(openssl_name, oid):
    """openssl has long names of its own for the parameter sets."""
    printed = gost("asn1parse", "-genstr", f"OID:{oid}").decode()
    return printed.rstrip("\n").endswith(":" + openssl_name)


def compare(comparison, case, pem, shown, shown_key):
    """Only spki shows the numbers of an RSA key, beside facts that cert shows too."""
    expected = facts_by_openssl(pem)
    numbers = {field: expected.pop(field) for field in ("modulus", "exponent") if field in expected}
    for field in set(shown_key) - {"format", "object", "file", "index"}:
        comparison.same(case, f"{field} of spki", (shown | numbers).get(field), shown_key[field])
    encoded = {key: oid_content(value) for key, value in shown.items() if key in expected and key.endswith("_oid")}
    for key, value in expected.items():
        if key != "param_set":
            comparison.same(case, key, value, (shown | encoded).get(key))
        elif not same_param_set(value, shown["param_set_oid"]):
            comparison.fail(f"{case}: parameter set {shown['param_set_oid']} is not {value}")
    for key in set(OPTIONAL_FACTS) - set(expected):
        comparison.same(case, key, None, shown.get(key))


def main():
    comparison = Comparison()
    cases = [*made(), *((f"root certificate {i}", pem) for i, pem in enumerate(bundled_certificates(), 1))]
    everything = b"".join(pem for _, pem in cases)
    certificates, keys = (derkit(command, "-", stdin=everything) for command in ("cert", "spki"))
    for (case, pem), certificate, key in zip(cases, certificates, keys, strict=True):
        compare(comparison, case, pem, certificate, key)
    return comparison.exit_status(f"facts of {len(cases)} certificates")


if __name__ == "__main__":
    sys.exit(main())
