#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails every N-th file call of the command in turn and judges what it leaves.

fault_test.py COMMAND FAIL_CALL.so [--all] [--scenario NAME] [--kind KIND] [--at N]

A scenario runs once to count its calls. Then, for each kind of fault and each call it can meet (a
spread sample of them without --all), it runs again and meets the fault there. Wrong is:

  exit 0        and the work is not done, or something lies about that no message names
  a failure     without a sentence, by a signal, with a state that is neither that of before nor
                that of after, or with something left that no message names
  a kill        (or a power cut) that leaves a mix of both states which `orvix check` does not see
  the next run  does not lead to the state of after, byte for byte, with nothing lying about

Prints a line for each wrong run and a table at the end. Exit code: 0 none wrong, 1 otherwise.
"""
import argparse
import collections
import concurrent.futures
import os
import shutil
import sys
import tempfile

from fault_scenarios import SCENARIOS, Bench
from power_cut import Shadow

KINDS = ["eio", "enospc", "full+", "short", "eacces", "emfile+", "stuck+", "kill", "power-data",
         "power-all"]
# The calls that each kind can meet, as the preloaded library names them.
CHANGES = {"make", "write", "size"}
MEETS = {
    "enospc": CHANGES | {"sync", "move", "close"},
    "full": CHANGES,
    "short": {"write"},
    "eacces": {"open", "make", "move", "remove", "list"},
    "emfile": {"open", "make", "list"},
    "stuck": {"remove"},
}


class Run:
    """One run with one fault."""

    def __init__(self, scenario, options, kind, at):
        self.scenario, self.library, self.keep = scenario, options.library, options.keep
        self.kind, self.at = kind, at
        self.ends = kind.startswith("power") or kind == "kill"
        base = os.path.join(scenario.bench.scratch, scenario.name, f"{kind}-{at}")
        self.base = base
        self.folder, self.log = os.path.join(base, "folder"), os.path.join(base, "log")
        self.shadow = os.path.join(base, "shadow")

    def perform(self):
        os.makedirs(self.base)
        shutil.copytree(self.scenario.before, self.folder, symlinks=True)
        extra = {"LD_PRELOAD": self.library, "ORVIX_FAULT_FOLDER": self.folder,
                 "ORVIX_FAULT_LOG": self.log, "ORVIX_FAULT_AT": str(self.at),
                 "ORVIX_FAULT_KIND": "kill" if self.ends else self.kind}
        shadow = Shadow(self.folder, self.shadow) if self.kind.startswith("power") else None
        if shadow:
            extra["ORVIX_FAULT_SHADOW"] = self.shadow
        done = self.scenario.bench.run(self.scenario.words(self.folder), self.folder, extra)
        if not os.path.exists(self.log) or os.path.getsize(self.log) == 0:
            return "not met", ""
        if shadow:
            shadow.cut_power(entries_too=self.kind == "power-all")
        try:
            outcome, wrong = self.judge(done)
            wrong = wrong or self.judge_next()
        finally:
            if not self.keep:
                shutil.rmtree(self.base)
        with_call = f" [{self.call}]" if wrong else ""
        return outcome, wrong and wrong + with_call

    def judge(self, done):
        with open(self.log, encoding="utf-8") as log:
            self.call = log.readline().strip().replace(self.folder, "")
        said = (done.stdout + done.stderr).decode(errors="replace")
        self.said = done.stderr.decode(errors="replace").strip()
        code = done.returncode
        state, beside = self.scenario.whole(self.scenario.state(self.folder))
        unnamed = [name for name in beside if not self.is_named(name, said)]
        if self.ends:
            if code != -9:
                return "ended", f"ended with {code} instead of by the kill"
            if not state and self.scenario.atomic and not self.scenario.is_seen(self.folder):
                return "ended", "a mix of both projects that no check sees"
            return "old stays" if state == "old" else "new is there" if state else "seen", ""
        if code < 0:
            return "crash", f"ended by signal {-code}: {self.said}"
        if unnamed:
            return "leftover", f"exit {code} and left {unnamed[:3]} unnamed: {self.said}"
        if code == 0:
            done_all = state == "new" or (state == "old" and self.scenario.optional)
            return "done", "" if done_all else f"exit 0 and not done (state '{state}')"
        if code not in (1, 3, 4, 5) or not self.said:
            return "refused", f"exit {code}: {self.said or 'no sentence'}"
        if not state and self.scenario.atomic and not self.scenario.is_seen(self.folder):
            return "refused", f"exit {code} and a mix of both projects: {self.said}"
        return f"exit {code}, {'named' if beside else state or 'part'}", ""

    def is_named(self, name, said):
        """A message names the entry or a folder above it. A journal is the database's own, a lock
        file that nobody holds is taken over by the next who asks."""
        path = os.path.join(self.folder, name)
        while len(path) > len(self.folder):
            if path in said:
                return True
            path = os.path.dirname(path)
        return name.endswith(("-journal", ".lock"))

    def judge_next(self):
        words = self.scenario.again(self.folder)
        if words is None:
            return ""
        done = self.scenario.bench.run(words, self.folder)
        state, beside = self.scenario.whole(self.scenario.state(self.folder))
        beside = [name for name in beside if not self.is_named(name, "")]
        if state == "new" and not beside:
            return ""
        error = done.stderr.decode(errors="replace").strip()
        return f"the next run ends with {done.returncode}, state '{state}', beside {beside[:3]}: {error}"


def count_calls(scenario, library):
    """The names of the calls that a run without a fault makes, in their order."""
    folder = os.path.join(scenario.bench.scratch, scenario.name, "count")
    shutil.copytree(scenario.before, folder, symlinks=True)
    log = folder + ".log"
    done = scenario.bench.run(scenario.words(folder), folder, {
        "LD_PRELOAD": library, "ORVIX_FAULT_FOLDER": folder, "ORVIX_FAULT_LOG": log})
    if done.returncode != 0 or scenario.state(folder) != scenario.new:
        raise RuntimeError(f"{scenario.name} is not the same twice: {done.stderr.decode()}")
    with open(log, encoding="utf-8") as file:
        return [line.split()[1] for line in file]


def places(calls, kind, sample):
    able = MEETS.get(kind.rstrip("+"))
    numbers = [i + 1 for i, call in enumerate(calls) if able is None or call in able]
    if sample == 0 or len(numbers) <= sample:
        return numbers
    return sorted({numbers[(2 * i + 1) * len(numbers) // (2 * sample)] for i in range(sample)})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command")
    parser.add_argument("library")
    parser.add_argument("--scratch", help="a folder to be made anew; what --keep keeps is there")
    parser.add_argument("--keep", action="store_true", help="keep the folders of all runs")
    parser.add_argument("--all", action="store_true", help="every call, not a sample")
    parser.add_argument("--sample", type=int, default=5, help="calls per scenario and kind")
    parser.add_argument("--scenario", action="append")
    parser.add_argument("--kind", action="append")
    parser.add_argument("--at", type=int)
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    if options.scratch:
        shutil.rmtree(options.scratch, ignore_errors=True)
        os.makedirs(options.scratch)
        return judge_all(options, os.path.abspath(options.scratch))
    # A file system in memory: thousands of runs wait for no disk.
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as folder:
        return judge_all(options, folder)


def judge_all(options, scratch):
    bench = Bench(os.path.abspath(options.command), scratch)
    runs = []
    for make in SCENARIOS:
        if options.scenario and make.name not in options.scenario:
            continue
        scenario = make(bench)
        scenario.set_up()
        calls = count_calls(scenario, options.library)
        for kind in options.kind or KINDS:
            numbers = [options.at] if options.at else places(
                calls, kind, 0 if options.all or kind in make.whole_kinds else options.sample)
            runs += [Run(scenario, options, kind, at) for at in numbers]
    table = collections.defaultdict(collections.Counter)
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for run, (outcome, wrong) in zip(runs, pool.map(Run.perform, runs)):
            row = table[run.scenario.name, run.kind]
            row["runs"] += outcome != "not met"
            row[outcome] += 1
            if wrong:
                failed += 1
                row["WRONG"] += 1
                print(f"WRONG {run.scenario.name} --kind {run.kind} --at {run.at}: {wrong}")
    for (scenario, kind), row in table.items():
        rest = ", ".join(f"{count} {what}" for what, count in sorted(row.items())
                         if what not in ("runs", "WRONG"))
        print(f"{scenario:18} {kind:11} {row['runs']:4} runs, {row['WRONG']} wrong: {rest}")
    total = sum(row["runs"] for row in table.values())
    print(f"{total} runs, {failed} wrong")
    return 1 if failed or total == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
