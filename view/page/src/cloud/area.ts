// SPDX-License-Identifier: GPL-3.0-or-later
// About how much surface a set of points covers, from how many small cubes they fill. Points of a
// scan lie on surfaces, so the area and their number give the distance between neighbours, which
// is how large a point must be drawn to close the gaps.

/** More points say no more about the area. */
const sampled = 2048;
/** Points a cube that make it likely that no cube of the surface stayed empty. */
const enough = 4;
/** A slanted surface cuts more cubes than one along an axis: 1.5 at most on average. */
const slant = 1.25;

function cubesFilled(position: (point: number) => readonly number[], points: number, side: number) {
  const filled = new Set<number>();
  for (let point = 0; point < points; ++point) {
    const [x = 0, y = 0, z = 0] = position(point);
    // Three numbers in one; two cubes that happen to share it are one in a million.
    filled.add(
      (Math.floor(x / side) * 73_856_093) ^
        (Math.floor(y / side) * 19_349_663) ^
        (Math.floor(z / side) * 83_492_791),
    );
  }
  return filled.size;
}

/** Square metres; `place(i)` gives the position of point i. */
export function coveredArea(place: (point: number) => readonly number[], count: number): number {
  if (count < 2) return 0.01;
  const points = Math.min(count, sampled);
  const step = count / points;
  const sample = Array.from({ length: points }, (_, i) => place(Math.floor(i * step)));
  let side = 8;
  let cubes = cubesFilled((i) => sample[i]!, points, side);
  while (side > 0.01) {
    const finer = cubesFilled((i) => sample[i]!, points, side / 2);
    if (points / finer < enough) break;
    side /= 2;
    cubes = finer;
  }
  return (cubes * side * side) / slant;
}
