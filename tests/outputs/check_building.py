#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds the IFC file of a building against two kernels of geometry.

    check_building.py READER WRITER [--ifc-reader PROGRAM]
    check_building.py READER --files HOUSE.ifc HOUSE.obj

READER is ifcopenshell, web-ifc or ifcplusplus, whose program is read_ifc. WRITER is write_building, which writes the sample building; or the
files of a building are given, as `orvix model` writes them. The OBJ file says where every element is
and what it encloses; the IFC file, read by the kernel, with openings cut by it, has to say the same.
IfcOpenShell also checks every rule of the schema. Exits with 77 and a line "skipped: ..." where the
reader is missing, with 1 when something is wrong.
"""
import argparse
import json
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile

faults = 0


def fault(what):
    global faults
    print(f"fault: {what}")
    faults += 1


def skip(why):
    print(f"skipped: {why}")
    sys.exit(77)


def minus(p, q):
    return [a - b for a, b in zip(p, q)]


def cross(p, q):
    return [p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]]


def dot(p, q):
    return sum(a * b for a, b in zip(p, q))


class Shape:
    """What triangles enclose, their area and their bounds. `corners` are three a triangle."""

    def __init__(self, corners):
        zero = corners[0]
        self.volume = self.area = 0
        for i in range(0, len(corners), 3):
            a, b, c = (minus(p, zero) for p in corners[i : i + 3])
            normal = cross(minus(b, a), minus(c, a))
            self.area += math.sqrt(dot(normal, normal)) / 2
            self.volume += dot(a, cross(b, c)) / 6
        self.low = [min(p[k] for p in corners) for k in range(3)]
        self.high = [max(p[k] for p in corners) for k in range(3)]


def shapes_of_obj(path):
    corners, groups = [], {}
    with open(path) as file:
        for line in file:
            word, *rest = line.split()
            if word == "v":
                corners.append([float(a) for a in rest])
            elif word == "g":
                triangles = groups.setdefault(rest[0].replace("_", " "), [])
            elif word == "f":
                triangles += [corners[int(a) - 1] for a in rest]
    closed = {name for name, triangles in groups.items() if is_closed(triangles)}
    return {name: Shape(triangles) for name, triangles in groups.items() if triangles}, closed


def is_closed(triangles):
    balance = {}
    for i in range(0, len(triangles), 3):
        for k in range(3):
            a, b = tuple(triangles[i + k]), tuple(triangles[i + (k + 1) % 3])
            key, way = ((a, b), 1) if a < b else ((b, a), -1)
            balance[key] = balance.get(key, 0) + way
    return not any(balance.values())


def zero_of(path):
    """Where the model's zero lies in the world."""
    with open(path) as file:
        found = re.search(r"IFCMAPCONVERSION\(#\d+,#\d+,([-0-9.]+),([-0-9.]+),([-0-9.]+),", file.read())
    return [float(a) for a in found.groups()] if found else [0, 0, 0]


def read_with_ifcopenshell(path):
    try:
        import ifcopenshell
        import ifcopenshell.geom
        import ifcopenshell.validate
    except ImportError as error:
        skip(f"ifcopenshell is not there ({error}): scripts/packages.sh outputs")
    model = ifcopenshell.open(path)
    log = ifcopenshell.validate.json_logger()
    ifcopenshell.validate.validate(model, log, express_rules=True)
    for statement in log.statements:
        fault(f"schema: {statement}")
    settings = ifcopenshell.geom.settings()
    settings.set("use-world-coords", True)
    shapes = {}
    for product in model.by_type("IfcProduct"):
        if product.Representation and not product.is_a("IfcOpeningElement"):
            geometry = ifcopenshell.geom.create_shape(settings, product).geometry
            v, f = geometry.verts, geometry.faces
            shapes[product.Name.lower()] = [[v[3 * i], v[3 * i + 1], v[3 * i + 2]] for i in f]
    check_structure(model)
    return shapes, 1e-6


def check_structure(model):
    """Every element is in one place of the project, and says what it rests on."""
    import ifcopenshell.util.element as util

    for kind in ("IfcWall", "IfcDoor", "IfcWindow", "IfcSlab", "IfcSpace"):
        for element in model.by_type(kind):
            if not (util.get_container(element) or util.get_aggregate(element)):
                fault(f"{element.Name} is in no storey")
            sets = util.get_psets(element)
            if not {"Seen", "Points", "Rms", "Stations", "Inferred"} <= set(sets.get("Orvix_Evidence", {})):
                fault(f"{element.Name} lacks its evidence")
            if not any(name.startswith("Qto_") for name in sets):
                fault(f"{element.Name} lacks its quantities")
    for kind in ("IfcDoor", "IfcWindow"):
        for element in model.by_type(kind):
            if len(element.FillsVoids) != 1:
                fault(f"{element.Name} fills no opening")


