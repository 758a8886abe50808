# SPDX-License-Identifier: GPL-3.0-or-later
"""Planes are the command's to the last bit, and what is made of them is sound."""
import struct
import zlib

import numpy as np
import pytest

import orvix
from conftest import SEED


@pytest.fixture(scope="module")
def planes(imported):
    project = orvix.open(imported)
    found = project.planes()
    project.close()  # planes need it no longer
    return found


def test_a_grown_plane_is_the_command_s(project, imported, command):
    plane = project.grow_plane(SEED)
    said = command("plane", imported, "--seed", ",".join(map(str, SEED)))
    assert plane.equation.tolist() == said["equation"]
    assert plane.centroid.tolist() == said["centroid"] and plane.seed.tolist() == said["seed"]
    assert (plane.area, plane.rms, plane.point_count) == (said["area"], said["rms"], said["points"])
    assert (plane.ended, plane.cells, plane.thinning) == (said["ended"], said["cells"],
                                                          said["thinning"])
    assert len(plane.regions) == said["regions"]
    assert sum(len(region.holes) for region in plane.regions) == said["holes"]
    project.close()
    points, records = plane.points, plane.records
    assert len(points) == len(records) == plane.point_count
    assert np.abs(plane.distances(points)).max() == pytest.approx(plane.max_distance)
    assert np.sqrt((plane.distances(points) ** 2).mean()) == pytest.approx(plane.rms)
    assert plane.mesh().area() == pytest.approx(plane.area, rel=0.01)


def test_records_of_a_plane_are_its_points(project):
    plane = project.grow_plane(SEED, reach=3.0)
    assert plane.ended == "reach"
    assert (project.world(project.points[plane.records]) == plane.points).all()


def test_a_seed_in_the_air_has_the_command_s_sentence(project, imported, command):
    with pytest.raises(orvix.BadInput) as caught:
        project.grow_plane((100, 100, 100))
    assert str(caught.value) == command("plane", imported, "--seed", "100,100,100")


def test_all_planes_are_the_command_s(planes, imported, command):
    said = command("planes", imported)
    assert len(planes) == len(said["planes"])
    assert (planes.on_planes, planes.left_out) == (said["assigned_points"], said["left_out"])
    for plane, wanted in zip(planes, said["planes"]):
        assert (plane.number, plane.group, plane.kind) == (wanted["number"], wanted["group"],
                                                           wanted["class"])
        assert plane.equation.tolist() == wanted["equation"]
        assert (plane.area, plane.rms, plane.point_count) == (wanted["area"], wanted["rms"],
                                                              wanted["points"])
        assert [region.outer.tolist() for region in plane.regions] == \
            [region["outer"] for region in wanted["regions"]]
        assert [[hole.tolist() for hole in region.holes] for region in plane.regions] == \
            [region["holes"] for region in wanted["regions"]]


def test_numbers_of_points_and_points_of_planes_agree(planes, project):
    numbers = planes.numbers_of_points()
    assert (planes.numbers_of_points(777, 1234) == numbers[777:2011]).all()
    assert (np.bincount(numbers, minlength=len(planes) + 1)[1:] ==
            [plane.point_count for plane in planes]).all()
    xyz, records = planes.points_of(3)
    assert (np.flatnonzero(numbers == 3) == records).all()
    assert (project.world(project.points[records]) == xyz).all()
    plane = planes.by_number(3)
    assert np.sqrt((plane.distances(xyz) ** 2).mean()) == pytest.approx(plane.rms, rel=1e-3)


def test_options_reach_the_search(project, imported, command):
    found = project.planes(min_area=2.0, distance=0.03, detail="coarse", bridge=0, threads=1)
    said = command("planes", imported, "--min-area", 2, "--distance", 0.03, "--detail", "coarse",
                   "--bridge", 0)
    assert len(found) == len(said["planes"]) and found.left_out == said["left_out"]
    assert found.settings["min_area"] == 2.0 and found.settings["bridge"] == 0
    with pytest.raises(ValueError, match="detail"):
        project.planes(detail="rough")
    with pytest.raises(orvix.BadArgument):
        project.planes(threads=5000)


def test_planes_are_a_sequence(planes):
    assert planes[-1].number == planes.numbers[-1]
    assert [plane.number for plane in planes[3:6]] == [4, 5, 6]
    with pytest.raises(IndexError):
        planes[len(planes)]
    with pytest.raises(orvix.BadArgument):
        planes.by_number(0)


def test_planes_are_kept_and_opened_again(copied):
    with orvix.open(copied, "r+") as project:
        with pytest.raises(orvix.BadInput):
            project.saved_planes()
        first = project.planes()
        assert first.save() == orvix.PlanesSaved(0, len(first), 0)
        with project.planes(min_area=1.0) as again:
            saved = again.save()
            assert saved.kept + saved.added == len(again)
    with orvix.open(copied) as project:
        kept = project.saved_planes()
        assert (kept.to_records() == again_records(project)).all()
        with pytest.raises(orvix.BadArgument):
            kept.explain(SEED)
        with pytest.raises(orvix.BadArgument):
            kept.save()


