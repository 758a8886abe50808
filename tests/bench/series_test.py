#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""series_test.py SERIES: the tables and slopes that series.py makes of rows counted by hand."""
import json
import pathlib
import subprocess
import sys
import tempfile

ROWS = [("size", 1e6, "orvix", 1_000_000, 0.5), ("size", 1e6, "cgal-growing", 1_000_000, 20),
        ("size", 1e6, "command", 1_000_000, 0.6), ("size", 1e7, "orvix", 10_000_000, 5),
        ("size", 1e7, "command", 10_000_000, 5.5), ("size", 1e8, "orvix", 100_000_000, 50),
        ("size", 1e8, "command", 100_000_000, 61), ("density", 0.01, "orvix", 2_000_000, 0.25),
        ("density", 0.01, "cgal-growing", 2_000_000, 30), ("density", 0.01, "command", 2_000_000, 0.3)]
WHO = {"orvix": "orvix planes", "cgal-growing": "CGAL region growing", "command": "the command"}

EXPECTED = [
    "| 1,000,000 | 0.1 m | 0.500 s | 2.0 | 0.60 s, 64 MiB | 40 |",
    "| 10,000,000 | 0.1 m | 5.000 s | 2.0 | 5.50 s, 64 MiB |  |",
    "| 10 mm, 2,000,000 | 0.1 m | 0.250 s | 8.0 | 0.30 s, 64 MiB | 120 |",
    "| 1,000,000 | 0.90 / 0.80 | 0.90 / 0.80 |",
    # A rival of one row has no slope.
    "Slope of log seconds over log points, by size: orvix planes 1.00, the command 1.00",
]

with tempfile.TemporaryDirectory() as folder:
    with open(pathlib.Path(folder, "rows.jsonl"), "w") as rows:
        for series, step, name, points, seconds in ROWS:
            row = {"series": series, "step": step, "name": name, "who": WHO[name], "points": points,
                   "seconds": seconds}
            row |= {"peak": 64 << 20} if name == "command" else {
                "cell": 0.1, "precision75": 0.9, "recall75": 0.8}
            rows.write(json.dumps(row) + "\n")
    subprocess.run([sys.executable, sys.argv[1], "--draw", "--no-plot", folder], check=True,
                   stdout=subprocess.DEVNULL)
    text = pathlib.Path(folder, "tables.md").read_text()
missing = [line for line in EXPECTED if line not in text.splitlines()]
if missing:
    sys.exit("missing:\n" + "\n".join(missing) + "\nfrom:\n" + text)
