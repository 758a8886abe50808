#!/usr/bin/env bash
# Installs what the named parts of the project need on Debian 12:
# scripts/packages.sh build [test] [gpu] [dialog] [page] [browser] [csharp] [outputs] [cluster] [package]
# [windows] [display] [front-end] [fuzz].
# Run as root, or as a user who may call sudo; installs nothing when everything is there.
set -euo pipefail

build=(
    g++ cmake ninja-build
    libcgal-dev libboost-dev libeigen3-dev libnanoflann-dev libsqlite3-dev
    libcli11-dev nlohmann-json3-dev libfmt-dev libexpected-dev libxxhash-dev libstb-dev
)
test=(libgtest-dev libgmock-dev python3 python3-numpy python3-pytest pkg-config)
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
# What reads the files of `orvix planes` in the tests: shapely and ogrinfo, ezdxf, IfcPlusPlus.
# Without one of them its test is skipped.
outputs=(python3-shapely gdal-bin python3-ezdxf libifcplusplus-dev)
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

wanted=()
for part in "$@"; do
    case "$part" in
        build) wanted+=("${build[@]}") ;;
        test) wanted+=("${test[@]}") ;;
        gpu) wanted+=("${gpu[@]}") ;;
        dialog) wanted+=("${dialog[@]}") ;;
        page) command -v node >/dev/null && command -v npm >/dev/null || wanted+=("${page[@]}") ;;
        browser) command -v chromium >/dev/null || wanted+=("${browser[@]}") ;;
        csharp) wanted+=("${csharp[@]}") ;;
        outputs) wanted+=("${outputs[@]}") ;;
        cluster) wanted+=("${cluster[@]}") ;;
        package) wanted+=("${packaging[@]}") ;;
        windows) wanted+=("${windows[@]}") ;;
        display) wanted+=("${display[@]}") ;;
        front-end) wanted+=("${front_end[@]}") ;;
        fuzz) wanted+=("${fuzz[@]}") ;;
        *) echo "packages.sh: unknown part '$part' (build, test, gpu, dialog, page, browser, csharp, outputs, cluster, package, windows, display, front-end, fuzz)" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "packages.sh: run as root to install: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
