#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How do seconds and memory of `orvix model` grow with the scan, and do threads change a byte?

    bench/model/series.py build/release out/model                     # 1 to 14 houses, 7 to 96 M points
    bench/model/series.py build/release out/model --copies 1 2        # ten minutes less
    bench/model/series.py build/release out/model --projects a.prj b.prj

A street of houses: one scanned house of --truths DIR (../shared/truth beside the checkout), copied along
x with its stations, imported and modelled at 1, 2 and 4 threads from the points on: the search for planes
is part of each row. Rows go to OUT/rows.jsonl, the table to OUT/tables.md. `same` says whether all
threads wrote the same bytes of IFC and JSON; where they did not, the script ends with 1. The disk needs
70 bytes a point under TMPDIR.
"""
import argparse
import hashlib
import json
import pathlib
import subprocess
import sys
import tempfile

from measured import TRUTHS, command, table, unpack

THREADS = [1, 2, 4]
STEP = 60.0  # metres from one house to the next
HEADER = 10  # lines of a PTX scan before its points: columns, rows, four of the scanner, four of its pose


def moved(header, x):
    """The lines of a scan's header, its scanner and pose moved along x."""
    def line(text, shift):
        first, *rest = text.split()
        return " ".join([repr(float(first) + shift), *rest]) + "\n"
    return [*header[:2], line(header[2], x), *header[3:9], line(header[9], x)]


def write_street(scan, copies, target):
    """A PTX with so many houses."""
    with open(target, "w") as street:
        for copy in range(copies):
            with open(scan) as house:
                while header := [line for line in (house.readline() for _ in range(HEADER)) if line]:
                    street.writelines(moved(header, copy * STEP))
                    for _ in range(int(header[0]) * int(header[1])):
                        street.write(house.readline())


def street_of(options, copies, folder):
    scan, street, project = folder / "house.ptx", folder / "street.ptx", folder / "street.prj"
    if not scan.exists():
        unpack(options.truths / options.house / "scan.ptx.xz", scan)
    write_street(scan, copies, street)
    subprocess.run([options.build / "bin/orvix", "import", street, project, "--overwrite"], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    street.unlink()
    return project


def measure(options, name, project):
    orvix = options.build / "bin/orvix"
    info = json.loads(subprocess.run([orvix, "info", project, "--json"], check=True,
                                     stdout=subprocess.PIPE).stdout)
    row, sums = {"name": name, "points": info["points"]}, set()
    with tempfile.TemporaryDirectory(prefix="orvix-model-") as folder:
        for threads in THREADS:
            files = [pathlib.Path(folder) / f"house.{ending}" for ending in ("json", "ifc")]
            seconds, peak = command(orvix, "model", project, *files, "--threads",
                                    str(threads), *options.model)
            row[f"seconds{threads}"], row[f"peak{threads}"] = seconds, peak
            sums.add(hashlib.sha256(b"".join(file.read_bytes() for file in files)).hexdigest())
        model = json.loads(files[0].read_text())
    row |= {"same": len(sums) == 1, "walls": len(model["walls"]), "rooms": len(model["rooms"]),
            "openings": len(model["openings"])}
    with open(options.out / "rows.jsonl", "a") as file:
        file.write(json.dumps(row) + "\n")
    print(row, flush=True)
    return row


def tables(rows):
    return table(["scan", "points", *(f"{threads} thread{'s' * (threads > 1)}" for threads in THREADS),
                  "peak memory", "walls, rooms, openings", "same bytes"],
                 [[row["name"], f"{row['points']:,}",
                   *(f"{row[f'seconds{threads}']:.2f} s" for threads in THREADS),
                   f"{max(row[f'peak{threads}'] for threads in THREADS) / 2**20:.0f} MiB",
                   f"{row['walls']}, {row['rooms']}, {row['openings']}", "yes" if row["same"] else "NO"]
                  for row in rows])


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="build folder, with the command")
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--truths", type=pathlib.Path, default=TRUTHS, metavar="DIR")
    parser.add_argument("--house", default="fzk", help="folder with scan.ptx.xz")
    parser.add_argument("--copies", type=int, nargs="+", default=[1, 2, 4, 8, 14])
    parser.add_argument("--projects", type=pathlib.Path, nargs="+", default=[], help="these alone")
    parser.add_argument("--model", type=str.split, default=[], metavar="OPTIONS")
    options = parser.parse_args()
    options.out.mkdir(parents=True, exist_ok=True)
    (options.out / "rows.jsonl").unlink(missing_ok=True)
    rows = [measure(options, project.stem, project) for project in options.projects]
    if not options.projects:
        with tempfile.TemporaryDirectory(prefix="orvix-street-") as folder:
            for copies in options.copies:
                name = f"{copies} house{'s' * (copies > 1)}"
                rows.append(measure(options, name, street_of(options, copies, pathlib.Path(folder))))
    (options.out / "tables.md").write_text(tables(rows))
    print("\n" + tables(rows))
    return 0 if all(row["same"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
