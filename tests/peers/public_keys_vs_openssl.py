#!/usr/bin/env python3
"""Public keys, signature values and signature algorithms: derkit reads what openssl made, as openssl itself reads it.

Everything is made anew in a temporary folder: RSA, RSASSA-PSS, DSA and (by gost-engine) GOST keys, certificates and
signatures. DERKIT_PUBLIC_KEY_PROBE is the program that prints what derkit's readers return.
"""

import os
import re
import subprocess
import sys
from collections import defaultdict

from peer import GOST_PARAM_SETS, KEY_ALGORITHMS, PSS_CODES, SIGNATURE_ALGORITHMS, Comparison
from peer import certificate, elements, gost, make_dsa_key, make_key, printed_number, printed_signature_algorithm
from der import GOST_2001, OBJECT_IDENTIFIER, algorithm, element, param_sets, public_key, unpem

NO_CODE = (0, None)


def public_der(key):
    return gost("pkey", "-in", key, "-pubout", "-outform", "DER")


def names(der):
    """openssl's names of OIDs, in order."""
    return der and [element.value for element in elements(der) if element.tag == "OBJECT"]


def probe(der):
    """Lines of the probe: a reader's result, or the bytes or the code of one of its fields."""
    out = subprocess.run([os.environ["DERKIT_PUBLIC_KEY_PROBE"]], input=der, stdout=subprocess.PIPE, check=True).stdout.decode()
    return defaultdict(str, (line.split(" ", 1) for line in out.splitlines()))


def integer_content(number):
    """Content octets of a positive INTEGER (X.690 8.3), as the probe prints them."""
    return number.to_bytes(number.bit_length() // 8 + 1, "big").hex().upper()


def magnitude(number):
    return number.to_bytes((number.bit_length() + 7) // 8, "big").hex().upper()


def hexadecimal(octets):
    return octets.hex().upper()


def code_text(code):
    return f"0x{code:08X}"


def der_certificate(key, *options):
    return certificate(key, "-outform", "DER", *options)


# Comparing


def compare_public_key(comparison, case, der):
    """The parts of a SubjectPublicKeyInfo; returns what the probe printed, and the elements of the parameters."""
    same, shown, parts = comparison.same, probe(der), elements(der)
    _, algorithm, oid = parts[:3]
    bits = next(element for element in parts if element.depth == 1 and element.tag == "BIT STRING")
    same(case, "public key", "1", shown["public_key"])
    same(case, "algorithm", hexadecimal(oid.content), shown["public_key.algorithm"])
    algorithm_name = names(element(OBJECT_IDENTIFIER, bytes.fromhex(shown["public_key.algorithm"])))
    same(case, "name of the algorithm", [oid.value], algorithm_name)
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["public_key.parameters"])
    same(case, "key", hexadecimal(bits.content[1:]), shown["public_key.key"])
    same(case, "code", code_text(KEY_ALGORITHMS.get(oid.value, NO_CODE)[0]), shown["public_key.code"])
    return shown, [element for element in parts if oid.end <= element.offset < algorithm.end]


def compare_rsa(comparison, case, der, bits):
    same = comparison.same
    shown, _ = compare_public_key(comparison, case, der)
    text = gost("pkey", "-pubin", "-inform", "DER", "-noout", "-text", stdin=der).decode()
    modulus = printed_number(text, "Modulus")
    exponent = int(re.search(r"Exponent: (\d+)", text)[1])
    same(case, "RSA key", "1", shown["rsa"])
    same(case, "modulus", magnitude(modulus), shown["rsa.modulus"])
    same(case, "exponent", integer_content(exponent), shown["rsa.exponent"])
    same(case, "size", bits, modulus.bit_length())


def compare_gost(comparison, case, der):
    same = comparison.same
    shown, parameters = compare_public_key(comparison, case, der)
    text = gost("pkey", "-pubin", "-inform", "DER", "-noout", "-text", stdin=der).decode()
    sets = [element for element in parameters[1:] if element.tag == "OBJECT"]
    # A digest parameter set is required.
    same(case, "GOST key", "1" if len(sets) >= 2 else "0", shown["gost"])
    if shown["gost"] != "1":
        return
    fields = ["gost.public_key_param_set", "gost.digest_param_set", "gost.encryption_param_set"]
    for field, expected in zip(fields, [*sets, None][:3]):
        same(case, field, hexadecimal(expected.der) if expected else "", shown[field])
        if expected:
            same(case, f"name of {field}", [expected.value], names(bytes.fromhex(shown[field])))
    printed_set = re.search(r"Parameter set: (.*)", text)[1]
    same(case, "printed parameter set", [printed_set], names(bytes.fromhex(shown[fields[0]])))
    # The point is both coordinates, each with its least significant octet first (RFC 4491 2.3.2).
    size = len(shown["gost.key"]) // 4
    x, y = (int(re.search(rf"{name}:([0-9A-F]+)", text)[1], 16) for name in "XY")
    point = x.to_bytes(size, "little") + y.to_bytes(size, "little")
    same(case, "point", hexadecimal(point), shown["gost.key"])


def compare_dsa_signature(comparison, case, der):
    same, shown = comparison.same, probe(der)
    _, r, s = elements(der)
    same(case, "DSA signature", "1", shown["dsa_signature"])
    for name, element in ("r", r), ("s", s):
        field = f"dsa_signature.{name}"
        same(case, f"{name} as printed", integer_content(int(element.value, 16)), shown[field])
        same(case, f"{name} as encoded", hexadecimal(element.content), shown[field])


def compare_certificate(comparison, case, der):
    """The signature algorithm; returns the certificate's public key and signature."""
    same, parts = comparison.same, elements(der)
    _, algorithm, signature = [element for element in parts if element.depth == 1]
    oid = next(element for element in parts if element.offset > algorithm.offset)
    shown = probe(algorithm.der)
    same(case, "signature algorithm", "1", shown["signature_algorithm"])
    same(case, "OID", hexadecimal(oid.content), shown["signature_algorithm.oid"])
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["signature_algorithm.parameters"])
    text = gost("x509", "-inform", "DER", "-noout", "-text", stdin=der).decode()
    name, pss_hash = printed_signature_algorithm(text)
    code = PSS_CODES.get(pss_hash, 0) if name == "rsassaPss" else SIGNATURE_ALGORITHMS.get(name, NO_CODE)[0]
    same(case, f"code of {name} {pss_hash or ''}", code_text(code), shown["signature_algorithm.code"])
    [public_key] = unpem(gost("x509", "-inform", "DER", "-noout", "-pubkey", stdin=der))
    return public_key, signature.content[1:]


