// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import type { Run } from "../src/api/client";
import { pixelsPerMetre, project } from "../src/camera/pose";
import { coveredArea } from "../src/cloud/area";
import type { CellRow } from "../src/cloud/cell_rows";
import { choose } from "../src/cloud/choose";
import { drawList } from "../src/cloud/draw_list";
import { drawnOf, nextRun, withPart, type Held, type Part } from "../src/cloud/parts";
import { placeBefore, progressive } from "../src/cloud/progressive";
import { cellsOf, openCell, treeOf, type RunNode } from "../src/cloud/run_tree";
import { stretchesOf, type Skeleton } from "../src/cloud/skeleton";
import { maySee, viewVolume } from "../src/cloud/view_volume";
import { corners, type Box } from "../src/math/box";
import type { Vector } from "../src/math/vector";
import { between, near, random, randomPlace, randomPose } from "./support/random";

const size = { width: 1280, height: 800 };

/** Cells side by side, with as many points as `count` says of each. */
function rowsOf(across: number, count: (cell: number) => number, side = 10): CellRow[] {
  const rows: CellRow[] = [];
  let first = 0;
  for (let x = 0; x < across; ++x)
    for (let y = 0; y < across; ++y) {
      const number = rows.length;
      rows.push({ corner: [x * side, y * side, 0], number, first, count: count(number) });
      first += count(number);
    }
  return rows;
}

const boundsOf = (across: number): Box => ({ min: [0, 0, 0], max: [across * 10, across * 10, 8] });

function leavesOf(node: RunNode): RunNode[] {
  return node.children.length === 0 ? [node] : node.children.flatMap(leavesOf);
}

test("the beginning of the order is an even sample, and every point keeps its number", () => {
  for (const count of [1, 2, 15, 16, 17, 31, 100, 1000, 4099]) {
    const records = new Uint32Array(2 * count);
    for (let i = 0; i < count; ++i) records.set([i, 7 * i], 2 * i);
    const ordered = progressive(records, 2);
    for (let place = 0; place < count; ++place) {
      const before = placeBefore(place, count);
      assert.deepEqual([...ordered.subarray(2 * place, 2 * place + 2)], [before, 7 * before]);
    }
    // A half has a point of every stretch of 2, an eighth of every stretch of 8, and so on.
    for (const step of [2, 4, 8, 16]) {
      const part = Math.ceil(count / step);
      const hit = new Set<number>();
      for (let place = 0; place < part; ++place)
        hit.add(Math.floor(placeBefore(place, count) / step));
      assert.equal(hit.size, part, `every ${step} of ${count}`);
    }
  }
});

test("runs that follow each other bring every point once, however the wish changes", () => {
  const next = random(11);
  for (let round = 0; round < 300; ++round) {
    const count = Math.ceil(between(next, 1, 400)) * (round === 7 ? 30_000 : 1);
    const node: RunNode = {
      box: boundsOf(1),
      first: Math.floor(between(next, 0, 1e10)),
      count,
      cell: null,
      children: [],
    };
    let held: Held | undefined;
    let every = 2 ** Math.floor(between(next, 0, 9));
    for (let step = 0; step < 40; ++step) {
      const wish = nextRun(node, held, every);
      if (wish) {
        const { run } = wish;
        assert.ok(run.first >= node.first && run.first + run.count <= node.first + count);
        const points = Math.ceil(run.count / run.every);
        if (wish.replaces) assert.ok(points <= 2_000_000, "a first request stays small");
        const part: Part = { kind: "part", run, records: new Uint32Array(0), points };
        held = withPart(held, part, wish.replaces, 1);
      } else {
        every = Math.max(2 ** Math.floor(between(next, 0, 9)), 1) >> (step % 2);
        if (every < 1) every = 1;
      }
    }
    // At last, all of them.
    for (let wish = nextRun(node, held, 1); wish; wish = nextRun(node, held, 1)) {
      const points = Math.ceil(wish.run.count / wish.run.every);
      const part: Part = { kind: "part", run: wish.run, records: new Uint32Array(0), points };
      held = withPart(held, part, wish.replaces, 1);
    }
    const seen = new Uint8Array(count);
    for (const { run, points } of held!.parts)
      for (let i = 0; i < points; ++i) seen[run.first + i * run.every - node.first] = 1;
    const total = held!.parts.reduce((sum, part) => sum + part.points, 0);
    assert.equal(total, count, "no point twice");
    assert.ok(!seen.includes(0), "and none is missing");
  }
});

