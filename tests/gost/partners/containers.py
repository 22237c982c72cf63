"""Containers and encrypted keys by openssl with its GOST engine and by certtool, and what is in them.

What openssl has the ciphers for but writes no container of is put together here of its parts.
"""

import functools
import hashlib
from dataclasses import dataclass, field

import acpkm
import certtool
import derkit_gost
import gost_keys
import openssl
import pfx
from der import CONTEXT_0, NULL, SET, element, integer, octet_string, oid, sequence
from openssl import gost

NAME = "Ключ подписи"
PASSWORD = "Пароль 1"
S_BOXES = {f"CryptoPro-{letter}": f"id-Gost28147-89-CryptoPro-{letter}-ParamSet" for letter in "ABCD"} | {"TC26-Z": None}


@dataclass
class Made:
    """A file that a partner made, and what it put in."""

    name: str
    kind: int
    data: bytes
    password: str
    keys: list = field(default_factory=list)
    certificates: list = field(default_factory=list)  # DER
    friendly_name: str = NAME
    form: str = "container"  # or "key"
    mac: str = "good"
    by: str = "openssl"


def settings_of(prf, s_box):
    """Returns the engine's settings for the PRF of PBES2 and the S-box; None leaves its default."""
    return {"PBE_PARAMS": prf, "CRYPT_PARAMS": S_BOXES[s_box]}


def openssl_container(key, certificates, mac, pbe, password=PASSWORD, name=NAME, prf=None, s_box="TC26-Z",
                      cert_pbe=None, legacy=False, options=()):
    """Exports a key and its certificates; no MAC for the digest None."""
    first, *others = certificates
    arguments = ["-export", "-inkey", key.path, "-in", first.path, "-keypbe", pbe, "-certpbe", cert_pbe or pbe]
    arguments += ["-passout", f"pass:{password}", "-iter", 8, *options]
    arguments += ["-macalg", mac] if mac else ["-nomac"]
    arguments += ["-name", name] if name else []
    if others:
        chain = gost_keys.FOLDER / "chain.pem"
        chain.write_bytes(b"".join(other.path.read_bytes() for other in others))
        arguments += ["-certfile", chain]
    environment = {"LEGACY_GOST_PKCS12": "1"} if legacy else {}
    return gost("pkcs12", *arguments, settings=settings_of(prf, s_box), **environment)


def exported(label, kind, mac, pbe, key=None, certificates=None, **how):
    key = key or gost_keys.key("gost2012_256")
    certificates = certificates or [gost_keys.certificate(key)]
    data = openssl_container(key, certificates, mac, pbe, **how)
    return Made(
        f"openssl: {label}", kind, data, how.get("password", PASSWORD), [key], [one.der for one in certificates],
        how.get("name", NAME), mac="good" if mac else "none",
    )


def of_gost_28147():
    """Kinds 1 to 5: the key derivations, S-boxes and MACs that gost-engine offers."""
    yield exported("GOST R 34.11-94, CryptoPro-A", 1, "md_gost94", "gost89", prf="md_gost94", s_box="CryptoPro-A")
    yield exported("the same with a MAC key of PKCS#12", 2, "md_gost94", "gost89", prf="md_gost94", s_box="CryptoPro-A",
                   legacy=True)
    for bits in 256, 512:
        label = f"GOST R 34.11-2012 {bits}"
        digest = f"md_gost12_{bits}"
        yield exported(label, 3, digest, "gost89", prf=digest)
        yield exported(f"{label} with a MAC key of PKCS#12", 4, digest, "gost89", prf=digest, legacy=True)
    yield exported("as gost-engine has it by default", 3, "md_gost12_256", "gost89")
    yield exported("MAC of 94, PRF of 2012", 5, "md_gost94", "gost89", prf="md_gost12_512")
    yield exported("MAC of 2012, PRF of 94", 5, "md_gost12_512", "gost89", prf="md_gost94")
    for s_box in "CryptoPro-A", "CryptoPro-B", "CryptoPro-C", "CryptoPro-D":
        yield exported(f"S-box {s_box}", 3, "md_gost12_256", "gost89", prf="md_gost12_256", s_box=s_box)


