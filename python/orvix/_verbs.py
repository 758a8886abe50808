# SPDX-License-Identifier: GPL-3.0-or-later
"""What is done with whole projects: import, check, repair, export, destroy."""
from __future__ import annotations

import ctypes
import os
import warnings
from dataclasses import dataclass
from typing import Any, Dict, List, Optional, Sequence, Union

from . import _c
from ._arrays import Floats, Path, vector
from ._command import option, run
from ._library import LongCall, call, new, text_of
from ._progress import ProgressLike


@dataclass(frozen=True)
class ImportedFile:
    path: str
    format: str  #: for people
    points: int  #: read from it


@dataclass(frozen=True, eq=False)
class ImportReport:
    """What an import did; `read` is `written` plus the sum of `rejected`."""

    project: str
    inputs: List[ImportedFile]
    read: int
    written: int
    rejected: Dict[str, int]  #: reason: points
    skeleton_points: int
    stations: int
    origin: Floats  #: (3,): world position of the local zero
    checksum: str  #: 16 hexadecimal digits, of the records
    seconds: float
    peak_memory_bytes: int  #: of the import's own process
    warnings: List[str]  #: also given to Python's warnings


def import_scan(inputs: Union[Path, Sequence[Path]], project: Path, *, unit: str = "m", up: str = "z",
                skeleton: str = "10cm", stations: Optional[Sequence[str]] = None,
                drop_zeros: bool = False, dedupe: bool = False, overwrite: bool = False,
                resume: bool = False, memory_limit: Union[int, str, None] = None, threads: int = 0,
                progress: ProgressLike = None) -> ImportReport:
    """Turns scan files (E57, LAS, LAZ, PCD, PLY, PTX, PTS, text) into a project.

        orvix.import_scan(["north.ply", "south.ply"], "site.prj", progress=True)

    unit          of the inputs' coordinates: "m", "mm", "cm", "ft" or "us-ft"
    up            the inputs' upward axis, "z" or "y"
    skeleton      voxel of the thinned cloud: "1cm", "10cm" or "1m"
    stations      names of the scans to import; None: all
    drop_zeros    rejects points at exactly 0, 0, 0 in the input
    dedupe        keeps only the first of points at the same position
    overwrite     replaces an existing project once the new one is complete
    resume        goes on where an import of the same inputs was ended, and keeps what is done
    memory_limit  bytes, or a text such as "4GiB"; None: 1 GiB
    threads       0: every core; the result does not depend on it

    Errors  BadInput, NoSpace, Failed. All or nothing: a failed or interrupted import leaves no
            project, and an existing one stays whole.
    Cost    a process of its own does the work: its memory is not Python's.
    """
    words = import_words(unit, up, skeleton, stations, drop_zeros, dedupe, overwrite)
    words += [*option("resume", resume), *option("memory-limit", memory_limit),
              *option("threads", threads)]
    return import_report(run("import", *words, "--", *input_files(inputs), project,
                             progress=progress))


def input_files(inputs: Union[Path, Sequence[Path]]) -> List[Path]:
    return [inputs] if isinstance(inputs, (str, os.PathLike)) else list(inputs)


def import_words(unit: str, up: str, skeleton: str, stations: Optional[Sequence[str]],
                 drop_zeros: bool, dedupe: bool, overwrite: bool) -> List[str]:
    """The options that say what an import makes."""
    words = [*option("unit", unit), *option("up", up), *option("skeleton", skeleton),
             *option("drop-zeros", drop_zeros), *option("dedupe", dedupe),
             *option("overwrite", overwrite)]
    for name in stations or ():
        words += option("station", name)
    return words


def import_report(done: Dict[str, Any]) -> ImportReport:
    """Of what `orvix import --json` printed; its warnings are Python's as well."""
    for sentence in done["warnings"]:
        warnings.warn(sentence, RuntimeWarning, stacklevel=3)
    return ImportReport(done["project"], [ImportedFile(**each) for each in done["inputs"]],
                        done["read"], done["written"], done["rejected"], done["skeleton_points"],
                        done["stations"], vector(done["origin"]), done["checksum"], done["seconds"],
                        done["peak_memory_bytes"], done["warnings"])


@dataclass(frozen=True)
class Fault:
    file: str
    what: str  #: a sentence


@dataclass(frozen=True)
class CheckReport:
    """What a check found. True where nothing is wrong."""

    faults: List[Fault]  #: of many of one kind, a few
    total_faults: int  #: all of them

    def __bool__(self) -> bool:
        return self.total_faults == 0

    @property
    def ok(self) -> bool:
        return self.total_faults == 0


def check(project: Path, *, deep: bool = False, progress: ProgressLike = None) -> CheckReport:
    """Holds every file of a project against the others; `deep`: every byte against the sums that the
    import left. Changes nothing. Damage is a result, not an error.

    Cost  reads every point once.
    """
    if deep:
        done = run("check", "--deep", "--", project, progress=progress)
        return CheckReport([Fault(**fault) for fault in done["faults"]], done["total_faults"])
    faults: List[Fault] = []
    total = ctypes.c_uint64()
    with LongCall("checking", progress) as long:
        def note(user: Any, file: bytes, what: bytes) -> None:
            fault = Fault(file.decode("utf-8", "replace"), what.decode("utf-8", "replace"))
            long.guard(lambda: faults.append(fault))

        options = new(_c.orvix_check_options, fault=_c.orvix_fault(note), proceed=long.proceed)
        call("project_check", text_of(project), ctypes.byref(options), ctypes.byref(total))
    return CheckReport(faults, total.value)


def repair(project: Path, *, dry_run: bool = False, accept: bool = False, threads: int = 0,
           progress: ProgressLike = None) -> Dict[str, Any]:
    """Makes anew what a project's points determine: indexes, skeleton, histograms, sums.

    Returns what `orvix repair --json` prints, as docs/COMMAND.md lists it.
    """
    return run("repair", *option("dry-run", dry_run), *option("accept", accept),
               *option("threads", threads), "--", project, progress=progress)


def destroy(project: Path) -> List[str]:
    """Removes a complete project; the paths that stay are returned."""
    return [str(path) for path in run("destroy", "--", project)["remains"]]


@dataclass(frozen=True, eq=False)
class ExportReport:
    file: str
    format: str  #: for people
    points: int
    bytes: int
    min: Floats  #: (3,), world
    max: Floats  #: (3,), world
    seconds: float


def export(project: Path, file: Path, station: Optional[int], box: Any, planes: bool,
           overwrite: bool, progress: ProgressLike) -> ExportReport:
    words = [*option("station", station), *option("box", box), *option("planes", planes),
             *option("overwrite", overwrite)]
    done = run("export", *words, "--", project, file, progress=progress)
    return ExportReport(done["file"], done["format"], done["points"], done["bytes"],
                        vector(done["bounds"]["min"]), vector(done["bounds"]["max"]),
                        done["seconds"])
