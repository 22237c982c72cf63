"""Cases in plain text files, vectors/*.txt; testing/vectors.h describes the format, and reads them for C++.

    sys.path.insert(0, str(REPOSITORY / "tests/data"))
    import vectors

    for case in vectors.read("names.txt"):
        if case.field("way") == "both":
            check(case.text("text"), case.octets("DER"), case.where)
"""

import re
from pathlib import Path

FOLDER = Path(__file__).with_suffix("")


class Case:
    """One line of a file. Texts are bytes: they need not be UTF-8."""

    def __init__(self, where, names, fields):
        self.where = where
        self._fields = dict.fromkeys(names, "") | dict(zip(names, fields, strict=False))
        if len(fields) > len(names):
            raise ValueError(f"{where}: more fields than names")

    def field(self, name):
        """As written, empty if left out."""
        return self._fields[name]

    def has(self, name):
        return self.field(name) not in ("", "-")

    def octets(self, name):
        return bytes.fromhex(self._required(name).strip("{}"))

    def text(self, name):
        escapes = re.compile(rb"\{([0-9A-F ]*)\}")
        return escapes.sub(lambda match: bytes.fromhex(match[1].decode()), self._required(name).encode())

    def text_or(self, name, other):
        """A field that is left out, or written "=", equals another."""
        return other if self.field(name) in ("", "=") else self.text(name)

    def _required(self, name):
        if not self.has(name):
            raise ValueError(f"{self.where}: needs the field {name}")
        return self.field(name)


def read(file):
    """All cases of a file, in order; never none."""
    names, cases = None, []
    for number, line in enumerate((FOLDER / file).read_text("utf-8").split("\n"), 1):
        if not line or line.startswith("#"):
            continue
        fields = [field.strip(" ") for field in line.split("|")]
        if names is None:
            names = fields
        else:
            cases.append(Case(f"{file}:{number}", names, fields))
    if not cases:
        raise ValueError(f"no cases in {file}")
    return cases
