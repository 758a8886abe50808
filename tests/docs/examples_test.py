#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The command lines in README.md and docs/COMMAND.md run, and --json gives the keys listed there.

    examples_test.py ROOT COMMAND...

Each document's lines run in their order, in a folder of their own that holds the sample scan under
the names that they use. A line that cannot run here is in NOT_RUN with its reason.
"""

import json
import os
import pathlib
import random
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile

SEED = "3.7,-4.0,12.9"
NOT_RUN = {
    "orvix VERB --help": "stands for every verb; command_test.py asks them all",
    "orvix import site.e57 hall.prj --station Hall": "the sample is no E57, and export writes none",
    "orvix params scan.prj": "opens a window and waits for it",
    f"orvix params scan.prj --seed {SEED} --lang de": "opens a window and waits for it",
    "orvix view scan.prj": "serves until it is ended",
    "orvix view scan.prj --port 8020 --no-open --stay": "serves until it is ended",
    "orvix view scan.prj --no-open --json": "serves until it is ended",
    f"orvix params hall.prj --seed {SEED}": "opens a window and waits for it",
    "orvix view hall.prj": "serves until it is ended",
}

# What each verb is asked for its keys, and its exit code. Together they give every key.
JSON_RUNS = {
    "import": ["import scan.ply keys.prj"],
    "import-tasks": ["import-tasks begin scan.ply tasks.prj",
                     "import-tasks run tasks.prj survey/0 sort/0 plan merge/0 finish publish"],
    "info": ["info keys.prj"],
    "stations": ["stations posed.prj --picture plan.png", "stations twice.prj --consistency"],
    "check": ["check keys.prj", "check damaged.prj"],
    "repair": ["repair damaged.prj", "repair spoilt.prj"],
    "walk": ["walk keys.prj"],
    "plane": [f"plane keys.prj --seed {SEED} --mesh roof.ply --picture roof.png"],
    "planes": [f"planes keys.prj --explain {SEED} --picture planes.png"],
    "model": ["model keys.prj keys.ifc --save"],
    "planes-tasks": ["planes-tasks begin keys.prj --pieces 2", "planes-tasks run keys.prj tiles/0"],
    "deviation": ["deviation keys.prj planes --picture deviation.png"],
    "histogram": ["histogram keys.prj --picture keys.svg"],
    "classify": ["classify keys.prj --field z --sample 500"],
    "export": ["export keys.prj keys.ply"],
    "section": ["section keys.prj --level 2 --picture level.png --export level.ply"],
    "settings": ["settings list", "settings get SplitSize", "settings reset SplitSize"],
    "site": ["site scans --to projects"],
    "destroy": ["destroy keys.prj"],
}
EXIT_CODES = {"check damaged.prj": 5, "repair spoilt.prj": 5, "site scans --to projects": 1}
WITHOUT_RUN = {"params": "opens a window and waits for it", "view": "serves until it is ended"}

# Where the objects of a table are: the heading of its first column to the way from the result.
PLACES = {
    "Key": [],
    "Key of a station": ["stations"],
    "Key of `explain`": ["explain"],
    "Key of `consistency`": ["consistency"],
    "Key of a compared station": ["consistency", "compared"],
    "Key of a pair": ["consistency", "pairs"],
    "Key of a plane": ["planes"],
    "Key of an element": ["elements"],
    "Key of a histogram": ["histograms"],
    "Key of `list`": [],
    "Key of `reset`": [],
    "Key of a setting": ["settings"],
    "Key of a scan": ["scans"],
    "Key of a step": ["scans", "steps"],
}
# Objects whose keys are values themselves: those listed may occur, others may not.
OPEN = {"rejected", "model"}


def command_lines(document):
    """Lines of code that begin with the command's name, without their comments."""
    text = document.read_text(encoding="utf-8")
    if document.name == "COMMAND.md":
        text = text[text.index("\n## "):]  # the list of verbs before is command_test.py's
    for line in text.split("\n"):
        if re.match(r"(    )?orvix ", line):
            yield re.split(r"\s+#", line.strip())[0].strip()


