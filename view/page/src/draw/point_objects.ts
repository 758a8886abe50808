// SPDX-License-Identifier: GPL-3.0-or-later
// Strokes as three.js objects. A part's records are put on the card once and freed when the part is no
// longer held; an object draws a beginning, or a stretch, of them.

import * as three from "three";
import type { Stroke } from "../cloud/draw_list";
import type { Part } from "../cloud/parts";
import type { Skeleton } from "../cloud/skeleton";
import type { PointMaterial } from "./point_material";

type Source = Part | Skeleton;

interface OnCard {
  readonly buffer: three.InterleavedBuffer;
  readonly planes: three.BufferAttribute | null;
  readonly objects: Map<number, three.Points<three.BufferGeometry, three.RawShaderMaterial>>;
  used: number;
}

const words = 6;

export class PointObjects {
  readonly scene = new three.Scene();
  private readonly onCard = new Map<Source, OnCard>();
  private readonly empty: three.Object3D[] = [];
  private frame = 0;

  constructor(private readonly material: PointMaterial) {
    this.scene.matrixWorldAutoUpdate = false;
    // Draws nothing, but has the program compiled while the first points are still under way.
    const records = new Uint32Array(words);
    const run = { first: 0, count: 1, every: 1 };
    const node = { box: { min: [0, 0, 0], max: [0, 0, 0] }, first: 0, count: 1 } as const;
    const source: Skeleton = { kind: "skeleton", run, records, points: 1 };
    const empty = { start: 0, count: 0, spacing: 1 };
    this.show([{ ...empty, source, node: { ...node, cell: null, children: [] } }], 1);
    this.empty = this.scene.children;
  }

  /** Draws these and nothing else; returns how many points they have. `share`: of each, up to 1. */
  show(strokes: readonly Stroke[], share: number): number {
    ++this.frame;
    const shown: three.Object3D[] = [];
    let points = 0;
    for (const stroke of strokes) {
      // The skeleton lies in the order of cells: the beginning of a stretch would be one side of it.
      const drawn = stroke.source.kind === "part" ? Math.ceil(stroke.count * share) : stroke.count;
      shown.push(this.object(stroke, drawn));
      points += drawn;
    }
    this.scene.children = shown.length > 0 ? shown : this.empty;
    return points;
  }

  /** Frees what has not been drawn for a while and is not held any more. */
  free(held: ReadonlySet<Source>): void {
    for (const [source, entry] of this.onCard)
      if (entry.used < this.frame && !held.has(source)) {
        this.drop(entry);
        this.onCard.delete(source);
      }
  }

  private object(stroke: Stroke, drawn: number): three.Object3D {
    const { source } = stroke;
    let entry = this.onCard.get(source);
    // Plane numbers came since: the objects are made again with them.
    if (entry && planesOf(source) !== (entry.planes?.array ?? undefined)) {
      this.drop(entry);
      entry = undefined;
    }
    if (!entry) {
      entry = this.upload(source);
      this.onCard.set(source, entry);
    }
    entry.used = this.frame;
    let object = entry.objects.get(stroke.start);
    if (!object) {
      object = this.makeObject(entry);
      entry.objects.set(stroke.start, object);
    }
    object.geometry.setDrawRange(stroke.start, drawn);
    const spacing = stroke.spacing * Math.sqrt(stroke.count / Math.max(drawn, 1));
    object.onBeforeRender = () => this.material.setSpacing(object.material, spacing);
    return object;
  }

  private makeObject(entry: OnCard) {
    const geometry = new three.BufferGeometry();
    geometry.setAttribute("head", new three.InterleavedBufferAttribute(entry.buffer, 3, 0));
    geometry.setAttribute("tail", new three.InterleavedBufferAttribute(entry.buffer, 3, 3));
    if (entry.planes) geometry.setAttribute("plane", entry.planes);
    const object = new three.Points(geometry, this.material.for(entry.planes !== null));
    object.frustumCulled = false;
    object.matrixAutoUpdate = false;
    return object;
  }

  private upload(source: Source): OnCard {
    const planes = planesOf(source);
    return {
      buffer: new three.InterleavedBuffer(source.records, words),
      planes: planes ? new three.BufferAttribute(planes, 1) : null,
      objects: new Map(),
      used: this.frame,
    };
  }

  private drop(entry: OnCard): void {
    for (const object of entry.objects.values()) object.geometry.dispose();
  }
}

const planesOf = (source: Source): Uint32Array | undefined => source.planes;
