// SPDX-License-Identifier: GPL-3.0-or-later
// One bar with two thumbs: the ends of a range.

import { element } from "./dom";

export interface RangeBar {
  readonly row: HTMLElement;
  set(low: number, high: number): void;
}

export function rangeBar(options: {
  readonly caption: string;
  readonly min: number;
  readonly max: number;
  readonly low: number;
  readonly high: number;
  readonly show: (value: number) => string;
  readonly change: (low: number, high: number) => void;
}): RangeBar {
  const { min, max } = options;
  const shown = element("output");
  const fill = element("span", { class: "range-fill" });
  const thumb = (name: string, own: "low" | "high") =>
    element("input", {
      type: "range",
      min,
      max,
      step: (max - min) / 1000 || "any",
      "aria-label": `${options.caption}, ${name}`,
      input: () => {
        // Thumbs push against each other, they do not pass.
        if (low.valueAsNumber > high.valueAsNumber) {
          if (own === "low") low.valueAsNumber = high.valueAsNumber;
          else high.valueAsNumber = low.valueAsNumber;
        }
        say();
        options.change(low.valueAsNumber, high.valueAsNumber);
      },
    });
  const low = thumb("from", "low");
  const high = thumb("to", "high");
  const say = () => {
    shown.textContent = `${options.show(low.valueAsNumber)} \u2013 ${options.show(high.valueAsNumber)}`;
    const size = max - min || 1;
    fill.style.left = `${(100 * (low.valueAsNumber - min)) / size}%`;
    fill.style.right = `${(100 * (max - high.valueAsNumber)) / size}%`;
    // Where both lie at the upper end, the lower one must be the one to grasp.
    low.style.zIndex = low.valueAsNumber > min + size / 2 ? "1" : "0";
  };
  const set = (a: number, b: number) => {
    low.valueAsNumber = a;
    high.valueAsNumber = b;
    say();
  };
  set(options.low, options.high);
  const row = element(
    "div",
    { class: "row range" },
    element("span", { class: "caption" }, options.caption),
    shown,
    element("div", { class: "range-bar" }, fill, low, high),
  );
  return { row, set };
}