def of_new_ciphers():
    """Kind 8 as gost-engine writes it: its PRF is HMAC-SHA-256."""
    for cipher in "kuznyechik", "magma":
        yield exported(f"{cipher}-ctr-acpkm", 8, "md_gost12_512", f"{cipher}-ctr-acpkm")


def of_general_ciphers():
    """Kinds 10 and 11."""
    yield exported("AES-256", 10, "sha256", "aes-256-cbc")
    yield exported("AES-128, MAC of SHA-512", 10, "sha512", "aes-128-cbc")
    yield exported("Triple DES and RC2-40, MAC of SHA-1", 10, "sha1", "PBE-SHA1-3DES", cert_pbe="PBE-SHA1-RC2-40",
                   options=["-legacy"])
    for pbe in "gost89", "aes-256-cbc", "kuznyechik-ctr-acpkm", "PBE-SHA1-3DES":
        yield exported(f"no MAC, {pbe}", 11, None, pbe)


def of_names_and_passwords():
    for password in "", "пароль", "p\u00e4ss \U0001f511", "x" * 200:
        for mac, pbe, kind, how in (
            ("md_gost94", "gost89", 1, {"prf": "md_gost94", "s_box": "CryptoPro-A"}),
            ("md_gost94", "gost89", 2, {"prf": "md_gost94", "s_box": "CryptoPro-A", "legacy": True}),
            ("md_gost12_512", "gost89", 3, {}),
            ("sha256", "aes-256-cbc", 10, {}),
        ):
            yield exported(f"kind {kind}, password {password[:12]!r}", kind, mac, pbe, password=password, **how)
    for name in "", "plain", "Имя с пробелом", "№ 1, ё":
        yield exported(f"name {name!r}", 3, "md_gost12_256", "gost89", name=name)


def of_all_keys():
    for family, sets in gost_keys.PARAM_SETS.items():
        for param_set in sets:
            key = gost_keys.key(family, param_set)
            yield exported(f"{family} {param_set}", 10, "sha256", "aes-256-cbc", key=key)


def of_long_content():
    """Longer than a mesh of GOST 28147-89 and than the sections of CTR-ACPKM."""
    key = gost_keys.key("gost2012_256")
    first = gost_keys.certificate(key)
    for size, others in (
        (1_024, [gost_keys.certificate(gost_keys.key("gost2012_512"))] * 3),
        (8_192, [gost_keys.certificate(key, 9_000)]),
        (262_144, [gost_keys.certificate(key, 270_000)]),
    ):
        certificates = [first, *others]
        for mac, pbe, kind, how in (
            ("md_gost94", "gost89", 1, {"prf": "md_gost94", "s_box": "CryptoPro-A"}),
            ("md_gost12_256", "gost89", 3, {}),
            ("md_gost12_256", "kuznyechik-ctr-acpkm", 8, {}),
            ("md_gost12_256", "magma-ctr-acpkm", 8, {}),
        ):
            yield exported(f"{pbe}, kind {kind}, over {size} octets", kind, mac, pbe, key=key,
                           certificates=certificates, **how)


def bmp_name(text):
    return pfx.friendly_name(text)


def composed(cipher, with_omac, section, digest, size):
    """Kinds 6 and 7: a container whose every part openssl encrypted, with one iteration."""
    key = gost_keys.key("gost2012_512")
    certificate = gost_keys.certificate(key, size)
    sections = acpkm.SECTIONS[cipher, section]

    def encrypt(plaintext):
        return acpkm.encrypt(cipher, with_omac, digest, sections, PASSWORD, plaintext)

    algorithm = acpkm.algorithm(cipher, with_omac, digest)
    shrouded = pfx.shrouded_bag(algorithm, encrypt(key.der), bmp_name(NAME))
    certificates = sequence(pfx.cert_bag(certificate.der))
    safe = sequence(pfx.data_entry(shrouded), pfx.encrypted_entry(algorithm, encrypt(certificates)))
    mac_key = acpkm.pbkdf2(digest, PASSWORD, 96)[64:]
    digest_oid = {"md_gost12_256": "1.2.643.7.1.1.2.2", "md_gost12_512": "1.2.643.7.1.1.2.3"}[digest]
    mac = sequence(
        sequence(sequence(oid(digest_oid)), octet_string(acpkm.hmac(digest, mac_key, safe))), octet_string(pfx.SALT)
    )
    label = f"openssl's parts: {cipher}{' with OMAC' if with_omac else ''}, sections of {section}, {size} octets"
    return Made(label, 7 if with_omac else 6, pfx.pfx(safe, mac), PASSWORD, [key], [certificate.der])


