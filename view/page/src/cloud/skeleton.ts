// SPDX-License-Identifier: GPL-3.0-or-later
// The thinned cloud, evenly dense: the first sight of a project, and what is drawn of a cell until its
// points are there. Its records are brought to the layout of the points, so that one program draws and
// one function reads both.

import type { Api, Run } from "../api/client";
import type { ProjectInfo } from "../api/protocol";
import { coveredArea } from "./area";
import { positionOffset, readPosition, valueOffsets } from "./point_record";
import { cellsOf, type RunNode } from "./run_tree";

export interface Skeleton {
  readonly kind: "skeleton";
  /** Which of the skeleton's points these are. */
  readonly run: Run;
  /** Records like those of `points`, in order. */
  readonly records: Uint32Array;
  readonly points: number;
  /** As of a part. */
  planes?: Uint32Array;
  planesId?: number;
}

/** Stretch of a skeleton's points. */
export interface Stretch {
  readonly start: number;
  readonly count: number;
}

/** Every how many points of the skeleton, so that no more than `most` come. */
export const skeletonRun = (project: ProjectInfo, most: number): Run => ({
  first: 0,
  count: project.skeleton.points,
  every: Math.max(Math.ceil(project.skeleton.points / most), 1),
});

export async function loadSkeleton(
  api: Api,
  project: ProjectInfo,
  run: Run,
  signal?: AbortSignal,
): Promise<Skeleton> {
  const layout = project.skeleton.data;
  const [places, values] = await Promise.all([
    api.skeleton(run, signal),
    api.skeletonData(run, layout.bytes, signal),
  ]);
  return { kind: "skeleton", run, ...joined(project, places, values) };
}

function joined(project: ProjectInfo, places: ArrayBuffer, values: ArrayBuffer) {
  const from = valueOffsets(project.skeleton.data);
  const to = valueOffsets(project.record);
  const points = places.byteLength / 12;
  const coordinates = new Uint32Array(places);
  const bytes = new Uint8Array(values);
  const records = new Uint32Array((points * to.bytes) / 4);
  const out = new Uint8Array(records.buffer);
  const word = positionOffset(project.record) / 4;
  // Byte by byte: a value may lie at any place of a record, and the order of bytes is kept.
  const sources = [0, 1].map((byte) => from.intensity + byte);
  const targets = [0, 1].map((byte) => to.intensity + byte);
  for (let byte = 0; byte < 3; ++byte) {
    sources.push(from.colour + byte);
    targets.push(to.colour + byte);
  }
  sources.push(from.class, from.station, from.station + 1);
  targets.push(to.class, to.station, to.station + 1);
  const words = to.bytes / 4;
  for (let point = 0; point < points; ++point) {
    const place = point * words + word;
    records[place] = coordinates[3 * point]!;
    records[place + 1] = coordinates[3 * point + 1]!;
    records[place + 2] = coordinates[3 * point + 2]!;
    for (let i = 0; i < sources.length; ++i)
      out[point * to.bytes + targets[i]!] = bytes[point * from.bytes + sources[i]!]!;
  }
  return { records, points };
}

/** Number of a 1000 cm cell along an axis. */
const cellOf = (value: number): number => Math.floor(Math.floor(value) / 10);
const keyOf = (x: number, y: number, z: number): string => `${x} ${y} ${z}`;

/**
 * The stretch of each 1000 cm cell and of each node above: the skeleton lies in the order of the cells, so one walk finds
 * where each begins. Cells of which no point came are not in the answer.
 */
export function stretchesOf(
  skeleton: Skeleton,
  wordsPerRecord: number,
  root: RunNode,
): Map<RunNode, Stretch> {
  const cells = new Map<string, RunNode>();
  for (const cell of cellsOf(root)) {
    // Boxes are cut to the cloud's bounds; their middle lies in the cell all the same.
    const at = (axis: 0 | 1 | 2) => (cell.box.min[axis] + cell.box.max[axis]) / 2;
    cells.set(keyOf(cellOf(at(0)), cellOf(at(1)), cellOf(at(2))), cell);
  }
  const places = new Float32Array(skeleton.records.buffer);
  const stretches = new Map<RunNode, Stretch>();
  let start = 0;
  let [x, y, z] = [NaN, NaN, NaN];
  const close = (end: number): void => {
    const cell = cells.get(keyOf(x, y, z));
    if (cell && end > start) stretches.set(cell, { start, count: end - start });
  };
  for (let point = 0; point < skeleton.points; ++point) {
    const at = point * wordsPerRecord;
    const cellX = cellOf(places[at]!);
    const cellY = cellOf(places[at + 1]!);
    const cellZ = cellOf(places[at + 2]!);
    if (cellX === x && cellY === y && cellZ === z) continue;
    close(point);
    [x, y, z, start] = [cellX, cellY, cellZ, point];
  }
  close(skeleton.points);
  joinAbove(root, stretches);
  return stretches;
}

/** Nodes above cells have the stretches of their cells, which follow each other. */
function joinAbove(node: RunNode, stretches: Map<RunNode, Stretch>): Stretch | undefined {
  if (node.cell !== null) return stretches.get(node);
  const below = node.children.map((child) => joinAbove(child, stretches));
  const found = below.filter((stretch) => stretch !== undefined);
  if (found.length === 0) return undefined;
  const count = found.reduce((sum, stretch) => sum + stretch.count, 0);
  const joined = { start: found[0]!.start, count };
  stretches.set(node, joined);
  return joined;
}

/** Area that the skeleton's points of a stretch cover. */
export function areaOfStretch(skeleton: Skeleton, bytes: number, stretch: Stretch): number {
  const data = new DataView(skeleton.records.buffer);
  return coveredArea((point) => readPosition(data, (stretch.start + point) * bytes), stretch.count);
}
