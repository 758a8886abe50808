// SPDX-License-Identifier: GPL-3.0-or-later
// Everything about the view that a person can set. The camera's pose is not in it: it changes with
// every frame and has its own events (camera/camera_control.ts).

import { Store } from "./store";
import type { Vector } from "./math/vector";

/** What the colour of a point shows. */
export type ColourMode = "rgb" | "intensity" | "height" | "station" | "class" | "plane" | "plain";

/** A box that may stand turned about the vertical; what lies outside of it is not drawn. */
export interface SectionBox {
  readonly centre: Vector;
  /** Half of the box's length along its own axes. */
  readonly half: Vector;
  /** Turn about the vertical, radians, counter-clockwise seen from above. */
  readonly turn: number;
}

/** Heights between which points are drawn, local metres: a plan's slab. */
export interface Slab {
  readonly low: number;
  readonly high: number;
}

export type Range = readonly [low: number, high: number];

export interface ViewValues {
  colour: ColourMode;
  /** Factor on the size of points; 1 closes the gaps between neighbours just so. */
  pointSize: number;
  /** Depth shading, 0 (none) to 2. */
  depthShading: number;
  /** Points that are drawn at most. */
  budget: number;
  /** Whether the budget follows the frame rate, up to `budget`. */
  adaptive: boolean;
  theme: "dark" | "light";
  projection: "perspective" | "orthographic";
  /** Ends of the colour scale; null: from the project's histograms. */
  intensityRange: Range | null;
  /** Local metres. */
  heightRange: Range | null;
  section: SectionBox | null;
  slab: Slab | null;
  /** Planes, classes and stations by number whose points are not drawn. */
  hiddenPlanes: ReadonlySet<number>;
  hiddenClasses: ReadonlySet<number>;
  hiddenStations: ReadonlySet<number>;
  /** Planes that are drawn brighter. */
  chosenPlanes: ReadonlySet<number>;
  showOutlines: boolean;
  showStations: boolean;
}

export type ViewState = Store<ViewValues>;

export const standardValues: ViewValues = {
  colour: "plain",
  pointSize: 1,
  depthShading: 1,
  budget: 3_000_000,
  adaptive: true,
  theme: "dark",
  projection: "perspective",
  intensityRange: null,
  heightRange: null,
  section: null,
  slab: null,
  hiddenPlanes: new Set(),
  hiddenClasses: new Set(),
  hiddenStations: new Set(),
  chosenPlanes: new Set(),
  showOutlines: true,
  showStations: true,
};

export const createViewState = (values: Partial<ViewValues> = {}): ViewState =>
  new Store<ViewValues>({ ...standardValues, ...values });
