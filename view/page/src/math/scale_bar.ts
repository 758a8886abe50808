// SPDX-License-Identifier: GPL-3.0-or-later
// A length of 1, 2 or 5 times a power of ten that fits into some pixels, and how it is written.

export interface ScaleBar {
  readonly metres: number;
  readonly pixels: number;
  readonly text: string;
}

export function scaleBar(pixelsPerMetre: number, mostPixels: number): ScaleBar {
  const most = mostPixels / pixelsPerMetre;
  const power = 10 ** Math.floor(Math.log10(most));
  const metres = (most >= 5 * power ? 5 : most >= 2 * power ? 2 : 1) * power;
  return { metres, pixels: metres * pixelsPerMetre, text: lengthText(metres) };
}

function lengthText(metres: number): string {
  const plain = (value: number) => String(Number(value.toPrecision(3)));
  if (metres >= 1000) return `${plain(metres / 1000)} km`;
  if (metres >= 1) return `${plain(metres)} m`;
  if (metres >= 0.01) return `${plain(metres * 100)} cm`;
  return `${plain(metres * 1000)} mm`;
}
