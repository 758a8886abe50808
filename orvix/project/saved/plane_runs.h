// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvix::detail {

/// Points that follow each other and are on one plane, or on none.
struct PlaneRun {
    std::int32_t plane = -1;  ///< a place in the list of planes; -1: none
    std::uint32_t count = 0;
};

/// The runs of some points, by the plane of each.
std::vector<PlaneRun> RunsOf(std::span<const std::int32_t> planes);

/// Writes each run as its plane plus 1, then its count: seven bits a byte, the lowest first, the
/// eighth bit set where more follow (docs/FORMAT.md, planes).
void EncodeRuns(std::span<const PlaneRun> runs, std::vector<std::uint8_t>& bytes);

/// Reads them back. False, with any runs, where the bytes are not exactly what EncodeRuns writes
/// for `count` points on planes below `planes`: so one list of runs has one form.
[[nodiscard]] bool DecodeRuns(std::span<const std::uint8_t> bytes, std::size_t planes,
                              std::uint32_t count, std::vector<PlaneRun>& runs);

}  // namespace orvix::detail
