# SPDX-License-Identifier: GPL-3.0-or-later
"""A project: its points, cells, planes and stations."""
from __future__ import annotations

import ctypes
import os
import sys
from contextlib import ExitStack
from dataclasses import dataclass
from html import escape
from typing import Any, Dict, Iterator, List, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _c
from ._arrays import DCLC, POINT, Floats, Path, Records, address, doubles, positions, vector
from ._building import Building
from ._cells import Cell, Cells, cell_at
from ._command import option, run
from ._errors import Error, error_of
from ._library import LIBRARY, Handle, LongCall, call, new, text_of
from ._planes import DETAILS, Planes
from ._progress import ProgressLike
from ._section import Section
from ._statistics import Classes, Histogram, classes_of, histogram_of
from ._surface import Plane, optional, whole
from ._verbs import CheckReport, ExportReport, check, export

_BLOCK = 1 << 18  # points changed at a time: 6 MB
_CALL = 1 << 22  # points between two looks for Ctrl-C
_CACHED = 1 << 14  # points that stay in the cache between passes over them


@dataclass(frozen=True, eq=False)
class ProjectInfo:
    """What a project says of itself, as it was when it was opened."""

    points: int
    skeleton_points: int
    stations: int
    cells_1000cm: int
    cells_100cm: int
    cells_10cm: int  #: 0 without the 10 cm level
    bytes: int  #: of all files of the project
    scale: float  #: metres: skeleton voxel
    origin: Floats  #: (3,): the local frame's zero in the world
    local_to_world: Floats  #: (4, 4)
    min: Floats  #: (3,), world
    max: Floats  #: (3,), world
    split_size: float  #: plane search, full density: side of a cell, metres; negative: unset
    diff: Floats  #: (3,): largest differences of a cell's normal, by component
    min_plane: int
    skeleton_split_size: float
    skeleton_diff: Floats  #: (3,)
    skeleton_min_plane: int
    min_cell_points: int
    usage: str  #: the set in use: "alive" (full density) or "skeleton"
    colour: Tuple[int, int, int, int]  #: red, green, blue, opacity


@dataclass(frozen=True, eq=False)
class Station:
    """A scanner station. What a project does not know is None."""

    number: int  #: as points name it
    name: Optional[str]
    position: Optional[Floats]  #: (3,), world
    local_position: Optional[Floats]  #: (3,)
    rotation: Optional[Floats]  #: (3, 3), from the scanner's own axes to the local ones
    intensities: Optional[Tuple[int, int]]  #: the lowest and the highest of its points


class _View:
    """Points where they are mapped. Arrays over them keep this object, and it keeps the mapping,
    beyond the project's end."""

    def __init__(self, project: ctypes.c_void_p, count: int) -> None:
        self._view = ctypes.c_void_p()
        self._close = LIBRARY.orvix_view_close
        first = ctypes.POINTER(_c.orvix_point)()
        call("points_borrow", project, 0, count, ctypes.byref(self._view), ctypes.byref(first))
        place = ctypes.cast(first, ctypes.c_void_p).value
        # The pair is an address and whether the memory is read only, which NumPy holds to.
        self.__array_interface__: Dict[str, Any] = {
            "version": 3, "shape": (count,), "typestr": "|V24", "descr": POINT.descr,
            "data": (place, True)}

    def __del__(self) -> None:
        if self._view:
            self._close(self._view)


