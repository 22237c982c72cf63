#!/usr/bin/env python3
"""Tests what "derkit p12" says of containers that lack a part, or have something else in its place.

The MACs are right, so that what is inside is read.
"""

import tempfile
import unittest
from pathlib import Path

import der
import openssl
import pfx
from der import CONTEXT_0, NULL, element, octet_string, oid, sequence
from p12 import MALFORMED, NO_MAC, NOT_A_CONTAINER, UNDECRYPTABLE
from tool import FEW_CASES, ToolTest, objects, thin

PASSWORD = "x"
# The universal types, in the form that each of them has.
CONSTRUCTED_TYPES = {0x08, 0x0B, 0x10, 0x11}
UNIVERSAL_TAGS = [number | 0x20 if number in CONSTRUCTED_TYPES else number for number in range(1, 31)]


class Parts:
    """Encodes a container, and one named element of it in another way."""

    def __init__(self, spoiled=None, spoil=None):
        self.spoiled, self.spoil = spoiled, spoil

    def element(self, name, tag, content):
        return self.spoil(tag, content) if name == self.spoiled else element(tag, content)

    def authenticated_safe(self):
        attributes = self.element("attributes", der.SET, pfx.friendly_name("name") + pfx.local_key_id(b"id"))
        cert_value = self.element("cert_value", CONTEXT_0, octet_string(der.certificate("clear")))
        cert_bag_value = sequence(oid(pfx.X509_CERTIFICATE), cert_value)
        cert_bag = self.bag("cert_bag_value", pfx.CERT_BAG, cert_bag_value, attributes)
        key_bag = self.bag("key_bag_value", pfx.KEY_BAG, self.private_key())
        encrypted_key = pfx.encrypted_key(pfx.pbes2(), pfx.encrypt(PASSWORD, Parts().private_key()))
        shrouded = self.bag("shrouded_bag_value", pfx.SHROUDED_KEY_BAG, encrypted_key)
        plain = octet_string(sequence(cert_bag, key_bag, shrouded))
        plain_entry = sequence(oid(pfx.DATA), self.element("data_content", CONTEXT_0, plain))
        hidden = pfx.encrypt(PASSWORD, sequence(pfx.cert_bag(der.certificate("hidden"))))
        ciphertext = self.element("encrypted_content", der.CONTEXT_0_PRIMITIVE, hidden)
        info = sequence(oid(pfx.DATA), pfx.pbes2(), ciphertext)
        unprotected = self.element("unprotected_attributes", 0xA1, pfx.attribute("1.2.3", NULL))
        encrypted = self.element("encrypted_data_content", CONTEXT_0, sequence(der.integer(0), info, unprotected))
        return sequence(plain_entry, sequence(oid(pfx.ENCRYPTED_DATA), encrypted))

    def private_key(self):
        return der.private_key(after=self.element("key_attributes", CONTEXT_0, pfx.attribute("1.2.3", NULL)))

    def bag(self, name, bag_type, value, attributes=b""):
        return sequence(oid(bag_type), self.element(name, CONTEXT_0, value), attributes)

    def container(self, safe, mac):
        algorithm = sequence(oid(pfx.GOST_34_11_94), self.element("digest_parameters", 0x05, b""))
        count = self.element("mac_iterations", der.INTEGER, b"\1")
        mac_data = sequence(algorithm, octet_string(mac)) + octet_string(pfx.SALT) + count
        content = self.element("auth_safe_content", CONTEXT_0, octet_string(safe))
        auth_safe = sequence(oid(pfx.DATA), content)
        return sequence(der.integer(3), auth_safe, self.element("mac_data", der.SEQUENCE, mac_data))


def macs(safes):
    """Computes the MACs of many contents by one run of openssl."""
    with tempfile.TemporaryDirectory() as folder:
        paths = [Path(folder) / str(index) for index, _ in enumerate(safes)]
        for path, safe in zip(paths, safes):
            path.write_bytes(safe)
        key = pfx.pkcs12_key(PASSWORD).hex()
        out = openssl.gost("dgst", "-md_gost94", "-mac", "hmac", "-macopt", f"hexkey:{key}", *paths)
    return [bytes.fromhex(line.rsplit(" ", 1)[1]) for line in out.decode().splitlines()]


def under(other):
    return lambda tag, content: element(other, content)


