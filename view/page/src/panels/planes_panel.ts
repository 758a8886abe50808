// SPDX-License-Identifier: GPL-3.0-or-later
// All planes: the search and its settings, the list, and what can be done with the chosen ones.

import type { PlaneInfo } from "../api/protocol";
import { extentOf, widened } from "../planes/plane_extent";
import type { PlaneWork } from "../planes/plane_work";
import { percent, seconds, squareMetres, whole } from "../tools/format";
import { button, section } from "../ui/controls";
import { element, save, show } from "../ui/dom";
import type { Notices } from "../ui/notices";
import type { Viewer } from "../viewer_interface";
import { PlaneTable } from "./plane_table";
import { settingFields } from "./setting_fields";

/** Formats as people know them. */
const formatNames: Readonly<Record<string, string>> = {
  dxf: "DXF, outlines",
  ifc: "IFC, building parts",
  geojson: "GeoJSON, outlines",
  ply: "PLY, triangles",
  obj: "OBJ, triangles",
};

export function planesPanel(viewer: Viewer, planes: PlaneWork, notices: Notices): HTMLElement {
  const zoomTo = (which: readonly PlaneInfo[]) => {
    const box = extentOf(which);
    if (box) viewer.camera.show(widened(box, 0.5));
  };
  const table = new PlaneTable(viewer, planes, zoomTo);
  return element(
    "div",
    {},
    section("All planes", searchRows(viewer, planes)),
    section("List", table.root, emptyHint(planes)),
    chosenRows(viewer, planes, notices, zoomTo),
    settingsOf(viewer, planes),
  );
}

function emptyHint(planes: PlaneWork): HTMLElement {
  const hint = element(
    "p",
    { class: "hint" },
    "No planes yet. Find all of them, or grow one: take the tool Plane and click a wall.",
  );
  const follow = () => show(planes.all.length === 0, hint);
  planes.store.watch(["found", "grown"], follow);
  follow();
  return hint;
}

function searchRows(viewer: Viewer, planes: PlaneWork): HTMLElement {
  const showNumbers = async (saved: boolean) => {
    // Colours by plane are what a search is looked at with.
    if (await planes.find(saved)) viewer.state.set({ colour: "plane" });
  };
  const find = button("Find all planes", () => void showNumbers(false), "primary");
  const read = button("Read saved planes", () => void showNumbers(true));
  show(viewer.project.saved_planes, read);
  const cancel = button("Cancel", () => planes.cancel());
  const bar = element("progress", { max: 1 });
  const text = element("p", { class: "hint", "aria-live": "polite" });
  let ticks: ReturnType<typeof setInterval> | undefined;
  const follow = () => {
    clearInterval(ticks);
    const { work, end } = planes.store.get();
    show(work !== null, cancel, bar);
    find.disabled = read.disabled = work !== null;
    if (!work) {
      text.textContent = end
        ? `${whole(end.planes ?? 0)} planes in ${seconds(end.seconds)}; ` +
          `${percent((end.assigned_points ?? 0) / Math.max(end.points ?? 0, 1))} of all points are on one.`
        : "";
      return;
    }
    if (work.progress === null) bar.removeAttribute("value");
    else bar.value = work.progress;
    const tell = () => {
      const spent = seconds((performance.now() - work.began) / 1000);
      text.textContent = work.waiting
        ? "Another search is at work; this one waits."
        : `${work.what}: ${spent}`;
    };
    tell();
    ticks = setInterval(tell, 500);
  };
  planes.store.watch(["work", "end"], follow);
  follow();
  return element("div", {}, element("div", { class: "actions" }, find, read, cancel), bar, text);
}

function chosenRows(
  viewer: Viewer,
  planes: PlaneWork,
  notices: Notices,
  zoomTo: (planes: readonly PlaneInfo[]) => void,
): HTMLElement {
  const summary = element("p", { class: "hint" });
  const format = element("select", { "aria-label": "Format" });
  for (const each of viewer.project.formats)
    format.append(element("option", { value: each }, formatNames[each] ?? each));
  const write = button("Export", async () => {
    write.disabled = true;
    try {
      const numbers = planes.chosen.map((plane) => plane.number);
      const { name, file } = await viewer.api.exportPlanes(format.value, numbers);
      save(file, name);
    } catch (error) {
      notices.say(error instanceof Error ? error.message : String(error), "trouble");
    } finally {
      write.disabled = false;
    }
  });
  const others = button("Hide others", () => {
    const { chosenPlanes } = viewer.state.get();
    const rest = planes.all.map((plane) => plane.number).filter((each) => !chosenPlanes.has(each));
    viewer.state.set({ hiddenPlanes: new Set(rest) });
  });
  const all = button("Show all", () => viewer.state.set({ hiddenPlanes: new Set() }));
  const box = button("Cut around", () => {
    const extent = extentOf(planes.chosen);
    if (!extent) return;
    const { min, max } = widened(extent, 0.3);
    viewer.state.set({
      section: {
        centre: [(min[0] + max[0]) / 2, (min[1] + max[1]) / 2, (min[2] + max[2]) / 2],
        half: [(max[0] - min[0]) / 2, (max[1] - min[1]) / 2, (max[2] - min[2]) / 2],
        turn: 0,
      },
    });
  });
  const rows = section(
    "Chosen",
    summary,
    element(
      "div",
      { class: "actions" },
      button("Zoom", () => zoomTo(planes.chosen)),
      others,
      all,
      box,
    ),
    element("div", { class: "actions" }, format, write),
  );
  const follow = () => {
    const chosen = planes.chosen;
    show(planes.all.length > 0, rows);
    const area = chosen.reduce((sum, plane) => sum + plane.area, 0);
    summary.textContent =
      chosen.length === 0
        ? "None. Choose planes in the list or in the view; Ctrl adds one, Shift a stretch."
        : `${whole(chosen.length)} of ${whole(planes.all.length)}; ${squareMetres(area)}`;
    write.disabled = others.disabled = box.disabled = chosen.length === 0;
  };
  viewer.state.watch(["chosenPlanes"], follow);
  planes.store.watch(["found", "grown"], follow);
  follow();
  return rows;
}

function settingsOf(viewer: Viewer, planes: PlaneWork): HTMLElement {
  const { settings } = viewer.project;
  const values = planes.store.get();
  const fold = (title: string, content: HTMLElement) =>
    element("details", {}, element("summary", {}, title), content);
  return section(
    "Settings",
    fold(
      "Growing from a click",
      settingFields(settings.plane, values.growth, (growth) => planes.store.set({ growth })),
    ),
    fold(
      "All planes",
      settingFields(settings.planes, values.options, (options) => planes.store.set({ options })),
    ),
  );
}
