// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import type { Vector } from "../src/math/vector";
import { pathOf, planePair, polygonOf, slopeOf, type Equation } from "../src/tools/measure";

const near = (found: number, expected: number, within = 1e-9) =>
  assert.ok(Math.abs(found - expected) <= within, `${found} is not ${expected}`);

test("a path has its length in space, its length in plan, and what it climbs", () => {
  const path = pathOf([
    [0, 0, 0],
    [3, 4, 0],
    [3, 4, 12],
    [3, 9, 0],
  ]);
  near(path.total, 5 + 12 + 13);
  near(path.horizontal, 5 + 0 + 5);
  near(path.vertical, 0);
  assert.deepEqual(path.segments, [5, 12, 13]);
  assert.equal(pathOf([[1, 2, 3]]).total, 0);
  assert.equal(pathOf([]).vertical, 0);
});

test("a polygon's area does not depend on where it lies, how it is turned, or which way it runs", () => {
  const shape: Vector[] = [
    [0, 0, 0],
    [4, 0, 0],
    [4, 3, 0],
    [2, 1, 0],
    [0, 3, 0],
  ];
  const plain = 4 * 3 - 4;
  for (let angle = 0; angle < 7; angle += 0.7) {
    const [s, c] = [Math.sin(angle), Math.cos(angle)];
    const moved = shape.map(([x, y, z]): Vector => [
      x + 85_012.25,
      c * y - s * z + 446_100,
      s * y + c * z,
    ]);
    near(polygonOf(moved).area, plain, 1e-7);
    near(polygonOf([...moved].reverse()).area, plain, 1e-7);
    near(polygonOf(moved).plan, plain * Math.abs(c), 1e-7);
    near(polygonOf(moved).bend, 0, 1e-7);
  }
  near(polygonOf(shape).perimeter, 4 + 3 + 2 * Math.SQRT2 * 2 + 3, 1e-9);
});

test("a bent polygon says how far its corners lie off its plane", () => {
  const { bend } = polygonOf([
    [0, 0, 0.1],
    [1, 0, -0.1],
    [1, 1, 0.1],
    [0, 1, -0.1],
  ]);
  near(bend, 0.1, 1e-12);
  assert.equal(
    polygonOf([
      [0, 0, 0],
      [1, 1, 1],
    ]).area,
    0,
  );
});

test("planes meet under the smaller angle, whichever way their normals point", () => {
  const tilted = (degrees: number, sign: number): { equation: Equation; centroid: Vector } => {
    const angle = (degrees * Math.PI) / 180;
    return {
      equation: [sign * Math.sin(angle), 0, sign * Math.cos(angle), sign * -2],
      centroid: [0, 0, 5],
    };
  };
  const level = { equation: [0, 0, 1, -2] as Equation };
  for (const degrees of [0, 0.001, 30, 89.999, 90])
    for (const sign of [1, -1]) near(planePair(level, tilted(degrees, sign)).angle, degrees, 1e-6);
  near(planePair(level, tilted(120, 1)).angle, 60, 1e-6);
});

test("nearly parallel planes have a distance, others none", () => {
  const floor = { equation: [0, 0, 1, -0.25] as Equation };
  const pair = planePair(floor, { equation: [0, 0, -1, 2.75], centroid: [3, 4, 2.75] });
  near(pair.gap!, 2.5);
  assert.equal(planePair(floor, { equation: [1, 0, 0, 0], centroid: [0, 0, 0] }).gap, null);
});

test("a floor has no slope, a wall 90 degrees", () => {
  near(slopeOf([0, 0, -1, 3]), 0);
  near(slopeOf([0.6, 0.8, 0, 3]), 90);
  near(slopeOf([0, Math.SQRT1_2, Math.SQRT1_2, 0]), 45);
});
