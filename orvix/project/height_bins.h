// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::detail {

/// The bins in which the points of a project are counted by height, and in which they are
/// classified.
///
///     HeightOfBin(HeightBin(1.7349f))      // 1.735, the middle of 1.73 to 1.74
///
/// Units      heights in metres, in the project's own frame; bins of a centimetre, numbered from
///            the one that begins at 0.
/// Boundaries a height on the edge of two bins belongs to the upper one. From 10 km above or below
///            the frame's zero on, bins are 10 m high and numbered on without a gap, so that a
///            stray point's bin is not millions away.
std::int64_t HeightBin(float z);

/// The middle of a bin, or of the `centimetres` high slice that holds it.
double HeightOfBin(std::int64_t bin, std::int64_t centimetres = 1);

}  // namespace orvix::detail
