#!/usr/bin/env bash
# exports.sh LIBRARY GOLDEN: the classes and functions that the library exports are exactly the
# golden list. Names are reduced to their class (or free function), so that inlining differences
# between compilers do not show; standard-library template instances are not ours to list.
set -euo pipefail
nm -D --defined-only "$1" | c++filt | sed -E 's/^[0-9a-f]+ . //' |
    grep -oE '^(vtable for |typeinfo (name )?for )?orvix::[A-Za-z0-9_:]+' |
    sed -E 's/^(vtable for |typeinfo (name )?for )//; s/^(orvix::(platform::)?[A-Za-z0-9_]+).*/\1/' |
    LC_ALL=C sort -u >"${TMPDIR:-/tmp}/orvix-exports.$$"
trap 'rm -f "${TMPDIR:-/tmp}/orvix-exports.$$"' EXIT
diff -u "$2" "${TMPDIR:-/tmp}/orvix-exports.$$"
