// SPDX-License-Identifier: GPL-3.0-or-later
// The server's calls, typed. Addresses are relative to the page's, which holds the token.
//
// Every call takes an AbortSignal; aborting closes the connection, and the server stops its work.
// A failure is an ApiError whose message is a sentence to show.

import type {
  Histograms,
  PlaneInfo,
  ProjectInfo,
  SearchEnd,
  SearchLine,
  SettingValues,
} from "./protocol";
import type { Vector } from "../math/vector";
import { jsonLines, pieces } from "./lines";

export class ApiError extends Error {
  constructor(
    message: string,
    /** The answer's status; 0 where there was no answer. */
    readonly status: number,
  ) {
    super(message);
    this.name = "ApiError";
  }
}

/** A run of points: `first`, `first + every`, ... below `first + count`. */
export interface Run {
  readonly first: number;
  readonly count: number;
  readonly every: number;
}

/** How many points a run gives. */
export const pointsOf = (run: Run): number => Math.ceil(run.count / run.every);

export interface SearchEvents {
  waiting?(): void;
  seconds?(seconds: number): void;
  progress?(share: number): void;
  plane?(plane: PlaneInfo): void;
}

const gone =
  "The program that serves this page does not answer any more. Start it again, then reload.";
const cutShort = "The answer was cut short: the project's disk failed, or the program ended.";

export class Api {
  constructor(private readonly base: string = document.baseURI) {}

  project(signal?: AbortSignal): Promise<ProjectInfo> {
    return this.json<ProjectInfo>("project", signal);
  }

  histograms(classes = 5, signal?: AbortSignal): Promise<Histograms> {
    return this.json<Histograms>(`histograms?classes=${classes}`, signal);
  }

  skeleton(run: Run, signal?: AbortSignal): Promise<ArrayBuffer> {
    return this.bytes(`skeleton?${query(run)}`, 12 * pointsOf(run), signal);
  }

  skeletonData(run: Run, bytesPerRecord: number, signal?: AbortSignal): Promise<ArrayBuffer> {
    return this.bytes(`skeleton-data?${query(run)}`, bytesPerRecord * pointsOf(run), signal);
  }

  points(run: Run, bytesPerRecord: number, signal?: AbortSignal): Promise<ArrayBuffer> {
    return this.bytes(`points?${query(run)}`, bytesPerRecord * pointsOf(run), signal);
  }

  /** The plane of each point of a run, of the list with that id. */
  planeNumbers(of: "points" | "skeleton", run: Run, id: number, signal?: AbortSignal) {
    const path = of === "points" ? "plane-numbers" : "skeleton-plane-numbers";
    return this.bytes(`${path}?${query(run)}&id=${id}`, 4 * pointsOf(run), signal);
  }

  /** Rows of 32 bytes; see cloud/cell_rows.ts. */
  cells(level: 1000 | 100 | 10, of?: number, parents = 1, signal?: AbortSignal) {
    const parent = of === undefined ? "" : `&of=${of}&parents=${parents}`;
    return this.bytes(`cells?level=${level}${parent}`, undefined, signal);
  }

  /** Grows the plane at a local place. */
  async growPlane(
    seed: Vector,
    settings: SettingValues,
    events: SearchEvents = {},
    signal?: AbortSignal,
  ): Promise<{ plane: PlaneInfo; end: SearchEnd }> {
    const { planes, end } = await this.search("plane", { seed, settings }, events, signal);
    const plane = planes[0];
    if (!plane) throw new ApiError(cutShort, 200);
    return { plane, end };
  }

  /** Finds all planes, or reads those that the project keeps. */
  findPlanes(
    request: { saved: true } | { saved: false; options: SettingValues },
    events: SearchEvents = {},
    signal?: AbortSignal,
  ): Promise<{ planes: PlaneInfo[]; end: SearchEnd }> {
    return this.search("planes", request, events, signal);
  }

  /** The planes as a file, and the name that the server gives it. */
  async exportPlanes(
    format: string,
    planes: readonly number[],
    signal?: AbortSignal,
  ): Promise<{ name: string; file: Blob }> {
    const answer = await this.send("export", signal, { format, planes });
    const name = /filename="([^"]+)"/.exec(answer.headers.get("Content-Disposition") ?? "")?.[1];
    return { name: name ?? `planes.${format}`, file: await answer.blob() };
  }

  /** The server stays while this is open. `ended` is called once, when it has gone. */
  stayAlive(ended: () => void): EventSource {
    const events = new EventSource(new URL("alive", this.base));
    events.addEventListener("error", () => {
      events.close();
      ended();
    });
    return events;
  }

  private async search(path: string, body: object, events: SearchEvents, signal?: AbortSignal) {
    const answer = await this.send(path, signal, body);
    const planes: PlaneInfo[] = [];
    let end: SearchEnd | undefined;
    try {
      for await (const line of jsonLines<SearchLine>(pieces(answer.body!))) {
        if (line.error !== undefined) throw new ApiError(line.error, 200);
        if (line.waiting) events.waiting?.();
        if (line.seconds !== undefined) events.seconds?.(line.seconds);
        if (line.progress !== undefined) events.progress?.(line.progress);
        if (line.plane) {
          planes.push(line.plane);
          events.plane?.(line.plane);
        }
        if (line.done) end = line.done;
      }
    } catch (error) {
      throw signal?.aborted || error instanceof ApiError ? error : new ApiError(cutShort, 200);
    }
    if (!end) throw new ApiError(cutShort, 200);
    return { planes, end };
  }

  private async json<T>(path: string, signal?: AbortSignal): Promise<T> {
    return (await (await this.send(path, signal)).json()) as T;
  }

  private async bytes(path: string, expected: number | undefined, signal?: AbortSignal) {
    const answer = await this.send(path, signal);
    let data: ArrayBuffer;
    try {
      data = await answer.arrayBuffer();
    } catch (error) {
      throw signal?.aborted ? error : new ApiError(cutShort, answer.status);
    }
    if (expected !== undefined && data.byteLength !== expected)
      throw new ApiError(cutShort, answer.status);
    return data;
  }

  private async send(path: string, signal?: AbortSignal, body?: object): Promise<Response> {
    let answer: Response;
    try {
      answer = await fetch(new URL(path, this.base), {
        signal: signal ?? null,
        cache: "no-store",
        ...(body && {
          method: "POST",
          headers: { "Content-Type": "application/json" },
          body: JSON.stringify(body),
        }),
      });
    } catch (error) {
      throw signal?.aborted ? error : new ApiError(gone, 0);
    }
    if (!answer.ok) throw new ApiError(await sentenceOf(answer), answer.status);
    return answer;
  }
}

const query = (run: Run): string => `first=${run.first}&count=${run.count}&every=${run.every}`;

async function sentenceOf(answer: Response): Promise<string> {
  try {
    const { error } = (await answer.json()) as { error?: unknown };
    if (typeof error === "string") return error;
  } catch {
    // An answer without a sentence has its number below.
  }
  return answer.status === 403
    ? "This address belongs to another start of the program. Open the one that it prints now."
    : `The server answered with status ${answer.status}.`;
}

/** Whether a failure is only that the page did not want the answer any more. */
export const isAborted = (error: unknown): boolean =>
  error instanceof DOMException && error.name === "AbortError";