test("of what is held, about as many points are drawn as are wanted", () => {
  const node = {
    ...treeOf(
      rowsOf(1, () => 10_000),
      boundsOf(1),
    )!,
  };
  const part = (run: Run): Part => ({
    kind: "part",
    run,
    records: new Uint32Array(0),
    points: Math.ceil(run.count / run.every),
  });
  let held: Held | undefined;
  for (let wish = nextRun(node, held, 2); wish; wish = nextRun(node, held, 2))
    held = withPart(held, part(wish.run), wish.replaces, 1);
  for (const every of [1, 2, 4, 64, 100_000]) {
    const drawn = drawnOf(held!, node, Math.max(every, 2));
    const points = drawn.reduce((sum, { count }) => sum + count, 0);
    assert.equal(points, Math.max(Math.ceil(10_000 / Math.max(every, 2)), 1));
  }
});

test("nodes at every depth are runs that partition their parent, within its box", () => {
  const root = treeOf(
    rowsOf(13, (cell) => 1 + (cell % 5)),
    boundsOf(13),
  )!;
  const cell = leavesOf(root)[40]!;
  const [x, y] = cell.box.min;
  openCell(
    cell,
    Array.from({ length: cell.count }, (_, i) => ({
      corner: [x + i, y, 0] as Vector,
      number: i,
      first: cell.first + i,
      count: 1,
    })),
  );
  const visit = (node: RunNode): void => {
    let first = node.first;
    for (const child of node.children) {
      assert.equal(child.first, first);
      first += child.count;
      for (const axis of [0, 1, 2] as const) {
        assert.ok(child.box.min[axis] >= node.box.min[axis]);
        assert.ok(child.box.max[axis] <= node.box.max[axis]);
      }
      visit(child);
    }
    if (node.children.length > 0) assert.equal(first, node.first + node.count);
  };
  visit(root);
  assert.equal([...cellsOf(root)].length, 169);
  const gap = rowsOf(2, () => 3).map((row) => ({ ...row, first: row.first + row.number }));
  assert.throws(() => treeOf(gap, boundsOf(2)), /orvix check/);
  assert.throws(
    () =>
      openCell(
        leavesOf(root)[3]!,
        rowsOf(2, () => 9, 1),
      ),
    /orvix check/,
  );
  assert.equal(treeOf([], boundsOf(1)), null);
});

test("no box that can be seen is left out", () => {
  const next = random(12);
  let seen = 0;
  for (let round = 0; round < 3000; ++round) {
    const pose = randomPose(next);
    const low = randomPlace(next, 60);
    const [x, y, z] = randomPlace(next, 6).map(Math.abs) as [number, number, number];
    const box: Box = { min: low, max: [low[0] + x, low[1] + y, low[2] + z] };
    const volume = viewVolume(pose, size, 1);
    const inView = corners(box).some((corner) => {
      const at = project(pose, size, corner);
      const ahead = pose.orthographic || at.depth > 0;
      return ahead && at.x >= 0 && at.x <= size.width && at.y >= 0 && at.y <= size.height;
    });
    if (inView) assert.ok(maySee(volume, box));
    seen += maySee(volume, box) ? 1 : 0;
  }
  assert.ok(seen > 100 && seen < 2000, `${seen} of 3000 boxes pass`);
});

test("a choice keeps the budget, is densest near the camera, and stays within a section", () => {
  const next = random(13);
  const root = treeOf(
    rowsOf(30, () => 50_000),
    boundsOf(30),
  )!;
  const areaOf = (node: RunNode) => (150 * node.count) / 50_000;
  for (let round = 0; round < 30; ++round) {
    const pose = {
      ...randomPose(next, false),
      position: [between(next, 0, 300), between(next, 0, 300), 10] as Vector,
      pitch: between(next, -1, -0.1),
    };
    const budget = Math.round(between(next, 50_000, 3_000_000));
    const within: Box | null = round % 3 === 0 ? { min: [100, 100, 0], max: [160, 160, 3] } : null;
    const { wanted } = choose(root, viewVolume(pose, size, 1), {
      budget,
      screen: 800,
      areaOf,
      within,
    });
    const points = wanted.reduce((sum, { node, every }) => sum + Math.ceil(node.count / every), 0);
    assert.ok(points <= budget, `${points} of ${budget}`);
    const nodes = wanted.map(({ node }) => node).sort((a, b) => a.first - b.first);
    nodes.forEach((node, i) => {
      const after = nodes[i + 1];
      if (after) assert.ok(node.first + node.count <= after.first, "no point twice");
      if (within) assert.ok(node.box.min[0] <= 160 && node.box.max[0] >= 100);
    });
    const priorities = wanted.map(({ priority }) => priority);
    assert.deepEqual(
      priorities,
      [...priorities].sort((a, b) => b - a),
    );
    // Drawn neighbours are about as many pixels apart wherever they lie.
    if (within) continue;
    const apart = wanted
      .filter(({ node, every }) => every > 1 && every * 2 <= node.count)
      .map(({ node, every }) => {
        const metres = Math.sqrt((areaOf(node) / node.count) * every);
        const depth = Math.max(0.1, distance(pose.position, node.box));
        return metres * pixelsPerMetre(pose, size, depth);
      });
    if (apart.length > 0) assert.ok(Math.max(...apart) < 1.5 * Math.min(...apart));
  }
});

