# SPDX-License-Identifier: GPL-3.0-or-later
"""The building that a project shows: storeys, walls, openings, rooms, slabs, roof."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from html import escape
from typing import TYPE_CHECKING, Any, Dict, List, NamedTuple, Optional, Tuple

import numpy as np
from numpy.typing import NDArray

from . import _c
from ._arrays import Floats, Path, address, vector
from ._library import Handle, call, new, text_of
from ._mesh import Mesh, read_mesh
from ._picture import Picture, distinct_colour
from ._surface import Region, read_regions

if TYPE_CHECKING:
    from ._project import Project

_WALL, _OPENING, _SLAB, _ROOM, _SLOPE, _STOREY = range(6)  # ORVIX_ELEMENT_
OPENING_KINDS = ("door", "window", "hole")
OPENING_STATES = ("free", "open", "closed", "unknown")
EDGE_KINDS = ("ridge", "hip", "valley")
INFERENCES = ("other side", "hidden part", "free end", "floor level", "ceiling level", "open bound",
              "kind by size", "squared")


class Measure(NamedTuple):
    """A value, and between which it lies with 95 % likelihood, as far as the points tell."""

    value: float
    low: float
    high: float

    def __float__(self) -> float:
        return self.value


@dataclass(frozen=True, eq=False)
class Evidence:
    """What an element rests on."""

    seen: float  #: share of its surface on which points lie
    hidden: float  #: share of its surface before which something stood
    points: int
    rms: float  #: metres, of the points' distances from its planes
    tolerance: float  #: metres, the largest of its planes
    stations: NDArray[np.uint32]  #: numbers of those that saw it
    planes: NDArray[np.uint32]  #: numbers of its planes
    inferred: Tuple[str, ...]  #: what was concluded and not measured: words of docs/MODEL.md


@dataclass(frozen=True)
class Storey:
    """Heights are of the world."""

    number: int
    name: str
    elevation: float  #: of its floor
    ceiling: float


class Element:
    """What a building consists of. Positions and heights are of the world; numbers count from 1."""

    _kind = -1

    def __init__(self, building: "Building", number: int) -> None:
        self._building = building
        self.number: int = number  #: in its list, from 1
        self.name: str = building._name(self._kind, number)  #: "Room 1.2", "wall 3"
        self._evidence: Optional[Evidence] = None
        self._regions: Optional[Tuple[Region, ...]] = None

    def _read(self, what: str, struct: Any) -> Any:
        record = new(struct)
        with self._building.handle.use() as building:
            call(f"building_get_{what}", building, self.number, ctypes.byref(record))
        return record

    @property
    def evidence(self) -> Evidence:
        if self._evidence is None:
            self._evidence = self._building._evidence(self._kind, self.number)
        return self._evidence

    @property
    def regions(self) -> Tuple[Region, ...]:
        """Its shape, (n, 3) in the world: a wall's face over its axis, openings not cut out; an opening's
        rectangle there; a slab's plan, a room's floor, a slope's outline."""
        if self._regions is None:
            self._regions = read_regions(self._building.handle, "building", (self._kind, self.number))
        return self._regions

    @property
    def polygons(self) -> List[Tuple[Floats, List[Floats]]]:
        """(shell, holes) of each region in plan, (n, 2), as shapely.Polygon takes them."""
        return [(region.outer[:, :2], [hole[:, :2] for hole in region.holes])
                for region in self.regions]

    def mesh(self) -> Mesh:
        """Its triangles: of a wall without its openings, of a room's solid; a surface of what one face
        alone was seen."""
        made = ctypes.c_void_p()
        with self._building.handle.use() as building:
            call("building_mesh", building, self._kind, self.number, ctypes.byref(made))
        return read_mesh(Handle(made, "mesh"))

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self.name})"


class Slab(Element):
    """A floor, a ceiling, or both faces of what lies between two storeys."""

    _kind = _SLAB

    def __init__(self, building: "Building", number: int) -> None:
        super().__init__(building, number)
        slab = self._read("slab", _c.orvix_slab)
        self.storey: int = slab.storey  #: whose floor it is; of a ceiling under nothing, the one below
        self.top = _measure(slab.top, slab.top_seen)  #: height; None: not seen
        self.bottom = _measure(slab.bottom, slab.bottom_seen)
        self.thickness = _measure(slab.thickness, slab.top_seen and slab.bottom_seen)


