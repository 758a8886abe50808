# SPDX-License-Identifier: GPL-3.0-or-later
"""two_rooms.py OUT.ptx: a scan of a small house whose numbers are known, by rays from two stations.

Two rooms, of 4 x 3 m and of 3 x 3 m, 2.5 m high, with a wall of 0.2 m between them and a way through it."""
import sys

import numpy as np

DOOR = (1.0, 1.9, 2.0)  # from, to, height
STATIONS = [(2.0, 1.5, 1.4), (5.7, 1.4, 1.4)]


def rectangles():
    """(axis that is constant, its value, low, high of the other two) of every surface."""
    rooms = [(0.0, 4.0), (4.2, 7.2)]
    for low, high in rooms:
        yield 2, 0.0, (low, 0.0), (high, 3.0)
        yield 2, 2.5, (low, 0.0), (high, 3.0)
        yield 1, 0.0, (low, 0.0), (high, 2.5)
        yield 1, 3.0, (low, 0.0), (high, 2.5)
    yield 0, 0.0, (0.0, 0.0), (3.0, 2.5)
    yield 0, 7.2, (0.0, 0.0), (3.0, 2.5)
    for x in (4.0, 4.2):
        yield 0, x, (0.0, 0.0), (DOOR[0], 2.5)
        yield 0, x, (DOOR[1], 0.0), (3.0, 2.5)
        yield 0, x, (DOOR[0], DOOR[2]), (DOOR[1], 2.5)
    yield 2, 0.0, (4.0, DOOR[0]), (4.2, DOOR[1])
    yield 2, DOOR[2], (4.0, DOOR[0]), (4.2, DOOR[1])
    yield 1, DOOR[0], (4.0, 0.0), (4.2, DOOR[2])
    yield 1, DOOR[1], (4.0, 0.0), (4.2, DOOR[2])


def seen_from(station, rng):
    """Where rays each 0.4 degrees end, with noise of a millimetre along them."""
    turn, rise = np.meshgrid(np.radians(np.arange(0, 360, 0.4)), np.radians(np.arange(-88, 89, 0.4)))
    way = np.stack([np.cos(turn) * np.cos(rise), np.sin(turn) * np.cos(rise), np.sin(rise)], -1)
    nearest = np.full(turn.shape, np.inf)
    for axis, value, low, high in rectangles():
        others = [k for k in range(3) if k != axis]
        with np.errstate(divide="ignore", invalid="ignore"):
            far = (value - station[axis]) / way[..., axis]
            at = [station[k] + far * way[..., k] for k in others]
            hit = (far > 1e-6) & (far < nearest)
            for place, lowest, highest in zip(at, low, high):
                hit &= (place >= lowest) & (place <= highest)
        nearest = np.where(hit, far, nearest)
    noisy = nearest + rng.normal(0, 0.001, nearest.shape)
    points = way * np.where(np.isfinite(nearest), noisy, 0)[..., np.newaxis]
    return points.reshape(-1, 3), turn.shape


def write(path):
    rng = np.random.default_rng(5)
    with open(path, "w") as file:
        for station in STATIONS:
            points, (rows, columns) = seen_from(station, rng)
            at = " ".join(map(str, station))
            file.write(f"{columns}\n{rows}\n{at}\n1 0 0\n0 1 0\n0 0 1\n1 0 0 0\n0 1 0 0\n0 0 1 0\n{at} 1\n")
            np.savetxt(file, np.column_stack([points, np.full(len(points), 0.5)]), fmt="%.5f")


if __name__ == "__main__":
    write(sys.argv[1])
