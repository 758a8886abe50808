// SPDX-License-Identifier: GPL-3.0-or-later
// Icons as strokes on a field of 24 x 24, in the colour of the text beside them.

import { svg } from "./dom";

const strokes = {
  look: "M5 3l6 16 2.5-6.5L20 10z",
  point: "M12 2v6M12 16v6M2 12h6M16 12h6 M12 11a1 1 0 1 0 0 2 1 1 0 0 0 0-2",
  distance: "M4 20L20 4M4 20v-4M4 20h4M20 4v4M20 4h-4",
  height: "M12 3v18M8 7l4-4 4 4M8 17l4 4 4-4M3 3h5M3 21h5",
  area: "M4 17L8 5l11 3 1 9-9 3z",
  angle: "M4 20L18 6M4 20h17M12 12a8 8 0 0 1 3.5 8",
  plane: "M3 16l6-9h12l-6 9zM12 17v4M9.5 19L12 21.5 14.5 19",
  section: "M4 8l8-4 8 4v8l-8 4-8-4zM4 8l8 4 8-4M12 12v8",
  plan: "M4 4h16v16H4zM4 11h7M11 4v9M15 20v-6h5",
  whole: "M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5",
  picture: "M4 6h4l1.5-2h5L16 6h4v13H4zM12 9a3.5 3.5 0 1 0 0 7 3.5 3.5 0 0 0 0-7",
  theme: "M12 4a8 8 0 1 0 0 16zM12 4a8 8 0 0 1 0 16",
  help: "M9 9a3 3 0 1 1 4 2.8c-.7.4-1 .9-1 2.2M12 17.5v.5",
  panel: "M4 5h16v14H4zM14 5v14",
  close: "M6 6l12 12M18 6L6 18",
  eye: "M2.5 12S6 6 12 6s9.5 6 9.5 6-3.5 6-9.5 6-9.5-6-9.5-6zM12 9.5a2.5 2.5 0 1 0 0 5 2.5 2.5 0 0 0 0-5",
  hidden:
    "M3 4l18 17M6 8c-2.3 1.7-3.5 4-3.5 4S6 18 12 18c1.5 0 2.8-.4 4-.9M10 6.2c4.5-.9 9.5 2.8 11.5 5.8-.6.9-1.4 1.9-2.5 2.9",
  copy: "M8 8h11v12H8zM8 16H5V4h11v4",
  remove: "M5 7h14M10 4h4M7 7l1 13h8l1-13",
  station: "M12 4a3 3 0 1 0 0 6 3 3 0 0 0 0-6M12 10v4M12 14l-5 7M12 14l5 7M12 14v7",
  perspective: "M3 19L9 7h6l6 12zM6 13h12M12 7v12",
  orthographic: "M4 5h16v14H4zM4 12h16M12 5v14",
  layers: "M12 4l9 5-9 5-9-5zM3 13.5l9 5 9-5",
} as const;

export type IconName = keyof typeof strokes;

export const icon = (name: IconName): SVGSVGElement =>
  svg(
    "svg",
    { class: "icon", viewBox: "0 0 24 24", "aria-hidden": "true", focusable: "false" },
    svg("path", { d: strokes[name] }),
  );
