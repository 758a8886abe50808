// SPDX-License-Identifier: GPL-3.0-or-later
// One point out of the bytes that the server sends, by the layout that `project` describes.
// Positions are single precision in local coordinates; all that is computed from them is double.

import type { RecordLayout } from "../api/protocol";
import type { Vector } from "../math/vector";

export interface PointValues {
  readonly intensity: number;
  readonly colour: readonly [number, number, number];
  readonly class: number;
  readonly station: number;
}

export interface PointRecord extends PointValues {
  /** Local. */
  readonly position: Vector;
}

function offsetOf(layout: RecordLayout, name: string, type: string, count: number): number {
  const field = layout.fields.find((each) => each.name === name);
  if (!field || field.type !== type || field.count !== count)
    throw new Error(`This page cannot read the points: "${name}" is not stored as it knows it.`);
  return field.offset;
}

/** Where the values of a record lie. */
export interface ValueOffsets {
  readonly bytes: number;
  readonly intensity: number;
  readonly colour: number;
  readonly class: number;
  readonly station: number;
}

export const valueOffsets = (layout: RecordLayout): ValueOffsets => ({
  bytes: layout.bytes,
  intensity: offsetOf(layout, "intensity", "uint16", 1),
  colour: offsetOf(layout, "colour", "uint8", 3),
  class: offsetOf(layout, "class", "uint8", 1),
  station: offsetOf(layout, "station", "uint16", 1),
});

export const positionOffset = (layout: RecordLayout): number =>
  offsetOf(layout, "position", "float32", 3);

export function readValues(data: DataView, at: number, offsets: ValueOffsets): PointValues {
  const colour = at + offsets.colour;
  return {
    intensity: data.getUint16(at + offsets.intensity, true),
    colour: [data.getUint8(colour), data.getUint8(colour + 1), data.getUint8(colour + 2)],
    class: data.getUint8(at + offsets.class),
    station: data.getUint16(at + offsets.station, true),
  };
}

export const readPosition = (data: DataView, at: number): Vector => [
  data.getFloat32(at, true),
  data.getFloat32(at + 4, true),
  data.getFloat32(at + 8, true),
];
