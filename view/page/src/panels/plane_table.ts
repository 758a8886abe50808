// SPDX-License-Identifier: GPL-3.0-or-later
// The list of planes: kind, area, rms; sorted by a click on a heading, narrowed by kind and area.

import type { PlaneClass, PlaneInfo } from "../api/protocol";
import { formatMetres } from "../math/frame";
import {
  listed,
  planeClasses,
  standardQuery,
  toggled,
  type PlaneQuery,
  type SortKey,
} from "../planes/plane_list";
import type { PlaneWork } from "../planes/plane_work";
import { squareMetres, whole } from "../tools/format";
import { iconButton } from "../ui/controls";
import { element } from "../ui/dom";
import { icon } from "../ui/icons";
import type { Viewer } from "../viewer_interface";

// More rows than anybody reads would cost each change of the list a second.
const mostRows = 1000;

const columns: readonly {
  readonly key: SortKey;
  readonly caption: string;
  readonly title: string;
}[] = [
  { key: "number", caption: "No.", title: "Sort by number" },
  { key: "class", caption: "Kind", title: "Sort by kind" },
  { key: "area", caption: "m²", title: "Sort by area" },
  { key: "rms", caption: "rms mm", title: "Sort by how far points lie off the plane" },
];

/** Numbers of grown planes count from here. */
const firstGrown = 1_000_000;

/** "12" of a found plane, "+1" of the first one that was grown. */
export const nameOf = ({ number, grown }: PlaneInfo): string =>
  grown ? `+${number - firstGrown}` : String(number);

export class PlaneTable {
  readonly root = element("div", { class: "plane-table" });
  private query: PlaneQuery = standardQuery;
  private readonly body = element("tbody");
  private readonly foot = element("p", { class: "hint" });
  private readonly heads = new Map<SortKey, HTMLElement>();
  private readonly rows = new Map<number, HTMLElement>();
  private anchor: number | null = null;

  constructor(
    private readonly viewer: Viewer,
    private readonly planes: PlaneWork,
    private readonly zoomTo: (planes: readonly PlaneInfo[]) => void,
  ) {
    this.root.append(this.filters(), element("table", {}, this.head(), this.body), this.foot);
    planes.store.watch(["found", "grown"], () => this.fill());
    viewer.state.watch(["chosenPlanes", "hiddenPlanes"], () => this.mark());
    this.fill();
  }

  /** Planes as they are listed now. */
  get list(): readonly PlaneInfo[] {
    return listed(this.planes.all, this.query);
  }

  private filters(): HTMLElement {
    const kinds = element("select", {
      "aria-label": "Kinds of planes",
      change: () => {
        const kind = planeClasses[kinds.selectedIndex - 1];
        this.narrow({ classes: kind ? new Set<PlaneClass>([kind]) : null });
      },
    });
    kinds.append(element("option", {}, "All kinds"));
    for (const kind of planeClasses)
      kinds.append(element("option", {}, `${kind}s`.replace("others", "other")));
    const area = element("input", {
      type: "number",
      min: 0,
      step: "any",
      placeholder: "0",
      "aria-label": "Smallest area in square metres",
      input: () => this.narrow({ minArea: Math.max(area.valueAsNumber || 0, 0) }),
    });
    return element(
      "div",
      { class: "filters" },
      kinds,
      element("label", { class: "field" }, "\u2265", area, "m²"),
      iconButton("eye", "Show or hide what is listed", () => this.hideListed()),
    );
  }

  private head(): HTMLElement {
    const row = element("tr");
    for (const { key, caption, title } of columns) {
      const press = () =>
        this.narrow({
          sort: key,
          // Large ones first, the first kinds first.
          descending:
            this.query.sort === key ? !this.query.descending : key !== "class" && key !== "number",
        });
      const head = element(
        "th",
        { scope: "col" },
        element("button", { type: "button", title, click: press }, caption),
      );
      this.heads.set(key, head);
      row.append(head);
    }
    row.append(element("th", { scope: "col", "aria-label": "Shown" }));
    return element("thead", {}, row);
  }

  private narrow(part: Partial<PlaneQuery>): void {
    this.query = { ...this.query, ...part };
    this.fill();
  }

  private hideListed(): void {
    const hidden = new Set(this.viewer.state.get().hiddenPlanes);
    const numbers = this.list.map((plane) => plane.number);
    const all = numbers.every((number) => hidden.has(number));
    for (const number of numbers)
      if (all) hidden.delete(number);
      else hidden.add(number);
    this.viewer.state.set({ hiddenPlanes: hidden });
  }

