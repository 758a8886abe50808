#!/usr/bin/env bash
# command.sh ORVIX SCAN SEED: `orvix params` without a display says so; with one it opens, searches,
# and ends in order when it is interrupted, the project as it was.
set -euo pipefail
orvix=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings
project=$scratch/scan.prj
"$orvix" import "$2" "$project" >/dev/null
"$orvix" plane "$project" --seed "$3" >/dev/null  # fills in the settings that are still unset
cp "$project" "$scratch/before"

fail() { echo "command.sh: $*" >&2; exit 1; }

# ended CODE COMMAND...: the command ends with that code; what it said is in $said.
ended() {
    local wanted=$1 code=0
    shift
    said=$("$@" 2>&1) || code=$?
    [ "$code" -eq "$wanted" ] || fail "$* ended with $code instead of $wanted: $said"
    cmp -s "$project" "$scratch/before" || fail "$* changed the project"
}

ended 1 env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$orvix" params "$project"
[[ $said == *"there is no display"* ]] || fail "no word of the display: $said"
ended 1 env -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb DISPLAY=:9999 "$orvix" params "$project"
ended 3 "$orvix" params "$scratch/none.prj"
ended 2 "$orvix" params "$project" --lang xx
ended 130 env QT_QPA_PLATFORM=offscreen timeout --preserve-status -s INT 4 \
    "$orvix" params "$project" --lang de --seed "$3"
# A read-only project is refused first; the superuser may write anything.
if [ "$(id -u)" -ne 0 ]; then
    chmod a-w "$project"
    ended 1 env QT_QPA_PLATFORM=offscreen "$orvix" params "$project"
fi
