#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""iterate_points.py [POINTS]: Question: what does Python's look at every point cost over a compiled loop?

    scripts/wheel && pip install dist/orvix-*.whl && python3 bench/python/iterate_points.py 20000000

Ceiling: the same sums by a loop in C, compiled as the library is, on the same mapped points, in the
same run. Both read a project whose pages are in memory; each figure is the best of several rounds.
Needs NumPy, the package orvix and a C compiler.
"""
import ctypes
import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np

import orvix

BLOCK = 1 << 15  # 800 kB: stays in the cache between the passes over its fields
ROUNDS = 7
LOOP = """
#include <string.h>
void sums(const char* at, unsigned long long count, double* out) {
    double x = 0, y = 0, z = 0;
    for (unsigned long long i = 0; i < count; ++i) {
        float p[6];
        memcpy(p, at + i * 24, 24);
        x += p[0]; y += p[1]; z += p[2];
    }
    out[0] = x; out[1] = y; out[2] = z;
}
float highest(const char* at, unsigned long long count) {
    float z = -1e30f;
    for (unsigned long long i = 0; i < count; ++i) {
        float p[6];
        memcpy(p, at + i * 24, 24);
        z = p[2] > z ? p[2] : z;
    }
    return z;
}
"""


def compiled(folder):
    (folder / "loop.c").write_text(LOOP)
    subprocess.run(["cc", "-O3", "-shared", "-fPIC", "-o", folder / "loop.so", folder / "loop.c"],
                   check=True)
    library = ctypes.CDLL(str(folder / "loop.so"))
    library.highest.restype = ctypes.c_float
    return library


def make_project(folder, points):
    header = f"ply\nformat binary_little_endian 1.0\nelement vertex {len(points)}\n"
    header += "".join(f"property float {axis}\n" for axis in "xyz") + "end_header\n"
    (folder / "scan.ply").write_bytes(header.encode() + points.tobytes())
    orvix.import_scan(folder / "scan.ply", folder / "scan.prj")
    return orvix.open(folder / "scan.prj")


def best(function):
    seconds = []
    for _ in range(ROUNDS):
        began = time.perf_counter()
        function()
        seconds.append(time.perf_counter() - began)
    return min(seconds)


def highest(project):
    return max(float(block["z"].max()) for block in project.blocks(BLOCK))


def sums(project):
    total = np.zeros(3)
    for block in project.blocks(BLOCK):
        for axis, name in enumerate("xyz"):
            total[axis] += block[name].sum(dtype=np.float64)
    return total


def main(count):
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        loop = compiled(folder)
        points = np.random.default_rng(1).uniform(0, 300, (count, 3)).astype("<f4")
        with make_project(folder, points) as project:
            place = ctypes.c_void_p(project.points.ctypes.data)
            number = ctypes.c_ulonglong(count)
            wanted = np.empty(3)
            out = wanted.ctypes.data_as(ctypes.c_void_p)
            loop.sums(place, number, out)
            assert np.allclose(sums(project), wanted, rtol=1e-9), "sums differ"
            assert highest(project) == loop.highest(place, number), "heights differ"
            total = 24 * count
            for what, ours, theirs in (
                    ("largest z", lambda: highest(project), lambda: loop.highest(place, number)),
                    ("sums of x, y, z", lambda: sums(project), lambda: loop.sums(place, number, out))):
                python, c = best(ours), best(theirs)
                print(f"{what:16} Python {total / python / 1e9:6.2f} GB/s, C {total / c / 1e9:6.2f} GB/s, "
                      f"ratio {c / python:.2f}")


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 10_000_000)
