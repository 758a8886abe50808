// SPDX-License-Identifier: GPL-3.0-or-later
// What panels, tools and tests may use of the view. `openViewer` (viewer.ts) makes one.
//
// Places are local unless a name says world; x and y are CSS pixels from the canvas's upper left.

import type { Api } from "./api/client";
import type { PlaneInfo, ProjectInfo } from "./api/protocol";
import type { Pose, Projected, Size } from "./camera/pose";
import type { PointValues } from "./cloud/point_record";
import type { Frame } from "./math/frame";
import type { Box } from "./math/box";
import type { Vector } from "./math/vector";
import type { ViewState } from "./view_state";

/** A point of the cloud under the cursor. */
export interface Picked extends PointValues {
  readonly position: Vector;
  readonly world: Vector;
  /** Its record in the project; null of a point of the thinned cloud, which has none of its own. */
  readonly record: number | null;
  /** Number of its plane; 0: on none; null where no planes were found yet. */
  readonly plane: number | null;
  /** Metres ahead of the camera. */
  readonly depth: number;
}

/** A look from a side; the camera stays as far away as shows the whole cloud. */
export type Side = "top" | "bottom" | "north" | "south" | "east" | "west" | "home";

export type CameraMode = "orbit" | "fly" | "stand";

export interface CameraControl {
  readonly pose: Pose;
  readonly mode: CameraMode;
  /** Moves there in a third of a second, or at once. */
  moveTo(pose: Pose, atOnce?: boolean): void;
  look(side: Side): void;
  /** Shows a box from where the camera looks now. */
  show(box: Box): void;
  /** Stands at a place and looks around from there; any pan or orbit ends that. */
  standAt(place: Vector): void;
  setMode(mode: CameraMode): void;
  /** Called after each change of pose or mode. */
  onChange(call: () => void): () => void;
}

/** What a tool does with the pointer. Only one is at work; without one, clicks do nothing. */
export interface Tool {
  readonly name: string;
  /** A click or a tap that moved nothing; `picked` is null beside the cloud. */
  click?(picked: Picked | null, x: number, y: number): void;
  /** The cursor rests or moves with no button pressed. */
  hover?(picked: Picked | null, x: number, y: number): void;
  /** Escape, or another tool. */
  end?(): void;
}

/** Lines and texts of a tool, in space; drawn over the points. */
export interface Marks {
  readonly lines?: readonly {
    readonly corners: readonly Vector[];
    readonly closed?: boolean;
    readonly colour?: string;
    /** Pixels. */
    readonly width?: number;
  }[];
  readonly dots?: readonly { readonly at: Vector; readonly colour?: string }[];
  readonly labels?: readonly { readonly at: Vector; readonly text: string }[];
}

export interface Figures {
  /** Points that the last frame drew. */
  readonly drawn: number;
  /** Points that are held on the card. */
  readonly held: number;
  /** Requests for points that wait or are under way. */
  readonly loading: number;
  /** Bytes of points that came. */
  readonly bytes: number;
  /** Milliseconds that the last frame took. */
  readonly frame: number;
}

export interface Viewer {
  readonly api: Api;
  readonly project: ProjectInfo;
  readonly state: ViewState;
  readonly frame: Frame;
  readonly camera: CameraControl;
  readonly canvas: HTMLCanvasElement;
  /** Elements that lie over the canvas. */
  readonly overlay: HTMLElement;
  readonly size: Size;

  pick(x: number, y: number): Picked | null;
  project2d(place: Vector): Projected;

  setTool(tool: Tool | null): void;
  readonly tool: Tool | null;
  onToolChange(call: () => void): () => void;

  /** Lines and labels under a name; an empty object takes them away. */
  setMarks(name: string, marks: Marks): void;

  /** The list of planes that is shown. `id` is `planes_id` of the search, which the points' numbers
   *  belong to; null where there is only grown planes so far. */
  setPlanes(planes: readonly PlaneInfo[], id: number | null): void;
  /** Colour of a plane as points and outlines have it: "#rrggbb". */
  planeColour(number: number): string;
  stationColour(number: number): string;
  classColour(number: number): string;
  /** The plane whose outline lies under a place of the view, nearest first. */
  planeAt(x: number, y: number): PlaneInfo | null;

  readonly figures: Figures;
  onFigures(call: (figures: Figures) => void): () => void;
  /** Sentences about requests that failed. */
  onTrouble(call: (sentence: string) => void): () => void;

  /** The view as a PNG, as large as the canvas's pixels times `times`. */
  snapshot(times?: number): Promise<Blob>;
  /** Resolves when nothing is under way any more and the last frame is drawn. */
  settled(): Promise<void>;
  redraw(): void;
}
