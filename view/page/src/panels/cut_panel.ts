// SPDX-License-Identifier: GPL-3.0-or-later
// Cutting the cloud: a box that may stand turned, and a slab of heights seen from above, the plan.

import { formatMetres } from "../math/frame";
import type { Vector } from "../math/vector";
import { metres } from "../tools/format";
import { button, section, slider, toggle } from "../ui/controls";
import { element, show } from "../ui/dom";
import { rangeBar } from "../ui/range";
import type { SectionBox, Slab } from "../view_state";
import type { Viewer } from "../viewer_interface";

export const planThickness = 0.5;

/** The box around the whole cloud. */
export function wholeBox(viewer: Viewer): SectionBox {
  const { min, max } = viewer.project.bounds;
  const part = (axis: 0 | 1 | 2) => Math.max((max[axis] - min[axis]) / 2, 0.01);
  return {
    centre: [(min[0] + max[0]) / 2, (min[1] + max[1]) / 2, (min[2] + max[2]) / 2],
    half: [part(0), part(1), part(2)],
    turn: 0,
  };
}

/** A plan's slab a metre above the lowest point, lower in a low cloud: what a floor plan shows. */
export function middleSlab(viewer: Viewer): Slab {
  const { min, max } = viewer.project.bounds;
  const low = min[2] + Math.min(1, (max[2] - min[2]) / 3);
  return { low, high: Math.min(low + planThickness, max[2]) };
}

/** Cuts a plan and looks at it from above; without one the view is as before. */
export function togglePlan(viewer: Viewer): void {
  if (viewer.state.get().slab) {
    viewer.state.set({ slab: null, projection: "perspective" });
    viewer.camera.look("home");
    return;
  }
  viewer.state.set({ slab: middleSlab(viewer), projection: "orthographic" });
  viewer.camera.look("top");
}

export const toggleSection = (viewer: Viewer): void =>
  viewer.state.set({ section: viewer.state.get().section ? null : wholeBox(viewer) });

/** Low and high along the box's own axes, measured from a fixed place, and back. */
export interface Edges {
  readonly low: Vector;
  readonly high: Vector;
}

const turned = ([x, y, z]: Vector, angle: number): Vector => [
  x * Math.cos(angle) - y * Math.sin(angle),
  x * Math.sin(angle) + y * Math.cos(angle),
  z,
];

export function edgesOf(box: SectionBox, from: Vector): Edges {
  const centre = turned(
    [box.centre[0] - from[0], box.centre[1] - from[1], box.centre[2] - from[2]],
    -box.turn,
  );
  const at = (sign: number): Vector => [
    centre[0] + sign * box.half[0],
    centre[1] + sign * box.half[1],
    centre[2] + sign * box.half[2],
  ];
  return { low: at(-1), high: at(1) };
}

export function boxOf({ low, high }: Edges, turn: number, from: Vector): SectionBox {
  const centre = turned(
    [(low[0] + high[0]) / 2, (low[1] + high[1]) / 2, (low[2] + high[2]) / 2],
    turn,
  );
  return {
    centre: [centre[0] + from[0], centre[1] + from[1], centre[2] + from[2]],
    half: [(high[0] - low[0]) / 2, (high[1] - low[1]) / 2, (high[2] - low[2]) / 2],
    turn,
  };
}

function sectionRows(viewer: Viewer): HTMLElement {
  const { state } = viewer;
  const whole = wholeBox(viewer);
  const from = whole.centre;
  // Of a turned box the corners reach as far as the diagonal.
  const reach = Math.hypot(whole.half[0], whole.half[1]);
  const on = toggle("Draw only what is in a box", state.get().section !== null, (wanted) =>
    state.set({ section: wanted ? whole : null }),
  );
  const now = () => state.get().section ?? whole;
  const bars = (["Across", "Along", "Height"] as const).map((caption, axis) => {
    const most = axis === 2 ? whole.half[2] : reach;
    return rangeBar({
      caption,
      min: -most,
      max: most,
      low: -most,
      high: most,
      show: (value) => formatMetres(axis === 2 ? value + viewer.frame.toWorld(from)[2] : value, 2),
      change: (low, high) => {
        const edges = edgesOf(now(), from);
        const put = (vector: Vector, value: number): Vector => [
          axis === 0 ? value : vector[0],
          axis === 1 ? value : vector[1],
          axis === 2 ? value : vector[2],
        ];
        state.set({
          section: boxOf(
            { low: put(edges.low, low), high: put(edges.high, high) },
            now().turn,
            from,
          ),
        });
      },
    });
  });
  const turn = slider({
    caption: "Turned by",
    min: -90,
    max: 90,
    step: 0.5,
    value: 0,
    show: (value) => `${value.toFixed(1)}°`,
    // The box turns about its own middle.
    change: (value) => state.set({ section: { ...now(), turn: (value * Math.PI) / 180 } }),
  });
  const reset = button("Whole cloud", () => state.set({ section: whole }));
  const zoom = button("Zoom", () => {
    const { centre, half } = now();
    const wide = Math.hypot(half[0], half[1]);
    viewer.camera.show({
      min: [centre[0] - wide, centre[1] - wide, centre[2] - half[2]],
      max: [centre[0] + wide, centre[1] + wide, centre[2] + half[2]],
    });
  });
  const rows = element(
    "div",
    {},
    ...bars.map((bar) => bar.row),
    turn.row,
    element("div", { class: "actions" }, zoom, reset),
  );
  const follow = () => {
    const box = state.get().section;
    on.set(box !== null);
    show(box !== null, rows);
    if (!box) return;
    const edges = edgesOf(box, from);
    bars.forEach((bar, axis) => bar.set(edges.low[axis]!, edges.high[axis]!));
    turn.set((box.turn * 180) / Math.PI);
  };
  state.watch(["section"], follow);
  follow();
  return section("Box", on.row, rows);
}

function planRows(viewer: Viewer): HTMLElement {
  const { state, project } = viewer;
  const { min, max } = project.bounds;
  // Heights are shown as the world has them; a frame that tilts has none of its own.
  const shift = viewer.frame.toWorld([0, 0, 0])[2];
  const on = toggle("Draw a plan: heights between", state.get().slab !== null, () =>
    togglePlan(viewer),
  );
  const bar = rangeBar({
    caption: "Heights",
    min: min[2],
    max: Math.max(max[2], min[2] + 0.01),
    low: min[2],
    high: max[2],
    show: (value) => formatMetres(value + shift, 2),
    change: (low, high) => state.set({ slab: { low, high } }),
  });
  const move = (by: number) => {
    const { slab } = state.get();
    if (slab) state.set({ slab: { low: slab.low + by, high: slab.high + by } });
  };
  const rows = element(
    "div",
    {},
    bar.row,
    element(
      "div",
      { class: "actions" },
      button("Lower", () => move(-0.1)),
      button("Higher", () => move(0.1)),
      button("From above", () => viewer.camera.look("top")),
    ),
    element("p", { class: "hint" }, `Lower and higher move the slab by ${metres(0.1)}.`),
  );
  const follow = () => {
    const { slab } = state.get();
    on.set(slab !== null);
    show(slab !== null, rows);
    if (slab) bar.set(slab.low, slab.high);
  };
  state.watch(["slab"], follow);
  follow();
  return section("Plan", on.row, rows);
}

export const cutPanel = (viewer: Viewer): HTMLElement =>
  element("div", {}, sectionRows(viewer), planRows(viewer));
