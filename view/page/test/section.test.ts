// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import { halfSpaces, inCuts, inSection } from "../src/math/section";
import { dot, subtract, type Vector } from "../src/math/vector";
import type { SectionBox, Slab } from "../src/view_state";

/** Numbers that look random, the same each time. */
function* numbers(): Generator<number, never> {
  for (let state = 1; ; state = (state * 48271) % 2147483647) yield state / 2147483647;
}

test("the planes between keep what the box and the slab hold, from wherever they are seen", () => {
  const next = numbers();
  const between = (low: number, high: number) => low + (high - low) * next.next().value;
  const place = (reach: number): Vector => [
    between(-reach, reach),
    between(-reach, reach),
    between(-reach, reach),
  ];
  let inside = 0;
  for (let round = 0; round < 3000; ++round) {
    const section: SectionBox = {
      centre: place(3),
      half: [between(0.5, 6), between(0.5, 6), between(0.5, 6)],
      turn: between(-2, 2),
    };
    const slab: Slab | null = round % 2 ? { low: between(-4, 0), high: between(0, 4) } : null;
    const [from, at] = [place(90), place(4)];
    const own = subtract(at, from);
    const kept = halfSpaces(section, slab, from).every(
      ({ normal, offset }) => dot(normal, own) + offset >= 0,
    );
    assert.equal(kept, inCuts(at, section, slab), `round ${round}`);
    assert.ok(!kept || inSection(at, section));
    if (kept) ++inside;
  }
  assert.ok(inside > 300 && inside < 2700, String(inside));
  assert.deepEqual(halfSpaces(null, null, [1, 2, 3]), []);
});
