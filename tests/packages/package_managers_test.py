#!/usr/bin/env python3
"""vcpkg's port and Conan's recipe, run with stand-ins for these programs, and a program that uses what they install.

DERKIT_SOURCE_DIR, DERKIT_VERSION, CMAKE and CXX are in the environment; scripts/package-managers.sh sets them.
"""
import importlib.util
import json
import os
import pathlib
import sys
import tempfile
import unittest

from packages import HEADERS, SOURCE, VERSION, files_below, run

PACKAGING = SOURCE / "packaging"
STAND_INS = SOURCE / "tests/packages/stand_ins"
PROGRAM = PACKAGING / "conan/test_package/program.cpp"
LIBRARIES = {False: {"lib/libderkit.a"},
             True: {"lib/libderkit.so", "lib/libderkit.so.1", f"lib/libderkit.so.{VERSION}"}}


def load_recipe():
    sys.path.insert(0, str(STAND_INS))
    spec = importlib.util.spec_from_file_location("recipe", PACKAGING / "conan/conanfile.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module.DerkitConan


class PackageManagersTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def use(self, package, libraries):
        program = self.folder / "program"
        run(os.environ["CXX"], PROGRAM, f"-I{package}/include", f"-L{package}/lib", *(f"-l{name}" for name in libraries),
            "-o", program)
        self.assertEqual(run(program, LD_LIBRARY_PATH=package / "lib"), "CN=user1,C=RU\n")

    def test_vcpkg(self):
        port = PACKAGING / "vcpkg/derkit"
        self.assertEqual(json.loads((port / "vcpkg.json").read_text(encoding="utf-8"))["version"], VERSION)
        for shared, linkage in (False, "static"), (True, "dynamic"):
            with self.subTest(linkage):
                package = self.folder / linkage
                run(os.environ["CMAKE"], f"-DPORTFILE={port}/portfile.cmake", f"-DLINKAGE={linkage}",
                    f"-DCURRENT_PACKAGES_DIR={package}", f"-DCURRENT_BUILDTREES_DIR={self.folder}/build",
                    f"-DCMAKE_CXX_COMPILER={os.environ['CXX']}", "-P", STAND_INS / "vcpkg.cmake")
                found = files_below(package)
                self.assertLessEqual(HEADERS | {"share/derkit/LICENSE", "share/derkit/usage"}, found)
                self.assertEqual({name for name in found if name.startswith("lib/libderkit")}, LIBRARIES[shared])
                self.assertFalse({name for name in found if name.startswith(("bin/", "debug/"))})
                self.use(package, ["derkit"])

    def test_conan(self):
        recipe = load_recipe()
        self.assertEqual(recipe.version, VERSION)
        for shared in False, True:
            with self.subTest(shared=shared):
                folder = self.folder / f"shared-{shared}"
                conanfile = recipe(str(PACKAGING / "conan"), folder, shared)
                for step in ("validate", "export_sources", "layout", "generate", "build", "package", "package_info"):
                    getattr(conanfile, step)()
                found = files_below(conanfile.package_folder)
                self.assertEqual(found, HEADERS | LIBRARIES[shared] | {"licenses/LICENSE"})
                self.use(conanfile.package_folder, conanfile.cpp_info.libs)


if __name__ == "__main__":
    unittest.main(verbosity=2)
