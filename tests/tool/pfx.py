"""Builds PKCS#12 containers for tests (RFC 7292), with the cryptography of openssl and its GOST engine."""

import functools

import der
import openssl
from der import NULL, integer, octet_string, oid, sequence

DATA = "1.2.840.113549.1.7.1"
SIGNED_DATA = "1.2.840.113549.1.7.2"
ENVELOPED_DATA = "1.2.840.113549.1.7.3"
ENCRYPTED_DATA = "1.2.840.113549.1.7.6"
KEY_BAG = "1.2.840.113549.1.12.10.1.1"
SHROUDED_KEY_BAG = "1.2.840.113549.1.12.10.1.2"
CERT_BAG = "1.2.840.113549.1.12.10.1.3"
CRL_BAG = "1.2.840.113549.1.12.10.1.4"
SECRET_BAG = "1.2.840.113549.1.12.10.1.5"
SAFE_CONTENTS_BAG = "1.2.840.113549.1.12.10.1.6"
X509_CERTIFICATE = "1.2.840.113549.1.9.22.1"
FRIENDLY_NAME = "1.2.840.113549.1.9.20"
LOCAL_KEY_ID = "1.2.840.113549.1.9.21"
PBES2 = "1.2.840.113549.1.5.13"
PBKDF2 = "1.2.840.113549.1.5.12"
PBMAC1 = "1.2.840.113549.1.5.14"
HMAC_GOST_94 = "1.2.643.2.2.10"
HMAC_GOST_2012_256 = "1.2.643.7.1.1.4.1"
GOST_34_11_94 = "1.2.643.2.2.9"
GOST_28147_89 = "1.2.643.2.2.21"
CRYPTOPRO_A = "1.2.643.2.2.31.1"

# What the tool shows of an encryption by openssl.
SHOWN_PBES2 = {
    "scheme": "PBES2",
    "scheme_oid": PBES2,
    "kdf": "PBKDF2",
    "kdf_oid": PBKDF2,
    "prf": "HMAC GOST R 34.11-94",
    "prf_oid": HMAC_GOST_94,
    "salt_size": 8,
    "iterations": 2048,
    "cipher": "GOST 28147-89 CFB",
    "cipher_oid": GOST_28147_89,
    "cipher_param_set": "id-Gost28147-89-CryptoPro-A-ParamSet",
    "cipher_param_set_oid": CRYPTOPRO_A,
}

SALT = bytes(range(0x51, 0x59))
IV = bytes(range(0x61, 0x69))


def bag(bag_type, value, *attributes):
    set_of_attributes = der.element(der.SET, *attributes) if attributes else b""
    return sequence(oid(bag_type), der.element(der.CONTEXT_0, value), set_of_attributes)


def attribute(attribute_type, *values):
    return sequence(oid(attribute_type), der.element(der.SET, *values))


def friendly_name(text):
    octets = text if isinstance(text, bytes) else text.encode("utf-16-be")
    return attribute(FRIENDLY_NAME, der.element(der.BMP_STRING, octets))


def local_key_id(octets):
    return attribute(LOCAL_KEY_ID, octet_string(octets))


def key_bag(private_key_info, *attributes):
    return bag(KEY_BAG, private_key_info, *attributes)


def cert_bag(certificate, *attributes):
    value = der.element(der.CONTEXT_0, octet_string(certificate))
    return bag(CERT_BAG, sequence(oid(X509_CERTIFICATE), value), *attributes)


def encrypted_key(algorithm, ciphertext):
    return sequence(algorithm, octet_string(ciphertext))


def shrouded_bag(algorithm, ciphertext, *attributes):
    return bag(SHROUDED_KEY_BAG, encrypted_key(algorithm, ciphertext), *attributes)


def content_info(content_type, content):
    return sequence(oid(content_type), der.element(der.CONTEXT_0, content))


def data_entry(*bags):
    return content_info(DATA, octet_string(sequence(*bags)))


def encrypted_entry(algorithm, ciphertext, content_type=DATA):
    info = sequence(oid(content_type), algorithm, der.element(der.CONTEXT_0_PRIMITIVE, ciphertext))
    return content_info(ENCRYPTED_DATA, sequence(integer(0), info))


def pbes2(
    prf=sequence(oid(HMAC_GOST_94), NULL), cipher=GOST_28147_89, param_set=CRYPTOPRO_A, salt=SALT,
    iterations=integer(1), iv=IV, kdf=PBKDF2, key_size=b"",
):
    """Encodes the AlgorithmIdentifier of an encryption by password (RFC 8018 A.4)."""
    derivation = sequence(oid(kdf), sequence(octet_string(salt), iterations, key_size, prf))
    encryption = sequence(oid(cipher), sequence(octet_string(iv), oid(param_set)))
    return sequence(oid(PBES2), sequence(derivation, encryption))


def mac_data(mac, salt=SALT, iterations=1, algorithm=sequence(oid(GOST_34_11_94), NULL)):
    count = b"" if iterations is None else integer(iterations)
    return sequence(sequence(algorithm, octet_string(mac)), octet_string(salt), count)


def pfx(authenticated_safe, mac, content_type=DATA):
    return sequence(integer(3), content_info(content_type, octet_string(authenticated_safe)), mac)


@functools.cache
def digest(data):
    return openssl.gost("dgst", "-md_gost94", "-binary", stdin=data)


@functools.cache
def hmac(key, data):
    key = key.ljust(32, b"\0")  # the same key to HMAC, also when it is empty
    return openssl.gost(*f"dgst -md_gost94 -binary -mac hmac -macopt hexkey:{key.hex()}".split(), stdin=data)


def pbkdf2(password, size):
    """Derives a key with one iteration (RFC 8018 5.2)."""
    blocks = (hmac(password.encode(), SALT + i.to_bytes(4, "big")) for i in range(1, (size + 31) // 32 + 1))
    return b"".join(blocks)[:size]


def pkcs12_key(password):
    """Derives a MAC key with one iteration (RFC 7292 B.2); no password is None, the empty one has a terminator."""
    password = b"" if password is None else password.encode("utf-16-be") + b"\0\0"

    def fill(octets):
        blocks = (len(octets) + 31) // 32
        return (octets * 32 * blocks)[: 32 * blocks]

    return digest(bytes([3]) * 32 + fill(SALT) + fill(password))


@functools.cache
def encrypt(password, plaintext):
    key = pbkdf2(password, 32)
    return openssl.gost("enc", "-gost89", "-K", key.hex(), "-iv", IV.hex(), stdin=plaintext)


def mac(password, data):
    """Computes a MAC under the last 32 of 96 octets of PBKDF2."""
    return hmac(pbkdf2(password, 96)[64:], data)


def legacy_mac(password, data):
    """Computes a MAC under a key by the key derivation of PKCS#12."""
    return hmac(pkcs12_key(password), data)


def container(password, *entries):
    """Encodes a PFX with a MAC as RFC 7292 has it."""
    safe = sequence(*entries)
    return pfx(safe, mac_data(legacy_mac(password, safe)))


def encrypt_entry(password, *bags):
    return encrypted_entry(pbes2(), encrypt(password, sequence(*bags)))


def encrypt_key(password, private_key_info, *attributes):
    return shrouded_bag(pbes2(), encrypt(password, private_key_info), *attributes)
