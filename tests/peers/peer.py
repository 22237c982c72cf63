"""What the comparisons share: what openssl makes and reads, derkit's tool, and what differs."""

import itertools
import re
import sys
from collections import namedtuple
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "tool"))
import openssl
import tool
from der import pem, unpem
from openssl import gost

SKIPPED = 77
BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")
KEY_NUMBERS = itertools.count(1)

GOST_PARAM_SETS = {
    "gost2001": ["0", "A", "B", "C", "XA", "XB"],
    "gost2012_256": ["0", "A", "B", "C", "XA", "XB", "TCA", "TCB", "TCC", "TCD"],
    "gost2012_512": ["A", "B", "C"],
}

# openssl's names of algorithms, derkit's codes (pki_alg_t; 0: none) and derkit's names.
KEY_ALGORITHMS = {
    "rsaEncryption": (0x00000001, "RSA"),
    "rsassaPss": (0, "RSASSA-PSS"),
    "dsaEncryption": (0x00000003, "DSA"),
    "ED25519": (0, "id-Ed25519"),
    "GOST R 34.10-2001": (0x0000010E, "GOST R 34.10-2001"),
    "GOST R 34.10-2012 with 256 bit modulus": (0x0000010F, "GOST R 34.10-2012 256"),
    "GOST R 34.10-2012 with 512 bit modulus": (0x00000110, "GOST R 34.10-2012 512"),
}
SIGNATURE_ALGORITHMS = {
    "md5WithRSAEncryption": (0x00080001, "md5RSA"),
    "sha1WithRSAEncryption": (0x00020001, "sha1RSA"),
    "sha224WithRSAEncryption": (0x00030001, "sha224RSA"),
    "sha256WithRSAEncryption": (0x00040001, "sha256RSA"),
    "sha384WithRSAEncryption": (0x00050001, "sha384RSA"),
    "sha512WithRSAEncryption": (0x00060001, "sha512RSA"),
    "dsaWithSHA1": (0x00020003, "sha1DSA"),
    "dsa_with_SHA256": (0, "id-dsa-with-sha256"),
    "ED25519": (0, "id-Ed25519"),
    "GOST R 34.11-94 with GOST R 34.10-2001": (0x0009010E, "GOST R 34.11/34.10-2001"),
    "GOST R 34.10-2012 with GOST R 34.11-2012 (256 bit)": (0x000A010F, "GOST R 34.11-2012/34.10-2012 256"),
    "GOST R 34.10-2012 with GOST R 34.11-2012 (512 bit)": (0x000B0110, "GOST R 34.11-2012/34.10-2012 512"),
}
PSS_CODES = {"sha1": 0x00020002, "sha224": 0x00030002, "sha256": 0x00040002, "sha384": 0x00050002, "sha512": 0x00060002}

Element = namedtuple("Element", "offset depth end tag value content der")


class Comparison:
    """Counts what was compared and says what differs."""

    def __init__(self):
        self.compared = 0
        self.failures = 0

    def same(self, case, what, peer, derkit):
        self.compared += 1
        if peer != derkit:
            self.fail(f"{case}, {what}:\n  peer    {peer}\n  derkit  {derkit}")

    def fail(self, message):
        self.failures += 1
        print(message)

    def exit_status(self, what):
        print(f"{self.compared} {what} compared, {self.failures} differ")
        return 1 if self.failures or not self.compared else 0


def make_key(*source, **options):
    """Makes a file with a key of an algorithm, or from a source such as "-paramfile"."""
    path = Path(openssl.FOLDER.name) / f"key-{next(KEY_NUMBERS)}"
    source = ["-algorithm", *source] if len(source) == 1 else source
    settings = [part for name, value in options.items() for part in ("-pkeyopt", f"{name}:{value}")]
    gost("genpkey", "-out", path, *source, *settings)
    return path


def make_dsa_key(**options):
    return make_key("-paramfile", make_key("-genparam", "-algorithm", "DSA", **options))


def certificate(key, *options):
    return gost("req", "-x509", "-new", "-key", key, "-subj", "/CN=test", *options)


def elements(der):
    """Returns what asn1parse lists."""
    lines = gost("asn1parse", "-inform", "DER", stdin=der).decode().splitlines()
    pattern = re.compile(r" *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) (?:prim|cons): ([^:]*?) *(?::(.*))?$")
    found = []
    for line in lines:
        offset, depth, header, length, tag, value = pattern.match(line).groups()
        begin, end = int(offset) + int(header), int(offset) + int(header) + int(length)
        found.append(Element(int(offset), int(depth), end, tag, value, der[begin:end], der[int(offset) : end]))
    return found


def printed_number(text, label):
    """A number that openssl prints in hexadecimal on the lines after a label."""
    digits = re.search(rf"\n\s*{label}:\s*\n((?:\s+[0-9a-f:]+\n)+)", "\n" + text)
    return digits and int(re.sub(r"[\s:]", "", digits[1]), 16)


def printed_signature_algorithm(text):
    """The name of a certificate's signature algorithm, and the digest of RSASSA-PSS."""
    return re.search(r"Signature Algorithm: (.*\S)\s*\n(?:\s+Hash Algorithm: (\S+))?", text).groups()


def bundled_certificates():
    """The system's root certificates as PEM."""
    if not BUNDLE.exists():
        return []
    return [pem(certificate) for certificate in unpem(BUNDLE.read_bytes(), "CERTIFICATE")]


def derkit(*arguments, oid_map="/dev/null", **how):
    """Returns the objects that the tool shows. The map is empty unless given: no names of this machine's own."""
    done = tool.run(*arguments, "--json", "--oid-map", oid_map, **how)
    if done.status != 0:
        raise RuntimeError("\n".join(done.errors))
    return tool.objects(done.text)


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)
