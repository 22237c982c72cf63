#!/usr/bin/env python3
"""The Debian packages that CPack makes of a build."""
import gzip
import os
import pathlib
import re
import shlex
import tempfile
import unittest

from packages import BUILD, CONSUMER, GUIDES, SOURCE, VERSION, development_files, files_below, manuals, run

ARCHITECTURE = os.environ["DERKIT_ARCHITECTURE"]
TRIPLET, ELF_CLASS = {"amd64": ("x86_64-linux-gnu", "ELF64"), "i386": ("i386-linux-gnu", "ELF32")}[ARCHITECTURE]
LIBDIR = f"usr/lib/{TRIPLET}"
PACKAGES = ["libderkit1", "libderkit-dev"] + (["derkit-tools"] if ARCHITECTURE == "amd64" else [])
SYSTEM_LIBRARIES = ["libc6", "libgcc-s1", "libstdc++6"]
FILES = {
    "libderkit1": {f"{LIBDIR}/libderkit.so.1", f"{LIBDIR}/libderkit.so.{VERSION}",
                   "usr/share/doc/libderkit1/examples/qaroids.cfg"},
    "libderkit-dev": {f"usr/{path}" for path in development_files(f"lib/{TRIPLET}") | manuals("35", ".gz")}
        | {f"usr/share/doc/libderkit-dev/{name}" for name in GUIDES},
    "derkit-tools": {f"usr/{path}" for path in manuals("1", ".gz")}
        | {"usr/bin/derkit", "usr/share/bash-completion/completions/derkit"},
}
DEPENDENCIES = {  # a package, and which of its versions satisfy it
    "libderkit1": {name: ">=" for name in SYSTEM_LIBRARIES},
    "libderkit-dev": {"libderkit1": "="},
    "derkit-tools": {name: ">=" for name in SYSTEM_LIBRARIES + ["libderkit1", "libgcrypt20"]},
}


def fields(package):
    text = run("dpkg-deb", "--field", package)
    return dict(re.findall(r"^(\S+): (.*)$", text, re.MULTILINE))


def setUpModule():
    """Makes the packages once, for all tests."""
    global SCRATCH, MADE
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    SCRATCH = pathlib.Path(folder.name)
    run(os.environ["CPACK"], "--config", f"{BUILD}/CPackConfig.cmake", "-B", SCRATCH / "packages")
    MADE = {path.name.split("_")[0]: path for path in (SCRATCH / "packages").glob("*.deb")}


class DebianPackagesTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.contents, cls.control = {}, {}
        for name, path in MADE.items():
            cls.contents[name], cls.control[name] = SCRATCH / f"{name}.files", SCRATCH / f"{name}.control"
            run("dpkg-deb", "--extract", path, cls.contents[name])
            run("dpkg-deb", "--control", path, cls.control[name])

    def test_there_are_the_packages_of_the_target(self):
        self.assertEqual({path.name for path in MADE.values()},
                         {f"{name}_{VERSION}-1_{ARCHITECTURE}.deb" for name in PACKAGES})
        for name in PACKAGES:
            with self.subTest(name):
                found = fields(MADE[name])
                self.assertEqual((found["Source"], found["Version"], found["Architecture"]),
                                 ("derkit", f"{VERSION}-1", ARCHITECTURE))
                self.assertEqual(found.get("Multi-Arch"), None if name == "derkit-tools" else "same")
                self.assertRegex(found["Maintainer"], r"^derkit developers <\S+@example\.org>$")

    def test_dependencies_are_packages_of_the_target(self):
        for name in PACKAGES:
            with self.subTest(name):
                depends = re.findall(r"(\S+) \((=|>=) (\S+?)\)", fields(MADE[name])["Depends"])
                self.assertEqual({on: relation for on, relation, _ in depends}, DEPENDENCIES[name])
                ours = {version for on, _, version in depends if on == "libderkit1"}
                self.assertLessEqual(ours, {"1.0.0" if name == "derkit-tools" else f"{VERSION}-1"})

    def test_every_package_has_its_files(self):
        for name in PACKAGES:
            with self.subTest(name):
                doc = f"usr/share/doc/{name}"
                found = files_below(self.contents[name]) - {f"{doc}/changelog.gz"}
                self.assertEqual(found, FILES[name] | {f"{doc}/copyright", f"{doc}/changelog.Debian.gz"})
                with gzip.open(self.contents[name] / doc / "changelog.Debian.gz", "rt") as changelog:
                    self.assertTrue(changelog.readline().startswith(f"derkit ({VERSION}-1) "))
                self.assertIn("License: Expat", (self.contents[name] / doc / "copyright").read_text(encoding="utf-8"))

    def test_programs_and_libraries_are_of_the_target_and_stripped(self):
        for name, file in [("libderkit1", f"{LIBDIR}/libderkit.so.{VERSION}"), ("derkit-tools", "usr/bin/derkit")]:
            if name not in PACKAGES:
                continue
            with self.subTest(file):
                table = run("readelf", "--file-header", "--section-headers", "--dynamic", "--wide",
                            self.contents[name] / file)
                self.assertRegex(table, rf"Class: +{ELF_CLASS}\n")
                self.assertNotIn(".debug_info", table)
                self.assertNotRegex(table, r"\((RPATH|RUNPATH)\)")

    def test_nothing_runs_and_nothing_is_configured_when_packages_are_installed(self):
        for name in PACKAGES:
            extra = {"shlibs", "symbols", "triggers"} if name == "libderkit1" else set()
            self.assertEqual(files_below(self.control[name]), {"control", "md5sums"} | extra)

    def test_dependents_are_told_the_library_and_its_symbols(self):
        control = self.control["libderkit1"]
        self.assertEqual((control / "shlibs").read_text(encoding="ascii"), "libderkit 1 libderkit1 (>= 1.0.0)\n")
        self.assertEqual((control / "triggers").read_text(encoding="ascii"), "activate-noawait ldconfig\n")
        lines = (control / "symbols").read_text(encoding="ascii").splitlines()
        self.assertEqual(lines[:2], ["libderkit.so.1 libderkit1 #MINVER#", "* Build-Depends-Package: libderkit-dev"])
        # The symbols of the library in the package, as binutils tells them.
        table = run("nm", "--dynamic", "--defined-only", "--format=posix",
                    self.contents["libderkit1"] / LIBDIR / f"libderkit.so.{VERSION}")
        exported = [line.split()[0].replace("@@", "@") for line in table.splitlines()]
        exported = ["DERKIT_1.0@DERKIT_1.0" if symbol.startswith("DERKIT_1.0") else symbol for symbol in exported]
        self.assertEqual(sorted(lines[2:]), sorted(f" {symbol} 1.0.0" for symbol in exported))
        self.assertGreater(len(exported), 50)

    def test_lintian_finds_no_fault(self):
        # The packages are not uploaded to Debian, where a first version closes the bug that asked for it.
        run("lintian", "--allow-root", "--fail-on", "error,warning", "--suppress-tags", "initial-upload-closes-no-bugs",
            *MADE.values())


