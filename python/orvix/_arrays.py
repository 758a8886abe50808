# SPDX-License-Identifier: GPL-3.0-or-later
"""The records that arrays are made of, and arrays as the library's calls take them."""
from __future__ import annotations

import ctypes
import os
from typing import Any, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

Floats = NDArray[np.float64]
Records = NDArray[np.void]  #: a structured array
Path = Union[str, "os.PathLike[str]"]

#: A point as the project stores it, 24 bytes. x, y, z are local; `station` counts from 0; the
#: `dclc` values are the host's own, and the only ones that change (`Project.set_dclc`).
POINT: np.dtype[np.void] = np.dtype([
    ("x", "<f4"), ("y", "<f4"), ("z", "<f4"), ("intensity", "<u2"),
    ("red", "u1"), ("green", "u1"), ("blue", "u1"), ("classification", "u1"),
    ("station", "<u2"), ("dclc_first", "<u2"), ("dclc_second", "u1"), ("reserved", "u1"),
])

#: A cell of the grid. x, y, z count cells of its level from the local zero. Its points are
#: `first` to `first + count - 1`; its children are entries of the next finer level.
CELL: np.dtype[np.void] = np.dtype([
    ("entry", "<u8"), ("x", "<i4"), ("y", "<i4"), ("z", "<i4"), ("level", "<i4"),
    ("first", "<u8"), ("count", "<u8"), ("first_child", "<u8"), ("children", "<u8"),
])

# Index records as stored, and rings as the library lists them.
GRID_CELL: np.dtype[np.void] = np.dtype([
    ("x", "<i4"), ("y", "<i4"), ("z", "<i4"), ("padding", "<u4"),
    ("offset", "<u8"), ("count", "<u4"), ("padding2", "<u4"),
])
FINE_CELL: np.dtype[np.void] = np.dtype([
    ("x", "i1"), ("y", "i1"), ("z", "i1"), ("padding", "u1", (5,)),
    ("offset", "<u8"), ("count", "<u4"), ("padding2", "<u4"),
])
RUN: np.dtype[np.void] = np.dtype([("offset", "<u8"), ("count", "<u4"), ("padding", "<u4")])
DCLC: np.dtype[np.void] = np.dtype([("first", "<u2"), ("second", "u1"), ("reserved", "u1")])


def address(array: NDArray[Any], kind: Any = ctypes.c_void_p) -> Any:
    """An array's place as a call takes it: contiguous, and kept by the caller meanwhile."""
    assert array.flags.c_contiguous
    if kind is ctypes.c_void_p:
        return ctypes.c_void_p(array.ctypes.data)
    return array.ctypes.data_as(ctypes.POINTER(kind))


def doubles(values: ArrayLike, count: int, what: str) -> Any:
    """`count` numbers as a C array."""
    array = np.asarray(values, np.float64)
    if array.shape != (count,):
        raise ValueError(f"{what} takes {count} numbers, not an array of shape {array.shape}")
    return (ctypes.c_double * count)(*array.tolist())


def positions(values: ArrayLike) -> Floats:
    """Points or positions as a contiguous (n, 3) array of doubles."""
    array = np.asarray(values)
    if array.dtype.names is not None:
        array = np.stack([array[axis].astype(np.float64) for axis in "xyz"], axis=-1)
    array = np.ascontiguousarray(array, np.float64)
    if array.ndim != 2 or array.shape[1] != 3:
        raise ValueError(f"positions are an (n, 3) array or points with x, y, z, not {array.shape}")
    return array


def vector(values: ArrayLike) -> Floats:
    """A constant array of a result."""
    array = np.array(values, np.float64)
    array.flags.writeable = False
    return array
