// SPDX-License-Identifier: GPL-3.0-or-later
// Depth shading: a pixel grows darker the more its neighbours lie in front of it, which shows edges and
// relief without normals. The same pass puts the points on the page's ground, and turns their depths
// into those of the camera, so that lines drawn later are hidden by points before them.

import * as three from "three";
import type { Lens } from "./lens";
import { largestPointPixels } from "./point_shader";

const vertexText = `
precision highp float;
out vec2 at;
void main() {
  at = vec2(gl_VertexID == 1 ? 2.0 : 0.0, gl_VertexID == 2 ? 2.0 : 0.0);
  gl_Position = vec4(2.0 * at - 1.0, 0.0, 1.0);
}
`;

const fragmentText = `
precision highp float;
precision highp sampler2D;
uniform sampler2D colours;
uniform sampler2D depths;
uniform vec3 ground;
uniform float strength;
uniform int radius;
uniform float steps;
uniform float pointStep;
uniform vec2 depthRange;
uniform bool orthographic;
in vec2 at;
out vec4 drawn;

float depthAt(ivec2 pixel) {
  ivec2 last = textureSize(depths, 0) - 1;
  return texelFetch(depths, clamp(pixel, ivec2(0), last), 0).r;
}

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  float depth = depthAt(pixel);
  if (depth >= 1.0) {
    drawn = vec4(ground, 1.0);
    gl_FragDepth = 1.0;
    return;
  }
  float shade = 1.0;
  if (strength > 0.0) {
    vec4 dot_ = texelFetch(colours, pixel, 0);
    // Dots of a slanted surface lie one before the other by about their size.
    float front = depth - dot_.a * pointStep;
    float sum = 0.0;
    for (int i = 0; i < 8; ++i) {
      float turn = float(i) * 0.785398;
      ivec2 aside = ivec2(round(float(radius) * vec2(cos(turn), sin(turn))));
      sum += max(front - depthAt(pixel + aside), 0.0);
    }
    shade = exp(-strength * min(sum / 8.0 * steps, 4.0));
  }
  drawn = vec4(texelFetch(colours, pixel, 0).rgb * shade, 1.0);
  // A little behind, so that lines on a surface are not lost in its roughness.
  if (orthographic) {
    gl_FragDepth = min(depth + 0.0005, 1.0);
  } else {
    float metres = depthRange.x * exp2(depth * log2(depthRange.y / depthRange.x)) * 1.004;
    float span = depthRange.y - depthRange.x;
    gl_FragDepth = clamp(depthRange.y / span * (1.0 - depthRange.x / metres), 0.0, 1.0);
  }
}
`;

/** How dark a step is whose height is a share of its distance; set by eye. */
const contrast = 90;

/** Steps between neighbouring dots that are no relief, times their width. */
const tolerated = 1.5;

export class DepthShading {
  private readonly uniforms = {
    colours: { value: null as three.Texture | null },
    depths: { value: null as three.Texture | null },
    ground: { value: new three.Color() },
    strength: { value: 1 },
    radius: { value: 1 },
    steps: { value: 1 },
    pointStep: { value: 0 },
    depthRange: { value: new three.Vector2(1, 2) },
    orthographic: { value: false },
  };
  private readonly scene = new three.Scene();

  constructor() {
    const geometry = new three.BufferGeometry();
    geometry.setDrawRange(0, 3);
    const material = new three.RawShaderMaterial({
      glslVersion: three.GLSL3,
      vertexShader: vertexText,
      fragmentShader: fragmentText,
      uniforms: this.uniforms,
      depthFunc: three.AlwaysDepth,
    });
    const triangle = new three.Mesh(geometry, material);
    triangle.frustumCulled = false;
    this.scene.add(triangle);
  }

  /** `density`: pixels of the screen a pixel of the page. */
  draw(
    renderer: three.WebGLRenderer,
    camera: three.Camera,
    target: three.WebGLRenderTarget,
    lens: Lens,
    look: { strength: number; density: number; ground: three.Color },
  ): void {
    const { uniforms } = this;
    const { near, far, pose } = lens;
    uniforms.colours.value = target.texture;
    uniforms.depths.value = target.depthTexture;
    uniforms.ground.value = look.ground;
    uniforms.strength.value = look.strength;
    uniforms.radius.value = Math.max(Math.round(1.4 * look.density), 1);
    // Both kinds of depth as a share of the distance, so that both views are shaded alike.
    const whole = pose.orthographic
      ? (far - near) / pose.distance / Math.LN2
      : Math.log2(far / near);
    uniforms.steps.value = whole * contrast;
    const pixel = 1 / lens.pixels / (pose.orthographic ? pose.distance : 1) / Math.LN2;
    uniforms.pointStep.value = (tolerated * largestPointPixels * pixel) / whole;
    uniforms.depthRange.value.set(near, far);
    uniforms.orthographic.value = pose.orthographic;
    renderer.render(this.scene, camera);
  }
}
