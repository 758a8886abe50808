# SPDX-License-Identifier: GPL-3.0-or-later
"""The command `orvix`, run beside Python: what the library alone does not do.

A process of its own keeps an import's memory out of Python's, and ends in order when Python is
interrupted.
"""
from __future__ import annotations

import ctypes
import json
import os
import queue
import signal
import subprocess
import sys
import tempfile
import threading
from contextlib import contextmanager
from typing import IO, Any, Dict, Iterator, List, Optional, Sequence, Tuple, Union

from ._errors import error_of
from ._native import command_path
from ._progress import Progress, ProgressLike, Reporter

_POLL_SECONDS = 0.1
_WINDOWS_SECONDS = 10
_WITH_PROGRESS = ("import", "check", "repair", "walk", "classify", "export",
                  "import-tasks begin", "import-tasks run")


def run(verb: str, *arguments: Union[str, "os.PathLike[str]"],
        progress: ProgressLike = None) -> Dict[str, Any]:
    """Runs a verb of the command with --json and returns its result, as docs/COMMAND.md lists it.

        orvix.run("walk", "hall.prj")["checksum"]

    Errors  as the command says them. A check that finds faults is a result.
    """
    options = ["--json"]
    reporter = Reporter(progress)
    if reporter.wanted and verb in _WITH_PROGRESS:
        options += ["--progress", "json"]
    words = [command_path(), *verb.split(), *options, *(os.fspath(word) for word in arguments)]
    try:
        with tempfile.TemporaryFile() as output:
            code, said = _follow(words, output, reporter)
            output.seek(0)
            result = _result_of(output.read(), code, said)
    finally:
        reporter.close()
    if code != 0 and "error" in result:
        raise error_of(code, str(result["error"]["message"]))
    return result


def _result_of(text: bytes, code: int, said: str) -> Dict[str, Any]:
    try:
        result = json.loads(text)
    except ValueError:
        # A command line that cannot be read is answered in plain text.
        raise error_of(code or 1, said.strip() or f"the command ended with {code} and without a "
                                                  "result; it may have been killed") from None
    if not isinstance(result, dict):
        raise error_of(1, "the command's result is no object")
    return result


def _follow(words: Sequence[str], output: IO[bytes], reporter: Reporter) -> Tuple[int, str]:
    """Runs the command to its end: its exit code, and what it said beside progress. Whatever is
    raised meanwhile ends it in order first."""
    process: Optional["subprocess.Popen[bytes]"] = None
    lines: "queue.SimpleQueue[Optional[bytes]]" = queue.SimpleQueue()
    said: List[str] = []
    try:
        with _signals_held_back():
            process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=subprocess.PIPE, creationflags=_creation_flags())
        threading.Thread(target=_read, args=(process, lines), daemon=True).start()
        while True:
            try:
                line = lines.get(timeout=_POLL_SECONDS)
            except queue.Empty:
                continue
            if line is None:
                return process.wait(), "".join(said)
            if line.startswith(b"{"):
                reporter.update(_progress_of(json.loads(line)))
            else:
                said.append(line.decode("utf-8", "replace"))
    except BaseException:
        if process is not None:
            _end(process)
        raise


def _read(process: "subprocess.Popen[bytes]", lines: "queue.SimpleQueue[Optional[bytes]]") -> None:
    assert process.stderr is not None
    with process.stderr as errors:
        for line in errors:
            lines.put(line)
    lines.put(None)


def _progress_of(line: Dict[str, Any]) -> Progress:
    return Progress(line["phase"], line["fraction"], line["bytes"], line["points"],
                    line["seconds_left"])


def _creation_flags() -> int:
    """On Windows a group of its own, so that Ctrl-C goes to Python alone; and no window of its own where
    Python has none."""
    if sys.platform != "win32":
        return 0
    flags = subprocess.CREATE_NEW_PROCESS_GROUP
    if not ctypes.windll.kernel32.GetConsoleWindow():
        flags |= subprocess.CREATE_NO_WINDOW
    return flags


@contextmanager
def _signals_held_back() -> Iterator[None]:
    """Ctrl-C goes to all programs of a terminal. A second request ends the command at once, without
    clearing away, so the command begins with SIGINT blocked and hears of it from us, once."""
    if sys.platform == "win32":  # there a group of its own keeps Ctrl-C away
        yield
        return
    former = signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT])
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, former)


def _end(process: "subprocess.Popen[bytes]") -> None:
    """Asks the command to end and waits until it has cleared away; asked again, ends it at once."""
    if process.poll() is not None:
        return
    try:
        if sys.platform == "win32":
            # Goes through the console. Without one the command cannot be asked; what it leaves when it
            # is killed is cleared away by the next import. (Popen's own way kills where this fails.)
            asked = ctypes.windll.kernel32.GenerateConsoleCtrlEvent(signal.CTRL_BREAK_EVENT, process.pid)
            try:
                process.wait(_WINDOWS_SECONDS if asked else 0)
            except subprocess.TimeoutExpired:
                process.kill()
        else:
            process.terminate()
        process.wait()
    except KeyboardInterrupt:
        process.kill()
        process.wait()
        raise


def option(name: str, value: Any) -> List[str]:
    """["--name", "value"], or nothing for None and False, and the name alone for True."""
    if value is None or value is False:
        return []
    if value is True:
        return ["--" + name]
    if isinstance(value, (tuple, list)) or hasattr(value, "tolist"):
        return [f"--{name}={','.join(repr(float(number)) for number in value)}"]
    return [f"--{name}={value}"]
