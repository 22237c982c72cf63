"""DER for tests, built by hand: names and certificates that no tool would make."""

INTEGER = 0x02
BIT_STRING = 0x03
OCTET_STRING = 0x04
OBJECT_IDENTIFIER = 0x06
UTF8_STRING = 0x0C
NUMERIC_STRING = 0x12
PRINTABLE_STRING = 0x13
T61_STRING = 0x14
IA5_STRING = 0x16
UTC_TIME = 0x17
GENERALIZED_TIME = 0x18
VISIBLE_STRING = 0x1A
UNIVERSAL_STRING = 0x1C
BMP_STRING = 0x1E
SEQUENCE = 0x30
SET = 0x31

COMMON_NAME = bytes.fromhex("550403")
ORGANIZATION = bytes.fromhex("55040A")
COUNTRY = bytes.fromhex("550406")


def element(tag, *parts):
    content = b"".join(parts)
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(octets)]) + octets + content


def oid(dotted):
    first, second, *rest = map(int, dotted.split("."))
    content = b""
    for arc in [first * 40 + second, *rest]:
        octets = [arc & 0x7F]
        while arc := arc >> 7:
            octets.insert(0, 0x80 | arc & 0x7F)
        content += bytes(octets)
    return element(OBJECT_IDENTIFIER, content)


def sequence(*parts):
    return element(SEQUENCE, *parts)


def octet_string(*parts):
    return element(OCTET_STRING, *parts)


def attribute(oid, tag, value, behind=b""):
    return element(SEQUENCE, element(OBJECT_IDENTIFIER, oid), element(tag, value), behind)


def name(*rdns):
    """Each RDN is an attribute, or a list of attributes."""
    return element(SEQUENCE, *(element(SET, *(rdn if isinstance(rdn, list) else [rdn])) for rdn in rdns))


def common_name(text):
    return name(attribute(COMMON_NAME, UTF8_STRING, text if isinstance(text, bytes) else text.encode()))


def algorithm(oid_hex, parameters=bytes.fromhex("0500")):
    return element(SEQUENCE, element(OBJECT_IDENTIFIER, bytes.fromhex(oid_hex)), parameters)


def utc_time(text):
    return element(UTC_TIME, text.encode())


def public_key(key_algorithm, bits):
    return element(SEQUENCE, key_algorithm, element(BIT_STRING, b"\0", bits))


SHA256_RSA = algorithm("2A864886F70D01010B")
RSA = algorithm("2A864886F70D010101")
# From 2025-01-02 03:04:05 to 2049-12-31 23:59:59.
VALIDITY = element(SEQUENCE, utc_time("250102030405Z"), utc_time("491231235959Z"))
# A modulus of 10 bits, which no one uses, and the exponent 3.
RSA_KEY = public_key(RSA, element(SEQUENCE, bytes.fromhex("0202032F"), bytes.fromhex("020103")))


def certificate(
    subject,
    issuer=None,
    version=True,
    serial=b"\1",
    validity=VALIDITY,
    key=RSA_KEY,
    signature=SHA256_RSA,
    inner_signature=None,
):
    """Certificate (RFC 5280 4.1); serial is the content of the INTEGER."""
    tbs = element(
        SEQUENCE,
        bytes.fromhex("A003020102") if version else b"",
        element(INTEGER, serial),
        signature if inner_signature is None else inner_signature,
        subject if issuer is None else issuer,
        validity,
        subject,
        key,
    )
    return element(SEQUENCE, tbs, signature, bytes.fromhex("030100"))
