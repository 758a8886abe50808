// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import type { PlaneInfo, RecordLayout } from "../src/api/protocol";
import { pixelsPerMetre, project, rayThrough } from "../src/camera/pose";
import type { Stroke } from "../src/cloud/draw_list";
import { valueOffsets } from "../src/cloud/point_record";
import { placeBefore, progressive } from "../src/cloud/progressive";
import { formatMetres, Frame } from "../src/math/frame";
import { scaleBar } from "../src/math/scale_bar";
import { boxCorners, inSection } from "../src/math/section";
import { pick, type FoundPoint } from "../src/picking/pick";
import { planeUnder } from "../src/picking/plane_under";
import { between, near, random, randomPlace, randomPose } from "./support/random";

const size = { width: 1000, height: 700 };

const layout: RecordLayout = {
  bytes: 24,
  fields: [
    { name: "position", offset: 0, type: "float32", count: 3 },
    { name: "intensity", offset: 12, type: "uint16", count: 1 },
    { name: "colour", offset: 14, type: "uint8", count: 3 },
    { name: "class", offset: 17, type: "uint8", count: 1 },
    { name: "station", offset: 18, type: "uint16", count: 1 },
  ],
};

/** Points in a box, as a part that came with every third of them. */
function strokeOf(next: () => number, count: number): { stroke: Stroke; raw: DataView } {
  const raw = new DataView(new ArrayBuffer(24 * count));
  for (let i = 0; i < count; ++i) {
    randomPlace(next, 20).forEach((value, axis) => raw.setFloat32(24 * i + 4 * axis, value, true));
    raw.setUint16(24 * i + 12, i % 65536, true);
    raw.setUint8(24 * i + 17, i % 7);
    raw.setUint16(24 * i + 18, i % 3, true);
  }
  const run = { first: 5_000_000_000, count: 3 * count, every: 3 };
  const records = progressive(new Uint32Array(raw.buffer), 6);
  const box = { min: [-20, -20, -20], max: [20, 20, 20] } as const;
  const node = { box, first: run.first, count: run.count, cell: null, children: [] };
  const source = { kind: "part", run, records, points: count } as const;
  return { stroke: { source, node, start: 0, count, spacing: 0.2 }, raw };
}

test("the picked point is the nearest whose dot covers the cursor, with its own record", () => {
  const next = random(21);
  const { stroke, raw } = strokeOf(next, 20_000);
  const width = (spacing: number, metre: number) =>
    Math.min(Math.max(1.5 * spacing * metre, 2), 40);
  let hits = 0;
  for (let round = 0; round < 150; ++round) {
    const pose = { ...randomPose(next), position: randomPlace(next, 8) };
    const [x, y] = [between(next, 0, size.width), between(next, 0, size.height)];
    const isShown = ({ class: number }: FoundPoint) => number !== 4;
    const found = pick([stroke], {
      pose,
      size,
      x,
      y,
      bytesPerRecord: 24,
      offsets: valueOffsets(layout),
      widthOf: width,
      isShown,
    });
    let expected = -1;
    let best = Infinity;
    for (let i = 0; i < 20_000; ++i) {
      const place = [0, 4, 8].map((at) => raw.getFloat32(24 * i + at, true));
      const at = project(pose, size, place as [number, number, number]);
      if (i % 7 === 4 || (!pose.orthographic && at.depth < 0.02)) continue;
      const away = Math.hypot(at.x - x, at.y - y);
      const radius = Math.max(width(0.2, pixelsPerMetre(pose, size, at.depth)) / 2, 1);
      if (away <= radius && at.depth < best) [expected, best] = [i, at.depth];
    }
    if (expected < 0) continue;
    ++hits;
    assert.ok(found);
    assert.equal(found.record, 5_000_000_000 + 3 * expected);
    assert.equal(found.intensity, expected % 65536);
    assert.equal(found.station, expected % 3);
    near(found.depth, best, 1e-6);
  }
  assert.ok(hits > 30, `${hits} of 150 cursors lie on a point`);
  assert.equal(placeBefore(0, 20_000), 0);
});

test("the plane under the cursor is the nearest whose outline holds the line of sight", () => {
  const wall = (number: number, at: number, hole: boolean): PlaneInfo =>
    ({
      number,
      equation: [0, 1, 0, -at],
      centroid: [0, at, 0],
      regions: [
        {
          outer: [
            [-4, at, -4],
            [4, at, -4],
            [4, at, 4],
            [-4, at, 4],
          ],
          holes: hole
            ? [
                [
                  [-1, at, -1],
                  [-1, at, 1],
                  [1, at, 1],
                  [1, at, -1],
                ],
              ]
            : [],
        },
      ],
    }) as unknown as PlaneInfo;
  const planes = [wall(1, 20, false), wall(2, 10, true), wall(3, -5, false)];
  const pose = { ...randomPose(random(22), false), position: [0, 0, 0] as const, yaw: 0, pitch: 0 };
  const at = (x: number, y: number) =>
    planeUnder(planes, rayThrough({ ...pose, angle: 1 }, size, x, y))?.number ?? null;
  assert.equal(at(500, 350), 1, "through the hole");
  assert.equal(at(620, 350), 2);
  assert.equal(at(990, 10), null, "beside both");
});

test("millimetres of a coordinate of seven digits are kept, and thousands are set apart", () => {
  const frame = new Frame([1, 0, 0, 6_277_543, 0, 1, 0, 770_512, 0, 0, 1, -3, 0, 0, 0, 1]);
  const world = frame.toWorld([0.1234, -0.001, 2.9996]);
  assert.equal(formatMetres(world[0]), "6\u2009277\u2009543.123");
  assert.equal(formatMetres(world[1]), "770\u2009511.999");
  assert.equal(formatMetres(world[2]), "0.000", "no sign before zero");
  assert.equal(formatMetres(-1234.5), "\u22121\u2009234.500");
  assert.equal(formatMetres(999.9996), "1\u2009000.000");
  const turned = new Frame([0, -1, 0, 5, 1, 0, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1]);
  assert.deepEqual(turned.toWorld([1, 2, 3]), [3, 7, 10]);
  near(turned.heading, Math.PI / 2, 1e-12);
});

test("the scale bar is as long as it says, and of a round length", () => {
  for (const [pixels, text] of [
    [1, "100 m"],
    [4.7, "20 m"],
    [100, "1 m"],
    [2000, "5 cm"],
    [90_000, "1 mm"],
    [0.01, "10 km"],
  ] as const) {
    const bar = scaleBar(pixels, 160);
    assert.equal(bar.text, text);
    near(bar.pixels, bar.metres * pixels, 1e-9);
    assert.ok(bar.pixels <= 160 && bar.pixels > 60);
  }
});

test("a section's corners lie on its border, whichever way it is turned", () => {
  const next = random(23);
  for (let round = 0; round < 50; ++round) {
    const half = randomPlace(next, 5).map((value) => Math.abs(value) + 0.1);
    const box = {
      centre: randomPlace(next, 50),
      half: half as [number, number, number],
      turn: between(next, -3, 3),
    };
    for (const corner of boxCorners(box)) {
      const towards = (share: number) =>
        corner.map((value, axis) => box.centre[axis]! + (value - box.centre[axis]!) * share);
      assert.ok(inSection(towards(0.999) as [number, number, number], box));
      assert.ok(!inSection(towards(1.001) as [number, number, number], box));
    }
  }
});
