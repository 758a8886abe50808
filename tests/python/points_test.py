# SPDX-License-Identifier: GPL-3.0-or-later
"""Points and cells: what arrays show is what the library reads, and no array outlives its memory."""
import copy
import ctypes
import gc
import os
import pathlib
import pickle

import numpy as np
import pytest

import orvix
from orvix import _c
from orvix._arrays import address
from orvix._library import call, new


@pytest.mark.parametrize("name, struct", [
    ("POINT", _c.orvix_point), ("GRID_CELL", _c.orvix_grid_cell), ("FINE_CELL", _c.orvix_fine_cell),
    ("RUN", _c.orvix_run), ("DCLC", _c.orvix_dclc)])
def test_records_lie_as_in_the_header(name, struct):
    from orvix import _arrays
    kind = getattr(_arrays, name)
    assert kind.itemsize == ctypes.sizeof(struct)
    for field, _ in ((each[0], each[1]) for each in struct._fields_):
        if field != "attributes":  # eight bytes there, five values here
            assert kind.fields[field][1] == getattr(struct, field).offset, field
    if name == "POINT":
        assert kind.fields["intensity"][1] == struct.attributes.offset
        assert kind.fields["station"][1] + 2 == struct.dclc_first.offset


def test_points_are_the_scan_s(project, sample):
    header, _, body = sample.read_bytes().partition(b"end_header\n")
    assert b"format binary_little_endian" in header
    count = len(project.points)
    size = len(body) // count
    stored = np.frombuffer(body, np.dtype({"names": ["x", "y", "z"], "formats": ["<f4"] * 3,
                                           "offsets": [0, 4, 8], "itemsize": size}), count)
    given = np.sort(np.stack([stored[axis] for axis in "xyz"], -1).astype(float), axis=0)
    np.testing.assert_allclose(np.sort(project.world(project.points), axis=0), given, atol=1e-5)


def test_points_are_mapped_once_and_cannot_be_written(project):
    points = project.points
    assert points.itemsize == 24 and points is project.points
    assert np.shares_memory(points, project.cells(100)[5].points)
    assert not points.flags.writeable
    with pytest.raises(ValueError):
        points["dclc_first"][0] = 1
    with pytest.raises(ValueError):
        points.flags.writeable = True


def test_blocks_hold_every_point_once(project):
    blocks = list(project.blocks(30_001))
    assert [len(block) for block in blocks] == [30_001] * 3 + [9_997]
    assert (np.concatenate(blocks) == project.points).all()


@pytest.mark.parametrize("name", ["imported", "far"])
def test_world_coordinates_are_the_library_s_to_the_last_bit(name, request):
    with orvix.open(request.getfixturevalue(name)) as project:
        read = np.empty((len(project), 3))
        with project.handle.use() as handle:
            call("points_read_world", handle, 0, len(read), address(read, ctypes.c_double))
        world = project.world(project.points)
        assert (world == read).all()
        local = np.stack([project.points[axis] for axis in "xyz"], axis=-1)
        assert (project.world(local) == read).all()
        np.testing.assert_allclose(project.local(world), local, atol=1e-8)
        assert (world.min(axis=0) >= project.info.min - 1e-6).all()


@pytest.mark.parametrize("name", ["imported", "far"])
@pytest.mark.parametrize("level", [1000, 100, 10])
def test_cells_are_the_library_s_and_hold_every_point_once(name, level, request):
    with orvix.open(request.getfixturevalue(name)) as project:
        cells = project.cells(level)
        if name == "far" and level == 10:
            assert len(cells) == 0  # with a skeleton of 1 m there is no such level
            return
        end = 0
        cell = new(_c.orvix_cell)
        for at, found in enumerate(cells):
            assert found.first == end
            end = found.first + found.count
            if at % 37 == 0 or at == len(cells) - 1:
                with project.handle.use() as handle:
                    call("cell_get", handle, level, at, cell)
                assert found == cells[at]
                assert (found.entry, found.first, found.count) == (at, cell.first_point, cell.points)
                assert found.index == (cell.x, cell.y, cell.z)
                assert found.children == range(cell.first_child, cell.first_child + cell.children)
                assert found.min.tolist() == list(cell.min) and found.max.tolist() == list(cell.max)
                middle = project.world(found.points)[0]
                assert project.cell_at(middle, level) == found
        assert end == len(project)


