// SPDX-License-Identifier: GPL-3.0-or-later
// The view: cloud, camera, renderer and what lies over them, put together.

import { ApiError, type Api } from "./api/client";
import type { PlaneInfo, ProjectInfo } from "./api/protocol";
import { Camera } from "./camera/camera_control";
import { KeyInput } from "./camera/key_input";
import { PointerInput } from "./camera/pointer_input";
import { pixelsPerMetre, project as projectPlace, rayThrough, type Size } from "./camera/pose";
import { valueOffsets } from "./cloud/point_record";
import { classColour, hex, numberColour } from "./draw/palettes";
import { drawnWidth } from "./draw/point_material";
import { Renderer } from "./draw/renderer";
import { DrawnCloud } from "./drawn_cloud";
import { FrameLoop } from "./frame_loop";
import { MarkLayer } from "./layers/mark_layer";
import { PlaneLayer } from "./layers/plane_layer";
import { SectionLayer } from "./layers/section_layer";
import { Frame } from "./math/frame";
import { corners } from "./math/box";
import type { Vector } from "./math/vector";
import { dotElement, labelElement, PlacedElements } from "./overlay/labels";
import { ReadOuts } from "./overlay/read_outs";
import { stationMarks } from "./overlay/station_marks";
import { pick } from "./picking/pick";
import { inCuts } from "./math/section";
import { planeUnder } from "./picking/plane_under";
import { isShown } from "./picking/shown";
import { createViewState, type ColourMode, type ViewState } from "./view_state";
import type { Figures, Marks, Picked, Tool, Viewer } from "./viewer_interface";

/** Milliseconds between choices of what to load while the camera moves. */
const choiceTime = 100;
/** The camera rests when it has not moved for so long. */
const restTime = 140;
/** Points that come are drawn together, in milliseconds. */
const arrivalTime = 80;
/** Of 255. */
const darkest = 24;
/** More pixels than this a pixel of the page are not seen. */
const mostDensity = 2;

export function openViewer(api: Api, project: ProjectInfo, host: HTMLElement): Viewer {
  return new ProjectViewer(api, project, host);
}

/** The colours that say most of what the project has. */
function firstColour({ varies }: ProjectInfo): ColourMode {
  return varies.colour ? "rgb" : varies.intensity ? "intensity" : "height";
}

class ProjectViewer implements Viewer {
  readonly state: ViewState;
  readonly frame: Frame;
  readonly canvas: HTMLCanvasElement;
  readonly overlay: HTMLElement;
  readonly camera: Camera;
  figures: Figures = { drawn: 0, held: 0, loading: 0, bytes: 0, frame: 0 };

  private readonly drawn: DrawnCloud;
  private readonly renderer: Renderer;
  private readonly loop: FrameLoop;
  private readonly keys: KeyInput;
  private readonly layers = {
    planes: new PlaneLayer(),
    section: new SectionLayer(),
    marks: new MarkLayer(),
  };
  private readonly placed: PlacedElements;
  private readonly readOuts: ReadOuts;
  private readonly listeners = {
    tool: new Set<() => void>(),
    figures: new Set<(figures: Figures) => void>(),
    trouble: new Set<(sentence: string) => void>(),
  };
  private planes: readonly PlaneInfo[] = [];
  private currentTool: Tool | null = null;
  private currentSize: Size = { width: 1, height: 1 };
  private lastMove = -Infinity;
  private lastChoice = -Infinity;
  private stale = true;
  private untouched = true;
  private arrival: number | undefined;
  private hovering: { x: number; y: number } | null = null;

  constructor(
    readonly api: Api,
    readonly project: ProjectInfo,
    host: HTMLElement,
  ) {
    this.canvas = host.querySelector("canvas")!;
    this.overlay = host.querySelector<HTMLElement>("#overlay")!;
    this.frame = new Frame(project.frame);
    this.state = createViewState({
      colour: firstColour(project),
      theme: matchMedia("(prefers-color-scheme: light)").matches ? "light" : "dark",
    });
    this.drawn = new DrawnCloud(api, project, this.state.get().budget, {
      changed: () => this.arrived(),
      failed: (error) => this.trouble(error),
      shown: () => new Promise((resolve) => this.loop.whenIdle(resolve)),
    });
    // Points are under way while the browser sets up the card, which can take longer than they do.
    void this.drawn.cloud.start();
    const { planes, section, marks } = this.layers;
    this.renderer = new Renderer(this.canvas, project, [planes, section, marks]);
    this.measure(host);
    this.camera = new Camera(corners(project.bounds), () => this.currentSize);
    this.placed = new PlacedElements(this.overlay);
    this.readOuts = new ReadOuts(this.overlay, () => this.camera.look("top"));
    this.loop = new FrameLoop({
      draw: (now) => this.draw(now),
      finished: () => this.finished(),
    });
    this.keys = new KeyInput(this.canvas, this.camera, () => this.loop.wake());
    this.listen(host);
    this.follow();
  }

  get size(): Size {
    return this.currentSize;
  }

  get tool(): Tool | null {
    return this.currentTool;
  }

