// SPDX-License-Identifier: GPL-3.0-or-later
// Which runs of points to draw for a view, and how densely: as many points as the screen can show,
// the same number a pixel everywhere, and no more than the budget in all.

import { diagonal, intersection, type Box } from "../math/box";
import { clamp } from "../math/vector";
import type { RunNode } from "./run_tree";
import { centrality, maySee, pixelsPerMetreAt, type ViewVolume } from "./view_volume";

export interface Wanted {
  readonly node: RunNode;
  /** Every how many points; a power of two. */
  readonly every: number;
  /** Nearest and largest on screen first. */
  readonly priority: number;
}

export interface Choice {
  /** The most wanted first. */
  readonly wanted: readonly Wanted[];
  /** 1000 cm cells that are near enough to be opened. */
  readonly open: readonly RunNode[];
}

export interface ChoiceOptions {
  /** Points in all. */
  readonly budget: number;
  /** Height of the screen in its own pixels. */
  readonly screen: number;
  /** Square metres that the points of a node cover. */
  areaOf(node: RunNode): number;
  /** Only what lies within is drawn; null: everything. */
  readonly within: Box | null;
}

/** Pixels of the screen between drawn neighbours, where the budget suffices. */
const finest = 0.7;
/** A node of which fewer points are wanted is not split: requests would cost more than the points. */
const smallest = 16_384;
/** A node is split where its box takes more of the screen's height. */
const largest = 0.75;

interface Seen {
  readonly node: RunNode;
  /** Pixels between neighbours where all points of the node are drawn. */
  readonly spacing: number;
  readonly priority: number;
}

const powerOfTwo = (value: number): number => 2 ** Math.floor(Math.log2(Math.max(value, 1)));

const isEmpty = (box: Box): boolean => box.min.some((low, axis) => low > box.max[axis]!);

const everyFor = (seen: Seen, pixels: number): number =>
  Math.min(powerOfTwo((pixels / seen.spacing) ** 2), powerOfTwo(seen.node.count));

const pointsAt = (all: readonly Seen[], pixels: number): number =>
  all.reduce((sum, seen) => sum + Math.ceil(seen.node.count / everyFor(seen, pixels)), 0);

/** Pixels between neighbours at which all that is seen fits into the budget. */
function affordable(all: readonly Seen[], budget: number): number {
  let pixels = finest;
  for (let round = 0; round < 24; ++round) {
    const points = pointsAt(all, pixels);
    if (points <= budget) break;
    pixels *= clamp(Math.sqrt(points / budget), 1.05, 8);
  }
  return pixels;
}

/** The nodes to draw where neighbours are `pixels` apart, and the cells to open for that. */
function look(root: RunNode, volume: ViewVolume, options: ChoiceOptions, pixels: number) {
  const seen: Seen[] = [];
  const open: RunNode[] = [];
  const visit = (node: RunNode): void => {
    const box = options.within ? intersection(node.box, options.within) : node.box;
    if (isEmpty(box) || !maySee(volume, box)) return;
    const metre = pixelsPerMetreAt(volume, box);
    const across = diagonal(box) * metre;
    const here: Seen = {
      node,
      spacing: Math.sqrt(Math.max(options.areaOf(node), 1e-9) / node.count) * metre,
      priority: across * centrality(volume, box),
    };
    const near = across > largest * options.screen;
    if (near && node.count / everyFor(here, pixels) > smallest) {
      if (node.children.length > 0) return node.children.forEach(visit);
      if (node.cell !== null) open.push(node);
    }
    seen.push(here);
  };
  visit(root);
  return { seen, open };
}

export function choose(root: RunNode, volume: ViewVolume, options: ChoiceOptions): Choice {
  // What the budget affords is known only after a first look; with it, fewer nodes need to be split.
  const first = look(root, volume, options, finest);
  const rough = affordable(first.seen, options.budget);
  const { seen, open } = rough > finest ? look(root, volume, options, rough) : first;
  const pixels = affordable(seen, options.budget);
  const wanted = seen
    .map((each) => ({
      node: each.node,
      every: everyFor(each, pixels),
      priority: each.priority,
    }))
    .sort((a, b) => b.priority - a.priority);
  return { wanted, open };
}
