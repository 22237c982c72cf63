#!/usr/bin/env python3
"""Tests what all subcommands share: help, options that make no sense, and output that cannot be written."""

import os
import subprocess
import unittest

import der
from tool import ToolTest, run, thin


class Outputs(ToolTest):
    def commands(self):
        path = self.file("good", der.certificate("1"))
        return [
            ["cert", path], ["cert", "--json", path], ["cert", "--round-trip", path], ["dn", "CN=x"],
            ["dn", "--der", "CN=x"], ["oid", "CN"], ["alg", "RSA"], ["--help"], ["cert", "--help"], ["--version"],
            ["cert", path, self.folder / "missing"],  # the work ends with the output
        ]

    def test_a_full_disk_is_an_error(self):
        for arguments in thin(self.commands(), 4):
            with open("/dev/full", "wb") as full:
                done = run(*arguments, stdout=full)
            self.assertEqual((done.status, done.errors), (1, ["derkit: standard output: No space left on device"]), arguments)

    def test_a_closed_pipe_is_a_quiet_error(self):
        for arguments in thin(self.commands(), 4):
            reader, writer = os.pipe()
            os.close(reader)
            done = run(*arguments, stdout=writer)
            os.close(writer)
            self.assertEqual((done.status, done.errors), (1, []), arguments)

    def test_objects_before_an_error_are_out_before_its_message(self):
        path = self.file("good", der.certificate("1"))
        child = self.start("cert", path, "missing", path, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        parts = [line.split(": ")[1] for line in child.stdout.read().decode().splitlines()]
        shown = [part for part in parts if part in ("subject", "issuer", "missing")]
        self.assertEqual(shown, ["subject", "issuer", "missing", "subject", "issuer"])
        self.assertLess(parts.index("public_key_bits"), parts.index("missing"))


class Usage(ToolTest):
    def test_help_and_version_succeed(self):
        for arguments in ["--help"], ["-h"], ["cert", "--help"], ["dn", "--help"], ["oid", "-h"], ["alg", "--help"]:
            self.assertIn("Usage: derkit", self.succeeds(*arguments))
        self.assertRegex(self.succeeds("--version"), r"^derkit \d+\.\d+\.\d+\n$")

    def test_a_command_line_that_makes_no_sense(self):
        self.check_usage([(arguments, "") for arguments in thin([
            [], ["bogus"], ["--bogus"], ["cert"], ["dn"], ["oid"], ["alg"], ["dn", "CN=x", "CN=y"], ["cert", "--bogus", "x"],
            ["cert", "--order", "sideways", "x"], ["cert", "--oid-map"], ["dn", "--der", "--hex", "CN=x"],
            ["dn", "--der", "--json", "CN=x"], ["dn", "--hex", "--json", "CN=x"], ["dn", "--der", "--get", "CN", "CN=x"],
            ["alg", "--oid-map", "x", "RSA"],
        ], 4)])


if __name__ == "__main__":
    unittest.main()
