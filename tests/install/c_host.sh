#!/usr/bin/env bash
# c_host.sh BUILD_FOLDER COMPILER ORVIX SAMPLE [RUNNER]: a C host builds with the installed header and
# library and nothing else, and runs. ORVIX makes the project that it opens.
set -euo pipefail
build=$1
compiler=$2
orvix=$3
sample=$4
runner=("${@:5}")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >"$scratch/install.log"
cd "$scratch"
library=$(find "$prefix" -name liborvix.so -o -name 'liborvix.dll.a' | head -1)
"$compiler" -std=c11 -pedantic-errors -Werror "$here/c_host.c" -I "$prefix/include" "$library" \
    -Wl,-rpath,"$(dirname "$library")" -o host.exe
cp "$prefix"/bin/*.dll . 2>/dev/null || true
cp "$sample" scan.ply
"${runner[@]}" "$orvix" import scan.ply scan.prj --json >import.json
"${runner[@]}" ./host.exe scan.prj
for file in Orvix.cs orvix.py; do
    [ -s "$prefix/share/orvix/bindings/$file" ] || { echo "$file is not installed" >&2; exit 1; }
done
