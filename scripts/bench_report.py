"""Writes docs/performance.md and its plots from what the benchmark measured. Called by scripts/bench.sh.

bench_report.py RESULTS BUILD DOCS: the folder of the benchmark's JSON files, the build folder of the preset bench, and
the folder to write to.
bench_report.py RESULTS: prints only the table of times.
"""

import collections
import datetime
import json
import math
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
from html import escape

LIBRARY = "derkit"
LOADED = ("libtasn1.so.6", "libksba.so.8")  # loaded for comparison
NUM_LOADS = 41


class Row:
    def __init__(self, name, line):
        self.name = name
        self.at_most = line["target"]
        self.against = line["against"]
        self.size = line["size"]
        self.contenders = collections.defaultdict(dict)

    def of(self, contender, what):
        return self.contenders.get(contender, {}).get(what)

    def peers(self):
        return {name: values for name, values in self.contenders.items() if name != LIBRARY and not values["limit"]}

    def fastest(self, faithful):
        """Returns the name of the fastest peer, or None."""
        names = [name for name, values in self.peers().items() if values["faithful"] or not faithful]
        return min(names, key=lambda name: self.of(name, "ns"), default=None)

    def opponent(self):
        """Returns the name of the peer that the target is set against, or None."""
        if self.against in ("fastest", "fastest faithful"):
            return self.fastest(self.against == "fastest faithful")
        return self.against if self.against in self.contenders else None

    def ratio(self, peer):
        return self.of(LIBRARY, "ns") / self.of(peer, "ns") if peer else None


def read_results(folder, preset):
    """Returns the rows, the rows of the series of sizes, and the versions of the peers."""
    rows, versions = {}, {}
    for path in sorted(folder.glob(f"{preset}.*.json")):
        for line in map(json.loads, path.read_text().splitlines()):
            if "peer" in line:
                versions[line["peer"]] = line["version"]
                continue
            row = rows.setdefault(line["row"], Row(line["row"], line))
            row.contenders[line["contender"]].update(line)
    # The pass over the times has the order of the program.
    order = [json.loads(line)["row"] for line in (folder / f"{preset}.time.json").read_text().splitlines()]
    table = [rows[name] for name in dict.fromkeys(order)]
    return table, [row for row in rows.values() if row.size], versions


# Text


def number(value, digits=3):
    """Formats a number with three digits or more, without an exponent."""
    if value is None:
        return "–"
    if value == 0:
        return "0"
    decimals = max(0, digits - 1 - math.floor(math.log10(abs(value))))
    return f"{value:,.{min(decimals, 2)}f}"


def ratio_text(value):
    if value is None:
        return "–"
    return f"{value:.2f}" if value >= 0.1 else f"{value:.3f}" if value >= 0.001 else f"{value:.1g}"


def table(head, lines):
    alignment = ["---" if i == 0 else "---:" for i in range(len(head))]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in [head, alignment, *lines]) + "\n"


def peer_text(row, peer):
    if peer is None:
        return "–"
    mark = "" if row.of(peer, "faithful") else " ✗"
    return f"{peer}{mark} {number(row.of(peer, 'ns'))}"


def times_table(rows):
    def line(row):
        opponent = row.opponent()
        ratio = row.ratio(opponent)
        target = "–" if row.at_most == 0 else f"{row.at_most:g}"
        if row.at_most and ratio is not None:
            target += " met" if ratio <= row.at_most else " **missed**"
        return [row.name, number(row.of(LIBRARY, "ns")), peer_text(row, opponent), ratio_text(ratio), target,
                peer_text(row, row.fastest(True)), ratio_text(row.ratio(row.fastest(True))),
                peer_text(row, row.fastest(False)), ratio_text(row.ratio(row.fastest(False)))]

    return table(["row", "derkit, ns", "target's peer, ns", "ratio", "at most", "fastest faithful peer, ns", "ratio",
                  "fastest peer, ns", "ratio"], map(line, rows))


