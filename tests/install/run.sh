#!/usr/bin/env bash
# run.sh BUILD_FOLDER: installs into an empty prefix, then uses what is there as hosts do, through
# find_package and through pkg-config. CROSS and RUNNER as in use.sh; CXX is the compiler.
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
read -ra runner <<<"${RUNNER:-}"

cmake --install "$build" --prefix "$prefix" >"$scratch/install.log"
"$here/use.sh" "$prefix" "$scratch"

flags=$(PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name orvix.pc)")" pkg-config --cflags --libs orvix)
program=$scratch/library_only
if [ -e "$prefix/bin/orvix.dll" ]; then
    cp "$prefix"/bin/*.dll "$scratch"
    flags="-static -Wl,-Bdynamic $flags -Wl,-Bstatic"
    program+=.exe
else
    flags+=" -Wl,-rpath,$prefix/lib"
fi
# shellcheck disable=SC2086  # the flags are a list
"${CXX:-c++}" -std=c++20 "$here/consumer/library_only.cpp" $flags -o "$program"
ORVIX_SETTINGS_DIR="$scratch/settings" "${runner[@]}" "$program"
