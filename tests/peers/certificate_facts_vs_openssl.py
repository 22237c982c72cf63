#!/usr/bin/env python3
"""Serial number, validity, algorithms and keys of certificates: derkit and openssl read the same from each.

The certificates are the system's root certificates and some that openssl makes in a temporary folder, those of GOST by
its engine. DERKIT_TOOL is the tool.
"""

import calendar
import json
import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")

GOST_CONFIG = (Path(__file__).parent / "gost_engine.cnf").read_text(encoding="ascii")

# openssl's names of algorithms, and derkit's; others derkit names as openssl does.
KEY_NAMES = {
    "rsaEncryption": "RSA",
    "rsassaPss": "RSASSA-PSS",
    "dsaEncryption": "DSA",
    "ED25519": "id-Ed25519",
    "GOST R 34.10-2001": "GOST R 34.10-2001",
    "GOST R 34.10-2012 with 256 bit modulus": "GOST R 34.10-2012 256",
    "GOST R 34.10-2012 with 512 bit modulus": "GOST R 34.10-2012 512",
}
SIGNATURE_NAMES = {
    "sha1WithRSAEncryption": "sha1RSA",
    "sha256WithRSAEncryption": "sha256RSA",
    "sha384WithRSAEncryption": "sha384RSA",
    "sha512WithRSAEncryption": "sha512RSA",
    "dsa_with_SHA256": "id-dsa-with-sha256",
    "ED25519": "id-Ed25519",
    "GOST R 34.11-94 with GOST R 34.10-2001": "GOST R 34.11/34.10-2001",
    "GOST R 34.10-2012 with GOST R 34.11-2012 (256 bit)": "GOST R 34.11-2012/34.10-2012 256",
    "GOST R 34.10-2012 with GOST R 34.11-2012 (512 bit)": "GOST R 34.11-2012/34.10-2012 512",
}
CURVE_NAMES = {"prime256v1": "secp256r1"}

GOST_PARAM_SETS = {
    "gost2001": ["0", "A", "B", "C", "XA", "XB"],
    "gost2012_256": ["0", "A", "B", "C", "XA", "XB", "TCA", "TCB", "TCC", "TCD"],
    "gost2012_512": ["A", "B", "C"],
}


class Peer:
    def __init__(self, folder):
        self.folder = Path(folder)
        config = self.folder / "gost.cnf"
        config.write_text(GOST_CONFIG)
        self.env = dict(os.environ, OPENSSL_CONF=str(config))

    def openssl(self, *args, input=None):
        run = subprocess.run(["openssl", *map(str, args)], input=input, env=self.env, capture_output=True)
        if run.returncode != 0:
            raise RuntimeError(f"openssl {' '.join(map(str, args))}: {run.stderr.decode(errors='replace')}")
        return run.stdout

    def self_signed(self, key_options, *options):
        key = self.folder / "key.pem"
        self.openssl("genpkey", "-out", key, *key_options)
        return self.openssl("req", "-x509", "-new", "-key", key, "-subj", "/CN=test", *options)


def dsa(peer):
    parameters = peer.folder / "dsa.pem"
    peer.openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:1024", "-out", parameters)
    return peer.self_signed(["-paramfile", parameters], "-sha256")


def made(peer):
    """Certificates as PEM, by what they are made of."""
    rsa = ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1031"]
    pss = ["-sigopt", "rsa_padding_mode:pss"]
    yield "RSA", peer.self_signed(rsa, "-sha512", "-set_serial", "0x80FF")
    yield "serial 0", peer.self_signed(rsa, "-set_serial", "0")
    yield "negative serial", peer.self_signed(rsa, "-set_serial", "-256")
    yield "times beyond 2050", peer.self_signed(rsa, "-days", "20000")
    yield "PSS with SHA-384", peer.self_signed(rsa, "-sha384", *pss)
    yield "PSS with SHA-1", peer.self_signed(rsa, "-sha1", *pss)
    yield "key for PSS", peer.self_signed(["-algorithm", "RSA-PSS", "-pkeyopt", "rsa_keygen_bits:1024"], "-sha256")
    yield "DSA", dsa(peer)
    yield "Ed25519", peer.self_signed(["-algorithm", "ED25519"])
    for curve in "P-224", "P-521":
        yield curve, peer.self_signed(["-algorithm", "EC", "-pkeyopt", f"ec_paramgen_curve:{curve}"], "-sha256")
    for algorithm, sets in GOST_PARAM_SETS.items():
        for param_set in sets:
            options = ["-algorithm", algorithm, "-pkeyopt", f"paramset:{param_set}"]
            yield f"{algorithm} {param_set}", peer.self_signed(options)


def lines_of(peer, pem):
    out = peer.openssl("x509", "-noout", "-serial", "-dates", input=pem).decode()
    return dict(line.split("=", 1) for line in out.splitlines())


def gmt(text):
    """openssl's time in derkit's layout."""
    seconds = calendar.timegm(time.strptime(text, "%b %d %H:%M:%S %Y GMT"))
    return "{2:02}.{1:02}.{0} {3:02}:{4:02}:{5:02} GMT".format(*time.gmtime(seconds))


def oids(peer, der):
    """Dotted OIDs of all OBJECT IDENTIFIERs of an element, in order, by their contents."""
    out = []
    for line in peer.openssl("asn1parse", "-inform", "DER", input=der).decode().splitlines():
        offset, header, size, tag = re.match(r" *(\d+):d=\d+ +hl=(\d+) l= *(\d+) \w+: (.*?) *(?::|$)", line).groups()
        if tag == "OBJECT":
            begin = int(offset) + int(header)
            out.append(dotted(der[begin : begin + int(size)]))
    return out


