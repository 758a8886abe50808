// SPDX-License-Identifier: GPL-3.0-or-later
// Draws a view: points into a picture of their own with their depths, that picture onto the canvas
// with depth shading, then lines, outlines and marks over it.

import * as three from "three";
import type { Pose, Size } from "../camera/pose";
import type { Stroke } from "../cloud/draw_list";
import type { ProjectInfo } from "../api/protocol";
import type { Box } from "../math/box";
import type { ViewValues } from "../view_state";
import { DepthShading } from "./depth_shading";
import { aim, lensOf, type Lens } from "./lens";
import { PointMaterial } from "./point_material";
import { PointObjects } from "./point_objects";

/** Something that is drawn over the points, in a scene of its own. */
export interface Layer {
  /** Brings the layer's objects to a camera that stands at zero. */
  place(lens: Lens, size: Size, density: number): void;
  readonly scene: three.Scene;
}

export interface Picture {
  readonly pose: Pose;
  readonly strokes: readonly Stroke[];
  /** Part of each stroke's points that is drawn, while the camera moves. */
  readonly share: number;
  /** The box of all that is drawn. */
  readonly content: Box;
}

const grounds = { dark: 0x16181c, light: 0xf2f3f5 } as const;

export class Renderer {
  readonly objects: PointObjects;
  readonly webgl: three.WebGLRenderer;
  private readonly material: PointMaterial;
  private readonly shading = new DepthShading();
  private readonly camera = new three.Camera();
  private target: three.WebGLRenderTarget;
  private size: Size = { width: 1, height: 1 };
  private ground = new three.Color();
  private strength = 1;

  constructor(
    readonly canvas: HTMLCanvasElement,
    project: ProjectInfo,
    private readonly layers: readonly Layer[],
  ) {
    // Colours are those of the screen throughout: what a scan stores is shown as it is.
    three.ColorManagement.enabled = false;
    this.webgl = new three.WebGLRenderer({ canvas, antialias: true, alpha: false });
    this.webgl.outputColorSpace = three.LinearSRGBColorSpace;
    this.webgl.autoClear = false;
    // Asking how compiling went would wait for it; a program that fails draws nothing, and tests see that.
    this.webgl.debug.checkShaderErrors = false;
    this.webgl.sortObjects = false;
    this.webgl.localClippingEnabled = true;
    this.material = new PointMaterial(project);
    this.objects = new PointObjects(this.material);
    this.target = makeTarget(1, 1);
  }

  /** Pixels of the screen a pixel of the page. */
  get density(): number {
    return this.webgl.getPixelRatio();
  }

  resize(size: Size, density: number): void {
    this.size = size;
    this.webgl.setPixelRatio(density);
    this.webgl.setSize(size.width, size.height, false);
    const { width, height } = this.canvas;
    this.target.dispose();
    this.target = makeTarget(width, height);
  }

  setValues(values: Readonly<ViewValues>): void {
    this.material.setValues(values);
    this.ground.setHex(grounds[values.theme]);
    this.strength = values.depthShading;
  }

  /** Returns how many points were drawn. */
  draw({ pose, strokes, share, content }: Picture): number {
    const { webgl, camera, target } = this;
    const lens = lensOf(pose, content, this.canvas.height);
    aim(camera, lens, this.size);
    this.material.setLens(lens, this.density);
    const points = this.objects.show(strokes, share);
    webgl.setRenderTarget(target);
    webgl.setClearColor(0x000000, 0);
    webgl.clear();
    webgl.render(this.objects.scene, camera);
    webgl.setRenderTarget(null);
    webgl.clear();
    this.shading.draw(webgl, camera, target, lens, {
      strength: this.strength,
      density: this.density,
      ground: this.ground,
    });
    for (const layer of this.layers) {
      layer.place(lens, this.size, this.density);
      webgl.render(layer.scene, camera);
    }
    return points;
  }

  /** Milliseconds until the card has done all that it was given. */
  async finished(): Promise<number> {
    const gl = this.webgl.getContext() as WebGL2RenderingContext;
    const start = performance.now();
    const fence = gl.fenceSync(gl.SYNC_GPU_COMMANDS_COMPLETE, 0);
    if (!fence) return 0;
    gl.flush();
    while (gl.clientWaitSync(fence, 0, 0) === gl.TIMEOUT_EXPIRED)
      await new Promise((resolve) => setTimeout(resolve, 2));
    gl.deleteSync(fence);
    return performance.now() - start;
  }
}

function makeTarget(width: number, height: number): three.WebGLRenderTarget {
  const depthTexture = new three.DepthTexture(width, height, three.UnsignedIntType);
  return new three.WebGLRenderTarget(width, height, {
    depthTexture,
    minFilter: three.NearestFilter,
    magFilter: three.NearestFilter,
    generateMipmaps: false,
  });
}
