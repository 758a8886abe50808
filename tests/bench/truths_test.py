#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""truths_test.py TRUTHS: what truths.py asks the bench, of which points, and the tables of its rows.

Stand-ins for the bench and the command keep what they are given: the bench prints a row counted by hand."""
import json
import pathlib
import subprocess
import sys
import tempfile

STAND_IN = """#!{python}
import json, pathlib, shutil, sys, time
here = pathlib.Path(__file__).resolve().parent
with open(here / "asked", "a") as asked:
    print(*sys.argv[1:], file=asked)
if sys.argv[1] == "import":
    shutil.copy(sys.argv[2], here / "imported.ply")
else:
    row = {{"name": "orvix", "who": "orvix planes", "points": 1234, "known": 8, "found": 10,
           "seconds": 0.5, "ratio": 1, "precision50": 0.7, "recall50": 0.875, "precision75": 0.6,
           "recall75": 0.75, "split": 2, "joined": 1, "normal_degrees": 0.25,
           "offset_millimetres": 1.5, "tolerance": 1,
           "by_area": [[0, 0, 0], [1, 0, 2], [2, 2, 2], [4, 4, 4]],
           "by_width": [[0, 0, 1], [1, 1, 1], [2, 2, 2], [4, 3, 4]]}}
    print(json.dumps(row))
    if "--peers" in sys.argv:
        tolerance = float(sys.argv[sys.argv.index("--tolerances") + 1])
        if "cgal-ransac" in sys.argv and tolerance == 2:
            time.sleep(60)
        print(json.dumps(row | {{"name": "cgal-growing", "who": "CGAL region growing", "seconds": 20,
                                "ratio": 1, "tolerance": tolerance,
                                "recall50": 0.5 if tolerance != 0.5 else 0.875}}))
"""

EXPECTED = [
    "| roof 22523 | 1,234 | 8 | orvix planes | 0.5 | 10 | 0.70 / 0.88 | 0.60 / 0.75 | 2, 1 | "
    "0.25 degrees, 1.5 mm |",
    "|  |  |  | CGAL region growing, 0.5 x distance | 20 (40 times) | 10 | 0.70 / 0.88 | 0.60 / 0.75 "
    "| 2, 1 | 0.25 degrees, 1.5 mm |",
    "| roof 22523 | orvix planes |  | 1, 0 of 2 | 2, 2 of 2 | 4, 4 of 4 |",
    "| roof 22523 | orvix planes | 0, 0 of 1 | 1, 1 of 1 | 2, 2 of 2 | 4, 3 of 4 |",
]


def expect(holds, what):
    if not holds:
        sys.exit(what)


with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    binaries, truths = folder / "build" / "bin", folder / "truths"
    binaries.mkdir(parents=True)
    for name in ("orvix", "bench_find_planes"):
        (binaries / name).write_text(STAND_IN.format(python=sys.executable))
        (binaries / name).chmod(0o755)
    (truths / "roofs").mkdir(parents=True)
    (truths / "roofs" / "22523.txt").write_text("5.25 6.5 7.0 0.0\n1.0 2.0 3.0 299.0\n")
    (truths / "room").mkdir()
    (truths / "room" / "room_100.pcd").write_text(
        "VERSION .7\nDATA ascii\n1 2 3 3.000000\n4 5 6 18.000000\n")

    def run(*arguments):
        done = subprocess.run([sys.executable, sys.argv[1], folder / "build", folder / "out",
                               "--truths", truths, "--scans", folder / "none", *arguments],
                              check=True, capture_output=True, text=True)
        asked = (binaries / "asked").read_text().splitlines()
        (binaries / "asked").unlink()
        points = (binaries / "imported.ply").read_text().split("end_header\n")[1].splitlines()
        return done.stdout, asked, points

    said, asked, points = run("--only", "roof 22523", "--patience", "6")
    # Planes of a roof are counted from 0, colours from 1: the 300th is 1 * 256 + 44.
    expect(points == ["5.25 6.5 7.0 0 0 1", "1.0 2.0 3.0 0 1 44"], f"the roof became {points}")
    expect("--coloured" in asked[1] and "--no-peers" in asked[1], f"asked: {asked}")
    for peer in ("cgal-growing", "cgal-ransac"):
        expect(sum(f"--peers {peer} --tolerances" in line for line in asked) == 3, f"asked: {asked}")
    expect("cgal-ransac at 2 times the distance is left out" in said, f"it was waited for: {said}")
    expect(said.count("is left out") == 1, f"left out: {said}")
    missing = [line for line in EXPECTED if line not in said.splitlines()]
    expect(not missing, f"missing: {missing}\nfrom:\n{said}")

    said, asked, points = run("--no-peers")
    expect(points == ["1 2 3 0 0 0", "4 5 6 0 0 18"], f"the room became {points}")
    expect(all("--no-peers" in line for line in asked if "import" not in line), f"asked: {asked}")
    for scan in ("lobby", "roof 42902", "fzk", "duplex"):
        expect(f"{scan}: left out, " in said, f"{scan} is absent, and nothing says so")
    expect(sum(" room " in line for line in asked) == 5, f"the room at five noises: {asked}")
    rows = [json.loads(line) for line in open(folder / "out" / "rows.jsonl")]
    expect(len(rows) == 8, f"{len(rows)} rows of a building, five rooms, a roof and a room")
