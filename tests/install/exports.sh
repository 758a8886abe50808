#!/usr/bin/env bash
# exports.sh LIBRARY GOLDEN [NM]: the classes and functions that the library exports are exactly
# the golden list, those of the C interface included. Names of C++ are reduced to their class (or free function), so that inlining differences
# between compilers do not show; standard-library template instances are not ours to list. For a
# Windows library, LIBRARY is its import library and NM the target's.
set -euo pipefail
listed=$(mktemp)
trap 'rm -f "$listed"' EXIT
options=(--defined-only)
case "$1" in *.a) ;; *) options+=(-D) ;; esac
"${3:-nm}" "${options[@]}" "$1" | sed -E 's/^[0-9a-f]+ . //; s/^__imp_//' | c++filt |
    grep -v '_dll_iname$' |
    grep -oE '^(vtable for |typeinfo (name )?for )?orvix::[A-Za-z0-9_:]+|^orvix_[a-z0-9_]+$' |
    sed -E 's/^(vtable for |typeinfo (name )?for )//; s/^(orvix::(platform::)?[A-Za-z0-9_]+).*/\1/' |
    LC_ALL=C sort -u >"$listed"
diff -u "$2" "$listed"
