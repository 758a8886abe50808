#!/usr/bin/env bash
# run_paths.sh FILE...: no product looks for libraries in the current folder: each entry of its run
# path starts at the root or beside the product.
set -euo pipefail
for file in "$@"; do
    path=$(readelf -d "$file" | sed -n 's/.*(R\(UN\)\?PATH).*\[\(.*\)\]/\2/p')
    [ -n "$path" ] || continue
    case ":$path:" in
        *::*) echo "$file: empty entry in run path $path" >&2; exit 1 ;;
    esac
    for entry in ${path//:/ }; do
        case $entry in
            /* | '$ORIGIN' | '$ORIGIN/'*) ;;
            *) echo "$file: relative entry in run path $path" >&2; exit 1 ;;
        esac
    done
done
