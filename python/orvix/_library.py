# SPDX-License-Identifier: GPL-3.0-or-later
"""The library's calls: statuses become exceptions, handles objects, Ctrl-C an end in order."""
from __future__ import annotations

import ctypes
import os
import signal
import threading
import warnings
from contextlib import contextmanager
from types import FrameType, TracebackType
from typing import Any, Callable, Iterator, NoReturn, Optional, Tuple, Type, Union

from . import _c
from ._errors import error_of
from ._native import library_path
from ._progress import Progress, ProgressLike, Reporter


def _load() -> Any:
    path = library_path()
    if not os.path.exists(path):
        raise ImportError(f"{path} is missing; install the wheel of this system")
    load: Any = _c.load  # made from the header, without types
    library = load(path)
    version = library.orvix_interface_version()
    if version >> 16 != _c.ORVIX_C_MAJOR or version & 0xFFFF < _c.ORVIX_C_MINOR:
        raise ImportError(f"{path} serves the interface {version >> 16}.{version & 0xFFFF}, this "
                          f"package needs {_c.ORVIX_C_MAJOR}.{_c.ORVIX_C_MINOR}")
    return library


def _warn(user: Any, text: Optional[bytes]) -> None:
    if text:
        warnings.warn(text.decode("utf-8", "replace"), RuntimeWarning, stacklevel=2)


#: The library with its functions declared. What it has to say to the user becomes a warning.
LIBRARY = _load()
_CHANNEL = _c.orvix_channel(_warn)
LIBRARY.orvix_set_channel(_CHANNEL, None)


def library_version() -> str:
    """The version of the library inside, such as "0.1.0"."""
    return str(LIBRARY.orvix_library_version().decode())


def call(name: str, *arguments: Any) -> None:
    """Calls orvix_NAME with an error behind the arguments, and raises what it answers."""
    error = _c.orvix_error(size=ctypes.sizeof(_c.orvix_error))
    status = getattr(LIBRARY, "orvix_" + name)(*arguments, ctypes.byref(error))
    if status != _c.ORVIX_OK:
        raise error_of(status, error.text.decode("utf-8", "replace"))


def new(struct: Any, **members: Any) -> Any:
    """A struct of the interface with its size set."""
    return struct(size=ctypes.sizeof(struct), **members)


def text_of(path: Union[str, "os.PathLike[str]"]) -> bytes:
    """A path as the library takes it: UTF-8, on Linux whatever bytes the name has."""
    text = os.fspath(path)
    encoded = text.encode("utf-8") if os.name == "nt" and isinstance(text, str) else os.fsencode(text)
    if b"\0" in encoded:  # would end the name there
        raise ValueError("embedded null byte")
    return encoded


_NAMES = {"project": "the project is", "planes": "the planes are", "plane": "the plane is",
          "section": "the section is", "building": "the building is"}


class Handle:
    """A handle of the library: used by one thread at a time, closed once, never used afterwards, and by
    the process that opened it alone: what a fork left in a child is not closed there, since a project
    that was changed would write its sums from both."""

    def __init__(self, value: ctypes.c_void_p, kind: str) -> None:
        self._value: Optional[ctypes.c_void_p] = value
        self._kind = kind
        self._close = getattr(LIBRARY, f"orvix_{kind}_close")
        self._lock = threading.RLock()
        self._uses = 0
        self._process = os.getpid()

    @property
    def closed(self) -> bool:
        return self._value is None

    @contextmanager
    def use(self) -> Iterator[ctypes.c_void_p]:
        with self._lock:
            if self._value is None:
                raise ValueError(f"{_NAMES.get(self._kind, self._kind)} closed")
            self._uses += 1
            try:
                yield self._value
            finally:
                self._uses -= 1

    def close(self) -> None:
        with self._lock:
            if self._uses:
                raise RuntimeError("a function that a call runs cannot close what the call works on")
            value, self._value = self._value, None
            if value is not None and os.getpid() == self._process:
                self._close(value)

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"{self._kind} objects of orvix cannot be copied or pickled; open the project "
                        "where they are wanted, or send arrays")

    def __del__(self) -> None:
        # Nobody else holds it: no lock, which might be gone at the end of the process.
        value, self._value = getattr(self, "_value", None), None
        if value is not None and os.getpid() == self._process:
            self._close(value)


class LongCall:
    """A call that reports progress and that Ctrl-C ends.

    Python notes Ctrl-C while the library runs and would raise in the middle of a callback, where
    the exception would be lost. So the signal is held back, the next callback says no, and the
    signal's own handler runs when the library has returned.
    """

    def __init__(self, phase: str, progress: ProgressLike) -> None:
        self._phase = phase
        self._reporter = Reporter(progress)
        self._raised: Optional[BaseException] = None
        self._signal: Optional[Tuple[int, Optional[FrameType]]] = None
        self._former: Optional[Callable[[int, Optional[FrameType]], Any]] = None
        self.proceed = _c.orvix_proceed(self._proceed)

    def guard(self, function: Callable[[], object]) -> int:
        """Runs a callback's work; 0 where the call shall end."""
        try:
            if self._signal is None and self._raised is None:
                function()
        except BaseException as raised:  # whatever it is, it is raised when the library has returned
            self._raised = raised
        return int(self._signal is None and self._raised is None)

    def _proceed(self, user: Any, done: float) -> int:
        if not self._reporter.wanted:
            return int(self._signal is None and self._raised is None)
        fraction = done if done >= 0 else None
        return self.guard(lambda: self._reporter.update(Progress(self._phase, fraction)))

    def _note(self, number: int, frame: Optional[FrameType]) -> None:
        self._signal = (number, frame)

    def __enter__(self) -> "LongCall":
        if threading.current_thread() is threading.main_thread():
            former = signal.getsignal(signal.SIGINT)
            if callable(former):
                self._former = former
                signal.signal(signal.SIGINT, self._note)
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        if self._former is not None:
            signal.signal(signal.SIGINT, self._former)
        self._reporter.close()
        if self._raised is not None:
            raised, self._raised = self._raised, None
            raise raised from None
        if self._signal is not None and self._former is not None:
            self._former(*self._signal)
