#!/usr/bin/env python3
"""Checks that readers move pointers, and set the sizes of views, through the cursor alone; all other places are named here.

Usage: check_pointers.py CLANG_TIDY SOURCE
"""

import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

CHECK = "cppcoreguidelines-pro-bounds-pointer-arithmetic"
VIEW_CHANGE = re.compile(r"(?:\.|->)(?:size|data) *(?:\+=|-=|=[^=])|(?:--|\+\+)[\w.]*\.(?:size|data)\b|\.(?:size|data)(?:--|\+\+)")

# Every line of a reader that moves a pointer, takes an element by its index, or changes a view.
READERS = {
    "asn/asn_tag_reader.h": ["The header: scripts/prove-reader.sh goes through all of them.", {
        "if (tag != asn_tag_t::ANY && p[0] != tag) {",
        "const unsigned int first_length_octet = p[1];",
        "return size < first_length_octet + 2 ? nullptr : p + 2;",
        "unsigned int length = p[2];",
        "length = length << 8 | p[2 + i];",
        "return size < length + num_length_octets + 2 ? nullptr : p + 2 + num_length_octets;",
    }],
    "asn/asn_cursor.h": ["The step of the cursor, proved in the same way, and the views that it returns.", {
        "p = content + content_size;",
        "view.size = data_size;",
        "view.data = data;",
        "longer.size += outer.size;",  # both lie in one input, one right after the other
    }],
    "asn/asn_reader.cpp": ["An INTEGER's content, by index: it is not empty, and all indices are below its size.", {
        "const bool negative = (content[0] & 0x80) != 0;",
        "prefix = prefix << 8 | content[i];",
        "value = static_cast<unsigned int>(prefix << 8 | content[size - 1]);",
    }],
    "asn/asn_pubkey.cpp": ["The octets after a BIT STRING's first one, and a number without leading zeros while two are left.", {
        "key.size = bit_string.size - 1;",
        "key.data = reinterpret_cast<const unsigned char*>(reinterpret_cast<std::uintptr_t>(bit_string.data) + 1);",
        "while (number.size >= 2 && number.data[0] == 0) {",
        "--number.size;",
        "++number.data;",
    }],
    "asn/asn_dn_to_printable.cpp": ["The first octet of a value that has one; ends of contents; an RDN that the cursor has passed.", {
        "const asn_tag_t::Type tag = value.size == 0 ? asn_tag_t::ANY : static_cast<asn_tag_t::Type>(value.data[0]);",
        "} else if (!put_oid(type.data, type.data + type.size, writer_)) {",
        "if (!put_t61<escaped_t61_t>(content.data, content.data + content.size, writer_, write_utf8)) {",
        "return oid_asn_to_str_(oid.data, oid.data + oid.size, out) != 0;",
        "oid_asn_to_str_(oid.data, oid.data + oid.size, out);",
        "return asn_cursor_t(name_.p + offset, name_.size - offset).read(asn_tag_t::SET);",
    }],
    "asn/asn_printable_to_dn.cpp": ["Text; the first octet of hexadecimal that has at least two.", {
        "void add_unseen(char c) { *end_++ = c; }",
        "if (!read_hex_pair(digits.substr(2 * i), octets[i])) {",
        "out.tag = static_cast<asn_tag_t::Type>(octets[0]);",
    }],
    "pkcs/pkcs12_bags.cpp": ["A view, copied to one of another type.", {
        "bag.friendly_name.size = name.size;",
        "bag.friendly_name.data = name.data;",
    }],
    "pkcs/pkcs12_helper.cpp": ["The first octet of a version that has one.", {
        "return version.size == 1 || (version.size != 0 && version.data[0] == expected);",
    }],
}

# What reads no DER: octets up to an end that the caller knows, text, tables, writers.
OTHERS = {
    "asn/asn_alg_tables.h", "asn/asn_builder.h", "asn/asn_element.h", "asn/asn_oid_text.cpp", "asn/asn_oidmap.cpp",
    "asn/asn_printable.cpp", "asn/asn_printable_escape.h", "asn/asn_printable_syntax.cpp", "asn/asn_printable_traits.h",
    "asn/oid_map.h", "asn/t61.cpp", "asn/t61_decoder.h", "platform/convi.cpp", "util/cert_time.cpp", "util/copy_octets.h", "util/int2str.cpp",
    "util/text_writer.h",
}


def pointer_arithmetic(clang_tidy: str, source: Path, file: Path) -> set[tuple[str, int]]:
    """The places, headers included, as (file, line)."""
    config = f"{{Checks: '-*,{CHECK}', HeaderFilterRegex: '.*'}}"
    command = [clang_tidy, f"--config={config}", "--quiet", file, "--", "-std=c++20", "-Iinclude", "-I."]
    done = subprocess.run(command, cwd=source, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{file}: clang-tidy failed\n{done.stdout}{done.stderr}")
    places = re.findall(rf"^(.*?):(\d+):\d+: warning: .*\[{CHECK}\]$", done.stdout, re.MULTILINE)
    return {(os.path.relpath(source / path, source), int(line)) for path, line in places}


def view_changes(source: Path, file: Path) -> set[tuple[str, int]]:
    lines = (source / file).read_text().splitlines()
    return {(str(file), number) for number, line in enumerate(lines, 1) if VIEW_CHANGE.search(line)}


def main() -> int:
    clang_tidy, source = sys.argv[1], Path(sys.argv[2]).resolve()
    files = [path.relative_to(source) for folder in ("asn", "pkcs", "platform", "util") for path in (source / folder).iterdir()
             if path.suffix in (".cpp", ".h")]
    found = set()
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for places in pool.map(lambda file: pointer_arithmetic(clang_tidy, source, file),
                               sorted(file for file in files if file.suffix == ".cpp")):
            found |= places
    for file in files:
        found |= view_changes(source, file)

    lines = {file: (source / file).read_text().splitlines() for file, _ in found}
    seen = {(file, lines[file][number - 1].strip()): number for file, number in found if file not in OTHERS}
    known = {(file, line) for file, (_, expected) in READERS.items() for line in expected}
    problems = [f"{file}:{number}: moves a pointer or changes a view past the cursor: {line}"
                for (file, line), number in sorted(seen.items()) if (file, line) not in known]
    problems += [f"{file}: no longer has the line: {line}" for file, line in sorted(known - set(seen))]
    problems += [f"{file}: is on the list, but moves no pointer" for file in sorted(OTHERS - {file for file, _ in found})]
    print("\n".join(problems) or f"{len(seen)} lines of readers and {len(OTHERS)} other files move pointers, all of them known")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
