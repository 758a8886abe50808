# SPDX-License-Identifier: GPL-3.0-or-later
"""What each worker of cluster_test.py loads at its start: its tasks obey the orders that a test gives."""
import json
import os
import pathlib
import signal
import subprocess
import time

import orvix.cluster as module
from orvix._command import run
from orvix._native import command_path


def run_as_ordered(verb, *words):
    """Takes a while, says who runs, or ends the worker in the middle of a task, of each stage once."""
    try:
        orders = json.loads(pathlib.Path(os.environ["ORVIX_TEST_ORDERS"]).read_text())
    except OSError:
        return run(verb, *words)
    folder = pathlib.Path(orders["folder"])
    with open(folder / f"ran-{os.getpid()}", "a") as file:
        file.write(verb + "\n")
    stage = str(words[-1]).split("/")[0]
    if verb.endswith("-tasks run") and stage in orders.get("kill", ()):
        try:
            (folder / f"killed-{stage}").touch(exist_ok=False)
        except FileExistsError:
            return run(verb, *words)
        process = subprocess.Popen([command_path(), *verb.split(), *words], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        time.sleep(orders["after"])
        if orders["with_command"]:
            process.kill()
        os.kill(os.getpid(), signal.SIGKILL)
    time.sleep(orders.get("delay", 0))
    return run(verb, *words)


module.run = run_as_ordered
