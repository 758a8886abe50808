#!/usr/bin/env bash
# Installs what the named parts of the project need on Debian 12:
# scripts/packages.sh build [test] [gpu] [dialog] [page] [browser] [csharp] [outputs] [cluster] [package]
# [windows] [display] [front-end] [fuzz] [bench] [peers].
# Run as root, or as a user who may call sudo; installs nothing when everything is there.
set -euo pipefail

build=(
    g++ cmake ninja-build
    libcgal-dev libboost-dev libeigen3-dev libnanoflann-dev libsqlite3-dev
    libcli11-dev nlohmann-json3-dev libfmt-dev libexpected-dev libxxhash-dev libstb-dev
)
# valgrind counts the instructions of hot paths: 14 MB to fetch, 78 MB on the disk.
test=(libgtest-dev libgmock-dev python3 python3-numpy python3-pytest pkg-config valgrind)
# A device for the tests of kernels, which is the processor: 65 MB to fetch, 384 MB on the disk. No
# headers: the library declares what it calls. A device with a driver of its own serves as well.
gpu=(pocl-opencl-icd ocl-icd-libopencl1)
# What compiles and runs the example in C#: 10 MB to fetch, 33 MB on the disk. Without it that test
# is skipped.
csharp=(mono-mcs)
# The window of `orvix params` and its tests: 43 MB to fetch, 182 MB on the disk. Without it both are
# left out.
dialog=(qt6-base-dev)
# What makes the page of `orvix view`: 23 MB to fetch, 330 MB on the disk. Without it the page is left
# out. npm fetches another 20 MB, held by sums, when the page is made for the first time.
page=(nodejs npm)
# What opens the page in the tests: 122 MB to fetch, 409 MB on the disk. Without it they are skipped.
browser=(chromium)
# What reads the files of `orvix planes` and `orvix model` in the tests: shapely and ogrinfo, ezdxf,
# IfcPlusPlus, and what IfcOpenShell needs of Debian. Without one of them its test is skipped.
# IfcOpenShell and web-ifc themselves are fetched into build/kernels, held by sums: 60 MB, 230 MB on the disk.
outputs=(python3-shapely gdal-bin python3-ezdxf libifcplusplus-dev
    python3-pip python3-lark python3-isodate python3-dateutil python3-pyparsing python3-pytest)
# Dask distributed, which the tests of orvix.cluster run on: 7 MB to fetch, 40 MB on the disk. Without it
# they are skipped.
cluster=(python3-distributed)
# What finds out which libraries a Debian package depends on.
packaging=(dpkg-dev file)
# A Windows build and its runner: 170 MB to fetch, 1.1 GB on the disk.
windows=(g++-mingw-w64-x86-64-posix wine64)
# A display for those of its programs that compute through Direct3D: 6 MB to fetch, 8 MB on the disk.
display=(xvfb)
# The compiler that reads the Windows sources a second time: 100 MB to fetch, 500 MB on the disk.
front_end=(clang)
# That compiler's fuzzer and sanitizers: 16 MB to fetch, 95 MB on the disk.
fuzz=(clang libclang-rt-dev llvm)
# What asks the questions of the benches and draws their pictures: 40 MB to fetch, 150 MB on the disk.
bench=(python3 python3-numpy python3-matplotlib)
# Rivals of the plane search: 231 MB to fetch, 1.2 GB on the disk. Without them they are left out.
peers=(libpcl-dev libopen3d-dev)

wanted=()
kernels=no
for part in "$@"; do
    case "$part" in
        build) wanted+=("${build[@]}") ;;
        test) wanted+=("${test[@]}") ;;
        gpu) wanted+=("${gpu[@]}") ;;
        dialog) wanted+=("${dialog[@]}") ;;
        page) command -v node >/dev/null && command -v npm >/dev/null || wanted+=("${page[@]}") ;;
        browser) command -v chromium >/dev/null || wanted+=("${browser[@]}") ;;
        csharp) wanted+=("${csharp[@]}") ;;
        outputs)
            wanted+=("${outputs[@]}")
            command -v node >/dev/null && command -v npm >/dev/null || wanted+=("${page[@]}")
            kernels=yes
            ;;
        cluster) wanted+=("${cluster[@]}") ;;
        package) wanted+=("${packaging[@]}") ;;
        windows) wanted+=("${windows[@]}") ;;
        display) wanted+=("${display[@]}") ;;
        front-end) wanted+=("${front_end[@]}") ;;
        fuzz) wanted+=("${fuzz[@]}") ;;
        bench) wanted+=("${bench[@]}") ;;
        peers) wanted+=("${peers[@]}") ;;
        *) echo "packages.sh: unknown part '$part' (build, test, gpu, dialog, page, browser, csharp, outputs, cluster, package, windows, display, front-end, fuzz, bench, peers)" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "packages.sh: run as root to install: ${missing[*]}" >&2; exit 1; }
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}" >&2
    export DEBIAN_FRONTEND=noninteractive
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
fi
[ "$kernels" = yes ] || exit 0

# The stamp is what they were installed of.
source=$(cd "$(dirname "$0")/../tests/outputs/kernels" && pwd)
target=$(cd "$(dirname "$0")/.." && pwd)/build/kernels
stamp=$(cat "$source"/requirements.txt "$source"/package-lock.json | sha256sum)
[ "$(cat "$target/installed.txt" 2>/dev/null || true)" = "$stamp" ] && exit 0
echo "Installing: IfcOpenShell, web-ifc" >&2
rm -rf "$target"
mkdir -p "$target"
# Debian's Python, which the tests run: the wheel is of its version.
PIP_ROOT_USER_ACTION=ignore /usr/bin/python3 -m pip install --quiet --disable-pip-version-check --no-deps \
    --only-binary :all: --require-hashes --target "$target/python" -r "$source/requirements.txt" >&2
cp "$source"/package.json "$source"/package-lock.json "$source"/.npmrc "$target/"
npm ci --prefix "$target" --silent >&2
echo "$stamp" >"$target/installed.txt"
