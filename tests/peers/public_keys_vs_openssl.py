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

from peer import GOST_PARAM_SETS, KEY_ALGORITHMS, PSS_CODES, SIGNATURE_ALGORITHMS, Comparison, Workshop
from peer import option, printed_number, printed_signature_algorithm

NO_CODE = (0, None)


class KeyWorkshop(Workshop):
    """Keys, and what openssl and the probe read from them."""

    def __init__(self, comparison):
        super().__init__()
        self.comparison = comparison

    def public_key(self, key, gost=False):
        return self.openssl("pkey", "-in", key, "-pubout", "-outform", "DER", gost=gost)

    def names(self, der):
        """openssl's names of OIDs, in order."""
        return der and [element.value for element in self.elements(der) if element.tag == "OBJECT"]

    def probe(self, der):
        """Lines of the probe: a reader's result, or the bytes or the code of one of its fields."""
        command = [os.environ["DERKIT_PUBLIC_KEY_PROBE"], self.file(der)]
        out = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode()
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


def oid_element(content):
    return bytes([0x06, len(content)]) + content


def der_certificate(shop, key, *options, gost=False):
    return shop.certificate(key, "-outform", "DER", *options, gost=gost)


# Comparing


def compare_public_key(shop, case, der):
    """The parts of a SubjectPublicKeyInfo; returns what the probe printed, and the elements of the parameters."""
    same, shown, elements = shop.comparison.same, shop.probe(der), shop.elements(der)
    _, algorithm, oid = elements[:3]
    bits = next(element for element in elements if element.depth == 1 and element.tag == "BIT STRING")
    same(case, "public key", "1", shown["public_key"])
    same(case, "algorithm", hexadecimal(oid.content), shown["public_key.algorithm"])
    algorithm_name = shop.names(oid_element(bytes.fromhex(shown["public_key.algorithm"])))
    same(case, "name of the algorithm", [oid.value], algorithm_name)
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["public_key.parameters"])
    same(case, "key", hexadecimal(bits.content[1:]), shown["public_key.key"])
    same(case, "code", code_text(KEY_ALGORITHMS.get(oid.value, NO_CODE)[0]), shown["public_key.code"])
    return shown, [element for element in elements if oid.end <= element.offset < algorithm.end]


def compare_rsa(shop, case, der, bits):
    same = shop.comparison.same
    shown, _ = compare_public_key(shop, case, der)
    text = shop.openssl("pkey", "-pubin", "-inform", "DER", "-noout", "-text", input=der).decode()
    modulus = printed_number(text, "Modulus")
    exponent = int(re.search(r"Exponent: (\d+)", text)[1])
    same(case, "RSA key", "1", shown["rsa"])
    same(case, "modulus", magnitude(modulus), shown["rsa.modulus"])
    same(case, "exponent", integer_content(exponent), shown["rsa.exponent"])
    same(case, "size", bits, modulus.bit_length())


def compare_gost(shop, case, der):
    same = shop.comparison.same
    shown, parameters = compare_public_key(shop, case, der)
    text = shop.openssl("pkey", "-pubin", "-inform", "DER", "-noout", "-text", input=der, gost=True).decode()
    sets = [element for element in parameters[1:] if element.tag == "OBJECT"]
    # A digest parameter set is required.
    same(case, "GOST key", "1" if len(sets) >= 2 else "0", shown["gost"])
    if shown["gost"] != "1":
        return
    fields = ["gost.public_key_param_set", "gost.digest_param_set", "gost.encryption_param_set"]
    for field, expected in zip(fields, [*sets, None][:3]):
        same(case, field, hexadecimal(expected.der) if expected else "", shown[field])
        if expected:
            same(case, f"name of {field}", [expected.value], shop.names(bytes.fromhex(shown[field])))
    printed_set = re.search(r"Parameter set: (.*)", text)[1]
    same(case, "printed parameter set", [printed_set], shop.names(bytes.fromhex(shown[fields[0]])))
    # The point is both coordinates, each with its least significant octet first (RFC 4491 2.3.2).
    size = len(shown["gost.key"]) // 4
    x, y = (int(re.search(rf"{name}:([0-9A-F]+)", text)[1], 16) for name in "XY")
    point = x.to_bytes(size, "little") + y.to_bytes(size, "little")
    same(case, "point", hexadecimal(point), shown["gost.key"])


