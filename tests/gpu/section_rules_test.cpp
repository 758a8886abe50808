// SPDX-License-Identifier: GPL-3.0-or-later
// The examples of docs/BEHAVIOUR.md, with their numbers.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "orvix/gpu/revit_amp.h"
#include "orvix/gpu/section_devices.h"
#include "orvix/platform/system.h"
#include "orvix/platform/text.h"

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;

std::vector<SectionClass> ClassesOf(RevitAMP& section, const Points& points) {
    EXPECT_TRUE(section.SetPoints(SectionPoints::Of(std::span<const SimplePointT<float>>(points))));
    std::vector<SectionClass> classes(points.size());
    EXPECT_TRUE(section.CheckPlaneXZ(classes));
    return classes;
}

std::uint64_t Snapped(const Points& points, const PickingRay& ray) {
    RevitAMP section;
    EXPECT_TRUE(section.SetPoints(SectionPoints::Of(std::span<const SimplePointT<float>>(points))));
    SnappedPoint found;
    EXPECT_TRUE(section.Snap(std::span(&ray, 1), {&found, 1}));
    return found.index;
}

// BEHAVIOUR V1
TEST(SectionRules, EachOperationIsRoundedToSinglePrecision) {
    // 3 * 0.1F is 0.3000000045, more than 0.3, and rounds to the float next to 0.3.
    RevitAMP section;
    ASSERT_TRUE(section.SetTransformation(
        std::array<double, 16>{1, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    ASSERT_TRUE(section.SetSlab({.halfThickness = 0.3}));
    EXPECT_EQ(ClassesOf(section, {{0, 0.1F, 0}}).front(), SectionClass::In);
    // The products' own roundings count: 0.1F * 10 is 1, which a fused operation takes 1.5e-8 off.
    ASSERT_TRUE(section.SetTransformation(
        std::array<double, 16>{1, 0, 0, 0, 0, 10, 0, -1, 0, 0, 1, 0, 0, 0, 0, 1}));
    ASSERT_TRUE(section.SetSlab({.halfThickness = 0}));
    EXPECT_EQ(ClassesOf(section, {{0, 0.1F, 0}}).front(), SectionClass::In);
}

// BEHAVIOUR V2, V3
TEST(SectionRules, BoundariesBelongToTheSlabAndBoundsGoBeforeIt) {
    RevitAMP section;
    ASSERT_TRUE(section.SetSlab({.halfThickness = 0.05, .xHigh = 4}));
    const float next = std::nextafter(0.05F, 1.0F);
    EXPECT_EQ(ClassesOf(section, {{0, 0.05F, 0},
                                  {0, next, 0},
                                  {0, -next, 0},
                                  {4, 0, 0},
                                  {std::nextafter(4.0F, 5.0F), 0, 0},
                                  {5, 7, 0}}),
              (std::vector<SectionClass>{SectionClass::In, SectionClass::Behind,
                                         SectionClass::Before, SectionClass::In,
                                         SectionClass::Outside, SectionClass::Outside}));
}

// BEHAVIOUR V4
TEST(SectionRules, APointThatLosesItsPositionOnTheWayHasNone) {
    RevitAMP section;
    ASSERT_TRUE(section.SetTransformation(
        std::array<double, 16>{2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    ASSERT_TRUE(section.SetSlab({.halfThickness = 1}));
    EXPECT_EQ(ClassesOf(section, {{3e38F, 0, 0}, {1e38F, 0, 0}}),
              (std::vector<SectionClass>{SectionClass::NoPosition, SectionClass::In}));
}

// BEHAVIOUR V5
TEST(SectionRules, ARampEndsWithItsLastColour) {
    const std::array<SectionColour, 4> ramp{SectionColour{10}, {20}, {30}, {40}};
    const Points points{{0, -9, 0}, {0, -0.1F, 0}, {0, -0.01F, 0},
                        {0, 0, 0},  {0, 0.1F, 0},  {0, 9, 0}};
    RevitAMP section;
    ASSERT_TRUE(section.SetPoints(SectionPoints::Of(std::span<const SimplePointT<float>>(points))));
    std::vector<SectionColour> colours(points.size());
    ASSERT_TRUE(section.CheckPlaneXZ_ColorPlane({-0.1, 0.1, ramp}, colours));
    EXPECT_EQ(colours, (std::vector<SectionColour>{{10}, {10}, {20}, {30}, {40}, {40}}));
}

// BEHAVIOUR V6
TEST(SectionRules, TheFirstPointAlongARayWinsNotTheNearestToIt) {
    PickingRay ray{{0, 0, 0}, {0, 2, 0}, 0.125, 0};
    EXPECT_EQ(Snapped({{0, 5, 0}, {0.125F, 4.5F, 0}}, ray), 1u) << "on the rim, and before";
    EXPECT_EQ(Snapped({{0, 5, 0}, {0.126F, 4.5F, 0}}, ray), 0u);
    EXPECT_EQ(Snapped({{0, -1, 0}, {0, 0, 0.1F}}, ray), 1u) << "behind the eye is nothing";
    EXPECT_EQ(Snapped({{0, 6, 0}, {0.1F, 5, 0}, {0, 5, 0}}, ray), 1u) << "ties: the lower index";
    ray.radius = 0;
    ray.tangent = 0.03125;
    EXPECT_EQ(Snapped({{0.125F, 3.75F, 0}, {0.125F, 4, 0}}, ray), 1u);
}

// Run once more with each value of the variable.
// BEHAVIOUR V8
TEST(SectionWish, TheEnvironmentDecidesWhereTheOptionLeavesItOpen) {
    const std::string said = platform::ToUtf8(platform::EnvironmentVariable("ORVIX_GPU"));
    const bool isDevice = said == "gpu" || said == "opencl" || said == "direct3d";
    EXPECT_EQ(detail::WishOf(SectionDevice::Auto).device, said == "cpu" ? SectionDevice::Cpu
                                                          : isDevice    ? SectionDevice::Gpu
                                                                        : SectionDevice::Auto);
    for (const auto option : {SectionDevice::Auto, SectionDevice::Cpu, SectionDevice::Gpu}) {
        const detail::DeviceWish wish = detail::WishOf(option);
        EXPECT_TRUE(option == SectionDevice::Auto || wish.device == option);
        EXPECT_EQ(wish.openCl, said != "direct3d");
        EXPECT_EQ(wish.direct3d, said != "opencl");
    }
}

}  // namespace
}  // namespace orvix
