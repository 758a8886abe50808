#!/usr/bin/env bash
# run.sh RUNNER FALL_OVER: programs that end badly must do so soon, with an exit code that tells,
# and with the function's name where the system reports one.
set -euo pipefail
runner=$1
program=$2

ends() {  # WAY CODES [PATTERN]
    local said code=0
    # A prefix that is made first takes its time too.
    said=$(timeout 90 "$runner" "$program" $1 2>&1) || code=$?
    if ! grep -qE "^($2)\$" <<<"$code" || ! grep -q "about to end" <<<"$said" ||
        ! grep -qE "${3:-}" <<<"$said"; then
        echo "runner: '$1' ended with $code instead of $2, or without '${3:-}':"
        echo "$said"
        exit 1
    fi
}

ends "return 0" 0
ends "return 7" 7
ends abort 3
ends read 5 '^=>0 .*ReadNothing\(int const volatile\*\) in fall_over'
ends stack '5|253' 'stack overflow'
echo "runner: five ends as they should be"