def compare_dsa_signature(shop, case, der):
    same, shown = shop.comparison.same, shop.probe(der)
    _, r, s = shop.elements(der)
    same(case, "DSA signature", "1", shown["dsa_signature"])
    for name, element in ("r", r), ("s", s):
        field = f"dsa_signature.{name}"
        same(case, f"{name} as printed", integer_content(int(element.value, 16)), shown[field])
        same(case, f"{name} as encoded", hexadecimal(element.content), shown[field])


def compare_certificate(shop, case, der, gost=False):
    """The signature algorithm; returns the certificate's public key and signature."""
    same, elements = shop.comparison.same, shop.elements(der)
    _, algorithm, signature = [element for element in elements if element.depth == 1]
    oid = next(element for element in elements if element.offset > algorithm.offset)
    shown = shop.probe(algorithm.der)
    same(case, "signature algorithm", "1", shown["signature_algorithm"])
    same(case, "OID", hexadecimal(oid.content), shown["signature_algorithm.oid"])
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["signature_algorithm.parameters"])
    text = shop.openssl("x509", "-inform", "DER", "-noout", "-text", input=der, gost=gost).decode()
    name, pss_hash = printed_signature_algorithm(text)
    code = PSS_CODES.get(pss_hash, 0) if name == "rsassaPss" else SIGNATURE_ALGORITHMS.get(name, NO_CODE)[0]
    same(case, f"code of {name} {pss_hash or ''}", code_text(code), shown["signature_algorithm.code"])
    pem = shop.openssl("x509", "-inform", "DER", "-noout", "-pubkey", input=der, gost=gost)
    return shop.openssl("pkey", "-pubin", "-outform", "DER", input=pem, gost=gost), signature.content[1:]


# Making


def check_rsa(shop):
    # More than two primes make no other public key, and large ones in a fraction of the time.
    for bits, primes, exponent in [
        (1024, 2, 3),
        (1024, 2, 65537),
        (1031, 2, 65537),  # no leading zero octet
        (2048, 2, 2147483649),  # a leading zero octet in the exponent, too
        (3072, 3, 65537),
        (4096, 4, 65537),
        (8192, 5, 65537),
    ]:
        options = option("rsa_keygen_bits", bits) + option("rsa_keygen_primes", primes)
        key = shop.make_key("-algorithm", "RSA", *options, *option("rsa_keygen_pubexp", exponent))
        compare_rsa(shop, f"RSA {bits} with exponent {exponent}", shop.public_key(key), bits)
    key = shop.make_key("-algorithm", "RSA", *option("rsa_keygen_bits", 2048))
    for digest in ["md5", "sha1", "sha224", "sha256", "sha384", "sha512", "sha512-256"]:
        case = f"certificate with RSA and {digest}"
        public_key, _ = compare_certificate(shop, case, der_certificate(shop, key, f"-{digest}"))
        compare_rsa(shop, case, public_key, 2048)


