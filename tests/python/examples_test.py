# SPDX-License-Identifier: GPL-3.0-or-later
"""The example and the blocks of the documents run as they are written."""
import ast
import importlib.util
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
        if "orvix.cluster" in block:
            continue  # cluster_test.py runs it
        exec(compile(block, page, "exec"), names)
        names["project"] = orvix.open("hall.prj")
    assert "14.761" in capsys.readouterr().out


def test_the_notebook_runs_from_its_first_cell_to_its_last(sample, tmp_path, monkeypatch):
    """What a notebook shows of a cell's last value is made as well. Its pictures need matplotlib."""
    for folder in ("docs", "samples"):
        (tmp_path / folder).mkdir()
    (tmp_path / "samples" / sample.name).write_bytes(sample.read_bytes())
    monkeypatch.chdir(tmp_path / "docs")
    monkeypatch.setenv("MPLBACKEND", "Agg")
    cells = json.loads((ROOT / "docs" / "building.ipynb").read_text(encoding="utf-8"))["cells"]
    names, shown, drawn = {}, [], importlib.util.find_spec("matplotlib") is not None
    for cell in cells:
        assert not cell.get("outputs"), "the notebook is kept without results"
        source = "".join(cell["source"])
        if cell["cell_type"] != "code" or ("matplotlib" in source and not drawn):
            continue
        body = ast.parse(source).body
        last = body.pop() if isinstance(body[-1], ast.Expr) else None
        exec(compile(ast.Module(body, []), "building.ipynb", "exec"), names)
        if last is not None:
            value = eval(compile(ast.Expression(last.value), "building.ipynb", "eval"), names)
            shown.append(value._repr_html_() if hasattr(value, "_repr_html_") else value)
    assert sum("<" in str(each) for each in shown) >= 4
    assert not drawn or (tmp_path / "docs" / "python.png").stat().st_size > 20_000
