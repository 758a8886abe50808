#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Every source file that a document names, and every file that it links to, is there.

    paths_test.py ROOT
"""

import pathlib
import re
import sys

# `orvix/points/records.h`, and [text](FORMAT.md) beside the document.
NAMED = re.compile(r"`((?:[\w.-]+/)+[\w.-]+\.(?:c|cpp|cs|cmake|h|md|py|txt))`")
LINKED = re.compile(r"\]\((?!https?:|#)([^)#\s]+)")


def faults(root):
    documents = sorted([*root.glob("*.md"), *root.glob("docs/*.md")])
    if not documents:
        yield f"there is no document in {root}"
    for document in documents:
        name = document.relative_to(root)
        for number, line in enumerate(document.read_text(encoding="utf-8").split("\n"), 1):
            for path in NAMED.findall(line):
                if not (root / path).exists():
                    yield f"{name}:{number}: there is no {path}"
            for path in LINKED.findall(line):
                if not (document.parent / path).exists():
                    yield f"{name}:{number}: links to {path}, which is not there"


def main():
    found = list(faults(pathlib.Path(sys.argv[1]).resolve()))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