@unittest.skipUnless(ARCHITECTURE == "amd64", "only the machine's own packages can be installed and run")
class CleanRootTest(unittest.TestCase):
    """The packages in a root where nothing else is but, by name and version, what they depend on."""

    @classmethod
    def setUpClass(cls):
        cls.root = SCRATCH / "root"
        database = cls.root / "var/lib/dpkg"
        for part in "info", "updates":
            (database / part).mkdir(parents=True)
        form = ("Package: ${Package}\nStatus: install ok installed\nMaintainer: ${Maintainer}\n"
                "Architecture: ${Architecture}\nMulti-Arch: same\nVersion: ${Version}\n"
                "Description: stands for the one outside\n\n")
        (database / "status").write_text(run("dpkg-query", "--show", f"--showformat={form}", "libgcrypt20:amd64",
                                             *(f"{name}:amd64" for name in SYSTEM_LIBRARIES)))
        for name in SYSTEM_LIBRARIES + ["libgcrypt20"]:
            (database / "info" / f"{name}:amd64.list").touch()
        cls.dpkg(cls.root, "--install", *MADE.values())

    @staticmethod
    def dpkg(root, *arguments):
        as_root = [] if os.geteuid() == 0 else ["fakeroot"]
        return run(*as_root, "dpkg", f"--root={root}", "--force-not-root", *arguments)

    def test_an_example_compiles_and_runs(self):
        readme = (SOURCE / "README.md").read_text(encoding="utf-8")
        source, printed = re.search(r"```cpp\n([^`]*)```[^`]*```text\n([^`]*)```", readme).groups()
        (SCRATCH / "example.cpp").write_text(source, encoding="utf-8")
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", "derkit",
                                PKG_CONFIG_LIBDIR=self.root / LIBDIR / "pkgconfig"))
        run(os.environ["CXX"], SCRATCH / "example.cpp", *flags, "-o", SCRATCH / "example")
        self.assertEqual(run(SCRATCH / "example", LD_LIBRARY_PATH=self.root / LIBDIR), printed)

    def test_cmake_finds_the_package(self):
        log = run("cmake", "-S", CONSUMER, "-B", SCRATCH / "consumer",
                  f"-DCMAKE_PREFIX_PATH={self.root}/usr")
        self.assertIn(f"-- found {VERSION} in {self.root}/{LIBDIR}/cmake/derkit\n", log)

    def test_the_tool_runs(self):
        self.assertEqual(run(self.root / "usr/bin/derkit", "dn", "CN=user1,C=RU", LD_LIBRARY_PATH=self.root / LIBDIR),
                         "CN=user1,C=RU\n")

    def test_the_library_does_not_go_before_those_who_need_it(self):
        with self.assertRaisesRegex(AssertionError, "derkit-tools depends on libderkit1"):
            self.dpkg(self.root, "--remove", "libderkit1")

    def test_no_file_remains(self):
        other = SCRATCH / "other"
        run("cp", "--archive", self.root, other)
        self.dpkg(other, "--purge", *PACKAGES)
        self.assertEqual({file for file in files_below(other) if not file.startswith("var/")}, set())


if __name__ == "__main__":
    unittest.main(verbosity=2)
