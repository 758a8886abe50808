// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "building/storeys/level_planes.h"

namespace orvix::building {

/// The storeys that floors under ceilings or roofs tell.
///
/// A floor counts as far as something hangs 1.7 m or more above it. Floors less than 1.8 m above the
/// floor of a storey belong to this one: steps, landings, tables. A storey has 4 square metres at
/// least, and a tenth of the largest one's.
///   Where nothing hangs above any floor, the largest floor makes the one storey, as high as the
/// planes above it reach, and `remarks` says so.
///
/// Order  from the lowest up.
std::vector<Storey> FindStoreys(const LevelPlanes& levels,
                                const std::vector<detection::FoundPlane>& planes,
                                std::vector<std::string>& remarks);

}  // namespace orvix::building