def read_with_web_ifc(path):
    node = shutil.which("node")
    if not node or subprocess.run([node, "-e", "require('web-ifc')"], capture_output=True).returncode != 0:
        skip("web-ifc is not there: scripts/packages.sh outputs")
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "read_building.cjs")
    told = subprocess.run([node, script, path], capture_output=True, text=True)
    if told.returncode != 0 or told.stderr.strip():
        fault(f"web-ifc: {told.stderr}")
    shapes, others = {}, []
    for line in told.stdout.splitlines():
        if not line.startswith("{"):
            others.append(line)
            continue
        element = json.loads(line)
        shapes[element["name"].lower()] = element["triangles"]
    if others:
        fault(f"web-ifc says: {others[:5]}")
    # Its corners are of single precision.
    return shapes, 2e-5


def check_with_ifcplusplus(program, ifc, obj):
    """Areas alone: it prints no more."""
    ours, closed = shapes_of_obj(obj)
    told = subprocess.run([program, ifc, "Orvix_Evidence"], capture_output=True, text=True)
    if told.returncode != 0:
        fault(f"IfcPlusPlus: {told.stderr}")
    read = {name.lower(): float(area) for name, area in (line.rsplit(" ", 1) for line in told.stdout.splitlines())}
    held = 0
    for name, shape in ours.items():
        if name.split()[0] not in ("wall", "slab", "slope"):
            continue
        if abs(read.get(name, 0) - shape.area) > 1e-6 * shape.area:
            fault(f"{name}: area {read.get(name)} instead of {shape.area}")
        held += 1
    print(f"held: {held} areas")


def compare(name, wanted, read, closed, limit):
    measure = "volume" if closed else "area"
    a, b = getattr(wanted, measure), getattr(read, measure)
    if abs(a - b) > limit * max(abs(a), 1e-2):
        fault(f"{name}: {measure} {b} instead of {a}")
    for bound in ("low", "high"):
        a, b = getattr(wanted, bound), getattr(read, bound)
        if max(abs(x) for x in minus(a, b)) > max(limit, 1e-6):
            fault(f"{name}: {bound} end at {b} instead of {a}")


def check(reader, ifc, obj):
    ours, closed = shapes_of_obj(obj)
    triangles, limit = reader(ifc)
    zero = zero_of(ifc)
    read = {
        name: Shape([[a + b for a, b in zip(p, zero)] for p in corners])
        for name, corners in triangles.items() if corners
    }
    counts = {}
    for name, shape in ours.items():
        kind = name.split()[0]
        if kind == "hole":
            continue
        if name not in read:
            fault(f"{name} has no shape")
            continue
        counts[kind] = counts.get(kind, 0) + 1
        if kind in ("door", "window"):
            # The leaf is thinner than the opening, but for one of a wall that is a surface, and as high.
            for k in range(3):
                if read[name].low[k] < shape.low[k] - 2e-2 or read[name].high[k] > shape.high[k] + 2e-2:
                    fault(f"{name} leaves its opening")
            if abs(read[name].high[2] - read[name].low[2] - (shape.high[2] - shape.low[2])) > limit * 10:
                fault(f"{name} is not as high as its opening")
            continue
        compare(name, shape, read[name], name in closed, limit)
    for name in set(read) - set(ours):
        fault(f"{name} is no element")
    print("held: " + ", ".join(f"{count} of {kind}" for kind, count in counts.items()))


READERS = {"ifcopenshell": read_with_ifcopenshell, "web-ifc": read_with_web_ifc}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("reader", choices=[*READERS, "ifcplusplus"])
    parser.add_argument("writer", nargs="?")
    parser.add_argument("--files", nargs=2)
    parser.add_argument("--ifc-reader", default="")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        files = arguments.files or [os.path.join(folder, name) for name in ("house.ifc", "house.obj")]
        if not arguments.files:
            subprocess.run([arguments.writer, *files], check=True)
        if arguments.reader != "ifcplusplus":
            check(READERS[arguments.reader], *files)
        elif not arguments.ifc_reader:
            skip("read_ifc is not built (libifcplusplus-dev): scripts/packages.sh outputs")
        else:
            check_with_ifcplusplus(arguments.ifc_reader, *files)
    sys.exit(1 if faults else 0)


main()