class Wall(Element):
    """An upright wall."""

    _kind = _WALL

    def __init__(self, building: "Building", number: int) -> None:
        super().__init__(building, number)
        wall = self._read("wall", _c.orvix_wall)
        self.storey: int = wall.storey
        self.axis = vector(wall.axis).reshape(2, 2)  #: start and end in plan
        self.thickness = _measure(wall.thickness, wall.thickness[0] > 0)  #: None: one face was seen
        self.base: float = wall.bottom
        self.top: float = wall.top
        self.left_seen = bool(wall.left_seen)
        self.right_seen = bool(wall.right_seen)
        self.external = bool(wall.external)  #: rooms of its storey lie on one side at most
        self.deviation: float = wall.deviation  #: largest departure of a face from its plane over 0.5 m

    @property
    def length(self) -> float:
        return float(np.linalg.norm(self.axis[1] - self.axis[0]))


class Opening(Element):
    """A door, a window or a hole in a wall."""

    _kind = _OPENING

    def __init__(self, building: "Building", number: int) -> None:
        super().__init__(building, number)
        opening = self._read("opening", _c.orvix_opening)
        self.kind: str = OPENING_KINDS[opening.kind]
        self.state: str = OPENING_STATES[opening.state]
        self.wall: int = opening.wall
        self.rooms: Tuple[int, ...] = tuple(room for room in opening.rooms if room)
        self.centre = vector(opening.centre)
        self.direction = vector(opening.direction)  #: of its wall in plan
        self.bottom: float = opening.bottom
        self.width = Measure(*opening.width)
        self.height = Measure(*opening.height)
        self.free: float = opening.free  #: share through which rays went
        self.hidden: float = opening.hidden  #: share before which something stood
        self.unknown: float = opening.unknown  #: share that no ray reached


class Room(Element):
    """A room, closed by floor, ceiling and walls."""

    _kind = _ROOM

    def __init__(self, building: "Building", number: int) -> None:
        super().__init__(building, number)
        room = self._read("room", _c.orvix_room)
        self.storey: int = room.storey
        self.floor: float = room.floor
        self.ceiling: float = room.ceiling  #: its highest
        self.area = Measure(*room.area)
        self.height = Measure(*room.height)
        self.volume = Measure(*room.volume)

    @property
    def __geo_interface__(self) -> Dict[str, Any]:
        """Its floor, a Polygon with heights: shapely.geometry.shape(room)."""
        region = self.regions[0]
        return {"type": "Polygon", "coordinates": [np.vstack([ring, ring[:1]]).tolist()
                                                   for ring in (region.outer, *region.holes)]}


class Slope(Element):
    """A flat part of a roof; the normal points up and out."""

    _kind = _SLOPE

    def __init__(self, building: "Building", number: int) -> None:
        super().__init__(building, number)
        slope = self._read("slope", _c.orvix_slope)
        self.equation = vector(slope.equation)
        self.upper_seen = bool(slope.upper_seen)  #: else the plane is that of the lower face
        self.thickness = _measure(slope.thickness, slope.thickness[0] > 0)
        self.area: float = slope.area


@dataclass(frozen=True, eq=False)
class Edge:
    """Where two slopes meet."""

    kind: str  #: ridge, hip or valley
    slopes: Tuple[int, int]
    ends: Floats  #: (2, 3), world


