"""Runs openssl, with its GOST engine where asked to, under configuration files in a temporary folder."""

import functools
import os
import subprocess
import tempfile
from pathlib import Path

# What the library reads: parameter set of the cipher, digest of the key derivation.
PROFILE = {"CRYPT_PARAMS": "id-Gost28147-89-CryptoPro-A-ParamSet", "PBE_PARAMS": "md_gost94"}
NEW_EC_KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", "/dev/null"]
FOLDER = tempfile.TemporaryDirectory()


def complete(*arguments, stdin=b"", **variables):
    """Returns a run that succeeded."""
    command = ["openssl", *map(str, arguments)]
    done = subprocess.run(command, input=stdin, capture_output=True, env=os.environ | variables)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {done.stderr.decode(errors='replace')}")
    return done


def run(*arguments, **how):
    """Returns the standard output of a run that succeeds."""
    return complete(*arguments, **how).stdout


def messages(*arguments, **how):
    """Returns what a run that succeeds writes to standard error."""
    return complete(*arguments, **how).stderr


@functools.cache
def configuration(*settings):
    path = Path(FOLDER.name) / f"gost-{configuration.cache_info().misses}.cnf"
    path.write_text(
        "openssl_conf = openssl\n"
        "[openssl]\nengines = engines\n"
        "[engines]\ngost = gost\n"
        "[gost]\nengine_id = gost\ndefault_algorithms = ALL\n"
        + "".join(f"{name} = {value}\n" for name, value in settings if value)
        + "[req]\ndistinguished_name = dn\n[dn]\n"
    )
    return str(path)


def gost(*arguments, stdin=b"", settings={}, **variables):
    """Runs openssl with the GOST engine; `settings` are those of the engine, None for its own default."""
    settings = tuple((PROFILE | settings).items())
    return run(*arguments, stdin=stdin, OPENSSL_CONF=configuration(*settings), **variables)


def certificate(subject, *options):
    """Makes a self-signed certificate as PEM."""
    return run("req", "-x509", *NEW_EC_KEY, "-subj", subject, "-days", "1", *options)
