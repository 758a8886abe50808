#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the command does whose every file call can be made to fail, and how a state is judged.

A scenario prepares a folder, runs the command there, and knows which states of the folder are
whole: that of before and that of after.
"""
import hashlib
import json
import math
import os
import shutil
import subprocess


def write_scan(path, seed, with_pose):
    """A room of three surfaces as PTX: a scan with a pose, so that the project gets stations."""
    points = []
    for i in range(40):
        for j in range(40):
            a, b = i * 0.05, j * 0.05
            wave = 0.002 * math.sin(i * 3.1 + j * 1.7 + seed)
            points += [(a, b, wave), (a, wave, b), (wave, a, b)]
    lines = [str(len(points)), "1"]
    lines += ["1.5 0.75 0.5" if with_pose else "0 0 0", "1 0 0", "0 1 0", "0 0 1"]
    lines += ["1 0 0 0", "0 1 0 0", "0 0 1 0", "1.5 0.75 0.5 1" if with_pose else "0 0 0 1"]
    for number, (x, y, z) in enumerate(points):
        lines.append(f"{x:.4f} {y:.4f} {z:.4f} {((number * 37 + seed * 11) % 1000) / 1000:.3f}")
    with open(path, "w", encoding="ascii") as file:
        file.write("\n".join(lines) + "\n")


def tree_of(folder):
    """Relative path -> what lies there: the hash of a file's bytes, or a word."""
    tree = {}
    for root, folders, files in os.walk(folder):
        for name in folders:
            path = os.path.join(root, name)
            tree[os.path.relpath(path, folder)] = "link" if os.path.islink(path) else "folder"
        for name in files:
            path = os.path.join(root, name)
            if os.path.islink(path):
                tree[os.path.relpath(path, folder)] = "link"
                continue
            with open(path, "rb") as file:
                tree[os.path.relpath(path, folder)] = hashlib.sha1(file.read()).hexdigest()
    return tree


class Bench:
    """The program and the inputs that all scenarios share."""

    def __init__(self, command, scratch):
        self.command = command
        self.scratch = scratch
        self.scan = os.path.join(scratch, "scan.ptx")
        self.other = os.path.join(scratch, "other.ptx")
        write_scan(self.scan, 1, True)
        write_scan(self.other, 2, False)

    def run(self, words, folder, extra=None):
        environment = {k: v for k, v in os.environ.items() if not k.startswith("ORVIX_")}
        environment["ORVIX_SETTINGS_DIR"] = os.path.join(folder, "settings")
        environment.update(extra or {})
        return subprocess.run([self.command] + words, env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=120, check=False)

    def must(self, words, folder):
        done = self.run(words, folder)
        if done.returncode != 0:
            raise RuntimeError(f"orvix {' '.join(words)}: {done.returncode}, {done.stderr.decode()}")
        return done


class Scenario:
    """A command in a folder; the states of before and after it are compared by their bytes."""

    name = ""
    optional = False  # the work may stay undone with exit code 0
    atomic = True  # killed on the way, the folder's project is as before or as after
    whole_kinds = ()  # of which the suite meets every call

    def __init__(self, bench):
        self.bench = bench
        self.before = os.path.join(bench.scratch, self.name, "before")
        self.after = os.path.join(bench.scratch, self.name, "after")

    def project(self, folder):
        return os.path.join(folder, "p.prj")

    def prepare(self, folder):
        self.bench.must(["settings", "list"], folder)

    def words(self, folder):
        raise NotImplementedError

    def again(self, folder):
        """The words that repeat the work after it was ended on the way."""
        return self.words(folder)

    def state(self, folder):
        return tree_of(folder)

    def set_up(self):
        os.makedirs(self.before)
        self.prepare(self.before)
        shutil.copytree(self.before, self.after, symlinks=True)
        done = self.bench.must(self.words(self.after), self.after)
        self.old, self.new = self.state(self.before), self.state(self.after)
        if self.old == self.new:
            raise RuntimeError(f"{self.name} changes nothing: {done.stdout.decode()}")

    def whole(self, state):
        """'old', 'new' or '' for the part of a state that lies under the names of both, and what
        lies beside. An import's marker belongs to no project."""
        def without_marker(tree):
            return {name: what for name, what in tree.items() if not name.endswith("/importing")}
        known = without_marker(self.old) | without_marker(self.new)
        beside = sorted(name for name, what in state.items()
                        if name not in known and self.old.get(name) != what)
        part = {name: what for name, what in state.items() if name in known}
        for word, right in (("old", self.old), ("new", self.new)):
            if part == without_marker(right):
                return word, beside
        return "", beside

    def is_seen(self, folder):
        """Whether a check names what is wrong with a state that is neither."""
        done = self.bench.run(["check", self.project(folder)], folder)
        return done.returncode == 5


class Import(Scenario):
    name = "import"
    scan = "scan"

    def words(self, folder):
        return ["import", getattr(self.bench, self.scan), self.project(folder), "--threads", "1",
                "--progress", "none"]

    def again(self, folder):
        return self.words(folder) + ["--overwrite"]

    def whole(self, state):
        """Without a project file there is no project, whatever has its folder's name."""
        if "p.prj" in state:
            return super().whole(state)
        return "old", sorted(name for name in state if name not in self.old)


class Resume(Import):
    """What fails or is ended leaves its tasks, and the next run goes on with them."""

    name = "resume"

    def words(self, folder):
        return super().words(folder) + ["--resume"]

    def whole(self, state):
        word, beside = super().whole(state)
        return word, [name for name in beside if not name.startswith("p.importing")]


