# SPDX-License-Identifier: GPL-3.0-or-later
"""Progress of long calls: a bar, or the caller's own function. Needs nothing but Python."""
from __future__ import annotations

import sys
import time
from dataclasses import dataclass
from typing import Callable, Optional, Union


@dataclass(frozen=True)
class Progress:
    """How far a long call is."""

    phase: str  #: "sorting", "growing" and the like
    fraction: Optional[float]  #: of the whole call, 0 to 1; None where nobody can know it
    bytes: int = 0  #: handled in this phase
    points: int = 0  #: handled in this phase
    seconds_left: Optional[float] = None  #: None until it can be estimated


#: True: a bar on standard error. A function: called with each `Progress`, on the calling thread;
#: an exception of its own cancels the call and is raised from it. False or None: nothing.
ProgressLike = Union[bool, None, Callable[[Progress], object]]

_BAR_SECONDS = 0.1
_LINE_SECONDS = 2.0
_BAR_WIDTH = 30


class Reporter:
    """Hands progress on: to a function, to a bar, or to nobody."""

    def __init__(self, progress: ProgressLike) -> None:
        self._function = progress if callable(progress) else None
        self._shown = progress is True
        self._bar = self._shown and _can_draw()
        self._next = 0.0
        self._phase = ""
        self._width = 0

    @property
    def wanted(self) -> bool:
        return self._shown or self._function is not None

    def update(self, progress: Progress) -> None:
        if self._function is not None:
            self._function(progress)
        if not self._shown:
            return
        now = time.monotonic()
        if now < self._next and progress.phase == self._phase:
            return
        self._phase = progress.phase
        self._next = now + (_BAR_SECONDS if self._bar else _LINE_SECONDS)
        self._write(_text_of(progress, bar=self._bar))

    def close(self) -> None:
        """Ends the bar's line, so that what follows begins a new one."""
        if self._width:
            sys.stderr.write("\n")
            sys.stderr.flush()
        self._width = 0

    def _write(self, text: str) -> None:
        if self._bar:
            sys.stderr.write("\r" + text.ljust(self._width))
            self._width = len(text)
        else:
            sys.stderr.write(text + "\n")
        sys.stderr.flush()


def _can_draw() -> bool:
    """A terminal, or a notebook, whose output understands a return to the line's start as well."""
    return sys.stderr.isatty() or "ipykernel" in sys.modules


def _text_of(progress: Progress, bar: bool) -> str:
    parts = [progress.phase.ljust(11)]
    if progress.fraction is not None:
        done = int(progress.fraction * _BAR_WIDTH)
        if bar:
            parts.append("[" + "#" * done + "-" * (_BAR_WIDTH - done) + "]")
        parts.append(f"{progress.fraction:4.0%}")
    if progress.points:
        parts.append(f"{progress.points:,} points")
    if progress.seconds_left is not None:
        parts.append(f"{progress.seconds_left:.0f} s left")
    return " ".join(parts)
