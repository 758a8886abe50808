// SPDX-License-Identifier: GPL-3.0-or-later
// Texts and dots that stand at places of the cloud. They are elements of the page, so that letters are
// as sharp as those of panels, and are moved with each frame.

import type { Projected } from "../camera/pose";
import type { Vector } from "../math/vector";

export interface PlacedElement {
  readonly at: Vector;
  readonly element: HTMLElement;
}

export class PlacedElements {
  private readonly named = new Map<string, readonly PlacedElement[]>();

  constructor(private readonly host: HTMLElement) {}

  set(name: string, placed: readonly PlacedElement[]): void {
    for (const { element } of this.named.get(name) ?? []) element.remove();
    this.named.set(name, placed);
    this.host.append(...placed.map(({ element }) => element));
  }

  move(project: (place: Vector) => Projected, orthographic: boolean): void {
    for (const placed of this.named.values())
      for (const { at, element } of placed) {
        const { x, y, depth } = project(at);
        const behind = !orthographic && depth <= 0.02;
        element.style.visibility = behind ? "hidden" : "visible";
        element.style.transform = `translate(${x.toFixed(1)}px, ${y.toFixed(1)}px)`;
      }
  }
}

export function labelElement(text: string): HTMLElement {
  const label = document.createElement("span");
  label.className = "placed-label";
  label.textContent = text;
  return label;
}

export function dotElement(colour?: string): HTMLElement {
  const dot = document.createElement("span");
  dot.className = "placed-dot";
  if (colour) dot.style.borderColor = colour;
  return dot;
}
