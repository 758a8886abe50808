// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of `cells`: 32 bytes each, docs/VIEW.md.

import type { Vector } from "../math/vector";

export interface CellRow {
  /** The cell's lowest corner, local. */
  readonly corner: Vector;
  readonly number: number;
  readonly first: number;
  readonly count: number;
}

const rowBytes = 32;

export function readCellRows(buffer: ArrayBuffer): CellRow[] {
  const data = new DataView(buffer);
  const rows: CellRow[] = [];
  for (let at = 0; at + rowBytes <= data.byteLength; at += rowBytes)
    rows.push({
      corner: [
        data.getFloat32(at, true),
        data.getFloat32(at + 4, true),
        data.getFloat32(at + 8, true),
      ],
      number: data.getUint32(at + 12, true),
      // Numbers of points stay far below 2^53, up to which a double counts exactly.
      first: Number(data.getBigUint64(at + 16, true)),
      count: Number(data.getBigUint64(at + 24, true)),
    });
  return rows;
}