  pick(x: number, y: number): Picked | null {
    const found = pick(this.drawn.strokes, {
      pose: this.camera.pose,
      size: this.currentSize,
      x,
      y,
      bytesPerRecord: this.project.record.bytes,
      offsets: valueOffsets(this.project.record),
      widthOf: (spacing, pixels) => drawnWidth(spacing * pixels, this.state.get().pointSize),
      isShown: (point) => isShown(point, this.state.get()),
    });
    if (!found) return null;
    const plane = this.drawn.hasPlanes ? found.plane : null;
    return { ...found, plane, world: this.frame.toWorld(found.position) };
  }

  project2d(place: Vector) {
    return projectPlace(this.camera.pose, this.currentSize, place);
  }

  setTool(tool: Tool | null): void {
    if (tool === this.currentTool) return;
    const before = this.currentTool;
    this.currentTool = tool;
    before?.end?.();
    this.canvas.classList.toggle("tool", tool !== null);
    for (const call of [...this.listeners.tool]) call();
  }

  setMarks(name: string, marks: Marks): void {
    this.layers.marks.set(name, marks);
    this.placed.set(`marks ${name}`, [
      ...(marks.dots ?? []).map(({ at, colour }) => ({ at, element: dotElement(colour) })),
      ...(marks.labels ?? []).map(({ at, text }) => ({ at, element: labelElement(text) })),
    ]);
    this.loop.wake();
  }

  setPlanes(planes: readonly PlaneInfo[], id: number | null): void {
    this.planes = planes;
    this.drawn.setPlanes(id);
    this.layers.planes.show(planes, this.state.get());
    this.stale = true;
    this.loop.wake();
  }

  planeColour = (number: number): string => hex(numberColour(number));
  stationColour = (number: number): string => hex(numberColour(number));
  classColour = (number: number): string => hex(classColour(number));

  planeAt(x: number, y: number): PlaneInfo | null {
    const { hiddenPlanes, section, slab } = this.state.get();
    const shown = this.planes.filter(({ number }) => !hiddenPlanes.has(number));
    const ray = rayThrough(this.camera.pose, this.currentSize, x, y);
    return planeUnder(shown, ray, (place) => inCuts(place, section, slab));
  }

  onToolChange(call: () => void): () => void {
    return subscribe(this.listeners.tool, call);
  }

  onFigures(call: (figures: Figures) => void): () => void {
    return subscribe(this.listeners.figures, call);
  }

  onTrouble(call: (sentence: string) => void): () => void {
    return subscribe(this.listeners.trouble, call);
  }

  async snapshot(times = 1): Promise<Blob> {
    await this.settled();
    const { density } = this.renderer;
    const most = this.renderer.webgl.capabilities.maxTextureSize;
    const larger = Math.min(times, most / Math.max(this.canvas.width, this.canvas.height));
    this.renderer.resize(this.currentSize, density * larger);
    this.paint(1);
    // The canvas is read before the browser shows it: it holds no picture after that.
    const blob = await new Promise<Blob | null>((resolve) => this.canvas.toBlob(resolve));
    this.renderer.resize(this.currentSize, density);
    this.paint(1);
    if (!blob) throw new Error("The picture is too large for this browser.");
    return blob;
  }

  async settled(): Promise<void> {
    for (;;) {
      await new Promise<void>((resolve) => setTimeout(resolve, 20));
      const moving = performance.now() - this.lastMove < restTime || this.camera.moving;
      const waiting = this.stale || this.arrival !== undefined || this.hovering !== null;
      if (!moving && !waiting && this.loop.idle && this.drawn.pending === 0) return;
    }
  }

  redraw(): void {
    this.stale = true;
    this.loop.wake();
  }

  /** A sentence about what failed, to whoever shows such. */
  private trouble(error: unknown): void {
    const sentence =
      error instanceof ApiError
        ? error.message
        : error instanceof Error
          ? error.message
          : `${error}`;
    for (const call of [...this.listeners.trouble]) call(sentence);
  }

  private listen(host: HTMLElement): void {
    new ResizeObserver(() => {
      this.measure(host);
      this.redraw();
    }).observe(host);
    this.camera.onChange(() => {
      this.lastMove = performance.now();
      this.loop.wake();
    });
    new PointerInput({
      canvas: this.canvas,
      camera: this.camera,
      size: () => this.currentSize,
      placeAt: (x, y) => this.pick(x, y)?.position ?? null,
      click: (x, y) => this.currentTool?.click?.(this.pick(x, y), x, y),
      hover: (x, y) => this.hover({ x, y }),
      leave: () => this.readOuts.setPlace(null),
    });
    for (const event of ["pointerdown", "wheel", "keydown"])
      this.canvas.addEventListener(event, () => (this.untouched = false), { passive: true });
    this.canvas.addEventListener("keydown", (event) => {
      if (event.key === "Escape") this.setTool(null);
    });
    this.canvas.addEventListener("webglcontextlost", (event) => event.preventDefault());
    this.canvas.addEventListener("webglcontextrestored", () => this.redraw());
  }

