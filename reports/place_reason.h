// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reports/planes_report.h"

namespace orvix::reports {

/// Why a place is in a plane or in none.
enum class PlaceVerdict : std::uint8_t {
    OnPlane,  ///< the nearest plane around is near enough
    TooFar,   ///< the nearest plane around is not
    Dropped,  ///< the nearest is too small for the list of planes, so the place is on none
    NotFlat,  ///< no plane around, and none could begin here
    NoPlane,  ///< no plane around, though it is flat
    Empty,    ///< no plane around and no point
};

PlaceVerdict VerdictOf(const detection::PlaceReport& place);

/// The verdict's word in JSON: on-plane, too-far, dropped, not-flat, no-plane, empty.
const char* WordOf(PlaceVerdict verdict);

/// Degrees between the surroundings and the nearest plane, in thousandths; below 0 where the place
/// has no plane around or is not flat.
double TurnInDegrees(const detection::PlaceReport& place);

/// The verdict with its numbers, and what its cell holds, in plain words, a line each:
///
///     on plane 7, a wall: 3.1 mm away, of 40.0 mm allowed (--distance)
///     its cell of 0.1 m holds 112 points, flat within 2.0 mm
std::string SentencesOf(const detection::PlaceReport& place,
                        const detection::PlaneSearchSettings& settings,
                        const std::vector<WorldPlane>& planes);

}  // namespace orvix::reports
