"""What the tests of "derkit p12" share.

Containers come from openssl with its GOST engine, or are built by hand with the engine's cryptography.
"""

import functools
import signal
import resource
import stat
import tempfile
from pathlib import Path

import der
import openssl
from tool import ToolTest, objects

PASSWORD = "Пароль 1"
NAME = "Ключ №1"
UNREADABLE_MAC = "the MAC does not match: wrong password, or the file was altered"
UNDECRYPTABLE = "wrong password, or the encrypted data was altered"
MALFORMED = "the data is malformed or truncated"
MALFORMED_PARAMETERS = "the parameters of an algorithm are malformed"
NOT_A_CONTAINER = f"not a PKCS#12 container: {MALFORMED}"
NO_MAC = "the container has no MAC (--accept-unverified opens it all the same)"
OTHER_MAC = "the MAC is of an unsupported algorithm: {} (--accept-unverified opens it all the same)"
TOO_MANY_ITERATIONS = "the iteration count is above the limit: {} (--max-iterations allows more)"
OVER_BUDGET = "the key derivations of the file together are above the limit: {} (--max-iterations allows more)"


class Pair:
    """A key and its certificate, by openssl."""

    def __init__(self, family, algorithm, param_set):
        self.family = family
        self.algorithm = algorithm
        self.subject = f"O=Организация,CN={algorithm}"
        self.key_file, self.certificate_file = (
            Path(openssl.FOLDER.name) / f"{algorithm}-{kind}.pem" for kind in ("key", "certificate"))
        openssl.gost(
            *["req", "-x509", "-newkey", algorithm, "-pkeyopt", f"paramset:{param_set}", "-nodes"],
            *["-keyout", self.key_file, "-out", self.certificate_file],
            *["-subj", f"/O=Организация/CN={algorithm}", "-utf8", "-days", "30"],
        )
        self.key_pem, self.certificate_pem = self.key_file.read_bytes(), self.certificate_file.read_bytes()
        [self.key], [self.certificate] = der.unpem(self.key_pem), der.unpem(self.certificate_pem)

    def export(self, *options, encryption="gost89", mac="md_gost94", **how):
        """Returns the container that openssl makes of the two."""
        return openssl.gost(
            *["pkcs12", "-export", "-inkey", self.key_file, "-in", self.certificate_file, "-passout", "env:P12_PASSWORD"],
            *["-keypbe", encryption, "-certpbe", encryption, "-macalg", mac, "-name", NAME, *options],
            **{"P12_PASSWORD": PASSWORD, **how},
        )


@functools.cache
def pairs():
    return [
        Pair("GOST R 34.10-2001", "gost2001", "A"),
        Pair("GOST R 34.10-2012 256", "gost2012_256", "TCA"),
        Pair("GOST R 34.10-2012 512", "gost2012_512", "A"),
    ]


@functools.cache
def certificate_of(key):
    """Makes a certificate for a PrivateKeyInfo."""
    return der.certificate("a", key=openssl.gost("pkey", "-inform", "DER", "-pubout", "-outform", "DER", stdin=key))


def with_more_fields(key):
    """Puts attributes and the public key after a PrivateKeyInfo of 256 bits (RFC 5958 2)."""
    public_key = openssl.gost("pkey", "-inform", "DER", "-pubout", "-outform", "DER", stdin=key)[-66:]
    attributes = der.element(der.CONTEXT_0, der.attribute("2.5.4.3", der.UTF8_STRING, b"x"))
    return der.sequence(key[2:] if key[1] < 128 else key[3:], attributes, der.element(0x81, b"\0" + public_key))


def mode(path):
    return stat.S_IMODE(path.stat().st_mode)


def limit_file_size(size):
    """Returns what sets the limit in the process of the tool."""

    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

    return limit


class P12Test(ToolTest):
    COMMAND = ("p12",)

    @classmethod
    def setUpClass(cls):
        cls.pair = pairs()[0]

    def tool(self, *arguments, password=PASSWORD, **how):
        """Passes the password by the environment unless it is None."""
        options = [] if password is None else ["--password-env", "P12_PASSWORD"]
        return super().tool(*arguments, *options, env={"P12_PASSWORD": password or ""}, **how)

    def show_all(self, container, *options, **how):
        """Returns the objects that a container shows."""
        return self.objects("show", *options, self.file("shown.p12", container), **how)

    def show(self, container, *options, **how):
        """Returns them without the first one, which is about the container as a whole."""
        return self.show_all(container, *options, **how)[1:]

    def show_with_problems(self, container, **how):
        """Returns the objects that a container shows, without the first, and what follows its name on standard error."""
        path = self.file("shown.p12", container)
        done = self.tool("show", "--json", path, **how)
        self.assertEqual(done.status, 1, done.errors)
        begin = f"derkit: {path}: "
        self.assertEqual([line for line in done.errors if not line.startswith(begin)], [])
        return objects(done.text)[1:], [line.removeprefix(begin) for line in done.errors]

    def check_refused(self, container, problem, **how):
        """Checks that neither show nor extract reads anything of it."""
        path, out = self.file("refused.p12", container), self.folder / "out"
        self.check_failures([(["show", path], f"{path}: {problem}"),
                             (["extract", path, "--out", out], f"{path}: {problem}")], **how)
        self.assertFalse(out.exists())

    def check_all_refused(self, cases, **how):
        """Each case is (container, problem)."""
        for container, problem in cases:
            with self.subTest(problem):
                self.check_refused(container, problem, **how)

    def check_extracted(self, container, keys, certificates, **how):
        """Checks that exactly these are extracted; all are DER."""
        out = Path(tempfile.mkdtemp(dir=self.folder)) / "out"
        self.succeeds("extract", self.file("extracted.p12", container), "--out", out, **how)
        expected = {f"key-{i}.pem": der.pem(key, "PRIVATE KEY") for i, key in enumerate(keys, 1)}
        expected |= {f"certificate-{i}.pem": der.pem(data) for i, data in enumerate(certificates, 1)}
        self.assertEqual({path.name: path.read_bytes() for path in out.iterdir()}, expected)