def costs_table(rows):
    def line(row):
        return [row.name, *(number(row.of(LIBRARY, what)) for what in
                            ("ns", "allocations", "allocated_bytes", "instructions")),
                *(number(row.of(limit, what)) for limit in ("copy", "tags") for what in ("ns", "instructions")),
                *(number(row.of(contender, "two_threads")) for contender in (LIBRARY, "copy"))]

    head = ["row", "ns", "allocations", "bytes allocated", "instructions", "copy, ns", "copy, instructions",
            "tags, ns", "tags, instructions", "two threads", "two threads, copy"]
    lines = list(map(line, rows))
    if all(row.of(LIBRARY, "two_threads") is None for row in rows):
        head, lines = head[:-2], [cells[:-2] for cells in lines]
    return table(head, lines)


def contenders_table(rows):
    lines = []
    for row in rows:
        for name, values in sorted(row.peers().items(), key=lambda item: item[1]["ns"]):
            lines.append([f"{row.name}: {name}", number(values["ns"]), ratio_text(row.ratio(name)),
                          number(values.get("allocations")), number(values.get("allocated_bytes")),
                          number(values.get("instructions")), "yes" if values["faithful"] else "**no**"])
    return table(["row and peer", "ns", "derkit's ratio", "allocations", "bytes allocated", "instructions",
                  "faithful"], lines)


def series_of(size_rows):
    """Maps the name of each series to its points (size, ns)."""
    series = collections.defaultdict(list)
    for row in size_rows:
        series[row.name.rsplit(",", 1)[0]].append((row.size, row.of(LIBRARY, "ns")))
    return {name: sorted(points) for name, points in series.items()}


def sizes_table(series):
    """Nanoseconds a byte: the same in every column if the cost is linear."""
    def line(item):
        return [item[0], *(f"{ns / size:.3f}" for size, ns in item[1])]

    columns = max(map(len, series.values()))
    sizes = [size for size, _ in next(points for points in series.values() if len(points) == columns)]
    return table(["ns a byte, for inputs of about", *(f"{size:,} bytes" for size in sizes)], map(line, series.items()))


# Loading and size


def output_of(*command, env=None):
    return subprocess.run(command, check=True, capture_output=True, text=True, env=env).stdout


def needed_by(path):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", path))


def path_of(library):
    """Returns where the dynamic linker finds a library of the system."""
    return re.search(rf"\b{re.escape(library)} \(libc6,x86-64.*=> (\S+)", output_of("/sbin/ldconfig", "-p")).group(1)


def load_cost(build, path, dependencies):
    command = [build / "bench/derkit_bench_load", path, *dependencies]
    times = [json.loads(output_of(*command))["ns"] for _ in range(NUM_LOADS)]
    counter = build / "bench/libderkit_bench_count_allocations.so"
    counted = json.loads(output_of(*command, env={**os.environ, "LD_PRELOAD": str(counter)}))
    return statistics.median(times) / 1000, counted["allocations"], counted["allocated_bytes"]


def sizes_of(path):
    """Returns text, data and bss of the stripped library, the size of its file, and the number of its relocations."""
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / "stripped.so"
        subprocess.run(["strip", "-o", stripped, path], check=True)
        sections = output_of("size", stripped).splitlines()[1].split()[:3]
        relocations = len(re.findall(r" R_(?:X86_64|386)_", output_of("readelf", "-rW", stripped)))
        return [*map(int, sections), stripped.stat().st_size, relocations]


def load_table(build):
    lines = []
    for name in (build / "libderkit.so", *LOADED):
        path = name if isinstance(name, pathlib.Path) else path_of(name)
        dependencies = [library for library in needed_by(path) if library not in ("libc.so.6", "ld-linux-x86-64.so.2")]
        alone, after = load_cost(build, path, []), load_cost(build, path, dependencies)
        shown = [*alone, *after, *sizes_of(path)]
        lines.append([pathlib.Path(name).name, *(f"{value:,.0f}" for value in shown)])
    return table(["library", "µs with dependencies", "allocations", "bytes", "µs without", "allocations", "bytes",
                  "text", "data", "bss", "stripped file", "relocations"], lines)


# Plots


