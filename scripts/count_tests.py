#!/usr/bin/env python3
"""Prints "CASES FAILED" for a ctest JUnit file.

A ctest entry that runs a GoogleTest executable counts as the cases that its output reports; any
other entry counts as one case. An entry that failed without naming a failed case (a crash, a time
limit) counts one failure.
"""
import re
import sys
import xml.etree.ElementTree as ElementTree

cases = failed = 0
for entry in ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
    output = entry.findtext("system-out") or ""
    ran = re.findall(r"\[==========\] (\d+) tests? from \d+ test suites? ran", output)
    named = sum(int(n) for n in re.findall(r"^ ?(\d+) FAILED TESTS?$", output, re.MULTILINE))
    broken = entry.get("status") == "fail"
    total = sum(int(n) for n in ran) or 1
    cases += max(total, named)
    failed += named if named else int(broken)
print(cases, failed)
