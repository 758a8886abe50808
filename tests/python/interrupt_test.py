# SPDX-License-Identifier: GPL-3.0-or-later
"""Ctrl-C, functions that fail, and threads: calls end in order and objects stay usable."""
import _thread
import os
import signal
import subprocess
import sys
import threading

import numpy as np
import pytest

import orvix
from conftest import SEED

@pytest.fixture(scope="module")
def large(tmp_path_factory):
    """A scan whose import takes a second."""
    path = tmp_path_factory.mktemp("large") / "large.ply"
    points = np.random.default_rng(1).uniform(0, 200, (2_500_000, 3)).astype("<f4")
    header = f"ply\nformat binary_little_endian 1.0\nelement vertex {len(points)}\n"
    header += "".join(f"property float {axis}\n" for axis in "xyz") + "end_header\n"
    path.write_bytes(header.encode() + points.tobytes())
    return path


def nothing_is_left(folder, large):
    """On Windows a command without a console cannot be asked, and is killed: there is no project then,
    and the next import clears away what there is."""
    if os.name == "nt":
        assert not (folder / "a.prj").exists()
        orvix.import_scan(large, folder / "a.prj")
        return sorted(path.name for path in folder.iterdir()) == ["a.prj", "a_Project_Files"]
    return list(folder.iterdir()) == []


def interrupt(_):
    signal.raise_signal(signal.SIGINT)


def test_an_interrupted_import_leaves_nothing(large, tmp_path):
    with pytest.raises(KeyboardInterrupt):
        orvix.import_scan(large, tmp_path / "a.prj", threads=1, progress=interrupt)
    assert nothing_is_left(tmp_path, large)


def test_an_import_whose_progress_function_fails_leaves_nothing(large, tmp_path):
    def fail(_):
        raise LookupError("no more room on the screen")
    with pytest.raises(LookupError, match="screen"):
        orvix.import_scan(large, tmp_path / "a.prj", threads=1, progress=fail)
    assert nothing_is_left(tmp_path, large)


@pytest.mark.skipif(os.name == "nt", reason="groups of processes as POSIX has them")
def test_ctrl_c_of_a_terminal_ends_an_import_in_order(large, tmp_path):
    """It goes to Python and to the command at once; the command ends by Python's word alone."""
    script = (f"import orvix\nprint('begun', flush=True)\n"
              f"try: orvix.import_scan({str(large)!r}, {str(tmp_path / 'a.prj')!r}, "
              f"threads=1, progress=lambda p: print('under way', flush=True))\n"
              f"except KeyboardInterrupt: print('interrupted')")
    with subprocess.Popen([sys.executable, "-c", script], stdout=subprocess.PIPE, text=True,
                          start_new_session=True) as process:
        assert process.stdout.readline() == "begun\n" and process.stdout.readline() == "under way\n"
        os.killpg(process.pid, signal.SIGINT)
        said = process.stdout.read()
        assert process.wait() == 0 and said.endswith("interrupted\n")
    assert list(tmp_path.iterdir()) == []


@pytest.mark.parametrize("call", [
    lambda project, progress: project.planes(progress=progress),
    lambda project, progress: project.grow_plane(SEED, progress=progress),
    lambda project, progress: project.check(progress=progress),
    lambda project, progress: project.planes().points_of(1, progress=progress)[1].size,
    lambda project, progress: project.grow_plane(SEED).mesh(progress=progress).area(),
    lambda project, progress: len(orvix.Neighbours(project.points, progress=progress)),
    lambda project, progress: orvix.Neighbours(project.points).within_many(
        project.points, 0.05, progress=progress)[0].size,
    lambda project, progress: orvix.Neighbours(project.points).nearest_many(
        project.points, progress=progress).size,
    lambda project, progress: orvix.triangulate(
        project.points[:20_000], (0, 0, 1, 0), progress=progress).area()])
def test_an_interrupted_call_raises_and_the_project_stays_usable(project, call):
    with pytest.raises(KeyboardInterrupt):
        call(project, interrupt)
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler

    def fail(_):
        raise LookupError("ours")
    with pytest.raises(LookupError, match="ours"):
        call(project, fail)
    assert call(project, None)


def test_ctrl_c_comes_through_without_a_progress_function(project):
    expected = len(project.planes())
    timer = threading.Timer(0.3, _thread.interrupt_main)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:
            project.planes()
    timer.join()
    assert len(project.planes()) == expected


def test_a_handler_of_the_host_is_called_after_the_call(project):
    heard = []
    former = signal.signal(signal.SIGINT, lambda number, frame: heard.append(number))
    try:
        with pytest.raises(orvix.Cancelled):
            project.planes(progress=interrupt)
        assert heard == [signal.SIGINT]
    finally:
        signal.signal(signal.SIGINT, former)


def test_a_progress_function_cannot_close_what_is_at_work(project):
    expected = len(project.planes())

    def close(_):
        project.close()
    with pytest.raises(RuntimeError, match="cannot close"):
        project.planes(progress=close)
    assert len(project.planes()) == expected


def test_threads_share_a_project(project):
    expected = project.world(project.points).sum(axis=0).tolist()
    results, errors = [], []

    def work():
        try:
            for _ in range(3):
                assert len(project.grow_plane(SEED, reach=1.0).points) > 0
                assert sum(cell.count for cell in project.cells(100)) == len(project)
                results.append(project.world(project.points).sum(axis=0).tolist())
        except BaseException as error:
            errors.append(error)
    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not errors and results == [expected] * 12


def test_a_bar_ends_its_line(project, capsys):
    project.planes(progress=True)
    assert "finding planes" in capsys.readouterr().err
