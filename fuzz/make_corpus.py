#!/usr/bin/env python3
"""Makes the seeds in fuzz/corpus that the catalogue of calls (fuzz/make_seeds.cpp) does not have.

They come from the keys and containers in tests/data and from DER built here. Seeds of an earlier run are replaced
(`seed-*`); other files stay. With --check, it writes nothing and fails unless the seeds are up to date. In a container
the "ciphertexts" are instructions to the targets' crypto object (fuzz/support/handing_crypto.h).
"""

import base64
import pathlib
import re
import struct
import sys
from collections.abc import Iterator

FUZZ = pathlib.Path(__file__).resolve().parent
DATA = FUZZ.parent / "tests" / "data"
sys.path.insert(0, str(FUZZ.parent / "tests" / "tool"))

import der  # noqa: E402
import pfx  # noqa: E402

Seeds = dict[str, bytes]

PSS = "1.2.840.113549.1.1.10"
SHA256 = "2.16.840.1.101.3.4.2.1"
MGF1 = "1.2.840.113549.1.1.8"


def pem(path: pathlib.Path) -> bytes:
    text = path.read_text()
    return base64.b64decode(re.search(r"-----BEGIN [^-]+-----(.+?)-----END", text, re.DOTALL)[1])


def content(element: bytes) -> bytes:
    return split(element)[0][1]


def split(elements: bytes) -> list[tuple[bytes, bytes]]:
    """Splits elements with minimal definite lengths; gets element and content of each."""
    found = []
    while elements:
        header = 2
        size = elements[1]
        if size >= 0x80:
            header = 2 + (size & 0x7F)
            size = int.from_bytes(elements[2:header], "big")
        found.append((elements[: header + size], elements[header : header + size]))
        elements = elements[header + size :]
    return found


def long_form(element: bytes, octets: int) -> bytes:
    """The element with a length of so many octets, with needless zeros in front."""
    inside = content(element)
    return element[:1] + bytes([0x80 | octets]) + len(inside).to_bytes(octets, "big") + inside


def variations(name: str, element: bytes) -> Iterator[tuple[str, bytes]]:
    yield name, element
    yield f"{name}-long-form", long_form(element, 4)
    yield f"{name}-cut", element[:-1]
    yield f"{name}-followed", element + b"\x30\x03\x02\x01\x00"


def certificates() -> dict[str, bytes]:
    return {path.name.split(".")[0]: pem(path) for path in sorted(DATA.glob("*.cert.pem"))}


def parts_of(certificate: bytes) -> list[bytes]:
    """The elements of a TBSCertificate after its version: serial, signature, issuer, validity, subject, key, ..."""
    parts = [element for element, _ in split(content(split(content(certificate))[0][0]))]
    return parts[1:] if parts[0][0] == 0xA0 else parts


def tag_reader() -> Seeds:
    seeds = {f"certificate-{name}": cert for name, cert in certificates().items()}
    for size in (0, 1, 127, 128, 255, 256):
        seeds[f"octets-{size}"] = pfx.octet_string(bytes(size))
    for name, length in {"2-32-1": 0xFFFFFFFF, "2-32-6": 0xFFFFFFFA, "2-32-7": 0xFFFFFFF9, "2-31": 0x80000000}.items():
        seeds[f"length-{name}"] = b"\x30\x84" + struct.pack(">I", length) + b"\x02\x01\x05"
    seeds |= {"indefinite": b"\x30\x80\x02\x01\x05\0\0", "five-octets": b"\x30\x85\0\0\0\0\1\5", "empty": b""}
    for octets in ("00", "7F", "0080", "80", "FFFFFFFF", "00FFFFFFFF", "0100000000", "010000000000"):
        seeds[f"integer-{octets}"] = b"\xff\xff\xff\xff" + bytes.fromhex(octets)
    return seeds | dict(variations("nested", pfx.sequence(pfx.sequence(pfx.integer(5)), pfx.octet_string(b"abc"))))


