// SPDX-License-Identifier: GPL-3.0-or-later
// The plane of each drawn point, fetched where a view needs it: they cost the server a computation a
// point, so only what is drawn is asked for.

import { isAborted, ApiError, type Api } from "../api/client";
import type { LoaderEvents } from "./loader";
import type { Part } from "./parts";
import { progressive } from "./progressive";
import type { Skeleton } from "./skeleton";

type Source = Part | Skeleton;

const requestsAtOnce = 2;

export class PlaneNumbers {
  private id: number | null = null;
  private wanted: readonly Source[] = [];
  private control = new AbortController();
  private readonly underWay = new Set<Source>();

  constructor(
    private readonly api: Api,
    private readonly events: LoaderEvents,
  ) {}

  get pending(): number {
    return this.underWay.size + this.wanted.filter((source) => this.missing(source)).length;
  }

  /** The list of planes that numbers are of; null: none. */
  setList(id: number | null): void {
    if (id === this.id) return;
    this.id = id;
    this.control.abort();
    this.control = new AbortController();
  }

  /** What is drawn and needs its numbers; an empty list where no view does. */
  want(sources: readonly Source[]): void {
    this.wanted = sources;
    this.pump();
  }

  private missing(source: Source): boolean {
    return this.id !== null && source.planesId !== this.id && !this.underWay.has(source);
  }

  private pump(): void {
    for (const source of this.wanted) {
      if (this.underWay.size >= requestsAtOnce) return;
      if (this.missing(source)) void this.fetch(source, this.id!);
    }
  }

  private async fetch(source: Source, id: number): Promise<void> {
    this.underWay.add(source);
    try {
      const of = source.kind === "part" ? "points" : "skeleton";
      const { signal } = this.control;
      const numbers = new Uint32Array(await this.api.planeNumbers(of, source.run, id, signal));
      source.planes = source.kind === "part" ? progressive(numbers, 1) : numbers;
      source.planesId = id;
    } catch (error) {
      // Another list has come, whose numbers are asked for next.
      const passed = error instanceof ApiError && error.status === 409 && id !== this.id;
      if (!isAborted(error) && !passed) {
        source.planesId = id;
        this.events.failed(error);
      }
    } finally {
      this.underWay.delete(source);
      this.pump();
      this.events.changed();
    }
  }
}
