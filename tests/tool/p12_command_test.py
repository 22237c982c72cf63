#!/usr/bin/env python3
"""Tests of "derkit p12": DERKIT_TOOL names the tool.

Containers come from openssl with its GOST engine, or are built by hand with the engine's cryptography; what openssl put
in must be shown and extracted, and what the tool makes openssl must read.
"""

import base64
import hashlib
import json
import os
import pty
import re
import resource
import select
import signal
import stat
import subprocess
import tempfile
import unittest
from pathlib import Path

import der
import pfx

TOOL = os.environ["DERKIT_TOOL"]
TIME_LIMIT = 60

# Name, and what makes a key of openssl.
FAMILIES = {
    "GOST R 34.10-2001": ["gost2001", "A"],
    "GOST R 34.10-2012 256": ["gost2012_256", "TCA"],
    "GOST R 34.10-2012 512": ["gost2012_512", "A"],
}
PASSWORD = "Пароль 1"
NAME = "Ключ №1"
UNREADABLE_MAC = "wrong password, or the container was changed after its MAC was made: the MAC is wrong either way"
UNDECRYPTABLE = "cannot be decrypted: it is damaged, or encrypted under another password than the MAC"
EXTRACTED_NOTHING = "nothing is extracted, because not all can be read (--partial extracts the rest)"


class Pair:
    """A key and its certificate, by openssl."""

    def __init__(self, name, algorithm, param_set):
        self.name = name
        self.key_file = FOLDER / f"{algorithm}-key.pem"
        self.certificate_file = FOLDER / f"{algorithm}-certificate.pem"
        GOST.openssl(
            *["req", "-x509", "-newkey", algorithm, "-pkeyopt", f"paramset:{param_set}", "-nodes"],
            *["-keyout", self.key_file, "-out", self.certificate_file],
            *["-subj", f"/O=Организация/CN={algorithm}", "-utf8", "-days", "30"],
        )
        self.key = unpem(self.key_file.read_bytes(), "PRIVATE KEY")[0]
        self.certificate = unpem(self.certificate_file.read_bytes())[0]

    def export(self, *options, password=PASSWORD, name=NAME, encryption="gost89", mac="md_gost94", **how):
        """The container that openssl makes of the two."""
        variables = {"P12_PASSWORD": password, **how.pop("variables", {})}
        made = ["pkcs12", "-export", "-inkey", self.key_file, "-in", self.certificate_file]
        made += ["-passout", "env:P12_PASSWORD"]
        kind = ["-keypbe", encryption, "-certpbe", encryption, "-macalg", mac, "-name", name]
        return GOST.openssl(*made, *kind, *options, variables=variables, **how)


def setUpModule():
    global FOLDER, GOST, PAIRS, PAIR
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    FOLDER = Path(folder.name)
    GOST = pfx.Gost(FOLDER)
    PAIRS = [Pair(name, *how) for name, how in FAMILIES.items()]
    PAIR = PAIRS[0]


def pem(data, label="CERTIFICATE"):
    text = base64.b64encode(data).decode()
    lines = [text[i : i + 64] for i in range(0, len(text), 64)]
    return "\n".join([f"-----BEGIN {label}-----", *lines, f"-----END {label}-----", ""]).encode()


def unpem(text, label="CERTIFICATE"):
    """The DER of all blocks with this label."""
    blocks = re.findall(f"-----BEGIN {label}-----\n(.*?)-----END {label}-----\n".encode(), text, re.DOTALL)
    return [base64.b64decode(block) for block in blocks]


def mode(path):
    return stat.S_IMODE(path.stat().st_mode)


def certificate(
    common_name="x", not_before="250102030405Z", not_after="20500102030405Z", validity=None, signature=b"\0"
):
    """A certificate with a validity and nothing else but names."""

    def time(text):
        return der.element(pfx.UTC_TIME if len(text) < 15 else pfx.GENERALIZED_TIME, text.encode())

    name = der.common_name(common_name)
    validity = pfx.sequence(time(not_before), time(not_after)) if validity is None else validity
    nothing = pfx.sequence()
    tbs = pfx.sequence(pfx.integer(1), nothing, name, validity, name, nothing)
    return pfx.sequence(tbs, nothing, der.element(pfx.BIT_STRING, signature))


def certificate_of_size(size):
    sizes = range(size - 200, size)
    return next(made for made in (certificate(signature=bytes(i)) for i in sizes) if len(made) == size)


def private_key(octets=bytes(range(0x41, 0x61))):
    """A key of GOST R 34.10-2001 in an OCTET STRING."""
    params = pfx.sequence(pfx.oid("1.2.643.2.2.35.1"), pfx.oid("1.2.643.2.2.30.1"))
    algorithm = pfx.sequence(pfx.oid("1.2.643.2.2.19"), params)
    return pfx.sequence(pfx.integer(0), algorithm, pfx.octet_string(pfx.octet_string(octets)))


def run(*arguments, stdin=b"", password=PASSWORD, preexec=None):
    """Runs "derkit p12"; gives exit status, standard output and the lines of standard error.

    The password comes by the environment unless it is None."""
    options = [] if password is None else ["--password-env", "P12_PASSWORD"]
    done = subprocess.run(
        [TOOL, "p12", *map(str, arguments), *options],
        input=stdin,
        capture_output=True,
        timeout=TIME_LIMIT,
        env={**os.environ, "P12_PASSWORD": password or ""},
        preexec_fn=preexec,
    )
    return done.returncode, done.stdout.decode(), done.stderr.decode().splitlines()


