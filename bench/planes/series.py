#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How do seconds grow with points, and how do rivals compare from thin to dense scans?

    bench/planes/series.py build/release out/planes     # measures, half an hour alone on 2 cores
    bench/planes/series.py --draw out/planes            # tables and plot again, from the rows

Two series of bench_find_planes go, row by row, to OUT/rows.jsonl: larger and larger buildings of one
spacing, and one building scanned more and more densely. Beside each stands a row of `orvix planes` as
a process of its own: its seconds, and the most memory that it had resident (below 20 MB this script's
own). OUT/tables.md holds them all; docs/planes_seconds.png shows points against seconds. The disk needs
60 bytes per point under TMPDIR.

A rival is not asked about more points than --peers-up-to (memory), nor where its last row lets expect
more than --patience seconds. The plot wants Debian's python3-matplotlib, which --no-plot does without.
"""
import argparse
import json
import math
import os
import pathlib
import subprocess
import sys
import tempfile
import time

SIZES = [1_100_000, 3_500_000, 11_000_000, 35_000_000, 110_000_000]  # doors and windows take a tenth
SPACING = 0.02  # of the sizes, metres
SPACINGS = [0.06, 0.03, 0.02, 0.01, 0.005, 0.003]
ROOMS = 8  # of the spacings
PEERS = ["cgal-growing", "cgal-ransac", "pcl-growing", "pcl-ransac", "open3d-ransac"]
HOME = pathlib.Path(__file__).resolve().parents[2]


def command(program, *arguments):
    """Seconds and the most bytes resident of a process."""
    start = time.monotonic()
    process = subprocess.Popen([program, *arguments], stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        sys.exit(f"series.py: {program} ended with {process.returncode}")
    return time.monotonic() - start, usage.ru_maxrss * 1024


class Series:
    def __init__(self, options, name, rows):
        self.options, self.name, self.rows = options, name, rows

    def patient_with(self, peer, points):
        if points > self.options.peers_up_to:
            return False
        last = [row for row in self.rows if row["name"] == peer]
        return not last or last[-1]["seconds"] * points / last[-1]["points"] < self.options.patience

    def add(self, step, row):
        row |= {"series": self.name, "step": step}
        self.rows.append(row)
        with open(self.options.out / "rows.jsonl", "a") as file:
            file.write(json.dumps(row) + "\n")
        print(f"{self.name} {step:g}: {row['name']:<14} {row['points']:>11,} points "
              f"{row['seconds']:>9.3f} s", flush=True)

    def measure(self, step, points, arguments):
        binaries = self.options.build / "bin"
        peers = [peer for peer in self.options.peers if self.patient_with(peer, points)]
        arguments = [*arguments, "--peers", ",".join(peers)] if peers else [*arguments, "--no-peers"]
        with tempfile.TemporaryDirectory(prefix="orvix-series-") as folder:
            project = f"{folder}/building.prj"
            bench = [binaries / "bench_find_planes", "--json", "--keep", project, *arguments]
            with subprocess.Popen(bench, stdout=subprocess.PIPE, text=True) as process:
                for line in process.stdout:
                    self.add(step, json.loads(line))
            if process.returncode:
                sys.exit(f"series.py: {bench[0]} ended with {process.returncode}")
            seconds, peak = command(binaries / "orvix", "planes", project)
            self.add(step, {"name": "command", "who": "orvix planes, the command",
                            "points": self.rows[-1]["points"], "seconds": seconds, "peak": peak})


def slope(rows):
    """Of log seconds over log points, by least squares."""
    x = [math.log(row["points"]) for row in rows]
    y = [math.log(row["seconds"]) for row in rows]
    mx, my = sum(x) / len(x), sum(y) / len(y)
    return sum((a - mx) * (b - my) for a, b in zip(x, y)) / sum((a - mx) ** 2 for a in x)


def lines(rows, series):
    """The rows of a series by search, in the order of their first."""
    found = {}
    for row in rows:
        if row["series"] == series:
            found.setdefault(row["name"], []).append(row)
    return found


def table(head, body):
    return "".join(f"| {' | '.join(cells)} |\n" for cells in [head, ["---"] * len(head), *body])


def steps(rows, series):
    """Step -> search -> row."""
    found = {}
    for row in rows:
        if row["series"] == series:
            found.setdefault(row["step"], {})[row["name"]] = row
    return found


def tables(rows):
    who = {row["name"]: row["who"] for row in rows}
    peers = [name for name in PEERS if name in who]

    def ratio(at, name):
        return f"{at[name]['seconds'] / at['orvix']['seconds']:.0f}" if name in at else ""

    def marks(at, name):
        row = at.get(name)
        return f"{row['precision75']:.2f} / {row['recall75']:.2f}" if row else ""

    text = ""
    for series, first in (("size", lambda step, row: f"{row['points']:,}"),
                          ("density", lambda step, row: f"{step * 1000:g} mm, {row['points']:,}")):
        at = steps(rows, series)
        if not at:
            continue
        text += f"\n## By {series}: seconds, and how many times as long rivals take\n\n"
        head = ["points" if series == "size" else "spacing, points", "cells", "orvix planes",
                "million points/s", "command, peak memory", *(who[name] for name in peers)]
        text += table(head, [
            [first(step, row["orvix"]), f"{row['orvix']['cell']:g} m", f"{row['orvix']['seconds']:.3f} s",
             f"{row['orvix']['points'] / row['orvix']['seconds'] / 1e6:.1f}",
             f"{row['command']['seconds']:.2f} s, {row['command']['peak'] / 2**20:.0f} MiB",
             *(ratio(row, name) for name in peers)] for step, row in at.items()])
        text += "\nPrecision / recall of planes at an overlap of 75 %:\n\n"
        text += table([head[0], "orvix planes", *(who[name] for name in peers)],
                      [[first(step, row["orvix"]), *(marks(row, name) for name in ["orvix", *peers])]
                       for step, row in at.items()])
    text += "\nSlope of log seconds over log points, by size: "
    text += ", ".join(f"{who[name]} {slope(found):.2f}" for name, found in lines(rows, "size").items()
                      if len(found) > 1) + "\n"
    return text.lstrip()


def draw(rows, path):
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(figsize=(7.5, 5), layout="constrained")
    for name, found in lines(rows, "size").items():
        if name == "command":
            continue
        label = found[0]["who"] + (f", slope {slope(found):.2f}" if len(found) > 1 else "")
        axes.loglog([row["points"] for row in found], [row["seconds"] for row in found],
                    marker="o", markersize=4, linewidth=2.2 if name == "orvix" else 1.2, label=label)
    axes.set_xlabel(f"points (buildings scanned at {SPACING * 1000:g} mm)")
    axes.set_ylabel("seconds to find all planes")
    axes.grid(True, which="major", alpha=0.4)
    axes.grid(True, which="minor", alpha=0.12)
    axes.legend(frameon=False)
    figure.savefig(path, dpi=110)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, nargs="?", help="build folder, with the bench")
    parser.add_argument("out", type=pathlib.Path, help="folder of rows and tables")
    parser.add_argument("--draw", action="store_true", help="measure nothing")
    parser.add_argument("--no-plot", action="store_true")
    parser.add_argument("--plot", type=pathlib.Path, default=HOME / "docs" / "planes_seconds.png")
    parser.add_argument("--series", choices=["size", "density"], help="this one alone")
    parser.add_argument("--up-to", type=float, default=math.inf, metavar="POINTS", help="about")
    parser.add_argument("--peers", type=lambda text: text.split(","), default=PEERS, metavar="NAMES")
    parser.add_argument("--peers-up-to", type=float, default=15e6, metavar="POINTS")
    parser.add_argument("--patience", type=float, default=100, metavar="SECONDS")
    options = parser.parse_args()
    store = options.out / "rows.jsonl"
    rows = []
    if options.draw:
        rows = [json.loads(line) for line in open(store)]
    elif options.build is None:
        parser.error("name the build folder")
    else:
        options.out.mkdir(parents=True, exist_ok=True)
        store.unlink(missing_ok=True)
        if options.series != "density":
            series = Series(options, "size", rows)
            for points in SIZES:
                if points <= options.up_to:
                    series.measure(points, points, ["--points", str(points), "--spacing", str(SPACING)])
        if options.series != "size":
            series = Series(options, "density", rows)
            for spacing in SPACINGS:
                points = 1360 / spacing**2  # square metres of the building
                if points <= options.up_to:
                    series.measure(spacing, points, ["--rooms", str(ROOMS), "--spacing", str(spacing)])
    text = tables(rows)
    (options.out / "tables.md").write_text(text)
    print("\n" + text)
    if not options.no_plot:
        draw(rows, options.plot)


main()
