// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import type { PlaneClass, PlaneInfo } from "../src/api/protocol";
import type { Vector } from "../src/math/vector";
import { boxOf, edgesOf } from "../src/panels/cut_panel";
import { columnsPath, shares } from "../src/panels/histogram";
import { extentOf } from "../src/planes/plane_extent";
import { listed, standardQuery, toggled } from "../src/planes/plane_list";
import { metres, seconds, short, squareMetres } from "../src/tools/format";

const plane = (number: number, kind: PlaneClass, area: number, rms = 0.01): PlaneInfo => ({
  number,
  grown: false,
  class: kind,
  group: null,
  equation: [0, 0, 1, 0],
  centroid: [0, 0, 0],
  points: 10 * number,
  rms,
  tolerance: 0.02,
  area,
  regions: [
    {
      outer: [
        [number, 0, 0],
        [number + 1, 0, 0],
        [number + 1, 1, area],
      ],
      holes: [],
    },
  ],
  world: { equation: [0, 0, 1, 0], centroid: [0, 0, 0] },
});

const numbers = (planes: readonly PlaneInfo[]) => planes.map((each) => each.number);

test("planes are listed by any column, both ways, equal ones by number", () => {
  const planes = [
    plane(3, "wall", 5),
    plane(1, "roof", 9),
    plane(2, "floor", 5),
    plane(4, "wall", 0.1),
  ];
  assert.deepEqual(numbers(listed(planes, standardQuery)), [1, 2, 3, 4]);
  assert.deepEqual(numbers(listed(planes, { ...standardQuery, descending: false })), [4, 2, 3, 1]);
  assert.deepEqual(
    numbers(listed(planes, { ...standardQuery, sort: "class", descending: false })),
    [2, 3, 4, 1],
  );
  assert.deepEqual(
    numbers(listed(planes, { ...standardQuery, classes: new Set(["wall"]), minArea: 1 })),
    [3],
  );
  assert.deepEqual(numbers(planes), [3, 1, 2, 4], "the list itself stays as it was");
});

test("a member goes in and out of a set, and the set before stays", () => {
  const before: ReadonlySet<number> = new Set([1, 2]);
  assert.deepEqual([...toggled(before, 2)], [1]);
  assert.deepEqual([...toggled(before, 3)], [1, 2, 3]);
  assert.equal(before.size, 2);
});

test("planes extend as far as their corners", () => {
  assert.equal(extentOf([]), null);
  assert.deepEqual(extentOf([plane(3, "wall", 5), plane(1, "roof", 9)]), {
    min: [1, 0, 0],
    max: [4, 1, 9],
  });
});

test("edges of a box along its own axes give the box again, however it is turned", () => {
  const from: Vector = [10, -20, 3];
  for (let turn = -1.6; turn < 1.6; turn += 0.4) {
    const box = boxOf({ low: [-3, 1, -2], high: [5, 2, 7] }, turn, from);
    const { low, high } = edgesOf(box, from);
    for (const [found, expected] of [
      [low, [-3, 1, -2]],
      [high, [5, 2, 7]],
    ] as const)
      found.forEach((value, axis) => assert.ok(Math.abs(value - expected[axis]!) < 1e-12));
  }
  // A quarter turn: the box's first axis is the cloud's second one.
  const box = boxOf({ low: [2, 0, 0], high: [4, 0, 0] }, Math.PI / 2, [0, 0, 0]);
  assert.ok(Math.abs(box.centre[0]) < 1e-12 && Math.abs(box.centre[1] - 3) < 1e-12);
});

test("a histogram's columns fill its field, rare values stay visible", () => {
  assert.equal(columnsPath([4, 0, 1]), "M0 100V0.00H1V100.00H2V50.00H3V100Z");
  assert.equal(columnsPath([0, 0]), "M0 100V100.00H1V100.00H2V100Z");
  assert.deepEqual(shares([1, 3]), [0.25, 0.75]);
  assert.deepEqual(shares([0, 0]), [0, 0]);
});

test("measures are written with their unit, to the millimetre", () => {
  assert.equal(metres(85_012.3454), "85\u2009012.345\u00A0m");
  assert.equal(squareMetres(12.345), "12.35\u00A0m²");
  assert.equal(short(2_533_121), "2.53\u00A0M");
  assert.equal(short(999), "999");
  assert.equal(seconds(0.0314), "31\u00A0ms");
  assert.equal(seconds(12.34), "12.3\u00A0s");
});
