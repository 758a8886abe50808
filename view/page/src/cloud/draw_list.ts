// SPDX-License-Identifier: GPL-3.0-or-later
// What to draw of what is there: for each wanted node its points, or, until they have come, what
// stands for them: those of the node above or below, or the skeleton.

import type { Wanted } from "./choose";
import { drawnOf, type Held, type Part } from "./parts";
import type { RunNode } from "./run_tree";
import type { Skeleton, Stretch } from "./skeleton";

/** Points to draw in one go; all lie in the box of the node. */
export interface Stroke {
  readonly source: Part | Skeleton;
  readonly node: RunNode;
  readonly start: number;
  readonly count: number;
  /** Metres between neighbours. */
  readonly spacing: number;
}

export interface DrawSources {
  readonly root: RunNode;
  readonly held: ReadonlyMap<RunNode, Held>;
  readonly skeleton: Skeleton | null;
  readonly stretches: ReadonlyMap<RunNode, Stretch>;
  areaOf(node: RunNode): number;
}

/** Whether the skeleton has as many points of a node as are wanted of it. */
export function skeletonSuffices(
  sources: Pick<DrawSources, "stretches">,
  { node, every }: Wanted,
): boolean {
  const stretch = sources.stretches.get(node);
  return stretch !== undefined && stretch.count >= node.count / every;
}

const spacingOf = (area: number, points: number): number =>
  Math.sqrt(Math.max(area, 1e-9) / Math.max(points, 1));

export function drawList(sources: DrawSources, wanted: readonly Wanted[]): Stroke[] {
  const strokes: Stroke[] = [];
  const byNode = new Map(wanted.map((each) => [each.node, each]));

  const drawHeld = (node: RunNode, held: Held, every: number): void => {
    const drawn = drawnOf(held, node, Math.max(every, held.every));
    const points = drawn.reduce((sum, each) => sum + each.count, 0);
    const spacing = spacingOf(held.area, points);
    for (const { part, count } of drawn)
      strokes.push({ source: part, node, start: 0, count, spacing });
  };

  const drawSkeleton = (node: RunNode): void => {
    const { skeleton } = sources;
    const stretch = sources.stretches.get(node);
    if (!skeleton || !stretch) return;
    const spacing = spacingOf(sources.areaOf(node), stretch.count);
    strokes.push({ source: skeleton, node, ...stretch, spacing });
  };

  /** Draws what is there of a node of which nothing is held, down to its last child. */
  const drawBelow = (node: RunNode): void => {
    if (sources.stretches.has(node)) drawSkeleton(node);
    for (const child of node.children) {
      const held = sources.held.get(child);
      if (held) drawHeld(child, held, held.every);
      else drawBelow(child);
    }
  };

  /** Whether each wanted node at or below has points of its own. */
  const ready = (node: RunNode): boolean =>
    byNode.has(node) ? sources.held.has(node) : node.children.every(ready);

  const draw = (node: RunNode): void => {
    const each = byNode.get(node);
    const held = sources.held.get(node);
    if (each) {
      if (skeletonSuffices(sources, each)) drawSkeleton(node);
      else if (held) drawHeld(node, held, each.every);
      else drawBelow(node);
      return;
    }
    if (node.cell !== null && node.children.length > 0 && !node.children.every(ready)) {
      // An opened cell stays whole until all of its wanted parts have come.
      if (held) return drawHeld(node, held, held.every);
      drawSkeleton(node);
    }
    node.children.forEach(draw);
  };

  draw(sources.root);
  return evened(strokes);
}

/** How much sparser than the others a node's points may be drawn as what they are. */
const sparsest = 4;

/** Strokes of single points far out would be drawn as huge dots: they are no larger than others. */
function evened(strokes: readonly Stroke[]): Stroke[] {
  const most = sparsest * usualSpacing(strokes);
  return strokes.map((stroke) => (stroke.spacing > most ? { ...stroke, spacing: most } : stroke));
}

/** The median over all points that are drawn. */
function usualSpacing(strokes: readonly Stroke[]): number {
  const byScale = [...strokes].sort((a, b) => a.spacing - b.spacing);
  let left = strokes.reduce((sum, { count }) => sum + count, 0) / 2;
  for (const { spacing, count } of byScale) {
    left -= count;
    if (left <= 0) return spacing;
  }
  return 1;
}
