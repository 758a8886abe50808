// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <string>

#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Reasons for which a point is left out, as they are reported.
inline constexpr const char* kNotANumber = "not a number";
inline constexpr const char* kOutOfRange = "out of range";
inline constexpr const char* kZero = "zero";
inline constexpr const char* kMalformed = "malformed";
inline constexpr const char* kNoReturn = "no return";
inline constexpr const char* kInvalid = "invalid";
inline constexpr const char* kDirectionOnly = "direction only";
inline constexpr const char* kDuplicate = "duplicate";

using Rejections = std::map<std::string, std::uint64_t>;

/// Why a point cannot be placed at all.
enum class PointFault { None, NotANumber, Zero };

inline PointFault FaultOf(const ScanPoint& point, bool dropZeros) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
        return PointFault::NotANumber;
    }
    const bool dropped = dropZeros && point.x == 0 && point.y == 0 && point.z == 0;
    return dropped ? PointFault::Zero : PointFault::None;
}

}  // namespace orvix::importer
