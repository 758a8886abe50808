// SPDX-License-Identifier: GPL-3.0-or-later
// Where to look from a place inside a cloud, so that there is something to see.

import type { Vector } from "../math/vector";

/** Share of all places that makes a look worth keeping. */
const enough = 0.1;

/**
 * The yaw to look at places with, from `from`: the present one, where a tenth of them lies within
 * the view's angle; else the one that most of them lie around. A scanner in a corner, or one that saw a part of the
 * turn only, has nothing to show in other directions.
 */
export function facing(
  from: Vector,
  places: readonly Vector[],
  yaw: number,
  angle: number,
): number {
  const flat = places
    .map((place) => [place[0] - from[0], place[1] - from[1]] as const)
    .filter(([x, y]) => x !== 0 || y !== 0);
  // As of a pose: clockwise from +y, seen from above.
  const yaws = flat.map(([x, y]) => Math.atan2(x, y));
  const off = (a: number, b: number) => Math.abs(Math.atan2(Math.sin(a - b), Math.cos(a - b)));
  const seen = (middle: number) =>
    yaws.filter((each) => off(each, middle) <= angle / 2).length / Math.max(yaws.length, 1);
  if (yaws.length === 0 || seen(yaw) >= enough) return yaw;
  const steps = Array.from({ length: 24 }, (_, i) => yaw + (i * Math.PI) / 12);
  return steps.reduce((best, step) => (seen(step) > seen(best) ? step : best), yaw);
}