class Overwrite(Import):
    name = "overwrite"

    def prepare(self, folder):
        super().prepare(folder)
        self.bench.must(["import", self.bench.other, self.project(folder)], folder)

    def words(self, folder):
        return super().words(folder) + ["--overwrite"]

    def again(self, folder):
        return self.words(folder)

    def whole(self, state):
        return Scenario.whole(self, state)


class OverwriteMarked(Overwrite):
    """The project to replace was moved here with the marker of its own import still in it."""

    name = "overwrite-marked"

    def prepare(self, folder):
        super().prepare(folder)
        with open(os.path.join(folder, "p_Project_Files", "importing"), "wb"):
            pass


class OnProject(Scenario):
    def prepare(self, folder):
        super().prepare(folder)
        self.bench.must(["import", self.bench.scan, self.project(folder)], folder)


class Destroy(OnProject):
    name = "destroy"

    def words(self, folder):
        return ["destroy", self.project(folder)]

    def again(self, folder):
        mark = os.path.join(folder, "p_Project_Files", "destroying")
        there = os.path.exists(self.project(folder)) or os.path.exists(mark)
        return self.words(folder) if there else None

    def is_seen(self, folder):
        return self.bench.run(["check", self.project(folder)], folder).returncode in (3, 5)


class SavePlanes(OnProject):
    name = "planes-save"

    def words(self, folder):
        return ["planes", self.project(folder), "--save", "--threads", "1"]


class SavePlanesAgain(SavePlanes):
    name = "planes-save-again"

    def prepare(self, folder):
        super().prepare(folder)
        self.bench.must(["planes", self.project(folder), "--save", "--min-area", "3.5"], folder)


class Apply(OnProject):
    """Points are changed in place: one that is ended on the way leaves a mark, which the check names,
    and the sums are then a matter of `orvix repair`. What is judged is the points."""

    atomic = False

    def state(self, folder):
        unsummed = ("/manifest", "/Grid.written")
        return {name: what for name, what in tree_of(folder).items() if not name.endswith(unsummed)}


class ApplyPlanes(Apply):
    name = "planes-apply"

    def words(self, folder):
        return ["planes", self.project(folder), "--apply", "--threads", "1"]


class ApplyClasses(Apply):
    name = "classify-apply"

    def words(self, folder):
        return ["classify", self.project(folder), "--apply", "--progress", "none"]


class UserSettings(Scenario):
    """The store of settings, whose bytes are the database's own: its values are compared."""

    name = "settings-user"

    def words(self, folder):
        return ["settings", "set", "SplitSize", "0.25"]

    def state(self, folder):
        done = self.bench.run(["settings", "list", "--json"], folder)
        if done.returncode != 0:
            return {"settings": done.returncode}
        return {"settings": json.dumps(json.loads(done.stdout), sort_keys=True)}


class ProjectSettings(OnProject):
    """The manifest announces the next record before it is there, and so is neither that of before
    nor that of after: the record is one of both, and the check has no fault. The verb's work is the
    search; sizes that cannot be stored are found again by the next. The note about station
    files is written at every opening, as well as it can be."""

    name = "settings-project"
    optional = True

    def state(self, folder):
        unjudged = ("p_Project_Files/manifest", "p_Project_Files/Index/scanpos/rtfm.txt")
        state = {name: what for name, what in tree_of(folder).items() if name not in unjudged}
        state["check"] = self.bench.run(["check", self.project(folder)], folder).returncode
        return state

    def is_seen(self, folder):
        return False

    def words(self, folder):
        return ["plane", self.project(folder), "--seed", "2.5,1.75,0.5", "--split", "0.33"]


class Repair(OnProject):
    """Files are replaced one by one: until the last is, the check names those that are wrong. What is
    damaged: a file that is gone, an index, and the transform, of which one bit has flipped."""

    name = "repair"
    whole_kinds = ("eacces", "stuck+")  # files that are not read are not lost; what stays is named

    def prepare(self, folder):
        super().prepare(folder)
        files = os.path.join(folder, "p_Project_Files")
        os.remove(os.path.join(files, "Data", "z.hist"))
        for name in (os.path.join("Index", "Grid.idx"), "transform"):
            with open(os.path.join(files, name), "r+b") as file:
                file.seek(20)
                byte = file.read(1)[0]
                file.seek(20)
                file.write(bytes([byte ^ 4]))

    def words(self, folder):
        return ["repair", self.project(folder), "--threads", "1", "--progress", "none"]


class CutSection(OnProject):
    """A picture and a scan file take the places of older ones, one after the other: each is the older
    one or the new one, whole."""

    name = "section"
    outputs = ("s.png", "s.ply")
    whole_kinds = ("eacces",)  # files that are opened twice can be gone the second time

    def cut(self, folder, level):
        picture, points = (os.path.join(folder, name) for name in self.outputs)
        return ["section", self.project(folder), "--level", level, "--thickness", "0.3", "--picture",
                picture, "--width", "1000", "--export", points, "--overwrite", "--device", "cpu",
                "--progress", "none"]

    def prepare(self, folder):
        super().prepare(folder)
        self.bench.must(self.cut(folder, "1.2"), folder)

    def words(self, folder):
        return self.cut(folder, "1.6")

    def whole(self, state):
        word, beside = super().whole(state)
        whole = all(state.get(name) == self.old[name] for name in self.old
                    if name not in self.outputs)
        for name in self.outputs:
            whole = whole and state.get(name) in (self.old[name], self.new[name])
        return word or ("some of each" if whole else ""), beside

    def is_seen(self, folder):
        return False


SCENARIOS = [Import, Resume, Overwrite, OverwriteMarked, Destroy, SavePlanes, SavePlanesAgain, ApplyPlanes,
             ApplyClasses, UserSettings, ProjectSettings, Repair, CutSection]
