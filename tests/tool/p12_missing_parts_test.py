#!/usr/bin/env python3
"""Containers that lack a part, or have something else in its place, as "derkit p12" tells of them.

DERKIT_TOOL names the tool. The MACs are right, so that what is inside is read."""

import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import der
import pfx

TOOL = os.environ["DERKIT_TOOL"]
TIME_LIMIT = 60
PASSWORD = "x"

# The universal types, in the form that each of them has.
CONSTRUCTED_TYPES = {0x08, 0x0B, 0x10, 0x11}
UNIVERSAL_TAGS = [number | 0x20 if number in CONSTRUCTED_TYPES else number for number in range(1, 31)]


def certificate(common_name):
    return der.certificate(der.common_name(common_name))


class Parts:
    """Writes elements, and one of them, which it is told the name of, in another way."""

    def __init__(self, spoiled=None, spoil=None):
        self.spoiled, self.spoil = spoiled, spoil

    def element(self, name, tag, content):
        return self.spoil(tag, content) if name == self.spoiled else der.element(tag, content)

    def authenticated_safe(self):
        attributes = self.element("attributes", der.SET, pfx.friendly_name("name") + pfx.local_key_id(b"id"))
        cert_value = self.element("cert_value", pfx.CONTEXT_0, pfx.octet_string(certificate("clear")))
        cert_bag_value = pfx.sequence(pfx.oid(pfx.X509_CERTIFICATE), cert_value)
        cert_bag = self.bag("cert_bag_value", pfx.CERT_BAG, cert_bag_value, attributes)
        key_bag = self.bag("key_bag_value", pfx.KEY_BAG, self.private_key())
        shrouded = self.bag("shrouded_bag_value", pfx.SHROUDED_KEY_BAG, SHROUDED_KEY)
        plain = pfx.octet_string(pfx.sequence(cert_bag, key_bag, shrouded))
        plain_entry = pfx.sequence(pfx.oid(pfx.DATA), self.element("data_content", pfx.CONTEXT_0, plain))
        ciphertext = self.element("encrypted_content", pfx.CONTEXT_0_PRIMITIVE, HIDDEN_BAGS)
        info = pfx.sequence(pfx.oid(pfx.DATA), pfx.pbes2(), ciphertext)
        unprotected = self.element("unprotected_attributes", 0xA1, pfx.attribute("1.2.3", pfx.NULL))
        encrypted = pfx.sequence(pfx.integer(0), info, unprotected)
        encrypted_entry = pfx.sequence(
            pfx.oid(pfx.ENCRYPTED_DATA), self.element("encrypted_data_content", pfx.CONTEXT_0, encrypted)
        )
        return pfx.sequence(plain_entry, encrypted_entry)

    def private_key(self):
        params = pfx.sequence(pfx.oid("1.2.643.2.2.35.1"), pfx.oid("1.2.643.2.2.30.1"))
        octets = pfx.octet_string(pfx.octet_string(bytes(range(0x41, 0x61))))
        attributes = self.element("key_attributes", pfx.CONTEXT_0, pfx.attribute("1.2.3", pfx.NULL))
        algorithm = pfx.sequence(pfx.oid("1.2.643.2.2.19"), params)
        return pfx.sequence(pfx.integer(0), algorithm, octets, attributes)

    def bag(self, name, bag_type, value, attributes=b""):
        return pfx.sequence(pfx.oid(bag_type), self.element(name, pfx.CONTEXT_0, value), attributes)

    def container(self, safe, mac):
        algorithm = pfx.sequence(pfx.oid(pfx.GOST_34_11_94), self.element("digest_parameters", 0x05, b""))
        count = self.element("mac_iterations", pfx.INTEGER, b"\1")
        mac_data = pfx.sequence(algorithm, pfx.octet_string(mac)) + pfx.octet_string(pfx.SALT) + count
        content = self.element("auth_safe_content", pfx.CONTEXT_0, pfx.octet_string(safe))
        auth_safe = pfx.sequence(pfx.oid(pfx.DATA), content)
        return pfx.sequence(pfx.integer(3), auth_safe, self.element("mac_data", der.SEQUENCE, mac_data))


def setUpModule():
    global FOLDER, SHROUDED_KEY, HIDDEN_BAGS, MAC_KEY, GOST
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    FOLDER = Path(folder.name)
    GOST = pfx.Gost(FOLDER)
    key = GOST.encrypt(PASSWORD, Parts().private_key())
    SHROUDED_KEY = pfx.sequence(pfx.pbes2(), pfx.octet_string(key))
    HIDDEN_BAGS = GOST.encrypt(PASSWORD, pfx.sequence(pfx.cert_bag(certificate("hidden"))))
    MAC_KEY = GOST.pkcs12_key(pfx.bmp_password(PASSWORD), pfx.SALT)


def macs(safes):
    """The MACs of many contents by one run of openssl."""
    paths = []
    for index, safe in enumerate(safes):
        paths.append(FOLDER / f"safe-{index}")
        paths[-1].write_bytes(safe)
    key = ["-mac", "hmac", "-macopt", f"hexkey:{MAC_KEY.hex()}"]
    lines = GOST.openssl("dgst", "-md_gost94", *key, *paths).decode().splitlines()
    return [bytes.fromhex(line.rsplit(" ", 1)[1]) for line in lines]


def removed(tag, content):
    return b""


def emptied(tag, content):
    return der.element(tag)


def replaced_by_null(tag, content):
    return pfx.NULL


def under(other):
    return lambda tag, content: der.element(other, content)