class Project:
    """An open project: `orvix.open`.

    Processes a pickled project, as multiprocessing sends it, is opened anew there, for reading; after
              a fork use the child's own.
    Lifetime  close it, or use it in a `with` block. Arrays of points and cells, planes and meshes
              stay valid when it is closed; calls on it raise ValueError then.
    """

    def __init__(self, path: Path, mode: str = "r") -> None:
        if mode not in ("r", "r+"):
            raise ValueError(f"a project is opened with mode 'r' or 'r+', not {mode!r}")
        options = new(_c.orvix_open_options,
                      access=_c.ORVIX_READ_WRITE if mode == "r+" else _c.ORVIX_READ)
        handle = ctypes.c_void_p()
        call("project_open", text_of(path), ctypes.byref(options), ctypes.byref(handle))
        self.handle = Handle(handle, "project")
        self.mode = mode
        self.path = os.fspath(path)
        self.name = self._text(_c.ORVIX_TEXT_NAME)
        self.folder = self._text(_c.ORVIX_TEXT_FOLDER)  #: the project-files folder
        self.info = self._info()
        self._points: Optional[Records] = None
        self._stations: Optional[List[Station]] = None

    def _text(self, which: int) -> str:
        count = ctypes.c_uint64()
        with self.handle.use() as project:
            call("project_get_text", project, which, None, 0, ctypes.byref(count))
            text = ctypes.create_string_buffer(count.value)
            call("project_get_text", project, which, text, len(text), ctypes.byref(count))
        return text.value.decode("utf-8") if os.name == "nt" else os.fsdecode(text.value)

    def _info(self) -> ProjectInfo:
        info = new(_c.orvix_project_info)
        with self.handle.use() as project:
            call("project_get_info", project, ctypes.byref(info))
        matrix = np.array(info.local_to_world).reshape(4, 4)
        matrix.flags.writeable = False
        return ProjectInfo(
            info.points, info.skeleton_points, info.stations, info.cells_1000cm, info.cells_100cm,
            info.cells_10cm, info.bytes, info.scale, vector(info.origin), matrix, vector(info.min),
            vector(info.max), info.split_size, vector(info.diff), info.min_plane,
            info.skeleton_split_size, vector(info.skeleton_diff), info.skeleton_min_plane,
            info.min_cell_points, "alive" if info.usage == 0 else "skeleton", tuple(info.colour))

    # ---- Points ---------------------------------------------------------------------------

    @property
    def points(self) -> Records:
        """(n,) of POINT: every point, where it is mapped: no copy, and read only.

            project.points["z"].max() + project.info.origin[2]

        Order     cell by cell, as stored.
        Lifetime  the array keeps its mapping when the project is closed.
        Cost      pages are read when they are touched. Compute in blocks of some hundred thousand
                  points where the project is larger than memory.
        """
        if self._points is None:
            with self.handle.use() as project:
                self._points = (np.asarray(_View(project, self.info.points)).view(POINT)
                                if self.info.points else np.empty(0, POINT))
        elif self.handle.closed:
            raise ValueError("the project is closed; arrays that were taken from it stay valid")
        return self._points

    def blocks(self, size: int = 1 << 20) -> Iterator[Records]:
        """All points, `size` at a time."""
        if size < 1:
            raise ValueError(f"a block holds one point at least, not {size}")
        points = self.points
        return (points[first:first + size] for first in range(0, len(points), size))

    def world(self, points: ArrayLike) -> Floats:
        """(n, 3) of doubles, world: points, or an (n, 3) array of local positions."""
        given = np.asarray(points)
        if given.dtype.names is None:
            return _placed(self.info.local_to_world, list(positions(given).T))
        if given.dtype != POINT or given.ndim != 1:
            world = _placed(self.info.local_to_world, [given[axis].ravel() for axis in "xyz"])
            return world.reshape(*given.shape, 3)
        world = np.empty((len(given), 3))
        matrix = (ctypes.c_double * 16)(*self.info.local_to_world.ravel().tolist())
        if given.strides[0] < 0:
            given = np.ascontiguousarray(given)
        for first in range(0, len(given), _CALL):  # Ctrl-C is heard between two calls
            some = given[first:first + _CALL]
            call("points_transform", matrix, some.ctypes.data_as(ctypes.c_void_p), len(some),
                 given.strides[0], address(world[first:], ctypes.c_double))
        return world

    def local(self, world: ArrayLike) -> Floats:
        """(n, 3) of doubles, local: world positions (n, 3)."""
        m = self.info.local_to_world
        found = np.linalg.solve(m[:3, :3], (positions(world) - m[:3, 3]).T).T
        return np.ascontiguousarray(found, np.float64)

    def set_dclc(self, where: Any, first: Optional[ArrayLike] = None,
                 second: Optional[ArrayLike] = None) -> int:
        """Changes the DCLC pair of points in place, in the file; views see it at once.

            project.set_dclc(project.points["z"] > 2.5, second=7)

        where   a slice, a boolean array for all points, or an array of places in `points`
        first   0 to 65535, a number or one for each chosen point; None: as it is
        second  0 to 255, likewise

        Returns the number of chosen points. The project is open with mode "r+", else BadArgument. Its
        sums follow when it is closed, so `orvix check --deep` knows the change from damage.
        """
        self._require_changes()
        chosen = _places(where, self.info.points)
        values = [None if given is None else _whole(given, len(chosen), largest, name)
                  for given, largest, name in ((first, 65535, "first"), (second, 255, "second"))]
        points = self.points
        begin = 0
        while begin < len(chosen):
            low = int(chosen[begin])
            end = int(np.searchsorted(chosen, low + _BLOCK))
            stretch = points[low:int(chosen[end - 1]) + 1]
            pairs = np.zeros(len(stretch), DCLC)
            pairs["first"], pairs["second"] = stretch["dclc_first"], stretch["dclc_second"]
            for name, value in zip(("first", "second"), values):
                if value is not None:
                    pairs[name][chosen[begin:end] - low] = value[begin:end]
            with self.handle.use() as project:
                call("points_write_dclc", project, low, len(pairs), address(pairs, _c.orvix_dclc))
            begin = end
        return len(chosen)

    def _require_changes(self) -> None:
        if self.mode != "r+":
            raise error_of(_c.ORVIX_BAD_ARGUMENT,
                           'the project is open for reading; open it with mode "r+"')

    # ---- Cells ----------------------------------------------------------------------------

    def cells(self, level: int = 100) -> Cells:
        """The cells of 1000, 100 or 10 cm that hold points.

            for cell in project.cells(1000):
                cell.index, cell.points["intensity"].mean()
        """
        return Cells(self, level)

    def cell_at(self, position: ArrayLike, level: int = 100) -> Optional[Cell]:
        """The cell that a position in the world (three numbers) lies in; None where no point is."""
        return cell_at(self, doubles(position, 3, "a position"), level)

    # ---- Planes ---------------------------------------------------------------------------

    def grow_plane(self, seed: ArrayLike, *, local: bool = False, split_size: Optional[float] = None,
                   diff: Union[float, Sequence[float], None] = None,
                   max_distance: Optional[float] = None, snap_distance: Optional[float] = None,
                   reach: Optional[float] = None, memory_limit: Optional[int] = None,
                   outline_points: Optional[int] = None, progress: ProgressLike = None) -> Plane:
        """Grows the plane that a seed lies on, as `orvix plane` does, to the last bit.

        seed            three numbers on the surface, world; `local`: in the project's own frame
        split_size      metres: side of a search cell; None: the project's, more where points are few
        diff            largest differences of a cell's normal, one or three; None: the project's
        max_distance    metres of a point from the plane; None: from the noise at the seed
        snap_distance   metres from the seed to the nearest point, at most; None: 1
        reach           metres from the seed; None: until points end
        memory_limit    bytes for points; None: 1 GiB. Beyond it, points are thinned
        outline_points  the outline is built from at most this many; None: 1,000,000

        Errors  BadInput: no point near the seed, or none that span a plane. Damaged.
        """
        three = np.broadcast_to(np.asarray(0.0 if diff is None else diff, np.float64), 3)
        handle = ctypes.c_void_p()
        with LongCall("growing", progress) as long:
            options = new(_c.orvix_plane_options, seed_is_local=int(local),
                          split_size=optional(split_size), diff=(ctypes.c_double * 3)(*three.tolist()),
                          max_distance=optional(max_distance), snap_distance=optional(snap_distance),
                          reach=optional(reach), memory_limit=whole(memory_limit, "memory_limit"),
                          outline_points=whole(outline_points, "outline_points"), proceed=long.proceed)
            with self.handle.use() as project:
                call("plane_grow", project, doubles(seed, 3, "a seed"), ctypes.byref(options),
                     ctypes.byref(handle))
            grown = Handle(handle, "plane")
        return Plane(grown)

    def planes(self, *, detail: str = "normal", cell_size: Optional[float] = None,
               distance: Optional[float] = None, angle: Optional[float] = None,
               min_area: Optional[float] = None, bridge: Optional[float] = None,
               min_points: Optional[int] = None, memory_limit: Optional[int] = None,
               threads: int = 0, progress: ProgressLike = None) -> Planes:
        """Finds all planes, as `orvix planes` does, to the last bit. None: the search decides.

        detail        "fine", "normal" or "coarse": how much of a wall is a plane of its own
        cell_size     metres; raised to the next of 0.1, 0.2, 0.25, 0.5, 1, 2, 5, 10
        distance      metres of a point from its plane, at most
        angle         degrees: largest turn of a cell's normal
        min_area      square metres of outline that a plane has at least
        bridge        metres: pieces of one plane join across gaps of about this; 0: none
        min_points    that a plane has at least
        memory_limit  bytes for cells; None: 1 GiB. Beyond it, cells are larger
        threads       0: every core; the result does not depend on it
        """
        if detail not in DETAILS:
            raise ValueError(f"detail is 'fine', 'normal' or 'coarse', not {detail!r}")
        handle = ctypes.c_void_p()
        with LongCall("finding planes", progress) as long:
            options = new(_c.orvix_planes_options, detail=DETAILS[detail],
                          cell_size=optional(cell_size), distance=optional(distance),
                          angle=optional(angle), min_area=optional(min_area),
                          bridge=-1.0 if bridge == 0 else optional(bridge),
                          min_points=whole(min_points, "min_points"), memory_limit=whole(memory_limit, "memory_limit"),
                          threads=whole(threads, "threads"), proceed=long.proceed)
            with self.handle.use() as project:
                call("planes_find", project, ctypes.byref(options), ctypes.byref(handle))
            found = Handle(handle, "planes")
        return Planes(self, found)

    def saved_planes(self) -> Planes:
        """The planes that `Planes.save` or `orvix planes --save` kept: no second search.

        Errors  BadInput: none are kept, or the points are not those that were searched.
        """
        handle = ctypes.c_void_p()
        with self.handle.use() as project:
            call("planes_open_saved", project, ctypes.byref(handle))
        return Planes(self, Handle(handle, "planes"))

    def building(self, planes: Optional[Planes] = None, *, orthogonal: bool = False,
                 search: bool = False, memory_limit: Optional[int] = None, threads: int = 0,
                 progress: ProgressLike = None) -> Building:
        """The building that the scan shows, as `orvix model` finds it, to the last bit.

        planes        to find it in, of this project; None: those that the project keeps, else a search's
        orthogonal    turns walls parallel and square to others, within their tolerance
        search        searches planes, even where the project keeps some
        memory_limit  bytes; None: 1 GiB
        threads       0: every core; the result does not depend on it
        """
        handle = ctypes.c_void_p()
        with LongCall("modelling", progress) as long, ExitStack() as uses:
            options = new(_c.orvix_building_options, orthogonal=int(orthogonal), search=int(search),
                          memory_limit=whole(memory_limit, "memory_limit"),
                          threads=whole(threads, "threads"), proceed=long.proceed)
            project = uses.enter_context(self.handle.use())
            given = None if planes is None else uses.enter_context(planes.handle.use())
            call("building_find", project, given, ctypes.byref(options), ctypes.byref(handle))
            found = Handle(handle, "building")
        return Building(self, found)

    def saved_building(self) -> Building:
        """The building that `Building.save` or `orvix model --save` kept.

        Errors  BadInput: none is kept, or the points are not those that it was found in.
        """
        handle = ctypes.c_void_p()
        with self.handle.use() as project:
            call("building_open_saved", project, ctypes.byref(handle))
        return Building(self, Handle(handle, "building"))

    # ---- Sections -------------------------------------------------------------------------

    def section(self, point: ArrayLike, normal: ArrayLike, *, half_thickness: float = 0.05,
                bounds: Optional[ArrayLike] = None, device: str = "auto") -> Section:
        """A slab through the project about the plane through `point`; `normal` looks at the viewer. World.

        half_thickness  metres: the slab is |y| <= half_thickness
        bounds          x low, x high, z low, z high in the section's frame; None: none
        device          "auto", "cpu" or "gpu"; the results do not depend on it
        """
        return Section(self, point, normal, half_thickness, bounds, device)

    # ---- What is known of the project -----------------------------------------------------

    @property
    def stations(self) -> List[Station]:
        """The scanner stations, by number."""
        if self._stations is None:
            self._stations = [self._station(number, name) for number, name in
                              enumerate(self._station_names())]
        return self._stations

    def _station_names(self) -> List[Optional[str]]:
        try:
            names: List[Optional[str]] = run("info", "--", self.path)["station_names"]
        except Error:  # names are nice to have; what is wrong shows where it matters
            names = []
        count = self.info.stations
        return [*names[:count], *[None] * (count - len(names))]

    def _station(self, number: int, name: Optional[str]) -> Station:
        info = new(_c.orvix_station_info)
        with self.handle.use() as project:
            call("project_get_station", project, number, ctypes.byref(info))
        posed = bool(info.known & _c.ORVIX_STATION_POSITION)
        place = vector(info.position)
        return Station(number, name, self.world(place[np.newaxis])[0] if posed else None,
                       place if posed else None,
                       np.array(info.rotation).reshape(3, 3) if posed else None,
                       (info.lowest_intensity, info.highest_intensity)
                       if info.known & _c.ORVIX_STATION_INTENSITIES else None)

    def histogram(self, field: str = "intensity", columns: int = 24) -> Histogram:
        """How often the values of "intensity" or "z" occur, in `columns` columns at most."""
        found = run("histogram", *option("field", field), *option("columns", columns), "--", self.path)
        return histogram_of(found["histograms"][0])

    def classify(self, field: str = "intensity", classes: int = 5, *, sample: Optional[int] = None,
                 seed: int = 1, apply: bool = False, progress: ProgressLike = None) -> Classes:
        """Divides "intensity" or "z" into natural classes: those whose values lie closest to their
        class's mean. All points decide, or about `sample` values drawn with `seed`.

        apply  writes each point's class, 1 to n, into the second value of its DCLC pair. No project
               with mode "r+" may be open on the same files meanwhile.
        """
        if apply and self.mode == "r+":
            raise ValueError("close the project, which is open for changes, and open it with mode 'r' "
                             "for classify(apply=True)")
        words = [*option("field", field), *option("classes", classes), *option("apply", apply)]
        if sample is not None:
            words += [*option("sample", sample), *option("seed", seed)]
        return classes_of(run("classify", *words, "--", self.path, progress=progress))

    def check(self, *, deep: bool = False, progress: ProgressLike = None) -> CheckReport:
        """Holds every file of the project against the others; see `orvix.check`."""
        return check(self.path, deep=deep, progress=progress)

    def export(self, file: Path, *, station: Optional[int] = None, box: Optional[ArrayLike] = None,
               planes: bool = False, overwrite: bool = False,
               progress: ProgressLike = None) -> ExportReport:
        """Writes points to a .ply, .las or .xyz file, in world coordinates, in the project's order.

        station  only the points of this station
        box      only points in this box: x0, y0, z0, x1, y1, z1 or [[x0, y0, z0], [x1, y1, z1]], world
        planes   with the number of each point's plane, as `Planes.save` kept it
        """
        corners = None if box is None else np.asarray(box, np.float64).ravel().tolist()
        return export(self.path, file, station, corners, planes, overwrite, progress)

    # ---- Lifetime -------------------------------------------------------------------------

    @property
    def closed(self) -> bool:
        return self.handle.closed

    def close(self) -> None:
        """Closes the project; a second time does nothing. Waits until changes are on the disk."""
        self.handle.close()
        self._points = None

    def __reduce__(self) -> Tuple[Any, ...]:
        """A copy, also one in another process, is the project opened anew, for reading."""
        return open, (os.path.abspath(self.path),)

    def __enter__(self) -> "Project":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __len__(self) -> int:
        return self.info.points

    def __repr__(self) -> str:
        state = "closed" if self.closed else f"mode {self.mode!r}"
        return f"Project({self.name!r}, {self.info.points:,} points, {state})"

    def _repr_html_(self) -> str:
        info, size = self.info, self.info.max - self.info.min
        facts = [("points", f"{info.points:,}"), ("thinned", f"{info.skeleton_points:,}"),
                 ("size", " × ".join(f"{part:.2f}" for part in size) + " m"),
                 ("origin", ", ".join(f"{part:.3f}" for part in info.origin)),
                 ("cells", f"{info.cells_1000cm:,} of 10 m, {info.cells_100cm:,} of 1 m, "
                           f"{info.cells_10cm:,} of 10 cm"),
                 ("stations", f"{info.stations}"), ("on the disk", f"{info.bytes / 1e6:,.1f} MB")]
        rows = "".join(f"<tr><th style='text-align:left'>{name}</th><td>{escape(value)}</td></tr>"
                       for name, value in facts)
        return f"<div><b>{escape(self.name)}</b><table>{rows}</table></div>"


