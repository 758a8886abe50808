#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""questions_test.py ROOT: every bench is asked, and pages keep what was written by hand."""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(ROOT / "bench" / "questions"))
sys.dont_write_bytecode = True
import ask  # noqa: E402
import pages  # noqa: E402
import questions  # noqa: E402

STORE = {"machine": {"cores": 2, "processor": "P", "last_cache": "1K", "memory_gib": 4, "system": "S",
                     "compiler": "c++ 1"},
         "questions": {"reading": {
             "command": "bench_reading", "against": "a loop", "measured": "2026-01-02", "notes": [],
             "figures": [
                 {"what": "fast", "value": 1.1, "unit": "", "is_ratio": True, "aim": 1.15,
                  "aim_kind": "at most", "met": True, "ceiling_seconds": 0.01, "seconds": 0.011},
                 {"what": "slow", "value": 3.0, "unit": "million/s", "is_ratio": False, "aim": 10,
                  "aim_kind": "at least", "met": False},
                 {"what": "beside", "value": 7, "unit": "MB", "is_ratio": False}]}}}
PAGE = """# By hand

before <!-- figures: aims --> in a line of its own alone
<!-- figures: aims -->
| old |
<!-- end -->
between, with a \\1 and two spaces
<!-- figures: reading -->
<!-- end -->
<!-- figures: nobody-measured -->
| stays |
<!-- end -->
after"""


def benches():
    """The names that CMake builds a bench of."""
    found = set()
    for path in (ROOT / "bench").rglob("CMakeLists.txt"):
        found |= set(re.findall(r"^\s*orvix_bench\((\w+)", path.read_text(), re.MULTILINE))
    return {f"bench_{name}" for name in found - {"instructions"}}  # counted, not timed


class List(unittest.TestCase):
    def setUp(self):
        self.known = questions.read_list(questions.LIST.read_text(encoding="utf-8"))

    def test_asks_every_bench_that_is_built_and_no_other(self):
        asked = {each.program for each in self.known if each.program.startswith("bench_")}
        self.assertGreater(len(benches()), 10)
        self.assertEqual(benches() - asked, set(), "not in bench/questions/questions.txt")
        self.assertEqual(asked - benches(), set(), "no bench of CMake's")

    def test_names_scripts_that_are_there(self):
        for each in self.known:
            if not each.program.startswith("bench_"):
                self.assertTrue((ROOT / each.program).is_file(), each.program)

    def test_shows_commands_as_a_reader_types_them(self):
        asked = questions.read_list("a | bench_a --project {project:hall.laz} --json | --points 5 |\n"
                                    "b | bench/b.py {build} {out}/x --picture {pictures}/b.png | |")
        self.assertEqual([ask.command_of(asked[0], False), ask.command_of(asked[0], True),
                          ask.command_of(asked[1], True)],
                         ["build/release/bin/bench_a --project hall.prj", "build/release/bin/bench_a --points 5",
                          "bench/b.py build/release out/x --picture docs/b.png"])

    def test_a_line_that_is_not_understood_is_named(self):
        for text in ("a | b | c", "two words | b | | d", "a | bench_a | | d\na | bench_b | | d", "a | | | d",
                     "a | bench_a | | d | quickly"):
            with self.assertRaisesRegex(ValueError, "line [12]"):
                questions.read_list(text)


class Figures(unittest.TestCase):
    def test_tell_whether_their_aim_is_met(self):
        rows, notes = questions.objects([
            'said first', '{"bench":"b","what":"w","ratio":1.2,"aim":1.15,"aim_kind":"at most"}',
            '{"bench":"b","what":"v","value":12,"unit":"M/s","aim":10,"aim_kind":"at least"}',
            '{"bench":"b","what":"plain","value":3,"unit":"MB"}', '{broken'])
        self.assertEqual(notes, ["said first", "{broken"])
        made = questions.figures_of(rows)
        self.assertEqual([each.get("met") for each in made], [False, True, None])

    def test_of_a_search_are_rates_and_how_many_times_as_long_rivals_take(self):
        made = questions.figures_of([
            {"name": "orvix", "who": "orvix planes", "points": 1_000_000, "seconds": 0.5},
            {"name": "cgal", "who": "CGAL", "points": 1_000_000, "seconds": 30}], ("at least", 100))
        self.assertEqual([(each["what"], each["value"]) for each in made],
                         [("search of 1,000,000 points", 2.0), ("CGAL, times as long", 60.0)])
        self.assertEqual([each.get("met") for each in made], [None, False])


