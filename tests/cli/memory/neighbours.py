#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Lets other programs interfere with the command at moments spread over its work, and judges it.

    neighbours.py ORVIX [--rounds N]

cut        Grid.pts is truncated while a verb reads it: code 0 (read before), or 1 to 5 with a sentence
replaced   another project takes the name: the result is one project's, or code 1 to 5 with a sentence;
           the new project is sound, and as it was unless the verb worked on it alone
exports    two exports to one name: one whole file, and a sentence from whoever was refused
settings   ten processes store ten settings of the user: all ten are there
"""
# BEHAVIOUR C15, P17, O11
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from allocation_test import write_room  # noqa: E402

READERS = [["walk", "scan.prj"], ["check", "scan.prj"], ["planes", "scan.prj"], ["info", "scan.prj"],
           ["export", "scan.prj", "e.ply", "--overwrite"],
           ["plane", "scan.prj", "--seed", "2,1.5,0"]]
WRITERS = [["planes", "scan.prj", "--apply"], ["planes", "scan.prj", "--save"],
           ["classify", "scan.prj", "--field", "z", "--apply"]]


class Yard:
    def __init__(self, orvix):
        self.orvix = orvix
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="neighbours"))
        for name, copies in (("model", 1), ("other", 2)):
            folder = self.root / name
            folder.mkdir()
            write_room(folder / "room.ply")
            if copies == 2:  # more points: another project under the same name
                text = (folder / "room.ply").read_text().splitlines()
                body = text[7:] + [" ".join([line.split()[0], line.split()[1], str(float(line.split()[2]) + 3)])
                                   for line in text[7:]]
                (folder / "room.ply").write_text("\n".join(
                    [*text[:2], f"element vertex {len(body)}", *text[3:7], *body]) + "\n")
            self.finish(self.start(folder, ["import", "room.ply", "scan.prj"]))

    def start(self, folder, words):
        environment = dict(os.environ, ORVIX_SETTINGS_DIR=str(folder / "settings"))
        return subprocess.Popen([self.orvix, *words], cwd=folder, env=environment,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def finish(self, process):
        out, said = process.communicate(timeout=60)
        return process.returncode, out, said.decode(errors="replace").strip()

    def fresh(self, name="model"):
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.root))
        shutil.copytree(self.root / name, folder, dirs_exist_ok=True)
        return folder

    def seconds(self, words):
        folder = self.fresh()
        begin = time.monotonic()
        self.finish(self.start(folder, words))
        return time.monotonic() - begin

    def disturbed(self, words, rounds, disturb, judge):
        total = self.seconds(words)
        wrong = []
        for i in range(rounds):
            folder = self.fresh()
            process = self.start(folder, words)
            time.sleep(total * i / rounds)
            disturb(folder)
            code, _, said = self.finish(process)
            fault = f"code {code}: {said[-150:]}" if code not in (0, 1, 3, 4, 5) else None
            if code != 0 and not said and words[0] != "check":
                fault = "no sentence"
            fault = fault or judge(folder, code)
            if fault:
                wrong.append(f"{' '.join(words)}: {fault}")
            shutil.rmtree(folder)
        return rounds, wrong

    def cut(self, folder):
        os.truncate(folder / "scan_Project_Files/Index/Grid.pts", 5000)

    def replace(self, folder):
        """As another program does it that knows no locks: two renames."""
        other = self.fresh("other")
        for name in ("scan_Project_Files", "scan.prj"):
            os.rename(folder / name, folder / ("former_" + name))
            os.rename(other / name, folder / name)

    def is_other_after(self, words):
        """The judge of a verb: the new project is as it was, or, where the verb came to it after it was
        put there and says that it has done its work, as the verb makes it."""
        done = self.fresh("other")
        self.finish(self.start(done, words))
        points = "scan_Project_Files/Index/Grid.pts"
        after = (done / points).read_bytes()
        return lambda folder, code: self.is_other(folder, after if code == 0 else None)

    def is_other(self, folder, after):
        code, _, said = self.finish(self.start(folder, ["check", "scan.prj", "--deep"]))
        if code:
            return f"the new project is damaged: {said}"
        points = "scan_Project_Files/Index/Grid.pts"
        now = (folder / points).read_bytes()
        same = now in (after, (self.root / "other" / points).read_bytes())
        return None if same else "the new project was written to"

    def exports(self, rounds):
        wrong = []
        for _ in range(rounds):
            folder = self.fresh()
            both = [self.start(folder, ["export", "scan.prj", "e.ply", "--overwrite"]) for _ in range(2)]
            ends = [self.finish(process) for process in both]
            code, _, said = self.finish(self.start(folder, ["import", "e.ply", "again.prj"]))
            parts = list(folder.glob("*-part"))
            if code or parts or any(c not in (0, 1) or (c == 1 and "another program" not in s)
                                    for c, _, s in ends):
                wrong.append(f"exports: {ends} {parts} {said}")
            shutil.rmtree(folder)
        return rounds, wrong

    def settings(self, rounds):
        names = ["SplitSize", "DiffA", "DiffB", "DiffC", "MinPlane", "SplitSize_SKELET", "DiffA_SKELET",
                 "DiffB_SKELET", "DiffC_SKELET", "MinPlane_SKELET"]
        wrong = []
        for _ in range(rounds):
            folder = self.fresh()
            for process in [self.start(folder, ["settings", "set", name, "1"]) for name in names]:
                self.finish(process)
            _, out, _ = self.finish(self.start(folder, ["settings", "list", "--json"]))
            if out.decode().count('"stored": true') < len(names):
                wrong.append("settings: a value is lost")
            shutil.rmtree(folder)
        return rounds * len(names), wrong


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("orvix")
    parser.add_argument("--rounds", type=int, default=4)
    options = parser.parse_args()
    yard = Yard(os.path.abspath(options.orvix))
    tried, wrong = 0, []

    def add(name, results):
        nonlocal tried
        runs = sum(runs for runs, _ in results)
        faults = [fault for _, faults in results for fault in faults]
        print(f"{name:<10} {runs:>5} tried {len(faults):>4} wrong", flush=True)
        tried += runs
        wrong.extend(faults)

    n = options.rounds
    try:
        add("cut", [yard.disturbed(words, n, yard.cut, lambda *_: None) for words in READERS])
        add("replaced", [yard.disturbed(words, n, yard.replace, yard.is_other_after(words))
                         for words in READERS[:3] + WRITERS])
        add("exports", [yard.exports(n)])
        add("settings", [yard.settings(max(1, n // 4))])
    finally:
        shutil.rmtree(yard.root, ignore_errors=True)
    for fault in wrong[:40]:
        print("    " + fault)
    sys.exit(1 if wrong or not tried else 0)


if __name__ == "__main__":
    main()
