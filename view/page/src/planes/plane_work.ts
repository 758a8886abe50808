// SPDX-License-Identifier: GPL-3.0-or-later
// The planes that the page knows, and the searches that find them: one at a time, with progress, and
// ended at once where the person no longer wants it.

import { isAborted, type SearchEvents } from "../api/client";
import type { PlaneInfo, SearchEnd, SettingValues } from "../api/protocol";
import type { Vector } from "../math/vector";
import { Store } from "../store";
import type { Viewer } from "../viewer_interface";

/** A search under way. */
export interface Work {
  readonly what: string;
  /** Another search is at work first. */
  readonly waiting: boolean;
  /** 0 to 1; null where it is not known. */
  readonly progress: number | null;
  readonly began: number;
}

export interface PlanesValues {
  found: readonly PlaneInfo[];
  /** How the search for all planes ended; null before there was one. */
  end: SearchEnd | null;
  grown: readonly PlaneInfo[];
  work: Work | null;
  /** What the user changed of the settings; the search has the project's own for the others. */
  growth: SettingValues;
  options: SettingValues;
}

export class PlaneWork {
  readonly store = new Store<PlanesValues>({
    found: [],
    end: null,
    grown: [],
    work: null,
    growth: {},
    options: {},
  });
  private running: AbortController | null = null;

  constructor(
    private readonly viewer: Viewer,
    private readonly trouble: (sentence: string) => void,
  ) {
    this.store.watch(["found", "grown"], ({ found, grown, end }) =>
      viewer.setPlanes([...found, ...grown], end?.planes_id ?? null),
    );
  }

  get all(): readonly PlaneInfo[] {
    const { found, grown } = this.store.get();
    return [...found, ...grown];
  }

  byNumber(number: number): PlaneInfo | undefined {
    return this.all.find((plane) => plane.number === number);
  }

  /** The planes that are chosen, in the order of the list. */
  get chosen(): readonly PlaneInfo[] {
    const { chosenPlanes } = this.viewer.state.get();
    return this.all.filter((plane) => chosenPlanes.has(plane.number));
  }

  choose(...numbers: readonly number[]): void {
    this.viewer.state.set({ chosenPlanes: new Set(numbers) });
  }

  /** Grows the plane at a local place; null where that failed or was cancelled. */
  async grow(seed: Vector, keep = true): Promise<{ plane: PlaneInfo; end: SearchEnd } | null> {
    const result = await this.run("Growing the plane", (events, signal) =>
      this.viewer.api.growPlane(seed, this.store.get().growth, events, signal),
    );
    if (result && keep) {
      this.store.set({ grown: [...this.store.get().grown, result.plane] });
      this.choose(result.plane.number);
    }
    return result;
  }

  /** Finds all planes, or reads those that the project keeps. */
  async find(saved: boolean): Promise<boolean> {
    const request = saved
      ? ({ saved: true } as const)
      : ({ saved: false, options: this.store.get().options } as const);
    const result = await this.run(
      saved ? "Reading the saved planes" : "Searching for all planes",
      (events, signal) => this.viewer.api.findPlanes(request, events, signal),
    );
    if (!result) return false;
    this.viewer.state.set({ chosenPlanes: new Set(), hiddenPlanes: new Set() });
    // One change: whoever watches must not see the new planes with the former list's number.
    this.store.set({ found: result.planes, end: result.end });
    return true;
  }

  cancel(): void {
    this.running?.abort();
  }

  forget(number: number): void {
    const without = (set: ReadonlySet<number>) =>
      new Set([...set].filter((each) => each !== number));
    const { chosenPlanes, hiddenPlanes } = this.viewer.state.get();
    this.viewer.state.set({
      chosenPlanes: without(chosenPlanes),
      hiddenPlanes: without(hiddenPlanes),
    });
    const { grown } = this.store.get();
    this.store.set({ grown: grown.filter((plane) => plane.number !== number) });
  }

  /** The latest request wins: what runs is cancelled first. */
  private async run<Result>(
    what: string,
    start: (events: SearchEvents, signal: AbortSignal) => Promise<Result>,
  ): Promise<Result | null> {
    this.cancel();
    const own = new AbortController();
    this.running = own;
    const began = performance.now();
    const say = (part: Partial<Work>) => {
      if (this.running !== own) return;
      const before = this.store.get().work;
      this.store.set({ work: { what, waiting: false, progress: null, began, ...before, ...part } });
    };
    this.store.set({ work: { what, waiting: false, progress: null, began } });
    try {
      return await start(
        {
          waiting: () => say({ waiting: true }),
          seconds: () => say({ waiting: false }),
          progress: (progress) => say({ waiting: false, progress }),
        },
        own.signal,
      );
    } catch (error) {
      if (!isAborted(error)) this.trouble(error instanceof Error ? error.message : String(error));
      return null;
    } finally {
      if (this.running === own) {
        this.running = null;
        this.store.set({ work: null });
      }
    }
  }
}
