# SPDX-License-Identifier: GPL-3.0-or-later
"""Projects that the tests share, and the command as it is without Python."""
import importlib.util
import json
import os
import pathlib
import shutil
import subprocess

import numpy as np
import pytest

import orvix
from orvix._native import command_path

# Where Dask is not there; tests/python/run.sh --cluster says so.
collect_ignore = [] if importlib.util.find_spec("distributed") else ["cluster_test.py"]

SEED = (3.7, -4.0, 12.9)


@pytest.fixture(scope="session")
def sample():
    return pathlib.Path(os.environ["ORVIX_SAMPLE"])


@pytest.fixture(scope="session")
def imported(sample, tmp_path_factory):
    """The sample as a project that no test changes."""
    path = tmp_path_factory.mktemp("imported") / "Größe 1.prj"
    orvix.import_scan(sample, path)
    return path


@pytest.fixture
def copied(imported, tmp_path):
    """A copy of it for a test that does."""
    folder = tmp_path / "copy"
    shutil.copytree(imported.parent, folder)
    return folder / imported.name


@pytest.fixture
def project(imported):
    with orvix.open(imported) as opened:
        yield opened


@pytest.fixture(scope="session")
def far(tmp_path_factory):
    """A project with an origin far from zero and a turned frame."""
    folder = tmp_path_factory.mktemp("far")
    rng = np.random.default_rng(7)
    world = rng.uniform((456780.1, 5412340.2, 310.3), (456795.0, 5412352.0, 318.0), (20_000, 3))
    np.savetxt(folder / "far.xyz", world, fmt="%.4f")
    orvix.import_scan(folder / "far.xyz", folder / "far.prj", skeleton="1m")
    transform = folder / "far_Project_Files" / "transform"
    matrix = np.frombuffer(transform.read_bytes(), "<f8").reshape(4, 4).copy()
    turn = 0.3
    matrix[:2, :2] = [[np.cos(turn), -np.sin(turn)], [np.sin(turn), np.cos(turn)]]
    transform.write_bytes(matrix.tobytes())
    return folder / "far.prj"


@pytest.fixture(scope="session")
def command():
    """Runs the command and returns its result, or the sentence of its error."""
    def run(*words):
        done = subprocess.run([command_path(), *map(str, words), "--json"], capture_output=True)
        result = json.loads(done.stdout)
        return result["error"]["message"] if "error" in result else result
    return run
