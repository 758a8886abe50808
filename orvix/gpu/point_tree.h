// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/section.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// A tree of boxes over points, for snapping: points in the order of a space-filling curve, a box
/// for each 32 of them, and a box for each eight boxes above.
///
///     PointTree tree(points);
///     tree.Snap(rule, best);          // as if every point had been offered
///
/// Choose it over a pass over the points from some twenty rays on.
///
/// Boundaries up to 2^32 - 1 points; points without a finite position are left out.
/// Lifetime   borrows the points.
/// Threads    reading by any number.
/// Cost       about 60 ns a point to build, 20 bytes a point meanwhile and 5 after; some
///            microseconds a ray.
/// Source     G. M. Morton: A Computer Oriented Geodetic Data Base (1966), for the order;
///            T. Karras: Maximizing Parallelism in the Construction of BVHs (2012), for boxes
///            over it.
class PointTree {
public:
    static constexpr std::uint64_t kMostPoints = 0xFFFFFFFF;

    explicit PointTree(const SectionPoints& points);
    /// Offers what may be better than the best so far; the index of a point counts from
    /// `firstIndex`.
    void Snap(const SnapRule& rule, std::uint64_t firstIndex, SnapBest& best) const;
    [[nodiscard]] std::uint64_t Bytes() const;

private:
    using Box = ExtendsT<float>;
    static constexpr std::uint64_t kLeafPoints = 32;
    static constexpr std::uint64_t kFan = 8;

    void SortAlongCurve();
    void BuildLevels();
    void SnapBox(const SnapRule& rule, std::size_t level, std::uint64_t box,
                 std::uint64_t firstIndex, SnapBest& best) const;

    SectionPoints points_;
    std::vector<std::uint32_t> order_;
    std::vector<std::vector<Box>> levels_;  // leaves first
};

}  // namespace orvix::detail
