// SPDX-License-Identifier: GPL-3.0-or-later
// Distance, height and area: places that are clicked one after the other, measured as they come.

import { formatMetres } from "../math/frame";
import { distance, type Vector } from "../math/vector";
import type { Marks, Picked, Tool, Viewer } from "../viewer_interface";
import { metres, squareMetres } from "./format";
import { pathOf, polygonOf } from "./measure";
import type { CardContent, ToolCard } from "./tool_card";

interface Kind {
  readonly name: string;
  readonly title: string;
  readonly first: string;
  readonly next: string;
  /** Places after which a click begins anew. */
  readonly most: number;
  readonly closed: boolean;
  rows(places: readonly Vector[]): readonly (readonly [string, string])[];
  labels(places: readonly Vector[]): NonNullable<Marks["labels"]>;
}

const middleOf = (a: Vector, b: Vector): Vector => [
  (a[0] + b[0]) / 2,
  (a[1] + b[1]) / 2,
  (a[2] + b[2]) / 2,
];

const signed = (value: number): string => `${value > 0 ? "+" : ""}${formatMetres(value)}\u00A0m`;

export const distanceKind: Kind = {
  name: "distance",
  title: "Distance",
  first: "Click the first point.",
  next: "Click further points; Esc ends.",
  most: 1000,
  closed: false,
  rows(places) {
    if (places.length < 2) return [];
    const path = pathOf(places);
    const total = [path.segments.length > 1 ? "Length" : "Distance", metres(path.total)] as const;
    return [total, ["Horizontal", metres(path.horizontal)], ["Vertical", signed(path.vertical)]];
  },
  labels: (places) =>
    places.slice(1).map((place, i) => ({
      at: middleOf(places[i]!, place),
      text: metres(pathOf([places[i]!, place]).total),
    })),
};

export const heightKind: Kind = {
  name: "height",
  title: "Height",
  first: "Click the lower point.",
  next: "Click the upper point.",
  most: 2,
  closed: false,
  rows(places) {
    if (places.length < 2) return [];
    const path = pathOf(places);
    return [
      ["Height", signed(path.vertical)],
      ["Horizontal", metres(path.horizontal)],
      ["Distance", metres(path.total)],
    ];
  },
  labels(places) {
    const [low, high] = places;
    if (!low || !high) return [];
    return [
      { at: middleOf([low[0], low[1], high[2]], low), text: signed(pathOf(places).vertical) },
    ];
  },
};

export const areaKind: Kind = {
  name: "area",
  title: "Area",
  first: "Click the first corner.",
  next: "Click further corners; Esc ends.",
  most: 1000,
  closed: true,
  rows(places) {
    if (places.length < 3) return [];
    const polygon = polygonOf(places);
    return [
      ["Area", squareMetres(polygon.area)],
      ["In plan", squareMetres(polygon.plan)],
      ["Perimeter", metres(polygon.perimeter)],
      ["Off its plane", metres(polygon.bend)],
    ];
  },
  labels(places) {
    if (places.length < 3) return [];
    const sum = places.reduce<Vector>((a, b) => [a[0] + b[0], a[1] + b[1], a[2] + b[2]], [0, 0, 0]);
    const n = places.length;
    return [
      { at: [sum[0] / n, sum[1] / n, sum[2] / n], text: squareMetres(polygonOf(places).area) },
    ];
  },
};

export class PathTool implements Tool {
  readonly name: string;
  private places: Vector[] = [];
  private beneath: Vector | null = null;

  constructor(
    private readonly viewer: Viewer,
    private readonly card: ToolCard,
    private readonly kind: Kind,
  ) {
    this.name = kind.name;
    this.say();
  }

  click(picked: Picked | null): void {
    if (!picked) return;
    // The second click of a double click is no place of its own.
    const last = this.places.at(-1);
    if (last && distance(last, picked.position) === 0) return;
    if (this.places.length >= this.kind.most) this.places = [];
    this.places.push(picked.position);
    this.beneath = null;
    this.say();
  }

  hover(picked: Picked | null): void {
    this.beneath =
      this.places.length > 0 && this.places.length < this.kind.most
        ? (picked?.position ?? null)
        : null;
    this.draw();
  }

  end(): void {
    this.viewer.setMarks(this.name, {});
    this.card.hide();
  }

  private clear(): void {
    this.places = [];
    this.beneath = null;
    this.say();
  }

  private undo(): void {
    this.places.pop();
    this.say();
  }

  private say(): void {
    const actions =
      this.places.length === 0
        ? []
        : [
            { caption: "Undo", press: () => this.undo() },
            { caption: "Clear", press: () => this.clear() },
          ];
    const content: CardContent = {
      title: this.kind.title,
      hint: this.places.length === 0 ? this.kind.first : this.kind.next,
      rows: this.kind.rows(this.places),
      actions,
    };
    this.card.show(content);
    this.draw();
  }

  private draw(): void {
    const places = this.beneath ? [...this.places, this.beneath] : this.places;
    const [low, high] = places;
    const plumb: readonly Vector[] =
      this.kind === heightKind && low && high ? [low, [low[0], low[1], high[2]], high] : places;
    this.viewer.setMarks(this.name, {
      lines:
        plumb.length > 1 ? [{ corners: plumb, closed: this.kind.closed && plumb.length > 2 }] : [],
      dots: this.places.map((at) => ({ at })),
      labels: this.kind.labels(places),
    });
  }
}
