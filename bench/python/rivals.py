#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""rivals.py SCAN...: Question: what do loading, thinning and finding planes cost in Python, here and elsewhere?

    python3 -m venv rivals && rivals/bin/pip install dist/orvix-*.whl "laspy[lazrs]" pye57 open3d-cpu
    rivals/bin/python bench/python/rivals.py hall.laz plant.e57 --copies 12

Ceiling: laspy (LAS, LAZ) or pye57 (E57) to read, Open3D to thin to one point in 10 cm and to find
planes in what is left, by RANSAC ten times or as patches over normals. Orvix imports into a project on
the disk, thins the same way, and finds the planes of all points, not of the thinned ones.

Each way is a process of its own, so that its peak memory can be had; the best of three rounds counts.
Answers first: both read the same number of points, and both thinned clouds have as many as NumPy counts
voxels; a way whose answer is another one is named and not timed. Of the three largest planes of each way
the last column says how many Orvix finds too, within two degrees and 5 cm: RANSAC takes one plane through
many small things where there is clutter. --copies adds a scan of that many copies of the first one, side
by side. Needs those packages; nothing of the tests does.
"""
import argparse
import json
import pathlib
import resource
import subprocess
import sys
import tempfile
import time

import numpy as np

VOXEL = 0.1
RANSAC_PLANES = 10
DISTANCE = 0.05
ROUNDS = 3


# ---- One way, in a process of its own: its steps in seconds, its answer, its peak memory ----------

def read_xyz(scan):
    if scan.suffix == ".e57":
        import pye57
        found = pye57.E57(str(scan)).read_scan(0, ignore_missing_fields=True)
        return np.stack([found["cartesian" + axis] for axis in "XYZ"], axis=-1)
    import laspy
    return np.asarray(laspy.read(scan).xyz)


def open3d_way(scan, patches, clock):
    import open3d
    clock.start()
    xyz = read_xyz(scan)
    clock.lap("load")
    cloud = open3d.geometry.PointCloud(open3d.utility.Vector3dVector(xyz - xyz.min(axis=0)))
    thin = cloud.voxel_down_sample(VOXEL)
    clock.lap("voxel")
    planes = []
    if patches:
        thin.estimate_normals(open3d.geometry.KDTreeSearchParamKNN(30))
        found = thin.detect_planar_patches(search_param=open3d.geometry.KDTreeSearchParamKNN(30))
        for box in sorted(found, key=lambda box: -box.extent[0] * box.extent[1]):
            normal = np.asarray(box.R)[:, 2]
            planes.append([*normal, -normal @ box.center])
    else:
        open3d.utility.random.seed(1)
        rest = thin
        for _ in range(RANSAC_PLANES):
            equation, inside = rest.segment_plane(DISTANCE, 3, 1000)
            planes.append(list(equation))
            rest = rest.select_by_index(inside, invert=True)
    clock.lap("planes")
    corner = xyz.min(axis=0)
    low = (xyz - corner) - (np.zeros(3) - VOXEL / 2)
    return {"points": len(xyz), "voxels": len(thin.points), "wanted_voxels": voxels(low),
            "planes": [[*p[:3], p[3] - np.dot(p[:3], corner)] for p in planes]}


def orvix_way(scan, clock):
    import orvix
    with tempfile.TemporaryDirectory() as folder:
        project = pathlib.Path(folder) / "scan.prj"
        clock.start()
        orvix.import_scan(scan, project)
        clock.lap("load")  # the thinned cloud is made on the way
        with orvix.open(project) as opened:
            planes = opened.planes()
            clock.lap("planes")
            local = np.stack([opened.points[axis] for axis in "xyz"], axis=-1).astype(np.float64)
            return {"points": len(opened), "voxels": opened.info.skeleton_points,
                    "wanted_voxels": voxels(local), "planes": [p.equation.tolist() for p in planes]}


def voxels(places):
    keys = np.floor(places / VOXEL).astype(np.int64)
    keys -= keys.min(axis=0)
    size = keys.max(axis=0) + 1
    return len(np.unique((keys[:, 0] * size[1] + keys[:, 1]) * size[2] + keys[:, 2]))


class Clock:
    def __init__(self):
        self.laps = {}

    def start(self):
        self.last = time.perf_counter()

    def lap(self, name):
        now = time.perf_counter()
        self.laps[name] = now - self.last
        self.last = now
        # Before answers are computed, which takes memory of its own.
        own, children = (resource.getrusage(who).ru_maxrss
                         for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN))
        self.peak = max(own, children) / 1024


def run_way(way, scan):
    clock = Clock()
    answer = orvix_way(scan, clock) if way == "orvix" else open3d_way(scan, way == "patches", clock)
    print(json.dumps({**answer, "laps": clock.laps, "peak": clock.peak}))


# ---- The table ------------------------------------------------------------------------------------

def same_plane(a, b, middle):
    a, b = (np.array(each) / np.linalg.norm(each[:3]) for each in (a, b))
    if a[:3] @ b[:3] < 0:
        b = -b
    at = middle - (a[:3] @ middle + a[3]) * a[:3]  # the place on `a` nearest to the scan's middle
    reach = np.linalg.norm(at - middle)  # over which two degrees are as many metres, about
    return a[:3] @ b[:3] > np.cos(np.radians(2)) and abs(b[:3] @ at + b[3]) < 0.05 + 0.035 * reach


def fault_of(answer, xyz):
    if answer["points"] != len(xyz):
        return f"{answer['points']} points instead of {len(xyz)}"
    if abs(answer["voxels"] - answer["wanted_voxels"]) > 2e-4 * answer["wanted_voxels"]:
        return f"{answer['voxels']} voxels instead of {answer['wanted_voxels']}"
    return None


def agreeing(answer, orvix_planes, middle):
    return sum(any(same_plane(plane, ours, middle) for ours in orvix_planes)
               for plane in answer["planes"][:3])


def best_of(way, scan):
    best = None
    for _ in range(ROUNDS):
        done = subprocess.run([sys.executable, __file__, "--one", way, scan], check=True, text=True,
                              stdout=subprocess.PIPE)
        found = json.loads(done.stdout.splitlines()[-1])
        if best is None or sum(found["laps"].values()) < sum(best["laps"].values()):
            best = found
    return best


def compare(scan):
    xyz = read_xyz(scan)
    found = {way: best_of(way, scan) for way in ("orvix", "ransac", "patches")}
    reader = "pye57" if scan.suffix == ".e57" else "laspy"
    names = {"orvix": "Orvix", "ransac": f"{reader}, Open3D RANSAC", "patches": f"{reader}, Open3D patches"}
    for way, answer in found.items():
        fault = fault_of(answer, xyz)
        if fault:
            print(f"| {scan.name} | {len(xyz):,} | {names[way]} | {fault} |")
            continue
        laps, planes = answer["laps"], found["orvix"]["planes"]
        thinning = f"{laps['voxel']:.2f}" if "voxel" in laps else "with it"
        print(f"| {scan.name} | {len(xyz):,} | {names[way]} | {laps['load']:.2f} | {thinning} | "
              f"{laps['planes']:.2f} | {sum(laps.values()):.2f} | {answer['peak']:.0f} | "
              f"{len(answer['planes'])} | {agreeing(answer, planes, xyz.mean(axis=0))} of 3 |")


def copies_of(scan, number, folder):
    """A LAS file of copies of a scan side by side, a metre apart."""
    import laspy
    given = laspy.read(scan)
    header = laspy.LasHeader(point_format=0, version="1.2")
    header.scales, header.offsets = given.header.scales, given.header.offsets
    path = folder / f"{scan.stem}_x{number}.las"
    width = float(np.ptp(given.x)) + 1.0
    with laspy.open(path, "w", header=header) as out:
        for copy in range(number):
            record = laspy.ScaleAwarePointRecord.zeros(len(given.points), header=header)
            record.x, record.y, record.z = np.asarray(given.x) + copy * width, given.y, given.z
            out.write_points(record)
    return path


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("scans", nargs="+", type=pathlib.Path)
    parser.add_argument("--copies", type=int, default=0)
    parser.add_argument("--one")
    asked = parser.parse_args()
    if asked.one:
        run_way(asked.one, asked.scans[0])
        return
    print("| Scan | Points | Way | Load, s | Thin, s | Planes, s | All, s | Peak, MB | Planes | As Orvix |")
    print("|---|---|---|---|---|---|---|---|---|---|")
    for scan in asked.scans:
        compare(scan)
    if asked.copies:
        with tempfile.TemporaryDirectory() as folder:
            compare(copies_of(asked.scans[0], asked.copies, pathlib.Path(folder)))


if __name__ == "__main__":
    main()
