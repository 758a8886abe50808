#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""model_score_test.py BENCH: what bench/model's score.py counts, of a truth and models made by hand, and
what its series.py writes as a street of houses.

The truth is one room of 4 x 3 m between walls of 0.2 m with a door and a window, on a slab and under one
slope; each model changes one thing, and the test says which numbers that must change."""
import copy
import json
import pathlib
import sys
import tempfile

sys.path.insert(0, sys.argv[1])
import score  # noqa: E402
import series  # noqa: E402

SQUARE = [[0, 0], [4, 0], [4, 3], [0, 3]]
AXES = [[[-0.1, -0.1], [4.1, -0.1]], [[4.1, -0.1], [4.1, 3.1]], [[4.1, 3.1], [-0.1, 3.1]],
        [[-0.1, 3.1], [-0.1, -0.1]]]
SLOPE = [0, -0.6, 0.8]


def true_wall(i, axis):
    return {"id": i, "name": f"w{i}", "base": 0, "top": 2.5, "axis": axis, "thickness": 0.2,
            "irregular": False, "both": True, "sides": [{"seen": 0.9}, {"seen": 0.9}]}


TRUTH = {
    "walls": [true_wall(i, axis) for i, axis in enumerate(AXES)],
    "rooms": [{"name": "1", "longName": "Hall", "polygon": [SQUARE], "floor": 0, "ceiling": 2.5,
               "height": 2.5, "area": 12, "volume": 30, "stations": 1}],
    "openings": [{"kind": "door", "host": 0, "centre": [1, -0.1, 1], "direction": [1, 0], "width": 0.9,
                  "height": 2.0, "state": "open"},
                 {"kind": "window", "host": 2, "centre": [2, 3.1, 1.5], "direction": [-1, 0],
                  "width": 1.2, "height": 1.0, "state": None}],
    "slabs": [{"name": "floor", "normal": [0, 0, 1], "top": 0, "thickness": 0.3, "polygon": [SQUARE],
               "seenTop": 0.8, "seenBottom": 0},
              {"name": "roof", "normal": SLOPE, "top": 4.0, "thickness": 0.2, "polygon": [SQUARE],
               "seenTop": 0, "seenBottom": 0.9}]}


def on_slope(x, y, offset):
    return [x, y, (offset + 0.6 * y) / 0.8]


def model():
    """The truth as `orvix model` would write it."""
    return {
        "walls": [{"number": i + 1, "axis": axis, "thickness": 0.2, "base": 0, "top": 2.5}
                  for i, axis in enumerate(copy.deepcopy(AXES))],
        "faces": [],
        "rooms": [{"name": "Room 1.1", "polygon": [SQUARE], "floor": 0.0, "ceiling": 2.5,
                   "volume": {"value": 30.0}}],
        "openings": [{"number": i + 1, "kind": o["kind"], "centre": list(o["centre"]),
                      "direction": o["direction"], "width": o["width"], "height": o["height"]}
                     for i, o in enumerate(TRUTH["openings"])],
        "slabs": [{"number": 1, "regions": [[SQUARE]], "top": {"value": 0.0}, "bottom": None}],
        "slopes": [{"number": 1, "equation": [*SLOPE, -3.8], "area": 15.0,
                    "outline": [on_slope(x, y, 3.8) for x, y in SQUARE]}]}


def counts(given):
    judged = score.judge(given, TRUTH)
    return {name: (judged[name].found, judged[name].asked, judged[name].right, judged[name].given)
            for name in score.ROWS}, judged


WHOLE = {"walls": (4, 4, 4, 4), "rooms": (1, 1, 1, 1), "doors": (1, 1, 1, 1), "windows": (1, 1, 1, 1),
         "slabs": (1, 1, 1, 1), "slopes": (1, 1, 1, 1)}


def expect(what, given, **changed):
    got, judged = counts(given)
    assert got == WHOLE | changed, f"{what}: {got}"
    score.report(judged, True)
    return judged


def changes():
    judged = expect("the truth itself", model())
    assert judged["walls"].errors["thickness"] == [0.0] * 4
    assert max(judged["rooms"].errors["area"] + judged["rooms"].errors["height"]) < 1e-9

    given = model()
    given["walls"][0]["axis"] = [[-0.1, -0.16], [4.1, -0.16]]
    judged = expect("a wall 6 cm off", given, walls=(3, 4, 3, 4))
    assert "w0" in judged["walls"].missed[0] and "wall 1" in judged["walls"].false[0]

    given = model()
    given["walls"][0]["axis"] = [[-0.1, -0.1], [2, -0.1]]
    given["walls"].append({"number": 5, "axis": [[2, -0.1], [4.1, -0.1]], "thickness": 0.22, "base": 0,
                           "top": 2.5})
    judged = expect("a wall in two parts", given, walls=(4, 4, 5, 5))
    assert abs(judged["walls"].errors["thickness"][0] - 0.01) < 1e-9

    given = model()
    given["walls"][0]["axis"] = [[-0.1, -0.1], [9, -0.1]]
    judged = expect("a wall that runs on through nothing", given, walls=(4, 4, 3, 4))
    assert judged["walls"].touched == 4

    given = model()
    given["faces"] = [given["walls"].pop()]
    expect("a wall without its thickness", given, walls=(3, 4, 3, 3))

    given = model()
    given["rooms"][0]["polygon"] = [[[0, 0], [4, 0], [4, 2.6], [0, 2.6]]]
    expect("a room without a strip", given, rooms=(0, 1, 0, 1))
    given["rooms"][0]["polygon"] = [[[0, 0], [4, 0], [4, 2.9], [0, 2.9]]]
    given["rooms"][0]["ceiling"] = 2.52
    judged = expect("a room a little small", given)
    assert abs(judged["rooms"].errors["area"][0] - 0.1 / 3) < 1e-9
    assert abs(judged["rooms"].errors["height"][0] - 0.02) < 1e-9

    given = model()
    given["rooms"][0]["floor"] = 2.8
    expect("a room of another storey", given, rooms=(0, 1, 0, 1))

    given = model()
    given["openings"][0]["kind"] = "window"
    expect("a door taken for a window", given, doors=(0, 1, 0, 0), windows=(1, 1, 1, 2))
    given = model()
    given["openings"][0]["height"], given["openings"][0]["centre"][2] = 1.3, 0.65
    expect("a door cut short", given, doors=(0, 1, 0, 1))
    given = model()
    given["openings"][1]["centre"][1] = 2.0
    expect("a window in mid-air", given, windows=(0, 1, 0, 1))

    given = model()
    given["slabs"][0]["top"]["value"] = 0.03
    expect("a floor 3 cm too high", given, slabs=(0, 1, 0, 1))
    given = model()
    given["slabs"][0]["regions"] = [[[[0, 0], [2, 0], [2, 3], [0, 3]]], [[[2, 0], [4, 0], [4, 3], [2, 3]]]]
    expect("a floor of two regions", given)
    given["slabs"][0]["regions"].pop()
    expect("half a floor", given, slabs=(0, 1, 0, 1))
    given = model()
    given["slabs"].append({"number": 2, "regions": [[SQUARE]], "top": None, "bottom": {"value": 2.5}})
    expect("a ceiling that rooms alone know", given, slabs=(1, 1, 2, 2))

    given = model()
    given["slopes"][0]["outline"] = [on_slope(x, y, 3.83) for x, y in SQUARE]
    expect("a slope 3 cm off", given, slopes=(0, 1, 0, 1))
    given = model()
    given["slopes"] = []
    expect("no slope", given, slopes=(0, 1, 0, 0))


def street():
    with tempfile.TemporaryDirectory() as folder:
        scan, target = pathlib.Path(folder) / "a", pathlib.Path(folder) / "b"
        header = ["1", "2", "5 6 7", "1 0 0", "0 1 0", "0 0 1", "1 0 0 0", "0 1 0 0", "0 0 1 0", "5 6 7 1"]
        points = ["0.5 0 0 1", "0.25 0 0 1"]
        scan.write_text("\n".join(header + points + header + points) + "\n")
        series.write_street(scan, 2, target)
        lines = target.read_text().splitlines()
        assert len(lines) == 48, len(lines)
        assert [lines[i] for i in (2, 9, 26, 33, 38)] == ["5.0 6 7", "5.0 6 7 1", "65.0 6 7", "65.0 6 7 1",
                                                          "65.0 6 7"], lines
        assert [line for i, line in enumerate(lines) if i % 12 > 9] == points * 4


changes()
street()
print("the counts are those of the changes")