const distance = (place: Vector, box: Box): number =>
  Math.hypot(
    ...([0, 1, 2] as const).map((axis) =>
      Math.max(box.min[axis] - place[axis], 0, place[axis] - box.max[axis]),
    ),
  );

test("a project of 150,000 cells is looked through in a moment, and few nodes are drawn", () => {
  const across = 387;
  const root = treeOf(
    rowsOf(across, () => 700),
    boundsOf(across),
  )!;
  const pose = { ...randomPose(random(14), false), position: [0, 0, 300] as Vector, pitch: -0.4 };
  const look = { ...pose, yaw: 0.78, angle: 1 };
  const start = performance.now();
  const options = { budget: 3_000_000, screen: 800, areaOf: (n: RunNode) => n.count, within: null };
  const { wanted } = choose(root, viewVolume(look, size, 1), options);
  assert.ok(performance.now() - start < 1000);
  assert.ok(wanted.length > 10 && wanted.length < 3000, `${wanted.length} nodes`);
});

function skeletonOf(rows: readonly CellRow[], each: number): Skeleton {
  const places = rows.flatMap(({ corner: [x, y] }) =>
    Array.from({ length: each }, (_, i) => [x + 0.5 + (i % 9), y + 0.5, 1]),
  );
  const records = new Uint32Array(6 * places.length);
  const floats = new Float32Array(records.buffer);
  places.forEach((place, i) => floats.set(place, 6 * i));
  const run = { first: 0, count: places.length, every: 1 };
  return { kind: "skeleton", run, records, points: places.length };
}

test("until its points have come, every wanted node is drawn by what stands for it", () => {
  const rows = rowsOf(12, () => 60_000);
  const root = treeOf(rows, boundsOf(12))!;
  const skeleton = skeletonOf(rows, 50);
  const stretches = stretchesOf(skeleton, 6, root);
  assert.deepEqual(stretches.get(root), { start: 0, count: 144 * 50 });
  const pose = { ...randomPose(random(15), false), position: [60, -5, 4] as Vector };
  const volume = viewVolume({ ...pose, yaw: 0, pitch: -0.1 }, size, 1);
  const areaOf = () => 200;
  const options = { budget: 1e6, screen: 800, areaOf, within: null };
  const held = new Map<RunNode, Held>();
  const sources = { root, held, skeleton, stretches, areaOf };
  const { wanted } = choose(root, volume, options);
  const covered = () => {
    const cells = new Set<number>();
    for (const { node } of drawList(sources, wanted))
      for (const cell of cellsOf(node)) cells.add(cell.cell!);
    return cells;
  };
  const all = new Set(wanted.flatMap(({ node }) => [...cellsOf(node)].map(({ cell }) => cell!)));
  assert.deepEqual([...covered()].sort(), [...all].sort());
  // One after the other comes; nothing is ever left out, and nothing is drawn twice at the end.
  for (const { node, every } of wanted) {
    const run = { first: node.first, count: node.count, every };
    const points = Math.ceil(run.count / every);
    const part: Part = { kind: "part", run, records: new Uint32Array(6 * points), points };
    held.set(node, withPart(undefined, part, true, 200));
    assert.deepEqual([...covered()].sort(), [...all].sort());
  }
  const last = drawList(sources, wanted);
  assert.equal(new Set(last.map(({ node }) => node)).size, last.length);
});

test("the area that points cover is found within a third, whatever their number", () => {
  const next = random(16);
  for (const [across, along, turn] of [
    [10, 10, 0],
    [4, 2, 0.5],
    [20, 0.5, 1.1],
  ] as const)
    for (const count of [300, 3000, 200_000]) {
      const places = Array.from({ length: count }, () => {
        const [u, v] = [next() * across, next() * along];
        return [u * Math.cos(turn), v, u * Math.sin(turn)];
      });
      const found = coveredArea((i) => places[i]!, count);
      // Narrow strips are as wide as the cubes that find them.
      const within = along < 1 ? 2.2 : 0.5;
      near(found / (across * along), 1, within, `${across} x ${along}, ${count} points:`);
    }
});
