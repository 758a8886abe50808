// SPDX-License-Identifier: GPL-3.0-or-later
// Where the scanner stood: a click stands there too.

import type { StationInfo } from "../api/protocol";
import { formatPlace } from "../math/frame";
import { whole } from "../tools/format";
import { button, section } from "../ui/controls";
import { element } from "../ui/dom";
import type { Viewer } from "../viewer_interface";

// A project may have 65,536; names narrow them.
const mostRows = 300;

export function stationsPanel(viewer: Viewer): HTMLElement {
  const { stations } = viewer.project;
  const list = element("ul", { class: "stations" });
  const foot = element("p", { class: "hint" });
  const search = element("input", {
    type: "search",
    placeholder: "Name or number",
    "aria-label": "Name or number of a station",
    input: () => fill(),
  });
  const fill = () => {
    const wanted = search.value.trim().toLowerCase();
    const found = stations.filter(
      ({ name, number }) =>
        wanted === "" || String(number) === wanted || (name ?? "").toLowerCase().includes(wanted),
    );
    list.replaceChildren(...found.slice(0, mostRows).map((each) => rowOf(viewer, each)));
    foot.textContent =
      found.length > mostRows ? `The first ${whole(mostRows)} of ${whole(found.length)}.` : "";
  };
  fill();
  search.hidden = stations.length <= 10;
  const hint = stations.some((each) => each.position)
    ? "Choose one to stand there and look around."
    : stations.length > 0
      ? "The project does not know where its stations stood."
      : "The project has no stations.";
  const leave = button("Back to the whole cloud", () => viewer.camera.look("home"));
  const follow = () => (leave.hidden = viewer.camera.mode !== "stand");
  viewer.camera.onChange(follow);
  follow();
  return element(
    "div",
    {},
    section("Stations", element("p", { class: "hint" }, hint), leave, search, list, foot),
  );
}

function rowOf(viewer: Viewer, { number, name, position }: StationInfo): HTMLElement {
  const swatch = element("span", { class: "swatch" });
  swatch.style.background = viewer.stationColour(number);
  const go = element(
    "button",
    {
      type: "button",
      class: "list-row",
      disabled: position === null,
      click: () => position && viewer.camera.standAt(position),
    },
    swatch,
    element("span", {}, name ?? `Station ${number}`),
    element("small", {}, position ? formatPlace(viewer.frame.toWorld(position)) : "place unknown"),
  );
  return element("li", {}, go);
}
