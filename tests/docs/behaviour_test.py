#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Every rule of docs/BEHAVIOUR.md is named where the code decides it and in a test that guards it.

    behaviour_test.py ROOT

Names are `BEHAVIOUR P3` or `BEHAVIOUR P3, P4`. A rule that no test guards is marked "(no test)".
"""

import pathlib
import re
import sys

CODE = ["building", "cli", "detection", "edits", "importer", "localization", "orvix", "output",
        "parallel", "reports", "view"]
ENDINGS = {".h", ".cpp", ".md", ".py", ".sh"}
RULE = re.compile(r"^\*\*([A-Z]\d+)( \(no test\))?\. ", re.MULTILINE)
CITATION = re.compile(r"\bBEHAVIOUR ([A-Z]\d+(?:, [A-Z]\d+)*)")


def rules_of(page):
    """The numbers in the order of the page, and whether each is marked as without a test."""
    return [(number, bool(mark)) for number, mark in RULE.findall(page)]


def faults_of_page(page):
    numbers = [number for number, _ in rules_of(page)]
    for number in sorted(set(numbers)):
        if numbers.count(number) > 1:
            yield f"{number} is the number of several rules"
    rooms = set(re.findall(r"^\| ([A-Z]) \|", page, re.MULTILINE))
    for part in page.split("\n## ")[1:]:
        for number, _ in rules_of(part):
            if number[0] != part[0] or number[0] not in rooms:
                yield f"{number} stands in the room {part[0]}"
    for line in page.split("\n"):
        if line.startswith("**") and not RULE.match(line):
            yield f"this rule has no number: {line}"


def citations_in(root, folders):
    """Number to the files that name it."""
    cited = {}
    for folder in folders:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in ENDINGS or path == pathlib.Path(__file__).resolve():
                continue
            for numbers in CITATION.findall(path.read_text(encoding="utf-8")):
                for number in numbers.split(", "):
                    cited.setdefault(number, set()).add(str(path.relative_to(root)))
    return cited


def faults(root):
    page = (root / "docs" / "BEHAVIOUR.md").read_text(encoding="utf-8")
    yield from faults_of_page(page)
    rules = dict(rules_of(page))
    if not rules:
        yield "the page has no rules"
    code, tests = citations_in(root, CODE), citations_in(root, ["tests"])
    for cited in (code, tests, citations_in(root, ["docs"])):
        for number in sorted(cited.keys() - rules.keys()):
            yield f"{', '.join(sorted(cited[number]))}: there is no rule {number}"
    for number, untested in rules.items():
        if number not in code:
            yield f"{number} is named nowhere in the code"
        if number not in tests and not untested:
            yield f"{number} is named in no test"
        if number in tests and untested:
            yield f"{number} is named in a test; take its mark away"


def main():
    found = list(faults(pathlib.Path(sys.argv[1]).resolve()))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
