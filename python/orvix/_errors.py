# SPDX-License-Identifier: GPL-3.0-or-later
"""The exceptions of the package: the library's statuses and the command's exit codes."""
from __future__ import annotations

from typing import Dict, Type


class Error(Exception):
    """What went wrong, where, and what to do, in one sentence.

    `status` is the library's status and the command's exit code: 1 to 8 and 130.
    """

    status = 1


class Failed(Error):
    """A refused permission, a broken device, another program at work: nothing named below."""


class BadArgument(Error, ValueError):
    """A value, range or size that cannot be."""

    status = 2


class BadInput(Error, ValueError):
    """A file that is missing, in the way or not what it claims to be; a seed without points."""

    status = 3


class NoSpace(Error):
    """The disk is full, or would be."""

    status = 4


class Damaged(Error):
    """A project whose files contradict each other."""

    status = 5


class NoMemory(Error, MemoryError):
    """Memory ran out."""

    status = 6


class Unsupported(Error):
    """Asked for what a later version of the library has."""

    status = 8


class Cancelled(Error):
    """A request to end that was no KeyboardInterrupt, such as a signal from outside."""

    status = 130


_KINDS: Dict[int, Type[Error]] = {
    kind.status: kind
    for kind in (Failed, BadArgument, BadInput, NoSpace, Damaged, NoMemory, Unsupported, Cancelled)
}


def error_of(status: int, text: str) -> Error:
    """The exception for a status; one that this package does not know is `Failed`."""
    error = _KINDS.get(status, Failed)(text)
    error.status = status
    return error