def again_records(project):
    """The planes of a search with the numbers that were kept."""
    found, kept = project.planes(min_area=1.0).to_records(), project.saved_planes().to_records()
    found["number"] = kept["number"]
    return found


def test_a_place_is_explained(project):
    with project.planes() as found:
        place = found.explain(SEED)
        assert place.verdict == "on-plane" and place.plane == place.nearest
        assert found[place.plane - 1].kind == "roof"
        assert found.explain((50, 50, 50)).verdict == "empty"
    with pytest.raises(ValueError, match="the planes are closed"):
        found.explain(SEED)


def test_a_table_has_a_row_for_each_plane(planes):
    table = planes.to_records()
    assert len(table) == len(planes)
    assert (table["area"] == [plane.area for plane in planes]).all()
    pandas = pytest.importorskip("pandas")
    frame = planes.to_dataframe()
    assert isinstance(frame, pandas.DataFrame) and frame.loc[1, "kind"] == "roof"


def area_of(ring):
    x, y = ring.T
    return 0.5 * float(x @ np.roll(y, -1) - y @ np.roll(x, -1))


def test_flat_polygons_hold_the_area_and_turn_as_promised(planes):
    for plane in planes[:60]:
        area = 0.0
        for shell, holes in plane.flat_polygons:
            assert area_of(shell) > 0 and all(area_of(hole) < 0 for hole in holes)
            area += area_of(shell) + sum(area_of(hole) for hole in holes)
        assert area == pytest.approx(plane.area, rel=1e-6)
        frame = plane.frame
        assert np.cross(frame.right, frame.up) == pytest.approx(plane.normal, abs=1e-9)
        assert abs(frame.right[2]) < 1e-9 or np.hypot(*plane.normal[:2]) < 1e-3
        np.testing.assert_allclose(frame.world(frame.flat(plane.outline[0])), plane.outline[0],
                                   atol=1e-6)


def test_shapely_takes_the_rings(planes):
    shapely = pytest.importorskip("shapely.geometry")
    for plane in planes[:40]:
        shapes = [shapely.Polygon(shell, holes) for shell, holes in plane.flat_polygons]
        assert all(shape.is_valid for shape in shapes)
        assert sum(shape.area for shape in shapes) == pytest.approx(plane.area, rel=1e-6)
    roof = shapely.shape(planes[0])
    assert roof.has_z and roof.area == pytest.approx(planes[0].area * planes[0].normal[2], rel=0.01)
    assert len(planes.__geo_interface__["features"]) == len(planes)


def read_png(data):
    """(height, width, 3) of a PNG as ours are."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    place, body, size = 8, b"", None
    while place < len(data):
        length, kind = struct.unpack(">I4s", data[place:place + 8])
        chunk = data[place + 8:place + 8 + length]
        assert struct.unpack(">I", data[place + 8 + length:place + 12 + length])[0] == \
            zlib.crc32(kind + chunk)
        size = struct.unpack(">II", chunk[:8]) if kind == b"IHDR" else size
        body += chunk if kind == b"IDAT" else b""
        place += 12 + length
    width, height = size
    rows = np.frombuffer(zlib.decompress(body), np.uint8).reshape(height, 1 + 3 * width)
    return rows[:, 1:].reshape(height, width, 3)


def test_pictures_show_the_surface(planes, project):
    grown = project.grow_plane(SEED)
    for surface in (grown, planes[0]):
        pixels = read_png(surface._repr_png_())
        flat = np.vstack([shell for shell, _ in surface.flat_polygons])
        width, height = flat.max(axis=0) - flat.min(axis=0)
        shown = (pixels != 255).any(axis=2).sum() / ((pixels.shape[0] - 24) * (pixels.shape[1] - 24))
        assert shown == pytest.approx(surface.area / (width * height), abs=0.05)
        assert "data:image/png;base64," in surface._repr_html_()
    assert read_png(planes._repr_png_()).std() > 10
    assert planes._repr_html_().count("<tr>") == 21


def test_a_triangulation_of_points_covers_their_hull():
    rng = np.random.default_rng(3)
    flat = np.vstack([rng.uniform(0, 4, (500, 2)), [[0, 0], [4, 0], [4, 4], [0, 4]]])
    points = np.column_stack([flat, np.full(len(flat), 2.0)])
    mesh = orvix.triangulate(points, (0, 0, 1, -2))
    assert mesh.area() == pytest.approx(16.0) and (mesh.points == points).all()
    with pytest.raises(orvix.BadArgument):
        orvix.triangulate(points, (0, 0, 0, 1))


def test_a_plane_keeps_the_area_that_it_was_found_for(imported):
    """Rims that end on other planes' move by pixels; they do not close upon each other."""
    with orvix.open(imported) as project:
        planes = project.planes(min_area=2.0)
        assert len(planes) > 200 and min(plane.area for plane in planes) >= 1.0
