// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/synthetic_room.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "support/scratch_folder.h"

namespace orvix::test {
namespace {

using detail::Dot, detail::Length;
using detail::operator-;

/// A room without anything that bends or blurs it.
RoomOptions Exact() {
    RoomOptions options;
    options.waviness = options.warp = options.relief = 0;
    options.noise = options.registration = 0;
    options.mixedPixels = false;
    options.step = 1;
    return options;
}

std::vector<ScannedPoint> Scanned(const RoomOptions& options) {
    std::vector<ScannedPoint> points;
    SyntheticRoom(options).Scan([&points](const ScannedPoint& p) { points.push_back(p); });
    return points;
}

/// The largest distance of a point from its plane.
double FurthestOff(const RoomOptions& options) {
    const SyntheticRoom room(options);
    double furthest = 0;
    room.Scan([&](const ScannedPoint& p) {
        if (p.plane < 0) return;
        const TruePlane& plane = room.Planes().at(static_cast<std::size_t>(p.plane));
        furthest = std::max(furthest, std::abs(Dot(plane.normal, p.position) + plane.offset));
    });
    return furthest;
}

std::vector<int> CountsOf(const RoomOptions& options) {
    const SyntheticRoom room(options);
    std::vector<int> counts(room.Planes().size());
    room.Scan([&](const ScannedPoint& p) {
        if (p.plane >= 0) ++counts[static_cast<std::size_t>(p.plane)];
    });
    return counts;
}

TEST(SyntheticRoom, APointLiesOnItsPlaneWhereNothingBendsOrBlurs) {
    EXPECT_LT(FurthestOff(Exact()), 1e-9);
}

TEST(SyntheticRoom, EachOptionMovesPointsOffTheirPlanesAsFarAsItSays) {
    RoomOptions wavy = Exact();
    wavy.waviness = 0.012;
    EXPECT_NEAR(FurthestOff(wavy), 0.006, 2e-4);
    RoomOptions warped = Exact();
    warped.warp = 0.01;
    EXPECT_GT(FurthestOff(warped), 0.008);
    EXPECT_LE(FurthestOff(warped), 0.01 + 1e-9);
    RoomOptions panelled = Exact();
    panelled.relief = 0.007;
    EXPECT_NEAR(FurthestOff(panelled), 0.007, 1e-9);
    RoomOptions noisy = Exact();
    noisy.noise = 0.005;
    EXPECT_GT(FurthestOff(noisy), 0.01);
    EXPECT_LE(FurthestOff(noisy), 0.03 + 1e-9);
}

TEST(SyntheticRoom, BentSurfacesStayWhereTheyAreForRaysThatHardlyMeetThem) {
    RoomOptions bent = Exact();
    bent.waviness = 0.015;
    bent.warp = 0.02;
    bent.stations = 1;
    bent.step = 0.3;
    const auto at = SyntheticRoom(bent).Stations().front().station;
    double nearest = 100;
    for (const ScannedPoint& p : Scanned(bent))
        nearest = std::min(nearest, Length(p.position - at));
    EXPECT_GT(nearest, 0.7);  // the duct, and the chair, are further
    EXPECT_LT(FurthestOff(bent), 0.0275 + 1e-6);
}

TEST(SyntheticRoom, AStationIsOffAsAWhole) {
    RoomOptions off = Exact();
    off.stations = 1;
    const auto exact = Scanned(off);
    off.registration = 0.004;
    const auto moved = Scanned(off);
    ASSERT_EQ(exact.size(), moved.size());
    const auto by = moved[0].position - exact[0].position;
    EXPECT_NEAR(Length(by), 0.004, 1e-9);
    for (std::size_t i = 0; i < exact.size(); ++i)
        ASSERT_LT(Length(moved[i].position - exact[i].position - by), 1e-12);
}

TEST(SyntheticRoom, ShowsPlanesOfAllSizes) {
    RoomOptions options;
    options.step = 0.5;
    const SyntheticRoom room(options);
    const std::vector<int> counts = CountsOf(options);
    int small = 0, large = 0, seen = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        EXPECT_GE(room.Planes()[i].area, 0.02);
        if (counts[i] < 30) continue;
        ++seen;
        small += room.Planes()[i].area < 0.25 ? 1 : 0;
        large += room.Planes()[i].area > 4 ? 1 : 0;
    }
    EXPECT_GE(seen, 40);
    EXPECT_GE(small, 12);
    EXPECT_GE(large, 8);
}

TEST(SyntheticRoom, LeavesOutWhatIsNotAskedFor) {
    const std::size_t all = SyntheticRoom(RoomOptions{}).Planes().size();
    RoomOptions plain;
    plain.skirting = 0;
    const std::size_t bare = SyntheticRoom(plain).Planes().size();
    plain.furniture = false;
    const std::size_t empty = SyntheticRoom(plain).Planes().size();
    plain.frames = false;
    EXPECT_LT(bare, all);
    EXPECT_LT(empty, bare);
    EXPECT_EQ(SyntheticRoom(plain).Planes().size() + 3, empty);  // two casings and the window's
    for (const ScannedPoint& p : Scanned(Exact())) {
        if (p.plane == kNoPlane) return;  // the lamp and the plants
    }
    FAIL() << "nothing is round";
}

TEST(SyntheticRoom, TheGlassDecidesWhatComesBackFromThePane) {
    const auto beyond = [](double glass) {
        RoomOptions options = Exact();
        options.glass = glass;
        int count = 0;
        for (const ScannedPoint& p : Scanned(options))
            if (p.position.y > 4.2) count += p.plane == kUnjudgedPlane ? 1 : 1000000;
        return count;
    };
    EXPECT_EQ(beyond(0), 0);
    EXPECT_GT(beyond(0.9), 30);
}

TEST(SyntheticRoom, GivesTheSameBytesEverywhere) {
    RoomOptions options;
    options.step = 3;
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    const auto take = [&hash](const void* bytes, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            hash = (hash ^ static_cast<const std::uint8_t*>(bytes)[i]) * 0x100000001B3ULL;
    };
    for (const ScannedPoint& p : Scanned(options)) {
        take(&p.position, sizeof p.position);
        take(&p.plane, sizeof p.plane);
    }
    EXPECT_EQ(hash, 0x488DEA253158DD2DULL);
}

TEST(WritePtx, HoldsEveryDirectionAndTheTruthAsColours) {
    RoomOptions options;
    options.step = 3;
    const SyntheticRoom room(options);
    ScratchFolder folder;
    WritePtx(room, folder / L"room.ptx");
    std::ifstream file(platform::ToUtf8(folder / L"room.ptx"));
    std::vector<ScannedPoint> expected = Scanned(options), read;
    for (const RayOptions& station : room.Stations()) {
        int columns = 0, rows = 0;
        file >> columns >> rows;
        ASSERT_EQ(columns, 120);
        ASSERT_EQ(rows, 50);
        double at[3] = {}, skipped = 0;
        for (double& coordinate : at) file >> coordinate;
        EXPECT_NEAR(at[0], station.station.x, 0.01);
        for (int i = 0; i < 9 + 16; ++i) file >> skipped;
        for (int i = 0; i < columns * rows; ++i) {
            double x = 0, y = 0, z = 0;
            int red = 0, green = 0, blue = 0;
            file >> x >> y >> z >> skipped >> red >> green >> blue;
            if (x == 0 && y == 0 && z == 0) continue;
            read.push_back(
                {{x + at[0], y + at[1], z + at[2]},
                 PlaneOfColour(static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                               static_cast<std::uint8_t>(blue))});
        }
    }
    ASSERT_TRUE(file.good());
    ASSERT_EQ(read.size(), expected.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        ASSERT_EQ(read[i].plane, expected[i].plane);
        ASSERT_LT(Length(read[i].position - expected[i].position), 3e-5);
    }
}

}  // namespace
}  // namespace orvix::test
