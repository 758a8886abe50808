# SPDX-License-Identifier: GPL-3.0-or-later
"""The list of questions (questions.txt), and what each program's lines are as figures."""
import dataclasses
import json
import pathlib
import re

LIST = pathlib.Path(__file__).with_name("questions.txt")
AIM = re.compile(r"(at least|at most) (\d+(?:\.\d+)?)")


@dataclasses.dataclass(frozen=True)
class Question:
    name: str
    program: str
    words: tuple
    quick: tuple  # instead of the words
    against: str
    aim: tuple = ()  # (kind, value) of how many times as long rivals of a search take

    def asked_with(self, quick):
        return self.quick if quick and self.quick else self.words


def read_list(text):
    """The questions of a list; ValueError names the line that is not understood."""
    found = []
    for number, line in enumerate(text.splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = [field.strip() for field in line.split("|")]
        aim = AIM.fullmatch(fields[4]) if len(fields) == 5 else None
        if len(fields) != 4 and not aim or not fields[0].isidentifier() or not fields[1]:
            raise ValueError(f"line {number} is not 'name | program | quick words | against [| aim]': {line}")
        program, *words = fields[1].split()
        if any(each.name == fields[0] for each in found):
            raise ValueError(f"line {number} asks {fields[0]} a second time")
        found.append(Question(fields[0], program, tuple(words), tuple(fields[2].split()), fields[3],
                              (aim.group(1), float(aim.group(2))) if aim else ()))
    return found


def objects(lines):
    """The JSON objects among lines, and the other lines."""
    rows, notes = [], []
    for line in lines:
        try:
            row = json.loads(line) if line.startswith("{") else None
        except ValueError:
            row = None
        if isinstance(row, dict):
            rows.append(row)
        elif line.strip():
            notes.append(line.rstrip())
    return rows, notes


def is_met(value, aim, kind):
    return value <= aim if kind == "at most" else value >= aim


def aimed(made, kind, aim):
    """A figure with its aim, and whether that is met."""
    return made | {"aim": aim, "aim_kind": kind, "met": is_met(made["value"], aim, kind)}


def figure(row):
    """A figure of a bench's own line: a ratio of two times, or a value with its unit."""
    made = {"what": row["what"], "value": row.get("ratio", row.get("value")),
            "unit": row.get("unit", ""), "is_ratio": "ratio" in row}
    for key in ("ceiling_seconds", "seconds", "against", "row", "column"):
        if key in row:
            made[key] = row[key]
    return aimed(made, row["aim_kind"], row["aim"]) if "aim" in row else made


def search_figures(rows, aim):
    """Of bench_find_planes: how fast the search is, and how many times as long each rival takes."""
    ours = next(row for row in rows if row["name"] == "orvix")
    made = [{"what": f"search of {ours['points']:,} points", "unit": "million points/s", "is_ratio": False,
             "value": ours["points"] / ours["seconds"] / 1e6}]
    for row in rows:
        if row is not ours:
            slower = {"what": f"{row['who']}, times as long", "value": row["seconds"] / ours["seconds"],
                      "unit": "times", "is_ratio": False, "ceiling_seconds": row["seconds"],
                      "seconds": ours["seconds"]}
            made.append(aimed(slower, *aim) if aim else slower)
    return made


def figures_of(rows, aim=()):
    """The figures of a program's objects, whichever of the two kinds they are; the aim is that of a search."""
    searches = [row for row in rows if "who" in row and "what" not in row]
    return [figure(row) for row in rows if "what" in row] + (
        search_figures(searches, aim) if searches else [])
