// SPDX-License-Identifier: GPL-3.0-or-later
// Keys that move the camera as long as they are held down.

import type { Camera } from "./camera_control";
import { look, move, orbit, zoom } from "./motions";
import { pivot, type Pose } from "./pose";

/** What the keys do, in the order to show it. */
export const cameraKeys: readonly { readonly keys: string; readonly meaning: string }[] = [
  { keys: "Arrow keys", meaning: "Turn" },
  { keys: "Shift + arrow keys", meaning: "Move sideways, up and down" },
  { keys: "W A S D", meaning: "Go forward, left, back, right" },
  { keys: "Q E", meaning: "Go down, up" },
  { keys: "+ \u2212", meaning: "Nearer, farther" },
  { keys: "Home", meaning: "Show the whole cloud" },
];

const held = new Set([
  "ArrowLeft",
  "ArrowRight",
  "ArrowUp",
  "ArrowDown",
  "KeyW",
  "KeyA",
  "KeyS",
  "KeyD",
  "KeyQ",
  "KeyE",
  "Equal",
  "Minus",
  "NumpadAdd",
  "NumpadSubtract",
]);

/** Radians a second. */
const turnSpeed = 1.2;
/** Of the distance to what is ahead, a second. */
const panSpeed = 0.6;
const zoomSpeed = 1.5;
/** Metres a second; by shift five times as fast. */
const walkSpeed = 3;

export class KeyInput {
  private readonly down = new Set<string>();
  private readonly stop = new AbortController();
  private last = 0;
  private fast = false;

  constructor(
    target: HTMLElement,
    private readonly camera: Camera,
    private readonly wake: () => void,
  ) {
    const options = { signal: this.stop.signal };
    target.addEventListener("keydown", (event) => this.press(event), options);
    target.addEventListener("keyup", (event) => this.down.delete(event.code), options);
    target.addEventListener("blur", () => this.down.clear(), options);
  }

  end(): void {
    this.stop.abort();
  }

  get active(): boolean {
    return this.down.size > 0;
  }

  private press(event: KeyboardEvent): void {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.code === "Home") {
      event.preventDefault();
      return this.camera.look("home");
    }
    if (!held.has(event.code)) return;
    event.preventDefault();
    this.fast = event.shiftKey;
    if (this.down.size === 0) this.last = performance.now();
    this.down.add(event.code);
    this.wake();
  }

  /** Moves the camera by what is held down; called before each frame. */
  step(now: number): void {
    if (!this.active) return;
    const seconds = Math.min(Math.max((now - this.last) / 1000, 0), 0.1);
    this.last = now;
    this.camera.set(this.moved(this.camera.pose, seconds));
  }

  private axis(more: string, less: string): number {
    return (this.down.has(more) ? 1 : 0) - (this.down.has(less) ? 1 : 0);
  }

  private moved(pose: Pose, seconds: number): Pose {
    const across = this.axis("ArrowRight", "ArrowLeft");
    const along = this.axis("ArrowUp", "ArrowDown");
    let next = pose;
    if (this.fast) {
      const by = panSpeed * pose.distance * seconds;
      next = move(next, across * by, along * by, 0);
    } else if (this.camera.mode === "orbit") {
      const by = turnSpeed * seconds;
      next = orbit(next, pivot(next), -across * by, -along * by);
    } else {
      next = look(next, across * turnSpeed * seconds, along * turnSpeed * seconds);
    }
    const walk = walkSpeed * (this.fast ? 5 : 1) * seconds;
    const ahead = this.axis("KeyW", "KeyS") * walk;
    const aside = this.axis("KeyD", "KeyA") * walk;
    const up = this.axis("KeyE", "KeyQ") * walk;
    if (ahead !== 0 || aside !== 0 || up !== 0) {
      if (this.camera.mode === "stand") this.camera.setMode("fly");
      next = move(next, aside, 0, ahead);
      const [x, y, z] = next.position;
      next = { ...next, position: [x, y, z + up] };
    }
    const nearer = this.axis("Equal", "Minus") + this.axis("NumpadAdd", "NumpadSubtract");
    return nearer === 0 ? next : zoom(next, pivot(next), Math.exp(-nearer * zoomSpeed * seconds));
  }
}