def damaged(problem):
    """Nothing is read, and the place is named."""
    return {}, f"damaged: {problem}"


# What is shown: keys, and subjects of certificates with their names.
WHOLE = {"keys": 2, "CN=clear": "name", "CN=hidden": None}, None
NAMELESS = {"keys": 2, "CN=clear": None, "CN=hidden": None}, None
UNDECRYPTABLE = "cannot be decrypted: it is damaged, or encrypted under another password than the MAC"
NO_MAC = {}, "has no MAC; containers without one are not read"

# Of each part: what is told when it is removed, replaced by NULL or under another tag; when it is emptied; and the
# universal tag that it has itself.
PARTS = {
    "mac_data": (NO_MAC, ({}, "not a PKCS#12 container: MacData is malformed"), der.SEQUENCE),
    "mac_iterations": (WHOLE, WHOLE, pfx.INTEGER),
    "digest_parameters": (WHOLE, WHOLE, 0x05),
    "auth_safe_content": (
        damaged("the content of authSafe is missing"),
        damaged("the OCTET STRING of authSafe is missing"),
        None,
    ),
    "data_content": (
        damaged("entry 1: content is missing"),
        damaged("entry 1: the OCTET STRING of data is missing"),
        None,
    ),
    "encrypted_data_content": (
        damaged("entry 2: content is missing"),
        damaged("entry 2: EncryptedData is missing"),
        None,
    ),
    "encrypted_content": (
        damaged("entry 2: encryptedContent is missing"),
        ({"keys": 2, "CN=clear": "name"}, f"entry 2 (encryptedData) {UNDECRYPTABLE}"),
        None,
    ),
    "unprotected_attributes": (WHOLE, WHOLE, None),
    "cert_bag_value": (
        damaged("entry 1, bag 1: bagValue is missing"),
        damaged("entry 1, bag 1: CertBag is missing"),
        None,
    ),
    "cert_value": (
        damaged("entry 1, bag 1: certValue is missing"),
        damaged("entry 1, bag 1: the certificate is missing"),
        None,
    ),
    "attributes": (NAMELESS, NAMELESS, der.SET),
    "key_bag_value": (
        damaged("entry 1, bag 2: bagValue is missing"),
        (WHOLE[0], "key 1: not a PrivateKeyInfo: SEQUENCE is missing or malformed"),
        None,
    ),
    "key_attributes": (WHOLE, WHOLE, None),
    "shrouded_bag_value": (
        damaged("entry 1, bag 3: bagValue is missing"),
        ({"keys": 1, "CN=clear": "name", "CN=hidden": None}, "entry 1, bag 3 (pkcs8ShroudedKeyBag) is malformed"),
        None,
    ),
}


def spoiled_containers(part, tags):
    """Name of the way, the container, and what must be told of it."""
    missing, empty, own_tag = PARTS[part]
    ways = [("removed", removed, missing), ("emptied", emptied, empty), ("NULL", replaced_by_null, missing)]
    ways += [(f"under tag {tag:02X}", under(tag), WHOLE if tag == own_tag else missing) for tag in tags]
    parts = [Parts(part, spoil) for _, spoil, _ in ways]
    safes = [spoiled.authenticated_safe() for spoiled in parts]
    for (way, _, expected), spoiled, safe, mac in zip(ways, parts, safes, macs(safes)):
        yield way, spoiled.container(safe, mac), expected


def run(*arguments):
    return subprocess.run(
        [TOOL, "p12", *map(str, arguments), "--password-env", "P12_PASSWORD"],
        capture_output=True,
        timeout=TIME_LIMIT,
        env={**os.environ, "P12_PASSWORD": PASSWORD},
    )


def shown_objects(output):
    shown = {}
    for found in map(json.loads, output.splitlines()):
        if found["object"] == "key":
            shown["keys"] = shown.get("keys", 0) + 1
        elif found["object"] == "certificate":
            shown[found["subject"]] = found.get("friendly_name")
    return shown


class MissingParts(unittest.TestCase):
    def test_are_told_and_the_rest_is_shown(self):
        path = FOLDER / "spoiled.p12"
        for part in PARTS:
            for way, container, (objects, problem) in spoiled_containers(part, UNIVERSAL_TAGS):
                with self.subTest(part=part, way=way):
                    path.write_bytes(container)
                    done = run("show", "--json", path)
                    told = "" if problem is None else f"derkit: {path}: {problem}\n"
                    self.assertEqual(done.stderr.decode(), told)
                    self.assertEqual(done.returncode, 0 if problem is None else 1)
                    self.assertEqual(shown_objects(done.stdout), objects)

    def test_let_nothing_be_extracted_or_all(self):
        path = FOLDER / "spoiled.p12"
        for part in PARTS:
            for way, container, (_, problem) in spoiled_containers(part, [pfx.OCTET_STRING]):
                with self.subTest(part=part, way=way), tempfile.TemporaryDirectory() as folder:
                    path.write_bytes(container)
                    out = Path(folder) / "out"
                    done = run("extract", path, "--out", out)
                    self.assertEqual(done.returncode, 0 if problem is None else 1, done.stderr)
                    files = sorted(file.name for file in out.iterdir()) if out.exists() else []
                    all_files = ["certificate-1.pem", "certificate-2.pem", "key-1.pem", "key-2.pem"]
                    self.assertEqual(files, all_files if problem is None else [])
                    self.assertEqual(bool(done.stderr), problem is not None)


if __name__ == "__main__":
    unittest.main()
