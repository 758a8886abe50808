// How a pose changes when somebody turns, pans, zooms or walks. Pure functions: a pose and a motion
// give the next pose.

import { corners, middle, type Box } from "../math/box";
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

/** The pose with the same directions from which all of a box is in the view. */
export function fit(pose: Pose, box: Box, size: Size): Pose {
  const { forward, right, up } = directions(pose);
  const centre = middle(box);
  const high = Math.tan(pose.angle / 2) * (1 - margin);
  const wide = (high * size.width) / Math.max(size.height, 1);
  let distance = 0.5;
  for (const corner of corners(box)) {
    const offset = subtract(corner, centre);
    const depth = pose.orthographic ? 0 : dot(offset, forward);
    const across = Math.max(Math.abs(dot(offset, right)) / wide, Math.abs(dot(offset, up)) / high);
    distance = Math.max(distance, across - depth);
  }
  return tidy({ ...pose, distance, position: subtract(centre, scale(forward, distance)) });
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
