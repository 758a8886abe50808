#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""limits.py BIN [--points N] [--cancels N]: memory peaks and cancel latencies of the command.

A scan of N points in random order is imported under several memory limits; each project has the same
checksum, and the process's largest resident size stands beside the limit. Then imports and searches for
planes are interrupted at moments spread over their run: each ends with code 130, and the time from the
signal to the end is the latency. Prints two tables; a wrong answer ends it.
"""
import argparse
import os
import pathlib
import re
import shutil
import signal
import statistics
import subprocess
import tempfile
import time

LIMITS = ("64M", "256M", "1G")


def run(words):
    """Seconds, peak of resident memory in MiB, and what the command printed."""
    began = time.monotonic()
    process = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    out, errors = process.stdout.read(), process.stderr.read()
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise SystemExit(f"{words}: {process.returncode}\n{errors}")
    return time.monotonic() - began, used.ru_maxrss / 1024, out


def interrupted(words, after):
    """Seconds from the signal to the end; none where the command ended before."""
    process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        process.wait(after)
        return None
    except subprocess.TimeoutExpired:
        pass
    sent = time.monotonic()
    process.send_signal(signal.SIGINT)
    code = process.wait(60)
    if code not in (0, 130):  # 0: the project had appeared
        raise SystemExit(f"{words} interrupted after {after:.2f} s: {code}")
    return time.monotonic() - sent if code == 130 else None


def latencies(words, seconds, count):
    found = [interrupted(words, seconds * (i + 0.5) / count) for i in range(count)]
    return sorted(value for value in found if value is not None)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin", type=pathlib.Path)
    parser.add_argument("--points", type=int, default=20_000_000)
    parser.add_argument("--cancels", type=int, default=40)
    options = parser.parse_args()
    signal.signal(signal.SIGINT, signal.default_int_handler)  # a shell's background job ignores it
    command = options.bin / "orvix"
    folder = pathlib.Path(tempfile.mkdtemp(prefix="orvix-limits-"))
    try:
        scan, project = folder / "scan.las", folder / "scan.prj"
        run([options.bin / "make_las", scan, str(options.points), "--order", "random"])
        import_it = [command, "import", scan, project, "--overwrite"]
        print("| memory limit | largest resident, MiB | seconds |\n|---|---|---|")
        checksums = set()
        for limit in LIMITS:
            seconds, peak, out = run([*import_it, "--memory-limit", limit])
            checksums.add(re.search(r"checksum (\w+)", out).group(1))
            print(f"| {limit} | {peak:.0f} | {seconds:.1f} |", flush=True)
        if len(checksums) != 1:
            raise SystemExit(f"other bytes under another limit: {checksums}")
        print("\n| interrupted | moments | median, ms | longest, ms |\n|---|---|---|---|")
        planes = [command, "planes", project]
        for name, words in (("import", import_it), ("planes", planes)):
            seconds, _, _ = run(words)
            found = latencies(words, seconds, options.cancels)
            print(f"| {name} | {len(found)} | {1000 * statistics.median(found):.0f} "
                  f"| {1000 * found[-1]:.0f} |", flush=True)
        run([command, "check", project])
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
