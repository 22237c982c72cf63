#!/usr/bin/env python3
"""The protection that the linker and the compiler put into what is delivered: the libraries, their objects and the tool.

DERKIT_LIBRARY, DERKIT_ARCHIVE, DERKIT_TOOL and, where it is built, DERKIT_GOST_LIBRARY name the files; DERKIT_PROCESSOR is
CMake's name of the processor.
"""
import os
import re
import unittest

from packages import run

LIBRARY, ARCHIVE, TOOL = (os.environ[f"DERKIT_{name}"] for name in ("LIBRARY", "ARCHIVE", "TOOL"))
PROCESSOR = os.environ["DERKIT_PROCESSOR"]
LIBRARIES = [file for file in (LIBRARY, os.environ["DERKIT_GOST_LIBRARY"]) if file]
DELIVERED = [*LIBRARIES, TOOL]
X86 = re.fullmatch("x86_64|AMD64|i[3-6]86", PROCESSOR)
PROPERTY = "x86 feature: IBT, SHSTK" if X86 else "AArch64 feature: BTI, PAC"


def dynamic_entries(file, kind):
    return re.findall(rf"^ 0x\w+ +\({kind}\) +(.*)$", run("readelf", "--dynamic", "--wide", file), re.MULTILINE)


def segment(file, kind):
    """The flags of a segment, such as R E."""
    found = re.search(rf"^  {kind} +(?:0x\w+ +){{5}}([RWE ]+?) +0x\w+$",
                      run("readelf", "--program-headers", "--wide", file), re.MULTILINE)
    return found and found.group(1)


class HardeningTest(unittest.TestCase):
    def test_relocations_are_done_at_the_start_and_read_only_afterwards(self):
        for file in DELIVERED:
            with self.subTest(file):
                self.assertRegex(" ".join(dynamic_entries(file, "FLAGS_1")), r"\bNOW\b")
                self.assertEqual(segment(file, "GNU_RELRO"), "R")
                self.assertEqual(dynamic_entries(file, "TEXTREL"), [])

    def test_nothing_can_be_both_written_and_run(self):
        for file in DELIVERED:
            with self.subTest(file):
                self.assertEqual(segment(file, "GNU_STACK"), "RW")
                self.assertNotRegex(run("readelf", "--program-headers", "--wide", file), r" (RWE|R?WE) ")

    def test_the_tool_is_loaded_anywhere(self):
        self.assertRegex(run("readelf", "--file-header", TOOL), r"Type: +DYN ")
        self.assertRegex(" ".join(dynamic_entries(TOOL, "FLAGS_1")), r"\bPIE\b")

    def test_libraries_are_looked_for_beside_what_needs_them_or_in_the_system(self):
        self.assertEqual(dynamic_entries(LIBRARY, "RPATH") + dynamic_entries(LIBRARY, "RUNPATH"), [])
        for file in DELIVERED:
            self.assertEqual(dynamic_entries(file, "RPATH"), [], file)
            for path in dynamic_entries(file, "RUNPATH"):
                for element in path.split("[")[1][:-1].split(":"):
                    self.assertRegex(element, r"^\$ORIGIN(/\.\.(/lib\w*)*)?$", file)

    def test_the_stack_is_guarded(self):
        for file in DELIVERED:
            with self.subTest(file):
                self.assertIn("__stack_chk_fail", run("nm", "--dynamic", "--undefined-only", file))

    def test_buffers_are_checked_by_libc(self):
        # The library calls nothing that could be checked: it has no buffers of a size that the compiler does not know.
        self.assertRegex(run("nm", "--dynamic", "--undefined-only", TOOL), r"__\w+_chk\b")

    @unittest.skipUnless(X86 or PROCESSOR in {"aarch64", "arm64"}, "a processor without such instructions")
    def test_calls_and_returns_are_guarded_in_every_object(self):
        notes = run("readelf", "--notes", "--wide", ARCHIVE)
        objects = re.split(r"^File: ", notes, flags=re.MULTILINE)[1:]
        self.assertGreater(len(objects), 20)
        for text in objects:
            self.assertIn(PROPERTY, text)

    @unittest.skipUnless(X86, "a processor with other instructions")
    def test_functions_begin_where_calls_may_land(self):
        for file in LIBRARIES:
            with self.subTest(file):
                listing = run("objdump", "--disassemble", "--no-show-raw-insn", "--section=.text", file)
                first = re.findall(r"^(\w+) <[^>]+>:\n *\w+:\t(\w+)", listing, re.MULTILINE)
                landing = {int(address, 16) for address, instruction in first if instruction.startswith("endbr")}
                table = run("nm", "--dynamic", "--defined-only", "--format=posix", file)
                entries = [line.split() for line in table.splitlines()]
                exported = {name: int(address, 16) for name, kind, address, *_ in entries if kind == "T"}
                self.assertGreater(len(exported), 50)
                self.assertEqual({name for name, address in exported.items() if address not in landing}, set())


if __name__ == "__main__":
    unittest.main(verbosity=2)
