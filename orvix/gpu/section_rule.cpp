// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_rule.h"

#include <algorithm>
#include <limits>

namespace orvix::detail {
namespace {

constexpr float kLargest = std::numeric_limits<float>::max();

float Bound(double value) {
    return static_cast<float>(
        std::clamp(value, -static_cast<double>(kLargest), static_cast<double>(kLargest)));
}

}  // namespace

SectionRule ComposedRule(std::span<const double, 16> matrix, const SimplePointT<double>& origin,
                         const SectionSlab& slab) {
    SectionRule rule;
    for (std::size_t row = 0; row < 3; ++row) {
        const double* m = matrix.data() + 4 * row;
        // BEHAVIOUR V10
        const double shift = ((m[0] * origin.x + m[1] * origin.y) + m[2] * origin.z) + m[3];
        float* r = rule.rows.data() + 4 * row;
        for (std::size_t k = 0; k < 3; ++k) r[k] = Bound(m[k]);
        r[3] = Bound(shift);
    }
    rule.halfThickness = Bound(slab.halfThickness);
    rule.xLow = Bound(slab.xLow);
    rule.xHigh = Bound(slab.xHigh);
    rule.zLow = Bound(slab.zLow);
    rule.zHigh = Bound(slab.zHigh);
    return rule;
}

void SetRamp(SectionRule& rule, const SectionRamp& ramp) {
    rule.steps = static_cast<std::uint32_t>(ramp.colours.size());
    rule.rampLow = Bound(ramp.low);
    rule.rampScale = Bound(static_cast<double>(rule.steps) / (ramp.high - ramp.low));
}

}  // namespace orvix::detail
