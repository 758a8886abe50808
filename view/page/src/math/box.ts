// SPDX-License-Identifier: GPL-3.0-or-later
// Boxes along the axes, in local coordinates.

import { distance, type Vector } from "./vector";

export interface Box {
  readonly min: Vector;
  readonly max: Vector;
}

export const middle = (box: Box): Vector => [
  (box.min[0] + box.max[0]) / 2,
  (box.min[1] + box.max[1]) / 2,
  (box.min[2] + box.max[2]) / 2,
];

export const diagonal = (box: Box): number => distance(box.min, box.max);

export function union(a: Box, b: Box): Box {
  return {
    min: [Math.min(a.min[0], b.min[0]), Math.min(a.min[1], b.min[1]), Math.min(a.min[2], b.min[2])],
    max: [Math.max(a.max[0], b.max[0]), Math.max(a.max[1], b.max[1]), Math.max(a.max[2], b.max[2])],
  };
}

/** The part of both boxes; its max lies below its min where they do not meet. */
export function intersection(a: Box, b: Box): Box {
  return {
    min: [Math.max(a.min[0], b.min[0]), Math.max(a.min[1], b.min[1]), Math.max(a.min[2], b.min[2])],
    max: [Math.min(a.max[0], b.max[0]), Math.min(a.max[1], b.max[1]), Math.min(a.max[2], b.max[2])],
  };
}

/** Distance from a place to the nearest place of the box; 0 inside. */
export function distanceTo(box: Box, place: Vector): number {
  const beyond = (axis: 0 | 1 | 2) =>
    Math.max(box.min[axis] - place[axis], 0, place[axis] - box.max[axis]);
  return Math.hypot(beyond(0), beyond(1), beyond(2));
}

export function corners(box: Box): Vector[] {
  const { min, max } = box;
  const result: Vector[] = [];
  for (const x of [min[0], max[0]])
    for (const y of [min[1], max[1]]) for (const z of [min[2], max[2]]) result.push([x, y, z]);
  return result;
}
