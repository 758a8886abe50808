# SPDX-License-Identifier: GPL-3.0-or-later
"""A building is the command's, to the last bit, and its numbers are those of the house that was scanned."""
import json
import os
import pathlib
import pickle
import subprocess
import sys

import numpy as np
import pytest

import orvix

ROOT = pathlib.Path(os.environ["ORVIX_SAMPLE"]).parent.parent
sys.path.insert(0, str(ROOT / "tests" / "support"))
import two_rooms  # noqa: E402
from two_rooms import DOOR  # noqa: E402

@pytest.fixture(scope="module")
def scan(tmp_path_factory):
    path = tmp_path_factory.mktemp("house") / "house.ptx"
    two_rooms.write(path)
    return path


@pytest.fixture(scope="module")
def house(scan):
    path = scan.with_suffix(".prj")
    orvix.import_scan(scan, path)
    with orvix.open(path) as project:
        building = project.building(threads=1)
    return path, building


def test_it_is_the_house_that_was_scanned(house):
    _, building = house
    assert building.stations_known and len(building.storeys) == 1
    assert building.storeys[0].elevation == pytest.approx(0, abs=0.005)
    areas = sorted(room.area.value for room in building.rooms)
    assert areas == pytest.approx([9, 12], rel=0.01)
    assert all(room.height.value == pytest.approx(2.5, abs=0.01) for room in building.rooms)
    assert all(room.area.low <= room.area.value <= room.area.high for room in building.rooms)
    between = [wall for wall in building.walls if wall.thickness is not None]
    assert len(between) == 1 and float(between[0].thickness) == pytest.approx(0.2, abs=0.005)
    assert np.allclose(between[0].axis[:, 0], 4.1, atol=0.01)
    assert between[0].evidence.stations.tolist() == [0, 1]
    (door,) = building.doors
    assert door.width.value == pytest.approx(DOOR[1] - DOOR[0], abs=0.05)
    assert door.height.value == pytest.approx(DOOR[2], abs=0.05)
    assert sorted(door.rooms) == [1, 2] and door.wall == between[0].number and door.free > 0.5


def test_it_is_the_command_s_to_the_last_bit(house, command):
    path, building = house
    said = command("model", path, "--threads", "2")["model"]
    for room, wanted in zip(building.rooms, said["rooms"]):
        assert room.name == wanted["name"]
        assert list(room.area) == [wanted["area"][key] for key in ("value", "low", "high")]
        assert [ring.tolist() for ring in (room.polygons[0][0], *room.polygons[0][1])] == wanted["polygon"]
        assert room.evidence.points == wanted["evidence"]["points"]
        assert list(room.evidence.inferred) == wanted["evidence"]["inferred"]
    assert len(building.rooms) == len(said["rooms"]) > 0
    walls = {wall["number"]: wall for wall in said["walls"] + said["faces"]}
    assert len(walls) == len(building.walls)
    for wall in building.walls:
        wanted = walls[wall.number]
        assert wall.axis.tolist() == wanted["axis"] and [wall.base, wall.top] == [wanted["base"],
                                                                                  wanted["top"]]
        assert (None if wall.thickness is None else wall.thickness.value) == wanted.get("thickness")
    for opening, wanted in zip(building.openings, said["openings"]):
        assert [opening.kind, opening.state] == [wanted["kind"], wanted["state"]]
        assert opening.centre.tolist() == wanted["centre"]
    assert list(building.remarks) == said["remarks"]


def test_shapes_close_and_files_are_written(house, tmp_path):
    _, building = house
    for room in building.rooms:
        mesh = room.mesh()
        corners = mesh.points[mesh.triangles]
        volume = abs(np.einsum("ij,ij->i", corners[:, 0], np.cross(corners[:, 1], corners[:, 2])).sum()) / 6
        assert volume == pytest.approx(room.volume.value, rel=0.01)
        assert room.__geo_interface__["type"] == "Polygon"
    for name in ("house.ifc", "house.json", "house.obj", "plans.svg", "plans.dxf", "plans.png"):
        building.write(tmp_path / name)
        assert (tmp_path / name).stat().st_size > 500
    with pytest.raises(orvix.BadInput):
        building.write(tmp_path / "house.txt")
    assert building._repr_png_().startswith(b"\x89PNG") and "Room 1.1" in building._repr_html_()


def test_it_stays_in_the_project(house):
    path, building = house
    with orvix.open(path) as project:
        with pytest.raises(orvix.BadInput):
            project.saved_building()
        with pytest.raises(orvix.Error):
            project.building().save()  # open for reading
    with orvix.open(path, "r+") as project:
        found = project.building(project.planes())
        found.save()
        kept = project.saved_building()
        assert [room.area for room in kept.rooms] == [room.area for room in building.rooms]
        with pytest.raises(TypeError):
            pickle.dumps(kept)
        kept.close()
        assert kept.rooms[0].area.value > 0, "what was read stays"
        with pytest.raises(ValueError):
            kept.rooms[0].mesh()
    os.remove(path.parent / (path.stem + "_Project_Files") / "model")


def test_a_callback_cancels(house):
    path, _ = house

    def stop(progress):
        raise KeyError(progress.phase)

    with orvix.open(path) as project, pytest.raises(KeyError, match="modelling"):
        project.building(progress=stop)


def test_the_example_prints_its_rooms(scan, tmp_path):
    files = [tmp_path / name for name in ("house.prj", "house.ifc", "plans.svg")]
    done = subprocess.run([sys.executable, ROOT / "examples" / "19_building_in_python.py", scan, *files],
                          capture_output=True, text=True, check=True)
    found = json.loads(done.stdout)
    assert len(found["rooms"]) == 2 and len(found["doors"]) == 1
    assert all(file.exists() for file in files)
