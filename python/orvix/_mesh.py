# SPDX-License-Identifier: GPL-3.0-or-later
"""Triangles: of a plane's surface, or between any points."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Optional

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._arrays import Floats, address, doubles, positions
from ._library import Handle, LongCall, call
from ._progress import ProgressLike


@dataclass(frozen=True, eq=False)
class Mesh:
    """Triangles over points; counter-clockwise seen from where the plane's normal points."""

    points: Floats  #: (n, 3), world, metres
    triangles: NDArray[np.uint32]  #: (m, 3), rows of `points`

    def area(self) -> float:
        """Of all triangles together, square metres."""
        a, b, c = (self.points[self.triangles[:, corner]] for corner in range(3))
        return float(np.linalg.norm(np.cross(b - a, c - a), axis=1).sum() / 2)

    def __repr__(self) -> str:
        return f"Mesh({len(self.points):,} points, {len(self.triangles):,} triangles)"


def triangulate(points: ArrayLike, equation: ArrayLike, boundary: Optional[ArrayLike] = None, *,
                progress: ProgressLike = None) -> Mesh:
    """Triangulates points in a plane.

    Shape   `points` (n, 3); `equation` a, b, c, d; `boundary` (k, 3), an open polyline whose
            segments become edges: repeat its first position to close it.
    Result  the points as given, then the vertices that the boundary adds, laid on the plane; every
            triangle of the convex hull.
    """
    given = positions(points)
    edge = positions(boundary) if boundary is not None else np.empty((0, 3))
    mesh = ctypes.c_void_p()
    with LongCall("triangulating", progress) as long:
        call("triangulate_while", address(given, ctypes.c_double), len(given),
             doubles(equation, 4, "an equation"), address(edge, ctypes.c_double), len(edge),
             long.proceed, None, ctypes.byref(mesh))
        made = Handle(mesh, "mesh")
    return read_mesh(made)


def read_mesh(handle: Handle) -> Mesh:
    """The arrays of a mesh, which is closed."""
    points, triangles = ctypes.c_uint64(), ctypes.c_uint64()

    def read(mesh: ctypes.c_void_p, xyz: Any, corners: Any) -> None:
        call("mesh_read", mesh, xyz, points.value, ctypes.byref(points), corners, triangles.value,
             ctypes.byref(triangles))

    with handle.use() as mesh:
        read(mesh, None, None)
        xyz = np.empty((points.value, 3))
        corners = np.empty((triangles.value, 3), np.uint32)
        read(mesh, address(xyz, ctypes.c_double), address(corners, ctypes.c_uint32))
    handle.close()
    return Mesh(xyz, corners)
