"""What the comparisons share: openssl in a folder of its own, derkit's tool, and what differs."""

import json
import os
import re
import subprocess
import sys
import tempfile
from collections import namedtuple
from pathlib import Path

SKIPPED = 77
BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")
CONFIGS = {
    "gost": (Path(__file__).parent / "gost_engine.cnf").read_text(encoding="ascii"),
    "plain": "[req]\ndistinguished_name = dn\n[dn]\n",
}

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


class Workshop:
    """A folder in which openssl makes files and takes them apart."""

    def __init__(self):
        self._folder = tempfile.TemporaryDirectory()
        self.folder = Path(self._folder.name)
        self.count = 0
        for name, config in CONFIGS.items():
            (self.folder / f"{name}.cnf").write_text(config)

    def file(self, content=None):
        self.count += 1
        path = self.folder / str(self.count)
        if content is not None:
            path.write_bytes(content)
        return path

    def openssl(self, *args, input=None, gost=False):
        env = dict(os.environ, OPENSSL_CONF=str(self.folder / ("gost.cnf" if gost else "plain.cnf")))
        run = subprocess.run(["openssl", *map(str, args)], input=input, env=env, capture_output=True)
        if run.returncode != 0:
            raise RuntimeError(f"openssl {' '.join(map(str, args))}: {run.stderr.decode(errors='replace').strip()}")
        return run.stdout

    def make_key(self, *args, gost=False):
        path = self.file()
        self.openssl("genpkey", "-out", path, *args, gost=gost)
        return path

    def make_dsa_key(self, *options):
        parameters = self.file()
        self.openssl("genpkey", "-genparam", "-algorithm", "DSA", *options, "-out", parameters)
        return self.make_key("-paramfile", parameters)

    def certificate(self, key, *args, gost=False):
        return self.openssl("req", "-x509", "-new", "-key", key, "-subj", "/CN=test", *args, gost=gost)

    def elements(self, der):
        """What asn1parse lists."""
        lines = self.openssl("asn1parse", "-inform", "DER", input=der).decode().splitlines()
        pattern = re.compile(r" *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) (?:prim|cons): ([^:]*?) *(?::(.*))?$")
        found = []
        for line in lines:
            offset, depth, header, length, tag, value = pattern.match(line).groups()
            begin, end = int(offset) + int(header), int(offset) + int(header) + int(length)
            found.append(Element(int(offset), int(depth), end, tag, value, der[begin:end], der[int(offset) : end]))
        return found


def option(name, value):
    return ["-pkeyopt", f"{name}:{value}"]


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
    block = rb"-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----\n"
    return re.findall(block, BUNDLE.read_bytes(), re.DOTALL)


def derkit(*args, input=None, oid_map="/dev/null"):
    """The objects that the tool prints. The map is empty unless given: no names of this machine's own."""
    command = [os.environ["DERKIT_TOOL"], *args, "--json", "--oid-map", oid_map]
    if input is not None:
        command.append("-")
    out = subprocess.run(command, input=input, stdout=subprocess.PIPE, check=True).stdout.decode()
    return [json.loads(line) for line in out.splitlines()]


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)
