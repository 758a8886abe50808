#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""count.py [BUILD] [--accept] [--only NAME,NAME]: the instructions of hot paths against those accepted.

Counts are those of valgrind's callgrind on work that is the same everywhere, so that a change of 3 % is seen
on a busy machine, where times vary by 30. A path that takes more or fewer fails the count; fewer too, so that
the next 3 % are seen. --accept makes what is counted now the figures (bench/instructions/figures.json).

Ends with 1 when a path changed, with 77 where the figures say nothing: another compiler than theirs, another
processor family, no valgrind. What processors differ in is kept out: the C library takes its plain ways
(GLIBC_TUNABLES), and valgrind shows every program the same processor where there is AVX2 at all.
"""
import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
FIGURES = HERE / "figures.json"
TOLERANCE = 0.03
PLAIN = "glibc.cpu.hwcaps=-AVX2,-AVX,-FMA,-BMI2,-ERMS,-FSRM,-MOVBE,-LZCNT"
ALWAYS = ["cmake", "bench/instructions"]
# Where to look when a path's count changed.
ROOMS = {
    "stream_points": ["orvix/points", "orvix/platform"],
    "random_points": ["orvix/points", "orvix/platform"],
    "find_neighbours": ["orvix/points"],
    "fit_planes": ["orvix/planes", "orvix/geometry"],
    "triangulate": ["orvix/surfaces", "orvix/geometry"],
    "natural_breaks": ["orvix/stats"],
    "sort_records": ["importer", "parallel", "orvix/project", "orvix/points", "orvix/platform"],
    "search_cells": ["detection", "parallel", "orvix/geometry", "orvix/points"],
}


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(77)


def compiler_of(build):
    cache = (build / "CMakeCache.txt").read_text()
    program = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", cache, re.MULTILINE).group(1)
    said = subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout
    version = re.search(r"\d+\.\d+\.\d+", said).group(0)
    maker = "clang" if "clang" in said else "Debian g++" if "Debian" in said else "g++"
    return f"{maker} {version}"


def processor_has_avx2():
    return " avx2 " in pathlib.Path("/proc/cpuinfo").read_text()


def count(build, names):
    """Of each path: its instructions, what its work answered, and where most of them are."""
    found = {}
    with tempfile.TemporaryDirectory(prefix="orvix-count-") as folder:
        dump = pathlib.Path(folder, "dump")
        run = subprocess.run(
            ["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no", f"--callgrind-out-file={dump}",
             build / "bin" / "bench_instructions", *names], stdout=subprocess.PIPE, text=True, check=False,
            env={**os.environ, "GLIBC_TUNABLES": PLAIN})
        if run.returncode:
            sys.exit(f"bench_instructions ended with {run.returncode}")
        answers = dict(line.split() for line in run.stdout.splitlines())
        for path in pathlib.Path(folder).glob("dump.*"):
            text = path.read_text()
            name = re.search(r"^desc: Trigger: Client Request: (\w+)$", text, re.MULTILINE)
            total = re.search(r"^totals: (\d+)$", text, re.MULTILINE)
            if name and total:
                found[name.group(1)] = {"instructions": int(total.group(1)),
                                        "answer": int(answers[name.group(1)]), "heaviest": heaviest(path)}
    return {name: found[name] for name in names if name in found}


def heaviest(dump):
    """The three functions with most instructions of their own."""
    said = subprocess.run(["callgrind_annotate", "--auto=no", dump], capture_output=True, text=True,
                          check=False).stdout
    rows = re.findall(r"^\s*([\d,]+)(?: \(([ \d.]+)%\))?\s+\S*?:([^\n\[]+)", said, re.MULTILINE)
    return [f"{share.strip()} % {name.strip()[:90]}" for _, share, name in rows[:3] if share]


def changes(kept, now, tolerance=TOLERANCE):
    """Sentences on every path that is not what was accepted, by name."""
    told = {}
    for name, figure in now.items():
        if name not in kept:
            told[name] = f"{figure['instructions']:,} instructions, not accepted yet"
            continue
        before = kept[name]
        share = figure["instructions"] / before["instructions"] - 1
        if figure["answer"] != before["answer"]:
            told[name] = (f"answers {figure['answer']:,} and answered {before['answer']:,}: other work, "
                          "so that counts say nothing")
        elif abs(share) > tolerance:
            told[name] = (f"{before['instructions']:,} instructions before, {figure['instructions']:,} now: "
                          f"{share * 100:+.1f} %, {'more' if share > 0 else 'fewer'}")
    return told


def git(root, *words):
    done = subprocess.run(["git", "-C", root, *words], capture_output=True, text=True, check=False)
    return done.stdout.rstrip() if done.returncode == 0 else ""


def touched(root, rooms, figures="bench/instructions/figures.json"):
    """What changed in rooms since the figures were accepted; nothing without git's history."""
    accepted = git(root, "log", "-1", "--format=%H", "--", figures)
    if not accepted:
        return []
    title = git(root, "log", "-1", "--format=%h %s", accepted)
    lines = git(root, "diff", "--stat=100", accepted, "--", *rooms, *ALWAYS, f":!{figures}").splitlines()
    commits = git(root, "log", "--format=%h %s", f"{accepted}..", "--", *rooms, *ALWAYS).splitlines()
    head = f"in its rooms ({', '.join(rooms)}) since {title}:"
    return [head, *(f"  {line}" for line in [*commits, *lines])] if lines else [
        f"nothing changed in {', '.join(rooms)} since {title}: look at the packages, or at what was "
        "not committed with the figures"]


