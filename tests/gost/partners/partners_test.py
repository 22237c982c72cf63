#!/usr/bin/env python3
"""GOST containers and keys from and to openssl with its GOST engine and certtool.

certtool takes many seconds for whatever it encrypts under GOST algorithms; with DERKIT_ALL_PARTNER_FILES set it makes
those too.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path += [str(Path(__file__).parents[2] / folder) for folder in ("tool", "support")]
import acpkm
import certtool
import containers
import derkit_gost
import gost_keys
import openssl
import output_schema
from containers import NAME, PASSWORD
from der import pem, unpem
from derkit_gost import octets

ALL_FILES = bool(os.environ.get("DERKIT_ALL_PARTNER_FILES"))
GUIDE = Path(__file__).parents[3] / "docs" / "containers.md"
WRONG_PASSWORD = "not this one"

# What derkit writes: the format's options, the kind that it is then, and which partners open it.
OPENSSL, CERTTOOL = "openssl", "certtool"
WRITTEN = [
    ({"to": "gost94"}, 1, {OPENSSL, CERTTOOL}),
    ({"to": "native"}, 1, set()),
    ({"to": "tc26"}, 3, {OPENSSL, CERTTOOL}),
    ({"to": "rfc9548", "cipher": "kuznyechik", "sections": "tls"}, 6, {OPENSSL}),
    ({"to": "rfc9548", "cipher": "magma", "sections": "tls"}, 6, {OPENSSL}),
    ({"to": "rfc9548", "cipher": "kuznyechik"}, 6, set()),
    ({"to": "rfc9548", "cipher": "magma"}, 6, set()),
    ({"to": "omac", "cipher": "kuznyechik"}, 7, set()),
    ({"to": "omac", "cipher": "magma"}, 7, set()),
    ({"to": "aes"}, 10, {OPENSSL, CERTTOOL}),
]


def keys_in(answer):
    return [one for one in answer["bags"] if one["type"] == "key"]


def numbers_in(answer):
    return [octets(one["key"]["number"]).hex() for one in keys_in(answer)]


def certificates_in(answer):
    return [octets(one["value"]) for one in answer["bags"] if one["type"] == "certificate"]


def low_octets(name):
    """Returns a name as openssl prints a BMPString: the low octet of each character."""
    return bytes(ord(character) & 0xFF for character in name)


class Contents:
    """What a partner finds in a container."""

    def __init__(self, keys, certificates, names):
        self.keys = keys
        self.certificates = certificates
        self.names = names


def opened_by_openssl(data, password, size):
    """Returns what openssl finds in a container, or None when it refuses it."""
    try:
        text = openssl.gost("pkcs12", "-nodes", "-passin", f"pass:{password}", stdin=data)
    except RuntimeError:
        return None
    keys = [gost_keys.number_of(pem(der, "PRIVATE KEY"), size) for der in unpem(text, "PRIVATE KEY")]
    names = set(re.findall(rb"friendlyName: (.*)\n", text))
    return Contents(keys, unpem(text, "CERTIFICATE"), names)


def public_key_by_certtool(data, password, size):
    """Returns x and y of an encrypted key, or None when certtool refuses it."""
    key = derkit_gost.file(data, "encrypted")
    done, out, _ = certtool.try_run("--pubkey-info", "--load-privkey", key, "--inder", "--outder",
                                    *certtool.password(password))
    return out[-2 * size :] if done else None


def opened_by_certtool(data, password, size):
    """Returns what certtool finds in a container, or None when it refuses it."""
    done, out, _ = certtool.try_run("--p12-info", "--inder", *certtool.password(password), stdin=data)
    if not done:
        return None
    keys = [public_key_by_certtool(der, password, size) for der in unpem(out, "ENCRYPTED PRIVATE KEY")]
    names = {name.strip().decode() for name in re.findall(rb"Friendly name: (.*)\n", out)}
    return Contents(keys, unpem(out, "CERTIFICATE"), names)


class Partners(unittest.TestCase):
    maxDiff = None

    def check_container(self, made):
        answer = derkit_gost.open_container(made.data, made.password, unverified=made.mac == "none")
        self.assertNotIn("failure", answer)
        self.assertEqual((answer["kind"], answer["mac"]), (made.kind, made.mac))
        self.assertEqual([one["refusal"] for one in answer["entries"]], [None] * len(answer["entries"]))
        self.assertEqual(numbers_in(answer), [key.number for key in made.keys])
        self.assertEqual(sorted(certificates_in(answer)), sorted(made.certificates))
        for key, found in zip(made.keys, keys_in(answer)):
            self.assertEqual(found["key"]["param_set"], key.param_set)
            self.assertEqual(found["name"] or "", made.friendly_name)

    def check_key(self, made):
        answer = derkit_gost.read_key(made.data, made.password)
        self.assertEqual(octets(answer.get("number", "")).hex(), made.keys[0].number, answer)
        self.assertEqual(answer["param_set"], made.keys[0].param_set)

    def check_wrong_password(self, made):
        if made.form == "key":
            answer = derkit_gost.read_key(made.data, WRONG_PASSWORD)
            self.assertIn(answer["cause"], ("wrong_password", "wrong_omac"))
            return
        answer = derkit_gost.open_container(made.data, WRONG_PASSWORD, unverified=made.mac == "none")
        if made.mac == "good":
            self.assertEqual(answer["failure"]["cause"], "wrong_mac")
        else:
            refusals = [one["refusal"]["cause"] for one in [*answer["entries"], *answer["bags"]]
                        if one.get("refusal")]
            self.assertEqual(set(refusals), {"wrong_password"})

    def check(self, made):
        with self.subTest(made.name):
            self.check_key(made) if made.form == "key" else self.check_container(made)
            if made.by == "openssl":  # with certtool's 600,000 iterations this would take long
                self.check_wrong_password(made)

    def test_opens_what_openssl_wrote(self):
        for made in containers.made_by_openssl():
            self.check(made)

    def test_opens_what_certtool_wrote(self):
        for made in containers.of_certtool(ALL_FILES):
            self.check(made)

    def test_wants_the_flag_for_a_container_without_mac(self):
        made = containers.exported("no MAC", 11, None, "gost89")
        answer = derkit_gost.open_container(made.data, PASSWORD)
        self.assertEqual(answer["failure"]["cause"], "no_mac")

    def test_certificates_belong_to_their_keys(self):
        other = gost_keys.key("gost2012_512", "B")
        for family, sets in gost_keys.PARAM_SETS.items():
            for param_set in sets:
                key = gost_keys.key(family, param_set)
                with self.subTest(family, param_set=param_set):
                    certificate = derkit_gost.file(gost_keys.certificate(key).der, "certificate")
                    for asked, belongs in (key, True), (other, key is other):
                        answer = derkit_gost.ask(do="belongs", file=derkit_gost.file(asked.der), password=None,
                                                 certificate=certificate)
                        self.assertEqual(answer, {"belongs": belongs})

    def check_opened(self, contents, key, certificates, names):
        self.assertIsNotNone(contents)
        self.assertEqual(contents.keys, [key])
        self.assertEqual(sorted(contents.certificates), sorted(one.der for one in certificates))
        self.assertEqual(contents.names, names)

    def check_written(self, options, kind, partners, key, certificates, password=PASSWORD):
        data = derkit_gost.write_container(
            keys=[key], certificates=certificates, password=password, name=NAME, **options
        )
        answer = derkit_gost.open_container(data, password)
        self.assertEqual((answer["kind"], answer["native"]), (kind, options["to"] == "native"))
        self.assertEqual(numbers_in(answer), [key.number])
        self.assertEqual(certificates_in(answer), [one.der for one in certificates])
        if OPENSSL in partners:
            contents = opened_by_openssl(data, password, key.size)
            self.check_opened(contents, key.number, certificates, {low_octets(NAME)})
        if CERTTOOL in partners and (key.family, certtool.curve_of(key)) in certtool.CURVES:
            contents = opened_by_certtool(data, password, key.size)
            self.check_opened(contents, gost_keys.public_key(key), certificates, {NAME})

    def test_partners_open_what_derkit_writes(self):
        for family in gost_keys.PARAM_SETS:
            key = gost_keys.key(family)
            for options, kind, partners in WRITTEN:
                with self.subTest(family, **options):
                    self.check_written(options, kind, partners, key, [gost_keys.certificate(key)])

    def test_partners_open_long_contents(self):
        key = gost_keys.key("gost2012_256")
        for size in 1_500, 9_000, 270_000:
            certificates = [gost_keys.certificate(key), gost_keys.certificate(key, size)]
            for options, kind, partners in WRITTEN:
                with self.subTest(size=size, **options):
                    self.check_written(options, kind, partners, key, certificates)

    def test_partners_open_passwords(self):
        key = gost_keys.key("gost2001")
        for password in "", "пароль", "p\u00e4ss \U0001f511", "x" * 200:
            for options, kind, partners in WRITTEN:
                with self.subTest(password=password, **options):
                    # certtool 3.7 takes no password outside of ASCII for a key of appendix B.
                    here = partners - {CERTTOOL} if options["to"] == "aes" and not password.isascii() else partners
                    self.check_written(options, kind, here, key, [gost_keys.certificate(key)], password)

    def test_partners_open_converted_containers(self):
        for kind, made in containers.one_of_each_kind().items():
            if made.by == "nobody" or made.mac == "none":
                continue
            for options, _, partners in WRITTEN:
                with self.subTest(kind=kind, **options):
                    data = derkit_gost.convert_container(made.data, made.password, "новый", **options)
                    answer = derkit_gost.open_container(data, "новый")
                    self.assertEqual(numbers_in(answer), [made.keys[0].number])
                    self.assertEqual(certificates_in(answer), made.certificates)
                    if OPENSSL in partners:
                        contents = opened_by_openssl(data, "новый", made.keys[0].size)
                        self.assertEqual(contents.keys, [made.keys[0].number])
                        self.assertEqual(contents.certificates, made.certificates)
                        self.assertEqual(contents.names, {low_octets(NAME)})

    def test_openssl_decrypts_sections_and_checks_the_omac(self):
        """Decrypts with openssl's single ciphers what no program opens."""
        key = gost_keys.key("gost2012_512")
        certificate = gost_keys.certificate(key, 9_000)
        for cipher in "kuznyechik", "magma":
            for to, with_omac in ("rfc9548", False), ("omac", True):
                with self.subTest(cipher=cipher, to=to):
                    data = derkit_gost.write_container(to, [key], [certificate], PASSWORD, NAME, cipher=cipher,
                                                       iterations=1)
                    plain = acpkm.decrypted_entry(data, cipher, with_omac, PASSWORD)
                    self.assertIn(certificate.der, plain)

    def test_keys_stay_the_same_number(self):
        """OpenSSL, derkit, each kind and shape, and a partner or derkit again."""
        for family in gost_keys.PARAM_SETS:
            key = gost_keys.key(family)
            encrypted = openssl.gost("pkcs8", "-topk8", "-in", key.path, "-outform", "DER", "-v2", "gost89", "-iter", 8,
                                     "-passout", f"pass:{PASSWORD}")
            for options, kind, partners in WRITTEN:
                for shape in "octets", "octet_string", "integer":
                    with self.subTest(family, shape=shape, **options):
                        self.check_converted(key, encrypted, options, partners, shape)

    def check_converted(self, key, encrypted, options, partners, shape):
        partners = {OPENSSL, CERTTOOL} if options["to"] == "native" else partners  # for a key the same as gost94
        converted = derkit_gost.write_key(data=encrypted, password=PASSWORD, new_password="новый", shape=shape, **options)
        self.assertEqual(octets(derkit_gost.read_key(converted, "новый")["number"]).hex(), key.number)
        plain = derkit_gost.write_key("plain", converted, "новый", shape="octets")
        self.assertEqual(gost_keys.number_of(pem(plain, "PRIVATE KEY"), key.size), key.number)
        if OPENSSL in partners:
            text = openssl.gost("pkey", "-inform", "DER", "-passin", "pass:новый", "-text", "-noout", stdin=converted)
            self.assertEqual(gost_keys.printed_number(text.decode(), key.size), key.number)
        if CERTTOOL in partners and shape == "octets":
            self.assertEqual(public_key_by_certtool(converted, "новый", key.size), gost_keys.public_key(key))

    def test_openssl_reads_every_shape(self):
        for family, sets in gost_keys.PARAM_SETS.items():
            for param_set in sets:
                key = gost_keys.key(family, param_set)
                for shape in "octets", "octet_string", "integer":
                    with self.subTest(family, param_set=param_set, shape=shape):
                        plain = derkit_gost.write_key("plain", key.der, None, shape=shape)
                        self.assertEqual(gost_keys.number_of(pem(plain, "PRIVATE KEY"), key.size), key.number)
                        if shape == "octets":
                            self.assertEqual(plain, key.der)

    def test_table_of_the_guide(self):
        measured = {}
        for kind, made in containers.one_of_each_kind().items():
            size = made.keys[0].size if made.keys else 32
            answer = derkit_gost.open_container(made.data, made.password, unverified=made.mac == "none")
            opens = bool(answer.get("bags")) and not any("refusal" in one for one in answer["bags"])
            measured[kind] = {
                "OpenSSL opens": has_keys(opened_by_openssl(made.data, made.password, size)),
                "OpenSSL writes": made.by == "openssl",
                "GnuTLS opens": has_keys(opened_by_certtool(made.data, made.password, size)),
                "derkit opens": opens,
                "derkit writes": kind in {str(kind) for _, kind, _ in WRITTEN} | {"1, native"},
            }
            if opens:
                self.assertEqual(answer["kind"], made.kind)
        for kind, row in table_of(GUIDE).items():
            gnutls_writes = row.pop("GnuTLS writes")
            with self.subTest(kind=kind):
                self.assertEqual(row, measured[kind])
                self.assertEqual(gnutls_writes, kind in containers.KINDS_OF_CERTTOOL)
        self.assertEqual(set(table_of(GUIDE)), set(measured))

    def test_containers_that_are_only_named(self):
        for kind, made in containers.only_named():
            with self.subTest(kind):
                listed = derkit_gost.ask(do="inspect", file=derkit_gost.file(made.data))
                self.assertEqual(listed["kind"], made.kind)
                answer = derkit_gost.open_container(made.data, made.password)
                refusals = [one["refusal"]["cause"] for one in answer.get("bags", []) if one.get("refusal")]
                refusals += [answer["failure"]["cause"]] if "failure" in answer else []
                self.assertEqual(refusals, [{9: "vendor_scheme", 12: "recipient_needed"}[made.kind]])


