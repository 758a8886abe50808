# SPDX-License-Identifier: GPL-3.0-or-later
"""Flat surfaces with an outline, and the one that grows from a seed."""
from __future__ import annotations

import base64
import ctypes
import operator
from dataclasses import dataclass
from html import escape
from typing import Any, Dict, List, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _c
from ._arrays import Floats, address, positions, vector
from ._library import Handle, LongCall, call, new
from ._mesh import Mesh, read_mesh
from ._picture import Picture, distance_colours
from ._progress import ProgressLike


@dataclass(frozen=True, eq=False)
class Region:
    """A piece of an outline. The last corner of a ring joins the first, which is not repeated."""

    outer: Floats  #: (n, 3), world
    holes: Tuple[Floats, ...]  #: each (n, 3), world


@dataclass(frozen=True, eq=False)
class Frame:
    """Axes on a plane: for a wall `right` is level and `up` points upward, seen from where the
    normal points to; on a level plane they are the world's x and y, as far as that goes."""

    origin: Floats  #: (3,), world
    right: Floats  #: (3,), length 1
    up: Floats  #: (3,), length 1

    def flat(self, points: ArrayLike) -> Floats:
        """World positions (n, 3) as (n, 2): metres to the right and up."""
        away = positions(points) - self.origin
        return np.stack([away @ self.right, away @ self.up], axis=-1)

    def world(self, flat: ArrayLike) -> Floats:
        """(n, 2) on the plane as (n, 3) in the world."""
        given = np.asarray(flat, np.float64)
        return np.asarray(self.origin + given[:, :1] * self.right + given[:, 1:] * self.up)


class Surface:
    """A flat surface: an equation, an outline, and what can be made of them."""

    equation: Floats  #: (4,): a x + b y + c z + d = 0 in the world, normal of length 1
    centroid: Floats  #: (3,), world: the mean of its points
    area: float  #: of the outline, holes left out, square metres
    rms: float  #: of its points' distances, metres

    @property
    def regions(self) -> Tuple[Region, ...]:
        raise NotImplementedError

    @property
    def normal(self) -> Floats:
        """(3,), length 1."""
        return self.equation[:3]

    @property
    def outline(self) -> List[Floats]:
        """Every ring, (n, 3) in the world: each region's outer one, then its holes."""
        return [ring for region in self.regions for ring in (region.outer, *region.holes)]

    @property
    def polygons(self) -> List[Tuple[Floats, List[Floats]]]:
        """(shell, holes) of each region in the world, as shapely.Polygon takes them: on a map. A wall
        has no area there; see `flat_polygons`."""
        return [(region.outer, list(region.holes)) for region in self.regions]

    @property
    def flat_polygons(self) -> List[Tuple[Floats, List[Floats]]]:
        """(shell, holes) of each region on the plane itself, (n, 2), in the axes of `frame`."""
        frame = self.frame
        return [(frame.flat(region.outer), [frame.flat(hole) for hole in region.holes])
                for region in self.regions]

    @property
    def frame(self) -> Frame:
        """Axes on the plane; the origin is the centroid, laid on the plane."""
        normal = self.normal / np.linalg.norm(self.normal)
        upright = np.array([0.0, 0.0, 1.0]) - normal[2] * normal
        if np.linalg.norm(upright) < 1e-3:
            upright = np.array([0.0, 1.0, 0.0]) - normal[1] * normal
        up = upright / np.linalg.norm(upright)
        origin = self.centroid - self.distances(self.centroid[np.newaxis])[0] * normal
        return Frame(vector(origin), vector(np.cross(up, normal)), vector(up))

    @property
    def __geo_interface__(self) -> Dict[str, Any]:
        """A MultiPolygon with heights, closed rings: shapely.geometry.shape(plane)."""
        return {"type": "MultiPolygon",
                "coordinates": [[np.vstack([ring, ring[:1]]).tolist() for ring in (shell, *holes)]
                                for shell, holes in self.polygons]}

    def distances(self, points: ArrayLike) -> Floats:
        """Signed distances of world positions (n, 3), positive where the normal points to."""
        return np.asarray(positions(points) @ self.equation[:3] + self.equation[3], np.float64)

    def _facts(self) -> List[Tuple[str, str]]:
        a, b, c, d = self.equation
        return [("equation", f"{a:.6f} x {b:+.6f} y {c:+.6f} z {d:+.4f} = 0"),
                ("area", f"{self.area:.2f} m²"), ("rms", f"{self.rms * 1000:.1f} mm")]

    def _picture(self) -> Picture:
        """The surface face on."""
        flat = [[shell, *holes] for shell, holes in self.flat_polygons]
        corners = np.vstack([ring for rings in flat for ring in rings] or [np.zeros((1, 2))])
        picture = Picture(corners.min(axis=0), corners.max(axis=0))
        for rings in flat:
            picture.fill(rings, (200, 215, 230))
        self._dots(picture)
        for rings in flat:
            for ring in rings:
                picture.ring(ring)
        return picture

    def _dots(self, picture: Picture) -> None:
        """A surface that has its points at hand draws them."""

    def _repr_png_(self) -> bytes:
        return self._picture().png()

    def _repr_html_(self) -> str:
        picture = base64.b64encode(self._repr_png_()).decode("ascii")
        rows = "".join(f"<tr><th style='text-align:left'>{escape(name)}</th><td>{escape(value)}</td></tr>"
                       for name, value in self._facts())
        return (f"<div><img alt='the plane, face on' src='data:image/png;base64,{picture}'>"
                f"<table>{rows}</table></div>")