def dotted(content):
    arcs, number = [], 0
    for octet in content:
        number = number << 7 | octet & 0x7F
        if octet < 0x80:
            arcs.append(number)
            number = 0
    first = min(arcs[0] // 40, 2)
    return ".".join(map(str, [first, arcs[0] - 40 * first, *arcs[1:]]))


def signature_name(text):
    name, pss_hash = re.search(r"Signature Algorithm: (.*\S)\s*\n(?:\s+Hash Algorithm: (\S+))?", text).groups()
    return f"{pss_hash}RSASSA-PSS" if name == "rsassaPss" else SIGNATURE_NAMES.get(name, name)


def key_facts(peer, pem, text):
    public_key = peer.openssl("x509", "-noout", "-pubkey", input=pem)
    der = peer.openssl("pkey", "-pubin", "-outform", "DER", input=public_key)
    algorithm, *parameters = oids(peer, der)
    name = re.search(r"Public Key Algorithm: (.*\S)", text)[1]
    facts = {"public_key_algorithm": KEY_NAMES.get(name, name), "public_key_algorithm_oid": algorithm}
    if name in ("rsaEncryption", "rsassaPss", "dsaEncryption"):
        # of DSA, the text shows the size of y: p is the number that is called P
        p = re.search(r"\n\s+P:\s*\n((?:\s+[0-9a-f:]+\n)+)", text)
        size = int(re.sub(r"[\s:]", "", p[1]), 16).bit_length() if p else re.search(r"Public-Key: \((\d+) bit\)", text)[1]
        facts["public_key_bits"] = int(size)
    elif name == "id-ecPublicKey":
        curve = re.search(r"ASN1 OID: (\S+)", text)[1]
        facts["curve"] = CURVE_NAMES.get(curve, curve)
        facts["curve_oid"] = parameters[0]
    elif name.startswith("GOST"):
        printed_x = re.search(r"X:([0-9A-F]+)", text)[1]
        facts["public_key_bits"] = 512 if len(printed_x) > 64 else 256
        facts["param_set"] = re.search(r"Parameter set: (.*\S)", text)[1]
        for key, oid in zip(["param_set_oid", "digest_param_set_oid", "encryption_param_set_oid"], parameters):
            facts[key] = oid
    return facts


def facts_by_openssl(peer, pem):
    lines = lines_of(peer, pem)
    text = peer.openssl("x509", "-noout", "-text", input=pem).decode(errors="replace")
    return {
        "serial": lines["serial"],
        "not_before": gmt(lines["notBefore"]),
        "not_after": gmt(lines["notAfter"]),
        "signature_algorithm": signature_name(text),
        **key_facts(peer, pem, text),
    }


def same_param_set(peer, openssl_name, oid):
    """openssl has long names of its own for the parameter sets."""
    printed = peer.openssl("asn1parse", "-genstr", f"OID:{oid}").decode()
    return printed.rstrip("\n").endswith(":" + openssl_name)


def compare(peer, case, pem, shown):
    expected = facts_by_openssl(peer, pem)
    failures = 0
    for key, value in expected.items():
        if key == "param_set":
            good = "param_set" in shown and same_param_set(peer, value, shown["param_set_oid"])
        else:
            good = shown.get(key) == value
        if not good:
            failures += 1
            print(f"{case}, {key}:\n  derkit  {shown.get(key)}\n  openssl {value}")
    # what openssl does not tell is not to be there either
    for key in "public_key_bits", "curve_oid", "param_set_oid", "digest_param_set_oid", "encryption_param_set_oid":
        if key in shown and key not in expected:
            failures += 1
            print(f"{case}, {key}: derkit shows {shown[key]}, openssl nothing")
    return len(expected), failures


def derkit(*args, input):
    # an empty map: no names of this machine's own
    command = [os.environ["DERKIT_TOOL"], *args, "--json", "--oid-map", "/dev/null", "-"]
    out = subprocess.run(command, input=input, stdout=subprocess.PIPE, check=True).stdout.decode()
    return [json.loads(line) for line in out.splitlines()]


def main():
    compared = failures = 0
    with tempfile.TemporaryDirectory() as folder:
        peer = Peer(folder)
        cases = list(made(peer))
        if BUNDLE.exists():
            blocks = re.findall(
                rb"-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----\n", BUNDLE.read_bytes(), re.DOTALL
            )
            cases += [(f"root certificate {i}", pem) for i, pem in enumerate(blocks, 1)]
        everything = b"".join(pem for _, pem in cases)
        certificates, keys = derkit("cert", input=everything), derkit("spki", input=everything)
        if not len(cases) == len(certificates) == len(keys):
            print(f"{len(cases)} certificates, but derkit shows {len(certificates)} and {len(keys)} keys")
            return 1
        for (case, pem), certificate, key in zip(cases, certificates, keys):
            count, wrong = compare(peer, case, pem, certificate)
            compared, failures = compared + count, failures + wrong
            for field in set(key) - {"file", "index"}:
                compared += 1
                if key[field] != certificate.get(field):
                    failures += 1
                    print(f"{case}, {field}: spki {key[field]}, cert {certificate.get(field)}")
    print(f"{len(cases)} certificates, {compared} facts compared, {failures} differ")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
