// SPDX-License-Identifier: GPL-3.0-or-later
// The project's points as the view needs them: the skeleton at once, then what the camera sees.

import type { Api } from "../api/client";
import type { ProjectInfo } from "../api/protocol";
import { corners, diagonal, distanceTo } from "../math/box";
import type { Vector } from "../math/vector";
import { choose, type ChoiceOptions, type Wanted } from "./choose";
import { readCellRows } from "./cell_rows";
import { drawList, skeletonSuffices, type Stroke } from "./draw_list";
import { Loader, type LoaderEvents } from "./loader";
import type { Part } from "./parts";
import { readPosition, readValues, valueOffsets } from "./point_record";
import { openCell, treeOf, type RunNode } from "./run_tree";
import {
  areaOfStretch,
  loadSkeleton,
  skeletonRun,
  stretchesOf,
  type Skeleton,
  type Stretch,
} from "./skeleton";
import { typicalBox } from "./typical_box";
import type { ViewVolume } from "./view_volume";

/** Points of the skeleton for the first picture, and for good. */
const firstSight = 60_000;
const lasting = 500_000;

export interface CloudEvents extends LoaderEvents {
  /** Resolves when what has come is drawn: the first sight does not wait for what follows it. */
  shown(): Promise<void>;
}

export class Cloud {
  readonly loader: Loader;
  private root: RunNode | null = null;
  private skeleton: Skeleton | null = null;
  private stretches: ReadonlyMap<RunNode, Stretch> = new Map();
  /** Areas by the skeleton, of cells and of nodes above them. */
  private readonly areas = new Map<RunNode, number>();
  private readonly opening = new Set<RunNode>();
  /** Cells that could not be opened; they are drawn as a whole. */
  private readonly shut = new Set<RunNode>();
  private wanted: readonly Wanted[] = [];
  private starting = true;

  constructor(
    private readonly api: Api,
    private readonly project: ProjectInfo,
    private readonly events: CloudEvents,
  ) {
    this.loader = new Loader(api, project.record.bytes, events);
  }

  /** Fetches the first sight, then the rest of the skeleton; `events.changed` follows each. */
  async start(): Promise<void> {
    try {
      const first = skeletonRun(this.project, firstSight);
      const [rows, skeleton] = await Promise.all([
        this.api.cells(1000),
        loadSkeleton(this.api, this.project, first),
      ]);
      this.root = treeOf(readCellRows(rows), this.project.bounds);
      this.setSkeleton(skeleton);
      const whole = skeletonRun(this.project, lasting);
      await this.events.shown();
      if (whole.every < first.every)
        this.setSkeleton(await loadSkeleton(this.api, this.project, whole));
    } catch (error) {
      this.events.failed(error);
    } finally {
      this.starting = false;
      this.events.changed();
    }
  }

  /** Requests under way and those to come. */
  get pending(): number {
    return this.loader.pending + this.opening.size + (this.starting ? 1 : 0);
  }

  /** Chooses anew for a view and asks for what is missing. */
  look(volume: ViewVolume, options: Omit<ChoiceOptions, "areaOf">): void {
    if (!this.root) return;
    const areaOf = (node: RunNode) => this.areaOf(node);
    const choice = choose(this.root, volume, { ...options, areaOf });
    this.wanted = choice.wanted;
    const { stretches } = this;
    const missing = choice.wanted.filter((each) => !skeletonSuffices({ stretches }, each));
    this.loader.want(missing, options.budget * 1.5 + 500_000);
    for (const cell of choice.open) void this.open(cell);
  }

  /** Places all over the cloud, without a few that lie far outside of the rest. */
  get typicalPlaces(): Vector[] {
    const { skeleton, project } = this;
    if (!skeleton || skeleton.points === 0) return corners(project.bounds);
    const data = new DataView(skeleton.records.buffer);
    const place = (point: number) => readPosition(data, point * project.record.bytes);
    const box = typicalBox(place, skeleton.points, project.bounds);
    return sampled(skeleton.points)
      .map(place)
      .filter((each) => distanceTo(box, each) === 0);
  }

  /** How bright the stored colours are: the median of a sample, 0 to 255. */
  get brightness(): number {
    const { skeleton, project } = this;
    if (!skeleton || skeleton.points === 0) return 255;
    const data = new DataView(skeleton.records.buffer);
    const offsets = valueOffsets(project.record);
    const values = sampled(skeleton.points)
      .map((point) => Math.max(...readValues(data, point * offsets.bytes, offsets).colour))
      .sort((a, b) => a - b);
    return values[values.length >> 1]!;
  }

  /** What stays on the card though it may not be drawn now. */
  sources(): Set<Part | Skeleton> {
    const all = new Set<Part | Skeleton>();
    for (const { parts } of this.loader.held.values()) for (const part of parts) all.add(part);
    if (this.skeleton) all.add(this.skeleton);
    return all;
  }

  strokes(): Stroke[] {
    const { root, skeleton, stretches } = this;
    if (!root) return [];
    const areaOf = (node: RunNode) => this.areaOf(node);
    return drawList({ root, held: this.loader.held, skeleton, stretches, areaOf }, this.wanted);
  }

  private setSkeleton(skeleton: Skeleton): void {
    this.skeleton = skeleton;
    this.areas.clear();
    const { bytes } = this.project.record;
    if (this.root) {
      this.stretches = stretchesOf(skeleton, bytes / 4, this.root);
      for (const [node, stretch] of this.stretches)
        if (node.cell !== null) this.areas.set(node, areaOfStretch(skeleton, bytes, stretch));
    }
    this.events.changed();
  }

  private async open(cell: RunNode): Promise<void> {
    if (cell.cell === null || this.opening.has(cell) || this.shut.has(cell)) return;
    this.opening.add(cell);
    try {
      openCell(cell, readCellRows(await this.api.cells(100, cell.cell)));
      if (cell.children.length === 0) this.shut.add(cell);
    } catch (error) {
      this.shut.add(cell);
      this.events.failed(error);
    } finally {
      this.opening.delete(cell);
      this.events.changed();
    }
  }

  /** By the node's own points, by the skeleton, or as much as a room's surfaces have. */
  private areaOf(node: RunNode): number {
    const held = this.loader.held.get(node)?.area;
    if (held !== undefined) return held;
    const known = this.areas.get(node);
    if (known !== undefined) return known;
    const below =
      node.cell === null && node.children.length > 0
        ? node.children.reduce((sum, child) => sum + this.areaOf(child), 0)
        : diagonal(node.box) ** 2 / 2;
    // Areas of what is above cells change only with the skeleton; those of open cells do as points come.
    if (node.count > 0 && node.cell === null && node.children.some((child) => child.cell !== null))
      this.areas.set(node, below);
    return below;
  }
}

/** Numbers of some points, evenly spread. */
const sampled = (points: number): number[] =>
  Array.from({ length: Math.min(points, 4000) }, (_, i) =>
    Math.floor((i * points) / Math.min(points, 4000)),
  );
