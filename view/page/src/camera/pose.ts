// SPDX-License-Identifier: GPL-3.0-or-later
// Where the camera is and how it looks, and what follows from that: directions, rays, pixels.
//
// Units      metres in local coordinates, radians, pixels of the page (CSS pixels).
// Shape      z is up; yaw is clockwise from +y seen from above, pitch is up from the horizon.

import { add, clamp, cross, dot, scale, subtract, unit, type Vector } from "../math/vector";

export interface Pose {
  readonly position: Vector;
  readonly yaw: number;
  readonly pitch: number;
  /** To the place that turns and zooms refer to, straight ahead. */
  readonly distance: number;
  /** Whole angle of the view's height, radians. */
  readonly angle: number;
  /** Drawn without vanishing lines, as large as a perspective view shows the place ahead. */
  readonly orthographic: boolean;
}

export interface Size {
  readonly width: number;
  readonly height: number;
}

export interface Directions {
  readonly forward: Vector;
  readonly right: Vector;
  readonly up: Vector;
}

export const steepest = Math.PI / 2;

export function directions(pose: Pose): Directions {
  const [sinYaw, cosYaw] = [Math.sin(pose.yaw), Math.cos(pose.yaw)];
  const [sinPitch, cosPitch] = [Math.sin(pose.pitch), Math.cos(pose.pitch)];
  const forward: Vector = [sinYaw * cosPitch, cosYaw * cosPitch, sinPitch];
  // From the yaw alone, so that looking straight down is a direction like any other.
  const right: Vector = [cosYaw, -sinYaw, 0];
  return { forward, right, up: cross(right, forward) };
}

/** The place straight ahead that turns and zooms refer to. */
export const pivot = (pose: Pose): Vector =>
  add(pose.position, scale(directions(pose).forward, pose.distance));

/** Height of the view where things are `depth` metres ahead. */
export const viewHeight = (pose: Pose, depth: number): number =>
  2 * Math.tan(pose.angle / 2) * (pose.orthographic ? pose.distance : depth);

export const pixelsPerMetre = (pose: Pose, size: Size, depth: number): number =>
  size.height / viewHeight(pose, Math.max(depth, 1e-6));

export interface Ray {
  readonly origin: Vector;
  /** Of length 1. */
  readonly direction: Vector;
}

/** The line of sight through a place of the view; x to the right, y down, from the upper left. */
export function rayThrough(pose: Pose, size: Size, x: number, y: number): Ray {
  const { forward, right, up } = directions(pose);
  const half = Math.tan(pose.angle / 2);
  const across = ((2 * x) / size.width - 1) * half * (size.width / size.height);
  const upwards = (1 - (2 * y) / size.height) * half;
  const aside = add(scale(right, across), scale(up, upwards));
  return pose.orthographic
    ? { origin: add(pose.position, scale(aside, pose.distance)), direction: forward }
    : { origin: pose.position, direction: unit(add(forward, aside)) };
}

export interface Projected {
  readonly x: number;
  readonly y: number;
  /** Metres ahead of the camera; not in the view where it is 0 or less. */
  readonly depth: number;
}

export function project(pose: Pose, size: Size, place: Vector): Projected {
  const { forward, right, up } = directions(pose);
  const offset = subtract(place, pose.position);
  const depth = dot(offset, forward);
  const pixels = pixelsPerMetre(pose, size, depth);
  return {
    x: size.width / 2 + dot(offset, right) * pixels,
    y: size.height / 2 - dot(offset, up) * pixels,
    depth,
  };
}

/** A pose that looks from a place at another. */
export function lookAt(from: Vector, at: Vector, like: Pose): Pose {
  const offset = subtract(at, from);
  const flat = Math.hypot(offset[0], offset[1]);
  return {
    ...like,
    position: from,
    distance: Math.max(Math.hypot(flat, offset[2]), 1e-3),
    yaw: flat > 0 ? Math.atan2(offset[0], offset[1]) : like.yaw,
    pitch: Math.atan2(offset[2], flat),
  };
}

/** The same view from `distance` away of the place ahead. */
export const withPivot = (pose: Pose, place: Vector): Pose => ({
  ...pose,
  position: subtract(place, scale(directions(pose).forward, pose.distance)),
});

/** Yaw within a turn, pitch between straight down and straight up, numbers that can be drawn. */
export function tidy(pose: Pose): Pose {
  return {
    ...pose,
    yaw: Math.atan2(Math.sin(pose.yaw), Math.cos(pose.yaw)),
    pitch: clamp(pose.pitch, -steepest, steepest),
    distance: clamp(pose.distance, 1e-3, 1e7),
    angle: clamp(pose.angle, 0.05, 2.4),
  };
}
