// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/plane_from_seed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "orvix/planes/seed/project_cloud.h"
#include "orvix/planes/seed/seed_fit.h"
#include "orvix/project/project_core.h"
#include "support/scratch_folder.h"
#include "tests/planes/seed/memory_cloud.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;
using Point = SimplePointT<double>;

constexpr double kNoise = 0.003;

/// A room of 20 x 12 x 3 m, its corner at (100, 50, 2), turned by 30 degrees, every surface
/// sampled at random with noise, with a door hole in the long wall and a table in the middle.
class Room {
public:
    explicit Room(double pointsPerSquareMetre = 400) : density_(pointsPerSquareMetre) {
        wallBegin_ = points_.size();
        Surface({0, 0, 0}, {20, 0, 0}, {0, 0, 3}, {0, 1, 0}, true);
        wallEnd_ = points_.size();
        Surface({0, 0, 0}, {0, 12, 0}, {0, 0, 3}, {1, 0, 0}, false);
        Surface({20, 0, 0}, {0, 12, 0}, {0, 0, 3}, {1, 0, 0}, false);
        Surface({0, 0, 0}, {20, 0, 0}, {0, 12, 0}, {0, 0, 1}, false);
        Surface({8, 4, 0.8}, {3, 0, 0}, {0, 2, 0}, {0, 0, 1}, false);
    }

    const Points& All() const { return points_; }
    std::size_t WallPoints() const { return wallEnd_ - wallBegin_; }

    static Point Place(const Point& p) {
        const double c = std::cos(std::numbers::pi / 6), s = std::sin(std::numbers::pi / 6);
        return {100 + c * p.x - s * p.y, 50 + s * p.x + c * p.y, 2 + p.z};
    }
    /// Back in the room's own axes.
    static Point Home(const Point& p) {
        const double c = std::cos(std::numbers::pi / 6), s = std::sin(std::numbers::pi / 6);
        const double x = p.x - 100, y = p.y - 50;
        return {c * x + s * y, c * y - s * x, p.z - 2};
    }

private:
    void Surface(const Point& corner, const Point& u, const Point& v, const Point& normal,
                 bool withDoor) {
        const double area = std::hypot(u.x, u.y, u.z) * std::hypot(v.x, v.y, v.z);
        std::uniform_real_distribution<double> along(0, 1);
        std::normal_distribution<double> off(0, kNoise);
        for (int i = 0; i < static_cast<int>(area * density_); ++i) {
            const double s = along(random_), t = along(random_), n = off(random_);
            const Point p{corner.x + s * u.x + t * v.x + n * normal.x,
                          corner.y + s * u.y + t * v.y + n * normal.y,
                          corner.z + s * u.z + t * v.z + n * normal.z};
            if (withDoor && p.x > 6 && p.x < 7 && p.z < 2.1) continue;
            const Point world = Place(p);
            points_.push_back({static_cast<float>(world.x), static_cast<float>(world.y),
                               static_cast<float>(world.z)});
        }
    }

    std::mt19937 random_{7};
    double density_;
    Points points_;
    std::size_t wallBegin_ = 0;
    std::size_t wallEnd_ = 0;
};

PlaneWormSettings AliveSettings() {
    PlaneWormSettings settings(false, true, ProjectManager(), 1.0);
    settings.SetAliveSplitSize(0.4);
    settings.usage = 0;
    settings.SetUsage();
    return settings;
}

Expected<detail::SeedPlane> Grow(const Points& points, const Point& seed,
                                 const detail::SeedPlaneOptions& options = {}) {
    test::MemoryCloud cloud(points);
    return detail::GrowPlaneFromSeed(cloud, AliveSettings(), seed, options);
}

double AngleTo(const FittedPlane& plane, const Point& unit) {
    const double cosine = std::abs(plane.a() * unit.x + plane.b() * unit.y + plane.c() * unit.z);
    return std::acos(std::min(cosine, 1.0)) * 180 / std::numbers::pi;
}

const Point kWallNormal{-0.5, std::sqrt(0.75), 0};

TEST(PlaneFromSeed, CoversAWallOfTwentyMetresAndNothingOfItsNeighbours) {
    const Room room;
    const auto grown = Grow(room.All(), Room::Place({3, 0, 1.2}));
    ASSERT_TRUE(grown.has_value()) << grown.error().message;
    EXPECT_LT(AngleTo(grown->plane, kWallNormal), 0.1);
    EXPECT_NEAR(grown->rms, kNoise, 0.001);
    EXPECT_NEAR(grown->area, 57.9, 1.5) << "the door left out";
    EXPECT_EQ(grown->ended, PlaneWorm::Ended::Exhausted);
    EXPECT_FALSE(grown->splitEnlarged);
    std::size_t onWall = 0;
    for (const Point& p : grown->plane.data()) {
        const Point home = Room::Home(p);
        EXPECT_LE(std::abs(home.y), grown->maxDistanceAllowed + 0.003);
        onWall += std::abs(home.y) < 4 * kNoise && home.z > 0.01 ? 1u : 0u;
    }
    EXPECT_GT(static_cast<double>(onWall), 0.95 * static_cast<double>(room.WallPoints()));
    EXPECT_EQ(grown->points, grown->plane.data().size());
    EXPECT_LE(grown->maxDistance, grown->maxDistanceAllowed);
}

