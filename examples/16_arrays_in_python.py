#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A scan as NumPy arrays, by the package orvix: points, cells, planes, a section, a change in place.

    16_arrays_in_python.py building.ply building.prj 3.7 -4.0 12.9

Prints what it finds as JSON. 05, 09 and 14 do such things by the C interface's own calls.
"""
from __future__ import annotations

import json
import sys
from typing import Dict, List

import numpy as np

import orvix


def heights(project: orvix.Project) -> List[float]:
    """The lowest and the highest point, a block at a time."""
    low, high = np.inf, -np.inf
    for block in project.blocks():
        z = project.world(block)[:, 2]
        low, high = min(low, float(z.min())), max(high, float(z.max()))
    return [low, high]


def densest(project: orvix.Project) -> orvix.Cell:
    """The cubic metre with the most points."""
    cells = project.cells(100)
    return cells[int(np.argmax(cells.to_array()["count"]))]


def areas(planes: orvix.Planes) -> Dict[str, float]:
    """Square metres by kind."""
    table = planes.to_records()
    return {str(kind): float(table["area"][table["kind"] == kind].sum())
            for kind in np.unique(table["kind"])}


def main(scan: str, path: str, *place: str) -> None:
    seed = [float(number) for number in place]
    report = orvix.import_scan(scan, path, overwrite=True, progress=True)
    with orvix.open(path, "r+") as project:
        plane = project.grow_plane(seed)
        marked = project.set_dclc(np.sort(plane.records), second=1)
        planes = project.planes(min_area=1.0)
        with project.section(seed, (0, -1, 0), half_thickness=0.05) as section:
            slab = section.records()
        fullest = densest(project)
        found = {
            "points": report.written, "heights": heights(project),
            "densest": {"index": fullest.index, "points": len(fullest.points)},
            "plane": {"equation": plane.equation.tolist(), "area": plane.area, "marked": marked},
            "planes": len(planes), "areas": areas(planes), "slab": len(slab),
            "triangles": len(plane.mesh().triangles),
        }
    found["sound"] = orvix.check(path, deep=True).ok
    json.dump(found, sys.stdout)


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    main(*sys.argv[1:])
