#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A host in Python: points straight into NumPy arrays, a plane and its mesh.

    05_host_in_python.py liborvix.so building.prj 3.7 -4.0 12.9

Prints what it finds as JSON. Needs orvix.py (beside this file's library, or on PYTHONPATH).
"""
import ctypes
import json
import sys

import numpy as np

import orvix

# The records of a project's files as NumPy knows them, field by field.
POINT = np.dtype(orvix.orvix_point)
GRID_CELL = np.dtype(orvix.orvix_grid_cell)


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


def read_points(host, project, count):
    """All points, copied into an array of our own."""
    points = np.empty(count, POINT)
    host.points_read(project, 0, count, address(points, orvix.orvix_point))
    return points


def borrow_points(host, project, count):
    """The same points without a copy, valid until the view is closed."""
    view, first = ctypes.c_void_p(), ctypes.POINTER(orvix.orvix_point)()
    host.points_borrow(project, 0, count, view, first)
    return view, np.ctypeslib.as_array(first, (count,))


def largest_cell(host, project):
    """The 100 cm cell with the most points, from the mapped index."""
    records, count = ctypes.c_void_p(), ctypes.c_uint64()
    host.cells_borrow(project, orvix.ORVIX_LEVEL_100CM, records, count)
    cells = np.ctypeslib.as_array(
        ctypes.cast(records, ctypes.POINTER(orvix.orvix_grid_cell)), (count.value,))
    return {"cells": int(count.value), "points_in_cells": int(cells["count"].sum()),
            "largest": int(cells["count"].max())}


def read_mesh(host, plane):
    mesh, points, triangles = ctypes.c_void_p(), ctypes.c_uint64(), ctypes.c_uint64()
    host.plane_mesh(plane, mesh)
    host.mesh_read(mesh, None, 0, points, None, 0, triangles)
    xyz = np.empty((points.value, 3))
    corners = np.empty((triangles.value, 3), np.uint32)
    host.mesh_read(mesh, address(xyz, ctypes.c_double), len(xyz), points,
                   address(corners, ctypes.c_uint32), len(corners), triangles)
    host.library.orvix_mesh_close(mesh)
    return xyz, corners


def grow(host, project, seed):
    asked = []

    @orvix.orvix_proceed
    def proceed(user, done):
        asked.append(done)
        return 1

    plane = ctypes.c_void_p()
    options = new(orvix.orvix_plane_options, proceed=proceed)
    host.plane_grow(project, (ctypes.c_double * 3)(*seed), options, plane)
    info = new(orvix.orvix_plane_info)
    host.plane_get_info(plane, info)
    xyz, corners = read_mesh(host, plane)
    records, count = np.empty(info.listed_points, np.uint64), ctypes.c_uint64()
    host.plane_get_points(plane, None, address(records, ctypes.c_uint64), len(records), count)
    host.library.orvix_plane_close(plane)
    a, b, c = (xyz[corners[:, k]] for k in range(3))
    return {"equation": list(info.equation), "area": info.area, "rms": info.rms,
            "points": info.points, "cells": info.cells, "asked": len(asked),
            "distinct_records": len(np.unique(records)), "mesh_points": xyz.tolist(),
            "mesh_triangles": corners.tolist(),
            "mesh_area": float(np.linalg.norm(np.cross(b - a, c - a), axis=1).sum() / 2)}


def main(library, path, *seed):
    host = Orvix(library)
    project = ctypes.c_void_p()
    host.project_open(path.encode(), None, project)
    info = new(orvix.orvix_project_info)
    host.project_get_info(project, info)
    points = read_points(host, project, info.points)
    view, borrowed = borrow_points(host, project, info.points)
    world = np.empty((info.points, 3))
    host.points_read_world(project, 0, info.points, address(world, ctypes.c_double))
    found = {"points": info.points, "origin": list(info.origin), "min": world.min(0).tolist(),
             "max": world.max(0).tolist(), "sum": world.sum(0).tolist(),
             "local_sum": [float(points[axis].sum(dtype=float)) for axis in "xyz"],
             "copy_equals_view": bool((points == borrowed).all()),
             "cells": largest_cell(host, project)}
    host.library.orvix_view_close(view)
    found["plane"] = grow(host, project, [float(number) for number in seed])
    host.library.orvix_project_close(project)
    json.dump(found, sys.stdout)


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    main(*sys.argv[1:])
