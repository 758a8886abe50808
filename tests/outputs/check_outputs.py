#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds what `orvix planes` writes against other programs' eyes.

    check_outputs.py ORVIX FORMAT SCAN [SCAN...] [--ifc-reader PROGRAM]

FORMAT is rings, geojson, dxf, mesh or ifc. Each scan (or project) is searched for planes, the format
is written, and a kept reader of it judges: shapely and ogrinfo the rings and GeoJSON, ezdxf's audit
DXF, IfcPlusPlus (read_ifc.cpp) and, where NODE_PATH leads to it, web-ifc IFC. Exits with 77 and a
line "skipped: ..." where none of the format's readers is there, with 1 at the first fault.
"""
import argparse
import collections
import json
import math
import os
import shutil
import subprocess
import sys
import tempfile


def fail(what):
    print(f"fault: {what}")
    sys.exit(1)


def skip(why):
    print(f"skipped: {why}")
    sys.exit(77)


def minus(p, q):
    return [a - b for a, b in zip(p, q)]


def cross(p, q):
    return [p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]]


def dot(p, q):
    return sum(a * b for a, b in zip(p, q))


def frame_of(plane):
    """Places of the plane as (s, t), counter-clockwise seen from where its normal points."""
    n, o = plane["equation"][:3], plane["centroid"]
    u = cross([0, 0, 1] if abs(n[2]) < 0.9 else [1, 0, 0], n)
    length = math.sqrt(dot(u, u))
    u = [a / length for a in u]
    v = cross(n, u)
    return lambda p: (dot(minus(p, o), u), dot(minus(p, o), v))


def near(value, wanted, what):
    if abs(value - wanted) > 1e-5 * max(1, abs(wanted)):
        fail(f"{what}: {value} instead of {wanted}")


def polygons_of(plane):
    from shapely.geometry import Polygon

    flat = frame_of(plane)
    return [
        Polygon([flat(p) for p in r["outer"]], [[flat(p) for p in h] for h in r["holes"]])
        for r in plane["regions"]
    ]


def import_shapely():
    try:
        import shapely  # noqa: F401
    except ImportError:
        skip("shapely is not there (python3-shapely)")


def check_rings(found, _, __):
    from shapely.geometry import MultiPolygon
    from shapely.geometry.polygon import LinearRing
    from shapely.validation import explain_validity

    for plane in found["planes"]:
        polygons = polygons_of(plane)
        shape = MultiPolygon(polygons)
        if not shape.is_valid:
            fail(f"plane {plane['number']}: {explain_validity(shape)}")
        near(shape.area, plane["area"], f"area of plane {plane['number']}")
        for polygon in polygons:
            if not LinearRing(polygon.exterior.coords).is_ccw:
                fail(f"plane {plane['number']}: an outer ring runs clockwise")
            if any(LinearRing(hole.coords).is_ccw for hole in polygon.interiors):
                fail(f"plane {plane['number']}: a hole runs counter-clockwise")


def check_geojson(found, path, _):
    from shapely.geometry import shape
    from shapely.geometry.polygon import LinearRing

    with open(path) as file:
        features = json.load(file)["features"]
    if len(features) != len(found["planes"]):
        fail(f"{len(features)} features for {len(found['planes'])} planes")
    judged = 0
    for plane, feature in zip(found["planes"], features):
        # What stands upright has no area on a map.
        if abs(plane["equation"][2]) < 0.01:
            continue
        judged += 1
        geometry = shape(feature["geometry"])
        if not geometry.is_valid:
            fail(f"feature {feature['id']} is not valid")
        near(geometry.area, plane["area"] * abs(plane["equation"][2]), f"map area {feature['id']}")
        for polygon in geometry.geoms:
            if not LinearRing(polygon.exterior.coords).is_ccw:
                fail(f"feature {feature['id']}: an outer ring runs clockwise on the map")
            if any(LinearRing(hole.coords).is_ccw for hole in polygon.interiors):
                fail(f"feature {feature['id']}: a hole runs counter-clockwise on the map")
    if shutil.which("ogrinfo"):
        told = subprocess.run(["ogrinfo", "-so", "-al", path], capture_output=True, text=True)
        if told.returncode != 0 or f"Feature Count: {len(features)}" not in told.stdout:
            fail(f"ogrinfo: {told.stdout}{told.stderr}")
    print(f"{judged} of {len(features)} features are polygons on the map")


def check_dxf(found, path, _):
    import ezdxf

    document = ezdxf.readfile(path)
    auditor = document.audit()
    if auditor.errors or auditor.fixes:
        fail("; ".join(e.message for e in auditor.errors + auditor.fixes))
    rings = collections.Counter()
    for plane in found["planes"]:
        for region in plane["regions"]:
            for ring in [region["outer"], *region["holes"]]:
                rings["ORVIX_" + plane["class"].upper(), len(ring)] += 1
    read = collections.Counter()
    for entity in document.modelspace():
        if entity.get_mode() != "AcDb3dPolyline" or not entity.is_closed:
            fail(f"a {entity.get_mode()} on {entity.dxf.layer} that is no closed 3D polyline")
        read[entity.dxf.layer, len(entity.vertices)] += 1
    if read != rings:
        fail("the polylines are not the planes' rings")
    missing = {layer for layer, _ in rings} - {layer.dxf.name for layer in document.layers}
    if missing:
        fail(f"layers without an entry: {missing}")


def parts_of(path):
    """Corners and triangles of an OBJ by their group."""
    corners, parts = [], []
    with open(path) as file:
        for line in file:
            word, *rest = line.split()
            if word == "v":
                corners.append([float(a) for a in rest])
            elif word == "g":
                parts.append([])
            elif word == "f":
                parts[-1].append([int(a) - 1 for a in rest])
    return corners, parts


def check_mesh(found, path, _):
    from shapely.geometry import MultiPolygon, Polygon
    from shapely.prepared import prep

    corners, parts = parts_of(path)
    if len(parts) != len(found["planes"]):
        fail(f"{len(parts)} groups for {len(found['planes'])} planes")
    for plane, triangles in zip(found["planes"], parts):
        name = f"plane {plane['number']}"
        flat, area, edges = frame_of(plane), 0, collections.Counter()
        room = prep(MultiPolygon(polygons_of(plane)).buffer(1e-6))
        for triangle in triangles:
            a, b, c = (corners[i] for i in triangle)
            double = dot(cross(minus(b, a), minus(c, a)), plane["equation"][:3])
            if double <= 0:
                fail(f"{name}: a triangle without area, or seen from behind")
            area += double / 2
            if not room.contains(Polygon([flat(a), flat(b), flat(c)])):
                fail(f"{name}: a triangle reaches beyond the outline")
            for i in range(3):
                edges[triangle[i], triangle[(i + 1) % 3]] += 1
        if any(count > 1 for count in edges.values()):
            fail(f"{name}: two triangles on the same side of an edge")
        near(area, plane["area"], f"{name}, area of its triangles")


def check_ifc(found, path, reader):
    readers = []
    if reader:
        readers.append(["IfcPlusPlus", [reader, path], False])
    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "read_ifc.cjs")
    node = shutil.which("node")
    if node and subprocess.run([node, "-e", "require('web-ifc')"], capture_output=True).returncode == 0:
        readers.append(["web-ifc", [node, script, path], True])
    if not readers:
        skip("no reader of IFC is there (libifcplusplus-dev, or web-ifc on NODE_PATH)")
    for name, command, knows_holes in readers:
        told = subprocess.run(command, capture_output=True, text=True)
        if told.returncode != 0:
            fail(f"{name}: {told.stdout}{told.stderr}")
        # A line an element: its name and the area of its triangles, where they are told.
        read = dict(line.rsplit(" ", 1) for line in told.stdout.splitlines())
        if len(read) != len(found["planes"]):
            fail(f"{name}: {len(read)} elements for {len(found['planes'])} planes")
        for plane in found["planes"]:
            # IfcPlusPlus of Debian 12 joins some holes to their rim across the face.
            if not knows_holes and any(region["holes"] for region in plane["regions"]):
                continue
            near(float(read[f"Plane {plane['number']}"]), plane["area"], f"{name}: plane {plane['number']}")
        print(f"{name} read {len(read)} elements")


FORMATS = {
    "rings": (check_rings, None),
    "geojson": (check_geojson, "planes.geojson"),
    "dxf": (check_dxf, "planes.dxf"),
    "mesh": (check_mesh, "planes.obj"),
    "ifc": (check_ifc, "planes.ifc"),
}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("orvix")
    parser.add_argument("format", choices=FORMATS)
    parser.add_argument("scans", nargs="+")
    parser.add_argument("--ifc-reader", default="")
    arguments = parser.parse_args()
    if arguments.format == "dxf":
        try:
            import ezdxf  # noqa: F401
        except ImportError:
            skip("ezdxf is not there (python3-ezdxf)")
    elif arguments.format != "ifc":
        import_shapely()
    check, name = FORMATS[arguments.format]
    for scan in arguments.scans:
        with tempfile.TemporaryDirectory() as folder:
            project = scan
            if not scan.endswith(".prj"):
                project = os.path.join(folder, "scan.prj")
                subprocess.run([arguments.orvix, "import", scan, project], check=True, capture_output=True)
            command = [arguments.orvix, "planes", project, "--json"]
            path = os.path.join(folder, name) if name else None
            if path:
                command += ["--mesh" if arguments.format == "mesh" else "--outlines", path]
            found = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)
            if not found["planes"]:
                fail(f"no plane in {scan}")
            check(found, path, arguments.ifc_reader)
            print(f"{scan}: {len(found['planes'])} planes hold as {arguments.format}")


main()
