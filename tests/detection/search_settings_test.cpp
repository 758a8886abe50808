// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/search_settings.h"

#include <gtest/gtest.h>

namespace orvix::detection {
namespace {

PlaneSearchSettings SettingsOf(const PlaneSearchOptions& options, double extent) {
    CloudEstimate cloud;
    cloud.noise = 0.002;
    cloud.spacing = 0.03;
    cloud.extent = extent;
    return SettingsFor(options, 0.1, cloud);
}

// BEHAVIOUR A16
TEST(SettingsFor, LetsTheLeastAreaGrowWithTheGroundThatIsScanned) {
    const double inRoom = SettingsOf({}, 8).minArea;
    EXPECT_DOUBLE_EQ(SettingsOf({}, 50).minArea, inRoom);
    EXPECT_DOUBLE_EQ(SettingsOf({}, 100).minArea, 4 * inRoom);
    EXPECT_DOUBLE_EQ(SettingsOf({}, 1000).minArea, 0.25);
}

// BEHAVIOUR A16
TEST(SettingsFor, TakesWhatIsAskedForBeforeWhatTheDetailWouldChoose) {
    for (const Detail detail : {Detail::Fine, Detail::Normal, Detail::Coarse}) {
        PlaneSearchOptions options;
        options.detail = detail;
        options.minArea = 0.7;
        options.minPoints = 11;
        options.bridge = 0;
        const PlaneSearchSettings settings = SettingsOf(options, 8);
        EXPECT_EQ(settings.minArea, 0.7);
        EXPECT_EQ(settings.minPoints, 11);
        EXPECT_EQ(settings.bridge, 0);
    }
}

// BEHAVIOUR A2
TEST(SettingsFor, LetsTheDistanceFollowTheNoiseOfScannersMoreThanRelief) {
    const auto distanceAt = [](double noise) {
        CloudEstimate cloud;
        cloud.noise = noise;
        return SettingsFor({}, 0.1, cloud).distance;
    };
    EXPECT_DOUBLE_EQ(distanceAt(0), 0.005);
    EXPECT_DOUBLE_EQ(distanceAt(0.001), 0.005);
    EXPECT_DOUBLE_EQ(distanceAt(0.002), 0.008);
    EXPECT_DOUBLE_EQ(distanceAt(0.008), 0.032);
    EXPECT_DOUBLE_EQ(distanceAt(0.018), 0.057);
}

// BEHAVIOUR A2
TEST(LimitsFor, HoldsEveryRegionToADistanceThatIsAskedFor) {
    PlaneSearchOptions options;
    EXPECT_FALSE(LimitsFor(options, SettingsOf(options, 8)).fixed);
    options.distance = 0.02;
    const GrowthLimits limits = LimitsFor(options, SettingsOf(options, 8));
    EXPECT_TRUE(limits.fixed);
    EXPECT_EQ(limits.distance, 0.02);
    Region rough;
    rough.scatter = 0.03 * 0.03 * 100;
    rough.scattered = 100;
    EXPECT_EQ(TightDistance(rough, limits), 0.02);
    EXPECT_EQ(MaxWave(10, limits), 0);
}

}  // namespace
}  // namespace orvix::detection
