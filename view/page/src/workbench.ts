// SPDX-License-Identifier: GPL-3.0-or-later
// The page around the view: bar, rail of tools, panel, notices, keys.

import { commandsOf, listenToKeys, savePicture, sides, type Command, type Desk } from "./commands";
import { colourChoice } from "./panels/colour_choice";
import { cutPanel } from "./panels/cut_panel";
import { HelpSheet } from "./panels/help_sheet";
import { lookPanel } from "./panels/look_panel";
import { planesPanel } from "./panels/planes_panel";
import { SidePanel } from "./panels/side_panel";
import { stationsPanel } from "./panels/stations_panel";
import { PlaneWork } from "./planes/plane_work";
import "./styles/panels.css";
import { whole } from "./tools/format";
import { Toolbox, toolNames } from "./tools/toolbox";
import { iconButton, returnTo } from "./ui/controls";
import { element } from "./ui/dom";
import type { IconName } from "./ui/icons";
import { Notices } from "./ui/notices";
import type { Viewer } from "./viewer_interface";

/** Where there is less room than this, the panel begins put away. */
const roomForPanel = 900;

/** Puts the page around the view together; `trouble` shows a sentence until it is closed. */
export function openWorkbench(
  viewer: Viewer,
  root: HTMLElement,
): { trouble(sentence: string): void } {
  const notices = new Notices();
  const trouble = (sentence: string) => notices.say(sentence, "trouble");
  const planes = new PlaneWork(viewer, trouble);
  const toolbox = new Toolbox(viewer, planes);
  const side = new SidePanel([
    { name: "View", content: lookPanel(viewer, planes, trouble) },
    { name: "Planes", content: planesPanel(viewer, planes, notices) },
    { name: "Cut", content: cutPanel(viewer) },
    { name: "Stations", content: stationsPanel(viewer) },
  ]);
  let help: HelpSheet | null = null;
  const desk: Desk = {
    viewer,
    planes,
    toolbox,
    notices,
    togglePanel: () => document.body.classList.toggle("wide"),
    toggleHelp: () => help?.toggle(),
  };
  const commands = commandsOf(desk);
  help = new HelpSheet(commands);
  document.body.classList.toggle("wide", window.innerWidth < roomForPanel);
  root.append(bar(desk, commands), rail(desk, commands), side.root, help.root);
  viewer.overlay.append(notices.root);
  listenToKeys(commands);
  viewer.onTrouble(trouble);
  for (const warning of viewer.project.warnings) trouble(warning);
  // What is chosen in the view is looked for in the list.
  viewer.state.watch(["chosenPlanes"], ({ chosenPlanes }) => {
    if (chosenPlanes.size > 0) side.open("Planes");
  });
  followTheme(viewer);
  // For who works in the browser's console; the page's tests do.
  Object.assign(window, { orvix: { viewer, planes, toolbox } });
  return { trouble };
}

function followTheme({ state }: Viewer): void {
  const follow = () => (document.documentElement.dataset["theme"] = state.get().theme);
  state.watch(["theme"], follow);
  follow();
}

const commandNamed = (commands: readonly Command[], name: string): Command =>
  commands.find((each) => each.name === name)!;

const titled = ({ caption, key }: Command): string => `${caption} (${key.toUpperCase()})`;

function bar(desk: Desk, commands: readonly Command[]): HTMLElement {
  const { viewer, planes } = desk;
  const { project } = viewer;
  const button = (name: string, icon: IconName) => {
    const command = commandNamed(commands, name);
    return iconButton(icon, titled(command), () => command.run());
  };
  const view = element("select", {
    class: "views",
    "aria-label": "Look from",
    title: "Look from a side",
    change: () => {
      const chosen = sides[view.selectedIndex - 1];
      if (chosen) viewer.camera.look(chosen.side);
      // The list is a menu: it keeps no choice, since the camera moves on.
      view.selectedIndex = 0;
    },
  });
  returnTo(viewer.canvas, view);
  view.append(element("option", {}, "Look from"));
  for (const { caption } of sides) view.append(element("option", {}, caption));
  return element(
    "header",
    { class: "bar" },
    element("h1", { title: project.file }, project.name),
    element("span", { class: "quiet" }, `${whole(project.points)} points`),
    element("span", { class: "gap" }),
    colourChoice(viewer, planes),
    view,
    iconButton("whole", "Whole cloud", () => viewer.camera.look("home")),
    button("projection", "perspective"),
    iconButton("picture", titled(commandNamed(commands, "picture")), () => void savePicture(desk)),
    button("theme", "theme"),
    button("help", "help"),
    button("panel", "panel"),
  );
}

function rail(desk: Desk, commands: readonly Command[]): HTMLElement {
  const { viewer, toolbox } = desk;
  const tools = toolNames.map(({ name }) => {
    const command = commandNamed(commands, name);
    return { name, button: iconButton(name, titled(command), () => command.run()) };
  });
  const section = commandNamed(commands, "section");
  const plan = commandNamed(commands, "plan");
  const sectionButton = iconButton("section", titled(section), () => section.run());
  const planButton = iconButton("plan", titled(plan), () => plan.run());
  const follow = () => {
    for (const { name, button } of tools)
      button.setAttribute("aria-pressed", String(toolbox.name === name));
    const { section: box, slab } = viewer.state.get();
    sectionButton.setAttribute("aria-pressed", String(box !== null));
    planButton.setAttribute("aria-pressed", String(slab !== null));
  };
  viewer.onToolChange(follow);
  viewer.state.watch(["section", "slab"], follow);
  follow();
  return element(
    "nav",
    { class: "rail", "aria-label": "Tools" },
    ...tools.map((each) => each.button),
    element("hr"),
    sectionButton,
    planButton,
  );
}
