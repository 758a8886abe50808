#!/usr/bin/env bash
# use.sh PREFIX SCRATCH: builds and runs a host of its own, and the examples that come with the
# package, against what lies under PREFIX. Nothing else of the project may be needed.
#
# CROSS holds the options that make CMake build for another system, RUNNER runs its programs.
set -euo pipefail
prefix=$1
scratch=$2
consumer=$(cd "$(dirname "$0")" && pwd)/consumer
read -ra cross <<<"${CROSS:-}"
read -ra runner <<<"${RUNNER:-}"
export ORVIX_SETTINGS_DIR=$scratch/settings

quietly() {  # tells what a step said only when it fails
    local said
    said=$("$@" 2>&1) || { echo "failed: $*"; echo "$said"; exit 1; }
}

program() {  # the path of a program without its ending
    if [ -e "$1.exe" ]; then echo "$1.exe"; else echo "$1"; fi
}

builds() {  # SOURCES BUILD
    quietly cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "${cross[@]}"
    quietly cmake --build "$2"
}

builds "$consumer" "$scratch/consumer"
if [ -e "$prefix/bin/orvix.dll" ]; then cp "$prefix"/bin/*.dll "$scratch/consumer"; fi
cd "$scratch/consumer"
"${runner[@]}" "$(program ./consumer)" host.prj

examples=$(dirname "$(find "$prefix" -name 01_import_open_seed_outline.cpp)")
cp -r "$examples" "$scratch/examples"
builds "$scratch/examples" "$scratch/examples/build"
cd "$scratch/examples"
"${runner[@]}" "$(program build/01_import_open_seed_outline)" building.ply building.prj 3.7 -4.0 12.9
"${runner[@]}" "$(program build/07_all_planes)" building.prj | tail -1
"${runner[@]}" "$(program build/12_section)" building.prj 3.7 -5 12.9 | tail -1

"${runner[@]}" "$(program "$prefix/bin/orvix")" --version
cd "$scratch" && rm -rf consumer examples
