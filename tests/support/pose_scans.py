#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""pose_scans.py STATIONS.csv OUT_FOLDER

Gives scans the poses of a table (file, station, frame, qw..qz, tx..tz), for trying multi-station
imports on real scans: a PCD file gets them as its VIEWPOINT, a binary PLY file of floats becomes a
PTX file of one block. Scans lie beside the table; those of other formats are passed over.
"""
import csv
import pathlib
import struct
import sys


def pose_pcd(source, target, q, t):
    head, body = source.read_bytes().split(b"\nDATA ", 1)
    lines = [line for line in head.split(b"\n") if not line.startswith(b"VIEWPOINT")]
    lines.append(("VIEWPOINT " + " ".join(map(str, t + q))).encode())
    target.with_suffix(".pcd").write_bytes(b"\n".join(lines) + b"\nDATA " + body)


def pose_ply(source, target, q, t):
    head, body = source.read_bytes().split(b"end_header\n", 1)
    words = [line.split() for line in head.decode().split("\n")]
    names = [w[2] for w in words if w[:1] == ["property"]]
    if any(w[1] != "float" for w in words if w[:1] == ["property"]):
        return
    count = next(int(w[2]) for w in words if w[:2] == ["element", "vertex"])
    intensity = next((i for i, n in enumerate(names) if "intensity" in n), None)
    w, x, y, z = q
    rotation = [[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
                [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
                [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)]]
    axes = [[rotation[row][axis] for row in range(3)] for axis in range(3)]
    rows = [[count], [1], t] + axes + [axis + [0.0] for axis in axes] + [t + [1.0]]
    with open(target.with_suffix(".ptx"), "w") as out:
        for row in rows:
            out.write(" ".join(map(repr, row)) + "\n")
        for point in struct.iter_unpack(f"<{len(names)}f", body[:count * 4 * len(names)]):
            value = point[intensity] if intensity is not None else 0.5
            out.write("%.6g %.6g %.6g %g\n" % (*point[:3], value))


def main():
    table, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    out.mkdir(parents=True, exist_ok=True)
    for row in csv.DictReader(table.open()):
        source = table.parent / row["file"]
        q = [float(row[k]) for k in ("qw", "qx", "qy", "qz")]
        t = [float(row[k]) for k in ("tx", "ty", "tz")]
        pose = {".pcd": pose_pcd, ".ply": pose_ply}.get(source.suffix)
        if pose and source.exists():
            pose(source, out / source.stem, q, t)


main()
