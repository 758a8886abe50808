#!/usr/bin/env bash
# exports.sh LIBRARY GOLDEN MEMBERS [NM]: the classes and functions that the library exports are
# exactly the golden list, those of the C interface included, and it exports every member listed in
# MEMBERS. Others may join these: compilers differ in what they emit of private ones and of those
# that they write themselves. Standard-library template instances are not ours to list. For a
# Windows library, LIBRARY is its import library and NM the target's.
set -euo pipefail
names=$(mktemp)
listed=$(mktemp)
trap 'rm -f "$names" "$listed"' EXIT
options=(--defined-only)
case "$1" in *.a) ;; *) options+=(-D) ;; esac
"${4:-nm}" "${options[@]}" "$1" | sed -E 's/^[0-9a-f]+ . //; s/^__imp_//' | c++filt |
    grep -v '_dll_iname$' | grep -v '^orvix::[A-Za-z0-9_:]* orvix::' >"$names"
grep -oE '^(vtable for |typeinfo (name )?for )?orvix::[A-Za-z0-9_:]+|^orvix_[a-z0-9_]+$' "$names" |
    sed -E 's/^(vtable for |typeinfo (name )?for )//; s/^(orvix::((platform|detection|building)::)?[A-Za-z0-9_]+).*/\1/' |
    LC_ALL=C sort -u >"$listed"
diff -u "$2" "$listed"
grep -oE '^orvix::((detection|building)::)?[A-Za-z0-9_]+::~?[A-Za-z0-9_]+(\(|$)' "$names" | tr -d '(' | LC_ALL=C sort -u >"$listed"
missing=$(LC_ALL=C comm -23 "$3" "$listed")
[ -z "$missing" ] || { printf 'members without a symbol:\n%s\n' "$missing"; exit 1; }
