#!/usr/bin/env bash
# run.sh NATIVE_ORVIX RUNNER WINDOWS_ORVIX SAMPLE: imports scans, walks, searches, classifies and
# exports them with the command of this system and with that of Windows. Every file and every number
# must agree to the last bit; measured times and memory alone may differ.
set -euo pipefail
native=$1
runner=$2
windows=$3
sample=$4
corpus=$(dirname "$sample")/../fuzz/corpus
if [ ! -x "$native" ]; then
    echo "same_bytes: no command to compare with: build the preset 'release' first ($native)"
    exit 77
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings

# Relative paths: results name the files.
cp "$sample" "$scratch/building.ply"
python3 - "$scratch/scan.txt" <<'PYTHON'
import random, sys
draw = random.Random(20240229)
with open(sys.argv[1], "w") as scan:
    for i in range(60000):
        x, y = draw.uniform(-12, 12), draw.uniform(-9, 9)
        z = 0.31 * x - 0.127 * y + draw.gauss(0, 0.004)
        scan.write(f"{452000.25 + x:.4f} {5411000.75 + y:.4f} {312 + z:.4f} {draw.randrange(256)}\n")
PYTHON
# Two posed scans of one room.
python3 - "$scratch/posed.ptx" <<'PYTHON'
import math, random, sys
draw = random.Random(4)
with open(sys.argv[1], "w") as scan:
    for turn, place in ((0.3, (1.25, -2.5, 1.5)), (2.1, (-1.75, 2.25, 1.5))):
        c, s = math.cos(turn), math.sin(turn)
        axes = (c, s, 0), (-s, c, 0), (0, 0, 1)
        scan.write("100\n200\n" + "{} {} {}\n".format(*place))
        scan.writelines("{!r} {!r} {!r}\n".format(*map(float, axis)) for axis in axes)
        scan.writelines("{!r} {!r} {!r} 0\n".format(*map(float, axis)) for axis in axes)
        scan.write("{} {} {} 1\n".format(*place))
        for _ in range(20000):
            d = [draw.gauss(0, 1) for _ in range(3)]
            reach = min(r / abs(v) for r, v in zip((4, 3, 1.5), d)) + draw.gauss(0, 0.002)
            scan.write("{:.6f} {:.6f} {:.6f} {:.6f}\n".format(*(v * reach for v in d), draw.random()))
PYTHON
# Two rooms with a way between them, each scanned from within.
for python in python3 /usr/bin/python3; do
    "$python" -c 'import numpy' 2>/dev/null && break
    python=
done
[ -n "$python" ] || { echo "same_bytes: no Python with NumPy: run scripts/packages.sh test"; exit 77; }
"$python" "$(dirname "$0")/../support/two_rooms.py" "$scratch/house.ptx"

without_measures='
import json, sys
value = json.load(sys.stdin)
for key in ("seconds", "planes_seconds", "points_per_second", "peak_memory_bytes"):
    value.pop(key, None)
    (value.get("consistency") or {}).pop(key, None)
print(json.dumps(value, indent=1, ensure_ascii=False))
'

use() {  # FOLDER COMMAND...
    mkdir "$scratch/$1"
    cd "$scratch/$1"
    cp ../building.ply ../scan.txt ../posed.ptx ../house.ptx "$corpus"/laz/*.laz "$corpus"/pcd/*.pcd .
    shift
    result() {
        local name=$1
        shift
        "${command[@]}" "$@" --json | python3 -c "$without_measures" >"$name.json"
    }
    local command=("$@")
    result import import building.ply building.prj
    result import_text import scan.txt "scan Größe.prj"
    local project
    for project in building "scan Größe"; do
        result "info $project" info "$project.prj"
        result "check $project" check "$project.prj"
        result "walk $project" walk "$project.prj"
    done
    result roof plane building.prj --seed 3.7,-4.0,12.9 --mesh roof.ply --picture roof.png
    result roof_fine plane building.prj --seed 3.7,-4.0,12.9 --split 0.5 --reach 6 --mesh fine.obj
    result slope plane "scan Größe.prj" --seed 452000.25,5411000.75,312 --mesh slope.ply
    result import_formats import ./*.laz ./*.pcd formats.prj
    result import_posed import posed.ptx posed.prj
    result stations stations posed.prj --picture stations.png
    result planes planes building.prj --points points.ply --mesh planes.ply --outlines planes.ifc
    result rooms planes posed.prj --picture rooms.png --outlines rooms.dxf --apply --save
    result rooms_saved planes posed.prj --saved --points rooms.ply --outlines rooms.ifc
    result import_house import house.ptx house.prj
    result model model house.prj house.{ifc,json,obj,dxf,svg,png} --picture model.png --save
    result model_saved model house.prj saved.ifc --saved
    result model_roof model building.prj roofs.ifc roofs.json --orthogonal
    result deviation deviation building.prj planes
    result deviation_rooms deviation posed.prj planes --cell 0.05
    result consistency stations posed.prj --consistency --threads 2
    result classes classify posed.prj --field intensity --classes 5 --picture classes.svg --apply
    result heights histogram building.prj --field z --picture heights.svg
    for target in export.ply export.las export.xyz; do result "$target" export posed.prj $target; done
    result section section posed.prj --plane 0.3,-0.8,0.1,0.2 --picture section.png --export section.ply
    result plan section "scan Größe.prj" --level 312 --thickness 0.5 --picture level.png --export level.xyz
    find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha256sum >"$scratch/${PWD##*/}.sums"
}

(use native "$native")
(use windows "$runner" "$windows")
diff -r "$scratch/native" "$scratch/windows" || true
diff -u "$scratch/native.sums" "$scratch/windows.sums"
echo "same_bytes: $(wc -l <"$scratch/native.sums") files agree"
