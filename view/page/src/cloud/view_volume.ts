// SPDX-License-Identifier: GPL-3.0-or-later
// What a camera sees, as far as choosing what to load needs it: whether a box may be in the view, and
// how far away it is.

import { directions, type Pose, type Size } from "../camera/pose";
import { distanceTo, type Box } from "../math/box";
import { add, cross, dot, scale, subtract, unit, type Vector } from "../math/vector";

interface Plane {
  readonly normal: Vector;
  readonly offset: number;
}

export interface ViewVolume {
  /** Planes that look inwards; in orthographic views the near and far ones are left out. */
  readonly planes: readonly Plane[];
  readonly position: Vector;
  readonly forward: Vector;
  readonly orthographic: boolean;
  /** Pixels of the screen that a metre takes one metre ahead, or anywhere where orthographic. */
  readonly pixels: number;
}

const through = (place: Vector, normal: Vector): Plane => ({ normal, offset: -dot(normal, place) });

/** `density`: pixels of the screen a pixel of the page. */
export function viewVolume(pose: Pose, size: Size, density: number): ViewVolume {
  const { forward, right, up } = directions(pose);
  const high = Math.tan(pose.angle / 2);
  const wide = (high * size.width) / Math.max(size.height, 1);
  const { position, orthographic } = pose;
  const planes: Plane[] = [];
  for (const [aside, reach, across] of [
    [right, wide, scale(up, -1)],
    [scale(right, -1), wide, up],
    [up, high, right],
    [scale(up, -1), high, scale(right, -1)],
  ] as const) {
    if (orthographic)
      planes.push(through(add(position, scale(aside, reach * pose.distance)), scale(aside, -1)));
    else planes.push(through(position, unit(cross(add(forward, scale(aside, reach)), across))));
  }
  if (!orthographic) planes.push(through(position, forward));
  const pixels = (size.height * density) / (2 * high * (orthographic ? pose.distance : 1));
  return { planes, position, forward, orthographic, pixels };
}

/** False only where no part of the box is in the view. */
export function maySee(volume: ViewVolume, box: Box): boolean {
  return volume.planes.every(({ normal, offset }) => {
    // The box's corner that lies farthest along the normal.
    const x = normal[0] > 0 ? box.max[0] : box.min[0];
    const y = normal[1] > 0 ? box.max[1] : box.min[1];
    const z = normal[2] > 0 ? box.max[2] : box.min[2];
    return normal[0] * x + normal[1] * y + normal[2] * z + offset >= 0;
  });
}

/** Pixels of the screen that a metre takes at the part of the box nearest to the camera. */
export function pixelsPerMetreAt(volume: ViewVolume, box: Box): number {
  if (volume.orthographic) return volume.pixels;
  return volume.pixels / Math.max(distanceTo(box, volume.position), 0.1);
}

/** 1 in the middle of the view, towards 0 at its sides: what people look at comes first. */
export function centrality(volume: ViewVolume, box: Box): number {
  const place: Vector = [
    (box.min[0] + box.max[0]) / 2,
    (box.min[1] + box.max[1]) / 2,
    (box.min[2] + box.max[2]) / 2,
  ];
  const offset = subtract(place, volume.position);
  const size = Math.hypot(...offset);
  return size > 0 ? Math.max(dot(offset, volume.forward) / size, 0.1) : 1;
}
