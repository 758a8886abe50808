// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a point is drawn with what a person set: the same rules as in draw/point_shader.ts.

import { inCuts } from "../math/section";
import type { Vector } from "../math/vector";
import type { ViewValues } from "../view_state";

export function isShown(
  point: {
    readonly position: Vector;
    readonly class: number;
    readonly station: number;
    readonly plane: number | null;
  },
  values: Readonly<ViewValues>,
): boolean {
  const { section, slab } = values;
  const { position, plane } = point;
  return (
    inCuts(position, section, slab) &&
    !values.hiddenClasses.has(point.class) &&
    !values.hiddenStations.has(point.station) &&
    (plane === null || !values.hiddenPlanes.has(plane))
  );
}
