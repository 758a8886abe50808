// SPDX-License-Identifier: GPL-3.0-or-later
// The few kinds of controls that panels are made of. Each is a row with its caption, follows a value
// of the page through `set`, and calls back when a person changes it.

import { element } from "./dom";
import { icon, type IconName } from "./icons";

export interface Control<Value> {
  readonly row: HTMLElement;
  set(value: Value): void;
}

let count = 0;
const newId = (): string => `control-${++count}`;

export interface SliderOptions {
  readonly caption: string;
  readonly min: number;
  readonly max: number;
  readonly step: number;
  readonly value: number;
  readonly show: (value: number) => string;
  readonly change: (value: number) => void;
  readonly title?: string;
}

export function slider(options: SliderOptions): Control<number> {
  const id = newId();
  const shown = element("output", { for: id }, options.show(options.value));
  const input = element("input", {
    type: "range",
    id,
    min: options.min,
    max: options.max,
    step: options.step,
    input: () => {
      shown.textContent = options.show(input.valueAsNumber);
      options.change(input.valueAsNumber);
    },
  });
  input.valueAsNumber = options.value;
  const row = element(
    "div",
    { class: "row slider", title: options.title },
    element("label", { for: id }, options.caption),
    shown,
    input,
  );
  return {
    row,
    set(value) {
      input.valueAsNumber = value;
      shown.textContent = options.show(value);
    },
  };
}

export interface Choice<Value> {
  readonly value: Value;
  readonly caption: string;
  readonly disabled?: boolean;
  readonly title?: string;
}

/** A list to choose from. */
export function select<Value extends string | number>(
  caption: string,
  choices: readonly Choice<Value>[],
  value: Value,
  change: (value: Value) => void,
): Control<Value> {
  const id = newId();
  const input = element(
    "select",
    { id, change: () => change(choices[input.selectedIndex]!.value) },
    ...choices.map((each) =>
      element("option", { disabled: each.disabled, title: each.title }, each.caption),
    ),
  );
  const set = (wanted: Value) => {
    input.selectedIndex = choices.findIndex((each) => each.value === wanted);
  };
  set(value);
  return {
    row: element("div", { class: "row" }, element("label", { for: id }, caption), input),
    set,
  };
}

export function toggle(
  caption: string,
  value: boolean,
  change: (value: boolean) => void,
): Control<boolean> {
  const input = element("input", {
    type: "checkbox",
    role: "switch",
    change: () => change(input.checked),
  });
  input.checked = value;
  return {
    row: element("label", { class: "row toggle" }, element("span", {}, caption), input),
    set(wanted) {
      input.checked = wanted;
    },
  };
}

/** A number in a field; an empty field is null, for what the search chooses by itself. */
export function numberField(options: {
  readonly caption: string;
  readonly unit?: string | undefined;
  readonly min?: number | undefined;
  readonly max?: number | undefined;
  readonly value: number | null;
  readonly title?: string;
  readonly change: (value: number | null) => void;
}): Control<number | null> {
  const id = newId();
  const input = element("input", {
    type: "number",
    id,
    step: "any",
    min: options.min,
    max: options.max,
    placeholder: "auto",
    change: () => {
      if (!input.reportValidity()) return;
      options.change(input.value === "" ? null : input.valueAsNumber);
    },
  });
  const set = (value: number | null) => {
    input.value = value === null ? "" : String(value);
  };
  set(options.value);
  const row = element(
    "div",
    { class: "row", title: options.title },
    element("label", { for: id }, options.caption),
    element(
      "span",
      { class: "field" },
      input,
      element("span", { class: "unit" }, options.unit ?? ""),
    ),
  );
  return { row, set };
}

export function button(caption: string, press: () => void, kind = "plain"): HTMLButtonElement {
  return element("button", { type: "button", class: kind, click: press }, caption);
}

/** A button with an icon alone; its name is read aloud and shown when pointed at. */
export function iconButton(name: IconName, title: string, press: () => void): HTMLButtonElement {
  return element(
    "button",
    {
      type: "button",
      class: "icon-button",
      title,
      "aria-label": title.replace(/ \(.*\)$/, ""),
      click: press,
    },
    icon(name),
  );
}

export const section = (title: string, ...children: readonly (Node | string)[]): HTMLElement =>
  element("section", {}, element("h2", {}, title), ...children);

/** Who chose by mouse or finger goes on in the view: its keys work at once. Who chose by keys stays. */
export function returnTo(view: HTMLElement, select: HTMLSelectElement): void {
  let pointed = false;
  select.addEventListener("pointerdown", () => (pointed = true));
  select.addEventListener("keydown", () => (pointed = false));
  select.addEventListener("change", () => {
    if (pointed) view.focus();
  });
}