def oid_text() -> Seeds:
    texts = [
        "2.5.4.3",
        "1.2.840.113549.1.1.10",
        "0.9.2342.19200300.100.1.25",
        "2.4294967295",
        "2.4294967296",
        "1.50",
        "2.48",
        "3.1",
        "2.",
        "2..5",
        "2.005.4.3",
        "0",
        "1.2.4294967295.0",
        "00.1",
        "2.5.4.3 ",
        ".".join(["1"] + ["4294967295"] * 101),
        ".".join(["1"] + ["1"] * 506),
        ".".join(["1"] + ["1"] * 507),
    ]
    seeds = {f"text-{i:02}": text.encode() for i, text in enumerate(texts)}
    octets = [
        "550403",
        "2A864886F70D01010A",
        "2A86",
        "8080550403",
        "8FFFFFFF7F",
        "FFFFFFFF7F",
        "64",
        "77",
        "78",
        "79",
        "0992268993F22C640119",
        "2A8F FFFFFF7F",
        "2A9080808000",
        "2A80" + "80" * 40 + "01",
    ]
    return seeds | {f"der-{i:02}": bytes.fromhex(text) for i, text in enumerate(octets)}


def names_of_one_hash() -> list[bytes]:
    """Names of one size, beginning and end, of which a map's table holds only a few."""
    return [b"name%08dname" % number for number in range(20)]


def map_of(names: list[bytes]) -> bytes:
    return b"".join(b"1.2.%d = %s, x\n" % (number, name) for number, name in enumerate(names))


def oid_map() -> Seeds:
    return {
        "one-hash": map_of(names_of_one_hash()),
        "example": (FUZZ.parent / "docs" / "qaroids.cfg").read_bytes(),
        "duplicates": b"2.5.4.8 = ST, stateName\n2.5.4.8 = S, stateName\n2.5.4.3 = cn\n2.05.4.3 = Cn, padded\n",
        "line-ends": b"\r\n1.2.3=a\r1.2.4 =b,\n\n\t1.2.5\t=\tc\t,\tlong , name \r\n1.2.6= , no short name",
        "comments": b"# 1.2.3 = a\nabc = X\n3.1 = X\n1 = X\n= X\n1.2.3\n1.2.3 x = y\n1.2.3 = a b, c\n1.2.3 = a=b\n",
        "zero": b"1.2.3 = a\0b, c\0d\n1.2.4 = A\0C\n",
        "found-by-name": b"cn",
        "found-by-oid": b"2.5.4.3",
        "found-by-der": b"\x55\x04\x03",
    }


def dn_text() -> Seeds:
    texts = [
        "CN=user1,OU=Sales+L=Town,O=Example,C=RU",
        "",
        "   ",
        "CN=a, O=b",
        " CN = x ,\tO=y",
        "CN=x,",
        "=x",
        ",O=x",
        "CN=a,,O=x",
        "CN",
        'CN="a,b",O=c',
        'CN="a\\"b",O="',
        "CN=a\\,b\\+c\\2C\\C3\\A9",
        "CN=a\\",
        "CN=a\\ b",
        "2.5.4.3=#0C03616263",
        "2.5.4.3=#0C0",
        "2.5.4.3=#1E04042F0430",
        "2.5.4.3=#1C0400010000",
        "CN=#1403C220",
        "CN=#120131+O=#120141",
        "CN=#0482000101",
        "CN=#00020501",
        "CN=#3003020105,O=#0500",
        "2.50=x,1.50=y",
        "2.4294967295=x",
        "CN=a_b,E=a@b,O=\u0418\u041d\u041d",
        'CN=""a"",O=""',
        "C=RU,CN=x",
        "CN=x,C=RU",
        "CN=a\nO=b,CN=a,C=RU",
        "CN=a,C=RU\nCN=a,O=b,C=RU",
        "CN=a\\0A\\00b",
        'CN="a\\\\_",O="a_\\b\\@"',
        "st=x,S=y,street=z,uid=1,dc=2",
    ]
    return {f"text-{i:02}": text.encode() for i, text in enumerate(texts)}