def of_composed():
    for cipher, sizes in ("kuznyechik", (0, 5_000, 270_000)), ("magma", (0, 1_500, 9_000)):
        for with_omac in False, True:
            for size in sizes:
                for section in ("standard", "tls") if size else ("standard",):
                    yield composed(cipher, with_omac, section, "md_gost12_512" if size else "md_gost12_256", size)


def encrypted_key(label, kind, cipher, key, password=PASSWORD, prf=None, s_box="TC26-Z", options=()):
    data = gost("pkcs8", "-topk8", "-in", key.path, "-outform", "DER", *cipher, "-iter", 8, *options, "-passout",
                f"pass:{password}", settings=settings_of(prf, s_box))
    return Made(f"openssl pkcs8: {label}", kind, data, password, [key], form="key")


def of_encrypted_keys():
    key = gost_keys.key("gost2012_256")
    yield encrypted_key("GOST R 34.11-94, CryptoPro-A", 1, ("-v2", "gost89"), key, prf="md_gost94", s_box="CryptoPro-A")
    for digest in "md_gost12_256", "md_gost12_512":
        for s_box in "TC26-Z", "CryptoPro-B":
            yield encrypted_key(f"{digest}, {s_box}", 3, ("-v2", "gost89"), key, prf=digest, s_box=s_box)
    for cipher in "kuznyechik-ctr-acpkm", "magma-ctr-acpkm":
        for bits in 256, 512:
            prf = f"id-tc26-hmac-gost-3411-2012-{bits}"
            yield encrypted_key(f"{cipher}, {prf}", 6, ("-v2", cipher, "-v2prf", prf), key)
        yield encrypted_key(f"{cipher}, HMAC-SHA-256", 8, ("-v2", cipher), key)
    yield encrypted_key("AES-256", 10, ("-v2", "aes-256-cbc"), key)
    yield encrypted_key("AES-192, HMAC-SHA-512", 10, ("-v2", "aes-192-cbc", "-v2prf", "hmacWithSHA512"), key)
    yield encrypted_key("AES-128, HMAC-SHA-1", 10, ("-v2", "aes-128-cbc", "-v2prf", "hmacWithSHA1"), key)
    yield encrypted_key("PBE-SHA1-3DES", 10, ("-v1", "PBE-SHA1-3DES"), key)
    for family, sets in gost_keys.PARAM_SETS.items():
        for param_set in sets:
            key = gost_keys.key(family, param_set)
            yield encrypted_key(f"{family} {param_set}", 3, ("-v2", "gost89"), key)


