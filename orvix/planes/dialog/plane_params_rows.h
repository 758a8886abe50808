// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>

namespace orvix::detail {

/// The plane parameters window's rows, in their order on it.
enum class PlaneRow : std::size_t { Metres, Decimetres, Centimetres, Angle, Speed };
inline constexpr std::size_t kPlaneRows = 5;
/// The first rows, whose sliders make up the split size.
inline constexpr std::size_t kSplitSizeRows = 3;

/// The window's buttons, numbered in their order on it.
enum class PlaneButton { Default, View, Ok, Cancel };

struct PlaneRowRange {
    int low = 0;
    int high = 0;
};
/// The positions of the rows' sliders.
inline constexpr std::array<PlaneRowRange, kPlaneRows> kPlaneRowRanges{
    {{0, 10}, {0, 10}, {0, 10}, {1, 100}, {0, 2}}};

}  // namespace orvix::detail