class Pages(unittest.TestCase):
    def test_keep_prose_and_fill_places(self):
        page = pages.written(PAGE, STORE)
        outside = pages.PLACE.sub("", page)
        self.assertEqual(outside, pages.PLACE.sub("", PAGE))
        self.assertNotIn("| old |", page)
        self.assertIn("| reading: fast | a loop | 1.10 | at most 1.15 | `bench_reading` |", page)
        self.assertIn("| reading: slow | a loop | **3.00 million/s**, missed | at least 10 |", page)
        self.assertNotIn("reading: beside", page)
        self.assertIn("| fast | 10 ms | 11 ms | 1.10 | at most 1.15 |", page)
        self.assertIn("| stays |", page)

    def test_show_figures_that_name_a_row_and_a_column_as_one_table(self):
        cells = [("1 M", "import, s", 0.1), ("3 M", "import, s", 0.25), ("1 M", "walk, s", 1234)]
        store = {"questions": {"growth": {"command": "c", "against": "", "measured": "", "figures": [
            {"what": "w", "value": value, "unit": "s", "row": row, "column": column}
            for row, column, value in cells]}}}
        self.assertTrue(pages.question(store, "growth").startswith(
            "|  | import, s | walk, s |\n| --- | --- | --- |\n| 1 M | 0.1 | 1,234 |\n| 3 M | 0.25 |  |\n"))

    def test_do_not_change_when_written_again(self):
        page = pages.written(PAGE, STORE)
        self.assertEqual(pages.written(page, STORE), page)

    def test_keep_the_figures_of_questions_that_were_not_asked(self):
        new = {"writing": {"command": "w", "against": "", "measured": "", "figures": [], "notes": []}}
        store = ask.merged(STORE, new, STORE["machine"], ["writing", "reading"])
        self.assertEqual(list(store["questions"]), ["writing", "reading"])
        gone = ask.merged(STORE, new, STORE["machine"], ["writing"])
        self.assertEqual(list(gone["questions"]), ["writing"])


class Committed(unittest.TestCase):
    """The page of this checkout against the figures beside it."""

    def test_page_has_its_places(self):
        found = pages.places(ask.PAGE.read_text(encoding="utf-8"))
        self.assertIn("aims", found)
        known = {each.name for each in questions.read_list(questions.LIST.read_text(encoding="utf-8"))}
        self.assertEqual(set(found) - known - {"aims", "machine"}, set(), "places of no question")

    def test_page_shows_the_figures_that_are_committed(self):
        page = ask.PAGE.read_text(encoding="utf-8")
        store = json.loads(ask.KEPT.read_text(encoding="utf-8"))
        self.assertEqual(pages.written(page, store), page, "scripts/bench --page fills it")


class Asking(unittest.TestCase):
    """ask.py with programs that answer, answer wrongly and are not there."""

    def test_a_wrong_answer_fails_and_stops_nobody_else(self):
        with tempfile.TemporaryDirectory() as folder:
            build = pathlib.Path(folder)
            (build / "bin").mkdir()
            good, bad = build / "bin" / "bench_stream_points", build / "bin" / "bench_read_runs"
            good.write_text('#!/bin/sh\necho \'{"what":"w","ratio":1.5,"bytes":0,"aim":1,"aim_kind":"at most"}\'\n')
            bad.write_text('#!/bin/sh\necho "wrong answer: the sums differ" >&2\nexit 1\n')
            good.chmod(0o755)
            bad.chmod(0o755)
            told = build / "told.json"
            done = subprocess.run(
                [sys.executable, ROOT / "bench/questions/ask.py", build, "--only",
                 "stream_points,read_runs,jenks", "--json", told, "--results", build / "results"],
                capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
            store = json.loads(told.read_text())
            self.assertEqual(list(store["questions"]), ["stream_points"])
            self.assertFalse(store["questions"]["stream_points"]["figures"][0]["met"])
            self.assertEqual(store["silent"], {"read_runs": "ended with 1",
                                               "jenks": "left out: bench_jenks is not built"})
            self.assertIn("1 aims missed", done.stdout)


unittest.main()
