// SPDX-License-Identifier: GPL-3.0-or-later
// How the cloud is drawn: what colours show, sizes, light, layers, and the figures of the last frame.

import type { Histograms } from "../api/protocol";
import { formatMetres } from "../math/frame";
import { toggled } from "../planes/plane_list";
import type { PlaneWork } from "../planes/plane_work";
import { short, whole } from "../tools/format";
import { section, slider, toggle } from "../ui/controls";
import { element, show } from "../ui/dom";
import { rangeBar } from "../ui/range";
import type { Viewer } from "../viewer_interface";
import { colourChoice } from "./colour_choice";
import { histogram } from "./histogram";

interface LegendEntry {
  readonly number: number;
  readonly name: string;
  readonly colour: string;
}

// What has more entries is no legend any more; a project may have 65,536 stations.
const mostListed = 200;

/** Rows with a colour, a name, and a switch that hides the points. */
function legend(
  entries: readonly LegendEntry[],
  hidden: ReadonlySet<number>,
  change: (hidden: ReadonlySet<number>) => void,
): HTMLElement {
  const list = element("ul", { class: "legend" });
  for (const entry of entries.slice(0, mostListed)) {
    const input = element("input", {
      type: "checkbox",
      change: () => {
        hidden = toggled(hidden, entry.number);
        change(hidden);
      },
    });
    input.checked = !hidden.has(entry.number);
    const swatch = element("span", { class: "swatch" });
    swatch.style.background = entry.colour;
    list.append(
      element("li", {}, element("label", {}, input, swatch, element("span", {}, entry.name))),
    );
  }
  if (entries.length > mostListed)
    list.append(element("li", { class: "hint" }, `and ${whole(entries.length - mostListed)} more`));
  return list;
}

function valueDetails(
  viewer: Viewer,
  which: "intensity" | "height",
  all: Histograms,
): HTMLElement[] {
  const { state } = viewer;
  const info = all[which];
  if (!info) return [element("p", { class: "hint" }, "The project has no histogram of it.")];
  const shown = (value: number) => formatMetres(value + info.shift, which === "height" ? 2 : 0);
  const key = which === "height" ? "heightRange" : "intensityRange";
  const end = info.start + info.counts.length * info.width;
  const { intensity } = viewer.project;
  const own =
    which === "intensity" && intensity ? [intensity.low, intensity.high] : [info.start, end];
  const [low = info.start, high = end] = state.get()[key] ?? own;
  const bar = rangeBar({
    caption: "Colours from, to",
    min: info.start,
    max: end,
    low,
    high,
    show: shown,
    change: (from, to) => state.set({ [key]: [from, to] }),
  });
  return [histogram(info, shown), bar.row];
}

/** What belongs to the present colouring: a legend, or the histogram of its values. */
function colourDetails(viewer: Viewer, trouble: (sentence: string) => void): HTMLElement {
  const { state, project } = viewer;
  const details = element("div", { class: "details" });
  let histograms: Promise<Histograms> | null = null;
  const fill = () => {
    const { colour, hiddenStations, hiddenClasses } = state.get();
    details.replaceChildren();
    if (colour === "station") {
      const entries = project.stations.map(({ number, name }) => ({
        number,
        name: name ?? `Station ${number}`,
        colour: viewer.stationColour(number),
      }));
      details.append(legend(entries, hiddenStations, (set) => state.set({ hiddenStations: set })));
    } else if (colour === "class") {
      const entries = project.classes.map(({ number, name }) => ({
        number,
        name: name ? `${number}  ${name}` : `Class ${number}`,
        colour: viewer.classColour(number),
      }));
      details.append(legend(entries, hiddenClasses, (set) => state.set({ hiddenClasses: set })));
    } else if (colour === "intensity" || colour === "height") {
      histograms ??= viewer.api.histograms();
      histograms
        .then((all) => {
          if (state.get().colour === colour)
            details.replaceChildren(...valueDetails(viewer, colour, all));
        })
        .catch((error: unknown) => {
          histograms = null;
          trouble(error instanceof Error ? error.message : String(error));
        });
    }
  };
  fill();
  state.watch(["colour"], fill);
  return details;
}

function drawing(viewer: Viewer): HTMLElement {
  const { state } = viewer;
  const values = state.get();
  const size = slider({
    caption: "Point size",
    min: 0.25,
    max: 4,
    step: 0.05,
    value: values.pointSize,
    show: (value) => `${value.toFixed(2)}\u00A0×`,
    change: (pointSize) => state.set({ pointSize }),
  });
  const shading = slider({
    caption: "Depth shading",
    min: 0,
    max: 2,
    step: 0.05,
    value: values.depthShading,
    show: (value) => value.toFixed(2),
    change: (depthShading) => state.set({ depthShading }),
  });
  const budget = slider({
    caption: "Points at most",
    min: 5.5,
    max: 7.5,
    step: 0.02,
    value: Math.log10(values.budget),
    show: (value) => short(10 ** value),
    change: (value) => state.set({ budget: Math.round(10 ** value) }),
  });
  const adaptive = toggle("Fewer where drawing is slow", values.adaptive, (on) =>
    state.set({ adaptive: on }),
  );
  state.watch(["pointSize"], (now) => size.set(now.pointSize));
  const figures = element("p", { class: "hint figures" });
  viewer.onFigures((now) => {
    const under = now.loading > 0 ? `, ${whole(now.loading)} requests under way` : "";
    figures.textContent = `${short(now.drawn)} points drawn in ${now.frame.toFixed(0)} ms${under}`;
  });
  return section("Drawing", size.row, shading.row, budget.row, adaptive.row, figures);
}

function layers(viewer: Viewer): HTMLElement {
  const { state, project } = viewer;
  const outlines = toggle("Outlines of planes", state.get().showOutlines, (on) =>
    state.set({ showOutlines: on }),
  );
  const stations = toggle("Stations", state.get().showStations, (on) =>
    state.set({ showStations: on }),
  );
  show(
    project.stations.some((each) => each.position !== null),
    stations.row,
  );
  state.watch(["showOutlines", "showStations"], (now) => {
    outlines.set(now.showOutlines);
    stations.set(now.showStations);
  });
  return section("Layers", outlines.row, stations.row);
}

export const lookPanel = (
  viewer: Viewer,
  planes: PlaneWork,
  trouble: (sentence: string) => void,
): HTMLElement =>
  element(
    "div",
    {},
    section("Colour", colourChoice(viewer, planes), colourDetails(viewer, trouble)),
    drawing(viewer),
    layers(viewer),
  );
