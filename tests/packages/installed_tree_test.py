#!/usr/bin/env python3
"""What the build installs."""
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

from packages import (BUILD, COMPLETION, CONSUMER, DOCUMENTS, SOURCE, TIME_LIMIT, VERSION, WITH_GOST, development_files, files_below,
                      gost_development_files, manuals, run)

CMAKE = os.environ["CMAKE"]
COMPILER = [os.environ["CXX"], *shlex.split(os.environ["CXXFLAGS"])]
FOR_COMPILER = [f"-DCMAKE_CXX_COMPILER={COMPILER[0]}", f"-DCMAKE_CXX_FLAGS={shlex.join(COMPILER[1:])}"]
PRINTED = {14: "201402 CN=user1,C=RU\n", 20: "202002 CN=user1,C=RU\n"}  # by the consumer
FILES = {
    "runtime": {f"lib/libderkit.so.{VERSION}", "lib/libderkit.so.1", "share/doc/derkit/examples/qaroids.cfg"},
    "development": development_files("lib") | manuals("35") | {f"share/doc/derkit/{name}" for name in DOCUMENTS},
    "tools": manuals("1") | COMPLETION | {"bin/derkit", "share/derkit/derkit.schema.json"},
}
if WITH_GOST:
    FILES["gost"] = {f"lib/libderkit-gost.so.{VERSION}", "lib/libderkit-gost.so.1"}
    FILES["gost_development"] = gost_development_files("lib")
GOST_PRINTED = "the MAC does not match: wrong password, or the file was altered\n"


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
        run(CMAKE, "--install", BUILD, "--prefix", cls.scratch / "first", umask=0o077)
        # The tree may be moved.
        cls.prefix = (cls.scratch / "first").rename(cls.scratch / "prefix")

    def pkg_config(self, *arguments, package="derkit"):
        return shlex.split(run("pkg-config", *arguments, package, PKG_CONFIG_LIBDIR=self.prefix / "lib/pkgconfig"))

    def test_every_component_has_its_files(self):
        found = {}
        for component in FILES:
            folder = self.scratch / component
            run(CMAKE, "--install", BUILD, "--prefix", folder, "--component", component)
            found[component] = files_below(folder)
        self.assertEqual(found, FILES)
        self.assertEqual(files_below(self.prefix), set().union(*FILES.values()))

    def test_everyone_may_read_the_files(self):
        for name in sorted(files_below(self.prefix)):
            path = self.prefix / name
            if not path.is_symlink() and path.suffix != f".{VERSION.split('.')[-1]}":
                self.assertEqual(oct(path.stat().st_mode), oct(0o100755 if name == "bin/derkit" else 0o100644), name)

    def test_no_installed_text_names_the_machine(self):
        for path in self.prefix.rglob("*"):
            if path.suffix in {".cmake", ".pc", ".h", ".md", ".cfg", ".json"}:
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
        log = configure(CONSUMER, build, *FOR_COMPILER, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertIn(f"-- found {VERSION} in {self.prefix}/lib/cmake/derkit\n", log)
        run(CMAKE, "--build", build)
        for standard, printed in PRINTED.items():
            for kind in "shared", "static":
                with self.subTest(kind=kind, standard=standard):
                    program = build / f"{kind}_{standard}"
                    self.assertEqual(run(program), printed)
                    self.assertEqual("libderkit.so.1" in needed_libraries(program), kind == "shared")

        self.assertEqual((build / "gost").exists(), WITH_GOST)
        if WITH_GOST:
            self.assertEqual(run(build / "gost"), GOST_PRINTED)

    @unittest.skipUnless(WITH_GOST, "libderkit-gost is not built")
    def test_pkg_config_of_the_gost_library(self):
        program = self.scratch / "pkg_config_gost"
        flags = self.pkg_config("--cflags", "--libs", package="derkit-gost")
        run(*COMPILER, "-std=c++17", CONSUMER / "gost.cpp", *flags, "-o", program)
        self.assertEqual(run(program, LD_LIBRARY_PATH=self.prefix / "lib"), GOST_PRINTED)
        self.assertEqual(self.pkg_config("--modversion", package="derkit-gost"), [VERSION])

    @unittest.skipUnless(WITH_GOST, "libderkit-gost is not built")
    def test_the_package_is_found_without_the_gost_library(self):
        prefix = self.scratch / "plain"
        for component in "runtime", "development":
            run(CMAKE, "--install", BUILD, "--prefix", prefix, "--component", component)
        build = self.scratch / "plain_consumer"
        configure(CONSUMER, build, *FOR_COMPILER, f"-DCMAKE_PREFIX_PATH={prefix}")
        self.assertNotIn("gost", run("ninja", "-C", build, "-t", "targets", "all"))

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

    def test_pkg_config_tells_a_linker_all_that_the_static_library_needs(self):
        run(*COMPILER, "-c", CONSUMER / "main.cpp", *self.pkg_config("--cflags"), "-o", self.scratch / "main.o")
        target = [option for option in COMPILER[1:] if option.startswith("-m")]
        run("cc", *target, "-static", self.scratch / "main.o", *self.pkg_config("--static", "--libs"), "-o",
            self.scratch / "by_c_compiler")
        self.assertRegex(run(self.scratch / "by_c_compiler"), r"^\d+ CN=user1,C=RU\n$")

    def test_a_shared_library_may_contain_the_static_one(self):
        run(*COMPILER, "-shared", "-fPIC", "-Wl,-z,defs", "-Wl,-z,text", CONSUMER / "main.cpp",
            *self.pkg_config("--cflags"), self.prefix / "lib/libderkit.a", "-o", self.scratch / "libother.so")
        self.assertNotIn("libderkit.so.1", needed_libraries(self.scratch / "libother.so"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
