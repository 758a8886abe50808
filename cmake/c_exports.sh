#!/usr/bin/env bash
# c_exports.sh OBJDUMP LIBRARY.dll DEFINITIONS: writes the module definition file of the library's C
# functions, those exported under plain names.
set -euo pipefail
{
    echo "LIBRARY $(basename "$2")"
    echo EXPORTS
    "$1" -p "$2" | sed -nE 's/^[[:space:]]*\[ *[0-9]+\].*[[:space:]](orvix_[A-Za-z0-9_]+)$/    \1/p' | LC_ALL=C sort
} >"$3"
