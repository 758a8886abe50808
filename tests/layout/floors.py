#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""floors.py ROOT: holds every #include of the tree against the floors drawn in ARCHITECTURE.md.

The page's blocks ```floors list rooms from the ground up, one floor a line; "inside ROOM" starts the
floors within a room, by folder ("grid/"), by file without its ending, or as "." for its other files. An include may lead to a
lower floor or stay in its room or folder; files on one floor may include each other. Nothing
may include itself by a circle. Prints each offence, and ends with 1 if there is any."""
import collections
import os
import re
import subprocess
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
SHARED = {"support": ("tests", "bench", "fuzz", "examples"), "bench": ("tests", "fuzz"),
          "fuzz": ("tests", "bench"), "examples": ("tests", "bench", "fuzz", "support")}


def floors_of(page):
    """{"": [[room, ...], ...], "importer": [[part, ...], ...]}, each from the ground up."""
    plans = collections.defaultdict(list)
    for block in re.findall(r"^```floors\n(.*?)^```", page, re.MULTILINE | re.DOTALL):
        inside = ""
        for line in block.splitlines():
            names = re.sub(r"\(.*?\)", "", line).split()
            if names[:1] == ["inside"]:
                inside = names[1]
            elif names:
                plans[inside].append(names)
    return plans


def place_in(plan, path):
    """(floor, name) of the longest room or part of `plan` that holds `path`; None outside."""
    found = None
    for floor, names in enumerate(plan):
        for name in names:
            whole = path == name or path.startswith(name.rstrip("/") + "/")
            whole = whole or name == "." and "/" not in path
            if (whole or os.path.splitext(path)[0] == name) and (found is None or len(name) > len(found[1])):
                found = (floor, name)
    return found


def reached(start, arrows):
    seen, waiting = set(), list(arrows.get(start, ()))
    while waiting:
        unit = waiting.pop()
        if unit not in seen:
            seen.add(unit)
            waiting += arrows.get(unit, ())
    return seen


def circles(includes):
    """The units that reach themselves. A header and its source are one unit, but where a part knows
    the header and the source uses the part (a class over its hidden state), the source is a unit
    above both."""
    headers = {source: [t for t in targets if t.endswith(".h")]
               for source, targets in includes.items() if source.endswith(".h")}
    known = {header: reached(header, headers) for header in headers}

    def unit_of(path):
        stem, ending = os.path.splitext(path)
        own = stem + ".h"
        above = ending != ".h" and any(own in known.get(target, ()) for target in includes.get(path, ()))
        return path if above else stem

    arrows = collections.defaultdict(set)
    for source, targets in includes.items():
        arrows[unit_of(source)] |= {unit_of(t) for t in targets} - {unit_of(source)}
    return sorted(unit for unit in arrows if unit in reached(unit, arrows))


def offences(plans, includes):
    """`includes`: {path: [path, ...]}, all relative to the root."""
    found = []
    for source, targets in sorted(includes.items()):
        for target in targets:
            top = source.split("/")[0]
            if target.split("/")[0] in SHARED.get(top, ()):
                found.append(f"{source} includes {target}: {top}/ may not know it")
            here, there = place_in(plans[""], source), place_in(plans[""], target)
            if here is None:
                continue
            if there is None:
                found.append(f"{source} includes {target}, which is in no room of ARCHITECTURE.md")
                continue
            room = here[1]
            if room != there[1]:
                if there[0] >= here[0]:
                    way = "up" if there[0] > here[0] else "sideways"
                    found.append(f"{source} includes {target}: {way}, from {room} to {there[1]}")
                continue
            plan = plans.get(room)
            if not plan:
                continue
            inner, outer = (place_in(plan, p[len(room) + 1:]) for p in (source, target))
            for path, place in ((source, inner), (target, outer)):
                if place is None:
                    found.append(f"{path} is on no floor inside {room}")
            beside = inner and outer and inner[0] == outer[0] and not (inner[1] + outer[1]).count("/")
            if inner and outer and inner[1] != outer[1] and outer[0] >= inner[0] and not beside:
                way = "up" if outer[0] > inner[0] else "sideways"
                found.append(f"{source} includes {target}: {way} inside {room}, "
                             f"from {inner[1]} to {outer[1]}")
    found += [f"{unit} includes itself, by a circle" for unit in circles(includes)]
    return sorted(set(found))


def read_tree(root):
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others",
                             "--exclude-standard"], capture_output=True, check=True).stdout.decode()
    files = {f for f in listed.split("\0") if f.endswith((".h", ".cpp", ".c", ".rc"))
             and os.path.exists(os.path.join(root, f))}
    includes = {}
    for file in files:
        with open(os.path.join(root, file), encoding="utf-8") as text:
            includes[file] = [name for name in INCLUDE.findall(text.read()) if name in files]
    return includes


def check_the_check(plans):
    """What must be found is found."""
    for planted, word in (({"orvix/points/a.h": ["orvix/project/b.h"]}, "up"),
                          ({"importer/a.cpp": ["detection/b.h"]}, "sideways"),
                          ({"importer/grid/a.h": ["importer/write/b.h"]}, "up inside"),
                          ({"orvix/stats/a.cpp": ["orvix/stats/b.h"],
                            "orvix/stats/b.cpp": ["orvix/stats/a.h"]}, "circle"),
                          ({"bench/a.cpp": ["tests/support/b.h"]}, "may not know")):
        assert any(word in offence for offence in offences(plans, planted)), planted
    assert not offences(plans, {"orvix/project/a.cpp": ["orvix/points/b.h", "orvix/project/a.h"]})


def main():
    root = sys.argv[1]
    with open(os.path.join(root, "ARCHITECTURE.md"), encoding="utf-8") as page:
        plans = floors_of(page.read())
    check_the_check(plans)
    includes = read_tree(root)
    found = offences(plans, includes)
    print("\n".join(found))
    arrows = sum(map(len, includes.values()))
    print(f"{arrows} includes of {len(includes)} files, {len(found)} against the floors")
    return 1 if found or arrows < 1000 else 0


if __name__ == "__main__":
    sys.exit(main())
