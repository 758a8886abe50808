// SPDX-License-Identifier: GPL-3.0-or-later
// The box of a section and the slab of a plan: corners, what lies within, and the planes between.

import type { SectionBox, Slab } from "../view_state";
import { dot, subtract, type Vector } from "./vector";

/** Four corners below, counter-clockwise, then those above them. */
export function boxCorners({ centre, half, turn }: SectionBox): Vector[] {
  const [sin, cos] = [Math.sin(turn), Math.cos(turn)];
  const corner = (x: number, y: number, z: number): Vector => [
    centre[0] + cos * x - sin * y,
    centre[1] + sin * x + cos * y,
    centre[2] + z,
  ];
  const [x, y, z] = half;
  return [-z, z].flatMap((at) => [
    corner(-x, -y, at),
    corner(x, -y, at),
    corner(x, y, at),
    corner(-x, y, at),
  ]);
}

export function inSection(place: Vector, { centre, half, turn }: SectionBox): boolean {
  const [x, y, z] = [place[0] - centre[0], place[1] - centre[1], place[2] - centre[2]];
  const [sin, cos] = [Math.sin(turn), Math.cos(turn)];
  return (
    Math.abs(cos * x + sin * y) <= half[0] &&
    Math.abs(cos * y - sin * x) <= half[1] &&
    Math.abs(z) <= half[2]
  );
}

export const inCuts = (place: Vector, section: SectionBox | null, slab: Slab | null): boolean =>
  (!section || inSection(place, section)) &&
  (!slab || (place[2] >= slab.low && place[2] <= slab.high));

/** What of space is kept: places with normal * place + offset >= 0. */
export interface HalfSpace {
  readonly normal: Vector;
  readonly offset: number;
}

/** What a box and a slab keep, for places that are given relative to `from`. */
export function halfSpaces(
  section: SectionBox | null,
  slab: Slab | null,
  from: Vector,
): HalfSpace[] {
  const beyond = (normal: Vector, through: Vector): HalfSpace => ({
    normal,
    offset: -dot(normal, subtract(through, from)),
  });
  const kept: HalfSpace[] = [];
  if (section) {
    const [low, , high] = boxCorners(section);
    const top = boxCorners(section)[6]!;
    const [sin, cos] = [Math.sin(section.turn), Math.cos(section.turn)];
    kept.push(beyond([cos, sin, 0], low!), beyond([-cos, -sin, 0], high!));
    kept.push(beyond([-sin, cos, 0], low!), beyond([sin, -cos, 0], high!));
    kept.push(beyond([0, 0, 1], low!), beyond([0, 0, -1], top));
  }
  if (slab) {
    kept.push(beyond([0, 0, 1], [from[0], from[1], slab.low]));
    kept.push(beyond([0, 0, -1], [from[0], from[1], slab.high]));
  }
  return kept;
}
