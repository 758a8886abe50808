#!/usr/bin/env bash
# package.sh BUILD_FOLDER: makes the packages that users get, twice and alike to the last byte, and
# uses each, unpacked in an empty folder. CROSS and RUNNER as in use.sh.
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

pack() {  # FOLDER
    SOURCE_DATE_EPOCH=1700000000 TZ=UTC cpack --config "$build/CPackConfig.cmake" -B "$1" >"$scratch/cpack.log" 2>&1 ||
        { cat "$scratch/cpack.log"; exit 1; }
    rm -rf "$1/_CPack_Packages"
}
pack "$scratch/first"
pack "$scratch/second"
diff -r "$scratch/first" "$scratch/second"

shopt -s nullglob
uses() {  # PREFIX NAME
    echo "== $2"
    mkdir "$scratch/use"
    "$here/use.sh" "$1" "$scratch/use"
    # The page is found beside the command, where the build made one.
    [ ! -e "$build/share/orvix/view/index.html" ] ||
        diff -r "$build/share/orvix/view" "$1/share/orvix/view"
    rm -rf "$scratch/use"
}
mkdir "$scratch/unpacked"
cd "$scratch/unpacked"
for archive in "$scratch"/first/*.tar.gz "$scratch"/first/*.zip; do
    cmake -E tar xf "$archive"
    uses "$PWD/$(basename "${archive%.*}" .tar)" "$(basename "$archive")"
done
debs=("$scratch"/first/*.deb)
for deb in "${debs[@]}"; do dpkg-deb -x "$deb" root; done
if [ ${#debs[@]} -gt 0 ]; then
    dpkg-deb -f "$scratch"/first/liborvix0_*.deb Depends | grep -q libsqlite3-0
    uses "$PWD/root/usr" "${#debs[@]} Debian packages"
fi
ls -l "$scratch/first" | awk 'NR > 1 {print $5, $9}'
