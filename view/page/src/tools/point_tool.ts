// SPDX-License-Identifier: GPL-3.0-or-later
// One point: where it is in the world, and what is stored of it.

import type { Viewer, Picked, Tool } from "../viewer_interface";
import { formatMetres } from "../math/frame";
import { metres, whole } from "./format";
import type { ToolCard } from "./tool_card";

export class PointTool implements Tool {
  readonly name = "point";

  constructor(
    private readonly viewer: Viewer,
    private readonly card: ToolCard,
  ) {
    card.show({ title: "Point", hint: "Click a point." });
  }

  click(picked: Picked | null): void {
    if (!picked) return;
    this.viewer.setMarks(this.name, { dots: [{ at: picked.position }] });
    this.card.show({
      title: "Point",
      hint:
        picked.record === null ? "A point of the thinned cloud." : `Point ${whole(picked.record)}`,
      rows: this.rowsOf(picked),
    });
  }

  end(): void {
    this.viewer.setMarks(this.name, {});
    this.card.hide();
  }

  private rowsOf(picked: Picked): (readonly [string, string])[] {
    const { project } = this.viewer;
    const [x, y, z] = picked.world;
    const rows: (readonly [string, string])[] = [
      ["East", metres(x)],
      ["North", metres(y)],
      ["Height", metres(z)],
    ];
    const station = project.stations.find((each) => each.number === picked.station);
    if (project.stations.length > 0)
      rows.push(["Station", station?.name ?? String(picked.station)]);
    if (project.varies.intensity) rows.push(["Intensity", formatMetres(picked.intensity, 0)]);
    if (project.varies.colour) rows.push(["Colour", picked.colour.join(" ")]);
    const named = project.classes.find((each) => each.number === picked.class);
    if (project.varies.class) rows.push(["Class", named?.name ?? String(picked.class)]);
    if (picked.plane !== null)
      rows.push(["Plane", picked.plane === 0 ? "none" : String(picked.plane)]);
    return rows;
  }
}
