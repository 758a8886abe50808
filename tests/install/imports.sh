#!/usr/bin/env bash
# imports.sh OBJDUMP FILE...: Windows products need the system's own libraries and no others, so
# that a host installs what it is given and nothing else.
set -euo pipefail
objdump=$1
shift
for file in "$@"; do
    foreign=$("$objdump" -p "$file" | sed -n 's/.*DLL Name: //p' |
        grep -viE '^(kernel32|advapi32|bcrypt|gdi32|mswsock|msvcrt|shell32|user32|ws2_32)\.dll$' || true)
    [ -z "$foreign" ] || { echo "$file needs $foreign" >&2; exit 1; }
done
