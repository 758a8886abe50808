// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "building/find_building.h"
#include "detection/plane_set.h"
#include "support/dice.h"
#include "tests/building/found_house.h"
#include "tests/detection/opened_project.h"

namespace orvix::building {
namespace {

using testing::HasSubstr;
using Points = std::vector<CCloudPoint<float>>;

CCloudPoint<float> PointAt(double x, double y, double z, std::uint16_t station = 0) {
    CCloudPoint<float> point;
    point.x = static_cast<float>(x);
    point.y = static_cast<float>(y);
    point.z = static_cast<float>(z);
    point.attributes[6] = static_cast<std::uint8_t>(station & 255);
    point.attributes[7] = static_cast<std::uint8_t>(station >> 8);
    return point;
}

/// The inside of a room of 4 by 3 by 2.5 m, 4 cm between points; of each one the station as `number`
/// says.
Points RoomInside(const std::function<std::uint16_t(std::size_t)>& number) {
    constexpr double kStep = 0.04;
    Points points;
    std::uint64_t state = 3;
    test::Dice dice(state);
    const auto add = [&](double x, double y, double z) {
        const auto loose = [&] { return 0.004 * (dice.Share() - 0.5); };
        points.push_back(PointAt(x + loose(), y + loose(), z + loose(), number(points.size())));
    };
    for (double x = 0; x <= 4; x += kStep)
        for (double y = 0; y <= 3; y += kStep) add(x, y, 0), add(x, y, 2.5);
    for (double z = 0; z <= 2.5; z += kStep) {
        for (double x = 0; x <= 4; x += kStep) add(x, 0, z), add(x, 3, z);
        for (double y = 0; y <= 3; y += kStep) add(0, y, z), add(4, y, z);
    }
    return points;
}

/// A project of points, searched.
class OddScan {
public:
    explicit OddScan(const Points& points)
        : path_(Write(folder_, points)), opened_(path_), search_(opened_.Search()) {}

    [[nodiscard]] Building Find(const std::vector<ScanStation>& stations, unsigned threads = 2) {
        if (!search_) return {};
        const detection::SearchedPlanes planes(opened_.Core(), *search_);
        BuildingOptions options;
        options.stations = stations;
        options.threads = threads;
        auto found = FindBuilding(opened_.Core(), planes, options);
        EXPECT_TRUE(found) << found.error().message;
        return found ? std::move(*found) : Building{};
    }

private:
    static CString Write(const test::ScratchFolder& folder, const Points& points) {
        const CString path = folder / L"odd.prj";
        test::WriteTinyProject(test::MakeTinyProject(points), path);
        return path;
    }