class Building:
    """The building that a project shows: `Project.building`, `Project.saved_building`.

        house = orvix.open("house.prj").building()
        print(sum(room.area.value for room in house.rooms))
        house.write("house.ifc")

    Lifetime  needs its project no longer.
    """

    def __init__(self, project: "Project", handle: Handle) -> None:
        self.handle = handle
        self._project = project
        info = new(_c.orvix_building_info)
        with handle.use() as building:
            call("building_get_info", building, ctypes.byref(info))
        self.stations_known = bool(info.stations_known)  #: without, rooms and openings are guesses
        self.storeys: Tuple[Storey, ...] = tuple(self._storey(i + 1) for i in range(info.storeys))
        self.slabs = tuple(Slab(self, i + 1) for i in range(info.slabs))
        self.walls = tuple(Wall(self, i + 1) for i in range(info.walls))
        self.openings = tuple(Opening(self, i + 1) for i in range(info.openings))
        self.rooms = tuple(Room(self, i + 1) for i in range(info.rooms))
        self.slopes = tuple(Slope(self, i + 1) for i in range(info.slopes))
        self.edges: Tuple[Edge, ...] = tuple(self._edge(i + 1) for i in range(info.edges))
        #: What could not be told of this scan, a sentence each.
        self.remarks = tuple(self._text("remark", i + 1) for i in range(info.remarks))

    @property
    def doors(self) -> Tuple[Opening, ...]:
        return tuple(opening for opening in self.openings if opening.kind == "door")

    @property
    def windows(self) -> Tuple[Opening, ...]:
        return tuple(opening for opening in self.openings if opening.kind == "window")

    def _text(self, what: str, *which: int) -> str:
        count = ctypes.c_uint64()
        with self.handle.use() as building:
            call(f"building_get_{what}", building, *which, None, 0, ctypes.byref(count))
            text = ctypes.create_string_buffer(count.value)
            call(f"building_get_{what}", building, *which, text, len(text), ctypes.byref(count))
        return text.value.decode("utf-8", "replace")

    def _name(self, kind: int, number: int) -> str:
        return self._text("name", kind, number)

    def _storey(self, number: int) -> Storey:
        storey = new(_c.orvix_storey)
        with self.handle.use() as building:
            call("building_get_storey", building, number, ctypes.byref(storey))
        return Storey(number, self._name(_STOREY, number), storey.elevation, storey.ceiling)

    def _edge(self, number: int) -> Edge:
        edge = new(_c.orvix_edge)
        with self.handle.use() as building:
            call("building_get_edge", building, number, ctypes.byref(edge))
        return Edge(EDGE_KINDS[edge.kind], (edge.slopes[0], edge.slopes[1]),
                    vector(edge.ends).reshape(2, 3))

    def _numbers(self, what: str, kind: int, number: int, room: int) -> NDArray[np.uint32]:
        numbers, count = np.empty(room, np.uint32), ctypes.c_uint64()
        with self.handle.use() as building:
            call(f"building_get_{what}", building, kind, number, address(numbers, ctypes.c_uint32),
                 room, ctypes.byref(count))
        return numbers

    def _evidence(self, kind: int, number: int) -> Evidence:
        known = new(_c.orvix_evidence)
        with self.handle.use() as building:
            call("building_get_evidence", building, kind, number, ctypes.byref(known))
        return Evidence(known.seen, known.hidden, known.points, known.rms, known.tolerance,
                        self._numbers("stations", kind, number, known.stations),
                        self._numbers("planes", kind, number, known.planes),
                        tuple(word for bit, word in enumerate(INFERENCES)
                              if known.inferred >> bit & 1))

    def write(self, file: Path) -> None:
        """Writes a file, as `orvix model` does: .ifc, .json, .obj, or plans as .dxf, .svg, .png."""
        with self.handle.use() as building:
            call("building_write", building, text_of(file))

    def save(self) -> None:
        """Keeps the building in its project, open with mode "r+", in place of the one kept so far."""
        self._project._require_changes()
        with self._project.handle.use() as project, self.handle.use() as building:
            call("building_save", project, building)

    def close(self) -> None:
        """Lets go of it. What was read stays; shapes and evidence are read when they are asked for."""
        self.handle.close()

    def __enter__(self) -> "Building":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return (f"Building({len(self.storeys)} storeys, {len(self.rooms)} rooms, {len(self.walls)} "
                f"walls, {len(self.doors)} doors, {len(self.windows)} windows)")

    def _repr_html_(self) -> str:
        rows = "".join(f"<tr><td>{escape(room.name)}</td><td>{room.area.value:.2f}</td>"
                       f"<td>{room.height.value:.3f}</td><td>{room.volume.value:.2f}</td></tr>"
                       for room in self.rooms)
        notes = "".join(f"<p>{escape(remark)}</p>" for remark in self.remarks)
        return (f"<p>{escape(repr(self))}</p><table><tr><th>room</th><th>area, m²</th><th>height, m</th>"
                f"<th>volume, m³</th></tr>{rows}</table>{notes}")

    def _repr_png_(self) -> bytes:
        """The lowest storey's rooms in plan, and the axes of its walls."""
        rooms = [room for room in self.rooms if room.storey == 1]
        walls = [wall for wall in self.walls if wall.storey == 1]
        corners = np.vstack([wall.axis for wall in walls]
                            + [ring for room in rooms for ring, _ in room.polygons]
                            or [np.zeros((1, 2))])
        picture = Picture(corners.min(axis=0), corners.max(axis=0))
        for room in rooms:
            for shell, holes in room.polygons:
                picture.fill([shell, *holes], distinct_colour(room.number))
        for wall in walls:
            picture.ring(wall.axis)
        return picture.png()


def _measure(three: Any, known: Any) -> Optional[Measure]:
    return Measure(*three) if known else None
