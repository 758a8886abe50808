// SPDX-License-Identifier: GPL-3.0-or-later
// What is measured, from places and planes alone; doubles throughout.

import {
  add,
  cross,
  distance,
  dot,
  length,
  scale,
  subtract,
  unit,
  type Vector,
} from "../math/vector";

export interface Path {
  readonly total: number;
  /** Of its plan. */
  readonly horizontal: number;
  /** From the first place to the last, upward positive. */
  readonly vertical: number;
  readonly segments: readonly number[];
}

export function pathOf(places: readonly Vector[]): Path {
  const segments: number[] = [];
  let horizontal = 0;
  for (let i = 1; i < places.length; ++i) {
    const [a, b] = [places[i - 1]!, places[i]!];
    segments.push(distance(a, b));
    horizontal += Math.hypot(b[0] - a[0], b[1] - a[1]);
  }
  const first = places[0];
  const last = places[places.length - 1];
  return {
    total: segments.reduce((sum, each) => sum + each, 0),
    horizontal,
    vertical: first && last ? last[2] - first[2] : 0,
    segments,
  };
}

export interface Polygon {
  /** On the plane through its corners, fitted as a sum of triangles: that of a bent one is less. */
  readonly area: number;
  /** Of its plan. */
  readonly plan: number;
  readonly perimeter: number;
  /** How far a corner lies off the polygon's plane at most. */
  readonly bend: number;
}

export function polygonOf(corners: readonly Vector[]): Polygon {
  if (corners.length < 3) return { area: 0, plan: 0, perimeter: 0, bend: 0 };
  // Relative to the first corner: far from zero the products would swallow digits.
  const from = corners[0]!;
  const own = corners.map((each) => subtract(each, from));
  let sum: Vector = [0, 0, 0];
  let centre: Vector = [0, 0, 0];
  let perimeter = 0;
  own.forEach((corner, i) => {
    const next = own[(i + 1) % own.length]!;
    sum = add(sum, cross(corner, next));
    centre = add(centre, scale(corner, 1 / own.length));
    perimeter += distance(corner, next);
  });
  const normal = unit(sum);
  const bend = Math.max(...own.map((corner) => Math.abs(dot(normal, subtract(corner, centre)))));
  return { area: length(sum) / 2, plan: Math.abs(sum[2]) / 2, perimeter, bend };
}

/** a, b, c, d of ax + by + cz + d = 0, the normal of length 1. */
export type Equation = readonly [number, number, number, number];

export interface PlanePair {
  /** Degrees between the planes, 0 to 90. */
  readonly angle: number;
  /** Between nearly parallel planes: how far the second's centre is from the first. */
  readonly gap: number | null;
}

const parallelDegrees = 5;

export function planePair(
  first: { readonly equation: Equation },
  second: { readonly equation: Equation; readonly centroid: Vector },
): PlanePair {
  const [a, b] = [first.equation, second.equation];
  const normalA: Vector = [a[0], a[1], a[2]];
  const normalB: Vector = [b[0], b[1], b[2]];
  // The arc tangent keeps its digits at both ends, where an arc cosine loses half of them.
  const angle =
    (Math.atan2(length(cross(normalA, normalB)), Math.abs(dot(normalA, normalB))) * 180) / Math.PI;
  const gap = angle <= parallelDegrees ? Math.abs(dot(normalA, second.centroid) + a[3]) : null;
  return { angle, gap };
}

/** Degrees of a plane against the horizontal: 0 a floor, 90 a wall. */
export function slopeOf(equation: Equation): number {
  return (Math.atan2(Math.hypot(equation[0], equation[1]), Math.abs(equation[2])) * 180) / Math.PI;
}
