// SPDX-License-Identifier: GPL-3.0-or-later
// The edges of the section box.

import * as three from "three";
import type { Size } from "../camera/pose";
import type { Lens } from "../draw/lens";
import type { Layer } from "../draw/renderer";
import { boxCorners } from "../math/section";
import type { ViewValues } from "../view_state";
import { Lines, segmentsOf, type Segment } from "./lines";

const colours = { dark: "#7d8792", light: "#8b939d" } as const;

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
