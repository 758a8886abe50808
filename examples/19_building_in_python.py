#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The building that a scan shows: rooms, walls and doors as a table, and as files.

    19_building_in_python.py scan.ptx house.prj house.ifc plans.svg

Imports the scan, finds its building, keeps it in the project, and writes it. Prints what it finds as JSON.
Needs the package `orvix`.
"""
import json
import sys

import orvix


def main(scan, path, *files):
    orvix.import_scan(scan, path)
    with orvix.open(path, "r+") as project:
        house = project.building()
        house.save()  # project.saved_building() takes it from there
    for file in files:
        house.write(file)
    unseen = [wall.name for wall in house.walls if wall.thickness is None]
    print(json.dumps({
        "storeys": [[storey.name, storey.elevation, storey.ceiling] for storey in house.storeys],
        "rooms": {room.name: {"area": room.area.value, "between": [room.area.low, room.area.high],
                              "height": room.height.value, "corners": len(room.polygons[0][0])}
                  for room in house.rooms},
        "walls": {wall.name: {"length": wall.length, "thickness": float(wall.thickness),
                              "stations": wall.evidence.stations.tolist()}
                  for wall in house.walls if wall.thickness is not None},
        "doors": [{"width": door.width.value, "state": door.state, "rooms": door.rooms}
                  for door in house.doors],
        "one_side_seen": unseen, "remarks": house.remarks}, indent=1))


if __name__ == "__main__":
    main(*sys.argv[1:])
