"""DER for tests, built by hand: names and certificates that no tool would make."""

OBJECT_IDENTIFIER = 0x06
UTF8_STRING = 0x0C
NUMERIC_STRING = 0x12
PRINTABLE_STRING = 0x13
T61_STRING = 0x14
IA5_STRING = 0x16
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


def attribute(oid, tag, value, behind=b""):
    return element(SEQUENCE, element(OBJECT_IDENTIFIER, oid), element(tag, value), behind)


def name(*rdns):
    """Each RDN is an attribute, or a list of attributes."""
    return element(SEQUENCE, *(element(SET, *(rdn if isinstance(rdn, list) else [rdn])) for rdn in rdns))


def common_name(text):
    return name(attribute(COMMON_NAME, UTF8_STRING, text if isinstance(text, bytes) else text.encode()))


def certificate(subject, issuer=None, version=True):
    """Certificate with empty algorithms, validity and key (RFC 5280 4.1)."""
    nothing = element(SEQUENCE)
    tbs = element(
        SEQUENCE,
        bytes.fromhex("A003020102") if version else b"",
        bytes.fromhex("020101"),
        nothing,
        subject if issuer is None else issuer,
        nothing,
        subject,
        nothing,
    )
    return element(SEQUENCE, tbs, nothing, bytes.fromhex("030100"))
