// SPDX-License-Identifier: GPL-3.0-or-later
// Vectors of three doubles. World coordinates of seven digits keep their millimetres in them; what
// goes to the graphics card is made relative to the camera first.

export type Vector = readonly [number, number, number];

export const add = (a: Vector, b: Vector): Vector => [a[0] + b[0], a[1] + b[1], a[2] + b[2]];
export const subtract = (a: Vector, b: Vector): Vector => [a[0] - b[0], a[1] - b[1], a[2] - b[2]];
export const scale = (a: Vector, by: number): Vector => [a[0] * by, a[1] * by, a[2] * by];
export const dot = (a: Vector, b: Vector): number => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
export const length = (a: Vector): number => Math.hypot(a[0], a[1], a[2]);
export const distance = (a: Vector, b: Vector): number => length(subtract(a, b));

export const cross = (a: Vector, b: Vector): Vector => [
  a[1] * b[2] - a[2] * b[1],
  a[2] * b[0] - a[0] * b[2],
  a[0] * b[1] - a[1] * b[0],
];

/** The vector of length 1 in the same direction; zero stays zero. */
export function unit(a: Vector): Vector {
  const size = length(a);
  return size > 0 ? scale(a, 1 / size) : a;
}

/** a + (b - a) * t */
export const between = (a: Vector, b: Vector, t: number): Vector => [
  a[0] + (b[0] - a[0]) * t,
  a[1] + (b[1] - a[1]) * t,
  a[2] + (b[2] - a[2]) * t,
];

export const clamp = (value: number, low: number, high: number): number =>
  Math.min(Math.max(value, low), high);
