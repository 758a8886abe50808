#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A host in Python: all planes of a project, their outlines, and the plane of each point.

    09_all_planes_in_python.py liborvix.so building.prj [fine | normal | coarse]

Prints what it finds as JSON. Needs orvix.py (beside this file's library, or on PYTHONPATH).
"""
import ctypes
import json
import sys

import numpy as np

import orvix

KINDS = ("floor", "ceiling", "wall", "roof", "other")
DETAILS = {"normal": orvix.ORVIX_DETAIL_NORMAL, "fine": orvix.ORVIX_DETAIL_FINE,
           "coarse": orvix.ORVIX_DETAIL_COARSE}


class Orvix:
    """The library's calls, with its errors as exceptions."""

    def __init__(self, path):
        self.library = orvix.load(path)

    def __getattr__(self, name):
        def call(*arguments):
            error = orvix.orvix_error(size=ctypes.sizeof(orvix.orvix_error))
            if getattr(self.library, "orvix_" + name)(*arguments, error) != orvix.ORVIX_OK:
                raise RuntimeError(error.text.decode())
        return call


def new(struct, **members):
    return struct(size=ctypes.sizeof(struct), **members)


def address(array, kind):
    return array.ctypes.data_as(ctypes.POINTER(kind))


def find_planes(host, project, detail):
    """A search and what it says of itself; a window's progress bar would stand in `proceed`."""
    @orvix.orvix_proceed
    def proceed(user, done):
        return 1

    planes = ctypes.c_void_p()
    host.planes_find(project, new(orvix.orvix_planes_options, detail=detail, proceed=proceed), planes)
    info = new(orvix.orvix_planes_info)
    host.planes_get_info(planes, info)
    return planes, info


def rings_of(host, planes, number):
    """The outline, a list of corners for each ring, and whether it is a hole."""
    count = ctypes.c_uint64()
    host.planes_get_rings(planes, number, None, 0, count)
    rings = (orvix.orvix_ring * count.value)()
    host.planes_get_rings(planes, number, rings, count, count)
    for place, ring in enumerate(rings):
        xyz = np.empty((ring.vertices, 3))
        host.planes_get_ring(planes, number, place, address(xyz, ctypes.c_double), len(xyz), count)
        yield xyz, ring.hole > 0


def describe(host, planes, number):
    plane = new(orvix.orvix_found_plane)
    host.planes_get_plane(planes, number, plane)
    return {"number": plane.number, "kind": KINDS[plane.kind], "group": plane.group,
            "equation": list(plane.equation), "centroid": list(plane.centroid),
            "rms": plane.rms, "area": plane.area, "points": plane.points,
            "rings": [{"hole": hole, "vertices": xyz.tolist()}
                      for xyz, hole in rings_of(host, planes, number)]}


def numbers_of(host, planes, points, stretch=1_000_000):
    """The plane of each point, 0 for none, read a stretch at a time."""
    numbers = np.empty(points, np.uint32)
    for first in range(0, points, stretch):
        some = numbers[first:first + stretch]
        host.planes_read_numbers(planes, first, len(some), address(some, ctypes.c_uint32))
    return numbers


def main(library, path, detail="normal"):
    host = Orvix(library)
    project = ctypes.c_void_p()
    host.project_open(path.encode(), None, project)
    planes, info = find_planes(host, project, DETAILS[detail])
    numbers = numbers_of(host, planes, info.points)
    found = {"points": info.points, "on_planes": info.on_planes, "left_out": info.left_out,
             "cell": info.cell_size, "distance": info.distance,
             "points_by_plane": np.bincount(numbers, minlength=info.planes + 1).tolist(),
             "planes": [describe(host, planes, number) for number in range(1, info.planes + 1)]}
    place = new(orvix.orvix_place)
    host.planes_explain(planes, (ctypes.c_double * 3)(*found["planes"][0]["centroid"]), place)
    found["place"] = {"verdict": place.verdict, "plane": place.plane}
    host.library.orvix_planes_close(planes)
    host.library.orvix_project_close(project)
    json.dump(found, sys.stdout)


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