class P12Test(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def file(self, file_name, data):
        path = self.folder / file_name
        path.write_bytes(data)
        return path

    def succeeds(self, *arguments, **how):
        status, out, errors = run(*arguments, **how)
        self.assertEqual((status, errors), (0, []), arguments)
        return out

    def fails(self, *arguments, status=1, **how):
        """The one line on standard error, without its "derkit: ", of a run that writes nothing else."""
        got, out, errors = run(*arguments, **how)
        self.assertEqual((got, out, len(errors)), (status, "", 1), (arguments, errors))
        self.assertTrue(errors[0].startswith("derkit: "), errors[0])
        return errors[0].removeprefix("derkit: ")

    def objects(self, *arguments, **how):
        return [json.loads(line) for line in self.succeeds(*arguments, "--json", **how).splitlines()]

    def show(self, container, **how):
        """The objects that a container shows."""
        return self.objects("show", self.file("shown.p12", container), **how)

    def show_with_problems(self, container, **how):
        """The objects that a container shows, and what stands behind its name on standard error."""
        path = self.file("shown.p12", container)
        status, out, errors = run("show", "--json", path, **how)
        self.assertEqual(status, 1, errors)
        begin = f"derkit: {path}: "
        self.assertTrue(all(line.startswith(begin) for line in errors), errors)
        return [json.loads(line) for line in out.splitlines()], [line.removeprefix(begin) for line in errors]

    def refuses(self, container, problem, **how):
        """Neither show nor extract reads anything of it."""
        path = self.file("refused.p12", container)
        out = self.folder / "out"
        self.assertEqual(self.fails("show", path, **how), f"{path}: {problem}")
        self.assertEqual(self.fails("extract", path, "--out", out, **how), f"{path}: {problem}")
        self.assertFalse(out.exists())

    def extract(self, container, *options, **how):
        """File names and contents."""
        out = Path(tempfile.mkdtemp(dir=self.folder)) / "out"
        self.succeeds("extract", self.file("extracted.p12", container), "--out", out, *options, **how)
        return {path.name: path.read_bytes() for path in out.iterdir()}

    def extracts(self, container, keys, certificates, **how):
        """What is extracted are these, as DER."""
        expected = {f"key-{i}.pem": pem(key, "PRIVATE KEY") for i, key in enumerate(keys, 1)}
        expected |= {f"certificate-{i}.pem": pem(der) for i, der in enumerate(certificates, 1)}
        self.assertEqual(self.extract(container, **how), expected)


class ContainersOfOpenssl(P12Test):
    def test_each_family_is_shown_and_extracted_with_the_same_bytes(self):
        for pair in PAIRS:
            with self.subTest(pair.name):
                container = pair.export("-iter", "2048")
                mac, key, shown = self.show(container)
                self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", "standard", "PBKDF2"))
                key_id = hashlib.sha1(pair.certificate).hexdigest().upper()
                for found in key, shown:
                    self.assertEqual(
                        (found["friendly_name"], found["local_key_id"], found["encrypted"]), (NAME, key_id, "yes")
                    )
                self.assertEqual(key["family"], pair.name)
                self.assertEqual(key["bits"], 512 if pair.name.endswith("512") else 256)
                self.assertEqual(shown["subject"], f"O=Организация,CN={pair.certificate_file.name.split('-')[0]}")
                dates = GOST.openssl("x509", "-in", pair.certificate_file, "-noout", "-dates", "-dateopt", "iso_8601")
                self.assertEqual(
                    dates.decode().replace(" ", "T"),
                    f"notBefore={shown['not_before']}\nnotAfter={shown['not_after']}\n",
                )
                self.extracts(container, [pair.key], [pair.certificate])

    def test_the_mac_key_by_the_pkcs12_derivation_is_found_too(self):
        container = PAIR.export(variables={"LEGACY_GOST_PKCS12": "1"})
        mac = self.show(container)[0]
        self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", "standard", "PKCS#12 KDF"))
        self.extracts(container, [PAIR.key], [PAIR.certificate])

    def test_a_chain_keeps_its_order(self):
        chain = self.file("chain.pem", b"".join(pair.certificate_file.read_bytes() for pair in PAIRS[1:]))
        container = PAIR.export("-certfile", chain)
        subjects = [found["subject"] for found in self.show(container)[2:]]
        self.assertEqual(
            subjects, [f"O=Организация,CN={name}" for name in ("gost2001", "gost2012_256", "gost2012_512")]
        )
        self.extracts(container, [PAIR.key], [pair.certificate for pair in PAIRS])

    def test_certificates_alone(self):
        self.extracts(PAIR.export("-nokeys"), [], [PAIR.certificate])

    def test_a_key_in_the_clear_is_told(self):
        container = PAIR.export("-keypbe", "NONE", "-nocerts")
        shown = [(found["object"], found.get("encrypted")) for found in self.show(container)[1:]]
        self.assertEqual(shown, [("key", "no")])
        self.extracts(container, [PAIR.key], [])

    def test_without_a_password_the_outside_is_listed(self):
        container = PAIR.export("-iter", "2001")
        mac, certificates, keys, key = self.show(container, password=None)
        self.assertEqual(
            mac,
            {
                "object": "mac",
                "algorithm": "GOST R 34.11-94",
                "algorithm_oid": "1.2.643.2.2.9",
                "size": 32,
                "salt_size": 8,
                "iterations": 2001,
            },
        )
        encryption = {
            "scheme": "PBES2",
            "scheme_oid": "1.2.840.113549.1.5.13",
            "kdf": "PBKDF2",
            "kdf_oid": "1.2.840.113549.1.5.12",
            "prf": "HMAC GOST R 34.11-94",
            "prf_oid": "1.2.643.2.2.10",
            "salt_size": 8,
            "iterations": 2001,
            "cipher": "GOST 28147-89",
            "cipher_oid": "1.2.643.2.2.21",
            "cipher_param_set": "id-Gost28147-89-CryptoPro-A-ParamSet",
            "cipher_param_set_oid": "1.2.643.2.2.31.1",
            "iv_size": 8,
        }
        encrypted_data = {"content_type": "encryptedData", "content_type_oid": "1.2.840.113549.1.7.6"}
        data = {"content_type": "data", "content_type_oid": "1.2.840.113549.1.7.1"}
        shrouded = {"type": "pkcs8ShroudedKeyBag", "type_oid": "1.2.840.113549.1.12.10.1.2"}
        sizes = [found.pop("size") for found in (certificates, keys, key)]
        self.assertEqual(certificates, {"object": "entry", "entry": 1, **encrypted_data, **encryption})
        self.assertEqual(keys, {"object": "entry", "entry": 2, **data})
        self.assertEqual(key, {"object": "bag", "entry": 2, "bag": 1, **shrouded, **encryption})
        # ciphertexts are as long as what was encrypted
        self.assertGreater(sizes[0], len(PAIR.certificate))
        self.assertGreater(sizes[1], sizes[2])
        self.assertGreater(sizes[2], len(PAIR.key))

    def test_lines_have_the_object_in_front(self):
        path = self.file("a.p12", PAIR.export())
        outside = self.succeeds("show", path, password=None)
        for line in [
            "mac: algorithm: GOST R 34.11-94",
            "mac: salt_size: 8",
            "entry 1: content_type: encryptedData",
            "entry 1: cipher_param_set_oid: 1.2.643.2.2.31.1",
            "entry 2, bag 1: type: pkcs8ShroudedKeyBag",
        ]:
            self.assertIn(line + "\n", outside)
        inside = self.succeeds("show", path)
        for line in [
            "mac: verdict: good",
            f"key 1: friendly_name: {NAME}",
            "certificate 1: subject: O=Организация,CN=gost2001",
        ]:
            self.assertIn(line + "\n", inside)

    def test_a_password_may_come_from_a_file_the_environment_and_standard_input(self):
        path = self.file("a.p12", PAIR.export())
        password = self.file("password", (PASSWORD + "\nmore\n").encode())
        expected = self.succeeds("show", path)
        self.assertEqual(self.succeeds("show", path, "--password-file", password, password=None), expected)
        self.assertEqual(
            self.succeeds("show", path, "--password-stdin", password=None, stdin=(PASSWORD + "\n").encode()), expected
        )
        self.assertEqual(
            self.succeeds("show", "-", "--password-file", password, password=None, stdin=path.read_bytes()), expected
        )

    def test_standard_input_cannot_be_both_container_and_password(self):
        for command in ["show", "-"], ["extract", "-", "--out", self.folder / "out"]:
            self.assertIn("standard input", self.fails(*command, "--password-stdin", password=None, status=2))
        self.assertFalse((self.folder / "out").exists())


class MadeContainers(P12Test):
    def make(self, pair, *options, **how):
        out = self.folder / "made.p12"
        files = ["--key", pair.key_file, "--cert", pair.certificate_file, "--out", out]
        self.assertEqual(self.succeeds("make", *files, *options, **how), "")
        return out

    def read_with_openssl(self, path, password=PASSWORD):
        how = ["pkcs12", "-in", path, "-nodes", "-passin", "env:P12_PASSWORD"]
        return GOST.openssl(*how, variables={"P12_PASSWORD": password})

    def test_openssl_reads_the_same_bytes_of_each_family(self):
        for pair in PAIRS:
            with self.subTest(pair.name):
                read = self.read_with_openssl(self.make(pair, "--force"))
                self.assertEqual(unpem(read, "PRIVATE KEY"), [pair.key])
                self.assertEqual(unpem(read), [pair.certificate])

    def test_key_and_first_certificate_share_name_and_the_sha1_of_the_certificate(self):
        chain = self.file("chain.pem", PAIRS[1].certificate_file.read_bytes())
        made = self.make(PAIR, "--cert", chain, "--name", NAME)
        key_id = hashlib.sha1(PAIR.certificate).hexdigest().upper()
        read = self.read_with_openssl(made)
        self.assertEqual(read.count(b"localKeyID: " + " ".join(re.findall("..", key_id)).encode()), 2)
        # of each unit of UTF-16 openssl shows the lower octet
        self.assertEqual(read.count(b"friendlyName: " + NAME.encode("utf-16-be")[1::2]), 2)
        _, key, first, second = self.show(made.read_bytes())
        for found in key, first:
            self.assertEqual((found["friendly_name"], found["local_key_id"]), (NAME, key_id))
        self.assertFalse({"friendly_name", "local_key_id"} & set(second))

    def test_a_name_may_have_characters_of_any_plane(self):
        self.assertEqual(self.show(self.make(PAIR, "--name", "🔑").read_bytes())[1]["friendly_name"], "🔑")

    def test_there_is_no_name_unless_one_is_given(self):
        for options in [], ["--name", ""]:
            made = self.make(PAIR, *options, "--force")
            self.assertNotIn(b"friendlyName", self.read_with_openssl(made))
            self.assertTrue(all("friendly_name" not in found for found in self.show(made.read_bytes())))

    def test_all_certificates_of_all_files_go_in_as_they_come(self):
        bundle = self.file("bundle.pem", b"text\n" + PAIRS[2].certificate_file.read_bytes() + pem(certificate()))
        single = self.file("single.der", PAIRS[1].certificate)
        made = self.make(PAIR, "--cert", bundle, "--cert", single)
        expected = [PAIR.certificate, PAIRS[2].certificate, certificate(), PAIRS[1].certificate]
        self.extracts(made.read_bytes(), [PAIR.key], expected)

    def test_the_native_profile_is_told_from_the_standard_one(self):
        for profile in "standard", "native":
            made = self.make(PAIR, "--profile", profile, "--force")
            mac = self.show(made.read_bytes())[0]
            self.assertEqual((mac["verdict"], mac["profile"], mac["key"]), ("good", profile, "PBKDF2"))
            self.extracts(made.read_bytes(), [PAIR.key], [PAIR.certificate])
        with self.assertRaisesRegex(RuntimeError, "Mac verify error"):
            self.read_with_openssl(made)

    def test_a_native_container_covers_its_octet_string_and_wraps_its_bags(self):
        """Built by hand, so that the tool is not only held against itself."""
        wrapped = GOST.encrypt("x", pfx.octet_string(pfx.sequence(pfx.cert_bag(certificate()))))
        safe = pfx.sequence(pfx.encrypted_entry(pfx.pbes2(), wrapped))
        made = pfx.pfx(safe, pfx.mac_data(GOST.mac("x", pfx.octet_string(safe))))
        mac, found = self.show(made, password="x")
        self.assertEqual((mac["profile"], mac["key"], found["subject"]), ("native", "PBKDF2", "CN=x"))

    def test_salts_are_32_octets_and_iterations_2000_by_default(self):
        made = self.make(PAIR).read_bytes()
        mac, entry = self.show(made, password=None)
        self.assertEqual((mac["algorithm"], mac["salt_size"], mac["iterations"]), ("GOST R 34.11-94", 32, 2000))
        self.assertEqual((entry["salt_size"], entry["iterations"], entry["iv_size"]), (32, 2000, 8))
        self.assertEqual(entry["cipher_param_set"], "id-Gost28147-89-CryptoPro-A-ParamSet")
        self.assertNotIn("not_read", entry)

    def test_nothing_of_two_containers_is_the_same_but_their_form(self):
        one = self.make(PAIR).read_bytes()
        other = self.make(PAIR, "--force").read_bytes()
        self.assertEqual(len(one), len(other))
        same = sum(a == b for a, b in zip(one, other))
        self.assertLess(same, len(one) / 2)

    def test_key_and_names_are_hidden(self):
        made = self.make(PAIR, "--name", NAME).read_bytes()
        for secret in PAIR.key[-32:], NAME.encode("utf-16-be"), PAIR.certificate[20:60]:
            self.assertNotIn(secret, made)

    def test_an_encrypted_key_has_the_password_of_the_container(self):
        for form in "PEM", "DER":
            encrypted = GOST.openssl(
                *["pkcs8", "-topk8", "-in", PAIR.key_file, "-v2", "gost89", "-passout", "env:P12_PASSWORD"],
                *["-outform", form],
                variables={"P12_PASSWORD": PASSWORD},
            )
            key = self.file("key", encrypted)
            out = self.folder / "made.p12"
            files = ["--key", key, "--cert", PAIR.certificate_file, "--out", out, "--force"]
            self.succeeds("make", *files)
            self.assertEqual(unpem(self.read_with_openssl(out), "PRIVATE KEY"), [PAIR.key])
            message = self.fails("make", *files, password="other")
            self.assertTrue(message.endswith("wrong password for the encrypted key, or the key is damaged"), message)
            self.assertEqual(unpem(self.read_with_openssl(out), "PRIVATE KEY"), [PAIR.key])

    def test_a_key_in_der_and_from_standard_input(self):
        out = self.folder / "made.p12"
        for stdin in PAIR.key, PAIR.key_file.read_bytes():
            self.succeeds("make", "--key", "-", "--cert", PAIR.certificate_file, "--out", out, "--force", stdin=stdin)
            self.assertEqual(unpem(self.read_with_openssl(out), "PRIVATE KEY"), [PAIR.key])

    def test_key_and_certificates_may_stand_in_one_file(self):
        both = self.file("both.pem", PAIR.certificate_file.read_bytes() + PAIR.key_file.read_bytes())
        out = self.folder / "made.p12"
        self.succeeds("make", "--key", both, "--cert", both, "--out", out)
        self.extracts(out.read_bytes(), [PAIR.key], [PAIR.certificate])

    def test_a_key_of_another_algorithm_goes_in_too(self):
        key = self.file("ec.pem", GOST.openssl("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
        out = self.folder / "made.p12"
        self.succeeds("make", "--key", key, "--cert", PAIR.certificate_file, "--out", out)
        self.extracts(out.read_bytes(), unpem(key.read_bytes(), "PRIVATE KEY"), [PAIR.certificate])

    def test_an_empty_password_is_a_password(self):
        made = self.make(PAIR, password="")
        self.assertEqual(unpem(self.read_with_openssl(made, password="")), [PAIR.certificate])
        self.assertEqual(self.show(made.read_bytes(), password="")[0]["verdict"], "good")
        self.refuses(made.read_bytes(), UNREADABLE_MAC, password=" ")

    def test_the_container_is_for_its_owner_alone_and_nothing_else_is_left(self):
        made = self.make(PAIR)
        self.assertEqual(mode(made), 0o600)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["made.p12"])

    def test_a_file_is_overwritten_under_force_only(self):
        out = self.file("made.p12", b"old")
        files = ["--key", PAIR.key_file, "--cert", PAIR.certificate_file, "--out", out]
        self.assertEqual(self.fails("make", *files), f"{out}: is there already (--force overwrites it)")
        self.assertEqual(out.read_bytes(), b"old")
        self.succeeds("make", *files, "--force")
        self.assertEqual(unpem(self.read_with_openssl(out)), [PAIR.certificate])
        self.assertEqual([path.name for path in self.folder.iterdir()], ["made.p12"])

    def test_a_failure_leaves_nothing_behind(self):
        out = self.folder / "made.p12"
        files = ["--key", PAIR.key_file, "--cert", PAIR.certificate_file, "--out", out]

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))

        self.assertEqual(self.fails("make", *files, preexec=limit), f"{out}: File too large")
        self.assertEqual(list(self.folder.iterdir()), [])
        self.assertEqual(
            self.fails("make", *files[:-1], self.folder / "no" / "made.p12"),
            f"{self.folder}/no/made.p12: No such file or directory",
        )

    def refuses_input(self, problem, key=None, certificate_=None, options=()):
        out = self.folder / "made.p12"
        files = ["--key", key or PAIR.key_file, "--cert", certificate_ or PAIR.certificate_file, "--out", out]
        self.assertEqual(self.fails("make", *files, *options), problem)
        self.assertFalse(out.exists())

    def test_keys_that_are_none_are_refused(self):
        key = self.folder / "key"
        key_pem = PAIR.key_file.read_bytes()
        aes = GOST.openssl(
            *["pkcs8", "-topk8", "-in", PAIR.key_file, "-v2", "aes-256-cbc", "-passout", "pass:x", "-outform", "DER"]
        )
        not_pkcs8 = "holds no PKCS#8 key (PRIVATE KEY), but "
        for data, problem in {
            b"": ": is empty",
            b"text": ": neither PEM nor DER of a PKCS#8 key",
            pem(b"x", "EC PRIVATE KEY"): ": " + not_pkcs8 + "EC PRIVATE KEY",
            PAIR.certificate_file.read_bytes(): ": " + not_pkcs8 + "CERTIFICATE",
            key_pem + key_pem: ": holds more than one private key",
            pem(PAIR.key, "PRIVATE KEY")[:-5]: " (line 1): no END line",
            PAIR.certificate: ": neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, or cut short",
            PAIR.key + b"more": ": 4 bytes stand behind the key",
            pem(PAIR.key[:-1], "PRIVATE KEY"): " (line 1): not a PrivateKeyInfo: SEQUENCE is missing or malformed",
            aes: ": the key is encrypted with AES-256-CBC (2.16.840.1.101.3.4.1.42); only GOST 28147-89 is read",
        }.items():
            with self.subTest(problem):
                key.write_bytes(data)
                self.refuses_input(f"{key}{problem}", key=key)
        key.unlink()
        self.refuses_input(f"{key}: No such file or directory", key=key)

    def test_certificates_that_are_none_are_refused(self):
        path = self.folder / "certificate"
        good = PAIR.certificate_file.read_bytes()
        for data, problem in {
            b"": ": is empty",
            b"text": ": holds no certificate",
            PAIR.key_file.read_bytes(): ": holds no certificate",
            good + b"-----BEGIN CERTIFICATE-----\n": f" (line {len(good.splitlines()) + 1}): no END line",
            pem(PAIR.certificate[:-1]): " (line 1): the certificate is cut short",
            PAIR.certificate[:-1]: ": the certificate is cut short",
        }.items():
            with self.subTest(problem):
                path.write_bytes(data)
                self.refuses_input(f"{path}{problem}", certificate_=path)

    def test_what_stands_behind_a_certificate_does_not_go_in(self):
        trusted = self.file("a.pem", pem(PAIR.certificate + pfx.sequence(), "TRUSTED CERTIFICATE"))
        out = self.folder / "made.p12"
        self.succeeds("make", "--key", PAIR.key_file, "--cert", trusted, "--out", out)
        self.extracts(out.read_bytes(), [PAIR.key], [PAIR.certificate])

    def test_a_name_must_be_text(self):
        self.refuses_input("--name: is not UTF-8", options=["--name", b"\xff".decode("utf-8", "surrogateescape")])

    def test_a_container_that_would_not_come_back_is_not_written(self):
        """A length of 64 KiB or more that has a zero octet loses it."""
        key = self.file("key.der", private_key())
        for size in 0x10000, 0x11111:
            big = certificate_of_size(size)
            path = self.file("big.der", big)
            for profile in "standard", "native":
                options = ["--key", key, "--cert", path, "--profile", profile, "--out", self.folder / "made.p12"]
                if size == 0x10000:
                    problem = "/made.p12: the container has a size that its header cannot say"
                    self.assertIn(problem, self.fails("make", *options))
                    self.assertFalse((self.folder / "made.p12").exists())
                else:
                    self.succeeds("make", *options, "--force")
        self.assertEqual(self.extract((self.folder / "made.p12").read_bytes())["certificate-1.pem"], pem(big))

    def test_a_password_typed_is_asked_for_twice(self):
        out = self.folder / "made.p12"
        files = ["--key", str(PAIR.key_file), "--cert", str(PAIR.certificate_file), "--out", str(out)]
        for options in [], ["--password-ask"]:
            status, said = self.type_at_terminal(["p12", "make", *files, *options], ["one", "other"])
            self.assertEqual(status, 1, said)
            self.assertIn(f"derkit: {out}: the two passwords differ", said)
            self.assertFalse(out.exists())
        status, said = self.type_at_terminal(["p12", "make", *files], [PASSWORD, PASSWORD])
        self.assertEqual((status, said.count("Password for")), (0, 2), said)
        self.assertNotIn(PASSWORD, said)
        self.assertEqual(unpem(self.read_with_openssl(out)), [PAIR.certificate])

    def test_a_password_is_typed_once_to_read(self):
        path = self.file("a.p12", PAIR.export())
        out = self.folder / "out"
        status, said = self.type_at_terminal(["p12", "extract", str(path), "--out", str(out)], [PASSWORD])
        self.assertEqual((status, said.count("Password for")), (0, 1), said)
        self.assertTrue((out / "key-1.pem").exists())

    def type_at_terminal(self, arguments, answers):
        """Gives exit status and all that the terminal showed."""
        child, terminal = pty.fork()
        if child == 0:
            os.execv(TOOL, [TOOL, *arguments])
        said = b""
        while select.select([terminal], [], [], TIME_LIMIT)[0]:
            try:
                part = os.read(terminal, 4096)
            except OSError:  # the end of the other side
                break
            said += part
            if said.endswith(b": ") and answers:
                os.write(terminal, answers.pop(0).encode() + b"\n")
        os.close(terminal)
        return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), said.decode()


