// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_loop.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "tests/gpu/plain_section.h"

namespace orvix::detail {
namespace {

using test::PlainClass;
using test::PointsAround;

SectionRule RuleNumber(int number) {
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SectionSlab slab;
    if (number % 2 == 1) {
        matrix = {0.8, 0.6, 0, 1.25, -0.6, 0.8, 0, 0.3, 0, 0, 1, -2, 0, 0, 0, 1};
        slab.xLow = -4;
        slab.zHigh = 3.5;
    }
    if (number >= 2) {
        slab.halfThickness = 0;
        slab.xHigh = 6;
        slab.zLow = -7;
    }
    SectionRule rule = ComposedRule(matrix, {}, slab);
    static const std::vector<SectionColour> colours(64);
    if (number != 3) SetRamp(rule, {-1.5, 2, colours});
    return rule;
}

// BEHAVIOUR V1
TEST(SectionLoop, ClassesStepsAndCountsAreThoseOfAPlainLoopAtEveryLengthAndStride) {
    for (int number = 0; number < 4; ++number) {
        const SectionRule rule = RuleNumber(number);
        for (const std::size_t count : {0, 1, 31, 32, 33, 63, 100, 20'000}) {
            const auto points = PointsAround(rule, count, 77 + count);
            for (const std::size_t stride : {12, 16, 24, 40}) {
                // No byte beyond the last position.
                const std::size_t bytes = count == 0 ? 0 : (count - 1) * stride + 12;
                std::vector<std::byte> memory(bytes, std::byte{0x7F});
                for (std::size_t i = 0; i < count; ++i) {
                    std::memcpy(memory.data() + i * stride, &points[i], 12);
                }
                const SectionPoints given{memory.data(), count, stride};
                std::vector<SectionClass> classes(count + 1, SectionClass{9});
                std::vector<std::uint8_t> steps(count + 1, 99);
                const bool ramp = rule.steps != 0;
                for (const bool portable : {false, true}) {
                    const auto counts = (portable ? ClassifyPointsPortably : ClassifyPoints)(
                        rule, given, classes.data(), ramp ? steps.data() : nullptr);
                    ASSERT_EQ(classes[count], SectionClass{9}) << "past the end";
                    ASSERT_EQ(steps[count], 99) << "past the end";
                    ASSERT_EQ(counts, CountsOf(classes.data(), count));
                    ASSERT_EQ(counts.Total(), count);
                    for (std::size_t i = 0; i < count; ++i) {
                        const auto& p = points[i];
                        const auto plain = PlainClass(rule, p.x, p.y, p.z);
                        ASSERT_EQ(classes[i], plain.value)
                            << number << ' ' << stride << ' ' << i << ": " << p.x << ' ' << p.y
                            << ' ' << p.z;
                        ASSERT_EQ(ClassOf(rule, p), plain.value);
                        if (ramp) {
                            ASSERT_EQ(steps[i], plain.step) << i << ": " << p.y;
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace orvix::detail
