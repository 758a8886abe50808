# SPDX-License-Identifier: GPL-3.0-or-later
"""An import cut into tasks that processes and machines share."""
from __future__ import annotations

from typing import Any, Dict, List, Optional, Sequence, Union

from ._arrays import Path
from ._command import option, run
from ._progress import ProgressLike
from ._verbs import ImportReport, import_report, import_words, input_files


class ImportTasks:
    """The tasks of an import: what can run now, and how one is run.

        tasks = orvix.ImportTasks.begin(["north.las", "south.las"], "site.prj")
        while ready := tasks.ready():
            for name in ready:          # at once, in any order, anywhere
                tasks.run(name)         # there: orvix.ImportTasks("site.prj").run(name)
        tasks.report

    Any engine can drive them: processes reach inputs and project under the same paths, a task that is
    run twice does no harm, and what is done stays done. The project has the bytes that `import_scan`
    gives it. `orvix.cluster.import_scans` does this on Dask.

    report  what the import did, once "publish" has run here; else None
    Errors  as of `import_scan`; BadInput where no import is under way, or an input has changed.
    Cost    each call is a process of its own.
    """

    def __init__(self, project: Path) -> None:
        self.project = project
        self.report: Optional[ImportReport] = None

    @classmethod
    def begin(cls, inputs: Union[Path, Sequence[Path]], project: Path, *, unit: str = "m",
              up: str = "z", skeleton: str = "10cm", stations: Optional[Sequence[str]] = None,
              drop_zeros: bool = False, dedupe: bool = False, overwrite: bool = False,
              memory_limit: Union[int, str, None] = None) -> "ImportTasks":
        """Lays an import out beside its target, or continues one of the same inputs and options."""
        words = import_words(unit, up, skeleton, stations, drop_zeros, dedupe, overwrite)
        run("import-tasks begin", *words, *option("memory-limit", memory_limit), "--",
            *input_files(inputs), project)
        return cls(project)

    def ready(self) -> List[str]:
        """Names of the tasks that can run now; none once the project has appeared."""
        return [] if self.report else list(self._state()["ready"])

    def done(self) -> List[str]:
        """Names of the tasks whose results are there."""
        return ["publish"] if self.report else list(self._state()["done"])

    def run(self, *names: str, memory_limit: Union[int, str, None] = None, threads: int = 0,
            progress: ProgressLike = None) -> None:
        """Runs tasks, one after the other; nothing where they are done."""
        result = run("import-tasks run", *option("memory-limit", memory_limit),
                     *option("threads", threads), "--", self.project, *names, progress=progress)
        if result["report"] is not None:
            self.report = import_report(result["report"])

    def clear(self) -> None:
        """Gives the import up and removes what it has left beside its target."""
        run("import-tasks clear", "--", self.project)

    def _state(self) -> Dict[str, Any]:
        return run("import-tasks list", "--", self.project)
