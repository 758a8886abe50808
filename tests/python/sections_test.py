# SPDX-License-Identifier: GPL-3.0-or-later
"""Sections hold the points that a plain computation puts there."""
import gc

import numpy as np
import pytest

import orvix
from orvix import _c

PLACE, NORMAL = (3.7, -5.0, 12.9), (0.3, -1.0, 0.2)


@pytest.fixture(scope="module", params=["imported", "far"])
def cut(request):
    """A project, its middle and a section through it, with all points in the section's frame."""
    with orvix.open(request.getfixturevalue(request.param)) as project:
        middle = (project.info.min + project.info.max) / 2
        with project.section(middle, NORMAL, half_thickness=0.5, device="cpu") as section:
            yield project, section, section.flat(project.world(project.points))


def test_the_frame_is_the_viewer_s(cut):
    project, section, flat = cut
    m = section.transformation[:3, :3]
    np.testing.assert_allclose(m @ m.T, np.eye(3), atol=1e-12)
    assert np.linalg.det(m) == pytest.approx(1)
    np.testing.assert_allclose(-m[1], np.array(NORMAL) / np.linalg.norm(NORMAL), atol=1e-12)
    assert m[2, 2] > 0 and m[0, 2] == pytest.approx(0, abs=1e-12)
    middle = (project.info.min + project.info.max) / 2
    np.testing.assert_allclose(section.flat([middle]), 0, atol=1e-6)


def test_classes_are_those_of_a_plain_computation(cut):
    project, section, flat = cut
    y, h = flat[:, 1], section.half_thickness
    sure = np.abs(np.abs(y) - h) > 1e-4  # nearer than that, single precision decides
    wanted = np.where(np.abs(y) <= h, 0, np.where(y > 0, 1, 2))
    classes = section.classify(project.points)
    assert sure.mean() > 0.99 and (classes == wanted)[sure].all()
    counts = section.counts()
    assert [counts.in_slab, counts.behind, counts.before] == np.bincount(classes, minlength=3).tolist()
    assert (section.records() == np.flatnonzero(classes == 0)).all()
    assert (section.records("behind") == np.flatnonzero(classes == 1)).all()
    local = np.stack([project.points[axis] for axis in "xyz"], axis=-1)
    assert (section.classify(local) == classes).all()
    with pytest.raises(ValueError):
        section.records("beside")


def test_each_hands_out_every_point_of_a_class_once(cut):
    project, section, _ = cut
    got = []

    def note(first, points, classes):
        assert (points == project.points[first:first + len(points)]).all()
        assert not points.flags.writeable
        got.append(np.flatnonzero(classes <= 1) + first)
    counts = section.each(note, ("in", "behind"))
    got = np.concatenate(got)
    assert len(np.unique(got)) == len(got) == counts.in_slab + counts.behind


def test_what_each_hands_out_may_be_kept(imported):
    kept = []
    with orvix.open(imported) as project:
        with project.section((3.7, -5, 12.9), (0, -1, 0)) as section:
            section.each(lambda first, points, classes: kept.append((first, points, classes)))
        points = project.points.copy()
    assert kept
    for first, some, classes in kept:
        assert not some.flags.writeable and len(some) == len(classes)
        assert (some == points[first:first + len(some)]).all() and classes.max() <= 4


def test_a_function_that_fails_ends_the_section(cut):
    def fail(first, points, classes):
        raise LookupError("ours")
    with pytest.raises(LookupError):
        cut[1].each(fail)
    assert cut[1].counts().in_slab > 0


def test_colours_follow_the_distance(cut):
    project, section, flat = cut
    ramp = np.array([[0, 0, 255, 255], [255, 255, 255, 255], [255, 0, 0, 255]], np.uint8)
    colours = section.colours(project.points[:1000], -3, 3, ramp)
    y = flat[:1000, 1]
    steps = np.clip(np.floor((y + 3) / 2), 0, 2).astype(int)
    sure = np.abs((y + 3) / 2 - np.rint((y + 3) / 2)) > 1e-4
    assert (colours == ramp[steps])[sure].all() and sure.any()


def test_snapping_finds_the_first_and_the_nearest(cut):
    project, section, _ = cut
    world = project.world(project.points)
    targets = world[::2500]
    direction = np.array([0.1, 1.0, -0.2])
    origins = targets - 20 * direction
    snapped = section.snap_rays(origins, direction, radius=0.2)
    unit = direction / np.linalg.norm(direction)
    for origin, got in zip(origins, snapped):
        along = (world - origin) @ unit
        aside = np.linalg.norm(world - origin - along[:, np.newaxis] * unit, axis=1)
        inside = (aside <= 0.2) & (along >= 0)
        assert got["along"] == pytest.approx(along[inside].min(), abs=1e-5)
        assert along[got["index"]] == pytest.approx(got["along"], abs=1e-5)
    snapped = section.snap(targets + 0.01, radius=0.5)
    for place, got in zip(targets + 0.01, snapped):
        nearest = np.linalg.norm(world - place, axis=1)
        assert got["distance"] == pytest.approx(nearest.min(), abs=1e-5)
        assert nearest[got["index"]] == pytest.approx(nearest.min(), abs=1e-5)
    assert section.snap(targets[:1] + 1000)["index"].tolist() == [-1]


def test_a_section_outlives_its_project(imported):
    project = orvix.open(imported)
    section = project.section(PLACE, (0, -1, 0), bounds=(-3, 3, -5, 5), device="cpu")
    count = section.counts()
    assert count.outside > 0 and sum(vars(count).values()) == len(project)
    project.close()
    del project
    gc.collect()
    assert section.counts() == count and section.device == "processor"
    assert section._repr_png_()[:4] == b"\x89PNG"
    section.close()
    with pytest.raises(ValueError, match="the section is closed"):
        section.counts()


def test_records_lie_as_in_the_header():
    import ctypes
    from orvix._section import _RAY
    for kind, struct in ((_RAY, _c.orvix_picking_ray), (orvix.SNAPPED, _c.orvix_snapped_point)):
        assert kind.itemsize == ctypes.sizeof(struct)
        assert [kind.fields[name][1] for name in kind.names] == \
            [getattr(struct, name).offset for name, _ in struct._fields_]


@pytest.mark.parametrize("arguments", [
    {"normal": (0, 0, 0)}, {"half_thickness": -1}, {"device": "abacus"}, {"bounds": (1, 2, 3)},
    {"point": (0, 0)}])
def test_sections_that_cannot_be_are_refused(project, arguments):
    given = {"point": PLACE, "normal": NORMAL, **arguments}
    with pytest.raises(ValueError):
        project.section(given.pop("point"), given.pop("normal"), **given)
