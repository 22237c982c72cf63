"""What the tests of this folder share.

The environment names the build: DERKIT_BUILD_DIR, DERKIT_SOURCE_DIR, DERKIT_VERSION, CMAKE, CXX and
CXXFLAGS, and DERKIT_WITH_GOST is 1 if libderkit-gost is built.
"""
import os
import pathlib
import shlex
import subprocess

BUILD = os.environ["DERKIT_BUILD_DIR"]
SOURCE = pathlib.Path(os.environ["DERKIT_SOURCE_DIR"])
VERSION = os.environ["DERKIT_VERSION"]
CONFIGURATION = os.environ["DERKIT_CONFIGURATION"]  # of CMake, in small letters
WITH_GOST = os.environ["DERKIT_WITH_GOST"] == "1"
CONSUMER = SOURCE / "tests/packages/consumer"
TIME_LIMIT = 480

# Installed files, relative to the prefix.
HEADERS = {f"include/derkit/{header.relative_to(SOURCE / 'include/derkit')}"
           for folder in (".", "helpers") for header in (SOURCE / "include/derkit" / folder).glob("*.h")}
GOST_HEADERS = {f"include/derkit/gost/{header.name}" for header in (SOURCE / "include/derkit/gost").iterdir()}
GUIDES = {file.name for file in (SOURCE / "docs").iterdir() if file.suffix in {".md", ".svg", ".cfg"}}
PROGRAMS = {f"examples/programs/{file.name}" for file in (SOURCE / "examples").iterdir()}
DOCUMENTS = GUIDES | PROGRAMS | {"derkit.spdx.json"}
COMPLETION = {"share/bash-completion/completions/derkit", "share/zsh/site-functions/_derkit",
              "share/fish/vendor_completions.d/derkit.fish"}


def manuals(sections, compressed=""):
    return {f"share/man/man{page.suffix[1:]}/{page.name}{compressed}"
            for page in (SOURCE / "docs/man").glob(f"*.[{sections}]")}


def development_files(libdir, configuration=CONFIGURATION):
    parts = "Config", "ConfigVersion", "Targets", f"Targets-{configuration}"
    cmake = {f"cmake/derkit/derkit{part}.cmake" for part in parts}
    return HEADERS | {f"{libdir}/{file}" for file in {"libderkit.so", "libderkit.a", "pkgconfig/derkit.pc"} | cmake}


def gost_development_files(libdir, configuration=CONFIGURATION):
    cmake = {f"cmake/derkit/derkitGostTargets{part}.cmake" for part in ("", f"-{configuration}")}
    return GOST_HEADERS | {f"{libdir}/{file}" for file in {"libderkit-gost.so", "pkgconfig/derkit-gost.pc"} | cmake}


def run(*command, cwd=None, umask=-1, **environment):
    """The output of a command that must succeed."""
    environment = {name: str(value) for name, value in environment.items()}
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=TIME_LIMIT,
                          cwd=cwd, umask=umask, env={**os.environ, "LC_ALL": "C", **environment})
    assert done.returncode == 0, f"{shlex.join(done.args)}\n{done.stdout}{done.stderr}"
    return done.stdout


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_symlink() or not path.is_dir()}
