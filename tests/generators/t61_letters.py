#!/usr/bin/env python3
"""Lists T.61's diacritic prefixes: combining mark, spacing form, and the letters that they compose with.

    t61_letters.py > tests/data/vectors/t61-letters.txt
    t61_letters.py --check tests/data/vectors/t61-letters.txt

A prefix and a letter compose when Unicode has a character whose canonical decomposition is that letter and the prefix's
combining mark. All code points are searched. Letters are those of ASCII, which T.61 shares, and the two ligatures;
T.61's other letters stay as they are after a prefix.
"""
import difflib
import pathlib
import string
import sys
import unicodedata

PREFIXES = [  # T.61, combining mark, spacing character for the mark
    (0xC1, "GRAVE ACCENT", "GRAVE ACCENT"),
    (0xC2, "ACUTE ACCENT", "ACUTE ACCENT"),
    (0xC3, "CIRCUMFLEX ACCENT", "CIRCUMFLEX ACCENT"),
    (0xC4, "TILDE", "TILDE"),
    (0xC5, "MACRON", "MACRON"),
    (0xC6, "BREVE", "BREVE"),
    (0xC7, "DOT ABOVE", "DOT ABOVE"),
    (0xC8, "DIAERESIS", "DIAERESIS"),
    (0xCA, "RING ABOVE", "RING ABOVE"),
    (0xCB, "CEDILLA", "CEDILLA"),
    (0xCC, "LOW LINE", None),
    (0xCD, "DOUBLE ACUTE ACCENT", "DOUBLE ACUTE ACCENT"),
    (0xCE, "OGONEK", "OGONEK"),
    (0xCF, "CARON", "CARON"),
]
LETTERS = {letter: ord(letter) for letter in string.ascii_letters}
LETTERS[unicodedata.lookup("LATIN CAPITAL LETTER AE")] = 0xE1
LETTERS[unicodedata.lookup("LATIN SMALL LETTER AE")] = 0xF1

HEAD = """\
# Made by tests/generators/t61_letters.py. T.61's diacritic prefixes, each with its combining mark, its spacing form
# ("-": none) and the letters that it composes with, as T.61 byte=code point. Format: testing/vectors.h.
prefix | mark | spacing | letters
"""


def compositions():
    """Maps combining marks to pairs of a T.61 letter and the composed code point."""
    found = {}
    for code_point in range(sys.maxunicode + 1):
        # Compatibility decompositions start with "<...>", canonical ones of one character are mere aliases.
        decomposition = unicodedata.decomposition(chr(code_point)).split()
        if len(decomposition) != 2 or decomposition[0].startswith("<"):
            continue
        letter, mark = (chr(int(part, 16)) for part in decomposition)
        if letter in LETTERS:
            found.setdefault(mark, []).append((LETTERS[letter], code_point))
    return found


def table():
    found = compositions()
    lines = HEAD.splitlines(keepends=True)
    for prefix, mark_name, spacing_name in PREFIXES:
        mark = unicodedata.lookup("COMBINING " + mark_name)
        spacing = f"{ord(unicodedata.lookup(spacing_name)):04X}" if spacing_name else "-"
        letters = " ".join(f"{letter:02X}={code_point:04X}" for letter, code_point in sorted(found.get(mark, [])))
        lines.append(f"{prefix:02X} | {ord(mark):04X} | {spacing} | {letters or '-'}\n")
    return lines


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
