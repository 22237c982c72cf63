#!/usr/bin/env python3
"""Checks that no function of the library costs more than linear time.

    cost_test.py PROBE VALGRIND SYMBOLS

PROBE calls functions on growing inputs of their worst shapes, VALGRIND counts the instructions of every call, and each
step to twice the size may cost little more than twice as much: the logarithm of a search tree fits, a square does not.
SYMBOLS is the list of exported symbols: each function is measured, or FIXED says that its input has no variable size.
"""
import collections
import pathlib
import re
import subprocess
import sys
import tempfile

# n log n of a map with 100,000 lines takes 2.13.
MAX_GROWTH = 2.3
# What a first call costs once, such as the dynamic linker's search.
SLACK = 20_000
# Rows of this name are there to be found.
QUADRATIC = "quadratic"

# These take numbers. What they append to is measured where they append in place.
FIXED = {
    "CertTimeToLogStringGMT",
    "CertTimeTo_time_t",
    "PKI_CERT_SIGN_ALG_TO_OID",
    "PKI_HASH_ALG_TO_OID",
    "PKI_KEY_ALG_TO_OID",
    "asn_form_ike_signalg",
    "i2s::LogTimeToString",
    "ldap_x_wc_to_utf8",
}

Costs = dict[str, dict[int, int]]  # row -> size -> instructions


def measure(probe: str, valgrind: str) -> Costs:
    costs: Costs = collections.defaultdict(dict)
    with tempfile.TemporaryDirectory() as folder:
        counted = f"--callgrind-out-file={folder}/calls"
        subprocess.run([valgrind, "-q", "--tool=callgrind", "--instr-atstart=no", counted, probe], check=True)
        for dump in pathlib.Path(folder).iterdir():
            text = dump.read_text(encoding="utf-8", errors="replace")
            call = re.search(r"^desc: Trigger: Client Request: (.*): (\d+)$", text, re.MULTILINE)
            total = re.search(r"^summary: (\d+)$", text, re.MULTILINE)
            if call and total:  # what the program does at its end is dumped too
                costs[call[1]][int(call[2])] = int(total[1])
    return costs


def growth_faults(costs: dict[int, int]):
    sizes = sorted(costs)
    for size, twice in zip(sizes, sizes[1:]):
        if costs[twice] > MAX_GROWTH * costs[size] + SLACK:
            yield f"{size} bytes take {costs[size]} instructions, {twice} bytes {costs[twice]}"


def exported_functions(symbols: str) -> set[str]:
    mangled = pathlib.Path(symbols).read_text(encoding="ascii")
    names = subprocess.run(["c++filt"], input=mangled, check=True, capture_output=True, text=True).stdout
    return {name.partition("(")[0] for name in names.splitlines() if "(" in name}


def faults(costs: Costs, exported: set[str]):
    for row, counts in costs.items():
        if len(counts) < 4:
            yield f"{row}: measured at {len(counts)} sizes only"
        found = list(growth_faults(counts))
        if row.startswith(QUADRATIC + ":"):
            if len(found) != len(counts) - 1:
                yield f"{row}: was not found out at every step"
        else:
            yield from (f"{row}: {fault}" for fault in found)
    measured = {row.partition(": ")[0] for row in costs}
    yield from (f"not measured: {name}" for name in sorted(exported - measured - FIXED))
    yield from (f"measured or listed, but not exported: {name}"
                for name in sorted((measured | FIXED) - exported - {QUADRATIC}))
    yield from (f"not found out, for it is not measured: {QUADRATIC}" for _ in {QUADRATIC} - measured)


def main() -> int:
    probe, valgrind, symbols = sys.argv[1:]
    costs = measure(probe, valgrind)
    found = list(faults(costs, exported_functions(symbols)))
    for fault in found:
        print(fault)
    steps = [counts[size] / counts[size // 2] for row, counts in costs.items() if not row.startswith(QUADRATIC)
             for size in counts if size // 2 in counts]
    print(f"{len(costs)} rows, {sum(map(len, costs.values()))} calls; doubling an input costs at most "
          f"{max(steps, default=0):.2f} times as much; {len(found)} faults")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
