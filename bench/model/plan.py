# SPDX-License-Identifier: GPL-3.0-or-later
"""Plans as pixels: how much two pieces of a plan have in common."""
import numpy as np

CELL = 0.02  # metres


class Grid:
    """Pixels over everything that a comparison looks at; a piece is an array of bool."""

    def __init__(self, rings, cell=CELL):
        corners = np.array([corner for ring in rings for corner in ring], float).reshape(-1, 2)
        low, high = corners.min(0), corners.max(0)
        self.cell, self.shape = cell, tuple(np.ceil((high - low) / cell).astype(int) + 1)
        self.x = low[0] + (np.arange(self.shape[0])[:, None] + 0.5) * cell
        self.y = low[1] + (np.arange(self.shape[1])[None, :] + 0.5) * cell

    def none(self):
        return np.zeros(self.shape, bool)

    def fill(self, rings):
        """The piece inside an odd number of rings."""
        pixels = self.none()
        for ring in rings:
            for (x0, y0), (x1, y1) in zip(ring, ring[1:] + ring[:1]):
                if y0 == y1:
                    continue
                rows = np.nonzero((y0 > self.y[0]) != (y1 > self.y[0]))[0]
                if len(rows):
                    at = (x1 - x0) * (self.y[:, rows] - y0) / (y1 - y0) + x0
                    pixels[:, rows] ^= self.x < at
        return pixels

    def area(self, pixels):
        return float(pixels.sum()) * self.cell**2


def share(part, whole):
    return part / whole if whole else 0.0


def overlap(a, b):
    """What two pieces have in common, as a share of both together."""
    return share(int((a & b).sum()), int((a | b).sum()))


def apart(a, b):
    """Whether two lists of rings lie in boxes that do not meet."""
    box = [(np.min(c, 0), np.max(c, 0)) for c in (np.array(sum(rings, []), float) for rings in (a, b))]
    return bool((box[0][0] > box[1][1]).any() or (box[1][0] > box[0][1]).any())


def plan_overlap(a, b, cell=CELL):
    if not a or not b or apart(a, b):
        return 0.0
    grid = Grid(a + b, cell)
    return overlap(grid.fill(a), grid.fill(b))


def area_of(rings):
    """Outer ring less holes, whichever way they run."""
    def one(ring):
        x, y = np.array(ring, float).T
        return abs(np.dot(x, np.roll(y, -1)) - np.dot(y, np.roll(x, -1))) / 2
    return one(rings[0]) - sum(one(hole) for hole in rings[1:]) if rings else 0.0
