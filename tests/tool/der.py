"""Encodes DER and PEM for tests: names, certificates and keys that no program would make."""

import base64
import re

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
CONTEXT_0 = 0xA0
CONTEXT_0_PRIMITIVE = 0x80
NULL = bytes.fromhex("0500")

COMMON_NAME = "2.5.4.3"
COUNTRY = "2.5.4.6"
ORGANIZATION = "2.5.4.10"
# An arc for examples, which no table names.
EXAMPLE_OID = "1.3.6.1.4.1.99999.1"
GOST_2001 = "1.2.643.2.2.19"
GOST_2012_256 = "1.2.643.7.1.1.1.1"
GOST_2012_512 = "1.2.643.7.1.1.1.2"


def element(tag, *parts):
    content = b"".join(parts)
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(octets)]) + octets + content


def oid_content(dotted):
    """Encodes dotted text; none of it is an OID without content octets."""
    if not dotted:
        return b""
    first, second, *rest = map(int, dotted.split("."))
    content = b""
    for arc in [first * 40 + second, *rest]:
        octets = [arc & 0x7F]
        while arc := arc >> 7:
            octets.insert(0, 0x80 | arc & 0x7F)
        content += bytes(octets)
    return content


def arcs(content):
    """Returns the dotted text of content octets, with all of its arcs, whatever their size (X.690 8.19)."""
    numbers, number = [], 0
    for octet in content:
        number = number << 7 | octet & 0x7F
        if octet < 0x80:
            numbers.append(number)
            number = 0
    first = min(numbers[0] // 40, 2)
    return ".".join(map(str, [first, numbers[0] - 40 * first, *numbers[1:]]))


def has_arcs_of_the_library(content):
    """Tells whether no arc is padded or has more than 32 bits: then dotted text leads back to the content."""
    starts = [i for i in range(len(content)) if i == 0 or content[i - 1] < 0x80]
    return (all(content[i] != 0x80 for i in starts) and
            all(int(arc) < 2**32 - 80 * (i == 1) for i, arc in enumerate(arcs(content).split("."))))


def oid(dotted):
    return element(OBJECT_IDENTIFIER, oid_content(dotted))


def sequence(*parts):
    return element(SEQUENCE, *parts)


def octet_string(*parts):
    return element(OCTET_STRING, *parts)


def integer(value):
    return element(INTEGER, value.to_bytes(value.bit_length() // 8 + 1, "big"))


def attribute(attribute_type, tag, value, after=b""):
    """Encodes an AttributeTypeAndValue; its type is dotted text, or the content of an OID."""
    content = attribute_type if isinstance(attribute_type, bytes) else oid_content(attribute_type)
    return sequence(element(OBJECT_IDENTIFIER, content), element(tag, value), after)


def name(*rdns):
    """Encodes a Name; each RDN is an attribute, or a list of attributes."""
    return sequence(*(element(SET, *(rdn if isinstance(rdn, list) else [rdn])) for rdn in rdns))


def common_name(text):
    return name(attribute(COMMON_NAME, UTF8_STRING, text if isinstance(text, bytes) else text.encode()))


def algorithm(dotted, parameters=NULL):
    return sequence(oid(dotted), parameters)


def validity(*times):
    """Encodes a Validity of (tag, text) pairs."""
    return sequence(*(element(tag, text.encode()) for tag, text in times))


def public_key(key_algorithm, bits):
    return sequence(key_algorithm, element(BIT_STRING, b"\0", bits))


SHA256_RSA = algorithm("1.2.840.113549.1.1.11")
RSA = algorithm("1.2.840.113549.1.1.1")
VALIDITY = validity((UTC_TIME, "250102030405Z"), (UTC_TIME, "491231235959Z"))
# A modulus of 10 bits, which no one uses, and the exponent 3.
RSA_KEY = public_key(RSA, sequence(integer(0x32F), integer(3)))


def certificate(
    subject, issuer=None, version=True, serial=b"\1", validity=VALIDITY, key=RSA_KEY, signature=SHA256_RSA,
    inner_signature=None, after_key=b"",
):
    """Encodes a Certificate (RFC 5280 4.1); `serial` is the content of the INTEGER, a subject may be a common name."""
    subject = subject if isinstance(subject, bytes) else common_name(subject)
    issuer = subject if issuer is None else issuer if isinstance(issuer, bytes) else common_name(issuer)
    tbs = sequence(
        element(CONTEXT_0, integer(2)) if version else b"",
        element(INTEGER, serial),
        signature if inner_signature is None else inner_signature,
        issuer,
        validity,
        subject,
        key,
        after_key,
    )
    return sequence(tbs, signature, element(BIT_STRING, b"\0"))


def param_sets(*dotted):
    return sequence(*map(oid, dotted))


CRYPTOPRO_A = param_sets("1.2.643.2.2.35.1", "1.2.643.2.2.30.1")
# No octet is zero, and the first one has its top bit clear.
KEY_32 = bytes(range(0x41, 0x61))


def private_key(octets=octet_string(KEY_32), algorithm=GOST_2001, parameters=CRYPTOPRO_A, after=b"", version=0):
    """Encodes a PrivateKeyInfo (RFC 5208 5)."""
    return sequence(integer(version), sequence(oid(algorithm), parameters), octet_string(octets), after)


def pem(data, label="CERTIFICATE", line_end="\n", width=64):
    text = base64.b64encode(data).decode()
    lines = [text[i : i + width] for i in range(0, len(text), width)]
    return line_end.join([f"-----BEGIN {label}-----", *lines, f"-----END {label}-----", ""]).encode()


def unpem(text, label="[A-Z ]+"):
    """Returns the DER of every block with this label."""
    blocks = re.findall(f"-----BEGIN {label}-----\n(.*?)-----END {label}-----\n".encode(), text, re.DOTALL)
    return [base64.b64decode(block) for block in blocks]
