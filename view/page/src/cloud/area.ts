// SPDX-License-Identifier: GPL-3.0-or-later
// About how much surface a set of points covers, from how many small cubes they fill. Points of a
// scan lie on surfaces, so the area and their number give the distance between neighbours, which
// is how large a point must be drawn to close the gaps.

/** More points say no more about the area. */
const sampled = 1024;
/** Points a cube that make it likely that no cube of the surface stayed empty. */
const enough = 4;
/** Metres: points farther apart than this lie on nothing that could be drawn closed. */
const coarsest = 2;
/** A slanted surface cuts more cubes than one along an axis: 1.5 at most on average. */
const slant = 1.25;

/** Twice the points at least, so that a free slot is near. */
const slots = 4096;
const keys = new Int32Array(slots);
/** The round in which a slot was filled: rounds before it count as empty. */
const rounds = new Uint32Array(slots);
let round = 0;

function cubesFilled(places: Float64Array, side: number): number {
  ++round;
  let filled = 0;
  for (let at = 0; at < places.length; at += 3) {
    // Three numbers in one; two cubes that happen to share it are one in a million.
    const key =
      Math.imul(Math.floor(places[at]! / side), 73_856_093) ^
      Math.imul(Math.floor(places[at + 1]! / side), 19_349_663) ^
      Math.imul(Math.floor(places[at + 2]! / side), 83_492_791);
    let slot = (key ^ (key >>> 15)) & (slots - 1);
    while (rounds[slot] === round && keys[slot] !== key) slot = (slot + 1) & (slots - 1);
    if (rounds[slot] === round) continue;
    rounds[slot] = round;
    keys[slot] = key;
    ++filled;
  }
  return filled;
}

/** Square metres; `place(i)` gives the position of point i. */
export function coveredArea(place: (point: number) => readonly number[], count: number): number {
  if (count < 2) return 0.01;
  const points = Math.min(count, sampled);
  const places = new Float64Array(3 * points);
  for (let i = 0; i < points; ++i) places.set(place(Math.floor((i * count) / points)), 3 * i);
  let side = coarsest;
  let cubes = cubesFilled(places, side);
  while (side > 0.01) {
    const finer = cubesFilled(places, side / 2);
    if (points / finer < enough) break;
    side /= 2;
    cubes = finer;
  }
  return (cubes * side * side) / slant;
}
