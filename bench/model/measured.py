# SPDX-License-Identifier: GPL-3.0-or-later
"""What benches of `orvix model` share: runs of the command, and scans of houses."""
import lzma
import os
import pathlib
import shutil
import subprocess
import sys
import time

HOME = pathlib.Path(__file__).resolve().parents[2]
TRUTHS = HOME.parent / "shared" / "truth"


def command(*arguments):
    """Seconds and the most bytes resident of a process."""
    start = time.monotonic()
    process = subprocess.Popen(arguments, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        sys.exit(f"{pathlib.Path(sys.argv[0]).name}: {' '.join(map(str, arguments))} ended with "
                 f"{process.returncode}")
    return time.monotonic() - start, usage.ru_maxrss * 1024


def unpack(packed, plain):
    with lzma.open(packed) as source, open(plain, "wb") as target:
        shutil.copyfileobj(source, target, 1 << 20)


def table(head, body):
    return "".join(f"| {' | '.join(map(str, cells))} |\n" for cells in [head, ["---"] * len(head), *body])