# What is shown (the number of keys, and subjects of certificates with their friendly names), and the problem.
WHOLE = {"keys": 2, "CN=clear": "name", "CN=hidden": None}, None
NAMELESS = {"keys": 2, "CN=clear": None, "CN=hidden": None}, None
NOTHING = {}, NOT_A_CONTAINER
WITHOUT_MAC = {}, NO_MAC
NOT_A_KEY = WHOLE[0], "key 1: not a PrivateKeyInfo: SEQUENCE is missing or malformed"
NO_DATA = {"CN=hidden": None}, f"entry 1 (data): {MALFORMED}"
NO_ENCRYPTED_DATA = {"keys": 2, "CN=clear": "name"}, f"entry 2 (encryptedData): {MALFORMED}"
NO_CIPHERTEXT = NO_ENCRYPTED_DATA[0], f"entry 2 (encryptedData): {UNDECRYPTABLE}"
NO_CERTIFICATE = {"keys": 2, "CN=hidden": None}, f"entry 1, bag 1 (certBag): {MALFORMED}"
NO_SHROUDED_KEY = {"keys": 1, "CN=clear": "name", "CN=hidden": None}, f"entry 1, bag 3 (pkcs8ShroudedKeyBag): {MALFORMED}"

# For each part: what is expected when it is removed, when it is replaced by NULL or under another tag, when it is empty;
# and its own universal tag.
PARTS = {
    "mac_data": (WITHOUT_MAC, NOTHING, NOTHING, der.SEQUENCE),
    "mac_iterations": (WHOLE, WHOLE, WHOLE, der.INTEGER),
    "digest_parameters": (WHOLE, WHOLE, WHOLE, 0x05),
    "auth_safe_content": (NOTHING, NOTHING, NOTHING, None),
    "data_content": (NO_DATA, NOTHING, NO_DATA, None),
    "encrypted_data_content": (NO_ENCRYPTED_DATA, NOTHING, NO_ENCRYPTED_DATA, None),
    "encrypted_content": (NO_ENCRYPTED_DATA, NO_ENCRYPTED_DATA, NO_CIPHERTEXT, None),
    "unprotected_attributes": (WHOLE, WHOLE, WHOLE, None),
    "cert_bag_value": (NO_DATA, NO_DATA, NO_CERTIFICATE, None),
    "cert_value": (NO_CERTIFICATE, NO_CERTIFICATE, NO_CERTIFICATE, None),
    "attributes": (NAMELESS, NO_DATA, NAMELESS, der.SET),
    "key_bag_value": (NO_DATA, NO_DATA, NOT_A_KEY, None),
    "key_attributes": (WHOLE, WHOLE, WHOLE, None),
    "shrouded_bag_value": (NO_DATA, NO_DATA, NO_SHROUDED_KEY, None),
}


def spoiled_containers(part, tags):
    """Yields the way of spoiling, the container, and what must be shown and said of it."""
    removed, replaced, empty, own_tag = PARTS[part]
    ways = [
        ("removed", lambda tag, content: b"", removed),
        ("emptied", lambda tag, content: element(tag), empty),
        ("NULL", lambda tag, content: NULL, replaced),
        *((f"under tag {tag:02X}", under(tag), WHOLE if tag == own_tag else replaced) for tag in tags),
    ]
    parts = [Parts(part, spoil) for _, spoil, _ in ways]
    safes = [spoiled.authenticated_safe() for spoiled in parts]
    for (way, _, expected), spoiled, safe, mac in zip(ways, parts, safes, macs(safes)):
        yield way, spoiled.container(safe, mac), expected


def what_is_shown(found):
    certificates = {each["subject"]: each.get("friendly_name") for each in found if each["object"] == "certificate"}
    keys = sum(each["object"] == "key" for each in found)
    return certificates | ({"keys": keys} if keys else {})


class MissingParts(ToolTest):
    COMMAND = ("p12",)

    def tool(self, *arguments):
        return super().tool(*arguments, "--password-env", "P12_PASSWORD", env={"P12_PASSWORD": PASSWORD})

    def test_they_are_named_and_the_rest_is_shown(self):
        for part in PARTS:
            for way, container, (expected, problem) in spoiled_containers(part, [] if FEW_CASES else UNIVERSAL_TAGS):
                with self.subTest(part=part, way=way):
                    path = self.file("spoiled.p12", container)
                    done = self.tool("show", "--json", path)
                    self.assertEqual(done.errors, [f"derkit: {path}: {problem}"] if problem else [])
                    self.assertEqual(done.status, 1 if problem else 0)
                    self.assertEqual(what_is_shown(objects(done.text)), expected)

    def test_all_is_extracted_or_nothing(self):
        all_files = ["certificate-1.pem", "certificate-2.pem", "key-1.pem", "key-2.pem"]
        for part in thin(PARTS, 4):
            for way, container, (_, problem) in spoiled_containers(part, [der.OCTET_STRING]):
                with self.subTest(part=part, way=way):
                    out = self.folder / f"{part}-{way}"
                    done = self.tool("extract", self.file("spoiled.p12", container), "--out", out)
                    self.assertEqual(done.status, 1 if problem else 0, done.errors)
                    files = sorted(file.name for file in out.iterdir()) if out.exists() else []
                    self.assertEqual(files, [] if problem else all_files)
                    self.assertEqual(bool(done.errors), problem is not None)


if __name__ == "__main__":
    unittest.main()