def der_name() -> Seeds:
    seeds = {}
    for name, certificate in certificates().items():
        seeds[f"subject-{name}"] = parts_of(certificate)[4]
    values = {
        "utf8": (der.UTF8_STRING, 'Ёж, "x"'.encode()),
        "numeric": (der.NUMERIC_STRING, b"12 34"),
        "letter": (der.NUMERIC_STRING, b"12a"),
        "printable": (der.PRINTABLE_STRING, b"a,b=c+d"),
        "t61": (der.T61_STRING, b"\xc2A\xc8o\xcf \xa4"),
        "ia5": (der.IA5_STRING, b"a@b#<>;\\"),
        "universal": (der.UNIVERSAL_STRING, "a\U0001f600".encode("utf-32-be")),
        "bmp": (der.BMP_STRING, "Имя".encode("utf-16-be")),
        "surrogates": (der.BMP_STRING, b"\xd8\x3d\xde\0"),
        "odd": (der.BMP_STRING, b"\0a\0"),
        "visible": (der.VISIBLE_STRING, b"ab"),
        "empty": (der.UTF8_STRING, b""),
        "zero": (der.UTF8_STRING, b"a\0b"),
        "null": (0x05, b""),
        "tag-0": (0x00, b"x"),
    }
    for name, (tag, value) in values.items():
        seeds[f"value-{name}"] = der.name(der.attribute(der.COMMON_NAME, tag, value))
    organization = der.attribute(der.ORGANIZATION, der.UTF8_STRING, b"Example", b"\x05\0")
    country = der.attribute(bytes.fromhex("550406"), der.PRINTABLE_STRING, b"RU")
    unknown = der.attribute(bytes.fromhex("2A850378"), 0x31, b"\x02\x01\x05", b"\x05\0")
    seeds |= dict(variations("rdns", der.name(country, [organization, unknown], country)))
    seeds["no-value"] = der.name(der.element(der.SEQUENCE, der.oid(der.COMMON_NAME)))
    seeds["high-first-arc"] = der.name(der.attribute(b"\x79\x01", der.UTF8_STRING, b"x"))
    seeds["padded-oid"] = der.name(der.attribute(b"\x80\x80\x55\x04\x03", der.UTF8_STRING, b"x"))
    seeds["empty-rdn"] = der.element(der.SEQUENCE, der.element(der.SET))
    seeds["empty"] = der.name()
    for dotted in ("2.5.4.3", SHA256, "1.2.3.4", PSS):
        seeds[f"oid-{dotted}"] = pfx.oid(dotted)
    return seeds


def t61() -> Seeds:
    letters = bytes(range(0x41, 0x5B)) + bytes(range(0x61, 0x7B)) + b"\xe1\xf1 1\0"
    seeds = {
        f"prefix-{prefix:X}": b"".join(bytes([prefix, letter]) for letter in letters) for prefix in range(0xC1, 0xD0)
    }
    seeds["defined"] = bytes(
        c
        for c in range(1, 256)
        if c not in b"#$\\^`{}~"
        and not 0xC0 <= c <= 0xDF
        and c not in (0xA9, 0xAA, 0xAC, 0xAD, 0xAE, 0xAF, 0xB9, 0xBA, 0xE5, 0xFF)
    )
    seeds |= {"prefix-at-end": b"a\xc2", "undefined": b"a\\b", "empty": b""}
    for point in (
        0x7F,
        0x80,
        0x7FF,
        0x800,
        0xFFFF,
        0x10000,
        0x1FFFFF,
        0x200000,
        0x3FFFFFF,
        0x4000000,
        0x7FFFFFFF,
        1 << 31,
    ):
        seeds[f"point-{point:X}"] = struct.pack(">I", point)
    return seeds


