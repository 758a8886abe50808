// SPDX-License-Identifier: GPL-3.0-or-later
// The box that a cloud is looked at by: its bounds, but without a few points far outside, such as a
// scan has from reflections, which would make all the rest small.

import type { Box } from "../math/box";
import { diagonal } from "../math/box";

const sampled = 5_000;
const left = 0.005;

/** `place(i)` gives the position of point i. */
export function typicalBox(
  place: (point: number) => readonly [number, number, number],
  count: number,
  bounds: Box,
): Box {
  if (count < 100) return bounds;
  const points = Math.min(count, sampled);
  const sample = Array.from({ length: points }, (_, i) => place(Math.floor((i * count) / points)));
  const ends = ([0, 1, 2] as const).map((axis) => {
    const values = Float64Array.from(sample, (each) => each[axis]).sort();
    const low = values[Math.floor(left * (points - 1))]!;
    const high = values[Math.ceil((1 - left) * (points - 1))]!;
    const margin = (high - low) * 0.02;
    return [low - margin, high + margin] as const;
  });
  const box: Box = {
    min: [ends[0]![0], ends[1]![0], ends[2]![0]],
    max: [ends[0]![1], ends[1]![1], ends[2]![1]],
  };
  // Where nothing lies far outside, the bounds show every point.
  return diagonal(box) < 0.7 * diagonal(bounds) ? box : bounds;
}
