// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import { fit, move, orbit, pan, zoom } from "../src/camera/motions";
import { directions, project, rayThrough, type Pose } from "../src/camera/pose";
import { add, cross, dot, length, scale, type Vector } from "../src/math/vector";
import { between, near, random, randomPlace, randomPose } from "./support/random";

const size = { width: 1280, height: 800 };

test("a line of sight meets the pixel that it was asked for, in both kinds of view", () => {
  const next = random(1);
  for (let round = 0; round < 200; ++round) {
    const pose = randomPose(next);
    const [x, y] = [between(next, 0, size.width), between(next, 0, size.height)];
    const ray = rayThrough(pose, size, x, y);
    near(length(ray.direction), 1, 1e-12);
    const seen = project(pose, size, add(ray.origin, scale(ray.direction, between(next, 1, 50))));
    near(seen.x, x, 1e-6);
    near(seen.y, y, 1e-6);
    assert.ok(seen.depth > 0);
  }
});

test("directions are right-handed and of length 1, straight down as well", () => {
  for (const pitch of [-Math.PI / 2, -0.3, 0, 1.2]) {
    const pose: Pose = { ...randomPose(random(2)), pitch };
    const { forward, right, up } = directions(pose);
    for (const axis of [forward, right, up]) near(length(axis), 1, 1e-12);
    near(dot(cross(right, up), forward), -1, 1e-12);
    assert.ok(up[2] >= -1e-12, "the sky is above");
  }
});

test("the place that a turn or a zoom holds on to stays at its pixel", () => {
  const next = random(3);
  for (let round = 0; round < 200; ++round) {
    const pose = randomPose(next);
    const ray = rayThrough(pose, size, between(next, 0, 1280), between(next, 0, 800));
    const place = add(ray.origin, scale(ray.direction, between(next, 2, 30)));
    const before = project(pose, size, place);
    const turned = orbit(pose, place, between(next, -1, 1), between(next, -1, 1));
    const nearer = zoom(pose, place, between(next, 0.5, 1.5));
    for (const after of [turned, nearer]) {
      near(project(after, size, place).x, before.x, 1e-6);
      near(project(after, size, place).y, before.y, 1e-6);
    }
  }
});

test("what lies at the depth of a pan follows the cursor", () => {
  const next = random(4);
  for (let round = 0; round < 100; ++round) {
    const pose = randomPose(next);
    const ray = rayThrough(pose, size, 640, 400);
    const place = add(ray.origin, scale(ray.direction, between(next, 2, 30)));
    const before = project(pose, size, place);
    const after = project(pan(pose, size, before.depth, 31, -17), size, place);
    near(after.x - before.x, 31, 1e-6);
    near(after.y - before.y, -17, 1e-6);
  }
});

test("a fitted view shows every place, fills one direction, and is centred in both", () => {
  const next = random(5);
  for (let round = 0; round < 60; ++round) {
    const pose = randomPose(next);
    const centre = randomPlace(next, 500);
    const stretch = randomPlace(next, 1);
    const places = Array.from({ length: 200 }, (): Vector => {
      const [x, y, z] = randomPlace(next, 20);
      return add(centre, [x * stretch[0], y * stretch[1], z * stretch[2]]);
    });
    const fitted = fit(pose, places, size);
    const shown = places.map((place) => project(fitted, size, place));
    const [xs, ys] = [shown.map(({ x }) => x), shown.map(({ y }) => y)];
    const [left, right, top, bottom] = [
      Math.min(...xs),
      1280 - Math.max(...xs),
      Math.min(...ys),
      800 - Math.max(...ys),
    ];
    assert.ok(shown.every(({ depth }) => depth > 0));
    for (const free of [left, right, top, bottom]) assert.ok(free > 10, `${free} pixels are free`);
    near(left, right, 2, "left and right");
    near(top, bottom, 2, "top and bottom");
    assert.ok(Math.min(left, top) < 66, "one direction is filled");
  }
});

test("a camera moves along its own directions", () => {
  const pose: Pose = { ...randomPose(random(6)), yaw: 0, pitch: 0, position: [1, 2, 3] };
  assert.deepEqual(
    move(pose, 1, 2, 4).position.map((value) => Math.round(value * 1e9) / 1e9),
    [2, 6, 5],
  );
});
