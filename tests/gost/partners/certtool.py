"""Runs certtool of GnuTLS. It takes 600,000 iterations for whatever it encrypts, so its files are few."""

import os
import shutil
import subprocess

# Curves that GnuTLS 3.7 has.
CURVES = {("gost2001", "A"), ("gost2001", "XA"), ("gost2012_256", "A"), ("gost2012_512", "A")}


def is_installed():
    return shutil.which("certtool") is not None


def try_run(*arguments, stdin=b""):
    """Returns whether a run succeeds, its standard output and its messages."""
    command = ["certtool", *map(str, arguments)]
    done = subprocess.run(command, input=stdin, capture_output=True, env=os.environ | {"LC_ALL": "C.UTF-8"})
    return done.returncode == 0, done.stdout, done.stderr.decode(errors="replace")


def run(*arguments, stdin=b""):
    """Returns the standard output of a run that succeeds."""
    done, out, messages = try_run(*arguments, stdin=stdin)
    if not done:
        raise RuntimeError(f"certtool {' '.join(map(str, arguments))}: {messages}")
    return out


def password(text):
    """Returns the options for a password; None is the one that is not there."""
    if text is None:
        return ["--null-password"]
    return ["--password", text] if text else ["--empty-password"]


def curve_of(key):
    """Returns the name of a key's parameter set that CURVES has; None for others."""
    names = {"1.2.643.2.2.35.1": "A", "1.2.643.2.2.36.0": "XA", "1.2.643.7.1.2.1.2.1": "A"}
    return names.get(key.param_set)
