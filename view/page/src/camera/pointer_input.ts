// SPDX-License-Identifier: GPL-3.0-or-later
// What mouse, pen and fingers do to the camera, and which clicks are left for a tool.
//
// One button or finger turns (orbit: about the point under it; fly and stand: the head), the other
// buttons, or shift, pan; the wheel and two fingers zoom towards what is under them.

import type { Vector } from "../math/vector";
import type { Camera } from "./camera_control";
import { look, orbit, pan, widen, zoom } from "./motions";
import { pivot, project, rayThrough, type Size } from "./pose";
import { add, scale } from "../math/vector";

export interface PointerTarget {
  readonly canvas: HTMLCanvasElement;
  readonly camera: Camera;
  size(): Size;
  /** The cloud's place under a pixel; null beside it. */
  placeAt(x: number, y: number): Vector | null;
  /** A press that moved nothing. */
  click(x: number, y: number): void;
  hover(x: number, y: number): void;
  leave(): void;
}

interface Finger {
  x: number;
  y: number;
}

/** Pixels that a click may move. */
const still = 4;
/** A drag over the whole height turns by half a turn. */
const turnPerView = Math.PI;
const wheelStep = 0.0016;

export class PointerInput {
  private readonly fingers = new Map<number, Finger>();
  private readonly stop = new AbortController();
  private moved = 0;
  private button = 0;
  /** What a drag holds on to. */
  private grip: Vector = [0, 0, 0];

  constructor(private readonly target: PointerTarget) {
    const { canvas } = target;
    const options = { signal: this.stop.signal };
    canvas.addEventListener("pointerdown", (event) => this.down(event), options);
    canvas.addEventListener("pointermove", (event) => this.move(event), options);
    canvas.addEventListener("pointerup", (event) => this.up(event), options);
    canvas.addEventListener("pointercancel", (event) => this.cancel(event), options);
    canvas.addEventListener("pointerleave", () => target.leave(), options);
    canvas.addEventListener("contextmenu", (event) => event.preventDefault(), options);
    canvas.addEventListener("dblclick", (event) => this.approach(event), options);
    canvas.addEventListener("wheel", (event) => this.wheel(event), { ...options, passive: false });
  }

  end(): void {
    this.stop.abort();
  }

  private at(event: MouseEvent): Finger {
    const edge = this.target.canvas.getBoundingClientRect();
    return { x: event.clientX - edge.left, y: event.clientY - edge.top };
  }

  /** The cloud's place under a pixel, or one as far away as what the camera refers to. */
  private gripAt({ x, y }: Finger): Vector {
    const found = this.target.placeAt(x, y);
    if (found) return found;
    const { pose } = this.target.camera;
    const ray = rayThrough(pose, this.target.size(), x, y);
    return add(ray.origin, scale(ray.direction, pose.distance));
  }

  private down(event: PointerEvent): void {
    event.preventDefault();
    const { canvas } = this.target;
    canvas.focus({ preventScroll: true });
    canvas.setPointerCapture(event.pointerId);
    const finger = this.at(event);
    this.fingers.set(event.pointerId, finger);
    if (this.fingers.size === 1) {
      this.moved = 0;
      this.button = event.shiftKey && event.button === 0 ? 2 : event.button;
    } else {
      this.moved = still + 1;
    }
    this.grip = this.gripAt(this.middle());
  }

  private middle(): Finger {
    const all = [...this.fingers.values()];
    const sum = all.reduce((a, b) => ({ x: a.x + b.x, y: a.y + b.y }), { x: 0, y: 0 });
    return { x: sum.x / all.length, y: sum.y / all.length };
  }

  private spread(): number {
    const [a, b] = [...this.fingers.values()];
    return a && b ? Math.hypot(a.x - b.x, a.y - b.y) : 0;
  }

  private move(event: PointerEvent): void {
    const finger = this.fingers.get(event.pointerId);
    const now = this.at(event);
    if (!finger) return this.target.hover(now.x, now.y);
    const [before, spreadBefore] = [this.middle(), this.spread()];
    this.fingers.set(event.pointerId, now);
    const after = this.middle();
    const [x, y] = [after.x - before.x, after.y - before.y];
    this.moved += Math.hypot(x, y);
    if (this.moved <= still) return;
    if (this.fingers.size === 1) return this.drag(x, y);
    this.panBy(x, y);
    if (spreadBefore > 0) this.zoomBy(spreadBefore / Math.max(this.spread(), 1));
  }

  private drag(x: number, y: number): void {
    if (this.button !== 0) return this.panBy(x, y);
    const { camera } = this.target;
    const turn = turnPerView / this.target.size().height;
    if (camera.mode === "orbit") {
      camera.set(orbit(camera.pose, this.grip, x * turn, -y * turn));
    } else {
      // The view follows the hand, as fine as it is magnified.
      const fine = camera.pose.angle / this.target.size().height;
      camera.set(look(camera.pose, -x * fine, y * fine));
    }
  }

  private panBy(x: number, y: number): void {
    const { camera } = this.target;
    if (camera.mode === "stand") camera.setMode("fly");
    const { depth } = project(camera.pose, this.target.size(), this.grip);
    camera.set(pan(camera.pose, this.target.size(), Math.max(depth, 0.1), x, y));
  }

  private zoomBy(factor: number): void {
    const { camera } = this.target;
    if (camera.mode === "stand") return camera.set(widen(camera.pose, factor));
    camera.set(zoom(camera.pose, this.grip, factor));
  }

  private wheel(event: WheelEvent): void {
    event.preventDefault();
    // Lines and pages of a wheel as pixels; a touch pad sends many small ones.
    const unit = event.deltaMode === 1 ? 33 : event.deltaMode === 2 ? 400 : 1;
    this.grip = this.gripAt(this.at(event));
    this.zoomBy(Math.exp(Math.min(Math.max(event.deltaY * unit, -300), 300) * wheelStep));
  }

  private up(event: PointerEvent): void {
    const finger = this.fingers.get(event.pointerId);
    this.fingers.delete(event.pointerId);
    if (this.fingers.size > 0) {
      // The finger that stays holds on to what is under it now.
      this.grip = this.gripAt(this.middle());
      this.button = 0;
      return;
    }
    if (finger && this.moved <= still && event.button === 0) this.target.click(finger.x, finger.y);
  }

  private cancel(event: PointerEvent): void {
    this.fingers.delete(event.pointerId);
  }

  /** A double click brings the place under it to the middle, half as far away. */
  private approach(event: MouseEvent): void {
    const at = this.at(event);
    const place = this.target.placeAt(at.x, at.y);
    const { camera } = this.target;
    if (!place || camera.mode !== "orbit") return;
    const centred = { ...camera.pose };
    const ahead = pivot(centred);
    const shift = [place[0] - ahead[0], place[1] - ahead[1], place[2] - ahead[2]] as const;
    camera.moveTo(zoom({ ...centred, position: add(centred.position, shift) }, place, 0.5));
  }
}
