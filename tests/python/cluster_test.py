# SPDX-License-Identifier: GPL-3.0-or-later
"""Work on several processes: the bytes of one machine, also where workers die, come late, or have no
space. ORVIX_CLUSTER_KILLS=50 kills that many workers at random moments."""
import json
import os
import pathlib
import random
import re
import resource
import shutil
import threading
import time

import dask
import numpy as np
import pytest
from distributed import Client, LocalCluster

import orvix
import orvix.cluster

# Dask of one release warns of what Python of another one has.
pytestmark = pytest.mark.filterwarnings("ignore")

PIECES = 6
KILLS = int(os.environ.get("ORVIX_CLUSTER_KILLS", "0"))


@pytest.fixture(scope="module")
def orders(tmp_path_factory):
    """The file that workers read before each task; see cluster_worker.py."""
    return tmp_path_factory.mktemp("orders") / "orders.json"


@pytest.fixture
def order(orders, tmp_path):
    """order(kill=..., after=..., ...) until the test ends."""
    yield lambda **what: orders.write_text(json.dumps({"folder": str(tmp_path), **what}))
    orders.unlink(missing_ok=True)


@pytest.fixture(scope="module")
def cluster(orders):
    os.environ["ORVIX_TEST_ORDERS"] = str(orders)
    dask.config.set({"distributed.worker.preload": [str(pathlib.Path(__file__).with_name("cluster_worker.py"))]})
    with LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=None) as started:
        yield started


@pytest.fixture(scope="module")
def client(cluster):
    with Client(cluster) as connected:
        yield connected


@pytest.fixture(scope="module")
def one_machine(imported, tmp_path_factory):
    """The planes as one process finds them, and the points with their planes."""
    points = tmp_path_factory.mktemp("one") / "points.ply"
    found = orvix.run("planes", imported, "--points", points, "--min-area", "0.5")
    return without_names(found), points.read_bytes()


def without_names(found):
    return {key: value for key, value in found.items()
            if key not in ("seconds", "points_file", "mesh", "outlines", "picture")}


def planes_on(client, project, tmp_path, **options):
    points = tmp_path / "points.ply"
    found = orvix.cluster.planes(project, client, min_area=0.5, pieces=PIECES, points=points, **options)
    return without_names(found), points.read_bytes()


@pytest.fixture(scope="module")
def scans(tmp_path_factory):
    """Two scans that share cells, and large enough for several runs at the smallest memory."""
    folder = tmp_path_factory.mktemp("scans")
    rng = np.random.default_rng(3)
    for name, count in (("north.ply", 300_000), ("south.ply", 150_000)):
        points = rng.uniform((-5, 0, 0), (20, 30, 3), (count, 3)).astype("<f4")
        head = f"ply\nformat binary_little_endian 1.0\nelement vertex {count}\n"
        head += "".join(f"property float {axis}\n" for axis in "xyz") + "end_header\n"
        (folder / name).write_bytes(head.encode() + points.tobytes())
    files = sorted(folder.glob("*.ply"))
    (folder / "one").mkdir()
    orvix.import_scan(files, folder / "one" / "site.prj")
    return files, files_of(folder / "one")


