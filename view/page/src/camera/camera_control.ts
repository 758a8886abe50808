// SPDX-License-Identifier: GPL-3.0-or-later
// The camera of the view: its pose, its mode, and its way from one pose to the next.

import { corners, type Box } from "../math/box";
import { type Vector } from "../math/vector";
import type { CameraControl, CameraMode, Side } from "../viewer_interface";
import { facing } from "./facing";
import { blend, fit, sides } from "./motions";
import { tidy, type Pose, type Size } from "./pose";

/** Milliseconds of a move. */
const moveTime = 350;
/** A look around from a place shows more than one from outside. */
const standingAngle = 1.25;
export const usualAngle = 0.9;
/** What is ahead of who stands somewhere. */
const standingDistance = 5;

export class Camera implements CameraControl {
  private current: Pose;
  private currentMode: CameraMode = "orbit";
  private way: { from: Pose; to: Pose; start: number } | null = null;
  private readonly listeners = new Set<() => void>();

  constructor(
    private content: readonly Vector[],
    private readonly sizeOf: () => Size,
  ) {
    this.current = fit(
      {
        position: [0, 0, 0],
        distance: 1,
        angle: usualAngle,
        orthographic: false,
        ...sides.home,
      },
      content,
      sizeOf(),
    );
  }

  get pose(): Pose {
    return this.current;
  }

  get mode(): CameraMode {
    return this.currentMode;
  }

  get moving(): boolean {
    return this.way !== null;
  }

  /** What `home` and the sides show: places that have to be in the view. */
  setContent(content: readonly Vector[]): void {
    this.content = content;
  }

  /** Sets the pose as it is; ends a move that is under way. */
  set(pose: Pose): void {
    this.way = null;
    this.current = tidy(pose);
    this.changed();
  }

  moveTo(pose: Pose, atOnce = false): void {
    if (atOnce) return this.set(pose);
    this.way = { from: this.current, to: tidy(pose), start: performance.now() };
    this.changed();
  }

  /** One step of a move; called before each frame. */
  step(now: number): void {
    if (!this.way) return;
    const share = Math.min(Math.max((now - this.way.start) / moveTime, 0), 1);
    const eased = share * share * (3 - 2 * share);
    this.current = share < 1 ? blend(this.way.from, this.way.to, eased) : this.way.to;
    if (share >= 1) this.way = null;
    this.changed();
  }

  look(side: Side): void {
    this.setMode("orbit");
    const turned = { ...this.goal, ...sides[side], angle: usualAngle };
    this.moveTo(fit(turned, this.content, this.sizeOf()));
  }

  show(box: Box): void {
    this.setMode("orbit");
    this.moveTo(fit({ ...this.goal, angle: usualAngle }, corners(box), this.sizeOf()));
  }

  standAt(place: Vector): void {
    const { yaw, orthographic } = this.goal;
    this.currentMode = "stand";
    this.moveTo({
      position: place,
      yaw: facing(place, this.content, yaw, standingAngle),
      pitch: 0,
      distance: standingDistance,
      angle: standingAngle,
      orthographic,
    });
  }

  setMode(mode: CameraMode): void {
    if (mode === this.currentMode) return;
    if (mode === "orbit" && this.currentMode === "stand")
      this.moveTo({ ...this.goal, angle: usualAngle });
    this.currentMode = mode;
    this.changed();
  }

  setOrthographic(orthographic: boolean): void {
    if (orthographic !== this.goal.orthographic) this.set({ ...this.goal, orthographic });
  }

  /** Turns and zooms refer to a place from now on; the view stays as it is. */
  setDistance(distance: number): void {
    if (!this.current.orthographic) this.current = tidy({ ...this.current, distance });
  }

  /** The first look at the content, at once. */
  setHome(): void {
    this.set(fit({ ...this.goal, ...sides.home }, this.content, this.sizeOf()));
  }

  onChange(call: () => void): () => void {
    this.listeners.add(call);
    return () => this.listeners.delete(call);
  }

  /** Where a move under way ends. */
  private get goal(): Pose {
    return this.way?.to ?? this.current;
  }

  private changed(): void {
    for (const call of [...this.listeners]) call();
  }
}
