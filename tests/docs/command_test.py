#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""docs/COMMAND.md names the verbs and options that the command has, and no others.

    command_test.py DOCUMENT COMMAND...

Compared are the list of verbs, a section for each verb, the rows of its table of options with
their values, and the options in its examples, with what `COMMAND VERB --help` prints.
"""

import re
import subprocess
import sys

OF_EVERY_VERB = {"--help", "--json"}


def help_of(command, *words):
    """The subcommands and the options (name to value, "" without one) that a help lists."""
    text = subprocess.run([*command, *words, "--help"], check=True, capture_output=True,
                          encoding="utf-8").stdout.replace("\r\n", "\n")
    verbs, options, part = [], {}, None
    for line in text.split("\n"):
        if not line.startswith(" "):
            part = line
        elif part == "Subcommands:" and (named := re.match(r"  ([\w-]+)", line)):
            verbs.append(named[1])
        elif part == "Options:" and (named := re.match(r"  (?:-\w,)?(--[\w-]+)(?: (\S+))?", line)):
            # A value follows after one blank, the meaning after several.
            options[named[1]] = named[2] or ""
    return verbs, options


def sections_of(document):
    """The lines under each heading of the second level."""
    sections, name = {}, ""
    for line in document.split("\n"):
        if line.startswith("## "):
            name = line[3:].strip()
        sections.setdefault(name, []).append(line)
    return sections


def listed_verbs(lines):
    """The verbs in the first block: each with those that it may be followed by."""
    verbs = {}
    for line in lines:
        if named := re.match(r"orvix ([\w-]+)(?: (\w+(?:\|\w+)+))?", line):
            verbs[named[1]] = named[2].split("|") if named[2] else []
    return verbs


def tabled_options(lines):
    """The options in the first column of a section's tables, with the values given there."""
    options = {}
    for line in lines:
        if line.startswith("| `--"):
            cell = re.split(r"(?<!\\)\|", line)[1].replace("\\|", "|")
            for name, value in re.findall(r"`(--[\w-]+)(?: ([^`]+))?`", cell):
                options[name] = value
    return options


def faults_of_verb(verb, lines, options):
    tabled = tabled_options(lines)
    for name in sorted(tabled.keys() - options.keys()):
        yield f"'{verb}' has no option {name}, which its section lists"
    for name in sorted(options.keys() - tabled.keys() - OF_EVERY_VERB):
        yield f"the section of '{verb}' leaves out {name}"
    for name in sorted(tabled.keys() & options.keys()):
        if tabled[name] and tabled[name] != options[name]:
            yield f"'{verb} {name}' takes {options[name]}, not {tabled[name]}"
    for name in sorted(set(re.findall(r"(?<![\w-])--[a-z][\w-]*", examples_of(verb, lines)))):
        if name not in options:
            yield f"an example of '{verb}' has {name}, which is no option of it"


def examples_of(verb, lines):
    return "\n".join(line for line in lines if line.startswith(f"orvix {verb} "))


def faults(document, command):
    verbs, _ = help_of(command)
    sections = sections_of(document)
    listed = listed_verbs(sections[""])
    for verb in sorted(set(verbs) ^ set(listed)):
        yield f"the verb {verb} is in one of the two lists of verbs alone"
    for verb in verbs:
        if verb not in sections:
            yield f"{verb} has no section"
            continue
        nested, options = help_of(command, verb)
        if set(nested) != set(listed.get(verb, [])):
            yield f"'{verb}' is followed by {nested}, not by {listed.get(verb)}"
        for word in nested:
            options.update(help_of(command, verb, word)[1])
        if "--json" not in options:
            yield f"'{verb}' does not take --json"
        yield from faults_of_verb(verb, sections[verb], options)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        found = list(faults(file.read(), sys.argv[2:]))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
