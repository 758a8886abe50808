// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/revit_amp.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;
using Lists = std::vector<std::span<const std::uint64_t>>;

SectionPoints Of(const Points& points) {
    return SectionPoints::Of(std::span<const SimplePointT<float>>(points));
}

const float kNaN = std::numeric_limits<float>::quiet_NaN();

// In, behind, before, outside, no position.
const Points kFive{{0, 0.05F, 0}, {0, 0.06F, 0}, {0, -2, 0}, {5, 0, 0}, {0, kNaN, 0}};

RevitAMP FiveChecked() {
    RevitAMP section;
    EXPECT_TRUE(section.SetSlab({.halfThickness = 0.05, .xHigh = 4}));
    EXPECT_TRUE(section.SetPoints(Of(kFive)));
    return section;
}

TEST(RevitAMP, ClassesAreInTheOrderOfThePointsAndBoundariesBelongToTheSlab) {
    RevitAMP section = FiveChecked();
    std::vector<SectionClass> classes(5);
    SectionCounts counts;
    ASSERT_TRUE(section.CheckPlaneXZ(classes, &counts));
    EXPECT_EQ(classes, (std::vector<SectionClass>{SectionClass::In, SectionClass::Behind,
                                                  SectionClass::Before, SectionClass::Outside,
                                                  SectionClass::NoPosition}));
    EXPECT_EQ(counts, (SectionCounts{1, 1, 1, 1, 1}));
    classes.pop_back();
    EXPECT_FALSE(section.CheckPlaneXZ(classes));
}

// BEHAVIOUR V7
TEST(RevitAMP, ListsNameThePointsOfEveryCallInTheirOrder) {
    RevitAMP section = FiveChecked();
    const std::vector<std::uint64_t> first{2, 0, 2};
    const std::vector<std::uint64_t> second{4, 0};
    const std::vector<std::uint64_t> beyond{5};
    ASSERT_TRUE(section.SetIndexLists(Lists{first, {}, second}));
    EXPECT_FALSE(section.SetIndexLists(Lists{beyond})) << "the lists of before stay";
    ASSERT_EQ(section.Count(), 5u);
    std::vector<SectionClass> classes(5);
    ASSERT_TRUE(section.CheckPlaneXZ(classes));
    EXPECT_EQ(classes, (std::vector<SectionClass>{SectionClass::Before, SectionClass::In,
                                                  SectionClass::Before, SectionClass::NoPosition,
                                                  SectionClass::In}));
    std::vector<std::uint64_t> indices{7};
    ASSERT_TRUE(section.CheckPlaneXZ(SectionClass::Before, indices));
    EXPECT_EQ(indices, (std::vector<std::uint64_t>{7, 2, 2}));
    ASSERT_TRUE(section.CheckPlaneXZ(SectionClass::In, indices));
    EXPECT_EQ(indices, (std::vector<std::uint64_t>{7, 2, 2, 0, 0}));
    EXPECT_FALSE(section.CheckPlaneXZ(SectionClass{8}, indices));
    section.ClearIndexLists();
    EXPECT_EQ(section.Count(), 5u);
    SectionCounts counts;
    ASSERT_TRUE(section.CheckPlaneXZ(counts));
    EXPECT_EQ(counts.Total(), 5u);
}

TEST(RevitAMP, ColoursOnlyThePointsThatACallSpeaksOf) {
    RevitAMP section = FiveChecked();
    const SectionColour old{1, 2, 3, 4};
    const SectionColour red{255, 0, 0};
    const SectionColour green{0, 255, 0};
    std::vector<SectionColour> colours(5, old);
    ASSERT_TRUE(section.CheckPlaneXZ_ColorIn(red, colours));
    EXPECT_EQ(colours, (std::vector<SectionColour>{red, old, old, old, old}));
    ASSERT_TRUE(section.CheckPlaneXZ_ColorSeparate(green, {0, 0, 255}, colours));
    EXPECT_EQ(colours, (std::vector<SectionColour>{red, {0, 0, 255}, green, old, old}));

    const std::vector<SectionColour> four{{10}, {20}, {30}, {40}};
    ASSERT_TRUE(section.CheckPlaneXZ_ColorPlane({-0.1, 0.1, four}, colours));
    EXPECT_EQ(colours, (std::vector<SectionColour>{{40}, {40}, {10}, old, old}));
    std::vector<SectionColour> few(4);
    EXPECT_FALSE(section.CheckPlaneXZ_ColorPlane({-0.1, 0.1, four}, few));
    EXPECT_FALSE(section.CheckPlaneXZ_ColorPlane({0.1, 0.1, four}, colours));
    EXPECT_FALSE(section.CheckPlaneXZ_ColorPlane({0, 0.1, std::span(four).first(1)}, colours));
}

