#!/usr/bin/env bash
# csharp_host.sh SOURCE_FOLDER LIBRARY ORVIX: the C# examples compile, run and find the plane, all planes,
# and the section that the command finds. Skipped where there is no Mono.
set -euo pipefail
source=$1
library=$2
orvix=$3
for tool in mcs mono; do
    command -v "$tool" >/dev/null || {
        echo "csharp_host: no $tool: run scripts/packages.sh csharp"
        exit 77
    }
done
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings LD_LIBRARY_PATH=$(dirname "$library")
cd "$scratch"
mcs -unsafe -out:host.exe "$source/examples/06_host_in_csharp.cs" "$source/orvix/c/bindings/Orvix.cs"
"$orvix" import "$source/samples/building.ply" building.prj --json >import.json
mono host.exe building.prj 3.7 -4.0 12.9 | tee found.txt
"$orvix" plane building.prj --seed 3.7,-4.0,12.9 --json | python3 -c '
import json, sys
wanted = json.load(sys.stdin)
words = open("found.txt").read().replace(",", "").split("plane ")[1].split()
assert [float(w) for w in words[:4]] == wanted["equation"], words
assert abs(float(words[4]) - wanted["area"]) < 0.006, words
'

mcs -unsafe -out:all.exe "$source/examples/10_all_planes_in_csharp.cs" "$source/orvix/c/bindings/Orvix.cs"
mono all.exe building.prj >all.txt
tail -1 all.txt
"$orvix" planes building.prj --json | python3 -c '
import json, sys
wanted = json.load(sys.stdin)["planes"]
lines = open("all.txt").read().replace(",", "").splitlines()[:-1]
assert len(lines) == len(wanted), len(lines)
for line, plane in zip(lines, wanted):
    head, numbers = line.split(": ")
    words = numbers.split()
    assert head.split()[:2] == [str(plane["number"]), plane["class"]], line
    assert [float(w) for w in words[:4]] == plane["equation"], line
    assert abs(float(words[4]) - plane["area"]) < 0.006 and int(words[6]) == plane["points"], line
'

mcs -unsafe -out:section.exe "$source/examples/15_section_in_csharp.cs" "$source/orvix/c/bindings/Orvix.cs"
mono section.exe building.prj 3.7 -5 12.9 | tee cut.txt
"$orvix" section building.prj --plane 0,-1,0,-5 --thickness 0.1 --json >cut.json
"$orvix" section building.prj --plane 0,-1,0,-5 --thickness 0.04 --json >thin.json
python3 -c '
import json
wanted = json.load(open("cut.json"))["points"]
words = open("cut.txt").read().split()
assert words[:6:2] == ["in", "behind", "before"], words
assert [int(w) for w in words[1:6:2]] == [wanted[k] for k in ("in", "behind", "before")], words
assert int(words[6]) == json.load(open("thin.json"))["points"]["in"], words
assert "along the ray" in " ".join(words), words
'

for python in python3 /usr/bin/python3; do
    "$python" -c 'import numpy' 2>/dev/null && break
    python=
done
[ -n "$python" ] || { echo "csharp_host: no Python with NumPy: run scripts/packages.sh test"; exit 77; }
"$python" "$source/tests/support/two_rooms.py" house.ptx
"$orvix" import house.ptx house.prj --json >import.json
mcs -unsafe -out:building.exe "$source/examples/18_building_in_csharp.cs" "$source/orvix/c/bindings/Orvix.cs"
mono building.exe house.prj house.ifc | tee rooms.txt
"$orvix" model house.prj wanted.ifc --json >model.json
cmp house.ifc wanted.ifc
python3 -c '
import json
model = json.load(open("model.json"))["model"]
lines = open("rooms.txt").read().splitlines()
wanted = [[r["area"]["value"], r["volume"]["value"]] for r in model["rooms"]]
assert [[float(w.split()[0]) for w in l.split(": ")[1].split(", ")] for l in lines[:len(wanted)]] == wanted, lines
walls = sorted(model["walls"] + model["faces"], key=lambda wall: wall["number"])
for line, wall in zip(lines[len(wanted):], walls):
    words = line.split(": ")[1].replace(",", "").split()
    assert [float(words[k]) for k in (0, 1, 3, 4)] == sum(wall["axis"], []), line
assert len(wanted) == 2 and lines[-1].split(",")[1] == f" {len(walls)} walls", lines
'
