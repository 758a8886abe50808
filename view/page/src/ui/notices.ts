// SPDX-License-Identifier: GPL-3.0-or-later
// Sentences at the view's lower edge: what failed, what was done. They go by themselves; what a
// person should read stays until it is closed.

import { iconButton } from "./controls";
import { element } from "./dom";

const stays = 6000;

export class Notices {
  readonly root = element("div", { class: "notices", "aria-live": "polite" });

  /** `kind` "trouble" stays until it is closed. The same sentence stands there once. */
  say(sentence: string, kind: "news" | "trouble" = "news"): void {
    for (const each of this.root.children)
      if ((each as HTMLElement).dataset["sentence"] === sentence) return;
    const card = element(
      "p",
      {
        class: `card notice-${kind}`,
        "data-sentence": sentence,
        role: kind === "trouble" ? "alert" : "status",
      },
      element("span", {}, sentence),
      iconButton("close", "Close", () => card.remove()),
    );
    this.root.append(card);
    if (kind === "news") setTimeout(() => card.remove(), stays);
  }
}
