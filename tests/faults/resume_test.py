#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Kills an import at random moments, goes on with it, and compares the project with one that was not.

resume_test.py COMMAND [--rounds N] [--points N] [--seed N] [--dedupe]

A round kills the import again and again, until one gets to its end; every other round begins with an
import that does not resume, whose points do not fit into memory. Wrong is a project of other bytes, a
report of other numbers, a failure, or anything left beside the project. Exit code: 0 none wrong.
"""
import argparse
import array
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time

from fault_scenarios import tree_of

LIMIT = "64M"  # 466,000 points
NUMBERS = ["read", "written", "rejected", "checksum", "skeleton_points", "stations", "origin", "inputs"]


def write_scan(path, count, seed):
    """A binary PLY of a hall in random order, with some points twice."""
    chance = random.Random(seed)
    with open(path, "wb") as file:
        file.write(f"ply\nformat binary_little_endian 1.0\nelement vertex {count}\n"
                   "property float x\nproperty float y\nproperty float z\nend_header\n".encode())
        last = array.array("f", [0, 0, 0])
        for number in range(count):
            if number % 50 != 1:
                height = 0 if number % 5 < 2 else 9 * chance.random()
                last = array.array("f", [60 * chance.random(), 40 * chance.random(), height])
            last.tofile(file)


class Import:
    def __init__(self, command, scan, folder, options):
        self.folder = folder
        self.project = os.path.join(folder, "p.prj")
        self.words = [command, "import", scan, self.project, "--memory-limit", LIMIT, "--json"] + options

    def clear(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)

    def run(self, extra, seconds=None):
        """Exit code, output and error; None for the code where it was killed."""
        with subprocess.Popen(self.words + extra, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            try:
                out, error = process.communicate(timeout=seconds)
                return process.returncode, out, error.decode()
            except subprocess.TimeoutExpired:
                process.kill()
                process.communicate()
                return None, b"", ""


def fault_of(work, resumed, expected_tree, expected_report):
    code, out, error = resumed
    tree = tree_of(work.folder)
    # The kill may come when all is done and the process is about to end.
    done_before = code == 3 and "exists" in error
    if code != 0 and not done_before:
        return f"exit code {code}: {error}"
    if tree != expected_tree:
        names = sorted(set(tree.items()) ^ set(expected_tree.items()))
        return f"other files: {names[:4]}"
    if done_before:
        return ""
    report = json.loads(out)
    wrong = [key for key in NUMBERS if report[key] != expected_report[key]]
    return f"other numbers: {wrong}" if wrong else ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command")
    parser.add_argument("--rounds", type=int, default=50)
    parser.add_argument("--points", type=int, default=1_500_000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--dedupe", action="store_true")
    options = parser.parse_args()
    chance = random.Random(options.seed)
    extra = ["--dedupe"] if options.dedupe else []
    with tempfile.TemporaryDirectory() as scratch:
        scan = os.path.join(scratch, "hall.ply")
        write_scan(scan, options.points, options.seed)
        whole = Import(options.command, scan, os.path.join(scratch, "whole"), extra)
        whole.clear()
        began = time.monotonic()
        code, out, error = whole.run([])
        seconds = time.monotonic() - began
        if code != 0:
            sys.exit(error)
        expected = tree_of(whole.folder), json.loads(out)
        work = Import(options.command, scan, os.path.join(scratch, "killed"), extra)
        kills = wrong = 0
        for number in range(options.rounds):
            work.clear()
            words = ["--resume"] if number % 2 else []
            while True:
                resumed = work.run(words, chance.uniform(0.01, 0.7 * seconds))
                words = ["--resume"]
                if resumed[0] is not None:
                    break
                kills += 1
            fault = fault_of(work, resumed, *expected)
            if fault:
                wrong += 1
                print(f"round {number}: {fault}")
        print(f"{options.rounds} imports of {options.points} points, {seconds:.2f} s each when left "
              f"alone, killed {kills} times: {wrong} wrong")
    sys.exit(1 if wrong or kills == 0 else 0)


if __name__ == "__main__":
    main()
