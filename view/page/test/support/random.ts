// SPDX-License-Identifier: GPL-3.0-or-later
import type { Pose } from "../../src/camera/pose";
import type { Vector } from "../../src/math/vector";

/** Numbers between 0 and 1, the same for the same seed. */
export function random(seed: number): () => number {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let t = Math.imul(state ^ (state >>> 15), 1 | state);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return ((t ^ (t >>> 14)) >>> 0) / 2 ** 32;
  };
}

export const between = (next: () => number, low: number, high: number): number =>
  low + (high - low) * next();

export const randomPlace = (next: () => number, reach: number): Vector => [
  between(next, -reach, reach),
  between(next, -reach, reach),
  between(next, -reach, reach),
];

export const randomPose = (next: () => number, orthographic = next() < 0.5): Pose => ({
  position: randomPlace(next, 30),
  yaw: between(next, -3, 3),
  pitch: between(next, -1.5, 1.5),
  distance: between(next, 1, 40),
  angle: between(next, 0.3, 1.5),
  orthographic,
});

export const near = (found: number, expected: number, within: number, what = ""): void => {
  if (!(Math.abs(found - expected) <= within))
    throw new Error(`${what} ${found} is not ${expected} within ${within}`);
};
