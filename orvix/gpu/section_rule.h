// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <span>

#include "orvix/gpu/section.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// What a point is compared with, in single precision: a transformation and a slab, composed for
/// points in their own frame. The functions below are the definition of every result; the loops of
/// section_loop.h and the kernels compute the same.
struct SectionRule {
    std::array<float, 12> rows{};  // x', y', z' = ((x*r0 + y*r1) + z*r2) + r3
    float halfThickness = 0;
    float xLow = 0;  // unbounded sides are the largest floats
    float xHigh = 0;
    float zLow = 0;
    float zHigh = 0;
    float rampLow = 0;  // steps: floor((y' - rampLow) * rampScale), held between 0 and steps - 1
    float rampScale = 0;
    std::uint32_t steps = 0;  // 0: no ramp
};

/// Composes matrix * (origin + point) in double precision and rounds once.
SectionRule ComposedRule(std::span<const double, 16> matrix, const SimplePointT<double>& origin,
                         const SectionSlab& slab);
/// Precondition: `ramp` is one that RevitAMP takes.
void SetRamp(SectionRule& rule, const SectionRamp& ramp);

inline float RowTimes(const SectionRule& rule, std::size_t row, const SimplePointT<float>& p) {
    const float* r = rule.rows.data() + 4 * row;
    // BEHAVIOUR V1
    return ((p.x * r[0] + p.y * r[1]) + p.z * r[2]) + r[3];
}

inline SectionClass ClassOf(const SectionRule& rule, const SimplePointT<float>& p) {
    const float x = RowTimes(rule, 0, p);
    const float y = RowTimes(rule, 1, p);
    const float z = RowTimes(rule, 2, p);
    // A difference of a number with itself is 0 but where it is infinite or not a number. One
    // coordinate that is not finite makes all three sums not finite.
    // BEHAVIOUR V4
    if (!(((x - x) + (y - y)) + (z - z) == 0)) return SectionClass::NoPosition;
    // BEHAVIOUR V2, V3
    if (x < rule.xLow || x > rule.xHigh || z < rule.zLow || z > rule.zHigh) {
        return SectionClass::Outside;
    }
    if (std::fabs(y) <= rule.halfThickness) return SectionClass::In;
    return y > rule.halfThickness ? SectionClass::Behind : SectionClass::Before;
}

/// The step of the ramp for a point within the bounds. Precondition: the rule has a ramp.
inline std::uint8_t StepOf(const SectionRule& rule, const SimplePointT<float>& p) {
    const float q = (RowTimes(rule, 1, p) - rule.rampLow) * rule.rampScale;
    const float last = static_cast<float>(rule.steps - 1);  // BEHAVIOUR V5
    const float atLeast0 = q > 0 ? q : 0.0F;                // not a number: 0
    return static_cast<std::uint8_t>(atLeast0 < last ? atLeast0 : last);
}

}  // namespace orvix::detail
