// SPDX-License-Identifier: GPL-3.0-or-later
// Where planes lie: the box around their outlines.

import type { PlaneInfo } from "../api/protocol";
import { union, type Box } from "../math/box";

/** The box around all corners of the planes' outlines; null where there are none. */
export function extentOf(planes: readonly PlaneInfo[]): Box | null {
  let box: Box | null = null;
  for (const plane of planes)
    for (const region of plane.regions)
      for (const corner of region.outer) {
        const own = { min: corner, max: corner };
        box = box ? union(box, own) : own;
      }
  return box;
}

/** The box with room on all sides. */
export const widened = ({ min, max }: Box, by: number): Box => ({
  min: [min[0] - by, min[1] - by, min[2] - by],
  max: [max[0] + by, max[1] + by, max[2] + by],
});
