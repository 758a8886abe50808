// SPDX-License-Identifier: GPL-3.0-or-later
// The points' program with its values, kept in step with the camera and with what a person set.

import * as three from "three";
import type { ProjectInfo } from "../api/protocol";
import { subtract, type Vector } from "../math/vector";
import type { Range, ViewValues } from "../view_state";
import type { Lens } from "./lens";
import { heightScale, hex, intensityScales, noneColour } from "./palettes";
import { colourModes, fragmentText, vertexText } from "./point_shader";
import { classTable, numberedTable, planeTable, scaleTable, stationTable } from "./tables";

/** Pixels of the page: points are never smaller, and never larger. */
const smallestPoint = 1.4;
const largestPoint = 40;
/** Times the distance between neighbours: of a wall of random points a twelfth stays open. */
const overlap = 1.8;

const far = 1e9;

/** Pixels of the page that a point is drawn wide, whose neighbours are `spacing` pixels away. */
export const drawnWidth = (spacing: number, pointSize: number): number =>
  Math.min(
    Math.max(spacing * overlap * pointSize, smallestPoint * Math.min(pointSize, 1)),
    largestPoint * Math.max(pointSize, 1),
  );

export class PointMaterial {
  private readonly uniforms: Record<string, three.IUniform>;
  private readonly plain: three.RawShaderMaterial;
  private readonly withPlanes: three.RawShaderMaterial;
  private readonly scales = {
    height: scaleTable(heightScale),
    dark: scaleTable(intensityScales.dark),
    light: scaleTable(intensityScales.light),
  };
  private values: Readonly<ViewValues> | null = null;

  constructor(private readonly project: ProjectInfo) {
    this.uniforms = {
      cameraHigh: { value: new three.Vector3() },
      cameraLow: { value: new three.Vector3() },
      orthographic: { value: false },
      depthRange: { value: new three.Vector2(1, 2) },
      pixels: { value: 1 },
      spacing: { value: 1 },
      pointPixels: { value: new three.Vector2(1, 2) },
      boxed: { value: false },
      boxTurn: { value: new three.Matrix3() },
      boxShift: { value: new three.Vector3() },
      boxHalf: { value: new three.Vector3() },
      slab: { value: new three.Vector2(-far, far) },
      mode: { value: 0 },
      plainColour: { value: new three.Color() },
      scaleEnds: { value: new three.Vector2(0, 1) },
      scale: { value: this.scales.height },
      numbered: { value: numberedTable() },
      classes: { value: classTable(new Set()) },
      stations: { value: stationTable(new Set()) },
      planes: { value: planeTable(new Set(), new Set()) },
      hiding: { value: [false, false] },
      marked: { value: false },
    };
    const vertexShader = vertexText(project.record);
    const make = (defines: Record<string, string>) =>
      new three.RawShaderMaterial({
        glslVersion: three.GLSL3,
        defines,
        vertexShader,
        fragmentShader: fragmentText,
        uniforms: this.uniforms,
      });
    this.plain = make({});
    this.withPlanes = make({ PLANES: "" });
  }

  for(planes: boolean): three.RawShaderMaterial {
    return planes ? this.withPlanes : this.plain;
  }

  /** Between draws of one frame: metres between the neighbours of what is drawn next. */
  setSpacing(material: three.RawShaderMaterial, spacing: number): void {
    this.uniforms["spacing"]!.value = spacing * overlap * (this.values?.pointSize ?? 1);
    material.uniformsNeedUpdate = true;
  }

  setLens(lens: Lens, density: number): void {
    const { position } = lens.pose;
    const high = position.map(Math.fround) as unknown as Vector;
    const { uniforms } = this;
    (uniforms["cameraHigh"]!.value as three.Vector3).set(...high);
    (uniforms["cameraLow"]!.value as three.Vector3).set(...subtract(position, high));
    uniforms["orthographic"]!.value = lens.pose.orthographic;
    (uniforms["depthRange"]!.value as three.Vector2).set(lens.near, lens.far);
    uniforms["pixels"]!.value = lens.pixels;
    const size = this.values?.pointSize ?? 1;
    (uniforms["pointPixels"]!.value as three.Vector2).set(
      Math.max(smallestPoint * density * Math.min(size, 1), 1),
      largestPoint * density * Math.max(size, 1),
    );
    this.setPlacesBeside(position);
  }

  setValues(values: Readonly<ViewValues>): void {
    const before = this.values;
    this.values = values;
    const { uniforms } = this;
    uniforms["mode"]!.value = colourModes[values.colour];
    uniforms["scale"]!.value =
      values.colour === "intensity" ? this.scales[values.theme] : this.scales.height;
    const plain = values.colour === "plane" ? noneColour : plainColours[values.theme];
    (uniforms["plainColour"]!.value as three.Color).set(hex(plain)).convertLinearToSRGB();
    uniforms["hiding"]!.value = [values.hiddenClasses.size > 0, values.hiddenStations.size > 0];
    if (before?.hiddenClasses !== values.hiddenClasses)
      this.replace("classes", classTable(values.hiddenClasses));
    if (before?.hiddenStations !== values.hiddenStations)
      this.replace("stations", stationTable(values.hiddenStations));
    if (
      before?.hiddenPlanes !== values.hiddenPlanes ||
      before.chosenPlanes !== values.chosenPlanes
    ) {
      this.replace("planes", planeTable(values.hiddenPlanes, values.chosenPlanes));
      uniforms["marked"]!.value = values.hiddenPlanes.size + values.chosenPlanes.size > 0;
    }
  }

  private replace(name: string, texture: three.DataTexture): void {
    (this.uniforms[name]!.value as three.DataTexture).dispose();
    this.uniforms[name]!.value = texture;
  }

  /** Boxes, slabs and heights count from the camera, as places do in the program. */
  private setPlacesBeside(camera: Vector): void {
    const { values, uniforms } = this;
    if (!values) return;
    const { section, slab } = values;
    uniforms["boxed"]!.value = section !== null;
    if (section) {
      const [sin, cos] = [Math.sin(section.turn), Math.cos(section.turn)];
      (uniforms["boxTurn"]!.value as three.Matrix3).set(cos, sin, 0, -sin, cos, 0, 0, 0, 1);
      (uniforms["boxShift"]!.value as three.Vector3).set(...subtract(camera, section.centre));
      (uniforms["boxHalf"]!.value as three.Vector3).set(...section.half);
    }
    (uniforms["slab"]!.value as three.Vector2).set(
      slab ? slab.low - camera[2] : -far,
      slab ? slab.high - camera[2] : far,
    );
    const ends = scaleEnds(this.project, values);
    const shift = values.colour === "intensity" ? 0 : camera[2];
    (uniforms["scaleEnds"]!.value as three.Vector2).set(ends[0] - shift, ends[1] - shift);
  }
}

const plainColours = {
  dark: [198, 203, 210],
  light: [92, 98, 107],
} as const;

/** The values at the ends of the colour scale that is shown. */
export function scaleEnds(project: ProjectInfo, values: Readonly<ViewValues>): Range {
  if (values.colour === "intensity")
    return (
      values.intensityRange ??
      (project.intensity ? [project.intensity.low, project.intensity.high] : [0, 65535])
    );
  return values.heightRange ?? [project.bounds.min[2], project.bounds.max[2]];
}
