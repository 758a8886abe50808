#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds the plans of a building against readers of their formats.

    check_plans.py FORMAT WRITER

FORMAT is dxf or svg. WRITER is write_building, which writes the sample building, turned and far from
zero. ezdxf's audit and GDAL judge the DXF file, whose walls and rooms have to enclose what the building's
numbers say; an XML parser and, where it is there, xmllint the SVG file. Exits with 77 and a line
"skipped: ..." where no reader is there, with 1 at the first fault.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

# Square metres of walls at the cuts: outer walls, those between rooms and the slanted one less their
# openings; the gables between their slopes less a window.
WALLS = [1.98 - 0.45 + 2.4 - 0.66 + 2.4 + 0.72 - 0.216 + 0.441 - 0.072, 2 * 5.6 * 0.3 - 0.36]
ROOMS = [29.39, 8.60685, 8.59215, 48]


def fail(what):
    print(f"fault: {what}")
    sys.exit(1)


def skip(why):
    print(f"skipped: {why}")
    sys.exit(77)


def near(value, wanted, what, slack=2e-3):
    if abs(value - wanted) > slack:
        fail(f"{what}: {value} instead of {wanted}")


def to_world(x, y):
    return 0.8 * x - 0.6 * y + 4468000.25, 0.6 * x + 0.8 * y + 5335100.5


def check_dxf(path):
    try:
        import ezdxf
        from shapely.geometry import Point, Polygon
    except ImportError:
        skip("ezdxf or shapely is not there (python3-ezdxf, python3-shapely)")
    drawing = ezdxf.readfile(path)
    audit = drawing.audit()
    if audit.errors or audit.fixes:
        fail(f"audit: {[e.message for e in audit.errors + audit.fixes]}")
    space = drawing.modelspace()
    layers = {layer.dxf.name for layer in drawing.layers}
    used = {entity.dxf.layer for entity in space}
    if not used <= layers:
        fail(f"layers without an entry: {used - layers}")
    for layer in ("A-WALL", "A-WALL-PATT", "A-WALL-FACE", "A-WALL-FARS", "A-DOOR", "A-GLAZ",
                  "A-AREA-IDEN", "A-DIMS", "A-ROOF-EDGE"):
        if layer not in used:
            fail(f"nothing on {layer}")

    def rings(layer):
        return [Polygon([v.dxf.location.vec2 for v in p.vertices])
                for p in space.query(f'POLYLINE[layer=="{layer}"]') if p.is_closed]

    walls = rings("A-WALL")
    if not all(ring.is_valid for ring in walls):
        fail("a wall's outline crosses itself")
    # Rings in rings are holes.
    inside = [sum(other.contains(ring) for other in walls if other is not ring) for ring in walls]
    area = sum(ring.area * (-1) ** depth for ring, depth in zip(walls, inside))
    near(area, sum(WALLS), "area of the walls cut")
    rooms = sorted((r.area for r in rings("A-AREA-FLOR")), reverse=True)
    for value, wanted in zip(rooms, sorted(ROOMS + [0.25], reverse=True)):
        near(value, wanted + (0.25 if wanted == 29.39 else 0), "area of a room")
    corner = Point(*to_world(-0.3, -0.3))
    if min(ring.exterior.distance(corner) for ring in walls) > 1e-3:
        fail("the house's corner is not where it is in the world")
    hatch = space.query('LINE[layer=="A-WALL-PATT"]')
    for line in hatch:
        middle = Point(line.dxf.start.lerp(line.dxf.end).vec2)
        if sum(ring.contains(middle) for ring in walls) % 2 == 0:
            fail(f"hatching outside of the walls at {middle}")
    texts = [ezdxf.lldxf.encoding.decode_dxf_unicode(t.dxf.text) for t in space.query("TEXT")]
    for wanted in ("Room 1.1", "29.4 m\u00b2", "Storey 2", "8.30", "45.0\u00b0"):
        if wanted not in texts:
            fail(f"no text {wanted!r} among {texts}")
    if shutil.which("ogrinfo"):
        report = subprocess.run(["ogrinfo", "-so", path, "entities"], check=True,
                                capture_output=True, text=True)
        count = int(re.search(r"Feature Count: (\d+)", report.stdout).group(1))
        if count != len(space) or "ERROR" in report.stderr:
            fail(f"GDAL reads {count} of {len(space)} entities: {report.stderr}")
    print(f"{len(space)} entities on {len(used)} layers; audit and GDAL have no complaint")


def check_svg(path):
    name = "{http://www.w3.org/2000/svg}"
    root = ElementTree.parse(path).getroot()
    if root.tag != name + "svg":
        fail(f"the root is {root.tag}")
    width, height = (float(v) for v in root.get("viewBox").split()[2:])
    if root.get("width") != f"{width:.3f}mm" or root.get("height") != f"{height:.3f}mm":
        fail("a unit is not a millimetre of paper")
    style = root.find(name + "style").text
    storeys = root.findall(name + "g")
    if [g.get("id") for g in storeys] != ["storey-1", "storey-2"]:
        fail("no group for each storey")
    for group in root.iter(name + "g"):
        if group.get("class") != "storey" and f".{group.get('class')} {{" not in style:
            fail(f"class {group.get('class')} has no style")
    for path_element in root.iter(name + "path"):
        numbers = re.sub(r"A[\d.]+ [\d.]+ 0 0 [01] ", "L", path_element.get("d"))
        for x, y in re.findall(r"(-?[\d.]+) (-?[\d.]+)", numbers):
            if not (0 <= float(x) <= width and 0 <= float(y) <= height):
                fail(f"{x} {y} lies outside of the sheet")
    texts = [text.text for text in root.iter(name + "text")]
    for wanted in ("Room 1.1", "29.4 m\u00b2", "Storey 2", "8.30"):
        if wanted not in texts:
            fail(f"no text {wanted!r} among {texts}")
    if shutil.which("xmllint"):
        subprocess.run(["xmllint", "--noout", path], check=True)
    print(f"{len(texts)} texts, {width} by {height} mm")


def main():
    form, writer = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "plan." + form)
        subprocess.run([writer, path], check=True)
        {"dxf": check_dxf, "svg": check_svg}[form](path)


main()
