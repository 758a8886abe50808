// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "building/scan_evidence.h"

namespace orvix::building {

/// Points, scatter, stations and numbers of what rests on some planes. A station counts with 30 points.
class PlaneEvidence {
public:
    PlaneEvidence(const ScanEvidence& scan, std::span<const std::uint32_t> numbers)
        : scan_(scan), numbers_(numbers) {}

    /// `seen`, `hidden` and `inferred` are left 0. A plane that comes twice counts once.
    [[nodiscard]] Evidence Of(std::vector<std::size_t> planes) const;
    /// Half of the interval that 95 of 100 of the points on these planes lie in: how sure a place is
    /// that they tell.
    [[nodiscard]] double Scatter(std::span<const std::size_t> planes) const;
    [[nodiscard]] const ScanEvidence& Scan() const { return scan_; }

private:
    const ScanEvidence& scan_;
    std::span<const std::uint32_t> numbers_;
};

/// Planes of a line that lie on it from `begin` to `end`, and between two heights.
std::vector<std::size_t> PlanesWithin(const ScanEvidence& scan, std::size_t line, double begin,
                                      double end, double bottom, double top);

}  // namespace orvix::building
