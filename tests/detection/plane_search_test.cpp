// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>

#include "detection/growth/cell_map.h"
#include "orvix/geometry/vector.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"
#include "tests/detection/opened_project.h"
#include "tests/detection/searched_building.h"
#include "tests/support/tiny_project.h"

namespace orvix::detection {
namespace {

using detail::Dot, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;
using test::BuildingOptions;
using test::SyntheticBuilding;

/// Of the true planes of some size, the share that was found: as steep, as far away, and held by
/// most of its points.
double ShareFound(Opened& project, const PlaneSearch& search, const SyntheticBuilding& building,
                  double degrees, double metres) {
    std::map<std::pair<int, int>, std::size_t> shared;
    std::map<int, std::size_t> counts;
    const auto reader = project.Core().CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        EXPECT_TRUE(search.ReadChunk(*reader, chunk, [&](const PlanePoints& block) {
            for (std::size_t i = 0; i < block.points.size(); ++i) {
                std::uint16_t truth = 0;
                std::memcpy(&truth, block.points[i].attributes.data(), sizeof truth);
                if (truth == 0) continue;
                ++counts[truth - 1];
                ++shared[{truth - 1, block.planes[i]}];
            }
        }));
    double asked = 0, found = 0;
    for (std::size_t i = 0; i < building.Planes().size(); ++i) {
        const auto& truth = building.Planes()[i];
        if (truth.area < 4) continue;
        ++asked;
        for (std::size_t j = 0; j < search.Planes().size(); ++j) {
            const auto both = shared.find({static_cast<int>(i), static_cast<int>(j)});
            if (both == shared.end() || both->second * 4 < counts[static_cast<int>(i)] * 3)
                continue;
            const FoundPlane& plane = search.Planes()[j];
            const double cosine = std::abs(Dot(plane.normal, truth.normal));
            const double away = Dot(truth.normal, plane.centre + project.Origin()) + truth.offset;
            if (cosine >= std::cos(degrees * 3.14159265 / 180) && std::abs(away) <= metres) ++found;
        }
    }
    return found / asked;
}

// BEHAVIOUR A3
TEST(PlaneSearch, FindsTheKnownPlanesOfABuilding) {
    const test::ScratchFolder folder;
    const SyntheticBuilding building({.points = 400'000});
    Opened project(ImportBuilding(folder, building));
    const auto search = project.Search();
    EXPECT_GE(ShareFound(project, *search, building, 0.2, 0.002), 0.97);
    EXPECT_GT(search->AssignedPoints(), search->Points() * 9 / 10);
    EXPECT_NEAR(search->Settings().noise, 0.003, 0.0006);
}

TEST(PlaneSearch, FindsThemTurnedAndMovedFarAway) {
    const test::ScratchFolder folder;
    const SyntheticBuilding building(
        {.points = 400'000, .bearing = 31, .tilt = 17, .shift = {770'000, 6'277'000, 120}});
    Opened project(ImportBuilding(folder, building));
    const auto search = project.Search();
    EXPECT_GE(ShareFound(project, *search, building, 0.2, 0.002), 0.95);
}

TEST(PlaneSearch, FindsThemUnderNoiseAndOutliers) {
    const test::ScratchFolder folder;
    const SyntheticBuilding building({.points = 400'000, .noise = 0.01, .outlierShare = 0.02});
    Opened project(ImportBuilding(folder, building));
    const auto search = project.Search();
    EXPECT_GE(ShareFound(project, *search, building, 0.4, 0.006), 0.93);
}

TEST(PlaneSearch, ChoosesCellsByTheScanAndNotByItsStrays) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> side(0, 3);
    std::vector<Vector> points;
    for (int i = 0; i < 90'000; ++i) points.push_back({side(random), side(random), 0.55});
    for (int i = 0; i < 9'000; ++i) points.push_back({side(random), side(random), side(random)});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    EXPECT_EQ(project.Search()->Settings().cellSize, 0.1);
}

TEST(PlaneSearch, ChoosesCellsThatHoldSeveralOfAScannersLines) {
    std::vector<Vector> points;
    for (int line = 0; line < 30; ++line)
        for (int i = 0; i < 600; ++i) points.push_back({0.01 * i, 0.24 * line, 1.2});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    const auto search = project.Search();
    EXPECT_GT(search->Settings().cellSize, 0.1);
    ASSERT_EQ(search->Planes().size(), 1U);
    EXPECT_EQ(search->AssignedPoints(), points.size());
}

TEST(PlaneSearch, GivesTheSameBitsAtAnyNumberOfThreads) {
    const test::ScratchFolder folder;
    Opened project(ImportBuilding(folder, SyntheticBuilding({.points = 200'000})));
    PlaneSearchOptions options;
    options.threads = 1;
    const auto alone = FingerprintOf(project.Core(), *project.Search(options));
    for (const unsigned threads : {2U, 3U, 8U}) {
        options.threads = threads;
        EXPECT_EQ(alone, FingerprintOf(project.Core(), *project.Search(options))) << threads;
    }
}

TEST(PlaneSearch, WorksTileByTileWhereMemoryIsShortAndFindsTheSame) {
    const test::ScratchFolder folder;
    Opened project(ImportBuilding(folder, SyntheticBuilding({.points = 150'000})));
    const auto all = FingerprintOf(project.Core(), *project.Search());
    PlaneSearchOptions options;
    options.memoryLimitBytes = 8'000'000;  // less than the cells of the whole take at work
    EXPECT_EQ(all, FingerprintOf(project.Core(), *project.Search(options)));
}

TEST(PlaneSearch, TakesLargerCellsWhereMemoryIsShorter) {
    const test::ScratchFolder folder;
    Opened project(ImportBuilding(folder, SyntheticBuilding({.points = 100'000})));
    PlaneSearchOptions options;
    options.memoryLimitBytes = 500'000;
    const auto search = project.Search(options);
    EXPECT_GT(search->Settings().cellSize, project.Search()->Settings().cellSize);
    EXPECT_LE(CellMap::kBytesPerCell * search->Cells(), options.memoryLimitBytes);
    options.memoryLimitBytes = 50;
    const auto refused = PlaneSearch::Run(project.Core(), options);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::BadInput);
}

TEST(PlaneSearch, OfAnEmptyProjectIsEmpty) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, {}));
    const auto search = project.Search();
    EXPECT_TRUE(search->Planes().empty());
    EXPECT_EQ(search->Chunks(), 0U);
    EXPECT_FALSE(search->Explain({0, 0, 0})->occupied);
}

TEST(PlaneSearch, OfOneCellFindsNoPlane) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, std::vector<Vector>(50, Vector{1.02, 2.03, 3.04})));
    EXPECT_TRUE(project.Search()->Planes().empty());
}

TEST(PlaneSearch, OfExactlyFlatPointsFindsTheOnePlaneAndItsRim) {
    std::vector<Vector> points;
    for (int x = 0; x < 160; ++x)
        for (int y = 0; y < 120; ++y) points.push_back({0.02 * x, 0.02 * y, 1.25});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    const auto search = project.Search();
    ASSERT_EQ(search->Planes().size(), 1U);
    const FoundPlane& plane = search->Planes()[0];
    EXPECT_EQ(plane.points, points.size());
    EXPECT_EQ(plane.rms, 0);
    EXPECT_EQ(plane.kind, PlaneKind::Floor);
    EXPECT_DOUBLE_EQ(plane.normal.z, 1);
    EXPECT_DOUBLE_EQ(plane.offset, -1.25);
    EXPECT_NEAR(plane.area, 3.2 * 2.4, 0.4);
    const auto place = search->Explain({1, 1, 1.25});
    ASSERT_TRUE(place);
    EXPECT_EQ(place->plane, 0);
    EXPECT_TRUE(place->occupied);
    EXPECT_NEAR(place->cellNormal.z, 1, 1e-6);
    EXPECT_EQ(search->Explain({1, 1, 1.29})->plane, -1);
    EXPECT_EQ(search->Explain({1, 1, 1.29})->nearest, 0);
    EXPECT_EQ(search->PlaneOf({1, 1, 1.25}), 0);
}

TEST(PlaneSearch, FindsOnePlaneThatPassesManyTiles) {
    std::vector<Vector> points;
    for (int i = 0; i < 2000; ++i)
        for (int j = 0; j < 40; ++j)
            points.push_back({0.02 * i - 23, 0.013 * i + 0.05 * j - 7, 0.004 * i - 0.01 * j});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    PlaneSearchOptions options;
    options.cellSize = 0.1;
    const auto search = project.Search(options);
    ASSERT_EQ(search->Planes().size(), 1U);
    EXPECT_EQ(search->Planes()[0].points, points.size());
    EXPECT_EQ(search->Planes()[0].outline.regions.size(), 1U);
}

// Level planes over a floor, with walls that hang from them or stand on them.
std::vector<Vector> Table(double height, bool walls) {
    std::vector<Vector> points;
    for (int x = 0; x < 100; ++x) {
        for (int y = 0; y < 100; ++y) {
            points.push_back({0.03 * x, 0.03 * y, 0});
            points.push_back({0.03 * x, 0.03 * y, height});
        }
        for (int z = 0; walls && 0.03 * z < height; ++z)
            for (const double side : {0.0, 2.97}) {
                points.push_back({0.03 * x, side, 0.03 * z});
                points.push_back({side, 0.03 * x, 0.03 * z});
            }
    }
    return points;
}

// BEHAVIOUR A4
TEST(PlaneSearch, SeparatesCeilingsFromTablesByWhatTheyCover) {
    for (const auto& [height, kind] :
         {std::pair(2.6, PlaneKind::Ceiling), std::pair(0.9, PlaneKind::Other)}) {
        const test::ScratchFolder folder;
        Opened project(WritePoints(folder, Table(height, true)));
        const auto search = project.Search();
        int met = 0;
        for (const FoundPlane& plane : search->Planes()) {
            if (std::abs(plane.centre.z - height) > 0.01 || std::abs(plane.normal.z) < 0.9)
                continue;
            EXPECT_EQ(plane.kind, kind) << height;
            EXPECT_EQ(plane.normal.z < 0, kind == PlaneKind::Ceiling);
            ++met;
        }
        EXPECT_EQ(met, 1);
    }
}

// BEHAVIOUR A4
TEST(PlaneSearch, TakesWhatAScannerSeesFromBelowForACeiling) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, Table(2.6, false)));
    PlaneSearchOptions options;
    options.stations = {{1.5, 1.5, 1.6}};
    const auto search = project.Search(options);
    ASSERT_EQ(search->Planes().size(), 2U);
    for (const FoundPlane& plane : search->Planes()) {
        const bool high = plane.centre.z > 1;
        EXPECT_EQ(plane.kind, high ? PlaneKind::Ceiling : PlaneKind::Floor);
        EXPECT_NEAR(plane.normal.z, high ? -1 : 1, 1e-6);
    }
}

TEST(PlaneSearch, OfNoiseAloneFindsNoPlane) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> side(0, 3);
    std::vector<Vector> points;
    for (int i = 0; i < 30'000; ++i) points.push_back({side(random), side(random), side(random)});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    EXPECT_TRUE(project.Search()->Planes().empty());
}

TEST(PlaneSearch, PointsNormalsToTheScannerWhereItIsKnown) {
    std::vector<Vector> points;
    for (int x = 0; x < 100; ++x)
        for (int z = 0; z < 100; ++z) points.push_back({0.02 * x, 0.5, 0.02 * z});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    PlaneSearchOptions options;
    for (const double side : {-1.0, 1.0}) {
        options.stations = {{1, 0.5 + 3 * side, 1}};
        const auto search = project.Search(options);
        ASSERT_EQ(search->Planes().size(), 1U);
        EXPECT_NEAR(search->Planes()[0].normal.y, side, 1e-9);
        EXPECT_EQ(search->Planes()[0].kind, PlaneKind::Wall);
    }
}

// BEHAVIOUR A5
TEST(PlaneSearch, JoinsPiecesAcrossAGapOfTheBridgesWidth) {
    std::vector<Vector> points;
    for (int x = 0; x < 200; ++x)
        for (int y = 0; y < 60; ++y)
            if (x < 90 || x > 122) points.push_back({0.02 * x, 0.02 * y, 0});
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    PlaneSearchOptions options;
    options.bridge = 0.2;
    EXPECT_EQ(project.Search(options)->Planes().size(), 2U);
    options.bridge = 0.7;
    ASSERT_EQ(project.Search(options)->Planes().size(), 1U);
    EXPECT_EQ(project.Search(options)->Planes()[0].outline.regions.size(), 2U);
}

/// What the search says of fifty points at 1, 2, 3, of whose points or index something was changed.
enum class Changed { Points, Index };
template <class T>
Error ErrorOf(Changed what, std::size_t at, T value) {
    const test::ScratchFolder folder;
    const CString file = WritePoints(folder, std::vector<Vector>(50, Vector{1, 2, 3}));
    ProjectManager manager;
    EXPECT_TRUE(manager.Set(file, false));
    const CString& damaged = what == Changed::Points ? manager.gridPts : manager.gridIdx;
    auto bytes = test::ReadBytes(damaged);
    std::memcpy(bytes.data() + at, &value, sizeof value);
    test::WriteBytes(damaged, bytes.data(), bytes.size());
    Opened project(file);
    PlaneSearchOptions options;
    options.cellSize = 0.1;
    const auto search = PlaneSearch::Run(project.Core(), options);
    EXPECT_FALSE(search);
    return search ? Error{} : search.error();
}

TEST(PlaneSearch, ReportsWhatInAProjectContradictsItself) {
    const struct {
        Error error;
        std::string words;
    } cases[] = {
        {ErrorOf(Changed::Index, 24, std::uint8_t{40}), "lead to 40 of 50 points"},
        {ErrorOf(Changed::Index, 0, std::numeric_limits<std::int32_t>::max()), "cell 0 lies at"},
        {ErrorOf(Changed::Points, 7 * kAlivePointBytes, 3e38F), "record 7 has no finite place"},
        {ErrorOf(Changed::Points, 9 * kAlivePointBytes, 77.0F), "record 9 lies outside"},
    };
    for (const auto& [error, words] : cases) {
        EXPECT_EQ(error.code, ErrorCode::Damaged) << words;
        EXPECT_NE(error.message.find(words), std::string::npos) << error.message;
    }
}

TEST(PlaneSearch, CanBeCancelled) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, std::vector<Vector>(50, Vector{1, 2, 3})));
    PlaneSearchOptions options;
    options.proceed = [] { return false; };
    const auto search = PlaneSearch::Run(project.Core(), options);
    ASSERT_FALSE(search);
    EXPECT_EQ(search.error().code, ErrorCode::Cancelled);
}

// Noise in one tile is one long job of specks, which asks in its middle; wherever it hears a no, no half
// result comes out.
TEST(PlaneSearch, CanBeCancelledInTheMiddleOfATile) {
    std::mt19937 draw(9);
    std::uniform_real_distribution<double> place(0.1, 4.9);
    std::vector<Vector> points(60'000);
    for (Vector& p : points) p = {place(draw), place(draw), place(draw)};
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, points));
    int asked = 0, patience = 1'000'000;
    PlaneSearchOptions options;
    options.threads = 1;
    options.cellSize = 0.1;
    options.proceed = [&] { return ++asked <= patience; };
    ASSERT_TRUE(PlaneSearch::Run(project.Core(), options));
    const int all = asked;
    EXPECT_GT(all, 60);
    for (patience = 1; patience < all; patience += all / 9) {
        asked = 0;
        const auto search = PlaneSearch::Run(project.Core(), options);
        ASSERT_FALSE(search) << patience;
        EXPECT_EQ(search.error().code, ErrorCode::Cancelled);
        EXPECT_EQ(asked, patience + 1);
    }
}

}  // namespace
}  // namespace orvix::detection
