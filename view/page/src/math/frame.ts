// SPDX-License-Identifier: GPL-3.0-or-later
// From local to world coordinates, in double precision, and back; and how they are written.

import type { Vector } from "./vector";

export class Frame {
  /** `rows`: 4 x 4 numbers, row by row, world = rows * (x, y, z, 1). */
  constructor(private readonly rows: readonly number[]) {}

  toWorld(local: Vector): Vector {
    return [this.row(0, local), this.row(1, local), this.row(2, local)];
  }

  /** A direction, turned as the frame turns it. */
  turn(direction: Vector): Vector {
    const at = (row: number, column: number) => this.rows[4 * row + column] ?? 0;
    const turned = (row: number) =>
      at(row, 0) * direction[0] + at(row, 1) * direction[1] + at(row, 2) * direction[2];
    return [turned(0), turned(1), turned(2)];
  }

  /** Turn about the vertical from local to the world, radians counter-clockwise: where north is. */
  get heading(): number {
    const [x, y] = this.turn([1, 0, 0]);
    return Math.atan2(y, x);
  }

  private row(row: number, local: Vector): number {
    const at = (column: number) => this.rows[4 * row + column] ?? 0;
    // The shift comes last: small numbers meet each other before the large one swallows digits.
    return at(0) * local[0] + at(1) * local[1] + at(2) * local[2] + at(3);
  }
}

/** "85 012.345": millimetres, thousands set apart by thin spaces. */
export function formatMetres(value: number, digits = 3): string {
  const text = Math.abs(value).toFixed(digits);
  const [whole = "0", fraction] = text.split(".");
  const grouped = whole.replace(/\B(?=(\d{3})+$)/g, "\u2009");
  const sign = value < 0 && Number(text) !== 0 ? "\u2212" : "";
  return sign + grouped + (fraction === undefined ? "" : `.${fraction}`);
}

export const formatPlace = (place: Vector, digits = 3): string =>
  place.map((value) => formatMetres(value, digits)).join("  ");
