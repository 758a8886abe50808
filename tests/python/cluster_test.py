# SPDX-License-Identifier: GPL-3.0-or-later
"""Work on several processes: the bytes of one machine, also where workers die, come late, or have no
space. ORVIX_CLUSTER_KILLS=50 kills that many workers at random moments."""
import json
import os
import pathlib
import random
import re
import resource
import signal
import subprocess
import threading
import time

import pytest
from distributed import Client, LocalCluster

import orvix
import orvix.cluster
from orvix._native import command_path

# Dask of one release warns of what Python of another one has.
pytestmark = pytest.mark.filterwarnings("ignore")

PIECES = 6
KILLS = int(os.environ.get("ORVIX_CLUSTER_KILLS", "0"))


@pytest.fixture(scope="module")
def cluster():
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


def workers_to(cluster, client, count):
    cluster.scale(count)
    client.wait_for_workers(count, timeout=60)
    while len(client.scheduler_info()["workers"]) != count:
        time.sleep(0.05)


def kill_in_the_middle(stage, seconds, folder, with_command):
    """Runs on a worker: its next task of that stage ends it, and perhaps the command, after a while."""
    import orvix.cluster as module
    usual = module.run
    mark = pathlib.Path(folder) / f"killed-{stage}"

    def run_and_die(verb, *words):
        name = str(words[-1]).split("/")[0]
        if not verb.endswith("-tasks run") or name != stage:
            return usual(verb, *words)
        try:
            mark.touch(exist_ok=False)  # one worker, once
        except FileExistsError:
            return usual(verb, *words)
        process = subprocess.Popen([command_path(), *verb.split(), *words], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        time.sleep(seconds)
        if with_command:
            process.kill()
        os.kill(os.getpid(), signal.SIGKILL)

    module.run = run_and_die


def note_who_runs(folder):
    """Runs on a worker: each task takes a while, and leaves the worker's number."""
    import orvix.cluster as module
    usual = module.run

    def run_and_note(verb, *words):
        with open(os.path.join(folder, f"ran-{os.getpid()}"), "a") as file:
            file.write(verb + "\n")
        time.sleep(0.15)
        return usual(verb, *words)

    module.run = run_and_note


def limit_files(size):
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))


# BEHAVIOUR A19
def test_planes_are_those_of_one_machine_at_any_number_of_workers(cluster, client, imported, one_machine,
                                                                  tmp_path):
    for count in (1, 2, 4):
        workers_to(cluster, client, count)
        assert planes_on(client, imported, tmp_path) == one_machine
        assert not list(imported.parent.glob("*_Planes_Tasks"))


@pytest.mark.parametrize("stage, with_command", [("tiles", True), ("join", False), ("points", True)])
def test_a_task_whose_worker_is_killed_runs_elsewhere(cluster, client, imported, one_machine, tmp_path,
                                                      stage, with_command):
    workers_to(cluster, client, 2)
    client.run(kill_in_the_middle, stage, 0.01, str(tmp_path), with_command)
    assert planes_on(client, imported, tmp_path) == one_machine
    assert (tmp_path / f"killed-{stage}").exists()
    client.restart()


@pytest.mark.skipif(not KILLS, reason="ORVIX_CLUSTER_KILLS says how many")
def test_workers_killed_at_random_moments(cluster, client, imported, one_machine, tmp_path):
    workers_to(cluster, client, 4)
    random.seed(3)
    for _ in range(KILLS):
        stage = random.choice(("tiles", "join", "points"))
        (tmp_path / f"killed-{stage}").unlink(missing_ok=True)
        client.run(kill_in_the_middle, stage, random.uniform(0, 0.2), str(tmp_path),
                   random.random() < 0.5)
        assert planes_on(client, imported, tmp_path) == one_machine
        client.restart()


def test_a_late_worker_gets_its_share(cluster, client, imported, one_machine, tmp_path):
    workers_to(cluster, client, 1)
    client.run(note_who_runs, str(tmp_path))

    def join_later():
        while not list(tmp_path.glob("ran-*")):
            time.sleep(0.05)
        workers_to(cluster, client, 2)
        late = [address for address in client.scheduler_info()["workers"]]
        client.run(note_who_runs, str(tmp_path), workers=late)

    helper = threading.Thread(target=join_later)
    helper.start()
    assert planes_on(client, imported, tmp_path) == one_machine
    helper.join()
    ran = [file.read_text().count("\n") for file in tmp_path.glob("ran-*")]
    assert len(ran) == 2 and min(ran) >= 2, ran
    client.restart()


def test_a_full_disk_is_the_command_s_sentence_and_the_call_goes_on_later(cluster, client, imported,
                                                                          one_machine, tmp_path):
    workers_to(cluster, client, 2)
    client.run(limit_files, 20_000)
    with pytest.raises(orvix.NoSpace, match="_Planes_Tasks.*could not be written"):
        planes_on(client, imported, tmp_path)
    client.run(limit_files, resource.RLIM_INFINITY)
    assert planes_on(client, imported, tmp_path) == one_machine


def test_errors_are_those_of_the_command(client, imported, tmp_path):
    with pytest.raises(orvix.BadInput, match="nothing.prj does not exist"):
        orvix.cluster.planes(tmp_path / "nothing.prj", client)
    with pytest.raises(orvix.BadArgument, match="--detail"):
        orvix.cluster.planes(imported, client, detail="great")


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
    words[1] = str(tmp_path / "nothing.prj")
    assert orvix.cluster.main(words) == 3
    assert "nothing.prj does not exist" in capsys.readouterr().err


@pytest.mark.parametrize("page", ["docs/PYTHON.md"])
def test_the_blocks_of_the_page_run(page, cluster, client, sample, tmp_path):
    """But for the names of the scheduler and of the shared folder."""
    workers_to(cluster, client, 2)
    shared = tmp_path / "shared"
    shared.mkdir()
    for name in ("north.e57", "south.e57"):  # a format is known by a file's content
        (shared / name).write_bytes(sample.read_bytes())
    orvix.import_scan(shared / "north.e57", shared / "site.prj")
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
