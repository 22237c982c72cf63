#!/usr/bin/env python3
"""Tests what all subcommands share: help, options that make no sense, and output that cannot be written."""

import os
import re
import subprocess
import unittest

import der
from tool import Terminal, ToolTest, as_text, objects, run, thin, without_place

WITH_GOST = not re.search(r"not\s+in\s+this\s+build", run("--help").text)  # whether it has key and p12


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
        lines = child.stdout.read().decode().splitlines()
        parts = [line.split(": ")[line.startswith("derkit: ")] for line in lines if line]
        shown = [part for part in parts if part in ("subject", "issuer", "missing")]
        self.assertEqual(shown, ["subject", "issuer", "missing", "subject", "issuer"])
        self.assertLess(parts.index("public_key_bits"), parts.index("missing"))


class Objects(ToolTest):
    """The form of all objects, whatever they show."""

    LIST = "==> 2.5.4.3 <==", "oid: 2.5.4.3", "der: 550403", "short_name: CN", "long_name: commonName", "name: commonName", "kind: attribute"

    def test_one_alone_has_no_heading(self):
        self.assertEqual(self.succeeds("oid", "2.5.4.3").splitlines(), list(self.LIST[1:]))

    def test_several_have_headings_and_empty_lines_between_them(self):
        lines = self.succeeds("oid", "2.5.4.3", "1.2.3").splitlines()
        self.assertEqual(lines, [*self.LIST, "", "==> 1.2.3 <==", "oid: 1.2.3", "der: 2A03"])

    def test_an_object_beside_one_that_cannot_be_shown_has_a_heading(self):
        for arguments in ["2.5.4.3", "x"], ["x", "2.5.4.3"]:
            done = run("oid", *arguments)
            self.assertEqual((done.status, len(done.errors)), (1, 1))
            self.assertEqual(done.text.splitlines(), list(self.LIST))

    def test_keys_are_those_of_json_and_the_place_is_in_the_heading(self):
        path = self.file("a.pem", der.pem(der.certificate("1")) + der.pem(der.certificate("2")))
        blocks = self.succeeds("cert", path).split("\n\n")
        for number, (found, block) in enumerate(zip(self.objects("cert", path), blocks, strict=True), 1):
            heading, *lines = block.splitlines()
            self.assertEqual((found["format"], found["object"], found["file"], found["index"]),
                             (1, "certificate", str(path), number))
            self.assertTrue(heading.startswith(f"==> {path}: certificate {number} (line "), heading)
            self.assertEqual(lines, as_text(without_place(found)))

    def test_arguments_have_a_place_too(self):
        for command, first, second in ("oid", "CN", "O"), ("alg", "SHA1", "RSA"), ("time", "0", "1"):
            found = self.objects(command, first, second)
            self.assertEqual([(each["file"], each["index"]) for each in found], [("(command line)", 1), ("(command line)", 2)])


class ExitStatuses(ToolTest):
    """0: all was shown; 1: something was not; 2: the command line makes no sense."""

    def test_what_cannot_be_read_hides_nothing_and_fails(self):
        good = self.file("good", der.certificate("1"))
        missing = self.folder / "missing"
        for command, arguments, bad in [
            ("cert", [good], missing), ("spki", [good], missing), ("oid", ["CN"], "x y"), ("alg", ["RSA"], "x"),
            ("time", ["0"], "x"),
        ]:
            self.assertEqual(len(self.objects(command, *arguments)), 1)
            done = run(command, "--json", bad, *arguments, bad, *arguments)
            self.assertEqual((done.status, len(done.errors), len(objects(done.text))), (1, 2, 2), command)


class Colors(ToolTest):
    HEADING = "\x1b[1m==> 2.5.4.3 <==\x1b[0m"
    WARNING = "derkit: 55048003: \x1b[33mwarning: \x1b[0m"

    def colored(self, *options, **env):
        """Returns whether heading and warning are colored on a terminal."""
        terminal = Terminal(self)
        streams = {"stdin": terminal.inside, "stdout": terminal.inside, "stderr": terminal.inside}
        child = self.start("oid", *options, "2.5.4.3", "55048003", **streams,
                           env={name: value for name, value in os.environ.items() if name != "NO_COLOR"} | env)
        self.assertEqual(child.wait(), 0)
        shown = terminal.shown()
        return [part in shown for part in (self.HEADING, self.WARNING)]

    def test_a_terminal_has_colors_unless_they_are_unwanted(self):
        yes, no = [True] * 2, [False] * 2
        for options, env, expected in [
            ([], {"TERM": "xterm"}, yes), ([], {"TERM": "dumb"}, no), ([], {"NO_COLOR": "1"}, no), ([], {"NO_COLOR": ""}, yes),
            (["--color", "never"], {}, no), (["--color=always"], {"NO_COLOR": "1"}, yes), (["--color=auto"], {}, yes),
        ]:
            self.assertEqual(self.colored(*options, **({"TERM": "xterm"} | env)), expected, (options, env))

    def test_a_pipe_has_none_unless_they_are_wanted(self):
        for options, has_colors in ([], False), (["--color", "always"], True), (["--color", "never"], False):
            done = run("oid", *options, "2.5.4.3", "55048003")
            self.assertEqual((self.HEADING in done.text, done.errors[0].startswith(self.WARNING)), (has_colors, has_colors))
        self.assertEqual(self.succeeds("--color", "always", "oid", "CN"), self.succeeds("oid", "CN"))


