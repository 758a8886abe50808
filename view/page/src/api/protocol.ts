// SPDX-License-Identifier: GPL-3.0-or-later
// What the server's answers hold, as docs/VIEW.md describes them. Lengths are metres; "local" is the
// project's own frame.

import type { Vector } from "../math/vector";

export interface RecordField {
  readonly name: string;
  readonly offset: number;
  readonly type: "float32" | "uint16" | "uint8";
  readonly count: number;
}

export interface RecordLayout {
  readonly bytes: number;
  readonly fields: readonly RecordField[];
}

export interface StationInfo {
  readonly number: number;
  readonly name: string | null;
  /** Local; null where the project does not know it. */
  readonly position: Vector | null;
}

export interface ClassInfo {
  readonly number: number;
  readonly name: string | null;
}

/** A setting of a search: a number within bounds, or one of several choices. */
export interface SettingInfo {
  readonly name: string;
  readonly caption: string;
  readonly meaning: string;
  readonly unit?: string;
  readonly min?: number;
  readonly max?: number;
  readonly step?: number;
  readonly choices?: readonly { readonly value: number | string; readonly caption: string }[];
  /** The project's own; null where the search chooses by itself. */
  readonly value: number | string | null;
}

export interface ProjectInfo {
  readonly name: string;
  readonly file: string;
  readonly version: string;
  readonly points: number;
  /** Local to world: 4 x 4 numbers, row by row. */
  readonly frame: readonly number[];
  readonly origin: Vector;
  readonly bounds: { readonly min: Vector; readonly max: Vector };
  readonly record: RecordLayout;
  readonly varies: {
    readonly colour: boolean;
    readonly intensity: boolean;
    readonly class: boolean;
    readonly station: boolean;
  };
  readonly intensity: { readonly low: number; readonly high: number } | null;
  readonly classes: readonly ClassInfo[];
  readonly skeleton: {
    readonly points: number;
    readonly voxel: number;
    readonly data: RecordLayout;
  };
  readonly cells: {
    readonly "1000": number;
    readonly "100": number;
    readonly "10": number | null;
  };
  readonly stations: readonly StationInfo[];
  readonly saved_planes: boolean;
  readonly settings: {
    readonly plane: readonly SettingInfo[];
    readonly planes: readonly SettingInfo[];
  };
  readonly formats: readonly string[];
  readonly warnings: readonly string[];
}

export type PlaneClass = "floor" | "ceiling" | "wall" | "roof" | "other";

export interface PlaneRegion {
  /** Corners, local, counter-clockwise seen from where the normal points. */
  readonly outer: readonly Vector[];
  /** Clockwise. */
  readonly holes: readonly (readonly Vector[])[];
}

export interface PlaneInfo {
  readonly number: number;
  readonly grown: boolean;
  readonly class: PlaneClass;
  readonly group: number | null;
  /** Local: a, b, c, d of ax + by + cz + d = 0, the normal of length 1. */
  readonly equation: readonly [number, number, number, number];
  readonly centroid: Vector;
  readonly points: number;
  readonly rms: number;
  readonly tolerance: number;
  readonly area: number;
  readonly regions: readonly PlaneRegion[];
  readonly world: {
    readonly equation: readonly [number, number, number, number];
    readonly centroid: Vector;
  };
  /** Of a grown plane: the cloud's point that growth started from, local. */
  readonly seed?: Vector;
  readonly ended?: string;
}

export interface HistogramInfo {
  readonly axis: string;
  readonly points: number;
  /** To be added to a value for the world's. */
  readonly shift: number;
  readonly lowest: number;
  readonly highest: number;
  readonly mean: number;
  readonly median: number;
  readonly start: number;
  readonly width: number;
  readonly counts: readonly number[];
  readonly below: number;
  readonly above: number;
  readonly classes: {
    readonly boundaries: readonly number[];
    readonly counts: readonly number[];
    readonly fit: number;
  } | null;
}

export interface Histograms {
  readonly intensity: HistogramInfo | null;
  readonly height: HistogramInfo | null;
}

/** One line of a search's answer; one of the keys is there. */
export interface SearchLine {
  readonly waiting?: true;
  readonly seconds?: number;
  readonly progress?: number;
  readonly plane?: PlaneInfo;
  readonly done?: SearchEnd;
  readonly error?: string;
}

export interface SearchEnd {
  readonly seconds: number;
  /** Of a search for all planes. */
  readonly planes_id?: number;
  readonly planes?: number;
  readonly left_out?: number;
  readonly points?: number;
  readonly assigned_points?: number;
}

export type SettingValues = Readonly<Record<string, number | string>>;
