#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Planes written as IFC and read back by orvix-ifc are where they were, and broken models end no command.

    check_deviation.py ORVIX ORVIX_IFC SAMPLE

The sample is held against its planes as the command has them, and against the IFC file that it wrote of
them, near the world's zero and 700 and 6,000 km from it, where the file moves its own zero.
"""

import json
import pathlib
import random
import struct
import subprocess
import sys
import tempfile

orvix, reader, sample = sys.argv[1:]


def run(*words, code=0):
    done = subprocess.run([orvix, *words, "--json"], capture_output=True, encoding="utf-8")
    assert done.returncode == code, (words, done.returncode, done.stderr, done.stdout)
    return json.loads(done.stdout)


def moved(source, target, by):
    head, points = pathlib.Path(source).read_bytes().split(b"end_header\n", 1)
    head = head.replace(b"property float", b"property double")
    body = b"".join(struct.pack("<3d", *(c + d for c, d in zip(struct.unpack_from("<3f", points, at), by)))
                    for at in range(0, len(points), 12))
    pathlib.Path(target).write_bytes(head + b"end_header\n" + body)


def check(folder, scan):
    project, model = str(folder / "scan.prj"), str(folder / "planes.ifc")
    run("import", str(scan), project, "--overwrite")
    run("planes", project, "--save", "--outlines", model)
    by_planes = run("deviation", project, "planes")
    by_model = run("deviation", project, model)
    assert by_planes["points"] > 0.3 * by_planes["project_points"], by_planes["points"]
    assert abs(by_model["points"] - by_planes["points"]) < 0.01 * by_planes["points"], by_model["points"]
    assert len(by_model["elements"]) == len(by_planes["elements"])
    planes = {element["name"]: element for element in by_planes["elements"]}
    for element in by_model["elements"]:
        assert len(element["id"]) == 22 and element["class"].startswith("Ifc"), element
        plane = planes[element["name"].lower()]
        assert abs(element["area"] - plane["area"]) < 0.01 * plane["area"] + 1e-3, (element, plane)
        if plane["points"] > 200:
            assert abs(abs(element["median"]) - abs(plane["median"])) < 1e-3, (element, plane)
    return model


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        check(folder, sample)
        moved(sample, folder / "far.ply", (700000.0, 6000000.0, 40.0))
        model = check(folder, folder / "far.ply")
        text = pathlib.Path(model).read_bytes()
        draw = random.Random(3)
        for round in range(20):
            spoilt = bytearray(text[:draw.randrange(len(text))] if round % 2 else text)
            for _ in range(50):
                spoilt[draw.randrange(len(spoilt))] = draw.randrange(32, 127)
            (folder / "spoilt.ifc").write_bytes(spoilt)
            done = subprocess.run([orvix, "deviation", str(folder / "scan.prj"), str(folder / "spoilt.ifc"),
                                   "--json"], capture_output=True, encoding="utf-8", timeout=60)
            assert done.returncode in (0, 3), (round, done.returncode, done.stderr)
            json.loads(done.stdout)
        assert subprocess.run([reader], capture_output=True).returncode == 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