# Making


def check_rsa(comparison):
    # With more than two primes, large keys take a fraction of the time, and public keys look the same.
    for bits, primes, exponent in [
        (1024, 2, 3),
        (1024, 2, 65537),
        (1031, 2, 65537),  # no leading zero octet
        (2048, 2, 2147483649),  # a leading zero octet in the exponent, too
        (3072, 3, 65537),
        (4096, 4, 65537),
        (8192, 5, 65537),
    ]:
        key = make_key("RSA", rsa_keygen_bits=bits, rsa_keygen_primes=primes, rsa_keygen_pubexp=exponent)
        compare_rsa(comparison, f"RSA {bits} with exponent {exponent}", public_der(key), bits)
    key = make_key("RSA", rsa_keygen_bits=2048)
    for digest in ["md5", "sha1", "sha224", "sha256", "sha384", "sha512", "sha512-256"]:
        case = f"certificate with RSA and {digest}"
        public_key, _ = compare_certificate(comparison, case, der_certificate(key, f"-{digest}"))
        compare_rsa(comparison, case, public_key, 2048)


def check_rsassa_pss(comparison):
    keys = {"RSA": make_key("RSA", rsa_keygen_bits=2048)}
    keys["RSASSA-PSS"] = make_key("RSA-PSS", rsa_keygen_bits=2048)
    for digest in ["sha1", "sha256", "sha512"]:
        options = {"rsa_pss_keygen_md": digest, "rsa_pss_keygen_mgf1_md": digest}
        keys[f"RSASSA-PSS for {digest}"] = make_key("RSA-PSS", rsa_keygen_bits=2048, **options)
    for name, key in keys.items():
        compare_rsa(comparison, f"key of {name}", public_der(key), 2048)
    pss = ["-sigopt", "rsa_padding_mode:pss"]
    for name in "RSA", "RSASSA-PSS":
        for digest in ["sha1", "sha224", "sha256", "sha384", "sha512", "sha512-256"]:
            for salt in ["digest", "0", "max"]:
                case = f"certificate with PSS of {name}, {digest}, salt {salt}"
                options = [f"-{digest}", *pss, "-sigopt", f"rsa_pss_saltlen:{salt}"]
                public_key, _ = compare_certificate(comparison, case, der_certificate(keys[name], *options))
        compare_rsa(comparison, case, public_key, 2048)
    for digest, mask_digest in [("sha1", "sha256"), ("sha256", "sha1"), ("sha512", "sha224")]:
        case = f"certificate with PSS, {digest}, mask of {mask_digest}"
        options = [f"-{digest}", *pss, "-sigopt", f"rsa_mgf1_md:{mask_digest}"]
        compare_certificate(comparison, case, der_certificate(keys["RSA"], *options))


def check_dsa(comparison):
    for bits, q_bits in [(1024, 160), (2048, 224), (2048, 256)]:
        case = f"DSA {bits} with {q_bits}"
        key = make_dsa_key(dsa_paramgen_bits=bits, dsa_paramgen_q_bits=q_bits)
        compare_public_key(comparison, case, public_der(key))
        for i in range(8):
            signature = gost("dgst", "-sha1", "-sign", key, stdin=bytes([i]))
            compare_dsa_signature(comparison, f"{case}, signature {i}", signature)
        for digest in ["sha1", "sha256"]:
            certificate_case = f"certificate with {case} and {digest}"
            public_key, signature = compare_certificate(comparison, certificate_case, der_certificate(key, f"-{digest}"))
            compare_public_key(comparison, certificate_case, public_key)
            compare_dsa_signature(comparison, certificate_case, signature)


def check_gost(comparison):
    for algorithm, param_sets in GOST_PARAM_SETS.items():
        for param_set in param_sets:
            case = f"{algorithm} {param_set}"
            key = make_key(algorithm, paramset=param_set)
            compare_gost(comparison, case, public_der(key))
            public_key, _ = compare_certificate(comparison, f"certificate of {case}", der_certificate(key))
            compare_gost(comparison, f"certificate of {case}", public_key)
    compare_gost(comparison, "gost2001 A with an encryption set", with_encryption_set())


def with_encryption_set():
    """Adds the third parameter set, which gost-engine leaves out."""
    parts = elements(public_der(make_key("gost2001", paramset="A")))
    bits = next(element for element in parts if element.tag == "BIT STRING").content[1:]
    sets = param_sets("1.2.643.2.2.35.1", "1.2.643.2.2.30.1", "1.2.643.2.2.31.1")
    return public_key(algorithm(GOST_2001, sets), bits)


def main():
    comparison = Comparison()
    for check in check_rsa, check_rsassa_pss, check_dsa, check_gost:
        check(comparison)
    return comparison.exit_status("facts")


if __name__ == "__main__":
    sys.exit(main())
