#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How faithfully are planes found where a truth is known, and how do rivals do on the same points?

    bench/planes/truths.py build/release out/truths            # measures, an hour on 2 cores
    bench/planes/truths.py build/release out/truths --no-peers # two minutes
    bench/planes/truths.py --draw out/truths                   # tables again, from the rows

Runs of bench_find_planes for each scan and rival, row by row to OUT/rows.jsonl, tables to OUT/tables.md:

    marked planes     real scans under --scans DIR (../shared/data beside the checkout where left out)
    synthetic         a building, and the furnished room at noises of 0 to 20 mm
    simulated, real   houses, a room and two roofs under --truths DIR (../shared/truth): folders of
                      scan.ptx.xz and truth.json (faces; a point's colour is its face), roofs/*.txt
                      (x y z and the plane, counted from 0), room/room_100.pcd (intensity = plane, 3 = none)

What is absent is left out, with a sentence. Houses and the room are judged by piece: what was seen of a
face in one piece. Rivals get half, the whole and twice the distance of `orvix planes`; the best of those
that end within --patience counts. On houses CGAL's region growing alone is asked. The disk needs 1 GB
under TMPDIR.
"""
import argparse
import json
import lzma
import pathlib
import shutil
import subprocess
import sys
import tempfile

HOME = pathlib.Path(__file__).resolve().parents[2]
MARKED = {"lobby": ("indoor_lobby.las", "indoor_lobby.txt", ["--up", "y"]),
          "facades": ("building_tls_100k.ply", "building_facades.txt", []),
          "Delft roofs": ("delft_ahn3.las", "delft_roofs.txt", [])}
NOISES = [0, 0.002, 0.005, 0.01, 0.02]  # of the room, metres
PEER_NOISES = [0.002, 0.01]  # of those at which rivals are asked
ROOM_STEP = 0.4  # degrees: a million points, for the rivals' sake
HOUSES = ["fzk", "duplex"]
ROOFS = ["22523", "42902"]
ROOM_NONE = 3  # the plane's number of points on none
PEERS = ["cgal-growing", "cgal-ransac"]
TOLERANCES = ["1", "0.5", "2"]  # times the distance of our search
AREAS = ["< 0.25", "0.25 to 1", "1 to 4", ">= 4"]
WIDTHS = ["< 0.15", "0.15 to 0.3", "0.3 to 0.6", ">= 0.6"]


def colour(plane):
    """Of a plane counted from 1; 0: none."""
    return f"{plane >> 16} {plane >> 8 & 255} {plane & 255}"


def write_ply(path, points):
    """points: (x, y, z as texts, plane counted from 1)."""
    with open(path, "w") as file:
        file.write(f"ply\nformat ascii 1.0\nelement vertex {len(points)}\n")
        file.write("".join(f"property double {axis}\n" for axis in "xyz"))
        file.write("".join(f"property uchar {name}\n" for name in ("red", "green", "blue")))
        file.write("end_header\n")
        for x, y, z, plane in points:
            file.write(f"{x} {y} {z} {colour(plane)}\n")


def roof_points(path):
    rows = [line.split() for line in open(path) if line.strip()]
    return [(x, y, z, int(float(plane)) + 1) for x, y, z, plane in rows]


def room_points(path):
    lines = open(path, encoding="latin1").read().split("DATA ascii\n")[1].splitlines()
    rows = [line.split() for line in lines if line.strip()]
    planes = [int(float(row[3])) for row in rows]
    return [(*row[:3], 0 if plane == ROOM_NONE else plane) for row, plane in zip(rows, planes)]


class Run:
    def __init__(self, options):
        self.options, self.rows = options, []
        self.binaries = options.build / "bin"

    def wanted(self, scan, *files):
        if self.options.only and scan not in self.options.only:
            return False
        missing = [file for file in files if not file.exists()]
        if missing:
            print(f"{scan}: left out, {missing[0]} is not there", flush=True)
        return not missing

    def project_of(self, scan, folder, options=()):
        project = folder / "scan.prj"
        subprocess.run([self.binaries / "orvix", "import", scan, project, "--overwrite", *options],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return ["--project", project]

    def bench(self, arguments, timeout=None):
        """The rows that a bench prints; none where it takes longer."""
        command = [self.binaries / "bench_find_planes", "--json", *self.options.search, *arguments]
        try:
            done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  timeout=timeout)
        except subprocess.TimeoutExpired:
            return []
        if done.returncode:
            sys.exit(f"truths.py: {' '.join(map(str, command))} ended with {done.returncode}")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def measure(self, scan, kind, arguments, peers=PEERS):
        ours = self.bench(["--no-peers", *arguments])[0]
        self.add(scan, kind, ours)
        for peer in peers:
            if peer not in self.options.peers:
                continue
            rows = []
            for tolerance in TOLERANCES:
                found = self.bench(["--repeats", "1", "--peers", peer, "--tolerances", tolerance,
                                    *arguments], self.options.patience)[1:]
                if not found:
                    print(f"{scan}: {peer} at {tolerance} times the distance is left out, or took "
                          f"longer than {self.options.patience:g} s", flush=True)
                rows += found
            if rows:
                best = max(rows, key=merit)
                self.add(scan, kind, best | {"ratio": best["seconds"] / ours["seconds"]})

    def add(self, scan, kind, row):
        row |= {"scan": scan, "kind": kind}
        self.rows.append(row)
        with open(self.options.out / "rows.jsonl", "a") as file:
            file.write(json.dumps(row) + "\n")
        print(f"{scan}: {row['who']:<22} {row['seconds']:>9.3f} s, {marks(row, '50')} at 50 %",
              flush=True)

    def marked(self, folder):
        for scan, (points, truth, options) in MARKED.items():
            points, truth = self.options.scans / points, HOME / "bench/planes/truth" / truth
            if self.wanted(scan, points):
                self.measure(scan, "marked",
                             [*self.project_of(points, folder, options), "--truth", truth])

    def synthetic(self):
        if self.wanted("building"):
            self.measure("building", "synthetic", ["--points", "1100000", "--spacing", "0.02"])
        for noise in NOISES:
            scan = f"room, {noise * 1000:g} mm"
            if self.wanted(scan):
                self.measure(scan, "synthetic",
                             ["room", "--step", str(ROOM_STEP), "--noise", str(noise)],
                             PEERS if noise in PEER_NOISES else [])

    def pointwise(self, folder):
        for scan, file, read in [(f"roof {name}", f"roofs/{name}.txt", roof_points) for name in ROOFS] + [
                ("simulated room", "room/room_100.pcd", room_points)]:
            if self.wanted(scan, self.options.truths / file):
                write_ply(folder / "scan.ply", read(self.options.truths / file))
                self.measure(scan, "pointwise",
                             [*self.project_of(folder / "scan.ply", folder), "--coloured"])

    def houses(self, folder):
        for name in HOUSES:
            scan, truth = (self.options.truths / name / file for file in ("scan.ptx.xz", "truth.json"))
            if not self.wanted(name, scan, truth):
                continue
            with lzma.open(scan) as packed, open(folder / "scan.ptx", "wb") as plain:
                shutil.copyfileobj(packed, plain, 1 << 20)
            arguments = [*self.project_of(folder / "scan.ptx", folder), "--house", truth]
            (folder / "scan.ptx").unlink()
            self.measure(name, "house", arguments, ["cgal-growing"])


def merit(row):
    """How good a search is where one has to be chosen: the harmonic mean of precision and recall."""
    precision, recall = row["precision50"], row["recall50"]
    return 2 * precision * recall / (precision + recall) if precision + recall else 0


def marks(row, bar):
    return f"{row['precision' + bar]:.2f} / {row['recall' + bar]:.2f}"


def table(head, body):
    return "".join(f"| {' | '.join(cells)} |\n" for cells in [head, ["---"] * len(head), *body])


def who(row):
    times = "" if row["name"] == "orvix" else f", {row['tolerance']:g} x distance"
    return row["who"] + times


def seconds(row):
    slower = "" if row["name"] == "orvix" else f" ({row['ratio']:.0f} times)"
    return f"{row['seconds']:.3g}{slower}"


def first(rows, i):
    """The scan's name beside the first of its rows alone."""
    return "" if i and rows[i - 1]["scan"] == rows[i]["scan"] else rows[i]["scan"]


def classes(counts):
    return [f"{at50}, {at75} of {known}" if known else "" for at50, at75, known in counts]


def tables(rows):
    text = "## All scans\n\n"
    text += table(
        ["scan", "points", "true planes", "search", "seconds", "found", "P50 / R50", "P75 / R75",
         "split, joined", "normals, offsets off by"],
        [[first(rows, i), f"{row['points']:,}" if first(rows, i) else "",
          str(row["known"]) if first(rows, i) else "", who(row), seconds(row), str(row["found"]),
          marks(row, "50"), marks(row, "75"), f"{row['split']}, {row['joined']}",
          f"{row['normal_degrees']:.2f} degrees, {row['offset_millimetres']:.1f} mm"]
         for i, row in enumerate(rows)])
    pieces = [row for row in rows if "by_area" in row]
    if not pieces:
        return text
    for key, title, limits in (("by_area", "area seen, m2", AREAS),
                               ("by_width", "width of those of 0.25 m2 and more, m", WIDTHS)):
        text += f"\n## Pieces by {title}: found at 50 %, at 75 %, of all\n\n"
        text += table(["scan", "search", *limits],
                      [[first(pieces, i), who(row), *classes(row[key])]
                       for i, row in enumerate(pieces)])
    return text


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, nargs="?", help="build folder, with the bench")
    parser.add_argument("out", type=pathlib.Path, help="folder of rows and tables")
    parser.add_argument("--draw", action="store_true", help="measure nothing")
    parser.add_argument("--scans", type=pathlib.Path, default=HOME.parent / "shared" / "data")
    parser.add_argument("--truths", type=pathlib.Path, default=HOME.parent / "shared" / "truth")
    parser.add_argument("--only", action="append", metavar="SCAN", help="may be given again")
    parser.add_argument("--search", type=str.split, default=[], metavar="OPTIONS",
                        help='more options of bench_find_planes, such as "--detail fine"')
    parser.add_argument("--peers", type=lambda text: text.split(","), default=PEERS, metavar="NAMES")
    parser.add_argument("--patience", type=float, default=300, metavar="SECONDS",
                        help="that a rival gets with one distance")
    parser.add_argument("--no-peers", dest="peers", action="store_const", const=[])
    options = parser.parse_args()
    store = options.out / "rows.jsonl"
    if options.draw:
        rows = [json.loads(line) for line in open(store)]
    elif options.build is None:
        parser.error("name the build folder")
    else:
        options.out.mkdir(parents=True, exist_ok=True)
        store.unlink(missing_ok=True)
        run = Run(options)
        with tempfile.TemporaryDirectory(prefix="orvix-truths-") as folder:
            run.marked(pathlib.Path(folder))
            run.synthetic()
            run.pointwise(pathlib.Path(folder))
            run.houses(pathlib.Path(folder))
        rows = run.rows
    text = tables(rows)
    (options.out / "tables.md").write_text(text)
    print("\n" + text)


main()
