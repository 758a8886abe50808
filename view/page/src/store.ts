// SPDX-License-Identifier: GPL-3.0-or-later
// One observable record of values. What the page shows depends on it alone; panels, tools and
// keys change it, and whoever draws watches it.
//
//     const stop = store.watch(["colour"], (state) => label(state.colour));
//     store.set({ colour: "height" });

export class Store<State extends object> {
  private state: State;
  private readonly watchers = new Set<{
    keys: readonly (keyof State)[];
    call: (state: Readonly<State>) => void;
  }>();

  constructor(initial: State) {
    this.state = { ...initial };
  }

  get(): Readonly<State> {
    return this.state;
  }

  /** Watchers of a key are called once, and only where a value has changed. */
  set(values: Partial<State>): void {
    const changed = (Object.keys(values) as (keyof State)[]).filter(
      (key) => values[key] !== this.state[key],
    );
    if (changed.length === 0) return;
    this.state = { ...this.state, ...values };
    for (const watcher of [...this.watchers])
      if (watcher.keys.some((key) => changed.includes(key))) watcher.call(this.state);
  }

  /** Calls back at each change of one of the keys; the returned function ends that. */
  watch(keys: readonly (keyof State)[], call: (state: Readonly<State>) => void): () => void {
    const watcher = { keys, call };
    this.watchers.add(watcher);
    return () => this.watchers.delete(watcher);
  }
}
