#!/usr/bin/env bash
# csharp_host.sh SOURCE_FOLDER LIBRARY ORVIX: the C# example compiles, runs and finds the plane that
# the command finds. Skipped where there is no Mono.
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
