// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import { ApiError, type SearchEvents } from "../src/api/client";
import type { PlaneInfo, SearchEnd } from "../src/api/protocol";
import { PlaneWork } from "../src/planes/plane_work";
import { createViewState } from "../src/view_state";
import type { Viewer } from "../src/viewer_interface";

interface Call {
  readonly events: SearchEvents;
  readonly signal: AbortSignal;
  done(result: unknown): void;
  fail(error: unknown): void;
}

/** A view whose server answers when the test says so. */
function desk() {
  const calls: Call[] = [];
  const shown: [readonly number[], number | null][] = [];
  const troubles: string[] = [];
  const search = (_: unknown, ...rest: unknown[]) => {
    const [events, signal] = rest.slice(-2) as [SearchEvents, AbortSignal];
    return new Promise((done, fail) => {
      signal.addEventListener("abort", () => fail(new DOMException("aborted", "AbortError")));
      calls.push({ events, signal, done, fail });
    });
  };
  const state = createViewState();
  const viewer = {
    state,
    api: { growPlane: search, findPlanes: search },
    setPlanes: (planes: readonly PlaneInfo[], id: number | null) =>
      shown.push([planes.map((plane) => plane.number), id]),
  } as unknown as Viewer;
  return {
    work: new PlaneWork(viewer, (each) => troubles.push(each)),
    calls,
    shown,
    troubles,
    state,
  };
}

const plane = (number: number, grown = false) => ({ number, grown }) as PlaneInfo;
const end = (planes_id?: number) => ({ seconds: 1, planes_id }) as SearchEnd;

test("a grown plane joins the list, is chosen, and can be forgotten", async () => {
  const { work, calls, shown, state } = desk();
  const growing = work.grow([1, 2, 3]);
  assert.equal(work.store.get().work?.what, "Growing the plane");
  calls[0]!.done({ plane: plane(1_000_001, true), end: end() });
  assert.equal((await growing)!.plane.number, 1_000_001);
  assert.equal(work.store.get().work, null);
  assert.deepEqual(shown.at(-1), [[1_000_001], null]);
  assert.deepEqual([...state.get().chosenPlanes], [1_000_001]);
  work.forget(1_000_001);
  assert.deepEqual(shown.at(-1), [[], null]);
  assert.equal(state.get().chosenPlanes.size, 0);
});

test("a later request cancels the one at work, whose answer changes nothing", async () => {
  const { work, calls, troubles } = desk();
  const first = work.grow([0, 0, 0]);
  const second = work.grow([1, 1, 1]);
  assert.ok(calls[0]!.signal.aborted);
  calls[0]!.events.progress?.(0.9);
  assert.equal(work.store.get().work?.progress, null, "progress of the former search is not shown");
  assert.equal(await first, null);
  assert.notEqual(work.store.get().work, null, "the second is still at work");
  calls[1]!.done({ plane: plane(1_000_002, true), end: end() });
  await second;
  assert.deepEqual(
    work.store.get().grown.map((each) => each.number),
    [1_000_002],
  );
  assert.deepEqual(troubles, [], "a wish to cancel is no trouble");
});

test("a search for all planes shows progress, and its planes come with their own number at once", async () => {
  const { work, calls, shown, state } = desk();
  state.set({ hiddenPlanes: new Set([7]), chosenPlanes: new Set([7]) });
  const found = work.find(false);
  calls[0]!.events.waiting?.();
  assert.equal(work.store.get().work?.waiting, true);
  calls[0]!.events.progress?.(0.5);
  assert.deepEqual([work.store.get().work?.waiting, work.store.get().work?.progress], [false, 0.5]);
  calls[0]!.done({ planes: [plane(1), plane(2)], end: end(4) });
  assert.equal(await found, true);
  assert.deepEqual(shown.at(-1), [[1, 2], 4]);
  assert.equal(shown.length, 1, "nobody sees the new planes with the former list's number");
  assert.equal(state.get().hiddenPlanes.size, 0, "numbers of the former list mean nothing now");
});

test("a failure is a sentence, and what was found before stays", async () => {
  const { work, calls, troubles, shown } = desk();
  const found = work.find(true);
  calls[0]!.fail(new ApiError("The saved planes do not fit the points.", 200));
  assert.equal(await found, false);
  assert.deepEqual(troubles, ["The saved planes do not fit the points."]);
  assert.deepEqual(shown, []);
  assert.equal(work.store.get().work, null);
});
