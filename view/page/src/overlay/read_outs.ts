// SPDX-License-Identifier: GPL-3.0-or-later
// What stands in the corners of the view: the scale bar, where north is, and the world coordinates of
// the point under the cursor.

import { formatMetres } from "../math/frame";
import { scaleBar } from "../math/scale_bar";
import type { Vector } from "../math/vector";

const mostBarPixels = 160;

function make(className: string, host: HTMLElement): HTMLElement {
  const made = document.createElement("div");
  made.className = className;
  host.append(made);
  return made;
}

const svg = "http://www.w3.org/2000/svg";

function needle(host: HTMLElement): SVGElement {
  const picture = document.createElementNS(svg, "svg");
  picture.setAttribute("viewBox", "-20 -20 40 40");
  const turned = document.createElementNS(svg, "g");
  for (const [className, points] of [
    ["north", "0,-15 5,0 -5,0"],
    ["south", "0,15 5,0 -5,0"],
  ] as const) {
    const half = document.createElementNS(svg, "polygon");
    half.setAttribute("class", className);
    half.setAttribute("points", points);
    turned.append(half);
  }
  picture.append(turned);
  const letter = document.createElement("span");
  letter.textContent = "N";
  host.append(picture, letter);
  return turned;
}

export class ReadOuts {
  private readonly bar: HTMLElement;
  private readonly barText: HTMLElement;
  private readonly compass: HTMLButtonElement;
  private readonly turned: SVGElement;
  private readonly places: readonly HTMLElement[];
  private readonly coordinates: HTMLElement;

  constructor(host: HTMLElement, lookFromAbove: () => void) {
    const scale = make("scale-bar", host);
    this.barText = make("scale-bar-text", scale);
    this.bar = make("scale-bar-line", scale);
    this.compass = document.createElement("button");
    this.compass.type = "button";
    this.compass.className = "compass";
    this.compass.title = "Look from above, north up";
    this.compass.addEventListener("click", lookFromAbove);
    this.turned = needle(this.compass);
    host.append(this.compass);
    this.coordinates = make("coordinates", host);
    this.places = ["E", "N", "H"].map((name) => {
      const part = document.createElement("span");
      part.dataset["axis"] = name;
      this.coordinates.append(part);
      return part;
    });
    this.setPlace(null);
  }

  /** `exact`: the same everywhere in the view, as without vanishing lines. */
  setScale(pixelsPerMetre: number, exact: boolean): void {
    const { pixels, text } = scaleBar(pixelsPerMetre, mostBarPixels);
    this.bar.style.width = `${pixels.toFixed(1)}px`;
    this.barText.textContent = exact ? text : `${text} at the middle`;
  }

  /** `turn`: of north from straight up, radians clockwise. */
  setNorth(turn: number): void {
    this.turned.setAttribute("transform", `rotate(${((turn * 180) / Math.PI).toFixed(1)})`);
  }

  /** World coordinates; null beside the cloud. */
  setPlace(world: Vector | null): void {
    this.coordinates.hidden = world === null;
    world?.forEach((value, axis) => {
      this.places[axis]!.textContent = formatMetres(value);
    });
  }
}