TEST(RevitAMP, TakesOnlyWhatMakesSense) {
    RevitAMP section;
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_TRUE(section.SetTransformation(matrix));
    matrix[12] = 0.1;
    EXPECT_FALSE(section.SetTransformation(matrix)) << "not affine";
    matrix[12] = 0;
    matrix[3] = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(section.SetTransformation(matrix));
    EXPECT_FALSE(section.SetSlab({.halfThickness = -1}));
    EXPECT_FALSE(section.SetSlab({.xLow = std::nan("")}));
    EXPECT_FALSE(section.SetOrigin({std::nan(""), 0, 0}));
    EXPECT_FALSE(section.SetPlane({0, 0, 0}, {0, 0, 0}));
    EXPECT_FALSE(section.SetPlane({1.7e308, -1.7e308, 0}, {1, -1, 0})) << "too far for its numbers";
    EXPECT_FALSE(section.SetPoints({kFive.data(), 5, 8}));
    EXPECT_FALSE(section.SetPoints({kFive.data(), 5, 14}));
    EXPECT_FALSE(section.SetPoints({nullptr, 5, 12}));
    EXPECT_TRUE(section.SetPoints({nullptr, 0, 12}));
    std::vector<SectionClass> none;
    EXPECT_TRUE(section.CheckPlaneXZ(none));
    EXPECT_EQ(section.Device(), "processor");
}

// BEHAVIOUR V10
// Seven-digit eastings: 1 mm is below the resolution of a float there, and must not be lost.
TEST(RevitAMP, NothingLargePassesThroughAFloat) {
    RevitAMP section;
    ASSERT_TRUE(section.SetOrigin({4'500'000, 5'400'000, 300}));
    ASSERT_TRUE(section.SetPlane({4'500'001.25, 5'400'002.5, 301}, {0, -1, 0}));
    ASSERT_TRUE(section.SetSlab({.halfThickness = 0.0005}));
    const Points points{{0, 2.5004F, 0}, {0, 2.5006F, 0}, {9, 2.4996F, 9}, {0, 2.4994F, 0}};
    ASSERT_TRUE(section.SetPoints(Of(points)));
    std::vector<SectionClass> classes(4);
    ASSERT_TRUE(section.CheckPlaneXZ(classes));
    EXPECT_EQ(classes, (std::vector<SectionClass>{SectionClass::In, SectionClass::Behind,
                                                  SectionClass::In, SectionClass::Before}));
}

// BEHAVIOUR V11
TEST(RevitAMP, TheFrameOfAPlaneIsRightHandedAndUprightAndItsNormalLooksAtTheViewer) {
    const std::vector<SimplePointT<double>> normals{
        {0, -1, 0}, {0, 0, 1}, {0, 0, -3}, {2, 1, 0.5}, {-1e-12, 1e-11, 5}, {1e200, 1e200, 1e190}};
    for (const auto& n : normals) {
        RevitAMP section;
        ASSERT_TRUE(section.SetPlane({1, 2, 3}, n));
        std::array<double, 16> m{};
        section.GetTransformation(m);
        const auto dot = [&](int a, int b) {
            return m[4 * a] * m[4 * b] + m[4 * a + 1] * m[4 * b + 1] + m[4 * a + 2] * m[4 * b + 2];
        };
        for (int a = 0; a < 3; ++a) {
            for (int b = 0; b < 3; ++b) EXPECT_NEAR(dot(a, b), a == b ? 1 : 0, 1e-14);
            EXPECT_NEAR(m[4 * a] + 2 * m[4 * a + 1] + 3 * m[4 * a + 2] + m[4 * a + 3], 0, 1e-14);
        }
        EXPECT_NEAR(m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
                        m[2] * (m[4] * m[9] - m[5] * m[8]),
                    1, 1e-14);
        EXPECT_LT(m[4] * (n.x / 1e10) + m[5] * (n.y / 1e10) + m[6] * (n.z / 1e10), 0);
        EXPECT_GE(m[10], -1e-9) << "z points upward, or lies level";
    }
    RevitAMP plan;
    ASSERT_TRUE(plan.SetPlane({0, 0, 0}, {0, 0, 1}));
    std::array<double, 16> m{};
    plan.GetTransformation(m);
    EXPECT_EQ(m[0], 1) << "seen from above, x is to the right";
    EXPECT_EQ(m[9], 1) << "and y upward";
}

TEST(RevitAMP, AnObjectMovesWithItsPoints) {
    RevitAMP section = FiveChecked();
    RevitAMP other = std::move(section);
    EXPECT_EQ(other.Count(), 5u);
    other.Release();
    EXPECT_EQ(other.Count(), 0u);
}

}  // namespace
}  // namespace orvix