def test_a_cell_that_leads_outside_is_named_as_the_library_names_it(copied):
    index = copied.parent / (copied.stem + "_Project_Files") / "Index" / "Grid.idx"
    stored = bytearray(index.read_bytes())
    stored[16:24] = (1 << 60).to_bytes(8, "little")
    index.write_bytes(stored)
    with orvix.open(copied) as project:
        with pytest.raises(orvix.Damaged, match="cell 0 of 100 cm names records"):
            list(project.cells(100))
        with pytest.raises(orvix.Damaged, match="cell 0 of 1000 cm names records"):
            list(project.cells(1000))


def test_arrays_keep_their_mapping_when_the_project_is_gone(copied):
    project = orvix.open(copied)
    points, cell = project.points, project.cells(1000)[0].points
    sums = points["x"].sum(dtype=float), cell["z"].sum(dtype=float)
    project.close()
    project.close()
    orvix.destroy(copied)
    del project
    gc.collect()
    assert (points["x"].sum(dtype=float), cell["z"].sum(dtype=float)) == sums


def test_a_closed_project_says_so(imported):
    project = orvix.open(imported)
    assert len(project.points) == len(project)
    cells = project.cells(100)
    project.close()
    for use in (lambda: project.points, lambda: cells[0], lambda: project.grow_plane((0, 0, 0)),
                lambda: project.planes(), lambda: project.saved_planes()):
        with pytest.raises(ValueError, match="the project is closed"):
            use()


def test_a_missing_project_is_an_error_with_the_library_s_sentence(tmp_path):
    with pytest.raises(orvix.BadInput, match="does not exist") as caught:
        orvix.open(tmp_path / "nothing.prj")
    assert caught.value.status == 3


def test_pairs_change_in_place_and_the_sums_follow(copied):
    with orvix.open(copied, "r+") as project:
        points = project.points
        heights = points["z"].copy()
        high = points["z"] > 10
        assert project.set_dclc(high, second=7) == high.sum()
        assert project.set_dclc(slice(100, 200), first=np.arange(100)) == 100
        some = np.array([5, 70_000, 99_999])
        project.set_dclc(some, first=65535, second=[1, 2, 3])
        expected = np.where(high, 7, 0)
        expected[some] = [1, 2, 3]
        assert (points["dclc_second"] == expected).all()
        assert (points["dclc_first"][100:200] == np.arange(100)).all()
        assert (points["dclc_first"][some] == 65535).all()
        assert (points["z"] == heights).all()
    report = orvix.check(copied, deep=True)
    assert report.ok, report.faults


@pytest.mark.parametrize("where, values, kind", [
    (slice(0, 2), {"first": 65536}, ValueError), (slice(0, 2), {"second": -1}, ValueError),
    (slice(0, 2), {"second": [1, 2, 3]}, ValueError), (slice(0, 2), {"first": 0.5}, ValueError),
    ([3, 1], {"first": 1}, ValueError), ([0, 100_000], {"first": 1}, IndexError),
    ([True, False], {"first": 1}, ValueError)])
def test_pairs_that_cannot_be_are_refused(copied, where, values, kind):
    with orvix.open(copied, "r+") as project:
        with pytest.raises(kind):
            project.set_dclc(where, **values)
        assert not project.points["dclc_first"].any()


def test_a_project_that_is_open_for_reading_stays_as_it_is(project):
    with pytest.raises(orvix.BadArgument):
        project.set_dclc(slice(0, 10), first=1)
    assert not project.points["dclc_first"][:10].any()
    with pytest.raises(ValueError, match="'r\\+'"):
        orvix.open(pathlib.Path(project.path), "w")


def test_neighbours_are_those_of_a_plain_search(project):
    points = project.points[:5000]
    xyz = np.stack([points[axis] for axis in "xyz"], axis=-1).astype(float)
    around = orvix.Neighbours(points)
    assert len(around) == 5000
    for place in xyz[::997]:
        squared = ((xyz - place) ** 2).sum(axis=1)
        for radius in (0.5, 40.0):  # the second has more points than the first room
            found = around.within(place, radius)
            assert set(found) == set(np.flatnonzero(squared <= radius * radius))
            assert (np.diff(squared[found]) >= -1e-9).all()
        assert squared[around.nearest(place)] == 0
    assert orvix.Neighbours(np.empty((0, 3))).nearest((0, 0, 0)) is None
    assert orvix.Neighbours(xyz).nearest(xyz[17]) == around.nearest(xyz[17])


