// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of tools, over the points. Dots and labels of the same marks are elements of the page
// (overlay/labels.ts).

import * as three from "three";
import type { Size } from "../camera/pose";
import type { Lens } from "../draw/lens";
import type { Layer } from "../draw/renderer";
import type { Marks } from "../viewer_interface";
import { Lines, segmentsOf } from "./lines";

const usualColour = "#ffb300";
const usualWidth = 2;

export class MarkLayer implements Layer {
  readonly scene = new three.Scene();
  private readonly named = new Map<string, Lines[]>();

  set(name: string, marks: Marks): void {
    for (const lines of this.named.get(name) ?? []) {
      this.scene.remove(lines.object);
      lines.dispose();
    }
    const made = (marks.lines ?? [])
      .filter(({ corners }) => corners.length > 1)
      .map(({ corners, closed, colour, width }) => {
        const segments = segmentsOf(corners, closed ?? false, colour ?? usualColour);
        return new Lines(segments, { width: width ?? usualWidth, hidden: false });
      });
    for (const lines of made) this.scene.add(lines.object);
    this.named.set(name, made);
  }

  place(lens: Lens, _size: Size, density: number): void {
    for (const made of this.named.values())
      for (const lines of made) lines.place(lens.pose.position, density);
  }
}
