#!/usr/bin/env python3
"""The manual pages list what the tool and the library have, and nothing else.

DERKIT_TOOL names the tool, DERKIT_SOURCE the source tree, DERKIT_EXPORTS the list of exported symbols.
"""

import os
import re
import subprocess
import unittest
from pathlib import Path

from exported_names import exported_names

TOOL = os.environ["DERKIT_TOOL"]
SOURCE = Path(os.environ["DERKIT_SOURCE"])
EXPORTS = Path(os.environ["DERKIT_EXPORTS"])
PAGES = sorted((SOURCE / "docs" / "man").iterdir())
PASSWORD = {"--password-file", "--password-env", "--password-stdin", "--password-ask"}
# What the synopses name together.
GROUPS = {
    " password-option": PASSWORD,
    " new-password-option": {option.replace("--", "--new-") for option in PASSWORD},
    " reading-option": {"--max-iterations", "--max-bags", "--accept-unverified"},
    " writing-option": {"--cipher", "--sections", "--iterations", "--pkcs8-form"},
}


def page(name):
    return (SOURCE / "docs" / "man" / name).read_text(encoding="utf-8")


def help_of(*subcommand):
    return subprocess.run([TOOL, *subcommand, "--help"], capture_output=True, check=True, text=True).stdout


def options_of(*subcommand):
    return set(re.findall(r"^  (?:-\w, )?(--[\w-]+)", help_of(*subcommand), re.MULTILINE))


def subcommands_of(*subcommand):
    _, _, listed = help_of(*subcommand).partition("\nSubcommands:\n")
    return re.findall(r"^  (\w+) ", listed.partition("\n\n")[0], re.MULTILINE)


def all_subcommands():
    """Subcommands that do something by themselves."""
    found = []
    for name in subcommands_of():
        inner = subcommands_of(name)
        has_action = "[SUBCOMMAND]" not in help_of(name) or "\nArguments:\n" in help_of(name)
        found += [(name,)] * has_action + [(name, other) for other in inner]
    return found


class ManualPages(unittest.TestCase):
    def test_no_formatter_warns(self):
        for path in PAGES:
            for command in (
                ["mandoc", "-Tlint", "-Wwarning", path],
                ["groff", "-ww", "-mandoc", "-Tutf8", "-z", path],
                ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", path],
            ):
                done = subprocess.run(command, capture_output=True, env=dict(os.environ, LC_ALL="C.UTF-8"))
                said = done.stderr if command[0] == "man" else done.stdout + done.stderr
                self.assertEqual((done.returncode, said.decode()), (0, ""), command)

    def test_the_three_pages_are_there(self):
        self.assertEqual([path.name for path in PAGES], ["derkit.1", "derkit.3", "qaroids.cfg.5"])

    def test_pages_that_are_referred_to_are_there(self):
        others = {("openssl", "1")}
        for path in PAGES:
            for reference in re.findall(r"(?:^\.|\s)Xr (\S+) (\d)", path.read_text(), re.MULTILINE):
                self.assertTrue(reference in others or ".".join(reference) in map(lambda p: p.name, PAGES), reference)


class ToolPage(unittest.TestCase):
    def synopses(self):
        """Maps subcommands to their options, from the page's synopsis."""
        text = page("derkit.1").partition(".Sh SYNOPSIS\n")[2].partition(".Sh DESCRIPTION")[0]
        synopses = {}
        for entry in text.split(".Nm\n")[1:]:
            if name := re.match(r"\.Cm ([\w ]+)\n", entry):
                options = {"-" + option for option in re.findall(r"Fl (-[\w-]+)", entry)}
                options = options.union(*(group for word, group in GROUPS.items() if word in entry))
                if " password-option" in entry and name[1] in ("p12 show", "p12 extract", "p12 convert", "p12 password"):
                    options.add("--no-password")
                synopses[tuple(name[1].split())] = options
        return synopses

    def test_synopses_have_every_subcommand_with_its_options(self):
        synopses = self.synopses()
        self.assertEqual(set(synopses), set(all_subcommands()))
        for subcommand, options in synopses.items():
            self.assertEqual(options | {"--help", "--color"}, options_of(*subcommand), subcommand)

    def test_every_subcommand_has_a_paragraph(self):
        titles = re.findall(r"^\.Ss (.*)$", page("derkit.1"), re.MULTILINE)
        self.assertEqual(titles[: len(all_subcommands())], [" ".join(name) for name in all_subcommands()])

    def test_every_option_is_described(self):
        described = set()
        for line in re.findall(r"^\.It Fl (.*)$", page("derkit.1"), re.MULTILINE):
            described |= {"-" + option for option in re.findall(r"(-[\w-]+)", line)}
        wanted = options_of().union(*(options_of(*name) for name in all_subcommands()))
        self.assertEqual(described, wanted)


class LibraryPage(unittest.TestCase):
    def test_it_names_what_is_exported_and_nothing_else(self):
        named = set(re.findall(r"^\.(?:Fn|Va) (\w+)", page("derkit.3"), re.MULTILINE))
        self.assertEqual(named, exported_names(EXPORTS))

    def test_its_example_compiles(self):
        program = page("derkit.3").partition(".Bd -literal -offset indent\n")[2].partition(".Ed")[0]
        done = subprocess.run(
            ["g++", "-std=c++14", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-I", SOURCE / "include", "-xc++", "-"],
            input=program.replace("\\e", "\\").encode(), stderr=subprocess.PIPE,
        )
        self.assertEqual((done.returncode, done.stderr.decode()), (0, ""))


class Help(unittest.TestCase):
    def test_no_line_is_wider_than_a_terminal_and_none_is_empty_at_the_end(self):
        for name in [(), ("p12",), *all_subcommands()]:
            text = help_of(*name)
            self.assertEqual([line for line in text.splitlines() if len(line) > 80 or line != line.rstrip()], [], name)
            self.assertRegex(text, r"[^\n]\n\Z")

    def test_its_examples_that_need_no_file_work(self):
        examples = re.findall(r"^  (derkit (?:dn|oid|alg|time) .*)$", "".join(map(lambda n: help_of(*n), all_subcommands())),
                              re.MULTILINE)
        self.assertEqual(len(examples), 9)
        for example in examples:
            done = subprocess.run(example.replace("derkit", TOOL, 1), shell=True, capture_output=True)
            self.assertEqual((done.returncode, done.stderr), (0, b""), example)


if __name__ == "__main__":
    unittest.main()
