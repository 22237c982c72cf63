#!/usr/bin/env python3
"""Tests of what the build installs, and of the source tree inside another project.

The environment names the build: DERKIT_BUILD_DIR and DERKIT_SOURCE_DIR, DERKIT_VERSION, CMAKE, CXX and CXXFLAGS.
"""
import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

BUILD = os.environ["DERKIT_BUILD_DIR"]
SOURCE = pathlib.Path(os.environ["DERKIT_SOURCE_DIR"])
VERSION = os.environ["DERKIT_VERSION"]
CMAKE = os.environ["CMAKE"]
COMPILER = [os.environ["CXX"], *shlex.split(os.environ["CXXFLAGS"])]
CONSUMER = SOURCE / "tests/install/consumer"
TIME_LIMIT = 240
PRINTED = {14: "201402 CN=user1,C=RU\n", 20: "202002 CN=user1,C=RU\n"}  # what the consumer prints
MANUALS = {page.name: f"share/man/man{page.suffix[1:]}/{page.name}" for page in (SOURCE / "docs/man").glob("*.[1-8]")}
HEADERS = {f"include/derkit/{header.name}" for header in (SOURCE / "include/derkit").iterdir()}
GUIDES = {f"share/doc/derkit/{file.name}" for file in (SOURCE / "docs").iterdir()
          if file.suffix in {".md", ".svg", ".cfg"}}


def run(*command, **environment):
    environment = {name: str(value) for name, value in environment.items()}
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=TIME_LIMIT,
                          env={**os.environ, "LC_ALL": "C", **environment})
    assert done.returncode == 0, f"{shlex.join(done.args)}\n{done.stdout}{done.stderr}"
    return done.stdout


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def needed_libraries(program):
    return [line.split("[")[1][:-1] for line in run("readelf", "--dynamic", program).splitlines() if "(NEEDED)" in line]


def configure(source, build, *options):
    return run(CMAKE, "-G", "Ninja", "-S", source, "-B", build, *options)


class InstalledTreeTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.scratch = pathlib.Path(cls.folder.name)
        run(CMAKE, "--install", BUILD, "--prefix", cls.scratch / "first")
        # The tree may be moved.
        cls.prefix = (cls.scratch / "first").rename(cls.scratch / "prefix")

    def pkg_config(self, *arguments):
        return shlex.split(run("pkg-config", *arguments, "derkit", PKG_CONFIG_LIBDIR=self.prefix / "lib/pkgconfig"))

    def test_every_component_has_its_files(self):
        found = {}
        for component in "runtime", "development", "tools":
            folder = self.scratch / component
            run(CMAKE, "--install", BUILD, "--prefix", folder, "--component", component)
            found[component] = files_below(folder)
        tool_manuals = {path for name, path in MANUALS.items() if name.endswith(".1")}
        self.assertEqual(found, {
            "runtime": {f"lib/libderkit.so.{VERSION}", "lib/libderkit.so.1", "share/doc/derkit/examples/qaroids.cfg"},
            "development": HEADERS | GUIDES | set(MANUALS.values()) - tool_manuals | {
                "lib/libderkit.so", "lib/libderkit.a", "lib/pkgconfig/derkit.pc",
                "lib/cmake/derkit/derkitConfig.cmake", "lib/cmake/derkit/derkitConfig-relwithdebinfo.cmake",
                "lib/cmake/derkit/derkitConfigVersion.cmake"},
            "tools": tool_manuals | {"bin/derkit", "share/bash-completion/completions/derkit"},
        })
        together = set().union(*(files_below(self.scratch / component) for component in found))
        self.assertEqual(files_below(self.prefix), together)

    def test_no_installed_text_names_the_machine(self):
        for path in self.prefix.rglob("*"):
            if path.suffix in {".cmake", ".pc", ".h", ".md", ".cfg"}:
                text = path.read_text(encoding="utf-8")
                for place in BUILD, str(SOURCE), str(self.scratch):
                    self.assertNotIn(place, text, path)

    def test_links_in_guides_lead_to_installed_files(self):
        for guide in (self.prefix / "share/doc/derkit").glob("*.md"):
            for link in re.findall(r"\]\((?!https?:|#)([^)#]+)", guide.read_text(encoding="utf-8")):
                self.assertTrue((guide.parent / link).exists(), f"{guide.name}: {link}")

    def test_the_tool_finds_its_library(self):
        self.assertEqual(run(self.prefix / "bin/derkit", "--version"), f"derkit {VERSION}\n")

    def test_find_package(self):
        build = self.scratch / "consumer"
        log = configure(CONSUMER, build, f"-DCMAKE_CXX_COMPILER={COMPILER[0]}",
                        f"-DCMAKE_CXX_FLAGS={shlex.join(COMPILER[1:])}", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertIn(f"-- found {VERSION} in {self.prefix}/lib/cmake/derkit\n", log)
        run(CMAKE, "--build", build)
        for standard, printed in PRINTED.items():
            for kind in "shared", "static":
                with self.subTest(kind=kind, standard=standard):
                    program = build / f"{kind}_{standard}"
                    self.assertEqual(run(program), printed)
                    self.assertEqual("libderkit.so.1" in needed_libraries(program), kind == "shared")

    def test_a_build_of_the_other_target_does_not_find_the_package(self):
        config = self.prefix / "lib/cmake/derkit/derkitConfigVersion.cmake"
        script = self.scratch / "version.cmake"
        script.write_text(f"""
            set(PACKAGE_FIND_VERSION 1)
            set(PACKAGE_FIND_VERSION_MAJOR 1)
            foreach(CMAKE_SIZEOF_VOID_P 4 8)
              unset(PACKAGE_VERSION_UNSUITABLE)
              include({config})
              message(NOTICE "${{CMAKE_SIZEOF_VOID_P}} ${{PACKAGE_VERSION_UNSUITABLE}}")
            endforeach()
            """)
        done = subprocess.run([CMAKE, "-P", script], capture_output=True, text=True, check=True, timeout=TIME_LIMIT)
        self.assertEqual(done.stderr, "4 \n8 TRUE\n" if "-m32" in COMPILER else "4 TRUE\n8 \n")

    def test_pkg_config(self):
        self.assertEqual(self.pkg_config("--modversion"), [VERSION])
        library = {"shared": [], "static": ["-static"]}
        for standard, printed in PRINTED.items():
            for kind in library:
                with self.subTest(kind=kind, standard=standard):
                    program = self.scratch / f"pkg_config_{kind}_{standard}"
                    flags = self.pkg_config("--cflags", "--libs", *(f"-{option}" for option in library[kind]))
                    run(*COMPILER, f"-std=c++{standard}", *library[kind], CONSUMER / "main.cpp", *flags, "-o", program)
                    self.assertEqual(run(program, LD_LIBRARY_PATH=self.prefix / "lib"), printed)
                    self.assertEqual("libderkit.so.1" in needed_libraries(program), kind == "shared")


class SubprojectTest(unittest.TestCase):
    def test_the_tree_is_a_library_and_nothing_else(self):
        with tempfile.TemporaryDirectory() as folder:
            build = pathlib.Path(folder)
            configure(SOURCE / "tests/install/subproject", build, f"-DDERKIT_SOURCE_DIR={SOURCE}",
                      f"-DCMAKE_CXX_COMPILER={COMPILER[0]}", f"-DCMAKE_CXX_FLAGS={shlex.join(COMPILER[1:])}")
            targets = {line.split(":")[0] for line in run("ninja", "-C", build, "-t", "targets", "all").splitlines()}
            self.assertEqual({name for name in targets if name.startswith("derkit") and "/" not in name},
                             {"derkit", "derkit_static", "derkit_objects", "derkit_convi", "derkit_system_etc_dir"})
            self.assertIn("\nTotal Tests: 0\n", run("ctest", "-N", "--test-dir", build))
            for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
                warnings = [option for option in shlex.split(entry["command"]) if option.startswith("-W")]
                self.assertEqual(warnings, [], entry["file"])
            run(CMAKE, "--install", build, "--prefix", build / "prefix")  # nothing to install, nothing to build for it
            self.assertEqual(files_below(build / "prefix"), set())

            run(CMAKE, "--build", build)
            for library in "derkit", "derkit_static":
                program = build / f"with_{library}"
                self.assertEqual(run(program), PRINTED[14])
                self.assertEqual("libderkit.so.1" in needed_libraries(program), library == "derkit")


if __name__ == "__main__":
    unittest.main(verbosity=2)