def of_certtool(all_of_them):
    """Containers and keys by certtool; those under GOST take it many seconds each."""
    key = gost_keys.key("gost2012_256")
    certificate = gost_keys.certificate(key)
    load = ["--load-privkey", key.path, "--outder"]

    def container(kind, digest, cipher):
        data = certtool.run("--to-p12", *load, "--load-certificate", certificate.path, "--p12-name", NAME,
                            "--hash", digest, "--pkcs-cipher", cipher, *certtool.password(PASSWORD))
        # It widens the octets of a name in UTF-8 one by one.
        name = NAME.encode().decode("latin1")
        return Made(f"certtool: {digest}, {cipher}", kind, data, PASSWORD, [key], [certificate.der], name, by="certtool")

    def encrypted(kind, cipher):
        data = certtool.run("--to-p8", *load, "--pkcs-cipher", cipher, *certtool.password(PASSWORD))
        return Made(f"certtool --to-p8: {cipher}", kind, data, PASSWORD, [key], form="key", by="certtool")

    yield container(10, "SHA256", "aes-256")
    yield container(10, "SHA1", "3des-pkcs12")
    yield container(10, "SHA1", "rc2-40")
    yield encrypted(10, "aes-128")
    yield encrypted(10, "3des-pkcs12")
    yield encrypted(1, "gost28147-cpa")
    if all_of_them:
        yield container(3, "streebog-256", "gost28147-tc26z")
        yield container(3, "streebog-512", "gost28147-tc26z")
        yield container(1, "gostr341194", "gost28147-cpa")
        yield container(5, "gostr341194", "gost28147-tc26z")
        yield encrypted(3, "gost28147-tc26z")
        for letter in "bcd":
            yield encrypted(1, f"gost28147-cp{letter}")


def made_by_openssl():
    for family in (of_gost_28147, of_new_ciphers, of_general_ciphers, of_names_and_passwords, of_all_keys,
                   of_long_content, of_composed, of_encrypted_keys):
        yield from family()


# What certtool writes; test_opens_what_certtool_wrote opens one of each, those under GOST with all files only.
KINDS_OF_CERTTOOL = {"1", "3", "5", "10"}


def vendor_export():
    """Kind 9: a key under an identifier of a vendor's own, in a container that is otherwise like those of old."""
    vendor = sequence(oid("1.2.840.113549.1.12.1.80"), sequence(octet_string(pfx.SALT), integer(2_000)))
    safe = sequence(pfx.data_entry(pfx.shrouded_bag(vendor, bytes(64))))
    digest = sequence(oid("1.3.14.3.2.26"), NULL)
    key = pkcs12_mac_key_of_sha1(PASSWORD)
    tag = openssl.run("dgst", "-sha1", "-binary", "-mac", "hmac", "-macopt", f"hexkey:{key.hex()}", stdin=safe)
    return Made("vendor's export", 9, pfx.pfx(safe, pfx.mac_data(tag, algorithm=digest)), PASSWORD, by="nobody")


def pkcs12_mac_key_of_sha1(password):
    """RFC 7292 B.2 with one iteration; the key is as long as the digest."""
    wide = password.encode("utf-16-be") + b"\0\0"

    def fill(octets):
        blocks = -(-len(octets) // 64)
        return (octets * 64)[: 64 * blocks]

    return hashlib.sha1(bytes([3]) * 64 + fill(pfx.SALT) + fill(wide)).digest()


def for_recipients():
    """Kind 12: signed, and with an entry that is enveloped."""
    enveloped = pfx.content_info(pfx.ENVELOPED_DATA, sequence(integer(0)))
    info = sequence(oid(pfx.DATA), element(CONTEXT_0, octet_string(sequence(enveloped))))
    signed = sequence(integer(1), element(SET), info, element(SET))
    return Made("signed and enveloped", 12, sequence(integer(3), pfx.content_info(pfx.SIGNED_DATA, signed)), PASSWORD,
                by="nobody")


def only_named():
    return [("9", vendor_export()), ("12", for_recipients())]


@functools.cache
def one_of_each_kind():
    """Returns a container of each kind by its name in the guide."""
    key = gost_keys.key("gost2012_256")
    certificate = gost_keys.certificate(key)
    made = {str(one.kind): one for one in [*of_gost_28147(), *of_new_ciphers()]}
    made["10"] = next(of_general_ciphers())
    made["11"] = exported("no MAC", 11, None, "gost89")
    for name, kind, options in (
        ("1, native", 1, {"to": "native"}),
        ("6", 6, {"to": "rfc9548", "sections": "tls"}),
        ("7", 7, {"to": "omac"}),
    ):
        data = derkit_gost.write_container(keys=[key], certificates=[certificate], password=PASSWORD, name=NAME, **options)
        made[name] = Made(name, kind, data, PASSWORD, [key], [certificate.der], by="derkit")
    return made | dict(only_named())
