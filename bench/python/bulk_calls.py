#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""bulk_calls.py [POINTS]: Question: what do many small calls from Python cost over one for all?

    scripts/wheel && pip install dist/orvix-*.whl && python3 bench/python/bulk_calls.py 1000000

Ceiling: of searches the bulk call, whose results must be those of single calls, to the order; of
positions in the world a plain loop in C on the same mapped points. The points lie at random on
the walls of a hall and are searched in the order of the project. Needs NumPy, the package orvix and a C compiler.
"""
import ctypes
import pathlib
import subprocess
import sys
import tempfile

import numpy as np

import orvix
from iterate_points import best, make_project

SINGLE = 50_000  # calls that stand for all
LOOP = """
#include <string.h>
void world(const double* m, const char* at, unsigned long long count, double* restrict out) {
    for (unsigned long long i = 0; i < count; ++i) {
        float p[3];
        memcpy(p, at + i * 24, 12);
        for (int r = 0; r < 3; ++r)
            out[3 * i + r] = m[4 * r] * p[0] + m[4 * r + 1] * p[1] + m[4 * r + 2] * p[2] + m[4 * r + 3];
    }
}
"""


def walls(count):
    """Points on the faces of a box of 40 x 20 x 5 m."""
    draw, size = np.random.default_rng(2), np.array((40, 20, 5))
    points = draw.uniform(0, 1, (count, 3)) * size
    face = draw.integers(0, 3, count)
    points[np.arange(count), face] = np.round(draw.uniform(0, 1, count)) * size[face]
    return points.astype("<f4")


def neighbours(points):
    around = orvix.Neighbours(points)
    places = np.stack([points[axis] for axis in "xyz"], axis=-1).astype(float)
    few = places[:SINGLE]
    for radius in (0.04, 0.1):
        rows, ends = around.within_many(few, radius)
        singles = [around.within(place, radius) for place in few]
        assert (np.concatenate(singles) == rows).all(), "lists differ"
        assert ends.tolist() == np.cumsum([len(some) for some in singles]).tolist(), "counts differ"
        one = best(lambda: [around.within(place, radius) for place in few]) / len(few)
        many = best(lambda: around.within_many(places, radius)) / len(places)
        print(f"within {radius} m, {len(rows) / len(few):5.1f} found: single calls {one * 1e6:5.2f} us each, "
              f"one call {many * 1e6:5.2f} us, ratio {one / many:.1f}")
    assert around.nearest_many(few).tolist() == [around.nearest(place) for place in few]
    one = best(lambda: [around.nearest(place) for place in few]) / len(few)
    many = best(lambda: around.nearest_many(places)) / len(places)
    print(f"nearest: single calls {one * 1e6:5.2f} us each, one call {many * 1e6:5.2f} us, "
          f"ratio {one / many:.1f}")


def world(folder, project):
    (folder / "loop.c").write_text(LOOP)
    subprocess.run(["cc", "-O3", "-ffp-contract=off", "-shared", "-fPIC", "-o", folder / "loop.so",
                    folder / "loop.c"], check=True)
    loop = ctypes.CDLL(str(folder / "loop.so")).world
    points, matrix, count = project.points, project.info.local_to_world, len(project)
    out = np.empty((count, 3))

    def plain():
        loop(ctypes.c_void_p(matrix.ctypes.data), ctypes.c_void_p(points.ctypes.data),
             ctypes.c_ulonglong(count), ctypes.c_void_p(out.ctypes.data))

    def numpy():
        axes = [points[axis].astype(np.float64) for axis in "xyz"]
        return np.stack([sum(matrix[row, k] * axes[k] for k in range(3)) + matrix[row, 3]
                         for row in range(3)], axis=-1)

    plain()
    assert (project.world(points) == out).all() and np.allclose(numpy(), out), "positions differ"
    c, ours, arrays = best(plain), best(lambda: project.world(points)), best(numpy)
    print(f"world: C {c / count * 1e9:.1f} ns a point, project.world {ours / count * 1e9:.1f} ns "
          f"(its array included), ratio {c / ours:.2f}; NumPy alone {arrays / count * 1e9:.1f} ns")
    # Where single points are wanted, the mapping is the fastest way there is: no call at all.
    some = np.random.default_rng(5).integers(0, count, count // 10)
    print(f"random reads: {best(lambda: points[some]) / len(some) * 1e9:.0f} ns a point")


def main(count):
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        with make_project(folder, walls(count)) as project:
            neighbours(project.points)
            world(folder, project)


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000)
