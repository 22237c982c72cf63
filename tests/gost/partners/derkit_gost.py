"""The GOST library through its public classes: asks the program gost_probe, which DERKIT_GOST_PROBE names."""

import atexit
import json
import os
import subprocess

from gost_keys import FOLDER


class Probe:
    def __init__(self):
        self.process = None

    def ask(self, **request):
        """Returns the answer to a request."""
        if self.process is None:
            pipe = subprocess.PIPE
            self.process = subprocess.Popen([os.environ["DERKIT_GOST_PROBE"]], stdin=pipe, stdout=pipe)
            atexit.register(self.process.stdin.close)
        self.process.stdin.write(json.dumps(request).encode() + b"\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"gost_probe ended with {self.process.wait()}")
        return json.loads(line)


PROBE = Probe()
ask = PROBE.ask


def octets(hexadecimal):
    return bytes.fromhex(hexadecimal)


def file(data, name="in"):
    path = FOLDER / name
    path.write_bytes(data)
    return str(path)


def open_container(data, password, **how):
    return ask(do="open", file=file(data), password=password, **how)


def read_key(data, password=None):
    return ask(do="read key", file=file(data), password=password)


def out(request):
    """Returns what a request to write wrote; raises what it says against it."""
    path = FOLDER / "out"
    answer = ask(**request, out=str(path))
    if "failure" in answer or "cause" in answer:
        raise RuntimeError(str(answer))
    return path.read_bytes()


def write_container(to, keys, certificates, password, name, **options):
    key_files = [file(key.der, f"key-{i}") for i, key in enumerate(keys)]
    certificate_files = [file(one.der, f"certificate-{i}") for i, one in enumerate(certificates)]
    request = {"do": "write", "to": to, "keys": key_files, "certificates": certificate_files, "password": password,
               "name": name}
    return out(request | options)


def write_key(to, data, password, new_password=None, **options):
    request = {"do": "write key", "to": to, "file": file(data), "password": password, "new_password": new_password}
    return out(request | options)


def convert_container(data, password, new_password, to, **options):
    request = {"do": "convert", "to": to, "file": file(data), "password": password, "new_password": new_password}
    return out(request | options)
