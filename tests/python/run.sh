#!/usr/bin/env bash
# run.sh SOURCE_FOLDER BUILD_FOLDER: makes the wheel, unpacks it where nothing of the sources is, and
# runs its tests there. A single one: run.sh SOURCE_FOLDER BUILD_FOLDER -k NAME.
set -euo pipefail
source=$(cd "$1" && pwd)
build=$(cd "$2" && pwd)
shift 2
for python in python3 /usr/bin/python3; do
    "$python" -c 'import numpy, pytest, tomllib' 2>/dev/null && break
    python=
done
[ -n "$python" ] || { echo "python_package: no Python with NumPy and pytest: run scripts/packages.sh test"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings PYTHONDONTWRITEBYTECODE=1 PYTHONNOUSERSITE=1
"$python" "$source/python/build_wheel.py" "$build" "$scratch/dist"
"$python" -m zipfile -e "$scratch"/dist/*.whl "$scratch/site"
cd "$scratch"
export PYTHONPATH=$scratch/site ORVIX_SAMPLE=$source/samples/building.ply
"$python" -m pytest -q -p no:cacheprovider -c "$source/tests/python/pytest.ini" \
    --basetemp="$scratch/tests" "$source/tests/python" "$@"
