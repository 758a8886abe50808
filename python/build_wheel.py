#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""build_wheel.py BUILD_FOLDER OUT_FOLDER: the wheel of what a build folder holds.

    python3 python/build_wheel.py build/release dist
    python3 python/build_wheel.py build/windows dist

The wheel holds the package, the library and the command, stripped, and for Linux the libraries that
they load and that other Linux systems need not have. Those are given names of their own: a process
that has loaded the system's SQLite, as Python itself may, keeps that one to itself. The same sources
give the same bytes (times are SOURCE_DATE_EPOCH's). Needs Python 3.11 and binutils.
"""
import base64
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import tomllib
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PACKAGE = ROOT / "python" / "orvix"
LARGEST = 8_000_000
# Every Linux system of this age has these: they belong to its C and C++ libraries.
SYSTEM = re.compile(r"(libc|libm|libdl|librt|libpthread|libgcc_s|libstdc\+\+|ld-linux-x86-64)\.so\.\d+")
GLIBC = (2, 36)
LINUX_TAG = f"py3-none-manylinux_{GLIBC[0]}_{GLIBC[1]}_x86_64"
WINDOWS_TAG = "py3-none-win_amd64"


def output_of(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


def stripped(source, target, tool):
    target.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run([tool, "--strip-unneeded", "-o", target, source], check=True)
    target.chmod(0o755)
    return target


def needed(path):
    return re.findall(r"\(NEEDED\).*\[(.+)\]", output_of("readelf", "-d", path))


def own_name(name):
    """As long as the name itself, so that it takes its place in the file."""
    assert name.startswith("lib"), name
    return "orv" + name[3:]


def rename(path, name):
    """Writes the name of a library anew where this file names it: once, in its table of names."""
    data = path.read_bytes()
    old, new = (b"\0" + each.encode() + b"\0" for each in (name, own_name(name)))
    if data.count(old) != 1:
        sys.exit(f"build_wheel: {path.name} holds the name {name} {data.count(old)} times, not once")
    path.write_bytes(data.replace(old, new))


def collect_linux(build, native):
    """The library, the command, and in lib/ what both load and the system need not have."""
    binaries = [stripped(build / "bin" / "liborvix.so.0", native / "lib" / "liborvix.so.0", "strip"),
                stripped(build / "bin" / "libOrvix.Localization.so",
                         native / "lib" / "libOrvix.Localization.so", "strip"),
                stripped(build / "bin" / "orvix", native / "bin" / "orvix", "strip")]
    packages = set()
    for binary in binaries:  # grows meanwhile: what a library loads is a library to look at
        for name in needed(binary):
            if SYSTEM.fullmatch(name):
                continue
            taken = native / "lib" / own_name(name)
            if not taken.exists():
                found = pathlib.Path(output_of("gcc", f"-print-file-name={name}").strip()).resolve()
                binaries.append(stripped(found, taken, "strip"))
                rename(taken, name)
                packages.add(re.sub(r"\.so\.(\d+)", r"\1", name).replace("sqlite30", "sqlite3-0"))
            rename(binary, name)
    for binary in binaries:
        versions = re.findall(r"GLIBC_(\d+)\.(\d+)", output_of("objdump", "-T", binary))
        newest = max((int(major), int(minor)) for major, minor in versions or [(0, 0)])
        if newest > GLIBC:
            sys.exit(f"build_wheel: {binary.name} needs glibc {newest[0]}.{newest[1]}, but the wheel "
                     f"is for {GLIBC[0]}.{GLIBC[1]}: build it on Debian 12")
    return LINUX_TAG, packages


def collect_windows(build, native):
    for name in ("orvix.dll", "Orvix.Localization.dll", "orvix.exe"):
        stripped(build / "bin" / name, native / "bin" / name, "x86_64-w64-mingw32-strip")
    return WINDOWS_TAG, set()


def cache_value(build, name):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\w+=(.*)$", cache, re.MULTILINE)[1]


def version_of(build):
    version = cache_value(build, "CMAKE_PROJECT_VERSION")
    if f'__version__ = "{version}"' not in (PACKAGE / "__init__.py").read_text(encoding="utf-8"):
        sys.exit(f"build_wheel: {PACKAGE}/__init__.py does not have the version {version}")
    return version


def metadata(project, version):
    lines = ["Metadata-Version: 2.1", f"Name: {project['name']}", f"Version: {version}",
             f"Summary: {project['description']}", f"License: {project['license']}",
             f"Requires-Python: {project['requires-python']}",
             *(f"Requires-Dist: {each}" for each in project["dependencies"]),
             *(line for extra, needed in project["optional-dependencies"].items()
               for line in (f"Provides-Extra: {extra}",
                            *(f'Requires-Dist: {each}; extra == "{extra}"' for each in needed))),
             "Description-Content-Type: text/markdown", "",
             (ROOT / "docs" / "PYTHON.md").read_text(encoding="utf-8")]
    return "\n".join(lines)


def write_wheel(files, path):
    """files: {name in the wheel: (bytes, whether it is a program)}; RECORD comes last."""
    when = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", "315532800")), 315532800))[:6]
    record = next(name for name in files if name.endswith("RECORD"))
    lines = []
    for name, (data, _) in files.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        lines.append(f"{name},," if name == record else f"{name},sha256={digest},{len(data)}")
    files[record] = ("\n".join(lines).encode() + b"\n", False)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as wheel:
        for name, (data, program) in files.items():
            entry = zipfile.ZipInfo(name, when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = (0o100755 if program else 0o100644) << 16
            wheel.writestr(entry, data)


def make(build, out):
    """The wheel's path."""
    project = tomllib.loads((ROOT / "python" / "pyproject.toml").read_text(encoding="utf-8"))["project"]
    version = version_of(build)
    files = {f"orvix/{path.name}": (path.read_bytes(), False)
             for path in sorted(PACKAGE.iterdir()) if path.suffix == ".py" or path.name == "py.typed"}
    files["orvix/_c.py"] = ((ROOT / "orvix" / "c" / "bindings" / "orvix.py").read_bytes(), False)
    with tempfile.TemporaryDirectory() as scratch:
        native = pathlib.Path(scratch) / "native"
        windows = (build / "bin" / "orvix.exe").exists()
        tag, packages = (collect_windows if windows else collect_linux)(build, native)
        for path in sorted(each for each in native.rglob("*") if each.is_file()):
            name = path.relative_to(native.parent).as_posix()
            files["orvix/" + name] = (path.read_bytes(), path.stem == "orvix")
    info = f"orvix-{version}.dist-info"
    files[f"{info}/METADATA"] = (metadata(project, version).encode(), False)
    files[f"{info}/WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: build_wheel\nRoot-Is-Purelib: false\n"
                              f"Tag: {tag}\n".encode(), False)
    scripts = "".join(f"{name} = {target}\n" for name, target in project["scripts"].items())
    files[f"{info}/entry_points.txt"] = (f"[console_scripts]\n{scripts}".encode(), False)
    files[f"{info}/licenses/LICENSE"] = ((ROOT / "LICENSE").read_bytes(), False)
    for package in sorted(packages):  # the terms of the libraries that are passed on
        terms = pathlib.Path("/usr/share/doc") / package / "copyright"
        if terms.exists():
            files[f"{info}/licenses/{package}.txt"] = (terms.read_bytes(), False)
    files[f"{info}/RECORD"] = (b"", False)
    out.mkdir(parents=True, exist_ok=True)
    path = out / f"orvix-{version}-{tag}.whl"
    write_wheel(files, path)
    if path.stat().st_size > LARGEST and cache_value(build, "CMAKE_BUILD_TYPE") == "Release":
        sys.exit(f"build_wheel: {path} has {path.stat().st_size:,} bytes, more than {LARGEST:,}")
    return path


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    """The hook of pip and build: -C build=FOLDER names the build folder, else build/release."""
    build = pathlib.Path((config_settings or {}).get("build", ROOT / "build" / "release"))
    return make(build.resolve(), pathlib.Path(wheel_directory)).name


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    wheel = make(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]))
    print(f"{wheel} ({wheel.stat().st_size:,} bytes)")
