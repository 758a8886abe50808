// SPDX-License-Identifier: GPL-3.0-or-later
// What can be done by a key or a button, in one table: the keyboard, the bar and the help sheet read it.

import { extentOf, widened } from "./planes/plane_extent";
import { usefulColours } from "./panels/colour_choice";
import { togglePlan, toggleSection } from "./panels/cut_panel";
import type { PlaneWork } from "./planes/plane_work";
import { toolNames, type Toolbox } from "./tools/toolbox";
import { save } from "./ui/dom";
import type { Notices } from "./ui/notices";
import type { Side, Viewer } from "./viewer_interface";

export interface Command {
  readonly name: string;
  /** As `KeyboardEvent.key` gives it, small letters. */
  readonly key: string;
  readonly caption: string;
  readonly group: "Tools" | "View" | "Planes" | "Page";
  run(): void;
}

export interface Desk {
  readonly viewer: Viewer;
  readonly planes: PlaneWork;
  readonly toolbox: Toolbox;
  readonly notices: Notices;
  togglePanel(): void;
  toggleHelp(): void;
}

export const sides: readonly { readonly side: Side; readonly caption: string }[] = [
  { side: "home", caption: "Whole cloud" },
  { side: "top", caption: "From above" },
  { side: "south", caption: "From the south" },
  { side: "north", caption: "From the north" },
  { side: "east", caption: "From the east" },
  { side: "west", caption: "From the west" },
  { side: "bottom", caption: "From below" },
];

/** The view as a picture, saved under the project's name. */
export async function savePicture({ viewer, notices }: Desk): Promise<void> {
  try {
    save(await viewer.snapshot(), `${viewer.project.name}.png`);
  } catch (error) {
    notices.say(error instanceof Error ? error.message : String(error), "trouble");
  }
}

function viewCommands(desk: Desk): Command[] {
  const { viewer, planes } = desk;
  const { state } = viewer;
  const make = (name: string, key: string, caption: string, run: () => void): Command => ({
    name,
    key,
    caption,
    group: "View",
    run,
  });
  const size = (factor: number) =>
    state.set({ pointSize: Math.min(Math.max(state.get().pointSize * factor, 0.25), 4) });
  return [
    make("colour", "c", "Next colouring", () => {
      const useful = usefulColours(viewer, planes);
      const now = useful.indexOf(state.get().colour);
      state.set({ colour: useful[(now + 1) % useful.length]! });
    }),
    make("section", "b", "Cut a box", () => toggleSection(viewer)),
    make("plan", "l", "Cut a plan", () => togglePlan(viewer)),
    make("projection", "o", "Perspective or parallel", () =>
      state.set({
        projection: state.get().projection === "perspective" ? "orthographic" : "perspective",
      }),
    ),
    make("fly", "f", "Fly, or turn about the cloud", () =>
      viewer.camera.setMode(viewer.camera.mode === "fly" ? "orbit" : "fly"),
    ),
    make("larger", "]", "Larger points", () => size(1.1)),
    make("smaller", "[", "Smaller points", () => size(1 / 1.1)),
    make("picture", "i", "Save a picture", () => void savePicture(desk)),
  ];
}

function planeCommands({ viewer, planes }: Desk): Command[] {
  const make = (name: string, key: string, caption: string, run: () => void): Command => ({
    name,
    key,
    caption,
    group: "Planes",
    run,
  });
  const { state } = viewer;
  return [
    make("zoom", "z", "Zoom to the chosen planes", () => {
      const box = extentOf(planes.chosen);
      if (box) viewer.camera.show(widened(box, 0.5));
    }),
    make("hide", "x", "Hide the chosen planes", () =>
      state.set({
        hiddenPlanes: new Set([...state.get().hiddenPlanes, ...state.get().chosenPlanes]),
        chosenPlanes: new Set(),
      }),
    ),
    make("unhide", "u", "Show all planes", () => state.set({ hiddenPlanes: new Set() })),
    make("forget", "delete", "Remove the chosen grown planes", () => {
      for (const plane of planes.chosen) if (plane.grown) planes.forget(plane.number);
    }),
  ];
}

export function commandsOf(desk: Desk): Command[] {
  const { viewer, toolbox } = desk;
  const tools = toolNames.map(({ name, caption, key }): Command => ({
    name,
    key,
    caption,
    group: "Tools",
    run: () => toolbox.take(name),
  }));
  const page = (name: string, key: string, caption: string, run: () => void): Command => ({
    name,
    key,
    caption,
    group: "Page",
    run,
  });
  return [
    ...tools,
    ...viewCommands(desk),
    ...planeCommands(desk),
    page("panel", "m", "Panel beside the view", () => desk.togglePanel()),
    page("theme", "t", "Dark or light", () =>
      viewer.state.set({ theme: viewer.state.get().theme === "dark" ? "light" : "dark" }),
    ),
    page("help", "?", "These keys", () => desk.toggleHelp()),
  ];
}

/** Whether keys belong to the element, because one types or chooses there. */
function takesKeys(target: EventTarget | null): boolean {
  if (target instanceof HTMLInputElement) return !["range", "checkbox"].includes(target.type);
  return target instanceof HTMLSelectElement || target instanceof HTMLTextAreaElement;
}

/** Keys at work, until the returned function is called. */
export function listenToKeys(commands: readonly Command[]): () => void {
  const byKey = new Map(commands.map((each) => [each.key, each]));
  const press = (event: KeyboardEvent) => {
    if (event.ctrlKey || event.metaKey || event.altKey || takesKeys(event.target)) return;
    const command = byKey.get(event.key.toLowerCase());
    if (!command) return;
    event.preventDefault();
    command.run();
  };
  window.addEventListener("keydown", press);
  return () => window.removeEventListener("keydown", press);
}