  private fill(): void {
    const { sort, descending } = this.query;
    for (const [key, head] of this.heads)
      head.setAttribute(
        "aria-sort",
        key !== sort ? "none" : descending ? "descending" : "ascending",
      );
    this.rows.clear();
    const list = this.list;
    this.body.replaceChildren(...list.slice(0, mostRows).map((plane) => this.rowOf(plane)));
    const all = this.planes.all.length;
    const few = list.length > mostRows ? `, of which the first ${whole(mostRows)} are listed` : "";
    const area = list.reduce((sum, plane) => sum + plane.area, 0);
    this.foot.textContent =
      all === 0 ? "" : `${whole(list.length)} of ${whole(all)} planes${few}; ${squareMetres(area)}`;
    this.root.hidden = all === 0;
    this.mark();
  }

  private rowOf(plane: PlaneInfo): HTMLElement {
    const swatch = element("span", { class: "swatch" });
    swatch.style.background = this.viewer.planeColour(plane.number);
    const eye = element("button", {
      type: "button",
      class: "icon-button eye",
      click: (event) => {
        event.stopPropagation();
        const { hiddenPlanes } = this.viewer.state.get();
        this.viewer.state.set({ hiddenPlanes: toggled(hiddenPlanes, plane.number) });
      },
    });
    const row: HTMLElement = element(
      "tr",
      {
        tabindex: 0,
        "data-plane": plane.number,
        click: (event) => this.choose(plane, event as MouseEvent),
        dblclick: () => this.zoomTo([plane]),
        keydown: (event) => this.press(plane, event as KeyboardEvent, row),
      },
      element("td", {}, swatch, nameOf(plane)),
      element("td", {}, plane.class),
      element(
        "td",
        { class: "number" },
        formatMetres(plane.area, plane.area < 100 ? 2 : plane.area < 1000 ? 1 : 0),
      ),
      element("td", { class: "number" }, (1000 * plane.rms).toFixed(1)),
      element("td", { class: "number" }, eye),
    );
    this.rows.set(plane.number, row);
    return row;
  }

  private press(plane: PlaneInfo, event: KeyboardEvent, row: HTMLElement): void {
    const beside = { ArrowDown: row.nextElementSibling, ArrowUp: row.previousElementSibling }[
      event.key
    ];
    if (beside instanceof HTMLElement) {
      beside.focus();
      beside.click();
    } else if (event.key === "Enter") this.zoomTo([plane]);
    else if (event.key === " ") this.choose(plane, event);
    else return;
    event.preventDefault();
    event.stopPropagation();
  }

  /** Alone; with Ctrl in addition; with Shift all from the last one to this. */
  private choose(plane: PlaneInfo, event: MouseEvent | KeyboardEvent): void {
    const { chosenPlanes } = this.viewer.state.get();
    if (event.shiftKey && this.anchor !== null) {
      const numbers = this.list.map((each) => each.number);
      const [from, to] = [numbers.indexOf(this.anchor), numbers.indexOf(plane.number)].sort(
        (a, b) => a - b,
      );
      this.planes.choose(...numbers.slice(Math.max(from!, 0), to! + 1));
      return;
    }
    this.anchor = plane.number;
    if (event.ctrlKey || event.metaKey || chosenPlanes.has(plane.number))
      this.viewer.state.set({ chosenPlanes: toggled(chosenPlanes, plane.number) });
    else this.planes.choose(plane.number);
  }

  private mark(): void {
    const { chosenPlanes, hiddenPlanes } = this.viewer.state.get();
    for (const [number, row] of this.rows) {
      const chosen = chosenPlanes.has(number);
      const hidden = hiddenPlanes.has(number);
      const changed = String(chosen) !== row.getAttribute("aria-selected");
      row.setAttribute("aria-selected", String(chosen));
      if (changed && chosen && chosenPlanes.size === 1) row.scrollIntoView({ block: "nearest" });
      if (row.dataset["hidden"] === String(hidden)) continue;
      row.dataset["hidden"] = String(hidden);
      const eye = row.querySelector<HTMLElement>(".eye")!;
      eye.title = hidden ? "Show this plane" : "Hide this plane";
      eye.setAttribute("aria-label", eye.title);
      eye.replaceChildren(icon(hidden ? "hidden" : "eye"));
    }
  }
}
