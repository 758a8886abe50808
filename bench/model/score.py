#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How much of a building does `orvix model` find where the building is known?

    orvix model house.prj house.json
    bench/model/score.py house.json truth.json           # a table
    bench/model/score.py house.json truth.json --list    # and each miss and each false element, with its place

    walls      precision, recall: axes within 5 cm and 2 degrees that cover 80 %, walls of which both sides
               were seen; a found wall is right where 80 % of its axis is true
    rooms      at an overlap of 0.9 in plan, rooms with a station inside
    doors,     at an overlap of 0.7 in the wall's plane, in walls seen from both sides
    windows
    slabs      level faces of 4 m2 and more of which a fifth was seen: height within 2 cm, 0.75 in plan
    slopes     of 4 m2 and more: plane within 2 cm and 1 degree, 0.75 in plan of all or of what was seen

The last lines count as the scans' own scorer does: a found wall is right there with any part of it, and
openings are counted together. Wants python3-numpy.
"""
import argparse
import json
import sys

import numpy as np

import matches


def judge(model, truth):
    openings = matches.match_openings(truth, model)
    return {"walls": matches.match_walls(truth, model), "one side": matches.match_faces(truth, model),
            "rooms": matches.match_rooms(truth, model), "doors": openings["door"],
            "windows": openings["window"], "slabs": matches.match_slabs(truth, model),
            "slopes": matches.match_slopes(truth, model), "openings": openings["all"]}


def ratio(part, whole):
    return f"{part / whole:.2f}" if whole else "-"


def within(values, limit):
    return f"{sum(value <= limit for value in values)} of {len(values)}"


def percentile(values, share):
    return float(np.percentile(values, share)) if values else float("nan")


def notes(name, match):
    """What is off by how much."""
    errors = match.errors
    if name == "walls":
        off = errors["thickness"]
        return (f"thickness within 1 cm {within(off, 0.01)}, off by {1000 * percentile(off, 50):.1f} mm "
                f"(median), {1000 * percentile(off, 95):.1f} mm (95 %)") if off else ""
    if name == "rooms":
        return (f"area within 1 % {within(errors['area'], 0.01)}, height within 1 cm "
                f"{within(errors['height'], 0.01)}, volume within 1 % {within(errors['volume'], 0.01)}")
    if name in ("doors", "windows") and errors["width"]:
        return ", ".join(f"{size} off by {1000 * percentile(errors[size], 50):.0f} mm (median)"
                         for size in ("width", "height"))
    if name == "slabs" and errors["height"]:
        return f"heights off by {1000 * percentile(errors['height'], 50):.1f} mm (median)"
    if name == "slopes" and errors["plane"]:
        return (f"planes off by {1000 * max(errors['plane']):.1f} mm and {max(errors['turn']):.2f} degrees "
                f"(largest)")
    return ""


ROWS = ["walls", "rooms", "doors", "windows", "slabs", "slopes"]


def row_of(name, match):
    return [name, ratio(match.right, match.given), ratio(match.found, match.asked),
            f"{match.right} of {match.given}", f"{match.found} of {match.asked}", notes(name, match)]


HEAD = ["", "precision", "recall", "right", "found", "errors"]


def report(judged, listed=False):
    rows = [HEAD] + [row_of(name, judged[name]) for name in ROWS]
    wide = [max(len(row[k]) for row in rows) for k in range(len(HEAD))]
    text = "".join("  ".join(cell.ljust(width) for cell, width in zip(row, wide)).rstrip() + "\n"
                   for row in rows)
    one = judged["one side"]
    text += f"of walls seen from one side {one.found} of {one.asked} are there, as a face or a wall\n"
    walls, rooms, both = judged["walls"], judged["rooms"], judged["openings"]
    off = walls.errors["thickness"]
    text += (f"as the scans' scorer counts: walls {walls.found} of {walls.asked} found, {walls.touched} of "
             f"{walls.given} right, thickness off by {1000 * percentile(off or [0], 50):.1f} mm, "
             f"{within(off, 0.01)} within 1 cm; rooms {rooms.found} of {rooms.asked} found, {rooms.right} of "
             f"{rooms.given} right; openings {both.found} of {both.asked} found, {both.right} of "
             f"{both.given} right\n")
    if listed:
        for name in ROWS + ["one side"]:
            for title, sentences in (("missed", judged[name].missed), ("false", judged[name].false)):
                text += "".join(f"  {title:<7} {sentence}\n" for sentence in sentences)
    return text


def numbers(judged):
    return {name: {"asked": match.asked, "found": match.found, "given": match.given, "right": match.right,
                   "errors": match.errors, "missed": match.missed, "false": match.false}
            for name, match in judged.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("model", help="what orvix model wrote, .json")
    parser.add_argument("truth", help="truth.json of the scan")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--json", metavar="FILE", help="all numbers")
    options = parser.parse_args()
    with open(options.model) as model, open(options.truth) as truth:
        judged = judge(json.load(model), json.load(truth))
    sys.stdout.write(report(judged, options.list))
    if options.json:
        with open(options.json, "w") as file:
            json.dump(numbers(judged), file, indent=1)


if __name__ == "__main__":
    main()
