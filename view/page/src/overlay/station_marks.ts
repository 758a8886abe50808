// SPDX-License-Identifier: GPL-3.0-or-later
// Rings where the scanner stood. A click stands there.

import type { StationInfo } from "../api/protocol";
import type { Vector } from "../math/vector";
import type { PlacedElement } from "./labels";

/** More would hide the cloud; the panel's list has them all. */
const most = 300;
/** So few that their names stand beside them all the time. */
const named = 12;

export const stationName = ({ number, name }: StationInfo): string => name ?? `Station ${number}`;

export function stationMarks(
  stations: readonly StationInfo[],
  hidden: ReadonlySet<number>,
  stand: (place: Vector) => void,
): PlacedElement[] {
  const placed = stations.filter(
    (station) => station.position !== null && !hidden.has(station.number),
  );
  const step = Math.max(Math.ceil(placed.length / most), 1);
  return placed
    .filter((_, i) => i % step === 0)
    .map((station) => {
      const at = station.position!;
      const element = document.createElement("button");
      element.type = "button";
      element.className = placed.length <= named ? "station-mark named" : "station-mark";
      element.title = `Stand at ${stationName(station)}`;
      element.dataset["name"] = stationName(station);
      element.addEventListener("click", () => stand(at));
      return { at, element };
    });
}
