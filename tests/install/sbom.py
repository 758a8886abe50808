#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""sbom.py ROOT SBOM [windows]: the list of what the products are made of says what docs/DEPENDENCIES.md,
scripts/packages.sh and vcpkg.json say. Prints each difference, and ends with 1 if there is any."""
import json
import os
import re
import sys

# Their names there.
IN_VCPKG = {"libboost-dev": "boost", "libcgal-dev": "cgal", "libeigen3-dev": "eigen3", "libnanoflann-dev": "nanoflann",
            "libsqlite3-dev": "sqlite3", "libcli11-dev": "cli11", "nlohmann-json3-dev": "nlohmann-json",
            "libfmt-dev": "fmt", "libexpected-dev": "tl-expected", "libxxhash-dev": "xxhash",
            "libstb-dev": "stb"}


def words_of(script, part):
    return set(re.search(rf"^{part}=\(([^)]*)\)", script, re.MULTILINE).group(1).split())


def main():
    root, path, *system = sys.argv[1:]
    def text(name):
        with open(os.path.join(root, name), encoding="utf-8") as file:
            return file.read()
    with open(path, encoding="utf-8") as file:
        sbom = json.load(file)
    listed = {p["packageFileName"]: p for p in sbom["packages"] if "packageFileName" in p}
    script, page = text("scripts/packages.sh"), text("docs/DEPENDENCIES.md")
    vcpkg = {d if isinstance(d, str) else d["name"] for d in json.loads(text("vcpkg.json"))["dependencies"]}
    elsewhere = {"g++", "cmake", "ninja-build"}
    # The page's packages are npm's, and not in a build without Node.js.
    needed = json.loads(text("view/page/package.json"))["dependencies"]
    page_listed = {name: listed.pop(name) for name in needed if name in listed}
    if system:
        elsewhere.add("libsqlite3-dev")  # settings are in the registry there
        vcpkg.remove("sqlite3")
    faults = []
    for package in sorted((words_of(script, "build") - elsewhere) ^ set(listed)):
        faults.append(f"{package} is in only one of scripts/packages.sh and the list")
    for package in sorted(vcpkg ^ {IN_VCPKG.get(p, p) for p in listed}):
        faults.append(f"{package} is in only one of vcpkg.json and the list")
    for part in ("test", "gpu", "csharp", "dialog", "page", "browser", "outputs", "cluster", "packaging", "windows", "display", "front_end", "fuzz"):
        for package in sorted(words_of(script, part)):
            if not re.search(rf"(?<![\w-]){re.escape(package)}(?![\w-])", page):
                faults.append(f"docs/DEPENDENCIES.md does not name {package}")
    tools = json.loads(text("view/page/package.json"))["devDependencies"]
    kernels = json.loads(text("tests/outputs/kernels/package.json"))["dependencies"]
    fetched = re.findall(r"^([\w-]+)==", text("tests/outputs/kernels/requirements.txt"), re.MULTILINE)
    for package in sorted({*needed, *tools, *kernels, *fetched}):
        if not re.search(rf"(?<![\w@/-]){re.escape(package)}(?![\w/-])", page):
            faults.append(f"docs/DEPENDENCIES.md does not name {package}")
    for package, entry in page_listed.items():
        if entry["versionInfo"] != needed[package]:
            faults.append(f"{package} is {entry['versionInfo']} in the list, {needed[package]} in package.json")
    related = {r["relatedSpdxElement"] for r in sbom["relationships"]}
    listed.update(page_listed)
    for package, entry in listed.items():
        if entry["SPDXID"] not in related or not entry["versionInfo"] or not entry["licenseDeclared"]:
            faults.append(f"{package} has no version, licence or relation")
    print("\n".join(faults) if faults else f"{len(listed)} dependencies, each in every list")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
