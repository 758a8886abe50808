#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Refuses one request for memory after the other to every verb of the command, and judges how it ends.

    allocation_test.py ORVIX fail_allocation.so [--all | --runs N] [--verb NAME] [--on]

A run is right when it ends with code 1 and one sentence, or with code 0 where nothing needed the
memory; when the project is as it was before or as the verb makes it; and when nothing lies beside it
that did not lie there before. Without --all an evenly spread sample of each verb's requests is tried.

What a message names as not removed may lie there; with --on, when the requests after the refused one
are refused as well, and nothing can be removed or said any more, anything that a kill would leave. The
same verb once more, with memory, has to end with code 0 then and leave nothing but its work. Such runs
are counted as cleared.
"""
# BEHAVIOUR C16
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

# name, words, what may be made beside the project
VERBS = [
    ("import", ["import", "room.ply", "new.prj"], {"new.prj", "new_Project_Files"}),
    ("overwrite", ["import", "room.ply", "scan.prj", "--overwrite"], set()),
    ("info", ["info", "scan.prj"], set()),
    ("stations", ["stations", "scan.prj", "--json"], set()),
    ("check", ["check", "scan.prj"], set()),
    ("walk", ["walk", "scan.prj"], set()),
    ("plane", ["plane", "scan.prj", "--seed", "2,1.5,0", "--mesh", "m.ply", "--picture", "p.png"],
     {"m.ply", "p.png"}),
    ("planes", ["planes", "scan.prj", "--threads", "2", "--points", "q.ply", "--mesh", "m.obj",
                "--outlines", "o.ifc", "--picture", "p.png"], {"q.ply", "m.obj", "o.ifc", "p.png"}),
    ("planes --save --apply", ["planes", "scan.prj", "--threads", "2", "--save", "--apply"], set()),
    ("histogram", ["histogram", "scan.prj", "--picture", "h.svg"], {"h.svg"}),
    ("classify", ["classify", "scan.prj", "--field", "z", "--apply", "--json"], set()),
    ("export", ["export", "scan.prj", "e.las"], {"e.las"}),
    ("section", ["section", "scan.prj", "--level", "1", "--picture", "s.png", "--export", "s.ply"],
     {"s.png", "s.ply"}),
    ("settings set", ["settings", "set", "DiffA", "0.25"], set()),
    ("settings list", ["settings", "list"], set()),
    ("repair", ["repair", "scan.prj", "--threads", "2"], set()),
    ("destroy", ["destroy", "scan.prj"], set()),
    ("help", ["--help"], set()),
]


def write_room(path):
    """A floor of 4 by 3 m and a wall of 4 by 2 m, points 5 cm apart."""
    points = [(x * 0.05, y * 0.05, 0.001 * ((x * 7 + y * 3) % 5)) for x in range(80) for y in range(60)]
    points += [(x * 0.05, 0.001 * ((x * 3 + z) % 5), z * 0.05) for x in range(80) for z in range(40)]
    with open(path, "w") as file:
        file.write(f"ply\nformat ascii 1.0\nelement vertex {len(points)}\n"
                   "property float x\nproperty float y\nproperty float z\nend_header\n")
        file.writelines(f"{x:.3f} {y:.3f} {z:.3f}\n" for x, y, z in points)


class Bench:
    def __init__(self, orvix, library, on):
        self.orvix, self.library, self.on, self.cleared = orvix, library, on, 0
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="allocation"))
        self.model = self.root / "model"
        self.model.mkdir()
        write_room(self.model / "room.ply")
        self.run(self.model, ["import", "room.ply", "scan.prj"])

    def run(self, folder, words, **preload):
        environment = dict(os.environ, ORVIX_SETTINGS_DIR=str(folder / "settings"), **preload)
        if preload:
            environment["LD_PRELOAD"] = self.library
        return subprocess.run([self.orvix, *words], cwd=folder, env=environment, capture_output=True,
                              timeout=120, check=False)

    def fresh(self, name):
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.root))
        shutil.copytree(self.model, folder, dirs_exist_ok=True)
        if name == "repair":
            (folder / "scan_Project_Files" / "Data" / "z.hist").unlink()
        return folder

    def count(self, name, words):
        folder = self.fresh(name)
        number = self.root / "number"
        done = self.run(folder, words, COUNT_ALLOCATIONS=str(number))
        if done.returncode != 0:
            sys.exit(f"{' '.join(words)} fails by itself: {done.stderr.decode()}")
        shutil.rmtree(folder)
        return int(number.read_text())

    def left(self, verb, folder, before, code):
        """What lies about that is not the verb's work."""
        name, _, makes = verb
        beside = {path.name for path in folder.iterdir()} - before - {"settings"}
        if not (code == 1 and name == "import"):
            beside -= makes
        parts = {str(path.relative_to(folder)) for path in folder.rglob("*")
                 if path.name.endswith(("-part", ".lock", "importing"))}
        return sorted(beside | parts)

    def clears(self, verb, folder, before):
        """Whether the verb once more clears away what is left."""
        words = verb[1] + (["--overwrite"] if verb[0] == "import" else [])
        return self.run(folder, words).returncode == 0 and not self.left(verb, folder, before, 0)

    def fault(self, verb, number):
        """What is wrong with the run whose request `number` is refused; None when nothing is."""
        name, words, _ = verb
        folder = self.fresh(name)
        before = {path.name for path in folder.iterdir()}
        on = {"FAIL_ALLOCATION_ON": "1"} if self.on else {}
        try:
            done = self.run(folder, words, FAIL_ALLOCATION=str(number), **on)
            said = done.stderr.decode(errors="replace")
            if done.returncode not in (0, 1):
                return f"code {done.returncode}: {said.strip()[-200:]}"
            # The settings store speaks for itself, and the verb that needed it after it.
            lines = 2 if name.startswith("settings") else 1
            if done.returncode == 1 and not 1 <= len(said.strip().splitlines()) <= lines:
                return f"not one sentence: {said!r}"
            left = self.left(verb, folder, before, done.returncode)
            named = all(str(folder / path) in said for path in left)
            known = named or (self.on and done.returncode == 1)
            if left and not (known and self.clears(verb, folder, before)):
                return f"leaves {left}"
            self.cleared += bool(left)
            if name == "destroy" and not (folder / "scan.prj").exists():
                return None
            if name == "repair" and self.run(folder, words).returncode != 0:
                return "is not repaired by the next"
            project = "new.prj" if (folder / "new.prj").exists() else "scan.prj"
            if name != "destroy" and self.run(folder, ["check", project]).returncode != 0:
                return f"{project} is damaged after code {done.returncode}"
            return None
        except subprocess.TimeoutExpired:
            return "does not end"
        finally:
            shutil.rmtree(folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("orvix")
    parser.add_argument("library")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--runs", type=int, default=10)
    parser.add_argument("--verb")
    parser.add_argument("--on", action="store_true")
    options = parser.parse_args()
    bench = Bench(os.path.abspath(options.orvix), os.path.abspath(options.library), options.on)
    tried = wrong = 0
    try:
        for verb in VERBS:
            if options.verb and verb[0] != options.verb:
                continue
            total = bench.count(verb[0], verb[1])
            step = 1 if options.all else max(1, total / options.runs)
            numbers = sorted({1 + int(i * step) for i in range(int(total / step))})
            with ThreadPoolExecutor(2) as pool:
                faults = list(pool.map(lambda n, v=verb: bench.fault(v, n), numbers))
            bad = [(n, f) for n, f in zip(numbers, faults) if f]
            tried, wrong = tried + len(numbers), wrong + len(bad)
            print(f"{verb[0]:<22} {total:>8} requests {len(numbers):>6} refused {len(bad):>5} wrong",
                  flush=True)
            for number, fault in bad[:40]:
                print(f"    request {number}: {fault}")
    finally:
        shutil.rmtree(bench.root, ignore_errors=True)
    print(f"{tried} tried, {wrong} wrong, {bench.cleared} cleared by the next run")
    sys.exit(1 if wrong or not tried else 0)


if __name__ == "__main__":
    main()
