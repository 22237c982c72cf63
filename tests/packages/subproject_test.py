#!/usr/bin/env python3
"""The source tree inside another project, which asks for nothing, for shared libraries, and for the whole installation."""
import json
import os
import pathlib
import re
import shlex
import tempfile
import unittest

from packages import HEADERS, SOURCE, VERSION, files_below, run

CMAKE = os.environ["CMAKE"]
OUR_TARGETS = {"derkit", "derkit_objects", "derkit_convi", "derkit_system_etc_dir"}
PRINTED = "CN=user1,C=RU\n"


class SubprojectTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.scratch = pathlib.Path(folder.name)
        cls.build = cls.scratch / "build"
        cls.configure()
        cls.log = cls.configure()  # once more, now with what it has cached
        cls.cache = (cls.build / "CMakeCache.txt").read_text(encoding="utf-8")

    @classmethod
    def configure(cls, *options):
        return run(CMAKE, "-G", "Ninja", "-S", SOURCE / "tests/packages/subproject", "-B", cls.build,
                   f"-DDERKIT_SOURCE_DIR={SOURCE}", f"-DCMAKE_CXX_COMPILER={os.environ['CXX']}", *options)

    def install(self, name, *options):
        """The files that the project installs, having run its program there."""
        self.configure(*options)
        run(CMAKE, "--build", self.build)
        run(CMAKE, "--install", self.build, "--prefix", self.scratch / name)
        self.assertIn(PRINTED, run(self.scratch / name / "bin/program"))
        return files_below(self.scratch / name)

    def test_nothing_of_ours_but_the_library_is_in_the_project(self):
        self.configure("-UBUILD_SHARED_LIBS", "-UDERKIT_INSTALL")
        targets = {line.split(":")[0] for line in run("ninja", "-C", self.build, "-t", "targets", "all").splitlines()}
        self.assertEqual({name for name in targets if name.startswith("derkit") and "/" not in name}, OUR_TARGETS)
        self.assertLessEqual({"program", *OUR_TARGETS}, targets)
        self.assertIn("\nTotal Tests: 0\n", run("ctest", "-N", "--test-dir", self.build))

    def test_all_that_it_may_choose_has_our_name(self):
        names = set(re.findall(r"^([\w-]+):", self.cache, re.MULTILINE))
        self.assertIn("DERKIT_BUILD_STATIC", names)
        self.assertEqual({name for name in names
                          if not re.match("_?CMAKE_|_GNUInstallDirs_|FETCHCONTENT_|DERKIT_|derkit_|subproject_", name)}, set())

    def test_it_chooses_its_own_flags_and_warnings(self):
        for entry in json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8")):
            words = shlex.split(entry["command"])
            self.assertEqual([word for word in words if word.startswith("-W")], [], entry["file"])
            if entry["file"].endswith("main.cpp"):
                ours = [word for word in words if word.startswith(("-D", "-f", "-std"))]
                self.assertEqual(ours, ["-std=gnu++14"])

    def test_nothing_is_said_of_us(self):
        self.assertNotRegex(self.log, "(?i)derkit:|warning|build type")

    def test_the_library_is_static_unless_the_project_wants_shared_ones(self):
        self.assertEqual(self.install("static", "-UBUILD_SHARED_LIBS", "-UDERKIT_INSTALL"), {"bin/program"})

    def test_a_shared_library_is_installed_with_the_program(self):
        self.assertEqual(self.install("shared", "-DBUILD_SHARED_LIBS=ON", "-UDERKIT_INSTALL"),
                         {"bin/program", "lib/libderkit.so.1", f"lib/libderkit.so.{VERSION}"})

    def test_the_project_may_install_all_of_it(self):
        found = self.install("all", "-DBUILD_SHARED_LIBS=ON", "-DDERKIT_INSTALL=ON")
        self.assertLessEqual(HEADERS | {"lib/libderkit.so", "lib/pkgconfig/derkit.pc"}, found)


if __name__ == "__main__":
    unittest.main(verbosity=2)
