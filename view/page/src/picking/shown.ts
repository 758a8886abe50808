// Whether a point is drawn with what a person set: the same rules as in draw/point_shader.ts.

import type { Vector } from "../math/vector";
import type { SectionBox, ViewValues } from "../view_state";

export function inSection(place: Vector, { centre, half, turn }: SectionBox): boolean {
  const [x, y, z] = [place[0] - centre[0], place[1] - centre[1], place[2] - centre[2]];
  const [sin, cos] = [Math.sin(turn), Math.cos(turn)];
  return (
    Math.abs(cos * x + sin * y) <= half[0] &&
    Math.abs(cos * y - sin * x) <= half[1] &&
    Math.abs(z) <= half[2]
  );
}

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
    (!section || inSection(position, section)) &&
    (!slab || (position[2] >= slab.low && position[2] <= slab.high)) &&
    !values.hiddenClasses.has(point.class) &&
    !values.hiddenStations.has(point.station) &&
    (plane === null || !values.hiddenPlanes.has(plane))
  );
}
