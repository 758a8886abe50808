// The edges of the section box.

import * as three from "three";
import type { Size } from "../camera/pose";
import type { Lens } from "../draw/lens";
import type { Layer } from "../draw/renderer";
import type { Vector } from "../math/vector";
import type { SectionBox, ViewValues } from "../view_state";
import { Lines, segmentsOf, type Segment } from "./lines";

const colours = { dark: "#7d8792", light: "#8b939d" } as const;

/** The box's corners: four below, counter-clockwise, then those above them. */
export function boxCorners({ centre, half, turn }: SectionBox): Vector[] {
  const [sin, cos] = [Math.sin(turn), Math.cos(turn)];
  const corner = (x: number, y: number, z: number): Vector => [
    centre[0] + cos * x - sin * y,
    centre[1] + sin * x + cos * y,
    centre[2] + z,
  ];
  const [x, y, z] = half;
  return [-z, z].flatMap((at) => [
    corner(-x, -y, at),
    corner(x, -y, at),
    corner(x, y, at),
    corner(-x, y, at),
  ]);
}

export class SectionLayer implements Layer {
  readonly scene = new three.Scene();
  private lines: Lines | null = null;

  show({ section, theme }: Readonly<ViewValues>): void {
    if (this.lines) {
      this.scene.remove(this.lines.object);
      this.lines.dispose();
      this.lines = null;
    }
    if (!section) return;
    const corners = boxCorners(section);
    const colour = colours[theme];
    const edges: Segment[] = [
      ...segmentsOf(corners.slice(0, 4), true, colour),
      ...segmentsOf(corners.slice(4), true, colour),
      ...[0, 1, 2, 3].map((i) => ({ from: corners[i]!, to: corners[i + 4]!, colour })),
    ];
    this.lines = new Lines(edges, { width: 1, hidden: true });
    this.scene.add(this.lines.object);
  }

  place(lens: Lens, _size: Size, density: number): void {
    this.lines?.place(lens.pose.position, density);
  }
}