  private follow(): void {
    const { state } = this;
    const apply = () => {
      const values = state.get();
      this.renderer.setValues(values);
      this.drawn.pace.setMost(values.budget, values.adaptive);
      this.camera.setOrthographic(values.projection === "orthographic");
      this.redraw();
    };
    state.watch(Object.keys(state.get()) as (keyof ReturnType<ViewState["get"]>)[], apply);
    const stations = () => {
      const { showStations, hiddenStations } = state.get();
      const marks = showStations
        ? stationMarks(this.project.stations, hiddenStations, (at) => this.camera.standAt(at))
        : [];
      this.placed.set("stations", marks);
    };
    state.watch(["showStations", "hiddenStations"], stations);
    state.watch(["hiddenPlanes", "chosenPlanes", "showOutlines"], (values) =>
      this.layers.planes.show(this.planes, values),
    );
    state.watch(["section", "slab"], (values) => this.layers.planes.cut(values));
    state.watch(["section", "theme"], (values) => this.layers.section.show(values));
    stations();
    apply();
  }

  private measure(host: HTMLElement): void {
    const { clientWidth, clientHeight } = host;
    this.currentSize = { width: Math.max(clientWidth, 1), height: Math.max(clientHeight, 1) };
    this.renderer.resize(this.currentSize, Math.min(devicePixelRatio, mostDensity));
  }

  /** Points have come or gone; what comes within a moment is drawn in one frame. */
  private arrived(): void {
    // The first points of all are drawn in the next frame.
    if (this.drawn.strokes.length === 0) this.firstSight();
    this.arrival ??= window.setTimeout(
      () => {
        this.arrival = undefined;
        this.redraw();
      },
      this.drawn.strokes.length === 0 ? 0 : Math.max(arrivalTime, this.figures.frame * 2),
    );
  }

  /** The first points are there: what to look at, and in which colours. */
  private firstSight(): void {
    this.camera.setContent(this.drawn.cloud.typicalPlaces);
    if (this.untouched) this.camera.setHome();
    const { intensity } = this.project.varies;
    // Colours that are all but black show nothing, whatever they mean.
    if (this.state.get().colour === "rgb" && this.drawn.cloud.brightness < darkest)
      this.state.set({ colour: intensity ? "intensity" : "height" });
  }

  private choose(now: number): void {
    this.lastChoice = now;
    this.stale = false;
    const values = this.state.get();
    this.drawn.choose(this.camera.pose, this.currentSize, this.renderer.density, values);
  }

  private draw(now: number): boolean {
    this.keys.step(now);
    this.camera.step(now);
    const moving = performance.now() - this.lastMove < restTime;
    if (this.stale || (moving && now - this.lastChoice > choiceTime)) this.choose(now);
    const { pace, points } = this.drawn;
    this.paint(moving ? pace.shareOf(points) : 1);
    if (!moving) {
      this.renderer.objects.free(this.drawn.cloud.sources());
    } else if (!this.camera.moving && !this.keys.active) {
      // One more frame when the camera rests, with all points.
      window.setTimeout(() => this.redraw(), restTime + 10);
    }
    this.answerHover();
    return this.camera.moving || this.keys.active;
  }

  private paint(share: number): void {
    const { pose } = this.camera;
    const drawn = this.renderer.draw({
      pose,
      strokes: this.drawn.strokes,
      share,
      content: this.project.bounds,
    });
    this.figures = { ...this.figures, drawn };
    this.placed.move((place) => this.project2d(place), pose.orthographic);
    this.readOuts.setScale(
      pixelsPerMetre(pose, this.currentSize, pose.distance),
      pose.orthographic,
    );
    this.readOuts.setNorth(-pose.yaw + this.frame.heading);
  }

  private async finished(): Promise<void> {
    const moving = performance.now() - this.lastMove < restTime;
    const { drawn } = this.figures;
    // Without points there is nothing to measure, and the card may still be compiling.
    const frame = drawn === 0 ? 0 : await this.renderer.finished();
    const { adaptive } = this.state.get();
    if (this.drawn.pace.tell(frame, drawn, moving, adaptive)) this.stale = true;
    this.figures = {
      drawn,
      frame,
      held: this.drawn.cloud.loader.points,
      loading: this.drawn.pending,
      bytes: this.drawn.cloud.loader.bytes,
    };
    for (const call of [...this.listeners.figures]) call(this.figures);
    if (this.stale) this.loop.wake();
  }

  /** Picks once a frame at most: what is under the cursor is said when the frame has been drawn. */
  private hover(at: { x: number; y: number }): void {
    const first = this.hovering === null;
    this.hovering = at;
    if (first) requestAnimationFrame(() => this.answerHover());
  }

  private answerHover(): void {
    if (!this.hovering) return;
    const { x, y } = this.hovering;
    this.hovering = null;
    const picked = this.pick(x, y);
    this.readOuts.setPlace(picked?.world ?? null);
    this.currentTool?.hover?.(picked, x, y);
  }
}

function subscribe<Call>(calls: Set<Call>, call: Call): () => void {
  calls.add(call);
  return () => calls.delete(call);
}
