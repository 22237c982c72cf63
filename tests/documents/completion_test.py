#!/usr/bin/env python3
"""The completion for bash, zsh and fish offers what the tool takes; each shell is asked itself.

DERKIT_TOOL names the tool, DERKIT_SOURCE the source tree.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = Path(os.environ["DERKIT_TOOL"])
SCRIPTS = Path(os.environ["DERKIT_SOURCE"]) / "tools" / "completion"
HERE = Path(__file__).parent
sys.path.insert(0, str(SCRIPTS))
import make_completion  # noqa: E402

COMMANDS = make_completion.read_command(TOOL, (), "")
BY_NAME = {command.name: command for command in COMMANDS}
FORMATS = {"gost94", "tc26", "rfc9548", "rfc9548-omac", "aes"}
FILES = {"one.pem", "other.pem"}
LINES = [  # a command line, and what it may be continued with
    ("", set(BY_NAME[""].subcommands)),
    ("ce", {"cert"}),
    ("p12 ", {"show", "extract", "make", "convert", "password"}),
    ("p12 e", {"extract"}),
    ("key conv", {"convert"}),
    ("cert --ro", {"--round-trip"}),
    ("cert --order ", {"as-encoded", "reversed"}),
    ("cert --order=", {"as-encoded", "reversed"}),
    ("cert --order=r", {"reversed"}),
    ("cert --json --order r", {"reversed"}),
    ("p12 make --to=", FORMATS | {"native"}),
    ("p12 make --to n", {"native"}),
    ("key convert --to n", set()),
    ("key convert --to=p", {"pem"}),
    ("p12 convert --cipher=", {"kuznyechik", "magma"}),
    ("p12 show --t61=l", {"latin1"}),
    ("time --color a", {"auto", "always"}),
    ("key --password-env DERKIT_TEST_VAR", {"DERKIT_TEST_VARIABLE"}),
    ("dn --get ", set()),
    ("dn x", set()),
    ("p12 extract --out f", {"folder"}),
    *((f"{words} o", FILES) for words in ("cert", "cert one.pem", "cert --json", "spki", "key", "p12 show", "p12 make --cert",
                                          "dn --oid-map", "key --password-file", "key convert --to pem --out")),
    ("p12 convert --password-file=o", FILES),
]


def words_of(offered):
    """Without the option in front of an equals sign, the final slash of a folder, and what explains it."""
    return {re.sub(r"^--[\w-]+=", "", word).rstrip("/") for word in offered}


class Completion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        for name in FILES:
            (cls.folder / name).touch()
        (cls.folder / "folder").mkdir()
        (cls.folder / "zsh").mkdir()
        (cls.folder / "zsh" / "_derkit").symlink_to(SCRIPTS / "derkit.zsh")

    def ask(self, *command):
        environment = os.environ | {"DERKIT_TEST_VARIABLE": "1", "LC_ALL": "C.UTF-8", "HOME": str(self.folder)}
        done = subprocess.run([*map(str, command)], capture_output=True, text=True, cwd=self.folder, env=environment,
                              stdin=subprocess.DEVNULL, timeout=120)
        self.assertEqual((done.returncode, done.stderr), (0, ""), command)
        return done.stdout

    def ask_bash(self, words):
        script = '. "$1"; shift; COMP_WORDS=(derkit "$@") COMP_CWORD=$#; _derkit; printf "%s\\n" "${COMPREPLY[@]}"'
        return self.ask("bash", "-euc", script, "bash", SCRIPTS / "derkit.bash", *words).split()

    def lines(self):
        """All lines: those above, and the options of every subcommand."""
        options = [(f"{command.name} --".lstrip(), {option.name for option in command.options}) for command in COMMANDS]
        return LINES + options

    def check(self, line, expected, offered):
        with self.subTest(line):
            self.assertEqual(words_of(offered), expected)

    def test_scripts_are_those_that_the_tool_makes(self):
        for name, text in make_completion.scripts_of(TOOL).items():
            self.assertEqual((SCRIPTS / name).read_text(encoding="utf-8"), text,
                             f"run tools/completion/make_completion.py with this tool to update {name}")

    def test_bash(self):
        for line, expected in self.lines():
            words = line.split(" ")
            self.check(line, expected, self.ask_bash(words))
            if "=" in words[-1]:  # bash splits there, unless COMP_WORDBREAKS says otherwise
                self.check(line, expected, self.ask_bash([*words[:-1], *filter(None, re.split("(=)", words[-1]))]))

    def test_fish(self):
        script = "source $argv[1]; for line in $argv[2..]; complete -C $line; echo (end); end".replace("(end)", "'(end)'")
        lines = self.lines()
        said = self.ask("fish", "--no-config", "--private", "-c", script, SCRIPTS / "derkit.fish",
                        *(f"derkit {line}" for line, _ in lines))
        for (line, expected), offered in zip(lines, said.split("(end)\n")[:-1], strict=True):
            self.check(line, expected, [text.split("\t")[0] for text in offered.splitlines()])

    def test_zsh(self):
        lines = self.lines()
        said = self.ask("zsh", "-f", HERE / "complete.zsh", self.folder / "zsh", *(f"derkit {line}" for line, _ in lines))
        for (line, expected), offered in zip(lines, said.split("(end)\n")[:-1], strict=True):
            self.check(line, expected, offered.split())


if __name__ == "__main__":
    unittest.main()
