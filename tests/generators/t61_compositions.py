#!/usr/bin/env python3
"""Lists the pairs of T.61 bytes that compose to one Unicode character.

    t61_compositions.py > t61_compositions.inc
    t61_compositions.py --check t61_compositions.inc

A diacritic prefix and a letter compose when Unicode has a character whose canonical decomposition is that letter and
the prefix's combining mark. All code points are searched. Letters are those of ASCII, which T.61 shares, and the two
ligatures; T.61's other letters stay as they are behind a prefix.
"""
import difflib
import pathlib
import string
import sys
import unicodedata

COMBINING_MARKS = {  # name of the mark -> T.61 prefix
    "COMBINING GRAVE ACCENT": 0xC1,
    "COMBINING ACUTE ACCENT": 0xC2,
    "COMBINING CIRCUMFLEX ACCENT": 0xC3,
    "COMBINING TILDE": 0xC4,
    "COMBINING MACRON": 0xC5,
    "COMBINING BREVE": 0xC6,
    "COMBINING DOT ABOVE": 0xC7,
    "COMBINING DIAERESIS": 0xC8,
    "COMBINING RING ABOVE": 0xCA,
    "COMBINING CEDILLA": 0xCB,
    "COMBINING DOUBLE ACUTE ACCENT": 0xCD,
    "COMBINING OGONEK": 0xCE,
    "COMBINING CARON": 0xCF,
}
PREFIXES = {unicodedata.lookup(name): prefix for name, prefix in COMBINING_MARKS.items()}
LETTERS = {letter: ord(letter) for letter in string.ascii_letters}
LETTERS[unicodedata.lookup("LATIN CAPITAL LETTER AE")] = 0xE1
LETTERS[unicodedata.lookup("LATIN SMALL LETTER AE")] = 0xF1


def compositions():
    for code_point in range(sys.maxunicode + 1):
        # Compatibility decompositions start with "<...>", canonical ones of one character are mere aliases.
        decomposition = unicodedata.decomposition(chr(code_point)).split()
        if len(decomposition) != 2 or decomposition[0].startswith("<"):
            continue
        letter, mark = (chr(int(part, 16)) for part in decomposition)
        if letter in LETTERS and mark in PREFIXES:
            yield PREFIXES[mark], LETTERS[letter], code_point


def table():
    rows = ["// Made by tests/generators/t61_compositions.py: prefix, letter, composed character.\n"]
    for prefix, letter, code_point in sorted(compositions()):
        name = unicodedata.name(chr(code_point))
        rows.append(f"{{0x{prefix:02X}, 0x{letter:02X}, 0x{code_point:04X}}}, // {name}\n")
    return rows


def main():
    if len(sys.argv) == 1:
        sys.stdout.writelines(table())
        return 0
    if len(sys.argv) != 3 or sys.argv[1] != "--check":
        print(__doc__, file=sys.stderr)
        return 2
    committed = pathlib.Path(sys.argv[2]).read_text(encoding="ascii").splitlines(keepends=True)
    differences = list(difflib.unified_diff(committed, table(), "committed", "generated"))
    sys.stdout.writelines(differences)
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main())
