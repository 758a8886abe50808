# SPDX-License-Identifier: GPL-3.0-or-later
"""Imports and searches that many machines share, by Dask distributed (`pip install orvix[cluster]`).

    from dask.distributed import Client
    import orvix.cluster
    client = Client("tcp://scheduler:8786")
    orvix.cluster.import_scans(["/shared/north.e57", "/shared/south.e57"], "/shared/site.prj", client)
    orvix.cluster.planes("/shared/site.prj", client, save=True)

The work is cut into named tasks whose results lie in a folder beside the project; Dask says where each
runs. The project and the planes are, byte by byte, those of a single machine, whatever ran where.

Shared     inputs and projects lie in folders that all workers see under the same paths, and workers have
           the same release of this package. The scheduler needs neither.
Killed     a task whose worker ends runs again on another one; results appear whole or not at all. A
           worker that comes late gets its share. Where the call itself ends early, for an error or by
           Ctrl-C, what is done stays: the same call goes on from there, `clear` removes it.
Errors     `orvix.Error` and its kinds, with the sentences of the command on the worker.
Cost       a task uses one thread; a worker runs as many at a time as Dask gives it threads.

`python -m orvix.cluster import INPUT... PROJECT --scheduler ADDRESS ...`, `... planes PROJECT ...` and
`... site FOLDER ...`, with the options of the command's verbs, do the same from a shell.
"""
from __future__ import annotations

import argparse
import json
import os
import sys
import time
import uuid
from dataclasses import dataclass
from typing import Any, Callable, Dict, List, Optional, Sequence, Union

from . import __version__
from ._arrays import Path
from ._command import option, run
from ._errors import BadInput, Error, Failed, NoMemory
from ._progress import Progress, ProgressLike, Reporter
from ._verbs import ImportReport, import_report

_GONE = ("is under way in tasks", "job.json")
_ATTEMPTS = 3  # of a task that ends with an error that may pass


def import_scans(inputs: Union[Path, Sequence[Path]], project: Path, client: Any, *, unit: str = "m",
                 up: str = "z", skeleton: str = "10cm", stations: Optional[Sequence[str]] = None,
                 drop_zeros: bool = False, dedupe: bool = False, overwrite: bool = False,
                 memory_limit: Union[int, str, None] = None,
                 progress: ProgressLike = None) -> ImportReport:
    """Turns scan files into a project on the workers of `client`; options as of `orvix.import_scan`.

    memory_limit  of each task, which also says how long sorted runs are: bytes, or a text such as
                  "4GiB"; None: 1 GiB

    Errors  as of `orvix.import_scan`, but what is done stays, and the same call goes on: `clear` gives it up.
    Cost    that of an import which sorts through the disk; with `dedupe` its parts are written one after
            the other.
    """
    words = [*option("unit", unit), *option("up", up), *option("skeleton", skeleton),
             *option("drop-zeros", drop_zeros), *option("dedupe", dedupe),
             *option("overwrite", overwrite)]
    for name in stations or ():
        words += option("station", name)
    files = [inputs] if isinstance(inputs, (str, os.PathLike)) else list(inputs)
    return import_report(_import(files, project, client, words, option("memory-limit", memory_limit),
                                 progress))


def _import(inputs: Sequence[Path], project: Path, client: Any, words: Sequence[str],
            memory: Sequence[str], progress: ProgressLike) -> Dict[str, Any]:
    """The report, as the command prints it."""
    tasks = _Tasks(client, "import-tasks", _shared(project), memory)
    begin = [*words, *memory, "--", *map(_shared, inputs), tasks.project]
    try:
        report = tasks.run_all(begin, progress)
    except (BadInput, Failed) as error:
        # The project appeared, and the worker died with the report: the tasks are gone, or going.
        if tasks.stage != "publish" or not any(gone in str(error) for gone in _GONE):
            raise
        _clear(tasks)
        report = None
    return report or _report_of_what_is_there(tasks, inputs)