class Refusals(P12Test):
    """Containers of which nothing is read."""

    def test_a_wrong_password_and_a_changed_container_cannot_be_told_apart(self):
        container = PAIR.export()
        self.refuses(container, UNREADABLE_MAC, password="пароль 1")
        self.refuses(container, UNREADABLE_MAC, password="")
        changed = bytearray(container)
        changed[len(container) // 2] ^= 1
        self.refuses(bytes(changed), UNREADABLE_MAC)

    def test_a_missing_mac(self):
        container = PAIR.export("-nomac")
        self.refuses(container, "has no MAC; containers without one are not read")
        self.assertEqual(self.show(container, password=None)[0], {"object": "mac", "algorithm": "none"})

    def test_macs_of_other_digests(self):
        digests = {
            "sha1": "SHA-1 (1.3.14.3.2.26)",
            "sha256": "SHA-256 (2.16.840.1.101.3.4.2.1)",
            "sha512": "SHA-512 (2.16.840.1.101.3.4.2.3)",
            "md_gost12_256": "GOST R 34.11-2012 256 (1.2.643.7.1.1.2.2)",
            "md_gost12_512": "GOST R 34.11-2012 512 (1.2.643.7.1.1.2.3)",
        }
        for digest, name in digests.items():
            with self.subTest(digest):
                container = PAIR.export(mac=digest)
                problem = f"is made with {name}; only GOST R 34.11-94 is read"
                self.refuses(container, f"its MAC {problem}")
                self.assertEqual(self.show(container, password=None)[0]["not_read"], f"the MAC {problem}")

    def test_a_mac_of_another_digest_is_refused_even_when_it_would_hold(self):
        safe = pfx.sequence()
        mac = GOST.legacy_mac("x", safe)
        sha1 = pfx.sequence(pfx.oid("1.3.14.3.2.26"), pfx.NULL)
        problem = "its MAC is made with SHA-1 (1.3.14.3.2.26); only GOST R 34.11-94 is read"
        self.assertEqual(self.show(pfx.pfx(safe, pfx.mac_data(mac)), password="x")[0]["verdict"], "good")
        self.refuses(pfx.pfx(safe, pfx.mac_data(mac, algorithm=sha1)), problem, password="x")

    def test_pbmac1(self):
        derivation = pfx.sequence(
            pfx.octet_string(bytes(9)), pfx.integer(3000), pfx.integer(32), pfx.sequence(pfx.oid("1.2.840.113549.2.9"))
        )
        params = pfx.sequence(
            pfx.sequence(pfx.oid(pfx.PBKDF2), derivation), pfx.sequence(pfx.oid("1.2.840.113549.2.11"), pfx.NULL)
        )
        algorithm = pfx.sequence(pfx.oid(pfx.PBMAC1), params)
        container = pfx.pfx(pfx.sequence(), pfx.mac_data(bytes(64), algorithm=algorithm))
        problem = "is made with PBMAC1 (1.2.840.113549.1.5.14); only GOST R 34.11-94 is read"
        self.refuses(container, f"its MAC {problem}")
        self.assertEqual(
            self.show(container, password=None),
            [
                {
                    "object": "mac",
                    "algorithm": "PBMAC1",
                    "algorithm_oid": "1.2.840.113549.1.5.14",
                    "size": 64,
                    "kdf": "PBKDF2",
                    "kdf_oid": "1.2.840.113549.1.5.12",
                    "prf": "HMAC SHA-256",
                    "prf_oid": "1.2.840.113549.2.9",
                    "salt_size": 9,
                    "iterations": 3000,
                    "mac": "HMAC SHA-512",
                    "mac_oid": "1.2.840.113549.2.11",
                    "not_read": f"the MAC {problem}",
                }
            ],
        )

    def test_macs_that_cannot_be_computed(self):
        for mac, problem in {
            pfx.mac_data(bytes(31)): "has 31 bytes instead of 32",
            pfx.mac_data(bytes(32), salt=b""): "has an empty salt",
            pfx.mac_data(bytes(32), iterations=0): "has an iteration count of 0",
            pfx.mac_data(bytes(32), iterations=1_000_001): (
                "asks for 1000001 iterations, which are more than the 1000000 that are carried out"
            ),
        }.items():
            self.refuses(pfx.pfx(pfx.sequence(), mac), f"its MAC {problem}")

    def test_the_count_of_a_mac_is_1_when_it_is_not_there(self):
        safe = pfx.sequence()
        container = pfx.pfx(safe, pfx.mac_data(GOST.mac("x", safe), iterations=None))
        self.assertEqual(self.show(container, password="x")[0]["iterations"], 1)

    def test_no_password_and_an_empty_one_are_two_things(self):
        safe = pfx.sequence(pfx.data_entry(pfx.cert_bag(certificate())))
        containers = {
            password: pfx.pfx(safe, pfx.mac_data(GOST.legacy_mac(password, safe))) for password in (None, "")
        }
        self.assertEqual(self.show(containers[""], password="")[1]["subject"], "CN=x")
        self.refuses(containers[None], UNREADABLE_MAC, password="")
        path = self.file("a.p12", containers[None])
        self.assertIn("certificate 1: subject: CN=x\n", self.succeeds("show", path, "--no-password", password=None))
        path = self.file("b.p12", containers[""])
        self.assertEqual(self.fails("show", path, "--no-password", password=None), f"{path}: {UNREADABLE_MAC}")

    def test_what_is_no_container(self):
        signed = pfx.pfx(pfx.sequence(), pfx.mac_data(bytes(32)), content_type=pfx.SIGNED_DATA)
        begin = "not a PKCS#12 container: "
        for data, problem in {
            b"": "is empty",
            b"text": begin + "PFX is missing",
            PAIR.certificate: begin + "version is missing",
            PAIR.certificate_file.read_bytes(): begin + "PFX is missing",
            bytes.fromhex("3080020103"): begin + "PFX has an indefinite length (BER), which is not read",
            pfx.sequence(pfx.integer(3)): begin + "authSafe is missing",
            pfx.sequence(bytes.fromhex("02020103"), pfx.content_info(pfx.DATA, pfx.octet_string(pfx.sequence()))): (
                begin + "version is malformed"
            ),
        }.items():
            with self.subTest(problem):
                self.refuses(data, problem)
                if data:
                    self.refuses(data, problem, password=PASSWORD)
        problem = "damaged: authSafe is signedData (1.2.840.113549.1.7.2); only data is read"
        self.refuses(signed, problem)

    def test_ber_in_pieces_is_named(self):
        pieces = pfx.content_info(pfx.DATA, der.element(0x24, pfx.octet_string(b"a"), pfx.octet_string(b"b")))
        container = pfx.sequence(pfx.integer(3), pieces, pfx.mac_data(bytes(32)))
        self.refuses(container, "damaged: the OCTET STRING of authSafe is in pieces (BER), which is not read")

    def test_damage_is_named_with_its_place(self):
        good = pfx.cert_bag(certificate())
        wide_name = pfx.attribute(pfx.FRIENDLY_NAME, der.element(der.UTF8_STRING, b"x"))
        wrong_id = pfx.attribute(pfx.LOCAL_KEY_ID, pfx.integer(1))
        info = pfx.sequence(pfx.oid(pfx.DATA), pfx.pbes2(), der.element(pfx.CONTEXT_0_PRIMITIVE, b"x"))
        for entries, problem in {
            (b"x",): "entry 1: ContentInfo is missing",
            (pfx.data_entry(), pfx.sequence(pfx.oid(pfx.DATA))): "entry 2: content is missing",
            (pfx.content_info(pfx.DATA, pfx.NULL),): "entry 1: the OCTET STRING of data is missing",
            (pfx.content_info(pfx.DATA, pfx.octet_string(b"x")),): "entry 1: SafeContents is missing",
            (pfx.data_entry(good, b"\x30\x05"),): "entry 1, bag 2: SafeBag is cut short",
            (pfx.data_entry(pfx.sequence(pfx.oid(pfx.CERT_BAG))),): "entry 1, bag 1: bagValue is missing",
            (pfx.data_entry(pfx.bag(pfx.CERT_BAG, pfx.NULL)),): "entry 1, bag 1: CertBag is missing",
            (pfx.data_entry(pfx.cert_bag(certificate(), wide_name)),): (
                "entry 1, bag 1: the BMPString of friendlyName is missing"
            ),
            (pfx.data_entry(good, pfx.bag(pfx.CRL_BAG, pfx.NULL, wrong_id)),): (
                "entry 1, bag 2: the OCTET STRING of localKeyId is missing"
            ),
            (pfx.content_info(pfx.ENCRYPTED_DATA, pfx.sequence(pfx.integer(0))),): (
                "entry 1: EncryptedContentInfo is missing"
            ),
            (pfx.content_info(pfx.ENCRYPTED_DATA, pfx.sequence(bytes.fromhex("02020100"), info)),): (
                "entry 1: version is malformed"
            ),
        }.items():
            with self.subTest(problem):
                self.refuses(GOST.container("x", *entries), f"damaged: {problem}", password="x")

    def test_damage_inside_an_encrypted_entry_is_named(self):
        wide_name = pfx.attribute(pfx.FRIENDLY_NAME, der.element(der.UTF8_STRING, b"x"))
        container = GOST.container("x", GOST.encrypted_entry("x", pfx.cert_bag(certificate(), wide_name)))
        problem = "an encrypted entry, bag 1: the BMPString of friendlyName is missing"
        self.refuses(container, f"its MAC is good, but it is damaged: {problem}", password="x")

    def test_every_prefix_is_refused(self):
        container = GOST.container("x", GOST.encrypted_entry("x", pfx.cert_bag(certificate())))
        path = self.folder / "a.p12"
        for size in range(1, len(container)):
            path.write_bytes(container[:size])
            status, out, errors = run("show", path, password="x")
            self.assertEqual((status, out, len(errors)), (1, "", 1), (size, errors))

    def test_every_change_of_an_octet_is_survived(self):
        entries = pfx.data_entry(GOST.shrouded_bag("x", private_key())), pfx.data_entry(pfx.cert_bag(certificate()))
        container = GOST.container("x", *entries)
        covered = container.index(pfx.sequence(*entries))
        path = self.folder / "a.p12"
        for place in range(len(container)):
            changed = bytearray(container)
            changed[place] ^= 0x81
            path.write_bytes(changed)
            status, out, errors = run("show", path, password="x")
            self.assertIn(status, (0, 1), (place, errors))
            if covered <= place < covered + len(pfx.sequence(*entries)):
                self.assertEqual((status, out), (1, ""), place)

    def test_bytes_behind_a_container_are_warned_about(self):
        path = self.file("a.p12", GOST.container("x") + b"more")
        for password in None, "x":
            status, _, errors = run("show", path, password=password)
            warning = f"derkit: {path}: warning: 4 bytes behind the container are not looked at"
            self.assertEqual((status, errors), (0, [warning]))

    def test_a_missing_file(self):
        path = self.folder / "no"
        self.assertEqual(self.fails("show", path, password=None), f"{path}: No such file or directory")


class PassedOver(P12Test):
    """What the library passes over is told, and the rest is shown."""

    def setUp(self):
        super().setUp()
        self.good = pfx.data_entry(pfx.cert_bag(certificate("good")))

    def tells(self, entries, *problems):
        """Each problem is told by show and by extract, which writes nothing, or the rest under --partial."""
        container = GOST.container("x", self.good, *entries)
        shown, told = self.show_with_problems(container, password="x")
        self.assertEqual(told, list(problems))
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=good"])
        path = self.file("a.p12", container)
        out = self.folder / "out"
        status, printed, errors = run("extract", path, "--out", out, password="x")
        self.assertEqual((status, printed), (1, ""))
        self.assertEqual(errors, [f"derkit: {path}: {problem}" for problem in [*problems, EXTRACTED_NOTHING]])
        self.assertFalse(out.exists())
        status, printed, errors = run("extract", path, "--out", out, "--partial", "--force", password="x")
        self.assertEqual((status, printed), (1, f"{out}/certificate-1.pem\n"))
        self.assertEqual(errors, [f"derkit: {path}: {problem}" for problem in problems])
        (out / "certificate-1.pem").unlink()
        out.rmdir()

    def test_other_content_types(self):
        self.tells(
            [pfx.content_info(pfx.SIGNED_DATA, pfx.sequence()), pfx.content_info(pfx.ENVELOPED_DATA, pfx.NULL)],
            "entry 2 (signedData) is not read",
            "entry 3 (envelopedData) is not read",
        )
        self.tells([pfx.content_info("1.2.3.4", pfx.NULL)], "entry 2 (1.2.3.4) is not read")

    def test_other_bags_in_the_clear_and_encrypted(self):
        others = {
            pfx.CRL_BAG: "crlBag",
            pfx.SECRET_BAG: "secretBag",
            pfx.SAFE_CONTENTS_BAG: "safeContentsBag",
            "1.2.3.4": "1.2.3.4",
        }
        bags = [pfx.bag(bag_type, pfx.sequence()) for bag_type in others]
        problems = [f"bag {i} ({name}) is not read" for i, name in enumerate(others.values(), 1)]
        self.tells(
            [pfx.data_entry(*bags), GOST.encrypted_entry("x", *bags)],
            *[f"entry 2, {problem}" for problem in problems],
            *[f"entry 3, {problem}" for problem in problems],
        )

    def test_bags_inside_a_safe_contents_bag_are_not_taken_for_read(self):
        nested = pfx.bag(pfx.SAFE_CONTENTS_BAG, pfx.sequence(pfx.key_bag(private_key())))
        self.tells([pfx.data_entry(nested)], "entry 2, bag 1 (safeContentsBag) is not read")

    def test_encryption_of_other_kinds(self):
        rc2 = pfx.sequence(
            pfx.oid("1.2.840.113549.1.12.1.6"), pfx.sequence(pfx.octet_string(bytes(8)), pfx.integer(2048))
        )
        aes = "2.16.840.1.101.3.4.1.42"
        magma = "1.2.643.7.1.1.5.1.1"
        scrypt = "1.3.6.1.4.1.11591.4.11"
        param_sets = {
            "1.2.643.2.2.31.0": "id-Gost28147-89-TestParamSet",
            "1.2.643.2.2.31.2": "id-Gost28147-89-CryptoPro-B-ParamSet",
            "1.2.643.2.2.31.3": "id-Gost28147-89-CryptoPro-C-ParamSet",
            "1.2.643.2.2.31.4": "id-Gost28147-89-CryptoPro-D-ParamSet",
            "1.2.643.7.1.2.5.1.1": "id-tc26-gost-28147-param-Z",
        }
        for algorithm, problem in [
            (rc2, "is encrypted with pbeWithSHAAnd40BitRC2-CBC (1.2.840.113549.1.12.1.6); only PBES2 is read"),
            (pfx.pbes2(cipher=aes), f"is encrypted with AES-256-CBC ({aes}); only GOST 28147-89 is read"),
            (pfx.pbes2(cipher=magma), f"is encrypted with Magma CTR-ACPKM ({magma}); only GOST 28147-89 is read"),
            (pfx.pbes2(kdf=scrypt), f"has a key derived with scrypt ({scrypt}); only PBKDF2 is read"),
            (
                pfx.pbes2(prf=pfx.HMAC_GOST_2012_256),
                f"has a key derived with HMAC GOST R 34.11-2012 256 ({pfx.HMAC_GOST_2012_256});"
                " only HMAC GOST R 34.11-94 is read",
            ),
            *(
                (
                    pfx.pbes2(param_set=oid),
                    f"is encrypted with the parameter set {name} ({oid});"
                    " only id-Gost28147-89-CryptoPro-A-ParamSet is read",
                )
                for oid, name in param_sets.items()
            ),
            (pfx.pbes2(iv=bytes(7)), "has an IV of 7 bytes instead of 8"),
            (pfx.pbes2(salt=b""), "has an empty salt"),
            (pfx.pbes2(iterations=0), "has an iteration count of 0"),
            (
                pfx.pbes2(iterations=1_000_001),
                "asks for 1000001 iterations, which are more than the 1000000 that are carried out",
            ),
            (pfx.sequence(pfx.oid(pfx.PBES2)), "has malformed parameters of its encryption"),
        ]:
            with self.subTest(problem):
                # what would decrypt well if the parameters were taken for those that are read
                certificates = GOST.encrypt("x", pfx.sequence(pfx.cert_bag(certificate())))
                key, other_key = (GOST.encrypt("x", private_key(octet * 32)) for octet in (b"a", b"b"))
                self.tells(
                    [
                        pfx.encrypted_entry(algorithm, certificates),
                        pfx.data_entry(pfx.shrouded_bag(algorithm, key)),
                        GOST.encrypted_entry("x", pfx.shrouded_bag(algorithm, other_key)),
                    ],
                    f"entry 2 (encryptedData) {problem}",
                    f"entry 3, bag 1 (pkcs8ShroudedKeyBag) {problem}",
                    f"entry 4, bag 1 (pkcs8ShroudedKeyBag) {problem}",
                )
                outside = self.show(GOST.container("x", pfx.encrypted_entry(algorithm, b"")), password=None)
                self.assertEqual(outside[1]["not_read"], problem)

    def test_files_of_openssl_with_other_encryption(self):
        b_set = "1.2.643.2.2.31.2"
        for how, problem in [
            (
                {"encryption": "aes-256-cbc"},
                "is encrypted with AES-256-CBC (2.16.840.1.101.3.4.1.42); only GOST 28147-89 is read",
            ),
            (
                {"encryption": "PBE-SHA1-3DES"},
                "is encrypted with pbeWithSHAAnd3-KeyTripleDES-CBC (1.2.840.113549.1.12.1.3); only PBES2 is read",
            ),
            (
                {"prf_digest": "md_gost12_256"},
                "has a key derived with HMAC GOST R 34.11-2012 256 (1.2.643.7.1.1.4.1);"
                " only HMAC GOST R 34.11-94 is read",
            ),
            (
                {"param_set": "id-Gost28147-89-CryptoPro-B-ParamSet"},
                f"is encrypted with the parameter set id-Gost28147-89-CryptoPro-B-ParamSet ({b_set});"
                " only id-Gost28147-89-CryptoPro-A-ParamSet is read",
            ),
        ]:
            with self.subTest(problem):
                shown, told = self.show_with_problems(PAIR.export(**how))
                self.assertEqual([found["object"] for found in shown], ["mac"])
                self.assertEqual(shown[0]["verdict"], "good")
                self.assertEqual(
                    told, [f"entry 1 (encryptedData) {problem}", f"entry 2, bag 1 (pkcs8ShroudedKeyBag) {problem}"]
                )

    def test_another_password_than_that_of_the_mac(self):
        self.tells(
            [
                GOST.encrypted_entry("other", pfx.cert_bag(certificate())),
                pfx.data_entry(GOST.shrouded_bag("other", private_key())),
                GOST.encrypted_entry("x", GOST.shrouded_bag("other", private_key())),
            ],
            f"entry 2 (encryptedData) {UNDECRYPTABLE}",
            f"entry 3, bag 1 (pkcs8ShroudedKeyBag) {UNDECRYPTABLE}",
            f"entry 4, bag 1 (pkcs8ShroudedKeyBag) {UNDECRYPTABLE}",
        )

    def test_a_malformed_shrouded_key(self):
        self.tells(
            [pfx.data_entry(pfx.bag(pfx.SHROUDED_KEY_BAG, pfx.NULL))],
            "entry 2, bag 1 (pkcs8ShroudedKeyBag) is malformed",
        )

    def test_encrypted_content_that_is_not_data(self):
        ciphertext = GOST.encrypt("x", pfx.sequence())
        self.tells(
            [pfx.encrypted_entry(pfx.pbes2(), ciphertext, content_type=pfx.SIGNED_DATA)],
            "entry 2 (encryptedData) holds signedData (1.2.840.113549.1.7.2) instead of data",
        )

    def test_the_same_ciphertext_twice_counts_twice(self):
        twice = GOST.encrypted_entry("x", pfx.cert_bag(certificate("a")))
        shown = self.show(GOST.container("x", twice, twice), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=a", "CN=a"])

    def test_a_ciphertext_that_is_read_under_one_salt_alone_is_missed(self):
        """The second one decrypts to nothing that makes sense."""
        ciphertext = GOST.encrypt("x", pfx.sequence(pfx.cert_bag(certificate("a"))))
        entries = pfx.encrypted_entry(pfx.pbes2(), ciphertext), pfx.encrypted_entry(pfx.pbes2(iterations=2), ciphertext)
        shown, told = self.show_with_problems(GOST.container("x", *entries), password="x")
        self.assertEqual([found.get("subject") for found in shown], [None, "CN=a"])
        self.assertEqual(told, ["holds 2 keys and certificates, of which 1 were read"])


class Bags(P12Test):
    def show_bags(self, *bags):
        return self.show(GOST.container("x", pfx.data_entry(*bags)), password="x")[1:]

    def test_every_way_to_keep_a_key(self):
        keys = [private_key(bytes([i]) * 32) for i in range(1, 5)]
        container = GOST.container(
            "x",
            pfx.data_entry(pfx.key_bag(keys[0]), GOST.shrouded_bag("x", keys[1])),
            GOST.encrypted_entry("x", pfx.key_bag(keys[2]), GOST.shrouded_bag("x", keys[3])),
        )
        shown = self.show(container, password="x")[1:]
        self.assertEqual([found["encrypted"] for found in shown], ["no", "yes", "yes", "yes"])
        kinds = {(found["family"], found["shape"]) for found in shown}
        self.assertEqual(kinds, {("GOST R 34.10-2001", "OCTET STRING")})
        self.extracts(container, keys, [], password="x")

    def test_no_key_is_ever_shown(self):
        secret = bytes(range(0x41, 0x61))
        path = self.file("a.p12", GOST.container("x", pfx.data_entry(pfx.key_bag(private_key(secret)))))
        for options in [], ["--json"]:
            out = self.succeeds("show", path, *options, password="x")
            for text in secret.hex(), secret.hex().upper(), secret.decode():
                self.assertNotIn(text, out)

    def test_a_container_without_bags(self):
        container = GOST.container("x")
        self.assertEqual([found["object"] for found in self.show(container, password="x")], ["mac"])
        path = self.file("a.p12", container)
        out = self.folder / "out"
        problem = "holds neither a key nor a certificate that can be read"
        self.assertEqual(self.fails("extract", path, "--out", out, password="x"), f"{path}: {problem}")
        self.assertFalse(out.exists())

    def test_names_are_shown_safely(self):
        found = self.show_bags(pfx.cert_bag(certificate(), pfx.friendly_name("a\x1b[2J\n\u202eb")))[0]
        self.assertEqual(found["friendly_name"], "a\\1B[2J\\0A\\E2\\80\\AEb")

    def test_a_name_that_is_not_utf16_is_an_error(self):
        for octets in b"a", b"\xd8\x00", b"\xdc\x00\x00a":
            name = pfx.attribute(pfx.FRIENDLY_NAME, der.element(der.BMP_STRING, octets))
            container = GOST.container("x", pfx.data_entry(pfx.cert_bag(certificate(), name)))
            shown, told = self.show_with_problems(container, password="x")
            self.assertEqual(told, ["certificate 1: friendly name is not UTF-16"])
            self.assertEqual(shown[1]["subject"], "CN=x")

    def test_times_of_validity(self):
        for begin, end, not_before, not_after in [
            ("250102030405Z", "491231235959Z", "2025-01-02T03:04:05Z", "2049-12-31T23:59:59Z"),
            ("500101000000Z", "20500101000000Z", "1950-01-01T00:00:00Z", "2050-01-01T00:00:00Z"),
            ("991231235959Z", "99991231235959Z", "1999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"),
            # not in the form of DER: as they stand
            ("2501020304Z", "20500101000000.5Z", "2501020304Z", "20500101000000.5Z"),
            ("25010203040aZ", "2050010100000aZ", "25010203040aZ", "2050010100000aZ"),
        ]:
            found = self.show_bags(pfx.cert_bag(certificate("x", begin, end)))[0]
            self.assertEqual((found["not_before"], found["not_after"]), (not_before, not_after))

    def test_what_is_wrong_with_a_bag_is_told_and_the_others_go_on(self):
        bags = [
            pfx.cert_bag(b"x"),
            pfx.cert_bag(certificate(validity=pfx.sequence())),
            pfx.key_bag(pfx.sequence()),
            pfx.cert_bag(certificate("good")),
        ]
        container = GOST.container("x", pfx.data_entry(*bags))
        shown, told = self.show_with_problems(container, password="x")
        self.assertEqual(
            told,
            [
                "key 1: not a PrivateKeyInfo: version is missing or malformed",
                "certificate 1: not a certificate: Certificate is missing or malformed",
                "certificate 2: validity is malformed",
            ],
        )
        self.assertEqual(shown[-1]["subject"], "CN=good")

    def test_an_attribute_of_another_kind_is_no_matter(self):
        other = pfx.attribute("1.3.6.1.4.1.311.17.1", der.element(der.BMP_STRING, b"\0x"))
        self.assertEqual(self.show_bags(pfx.cert_bag(certificate(), other))[0]["subject"], "CN=x")

    def test_names_of_types_come_from_the_maps(self):
        subject = der.name(der.attribute(bytes.fromhex("2B06010401868D1F01"), der.UTF8_STRING, b"x"))
        nothing = pfx.sequence()
        validity = pfx.sequence(*[der.element(pfx.UTC_TIME, b"250102030405Z")] * 2)
        tbs = pfx.sequence(pfx.integer(1), nothing, subject, validity, subject, nothing)
        path = self.file(
            "a.p12",
            GOST.container(
                "x", pfx.data_entry(pfx.cert_bag(pfx.sequence(tbs, nothing, bytes.fromhex("030100"))))
            ),
        )
        oid_map = self.file("map", b"1.3.6.1.4.1.99999.1 = mine\n")
        self.assertIn("subject: MINE=x\n", self.succeeds("show", path, "--oid-map", oid_map, password="x"))

    def test_thousands_of_bags(self):
        bags = [pfx.cert_bag(certificate(str(i))) for i in range(5000)]
        shown = self.show(GOST.container("x", pfx.data_entry(*bags)), password="x")
        self.assertEqual([found["subject"] for found in shown[1:]], [f"CN={i}" for i in range(5000)])


class Extraction(P12Test):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out"
        self.container = self.file(
            "a.p12",
            GOST.container(
                "x",
                pfx.data_entry(pfx.key_bag(private_key()), *(pfx.cert_bag(certificate(name)) for name in "ab")),
            ),
        )

    def files(self):
        return {path.name: path.read_bytes() for path in self.out.iterdir()}

    def test_files_are_listed_and_keys_are_for_their_owner_alone(self):
        printed = self.succeeds("extract", self.container, "--out", self.out, password="x", preexec=lambda: os.umask(0))
        names = ["key-1.pem", "certificate-1.pem", "certificate-2.pem"]
        self.assertEqual(printed, "".join(f"{self.out}/{name}\n" for name in names))
        modes = {path.name: mode(path) for path in self.out.iterdir()}
        self.assertEqual(modes, dict(zip(names, [0o600, 0o666, 0o666])))
        self.assertEqual(mode(self.out), 0o700)

    def test_openssl_reads_what_is_extracted(self):
        path = self.file("b.p12", PAIR.export())
        self.succeeds("extract", path, "--out", self.out)
        key = GOST.openssl("pkey", "-in", self.out / "key-1.pem", "-pubout")
        of_certificate = GOST.openssl("x509", "-in", self.out / "certificate-1.pem", "-noout", "-pubkey")
        self.assertEqual(key, of_certificate)

    def test_a_directory_that_is_there_is_used_with_what_it_holds(self):
        self.out.mkdir(0o755)
        (self.out / "other").write_bytes(b"other")
        self.succeeds("extract", self.container, "--out", f"{self.out}/", password="x")
        self.assertEqual(mode(self.out), 0o755)
        self.assertEqual(len(self.files()), 4)
        self.assertEqual((self.out / "other").read_bytes(), b"other")

    def test_files_are_overwritten_under_force_only(self):
        for taken in "key-1.pem", "certificate-2.pem":
            self.out.mkdir()
            (self.out / taken).write_bytes(b"old")
            self.assertEqual(
                self.fails("extract", self.container, "--out", self.out, password="x"),
                f"{self.out}/{taken}: is there already (--force overwrites it)",
            )
            self.assertEqual(self.files(), {taken: b"old"})
            self.succeeds("extract", self.container, "--out", self.out, "--force", password="x")
            self.assertEqual(len(self.files()), 3)
            self.assertNotEqual((self.out / taken).read_bytes(), b"old")
            for path in self.out.iterdir():
                path.unlink()
            self.out.rmdir()

    def test_an_overwritten_key_is_for_its_owner_alone_too(self):
        self.out.mkdir()
        (self.out / "key-1.pem").write_bytes(b"old")
        (self.out / "key-1.pem").chmod(0o666)
        self.succeeds("extract", self.container, "--out", self.out, "--force", password="x")
        self.assertEqual(mode(self.out / "key-1.pem"), 0o600)

    def test_when_a_later_file_fails_none_is_left(self):
        big = GOST.container("x", pfx.data_entry(pfx.key_bag(private_key()), pfx.cert_bag(certificate("a" * 4096))))
        path = self.file("big.p12", big)

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

        problem = f"{self.out}/certificate-1.pem: File too large"
        self.assertEqual(self.fails("extract", path, "--out", self.out, password="x", preexec=limit), problem)
        self.assertFalse(self.out.exists())
        self.out.mkdir()
        (self.out / "key-1.pem").write_bytes(b"old")
        told = self.fails("extract", path, "--out", self.out, "--force", password="x", preexec=limit)
        self.assertEqual(told, problem)
        self.assertEqual(self.files(), {"key-1.pem": b"old"})

    def test_a_directory_in_the_place_of_a_file(self):
        self.out.mkdir()
        (self.out / "certificate-2.pem").mkdir()
        self.fails("extract", self.container, "--out", self.out, "--force", password="x")
        self.assertEqual([path.name for path in self.out.iterdir()], ["certificate-2.pem"])

    def test_no_directory_can_be_made(self):
        problem = self.fails("extract", self.container, "--out", self.folder / "no" / "out", password="x")
        self.assertEqual(problem, f"{self.folder}/no/out: No such file or directory")
        path = self.file("taken", b"old")
        problem = self.fails("extract", self.container, "--out", path, password="x")
        self.assertEqual(problem, f"{path}/key-1.pem: Not a directory")
        self.assertEqual(path.read_bytes(), b"old")

    def test_a_bag_that_is_not_what_it_says_stops_it_all(self):
        for bad, problem in {
            pfx.cert_bag(b"x"): "certificate 3: not a certificate: Certificate is missing or malformed",
            pfx.key_bag(pfx.NULL): "key 2: not a PrivateKeyInfo: SEQUENCE is missing or malformed",
        }.items():
            bags = pfx.key_bag(private_key()), pfx.cert_bag(certificate()), pfx.cert_bag(certificate()), bad
            path = self.file("bad.p12", GOST.container("x", pfx.data_entry(*bags)))
            self.assertEqual(self.fails("extract", path, "--out", self.out, password="x"), f"{path}: {problem}")
            self.assertFalse(self.out.exists())

    def test_what_stands_behind_a_key_or_certificate_is_left_out_with_a_warning(self):
        bags = pfx.key_bag(private_key() + b"abc"), pfx.cert_bag(certificate() + b"de")
        path = self.file("b.p12", GOST.container("x", pfx.data_entry(*bags)))
        status, _, errors = run("extract", path, "--out", self.out, password="x")
        self.assertEqual(
            (status, errors),
            (
                0,
                [
                    f"derkit: {path}: key 1: warning: 3 bytes behind it are left out",
                    f"derkit: {path}: certificate 1: warning: 2 bytes behind it are left out",
                ],
            ),
        )
        expected = {"key-1.pem": pem(private_key(), "PRIVATE KEY"), "certificate-1.pem": pem(certificate())}
        self.assertEqual(self.files(), expected)


class Usage(P12Test):
    def test_a_command_line_that_makes_no_sense(self):
        for arguments, problem in [
            ([], "a subcommand of p12 is required"),
            (["foo"], "not expected: foo"),
            (["show"], "FILE is required"),
            (["extract", "a"], "--out is required"),
            (["make", "--key", "a", "--out", "b"], "--cert is required"),
            (["make", "--cert", "a", "--out", "b"], "--key is required"),
            (["make", "--key", "a", "--cert", "b"], "--out is required"),
            (["make", "--key", "a", "--cert", "b", "--out", "c", "--profile", "x"], "not in {standard,native}"),
            (["show", "a", "--no-password", "--password-stdin"], "excludes"),
            (["show", "a", "--password", "x"], "not expected"),
        ]:
            self.assertIn(problem, self.fails(*arguments, password=None, status=2))

    def test_a_password_cannot_be_asked_for_without_a_terminal(self):
        path = self.file("a.p12", GOST.container("x"))
        done = subprocess.run(
            [TOOL, "p12", "extract", path, "--out", self.folder / "out"],
            stdin=subprocess.DEVNULL,
            capture_output=True,
            start_new_session=True,
        )
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        self.assertIn(b"there is no terminal", done.stderr)


if __name__ == "__main__":
    unittest.main()