def open(path: Path, mode: str = "r") -> Project:
    """Opens a project by its project file; mode "r+" for changes in place.

        with orvix.open("hall.prj") as project: ...

    Opening reads no point and changes nothing.
    Errors  BadInput: no such project. Damaged. Failed: a file may not be opened as asked.
    """
    return Project(path, mode)


def _placed(m: Floats, axes: List[NDArray[Any]]) -> Floats:
    """Positions through a matrix, by the library's own order of operations, so that both agree to the
    last bit; in stretches that stay in the cache."""
    world = np.empty((len(axes[0]), 3))
    for first in range(0, len(world), _CACHED):
        x, y, z = (axis[first:first + _CACHED].astype(np.float64) for axis in axes)
        for row in range(3):
            world[first:first + _CACHED, row] = m[row, 0] * x + m[row, 1] * y + m[row, 2] * z + m[row, 3]
    return world


def _places(where: Any, total: int) -> NDArray[np.int64]:
    """The chosen places of points, ascending, each once."""
    if isinstance(where, slice):
        places = np.arange(*where.indices(total))
    else:
        places = np.asarray(where)
        if places.dtype == np.bool_:
            if places.shape != (total,):
                raise ValueError(f"the array chooses of {places.shape} points, the project has {total}")
            places = np.flatnonzero(places)
        elif places.dtype.kind not in "iu" or places.ndim != 1:
            if places.size:
                raise ValueError("points are chosen by a slice, a boolean array or an array of places")
            places = places.astype(np.int64)
    places = places.astype(np.int64)
    if len(places) and (places.min() < 0 or places.max() >= total):
        raise IndexError(f"the project has {total} points, not one with place "
                         f"{places.min() if places.min() < 0 else places.max()}")
    if np.any(places[1:] <= places[:-1]):
        raise ValueError("the places of points ascend, each once; sort them with their values")
    return places


def _whole(given: ArrayLike, count: int, largest: int, name: str) -> NDArray[np.int64]:
    values = np.asarray(given)
    if values.dtype.kind not in "iub" or (values.size and
                                          (values.min() < 0 or values.max() > largest)):
        raise ValueError(f"the {name} value of a pair is a whole number from 0 to {largest}")
    if values.shape not in ((), (count,)):
        raise ValueError(f"{name} is one number, or one for each of {count} points, not {values.shape}")
    return np.broadcast_to(values.astype(np.int64), count)


if sys.byteorder != "little":
    raise ImportError("projects are little-endian, and so is every system that this package is for")
