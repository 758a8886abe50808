// SPDX-License-Identifier: GPL-3.0-or-later
// The box of a section: its corners, and what lies within.

import type { SectionBox } from "../view_state";
import type { Vector } from "./vector";

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
