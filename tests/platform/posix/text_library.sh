#!/usr/bin/env bash
# text_library.sh HOST LIBRARY PLANTED: where the library finds its texts. BEHAVIOUR O10
#   HOST     text_host, linked with LIBRARY (liborvix.so), beside which the text library lies
#   PLANTED  a text library of the same name in a folder of its own, whose every text is "planted"
set -euo pipefail
host=$1 library=$2 planted=$(dirname "$3")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

expect() { # WANTED WHAT GOT
    case $3 in
        $1) ;;
        *) echo "$2: expected $1, got $3" >&2; exit 1 ;;
    esac
}

# Loaded by a relative name, asked after the current folder has changed.
cd "$(dirname "$library")/.."
bin=$(basename "$(dirname "$library")")
expect "A required*" "relative name" "$(LD_LIBRARY_PATH=$bin "$host" / 1370)"
cd "$bin"
expect "A required*" "empty name" "$(LD_LIBRARY_PATH=: "$host" / 1370)"

# Without a text library beside it the library has numbers, and takes none from the current folder.
cp -L "$library" "$scratch/$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')"
cd "$planted"
for empty in "" .; do
    expect 1370 "current folder" "$(LD_LIBRARY_PATH=$scratch:$empty "$host" . 1370)"
done
expect planted "a folder of the search" "$(LD_LIBRARY_PATH=$scratch:$planted "$host" / 1370)"
expect planted "beside a relative one" "$(LD_LIBRARY_PATH=$scratch::$planted "$host" / 1370)"
