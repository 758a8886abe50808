# SPDX-License-Identifier: GPL-3.0-or-later
"""`python -m orvix VERB ...` is the command `orvix`, with its options, output and exit codes."""
from __future__ import annotations

import os
import subprocess
import sys

from ._native import command_path


def main() -> int:
    command = command_path()
    if os.name != "nt":
        os.execv(command, ["orvix", *sys.argv[1:]])
    # Windows has no way to become another program. Ctrl-C goes to both; the command answers it.
    process = subprocess.Popen([command, *sys.argv[1:]])
    while True:
        try:
            return process.wait()
        except KeyboardInterrupt:
            continue


if __name__ == "__main__":
    sys.exit(main())
