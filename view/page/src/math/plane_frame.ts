// SPDX-License-Identifier: GPL-3.0-or-later
// A plane's own two axes, and polygons in them.

import type { PlaneInfo, PlaneRegion } from "../api/protocol";
import { cross, dot, scale, subtract, unit, type Vector } from "./vector";

export type Flat = readonly [number, number];

export interface PlaneFrame {
  readonly origin: Vector;
  readonly normal: Vector;
  readonly across: Vector;
  readonly along: Vector;
}

export function planeFrame({
  equation,
  centroid,
}: Pick<PlaneInfo, "equation" | "centroid">): PlaneFrame {
  const normal = unit([equation[0], equation[1], equation[2]]);
  const steep = Math.abs(normal[2]) > 0.9;
  const across = unit(cross(steep ? [0, 1, 0] : [0, 0, 1], normal));
  // A place of the plane itself, near its points.
  const off = dot(normal, centroid) + equation[3];
  const origin = subtract(centroid, scale(normal, off));
  return { origin, normal, across, along: cross(normal, across) };
}

export function toFlat(frame: PlaneFrame, place: Vector): Flat {
  const offset = subtract(place, frame.origin);
  return [dot(offset, frame.across), dot(offset, frame.along)];
}

export function inRing(ring: readonly Flat[], [x, y]: Flat): boolean {
  let inside = false;
  for (let i = 0, j = ring.length - 1; i < ring.length; j = i++) {
    const [xi, yi] = ring[i]!;
    const [xj, yj] = ring[j]!;
    if (yi > y !== yj > y && x < ((xj - xi) * (y - yi)) / (yj - yi) + xi) inside = !inside;
  }
  return inside;
}

export function inRegion(frame: PlaneFrame, region: PlaneRegion, place: Vector): boolean {
  const flat = (ring: readonly Vector[]) => ring.map((corner) => toFlat(frame, corner));
  const at = toFlat(frame, place);
  return inRing(flat(region.outer), at) && !region.holes.some((hole) => inRing(flat(hole), at));
}
