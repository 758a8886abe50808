#!/usr/bin/env bash
# run.sh [--cluster] SOURCE_FOLDER BUILD_FOLDER: makes the wheel, unpacks it where nothing of the sources is,
# and runs its tests there. A single one: run.sh SOURCE_FOLDER BUILD_FOLDER -k NAME. --cluster: those that need
# Dask distributed, and no others; ORVIX_CLUSTER_KILLS=50 makes them long.
set -euo pipefail
part=package needs="numpy, pytest, tomllib" packages=test
[ "$1" != --cluster ] || { part=cluster needs+=", distributed" packages="test cluster"; shift; }
source=$(cd "$1" && pwd)
build=$(cd "$2" && pwd)
shift 2
for python in python3 /usr/bin/python3; do
    "$python" -c "import $needs" 2>/dev/null && break
    python=
done
[ -n "$python" ] || { echo "python_$part: no Python with $needs: run scripts/packages.sh $packages"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export ORVIX_SETTINGS_DIR=$scratch/settings PYTHONDONTWRITEBYTECODE=1 PYTHONNOUSERSITE=1
"$python" "$source/python/build_wheel.py" "$build" "$scratch/dist"
"$python" -m zipfile -e "$scratch"/dist/*.whl "$scratch/site"
cd "$scratch"
export PYTHONPATH=$scratch/site ORVIX_SAMPLE=$source/samples/building.ply
tests=("$source/tests/python" --ignore "$source/tests/python/cluster_test.py")
[ $part = package ] || tests=("$source/tests/python/cluster_test.py")
"$python" -m pytest -q -p no:cacheprovider -c "$source/tests/python/pytest.ini" \
    --basetemp="$scratch/tests" "${tests[@]}" "$@"