def gost_keys() -> Seeds:
    seeds: Seeds = {}
    for path in sorted(DATA.glob("*.key.pem")):
        seeds |= dict(variations(f"key-{path.name.split('.')[0]}", pem(path)))
    for path in sorted(DATA.glob("*.encrypted.pem")):
        seeds |= dict(variations(f"encrypted-{path.name.split('.')[0]}", pem(path)))
    for iterations in (1, 2000, 2048, 0x10080, 0xFFFFFFFF, 0x100000000):
        seeds[f"parameters-{iterations}"] = content(pfx.pbes2(iterations=pfx.integer(iterations)))
        seeds[f"gost-{iterations}"] = pfx.sequence(
            pfx.pbes2(iterations=pfx.integer(iterations)), pfx.octet_string(b"secret")
        )
    seeds["parameters-long"] = content(pfx.pbes2(salt=bytes(200), iv=bytes(300)))
    key_length = (
        pfx.octet_string(b"salt") + pfx.integer(7) + pfx.integer(32) + pfx.sequence(pfx.oid(pfx.HMAC_GOST_94), pfx.NULL)
    )
    derivation = pfx.sequence(pfx.oid(pfx.PBKDF2), pfx.sequence(key_length))
    encryption = pfx.sequence(
        pfx.oid(pfx.GOST_28147_89), pfx.sequence(pfx.octet_string(pfx.IV), pfx.oid(pfx.CRYPTOPRO_A))
    )
    seeds["parameters-key-length"] = pfx.oid(pfx.PBES2) + pfx.sequence(derivation, encryption)
    seeds["no-iterations"] = content(pfx.pbes2()).replace(pfx.integer(1), b"\x02\x00")
    return seeds


def bags() -> dict[str, bytes]:
    key = pem(DATA / "2001.key.pem")
    certificate = pem(DATA / "2001.cert.pem")[:60]
    name = pfx.friendly_name("Ключ")
    key_id = pfx.local_key_id(bytes(range(8)))
    return {
        "key": pfx.key_bag(key, name, key_id),
        "cert": pfx.cert_bag(certificate, key_id, name),
        "bare-cert": pfx.cert_bag(certificate),
        "shrouded": pfx.shrouded_bag(pfx.pbes2(), b" " + key, name),
        "part": pfx.shrouded_bag(pfx.pbes2(), b"P" + struct.pack(">HH", 4, 20), key_id),
        "nothing": pfx.shrouded_bag(pfx.pbes2(), b"N"),
        "refused": pfx.shrouded_bag(pfx.pbes2(), b"R" + key),
        "thrown": pfx.shrouded_bag(pfx.pbes2(), b"T" + key),
        "foreign": pfx.shrouded_bag(pfx.pbes2(prf=pfx.sequence(pfx.oid(pfx.HMAC_GOST_2012_256), pfx.NULL)), b" " + key),
        "crl": pfx.bag(pfx.CRL_BAG, pfx.NULL, name),
        "other-attribute": pfx.key_bag(key, pfx.attribute("1.2.3", pfx.NULL), name, pfx.friendly_name("again")),
        "utf8-name": pfx.key_bag(key, pfx.attribute(pfx.FRIENDLY_NAME, der.element(der.UTF8_STRING, b"x"))),
        "empty-name": pfx.key_bag(key, pfx.friendly_name(""), pfx.local_key_id(b"")),
    }


def pkcs12_parts() -> Seeds:
    mac = pfx.mac_data(bytes(32), iterations=2000)
    seeds = {
        f"mac-{name}": content(der_bytes)
        for name, der_bytes in {
            "usual": mac,
            "no-count": pfx.mac_data(b"mac", iterations=None),
            "zeros": pfx.mac_data(b"", iterations=0x10080),
            "large": pfx.mac_data(b"mac", iterations=0x100000000),
            "long": pfx.mac_data(bytes(200), bytes(300)),
        }.items()
    }
    seeds["mac-empty-count"] = content(pfx.mac_data(b"mac", iterations=None)) + b"\x02\x00"
    seeds["mac-negative-count"] = content(pfx.mac_data(b"mac", iterations=None)) + b"\x02\x01\x80"
    for name, bag in bags().items():
        seeds[f"bags-{name}"] = pfx.sequence(bag)
    seeds["bags-shrouded-twice"] = pfx.sequence(bags()["part"], bags()["shrouded"])
    seeds |= dict(
        variations(
            "bags-all", pfx.sequence(*(bag for name, bag in bags().items() if name not in ("thrown", "utf8-name")))
        )
    )
    seeds["bags-none"] = pfx.sequence()
    seeds["content-info"] = content(pfx.data_entry(bags()["key"]))
    seeds["data"] = pfx.octet_string(pfx.sequence())
    return seeds


