# SPDX-License-Identifier: GPL-3.0-or-later
"""Sections through a project: which points lie in a slab, before and behind it, and snapping to points."""
from __future__ import annotations

import base64
import ctypes
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, List, Optional, Sequence, Tuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _c
from ._arrays import POINT, Floats, Records, address, doubles, positions
from ._library import Handle, LongCall, call, new
from ._picture import Picture
from ._progress import ProgressLike

if TYPE_CHECKING:
    from ._project import Project

#: The classes of points, as numbers in arrays of classes: 0 to 4.
SECTION_CLASSES = ("in", "behind", "before", "outside", "no position")
DEVICES = {"auto": 0, "cpu": 1, "gpu": 2}

#: A point that was snapped to: its place in `Project.points`, -1 for none; metres along the ray, and
#: from the ray or position.
SNAPPED: np.dtype[np.void] = np.dtype([("index", "<i8"), ("along", "<f8"), ("distance", "<f8")])
_RAY = np.dtype([("origin", "<f8", (3,)), ("direction", "<f8", (3,)), ("radius", "<f8"),
                 ("tangent", "<f8")])


@dataclass(frozen=True)
class SectionCounts:
    """How many points lie where."""

    in_slab: int
    behind: int  #: beyond the slab, seen by the viewer
    before: int  #: between the viewer and the slab
    outside: int  #: beyond the bounds, whatever their depth is
    no_position: int  #: coordinates that are not finite


