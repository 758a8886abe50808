# SPDX-License-Identifier: GPL-3.0-or-later
"""Exact searches for the points around a position."""
from __future__ import annotations

import ctypes
from typing import List, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _c
from ._arrays import POINT, address, doubles, positions
from ._errors import Error
from ._library import Handle, LongCall, call
from ._progress import ProgressLike

# Neighbours that a call hands over: at most 16 MB, unless one position has more.
_LEAST_ROOM = 1 << 12
_ROOM = 1 << 22


class Neighbours:
    """An index over points, which it copies.

        around = orvix.Neighbours(cell.points)
        around.within((1.0, 2.0, 0.5), 0.1)            # rows of cell.points, nearest first
        rows, ends = around.within_many(places, 0.1)   # of many places, in one call

    Frame  that of the points: local for `Project.points`, whatever it is for an (n, 3) array.
    Shape  points with x, y, z, or an (n, 3) array, taken as 32-bit floats.
    Cost   a million points in under half a second. A search takes a microsecond or two, a call from
           Python five more: for many positions use `within_many` and `nearest_many`.
    """

    def __init__(self, points: ArrayLike, *, progress: ProgressLike = None) -> None:
        array = np.asarray(points)
        if array.dtype != POINT:
            if array.dtype.names is not None:
                array = np.stack([array[axis] for axis in "xyz"], axis=-1)
            array = array.astype(np.float32, copy=False)
            if array.ndim != 2 or array.shape[1] != 3:
                raise ValueError(f"points are an (n, 3) array or records with x, y, z, "
                                 f"not {array.shape}")
        array = np.ascontiguousarray(array)
        stride = POINT.itemsize if array.dtype == POINT else 12
        handle = ctypes.c_void_p()
        with LongCall("indexing", progress) as long:
            call("neighbours_open_while", address(array), len(array), stride, long.proceed, None,
                 ctypes.byref(handle))
            self._handle = Handle(handle, "neighbours")
        self._count = len(array)
        self._room = np.empty(256, np.int32)

    def within(self, position: ArrayLike, radius: float) -> NDArray[np.int32]:
        """Rows of the points at most `radius` metres away, by ascending distance, then row."""
        place, count = doubles(position, 3, "a position"), ctypes.c_uint64()
        with self._handle.use() as handle:
            for _ in range(2):
                try:
                    call("neighbours_within", handle, place, radius,
                         address(self._room, ctypes.c_int32), len(self._room), ctypes.byref(count))
                    break
                except Error as error:
                    if error.status != _c.ORVIX_TOO_SMALL:
                        raise
                    self._room = np.empty(2 * count.value, np.int32)
            return self._room[:count.value].copy()

    def nearest(self, position: ArrayLike) -> Optional[int]:
        """The row of the nearest point; None where there is none."""
        index = ctypes.c_int32()
        with self._handle.use() as handle:
            call("neighbours_nearest", handle, doubles(position, 3, "a position"),
                 ctypes.byref(index))
        return index.value if index.value >= 0 else None

    def within_many(self, places: ArrayLike, radius: float, *, progress: ProgressLike = None
                    ) -> Tuple[NDArray[np.int32], NDArray[np.int64]]:
        """What `within` finds at each of many positions, as one list after the other.

            rows, ends = around.within_many(places, 0.1)
            counts = np.diff(ends, prepend=0)
            near = np.split(rows, ends[:-1])           # a list for each position

        Shape  places (n, 3) or points with x, y, z; rows (k,), ends (n,): the neighbours of position i
               are rows[ends[i - 1]:ends[i]], of the first rows[:ends[0]].
        """
        xyz = positions(places)
        counts = np.empty(len(xyz), np.uint32)
        room = np.empty(min(_ROOM, 16 * len(xyz) + _LEAST_ROOM), np.int32)
        found: List[NDArray[np.int32]] = []
        searched, at = ctypes.c_uint64(), 0
        with LongCall("finding neighbours", progress) as long:
            while at < len(xyz):
                with self._handle.use() as handle:
                    try:
                        call("neighbours_within_many", handle, address(xyz[at:], ctypes.c_double),
                             len(xyz) - at, radius, long.proceed, None,
                             address(counts[at:], ctypes.c_uint32), address(room, ctypes.c_int32),
                             len(room), ctypes.byref(searched))
                    except Error as error:
                        if error.status != _c.ORVIX_TOO_SMALL:
                            raise
                        room = np.empty(2 * int(counts[at]), np.int32)
                some = counts[at:at + searched.value]
                found.append(room[:int(some.sum(dtype=np.int64))].copy())
                at += searched.value
        return np.concatenate([*found, np.empty(0, np.int32)]), np.cumsum(counts, dtype=np.int64)

    def nearest_many(self, places: ArrayLike, *, progress: ProgressLike = None) -> NDArray[np.int32]:
        """(n,): the row of the point nearest to each position (n, 3); -1 where there is none."""
        xyz = positions(places)
        rows = np.empty(len(xyz), np.int32)
        with LongCall("finding neighbours", progress) as long, self._handle.use() as handle:
            call("neighbours_nearest_many", handle, address(xyz, ctypes.c_double), len(xyz),
                 long.proceed, None, address(rows, ctypes.c_int32))
        return rows

    def __len__(self) -> int:
        return self._count
