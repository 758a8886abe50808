#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails once, in turn, each wait for the device while an import writes its points, and looks at its end.

sync_test.py COMMAND LIBRARY

A wait that another thread does must be heard of as one that the writer does: an import that goes on
after it would publish points that the device refused. Exit code: 0 none wrong.
"""
import array
import os
import random
import subprocess
import sys
import tempfile

POINTS = 50_000
TIMES = 60  # 72 MB of points: two waits before the last one


def write_scan(path):
    chance = random.Random(1)
    block = array.array("f", (30 * chance.random() for _ in range(3 * POINTS))).tobytes()
    with open(path, "wb") as file:
        file.write(f"ply\nformat binary_little_endian 1.0\nelement vertex {POINTS * TIMES}\n"
                   "property float x\nproperty float y\nproperty float z\nend_header\n".encode())
        for _ in range(TIMES):
            file.write(block)


def run(command, library, scan, place, at):
    """Exit code, error, the calls that the library counted (or met), and what is left."""
    folder = tempfile.mkdtemp(dir=place)
    log = folder + ".log"
    fault = {"LD_PRELOAD": library, "ORVIX_FAULT_FOLDER": folder, "ORVIX_FAULT_LOG": log,
             "ORVIX_FAULT_AT": str(at), "ORVIX_FAULT_KIND": "eio"}
    done = subprocess.run([command, "import", scan, os.path.join(folder, "p.prj"), "--threads", "1"],
                          env=os.environ | fault, capture_output=True, text=True, check=False)
    with open(log, encoding="utf-8") as calls:
        return done.returncode, done.stderr, [line.split(maxsplit=2) for line in calls], os.listdir(folder)


def main():
    command, library = sys.argv[1:]
    with tempfile.TemporaryDirectory() as place:
        scan = os.path.join(place, "scan.ply")
        write_scan(scan)
        code, error, calls, _ = run(command, library, scan, place, 0)
        syncs = [int(number) for number, call, path in calls if call == "sync" and "Grid.pts" in path]
        if code != 0 or len(syncs) < 3:
            sys.exit(f"the import made {len(syncs)} waits for its points, exit code {code}: {error}")
        wrong = 0
        met = 0
        for at in syncs * 5:
            code, error, calls, left = run(command, library, scan, place, at)
            # The waits run beside the writes, so the number may have become another call's.
            if not any(call == "sync" and "Grid.pts" in path for _, call, path in calls):
                continue
            met += 1
            if code != 1 or "Grid.pts" not in error or left:
                wrong += 1
                print(f"call {at}: exit code {code}, left {left}: {error}")
            if met >= 2 * len(syncs):
                break
        print(f"{met} waits failed, {wrong} wrong")
        sys.exit(1 if wrong != 0 or met < len(syncs) else 0)


if __name__ == "__main__":
    main()