class Runner:
    def __init__(self, command, folder):
        self.command = command
        self.folder = folder
        self.environment = {**os.environ, "ORVIX_SETTINGS_DIR": str(folder / "settings")}

    def run(self, *words):
        return subprocess.run([*self.command, *words], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8",
                              errors="replace", timeout=120)

    def must(self, *words):
        done = self.run(*words)
        if done.returncode != 0:
            raise SystemExit(f"{' '.join(words)}: exit {done.returncode}\n{done.stderr}")

    def example_fault(self, line):
        """What is wrong with a documented line: the part before a pipe or redirection runs."""
        words = shlex.split(line)[1:]
        target = None
        for sign in ("|", ">"):
            if sign in words:
                at = words.index(sign)
                target = words[at + 1] if sign == ">" else None
                words = words[:at]
        done = self.run(*words)
        if target:
            (self.folder / target).write_text(done.stdout, encoding="utf-8")
        if done.returncode != 0:
            return f"'{line}' ends with {done.returncode}: {done.stderr.strip()}"
        if "--json" in words:
            json.loads(done.stdout)
        return None


def write_scan(sample, path):
    """The sample with intensities, which it lacks."""
    head, points = sample.read_bytes().split(b"end_header\n", 1)
    draw = random.Random(1)
    with open(path, "wb") as file:
        file.write(head + b"property uchar intensity\nend_header\n")
        for at in range(0, len(points), 12):
            file.write(points[at:at + 12] + struct.pack("B", draw.randrange(10, 250)))


def prepare(runner, sample):
    """The scans that the examples import."""
    folder = runner.folder
    write_scan(sample, folder / "north.ply")
    shutil.copy(folder / "north.ply", folder / "south.ply")
    runner.must("import", "north.ply", "prepared.prj")
    runner.must("export", "prepared.prj", "scan.las")
    runner.must("export", "prepared.prj", "tile.xyz")
    runner.must("destroy", "prepared.prj")
    for name in ("lobby.las", "huge.las"):
        shutil.copy(folder / "scan.las", folder / name)
    (folder / "scans" / "floor1").mkdir(parents=True)
    shutil.copy(folder / "scan.las", folder / "scans" / "floor1" / "hall.las")


def faults_of_examples(documents, command, sample):
    seen = set()
    for document in documents:
        with tempfile.TemporaryDirectory() as folder:
            runner = Runner(command, pathlib.Path(folder))
            prepare(runner, sample)
            for line in command_lines(document):
                seen.add(line)
                if line in NOT_RUN:
                    continue
                if fault := runner.example_fault(line):
                    yield f"{document.name}: {fault}"
    if len(seen) < 40:
        yield f"only {len(seen)} command lines were found"
    for line in sorted(NOT_RUN.keys() - seen):
        yield f"no document has the line '{line}' any more"


def tables_of(document):
    """Verb to its tables of keys: the heading of the first column, and key to meaning."""
    tables, verb, rows = {}, None, None
    for line in document.read_text(encoding="utf-8").split("\n"):
        if line.startswith("## "):
            verb = line[3:]
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if not cells:
            rows = None
        elif cells[0].startswith("Key"):
            rows = {}
            tables.setdefault(verb, []).append((cells[0], rows))
        elif rows is not None and not cells[0].startswith("-"):
            for key in re.findall(r"`(\w+)`", cells[0]):
                rows[key] = cells[1]
    return tables


def objects_at(results, place):
    for key in place:
        results = [part for result in results if isinstance(result, dict)
                   for part in listed(result.get(key))]
    return [result for result in results if isinstance(result, dict)]


def listed(value):
    return value if isinstance(value, list) else [value]


def keys_within(value):
    """All keys of the objects in a value, however deep."""
    if isinstance(value, list):
        return set().union(*map(keys_within, value)) if value else set()
    if isinstance(value, dict):
        return value.keys() | set().union(*map(keys_within, value.values()))
    return set()


def faults_of_row(key, meaning, values):
    """The keys of objects without a table of their own are the words in the row's meaning."""
    given = set().union(*map(keys_within, values))
    if not given:
        return
    named = set(re.findall(r"`([\w ]+)`", meaning)) - {"null"}
    for inner in sorted(given - named):
        yield f"{key}.{inner} is given, and not in its row"
    if key not in OPEN:
        for inner in sorted(named - given):
            yield f"{key}.{inner} is in the row, and not given"