def files_of(folder):
    """Name in the folder to bytes."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted(folder.rglob("*"))
            if path.is_file()}


def imported_on(client, scans, folder, **options):
    folder.mkdir(exist_ok=True)
    report = orvix.cluster.import_scans(scans[0], folder / "site.prj", client, memory_limit="64M", **options)
    assert report.written == 450_000
    return files_of(folder)


def workers_to(cluster, client, count):
    """Waits for so many; a worker whose nanny has lost it while it ended is started anew."""
    cluster.scale(count)
    until = time.monotonic() + 20
    while len(client.scheduler_info()["workers"]) != count:
        if time.monotonic() > until:
            cluster.scale(0)
            while client.scheduler_info()["workers"]:
                time.sleep(0.05)
            cluster.scale(count)
            until = time.monotonic() + 60
        time.sleep(0.05)


def limit_files(size):
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))


# BEHAVIOUR A19
def test_planes_are_those_of_one_machine_at_any_number_of_workers(cluster, client, imported, one_machine,
                                                                  tmp_path):
    for count in (1, 2, 4):
        workers_to(cluster, client, count)
        assert planes_on(client, imported, tmp_path) == one_machine
        assert not list(imported.parent.glob("*_Planes_Tasks"))


# BEHAVIOUR I27
def test_a_project_is_that_of_one_machine_at_any_number_of_workers(cluster, client, scans, tmp_path):
    for count in (1, 2, 4):
        workers_to(cluster, client, count)
        assert imported_on(client, scans, tmp_path / str(count)) == scans[1]


def test_tasks_of_a_search_whose_workers_are_killed_run_elsewhere(cluster, client, imported, one_machine,
                                                                  tmp_path, order):
    workers_to(cluster, client, 4)
    order(kill=["tiles", "join", "points"], after=0.01, with_command=True)
    assert planes_on(client, imported, tmp_path) == one_machine
    assert len(list(tmp_path.glob("killed-*"))) == 3


# Of four workers three die: a nanny may lose its worker for good where several end at once.
@pytest.mark.parametrize("stages, with_command", [
    (["survey", "sort", "plan"], True), (["merge", "finish", "publish"], False)])
def test_tasks_of_an_import_whose_workers_are_killed_run_elsewhere(cluster, client, scans, tmp_path, order,
                                                                   stages, with_command):
    workers_to(cluster, client, 4)
    order(kill=stages, after=0.02, with_command=with_command)
    assert imported_on(client, scans, tmp_path / "site") == scans[1]
    assert len(list(tmp_path.glob("killed-*"))) == 3


@pytest.mark.skipif(not KILLS, reason="ORVIX_CLUSTER_KILLS says how many")
def test_workers_killed_at_random_moments(cluster, client, imported, one_machine, scans, tmp_path, order):
    random.seed(3)
    for number in range(KILLS):
        workers_to(cluster, client, 4)
        stage = random.choice(("tiles", "join", "points", "survey", "sort", "plan", "merge", "finish",
                               "publish"))
        (tmp_path / f"killed-{stage}").unlink(missing_ok=True)
        order(kill=[stage], after=random.uniform(0, 0.3), with_command=random.random() < 0.5)
        if stage in ("tiles", "join", "points"):
            assert planes_on(client, imported, tmp_path) == one_machine
        else:
            assert imported_on(client, scans, tmp_path / str(number)) == scans[1]
            shutil.rmtree(tmp_path / str(number))


def test_a_late_worker_gets_its_share(cluster, client, imported, one_machine, tmp_path, order):
    workers_to(cluster, client, 1)
    order(delay=0.15)

    def join_later():
        while not list(tmp_path.glob("ran-*")):
            time.sleep(0.05)
        cluster.scale(2)

    helper = threading.Thread(target=join_later)
    helper.start()
    assert planes_on(client, imported, tmp_path) == one_machine
    helper.join()
    ran = [file.read_text().count("\n") for file in tmp_path.glob("ran-*")]
    assert len(ran) == 2 and min(ran) >= 2, ran


def test_a_full_disk_is_the_command_s_sentence_and_the_call_goes_on_later(cluster, client, imported,
                                                                          one_machine, tmp_path):
    workers_to(cluster, client, 2)
    client.run(limit_files, 20_000)
    with pytest.raises(orvix.NoSpace, match="_Planes_Tasks.*could not be written"):
        planes_on(client, imported, tmp_path)
    client.run(limit_files, resource.RLIM_INFINITY)
    assert planes_on(client, imported, tmp_path) == one_machine


def test_an_import_on_a_full_disk_goes_on_later(cluster, client, scans, tmp_path):
    workers_to(cluster, client, 2)
    client.run(limit_files, 1_000_000)
    with pytest.raises(orvix.NoSpace, match="site"):
        imported_on(client, scans, tmp_path / "site")
    client.run(limit_files, resource.RLIM_INFINITY)
    assert imported_on(client, scans, tmp_path / "site") == scans[1]


def test_errors_are_those_of_the_command(client, imported, tmp_path):
    with pytest.raises(orvix.BadInput, match="nothing.prj does not exist"):
        orvix.cluster.planes(tmp_path / "nothing.prj", client)
    with pytest.raises(orvix.BadArgument, match="--detail"):
        orvix.cluster.planes(imported, client, detail="great")
    with pytest.raises(orvix.BadInput, match="nothing.las"):
        orvix.cluster.import_scans(tmp_path / "nothing.las", tmp_path / "b.prj", client)
    assert not (tmp_path / "b.prj").exists()
    orvix.cluster.clear(tmp_path / "b.prj", client)
    assert list(tmp_path.iterdir()) == []


def test_a_search_that_was_begun_with_other_options_is_named_and_cleared(client, imported, tmp_path):
    orvix.run("planes-tasks begin", "--min-area", "3", "--", imported)
    with pytest.raises(orvix.BadInput, match="other options"):
        planes_on(client, imported, tmp_path)
    orvix.cluster.clear(imported, client)
    assert not list(imported.parent.glob("*_Tasks"))


def test_a_site_is_done_scan_by_scan_and_names_those_that_fail(cluster, client, sample, tmp_path):
    workers_to(cluster, client, 2)
    (tmp_path / "scans" / "floor 1").mkdir(parents=True)
    for name in ("a.ply", "floor 1/b.ply"):
        (tmp_path / "scans" / name).write_bytes(sample.read_bytes())
    (tmp_path / "scans" / "broken.las").write_bytes(b"this is no scan")
    seen = []
    report = orvix.cluster.site(tmp_path / "scans", client, "--min-area=1", to=tmp_path / "out",
                                progress=seen.append)
    assert [each["scan"] for each in report.scans] == ["a.ply", "broken.las", "floor 1/b.ply"]
    assert not report and report.failed == ["broken.las"] and seen[-1].fraction == 1
    assert "broken.las" in report.scans[1]["steps"][0]["message"]
    found = orvix.run("planes", "--saved", tmp_path / "out" / "floor 1" / "b.ply.prj")
    assert found["planes"] == orvix.run("planes", "--min-area=1", tmp_path / "out" / "a.ply.prj")["planes"]
    code = orvix.cluster.main(["site", str(tmp_path / "scans"), "--min-area=1", "--to",
                               str(tmp_path / "out"), "--scan", "a.ply", "--scheduler",
                               cluster.scheduler_address])
    assert code == 0


def test_the_module_prints_what_the_command_prints(cluster, client, imported, one_machine, tmp_path, capsys):
    words = ["planes", str(imported), "--min-area=0.5", f"--points={tmp_path / 'points.ply'}",
             "--scheduler", cluster.scheduler_address]
    assert orvix.cluster.main(words) == 0
    assert without_names(json.loads(capsys.readouterr().out)) == one_machine[0]
    assert (tmp_path / "points.ply").read_bytes() == one_machine[1]
    copy = tmp_path / "copy.prj"
    sample = os.environ["ORVIX_SAMPLE"]
    assert orvix.cluster.main(["import", sample, str(copy), "--skeleton=1m", *words[-2:]]) == 0
    assert json.loads(capsys.readouterr().out)["checksum"] == orvix.run("walk", copy)["checksum"]
    words[1] = str(tmp_path / "nothing.prj")
    assert orvix.cluster.main(words) == 3
    assert "nothing.prj does not exist" in capsys.readouterr().err


@pytest.mark.parametrize("page", ["README.md", "docs/PYTHON.md"])
def test_the_blocks_of_the_page_run(page, cluster, client, sample, tmp_path):
    """But for the names of the scheduler and of the shared folder."""
    workers_to(cluster, client, 2)
    shared = tmp_path / "shared"
    shared.mkdir()
    for name in ("north.e57", "south.e57"):  # a format is known by a file's content
        (shared / name).write_bytes(sample.read_bytes())
    text = (pathlib.Path(os.environ["ORVIX_SAMPLE"]).parent.parent / page).read_text(encoding="utf-8")
    blocks = [block for block in re.findall(r"^```python\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
              if "orvix.cluster" in block]
    assert blocks
    for block in blocks:
        code = block.replace("tcp://scheduler:8786", cluster.scheduler_address)
        names = {}
        exec(compile(code.replace("/shared/", f"{shared.as_posix()}/"), page, "exec"), names)
        names["client"].close()
    assert sorted(path.name for path in shared.glob("site*"))
