#!/usr/bin/env python3
"""Checks that no function of the library costs more than linear time.

    cost_test.py PROBE VALGRIND

PROBE calls functions on growing inputs of their worst shapes, VALGRIND counts the instructions of every call, and each
step to twice the size may cost little more than twice as much: the logarithm of a search tree fits, a square does not.
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
# Rows of this name must be found.
QUADRATIC = "quadratic"

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


def faults(costs: Costs):
    for row, counts in costs.items():
        if len(counts) < 4:
            yield f"{row}: measured at {len(counts)} sizes only"
        found = list(growth_faults(counts))
        if row.startswith(QUADRATIC + ":"):
            if len(found) != len(counts) - 1:
                yield f"{row}: was not found out at every step"
        else:
            yield from (f"{row}: {fault}" for fault in found)
    if not any(row.startswith(QUADRATIC + ":") for row in costs):
        yield f"not measured: {QUADRATIC}"


def main() -> int:
    probe, valgrind = sys.argv[1:]
    costs = measure(probe, valgrind)
    found = list(faults(costs))
    for fault in found:
        print(fault)
    steps = [counts[size] / counts[size // 2] for row, counts in costs.items() if not row.startswith(QUADRATIC)
             for size in counts if size // 2 in counts]
    print(f"{len(costs)} rows, {sum(map(len, costs.values()))} calls; doubling an input costs at most "
          f"{max(steps, default=0):.2f} times as much; {len(found)} faults")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
