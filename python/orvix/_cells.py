# SPDX-License-Identifier: GPL-3.0-or-later
"""The cells of a project's grid, level by level."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Iterator, List, Optional, Sequence, Tuple, Union, overload

import numpy as np

from . import _c
from ._arrays import CELL, FINE_CELL, GRID_CELL, RUN, Floats, Records, vector
from ._errors import Damaged
from ._library import call, new

if TYPE_CHECKING:
    from ._project import Project

LEVELS = (1000, 100, 10)
_BLOCK = 1 << 14  # cells described at a time


@dataclass(frozen=True)
class Cell:
    """A cell of the grid. It holds its lower faces, not its upper ones."""

    level: int  #: 1000, 100 or 10: its side in centimetres
    entry: int  #: which of the level's cells
    index: Tuple[int, int, int]  #: counts cells of the level from the local zero
    first: int  #: its points are `first` to `first + count - 1` of `Project.points`
    count: int
    children: range  #: entries of the next finer level
    project: "Project" = field(repr=False, compare=False)

    @property
    def points(self) -> Records:
        """(count,) of POINT: its points, without a copy, read only."""
        return self.project.points[self.first:self.first + self.count]

    @property
    def min(self) -> Floats:
        """(3,), local: the lower corner."""
        return self._corner(0)

    @property
    def max(self) -> Floats:
        """(3,), local: the upper corner."""
        return self._corner(1)

    def _corner(self, more: int) -> Floats:
        at = np.array(self.index, np.int64) + more
        if self.level != 10:
            return vector(at * (self.level // 100))
        # Tenths are counted from the whole metre below, as the grid itself counts them.
        return vector(at // 10 + 0.1 * (at % 10))


class Cells(Sequence[Cell]):
    """The cells of one level that hold points, in the order of the points: `Project.cells`.

    Cost  iterating reads the index in blocks, about a microsecond a cell; points are read when they
          are looked at.
    """

    def __init__(self, project: "Project", level: int) -> None:
        if level not in LEVELS:
            raise ValueError(f"there is no level of {level} cm; there are 1000, 100 and 10")
        self._project = project
        self.level = level
        info = project.info
        self._length: int = {1000: info.cells_1000cm, 100: info.cells_100cm, 10: info.cells_10cm}[level]

    def __len__(self) -> int:
        return self._length

    def __iter__(self) -> Iterator[Cell]:
        for first in range(0, self._length, _BLOCK):
            for row in self.to_array(first, min(_BLOCK, self._length - first)):
                yield self._cell_of(row)

    @overload
    def __getitem__(self, entry: int) -> Cell: ...

    @overload
    def __getitem__(self, entry: slice) -> List[Cell]: ...

    def __getitem__(self, entry: Union[int, slice]) -> Union[Cell, List[Cell]]:
        if isinstance(entry, slice):
            return [self[each] for each in range(*entry.indices(self._length))]
        at = entry + self._length if entry < 0 else entry
        if not 0 <= at < self._length:
            raise IndexError(f"there are {self._length} cells of {self.level} cm, not one with number "
                             f"{entry}")
        return self._cell_of(self.to_array(at, 1)[0])

    def to_array(self, first: int = 0, count: Optional[int] = None) -> Records:
        """(count,) of CELL: the cells `first` to `first + count - 1` at once; None: to the last."""
        total = self._length - first if count is None else count
        if first < 0 or total < 0 or total > self._length - first:
            raise IndexError(f"there are {self._length} cells of {self.level} cm")
        cells = np.zeros(total, CELL)
        cells["level"] = self.level
        cells["entry"] = np.arange(first, first + total)
        with self._project.handle.use() as project:
            describe = {1000: _describe_1000, 100: _describe_100, 10: _describe_10}[self.level]
            bad = describe(project, self._project.info.points, first, cells)
            if bad is not None:
                # The library's own sentence for what these lines saw.
                call("cell_get", project, self.level, first + bad, ctypes.byref(new(_c.orvix_cell)))
                raise Damaged(f"cell {first + bad} of {self.level} cm leads outside the project's "
                              "files; check the project or import it again")
        return cells

    def _cell_of(self, row: Any) -> Cell:
        first_child = int(row["first_child"])
        return Cell(self.level, int(row["entry"]), (int(row["x"]), int(row["y"]), int(row["z"])),
                    int(row["first"]), int(row["count"]),
                    range(first_child, first_child + int(row["children"])), self._project)

    def __repr__(self) -> str:
        return f"Cells({self._length:,} of {self.level} cm)"


def cell_at(project: "Project", position: Any, level: int) -> Optional[Cell]:
    cell = new(_c.orvix_cell)
    with project.handle.use() as handle:
        call("cell_at", handle, level, position, ctypes.byref(cell))
    if cell.points == 0:
        return None
    return Cell(level, cell.entry, (cell.x, cell.y, cell.z), cell.first_point, cell.points,
                range(cell.first_child, cell.first_child + cell.children), project)


def _index(project: ctypes.c_void_p, level: int) -> Records:
    """The index records of a level where they are mapped: valid while the project is in use."""
    records, count = ctypes.c_void_p(), ctypes.c_uint64()
    call("cells_borrow", project, level, ctypes.byref(records), ctypes.byref(count))
    return _mapped(records.value, count.value, FINE_CELL if level == 10 else GRID_CELL)


def _fine_runs(project: ctypes.c_void_p) -> Records:
    runs, count = ctypes.POINTER(_c.orvix_run)(), ctypes.c_uint64()
    call("fine_runs_borrow", project, ctypes.byref(runs), ctypes.byref(count))
    return _mapped(ctypes.cast(runs, ctypes.c_void_p).value, count.value, RUN)


def _mapped(place: Optional[int], count: int, kind: "np.dtype[np.void]") -> Records:
    if not place or not count:
        return np.empty(0, kind)
    mapped = (ctypes.c_ubyte * (count * kind.itemsize)).from_address(place)
    return np.frombuffer(memoryview(mapped).cast("B"), kind)


def _first(bad: Any) -> Optional[int]:
    """The first true place."""
    return int(np.argmax(bad)) if bad.any() else None


def _outside(offset: Any, count: Any, total: int) -> Any:
    """Which runs do not lie inside `total` records."""
    return (offset > total) | (count > total - np.minimum(offset, total))


def _describe_1000(project: ctypes.c_void_p, points: int, first: int, cells: Records) -> Optional[int]:
    stored, children = _index(project, 1000)[first:first + len(cells)], _index(project, 100)
    offset, count = stored["offset"], stored["count"].astype(np.uint64)
    bad = _first(_outside(offset, count, len(children)))
    if bad is not None:
        return bad
    for axis in "xyz":
        cells[axis] = stored[axis]
    cells["first_child"], cells["children"] = offset, count
    full = np.flatnonzero(count)
    begin = children["offset"][offset[full]]
    last = children[offset[full] + count[full] - 1]
    outside = _outside(last["offset"], last["count"].astype(np.uint64), points)
    end = last["offset"] + last["count"]
    bad = _first(outside | (begin > end))
    if bad is not None:
        return int(full[bad])
    cells["first"][full], cells["count"][full] = begin, end - begin
    return None


def _describe_100(project: ctypes.c_void_p, points: int, first: int, cells: Records) -> Optional[int]:
    stored = _index(project, 100)[first:first + len(cells)]
    for axis in "xyz":
        cells[axis] = stored[axis]
    cells["first"], cells["count"] = stored["offset"], stored["count"]
    outside = _outside(cells["first"], cells["count"], points)
    fine = _fine_runs(project)
    if len(fine):
        runs = fine[first:first + len(cells)]
        cells["first_child"], cells["children"] = runs["offset"], runs["count"]
        total = len(_index(project, 10))
        outside |= _outside(cells["first_child"], cells["children"], total)
    return _first(outside)


def _describe_10(project: ctypes.c_void_p, points: int, first: int, cells: Records) -> Optional[int]:
    stored = _index(project, 10)[first:first + len(cells)]
    runs, around = _fine_runs(project), _index(project, 100)
    parent = np.searchsorted(runs["offset"], cells["entry"], side="right").astype(np.int64) - 1
    bad = _first((parent < 0) | (parent >= min(len(around), len(runs))))
    if bad is not None:
        return bad
    outside = cells["entry"] - runs["offset"][parent] >= runs["count"][parent]
    for axis in "xyz":
        at = around[axis][parent].astype(np.int64) * 10 + stored[axis]
        outside |= (at < -(1 << 31)) | (at >= (1 << 31) - 1)
        cells[axis] = np.clip(at, -(1 << 31), (1 << 31) - 1)
    cells["first"], cells["count"] = stored["offset"], stored["count"]
    return _first(outside | _outside(cells["first"], cells["count"], points))
