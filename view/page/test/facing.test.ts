// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import { facing } from "../src/camera/facing";
import type { Vector } from "../src/math/vector";

const around = (middle: number, spread: number): Vector[] =>
  Array.from({ length: 200 }, (_, i): Vector => {
    const yaw = middle + spread * (i / 199 - 0.5);
    return [7 + 5 * Math.sin(yaw), -3 + 5 * Math.cos(yaw), i % 3];
  });

test("who stands where there is something ahead looks there still", () => {
  assert.equal(facing([7, -3, 1], around(0, 6.28), 1.1, 1.25), 1.1);
  assert.equal(facing([7, -3, 1], around(0.9, 0.5), 1.1, 1.25), 1.1);
});

test("who has nothing ahead turns to where the cloud is, whatever the turn before", () => {
  for (let yaw = -7; yaw < 7; yaw += 0.5) {
    const turned = facing([7, -3, 1], around(3, 0.6), yaw, 1.25);
    // Half of the view's angle, and of the cloud's but for the tenth that has to be seen.
    assert.ok(Math.cos(turned - 3) > Math.cos(0.625 + 0.3 - 0.05), `${yaw} -> ${turned}`);
  }
});

test("a cloud in the very place, or none, turns nobody", () => {
  assert.equal(facing([1, 2, 3], [[1, 2, 9]], 0.4, 1.25), 0.4);
  assert.equal(facing([1, 2, 3], [], 0.4, 1.25), 0.4);
});
