// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "building/building.h"

namespace orvix::building {

/// The words that files, reports and pictures have for what a building's values mean.
const char* WordOf(OpeningKind kind);    ///< "door", "window", "hole"
const char* WordOf(OpeningState state);  ///< "free", "open", "closed", "unknown"
const char* WordOf(BoundKind kind);      ///< "floor", "ceiling", "wall"
const char* WordOf(RoofEdgeKind kind);   ///< "ridge", "hip", "valley"

/// A word or two for each bit of Evidence::inferred that is set, from the lowest bit up: "other side",
/// "hidden part", "free end", "floor level", "ceiling level", "open bound", "kind by size", "squared".
std::vector<std::string> WordsOf(std::uint32_t inferred);

}  // namespace orvix::building
