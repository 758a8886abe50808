// SPDX-License-Identifier: GPL-3.0-or-later
// A pose as three.js draws it. Its camera stands at zero and only turns: what is drawn is placed
// beside the camera in double precision before it goes to the card.

import * as three from "three";
import { directions, type Pose, type Size } from "../camera/pose";
import { corners, distanceTo, type Box } from "../math/box";
import { dot, subtract } from "../math/vector";

export interface Lens {
  readonly pose: Pose;
  readonly near: number;
  readonly far: number;
  /** Pixels of the screen that a metre takes one metre ahead; anywhere where orthographic. */
  readonly pixels: number;
}

const nearest = 0.03;

/** `content`: the box of all that is drawn. `height`: of the screen, in its own pixels. */
export function lensOf(pose: Pose, content: Box, height: number): Lens {
  const { forward } = directions(pose);
  const depths = corners(content).map((place) => dot(subtract(place, pose.position), forward));
  const most = Math.max(...depths);
  const pixels = height / (2 * Math.tan(pose.angle / 2) * (pose.orthographic ? pose.distance : 1));
  if (pose.orthographic) {
    const least = Math.min(...depths);
    const margin = Math.max((most - least) * 0.01, 0.1);
    return { pose, near: least - margin, far: most + margin, pixels };
  }
  const near = Math.max(distanceTo(content, pose.position) * 0.5, nearest);
  return { pose, near, far: Math.max(most * 1.01, near * 2), pixels };
}

export function aim(camera: three.Camera, lens: Lens, size: Size): void {
  const { forward, right, up } = directions(lens.pose);
  camera.matrixAutoUpdate = false;
  camera.matrixWorldAutoUpdate = false;
  camera.matrixWorld.makeBasis(
    new three.Vector3(...right),
    new three.Vector3(...up),
    new three.Vector3(-forward[0], -forward[1], -forward[2]),
  );
  camera.matrixWorldInverse.copy(camera.matrixWorld).invert();
  const high = Math.tan(lens.pose.angle / 2) * (lens.pose.orthographic ? lens.pose.distance : 1);
  const wide = (high * size.width) / Math.max(size.height, 1);
  const { near, far } = lens;
  if (lens.pose.orthographic)
    camera.projectionMatrix.makeOrthographic(-wide, wide, high, -high, near, far);
  else
    camera.projectionMatrix.makePerspective(
      -wide * near,
      wide * near,
      high * near,
      -high * near,
      near,
      far,
    );
  camera.projectionMatrixInverse.copy(camera.projectionMatrix).invert();
}
