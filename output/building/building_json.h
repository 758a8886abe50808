// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "building/building.h"
#include "orvix/project/transform_file.h"

namespace orvix::output {

/// A building as JSON: metres, world frame, z up, an object with a list for each kind of element.
///
///     {"walls": [{"number": 1, "storey": 1, "axis": [[x, y], [x, y]], "thickness": 0.3, ...}],
///      "faces": [walls of which one face was seen: the same without a thickness],
///      "rooms": [{"polygon": [outer ring, holes...], "floor": z, "ceiling": z,
///                 "area": {"value": 12.5, "low": 12.47, "high": 12.53}, ...}],
///      "openings": [...], "slabs": [...], "slopes": [...], "edges": [...], "storeys": [...],
///      "stationsKnown": true, "remarks": [...]}
///
/// docs/MODEL.md lists every member. Numbers of walls, rooms and storeys in other members are those
/// of their lists, counted from 1; what is not known is null.
///
/// Order    of members: always the same. A function of the building and the frame alone.
std::string JsonOf(const building::Building& building, const detail::LocalToWorld& frame);

}  // namespace orvix::output
