// SPDX-License-Identifier: GPL-3.0-or-later
// Which drawn point lies under the cursor: the nearest of those whose dot covers it, else the one whose
// middle is nearest to it. Computed from the points' own records, so that its coordinates are those
// of the file and not of a pixel.

import { directions, pixelsPerMetre, project, type Pose, type Size } from "../camera/pose";
import type { Stroke } from "../cloud/draw_list";
import { placeBefore } from "../cloud/progressive";
import {
  readPosition,
  readValues,
  type PointValues,
  type ValueOffsets,
} from "../cloud/point_record";
import { corners, type Box } from "../math/box";
import type { Vector } from "../math/vector";

export interface FoundPoint extends PointValues {
  readonly position: Vector;
  /** Its record in the project's points; null of one of the skeleton's. */
  readonly record: number | null;
  /** Null where plane numbers are not there. */
  readonly plane: number | null;
  readonly depth: number;
}

export interface PickOptions {
  readonly pose: Pose;
  readonly size: Size;
  /** Pixels of the page. */
  readonly x: number;
  readonly y: number;
  readonly bytesPerRecord: number;
  readonly offsets: ValueOffsets;
  /** Pixels that a drawn point is wide, for its distance to its neighbours and pixels a metre. */
  widthOf(spacing: number, pixelsPerMetre: number): number;
  /** False for what is cut off or hidden. */
  isShown(point: FoundPoint): boolean;
}

/** Pixels within which a point is taken where none covers the cursor. */
const reach = 10;
const nearest = 0.02;

interface Best {
  readonly stroke: Stroke;
  readonly place: number;
  readonly score: number;
}

function mayCover(box: Box, options: PickOptions): boolean {
  const { pose, size, x, y } = options;
  const seen = corners(box).map((corner) => project(pose, size, corner));
  if (!pose.orthographic && seen.some((each) => each.depth < nearest)) return true;
  const margin = 30;
  const within = (values: number[], at: number) =>
    Math.min(...values) - margin <= at && at <= Math.max(...values) + margin;
  return (
    within(
      seen.map((each) => each.x),
      x,
    ) &&
    within(
      seen.map((each) => each.y),
      y,
    )
  );
}

function readPoint(stroke: Stroke, place: number, depth: number, options: PickOptions): FoundPoint {
  const { source } = stroke;
  const data = new DataView(source.records.buffer);
  const at = place * options.bytesPerRecord;
  const { run } = source;
  return {
    ...readValues(data, at, options.offsets),
    position: readPosition(data, at),
    record:
      source.kind === "part" ? run.first + placeBefore(place, source.points) * run.every : null,
    plane: source.planes?.[place] ?? null,
    depth,
  };
}

export function pick(strokes: readonly Stroke[], options: PickOptions): FoundPoint | null {
  const { pose, size } = options;
  const { forward, right, up } = directions(pose);
  const [cx, cy, cz] = pose.position;
  // Pixels from the view's middle, up being positive.
  const [atX, atY] = [options.x - size.width / 2, size.height / 2 - options.y];
  const metre = pixelsPerMetre(pose, size, 1);
  const words = options.bytesPerRecord / 4;
  let best: Best | null = null;
  let found: FoundPoint | null = null;
  for (const stroke of strokes) {
    if (!mayCover(stroke.node.box, options)) continue;
    const places = new Float32Array(stroke.source.records.buffer);
    for (let place = stroke.start; place < stroke.start + stroke.count; ++place) {
      const at = place * words;
      const [x, y, z] = [places[at]! - cx, places[at + 1]! - cy, places[at + 2]! - cz];
      const depth = x * forward[0] + y * forward[1] + z * forward[2];
      if (depth < nearest && !pose.orthographic) continue;
      const pixels = pose.orthographic ? metre : metre / depth;
      const aside = (x * right[0] + y * right[1] + z * right[2]) * pixels - atX;
      if (aside > reach * 4 || aside < -reach * 4) continue;
      const above = (x * up[0] + y * up[1] + z * up[2]) * pixels - atY;
      const away = Math.hypot(aside, above);
      const radius = Math.max(options.widthOf(stroke.spacing, pixels) / 2, 1);
      if (away > Math.max(radius, reach)) continue;
      // Any point that covers the cursor comes before all that do not.
      const score = away <= radius ? depth : 1e12 + away;
      if (best && score >= best.score) continue;
      const point = readPoint(stroke, place, depth, options);
      if (!options.isShown(point)) continue;
      best = { stroke, place, score };
      found = point;
    }
  }
  return found;
}
