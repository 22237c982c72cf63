#!/usr/bin/env python3
"""Checks a built shared library from outside, libderkit or libderkit-gost.

    check_exports.py symbols LIBRARY LIST   it exports the symbols of LIST, all of its version, and no others
    check_exports.py soname LIBRARY         programs will ask for it by its major version
    check_exports.py dependencies LIBRARY   it needs the C++ standard library and libc, and libderkit-gost its three
                                            libraries; nothing else
"""
import os
import pathlib
import re
import subprocess
import sys

VERSIONS = {"libderkit.so": "DERKIT_1.0", "libderkit-gost.so": "DERKIT_GOST_1.0"}
GOST_DEPENDENCIES = {"libderkit.so.1", "libgcrypt.so.20", "libgnutls.so.30"}
DEPENDENCIES = {"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6"}
DYNAMIC_LINKER = re.compile(r"ld(64|-linux[-a-z0-9]*)[.]so[.][0-9]")
NM = os.environ.get("NM", "nm")  # the target's
READELF = os.environ.get("READELF", "readelf")


def name_without_version(library):
    return re.sub(r"[.]so.*", ".so", pathlib.Path(library).name)


def output_of(*command):
    environment = dict(os.environ, LC_ALL="C")
    return subprocess.run(command, check=True, capture_output=True, text=True, env=environment).stdout


def check_symbols(library, listed_in):
    version_of_all = VERSIONS[name_without_version(library)]
    lines = pathlib.Path(listed_in).read_text(encoding="ascii").splitlines()
    if lines != sorted(set(lines)):
        yield f"{listed_in} is not sorted by bytes, or names a symbol twice"
    exported = {}
    for line in output_of(NM, "--dynamic", "--defined-only", "--format=posix", library).splitlines():
        name, _, version = line.split()[0].partition("@@")
        exported[name] = version
    if version_of_all not in exported:
        yield f"the library does not define the version {version_of_all}"
    exported.pop(version_of_all, None)  # the version itself stands among the symbols
    for name in sorted(set(lines) - set(exported)):
        yield f"listed, but not exported: {name}"
    for name in sorted(set(exported) - set(lines)):
        yield f"exported, but not listed: {name}"
    for name, version in sorted(exported.items()):
        if version != version_of_all:
            yield f"not of version {version_of_all}: {name} ({version or 'no version'})"


def dynamic_entries(library, kind):
    """Values of the entries of one kind, such as [libc.so.6], without their brackets."""
    table = output_of(READELF, "--dynamic", "--wide", library)
    found = re.findall(rf"^ +0x\w+ +\({kind}\) +(.*)$", table, re.MULTILINE)
    return [re.sub(r"^.*\[(.*)\]$", r"\1", value) for value in found]


def check_soname(library):
    soname = dynamic_entries(library, "SONAME")
    expected = name_without_version(library) + ".1"
    if soname != [expected]:
        yield f"SONAME is {soname}, not {expected}"


def check_dependencies(library):
    needed = dynamic_entries(library, "NEEDED")
    if "libc.so.6" not in needed:
        yield f"not even libc.so.6 is needed, but {needed}"
    gost = GOST_DEPENDENCIES if "gost" in name_without_version(library) else set()
    for name in sorted(gost - set(needed)):
        yield f"does not need {name}"
    for name in needed:
        if name not in DEPENDENCIES | gost and not DYNAMIC_LINKER.fullmatch(name):
            yield f"needs {name}"


CHECKS = {  # name -> the check and the number of its arguments
    "symbols": (check_symbols, 2),
    "soname": (check_soname, 1),
    "dependencies": (check_dependencies, 1),
}


def main(arguments):
    check, num_arguments = CHECKS.get(arguments[0] if arguments else "", (None, 0))
    if check is None or len(arguments) != num_arguments + 1:
        print(__doc__, file=sys.stderr)
        return 2
    problems = list(check(*arguments[1:]))
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
