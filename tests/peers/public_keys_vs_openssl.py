#!/usr/bin/env python3
"""Public keys, signature values and signature algorithms: derkit reads what openssl made, as openssl itself reads it.

Everything is made anew in a temporary folder: RSA, RSASSA-PSS, DSA and (by gost-engine) GOST keys, certificates and
signatures. DERKIT_PUBLIC_KEY_PROBE is the program that prints what derkit's readers give.
"""

import os
import re
import subprocess
import sys
import tempfile
from collections import defaultdict, namedtuple
from pathlib import Path

GOST_CONFIG = (Path(__file__).parent / "gost_engine.cnf").read_text(encoding="ascii")
PLAIN_CONFIG = "[req]\ndistinguished_name = dn\n[dn]\n"

# openssl's names of algorithms, and derkit's codes (pki_alg_t). What is not here has no code.
KEY_CODES = {
    "rsaEncryption": 0x00000001,
    "dsaEncryption": 0x00000003,
    "GOST R 34.10-2001": 0x0000010E,
    "GOST R 34.10-2012 with 256 bit modulus": 0x0000010F,
    "GOST R 34.10-2012 with 512 bit modulus": 0x00000110,
}
SIGNATURE_CODES = {
    "md5WithRSAEncryption": 0x00080001,
    "sha1WithRSAEncryption": 0x00020001,
    "sha224WithRSAEncryption": 0x00030001,
    "sha256WithRSAEncryption": 0x00040001,
    "sha384WithRSAEncryption": 0x00050001,
    "sha512WithRSAEncryption": 0x00060001,
    "dsaWithSHA1": 0x00020003,
    "GOST R 34.11-94 with GOST R 34.10-2001": 0x0009010E,
    "GOST R 34.10-2012 with GOST R 34.11-2012 (256 bit)": 0x000A010F,
    "GOST R 34.10-2012 with GOST R 34.11-2012 (512 bit)": 0x000B0110,
}
PSS_CODES = {"sha1": 0x00020002, "sha224": 0x00030002, "sha256": 0x00040002, "sha384": 0x00050002, "sha512": 0x00060002}

GOST_PARAM_SETS = {
    "gost2001": ["0", "A", "B", "C", "XA", "XB"],
    "gost2012_256": ["0", "A", "B", "C", "XA", "XB", "TCA", "TCB", "TCC", "TCD"],
    "gost2012_512": ["A", "B", "C"],
}

Element = namedtuple("Element", "offset depth end tag value content der")


class Comparison:
    """Counts what was compared and says what differs."""

    def __init__(self):
        self.compared = 0
        self.failures = 0

    def same(self, case, what, openssl, derkit):
        self.compared += 1
        if openssl != derkit:
            self.failures += 1
            print(f"{case}, {what}:\n  openssl {openssl}\n  derkit  {derkit}")


class Workshop:
    """A folder in which openssl makes files and takes them apart."""

    def __init__(self, folder, comparison):
        self.folder = Path(folder)
        self.comparison = comparison
        self.count = 0
        (self.folder / "gost.cnf").write_text(GOST_CONFIG)
        (self.folder / "plain.cnf").write_text(PLAIN_CONFIG)

    def file(self, content=None):
        self.count += 1
        path = self.folder / str(self.count)
        if content is not None:
            path.write_bytes(content)
        return path

    def openssl(self, *args, input=None, gost=False):
        env = dict(os.environ, OPENSSL_CONF=str(self.folder / ("gost.cnf" if gost else "plain.cnf")))
        run = subprocess.run(["openssl", *map(str, args)], input=input, env=env, capture_output=True)
        if run.returncode != 0:
            raise RuntimeError(f"openssl {' '.join(map(str, args))}: {run.stderr.decode(errors='replace').strip()}")
        return run.stdout

    def make_key(self, *args, gost=False):
        path = self.file()
        self.openssl("genpkey", "-out", path, *args, gost=gost)
        return path

    def public_key(self, key, gost=False):
        return self.openssl("pkey", "-in", key, "-pubout", "-outform", "DER", gost=gost)

    def certificate(self, key, *args, gost=False):
        args = ["-x509", "-key", key, "-subj", "/CN=test", "-outform", "DER", *args]
        return self.openssl("req", *args, gost=gost)

    def elements(self, der):
        """What asn1parse lists."""
        lines = self.openssl("asn1parse", "-inform", "DER", input=der).decode().splitlines()
        pattern = re.compile(r" *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) (?:prim|cons): ([^:]*?) *(?::(.*))?$")
        found = []
        for line in lines:
            offset, depth, header, length, tag, value = pattern.match(line).groups()
            begin, end = int(offset) + int(header), int(offset) + int(header) + int(length)
            found.append(Element(int(offset), int(depth), end, tag, value, der[begin:end], der[int(offset) : end]))
        return found

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


# Comparing