def _report_of_what_is_there(tasks: "_Tasks", inputs: Sequence[Path]) -> Dict[str, Any]:
    info = tasks.engine.one(_run_verb, "info", "--", tasks.project)
    checksum = tasks.engine.one(_run_verb, "walk", "--", tasks.project)["checksum"]
    files = [{"path": _shared(each), "format": "", "points": 0} for each in inputs]
    sentence = ("the worker that made the project appear ended before it gave its report: what was read of "
                "each input, and rejected, is not known")
    return {"project": tasks.project, "inputs": files, "read": info["points"], "written": info["points"],
            "rejected": {}, "skeleton_points": info["skeleton_points"], "stations": info["stations"],
            "origin": info["origin"], "checksum": checksum, "seconds": 0.0, "peak_memory_bytes": 0,
            "warnings": [sentence]}


def planes(project: Path, client: Any, *, detail: str = "normal", cell_size: Optional[float] = None,
           distance: Optional[float] = None, angle: Optional[float] = None,
           min_area: Optional[float] = None, min_points: Optional[float] = None,
           bridge: Optional[float] = None, memory_limit: Union[int, str, None] = None,
           pieces: Optional[int] = None, save: bool = False, apply: bool = False,
           points: Optional[Path] = None, mesh: Optional[Path] = None,
           outlines: Optional[Path] = None, picture: Optional[Path] = None,
           progress: ProgressLike = None) -> Dict[str, Any]:
    """Finds every plane of a project on the workers of `client`: what `orvix planes --json` prints.

    detail to bridge   what is looked for, as of `Project.planes`
    memory_limit       of each task of tiles: bytes, or a text such as "4GiB"; None: 1 GiB
    pieces             parts that the points are divided into; None: four for each thread of the
                       workers, 16 at least
    save, apply        keeps the planes in the project; writes their numbers into its points
    points to picture  files to write, as of the command: "planes.ifc"

    Errors  as of `orvix planes`. What is done stays, and the same call goes on.
    """
    search = [*option("detail", detail), *option("cell", cell_size), *option("distance", distance),
              *option("angle", angle), *option("min-area", min_area), *option("min-points", min_points),
              *option("bridge", bridge), *option("memory-limit", memory_limit)]
    outputs = [word for name, file in (("points", points), ("mesh", mesh), ("outlines", outlines),
                                       ("picture", picture))
               if file is not None for word in option(name, _shared(file))]
    return _planes(project, client, search, pieces,
                   [*option("save", save), *option("apply", apply), *outputs], progress)


def _planes(project: Path, client: Any, search: Sequence[str], pieces: Optional[int],
            outputs: Sequence[str], progress: ProgressLike) -> Dict[str, Any]:
    tasks = _Tasks(client, "planes-tasks", _shared(project))
    pieces = pieces or max(16, 4 * tasks.engine.threads())
    tasks.run_all([*search, *option("pieces", pieces), "--", tasks.project], progress)
    return tasks.finish("planes", "--tasks", *outputs, "--", tasks.project)


def clear(project: Path, client: Any) -> None:
    """Gives an unfinished `planes` or `import_scans` up, and removes what it has left beside the project."""
    for verb in ("import-tasks", "planes-tasks"):
        _clear(_Tasks(client, verb, _shared(project)))


def _clear(tasks: "_Tasks") -> None:
    try:
        tasks.call("clear", "--", tasks.project)
    except BadInput:
        pass  # there are none, or no project yet


@dataclass(frozen=True)
class SiteReport:
    """What became of a folder of scans. True where none failed."""

    scans: List[Dict[str, Any]]  #: by name, as `orvix site --json` gives them
    failed: List[str]  #: names of the scans of which a step failed

    def __bool__(self) -> bool:
        return not self.failed


