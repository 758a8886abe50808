// SPDX-License-Identifier: GPL-3.0-or-later
// Draws a frame when something has changed, and none when nothing has. A frame is begun only after the
// card has finished the last one, so that a slow card never lags behind the hand.

export interface FrameWork {
  /** Draws; true asks for another frame at once, as long as something moves. */
  draw(now: number): boolean;
  /** Resolves when the card has done what was drawn. */
  finished(): Promise<void>;
}

export class FrameLoop {
  private wanted = false;
  private busy = false;
  private readonly idleCalls: (() => void)[] = [];

  constructor(private readonly work: FrameWork) {}

  wake(): void {
    this.wanted = true;
    if (this.busy) return;
    this.busy = true;
    requestAnimationFrame((now) => void this.run(now));
  }

  get idle(): boolean {
    return !this.busy;
  }

  /** Calls back after the frame that is under way, or at once. */
  whenIdle(call: () => void): void {
    if (this.idle) call();
    else this.idleCalls.push(call);
  }

  private async run(now: number): Promise<void> {
    this.wanted = false;
    try {
      if (this.work.draw(now)) this.wanted = true;
      await this.work.finished();
    } finally {
      this.busy = false;
      if (this.wanted) this.wake();
      else for (const call of this.idleCalls.splice(0)) call();
    }
  }
}
