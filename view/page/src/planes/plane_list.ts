// SPDX-License-Identifier: GPL-3.0-or-later
// Which planes a list shows, and in what order. Pure, so that it is tested without a page.

import type { PlaneClass, PlaneInfo } from "../api/protocol";

export type SortKey = "number" | "class" | "area" | "rms" | "points";

export interface PlaneQuery {
  readonly sort: SortKey;
  readonly descending: boolean;
  /** Classes that are listed; null: all. */
  readonly classes: ReadonlySet<PlaneClass> | null;
  readonly minArea: number;
}

export const planeClasses: readonly PlaneClass[] = ["floor", "ceiling", "wall", "roof", "other"];

export const standardQuery: PlaneQuery = {
  sort: "area",
  descending: true,
  classes: null,
  minArea: 0,
};

const valueOf = (plane: PlaneInfo, key: SortKey): number =>
  key === "class" ? planeClasses.indexOf(plane.class) : plane[key];

export function listed(planes: readonly PlaneInfo[], query: PlaneQuery): PlaneInfo[] {
  const direction = query.descending ? -1 : 1;
  return planes
    .filter(
      (plane) =>
        plane.area >= query.minArea && (query.classes === null || query.classes.has(plane.class)),
    )
    .sort(
      (a, b) =>
        direction * (valueOf(a, query.sort) - valueOf(b, query.sort)) ||
        // A list keeps its order where values are equal, whatever the direction.
        a.number - b.number,
    );
}

/** A set with a member put in or taken out. */
export function toggled<Value>(set: ReadonlySet<Value>, value: Value): ReadonlySet<Value> {
  const result = new Set(set);
  if (!result.delete(value)) result.add(value);
  return result;
}
