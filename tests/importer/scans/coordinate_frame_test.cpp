// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/coordinate_frame.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace orvix::importer::test {
namespace {

std::array<double, 3> Array(const SimplePointT<double>& p) {
    return {p.x, p.y, p.z};
}

// BEHAVIOUR I3
TEST(CoordinateFrame, TurnsEveryUnitIntoMetresWithOneRounding) {
    const auto metres = [](LengthUnit unit, double value) {
        return InputAxes(unit, UpAxis::Z).ToWorld(value, 0, 0).x;
    };
    EXPECT_EQ(metres(LengthUnit::Metre, 770500.01), 770500.01);
    EXPECT_EQ(metres(LengthUnit::Millimetre, 770500010.0), 770500.01);
    EXPECT_EQ(metres(LengthUnit::Centimetre, 77050001.0), 770500.01);
    EXPECT_EQ(metres(LengthUnit::Foot, 10), 3.048);
    EXPECT_EQ(metres(LengthUnit::UsSurveyFoot, 3937), 1200);
}

// BEHAVIOUR I4
TEST(CoordinateFrame, TurnsYUpRoundTheAxesWithoutMirroring) {
    EXPECT_EQ(Array(InputAxes(LengthUnit::Metre, UpAxis::Y).ToWorld(1, 2, 3)),
              (std::array<double, 3>{3, 1, 2}));
}

// BEHAVIOUR I1
TEST(CoordinateFrame, RoundsTheWeightedMedianToHundredsOfMetres) {
    const std::vector<WeightedPosition> medians{
        {{770'549, -149, 49}, 3}, {{770'551, -151, 1e9}, 2}, {{-1e11, 4e11, 48}, 2}};
    EXPECT_EQ(Array(ChooseOrigin(medians)), (std::array<double, 3>{770'500, -100, 0}));
    EXPECT_FALSE(std::signbit(ChooseOrigin({{{-3, -3, -3}, 1}}).x));
}

// BEHAVIOUR I2
TEST(CoordinateFrame, HasRoomForTenThousandKilometres) {
    EXPECT_TRUE(InRange({9'999'999, -9'999'999, 0}, {}));
    EXPECT_FALSE(InRange({1e7, 0, 0}, {}));
    EXPECT_FALSE(InRange({0, 0, -1e7 + 100}, {0, 0, 100}));
    EXPECT_FALSE(InRange({std::nan(""), 0, 0}, {}));
}

}  // namespace
}  // namespace orvix::importer::test
