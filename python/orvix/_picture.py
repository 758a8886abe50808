# SPDX-License-Identifier: GPL-3.0-or-later
"""Small pictures of surfaces for notebooks, as PNG, with NumPy alone."""
from __future__ import annotations

import struct
import zlib
from typing import Sequence, Tuple

import numpy as np
from numpy.typing import NDArray

from ._arrays import Floats

Colour = Tuple[int, int, int]

_WIDTH, _HEIGHT, _MARGIN = 640, 480, 12
_INK: Colour = (40, 40, 40)


class Picture:
    """A white picture over a part of a plane. Positions are (n, 2) arrays, the second axis up."""

    def __init__(self, low: Floats, high: Floats) -> None:
        span = np.maximum(high - low, 1e-9)
        self._scale = min((_WIDTH - 2 * _MARGIN) / span[0], (_HEIGHT - 2 * _MARGIN) / span[1])
        size = np.ceil(span * self._scale).astype(int) + 2 * _MARGIN
        self._low = low
        self.pixels = np.full((int(size[1]), int(size[0]), 3), 255, np.uint8)

    def _places(self, points: Floats) -> Floats:
        places: Floats = np.asarray((points - self._low) * self._scale + _MARGIN)
        places[:, 1] = self.pixels.shape[0] - 1 - places[:, 1]
        return places

    def dots(self, points: Floats, colours: NDArray[np.uint8]) -> None:
        """A pixel for each point, and four where points are few."""
        places = np.rint(self._places(points)).astype(int)
        wide = range(2) if len(points) < 50_000 else range(1)
        for right in wide:
            for down in wide:
                x = np.clip(places[:, 0] + right, 0, self.pixels.shape[1] - 1)
                y = np.clip(places[:, 1] + down, 0, self.pixels.shape[0] - 1)
                self.pixels[y, x] = colours

    def ring(self, ring: Floats, colour: Colour = _INK) -> None:
        """The closed line through a ring's corners."""
        corners = self._places(ring)
        for start, end in zip(corners, np.roll(corners, -1, axis=0)):
            steps = int(np.abs(end - start).max()) + 1
            line = np.rint(np.linspace(start, end, steps + 1)).astype(int)
            x = np.clip(line[:, 0], 0, self.pixels.shape[1] - 1)
            y = np.clip(line[:, 1], 0, self.pixels.shape[0] - 1)
            self.pixels[y, x] = colour

    def fill(self, rings: Sequence[Floats], colour: Colour) -> None:
        """What an odd number of rings encloses: a pixel is inside when its row meets an odd number of
        edges on its left."""
        height, width = self.pixels.shape[:2]
        crossed = np.zeros((height, width + 1), bool)
        for ring in rings:
            corners = self._places(ring)
            for (x0, y0), (x1, y1) in zip(corners, np.roll(corners, -1, axis=0)):
                if y0 > y1:
                    x0, y0, x1, y1 = x1, y1, x0, y0
                rows = np.arange(max(int(np.ceil(y0)), 0), min(int(np.ceil(y1)), height))
                if len(rows):
                    at = np.ceil(x0 + (rows - y0) * (x1 - x0) / (y1 - y0)).astype(int)
                    crossed[rows, np.clip(at, 0, width)] ^= True
        inside = np.logical_xor.accumulate(crossed, axis=1)[:, :width]
        self.pixels[inside] = colour

    def png(self) -> bytes:
        height, width = self.pixels.shape[:2]
        rows = np.zeros((height, 1 + 3 * width), np.uint8)  # each row begins with its filter: none
        rows[:, 1:] = self.pixels.reshape(height, -1)
        header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
        return (b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) +
                _chunk(b"IDAT", zlib.compress(rows.tobytes(), 6)) + _chunk(b"IEND", b""))


def _chunk(kind: bytes, body: bytes) -> bytes:
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def distance_colours(distances: Floats, largest: float) -> NDArray[np.uint8]:
    """Blue below, grey on, red above the plane; full colour at `largest`."""
    share = np.clip(distances / max(largest, 1e-12), -1, 1)[:, np.newaxis]
    middle = np.array([215, 215, 215])
    end = np.where(share < 0, np.array([33, 102, 172]), np.array([178, 24, 43]))
    return np.asarray(middle + np.abs(share) * (end - middle)).astype(np.uint8)


def distinct_colour(number: int) -> Colour:
    """A light colour of its own for each of some dozen numbers that follow each other."""
    hue = number * 0.618033988749895 % 1 * 6
    rise = int(round(130 + 100 * (1 - abs(hue % 2 - 1))))
    table = ((230, rise, 130), (rise, 230, 130), (130, 230, rise), (130, rise, 230), (rise, 130, 230),
             (230, 130, rise))
    return table[int(hue)]