TOOL = os.environ.get("DERKIT_TOOL")


@unittest.skipUnless(TOOL, "the tool is not built")
class Tool(unittest.TestCase):
    """The tool shows and extracts each kind; what it cannot open it names."""

    def run_tool(self, *arguments, made):
        environment = os.environ | {"P12_PASSWORD": made.password}
        return subprocess.run([TOOL, "p12", *arguments, derkit_gost.file(made.data)], env=environment, capture_output=True)

    def shown(self, *options, made):
        done = self.run_tool("show", "--json", *options, made=made)
        output_schema.check_output(done.stdout.decode())
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    @staticmethod
    def options(made):
        accepted = ["--accept-unverified"] if made.mac == "none" else []
        return ["--password-env", "P12_PASSWORD", *accepted]

    def test_kinds_are_opened(self):
        named = dict(containers.only_named())
        for kind, made in containers.one_of_each_kind().items():
            if kind in named:
                continue
            with self.subTest(kind=kind), tempfile.TemporaryDirectory() as folder:
                status, shown = self.shown(*self.options(made), made=made)
                self.assertEqual((status, shown[0]["kind_number"]), (0, made.kind))
                self.assertEqual([one["readable"] for one in shown if one["object"] == "key"], [True])
                done = self.run_tool("extract", "--out", folder, *self.options(made), made=made)
                self.assertEqual(done.returncode, 0, done.stderr.decode())
                key, certificate = ((Path(folder) / f"{what}-1.pem").read_bytes() for what in ("key", "certificate"))
                self.assertEqual(gost_keys.number_of(key, made.keys[0].size), made.keys[0].number)
                self.assertEqual(unpem(certificate), made.certificates)

    def test_the_outside_names_the_kind_and_the_scheme_of_each_part(self):
        for kind, made in containers.one_of_each_kind().items():
            with self.subTest(kind=kind):
                status, shown = self.shown(made=made)
                # where the key of a MAC came from is found out with the password
                expected = {2: 1, 4: 3}.get(made.kind, made.kind)
                self.assertEqual((status, shown[0]["kind_number"]), (0, expected))
                encrypted = [one for one in shown if "pkcs8ShroudedKeyBag" in one.values() or "encryptedData" in one.values()]
                self.assertTrue(all(one["scheme_oid"] and one["scheme"] for one in encrypted))
                self.assertEqual(bool(encrypted), made.kind != 12)
                refused = [one["not_read"] for one in shown if "not_read" in one]
                self.assertEqual(bool(refused), made.kind in (9, 11, 12), refused)

    def test_kinds_that_are_only_named(self):
        for kind, made in containers.only_named():
            done = self.run_tool("show", "--password-env", "P12_PASSWORD", made=made)
            told = {"9": b"a vendor's own scheme", "12": b"encrypted for a recipient's key"}[kind]
            self.assertEqual(done.returncode, 1)
            self.assertIn(told, done.stderr)


def has_keys(contents):
    return contents is not None and bool(contents.keys) and None not in contents.keys


def table_of(guide):
    """Returns the rows of the guide's first table by their kind: a name of each column and whether it says yes."""
    table = re.search(r"(?m)^\| kind (?:.+\n)+", guide.read_text())[0]
    lines = [line.strip("| ").split("|") for line in table.splitlines()]
    header, _, *rows = [[cell.strip() for cell in line] for line in lines]
    return {row[0]: {name: cell.startswith("yes") for name, cell in zip(header[2:], row[2:])} for row in rows}


if __name__ == "__main__":
    unittest.main()
