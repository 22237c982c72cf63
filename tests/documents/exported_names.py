"""What the library exports, by name."""

import subprocess
from pathlib import Path


def exported_names(symbols: Path) -> set[str]:
    """Functions and objects of a list of symbols, without arguments; of members, the last part."""
    lines = subprocess.run(["c++filt"], input=symbols.read_text(), capture_output=True, check=True, text=True).stdout
    names = (line.partition("(")[0].rpartition("::")[2] for line in lines.splitlines())
    return {name.removesuffix("[abi:cxx11]") for name in names}
