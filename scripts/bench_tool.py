#!/usr/bin/env python3
"""Measures the tool on a bundle of many certificates beside openssl and certtool, and prints a Markdown table.

Usage: bench_tool.py TOOL [COUNT]; COUNT is 100,000 unless given. The certificates are those that Debian trusts, each with a
serial number of its own, so no two are alike.
"""

import base64
import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOTS = Path("/etc/ssl/certs/ca-certificates.crt")
PEERS_COUNT = 2_000  # they take long, and certtool keeps the whole file


def length_of(der, at):
    """The size of a header, and of the content after it."""
    if der[at + 1] < 0x80:
        return 2, der[at + 1]
    octets = der[at + 1] & 0x7F
    return 2 + octets, int.from_bytes(der[at + 2:at + 2 + octets], "big")


def serial_number(der):
    """Where the content of the serial number is, and its size."""
    at = length_of(der, 0)[0]
    at += length_of(der, at)[0]
    if der[at] == 0xA0:
        at += sum(length_of(der, at))
    header, size = length_of(der, at)
    return at + header, size


def pem(der):
    text = base64.encodebytes(der).decode().replace("\n", "")
    lines = "\n".join(text[i:i + 64] for i in range(0, len(text), 64))
    return f"-----BEGIN CERTIFICATE-----\n{lines}\n-----END CERTIFICATE-----\n"


def make_bundle(path, count):
    blocks = re.findall(r"-----BEGIN CERTIFICATE-----(.*?)-----END", ROOTS.read_text(), re.DOTALL)
    roots = [(der, *serial_number(der)) for der in map(base64.b64decode, blocks)]
    roots = [root for root in roots if root[2] >= 8]
    with open(path, "w", encoding="ascii") as bundle:
        for number in range(count):
            der, at, size = roots[number % len(roots)]
            bundle.write(pem(der[:at + size - 4] + number.to_bytes(4, "big") + der[at + size:]))


def measured(command):
    """Seconds of the processor and of the clock, and the most memory in MB: that which wait4() tells has this script in it."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    memory, done = 0, 0
    while not done:
        memory = max(memory, most_memory(process.pid))
        time.sleep(0.005)
        done, status, usage = os.wait4(process.pid, os.WNOHANG)
    clock = time.monotonic() - start
    if status != 0:
        sys.exit(f"{command}: status {status}")
    return usage.ru_utime + usage.ru_stime, clock, memory / 1024


def most_memory(pid):
    found = re.search(r"^VmHWM:\s+(\d+) kB$", Path(f"/proc/{pid}/status").read_text(), re.MULTILINE)
    return int(found[1]) if found else 0


def shown(command):
    """The command without the names of files."""
    return " ".join([Path(command[0]).name, *(word for word in command[1:] if "/" not in word)])


def main():
    tool, count = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 100_000
    few = min(PEERS_COUNT, count)
    with tempfile.TemporaryDirectory() as folder:
        large, small = f"{folder}/large.pem", f"{folder}/small.pem"
        make_bundle(large, count)
        make_bundle(small, few)
        commands = [
            (count, [tool, "cert", large]),
            (count, [tool, "cert", "--json", large]),
            (count, [tool, "names", large]),
            (count, [tool, "asn1", large]),
            (count, ["cat", large]),
            (few, [tool, "cert", small]),
            (few, ["openssl", "storeutl", "-certs", "-text", small]),
            (few, ["certtool", "-i", "--infile", small]),
        ]
        print("| command | certificates | a second | processor seconds | memory, MB |\n|---|---|---|---|---|")
        for number, command in commands:
            processor, clock, memory = measured(command)
            print(f"| `{shown(command)}` | {number:,} | {number / clock:,.0f} | {processor:.2f} | {memory:.1f} |", flush=True)


if __name__ == "__main__":
    main()