TEST(PlaneFromSeed, FitsTheSurfaceThatTheSeedLiesOnBesideAnEdge) {
    const Room room;
    const auto wall = Grow(room.All(), Room::Place({12, 0, 0.12}));
    ASSERT_TRUE(wall.has_value());
    EXPECT_LT(AngleTo(wall->plane, kWallNormal), 0.1);
    const auto floor = Grow(room.All(), Room::Place({12, 0.12, 0}));
    ASSERT_TRUE(floor.has_value());
    EXPECT_LT(AngleTo(floor->plane, {0, 0, 1}), 0.1);
    EXPECT_NEAR(floor->area, 240, 4);
    const auto table = Grow(room.All(), Room::Place({9, 5, 0.8}));
    ASSERT_TRUE(table.has_value());
    EXPECT_NEAR(table->area, 6, 0.3);
}

TEST(PlaneFromSeed, EnlargesTheCellsWhereTheirCirclesWouldHoldTooFewPoints) {
    const Room room(12);
    const auto grown = Grow(room.All(), Room::Place({10, 6, 0}));
    ASSERT_TRUE(grown.has_value());
    EXPECT_TRUE(grown->splitEnlarged);
    EXPECT_NEAR(grown->splitSize, std::sqrt(60 / (std::numbers::pi * 12)), 0.3);
    EXPECT_GT(static_cast<double>(grown->points), 0.95 * 240 * 12);
    detail::SeedPlaneOptions fixed;
    fixed.splitSize = 0.2;
    const auto small = Grow(room.All(), Room::Place({10, 6, 0}), fixed);
    EXPECT_TRUE(!small || small->splitSize == 0.2) << "a size that was asked for is taken";
}

TEST(PlaneFromSeed, KeepsWithinTheReachAndSaysSo) {
    const Room room;
    detail::SeedPlaneOptions options;
    options.reach = 2.5;
    const Point seed = Room::Place({10, 6, 0});
    const auto grown = Grow(room.All(), seed, options);
    ASSERT_TRUE(grown.has_value());
    EXPECT_EQ(grown->ended, PlaneWorm::Ended::Reach);
    EXPECT_NEAR(grown->area, std::numbers::pi * 2.5 * 2.5, 2.5);
    for (const Point& p : grown->plane.data()) {
        EXPECT_LT(std::hypot(p.x - seed.x, p.y - seed.y), 2.5 + 0.4);
    }
}

