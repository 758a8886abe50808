# SPDX-License-Identifier: GPL-3.0-or-later
"""All planes of a project."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Sequence, Tuple, Union, overload

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _c
from ._arrays import Floats, address, doubles, vector
from ._library import Handle, LongCall, call, new
from ._picture import Picture, distinct_colour
from ._progress import ProgressLike
from ._surface import Region, Surface, read_regions

if TYPE_CHECKING:
    from ._project import Project

KINDS = ("floor", "ceiling", "wall", "roof", "other")
DETAILS = {"normal": 0, "fine": 1, "coarse": 2}
VERDICTS = ("on-plane", "too-far", "left-out", "not-flat", "no-plane", "empty")
_STRETCH = 1 << 18  # points between two looks for Ctrl-C
_ROWS = 20


class FoundPlane(Surface):
    """One of all planes. The normal points to where the plane was seen from."""

    def __init__(self, planes: "Planes", number: int) -> None:
        found = new(_c.orvix_found_plane)
        with planes.handle.use() as handle:
            call("planes_get_plane", handle, number, ctypes.byref(found))
        self._planes = planes
        self._regions: Optional[Tuple[Region, ...]] = None
        self.number: int = found.number  #: from 1
        self.group: int = found.group  #: planes of one group lie in the same endless plane
        self.kind: str = KINDS[found.kind]  #: floor, ceiling, wall, roof, other
        self.equation = vector(found.equation)
        self.local_equation = vector(found.local_equation)
        self.centroid = vector(found.centroid)
        self.rms: float = found.rms
        self.tolerance: float = found.tolerance  #: metres: of a point from the plane of its cells, at most
        self.area: float = found.area
        self.point_count: int = found.points

    @property
    def regions(self) -> Tuple[Region, ...]:
        """Outer rings run counter-clockwise and holes clockwise, seen from where the normal points."""
        if self._regions is None:
            self._regions = read_regions(self._planes.handle, "planes", (self.number,))
        return self._regions

    @property
    def points(self) -> Floats:
        """(n, 3), world: its points. A pass over all points of the project; of many planes, see
        `Planes.numbers_of_points`."""
        return self._planes.points_of(self.number)[0]

    @property
    def records(self) -> NDArray[np.uint64]:
        """(n,): which of `Project.points` they are. A pass over all points."""
        return self._planes.points_of(self.number)[1]

    def _facts(self) -> List[Tuple[str, str]]:
        return [("plane", f"{self.number}, {self.kind}"), *super()._facts(),
                ("points", f"{self.point_count:,}")]

    def __repr__(self) -> str:
        return (f"FoundPlane({self.number}, {self.kind}, {self.area:.2f} m², "
                f"{self.point_count:,} points, rms {self.rms * 1000:.1f} mm)")


@dataclass(frozen=True)
class PlanesSaved:
    """What a save did with the planes that were saved before."""

    kept: int  #: planes with the number that an earlier save gave them
    added: int  #: planes with a new number
    gone: int  #: numbers whose planes are no more; they are given to none again


@dataclass(frozen=True, eq=False)
class Place:
    """Why a place is on a plane or on none."""

    verdict: str  #: on-plane, too-far, left-out, not-flat, no-plane, empty
    plane: Optional[int]  #: the number of the plane that a point there is on
    nearest: Optional[int]  #: the number of the nearest plane around
    points: int  #: of the place's cell
    distance: float  #: metres from the nearest, signed
    allowed: float  #: metres at which a point is on it
    turn: Optional[float]  #: degrees between the cell and the nearest plane
    cell_normal: Floats  #: (3,), world; zeros where the surroundings are not flat
    cell_rms: float


class Planes(Sequence[FoundPlane]):
    """The planes of a project, most points first: `Project.planes`, `Project.saved_planes`.

    Lifetime  keeps the project's files open until it is closed or forgotten, beyond the project.
    """

    def __init__(self, project: "Project", handle: Handle) -> None:
        self.handle = handle
        self._project = project
        self._read()

    def _read(self) -> None:
        info, count = new(_c.orvix_planes_info), ctypes.c_uint64()
        with self.handle.use() as planes:
            call("planes_get_info", planes, ctypes.byref(info))
            self.numbers: NDArray[np.uint32] = np.empty(info.planes, np.uint32)
            call("planes_get_numbers", planes, address(self.numbers, ctypes.c_uint32),
                 len(self.numbers), ctypes.byref(count))
        self.left_out: int = info.left_out  #: planes with too little area or too few points
        self.points: int = info.points  #: of the project
        self.on_planes: int = info.on_planes  #: points that are on a plane
        self.detail: str = next(name for name, value in DETAILS.items() if value == info.detail)
        #: What the search used and measured: metres, degrees, square metres.
        self.settings: Dict[str, float] = {
            name: getattr(info, name)
            for name in ("cell_size", "distance", "angle", "min_area", "min_points", "bridge",
                         "spacing", "noise")}
        self._found: Dict[int, FoundPlane] = {}

    def by_number(self, number: int) -> FoundPlane:
        """A plane by its number, which needs not be its place in this list."""
        if number not in self._found:
            self._found[number] = FoundPlane(self, number)
        return self._found[number]

    def __len__(self) -> int:
        return len(self.numbers)

    @overload
    def __getitem__(self, place: int) -> FoundPlane: ...

    @overload
    def __getitem__(self, place: slice) -> List[FoundPlane]: ...

    def __getitem__(self, place: Union[int, slice]) -> Union[FoundPlane, List[FoundPlane]]:
        if isinstance(place, slice):
            return [self.by_number(int(number)) for number in self.numbers[place]]
        return self.by_number(int(self.numbers[place]))

    def numbers_of_points(self, first: int = 0, count: Optional[int] = None,
                          out: Optional[NDArray[np.uint32]] = None) -> NDArray[np.uint32]:
        """The plane's number, 0 for none, of the points `first` to `first + count - 1`.

        Shape  (count,), in the order of `Project.points`; None: to the last point.
        Cost   about a microsecond a point.
        """
        total = self.points - first if count is None else count
        if first < 0 or total < 0 or first + total > self.points:
            raise IndexError(f"{total} points from {first} on, of {self.points}")
        numbers = np.empty(total, np.uint32) if out is None else out
        if numbers.shape != (total,) or numbers.dtype != np.uint32:
            raise ValueError(f"the array takes {total} numbers of 32 bits")
        for begin in range(0, total, _STRETCH):
            some = numbers[begin:begin + _STRETCH]
            with self.handle.use() as planes:
                call("planes_read_numbers", planes, first + begin, len(some),
                     address(some, ctypes.c_uint32))
        return numbers

    def points_of(self, number: int, progress: ProgressLike = None
                  ) -> Tuple[Floats, NDArray[np.uint64]]:
        """The points of one plane: (n, 3) in the world, and (n,) which of `Project.points` they are.

        Cost  a pass over all points, whichever plane.
        """
        room = self.by_number(number).point_count
        xyz, records, count = np.empty((room, 3)), np.empty(room, np.uint64), ctypes.c_uint64()
        with LongCall("reading points", progress) as long, self.handle.use() as planes:
            call("planes_get_points_while", planes, number, long.proceed, None,
                 address(xyz, ctypes.c_double), address(records, ctypes.c_uint64), room,
                 ctypes.byref(count))
        return xyz[:count.value], records[:count.value]

    def explain(self, position: ArrayLike) -> Place:
        """Why a place in the world (three numbers) is on a plane or on none. Not of saved planes."""
        place = new(_c.orvix_place)
        with self.handle.use() as planes:
            call("planes_explain", planes, doubles(position, 3, "a position"), ctypes.byref(place))
        return Place(VERDICTS[place.verdict], place.plane or None, place.nearest or None,
                     place.points, place.distance, place.allowed,
                     place.turn if place.turn >= 0 else None, vector(place.cell_normal),
                     place.cell_rms)

    def save(self, progress: ProgressLike = None) -> PlanesSaved:
        """Keeps the planes in the project, open with mode "r+", in place of those kept so far. A plane
        that covers the surface of an earlier one gets its number; `numbers` is read anew."""
        self._project._require_changes()
        saved = new(_c.orvix_planes_saved)
        with LongCall("saving", progress) as long, self._project.handle.use() as project, \
                self.handle.use() as planes:
            call("planes_save", project, planes, long.proceed, None, ctypes.byref(saved))
        self._read()
        return PlanesSaved(saved.kept, saved.added, saved.gone)

    def to_records(self) -> NDArray[np.void]:
        """A structured array with a row a plane: number, group, kind, a, b, c, d, x, y, z (of the
        centroid), area, points, rms, tolerance."""
        rows = [(p.number, p.group, p.kind, *p.equation, *p.centroid, p.area, p.point_count, p.rms,
                 p.tolerance) for p in self]
        return np.array(rows, [("number", "u4"), ("group", "u4"), ("kind", "U7"),
                               *((name, "f8") for name in "abcdxyz"), ("area", "f8"),
                               ("points", "u8"), ("rms", "f8"), ("tolerance", "f8")])

    def to_dataframe(self) -> Any:
        """The same as a pandas.DataFrame, by number. Needs pandas."""
        import pandas
        return pandas.DataFrame(self.to_records()).set_index("number")

    @property
    def __geo_interface__(self) -> Dict[str, Any]:
        """A FeatureCollection with heights."""
        return {"type": "FeatureCollection", "features": [
            {"type": "Feature", "geometry": plane.__geo_interface__,
             "properties": {"number": plane.number, "group": plane.group, "class": plane.kind,
                            "equation": plane.equation.tolist(), "area": plane.area,
                            "points": plane.point_count, "rms": plane.rms,
                            "tolerance": plane.tolerance}} for plane in self]}

    def close(self) -> None:
        """Lets go of the project's files. What was read of the planes stays."""
        self.handle.close()

    def __enter__(self) -> "Planes":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"Planes({len(self)} planes, {self.on_planes:,} of {self.points:,} points on them)"

    def _repr_png_(self) -> bytes:
        """In plan, the lowest first."""
        planes = sorted(self, key=lambda plane: float(plane.centroid[2]))
        rings = [[ring[:, :2] for ring in plane.outline] for plane in planes]
        corners = np.vstack([ring for some in rings for ring in some] or [np.zeros((1, 2))])
        picture = Picture(corners.min(axis=0), corners.max(axis=0))
        for plane, some in zip(planes, rings):
            picture.fill(some, distinct_colour(plane.number))
            for ring in some:
                picture.ring(ring)
        return picture.png()

    def _repr_html_(self) -> str:
        rows = "".join(
            f"<tr><td>{p.number}</td><td>{p.kind}</td><td>{p.area:.2f}</td><td>{p.point_count:,}</td>"
            f"<td>{p.rms * 1000:.1f}</td><td>{', '.join(f'{part:.4f}' for part in p.equation)}</td></tr>"
            for p in self[:_ROWS])
        more = f"<p>and {len(self) - _ROWS} more</p>" if len(self) > _ROWS else ""
        return (f"<p>{len(self)} planes, {self.on_planes:,} of {self.points:,} points on them</p>"
                "<table><tr><th>number</th><th>kind</th><th>area, m²</th><th>points</th>"
                f"<th>rms, mm</th><th>equation</th></tr>{rows}</table>{more}")
