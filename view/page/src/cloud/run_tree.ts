// SPDX-License-Identifier: GPL-3.0-or-later
// The cloud as a tree of runs: a node is a stretch of points that lie together in the project, and
// the box that they lie in. Leaves of the first level are 1000 cm cells; several that follow each
// other, which are neighbours as well, make a larger node, so that a few hundred nodes always
// suffice to draw a view. A leaf opens into its 100 cm cells where somebody stands near it.

import { union, type Box } from "../math/box";
import type { CellRow } from "./cell_rows";

export interface RunNode {
  readonly box: Box;
  readonly first: number;
  readonly count: number;
  /** The 1000 cm cell's number where the node may be opened into 100 cm cells. */
  readonly cell: number | null;
  /** None: a leaf, or a cell that is not open yet. */
  children: readonly RunNode[];
}

/** How many nodes make the one above. */
const fanOut = 8;

function leafOf(row: CellRow, side: number, bounds: Box, opens: boolean): RunNode {
  const [x, y, z] = row.corner;
  // Cells at the border of the cloud are cut to what can hold points.
  const min: [number, number, number] = [
    Math.max(x, bounds.min[0]),
    Math.max(y, bounds.min[1]),
    Math.max(z, bounds.min[2]),
  ];
  const max: [number, number, number] = [
    Math.max(Math.min(x + side, bounds.max[0]), min[0]),
    Math.max(Math.min(y + side, bounds.max[1]), min[1]),
    Math.max(Math.min(z + side, bounds.max[2]), min[2]),
  ];
  return {
    box: { min, max },
    first: row.first,
    count: row.count,
    cell: opens ? row.number : null,
    children: [],
  };
}

function parentOf(children: readonly RunNode[]): RunNode {
  return {
    box: children.map((child) => child.box).reduce(union),
    first: children[0]!.first,
    count: children.reduce((sum, child) => sum + child.count, 0),
    cell: null,
    children,
  };
}

function gather(nodes: readonly RunNode[]): RunNode[] {
  const parents: RunNode[] = [];
  for (let at = 0; at < nodes.length; at += fanOut) {
    const group = nodes.slice(at, at + fanOut);
    parents.push(group.length === 1 ? group[0]! : parentOf(group));
  }
  return parents;
}

/** Rows that follow each other without gaps, as runs have to. */
function checked(rows: readonly CellRow[]): readonly CellRow[] {
  rows.forEach((row, at) => {
    const before = rows[at - 1];
    if (before && before.first + before.count !== row.first)
      throw new Error("The project's cells do not follow each other. `orvix check` says more.");
  });
  return rows;
}

/** The tree of the whole cloud, of its 1000 cm cells; null where there are none. */
export function treeOf(rows: readonly CellRow[], bounds: Box): RunNode | null {
  let nodes = checked(rows).map((row) => leafOf(row, 10, bounds, true));
  while (nodes.length > 1) nodes = gather(nodes);
  return nodes[0] ?? null;
}

/** Opens a 1000 cm cell into its 100 cm cells, which have all of its points. */
export function openCell(node: RunNode, rows: readonly CellRow[]): void {
  let nodes = checked(rows).map((row) => leafOf(row, 1, node.box, false));
  const points = nodes.reduce((sum, each) => sum + each.count, 0);
  if (nodes[0]?.first !== node.first || points !== node.count)
    throw new Error("The project's cells contradict each other. `orvix check` says more.");
  if (nodes.length < 2) return;
  while (nodes.length > fanOut) nodes = gather(nodes);
  node.children = nodes;
}

/** The 1000 cm cells below a node, in order. */
export function* cellsOf(node: RunNode): Generator<RunNode> {
  if (node.cell !== null) yield node;
  else for (const child of node.children) yield* cellsOf(child);
}
