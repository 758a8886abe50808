// SPDX-License-Identifier: GPL-3.0-or-later
// Planes by a click: the plane of a wall grows; two of them give their angle.

import type { PlaneInfo, SearchEnd } from "../api/protocol";
import type { PlaneWork } from "../planes/plane_work";
import type { Picked, Tool, Viewer } from "../viewer_interface";
import { degrees, metres, millimetres, percent, seconds, squareMetres, whole } from "./format";
import { planePair, slopeOf } from "./measure";
import type { CardContent, ToolCard } from "./tool_card";

export const planeRows = (plane: PlaneInfo): (readonly [string, string])[] => [
  ["Kind", plane.class],
  ["Area", squareMetres(plane.area)],
  ["rms", millimetres(plane.rms)],
  ["Points", whole(plane.points)],
  ["Slope", degrees(slopeOf(plane.equation))],
];

const workContent = (title: string, planes: PlaneWork): CardContent | null => {
  const { work } = planes.store.get();
  if (!work) return null;
  const spent = seconds((performance.now() - work.began) / 1000);
  const share = work.progress === null ? "" : ` ${percent(work.progress)},`;
  return {
    title,
    hint: work.waiting
      ? "Another search is at work; this one waits."
      : `${work.what}:${share} ${spent}`,
    progress: work.progress,
    actions: [{ caption: "Cancel", press: () => planes.cancel() }],
  };
};

/** A click on a wall: its plane. */
export class GrowTool implements Tool {
  readonly name = "plane";
  private readonly stop: () => void;
  private ticks: ReturnType<typeof setInterval> | undefined;
  private last: { plane: PlaneInfo; end: SearchEnd } | null = null;

  constructor(
    private readonly viewer: Viewer,
    private readonly card: ToolCard,
    private readonly planes: PlaneWork,
  ) {
    this.stop = planes.store.watch(["work", "grown"], () => this.say());
    this.say();
  }

  click(picked: Picked | null): void {
    if (!picked) return;
    this.viewer.setMarks(this.name, { dots: [{ at: picked.position }] });
    void this.planes.grow(picked.position).then((result) => {
      if (!result) return;
      this.last = result;
      this.say();
    });
  }

  end(): void {
    this.stop();
    clearInterval(this.ticks);
    this.planes.cancel();
    this.viewer.setMarks(this.name, {});
    this.card.hide();
  }

  private say(): void {
    clearInterval(this.ticks);
    const work = workContent("Plane", this.planes);
    if (work) {
      this.card.show(work);
      this.ticks = setInterval(() => {
        const still = workContent("Plane", this.planes);
        if (still) this.card.show(still);
      }, 250);
      return;
    }
    if (this.last && !this.planes.byNumber(this.last.plane.number)) this.last = null;
    if (!this.last) {
      this.card.show({
        title: "Plane",
        hint: "Click a wall, a floor, a roof: its plane grows from there.",
      });
      return;
    }
    const { plane, end } = this.last;
    this.card.show({
      title: "Plane",
      hint: `Grown in ${seconds(end.seconds)}. Click elsewhere for another one.`,
      rows: planeRows(plane),
      actions: [{ caption: "Remove", press: () => this.planes.forget(plane.number) }],
    });
  }
}

/** Two planes, known or grown on the way: the angle between them. */
export class AngleTool implements Tool {
  readonly name = "angle";
  private pair: PlaneInfo[] = [];
  private readonly stop: () => void;

  constructor(
    private readonly viewer: Viewer,
    private readonly card: ToolCard,
    private readonly planes: PlaneWork,
  ) {
    this.stop = planes.store.watch(["work"], () => this.say());
    this.pair = planes.chosen.slice(0, 2);
    this.say();
  }

  click(picked: Picked | null, x: number, y: number): void {
    const known =
      (picked?.plane ? this.planes.byNumber(picked.plane) : undefined) ?? this.viewer.planeAt(x, y);
    if (known) this.take(known);
    else if (picked)
      void this.planes.grow(picked.position).then((result) => result && this.take(result.plane));
  }

  end(): void {
    this.stop();
    this.planes.cancel();
    this.viewer.setMarks(this.name, {});
    this.card.hide();
  }

  private take(plane: PlaneInfo): void {
    if (this.pair.length === 2) this.pair = [];
    if (this.pair[0]?.number !== plane.number) this.pair.push(plane);
    this.planes.choose(...this.pair.map((each) => each.number));
    this.say();
  }

  private say(): void {
    const work = workContent("Angle", this.planes);
    if (work) {
      this.card.show(work);
      return;
    }
    const [first, second] = this.pair;
    if (!first || !second) {
      this.card.show({
        title: "Angle",
        hint: first ? "Click the second plane." : "Click the first of two planes.",
      });
      this.viewer.setMarks(this.name, {});
      return;
    }
    const { angle, gap } = planePair(first, second);
    const rows: (readonly [string, string])[] = [["Angle", degrees(angle)]];
    if (gap !== null) rows.push(["Distance", metres(gap)]);
    rows.push(["First", `${first.class}, ${squareMetres(first.area)}`]);
    rows.push(["Second", `${second.class}, ${squareMetres(second.area)}`]);
    this.card.show({ title: "Angle", hint: "Click a plane to begin anew.", rows });
    this.viewer.setMarks(this.name, {
      lines: [{ corners: [first.centroid, second.centroid] }],
      labels: [
        {
          at: [
            (first.centroid[0] + second.centroid[0]) / 2,
            (first.centroid[1] + second.centroid[1]) / 2,
            (first.centroid[2] + second.centroid[2]) / 2,
          ],
          text: gap === null ? degrees(angle) : metres(gap),
        },
      ],
    });
  }
}

/** Without a tool in hand: a click chooses the plane under the cursor. */
export class LookTool implements Tool {
  readonly name = "look";

  constructor(
    private readonly viewer: Viewer,
    private readonly planes: PlaneWork,
  ) {}

  click(picked: Picked | null, x: number, y: number): void {
    const number = picked?.plane || this.viewer.planeAt(x, y)?.number;
    if (number) this.planes.choose(number);
    else this.planes.choose();
  }
}
