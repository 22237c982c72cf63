#!/usr/bin/env python3
"""Writes tools/formats/folding_table.h from Python's Unicode data.

    folding_table.py > tools/formats/folding_table.h
    folding_table.py --check tools/formats/folding_table.h

The check compares nothing if this Python has another version of Unicode than the file.

A row has a character and what it is compared as: without its case and its compatibility forms, decomposed (RFC 4518 2.2
and 2.3). Characters that are compared as nothing (RFC 4518 2.2) have a row too. Not in the table: Hangul syllables and CJK
compatibility ideographs.
"""

import contextlib
import io
import sys
import unicodedata
from pathlib import Path

LEFT_OUT = [(0xAC00, 0xD7A3), (0xF900, 0xFAFF), (0x2F800, 0x2FA1F), (0xD800, 0xDFFF)]
NOTHING = {0xAD, 0x1806, 0x34F, 0x200B, 0xFFFC, 0xFEFF, *range(0x180B, 0x180E), *range(0xFE00, 0xFE10), *range(0x200C, 0x2010),
           *range(0x202A, 0x202F), *range(0x2060, 0x2065), *range(0x206A, 0x2070)}
BLANKS = {9, 10, 11, 12, 13, 0x85}


def folded(text):
    while True:
        again = unicodedata.normalize("NFKD", unicodedata.normalize("NFKD", text).casefold())
        if again == text:
            return text
        text = again


def compared_as(code):
    character = chr(code)
    if code in BLANKS or unicodedata.category(character) in ("Zs", "Zl", "Zp"):
        return " "
    if code in NOTHING or unicodedata.category(character) == "Cc":
        return ""
    return folded(character)


def rows():
    for code in range(0x41, sys.maxunicode + 1):
        if any(first <= code <= last for first, last in LEFT_OUT):
            continue
        text = compared_as(code)
        if text != chr(code):
            yield code, text
    for code in BLANKS:
        if code < 0x41:
            yield code, " "


def write_table():
    found = sorted(rows())
    pool, places = "", {}
    for code, text in found:
        if text not in places:
            place = pool.find(text)
            places[text] = place if place >= 0 else len(pool)
            pool += "" if place >= 0 else text
    print(f"// What characters are compared as, by Unicode {unicodedata.unidata_version}; tests/generators/folding_table.py writes this file.")
    print("#ifndef DERKIT_TOOLS_FORMATS_FOLDING_TABLE_H\n#define DERKIT_TOOLS_FORMATS_FOLDING_TABLE_H\n")
    print("// clang-format off")
    print("inline constexpr char32_t FOLDED[] = {")
    print_numbers([f"0x{ord(c):X}" for c in pool])
    print("};\n\nstruct folding_row_t {\n    char32_t code;\n    unsigned short place; // in FOLDED\n    unsigned short size;\n};\n")
    print("inline constexpr folding_row_t FOLDING[] = {")
    print_numbers([f"{{0x{code:X},{places[text]},{len(text)}}}" for code, text in found])
    print("};\n// clang-format on\n\n#endif")
    assert len(pool) < 65536


def print_numbers(numbers):
    line = "   "
    for number in numbers:
        if len(line) + len(number) + 2 > 120:
            print(line)
            line = "   "
        line += f" {number},"
    print(line)


def check(path):
    written = Path(path).read_text()
    if f"by Unicode {unicodedata.unidata_version};" not in written:
        print(f"not compared: this is Unicode {unicodedata.unidata_version}")
        return 0
    table = io.StringIO()
    with contextlib.redirect_stdout(table):
        write_table()
    if table.getvalue() != written:
        print(f"{path} is not what this script writes")
        return 1
    return 0


if __name__ == "__main__":
    if sys.argv[1:2] == ["--check"]:
        sys.exit(check(sys.argv[2]))
    write_table()
