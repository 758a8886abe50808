// SPDX-License-Identifier: GPL-3.0-or-later
// The points of a node that are held: a first run of every k-th point, and further runs that lie
// between those of the former, so that nothing is sent twice when more are wanted.

import type { Run } from "../api/client";
import type { RunNode } from "./run_tree";

/** Points that came, in an order of which each beginning is an even sample (progressive.ts). */
export interface Part {
  readonly kind: "part";
  readonly run: Run;
  readonly records: Uint32Array;
  readonly points: number;
  /** The plane of each point; undefined where they were not asked for. */
  planes?: Uint32Array;
  /** The list of planes that the numbers belong to. */
  planesId?: number;
}

export interface Held {
  readonly parts: readonly Part[];
  /** What the parts together have: every k-th point of the node. */
  readonly every: number;
  /** Square metres, of the points that came. */
  readonly area: number;
}

export const pointsHeld = (held: Held): number =>
  held.parts.reduce((sum, part) => sum + part.points, 0);

/** A node that is held this much too sparsely is asked for anew, in one run. */
const anew = 4;

/** Points of a first request; a node of more comes in several, each with as many as came before. */
const mostAtOnce = 2_000_000;

function wholeRun(node: RunNode, wanted: number): Run {
  let every = wanted;
  while (node.count / every > mostAtOnce) every *= 2;
  return { first: node.first, count: node.count, every };
}

/** The next run to ask for, so that a node has every k-th point; null where it has. */
export function nextRun(
  node: RunNode,
  held: Held | undefined,
  every: number,
): { run: Run; replaces: boolean } | null {
  const whole = wholeRun(node, every);
  if (!held) return { run: whole, replaces: true };
  if (held.every <= every) return null;
  if (held.every / whole.every >= anew) return { run: whole, replaces: true };
  const half = held.every / 2;
  if (half >= node.count) return { run: whole, replaces: true };
  return {
    run: { first: node.first + half, count: node.count - half, every: held.every },
    replaces: false,
  };
}

/** What is held once a run has come. */
export const withPart = (
  held: Held | undefined,
  part: Part,
  replaces: boolean,
  area: number,
): Held =>
  replaces || !held
    ? { parts: [part], every: part.run.every, area }
    : { parts: [...held.parts, part], every: held.every / 2, area: held.area };

/** How many points of each part to draw, for about every k-th point of the node in all. */
export function drawnOf(held: Held, node: RunNode, every: number): { part: Part; count: number }[] {
  let left = Math.max(Math.ceil(node.count / every), 1);
  const drawn: { part: Part; count: number }[] = [];
  for (const part of held.parts) {
    const count = Math.min(part.points, left);
    if (count > 0) drawn.push({ part, count });
    left -= count;
  }
  return drawn;
}
