"""PKCS#12 containers for tests, built by hand (RFC 7292), with the cryptography of openssl and its GOST engine."""

import functools
import os
import subprocess

import der
from der import OCTET_STRING, octet_string, oid, sequence

INTEGER = 0x02
BIT_STRING = 0x03
UTC_TIME = 0x17
GENERALIZED_TIME = 0x18
CONTEXT_0 = 0xA0
CONTEXT_0_PRIMITIVE = 0x80
NULL = bytes.fromhex("0500")

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

SALT = bytes(range(0x51, 0x59))
IV = bytes(range(0x61, 0x69))


def integer(value):
    return der.element(INTEGER, value.to_bytes(value.bit_length() // 8 + 1, "big"))


def explicit_0(*parts):
    return der.element(CONTEXT_0, *parts)


def bag(bag_type, value, *attributes):
    return sequence(oid(bag_type), explicit_0(value), der.element(der.SET, *attributes) if attributes else b"")


def attribute(attribute_type, *values):
    return sequence(oid(attribute_type), der.element(der.SET, *values))


def friendly_name(text):
    return attribute(FRIENDLY_NAME, der.element(der.BMP_STRING, text.encode("utf-16-be")))


def local_key_id(octets):
    return attribute(LOCAL_KEY_ID, octet_string(octets))


def key_bag(private_key_info, *attributes):
    return bag(KEY_BAG, private_key_info, *attributes)


def cert_bag(certificate, *attributes):
    return bag(CERT_BAG, sequence(oid(X509_CERTIFICATE), explicit_0(octet_string(certificate))), *attributes)


def shrouded_bag(algorithm, ciphertext, *attributes):
    return bag(SHROUDED_KEY_BAG, sequence(algorithm, octet_string(ciphertext)), *attributes)


def content_info(content_type, content):
    return sequence(oid(content_type), explicit_0(content))


def data_entry(*bags):
    return content_info(DATA, octet_string(sequence(*bags)))


def encrypted_entry(algorithm, ciphertext, content_type=DATA):
    info = sequence(oid(content_type), algorithm, der.element(CONTEXT_0_PRIMITIVE, ciphertext))
    return content_info(ENCRYPTED_DATA, sequence(integer(0), info))


def pbes2(prf=HMAC_GOST_94, cipher=GOST_28147_89, param_set=CRYPTOPRO_A, salt=SALT, iterations=1, iv=IV, kdf=PBKDF2):
    """The AlgorithmIdentifier of an encryption by password."""
    derivation = sequence(oid(kdf), sequence(octet_string(salt), integer(iterations), sequence(oid(prf), NULL)))
    encryption = sequence(oid(cipher), sequence(octet_string(iv), oid(param_set)))
    return sequence(oid(PBES2), sequence(derivation, encryption))


def mac_data(mac, salt=SALT, iterations=1, algorithm=None):
    algorithm = algorithm or sequence(oid(GOST_34_11_94), NULL)
    count = b"" if iterations is None else integer(iterations)
    return sequence(sequence(algorithm, octet_string(mac)), octet_string(salt), count)


def pfx(entries, mac, content_type=DATA):
    """`entries` is the whole AuthenticatedSafe."""
    return sequence(integer(3), content_info(content_type, octet_string(entries)), mac)


def bmp_password(text):
    """As the key derivation of PKCS#12 takes it: with a terminator, or nothing at all (RFC 7292 B.1)."""
    return b"" if text is None else text.encode("utf-16-be") + b"\0\0"


class Gost:
    """openssl with its GOST engine, under configuration files in a folder of the test's own."""

    def __init__(self, folder):
        self.folder = folder

    @functools.lru_cache
    def configuration(self, param_set, prf_digest):
        path = self.folder / f"{param_set}-{prf_digest}.cnf"
        path.write_text(
            "openssl_conf = openssl\n"
            "[openssl]\nengines = engines\n"
            "[engines]\ngost = gost\n"
            "[gost]\nengine_id = gost\ndefault_algorithms = ALL\n"
            f"CRYPT_PARAMS = {param_set}\nPBE_PARAMS = {prf_digest}\n"
            "[req]\ndistinguished_name = dn\n[dn]\n"
        )
        return path

    def openssl(
        self,
        *arguments,
        stdin=b"",
        param_set="id-Gost28147-89-CryptoPro-A-ParamSet",
        prf_digest="md_gost94",
        variables=None,
    ):
        configuration = self.configuration(param_set, prf_digest)
        done = subprocess.run(
            ["openssl", *map(str, arguments)],
            input=stdin,
            capture_output=True,
            env={**os.environ, "OPENSSL_CONF": str(configuration), **(variables or {})},
        )
        if done.returncode != 0:
            raise RuntimeError(f"openssl {' '.join(map(str, arguments))}: {done.stderr.decode()}")
        return done.stdout

    @functools.lru_cache
    def digest(self, data):
        return self.openssl("dgst", "-md_gost94", "-binary", stdin=data)

    @functools.lru_cache
    def hmac(self, key, data):
        key = key.ljust(32, b"\0")  # the same key to HMAC, also when it is empty
        return self.openssl(
            *["dgst", "-md_gost94", "-binary", "-mac", "hmac", "-macopt", f"hexkey:{key.hex()}"], stdin=data
        )

    def pbkdf2(self, password, salt, size, iterations=1):
        """RFC 8018 5.2."""
        key = b""
        while len(key) < size:
            block = last = self.hmac(password, salt + (len(key) // 32 + 1).to_bytes(4, "big"))
            for _ in range(iterations - 1):
                last = self.hmac(password, last)
                block = bytes(a ^ b for a, b in zip(block, last))
            key += block
        return key[:size]

    def pkcs12_key(self, password, salt, iterations=1):
        """A MAC key by RFC 7292 B.2; `password` as bmp_password() gives it."""

        def fill(octets):
            blocks = (len(octets) + 31) // 32
            return (octets * 32 * blocks)[: 32 * blocks]

        key = self.digest(bytes([3]) * 32 + fill(salt) + fill(password))
        for _ in range(iterations - 1):
            key = self.digest(key)
        return key

    def encrypt(self, password, plaintext, salt=SALT, iv=IV, iterations=1):
        key = self.pbkdf2(password.encode(), salt, 32, iterations)
        return self.openssl("enc", "-gost89", "-K", key.hex(), "-iv", iv.hex(), stdin=plaintext)

    def mac(self, password, data, salt=SALT, iterations=1):
        """Under the last 32 octets of 96 of PBKDF2."""
        return self.hmac(self.pbkdf2(password.encode(), salt, 96, iterations)[64:], data)

    def legacy_mac(self, password, data, salt=SALT, iterations=1):
        """Under a key by the key derivation of PKCS#12."""
        return self.hmac(self.pkcs12_key(bmp_password(password), salt, iterations), data)

    def container(self, password, *entries, behind_mac=b""):
        """Laid out by RFC 7292, with a MAC of one iteration."""
        safe = sequence(*entries)
        return pfx(safe, mac_data(self.legacy_mac(password, safe)) + behind_mac)

    def encrypted_entry(self, password, *bags):
        return encrypted_entry(pbes2(), self.encrypt(password, sequence(*bags)))

    def shrouded_bag(self, password, private_key_info, *attributes):
        return shrouded_bag(pbes2(), self.encrypt(password, private_key_info), *attributes)
