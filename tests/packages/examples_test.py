#!/usr/bin/env python3
"""The programs of examples/, built against the installed library, answer their questions."""
import os
import pathlib
import resource
import shlex
import subprocess
import tempfile
import unittest

from packages import BUILD, SOURCE, TIME_LIMIT, WITH_GOST, run

CMAKE = os.environ["CMAKE"]
COMPILER = [os.environ["CXX"], *shlex.split(os.environ["CXXFLAGS"])]
DATA = SOURCE / "tests/data"
MAX_LINES = 60
CERTIFICATES = ["2001", "2012-256", "2012-512"]
# Programs, arguments, exit status and what they print.
PRINTED = [
    ("own_names", [], 0, "OGRN=1027700132195,CN=Example,C=RU\n1.2.643.100.1=1027700132195,CN=Example,C=RU\n"
                         "1.2.643.100.1 is the primary state registration number\n"),
    ("compare_names", ["CN=a, O=b", "cn=a,2.5.4.10=b"], 0, "the same\n"),
    ("compare_names", ["CN=a,O=b", "O=b,CN=a"], 1, "the same in the other order\n"),
    ("compare_names", ["CN=a", "CN=A"], 1, "different\n"),
    ("compare_names", ["CN=a", "a"], 1, "not a name\n"),
    ("database_key", [], 0, "not a name: CN\n3 x 2.5.4.3=user1,2.5.4.10=Example\\, Inc.,2.5.4.6=RU\n"
                            "1 x 2.5.4.3=user2,2.5.4.6=RU\n"),
    ("from_c", ["cn=user1, O=\"Example, Inc.\""], 0, "CN=user1,O=Example\\, Inc.\n"),
    ("from_c", ["user1"], 2, ""),
    ("from_c", ["CN=" + "a" * 1020], 0, "CN=" + "a" * 1020 + "\n"),
    ("from_c", ["CN=" + "a" * 1021], 2, ""),
]
# Containers, what own_crypto prints and what gost_container prints.
CONTAINERS = [
    ("2001.p12", None, "certificate, Ключ 2001, 378 bytes\nkey, Ключ 2001, 69 bytes\n",
     "GOST R 34.11-94\ncertBag, Ключ 2001, 378 bytes\npkcs8ShroudedKeyBag, Ключ 2001, 69 bytes\n"),
    ("2001.p12", "guess", "the MAC does not match: wrong password, or the file was altered\n",
     "the MAC does not match: wrong password, or the file was altered\n"),
    ("broken-cut.p12", None, "the file is cut short\n", "the data is malformed or truncated\n"),
    ("no-mac.p12", None, "the container has no MAC\n", "the container has no MAC\n"),
    ("mixed-aes.p12", None, "some of the container is encrypted in an unknown way\n",
     "mixed algorithms\ncertBag, Ключ 2001, 378 bytes\npkcs8ShroudedKeyBag, Ключ 2001, 69 bytes\n"),
    ("streebog.p12", None, "the digest of the MAC is not supported\n",
     "GOST R 34.11-2012\ncertBag, Ключ 2012-256, 393 bytes\npkcs8ShroudedKeyBag, Ключ 2012-256, 72 bytes\n"),
]
PASSWORDS = dict(line.split(" ", 1) for line in (DATA / "passwords.txt").read_text(encoding="utf-8").splitlines())


def der(name):
    return subprocess.run(["openssl", "x509", "-in", DATA / name, "-outform", "DER"], capture_output=True, check=True).stdout


class ExamplesTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.scratch = pathlib.Path(folder.name)
        prefix = cls.scratch / "prefix"
        run(CMAKE, "--install", BUILD, "--prefix", prefix)
        cls.sources = prefix / "share/doc/derkit/examples/programs"
        cls.build = cls.scratch / "build"
        flags = shlex.join(COMPILER[1:])
        warnings = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror"
        run(CMAKE, "-G", "Ninja", "-S", cls.sources, "-B", cls.build, f"-DCMAKE_CXX_COMPILER={COMPILER[0]}",
            f"-DCMAKE_CXX_FLAGS={flags} {warnings}", f"-DCMAKE_C_FLAGS={flags} {warnings}", f"-DCMAKE_PREFIX_PATH={prefix}")
        run(CMAKE, "--build", cls.build)

    def run_program(self, name, *arguments, **options):
        done = subprocess.run([self.build / name, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=TIME_LIMIT, **options)
        return done.returncode, done.stdout

    def test_every_program_is_short_and_begins_with_its_question(self):
        programs = [path for path in sorted(self.sources.iterdir()) if path.suffix in (".cpp", ".c", ".h")]
        self.assertEqual(len(programs), 12)
        for path in programs:
            lines = path.read_text(encoding="utf-8").splitlines()
            self.assertLessEqual(len(lines), MAX_LINES, path.name)
            if path.suffix != ".h" and path.name != "shim.cpp":
                self.assertIn("?", lines[0], path.name)
        self.assertLessEqual(len((self.sources / "shim.cpp").read_text().splitlines()), 20)

    def test_programs_print_the_answer(self):
        for name, arguments, status, printed in PRINTED:
            with self.subTest(name, arguments=arguments):
                self.assertEqual(self.run_program(name, *arguments), (status, printed))

    def test_subjects_of_a_bundle(self):
        bundle = self.scratch / "bundle.pem"
        texts = [(DATA / f"{name}.cert.pem").read_text() for name in CERTIFICATES]
        bundle.write_text("text before\n".join([*texts, "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"]))
        expected = "".join(f"CN=Ключ {name},O=Пример,C=RU\n" for name in CERTIFICATES) + "(not a certificate)\n"
        self.assertEqual(self.run_program("subjects", bundle), (0, expected))

    @unittest.skipUnless(WITH_GOST, "libderkit-gost is not built")
    def test_containers(self):
        for name, password, own, gost in CONTAINERS:
            with self.subTest(name, password=password):
                file = self.scratch / "password"
                file.write_text(password or PASSWORDS[name], encoding="utf-8")
                self.assertEqual(self.run_program("own_crypto", DATA / name, file)[1], own)
                self.assertEqual(self.run_program("gost_container", DATA / name, file)[1], gost)

    def test_public_keys(self):
        key = self.scratch / "public.der"
        subprocess.run("openssl genrsa 1024 | openssl rsa -pubout -outform DER -out " + shlex.quote(str(key)), shell=True,
                       check=True, stderr=subprocess.DEVNULL)
        modulus = subprocess.run(["openssl", "rsa", "-pubin", "-inform", "DER", "-in", key, "-noout", "-modulus"],
                                 capture_output=True, check=True, text=True).stdout.strip().partition("=")[2]
        self.assertEqual(self.run_program("public_key", key),
                         (0, f"RSA, 1.2.840.113549.1.1.1\nmodulus: {modulus}\nexponent: 010001\n"))

        certificate = der("2001.cert.pem")
        begin = certificate.index(bytes.fromhex("301c06062a8503020213")) - 2  # SEQUENCE around the AlgorithmIdentifier
        key.write_bytes(certificate[begin:begin + 2 + certificate[begin + 1]])
        begin = certificate.index(bytes.fromhex("0343000440")) + 5  # BIT STRING, OCTET STRING
        self.assertEqual(self.run_program("public_key", key),
                         (0, "GOST R 34.10-2001, 1.2.643.2.2.19\nparameter set: 1.2.643.2.2.35.1\n"
                             f"key: {certificate[begin:begin + 64].hex().upper()}\n"))
        key.write_bytes(b"")
        self.assertEqual(self.run_program("public_key", key), (1, "not a public key\n"))

    def test_a_stream_takes_the_memory_of_one_certificate(self):
        certificates = [der(f"{name}.cert.pem") for name in CERTIFICATES]
        stream = self.scratch / "stream.der"
        stream.write_bytes(b"".join(certificates) * 10000)
        limit = 4 * 1024 * 1024
        self.assertGreater(stream.stat().st_size, 2 * limit)

        def bound_memory():
            resource.setrlimit(resource.RLIMIT_DATA, (limit, limit))

        with stream.open("rb") as whole:
            self.assertEqual(self.run_program("stream", stdin=whole, preexec_fn=bound_memory),
                             (0, "30000 certificates\n30000 RU\n"))
        stream.write_bytes(certificates[0] + certificates[1][:-1])
        with stream.open("rb") as cut:
            self.assertEqual(self.run_program("stream", stdin=cut), (1, "1 certificates\n1 RU\n"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
