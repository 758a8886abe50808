// SPDX-License-Identifier: GPL-3.0-or-later
// The program that draws points. A record is read as 32-bit words, as it lies in the file; where its
// values lie in them is put into the text from the layout that the server describes.
//
// Depths are logarithmic in perspective views: a point has one depth for all of its pixels, so the
// vertex stage may choose it freely, and small steps stay visible hundreds of metres away.

import type { RecordLayout } from "../api/protocol";
import { positionOffset, valueOffsets } from "../cloud/point_record";

export const colourModes = {
  plain: 0,
  rgb: 1,
  intensity: 2,
  height: 3,
  station: 4,
  class: 5,
  plane: 6,
} as const;

/** Words of a record that come as one attribute. */
const wordsEach = 3;

/** The expression for an unsigned value of `bytes` bytes at an offset of the record. */
function field(offset: number, bytes: 1 | 2): string {
  const word = Math.floor(offset / 4);
  const bits = 8 * (offset % 4);
  if (bits + 8 * bytes > 32) throw new Error("This page cannot read the points: a value is split.");
  const name = word < wordsEach ? "head" : "tail";
  return `((${name}[${word % wordsEach}] >> ${bits}u) & ${bytes === 1 ? "0xffu" : "0xffffu"})`;
}

export function vertexText(layout: RecordLayout): string {
  const at = valueOffsets(layout);
  if (layout.bytes !== 8 * wordsEach || positionOffset(layout) !== 0)
    throw new Error("This page cannot read the points: their records are of another size.");
  return `
precision highp float;
precision highp int;
precision highp usampler2D;

in uvec3 head;
in uvec3 tail;
#ifdef PLANES
in uint plane;
#endif

uniform mat4 viewMatrix;
uniform mat4 projectionMatrix;
uniform vec3 cameraHigh;
uniform vec3 cameraLow;
uniform bool orthographic;
uniform vec2 depthRange;
uniform float pixels;
uniform float spacing;
uniform vec2 pointPixels;

uniform bool boxed;
uniform mat3 boxTurn;
uniform vec3 boxShift;
uniform vec3 boxHalf;
uniform vec2 slab;

uniform int mode;
uniform vec3 plainColour;
uniform vec2 scaleEnds;
uniform sampler2D scale;
uniform sampler2D numbered;
uniform sampler2D classes;
uniform sampler2D stations;
uniform usampler2D planes;
/** Whether any class, any station is hidden; whether any plane is hidden or chosen. */
uniform bvec2 hiding;
uniform bool marked;

out vec3 colour;
out float size;

void hide() {
  gl_Position = vec4(0.0, 0.0, 2.0, 1.0);
  gl_PointSize = 1.0;
}

vec3 onScale(float value) {
  float share = (value - scaleEnds.x) / max(scaleEnds.y - scaleEnds.x, 1e-6);
  return texture(scale, vec2(clamp(share, 0.0, 1.0) * 255.0 / 256.0 + 0.5 / 256.0, 0.5)).rgb;
}

vec3 byNumber(uint number) {
  return texelFetch(numbered, ivec2(int(number % uint(textureSize(numbered, 0).x)), 0), 0).rgb;
}

bool stationHidden(uint number) {
  return texelFetch(stations, ivec2(int(number & 255u), int(number >> 8u)), 0).r != 0.0;
}

uint stateOfPlane(uint number) {
  ivec2 extent = textureSize(planes, 0);
  uint width = uint(extent.x);
  return number / width < uint(extent.y)
    ? texelFetch(planes, ivec2(int(number % width), int(number / width)), 0).r : 0u;
}

void main() {
  // Large numbers meet each other first: what is left has its digits where they are seen.
  vec3 place = (uintBitsToFloat(head) - cameraHigh) - cameraLow;
  if (boxed && any(greaterThan(abs(boxTurn * (place + boxShift)), boxHalf))) { hide(); return; }
  if (place.z < slab.x || place.z > slab.y) { hide(); return; }

  uint class_ = ${field(at.class, 1)};
  uint station = ${field(at.station, 2)};
  // Tables are looked up only where they are needed: that is most of what a point costs.
  if (hiding.x && texelFetch(classes, ivec2(int(class_), 0), 0).a == 0.0) { hide(); return; }
  if (hiding.y && stationHidden(station)) { hide(); return; }
  bool chosen = false;
#ifdef PLANES
  uint state = marked && plane != 0u ? stateOfPlane(plane) : 0u;
  if ((state & 1u) != 0u) { hide(); return; }
  chosen = (state & 2u) != 0u;
#endif

  if (mode == ${colourModes.rgb}) {
    colour = vec3(float(${field(at.colour, 1)}), float(${field(at.colour + 1, 1)}),
      float(${field(at.colour + 2, 1)})) / 255.0;
  }
  else if (mode == ${colourModes.intensity}) colour = onScale(float(${field(at.intensity, 2)}));
  else if (mode == ${colourModes.height}) colour = onScale(place.z);
  else if (mode == ${colourModes.station}) colour = byNumber(station);
  else if (mode == ${colourModes.class}) {
    colour = texelFetch(classes, ivec2(int(class_), 0), 0).rgb;
  }
  else colour = plainColour;
#ifdef PLANES
  if (mode == ${colourModes.plane} && plane != 0u) colour = byNumber(plane);
  if (chosen) colour = mix(colour, vec3(1.0, 0.86, 0.35), 0.45);
#endif

  vec4 seen = viewMatrix * vec4(place, 1.0);
  float depth = -seen.z;
  if (!orthographic && depth < depthRange.x) { hide(); return; }
  gl_Position = projectionMatrix * seen;
  float share = orthographic
    ? (depth - depthRange.x) / (depthRange.y - depthRange.x)
    : log2(max(depth, 1e-4) / depthRange.x) / log2(depthRange.y / depthRange.x);
  gl_Position.z = (2.0 * clamp(share, 0.0, 1.0) - 1.0) * gl_Position.w;
  size = clamp(spacing * pixels / (orthographic ? 1.0 : max(depth, 1e-4)), pointPixels.x, pointPixels.y);
  gl_PointSize = size;
}
`;
}

/** Pixels of the screen that stand for 1 in the alpha of the points' picture. */
export const largestPointPixels = 128;

export const fragmentText = `
precision highp float;
in vec3 colour;
in float size;
out vec4 drawn;

void main() {
  // Smaller ones are a pixel or two, which have no shape.
  vec2 aside = gl_PointCoord - 0.5;
  if (size > 2.5 && dot(aside, aside) > 0.25) discard;
  // Depth shading asks how large a point is: smaller steps than that are no relief.
  drawn = vec4(colour, size / ${largestPointPixels}.0);
}
`;
