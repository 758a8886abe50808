// SPDX-License-Identifier: GPL-3.0-or-later
// The panel at the right: some tabs, of which one is seen; it can be put away.

import { element, show } from "../ui/dom";

export interface Tab {
  readonly name: string;
  readonly content: HTMLElement;
}

export class SidePanel {
  readonly root: HTMLElement;
  private readonly buttons = new Map<string, HTMLButtonElement>();
  private readonly contents = new Map<string, HTMLElement>();

  constructor(tabs: readonly Tab[]) {
    const strip = element("div", {
      class: "tabs",
      role: "tablist",
      keydown: (event) => this.step(event as KeyboardEvent),
    });
    const body = element("div", { class: "tab-body" });
    for (const { name, content } of tabs) {
      const id = `tab-${name.toLowerCase()}`;
      const tab = element(
        "button",
        {
          type: "button",
          role: "tab",
          id,
          "aria-controls": `${id}-content`,
          click: () => this.open(name),
        },
        name,
      );
      const holder = element(
        "div",
        { role: "tabpanel", id: `${id}-content`, "aria-labelledby": id },
        content,
      );
      this.buttons.set(name, tab);
      this.contents.set(name, holder);
      strip.append(tab);
      body.append(holder);
    }
    this.root = element("aside", { class: "side", "aria-label": "Panels" }, strip, body);
    this.open(tabs[0]!.name);
  }

  open(name: string): void {
    for (const [each, tab] of this.buttons) {
      const own = each === name;
      tab.setAttribute("aria-selected", String(own));
      tab.tabIndex = own ? 0 : -1;
      show(own, this.contents.get(each)!);
    }
  }

  private step(event: KeyboardEvent): void {
    const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!by) return;
    const names = [...this.buttons.keys()];
    const now = names.findIndex((each) => this.buttons.get(each)!.ariaSelected === "true");
    const next = names[(now + by + names.length) % names.length]!;
    this.open(next);
    this.buttons.get(next)!.focus();
    event.stopPropagation();
  }
}