def sentence(kept, now):
    """What a commit that accepts says."""
    parts = []
    for name, figure in now.items():
        before = kept.get(name, {}).get("instructions")
        share = f"{(figure['instructions'] / before - 1) * 100:+.1f} %" if before else "new"
        if not before or abs(figure["instructions"] / before - 1) >= 0.001:
            parts.append(f"{name} {share}")
    return f"Instructions: {', '.join(parts)}." if parts else "Instructions: as before."


def read_figures():
    return json.loads(FIGURES.read_text()) if FIGURES.exists() else {"compiler": "", "paths": {}}


def accept(compiler, kept, now):
    paths = kept["paths"] if kept["compiler"] == compiler else {}
    paths |= {name: {key: figure[key] for key in ("instructions", "answer")} for name, figure in now.items()}
    lines = [f'  "{name}": {json.dumps(paths[name])}' for name in ROOMS if name in paths]
    text = ",\n".join(lines)
    FIGURES.write_text(f'{{\n "compiler": "{compiler}",\n "paths": {{\n{text}\n }}\n}}\n')


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, nargs="?", default=ROOT / "build" / "release")
    parser.add_argument("--accept", action="store_true", help="what is counted now becomes the figures")
    parser.add_argument("--only", metavar="NAME,NAME", help="these paths alone")
    options = parser.parse_args()
    kept, compiler = read_figures(), compiler_of(options.build)
    if compiler != kept["compiler"] and not options.accept:
        skip(f"the figures are those of {kept['compiler']}, and this is {compiler}")
    if not processor_has_avx2():
        skip("valgrind shows programs another processor where there is no AVX2")
    names = options.only.split(",") if options.only else list(ROOMS)
    try:
        now = count(options.build.resolve(), names)
    except FileNotFoundError:
        skip("valgrind is not installed (scripts/packages.sh test)")
    if missing := [name for name in names if name not in now]:
        sys.exit(f"callgrind counted nothing of {', '.join(missing)}")
    for name in names:
        before = kept["paths"].get(name, {}).get("instructions")
        share = f"{(now[name]['instructions'] / before - 1) * 100:+6.2f} %" if before else "     new"
        print(f"{name:<16} {now[name]['instructions']:>15,}  {share}")
    if options.accept:
        said = sentence(kept["paths"], now)
        accept(compiler, kept, now)
        print(f"\nAccepted. Say in the commit why, and:\n    {said}")
        return 0
    told = changes(kept["paths"], now)
    for name, text in told.items():
        print(f"\n{name}: {text}")
        for line in now[name]["heaviest"]:
            print(f"    now {line}")
        for line in touched(ROOT, ROOMS[name]):
            print(f"    {line}")
    if told:
        print(f"\n{len(told)} of {len(now)} paths are not what was accepted (within {TOLERANCE:.0%}). Where this is "
              f"meant:\n    scripts/instructions --accept\nand say in the commit why, and:\n"
              f"    {sentence(kept['paths'], {name: now[name] for name in told})}")
    return 1 if told else 0


if __name__ == "__main__":
    sys.exit(main())
