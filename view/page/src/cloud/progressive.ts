// SPDX-License-Identifier: GPL-3.0-or-later
// An order of a run's points in which each beginning is an even sample of all of them. Points lie in
// the project cell by cell, so the first half of a run is one side of its box; with every 16th point
// first, then those half-way between, and so on, a part of the buffer can be drawn instead of all.

/** The finest step that comes first. */
const coarsest = 16;

/** The groups of the order, each of `start`, `start + step`, ... */
const groups: readonly { start: number; step: number }[] = [
  { start: 0, step: coarsest },
  { start: 8, step: 16 },
  { start: 4, step: 8 },
  { start: 2, step: 4 },
  { start: 1, step: 2 },
];

const membersOf = (count: number, start: number, step: number): number =>
  Math.max(Math.ceil((count - start) / step), 0);

/** Copies records of `words` 32-bit words into the order; the result can be drawn from its start. */
export function progressive(records: Uint32Array, words: number): Uint32Array {
  const count = records.length / words;
  const ordered = new Uint32Array(records.length);
  let to = 0;
  for (const { start, step } of groups)
    for (let from = start * words; from < records.length; from += step * words)
      for (let word = 0; word < words; ++word) ordered[to++] = records[from + word]!;
  if (to !== count * words) throw new Error("The order lost points.");
  return ordered;
}

/** Where the point stood before that is at `place` now. */
export function placeBefore(place: number, count: number): number {
  let left = place;
  for (const { start, step } of groups) {
    const members = membersOf(count, start, step);
    if (left < members) return start + left * step;
    left -= members;
  }
  return place;
}
