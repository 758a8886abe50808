// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "orvix/platform/error.h"

namespace orvix::detection {

/// A plane that had a number before.
struct NumberedPlane {
    std::uint32_t number = 0;
    std::uint64_t points = 0;
};

/// Counts the points that earlier and present planes share, and so decides which number each
/// present plane has.
///
///     KeptNumbers kept(before, nextNumber);
///     for (each block) kept.Count(planesBefore, planesNow);
///     auto numbers = kept.Numbers(pointsOfPlanesNow);
///
/// A plane that shares at least half of the points of the smaller of the two with an earlier one
/// may have its number. Of all such pairs the one that shares most points is taken first; of equal
/// ones that with the lower number, then the plane that comes first. The others have new numbers,
/// in their order; the number of a plane that is gone is not used again.  BEHAVIOUR A12
///
/// Errors  BadInput where the numbers have run out, at 2^31.
/// Cost    memory grows with the pairs that share points.
class KeptNumbers {
public:
    KeptNumbers(std::vector<NumberedPlane> before, std::uint64_t nextNumber)
        : before_(std::move(before)), nextNumber_(nextNumber) {}

    /// The planes of the same points, before and now: places in their lists, or -1.
    void Count(std::span<const std::int32_t> before, std::span<const std::int32_t> now);

    /// The numbers of planes with so many points each; once only.
    Expected<std::vector<std::uint32_t>> Numbers(std::span<const std::uint64_t> points);

    [[nodiscard]] std::uint64_t NextNumber() const { return nextNumber_; }  ///< after Numbers
    [[nodiscard]] std::size_t Kept() const { return kept_; }                ///< after Numbers

private:
    std::vector<NumberedPlane> before_;
    std::uint64_t nextNumber_;
    std::size_t kept_ = 0;
    std::map<std::pair<std::int32_t, std::int32_t>, std::uint64_t> shared_;
};

}  // namespace orvix::detection