def site(folder: Path, client: Any, *options: str, to: Optional[Path] = None,
         scans: Optional[Sequence[str]] = None, progress: ProgressLike = None) -> SiteReport:
    """Imports, checks and searches all scans of a folder, as `orvix site`; a scan is a task.

        orvix.cluster.site("/shared/scans", client, "--steps=import,check", to="/shared/projects")

    options  more of `orvix site`: what is done with a scan
    to       where the projects go; None: the folder of the scans
    scans    these alone, by their paths in the folder; None: all

    Errors   of the folder. A scan that fails, or ends its worker, is named in the report and leaves the
             others; what is done is not done again.
    """
    engine = _Engine(client)
    where = [*options, *(option("to", _shared(to)) if to is not None else ())]
    only = [word for name in scans or () for word in option("scan", name)]
    plan = engine.one(_run_verb, "site", "--dry-run", *where, *only, "--", _shared(folder))["scans"]
    done: Dict[str, Dict[str, Any]] = {}
    reporter = Reporter(progress)

    def take(name: str, result: Any) -> None:
        if isinstance(result, Error):
            fault = {"step": "scan", "state": "failed", "seconds": 0.0, "message": str(result)}
            done[name] = {"scan": name, "failed": True, "steps": [fault]}
        else:
            done[name] = result["scans"][0]
        reporter.update(Progress("scans", len(done) / len(plan)))

    try:
        engine.each({each["scan"]: ("site", *where, *option("scan", each["scan"]), "--jobs=1",
                                    "--threads=1", "--", _shared(folder)) for each in plan},
                    take, keep_going=True)
    finally:
        reporter.close()
    all_of_them = [{**each, **done[each["scan"]]} for each in plan]
    return SiteReport(all_of_them, [each["scan"] for each in all_of_them if each["failed"]])


def _shared(path: Path) -> str:
    """As the workers, which stand in other folders, know it."""
    return os.path.abspath(os.fspath(path))


def _run_verb(version: str, verb: str, *words: str) -> Dict[str, Any]:
    """On a worker."""
    if version != __version__:
        raise Failed(f"the worker has orvix {__version__}, the caller {version}; install one release "
                     "on all machines")
    return run(verb, *words)


class _Engine:
    """Runs calls of the command on workers."""

    def __init__(self, client: Any) -> None:
        try:
            import distributed
        except ImportError:
            raise Failed("orvix.cluster works by Dask distributed, which is not there: pip install "
                         "orvix[cluster]") from None
        self._distributed = distributed
        self._client = client

    def threads(self) -> int:
        return sum(self._client.nthreads().values())

    def one(self, run_it: Callable[..., Any], *words: str) -> Dict[str, Any]:
        results: List[Dict[str, Any]] = []
        self.each({words[0]: words}, lambda _, result: results.append(result), run_it)
        return results[0]

    def each(self, calls: Dict[str, Sequence[str]], take: Callable[[str, Any], None],
             run_it: Callable[..., Any] = _run_verb, keep_going: bool = False) -> None:
        """Runs all calls, take(name, result) as they end. A worker that dies gives its calls to
        others by Dask itself; an error that may pass is tried again here. keep_going: an error that
        stays is a result; else it ends all."""
        attempts = dict.fromkeys(calls, 1)
        going: Dict[str, Any] = {}  # by key: the name and the future

        def submit(name: str) -> Any:
            future = self._client.submit(run_it, __version__, *calls[name], pure=False,
                                         key=f"orvix-{name}-{uuid.uuid4().hex}")
            going[future.key] = (name, future)
            return future

        under_way = self._distributed.as_completed([submit(name) for name in calls])
        try:
            for future in under_way:
                name, _ = going.pop(future.key)
                result = self._result_of(name, future)
                if type(result) is Failed and attempts[name] < _ATTEMPTS:
                    time.sleep(attempts[name])  # a command whose worker died may still be at it
                    attempts[name] += 1
                    under_way.add(submit(name))
                elif isinstance(result, Error) and not keep_going:
                    raise result
                else:
                    take(name, result)
        finally:
            # What runs on a worker runs on to its end, and its result is not lost.
            self._client.cancel([future for _, future in going.values()])

    def _result_of(self, name: str, future: Any) -> Any:
        """The result, or the error that it ended with."""
        try:
            return future.result()
        except self._distributed.KilledWorker:
            return NoMemory(f"{name} ended every worker that ran it; its machine may lack memory: lower "
                            "the memory limit, or the workers' threads")
        except Error as error:
            return error


