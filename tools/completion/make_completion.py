#!/usr/bin/env python3
"""Writes the completion of derkit's command line for bash, zsh and fish from what the tool says of itself.

Usage: make_completion.py TOOL [DIRECTORY]; the directory is this one unless given. The tool must have all subcommands.
"""

import re
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

FILES, DIRECTORIES, VARIABLES = "files", "directories", "variables"
KINDS = {"FILE": FILES, "DIR": DIRECTORIES, "DIRECTORY": DIRECTORIES, "VARIABLE": VARIABLES}


class Option(NamedTuple):
    name: str
    takes_value: bool
    kind: str  # FILES, DIRECTORIES, VARIABLES, the values separated by blanks, or nothing
    description: str


class Command(NamedTuple):
    words: tuple  # ("p12", "show")
    description: str
    options: list
    subcommands: list  # of names
    has_files: bool

    @property
    def name(self):
        return " ".join(self.words)


def said(tool, *arguments):
    done = subprocess.run([tool, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    return done.stdout + done.stderr


def rows(text):
    """The two columns of a help: names and what they mean, wrapped lines joined."""
    joined = re.sub(r"\n {20,}", "  ", text)
    return re.findall(r"^  (\S.*?)(?:  +(.*))?$", joined, re.MULTILINE)


def section(text, heading):
    _, _, rest = text.partition(f"\n{heading}:\n")
    return rows(rest.partition("\n\n")[0])


def first_clause(text):
    return re.split(r"; |: |\. ", re.sub(r"\s+", " ", text))[0].strip()


def values_of(tool, words, option, kind):
    if kind in KINDS:
        return KINDS[kind]
    choices = re.search(r"not in \{(.*?)\}", said(tool, *words, option, "?"))
    return choices[1].replace(",", " ") if choices else ""


def read_command(tool, words, description):
    text = said(tool, *words, "--help")
    options = []
    for left, right in rows(text.partition("\nOptions:\n")[2]):
        if match := re.match(r"(?:-\w, )?(--[\w-]+)(?: (\w+))?$", left):
            kind = values_of(tool, words, match[1], match[2]) if match[2] else ""
            options.append(Option(match[1], bool(match[2]), kind, first_clause(right)))
    has_files = any(left == "FILE" for left, _ in section(text, "Arguments"))
    subcommands = section(text, "Subcommands")
    command = Command(words, description, options, [name for name, _ in subcommands], has_files)
    below = [read_command(tool, (*words, name), first_clause(what)) for name, what in subcommands]
    return [command, *(each for commands in below for each in commands)]


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


HEADER = "# Completion of derkit's command line for {}. Written by make_completion.py: change that.\n"

BASH = """
_derkit() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} option=${{COMP_WORDS[COMP_CWORD - 1]}} prefix= command= i

  # --order=reversed is three words, or one if COMP_WORDBREAKS has no "=".
  if [[ $word == "=" ]]; then
    word=
  elif [[ $option == "=" ]]; then
    option=${{COMP_WORDS[COMP_CWORD - 2]}}
  elif [[ $word == --*=* ]]; then
    option=${{word%%=*}} prefix=${{word%%=*}}= word=${{word#*=}}
  fi

  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$command ${{COMP_WORDS[i]}}" in
    {commands})
      command="${{command:+$command }}${{COMP_WORDS[i]}}" ;;
    esac
  done

  local options= values= kind=
  case $command in
{options}
  esac
  case "$command $option" in
{values}
  esac

  COMPREPLY=()
  if [[ -z $prefix && $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    return
  fi
  case $kind in
  files) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  directories) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
  variables) mapfile -t COMPREPLY < <(compgen -e -- "$word") ;;
  esac
  if [[ $kind == files || $kind == directories ]]; then
    compopt -o filenames 2>/dev/null || true # fails when nothing is being completed
  fi
  local -a named
  mapfile -t named < <(compgen -W "$values" -- "$word")
  COMPREPLY+=("${{named[@]}}")
  COMPREPLY=("${{COMPREPLY[@]/#/$prefix}}")
}}

complete -F _derkit derkit
"""


def bash(commands):
    known = " | ".join(f'"{" ".join(c.words[:-1])} {c.words[-1]}"' for c in commands if c.words)
    options = []
    values = {}
    for command in commands:
        names = " ".join(option.name for option in command.options)
        kind = " kind=files" if command.has_files else ""
        options.append(f'  "{command.name}") options="{names}" values="{" ".join(command.subcommands)}"{kind} ;;')
        for option in command.options:
            if option.takes_value:
                alike = {other.kind for each in commands for other in each.options if other.name == option.name}
                pattern = f'*" {option.name}"' if len(alike) == 1 else f'"{command.name} {option.name}"'
                if pattern not in values.setdefault(option.kind, []):
                    values[option.kind].append(pattern)
    arms = []
    for kind, patterns in values.items():
        named = kind in KINDS.values()
        arms.append(f'  {" | ".join(patterns)})\n    values="{"" if named else kind}" kind={kind if named else ""} ;;')
    return HEADER.format("bash") + BASH.format(commands=known, options="\n".join(options), values="\n".join(arms))


ZSH = """
_derkit() {{
  local command=
  integer depth=1
  while ((depth + 1 < CURRENT)); do
    case "$command ${{words[depth + 1]}}" in
    {commands})
      command="${{command:+$command }}${{words[depth + 1]}}" ;;
    *) break ;;
    esac
    ((++depth))
  done
  words=(derkit "${{(@)words[depth + 1, -1]}}")
  ((CURRENT -= depth - 1))

  case $command in
{arms}
  esac
}}

_derkit "$@"
"""
ZSH_ACTIONS = {FILES: "_files", DIRECTORIES: "_files -/", VARIABLES: "_parameters -g '*export*'"}


def zsh_text(text):
    return re.sub(r"([\[\]:\\])", r"\\\1", text)


def zsh(commands):
    by_words = {command.words: command for command in commands}
    arms = []
    for command in commands:
        specs = []
        for option in command.options:
            spec = f"*{option.name}" + ("=" if option.takes_value else "") + f"[{zsh_text(option.description)}]"
            if option.takes_value:
                action = ZSH_ACTIONS.get(option.kind) or (f"({option.kind})" if option.kind else " ")
                spec += f":{option.name.strip('-')}:{action}"
            specs.append(quoted(spec))
        names = " ".join(f"{name}\\:{quoted(zsh_text(by_words[(*command.words, name)].description))}"
                         for name in command.subcommands)
        if names and command.has_files:
            specs.append(quoted(f"1: : _alternative {quoted('commands:command:((' + names + '))')} 'files:file:_files'"))
        elif names:
            specs.append(quoted(f"1:subcommand:(({names}))"))
        if command.has_files:
            specs.append("'*:file:_files'")
        lines = " \\\n      ".join(specs)
        arms.append(f'  "{command.name}")\n    _arguments \\\n      {lines} ;;')
    known = " | ".join(f'"{" ".join(c.words[:-1])} {c.words[-1]}"' for c in commands if c.words)
    return "#compdef derkit\n" + HEADER.format("zsh") + ZSH.format(commands=known, arms="\n".join(arms))


FISH = """
# The subcommand that has been typed, such as "p12 show".
function __derkit_command
    set -l command
    for word in (commandline -opc)[2..]
        switch "$command $word"
            case {commands}
                set command (string trim "$command $word")
        end
    end
    echo $command
end

function __derkit_is
    test (__derkit_command) = "$argv"
end

complete -c derkit -f
"""
FISH_ACTIONS = {FILES: "-r -F", DIRECTORIES: "-x -a '(__fish_complete_directories)'", VARIABLES: "-x -a '(set -nx)'"}


def fish_quoted(text):
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def fish(commands):
    known = " ".join(fish_quoted(" ".join(c.words[:-1]) + " " + c.words[-1]) for c in commands if c.words)
    lines = []
    for command in commands:
        condition = f"complete -c derkit -n {fish_quoted('__derkit_is ' + command.name)}"
        if command.words:
            above = "__derkit_is " + " ".join(command.words[:-1])
            lines.append(f"complete -c derkit -n {fish_quoted(above.strip())} -a {command.words[-1]} "
                         f"-d {fish_quoted(command.description)}")
        if command.has_files:
            lines.append(f"{condition} -F")
        for option in command.options:
            action = ""
            if option.takes_value:
                action = " " + (FISH_ACTIONS.get(option.kind) or f"-x -a {fish_quoted(option.kind)}")
            short = " -s h" if option.name == "--help" else ""
            lines.append(f"{condition} -l {option.name[2:]}{short}{action} -d {fish_quoted(option.description)}")
    return HEADER.format("fish") + FISH.format(commands=known) + "\n".join(lines) + "\n"


SHELLS = {"derkit.bash": bash, "derkit.zsh": zsh, "derkit.fish": fish}


def scripts_of(tool):
    """The scripts by name."""
    commands = read_command(tool, (), "")
    return {name: make(commands) for name, make in SHELLS.items()}


def main():
    folder = Path(sys.argv[2]) if len(sys.argv) > 2 else Path(__file__).parent
    for name, text in scripts_of(Path(sys.argv[1]).resolve()).items():
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
