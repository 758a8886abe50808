// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/corner_geometry.h"

#include <utility>

namespace orvix::detection {
namespace {

constexpr double kSquaredClearance = 1.0 / 16;

bool IsNear(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    return SquaredDistance(p, a, b) < kSquaredClearance;
}

bool Cross(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d) {
    const auto apart = [](std::int64_t p, std::int64_t q) {
        return (p < 0 && q > 0) || (p > 0 && q < 0);
    };
    return apart(TwiceAreaOf(a, b, c), TwiceAreaOf(a, b, d)) &&
           apart(TwiceAreaOf(c, d, a), TwiceAreaOf(c, d, b));
}

}  // namespace

bool Collide(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d) {
    for (const auto& [shared, other] : {std::pair{a, b}, std::pair{b, a}}) {
        if (shared != c && shared != d) continue;
        return IsNear(shared == c ? d : c, a, b) || IsNear(other, c, d);
    }
    return Cross(a, b, c, d) || IsNear(c, a, b) || IsNear(d, a, b) || IsNear(a, c, d) ||
           IsNear(b, c, d);
}

bool IsLeftOfBend(const RimCorner& p, const RimCorner& before, const RimCorner& at,
                  const RimCorner& after) {
    const bool leftOfOne = TwiceAreaOf(before, at, p) > 0;
    const bool leftOfOther = TwiceAreaOf(at, after, p) > 0;
    return TwiceAreaOf(before, at, after) > 0 ? leftOfOne && leftOfOther : leftOfOne || leftOfOther;
}

}  // namespace orvix::detection
