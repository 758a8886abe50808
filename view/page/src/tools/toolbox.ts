// SPDX-License-Identifier: GPL-3.0-or-later
// The tools by name, and which of them is in hand.

import type { PlaneWork } from "../planes/plane_work";
import type { IconName } from "../ui/icons";
import type { Tool, Viewer } from "../viewer_interface";
import { areaKind, distanceKind, heightKind, PathTool } from "./path_tools";
import { AngleTool, GrowTool, LookTool } from "./plane_tools";
import { PointTool } from "./point_tool";
import { ToolCard } from "./tool_card";

export type ToolName = "look" | "point" | "distance" | "height" | "area" | "angle" | "plane";

/** In the order of the rail; the key is that of the keyboard. */
export const toolNames: readonly {
  readonly name: ToolName & IconName;
  readonly caption: string;
  readonly key: string;
}[] = [
  { name: "look", caption: "Look and choose planes", key: "1" },
  { name: "point", caption: "Read a point", key: "2" },
  { name: "distance", caption: "Measure a distance", key: "3" },
  { name: "height", caption: "Measure a height", key: "4" },
  { name: "area", caption: "Measure an area", key: "5" },
  { name: "angle", caption: "Measure the angle of two planes", key: "6" },
  { name: "plane", caption: "Grow the plane of a wall", key: "7" },
];

export class Toolbox {
  readonly card = new ToolCard(() => this.take("look"));
  private taking = false;

  constructor(
    private readonly viewer: Viewer,
    private readonly planes: PlaneWork,
  ) {
    viewer.overlay.append(this.card.root);
    // Escape takes a tool away; looking is what remains.
    viewer.onToolChange(() => {
      if (!viewer.tool && !this.taking) this.take("look");
    });
    this.take("look");
  }

  get name(): ToolName {
    return (this.viewer.tool?.name ?? "look") as ToolName;
  }

  take(name: ToolName): void {
    this.taking = true;
    // The former tool clears the card before the next one, when it is made, writes on it.
    this.viewer.setTool(null);
    this.taking = false;
    this.viewer.setTool(this.make(name));
  }

  private make(name: ToolName): Tool {
    switch (name) {
      case "look":
        return new LookTool(this.viewer, this.planes);
      case "point":
        return new PointTool(this.viewer, this.card);
      case "distance":
        return new PathTool(this.viewer, this.card, distanceKind);
      case "height":
        return new PathTool(this.viewer, this.card, heightKind);
      case "area":
        return new PathTool(this.viewer, this.card, areaKind);
      case "angle":
        return new AngleTool(this.viewer, this.card, this.planes);
      case "plane":
        return new GrowTool(this.viewer, this.card, this.planes);
    }
  }
}
