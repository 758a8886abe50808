// SPDX-License-Identifier: GPL-3.0-or-later
// The choice of what a point's colour shows. What the cloud does not have cannot be chosen.

import type { PlaneWork } from "../planes/plane_work";
import { returnTo } from "../ui/controls";
import { element } from "../ui/dom";
import type { ColourMode } from "../view_state";
import type { Viewer } from "../viewer_interface";

export const colourNames: readonly { readonly value: ColourMode; readonly caption: string }[] = [
  { value: "rgb", caption: "Colour" },
  { value: "intensity", caption: "Intensity" },
  { value: "height", caption: "Height" },
  { value: "station", caption: "Station" },
  { value: "class", caption: "Class" },
  { value: "plane", caption: "Plane" },
  { value: "plain", caption: "Plain" },
];

/** The colourings that would show something. */
export function usefulColours(viewer: Viewer, planes: PlaneWork): ColourMode[] {
  const { varies } = viewer.project;
  const useful: Record<ColourMode, boolean> = {
    rgb: varies.colour,
    intensity: varies.intensity,
    height: true,
    station: varies.station,
    class: varies.class,
    plane: planes.store.get().end !== null,
    plain: true,
  };
  return colourNames.map((each) => each.value).filter((value) => useful[value]);
}

export function colourChoice(viewer: Viewer, planes: PlaneWork): HTMLSelectElement {
  const input = element("select", {
    "aria-label": "Points show",
    title: "What the colour of points shows (C)",
    change: () => viewer.state.set({ colour: colourNames[input.selectedIndex]!.value }),
  });
  for (const { caption } of colourNames) input.append(element("option", {}, caption));
  const follow = () => {
    const useful = usefulColours(viewer, planes);
    colourNames.forEach(({ value }, i) => (input.options[i]!.disabled = !useful.includes(value)));
    input.selectedIndex = colourNames.findIndex(({ value }) => value === viewer.state.get().colour);
  };
  follow();
  returnTo(viewer.canvas, input);
  viewer.state.watch(["colour"], follow);
  planes.store.watch(["end"], follow);
  return input;
}
