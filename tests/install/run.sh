#!/usr/bin/env bash
# run.sh BUILD_FOLDER CONSUMER_FOLDER
set -euo pipefail
build=$1
consumer=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >"$scratch/install.log"

# Nothing but the prefix may be needed: the checkout's headers must not be on any include path.
cmake -S "$consumer" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >"$scratch/cmake.log" ||
    { cat "$scratch/cmake.log"; exit 1; }
cmake --build "$scratch/cmake" >"$scratch/build.log" 2>&1 || { cat "$scratch/build.log"; exit 1; }
ORVIX_SETTINGS_DIR="$scratch/settings" "$scratch/cmake/consumer" "$scratch/host.prj"

libdir=$(dirname "$(find "$scratch/prefix" -name orvix.pc)")
flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs \
    --define-variable=prefix="$scratch/prefix" orvix)
# shellcheck disable=SC2086  # the flags are a list
"${CXX:-c++}" -std=c++20 "$consumer/library_only.cpp" $flags -Wl,-rpath,"$(dirname "$libdir")" \
    -o "$scratch/library_only"
ORVIX_SETTINGS_DIR="$scratch/settings" "$scratch/library_only"

"$scratch/prefix/bin/orvix" --version
