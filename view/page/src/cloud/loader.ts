// SPDX-License-Identifier: GPL-3.0-or-later
// Fetches what is wanted and holds it: a few requests at a time, the most wanted first; those that are
// no longer wanted are cancelled, and points that were not wanted for longest make room for others.

import { ApiError, isAborted, pointsOf, type Api, type Run } from "../api/client";
import type { Wanted } from "./choose";
import { coveredArea } from "./area";
import { nextRun, pointsHeld, withPart, type Held, type Part } from "./parts";
import { readPosition } from "./point_record";
import { progressive } from "./progressive";
import type { RunNode } from "./run_tree";

export interface LoaderEvents {
  /** Points came or went: what is drawn may change. */
  changed(): void;
  failed(error: unknown): void;
}

interface Request {
  readonly control: AbortController;
  readonly every: number;
}

/** A browser opens six connections to a server; two stay for searches and for `alive`. */
const requestsAtOnce = 4;
/** Milliseconds. */
const pause = 5000;

export class Loader {
  readonly held = new Map<RunNode, Held>();
  private wanted: readonly Wanted[] = [];
  private readonly requests = new Map<RunNode, Request>();
  /** When a node was last wanted, in choices. */
  private readonly lastWanted = new Map<RunNode, number>();
  private choices = 0;
  /** Runs that the server cannot give: asking again would fail again. */
  private readonly broken = new Set<RunNode>();
  private lastFailure = -Infinity;
  bytes = 0;

  constructor(
    private readonly api: Api,
    private readonly bytesPerRecord: number,
    private readonly events: LoaderEvents,
  ) {}

  /** Requests under way and those to come. */
  get pending(): number {
    return this.requests.size + this.wanted.filter((each) => this.missing(each)).length;
  }

  get points(): number {
    let sum = 0;
    for (const held of this.held.values()) sum += pointsHeld(held);
    return sum;
  }

  /** What the view wants now. `most`: points to hold in all, wanted or not. */
  want(wanted: readonly Wanted[], most: number): void {
    this.wanted = wanted;
    ++this.choices;
    for (const { node } of wanted) this.lastWanted.set(node, this.choices);
    const nodes = new Map(wanted.map((each) => [each.node, each]));
    for (const [node, request] of this.requests) {
      const still = nodes.get(node);
      // A denser run than is wanted now takes longer, but is not worth a second request.
      if (!still || request.every * 4 < still.every) request.control.abort();
    }
    this.unload(most, nodes);
    this.pump();
  }

  private missing({ node, every }: Wanted): boolean {
    if (this.broken.has(node) || this.pausing) return false;
    return !this.requests.has(node) && nextRun(node, this.held.get(node), every) !== null;
  }

  /** After a failure nothing is asked for: a server that is gone is not asked at every frame. */
  private get pausing(): boolean {
    return performance.now() - this.lastFailure < pause;
  }

  private pump(): void {
    for (const each of this.wanted) {
      if (this.requests.size >= requestsAtOnce) return;
      if (this.missing(each)) void this.fetch(each);
    }
  }

  private async fetch({ node, every }: Wanted): Promise<void> {
    const next = nextRun(node, this.held.get(node), every);
    if (!next) return;
    const { run } = next;
    const request = { control: new AbortController(), every };
    this.requests.set(node, request);
    try {
      const data = await this.api.points(run, this.bytesPerRecord, request.control.signal);
      this.bytes += data.byteLength;
      this.keep(node, run, data, next.replaces);
    } catch (error) {
      if (!isAborted(error)) {
        this.lastFailure = performance.now();
        if (error instanceof ApiError && error.status >= 400) this.broken.add(node);
        this.events.failed(error);
      }
    } finally {
      this.requests.delete(node);
      this.pump();
      this.events.changed();
    }
  }

  private keep(node: RunNode, run: Run, data: ArrayBuffer, replaces: boolean): void {
    const view = new DataView(data);
    const before = this.held.get(node);
    const area =
      replaces || !before
        ? coveredArea((point) => readPosition(view, point * this.bytesPerRecord), pointsOf(run))
        : before.area;
    const part: Part = {
      kind: "part",
      run,
      records: progressive(new Uint32Array(data), this.bytesPerRecord / 4),
      points: pointsOf(run),
    };
    this.held.set(node, withPart(before, part, replaces, area));
  }

  /** Lets go of what was not wanted for longest; then of nodes that are held far too densely. */
  private unload(most: number, wanted: ReadonlyMap<RunNode, Wanted>): void {
    let points = this.points;
    if (points <= most) return;
    const byAge = [...this.held.keys()]
      .filter((node) => !wanted.has(node))
      .sort((a, b) => (this.lastWanted.get(a) ?? 0) - (this.lastWanted.get(b) ?? 0));
    const dense = [...this.held.keys()].filter((node) => {
      const each = wanted.get(node);
      return each !== undefined && this.held.get(node)!.every * 4 <= each.every;
    });
    for (const node of [...byAge, ...dense]) {
      if (points <= most) break;
      points -= pointsHeld(this.held.get(node)!);
      this.held.delete(node);
      this.lastWanted.delete(node);
    }
  }
}
