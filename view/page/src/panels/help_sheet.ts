// SPDX-License-Identifier: GPL-3.0-or-later
// What mouse, fingers and keys do, on one sheet.

import { cameraKeys } from "../camera/key_input";
import type { Command } from "../commands";
import { iconButton } from "../ui/controls";
import { element } from "../ui/dom";

/** Of the pointer; camera/pointer_input.ts has them. */
const gestures: readonly (readonly [string, string])[] = [
  ["Drag", "Turn"],
  ["Right drag, two fingers", "Move"],
  ["Wheel, pinch", "Nearer, farther"],
  ["Double click", "Come nearer to this place"],
];

const spoken: Readonly<Record<string, string>> = { delete: "Del" };

const table = (rows: readonly (readonly [string, string])[]): HTMLElement =>
  element(
    "dl",
    {},
    ...rows.flatMap(([key, what]) => [
      element("dt", {}, element("kbd", {}, key)),
      element("dd", {}, what),
    ]),
  );

export class HelpSheet {
  readonly root: HTMLDialogElement;

  constructor(commands: readonly Command[]) {
    const groups = [...new Set(commands.map((each) => each.group))];
    const parts = groups.map((group) =>
      element(
        "section",
        {},
        element("h3", {}, group),
        table(
          commands
            .filter((each) => each.group === group)
            .map(({ key, caption }) => [spoken[key] ?? key.toUpperCase(), caption]),
        ),
      ),
    );
    this.root = element(
      "dialog",
      { class: "sheet", "aria-label": "Keys and gestures" },
      element(
        "header",
        {},
        element("h2", {}, "Keys and gestures"),
        iconButton("close", "Close (Esc)", () => this.root.close()),
      ),
      element(
        "div",
        { class: "sheet-columns" },
        element(
          "section",
          {},
          element("h3", {}, "Camera"),
          table([...gestures, ...cameraKeys.map((each) => [each.keys, each.meaning] as const)]),
        ),
        ...parts,
      ),
    );
    // A click beside the sheet closes it.
    this.root.addEventListener("click", (event) => {
      if (event.target === this.root) this.root.close();
    });
  }

  toggle(): void {
    if (this.root.open) this.root.close();
    else this.root.showModal();
  }
}
