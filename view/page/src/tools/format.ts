// SPDX-License-Identifier: GPL-3.0-or-later
// How measures are written, everywhere the same.

import { formatMetres } from "../math/frame";

export const metres = (value: number): string => `${formatMetres(value)}\u00A0m`;
export const millimetres = (value: number): string => `${formatMetres(value * 1000, 1)}\u00A0mm`;
export const squareMetres = (value: number): string =>
  `${formatMetres(value, value < 100 ? 2 : 1)}\u00A0m²`;
export const degrees = (value: number): string => `${value.toFixed(2)}°`;
export const percent = (share: number): string => `${Math.round(100 * share)}\u00A0%`;

/** 2 533 121 */
export const whole = (value: number): string => formatMetres(value, 0);

/** 2.53 M: at a glance. */
export function short(value: number): string {
  for (const [size, letter] of [
    [1e9, "G"],
    [1e6, "M"],
    [1e3, "k"],
  ] as const)
    if (value >= size) return `${(value / size).toPrecision(3)}\u00A0${letter}`;
  return String(value);
}

export const seconds = (value: number): string =>
  value < 1 ? `${Math.round(1000 * value)}\u00A0ms` : `${value.toFixed(1)}\u00A0s`;
