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

    def test_every_subcommand_has_a_page(self):
        pages = ["derkit.1", "derkit.3", "qaroids.cfg.5", *(f"derkit-{name}.1" for name in subcommands_of())]
        self.assertEqual([path.name for path in PAGES], sorted(pages))

    def test_pages_that_are_referred_to_are_there(self):
        others = {("openssl", "1")}
        for path in PAGES:
            for reference in re.findall(r"(?:^\.|\s)Xr (\S+) (\d)", path.read_text(), re.MULTILINE):
                self.assertTrue(reference in others or ".".join(reference) in map(lambda p: p.name, PAGES), reference)


class ToolPages(unittest.TestCase):
    def synopses(self, name):
        """Maps the subcommands of a page to their options, from its synopsis."""
        text = page(f"derkit-{name}.1").partition(".Sh SYNOPSIS\n")[2].partition(".Sh DESCRIPTION")[0]
        synopses = {}
        for entry in text.split(".Nm derkit\n")[1:]:
            words = re.match(r"\.Cm ([\w ]+)\n", entry)[1]
            options = {"-" + option for option in re.findall(r"Fl (-[\w-]+)", entry)}
            options = options.union(*(group for word, group in GROUPS.items() if word in entry))
            if " password-option" in entry and words in ("p12 show", "p12 extract", "p12 convert", "p12 password"):
                options.add("--no-password")
            synopses[tuple(words.split())] = options
        return synopses

    def described(self, name):
        """The options that a page describes."""
        lines = re.findall(r"^\.It Fl (.*)$", page(name), re.MULTILINE)
        return {"-" + option for line in lines for option in re.findall(r"(-[\w-]+)", line)}

    def test_synopses_have_every_subcommand_with_its_options(self):
        for name in subcommands_of():
            synopses = self.synopses(name)
            self.assertEqual(list(synopses), [words for words in all_subcommands() if words[0] == name])
            for words, options in synopses.items():
                self.assertEqual(options | {"--help", "--color"}, options_of(*words), words)

    def test_every_subcommand_of_a_page_has_a_paragraph(self):
        for name in subcommands_of():
            words = [" ".join(words) for words in all_subcommands() if words[0] == name]
            titles = re.findall(r"^\.Ss (.*)$", page(f"derkit-{name}.1"), re.MULTILINE)
            self.assertEqual(titles[: len(words)], words if len(words) > 1 else titles[:1])

    def test_the_overview_lists_all_pages_with_the_words_of_the_help(self):
        listed = re.findall(r"^\.It Xr derkit-(\w+) 1\n(.*)\.$", page("derkit.1"), re.MULTILINE)
        help_text = re.sub(r"\s+", " ", help_of())
        self.assertEqual([name for name, _ in listed], subcommands_of())
        for name, words in listed:
            self.assertIn(f" {name} {words} ", help_text)
            title = re.search(r"^\.Nd (.*)$", page(f"derkit-{name}.1"), re.MULTILINE)[1]
            self.assertEqual(title, words[0].lower() + words[1:])

    def test_every_option_is_described_in_the_page_or_in_one_that_it_names(self):
        common = self.described("derkit.1")
        self.assertEqual(common, options_of() | {"--json", "--oid-map", "--t61"})
        for name in subcommands_of():
            wanted = set().union(*(options_of(*words) for words in all_subcommands() if words[0] == name))
            described = self.described(f"derkit-{name}.1")
            self.assertLessEqual(described, wanted, name)
            elsewhere = self.described("derkit-p12.1") if name == "key" else set()
            self.assertEqual(wanted - described - common - elsewhere, set(), name)
            self.assertIn(".Xr derkit 1", page(f"derkit-{name}.1"))

    def test_examples_are_those_of_the_help(self):
        for name in subcommands_of():
            shown = re.findall(r"^\.Dl (.*)$", page(f"derkit-{name}.1"), re.MULTILINE)
            helped = [line for words in all_subcommands() if words[0] == name
                      for line in re.findall(r"^  (derkit .*|openssl .*)$", help_of(*words), re.MULTILINE)]
            self.assertEqual(shown, [line.replace("\\", "\\e") for line in helped], name)


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
        examples = re.findall(r"^  (derkit (?:dn|oid|alg|time) (?!.*[.]der).*)$", "".join(map(lambda n: help_of(*n), all_subcommands())),
                              re.MULTILINE)
        self.assertEqual(len(examples), 12)
        for example in examples:
            done = subprocess.run(example.replace("derkit", TOOL, 1), shell=True, capture_output=True)
            self.assertEqual((done.returncode, done.stderr), (0, b""), example)


if __name__ == "__main__":
    unittest.main()
