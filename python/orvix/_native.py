# SPDX-License-Identifier: GPL-3.0-or-later
"""Where the package keeps the library and the command."""
from __future__ import annotations

import os

_FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "native")


def library_path() -> str:
    if os.name == "nt":
        return os.path.join(_FOLDER, "bin", "orvix.dll")
    return os.path.join(_FOLDER, "lib", "liborvix.so.0")


def command_path() -> str:
    path = os.path.join(_FOLDER, "bin", "orvix.exe" if os.name == "nt" else "orvix")
    # Some ways to unpack a wheel lose the mark that a file is a program.
    if os.name != "nt" and os.path.exists(path) and not os.access(path, os.X_OK):
        os.chmod(path, 0o755)
    return path
