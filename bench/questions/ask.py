#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Asks the questions of questions.txt of a release build: see scripts/bench, which builds it first.

    bench/questions/ask.py build/release [--quick] [--only NAME,NAME] [--json FILE] [--write] [--list]
    bench/questions/ask.py --page        # fills docs/BENCHMARKS.md from bench/figures.json, measures nothing

Each program checks its answers, then times: one that ends with a fault has no figures, the others are asked
all the same, and this ends with 1. A missed aim is shown, and is no fault. Figures go to
build/bench/figures.json; with --write those of the questions asked also replace theirs in bench/figures.json,
of which the tables of docs/BENCHMARKS.md are made.
"""
import argparse
import datetime
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import machine
import pages
import questions

ROOT = pathlib.Path(__file__).resolve().parents[2]
KEPT = ROOT / "bench" / "figures.json"
PAGE = ROOT / "docs" / "BENCHMARKS.md"
PATIENCE = 1800  # seconds a question


class LeftOut(Exception):
    """Why a question is not asked."""


class Asker:
    def __init__(self, options, scratch):
        self.options, self.scratch, self.projects = options, scratch, {}

    def project(self, name):
        """A project of a scan, made once."""
        if name not in self.projects:
            folders = (ROOT / "samples", self.options.scans)
            scan = next((folder / name for folder in folders if (folder / name).exists()), None)
            if scan is None:
                raise LeftOut(f"the scan {name} is not here")
            target = self.scratch / f"{scan.stem}.prj"
            subprocess.run([self.options.build / "bin" / "orvix", "import", scan, target], check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.projects[name] = str(target)
        return self.projects[name]

    def word(self, word, out):
        """A word of the list with its places put in."""
        if word.startswith("{project:"):
            return self.project(word[len("{project:"):-1])
        pictures = ROOT / "docs" if self.options.write else self.options.results
        for mark, place in (("{build}", self.options.build), ("{out}", out), ("{pictures}", pictures)):
            word = word.replace(mark, str(place))
        return word

    def ask(self, question):
        """The figures of a question and the lines beside them; LeftOut, or CalledProcessError."""
        binary = question.program.startswith("bench_")
        program = self.options.build / "bin" / question.program if binary else ROOT / question.program
        if not program.exists():
            raise LeftOut(f"{question.program} is not built")
        out = self.scratch / question.name
        out.mkdir()
        asked = question.asked_with(self.options.quick)
        words = [self.word(word, out) for word in asked]
        if binary and "--json" not in words:
            words.append("--json")
        process = subprocess.run([program, *words], cwd=ROOT, stdout=subprocess.PIPE, text=True,
                                 timeout=PATIENCE, check=True)
        shutil.rmtree(out)
        rows, notes = questions.objects(process.stdout.splitlines())
        return questions.figures_of(rows, question.aim), notes


def command_of(question, quick):
    """What a reader types: places are named, not spelled out."""
    words = [question.program, *question.asked_with(quick)]
    if question.program.startswith("bench_"):
        words[0] = "build/release/bin/" + words[0]
    return " ".join(shown_word(word) for word in words if word != "--json")


def shown_word(word):
    if word.startswith("{project:"):
        return pathlib.Path(word[len("{project:"):-1]).stem + ".prj"
    for mark, place in (("{build}", "build/release"), ("{out}", "out"), ("{pictures}", "docs")):
        word = word.replace(mark, place)
    return word


def show(name, result):
    for each in result["figures"]:
        line = f"{name}: {each['what']}: {pages.shown(each)}"
        if "aim" in each:
            line += f", aim {pages.aim(each)}" + ("" if each["met"] else ", MISSED")
        print(line, flush=True)
    for note in result["notes"]:
        print(f"    {note}", flush=True)


def ask_all(options, asked, keep):
    """What the questions gave by name, why others gave nothing, and how many faults there were.

    keep(results, silent) is called after each, so that what ends this early loses one answer alone.
    """
    results, silent, faults = {}, {}, 0
    with tempfile.TemporaryDirectory(prefix="orvix-bench-") as folder:
        asker = Asker(options, pathlib.Path(folder))
        for question in asked:
            start = time.monotonic()
            try:
                figures, notes = asker.ask(question)
            except LeftOut as reason:
                silent[question.name] = f"left out: {reason}"
            except subprocess.TimeoutExpired:
                silent[question.name] = f"gave no answer in {PATIENCE} s"
                faults += 1
            except subprocess.CalledProcessError as error:
                silent[question.name] = f"ended with {error.returncode}"
                faults += 1
            else:
                results[question.name] = {
                    "command": command_of(question, options.quick), "against": question.against,
                    "measured": datetime.date.today().isoformat(), "busy": machine.busy(),
                    "took_seconds": round(time.monotonic() - start, 1), "figures": figures, "notes": notes}
                show(question.name, results[question.name])
            if question.name in silent:
                print(f"{question.name}: {silent[question.name]}", flush=True)
            keep(results, silent)
    return results, silent, faults


def merged(store, results, where, order):
    """A store with results put in, in the order of the list; what the list no longer asks goes."""
    together = (store or {}).get("questions", {}) | results
    return {"machine": where, "questions": {name: together[name] for name in order if name in together}}


def save(path, value):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(value, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")


def write_page(store):
    PAGE.write_text(pages.written(PAGE.read_text(encoding="utf-8"), store), encoding="utf-8")


def chosen(options, known):
    names = options.only.split(",") if options.only else [each.name for each in known]
    unknown = sorted(set(names) - {each.name for each in known})
    if unknown:
        sys.exit(f"scripts/bench: no question is called {', '.join(unknown)}; --list shows them")
    return [each for each in known if each.name in names]


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, nargs="?", default=ROOT / "build" / "release",
                        help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="small sizes, some three minutes")
    parser.add_argument("--only", metavar="NAME,NAME", help="these questions alone")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="the figures, into this file too")
    parser.add_argument("--write", action="store_true",
                        help="put the figures into bench/figures.json and docs/BENCHMARKS.md")
    parser.add_argument("--page", action="store_true",
                        help="fill docs/BENCHMARKS.md from bench/figures.json, and measure nothing")
    parser.add_argument("--scans", type=pathlib.Path, metavar="DIR", default=ROOT.parent / "shared" / "data",
                        help="real scans; ../shared/data beside the checkout if left out")
    parser.add_argument("--results", type=pathlib.Path, default=ROOT / "build" / "bench",
                        help=argparse.SUPPRESS)
    parser.add_argument("--list", action="store_true", help="show the questions")
    options = parser.parse_args()
    if options.quick and options.write:
        parser.error("figures of small sizes are not written into the page")
    options.build = options.build.resolve()
    return options


def main():
    options = arguments()
    known = questions.read_list(questions.LIST.read_text(encoding="utf-8"))
    if options.list:
        for each in known:
            print(f"{each.name:<20} {each.against}\n{'':<20} {command_of(each, options.quick)}")
        return 0
    if options.page:
        write_page(json.loads(KEPT.read_text(encoding="utf-8")))
        return 0
    options.results.mkdir(parents=True, exist_ok=True)
    where, order = machine.machine(options.build), [each.name for each in known]
    kept = json.loads(KEPT.read_text(encoding="utf-8")) if KEPT.exists() else None

    def keep(results, silent):
        run = merged(None, results, where, order) | {"quick": options.quick, "silent": silent}
        for path in {options.results / "figures.json", options.json} - {None}:
            save(path, run)
        if options.write and results:
            save(KEPT, merged(kept, results, where, order))
            write_page(merged(kept, results, where, order))

    results, silent, faults = ask_all(options, chosen(options, known), keep)
    missed = sum(not each.get("met", True) for result in results.values() for each in result["figures"])
    print(f"{len(results)} questions answered, {len(silent)} not; {missed} aims missed; "
          f"figures in {options.results / 'figures.json'}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
