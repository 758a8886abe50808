# SPDX-License-Identifier: GPL-3.0-or-later
"""The example and the blocks of the documents run as they are written."""
import json
import os
import pathlib
import re
import subprocess
import sys

import pytest

from conftest import SEED

ROOT = pathlib.Path(os.environ["ORVIX_SAMPLE"]).parent.parent


def test_the_example_finds_what_the_command_finds(sample, tmp_path, command):
    path = tmp_path / "building.prj"
    done = subprocess.run([sys.executable, ROOT / "examples" / "16_arrays_in_python.py", sample, path,
                           *map(str, SEED)], capture_output=True, text=True, check=True)
    assert "sorting" in done.stderr
    found = json.loads(done.stdout)
    info, planes = command("info", path), command("planes", path, "--min-area", 1)
    assert found["points"] == info["points"]
    assert found["heights"] == [info["bounds"][end][2] for end in ("min", "max")]
    plane = command("plane", path, "--seed", ",".join(map(str, SEED)))
    assert found["plane"] == {"equation": plane["equation"], "area": plane["area"],
                              "marked": plane["points"]}
    assert found["planes"] == len(planes["planes"]) and found["sound"]
    assert sum(found["areas"].values()) == pytest.approx(sum(p["area"] for p in planes["planes"]))
    assert found["slab"] > 0 and found["triangles"] > 1000


@pytest.mark.parametrize("page", ["README.md", "docs/PYTHON.md"])
def test_the_blocks_of_the_page_run_one_after_another(page, imported, sample, tmp_path, monkeypatch,
                                                      capsys):
    monkeypatch.chdir(tmp_path)
    text = (ROOT / page).read_text(encoding="utf-8")
    blocks = re.findall(r"^```python\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
    (tmp_path / "samples").mkdir()
    for name in ("samples/building.ply", "hall.e57"):  # a format is known by a file's content
        (tmp_path / name).write_bytes(sample.read_bytes())
    import orvix
    names = {"project": orvix.open(imported)}  # the pages' later blocks take one as open
    assert blocks
    for block in blocks:
        exec(compile(block, page, "exec"), names)
        names["project"] = orvix.open("hall.prj")
    assert "14.761" in capsys.readouterr().out
