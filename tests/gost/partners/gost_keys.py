"""Keys and certificates by openssl with its GOST engine, made once a run."""

import functools
import re
import tempfile
from pathlib import Path
from typing import NamedTuple

import openssl
from der import unpem
from openssl import gost

FOLDER = Path(tempfile.mkdtemp(dir=openssl.FOLDER.name))

# Family: its parameter sets by gost-engine's names, with their object identifiers (RFC 4357, RFC 7836, RFC 9215).
PARAM_SETS = {
    "gost2001": {
        "A": "1.2.643.2.2.35.1",
        "B": "1.2.643.2.2.35.2",
        "C": "1.2.643.2.2.35.3",
        "XA": "1.2.643.2.2.36.0",
        "XB": "1.2.643.2.2.36.1",
    },
    "gost2012_256": {
        "A": "1.2.643.2.2.35.1",
        "B": "1.2.643.2.2.35.2",
        "C": "1.2.643.2.2.35.3",
        "XA": "1.2.643.2.2.36.0",
        "XB": "1.2.643.2.2.36.1",
        "TCA": "1.2.643.7.1.2.1.1.1",
        "TCB": "1.2.643.7.1.2.1.1.2",
        "TCC": "1.2.643.7.1.2.1.1.3",
        "TCD": "1.2.643.7.1.2.1.1.4",
    },
    "gost2012_512": {
        "A": "1.2.643.7.1.2.1.2.1",
        "B": "1.2.643.7.1.2.1.2.2",
        "C": "1.2.643.7.1.2.1.2.3",
    },
}


class Key(NamedTuple):
    family: str
    param_set: str  # dotted
    path: Path  # of the key as PEM
    der: bytes  # PrivateKeyInfo
    number: str  # hexadecimal, highest octet first, as many octets as the family has

    @property
    def size(self):
        return 64 if self.family == "gost2012_512" else 32


class Certificate(NamedTuple):
    path: Path
    der: bytes


def printed_number(text, size):
    """Returns the number of "openssl pkey -text", which leaves out leading zeros."""
    return re.search(r"Private key: ([0-9A-F]+)", text)[1].lower().rjust(2 * size, "0")


def number_of(pem, size):
    return printed_number(gost("pkey", "-text", "-noout", stdin=pem).decode(), size)


def make(family, param_set):
    """Makes a key of a parameter set by its name here."""
    dotted = PARAM_SETS[family][param_set]
    path = FOLDER / f"{family}-{param_set}-{len(list(FOLDER.iterdir()))}.key"
    text = gost("genpkey", "-algorithm", family, "-pkeyopt", f"paramset:{param_set}", "-text").decode()
    pem = text[text.index("-----BEGIN") : text.index("-----END PRIVATE KEY-----") + len("-----END PRIVATE KEY-----\n")]
    path.write_text(pem)
    size = 64 if family == "gost2012_512" else 32
    return Key(family, dotted, path, unpem(pem.encode(), "PRIVATE KEY")[0], printed_number(text, size))


@functools.cache
def key(family, param_set="A"):
    """Returns the key that stands for a family and parameter set."""
    return make(family, param_set)


@functools.cache
def public_key(of):
    """Returns x and y, each lowest octet first."""
    return gost("pkey", "-in", of.path, "-pubout", "-outform", "DER")[-2 * of.size :]


@functools.cache
def certificate(of, extension_size=0):
    """Makes a self-signed certificate for a key, of more octets than an extension of it has."""
    path = FOLDER / f"{of.path.stem}-{extension_size}.crt"
    options = ["-x509", "-new", "-key", of.path, "-utf8", "-subj", "/C=RU/O=Пример/CN=Ключ", "-days", "2"]
    configuration = openssl.configuration(*openssl.PROFILE.items())
    if extension_size:
        # A configuration file has no limit on the length of a line; an argument has.
        octets = (bytes(range(256)) * (extension_size // 256 + 1))[:extension_size]
        text = Path(configuration).read_text()
        configuration = FOLDER / f"{path.stem}.cnf"
        configuration.write_text(f"{text}[long]\n1.3.6.1.4.1.99999.1 = DER:{octets.hex()}\n")
        options += ["-extensions", "long"]
    pem = openssl.run("req", *options, OPENSSL_CONF=str(configuration))
    path.write_bytes(pem)
    return Certificate(path, unpem(pem, "CERTIFICATE")[0])
