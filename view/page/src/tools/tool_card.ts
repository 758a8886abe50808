// SPDX-License-Identifier: GPL-3.0-or-later
// What the tool at work says: what to do next, what it measured. It lies over the view's corner.

import { button, iconButton } from "../ui/controls";
import { element } from "../ui/dom";

export interface CardContent {
  readonly title: string;
  /** What to do next. */
  readonly hint: string;
  /** Measured: caption and value. */
  readonly rows?: readonly (readonly [caption: string, value: string])[];
  readonly actions?: readonly { readonly caption: string; readonly press: () => void }[];
  /** 0 to 1, or null where work has no known end; left out where nothing is at work. */
  readonly progress?: number | null;
}

/** Rows as text, to be put elsewhere. */
export const textOf = (rows: CardContent["rows"]): string =>
  (rows ?? []).map(([caption, value]) => `${caption}\t${value}`).join("\n");

export class ToolCard {
  readonly root = element("aside", { class: "card tool-card", "aria-live": "polite" });

  constructor(private readonly close: () => void) {
    this.hide();
  }

  show(content: CardContent): void {
    const { title, hint, rows = [], actions = [], progress } = content;
    const list = element("dl");
    for (const [caption, value] of rows)
      list.append(element("dt", {}, caption), element("dd", {}, value));
    const head = element("header", {}, element("h2", {}, title));
    if (rows.length > 0)
      head.append(
        iconButton("copy", "Copy the values", () => {
          void navigator.clipboard?.writeText(textOf(rows));
        }),
      );
    head.append(iconButton("close", "End the tool (Esc)", this.close));
    this.root.replaceChildren(head, element("p", { class: "hint" }, hint));
    if (progress !== undefined) {
      const bar = element("progress", { max: 1, "aria-label": hint });
      if (progress !== null) bar.value = progress;
      this.root.append(bar);
    }
    if (rows.length > 0) this.root.append(list);
    if (actions.length > 0)
      this.root.append(
        element(
          "div",
          { class: "actions" },
          ...actions.map((each) => button(each.caption, each.press)),
        ),
      );
    this.root.hidden = false;
  }

  hide(): void {
    this.root.hidden = true;
    this.root.replaceChildren();
  }
}
