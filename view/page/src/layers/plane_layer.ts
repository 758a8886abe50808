// SPDX-License-Identifier: GPL-3.0-or-later
// Outlines of the planes that are shown; those that are chosen are filled as well.

import * as three from "three";
import type { PlaneInfo } from "../api/protocol";
import type { Lens } from "../draw/lens";
import { hex, numberColour } from "../draw/palettes";
import type { Layer } from "../draw/renderer";
import type { Size } from "../camera/pose";
import { planeFrame, toFlat } from "../math/plane_frame";
import { halfSpaces } from "../math/section";
import { subtract, type Vector } from "../math/vector";
import type { SectionBox, Slab, ViewValues } from "../view_state";
import { Lines, segmentsOf, type Segment } from "./lines";

interface Fill {
  readonly mesh: three.Mesh<three.BufferGeometry, three.MeshBasicMaterial>;
  readonly anchor: Vector;
}

const outlineWidth = 1.5;
const chosenWidth = 3;
const fillOpacity = 0.3;

export class PlaneLayer implements Layer {
  readonly scene = new three.Scene();
  private lines: Lines[] = [];
  private fills: Fill[] = [];
  /** The box and the slab cut outlines as they cut points. */
  private readonly clipping: three.Plane[] = [];
  private section: SectionBox | null = null;
  private slab: Slab | null = null;

  show(planes: readonly PlaneInfo[], values: Readonly<ViewValues>): void {
    this.clear();
    const shown = planes.filter(({ number }) => !values.hiddenPlanes.has(number));
    // A chosen plane, and one that was just grown, is seen even where outlines are switched off.
    const strong = shown.filter(({ number }) => values.chosenPlanes.has(number));
    const quiet = shown.filter(({ number }) => !values.chosenPlanes.has(number));
    if (values.showOutlines)
      this.addLines(quiet.flatMap(segmentsOfPlane), { width: outlineWidth, hidden: true });
    this.addLines(strong.flatMap(segmentsOfPlane), { width: chosenWidth, hidden: false });
    for (const plane of strong) this.addFill(plane);
  }

  /** Takes a box or a slab over without making anything anew: they change as a slider moves. */
  cut({ section, slab }: Readonly<ViewValues>): void {
    this.section = section;
    this.slab = slab;
    const planes = halfSpaces(section, slab, [0, 0, 0]).map(
      ({ normal }) => new three.Plane(new three.Vector3(...normal)),
    );
    this.clipping.splice(0, this.clipping.length, ...planes);
  }

  place(lens: Lens, _size: Size, density: number): void {
    const { position } = lens.pose;
    halfSpaces(this.section, this.slab, position).forEach(
      ({ offset }, i) => (this.clipping[i]!.constant = offset),
    );
    for (const lines of this.lines) lines.place(position, density);
    for (const { mesh, anchor } of this.fills) {
      mesh.position.set(...subtract(anchor, position));
      mesh.updateMatrixWorld(true);
    }
  }

  private addLines(segments: readonly Segment[], look: { width: number; hidden: boolean }): void {
    if (segments.length === 0) return;
    const lines = new Lines(segments, { ...look, clipping: this.clipping });
    this.lines.push(lines);
    this.scene.add(lines.object);
  }

  private addFill(plane: PlaneInfo): void {
    const places: number[] = [];
    const frame = planeFrame(plane);
    for (const { outer, holes } of plane.regions) {
      const flat = (ring: readonly Vector[]) =>
        ring.map((corner) => new three.Vector2(...toFlat(frame, corner)));
      const all = [...outer, ...holes.flat()];
      for (const triangle of three.ShapeUtils.triangulateShape(flat(outer), holes.map(flat)))
        for (const corner of triangle) places.push(...subtract(all[corner]!, frame.origin));
    }
    if (places.length === 0) return;
    const geometry = new three.BufferGeometry();
    geometry.setAttribute("position", new three.Float32BufferAttribute(places, 3));
    const material = new three.MeshBasicMaterial({
      color: hex(numberColour(plane.number)),
      transparent: true,
      opacity: fillOpacity,
      depthWrite: false,
      side: three.DoubleSide,
      clippingPlanes: this.clipping,
    });
    const mesh = new three.Mesh(geometry, material);
    mesh.frustumCulled = false;
    this.fills.push({ mesh, anchor: frame.origin });
    this.scene.add(mesh);
  }

  private clear(): void {
    for (const lines of this.lines) lines.dispose();
    for (const { mesh } of this.fills) {
      mesh.geometry.dispose();
      mesh.material.dispose();
    }
    this.lines = [];
    this.fills = [];
    this.scene.clear();
  }
}

function segmentsOfPlane(plane: PlaneInfo): Segment[] {
  const colour = hex(numberColour(plane.number));
  return plane.regions.flatMap(({ outer, holes }) =>
    [outer, ...holes].flatMap((ring) => segmentsOf(ring, true, colour)),
  );
}