class Usage(ToolTest):
    def test_help_and_version_succeed(self):
        for arguments in ["--help"], ["-h"], ["cert", "--help"], ["dn", "--help"], ["oid", "-h"], ["alg", "--help"]:
            self.assertIn("Usage: derkit", self.succeeds(*arguments))
        self.assertRegex(self.succeeds("--version"), r"^derkit \d+\.\d+\.\d+\n$")

    def test_a_command_line_that_makes_no_sense(self):
        self.check_usage([(arguments, "") for arguments in thin([
            [], ["bogus"], ["--bogus"], ["cert"], ["dn"], ["oid"], ["alg"], ["dn", "--color", "blue", "CN=x"], ["cert", "--bogus", "x"],
            ["cert", "--order", "sideways", "x"], ["cert", "--oid-map"], ["dn", "--der", "--hex", "CN=x"],
            ["dn", "--der", "--json", "CN=x"], ["dn", "--hex", "--json", "CN=x"], ["dn", "--der", "--get", "CN", "CN=x"],
            ["alg", "--order", "x", "RSA"],
        ], 4)])

    def test_mistyped_names_get_a_hint(self):
        self.check_usage([(arguments, f"not expected: {typed}; did you mean {meant}? (see --help)") for arguments, typed, meant in [
            (["crt"], "crt", "cert"),
            (["ceert", "x"], "ceert", "cert"),
            (["--verson"], "--verson", "--version"),
            (["cert", "--ordr", "reversed", "x"], "--ordr", "--order"),
            (["cert", "--ordre=reversed", "x"], "--ordre", "--order"),
            (["cert", "--js", "x"], "--js", "--json"),
            (["cert", "-json", "x"], "-json", "--json"),
            (["cert", "--loacl", "--json", "x"], "--loacl", "--local"),
            (["dn", "--hxe", "CN=a"], "--hxe", "--hex"),
            (["dn", "--oidmap", "x"], "--oidmap", "--oid-map"),  # though the name is missing too
        ]])

    @unittest.skipUnless(WITH_GOST, "the tool has no p12")
    def test_mistyped_names_below_p12_get_a_hint(self):
        self.check_usage([
            (["p12", "shw", "x"], "not expected: shw; did you mean show?"),
            (["p12", "make", "--crt", "x"], "not expected: --crt; did you mean --cert?"),
            (["p12", "make", "--kye", "x"], "not expected: --kye; did you mean --key?"),
            (["p12", "show", "--max-bag", "1", "x"], "not expected: --max-bag; did you mean --max-bags?"),
        ])

    def test_what_is_near_to_nothing_gets_none(self):
        for arguments in ["frobnicate"], ["x"], ["--x"], ["cert", "-x", "y"], ["oid", "--zzzzzz", "CN"]:
            with self.subTest(arguments):
                self.assertNotIn("mean", self.fails(*arguments, status=2))

    def test_options_before_the_subcommand(self):
        self.check_usage([(["--json", "oid", "CN"], "not expected: --json; options of a subcommand come after its name")])

    @unittest.skipUnless(WITH_GOST, "the tool has no key and p12")
    def test_why_a_password_is_no_argument(self):
        reason = "a password is never an argument, which other users can see in the list of processes: use "
        for option in "--password", "--new-password":
            use = f"{reason}{option}-file, {option}-env, {option}-stdin or {option}-ask"
            for arguments in ["secret", "x"], ["secret"]:
                self.check_usage([(["p12", "convert", option, *arguments], f"{option}; {use}")])
            self.check_usage([(["key", "convert", f"{option}=secret"], f"{option}; {use}")])
        message = self.fails("p12", "show", "--password=secret", "x", status=2)
        self.assertNotIn("secret", message)


if __name__ == "__main__":
    unittest.main()
