#!/usr/bin/env bash
# python_host.sh SOURCE_FOLDER LIBRARY ORVIX: the Python examples find in the sample what the command
# finds: counts, bounds, sums, the plane to the last bit, and its mesh vertex by vertex; all planes
# with their outlines corner by corner; and in a section what NumPy finds in single precision.
set -euo pipefail
source=$1
library=$2
orvix=$3
for python in python3 /usr/bin/python3; do
    "$python" -c 'import numpy' 2>/dev/null && break
    python=
done
[ -n "$python" ] || { echo "python_host: no Python with NumPy: run scripts/packages.sh test"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings PYTHONDONTWRITEBYTECODE=1
cd "$scratch"
"$orvix" import "$source/samples/building.ply" "Größe.prj" --json >import.json
"$orvix" info "Größe.prj" --json >info.json
"$orvix" plane "Größe.prj" --seed 3.7,-4.0,12.9 --mesh roof.ply --json >plane.json
PYTHONPATH=$source/orvix/c/bindings "$python" "$source/examples/05_host_in_python.py" \
    "$library" "Größe.prj" 3.7 -4.0 12.9 >found.json
"$orvix" planes "Größe.prj" --json >planes.json
PYTHONPATH=$source/orvix/c/bindings "$python" "$source/examples/09_all_planes_in_python.py" \
    "$library" "Größe.prj" >all.json
"$orvix" section "Größe.prj" --plane 0,-1,0,-5 --thickness 0.1 --json >section.json
PYTHONPATH=$source/orvix/c/bindings "$python" "$source/examples/14_section_in_python.py" \
    "$library" "Größe.prj" 3.7 -5 12.9 >cut.json
"$python" - "$source/samples/building.ply" <<'PYTHON'
import json, sys
import numpy as np

info, plane, found = (json.load(open(f"{name}.json")) for name in ("info", "plane", "found"))
grown = found["plane"]

def same(what, got, wanted):
    assert got == wanted, f"{what}: {got} instead of {wanted}"

same("points", found["points"], info["points"])
same("origin", found["origin"], info["origin"])
same("min", found["min"], info["bounds"]["min"])
same("max", found["max"], info["bounds"]["max"])
same("cells", found["cells"]["cells"], info["cells"]["100"])
same("points in cells", found["cells"]["points_in_cells"], info["points"])
assert found["copy_equals_view"]
for key in ("equation", "area", "rms", "points", "cells"):
    same(key, grown[key], plane[key])
same("records", grown["distinct_records"], plane["points"])
assert grown["asked"] > 0

# The sample's own numbers: its positions are little-endian floats at the start of each vertex.
data = open(sys.argv[1], "rb").read()
head, _, body = data.partition(b"end_header\n")
kinds = {"float": "<f4", "uchar": "u1", "double": "<f8", "ushort": "<u2", "uint": "<u4", "int": "<i4"}
fields = [(line.split()[2].decode(), kinds[line.split()[1].decode()])
          for line in head.splitlines() if line.startswith(b"property")]
scan = np.frombuffer(body, np.dtype(fields), found["points"])
for axis, (name, total) in enumerate(zip("xyz", found["sum"])):
    wanted = scan[name].astype(float).sum()
    assert abs(total - wanted) < 1e-6 * abs(wanted), (name, total, wanted)
assert np.allclose(found["local_sum"], np.array(found["sum"]) -
                   found["points"] * np.array(found["origin"]), rtol=1e-9)

lines = open("roof.ply").read().split("end_header\n")[1].splitlines()
points = len(grown["mesh_points"])
same("vertices", [[float(v) for v in line.split()] for line in lines[:points]],
     grown["mesh_points"])
same("triangles", [[int(v) for v in line.split()[1:]] for line in lines[points:]],
     grown["mesh_triangles"])
print(f"{found['points']} points, a plane of {grown['points']}, "
      f"{len(grown['mesh_triangles'])} triangles: as the command finds them")

wanted, every = (json.load(open(f"{name}.json")) for name in ("planes", "all"))
same("points on planes", every["on_planes"], wanted["assigned_points"])
same("cell", every["cell"], wanted["settings"]["cell"])
same("distance", every["distance"], wanted["settings"]["distance"])
same("planes", len(every["planes"]), len(wanted["planes"]))
for got, plane in zip(every["planes"], wanted["planes"]):
    for key, name in (("number", "number"), ("kind", "class"), ("equation", "equation"),
                      ("centroid", "centroid"), ("points", "points"), ("rms", "rms"), ("area", "area")):
        same(f"{key} of plane {plane['number']}", got[key], plane[name])
    rings = [ring for region in plane["regions"] for ring in (region["outer"], *region["holes"])]
    same(f"outline of plane {plane['number']}", [ring["vertices"] for ring in got["rings"]], rings)
same("points by plane", every["points_by_plane"][1:], [plane["points"] for plane in wanted["planes"]])
assert every["place"]["verdict"] in range(6)
print(f"{len(every['planes'])} planes, corner by corner as the command finds them")

# The section y = -5, by the rule that every device keeps: each operation rounded to single precision.
data = np.fromfile("Größe_Project_Files/Index/Grid.pts", np.uint8).reshape(-1, 24)
local = data[:, :12].copy().view("<f4")
origin = np.array(info["origin"])
away = local[:, 1] + np.float32(origin[1] + 5)
cut, section = (json.load(open(f"{name}.json")) for name in ("cut", "section"))
classes = {"in_slab": np.abs(away) <= np.float32(0.05), "behind": away > np.float32(0.05),
           "before": away < -np.float32(0.05)}
same("classes", cut["counts"], {name: int(some.sum()) for name, some in classes.items()} |
     {"outside": 0, "no_position": 0})
same("the command's section", section["points"]["in"], cut["counts"]["in_slab"])
same("points of the slab", cut["records"], np.flatnonzero(classes["in_slab"]).tolist())
slab = away[cut["records"]]
same("a thinner slab", cut["within_20_mm"],
     np.flatnonzero(np.abs(slab) <= np.float32(0.02)).tolist())
steps = np.floor((slab - np.float32(-0.05)) * np.float32(3 / 0.1))
same("white", cut["white"], int((np.clip(steps, 0, 2) == 1).sum()))
beside = np.hypot(*(local[:, [0, 2]].astype(float) + origin[[0, 2]] - [3.7, 12.9]).T)
along = local[:, 1] + origin[1] + 35
hit = np.flatnonzero((beside <= 0.05) & (along >= 0))
hit = hit[along[hit].argmin()]
same("picked", cut["picked"]["index"], int(hit))
assert abs(cut["picked"]["along"] - along[hit]) < 1e-9
print(f"a section through {len(cut['records'])} points, as NumPy finds them")
PYTHON
