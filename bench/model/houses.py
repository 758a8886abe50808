#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How much of each house with a known truth does `orvix model` find, and how long does it take?

    bench/model/houses.py build/release out/houses             # two houses, five minutes
    bench/model/houses.py build/release out/houses --list      # and every miss, every false element
    bench/model/houses.py build/release out/houses --model "--orthogonal" --only fzk

Each folder of --truths DIR (../shared/truth beside the checkout) that holds scan.ptx.xz and truth.json is
imported and modelled, or taken from --projects DIR, where DIR/NAME.prj is it. OUT keeps NAME.json,
NAME.txt (score.py's table) and tables.md. The disk needs 1 GB under TMPDIR.
"""
import argparse
import json
import pathlib
import subprocess
import sys
import tempfile

import score
from measured import TRUTHS, command, table, unpack


def project_of(options, truth, folder):
    if options.projects:
        return options.projects / f"{truth.name}.prj"
    scan, project = folder / "scan.ptx", folder / "scan.prj"
    unpack(truth / "scan.ptx.xz", scan)
    subprocess.run([options.build / "bin/orvix", "import", scan, project], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    scan.unlink()
    return project


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="build folder, with the command")
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--truths", type=pathlib.Path, default=TRUTHS, metavar="DIR")
    parser.add_argument("--projects", type=pathlib.Path, metavar="DIR")
    parser.add_argument("--only", action="append", metavar="NAME", help="may be given again")
    parser.add_argument("--model", type=str.split, default=[], metavar="OPTIONS")
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    options.out.mkdir(parents=True, exist_ok=True)
    truths = sorted(path.parent for path in options.truths.glob("*/truth.json")
                    if not options.only or path.parent.name in options.only)
    if not truths:
        sys.exit(f"houses.py: {options.truths} holds no folder with a truth.json")
    rows, times = [], []
    for truth in truths:
        model = options.out / f"{truth.name}.json"
        with tempfile.TemporaryDirectory(prefix="orvix-houses-") as folder:
            project = project_of(options, truth, pathlib.Path(folder))
            seconds, peak = command(options.build / "bin/orvix", "model", project, model,
                                    *options.model)
        judged = score.judge(json.loads(model.read_text()),
                             json.loads((truth / "truth.json").read_text()))
        text = score.report(judged, options.list)
        (options.out / f"{truth.name}.txt").write_text(text)
        print(f"{truth.name}: {seconds:.2f} s, {peak / 2**20:.0f} MiB\n{text}", flush=True)
        rows += [[truth.name, *score.row_of(name, judged[name])] for name in score.ROWS]
        times.append([truth.name, f"{seconds:.2f} s", f"{peak / 2**20:.0f} MiB"])
    (options.out / "tables.md").write_text(table(["house", *score.HEAD], rows) + "\n"
                                           + table(["house", "orvix model", "peak memory"], times))


if __name__ == "__main__":
    main()
