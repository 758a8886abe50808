// SPDX-License-Identifier: GPL-3.0-or-later
// Colours of scales and of numbered things. What the shader draws is looked up in the same tables that
// panels take their legends from, so that both always agree.

export type Colour = readonly [red: number, green: number, blue: number];

export const hex = ([red, green, blue]: Colour): string =>
  "#" + [red, green, blue].map((value) => value.toString(16).padStart(2, "0")).join("");

const parse = (text: string): Colour => [
  parseInt(text.slice(1, 3), 16),
  parseInt(text.slice(3, 5), 16),
  parseInt(text.slice(5, 7), 16),
];

/** Low to high: cold to warm, each step about as much lighter or darker as the last. */
export const heightScale: readonly Colour[] = [
  "#3f5ba9",
  "#3d8bbd",
  "#4fb5a0",
  "#9dcc70",
  "#efd565",
  "#f0a04e",
  "#d65a4c",
].map(parse);

/** Not from black to white: the ends stay in sight on the ground of the theme. */
export const intensityScales: Readonly<Record<"dark" | "light", readonly Colour[]>> = {
  dark: ["#2e3136", "#f7f7f5"].map(parse),
  light: ["#22252a", "#cdcecb"].map(parse),
};

/** The scale at `share` of its length, 0 to 1. */
export function onScale(scale: readonly Colour[], share: number): Colour {
  const at = Math.min(Math.max(share, 0), 1) * (scale.length - 1);
  const low = scale[Math.floor(at)]!;
  const high = scale[Math.min(Math.floor(at) + 1, scale.length - 1)]!;
  const part = at - Math.floor(at);
  const mix = (channel: 0 | 1 | 2) =>
    Math.round(low[channel] + (high[channel] - low[channel]) * part);
  return [mix(0), mix(1), mix(2)];
}

function fromHue(hue: number, saturation: number, lightness: number): Colour {
  const reach = saturation * Math.min(lightness, 1 - lightness);
  const channel = (shift: number): number => {
    const k = (shift + hue * 12) % 12;
    return Math.round(255 * (lightness - reach * Math.max(-1, Math.min(k - 3, 9 - k, 1))));
  };
  return [channel(0), channel(8), channel(4)];
}

/** Neighbours in number lie far apart in hue: steps of the golden section never come together. */
const numbered: readonly Colour[] = Array.from({ length: 64 }, (_, i) =>
  fromHue((0.57 + i * 0.618034) % 1, 0.42 + 0.1 * (i % 2), 0.52 + 0.06 * (i % 3)),
);

export const numberColour = (number: number): Colour => numbered[number % numbered.length]!;
export const numberedColours = numbered.length;

/** What is on no plane, or has no class of its own. */
export const noneColour: Colour = [128, 132, 138];

/** The classes of the LAS format; others are coloured by number. */
const classColours = new Map<number, Colour>(
  Object.entries({
    0: "#8a8f96",
    1: "#a6abb2",
    2: "#b08d5b",
    3: "#8fbf6a",
    4: "#5fa552",
    5: "#3c8a44",
    6: "#d9775c",
    7: "#e05ad0",
    8: "#d9d36a",
    9: "#4f93d9",
    10: "#8c7bd1",
    11: "#7d8187",
    12: "#c9ccd1",
    13: "#e5c04e",
    14: "#e8e05e",
    15: "#c26bd0",
    16: "#d05a8a",
    17: "#b9a08a",
    18: "#f05050",
  }).map(([number, text]) => [Number(number), parse(text)]),
);

export const classColour = (number: number): Colour =>
  classColours.get(number) ?? numberColour(number);
