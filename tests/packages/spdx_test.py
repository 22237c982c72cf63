#!/usr/bin/env python3
"""derkit.spdx.json against the sources and SPDX 2.3, and the licence files against the rules of REUSE."""
import fnmatch
import hashlib
import json
import pathlib
import re
import subprocess
import tempfile
import tomllib
import unittest

from packages import BUILD, SOURCE, VERSION, run

DOCUMENT = json.loads((pathlib.Path(BUILD) / "derkit.spdx.json").read_text(encoding="utf-8"))
DELIVERED = "include", "asn", "pkcs", "platform", "util", "gost", "tools"


def digest(algorithm, octets):
    return hashlib.new(algorithm, octets).hexdigest()


class SpdxTest(unittest.TestCase):
    def test_it_lists_the_sources_with_their_hashes(self):
        sources = [path for folder in DELIVERED for path in (SOURCE / folder).rglob("*") if path.is_file()]
        expected = {f"./{path.relative_to(SOURCE)}": path.read_bytes() for path in [SOURCE / "LICENSE", *sources]}
        found = {file["fileName"]: {entry["algorithm"]: entry["checksumValue"] for entry in file["checksums"]}
                 for file in DOCUMENT["files"]}
        self.assertEqual(found, {name: {"SHA1": digest("sha1", octets), "SHA256": digest("sha256", octets)}
                                 for name, octets in expected.items()})
        # 7.9: over the files' hashes in ascending order.
        code = digest("sha1", "".join(sorted(hashes["SHA1"] for hashes in found.values())).encode())
        self.assertEqual(DOCUMENT["packages"][0]["packageVerificationCode"], {"packageVerificationCodeValue": code})

    def test_identifiers_are_unique_and_lead_to_something(self):
        elements = [DOCUMENT, *DOCUMENT["packages"], *DOCUMENT["files"]]
        identifiers = [element["SPDXID"] for element in elements]
        self.assertEqual(len(set(identifiers)), len(identifiers))
        for identifier in identifiers:
            self.assertRegex(identifier, r"^SPDXRef-[A-Za-z0-9.-]+$")
        for relationship in DOCUMENT["relationships"]:
            self.assertIn(relationship["spdxElementId"], identifiers)
            self.assertIn(relationship["relatedSpdxElement"], identifiers)
        contained = {each["relatedSpdxElement"] for each in DOCUMENT["relationships"]
                     if each["relationshipType"] == "CONTAINS"}
        self.assertEqual(contained, {file["SPDXID"] for file in DOCUMENT["files"]})

    def test_it_has_the_fields_that_the_format_wants(self):
        self.assertEqual((DOCUMENT["spdxVersion"], DOCUMENT["dataLicense"], DOCUMENT["SPDXID"]),
                         ("SPDX-2.3", "CC0-1.0", "SPDXRef-DOCUMENT"))
        self.assertRegex(DOCUMENT["documentNamespace"], r"^https://[^#]+$")
        self.assertRegex(DOCUMENT["creationInfo"]["created"], r"^\d{4}(-\d\d){2}T\d\d:\d\d:\d\dZ$")
        self.assertTrue(DOCUMENT["creationInfo"]["creators"])
        package = DOCUMENT["packages"][0]
        self.assertEqual((package["name"], package["versionInfo"], package["licenseDeclared"]),
                         ("derkit", VERSION, "MIT"))
        for each in DOCUMENT["packages"]:
            self.assertLessEqual({"downloadLocation", "copyrightText", "licenseConcluded"}, each.keys())

    def test_its_time_is_the_one_asked_for(self):
        with tempfile.TemporaryDirectory() as folder:
            document = pathlib.Path(folder) / "document"
            run("cmake", "-DNAME=derkit", "-DVERSION=1", f"-DROOT={SOURCE}", f"-DFILES={SOURCE}/LICENSE",
                f"-DDOCUMENT={document}", "-P", SOURCE / "cmake/make_spdx.cmake", SOURCE_DATE_EPOCH=86400)
            self.assertEqual(json.loads(document.read_text(encoding="utf-8"))["creationInfo"]["created"],
                             "1970-01-02T00:00:00Z")


class ReuseTest(unittest.TestCase):
    """The rules of version 3.3 (reuse.software): a text for each licence, and every file has a licence and a holder."""

    def test_every_licence_has_a_text_and_every_text_is_a_licence(self):
        used = {annotation["SPDX-License-Identifier"] for annotation in self.annotations()}
        self.assertEqual(used, {path.stem for path in (SOURCE / "LICENSES").iterdir()})
        text = (SOURCE / "LICENSES/MIT.txt").read_text(encoding="utf-8")
        self.assertEqual(re.sub(r"\s+", " ", text), re.sub(r"\s+", " ", (SOURCE / "LICENSE").read_text(encoding="utf-8")))

    def test_every_file_has_a_licence_and_a_holder(self):
        listed = subprocess.run(["git", "-C", SOURCE, "ls-files"], capture_output=True, text=True, check=False)
        if listed.returncode != 0:
            self.skipTest("not a clone")
        for name in listed.stdout.splitlines():
            holders = {annotation["SPDX-FileCopyrightText"] for annotation in self.annotations()
                       if fnmatch.fnmatch(name, annotation["path"])}
            self.assertEqual(holders, {"2026 the derkit authors"}, name)

    @staticmethod
    def annotations():
        table = tomllib.loads((SOURCE / "REUSE.toml").read_text(encoding="utf-8"))
        assert table["version"] == 1
        return table["annotations"]


if __name__ == "__main__":
    unittest.main(verbosity=2)
