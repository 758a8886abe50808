// SPDX-License-Identifier: GPL-3.0-or-later
// A histogram as a picture, with the borders of its natural classes.

import type { HistogramInfo } from "../api/protocol";
import { element, svg } from "../ui/dom";

/** Columns as a path in a field of `counts.length` by 100, the highest column filling it. */
export function columnsPath(counts: readonly number[]): string {
  const most = counts.reduce((a, b) => Math.max(a, b), 1);
  let path = "M0 100";
  counts.forEach((count, i) => {
    // Rare values stay visible beside frequent ones: heights are square roots.
    const top = 100 - 100 * Math.sqrt(count / most);
    path += `V${top.toFixed(2)}H${i + 1}`;
  });
  return `${path}V100Z`;
}

/** Share of each class of all that are in classes. */
export function shares(counts: readonly number[]): number[] {
  const sum = counts.reduce((a, b) => a + b, 0);
  return counts.map((count) => (sum > 0 ? count / sum : 0));
}

export function histogram(info: HistogramInfo, show: (value: number) => string): HTMLElement {
  const columns = info.counts.length;
  const end = info.start + columns * info.width;
  const picture = svg(
    "svg",
    {
      class: "histogram",
      viewBox: `0 0 ${columns} 100`,
      preserveAspectRatio: "none",
      role: "img",
      "aria-label": `How often values occur: ${info.axis}`,
    },
    svg("path", { class: "columns", d: columnsPath(info.counts) }),
  );
  for (const value of (info.classes?.boundaries ?? []).slice(1, -1))
    picture.append(
      svg("path", { class: "border", d: `M${(value - info.start) / info.width} 0V100` }),
    );
  const axis = element(
    "div",
    { class: "axis" },
    element("span", {}, show(info.start)),
    element("span", {}, show(end)),
  );
  const figure = element("figure", {}, picture, axis, element("figcaption", {}, info.axis));
  if (info.classes) figure.append(classTable(info.classes, show));
  return figure;
}

function classTable(
  classes: NonNullable<HistogramInfo["classes"]>,
  show: (value: number) => string,
): HTMLElement {
  const table = element("table", { class: "classes" }, element("caption", {}, "Natural classes"));
  const { boundaries, counts } = classes;
  shares(counts).forEach((share, i) =>
    table.append(
      element(
        "tr",
        {},
        element("td", {}, `${show(boundaries[i] ?? 0)} \u2013 ${show(boundaries[i + 1] ?? 0)}`),
        element("td", {}, `${(100 * share).toFixed(1)}\u00A0%`),
      ),
    ),
  );
  return table;
}
