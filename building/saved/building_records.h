// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "building/building.h"

namespace orvix::building {

/// Appends a building as a project stores it (docs/FORMAT.md, model).
void EncodeBuilding(const Building& building, std::vector<std::uint8_t>& bytes);

/// Reads a building from bytes that nobody has looked at.
///
/// Errors  false with a sentence in `fault` where the bytes end early or late, a number is not finite
///         or out of its limits, a ring has fewer than three corners, a text is not UTF-8, or an
///         element names a storey, a wall, a room or a slope that there is not.
/// Cost    memory: some times what the bytes have.
[[nodiscard]] bool DecodeBuilding(std::span<const std::uint8_t> bytes, Building& building,
                                  std::string& fault);

/// What DecodeBuilding has to say against such bytes; empty where it takes them.
[[nodiscard]] std::string FaultOfRecords(std::span<const std::uint8_t> bytes);

}  // namespace orvix::building