def compare_public_key(shop, case, der):
    """The parts of a SubjectPublicKeyInfo; gives what the probe printed, and the elements of the parameters."""
    same, shown, elements = shop.comparison.same, shop.probe(der), shop.elements(der)
    _, algorithm, oid = elements[:3]
    bits = next(element for element in elements if element.depth == 1 and element.tag == "BIT STRING")
    same(case, "public key", "1", shown["public_key"])
    same(case, "algorithm", hexadecimal(oid.content), shown["public_key.algorithm"])
    algorithm_name = shop.names(oid_element(bytes.fromhex(shown["public_key.algorithm"])))
    same(case, "name of the algorithm", [oid.value], algorithm_name)
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["public_key.parameters"])
    same(case, "key", hexadecimal(bits.content[1:]), shown["public_key.key"])
    same(case, "code", code_text(KEY_CODES.get(oid.value, 0)), shown["public_key.code"])
    return shown, [element for element in elements if oid.end <= element.offset < algorithm.end]


def compare_rsa(shop, case, der, bits):
    same = shop.comparison.same
    shown, _ = compare_public_key(shop, case, der)
    text = shop.openssl("pkey", "-pubin", "-inform", "DER", "-noout", "-text", input=der).decode()
    modulus = int(re.sub(r"[\s:]", "", re.search(r"Modulus:\n((?:\s+[0-9a-f:]+\n)+)", text)[1]), 16)
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
    """The signature algorithm; gives the certificate's public key and signature."""
    same, elements = shop.comparison.same, shop.elements(der)
    _, algorithm, signature = [element for element in elements if element.depth == 1]
    oid = next(element for element in elements if element.offset > algorithm.offset)
    shown = shop.probe(algorithm.der)
    same(case, "signature algorithm", "1", shown["signature_algorithm"])
    same(case, "OID", hexadecimal(oid.content), shown["signature_algorithm.oid"])
    same(case, "parameters", hexadecimal(der[oid.end : algorithm.end]), shown["signature_algorithm.parameters"])
    text = shop.openssl("x509", "-inform", "DER", "-noout", "-text", input=der, gost=gost).decode()
    name, pss_hash = re.search(r"Signature Algorithm: (.*\S)\s*\n(?:\s+Hash Algorithm: (\S+))?", text).groups()
    code = PSS_CODES.get(pss_hash, 0) if name == "rsassaPss" else SIGNATURE_CODES.get(name, 0)
    same(case, f"code of {name} {pss_hash or ''}", code_text(code), shown["signature_algorithm.code"])
    pem = shop.openssl("x509", "-inform", "DER", "-noout", "-pubkey", input=der, gost=gost)
    return shop.openssl("pkey", "-pubin", "-outform", "DER", input=pem, gost=gost), signature.content[1:]


# Making


def option(name, value):
    return ["-pkeyopt", f"{name}:{value}"]


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
        public_key, _ = compare_certificate(shop, case, shop.certificate(key, f"-{digest}"))
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
                public_key, _ = compare_certificate(shop, case, shop.certificate(keys[name], *options))
        compare_rsa(shop, case, public_key, 2048)
    for digest, mask_digest in [("sha1", "sha256"), ("sha256", "sha1"), ("sha512", "sha224")]:
        case = f"certificate with PSS, {digest}, mask of {mask_digest}"
        options = [f"-{digest}", *pss, "-sigopt", f"rsa_mgf1_md:{mask_digest}"]
        compare_certificate(shop, case, shop.certificate(keys["RSA"], *options))


def check_dsa(shop):
    for bits, q_bits in [(1024, 160), (2048, 224), (2048, 256)]:
        case = f"DSA {bits} with {q_bits}"
        parameters = shop.file()
        options = option("dsa_paramgen_bits", bits) + option("dsa_paramgen_q_bits", q_bits)
        shop.openssl("genpkey", "-genparam", "-algorithm", "DSA", *options, "-out", parameters)
        key = shop.make_key("-paramfile", parameters)
        compare_public_key(shop, case, shop.public_key(key))
        for i in range(8):
            signature = shop.openssl("dgst", "-sha1", "-sign", key, input=bytes([i]))
            compare_dsa_signature(shop, f"{case}, signature {i}", signature)
        for digest in ["sha1", "sha256"]:
            certificate_case = f"certificate with {case} and {digest}"
            certificate = shop.certificate(key, f"-{digest}")
            public_key, signature = compare_certificate(shop, certificate_case, certificate)
            compare_public_key(shop, certificate_case, public_key)
            compare_dsa_signature(shop, certificate_case, signature)


def check_gost(shop):
    for algorithm, param_sets in GOST_PARAM_SETS.items():
        for param_set in param_sets:
            case = f"{algorithm} {param_set}"
            key = shop.make_key("-algorithm", algorithm, *option("paramset", param_set), gost=True)
            compare_gost(shop, case, shop.public_key(key, gost=True))
            certificate = shop.certificate(key, gost=True)
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
    with tempfile.TemporaryDirectory() as folder:
        shop = Workshop(folder, comparison)
        for check in check_rsa, check_rsassa_pss, check_dsa, check_gost:
            check(shop)
    print(f"{comparison.compared} facts compared, {comparison.failures} differ")
    return 1 if comparison.failures else 0


if __name__ == "__main__":
    sys.exit(main())
