# SPDX-License-Identifier: GPL-3.0-or-later
"""How often values occur, and their natural classes."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Dict, Optional

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._arrays import Floats, address
from ._library import call


@dataclass(frozen=True, eq=False)
class Histogram:
    """How often the values of a field occur. Heights are metres in the world."""

    field: str  #: "intensity" or "z"
    points: int
    distinct: int  #: bins that hold any point
    lowest: float
    highest: float
    mean: float
    median: float
    counts: NDArray[np.uint64]  #: (n,): points in each column
    edges: Floats  #: (n + 1,): the columns' edges, as numpy.histogram and matplotlib's stairs take them
    below: int  #: points left out below the first column
    above: int  #: points left out above the last column

    def __repr__(self) -> str:
        return (f"Histogram({self.field}, {self.points:,} points, {self.lowest:g} to {self.highest:g}, "
                f"{len(self.counts)} columns)")


def histogram_of(found: Dict[str, Any]) -> Histogram:
    counts = np.array(found["counts"], np.uint64)
    edges = found["start"] + found["width"] * np.arange(len(counts) + 1)
    return Histogram(found["field"], found["points"], found["distinct"], found["lowest"],
                     found["highest"], found["mean"], found["median"], counts, edges,
                     found["below"], found["above"])


@dataclass(frozen=True, eq=False)
class Classes:
    """Natural classes of a field. A value equal to a boundary is in the class that ends there."""

    field: str  #: "intensity" or "z"
    points: int
    boundaries: Floats  #: (classes + 1,): the smallest value, then the greatest of each class
    counts: NDArray[np.uint64]  #: (classes,): points in each
    fit: float  #: goodness of variance fit, 0 to 1
    exact: bool  #: all points decided
    sampled: Optional[int]  #: values that decided; None when exact
    applied: Optional[int]  #: points that carry their class now

    def classify(self, values: ArrayLike) -> NDArray[np.int64]:
        """The class, 1 to n, of each value."""
        found = np.searchsorted(self.boundaries[1:-1], np.asarray(values), side="left") + 1
        return np.asarray(found, np.int64)

    def __repr__(self) -> str:
        return f"Classes({self.field}, boundaries {self.boundaries.tolist()}, fit {self.fit:.3f})"


def classes_of(found: Dict[str, Any]) -> Classes:
    return Classes(found["field"], found["points"], np.array(found["boundaries"], np.float64),
                   np.array(found["counts"], np.uint64), found["fit"], found["exact"],
                   found["sampled"], found["applied"])


def natural_breaks(values: ArrayLike, classes: int) -> Floats:
    """The boundaries of natural classes of some thousand values: those whose values lie closest to
    their class's mean.

    Shape   `values` (n,), in any order; the result (classes + 1,): the smallest value, the largest of
            each class.
    Cost    12 bytes a value and class; n squared steps. Of all points, see `Project.classify`.
    Source  W. D. Fisher, "On grouping for maximum homogeneity", JASA 53 (1958).
    """
    ascending = np.sort(np.asarray(values, np.float64).ravel())
    if len(ascending) == 0 or not np.isfinite(ascending).all():
        raise ValueError("natural classes are of one finite value at least")
    if not 1 <= classes <= 255:
        raise ValueError(f"there are 1 to 255 classes, not {classes}")
    breaks, count = np.empty(classes + 1), ctypes.c_uint64()
    call("natural_breaks", address(ascending, ctypes.c_double), len(ascending), classes,
         float(ascending[0]), address(breaks, ctypes.c_double), len(breaks), ctypes.byref(count))
    return breaks[:count.value]
