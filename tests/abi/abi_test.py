#!/usr/bin/env python3
"""Tests of the library's binary interface against its snapshot in abi/.

The environment sets DERKIT_SOURCE_DIR, the library DERKIT_LIBRARY, the snapshot DERKIT_SNAPSHOT and the folder of the
headers DERKIT_HEADERS. After an intended
change run scripts/update-abi.sh; docs/abi.md says which changes are allowed.
"""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["DERKIT_SOURCE_DIR"])
LIBRARY = os.environ["DERKIT_LIBRARY"]
SNAPSHOT = pathlib.Path(os.environ["DERKIT_SNAPSHOT"])
HEADERS = pathlib.Path(os.environ["DERKIT_HEADERS"])
TIME_LIMIT = 120

# Changes of the interface, made in the snapshot: an expression and its replacement.
CHANGES = {
    "a function is gone": (r"\n *<elf-symbol name='_Z18PKI_KEY_ALG_TO_OID9pki_alg_t'[^\n]*", ""),
    "a function is new": (r"(\n *<elf-symbol name=')_Z18PKI_KEY_ALG_TO_OID9pki_alg_t('[^\n]*)", r"\g<0>\1_Z3newv\2"),
    "a function's version": (r"(name='_Z15oid_map_release16oid_map_handle_t' version=')DERKIT_1.0", r"\1DERKIT_2.0"),
    "a result's type": (r"(<function-decl name='asn_read_pubkey'.*?<return type-id=')95e97e5e", r"\g<1>95e97e5f"),
    "an enumerator's value": (r"(name='PKI_ALG_RSA' value=')1'", r"\g<1>2'"),
    "a new enumerator": (r"\n *<enumerator name='PKI_ALG_RSA'[^\n]*", r"\g<0><enumerator name='NEW' value='99'/>"),
    "a record's size": (r"(<class-decl name='blob_t' size-in-bits=')\d+", r"\g<1>256"),
    "a field's place": (r"(<class-decl name='blob_t'.*?layout-offset-in-bits=')(32|64)'", r"\g<1>96'"),
    "a field's name": (r"(<class-decl name='pkcs12_mac_t'.*?<var-decl name=')iterations'", r"\1rounds'"),
    "a field that is a container": (r"(<class-decl name='pkcs12_easy_t'.*?<var-decl name=')plain_bags'", r"\1bags'"),
    "the order of virtual functions": (
        r"(<class-decl name='pbe_crypto_t'.*?vtable-offset=')0(.*?vtable-offset=')1'", r"\g<1>1\g<2>0'"),
    "an object's type": (r"(<var-decl name='I2S_LOG_LEVEL' type-id=')\w+'", r"\g<1>95e97e5e'"),
    "a name for a type": (r"(<typedef-decl name='cert_time64_t' type-id=')\w+'", r"\g<1>95e97e5e'"),
    "the library's name": (r"libderkit\.so\.1", "libderkit.so.2"),
}
SEEN = {"pbe_crypto_t", "pki_alg_t", "pkcs12_bag_t", "cert_time64_t"}  # types of the headers
if HEADERS.name == "gost":
    CHANGES = {
        "a function is gone": (r"\n *<elf-symbol name='_ZN6derkit4gost4wipe[^\n]*", ""),
        "a function's version": (r"(name='_ZN6derkit4gost4wipe[^']*' version=')DERKIT_GOST_1.0", r"\1DERKIT_GOST_2.0"),
        "an enumerator's value": (r"(name='wrong_mac' value=')20'", r"\g<1>21'"),
        "a record's size": (r"(<class-decl name='bag' size-in-bits=')\d+", r"\g<1>64"),
        "a field's name": (r"(<class-decl name='limits'.*?<var-decl name=')max_bags'", r"\1bags'"),
        "the library's name": (r"libderkit-gost\.so\.1", "libderkit-gost.so.2"),
    }
    SEEN = {"bag", "cause", "container", "failure", "pbe_crypto", "private_key", "secret", "write_options"}


def differences(before, after):
    """Returns abidiff's report, empty when nothing differs. Changes that no program notices are reported too."""
    done = subprocess.run(["abidiff", "--harmless", before, after], capture_output=True, text=True, timeout=TIME_LIMIT)
    assert done.returncode & 3 == 0, done.stderr  # the bits of abidiff's own failures
    assert bool(done.stdout) or done.returncode == 0, done.returncode
    return done.stdout


class AbiTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.scratch = pathlib.Path(folder.name)
        cls.text = SNAPSHOT.read_text(encoding="utf-8")

    def test_the_library_has_the_interface_of_the_snapshot(self):
        built = self.scratch / "built.abi"
        with built.open("wb") as out:
            subprocess.run([SOURCE / "scripts/update-abi.sh", "--of", LIBRARY], check=True, stdout=out,
                           timeout=TIME_LIMIT)
        self.assertEqual(differences(SNAPSHOT, built), "")

    def test_abidiff_notices_changes_of_the_interface(self):
        for change, (pattern, replacement) in CHANGES.items():
            with self.subTest(change):
                text, count = re.subn(pattern, replacement, self.text, count=1, flags=re.DOTALL)
                self.assertGreater(count, 0)
                changed = self.scratch / "changed.abi"
                changed.write_text(text, encoding="utf-8")
                self.assertNotEqual(differences(SNAPSHOT, changed), "")

    def test_the_snapshot_has_every_type_of_the_headers(self):
        declaration = re.compile(r"^ *(struct|class|enum(?: class)?|typedef [^;]*?) ?\b(\w+)(?: final)?(?= *([:{]|;))", re.MULTILINE)
        seen_whole = set()
        for header in HEADERS.glob("*.h"):
            for kind, name, follows in declaration.findall(header.read_text(encoding="utf-8")):
                with self.subTest(name):
                    found = re.search(rf"<(class|enum|typedef)-decl name='{name}(&lt;[^']*)?'[^>]*>", self.text)
                    self.assertIsNotNone(found)
                    opaque = kind in {"struct", "class"} and follows == ";"
                    self.assertEqual("is-declaration-only" in found[0], opaque)
                    seen_whole.update([] if opaque else [name])
        self.assertLess(SEEN, seen_whole)

    def test_the_snapshot_names_no_machine(self):
        self.assertEqual(re.findall(r"='(/[^']*)'", self.text), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
