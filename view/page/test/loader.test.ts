// SPDX-License-Identifier: GPL-3.0-or-later
import assert from "node:assert/strict";
import test from "node:test";
import { ApiError, type Api, type Run } from "../src/api/client";
import { jsonLines } from "../src/api/lines";
import { Loader } from "../src/cloud/loader";
import type { RunNode } from "../src/cloud/run_tree";

const node = (number: number, count = 1000): RunNode => ({
  box: { min: [number, 0, 0], max: [number + 1, 1, 1] },
  first: number * count,
  count,
  cell: null,
  children: [],
});

interface Asked {
  readonly run: Run;
  readonly signal: AbortSignal;
  answer(): Promise<void>;
  fail(error: unknown): Promise<void>;
}

/** A server whose answers come when the test says so. */
function server() {
  const asked: Asked[] = [];
  const rest = () => new Promise<void>((resolve) => setTimeout(resolve, 1));
  const points = (run: Run, bytes: number, signal: AbortSignal) =>
    new Promise<ArrayBuffer>((resolve, reject) => {
      signal.addEventListener("abort", () => reject(new DOMException("not wanted", "AbortError")));
      asked.push({
        run,
        signal,
        answer: () => (resolve(new ArrayBuffer(bytes * Math.ceil(run.count / run.every))), rest()),
        fail: (error) => (reject(error), rest()),
      });
    });
  return { asked, api: { points } as unknown as Api, rest };
}

function loaderOf(api: Api) {
  const failures: unknown[] = [];
  const loader = new Loader(api, 24, {
    changed: () => undefined,
    failed: (error) => failures.push(error),
  });
  return { loader, failures };
}

const wish = (each: RunNode, every = 1, priority = 1) => ({ node: each, every, priority });

test("a few requests are under way at a time, the most wanted first", async () => {
  const { asked, api, rest } = server();
  const { loader } = loaderOf(api);
  const nodes = Array.from({ length: 10 }, (_, i) => node(i));
  loader.want(
    nodes.map((each) => wish(each)),
    1e6,
  );
  assert.deepEqual(
    asked.map(({ run }) => run.first),
    [0, 1000, 2000, 3000],
  );
  await asked[2]!.answer();
  assert.equal(asked.length, 5);
  assert.equal(asked[4]!.run.first, 4000);
  assert.equal(loader.held.size, 1);
  for (let i = 0; i < asked.length; ++i) await asked[i]!.answer();
  await rest();
  assert.equal(loader.points, 10_000);
  assert.equal(loader.pending, 0);
});

test("what the camera turned away from is cancelled, and does not count as a failure", async () => {
  const { asked, api, rest } = server();
  const { loader, failures } = loaderOf(api);
  loader.want([wish(node(0)), wish(node(1))], 1e6);
  const other = node(7);
  loader.want([wish(other)], 1e6);
  await rest();
  assert.ok(asked[0]!.signal.aborted && asked[1]!.signal.aborted);
  assert.equal(asked[2]!.run.first, 7000);
  await asked[2]!.answer();
  assert.deepEqual([...loader.held.keys()], [other]);
  assert.deepEqual(failures, []);
});

test("what was not wanted for longest makes room, and nothing that is wanted goes", async () => {
  const { asked, api } = server();
  const { loader } = loaderOf(api);
  const nodes = Array.from({ length: 4 }, (_, i) => node(i));
  for (const each of nodes) {
    loader.want([wish(each)], 1e6);
    await asked.at(-1)!.answer();
  }
  loader.want([wish(nodes[0]!)], 2500);
  assert.deepEqual(new Set(loader.held.keys()), new Set([nodes[0], nodes[3]]));
});

test("a run that the server refuses is not asked for again, and nothing is for a while", async () => {
  const { asked, api } = server();
  const { loader, failures } = loaderOf(api);
  const [broken, sound] = [node(0), node(1)];
  loader.want([wish(broken)], 1e6);
  await asked[0]!.fail(new ApiError("the file is damaged", 409));
  assert.equal(failures.length, 1);
  loader.want([wish(broken), wish(sound)], 1e6);
  assert.equal(asked.length, 1, "a server in trouble is left alone");
  const now = performance.now;
  try {
    performance.now = () => now.call(performance) + 60_000;
    loader.want([wish(broken), wish(sound)], 1e6);
    assert.deepEqual(
      asked.slice(1).map(({ run }) => run.first),
      [1000],
    );
  } finally {
    performance.now = now;
  }
});

test("lines are whole wherever the stream is cut, inside letters of two bytes as well", async () => {
  const lines = [{ text: "Wände" }, { progress: 0.5 }, { done: { seconds: 1 } }];
  const bytes = new TextEncoder().encode(lines.map((line) => JSON.stringify(line)).join("\n\n"));
  for (let size = 1; size < bytes.length; ++size) {
    async function* cut() {
      for (let at = 0; at < bytes.length; at += size) yield bytes.subarray(at, at + size);
    }
    const found: unknown[] = [];
    for await (const line of jsonLines(cut())) found.push(line);
    assert.deepEqual(found, lines);
  }
});
