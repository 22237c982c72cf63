#!/usr/bin/env python3
"""What configuring says on a machine that lacks something: one line with what to install and what to leave out instead."""
import os
import subprocess
import tempfile
import unittest

from packages import SOURCE, TIME_LIMIT

WITHOUT_GTEST = ["-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON", "-DDERKIT_GOOGLETEST_SOURCES=/nowhere"]
WITHOUT_TOOLS = ["-DDERKIT_BUILD_TOOLS=OFF"]
COMPARISON = ("the comparison of GOST containers: Python 3, nlohmann-json or certtool; install python3 nlohmann-json3-dev"
              " gnutls-bin (Debian's names) or build without by -D DERKIT_BUILD_TESTS=OFF")
CASES = [  # options, whether configuring succeeds, what it says
    (["-DDERKIT_BUILD_GOST=OFF", "-DCLI11_INCLUDE_DIR=NOTFOUND", "-DCMAKE_IGNORE_PATH=/usr/include"], False,
     ["the tool: CLI11, nlohmann-json; install libcli11-dev nlohmann-json3-dev (Debian's names) or build without by"
      " -D DERKIT_BUILD_TOOLS=OFF"]),
    (["-DCMAKE_DISABLE_FIND_PACKAGE_Python3=ON", "-DDERKIT_GOST_GCRYPT_LIBRARY=/nowhere/libgcrypt.so"], True,
     ["the tool's key and p12: libgcrypt or GnuTLS; install libgcrypt20-dev libgnutls28-dev (Debian's names) or build without by"
      " -D DERKIT_BUILD_GOST=OFF",
      "the tests of the tool: Python 3; install python3 (Debian's names) or build without by -D DERKIT_BUILD_TESTS=OFF"]),
    (WITHOUT_TOOLS + ["-DCERTTOOL=NOTFOUND", "-DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON"], True, [COMPARISON]),
    (WITHOUT_GTEST + WITHOUT_TOOLS, True,
     ["the tests: GoogleTest; install libgtest-dev or googletest (Debian's names) or build without by"
      " -D DERKIT_BUILD_TESTS=OFF"]),
    (WITHOUT_GTEST + WITHOUT_TOOLS + ["-DDERKIT_FULL_CHECKS=ON"], False,
     ["the tests: GoogleTest; install libgtest-dev or googletest (Debian's names) or build without by"
      " -D DERKIT_BUILD_TESTS=OFF"]),
    (WITHOUT_TOOLS + WITHOUT_GTEST + ["-DDERKIT_BUILD_TESTS=OFF"], True, []),
    (["-DDERKIT_BUILD_GOST=OFF", "-DDERKIT_GOST_GCRYPT_LIBRARY=/nowhere/libgcrypt.so", "-DDERKIT_BUILD_TESTS=OFF"], True, []),
]


class MissingPartsTest(unittest.TestCase):
    def test_what_is_missing_is_said_in_one_line(self):
        for options, succeeds, said in CASES:
            with self.subTest(options=options), tempfile.TemporaryDirectory() as build:
                done = subprocess.run(
                    [os.environ["CMAKE"], "-G", "Ninja", "-S", SOURCE, "-B", build,
                     f"-DCMAKE_CXX_COMPILER={os.environ['CXX']}", *options],
                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=TIME_LIMIT)
                lines = [line.strip().removeprefix("-- ") for line in done.stdout.splitlines() if "derkit:" in line]
                self.assertEqual(lines, [f"derkit: missing for {line}" for line in said], done.stdout)
                self.assertEqual(done.returncode == 0, succeeds, done.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
