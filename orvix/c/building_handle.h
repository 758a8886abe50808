// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "building/building.h"
#include "orvix/c/boundary.h"
#include "orvix/project/transform_file.h"

/// What stands behind the C interface's handle of a building.
struct orvix_building {
    orvix::building::Building building;
    orvix::detail::LocalToWorld frame;
};

namespace orvix::detail {

/// Refuses a number that none of so many things has: they count from 1.
Answer RequireNumber(std::uint32_t number, std::size_t items, const char* things);

/// Writes a place of the project's frame as the world's: x, y, z.
void PutPlace(double* out, const orvix_building& of, const SimplePointT<double>& p);

}  // namespace orvix::detail