class _Tasks:
    """The tasks of one project: what `begin`, `list` and `run` of a verb say, called on workers."""

    def __init__(self, client: Any, verb: str, project: str, memory: Sequence[str] = ()) -> None:
        self.project = project
        self._memory = memory  # of each task that runs
        self._verb = verb
        self.engine = _Engine(client)
        self.stage = ""  # of the tasks that run, or ran last

    def call(self, what: str, *words: str) -> Dict[str, Any]:
        return self.engine.one(_run_verb, f"{self._verb} {what}", *words)

    def run_all(self, begin: Sequence[str], progress: ProgressLike) -> Optional[Dict[str, Any]]:
        """The report of the last task, where there is one."""
        reporter = Reporter(progress)
        report: Optional[Dict[str, Any]] = None
        try:
            state = self.call("begin", *begin)
            while state["ready"]:
                ready = state["ready"]
                stage = self.stage = ready[0].split("/")[0]

                def take(name: str, result: Any) -> None:
                    nonlocal report
                    report = result.get("report") or report
                    reporter.update(Progress(stage, None))

                # A task that runs alone may have the machine for itself.
                threads = "1" if len(ready) > 1 else "0"
                self.engine.each({name: (f"{self._verb} run", f"--threads={threads}", *self._memory, "--",
                                         self.project, name) for name in ready}, take)
                if report is not None:
                    return report  # and with the last task the others are gone
                state = self.call("list", "--", self.project)
        finally:
            reporter.close()
        return None

    def finish(self, verb: str, *words: str) -> Dict[str, Any]:
        """The result, for which the tasks were; then they go."""
        result = self.engine.one(_run_verb, verb, *words)
        self.call("clear", "--", self.project)
        return result


_OUTPUTS = ("--save", "--apply", "--points", "--mesh", "--outlines", "--picture")


def main(words: Optional[Sequence[str]] = None) -> int:
    parser = argparse.ArgumentParser(
        prog="python -m orvix.cluster", allow_abbrev=False,
        epilog="All other options are those of the command's verb, as --name=value.")
    parser.add_argument("verb", choices=("import", "planes", "site"))
    parser.add_argument("places", nargs="+", metavar="place",
                        help="the scans and the project; the project; the folder of the scans")
    parser.add_argument("--scheduler", help="the address of a running scheduler; else this machine works")
    parser.add_argument("--to", help="of site: where the projects go")
    parser.add_argument("--scan", action="append", help="of site: this scan alone")
    asked, rest = parser.parse_known_args(words)
    from distributed import Client
    with Client(asked.scheduler) as client:
        try:
            if asked.verb == "site":
                report = site(asked.places[-1], client, *rest, to=asked.to, scans=asked.scan, progress=True)
                print(json.dumps({"scans": report.scans, "failed": len(report.failed)}, indent=2))
                return 0 if report else 1
            outputs = [word for word in rest if word.split("=")[0] in _OUTPUTS]
            others = [word for word in rest if word not in outputs]
            if asked.verb == "planes":
                found = _planes(asked.places[-1], client, others, None, [*map(_absolute, outputs)], True)
            else:
                memory = [word for word in rest if word.startswith("--memory-limit=")]
                words = [word for word in rest if word not in memory]
                found = _import(asked.places[:-1], asked.places[-1], client, words, memory, True)
            print(json.dumps(found, indent=2))
            return 0
        except Error as error:
            print(f"orvix.cluster {asked.verb}: {error}", file=sys.stderr)
            return error.status


def _absolute(word: str) -> str:
    name, sign, file = word.partition("=")
    return name + sign + (_shared(file) if sign else "")


if __name__ == "__main__":
    sys.exit(main())
