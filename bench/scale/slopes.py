#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""slopes.py BUILD OUT [--millions 1,3,10,30,100]: what a point costs, as scans grow.

Question: how do time, memory and disk of an import, a walk, a search, and a search in tasks grow with the
          points? docs/SCALE.md goes on from here to sites that no machine here holds.
Ceiling:  none; the slope of log cost over log points is: 1 means that a point costs what it did before.

Writes scans of 1 to 100 million points (rooms of 8 by 6 by 3 m scanned at 20 mm with 2 mm of noise, in random
order, the worst for an import), works on each with one thread, and prints a table and the slopes. Processor seconds
(user and system) count, so that others at work on the machine disturb little. Needs NumPy, and 8 GB in OUT.
"""
import argparse
import json
import math
import os
import pathlib
import resource
import shutil
import struct
import subprocess
import sys
import threading
import time

ROOM = (8.0, 6.0, 3.0)
GAP = 0.3
DENSITY = 2500  # points a square metre
BLOCK = 1_000_000


# NumPy is loaded where scans are written, in a process of its own: a command that is started counts the
# memory of who started it as its own.


def faces(np):
    """Floor, ceiling and walls: origin, and two sides."""
    x, y, z = np.diag(ROOM)
    return [(0 * x, x, y), (z, x, y), (0 * x, x, z), (y, x, z), (0 * x, y, z), (x, y, z)]


def points_of(np, count, rooms, rng):
    parts = faces(np)
    areas = np.array([np.linalg.norm(np.cross(u, v)) for _, u, v in parts])
    which = rng.choice(len(parts), count, p=areas / areas.sum())
    origin, u, v = (np.array([part[i] for part in parts])[which] for i in range(3))
    places = origin + u * rng.random((count, 1)) + v * rng.random((count, 1))
    places += rng.normal(0, 0.002, (count, 3))
    room = rng.integers(0, rooms, count)
    side = math.ceil(math.sqrt(rooms))
    places[:, 0] += (room % side) * (ROOM[0] + GAP)
    places[:, 1] += (room // side) * (ROOM[1] + GAP)
    return places


def write_las(path, count):
    """LAS 1.2, point format 0, millimetres."""
    import numpy as np
    area = 2 * (ROOM[0] * ROOM[1] + ROOM[0] * ROOM[2] + ROOM[1] * ROOM[2])
    rooms = max(1, round(count / DENSITY / area))
    side = math.ceil(math.sqrt(rooms))
    head = bytearray(227)
    head[0:4] = b"LASF"
    struct.pack_into("<BB", head, 24, 1, 2)
    struct.pack_into("<HII", head, 94, 227, 227, 0)
    struct.pack_into("<BHI5I", head, 104, 0, 20, count, count, 0, 0, 0, 0)
    struct.pack_into("<3d3d", head, 131, 1e-3, 1e-3, 1e-3, 0, 0, 0)
    struct.pack_into("<6d", head, 179, side * 9, -1, side * 7, -1, 4, -1)
    rng = np.random.default_rng(7)
    record = np.dtype([("x", "<i4", 3), ("rest", "u1", 8)])
    with open(path, "wb") as file:
        file.write(head)
        for first in range(0, count, BLOCK):
            block = np.zeros(min(BLOCK, count - first), record)
            block["x"] = np.rint(points_of(np, len(block), rooms, rng) * 1000)
            file.write(block.tobytes())


def size_of(folder):
    total = 0
    for path, _, names in os.walk(folder):
        for name in names:
            try:
                total += os.lstat(os.path.join(path, name)).st_blocks * 512
            except OSError:
                pass  # gone meanwhile
    return total


class Watch:
    """The largest size of a folder while something is at work in it."""

    def __init__(self, folder):
        self.most, self._folder, self._end = 0, folder, threading.Event()
        self._thread = threading.Thread(target=self._look)

    def _look(self):
        while not self._end.wait(0.2):
            self.most = max(self.most, size_of(self._folder))

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._end.set()
        self._thread.join()


def run(command, *words):
    """Its result, processor seconds and largest memory."""
    process = subprocess.Popen([command, *map(str, words), "--json"], stdout=subprocess.PIPE)
    text = process.stdout.read()
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise SystemExit(f"{words}: {text.decode()}")
    return json.loads(text), used.ru_utime + used.ru_stime, used.ru_maxrss * 1024


def measure(command, out, millions):
    count = int(millions * 1e6)
    folder = out / f"{millions:g}"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    scan, project = folder / "site.las", folder / "site.prj"
    subprocess.run([sys.executable, __file__, "--write", str(scan), str(count)], check=True)
    row = {"points": count, "scan": scan.stat().st_size}
    with Watch(folder) as watch:
        done, row["import_s"], row["import_memory"] = run(command, "import", "--threads=1", scan, project)
    if done["written"] != count:
        raise SystemExit(f"{done['written']} points of {count} were imported")
    row["import_disk"] = max(watch.most, size_of(folder)) - row["scan"]
    row["project"] = size_of(folder) - row["scan"]
    scan.unlink()
    walked, row["walk_s"], row["walk_memory"] = run(command, "walk", project)
    if walked["checksum"] != done["checksum"]:
        raise SystemExit("the walk read other points than the import wrote")
    one, row["planes_s"], row["planes_memory"] = run(command, "planes", "--threads=1", project)
    state, seconds, _ = run(command, "planes-tasks", "begin", "--pieces=16", project)
    row["task_memory"], row["join_s"], row["join_memory"] = 0, 0, 0
    while state["ready"]:
        for name in state["ready"]:
            _, its, memory = run(command, "planes-tasks", "run", "--threads=1", project, name)
            seconds += its
            if name == "join":
                row["join_s"], row["join_memory"] = its, memory
            else:
                row["task_memory"] = max(row["task_memory"], memory)
        state, _, _ = run(command, "planes-tasks", "list", project)
    row["tasks_disk"] = size_of(folder) - row["project"]
    many, row["last_s"], row["last_memory"] = run(command, "planes", "--tasks", "--threads=1", project)
    row["tasks_s"] = seconds + row["last_s"]
    row["planes"], row["cells"] = len(one["planes"]), one["cells"]
    for each in (one, many):
        del each["seconds"]
    if one != many:
        raise SystemExit("the tasks found other planes than one search")
    shutil.rmtree(folder)
    return row


def main():
    if sys.argv[1:2] == ["--write"]:
        return write_las(sys.argv[2], int(sys.argv[3]))
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--millions", default="1,3,10,30,100")
    asked = parser.parse_args()
    command = asked.build.resolve() / "bin" / "orvix"
    rows = []
    for millions in map(float, asked.millions.split(",")):
        start = time.monotonic()
        rows.append(measure(command, asked.out.resolve(), millions))
        print(f"{millions:g} million points: {time.monotonic() - start:.0f} s", flush=True)
        print(json.dumps(rows[-1]), flush=True)
    keys = [key for key in rows[0] if key != "points"]
    print("| |" + "".join(f" {row['points'] / 1e6:g} M |" for row in rows) + " slope |")
    print("|---|" + "---|" * (len(rows) + 1))
    for key in keys:
        values = [row[key] for row in rows]
        shown = [f"{value / row['points'] * 1e6:.3f} us" if key.endswith("_s") else f"{value:,}"
                 for value, row in zip(values, rows)]
        slope = math.log(values[-1] / values[0]) / math.log(rows[-1]["points"] / rows[0]["points"])
        print(f"| {key} |" + "".join(f" {text} |" for text in shown) + f" {slope:.2f} |")


if __name__ == "__main__":
    main()