    test::ScratchFolder folder_;
    CString path_;
    detection::Opened opened_;
    std::unique_ptr<detection::PlaneSearch> search_;
};

void ExpectNothing(const Building& found) {
    EXPECT_TRUE(found.storeys.empty());
    EXPECT_TRUE(found.walls.empty());
    EXPECT_TRUE(found.rooms.empty());
    EXPECT_TRUE(found.slabs.empty());
    EXPECT_THAT(found.remarks, testing::Contains(HasSubstr("no storeys")));
}

TEST(OddScans, APointAloneIsNoBuilding) {
    OddScan scan({PointAt(1, 2, 3)});
    ExpectNothing(scan.Find({}));
    ExpectNothing(scan.Find({{0, {1, 2, 3}}}));
    ExpectNothing(scan.Find({{0, {0, 0, 0}}, {65535, {1e7, -1e7, 1e7}}}));
}

TEST(OddScans, OnePlaneAloneIsNoBuilding) {
    for (const bool level : {true, false}) {
        Points points;
        for (double a = 0; a < 6; a += 0.03)
            for (double b = 0; b < 3; b += 0.03)
                points.push_back(level ? PointAt(a, b, 0) : PointAt(a, 0, b));
        OddScan scan(points);
        const Building found = scan.Find({{0, {3, 1.5, 1.5}}});
        EXPECT_TRUE(found.rooms.empty());
        EXPECT_FALSE(found.remarks.empty());
        if (!level) ExpectNothing(found);
    }
}

TEST(OddScans, PointsInAirAreNoBuilding) {
    std::uint64_t state = 11;
    test::Dice dice(state);
    Points points;
    for (int i = 0; i < 20'000; ++i)
        points.push_back(PointAt(10 * dice.Share(), 10 * dice.Share(), 4 * dice.Share(),
                                 static_cast<std::uint16_t>(i % 3)));
    OddScan scan(points);
    EXPECT_TRUE(scan.Find({{0, {5, 5, 1.5}}, {2, {2, 2, 1.5}}}).rooms.empty());
}

void ExpectTheRoom(const Building& found) {
    ASSERT_EQ(found.rooms.size(), 1U);
    EXPECT_NEAR(found.rooms[0].area.value, 12, 0.1);
    EXPECT_NEAR(found.rooms[0].height.value, 2.5, 0.01);
    EXPECT_EQ(found.walls.size(), 4U);
}

TEST(OddScans, AStationOnOneOfItsPointsSeesItsRoom) {
    Points points = RoomInside([](std::size_t) { return std::uint16_t{0}; });
    points.push_back(PointAt(2, 1.5, 1.5));
    OddScan scan(points);
    ExpectTheRoom(scan.Find({{0, {2, 1.5, 1.5}}}));
}

// In a wall, on a corner, under the floor: what it looks like from there is odd, and no harm.
TEST(OddScans, AStationMayStandAnywhere) {
    OddScan scan(RoomInside([](std::size_t) { return std::uint16_t{0}; }));
    for (const SimplePointT<double>& place :
         {SimplePointT<double>{0, 1.5, 1.2}, {0, 0, 0}, {2, 1.5, -8}, {2, 1.5, 2.5}, {1e9, 0, 1}}) {
        const Building found = scan.Find({{0, place}});
        for (const Wall& wall : found.walls) {
            EXPECT_TRUE(std::isfinite(wall.axis[0].x) && std::isfinite(wall.axis[1].y));
            EXPECT_GE(wall.top, wall.base);
        }
    }
}

TEST(OddScans, NumbersOfStationsThatNobodyPlacedAreNotAsked) {
    OddScan scan(RoomInside([](std::size_t i) {
        return static_cast<std::uint16_t>(i % 7 == 0 ? 65535 : i % 11 == 0 ? 4711 : 3);
    }));
    const Building found = scan.Find({{3, {2, 1.5, 1.5}}});
    ExpectTheRoom(found);
    for (const Room& room : found.rooms) EXPECT_THAT(room.evidence.stations, testing::Each(3U));
    ExpectTheRoom(scan.Find({{3, {2, 1.5, 1.5}}, {65535, {1.5, 1.2, 1.4}}}));
    // The only stations with a place have no points.
    const Building blind = scan.Find({{0, {2, 1.5, 1.5}}, {1, {1, 1, 1}}});
    for (const Wall& wall : blind.walls) EXPECT_TRUE(wall.evidence.stations.empty());
}

// Up to the largest number that points can name: pictures grow small, and what comes of it is the
// same on every number of threads.
TEST(OddScans, ManyStationsUpToTheLargestNumberFit) {
    OddScan scan(RoomInside([](std::size_t i) { return static_cast<std::uint16_t>(i); }));
    std::vector<ScanStation> stations;
    for (int number = 0; number < 16; ++number)
        stations.push_back({static_cast<std::uint16_t>(number * 4096 + 4095),
                            {1 + 0.1 * number, 1.5, 1 + 0.08 * number}});
    EXPECT_EQ(FingerprintOf(scan.Find(stations, 1)), FingerprintOf(scan.Find(stations, 3)));
}

}  // namespace
}  // namespace orvix::building
