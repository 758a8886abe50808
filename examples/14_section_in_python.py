#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A host in Python: a slab of 10 cm cut out of a project, seen from the south, and a point picked.

    14_section_in_python.py liborvix.so building.prj 3.7 -5 12.9

Prints what it finds as JSON. Needs orvix.py (beside this file's library, or on PYTHONPATH).
"""
import ctypes
import json
import sys

import numpy as np

import orvix

POINT = np.dtype(orvix.orvix_point)


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


def gather(host, section):
    """The counts by class, and the points of the slab with their numbers in the project."""
    points, records = [], []

    @orvix.orvix_section_chunk
    def chunk(user, first, count, some, classes):
        inside = np.ctypeslib.as_array(classes, (count,)) == orvix.ORVIX_CLASS_IN
        # The arrays are the library's, and end with the call.
        points.append(np.ctypeslib.as_array(some, (count,))[inside].copy())
        records.append(first + np.flatnonzero(inside))
        return 1

    counts = new(orvix.orvix_section_counts)
    options = new(orvix.orvix_stream_options, wanted=1 << orvix.ORVIX_CLASS_IN, chunk=chunk)
    host.section_stream(section, options, counts)
    return counts, np.concatenate([*points, np.empty(0, POINT)]), np.concatenate([*records, []])


def cut(host, section, half_thickness):
    """The indices of the held points in the slab."""
    host.section_set_slab(section, half_thickness, None)
    count = ctypes.c_uint64()
    host.section_get_count(section, count)
    indices = np.empty(count.value, np.uint64)
    host.section_get_indices(section, orvix.ORVIX_CLASS_IN, address(indices, ctypes.c_uint64),
                             len(indices), count)
    return indices[:count.value]


def pick(host, section, seen):
    """What a click means: the first point along the line of sight, in an aperture of 5 cm."""
    ray = orvix.orvix_picking_ray((seen[0], seen[1] - 30, seen[2]), (0, 1, 0), 0.05, 0)
    snapped = orvix.orvix_snapped_point()
    host.section_snap_rays_in_project(section, ray, 1, snapped)
    return {"index": snapped.index, "along": snapped.along, "distance": snapped.distance}


def main(library, path, *place):
    host = Orvix(library)
    seen = [float(number) for number in place]
    project, section = ctypes.c_void_p(), ctypes.c_void_p()
    host.project_open(path.encode(), None, project)
    host.section_open(None, section)
    host.section_set_project(section, project)
    host.library.orvix_project_close(project)  # the section keeps its files open
    host.section_set_plane(section, (ctypes.c_double * 3)(*seen), (ctypes.c_double * 3)(0, -1, 0))
    host.section_set_slab(section, 0.05, None)
    counts, points, records = gather(host, section)

    # NumPy keeps the array where it is, as long as the section may use it.
    host.section_hold(section, points.ctypes.data, len(points), POINT.itemsize)
    ramp = np.array([[0, 0, 255, 255], [255, 255, 255, 255], [255, 0, 0, 255]], np.uint8)
    colours = np.zeros((len(points), 4), np.uint8)
    host.section_colour_plane(section, -0.05, 0.05, address(ramp, ctypes.c_uint8), len(ramp),
                              address(colours, ctypes.c_uint8), len(colours), None)
    found = {"counts": {name: getattr(counts, name) for name, _ in counts._fields_[2:]},
             "records": records.astype(int).tolist(),
             "within_20_mm": cut(host, section, 0.02).tolist(),
             "white": int((colours[:, 1] == 255).sum()),
             "picked": pick(host, section, seen)}
    name = ctypes.create_string_buffer(256)
    host.section_get_device(section, name, len(name), None)
    found["device"] = name.value.decode()
    host.library.orvix_section_close(section)
    json.dump(found, sys.stdout)


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    main(*sys.argv[1:])
