# SPDX-License-Identifier: GPL-3.0-or-later
"""What figures were measured on: the class of machine, never its name."""
import os
import pathlib
import re
import subprocess


def text_of(path):
    try:
        return pathlib.Path(path).read_text()
    except OSError:
        return ""


def first(pattern, text, otherwise="unknown"):
    match = re.search(pattern, text, re.MULTILINE)
    return match.group(1).strip() if match else otherwise


def compiler_of(build):
    """Of a build folder, as 'g++ 12.2.0'."""
    program = first(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", text_of(build / "CMakeCache.txt"), "c++")
    said = subprocess.run([program, "--version"], capture_output=True, text=True, check=False).stdout
    return ("clang++ " if "clang" in said else "g++ ") + first(r"(\d+\.\d+\.\d+)", said)


def machine(build):
    memory = int(first(r"^MemTotal:\s+(\d+)", text_of("/proc/meminfo"), "0"))
    return {"processor": first(r"^model name\s*:(.*)$", text_of("/proc/cpuinfo")),
            "cores": len(os.sched_getaffinity(0)),
            "memory_gib": round(memory / 2**20),
            "last_cache": first(r"(\d+K)", text_of("/sys/devices/system/cpu/cpu0/cache/index3/size")),
            "system": first(r'^PRETTY_NAME="(.*)"$', text_of("/etc/os-release")),
            "compiler": compiler_of(build)}


def busy():
    """Programs that wanted a core in the last minute, on average."""
    return round(os.getloadavg()[0], 1)