def pkcs12() -> Seeds:
    """Those that the library writes: the MAC is over a whole OCTET STRING, plaintexts are OCTET STRINGs."""

    def encrypted(instruction: bytes, *inside: bytes, algorithm: bytes = pfx.pbes2()) -> bytes:
        return pfx.encrypted_entry(algorithm, instruction + pfx.octet_string(pfx.sequence(*inside)))

    some = bags()
    plain = pfx.data_entry(some["cert"], some["key"])
    entries = {
        "empty": [],
        "plain": [plain],
        "encrypted": [encrypted(b" ", some["key"], some["bare-cert"])],
        "both": [plain, encrypted(b" ", some["shrouded"], some["cert"])],
        "shrouded": [pfx.data_entry(some["shrouded"], some["part"], some["nothing"])],
        "refused": [encrypted(b"R", some["key"]), plain],
        "thrown": [plain, encrypted(b" ", some["bare-cert"], some["thrown"])],
        "thrown-entry": [encrypted(b" ", some["shrouded"]), encrypted(b"T")],
        "nothing": [encrypted(b" ", some["key"]), pfx.encrypted_entry(pfx.pbes2(), b"N")],
        "part": [pfx.data_entry(some["key"]), pfx.encrypted_entry(pfx.pbes2(), b"P" + struct.pack(">HH", 46, 500))],
        "foreign": [
            encrypted(b" ", some["key"], algorithm=pfx.pbes2(kdf=pfx.PBMAC1)),
            pfx.content_info(pfx.ENVELOPED_DATA, pfx.NULL),
        ],
        "bad-bag": [encrypted(b" ", some["shrouded"], some["utf8-name"])],
    }
    mac = pfx.mac_data(b"digest", iterations=2000)
    seeds = {name: pfx.pfx(pfx.sequence(*inside), mac) for name, inside in entries.items()}
    seeds |= dict(variations("varied", seeds["both"]))
    safe = pfx.sequence(plain)
    seeds["mac-refused"] = pfx.pfx(safe, pfx.mac_data(b"R"))
    seeds["mac-thrown"] = pfx.pfx(safe, pfx.mac_data(b"T"))
    seeds["no-mac"] = pfx.pfx(safe, b"")
    seeds["signed"] = pfx.pfx(safe, mac, pfx.SIGNED_DATA)
    for name in ("2001.p12", "chain.p12", "mixed-aes.p12"):
        seeds[f"file-{name}"] = (DATA / name).read_bytes()
    return seeds


def algorithms() -> Seeds:
    def pss(*fields: bytes) -> bytes:
        return pfx.sequence(pfx.oid(PSS), pfx.sequence(*fields))

    def tagged(number: int, *parts: bytes) -> bytes:
        return der.element(0xA0 + number, *parts)

    sha256 = pfx.sequence(pfx.oid(SHA256), pfx.NULL)
    fields = [
        tagged(0, sha256),
        tagged(1, pfx.sequence(pfx.oid(MGF1), sha256)),
        tagged(2, pfx.integer(32)),
        tagged(3, pfx.integer(1)),
    ]
    seeds = {"pss-none": pss(), "pss-hash": pss(fields[0]), "pss-salt": pss(fields[2])}
    seeds |= {"pss-mask": pss(fields[1]), "pss-bare": pfx.sequence(pfx.oid(PSS)), "parameters": pfx.sequence(*fields)}
    seeds["parameters-unknown"] = pfx.sequence(tagged(0, pfx.sequence(pfx.oid("1.2.3"))))
    for dotted in (
        SHA256,
        "1.2.643.2.2.9",
        "1.2.643.7.1.1.2.3",
        "1.2.643.2.2.19",
        "1.2.643.7.1.1.3.2",
        "1.3.14.3.2.29",
    ):
        seeds[f"oid-{dotted}"] = content(pfx.oid(dotted))
        seeds[f"signature-{dotted}"] = pfx.sequence(pfx.oid(dotted), pfx.NULL)
    for row in (0, 20, 24, 37, 40, 43, 53, 61):
        seeds[f"row-{row}"] = bytes([row]) + bytes(20)
    return seeds | {"name": b"sha256RSASSA-pss", "level": b"verbose"}


