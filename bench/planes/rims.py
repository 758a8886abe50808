#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How do the outlines of planes meet?

    bench/planes/rims.py build/release/bin/orvix PROJECT.prj [PROJECT.prj ...]

A line for each project: its planes, the length of all rims, the share of it that lies within 0.1 mm of
another plane (turned by 20 degrees or more), and corners that two, and three and more, outlines share to
the millimetre. An outline that is no valid polygon ends it with 1, where python3-shapely is installed.
"""
import collections
import json
import subprocess
import sys

import numpy

try:
    from shapely.geometry import Polygon
except ImportError:
    Polygon = None

ON = 1e-4  # metres
LEAST_TURN = 0.94  # cosine of 20 degrees


def axes_of(normal):
    u = numpy.cross(normal, [0, 0, 1])
    if numpy.linalg.norm(u) < 1e-6:
        u = numpy.array([1.0, 0, 0])
    u = u / numpy.linalg.norm(u)
    return u, numpy.cross(normal, u)


def is_valid(plane):
    if Polygon is None:
        return True
    u, v = axes_of(numpy.array(plane["equation"][:3]))
    flat = lambda ring: numpy.column_stack([numpy.array(ring) @ u, numpy.array(ring) @ v])
    return all(Polygon(flat(region["outer"]), [flat(hole) for hole in region["holes"]]).is_valid
               for region in plane["regions"])


def measure(planes):
    """(length of rims, length on another plane, corners in two outlines, in three and more)."""
    normals = numpy.array([plane["equation"][:3] for plane in planes])
    offsets = numpy.array([plane["equation"][3] for plane in planes])
    total = shared = 0.0
    corners = collections.Counter()
    for plane, normal in zip(planes, normals):
        own = set()
        for region in plane["regions"]:
            for ring in [region["outer"]] + region["holes"]:
                ring = numpy.array(ring)
                lengths = numpy.linalg.norm(numpy.roll(ring, -1, 0) - ring, axis=1)
                away = numpy.abs(ring @ normals.T + offsets)
                away = numpy.maximum(away, numpy.roll(away, -1, 0))
                away[:, numpy.abs(normals @ normal) > LEAST_TURN] = numpy.inf
                total += lengths.sum()
                shared += lengths[away.min(axis=1) < ON].sum()
                own.update(map(tuple, numpy.round(ring, 3)))
        corners.update(own)
    counts = numpy.array(list(corners.values()))
    return total, shared, int((counts == 2).sum()), int((counts > 2).sum())


def main(program, projects):
    broken = 0
    for project in projects:
        told = subprocess.run([program, "planes", project, "--json"], capture_output=True, text=True,
                              check=True)
        planes = json.loads(told.stdout)["planes"]
        total, shared, two, more = measure(planes)
        invalid = sum(not is_valid(plane) for plane in planes)
        broken += invalid
        print(f"{project}: {len(planes)} planes, rims {total:.0f} m, {shared / total:.2f} on another plane, "
              f"corners of two outlines {two}, of more {more}, invalid outlines {invalid}")
    return 1 if broken else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2:]))