def check_rsassa_pss(shop):
    keys = {"RSA": shop.make_key("-algorithm", "RSA", *option("rsa_keygen_bits", 2048))}
    keys["RSASSA-PSS"] = shop.make_key("-algorithm", "RSA-PSS", *option("rsa_keygen_bits", 2048))
    for digest in ["sha1", "sha256", "sha512"]:
        options = option("rsa_pss_keygen_md", digest) + option("rsa_pss_keygen_mgf1_md", digest)
        options += option("rsa_keygen_bits", 2048)
        keys[f"RSASSA-PSS for {digest}"] = shop.make_key("-algorithm", "RSA-PSS", *options)
    for name, key in keys.items():
        compare_rsa(shop, f"key of {name}", shop.public_key(key), 2048)
    pss = ["-sigopt", "rsa_padding_mode:pss"]
    for name in "RSA", "RSASSA-PSS":
        for digest in ["sha1", "sha224", "sha256", "sha384", "sha512", "sha512-256"]:
            for salt in ["digest", "0", "max"]:
                case = f"certificate with PSS of {name}, {digest}, salt {salt}"
                options = [f"-{digest}", *pss, "-sigopt", f"rsa_pss_saltlen:{salt}"]
                public_key, _ = compare_certificate(shop, case, der_certificate(shop, keys[name], *options))
        compare_rsa(shop, case, public_key, 2048)
    for digest, mask_digest in [("sha1", "sha256"), ("sha256", "sha1"), ("sha512", "sha224")]:
        case = f"certificate with PSS, {digest}, mask of {mask_digest}"
        options = [f"-{digest}", *pss, "-sigopt", f"rsa_mgf1_md:{mask_digest}"]
        compare_certificate(shop, case, der_certificate(shop, keys["RSA"], *options))


def check_dsa(shop):
    for bits, q_bits in [(1024, 160), (2048, 224), (2048, 256)]:
        case = f"DSA {bits} with {q_bits}"
        key = shop.make_dsa_key(*option("dsa_paramgen_bits", bits), *option("dsa_paramgen_q_bits", q_bits))
        compare_public_key(shop, case, shop.public_key(key))
        for i in range(8):
            signature = shop.openssl("dgst", "-sha1", "-sign", key, input=bytes([i]))
            compare_dsa_signature(shop, f"{case}, signature {i}", signature)
        for digest in ["sha1", "sha256"]:
            certificate_case = f"certificate with {case} and {digest}"
            certificate = der_certificate(shop, key, f"-{digest}")
            public_key, signature = compare_certificate(shop, certificate_case, certificate)
            compare_public_key(shop, certificate_case, public_key)
            compare_dsa_signature(shop, certificate_case, signature)


def check_gost(shop):
    for algorithm, param_sets in GOST_PARAM_SETS.items():
        for param_set in param_sets:
            case = f"{algorithm} {param_set}"
            key = shop.make_key("-algorithm", algorithm, *option("paramset", param_set), gost=True)
            compare_gost(shop, case, shop.public_key(key, gost=True))
            certificate = der_certificate(shop, key, gost=True)
            public_key, _ = compare_certificate(shop, f"certificate of {case}", certificate, gost=True)
            compare_gost(shop, f"certificate of {case}", public_key)
    compare_gost(shop, "gost2001 A with an encryption set", with_encryption_set(shop))


def with_encryption_set(shop):
    """gost-engine leaves the third parameter set out; openssl can still write it."""
    key = shop.make_key("-algorithm", "gost2001", *option("paramset", "A"), gost=True)
    bits = next(element for element in shop.elements(shop.public_key(key, gost=True)) if element.tag == "BIT STRING")
    description = f"""
asn1 = SEQUENCE:key_info
[key_info]
algorithm = SEQUENCE:algorithm
key = FORMAT:HEX,BITSTRING:{bits.content[1:].hex()}
[algorithm]
oid = OID:1.2.643.2.2.19
parameters = SEQUENCE:parameters
[parameters]
public_key_param_set = OID:1.2.643.2.2.35.1
digest_param_set = OID:1.2.643.2.2.30.1
encryption_param_set = OID:1.2.643.2.2.31.1
"""
    out = shop.file()
    shop.openssl("asn1parse", "-noout", "-genconf", shop.file(description.encode()), "-out", out)
    return out.read_bytes()


def main():
    comparison = Comparison()
    shop = KeyWorkshop(comparison)
    for check in check_rsa, check_rsassa_pss, check_dsa, check_gost:
        check(shop)
    return comparison.exit_status("facts")


if __name__ == "__main__":
    sys.exit(main())
