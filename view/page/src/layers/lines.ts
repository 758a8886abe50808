// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of any width in space, as one object. Their corners are kept beside an anchor, so that their
// digits suffice wherever they lie.

import * as three from "three";
import { LineMaterial } from "three/examples/jsm/lines/LineMaterial.js";
import { LineSegments2 } from "three/examples/jsm/lines/LineSegments2.js";
import { LineSegmentsGeometry } from "three/examples/jsm/lines/LineSegmentsGeometry.js";
import { subtract, type Vector } from "../math/vector";

export interface Segment {
  readonly from: Vector;
  readonly to: Vector;
  /** "#rrggbb" */
  readonly colour: string;
}

export interface LineLook {
  /** Pixels of the page. */
  readonly width: number;
  /** Whether points before a line hide it. */
  readonly hidden: boolean;
  readonly opacity?: number;
  /** What is drawn of them lies on the positive side of each. */
  readonly clipping?: three.Plane[];
}

export class Lines {
  readonly object: LineSegments2;
  private readonly material: LineMaterial;
  private readonly anchor: Vector;

  constructor(
    segments: readonly Segment[],
    private readonly look: LineLook,
  ) {
    const anchor = segments[0]?.from ?? ([0, 0, 0] as const);
    this.anchor = anchor;
    const places = segments.flatMap(({ from, to }) => [
      ...subtract(from, anchor),
      ...subtract(to, anchor),
    ]);
    const colours = segments.flatMap(({ colour }) => {
      const { r, g, b } = new three.Color(colour);
      return [r, g, b, r, g, b];
    });
    const geometry = new LineSegmentsGeometry();
    geometry.setPositions(places);
    geometry.setColors(colours);
    this.material = new LineMaterial({
      vertexColors: true,
      depthTest: look.hidden,
      depthWrite: false,
      transparent: true,
      opacity: look.opacity ?? 1,
      clippingPlanes: look.clipping ?? null,
    });
    this.object = new LineSegments2(geometry, this.material);
    this.object.frustumCulled = false;
  }

  place(camera: Vector, density: number): void {
    this.object.position.set(...subtract(this.anchor, camera));
    this.object.updateMatrixWorld(true);
    this.material.linewidth = this.look.width * density;
  }

  dispose(): void {
    this.object.geometry.dispose();
    this.material.dispose();
  }
}

/** The segments of a line through corners. */
export function segmentsOf(corners: readonly Vector[], closed: boolean, colour: string): Segment[] {
  const segments: Segment[] = [];
  for (let i = 0; i + 1 < corners.length; ++i)
    segments.push({ from: corners[i]!, to: corners[i + 1]!, colour });
  if (closed && corners.length > 2)
    segments.push({ from: corners[corners.length - 1]!, to: corners[0]!, colour });
  return segments;
}