def svg(width, height, parts):
    style = ("text{font:12px sans-serif;fill:#222}.small{font-size:10px;fill:#555}.grid{stroke:#ddd}"
             ".axis{stroke:#888}.target{stroke:#c22;stroke-width:2}")
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            f'viewBox="0 0 {width} {height}">\n<style>{style}</style>\n'
            f'<rect width="{width}" height="{height}" fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")


def text_at(x, y, text, anchor="start", style=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" class="{style}">{escape(text)}</text>'


def line_at(x1, y1, x2, y2, style):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{style}"/>'


def plot_ratios(rows):
    """Draws a bar a row: the time of derkit divided by that of the peer that the target is set against."""
    shown = [(row, row.ratio(row.opponent())) for row in rows if row.opponent()]
    left, right, top, step = 230, 760, 50, 22
    low, high = math.log10(0.01), math.log10(max(2, *(ratio for _, ratio in shown)))
    bottom = top + step * len(shown)

    def x(ratio):
        return left + (right - left) * (max(math.log10(ratio), low) - low) / (high - low)

    title = "Time of derkit divided by that of the target's peer (logarithmic; red: the target; 1: as fast)"
    parts = [text_at(left, 20, title)]
    for tick in (0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2):
        if math.log10(tick) <= high:
            parts += [line_at(x(tick), top - 6, x(tick), bottom, "axis" if tick == 1 else "grid"),
                      text_at(x(tick), top - 10, f"{tick:g}", "middle", "small")]
    for i, (row, ratio) in enumerate(shown):
        y = top + step * i
        parts += [text_at(left - 8, y + 15, row.name, "end"),
                  f'<rect x="{left}" y="{y + 4}" width="{max(x(ratio) - left, 1):.1f}" height="14" fill="#4a7ebb"/>',
                  text_at(right + 10, y + 15, f"{ratio_text(ratio)} of {row.opponent()}", "start", "small")]
        if row.at_most:
            parts.append(line_at(x(row.at_most), y + 2, x(row.at_most), y + 20, "target"))
    return svg(930, bottom + 20, parts)


def plot_sizes(series):
    """Draws time against size, both logarithmic: a line of slope 1 is a cost in proportion to size."""
    left, right, top, bottom = 80, 700, 50, 470
    colours = ("#4a7ebb", "#be4b48", "#98b954", "#7d60a0", "#46aac5", "#f79646")
    points = [point for line in series.values() for point in line]
    x_low, x_high = math.log10(min(p[0] for p in points)), math.log10(max(p[0] for p in points))
    y_low, y_high = math.floor(math.log10(min(p[1] for p in points))), math.ceil(math.log10(max(p[1] for p in points)))

    def x(size):
        return left + (right - left) * (math.log10(size) - x_low) / (x_high - x_low)

    def y(ns):
        return bottom - (bottom - top) * (math.log10(ns) - y_low) / (y_high - y_low)

    parts = [text_at(left, 20, "Time of one call against the size of its input (both logarithmic)"),
             text_at((left + right) / 2, bottom + 40, "bytes", "middle"), text_at(left - 8, top - 12, "time", "end")]
    for exponent in range(10, 23, 2):
        size = 2 ** exponent
        if x_low <= math.log10(size) <= x_high:
            label = f"{size >> 20} Mi" if size >> 20 else f"{size >> 10} Ki"
            parts += [line_at(x(size), top, x(size), bottom, "grid"),
                      text_at(x(size), bottom + 16, label, "middle", "small")]
    for exponent in range(y_low, y_high + 1):
        label = f"{10 ** (exponent % 3)} {('ns', 'µs', 'ms', 's')[exponent // 3]}"
        parts += [line_at(left, y(10 ** exponent), right, y(10 ** exponent), "grid"),
                  text_at(left - 6, y(10 ** exponent) + 4, label, "end", "small")]
    for i, (name, line) in enumerate(series.items()):
        path = " ".join(f"{x(size):.1f},{y(ns):.1f}" for size, ns in line)
        colour = colours[i % len(colours)]
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{x(size):.1f}" cy="{y(ns):.1f}" r="3" fill="{colour}"/>' for size, ns in line]
        parts += [line_at(right + 20, top + 20 * i, right + 40, top + 20 * i, "axis").replace(
            'class="axis"', f'stroke="{colour}" stroke-width="3"'), text_at(right + 46, top + 20 * i + 4, name)]
    return svg(880, bottom + 60, parts)


# The report


def machine():
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    return (f"{model.group(1) if model else 'unknown processor'}, {os.cpu_count()} processors, Linux "
            f"{os.uname().release}; load average of the last 15 minutes {os.getloadavg()[2]:.1f}, of which the "
            "benchmark itself is 1 to 2")


def commit():
    changed = output_of("git", "status", "--porcelain", "--", "asn", "include", "pkcs", "platform", "util")
    return output_of("git", "rev-parse", "--short", "HEAD").strip() + (" with changes" if changed else "")


def document(results, build, docs):
    rows, sizes, versions = read_results(results, "bench")
    series = series_of(sizes)
    (docs / "performance-ratios.svg").write_text(plot_ratios(rows))
    (docs / "performance-sizes.svg").write_text(plot_sizes(series))
    with_target = [row for row in rows if row.at_most]
    met = [row for row in with_target if row.opponent() and row.ratio(row.opponent()) <= row.at_most]
    compiler = output_of("g++", "--version").splitlines()[0]
    peers = ", ".join(f"{name} {version}" for name, version in versions.items())
    parts = [f"""# Performance

Written by `scripts/bench.sh`; changes made here are lost.

{len(met)} of {len(with_target)} targets are met. A time is the processor time of one call, averaged over the row's
inputs, which are the same for all contenders. It is the median of 15 repetitions, which are spread over the whole run
in random order. All contenders write into storage that is kept from call to call. Before anything is timed, each
result of each contender is compared with the known right one; ✗ marks a peer that truncates, refuses or garbles at
least one input of the row.

- derkit: {commit()}, RelWithDebInfo (`-O2`), the shared library
- peers: {peers}; "mbedTLS primitives" is code by hand on mbedTLS's ASN.1 functions
- compiler: {compiler}
- machine: {machine()}
- date: {datetime.date.today().isoformat()}

To repeat it, run `scripts/bench.sh` as root from a clone, on an otherwise idle Debian 12. For a short look at some
rows, run `scripts/bench.sh --quick --filter='name|hex'`. `build/bench/bench/derkit_bench --pass=check` shows what
unfaithful peers do wrong.

## Against the peers, x86-64

{times_table(rows)}
![Ratios by row](performance-ratios.svg)

## What a call costs, and how near the limits are

"copy" only copies the input and the output; "tags" only walks over the tags of the encoded side. "two threads" is the
number of calls that two threads complete, divided by that of one thread, each at its best of 31 runs. The copy's shows
what the machine itself can do.

{costs_table(rows)}
## Cost against size

{sizes_table(series)}
![Cost against size](performance-sizes.svg)

## Loading, and size

The time and the allocations of `dlopen`, with and without the library's dependencies (derkit: the C++ standard
library). A time is the median of {NUM_LOADS} processes. Sizes are in bytes, of the stripped library.

{load_table(build)}"""]
    if (results / "bench-i386.time.json").exists():
        other = read_results(results, "bench-i386")[0]
        parts.append("## 32-bit x86\n\nThe only peer is the C library. The names of the map are made up; on x86-64 "
                     f"they are those of OpenSSL.\n\n{costs_table(other)}\n{contenders_table(other)}")
    parts.append(f"""## The tool

`scripts/bench_tool.py`: one bundle of certificates that all differ, the text thrown away. The peers get a smaller bundle,
as they take long or keep the whole file. `cat` only reads.

{(results / "tool.md").read_text()}""")
    parts.append(f"## All peers, x86-64\n\n{contenders_table(rows)}")
    (docs / "performance.md").write_text("\n".join(parts))


if __name__ == "__main__":
    folders = [pathlib.Path(argument) for argument in sys.argv[1:]]
    if len(folders) == 1:
        print(times_table(read_results(folders[0], "bench")[0]))
    else:
        document(*folders)
