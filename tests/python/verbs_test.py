# SPDX-License-Identifier: GPL-3.0-or-later
"""Whole projects: imports, checks, exports and settings say what the command says."""
import json
import subprocess
import sys

import numpy as np
import pytest

import orvix


def test_an_import_is_accounted_for_and_shows_progress(sample, tmp_path):
    seen = []
    report = orvix.import_scan(sample, tmp_path / "a.prj", unit="cm", progress=seen.append)
    assert report.read == report.written + sum(report.rejected.values()) == 100_000
    assert report.inputs[0].points == report.read and report.stations == 1
    assert {each.phase for each in seen} <= {"scanning", "sorting", "writing", "indexing", "thinning",
                                             "finishing"}
    fractions = [each.fraction for each in seen]
    assert fractions == sorted(fractions) and len(seen) >= 5
    with orvix.open(tmp_path / "a.prj") as project:
        assert len(project) == report.written
        assert project.info.max[0] - project.info.min[0] == pytest.approx(0.158, abs=0.001)


def test_several_files_with_odd_names_make_one_project(sample, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    for name in ("-a b.ply", "ü.ply"):
        (tmp_path / name).write_bytes(sample.read_bytes())
    assert orvix.import_scan(["-a b.ply", "ü.ply"], "-c.prj", dedupe=True).rejected["duplicate"] > 0
    with orvix.open("-c.prj") as project:
        assert [station.number for station in project.stations] == [0, 1]
        assert project.check().ok


def test_an_import_in_tasks_is_shared_and_goes_on(sample, imported, tmp_path, command):
    tasks = orvix.ImportTasks.begin(sample, tmp_path / "t.prj", memory_limit="64M")
    assert tasks.ready() == ["survey/0"]
    tasks.run("survey/0")
    other = orvix.ImportTasks(tmp_path / "t.prj")
    assert other.done() == ["survey/0"] and other.ready() == ["sort/0"]
    other.run("sort/0", threads=1)
    # The rest in one process.
    report = orvix.import_scan(sample, tmp_path / "t.prj", resume=True)
    assert report.read == 100_000
    assert (tmp_path / "t_Project_Files" / "Index" / "Grid.pts").read_bytes() == (
        imported.parent / (imported.stem + "_Project_Files") / "Index" / "Grid.pts").read_bytes()
    with pytest.raises(orvix.BadInput):
        tasks.ready()
    tasks = orvix.ImportTasks.begin(sample, tmp_path / "u.prj")
    while ready := tasks.ready():
        for name in ready:
            tasks.run(name)
    assert tasks.report.checksum == report.checksum and tasks.done() == ["publish"]
    orvix.ImportTasks.begin(sample, tmp_path / "v.prj").clear()
    assert not list(tmp_path.glob("v*"))


def test_a_refused_import_has_the_command_s_sentence(imported, sample, tmp_path, command):
    with pytest.raises(orvix.BadInput) as caught:
        orvix.import_scan(sample, imported)
    assert str(caught.value) == command("import", sample, imported)
    with pytest.raises(orvix.BadInput, match="nothing.las"):
        orvix.import_scan(tmp_path / "nothing.las", tmp_path / "b.prj")
    with pytest.raises(orvix.BadArgument, match="--unit"):
        orvix.import_scan(sample, tmp_path / "b.prj", unit="miles")
    assert not (tmp_path / "b.prj").exists()


def test_damage_is_a_result_and_not_an_error(copied, imported):
    assert orvix.check(imported) and orvix.check(imported, deep=True)
    folder = copied.parent / (copied.stem + "_Project_Files")
    head = folder / "Index" / "Grid10cm.idx"
    stored = bytearray(head.read_bytes())
    stored[100] ^= 0x40
    head.write_bytes(stored)
    seen = []
    for report in (orvix.check(copied, progress=seen.append), orvix.check(copied, deep=True)):
        assert not report and report.total_faults >= 1
        assert any("Grid10cm.idx" in fault.file and fault.what for fault in report.faults)
    assert seen and all(each.phase == "checking" for each in seen)
    assert orvix.repair(copied)["ok"] and orvix.check(copied, deep=True).ok


def test_an_export_holds_what_it_says(project, tmp_path):
    box = [[-2, -8, 0], [6, 4, 9]]
    report = project.export(tmp_path / "room.xyz", box=box)
    world = project.world(project.points)
    inside = ((world >= box[0]) & (world <= box[1])).all(axis=1)
    assert report.points == inside.sum()
    rows = np.loadtxt(tmp_path / "room.xyz", skiprows=1, usecols=(0, 1, 2))
    assert (rows == world[inside]).all()
    with pytest.raises(orvix.BadInput, match="--overwrite"):
        project.export(tmp_path / "room.xyz")
    with pytest.raises(orvix.BadArgument):
        project.export(tmp_path / "room.csv")


def test_histograms_count_every_point(project):
    found = project.histogram("z", columns=40)
    assert found.counts.sum() + found.below + found.above == found.points == len(project)
    heights = project.world(project.points)[:, 2]
    assert found.median == pytest.approx(np.median(heights), abs=0.02)
    counted, _ = np.histogram(heights, found.edges)
    # A height on a column's edge is counted by its centimetre.
    assert np.abs(counted - found.counts.astype(int)).max() <= 0.01 * len(project)


def test_classes_divide_heights_and_are_applied(copied):
    with orvix.open(copied, "r+") as project:
        with pytest.raises(ValueError, match="'r'"):
            project.classify("z", 4, apply=True)
    with orvix.open(copied) as project:
        found = project.classify("z", 4, apply=True)
        assert found.applied == found.counts.sum() == len(project)
        assert (np.bincount(project.points["dclc_second"])[1:] == found.counts).all()
        classes = found.classify(project.world(project.points)[:, 2])
        assert (classes == project.points["dclc_second"]).mean() > 0.99
        assert project.classify("z", 3, sample=2000, seed=4).sampled <= 2000
        with pytest.raises(orvix.BadInput):
            project.classify("intensity", 5)  # the sample has one intensity


def test_natural_breaks_are_the_best_of_all():
    rng = np.random.default_rng(11)
    for _ in range(20):
        values = np.sort(rng.normal(size=12))
        spread = {(i, j): ((values[i:j] - values[i:j].mean()) ** 2).sum()
                  for i in range(12) for j in range(i + 1, 13)}
        best = min(spread[0, i] + spread[i, j] + spread[j, 12]
                   for i in range(1, 11) for j in range(i + 1, 12))
        breaks = orvix.natural_breaks(rng.permutation(values), 3)
        assert breaks[0] == values[0] and breaks[-1] == values[-1]
        i, j = np.searchsorted(values, breaks[1:3], side="right")
        assert spread[0, i] + spread[i, j] + spread[j, 12] == pytest.approx(best)
    with pytest.raises(ValueError):
        orvix.natural_breaks([], 2)


def test_settings_are_the_user_s(command):
    assert orvix.settings["SplitSize"] == 0.1
    orvix.settings["SplitSize"] = 0.25
    assert command("settings", "get", "SplitSize")["value"] == 0.25
    assert orvix.settings.describe("SplitSize").stored
    del orvix.settings["SplitSize"]
    assert orvix.settings["splitsize"] == 0.1 and "SplitSize" in list(orvix.settings)
    with pytest.raises(KeyError, match="there is no setting"):
        orvix.settings["Nix"]
    assert orvix.settings.get("Nix", 5) == 5
    with pytest.raises(orvix.BadInput):
        orvix.settings["SplitSize"] = "wide"


def test_stations_have_names_and_places(tmp_path):
    pose = "2 2\n10 20 5\n0 1 0\n-1 0 0\n0 0 1\n0 1 0 0\n-1 0 0 0\n0 0 1 0\n10 20 5 1\n"
    rows = "".join(f"{x} {y} {x * y} 0.25\n" for x in (1, 2) for y in (1, 2))
    (tmp_path / "hall.ptx").write_text(pose.replace("2 2\n", "2\n2\n", 1) + rows)
    orvix.import_scan(tmp_path / "hall.ptx", tmp_path / "hall.prj")
    with orvix.open(tmp_path / "hall.prj") as project:
        station, = project.stations
        said, = orvix.run("stations", project.path)["stations"]
        assert station.position.tolist() == said["position"] == [10, 20, 5]
        assert station.name == said["name"] and list(station.intensities) == said["intensity"]
        turned = project.local(np.array([[0.0, 1, 0]]) + station.position) - station.local_position
        np.testing.assert_allclose(station.rotation @ [1, 0, 0], turned[0], atol=1e-6)


def test_the_module_is_the_command(imported):
    done = subprocess.run([sys.executable, "-m", "orvix", "info", str(imported), "--json"],
                          capture_output=True, check=True)
    assert json.loads(done.stdout)["points"] == 100_000
    done = subprocess.run([sys.executable, "-m", "orvix", "info", "nothing.prj"], capture_output=True)
    assert done.returncode == 3 and b"nothing.prj does not exist" in done.stderr


def test_the_package_loads_nothing_before_it_is_used():
    look = "import sys, orvix; assert not {'numpy', 'ctypes', 'dataclasses'} & set(sys.modules)"
    subprocess.run([sys.executable, "-c", look], check=True)
    assert set(orvix.__all__) <= set(dir(orvix))
    for name in orvix.__all__:
        assert getattr(orvix, name).__doc__ or name.isupper(), name
    with pytest.raises(AttributeError):
        orvix.nothing
