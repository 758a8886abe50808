// SPDX-License-Identifier: GPL-3.0-or-later
// The small textures that the points' program looks colours and states up in.

import * as three from "three";
import { classColour, numberColour, numberedColours, onScale, type Colour } from "./palettes";

function table(
  data: Uint8Array<ArrayBuffer>,
  width: number,
  height: number,
  format: three.PixelFormat,
  smooth = false,
): three.DataTexture {
  const texture = new three.DataTexture(data, width, height, format, three.UnsignedByteType);
  texture.magFilter = texture.minFilter = smooth ? three.LinearFilter : three.NearestFilter;
  texture.unpackAlignment = 1;
  texture.needsUpdate = true;
  return texture;
}

export function scaleTable(scale: readonly Colour[]): three.DataTexture {
  const data = new Uint8Array(256 * 4);
  for (let i = 0; i < 256; ++i) data.set([...onScale(scale, i / 255), 255], 4 * i);
  return table(data, 256, 1, three.RGBAFormat, true);
}

export function numberedTable(): three.DataTexture {
  const data = new Uint8Array(numberedColours * 4);
  for (let i = 0; i < numberedColours; ++i) data.set([...numberColour(i), 255], 4 * i);
  return table(data, numberedColours, 1, three.RGBAFormat);
}

/** Without alpha: a class that is hidden. */
export function classTable(hidden: ReadonlySet<number>): three.DataTexture {
  const data = new Uint8Array(256 * 4);
  for (let i = 0; i < 256; ++i) data.set([...classColour(i), hidden.has(i) ? 0 : 255], 4 * i);
  return table(data, 256, 1, three.RGBAFormat);
}

/** Not 0: a station that is hidden. */
export function stationTable(hidden: ReadonlySet<number>): three.DataTexture {
  const data = new Uint8Array(256 * 256);
  for (const number of hidden) if (number < data.length) data[number] = 255;
  return table(data, 256, 256, three.RedFormat);
}

const planesAcross = 1024;
/** Planes above this number are always drawn plainly; a table for all would be of gigabytes. */
const mostPlanes = planesAcross * 4096;

/** A byte a plane: bit 0 hidden, bit 1 chosen. */
export function planeTable(
  hidden: ReadonlySet<number>,
  chosen: ReadonlySet<number>,
): three.DataTexture {
  const numbers = [...hidden, ...chosen].filter((number) => number < mostPlanes);
  const rows =
    Math.floor(numbers.reduce((most, number) => Math.max(most, number), 0) / planesAcross) + 1;
  const data = new Uint8Array(planesAcross * rows);
  for (const number of numbers)
    data[number] = (hidden.has(number) ? 1 : 0) | (chosen.has(number) ? 2 : 0);
  const texture = table(data, planesAcross, rows, three.RedIntegerFormat);
  texture.internalFormat = "R8UI";
  return texture;
}