def public_keys() -> Seeds:
    rsa = pfx.sequence(der.element(der.INTEGER, b"\0\xc3" + bytes(15)), der.element(der.INTEGER, b"\1\0\1"))
    seeds: Seeds = {}
    for name, certificate in certificates().items():
        seeds |= dict(variations(f"gost-{name}", parts_of(certificate)[5]))
    sets = [pfx.oid("1.2.643.2.2.36.0"), pfx.oid("1.2.643.2.2.30.1"), pfx.oid("1.2.643.2.2.31.1")]
    for number in (1, 2, 3):
        parameters = pfx.sequence(*sets[:number])
        seeds[f"gost-{number}-sets"] = der.public_key(
            pfx.sequence(pfx.oid("1.2.643.2.2.19"), parameters), pfx.octet_string(bytes(64))
        )
        seeds[f"inner-gost-{number}"] = bytes([len(parameters)]) + parameters + pfx.octet_string(bytes(64))
    seeds["inner-rsa"] = b"\0" + rsa
    seeds["empty-bits"] = pfx.sequence(der.RSA, der.element(der.BIT_STRING))
    seeds["zero-modulus"] = der.public_key(der.RSA, pfx.sequence(der.element(der.INTEGER, b"\0\0"), pfx.integer(3)))
    seeds["signature-outside"] = pfx.sequence(pfx.integer(5)) + pfx.integer(7)
    return seeds


def times() -> Seeds:
    texts = [
        "2024.02.29 13:05:09",
        "2024.1.2 3:4:5",
        "1899.01.01 00:00:00",
        "1900.1.1 0:0:0",
        "2024.00.10 00:00:00",
        "2024.1.1",
        "16777215.256.256 255:255:255",
        "2024.1.1 300:0:0",
        "2024.13.32 25:61:61",
        "1970.1.1 0:0:0",
        "1969.12.31 23:59:59",
        "2038.01.19 03:14:08",
        "-1.-1.-1 -1:-1:-1",
        "4294969320.1.1 0:0:0",
        " 2024 . 1",
        "2106.02.07 06:28:16 GMT",
    ]
    seeds = {f"text-{i:02}": text.encode() for i, text in enumerate(texts)}
    for name, fields in {
        "now": (2026, 10, 21, 11, 5, 19),
        "leap": (2024, 1, 29, 23, 59, 60),
        "past-ends": (2024, 255, 255, 255, 255, 255),
        "year-0": (0, 0, 1, 0, 0, 0),
        "day-0": (2000, 0, 0, 0, 0, 0),
        "last": (0xFFFFFF, 255, 255, 255, 255, 254),
    }.items():
        seeds[f"packed-{name}"] = fields[0].to_bytes(3, "big") + bytes(fields[1:])
    for seconds in (
        0,
        -1,
        1 << 31,
        -(1 << 31),
        253402300800,
        -62167219201,
        (1 << 63) - 1,
        -(1 << 63),
        67768036191676799,
    ):
        seeds[f"seconds-{seconds}"] = struct.pack(">q", seconds)
    return seeds


TARGETS = {
    "tag_reader": tag_reader,
    "tag_reader_vs_64bit": tag_reader,
    "oid_text": oid_text,
    "oid_text_vs_slow": oid_text,
    "oid_map": oid_map,
    "dn_text": dn_text,
    "dn_text_vs_slow": dn_text,
    "der_name": der_name,
    "t61": t61,
    "gost_keys": gost_keys,
    "pkcs12_parts": pkcs12_parts,
    "pkcs12": pkcs12,
    "algorithms": algorithms,
    "public_keys": public_keys,
    "times": times,
}


def main() -> None:
    corpus = FUZZ / "corpus"
    seeds = {
        corpus / target / f"seed-{name}": seed for target, make in TARGETS.items() for name, seed in make().items()
    }
    present = set(corpus.glob("*/seed-*"))
    if sys.argv[1:] == ["--check"]:
        paths = sorted(present | set(seeds))
        stale = [path for path in paths if path not in present or path.read_bytes() != seeds.get(path)]
        sys.exit("\n".join(f"{path}: run fuzz/make_corpus.py" for path in stale) or 0)
    for old in present:
        old.unlink()
    for path, seed in seeds.items():
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(seed)
    print(f"{sum(map(len, seeds.values()))} bytes in {len(TARGETS)} folders")


if __name__ == "__main__":
    main()
