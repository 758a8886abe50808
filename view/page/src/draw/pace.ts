// SPDX-License-Identifier: GPL-3.0-or-later
// How many points a frame may have, from how long frames took. While the camera moves, a part of each
// run is drawn so that the picture follows the hand; when it rests, all that the budget allows is.

import { clamp } from "../math/vector";

/** Milliseconds of a frame while the camera moves, and when it rests. */
const movingFrame = 30;
const restingFrame = 500;
const fewest = 150_000;
/** What every card draws in time; more when frames have shown that this one does. */
const atFirst = 1_000_000;

export class Pace {
  private movingPoints = 1_000_000;
  private restingPoints: number;
  private most: number;

  constructor(most: number) {
    this.most = most;
    this.restingPoints = Math.min(most, atFirst);
  }

  /** `adaptive`: false where the budget is kept whatever a frame takes. */
  setMost(most: number, adaptive: boolean): void {
    this.most = most;
    this.restingPoints = adaptive ? Math.min(this.restingPoints, most) : most;
  }

  get budget(): number {
    return this.restingPoints;
  }

  /** Part of the points of a full picture that a frame of a moving camera has. */
  shareOf(points: number): number {
    return clamp(this.movingPoints / Math.max(points, 1), 0.02, 1);
  }

  /** What a frame of so many points took. True where the budget has changed by it. */
  tell(milliseconds: number, points: number, moving: boolean, adaptive: boolean): boolean {
    if (points < fewest / 2 || milliseconds <= 0) return false;
    if (moving) {
      // Half of the way, since single frames are late for reasons of their own.
      const change = clamp(movingFrame / milliseconds, 0.4, 1.6) ** 0.5;
      this.movingPoints = clamp(points * change, fewest, this.most);
      return false;
    }
    if (!adaptive) return false;
    const affordable = (points * restingFrame) / milliseconds;
    const before = this.restingPoints;
    if (milliseconds > restingFrame * 1.3)
      this.restingPoints = clamp(affordable, fewest * 2, this.most);
    else if (points > 0.8 * before && milliseconds < restingFrame * 0.5)
      this.restingPoints = Math.min(before * 1.5, this.most);
    return this.restingPoints !== before;
  }
}
