#!/usr/bin/env python3
"""The Debian packages that dpkg-buildpackage makes of the sources, twice: all of them, then the library's alone in a folder, at
a time, in a language and under a umask of its own. They are built without optimisation, which takes a third of the time."""
import gzip
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

from packages import (COMPLETION, CONSUMER, DOCUMENTS, SOURCE, VERSION, development_files, files_below, gost_development_files,
                      manuals, run)

TRIPLET = run("dpkg-architecture", "--query", "DEB_HOST_MULTIARCH").strip()
ARCHITECTURE = run("dpkg-architecture", "--query", "DEB_HOST_ARCH").strip()
LIBDIR = f"usr/lib/{TRIPLET}"
PACKAGES = ["libderkit1", "libderkit-dev", "libderkit-gost1", "libderkit-gost-dev", "derkit-tools"]
LIBRARIES = {"libderkit1": "libderkit", "libderkit-gost1": "libderkit-gost"}  # packages and what they hold
CRYPTO_LIBRARIES = ["libgcrypt20", "libgnutls30"]
SYSTEM_LIBRARIES = ["libc6", "libgcc-s1", "libstdc++6"]
FILES = {
    "libderkit1": {f"{LIBDIR}/libderkit.so.1", f"{LIBDIR}/libderkit.so.{VERSION}",
                   "usr/share/doc/libderkit1/examples/qaroids.cfg"},
    "libderkit-dev": {f"usr/{path}" for path in development_files(f"lib/{TRIPLET}", "none") | manuals("35", ".gz")}
        | {f"usr/share/doc/libderkit-dev/{name}" for name in DOCUMENTS},
    "libderkit-gost1": {f"{LIBDIR}/libderkit-gost.so.1", f"{LIBDIR}/libderkit-gost.so.{VERSION}"},
    "libderkit-gost-dev": {f"usr/{path}" for path in gost_development_files(f"lib/{TRIPLET}", "none")},
    "derkit-tools": {f"usr/{path}" for path in manuals("1", ".gz")}
        | {f"usr/{path.replace('site-functions', 'vendor-completions')}" for path in COMPLETION} | {"usr/bin/derkit",
           "usr/share/derkit/derkit.schema.json"},
}
DEPENDENCIES = {  # a package, and which of its versions satisfy it
    "libderkit1": {name: ">=" for name in SYSTEM_LIBRARIES},
    "libderkit-dev": {"libderkit1": "="},
    "libderkit-gost1": {name: ">=" for name in SYSTEM_LIBRARIES + CRYPTO_LIBRARIES + ["libderkit1"]},
    "libderkit-gost-dev": {"libderkit-dev": "=", "libderkit-gost1": "="},
    "derkit-tools": {name: ">=" for name in SYSTEM_LIBRARIES + ["libderkit1", "libderkit-gost1", "libgcrypt20"]},
}
MULTI_ARCH = {name: "foreign" if name == "derkit-tools" else "same" for name in PACKAGES}


def fields(package):
    text = run("dpkg-deb", "--field", package)
    return dict(re.findall(r"^(\S+): (.*)$", text, re.MULTILINE))


def build(folder, profiles, umask, **environment):
    """The packages by name, made of the files that git knows of, in folder/derkit."""
    tree = folder / "derkit"
    tree.mkdir(parents=True)
    listed = subprocess.run(["git", "-C", SOURCE, "ls-files", "-z", "--deduplicate"], capture_output=True, check=True).stdout
    copying = subprocess.run(["tar", "-C", SOURCE, "--null", "--files-from=-", "-c"], input=listed, capture_output=True,
                             check=True)
    subprocess.run(["tar", "-C", tree, "--touch", "-x"], input=copying.stdout, check=True)
    # The build itself, not dpkg's flags, must keep the folder's name out.
    options = "noopt nocheck noautodbgsym reproducible=-fixfilepath parallel=2"
    run("dpkg-buildpackage", "--build=binary", "--no-sign", "--no-check-builddeps", f"--build-profiles={profiles}",
        cwd=tree, umask=umask, DEB_BUILD_OPTIONS=options, **environment)
    return {path.name.split("_")[0]: path for path in folder.glob("*.deb")}


def setUpModule():
    """Makes the packages once, for all tests."""
    global SCRATCH, MADE, AGAIN
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    SCRATCH = pathlib.Path(folder.name)
    MADE = build(SCRATCH / "first", "nocheck", 0o022, TZ="UTC")
    AGAIN = build(SCRATCH / "second/longer", "nocheck,pkg.derkit.nogost,pkg.derkit.notools", 0o077,
                  TZ="Asia/Kathmandu", LC_ALL="C.UTF-8")


class DebianPackagesTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.contents, cls.control = {}, {}
        for name, path in MADE.items():
            cls.contents[name], cls.control[name] = SCRATCH / f"{name}.files", SCRATCH / f"{name}.control"
            run("dpkg-deb", "--extract", path, cls.contents[name])
            run("dpkg-deb", "--control", path, cls.control[name])

    def test_the_same_sources_make_the_same_packages(self):
        self.assertEqual(set(AGAIN), {"libderkit1", "libderkit-dev"})
        for name, path in AGAIN.items():
            self.assertTrue(path.read_bytes() == MADE[name].read_bytes(), f"{name} differs")

    def test_there_are_the_packages_of_the_target(self):
        self.assertEqual({path.name for path in MADE.values()},
                         {f"{name}_{VERSION}-1_{ARCHITECTURE}.deb" for name in PACKAGES})
        for name in PACKAGES:
            with self.subTest(name):
                found = fields(MADE[name])
                self.assertEqual((found["Source"], found["Version"], found["Architecture"], found["Multi-Arch"]),
                                 ("derkit", f"{VERSION}-1", ARCHITECTURE, MULTI_ARCH[name]))

    def test_dependencies_are_packages_of_the_target(self):
        for name in PACKAGES:
            with self.subTest(name):
                depends = re.findall(r"(\S+) \((=|>=) (\S+?)\)", fields(MADE[name])["Depends"])
                self.assertEqual({on: relation for on, relation, _ in depends}, DEPENDENCIES[name])
                ours = {version for on, _, version in depends if on == "libderkit1"}
                self.assertLessEqual(ours, {f"{VERSION}-1" if name.endswith("-dev") else "1.0.0"})

    def test_every_package_has_its_files(self):
        for name in PACKAGES:
            with self.subTest(name):
                doc = f"usr/share/doc/{name}"
                self.assertEqual(files_below(self.contents[name]), FILES[name] | {
                    f"{doc}/copyright", f"{doc}/changelog.Debian.gz", f"{doc}/changelog.gz"})
                with gzip.open(self.contents[name] / doc / "changelog.Debian.gz", "rt") as changelog:
                    self.assertTrue(changelog.readline().startswith(f"derkit ({VERSION}-1) "))

    def test_two_architectures_have_the_same_files_outside_their_folders(self):
        for name in PACKAGES[:-1]:
            for file in files_below(self.contents[name]):
                if not file.startswith(LIBDIR):
                    self.assertNotIn(TRIPLET.encode(), (self.contents[name] / file).read_bytes(), file)

    def test_programs_and_libraries_are_stripped(self):
        libraries = [(name, f"{LIBDIR}/{library}.so.{VERSION}") for name, library in LIBRARIES.items()]
        for name, file in [*libraries, ("derkit-tools", "usr/bin/derkit")]:
            with self.subTest(file):
                table = run("readelf", "--section-headers", "--dynamic", "--wide", self.contents[name] / file)
                self.assertNotIn(".debug_info", table)
                self.assertNotRegex(table, r"\((RPATH|RUNPATH)\)")

    def test_nothing_runs_and_nothing_is_configured_when_packages_are_installed(self):
        for name in PACKAGES:
            extra = {"shlibs", "symbols", "triggers"} if name in LIBRARIES else set()
            self.assertEqual(files_below(self.control[name]), {"control", "md5sums"} | extra)

    def test_dependents_are_told_the_library_and_its_symbols(self):
        for name, library in LIBRARIES.items():
            with self.subTest(name):
                lines = (self.control[name] / "symbols").read_text(encoding="ascii").splitlines()
                development = name.replace("1", "-dev")
                self.assertEqual(lines[:2],
                                 [f"{library}.so.1 {name} #MINVER#", f"* Build-Depends-Package: {development}"])
                # The symbols of the library in the package, as binutils tells them.
                table = run("nm", "--dynamic", "--defined-only", "--format=posix",
                            self.contents[name] / LIBDIR / f"{library}.so.{VERSION}")
                exported = [line.split()[0].replace("@@", "@") for line in table.splitlines()]
                exported = [re.sub(r"^(DERKIT_\w+1\.0|DERKIT_1\.0)\b.*", r"\1@\1", symbol) for symbol in exported]
                self.assertEqual(sorted(lines[2:]), sorted(f" {symbol} 1.0.0" for symbol in exported))
                self.assertGreater(len(exported), 50)

    def test_lintian_finds_no_fault(self):
        # A first version closes the bug that asked Debian for the package; these are not uploaded there.
        run("lintian", "--allow-root", "--fail-on", "error,warning", "--suppress-tags", "initial-upload-closes-no-bugs",
            *MADE.values())


class CleanRootTest(unittest.TestCase):
    """The packages in a root where nothing else is but, by name and version, what they depend on."""

    @classmethod
    def setUpClass(cls):
        cls.root = SCRATCH / "root"
        database = cls.root / "var/lib/dpkg"
        for part in "info", "updates":
            (database / part).mkdir(parents=True)
        names = [f"{name}:{ARCHITECTURE}" for name in SYSTEM_LIBRARIES + CRYPTO_LIBRARIES]
        form = ("Package: ${Package}\nStatus: install ok installed\nMaintainer: ${Maintainer}\n"
                "Architecture: ${Architecture}\nMulti-Arch: same\nVersion: ${Version}\n"
                "Description: stands for the one outside\n\n")
        (database / "status").write_text(run("dpkg-query", "--show", f"--showformat={form}", *names))
        for name in names:
            (database / "info" / f"{name}.list").touch()
        cls.dpkg(cls.root, "--install", *MADE.values())

    @staticmethod
    def dpkg(root, *arguments):
        as_root = [] if os.geteuid() == 0 else ["fakeroot"]
        return run(*as_root, "dpkg", f"--root={root}", "--force-not-root", *arguments)

    def test_an_example_compiles_and_runs(self):
        readme = (SOURCE / "README.md").read_text(encoding="utf-8")
        source, printed = re.search(r"```cpp\n([^`]*)```[^`]*```text\n([^`]*)```", readme).groups()
        (SCRATCH / "example.cpp").write_text(source, encoding="utf-8")
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", "derkit", PKG_CONFIG_SYSROOT_DIR=self.root,
                                PKG_CONFIG_LIBDIR=self.root / LIBDIR / "pkgconfig"))
        run(os.environ["CXX"], SCRATCH / "example.cpp", *flags, f"-L{self.root / LIBDIR}", "-o", SCRATCH / "example")
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