ENDINGS = {1: "edge", 2: "outline", 3: "reach", 4: "budget"}


class Plane(Surface):
    """The plane that grew from a seed: `Project.grow_plane`. It outlives its project."""

    def __init__(self, handle: Handle) -> None:
        self._handle = handle
        info = new(_c.orvix_plane_info)
        with handle.use() as plane:
            call("plane_get_info", plane, ctypes.byref(info))
        self.equation = vector(info.equation)  #: the normal's largest component is positive
        self.local_equation = vector(info.local_equation)  #: in the local frame, as it was fitted
        self.centroid = vector(info.centroid)
        self.seed = vector(info.seed)  #: (3,), world: the cloud's point that growth started from
        self.snapped: float = info.snapped  #: metres between that point and the seed asked for
        self.noise: float = info.noise  #: metres: deviation of the points at the seed
        self.split_size: float = info.split_size  #: metres: side of a search cell, as used
        self.max_distance_allowed: float = info.max_distance_allowed
        self.max_distance: float = info.max_distance  #: of its points from the plane
        self.rms: float = info.rms
        self.area: float = info.area
        self.point_count: int = info.points  #: each of the cloud's points counted
        self.cells: int = info.cells
        self.rejected_cells: int = info.rejected_cells
        self.thinning: int = info.thinning  #: above 1: growth used every k-th point of a cell
        self.split_enlarged = bool(info.split_enlarged)
        self.ended: str = ENDINGS.get(info.ended, str(info.ended))  #: edge, outline, reach, budget
        self._listed: int = info.listed_points
        self._regions = read_regions(handle, "plane", ())

    @property
    def regions(self) -> Tuple[Region, ...]:
        """By area, the largest first; so are a region's holes."""
        return self._regions

    @property
    def points(self) -> Floats:
        """(n, 3), world: its points, fewer than `point_count` where they were thinned. A copy."""
        xyz, count = np.empty((self._listed, 3)), ctypes.c_uint64()
        with self._handle.use() as plane:
            call("plane_get_points", plane, address(xyz, ctypes.c_double), None, len(xyz),
                 ctypes.byref(count))
        return xyz

    @property
    def records(self) -> NDArray[np.uint64]:
        """(n,): which of `Project.points` they are, in the order of `points`."""
        records, count = np.empty(self._listed, np.uint64), ctypes.c_uint64()
        with self._handle.use() as plane:
            call("plane_get_points", plane, None, address(records, ctypes.c_uint64), len(records),
                 ctypes.byref(count))
        return records

    def mesh(self, progress: ProgressLike = None) -> Mesh:
        """Its points triangulated inside its outline and holes, in the world.

        Cost  about 2 s for a million points.
        """
        mesh = ctypes.c_void_p()
        with LongCall("triangulating", progress) as long:
            with self._handle.use() as plane:
                call("plane_mesh_while", plane, long.proceed, None, ctypes.byref(mesh))
            made = Handle(mesh, "mesh")
        return read_mesh(made)

    def _dots(self, picture: Picture) -> None:
        points = self.points
        points = points[::len(points) // 200_000 + 1]
        picture.dots(self.frame.flat(points), distance_colours(self.distances(points), 3 * self.rms))

    def _facts(self) -> List[Tuple[str, str]]:
        return [*super()._facts(), ("points", f"{self.point_count:,}"), ("ended at", self.ended)]

    def __repr__(self) -> str:
        return (f"Plane({self.area:.2f} m², {self.point_count:,} points, rms {self.rms * 1000:.1f} mm, "
                f"normal {np.round(self.normal, 4).tolist()})")


def read_regions(handle: Handle, kind: str, which: Tuple[Any, ...]) -> Tuple[Region, ...]:
    """The outline of a plane, or of one of many: `which` is its number then."""
    count = ctypes.c_uint64()
    found: List[Tuple[int, int, Floats]] = []
    with handle.use() as plane:
        call(f"{kind}_get_rings", plane, *which, None, 0, ctypes.byref(count))
        rings = (_c.orvix_ring * count.value)()
        call(f"{kind}_get_rings", plane, *which, rings, len(rings), ctypes.byref(count))
        for place, ring in enumerate(rings):
            xyz = np.empty((ring.vertices, 3))
            call(f"{kind}_get_ring", plane, *which, place, address(xyz, ctypes.c_double), len(xyz),
                 ctypes.byref(count))
            xyz.flags.writeable = False
            found.append((ring.region, ring.hole, xyz))
    return tuple(Region(outer, tuple(xyz for other, hole, xyz in found if other == region and hole))
                 for region, hole, outer in found if hole == 0)


def optional(value: Optional[float]) -> float:
    """0 stands for the library's own choice."""
    return 0.0 if value is None else float(value)


def whole(value: Optional[int], name: str) -> int:
    """The same for whole numbers, which the library takes without a sign."""
    number = 0 if value is None else operator.index(value)
    if number < 0:
        raise ValueError(f"{name} is 0 or more, not {number}")
    return number