TEST(PlaneFromSeed, ThinsWhatDoesNotFitIntoMemoryAndStillCountsEveryPoint) {
    const Room room;
    const Point seed = Room::Place({10, 6, 0});
    const auto whole = Grow(room.All(), seed);
    detail::SeedPlaneOptions options;
    options.memoryLimitBytes = 160 * 40'000;
    const auto thin = Grow(room.All(), seed, options);
    ASSERT_TRUE(whole && thin);
    EXPECT_GT(thin->thinning, 2u);
    EXPECT_LT(thin->plane.data().size(), 40'000u);
    EXPECT_NEAR(static_cast<double>(thin->points), static_cast<double>(whole->points),
                0.02 * static_cast<double>(whole->points));
    EXPECT_LT(AngleTo(thin->plane, {0, 0, 1}), 0.1);
}

TEST(PlaneFromSeed, TellsHowFarTheNearestPointIs) {
    const auto far = Grow({{0, 0, 0}, {1, 0, 0}, {0, 7, 0}}, {0, 0, 3});
    ASSERT_FALSE(far.has_value());
    EXPECT_EQ(far.error().code, ErrorCode::BadInput);
    EXPECT_THAT(far.error().message, testing::HasSubstr("is 3.000 m away"));
    EXPECT_THAT(Grow({}, {}).error().message, testing::HasSubstr("no points"));
}

TEST(PlaneFromSeed, EndsInASentenceWherePointsSpanNoPlane) {
    Points line;
    for (int i = 0; i < 300; ++i) line.push_back({0.01F * static_cast<float>(i), 0, 0});
    for (const Points& points : {Points(1), Points(10), line}) {
        const auto grown = Grow(points, {});
        ASSERT_FALSE(grown.has_value());
        EXPECT_THAT(grown.error().message, testing::HasSubstr("do not span a plane"));
    }
}

TEST(PlaneFromSeed, NamesAPointThatLiesOutsideItsCell) {
    test::MemoryCloud cloud({{0.5F, 0.5F, 0.5F}, {0.6F, 0.5F, 0.5F}, {0.5F, 0.6F, 0.5F}});
    cloud.Records().front().x = -223'634.0F;
    cloud.Records().back().x = std::numeric_limits<float>::quiet_NaN();
    const auto fit = detail::FitAtSeed(cloud, {-223'634.0, 0.5, 0.5}, 1.0);
    ASSERT_FALSE(fit);
    EXPECT_EQ(fit.error().code, ErrorCode::Damaged);
    EXPECT_THAT(fit.error().message, testing::HasSubstr("(-223634.000, 0.500, 0.500)"));
}

TEST(PlaneFromSeed, GrowsOnAPerfectlyFlatCloud) {
    Points flat;
    for (int i = 0; i < 10'000; ++i) {
        flat.push_back(
            {0.05F * static_cast<float>(i % 100), 0.05F * static_cast<float>(i / 100), 7});
    }
    const auto grown = Grow(flat, {2, 2, 7});
    ASSERT_TRUE(grown.has_value());
    EXPECT_EQ(grown->points, 10'000u);
    EXPECT_LT(grown->maxDistance, 1e-9);
}

TEST(PlaneFromSeed, EndsSoonWhenCancelled) {
    const Room room;
    for (const int after : {0, 3, 40}) {
        int asked = 0;
        detail::SeedPlaneOptions options;
        options.proceed = [&] { return asked++ < after; };
        const auto grown = Grow(room.All(), Room::Place({10, 6, 0}), options);
        ASSERT_FALSE(grown.has_value());
        EXPECT_EQ(grown.error().code, ErrorCode::Cancelled);
    }
}

TEST(PlaneFromSeed, GrowsTheSamePlaneFromAProjectAsFromMemory) {
    const Room room(250);
    std::vector<CCloudPoint<float>> records;
    for (const auto& p : room.All()) {
        CCloudPoint<float> record;
        record.x = p.x, record.y = p.y, record.z = p.z;
        records.push_back(record);
    }
    test::ScratchFolder folder;
    const CString path = folder / L"room.prj";
    const auto tiny = test::MakeTinyProject(records, 0.01, {1000, 2000, 3000});
    test::WriteTinyProject(tiny, path);
    ProjectManager manager;
    ASSERT_TRUE(manager.Set(path, false));
    CProjectCore core;
    core.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts,
              manager.LASScale(manager.cloudHeader.scale), manager.grid1000cmIdx,
              manager.grid10cmIdx, manager.grid1to10cmIdx, manager.gridIdx);
    ASSERT_TRUE(core.OpenCores());
    const Point seed = Room::Place({10, 6, 0});
    {
        detail::ProjectCloud cloud(core);
        const auto grown =
            detail::GrowPlaneFromSeed(cloud, PlaneWormSettings(manager.projectFile, 1.0), seed, {});
        const auto fromMemory = Grow(room.All(), seed);
        ASSERT_TRUE(grown && fromMemory);
        EXPECT_NEAR(static_cast<double>(grown->points), static_cast<double>(fromMemory->points),
                    20);
        EXPECT_LT(AngleTo(grown->plane, {0, 0, 1}), 0.1);
        for (std::size_t i = 0; i < grown->records.size(); i += 97) {
            EXPECT_EQ(tiny.points[grown->records[i]].x,
                      static_cast<float>(grown->plane.data()[i].x));
        }
        const auto world = detail::WorldEquation(grown->plane, tiny.frame);
        EXPECT_GT(world[2], 0.999) << "a floor's normal points up";
        EXPECT_NEAR(world[3], -3002, 3.0);
        const auto& p = grown->plane.data().front();
        const auto at = tiny.frame.ToWorld(p);
        EXPECT_NEAR(std::abs(world[0] * at.x + world[1] * at.y + world[2] * at.z + world[3]), 0,
                    grown->maxDistanceAllowed + 1e-9);
    }
    core.Close();
}

TEST(PlaneFromSeed, TurnsAnEquationWithTheProjectsFrame) {
    FittedPlane plane;
    plane.set(1, 0, 0, -2, 2, 0, 0);  // x = 2
    detail::LocalToWorld frame;
    frame.m = {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1};  // a quarter turn about z
    const auto world = detail::WorldEquation(plane, frame);
    EXPECT_NEAR(world[1], 1, 1e-12);
    EXPECT_NEAR(world[3], -22, 1e-12);
}

}  // namespace
}  // namespace orvix
