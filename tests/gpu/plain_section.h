// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "orvix/gpu/section.h"
#include "orvix/gpu/section_rule.h"
#include "orvix/points/records.h"
#include "support/dice.h"

namespace orvix::test {

/// What RevitAMP promises of one point, written down apart from it.
struct PlainAnswer {
    SectionClass value = SectionClass::NoPosition;
    int step = 0;
};

inline PlainAnswer PlainClass(const detail::SectionRule& rule, float px, float py, float pz) {
    float at[3];
    for (int row = 0; row < 3; ++row) {
        const volatile float a = px * rule.rows[4 * row];
        const volatile float b = py * rule.rows[4 * row + 1];
        const volatile float c = pz * rule.rows[4 * row + 2];
        const volatile float ab = a + b;
        const volatile float abc = ab + c;
        at[row] = abc + rule.rows[4 * row + 3];
    }
    PlainAnswer answer;
    if (!std::isfinite(at[0]) || !std::isfinite(at[1]) || !std::isfinite(at[2])) return answer;
    if (at[0] < rule.xLow || at[0] > rule.xHigh || at[2] < rule.zLow || at[2] > rule.zHigh) {
        answer.value = SectionClass::Outside;
        return answer;
    }
    answer.value = at[1] > rule.halfThickness    ? SectionClass::Behind
                   : at[1] < -rule.halfThickness ? SectionClass::Before
                                                 : SectionClass::In;
    if (rule.steps != 0) {
        const volatile float above = at[1] - rule.rampLow;
        const volatile float q = above * rule.rampScale;
        if (q > 0) {
            answer.step = static_cast<int>(rule.steps) - 1;
            if (q < static_cast<float>(answer.step)) answer.step = static_cast<int>(std::floor(q));
        }
    }
    return answer;
}

/// Points all over a room, on the boundaries of the rule to the last bits, and at special values.
inline std::vector<SimplePointT<float>> PointsAround(const detail::SectionRule& rule,
                                                     std::size_t count, std::uint64_t seed) {
    std::uint64_t state = seed;
    Dice dice(state);
    const float specials[] = {0.0F,
                              -0.0F,
                              1e-42F,
                              -1e-42F,
                              1e-30F,
                              3e38F,
                              -3e38F,
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(),
                              rule.halfThickness,
                              -rule.halfThickness,
                              rule.xLow,
                              rule.xHigh,
                              rule.zLow,
                              rule.zHigh};
    const auto any = [&] { return static_cast<float>(20 * dice.Share() - 10); };
    const auto special = [&] {
        float value = specials[static_cast<std::size_t>(dice.Share() * std::size(specials))];
        const int ulps = static_cast<int>(dice.Share() * 5) - 2;
        for (int k = 0; k < std::abs(ulps); ++k) {
            value = std::nextafter(value, ulps > 0 ? 1e38F : -1e38F);
        }
        return value;
    };
    std::vector<SimplePointT<float>> points(count);
    for (auto& p : points) {
        p = {any(), any(), any()};
        const double kind = dice.Share();
        if (kind < 0.1) p.x = special();
        if (kind >= 0.1 && kind < 0.3) p.y = special();
        if (kind >= 0.3 && kind < 0.4) p.z = special();
    }
    return points;
}

}  // namespace orvix::test
