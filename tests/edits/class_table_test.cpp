// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "orvix/project/height_bins.h"
#include "support/dice.h"

namespace orvix::edits {
namespace {

// As the class is defined: by the middle of the bin in which a height is counted.
std::uint8_t ByBin(const reports::Classification& classes, float z) {
    return static_cast<std::uint8_t>(classes.ClassOf(detail::HeightOfBin(detail::HeightBin(z))) +
                                     1);
}

reports::Classification ClassesAt(std::vector<double> boundaries) {
    reports::Classification classes;
    classes.counts.resize(boundaries.size() - 1);
    classes.boundaries = std::move(boundaries);
    return classes;
}

void ExpectAsByBin(const reports::Classification& classes) {
    const ClassTable table(reports::Field::Height, classes);
    const auto expect = [&](float z) { EXPECT_EQ(table.Of(z, 0), ByBin(classes, z)) << z; };
    constexpr float kFar = std::numeric_limits<float>::infinity();
    for (const float z : {0.0F, -0.0F, 1e-45F, -1e-45F, kFar, -kFar, 3e38F, -3e38F, 1e4F, -1e4F,
                          std::numeric_limits<float>::quiet_NaN()})
        expect(z);
    // Where a bin ends the last bit decides.
    for (const double boundary : classes.boundaries) {
        for (const double edge : {boundary, boundary - 0.005, boundary + 0.005}) {
            float z = static_cast<float>(edge);
            for (int i = 0; i < 3; ++i) z = std::nextafter(z, -kFar);
            for (int i = 0; i < 6; ++i, z = std::nextafter(z, kFar)) expect(z);
        }
    }
    std::uint64_t state = 3;
    test::Dice dice(state);
    for (int i = 0; i < 20'000; ++i) {
        expect(static_cast<float>(dice.Share() * 60 - 20));
        expect(static_cast<float>(std::pow(10, dice.Share() * 12 - 6)));
    }
}

// BEHAVIOUR A11
TEST(ClassTable, GivesEachHeightTheClassOfItsBin) {
    ExpectAsByBin(ClassesAt({-3.005, 0.005, 0.015, 2.665, 9.995}));
    ExpectAsByBin(ClassesAt({-3.005, -3.005, 0.005, 0.005, 0.005, 9.995}));
    ExpectAsByBin(ClassesAt({1.735, 1.735}));
    ExpectAsByBin(ClassesAt({-20'005, 10'005, 20'005}));
    std::vector<double> many;
    for (int i = 0; i < 256; ++i) many.push_back(-20 + 0.005 + 0.07 * i);
    ExpectAsByBin(ClassesAt(many));
}

TEST(ClassTable, GivesEachIntensityItsClass) {
    const auto classes = ClassesAt({7, 100, 40'000, 65'535});
    const ClassTable table(reports::Field::Intensity, classes);
    for (const unsigned intensity : {0U, 7U, 100U, 101U, 40'000U, 40'001U, 65'535U})
        EXPECT_EQ(table.Of(1e9F, static_cast<std::uint16_t>(intensity)),
                  classes.ClassOf(intensity) + 1);
}

}  // namespace
}  // namespace orvix::edits