class Section:
    """A slab about a plane through a project: `Project.section`.

        with project.section((3.7, -5, 12.9), (0, -1, 0), half_thickness=0.05) as section:
            slab = project.points[section.records()]
            drawing = section.flat(project.world(slab))[:, [0, 2]]     # x to the right, z up

    Frame     y = 0 is the plane, y counts away from the viewer, who sees x to the right and z upward.
    Boundaries  inclusive, in single precision; docs/BEHAVIOUR.md V1 to V11 say it exactly.
    Lifetime  keeps the project's files open until it is closed, beyond the project.
    Cost      works on a graphics device where that is faster, with the same results to the bit.
    """

    def __init__(self, project: "Project", point: ArrayLike, normal: ArrayLike, half_thickness: float,
                 bounds: Optional[ArrayLike], device: str) -> None:
        if device not in DEVICES:
            raise ValueError(f"device is 'auto', 'cpu' or 'gpu', not {device!r}")
        handle = ctypes.c_void_p()
        options = new(_c.orvix_section_options, device=DEVICES[device])
        call("section_open", ctypes.byref(options), ctypes.byref(handle))
        self._handle = Handle(handle, "section")
        self._set: Any = None  # the library reads this array where it lies
        with project.handle.use() as opened, self._handle.use() as section:
            call("section_set_project", section, opened)
            call("section_set_plane", section, doubles(point, 3, "a point"),
                 doubles(normal, 3, "a normal"))
            call("section_set_slab", section, float(half_thickness),
                 None if bounds is None else doubles(bounds, 4, "bounds"))
        matrix = (ctypes.c_double * 16)()
        with self._handle.use() as section:
            call("section_get_transformation", section, matrix)
        #: (4, 4): world to section frame
        self.transformation: Floats = np.array(matrix).reshape(4, 4)
        self.half_thickness = float(half_thickness)
        self._local_to_world = project.info.local_to_world
        self._points = project.points  # mapped, and not read before somebody looks

    def flat(self, world: ArrayLike) -> Floats:
        """(n, 3): world positions in the section's frame, doubles."""
        m = self.transformation
        return np.asarray(positions(world) @ m[:3, :3].T + m[:3, 3], np.float64)

    def counts(self, progress: ProgressLike = None) -> SectionCounts:
        """How many points of the project lie where. Cells of one class are not read."""
        return self._stream(0, None, progress)

    def each(self, function: Callable[[int, Records, NDArray[np.uint8]], object],
             wanted: Sequence[str] = ("in",), progress: ProgressLike = None) -> SectionCounts:
        """Hands out the project's points of some classes, in the order of the file.

            section.each(lambda first, points, classes: ..., wanted=("in", "behind"))

        The function gets the place of the first point, points and their classes, in stretches that may
        hold points of other classes too. The points are a part of `Project.points`.
        """
        bits = 0
        for name in wanted:
            bits |= 1 << SECTION_CLASSES.index(name)
        return self._stream(bits, function, progress)

    def records(self, wanted: str = "in", progress: ProgressLike = None) -> NDArray[np.uint64]:
        """(n,), ascending: the places in `Project.points` of the points of one class."""
        number = SECTION_CLASSES.index(wanted)
        found: List[NDArray[np.uint64]] = []

        def gather(first: int, points: Records, classes: NDArray[np.uint8]) -> None:
            found.append((np.flatnonzero(classes == number) + first).astype(np.uint64))

        self.each(gather, (wanted,), progress)
        return np.concatenate([*found, np.empty(0, np.uint64)])

    def _stream(self, wanted: int, function: Optional[Callable[..., object]],
                progress: ProgressLike) -> SectionCounts:
        counts = new(_c.orvix_section_counts)
        with LongCall("cutting", progress) as long:
            def chunk(user: Any, first: int, count: int, points: Any, classes: Any) -> int:
                return long.guard(lambda: function is not None and function(
                    first, self._points[first:first + count],
                    np.ctypeslib.as_array(classes, (count,)).copy() if count else np.empty(0, np.uint8)))

            options = new(_c.orvix_stream_options, wanted=wanted, proceed=long.proceed)
            if function is not None:
                options.chunk = _c.orvix_section_chunk(chunk)
            with self._handle.use() as section:
                call("section_stream", section, ctypes.byref(options), ctypes.byref(counts))
        return SectionCounts(counts.in_slab, counts.behind, counts.before, counts.outside,
                             counts.no_position)

    def classify(self, points: ArrayLike) -> NDArray[np.uint8]:
        """(n,): the class of each of some points, or local positions (n, 3), as a place in
        SECTION_CLASSES."""
        count = self._set_points(points)
        classes = np.empty(count, np.uint8)
        with self._handle.use() as section:
            call("section_check", section, address(classes, ctypes.c_uint8), count, None)
        return classes

    def colours(self, points: ArrayLike, low: float, high: float, ramp: ArrayLike) -> NDArray[np.uint8]:
        """(n, 4), red, green, blue, opacity: points coloured by their distance y from the plane.

        The ramp's 2 to 256 colours (k, 4) divide low to high into steps of equal width; below comes the
        first, above the last. Points beyond the bounds stay 0, 0, 0, 0.
        """
        steps = np.ascontiguousarray(ramp, np.uint8)
        if steps.ndim != 2 or steps.shape[1] != 4:
            raise ValueError(f"a ramp is a (k, 4) array of bytes, not {steps.shape}")
        count = self._set_points(points)
        colours = np.zeros((count, 4), np.uint8)
        with self._handle.use() as section:
            call("section_colour_plane", section, low, high, address(steps, ctypes.c_uint8), len(steps),
                 address(colours, ctypes.c_uint8), count, None)
        return colours

    def _set_points(self, points: ArrayLike) -> int:
        array = np.asarray(points)
        if array.dtype != POINT:
            array = positions(array).astype(np.float32)
        array = np.ascontiguousarray(array)
        stride = POINT.itemsize if array.dtype == POINT else 12
        with self._handle.use() as section:
            call("section_set_points", section, address(array), len(array), stride)
            self._set = array
        return len(array)

    def snap_rays(self, origins: ArrayLike, directions: ArrayLike, radius: float = 0.05,
                  tangent: float = 0.0) -> Records:
        """(n,) of SNAPPED: for each ray in the world the project's point that comes first along it, within
        `radius` metres at its origin and `tangent` metres more for each metre along.

        Shape  (n, 3) both; a single direction serves for all rays.
        """
        begin = positions(origins)
        rays = np.zeros(len(begin), _RAY)
        rays["origin"], rays["direction"] = begin, np.asarray(directions, np.float64)
        rays["radius"], rays["tangent"] = radius, tangent
        snapped = np.empty(len(rays), SNAPPED)
        with self._handle.use() as section:
            call("section_snap_rays_in_project", section, address(rays, _c.orvix_picking_ray), len(rays),
                 address(snapped, _c.orvix_snapped_point))
        return snapped  # a place with all bits set, for none, is -1 here

    def snap(self, world: ArrayLike, radius: float = 0.05) -> Records:
        """(n,) of SNAPPED: the project's point nearest to each position (n, 3), at most `radius` away."""
        places = positions(world)
        snapped = np.empty(len(places), SNAPPED)
        with self._handle.use() as section:
            call("section_snap_positions_in_project", section, address(places, ctypes.c_double),
                 len(places), radius, address(snapped, _c.orvix_snapped_point))
        return snapped

    @property
    def device(self) -> str:
        """What the last call worked on: "processor", or the device's own name."""
        count = ctypes.c_uint64()
        with self._handle.use() as section:
            call("section_get_device", section, None, 0, ctypes.byref(count))
            text = ctypes.create_string_buffer(count.value)
            call("section_get_device", section, text, len(text), ctypes.byref(count))
        return text.value.decode("utf-8", "replace")

    def close(self) -> None:
        self._handle.close()

    def __enter__(self) -> "Section":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _slab(self) -> Tuple[Floats, NDArray[np.uint8]]:
        """The slab's points as the viewer sees them, and their colours."""
        seen: List[Tuple[Floats, NDArray[np.uint8]]] = []
        world = self._local_to_world

        def gather(first: int, points: Records, classes: NDArray[np.uint8]) -> None:
            inside = points[classes == 0]
            local = np.stack([inside[axis].astype(np.float64) for axis in "xyz"], axis=-1)
            flat = self.flat(local @ world[:3, :3].T + world[:3, 3])
            seen.append((flat[:, [0, 2]], np.stack([inside[c] for c in ("red", "green", "blue")], -1)))

        self.each(gather)
        none = (np.empty((0, 2)), np.empty((0, 3), np.uint8))
        places, colours = zip(*(seen or [none]))
        return np.concatenate(places), np.concatenate(colours)

    def _repr_png_(self) -> bytes:
        """The slab as the viewer sees it."""
        places, colours = self._slab()
        if len(places) == 0:
            return Picture(np.zeros(2), np.ones(2)).png()
        picture = Picture(places.min(axis=0), places.max(axis=0))
        light = colours.min(axis=1) > 200  # would not show on white; nor would a scan without colour
        colours[light | (colours.max() == 0)] = (40, 40, 40)
        picture.dots(places, colours)
        return picture.png()

    def _repr_html_(self) -> str:
        picture = base64.b64encode(self._repr_png_()).decode("ascii")
        return f"<img alt='the slab, as the viewer sees it' src='data:image/png;base64,{picture}'>"

    def __repr__(self) -> str:
        return f"Section(normal {(-self.transformation[1, :3]).round(4).tolist()}, " \
               f"{2 * self.half_thickness:g} m thick)"
