#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How do seconds and memory of an import, a walk and a search for planes grow with the points?

    bench/scale/growth.py build/release out/growth                     # 1 to 100 million points, some minutes
    bench/scale/growth.py build/release out/growth --millions 1,3,10
    bench/scale/growth.py --draw build/release out/growth --picture growth.png      # from the rows, once more

Scans are those of slopes.py: rooms scanned at 20 mm, points in random order. Each work is a process of its own
on every core, with its defaults; seconds are those of the clock and, beside them, of the processors; memory is the
most that was resident. The
slope is fitted to the logarithms of all sizes: 1 means that a point costs what it did before. A walk that reads
other points than the import wrote ends it. Rows go to OUT/rows.jsonl, the picture wants Debian's
python3-matplotlib. --keep-scans leaves the scans in OUT, and scans that are there are used: 20 bytes a
point, beside the 76 bytes a point that an import takes for a while.
"""
import argparse
import json
import math
import pathlib
import shutil
import subprocess
import sys
import time

import slopes

WORK = ("import", "walk", "planes")
LAS_HEADER, LAS_POINT = 227, 20


def scan_of(out, count):
    """A scan of so many points, made if it is not there, in a process of its own."""
    scan = out / f"{count}.las"
    if not scan.exists() or scan.stat().st_size != LAS_HEADER + LAS_POINT * count:
        subprocess.run([sys.executable, slopes.__file__, "--write", str(scan), str(count)], check=True)
    return scan


def timed(command, *words):
    start = time.monotonic()
    result, processor, memory = slopes.run(command, *words)
    return result, {"seconds": time.monotonic() - start, "processor": processor, "memory": memory}


def measure(command, out, count, keep_scan):
    scan, folder = scan_of(out, count), out / "project"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    project, row = folder / "site.prj", {"points": count}
    done, row["import"] = timed(command, "import", scan, project)
    if not keep_scan:
        scan.unlink()
    walked, row["walk"] = timed(command, "walk", project)
    _, row["planes"] = timed(command, "planes", project)
    if done["written"] != count or walked["checksum"] != done["checksum"]:
        raise SystemExit("the walk read other points than the import wrote")
    shutil.rmtree(folder)
    return row


def slope(rows, work, what):
    """Of the logarithms, by least squares; without two sizes there is none."""
    x = [math.log(row["points"]) for row in rows]
    y = [math.log(row[work][what]) for row in rows]
    mx, my = sum(x) / len(x), sum(y) / len(y)
    spread = sum((a - mx) ** 2 for a in x)
    return sum((a - mx) * (b - my) for a, b in zip(x, y)) / spread if spread else math.nan


def figures(rows):
    """As benches print them, a line each; `row` and `column` place them in a table."""
    for work in WORK:
        for what, unit, scale in (("seconds", "s", 1), ("processor", "s", 1), ("memory", "MB", 1e-6)):
            column = f"{work}, {unit}" if what != "processor" else f"{work}, processor {unit}"
            for row in rows:
                size = f"{row['points'] / 1e6:g} million points"
                yield {"what": f"{work} of {size}: {what}", "value": row[work][what] * scale, "unit": unit,
                       "row": size, "column": column}
            if len(rows) > 1:
                yield {"what": f"{work}: slope of {what}", "value": slope(rows, work, what), "unit": "",
                       "row": "slope", "column": column}


def draw(rows, path):
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import pyplot, ticker
    figure, sides = pyplot.subplots(1, 2, figsize=(9.5, 4.2), layout="constrained")
    for axes, what, unit, scale in zip(sides, ("seconds", "memory"), ("seconds", "MB resident at most"),
                                       (1, 1e-6)):
        for work, mark in zip(WORK, "osD"):
            label = f"{work}, slope {slope(rows, work, what):.2f}" if len(rows) > 1 else work
            axes.loglog([row["points"] for row in rows], [row[work][what] * scale for row in rows],
                        marker=mark, markersize=4, linewidth=1.6, label=label)
        axes.set_xlabel("points")
        axes.set_ylabel(unit)
        axes.xaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value / 1e6:g} M"))
        axes.yaxis.set_major_locator(ticker.LogLocator(subs=(1, 2, 5)))
        axes.yaxis.set_minor_formatter(ticker.NullFormatter())
        axes.yaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value:g}"))
        axes.grid(True, which="major", alpha=0.4)
        axes.grid(True, which="minor", alpha=0.12)
        axes.legend(frameon=False)
    figure.savefig(path, dpi=110)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="build folder, with the command")
    parser.add_argument("out", type=pathlib.Path, help="folder of rows, and of scans for a while")
    parser.add_argument("--millions", default="1,3,10,30,100")
    parser.add_argument("--picture", type=pathlib.Path, metavar="FILE")
    parser.add_argument("--draw", action="store_true", help="measure nothing")
    parser.add_argument("--keep-scans", action="store_true")
    asked = parser.parse_args()
    out = asked.out.resolve()
    out.mkdir(parents=True, exist_ok=True)
    store = out / "rows.jsonl"
    if asked.draw:
        rows = [json.loads(line) for line in open(store)]
    else:
        counts = [int(float(text) * 1e6) for text in asked.millions.split(",")]
        command = asked.build.resolve() / "bin" / "orvix"
        rows = [measure(command, out, count, asked.keep_scans) for count in counts]
        store.write_text("".join(json.dumps(row) + "\n" for row in rows))
    for each in figures(rows):
        print(json.dumps(each))
    if asked.picture:
        draw(rows, asked.picture)


if __name__ == "__main__":
    main()
