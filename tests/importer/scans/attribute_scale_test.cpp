// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/attribute_scale.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace orvix::importer::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Scaled {
    std::vector<int> values;
    std::string warning;
};

Scaled Scale(const std::vector<float>& intensities) {
    AttributeRange range;
    for (const float value : intensities) {
        ScanPoint point;
        point.intensity = value;
        AttributeRange one;
        one.Add(point);
        range.Join(one);
    }
    const AttributeScale scale({}, range);
    Scaled scaled{{}, scale.Warning()};
    for (const float value : intensities) scaled.values.push_back(scale.Intensity(value));
    return scaled;
}

// BEHAVIOUR I8
TEST(AttributeScale, KeepsWholeIntensitiesThatFit) {
    EXPECT_THAT(Scale({0, 1, 65535}).values, ElementsAre(0, 1, 65535));
    EXPECT_THAT(Scale({0, 1}).values, ElementsAre(0, 1));
}

// BEHAVIOUR I8
TEST(AttributeScale, SpreadsFractionsOfOneOverTheWholeRange) {
    EXPECT_THAT(Scale({0, 0.5f, 1}).values, ElementsAre(0, 32768, 65535));
}

// BEHAVIOUR I8
TEST(AttributeScale, LiftsTheScaleThatStartsAtMinus2048) {
    EXPECT_THAT(Scale({-2048, -1, 2047}).values, ElementsAre(0, 2047, 4095));
    EXPECT_THAT(Scale({-2048, 0.5f}).values, ElementsAre(0, 2049));
}

// BEHAVIOUR I8
TEST(AttributeScale, CutsEverythingElseWithAWarning) {
    for (const auto& values :
         {std::vector<float>{-2049, 5}, {0.5f, 70000}, {-0.5f, 0.5f}, {-1, 65000}, {0.25f, 300}}) {
        EXPECT_THAT(Scale(values).warning, HasSubstr("no known scale"));
    }
    EXPECT_THAT(Scale({-2049, 0.5f, 1e9f}).values, ElementsAre(0, 1, 65535));
    EXPECT_THAT(Scale({0, 7}).warning, IsEmpty());
}

TEST(AttributeScale, GivesValuesThatAreNoNumberZeroAndNoSayInTheRange) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(Scale({nan, 0.25f, infinity}).values, ElementsAre(0, 16384, 0));
    EXPECT_THAT(Scale({nan}).values, ElementsAre(0));
}

TEST(AttributeScale, TakesTheHighByteOfWideColours) {
    const auto colour = [](std::optional<int> bits, std::uint16_t largest, std::uint16_t value) {
        ScanInfo info;
        info.colourBits = bits;
        AttributeRange range;
        range.maxColour = largest;
        return int{AttributeScale(info, range).Colour(value)};
    };
    EXPECT_EQ(colour({}, 255, 200), 200);
    EXPECT_EQ(colour({}, 256, 200), 0);
    EXPECT_EQ(colour({}, 65535, 0xAB12), 0xAB);
    EXPECT_EQ(colour(16, 200, 0x01FF), 1);
    EXPECT_EQ(colour(8, 300, 300), 255);
}

}  // namespace
}  // namespace orvix::importer::test