def test_neighbours_of_many_positions_are_those_of_one_at_a_time(project, monkeypatch):
    points = project.points[:20_000]
    around = orvix.Neighbours(points)
    places = np.stack([points[axis] for axis in "xyz"], axis=-1).astype(float)[::40]
    singles = [around.within(place, 0.3) for place in places]
    assert max(map(len, singles)) > 20
    for room in (1 << 22, 7):  # in one call, and with an array that is mostly too small
        monkeypatch.setattr("orvix._neighbours._ROOM", room)
        monkeypatch.setattr("orvix._neighbours._LEAST_ROOM", room)
        rows, ends = around.within_many(places, 0.3)
        assert rows.dtype == np.int32 and ends.dtype == np.int64
        assert [some.tolist() for some in np.split(rows, ends[:-1])] == [s.tolist() for s in singles]
    assert around.nearest_many(places).tolist() == [around.nearest(place) for place in places]
    assert around.nearest_many(points[::40]).tolist() == around.nearest_many(places).tolist()
    rows, ends = around.within_many(np.empty((0, 3)), 0.3)
    assert len(rows) == len(ends) == len(around.nearest_many(np.empty((0, 3)))) == 0
    rows, ends = orvix.Neighbours(np.empty((0, 3))).within_many([[0, 0, 0]] * 2, 1.0)
    assert len(rows) == 0 and ends.tolist() == [0, 0]
    with pytest.raises(ValueError):
        around.within_many([1.0, 2.0, 3.0], 0.3)


def test_parts_of_the_points_go_to_the_world_as_all_do(project):
    points, world = project.points, project.world(project.points)
    for part in (slice(5, 900, 7), slice(None, None, -3), slice(0, 0), points["z"] > 1, [5, 3, 3]):
        assert (project.world(points[part]) == world[part]).all()
    few = points[:6].reshape(2, 3)
    assert (project.world(few) == world[:6].reshape(2, 3, 3)).all()
    other = np.array([(1.5, 2.5, 0.5)], [("z", "f8"), ("y", "f8"), ("x", "f8")])
    assert (project.world(other) == project.world([[0.5, 2.5, 1.5]])).all()
    with pytest.raises(ValueError):
        project.world(np.zeros((4, 2)))


def test_what_cannot_be_is_refused_before_the_library_sees_it(project):
    for size in (0, -1):
        with pytest.raises(ValueError):
            project.blocks(size)
    with pytest.raises(ValueError):
        orvix.open("a\0b.prj")
    with pytest.raises(ValueError, match="memory_limit"):
        project.planes(memory_limit=-1)
    with pytest.raises(ValueError, match="threads"):
        project.planes(threads=-1)
    with pytest.raises(IndexError):
        project.planes().numbers_of_points(-5, 10)
    with pytest.raises(IndexError):
        project.planes().numbers_of_points(99_999, 2)
    with pytest.raises(orvix.BadArgument, match='mode "r\\+"'):
        project.planes().save()


def test_a_copied_project_is_opened_anew_and_what_works_on_one_says_that_it_cannot(copied):
    with orvix.open(copied, "r+") as project:
        for other in (copy.copy(project), copy.deepcopy(project), pickle.loads(pickle.dumps(project))):
            assert other.mode == "r" and (other.points == project.points).all()
            other.close()
            assert not project.closed
        cell = project.cells(1000)[3]
        assert (pickle.loads(pickle.dumps(cell)).points == cell.points).all()
        for each in (project.planes(), project.planes()[0], orvix.Neighbours(project.points),
                     project.section((3.7, -5, 12.9), (0, -1, 0))):
            for make in (copy.deepcopy, pickle.dumps):
                with pytest.raises(TypeError, match="cannot be copied or pickled"):
                    make(each)


@pytest.mark.skipif(not hasattr(os, "fork"), reason="processes begin anew there")
def test_what_a_forked_child_closes_stays_open_in_its_parent(copied):
    with orvix.open(copied, "r+") as project:
        points = project.points
        project.set_dclc(slice(0, 10), first=7)
        child = os.fork()
        if child == 0:
            highest = float(points["z"].max())
            project.close()
            os._exit(0 if highest == float(points["z"].max()) else 1)
        assert os.waitpid(child, 0)[1] == 0
        project.set_dclc(slice(10, 20), first=8)
    assert orvix.check(copied, deep=True)
    with orvix.open(copied) as project:
        assert project.points["dclc_first"][:21].tolist() == [7] * 10 + [8] * 10 + [0]
