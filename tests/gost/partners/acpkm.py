"""Kuznyechik and Magma in CTR-ACPKM and their OMAC (RFC 8645, RFC 9337), of openssl's single ciphers.

gost-engine itself has the sections of TLS only; here a section may have any size.
"""

import functools
import re

import openssl
from der import element, integer, octet_string, oid, sequence
from openssl import gost
from pfx import PBES2, PBKDF2, SALT

CIPHERS = {"kuznyechik": 16, "magma": 8}  # octets of a block
OIDS = {
    ("magma", False): "1.2.643.7.1.1.5.1.1",
    ("magma", True): "1.2.643.7.1.1.5.1.2",
    ("kuznyechik", False): "1.2.643.7.1.1.5.2.1",
    ("kuznyechik", True): "1.2.643.7.1.1.5.2.2",
}
SECTIONS = {("kuznyechik", "standard"): 256 << 10, ("magma", "standard"): 8 << 10,
            ("kuznyechik", "tls"): 4096, ("magma", "tls"): 1024}


def next_key(cipher, key):
    """Encrypts the constants of RFC 8645 6.2.1, each block on its own."""
    size = CIPHERS[cipher]
    constants = bytes(range(0x80, 0xA0))
    blocks = (constants[i : i + size] for i in range(0, 32, size))
    zero = "00" * size
    return b"".join(
        gost("enc", f"-{cipher}-cbc", "-nopad", "-K", key.hex(), "-iv", zero, stdin=block) for block in blocks
    )


def keystream(cipher, key, iv, first_block, size):
    """Returns the stream from a block on: openssl starts at block zero only."""
    begin = first_block * CIPHERS[cipher]
    return gost("enc", f"-{cipher}-ctr", "-K", key.hex(), "-iv", iv.hex(), stdin=bytes(begin + size))[begin:]


def crypt(cipher, key, iv, section, text):
    """Encrypts or decrypts."""
    out = []
    for begin in range(0, len(text), section):
        if begin:
            key = next_key(cipher, key)
        part = text[begin : begin + section]
        stream = keystream(cipher, key, iv, begin // CIPHERS[cipher], len(part))
        out.append((int.from_bytes(part, "big") ^ int.from_bytes(stream, "big")).to_bytes(len(part), "big"))
    return b"".join(out)


@functools.cache
def hmac(digest, key, data):
    return gost("dgst", f"-{digest}", "-binary", "-mac", "hmac", "-macopt", f"hexkey:{key.hex()}", stdin=data)


def pbkdf2(digest, password, size, salt=SALT):
    """Derives a key with one iteration (RFC 8018 5.2)."""
    key = password.encode().ljust(64, b"\0")  # the same key to HMAC, also when it is empty
    blocks = (hmac(digest, key, salt + i.to_bytes(4, "big")) for i in range(1, 5))
    return b"".join(blocks)[:size]


def tree_key(key, number, ukm):
    """KDF_TREE_GOSTR3411_2012_256 with an R of one octet and L of 512 bits (RFC 7836 4.5)."""
    return hmac("md_gost12_256", key, bytes([number]) + b"kdf tree" + b"\0" + ukm[-8:] + bytes.fromhex("0200"))


def omac(cipher, key, text):
    return gost("dgst", "-binary", "-mac", f"{cipher}-mac", "-macopt", f"hexkey:{key.hex()}", stdin=text)


HMAC_OIDS = {
    "md_gost94": "1.2.643.2.2.10",
    "md_gost12_256": "1.2.643.7.1.1.4.1",
    "md_gost12_512": "1.2.643.7.1.1.4.2",
}


def ukm_of(cipher):
    return bytes(range(0x71, 0x71 + CIPHERS[cipher] // 2 + 8))


def algorithm(cipher, with_omac, digest):
    """Encodes the AlgorithmIdentifier of an encryption with one iteration."""
    prf = sequence(oid(HMAC_OIDS[digest]), bytes.fromhex("0500"))
    derivation = sequence(oid(PBKDF2), sequence(octet_string(SALT), integer(1), prf))
    encryption = sequence(oid(OIDS[cipher, with_omac]), sequence(octet_string(ukm_of(cipher))))
    return sequence(oid(PBES2), sequence(derivation, encryption))


def encrypt(cipher, with_omac, digest, section, password, plaintext):
    """Encrypts under a password with one iteration."""
    ukm = ukm_of(cipher)
    key = pbkdf2(digest, password, 32)
    if with_omac:
        plaintext += omac(cipher, tree_key(key, 2, ukm), plaintext)
        key = tree_key(key, 1, ukm)
    return crypt(cipher, key, ukm[: CIPHERS[cipher] // 2], section, plaintext)


def decrypted_entry(container, cipher, with_omac, password):
    """Returns the plaintext of the encrypted entry, the first, of a container with one iteration and standard sections; a
    wrong OMAC is an error."""
    lines = gost("asn1parse", "-inform", "DER", stdin=container).decode()
    safe = octets_of(lines, container, r"d=3 .*OCTET STRING")
    lines = gost("asn1parse", "-inform", "DER", stdin=safe).decode()
    salt = octets_of(lines, safe, "OCTET STRING")
    ukm = octets_of(lines[lines.index("acpkm") :], safe, "OCTET STRING")
    ciphertext = octets_of(lines, safe, r"prim: cont \[ 0 \]")
    key = pbkdf2("md_gost12_512", password, 32, salt)
    content_key = tree_key(key, 1, ukm) if with_omac else key
    plain = crypt(cipher, content_key, ukm[: CIPHERS[cipher] // 2], SECTIONS[cipher, "standard"], ciphertext)
    if not with_omac:
        return plain
    plain, tag = plain[: -CIPHERS[cipher]], plain[-CIPHERS[cipher] :]
    if omac(cipher, tree_key(key, 2, ukm), plain) != tag:
        raise RuntimeError("the OMAC is wrong")
    return plain


def octets_of(lines, der, pattern):
    """Returns the content of the first element in a listing of asn1parse that matches."""
    begin, header, size = map(int, re.search(rf"(?m)^ *(\d+):d=\d+ +hl=(\d+) l= *(\d+) .*$", next(
        line for line in lines.splitlines() if re.search(pattern, line))).groups())
    return der[begin + header : begin + header + size]
