# SPDX-License-Identifier: GPL-3.0-or-later
"""Point clouds on disk for scan-to-BIM, as NumPy arrays.

    import orvix
    orvix.import_scan("hall.e57", "hall.prj", progress=True)
    with orvix.open("hall.prj") as project:
        project.points["z"].max()                      # a view of the mapped file, no copy
        for cell in project.cells(1000):
            print(cell.count, project.world(cell.points).mean(axis=0))
        plane = project.grow_plane((3.7, -4.0, 12.9))
        planes = project.planes(min_area=1.0)
        project.building().write("hall.ifc")

Units      metres; angles in degrees. "Local" is the project's own frame, in which points are stored as
           floats; "world" is local through the project's transform, in doubles.
Errors     `orvix.Error` and its kinds, with the sentences of the library and of the command.
Interrupt  Ctrl-C ends a long call within half a second with KeyboardInterrupt; what it began is
           undone, as by `orvix` itself.
Threads    any number; calls on one object wait for each other.
Cost       NumPy and the library are loaded at the first use, not by `import orvix`.
"""
from __future__ import annotations

from typing import TYPE_CHECKING

__version__ = "0.1.0"

if TYPE_CHECKING:
    from ._arrays import CELL as CELL, POINT as POINT
    from ._building import Building as Building, Edge as Edge, Element as Element, Evidence as Evidence
    from ._building import Measure as Measure, Opening as Opening, Room as Room, Slab as Slab
    from ._building import Slope as Slope, Storey as Storey, Wall as Wall
    from ._cells import Cell as Cell, Cells as Cells
    from ._command import run as run
    from ._errors import BadArgument as BadArgument, BadInput as BadInput, Cancelled as Cancelled
    from ._errors import Damaged as Damaged, Error as Error, Failed as Failed, NoMemory as NoMemory
    from ._errors import NoSpace as NoSpace, Unsupported as Unsupported
    from ._library import library_version as library_version
    from ._mesh import Mesh as Mesh, triangulate as triangulate
    from ._neighbours import Neighbours as Neighbours
    from ._planes import FoundPlane as FoundPlane, Place as Place, Planes as Planes
    from ._planes import PlanesSaved as PlanesSaved
    from ._progress import Progress as Progress
    from ._project import Project as Project, ProjectInfo as ProjectInfo, Station as Station
    from ._project import open as open
    from ._section import SECTION_CLASSES as SECTION_CLASSES, SNAPPED as SNAPPED, Section as Section
    from ._section import SectionCounts as SectionCounts
    from ._settings import Setting as Setting, Settings as Settings, settings as settings
    from ._statistics import Classes as Classes, Histogram as Histogram
    from ._statistics import natural_breaks as natural_breaks
    from ._surface import Frame as Frame, Plane as Plane, Region as Region, Surface as Surface
    from ._tasks import ImportTasks as ImportTasks
    from ._verbs import CheckReport as CheckReport, ExportReport as ExportReport, Fault as Fault
    from ._verbs import ImportedFile as ImportedFile, ImportReport as ImportReport
    from ._verbs import check as check, destroy as destroy, import_scan as import_scan
    from ._verbs import repair as repair
else:
    _HOMES = {
        "_arrays": ("CELL", "POINT"),
        "_building": ("Building", "Edge", "Element", "Evidence", "Measure", "Opening", "Room", "Slab",
                      "Slope", "Storey", "Wall"),
        "_cells": ("Cell", "Cells"),
        "_command": ("run",),
        "_errors": ("BadArgument", "BadInput", "Cancelled", "Damaged", "Error", "Failed", "NoMemory",
                    "NoSpace", "Unsupported"),
        "_library": ("library_version",),
        "_mesh": ("Mesh", "triangulate"),
        "_neighbours": ("Neighbours",),
        "_planes": ("FoundPlane", "Place", "Planes", "PlanesSaved"),
        "_progress": ("Progress",),
        "_project": ("Project", "ProjectInfo", "Station", "open"),
        "_section": ("SECTION_CLASSES", "SNAPPED", "Section", "SectionCounts"),
        "_settings": ("Setting", "Settings", "settings"),
        "_statistics": ("Classes", "Histogram", "natural_breaks"),
        "_surface": ("Frame", "Plane", "Region", "Surface"),
        "_tasks": ("ImportTasks",),
        "_verbs": ("CheckReport", "ExportReport", "Fault", "ImportReport", "ImportedFile", "check",
                   "destroy", "import_scan", "repair"),
    }
    _HOME_OF = {name: home for home, names in _HOMES.items() for name in names}
    __all__ = sorted(_HOME_OF)

    def __getattr__(name):
        if name not in _HOME_OF:
            raise AttributeError(f"module 'orvix' has no attribute {name!r}")
        import importlib
        value = getattr(importlib.import_module("." + _HOME_OF[name], __name__), name)
        globals()[name] = value
        return value

    def __dir__():
        return sorted([*globals(), *_HOME_OF])
