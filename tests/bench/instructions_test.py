#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""instructions_test.py ROOT: what the count of instructions says, and about which change."""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(ROOT / "bench" / "instructions"))
sys.dont_write_bytecode = True
import count  # noqa: E402


def figure(instructions, answer=7):
    return {"instructions": instructions, "answer": answer}


class Count(unittest.TestCase):
    def test_passes_what_is_within_three_per_cent(self):
        kept = {"a": figure(1_000_000), "b": figure(1_000_000)}
        self.assertEqual(count.changes(kept, {"a": figure(1_029_999), "b": figure(970_001)}), {})

    def test_names_paths_that_take_more_or_fewer(self):
        kept = {"more": figure(1_000_000), "fewer": figure(1_000_000), "same": figure(1_000_000)}
        told = count.changes(kept, {"more": figure(1_050_000), "fewer": figure(960_000), "same": figure(1_000_000)})
        self.assertEqual(told, {"more": "1,000,000 instructions before, 1,050,000 now: +5.0 %, more",
                                "fewer": "1,000,000 instructions before, 960,000 now: -4.0 %, fewer"})

    def test_does_not_compare_other_work(self):
        told = count.changes({"a": figure(1_000_000, 7)}, {"a": figure(1_000_000, 8), "b": figure(1)})
        self.assertIn("other work", told["a"])
        self.assertIn("not accepted yet", told["b"])

    def test_says_what_a_commit_that_accepts_says(self):
        kept = {"a": figure(1_000_000), "b": figure(1_000_000)}
        said = count.sentence(kept, {"a": figure(1_080_000), "b": figure(1_000_100), "c": figure(5)})
        self.assertEqual(said, "Instructions: a +8.0 %, c new.")

    @unittest.skipUnless(shutil.which("git"), "there is no git")
    def test_names_what_changed_in_a_room_since_the_figures_were_accepted(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)

            def commit(title, path, text):
                (root / path).parent.mkdir(exist_ok=True)
                (root / path).write_text(text)
                subprocess.run(["git", "-C", root, "add", "-A"], check=True)
                subprocess.run(["git", "-C", root, "-c", "user.name=n", "-c", "user.email=e@x", "-c",
                                "commit.gpgsign=false", "commit", "-qnm", title], check=True)
            subprocess.run(["git", "init", "-q", root], check=True)
            commit("accepted", "figures.json", "1")
            self.assertIn("nothing changed", count.touched(root, ["stats"], "figures.json")[0])
            commit("stats: a slower way", "stats/breaks.cpp", "slow\n")
            commit("c: another room", "c/call.cpp", "slow\n")
            told = "\n".join(count.touched(root, ["stats"], "figures.json"))
            self.assertIn("stats: a slower way", told)
            self.assertIn("stats/breaks.cpp | 1 +", told)
            self.assertNotIn("another room", told)
            commit("accepted again", "figures.json", "2")
            self.assertIn("nothing changed", count.touched(root, ["stats"], "figures.json")[0])

    def test_knows_the_paths_of_the_program_and_their_rooms(self):
        names = []
        for source in sorted((ROOT / "bench" / "instructions").glob("*_paths.cpp")):
            names += re.findall(r'\{"(\w+)", \w+\}', source.read_text())
        self.assertEqual(sorted(names), sorted(count.ROOMS))
        self.assertEqual(sorted(json.loads(count.FIGURES.read_text())["paths"]), sorted(count.ROOMS))
        for rooms in [*count.ROOMS.values(), count.ALWAYS]:
            for room in rooms:
                self.assertTrue((ROOT / room).is_dir(), room)


unittest.main()
