// SPDX-License-Identifier: GPL-3.0-or-later
// How a pose changes when somebody turns, pans, zooms or walks. Pure functions: a pose and a motion
// give the next pose.

import { add, clamp, dot, scale, subtract, type Vector } from "../math/vector";
import { directions, steepest, tidy, viewHeight, type Pose, type Size } from "./pose";

/** Turns about a place, which stays where it is in the view. */
export function orbit(pose: Pose, place: Vector, yaw: number, pitch: number): Pose {
  const before = directions(pose);
  const turned = tidy({ ...pose, yaw: pose.yaw + yaw, pitch: pose.pitch + pitch });
  const after = directions(turned);
  const offset = subtract(place, pose.position);
  const held = add(
    add(scale(after.right, dot(offset, before.right)), scale(after.up, dot(offset, before.up))),
    scale(after.forward, dot(offset, before.forward)),
  );
  return { ...turned, position: subtract(place, held) };
}

/** Turns the head: the position stays. */
export const look = (pose: Pose, yaw: number, pitch: number): Pose =>
  tidy({ ...pose, yaw: pose.yaw + yaw, pitch: pose.pitch + pitch });

/** Moves by metres along the camera's own directions. */
export function move(pose: Pose, right: number, up: number, forward: number): Pose {
  const axes = directions(pose);
  const by = add(add(scale(axes.right, right), scale(axes.up, up)), scale(axes.forward, forward));
  return { ...pose, position: add(pose.position, by) };
}

/** Moves the camera so that what lies `depth` metres ahead follows the cursor by some pixels. */
export function pan(pose: Pose, size: Size, depth: number, x: number, y: number): Pose {
  const metres = viewHeight(pose, depth) / size.height;
  return move(pose, -x * metres, y * metres, 0);
}

/** Nearer to a place, which stays where it is in the view; `factor` of the distance is left. */
export function zoom(pose: Pose, place: Vector, factor: number): Pose {
  const offset = subtract(pose.position, place);
  return tidy({
    ...pose,
    position: add(place, scale(offset, factor)),
    distance: pose.distance * factor,
  });
}

/** Another angle of view, as a telescope has it; for who stands at a place. */
export const widen = (pose: Pose, factor: number): Pose => ({
  ...pose,
  angle: clamp(pose.angle * factor, 0.08, 1.9),
});

/** Part of the view that stays free around what is shown. */
const margin = 0.08;

/** How far places reach to one side and to the other, for a camera `away` before them and `aside`. */
function reach(places: readonly Flat[], aside: number, away: number): readonly [number, number] {
  let [more, less] = [-Infinity, -Infinity];
  for (const [x, depth] of places) {
    const slope = (x - aside) / Math.max(away + depth, 1e-6);
    more = Math.max(more, slope);
    less = Math.max(less, -slope);
  }
  return [more, less];
}

/** Across the view, and ahead. */
type Flat = readonly [number, number];

/** How far away a camera has all places between its sides; `half` is the tangent of half its angle. */
function awayFor(places: readonly Flat[], half: number): { away: number; aside: number } {
  // A place (x, depth) lies within where x - half * depth <= aside + half * away, and mirrored.
  let [more, less] = [-Infinity, -Infinity];
  for (const [x, depth] of places) {
    more = Math.max(more, x - half * depth);
    less = Math.max(less, -x - half * depth);
  }
  return { away: (more + less) / (2 * half), aside: (more - less) / 2 };
}

/** Moves aside until as much of the view is free on one side as on the other. */
function centred(places: readonly Flat[], aside: number, away: number): number {
  let [low, high] = [aside - away, aside + away];
  for (let round = 0; round < 20; ++round) {
    const half = (low + high) / 2;
    const [more, less] = reach(places, half, away);
    if (more > less) low = half;
    else high = half;
  }
  return (low + high) / 2;
}

/** The pose with the same directions that has all places in the view, as large as they can be. */
export function fit(pose: Pose, places: readonly Vector[], size: Size): Pose {
  const first = places[0];
  if (!first) return pose;
  const { forward, right, up } = directions(pose);
  const offsets = places.map((place) => subtract(place, first));
  const depths = offsets.map((offset) => dot(offset, forward));
  const middle = (Math.min(...depths) + Math.max(...depths)) / 2;
  const flat = (axis: Vector) =>
    offsets.map((offset, i): Flat => [
      dot(offset, axis),
      pose.orthographic ? 0 : depths[i]! - middle,
    ]);
  const high = Math.tan(pose.angle / 2) * (1 - margin);
  const [across, upwards] = [flat(right), flat(up)];
  const [wide, tall] = [
    awayFor(across, (high * size.width) / Math.max(size.height, 1)),
    awayFor(upwards, high),
  ];
  const distance = Math.max(wide.away, tall.away, 0.5);
  const aside = add(
    scale(right, centred(across, wide.aside, distance)),
    scale(up, centred(upwards, tall.aside, distance)),
  );
  const position = add(first, add(aside, scale(forward, middle - distance)));
  return tidy({ ...pose, distance, position });
}

/** The shorter way from one angle to another. */
const turnTo = (from: number, to: number): number =>
  from + Math.atan2(Math.sin(to - from), Math.cos(to - from));

/** The pose at `share` of the way between two, 0 to 1. */
export function blend(from: Pose, to: Pose, share: number): Pose {
  const mix = (a: number, b: number) => a + (b - a) * share;
  // Distances shrink and grow by factors, so that zooming looks even.
  const distance = from.distance * (to.distance / from.distance) ** share;
  return {
    position: [
      mix(from.position[0], to.position[0]),
      mix(from.position[1], to.position[1]),
      mix(from.position[2], to.position[2]),
    ],
    yaw: mix(from.yaw, turnTo(from.yaw, to.yaw)),
    pitch: mix(from.pitch, to.pitch),
    distance,
    angle: mix(from.angle, to.angle),
    orthographic: to.orthographic,
  };
}

/** Where a look from a side points. */
export const sides = {
  top: { yaw: 0, pitch: -steepest },
  bottom: { yaw: 0, pitch: steepest },
  north: { yaw: Math.PI, pitch: 0 },
  south: { yaw: 0, pitch: 0 },
  east: { yaw: -Math.PI / 2, pitch: 0 },
  west: { yaw: Math.PI / 2, pitch: 0 },
  home: { yaw: 0.6, pitch: -0.6 },
} as const;
