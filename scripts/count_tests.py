#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Prints "CASES FAILED SKIPPED" for a ctest JUnit file, and on standard error why what was skipped was.

A ctest entry that runs a GoogleTest executable counts as the cases that its output reports; any
other entry counts as one case. An entry that failed without naming a failed case (a crash, a time
limit) counts one failure.
"""
import re
import sys
import xml.etree.ElementTree as ElementTree

# What a skipped case says lies between its start and its end; the first line tells the source.
SKIPPED_CASE = re.compile(
    r"^\[ RUN      \] (\S+)\n((?:(?!\[ RUN ).*\n)*?)\[  SKIPPED \] \1", re.MULTILINE)


def told(text):
    lines = [line.strip() for line in text.splitlines()]
    said = [line for line in lines if line and not line.endswith(": Skipped")]
    return said[-1] if said else "no reason told"


cases = failed = skipped = 0
reasons = {}
for entry in ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
    name = entry.get("name")
    output = entry.findtext("system-out") or ""
    ran = re.findall(r"\[==========\] (\d+) tests? from \d+ test suites? ran", output)
    named = sum(int(n) for n in re.findall(r"^ ?(\d+) FAILED TESTS?$", output, re.MULTILINE))
    broken = entry.get("status") == "fail"
    left_out = SKIPPED_CASE.findall(output)
    if entry.find("skipped") is not None and not left_out:
        left_out = [("", output)]
    total = sum(int(n) for n in ran) or 1
    cases += max(total, named)
    failed += named if named else int(broken)
    skipped += len(left_out)
    for case, text in left_out:
        reasons.setdefault(f"{name}: {told(text)}", []).append(case)

for reason, which in reasons.items():
    print(f"skipped {reason}" + (f" ({', '.join(which)})" if any(which) else ""), file=sys.stderr)
print(cases, failed, skipped)
