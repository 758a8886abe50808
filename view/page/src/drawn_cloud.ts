// SPDX-License-Identifier: GPL-3.0-or-later
// What is drawn of the cloud now: chosen for the camera and for what a person set, out of what has come.

import type { Api } from "./api/client";
import type { ProjectInfo } from "./api/protocol";
import type { Pose, Size } from "./camera/pose";
import { Cloud, type CloudEvents } from "./cloud/cloud";
import type { Stroke } from "./cloud/draw_list";
import { PlaneNumbers } from "./cloud/plane_numbers";
import { viewVolume } from "./cloud/view_volume";
import { Pace } from "./draw/pace";
import { boxCorners } from "./math/section";
import type { Box } from "./math/box";
import type { ViewValues } from "./view_state";

export class DrawnCloud {
  readonly cloud: Cloud;
  readonly pace: Pace;
  strokes: readonly Stroke[] = [];
  private readonly planeNumbers: PlaneNumbers;
  private planesId: number | null = null;

  constructor(
    api: Api,
    private readonly project: ProjectInfo,
    budget: number,
    events: CloudEvents,
  ) {
    this.cloud = new Cloud(api, project, events);
    this.planeNumbers = new PlaneNumbers(api, events);
    this.pace = new Pace(budget);
  }

  get pending(): number {
    return this.cloud.pending + this.planeNumbers.pending;
  }

  get points(): number {
    return this.strokes.reduce((sum, { count }) => sum + count, 0);
  }

  get hasPlanes(): boolean {
    return this.planesId !== null;
  }

  /** The list of planes that points belong to; null: none. */
  setPlanes(id: number | null): void {
    this.planesId = id;
    this.planeNumbers.setList(id);
  }

  /** Chooses what to load and to draw. `density`: pixels of the screen a pixel of the page. */
  choose(pose: Pose, size: Size, density: number, values: Readonly<ViewValues>): void {
    this.cloud.look(viewVolume(pose, size, density), {
      budget: this.pace.budget,
      screen: size.height * density,
      within: withinCuts(this.project.bounds, values),
    });
    this.strokes = this.cloud.strokes();
    const { colour, hiddenPlanes, chosenPlanes } = values;
    const needed = colour === "plane" || hiddenPlanes.size > 0 || chosenPlanes.size > 0;
    const drawn = [...new Set(this.strokes.map(({ source }) => source))];
    this.planeNumbers.want(needed && this.hasPlanes ? drawn : []);
  }
}

/** The part of the bounds that section and slab leave; null where there are none. */
export function withinCuts(
  bounds: Box,
  { section, slab }: Pick<ViewValues, "section" | "slab">,
): Box | null {
  if (!section && !slab) return null;
  const low: [number, number, number] = [...bounds.min];
  const high: [number, number, number] = [...bounds.max];
  if (section) {
    const all = boxCorners(section);
    for (const axis of [0, 1, 2] as const) {
      low[axis] = Math.max(low[axis], Math.min(...all.map((corner) => corner[axis])));
      high[axis] = Math.min(high[axis], Math.max(...all.map((corner) => corner[axis])));
    }
  }
  if (slab) {
    low[2] = Math.max(low[2], slab.low);
    high[2] = Math.min(high[2], slab.high);
  }
  return { min: low, max: high };
}