def results_of_table(heading, results):
    """A setting is the result itself of two verbs, and listed by a third."""
    if heading == "Key of a setting":
        return objects_at(results["settings list"], ["settings"]) + results["settings get SplitSize"]
    if heading in ("Key of `list`", "Key of `reset`"):
        return results["settings list" if "list" in heading else "settings reset SplitSize"]
    everything = [result for run in results.values() for result in run]
    return objects_at(everything, PLACES[heading])


def faults_of_verb(tables, results):
    below = {part for heading, _ in tables for part in PLACES[heading]}
    for heading, rows in tables:
        objects = results_of_table(heading, results)
        if not objects:
            yield f"the table '{heading}' has no object"
        given = set().union(*(o.keys() for o in objects))
        for key in sorted(given - rows.keys()):
            yield f"{key} is given, and not in the table '{heading}'"
        for key in sorted(rows.keys() - given):
            yield f"{key} is in the table '{heading}', and not given"
        for key in sorted((given & rows.keys()) - below):
            yield from faults_of_row(key, rows[key], [o[key] for o in objects if key in o])


def prepare_keys(runner, sample):
    """A posed station with orientation, a project that a file was cut from, one with a flipped bit."""
    write_scan(sample, runner.folder / "scan.ply")
    (runner.folder / "posed.pcd").write_text(
        "VERSION 0.7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\nWIDTH 4\nHEIGHT 1\n"
        "VIEWPOINT 1 2 3 0.5 0.5 0.5 0.5\nPOINTS 4\nDATA ascii\n0 0 0\n1 0 0\n0 1 0\n0 0 1\n")
    (runner.folder / "scans").mkdir()
    for name in ("posed.pcd", "cut.pcd"):
        shutil.copy(runner.folder / "posed.pcd", runner.folder / "scans" / name)
    with open(runner.folder / "scans" / "cut.pcd", "r+b") as file:
        file.truncate(40)
    runner.must("import", "posed.pcd", "posed.prj")
    shutil.copy(runner.folder / "scan.ply", runner.folder / "again.ply")
    runner.must("import", "scan.ply", "again.ply", "twice.prj")
    runner.must("import", "posed.pcd", "damaged.prj")
    cut = runner.folder / "damaged_Project_Files" / "Index" / "Grid.idx"
    cut.write_bytes(cut.read_bytes()[:-8])
    runner.must("import", "posed.pcd", "spoilt.prj")
    points = runner.folder / "spoilt_Project_Files" / "Index" / "Grid.pts"
    points.write_bytes(bytes([points.read_bytes()[0] ^ 1]) + points.read_bytes()[1:])


def faults_of_keys(document, runner):
    tables = tables_of(document)
    for verb in sorted(tables.keys() ^ (JSON_RUNS.keys() | WITHOUT_RUN.keys())):
        yield f"{verb}: has a table of keys or a run, and not both"
    for verb, lines in JSON_RUNS.items():
        results = {}
        for line in lines:
            done = runner.run(*line.split(), "--json")
            if done.returncode != EXIT_CODES.get(line, 0):
                yield f"{line}: exit {done.returncode}: {done.stderr.strip()}"
                continue
            results[line] = [json.loads(done.stdout)]
        if len(results) == len(lines):
            for fault in faults_of_verb(tables.get(verb, []), results):
                yield f"{verb}: {fault}"


def faults_of_objects(document, runner):
    """The two objects that the document shows: an error, word by word, and a step of progress."""
    blocks = re.findall(r"```json\n(.*?)```", document.read_text(encoding="utf-8"), re.DOTALL)
    error, progress = map(json.loads, blocks)
    given = json.loads(runner.run("info", "nonsense.prj", "--json").stdout)
    if given != error:
        yield f"the error is {given}"
    done = runner.run("import", "posed.pcd", "steps.prj", "--progress", "json")
    steps = [json.loads(line) for line in done.stderr.split("\n") if line.startswith("{")]
    if not steps:
        yield "an import shows no progress"
    for step in steps:
        if step.keys() != progress.keys():
            yield f"a step of progress is {step}"
            return


def faults(root, command):
    sample = root / "samples" / "building.ply"
    page = root / "docs" / "COMMAND.md"
    yield from faults_of_examples([root / "README.md", page], command, sample)
    with tempfile.TemporaryDirectory() as folder:
        runner = Runner(command, pathlib.Path(folder))
        prepare_keys(runner, sample)
        yield from faults_of_objects(page, runner)
        yield from faults_of_keys(page, runner)


def main():
    found = list(faults(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:]))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
