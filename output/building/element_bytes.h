// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "building/building.h"

namespace orvix::output {

/// What makes an element itself, as bytes for GlobalIdOf: its kind and where it is. Neither its number
/// nor what it rests on.
std::string BytesOf(const building::Storey& storey);
std::string BytesOf(const building::Wall& wall);
std::string BytesOf(const building::Opening& opening, const building::Wall& wall);
std::string BytesOf(const building::Slab& slab);
std::string BytesOf(const building::Room& room);
std::string BytesOf(const building::RoofSlope& slope);
/// Of the whole: of all that it has.
std::string BytesOf(const building::Building& building);

}  // namespace orvix::output
