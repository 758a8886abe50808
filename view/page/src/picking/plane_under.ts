// SPDX-License-Identifier: GPL-3.0-or-later
// The plane whose outline a line of sight meets first.

import type { PlaneInfo } from "../api/protocol";
import type { Ray } from "../camera/pose";
import { inRegion, planeFrame } from "../math/plane_frame";
import { add, dot, scale, type Vector } from "../math/vector";

/** `kept` says where something is drawn: a plane that is cut away there is not met. */
export function planeUnder(
  planes: readonly PlaneInfo[],
  ray: Ray,
  kept: (place: Vector) => boolean = () => true,
): PlaneInfo | null {
  let nearest = Infinity;
  let found: PlaneInfo | null = null;
  for (const plane of planes) {
    const frame = planeFrame(plane);
    const towards = dot(frame.normal, ray.direction);
    if (Math.abs(towards) < 1e-9) continue;
    const away = (dot(frame.normal, frame.origin) - dot(frame.normal, ray.origin)) / towards;
    if (away <= 0 || away >= nearest) continue;
    const place = add(ray.origin, scale(ray.direction, away));
    if (!plane.regions.some((region) => inRegion(frame, region, place))) continue;
    if (!kept(place)) continue;
    nearest = away;
    found = plane;
  }
  return found;
}
