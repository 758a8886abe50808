// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does PlaneWorm::Launch cost beyond the queries that it makes: fits, tests, lists?
// Ceiling:  the same queries of CNearestNeighbour::Find alone, in the order of the launch; those of
//           rejected cells, which are the wall's rim, come last.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/planes/plane_worm.h"
#include "orvix/project/project_manager.h"

namespace {

namespace bench = orvix::bench;
using orvix::CNearestNeighbour;
using orvix::FittedPlane;
using orvix::PlaneWorm;
using Points = std::vector<orvix::SimplePointT<float>>;
using Centres = std::vector<orvix::SimplePointT<double>>;

constexpr double kMostOfQueries = 1.3;
constexpr double kSplitSize = 0.1;
constexpr double kWidth = 20;
constexpr double kHeight = 5;

/// A wall that faces +y, with 3 mm of noise; its points follow each other as in a project, by cells of
/// 10 cm.
Points Wall(std::uint64_t count) {
    std::mt19937_64 random(1);
    const auto unit = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    Points points;
    points.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i)
        points.push_back({static_cast<float>(unit() * kWidth),
                          static_cast<float>((unit() - 0.5) * 0.006),
                          static_cast<float>(unit() * kHeight)});
    const auto cellOf = [](const auto& p) {
        return std::pair(std::floor(p.x * 10), std::floor(p.z * 10));
    };
    std::stable_sort(points.begin(), points.end(),
                     [&](const auto& a, const auto& b) { return cellOf(a) < cellOf(b); });
    return points;
}

PlaneWorm WormOn(const std::shared_ptr<const Points>& points,
                 const std::shared_ptr<CNearestNeighbour>& index) {
    auto settings =
        std::make_shared<orvix::PlaneWormSettings>(false, true, orvix::ProjectManager(), 1.0);
    settings->ChangeSplitSize(kSplitSize);
    PlaneWorm worm(std::move(settings));
    FittedPlane base;
    base.set(0, 1, 0, 0, kWidth / 2, 0, kHeight / 2);
    worm.SetBase(base);
    worm.SetCloud(index, points);
    return worm;
}

void Launch(PlaneWorm& worm) {
    worm.Clear();
    worm.SetSeed({kWidth / 2, 0, kHeight / 2});
    worm.Launch(PlaneWorm::RelationToBase::Visited);
}

Centres QueriesOf(const PlaneWorm& worm) {
    Centres centres;
    for (const auto& cell : worm.Cells()) centres.push_back(cell.centre);
    for (const auto& cell : worm.RejectedCells()) centres.push_back(worm.Grid().Centre(cell.key));
    return centres;
}

std::uint64_t FindAll(CNearestNeighbour& index, const Centres& centres) {
    const double radius = std::pow(kSplitSize * 0.5, 2.0);
    std::uint64_t found = 0;
    for (const auto& centre : centres) {
        int count = 0;
        index.Find(&centre, radius, count);
        found += static_cast<std::uint64_t>(count);
    }
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    auto options = bench::ParseOptions(argc, argv);
    const bool given = options.points != bench::Options().points;
    bench::Report report("launch_worm", options);
    for (const std::uint64_t count :
         given ? std::vector{options.points} : std::vector<std::uint64_t>{250'000, 1'000'000}) {
        const auto points = std::make_shared<const Points>(Wall(count));
        const auto index = std::make_shared<CNearestNeighbour>(points.get());
        PlaneWorm worm = WormOn(points, index);
        Launch(worm);
        const Centres centres = QueriesOf(worm);
        bench::Require(worm.HowItEnded() == PlaneWorm::Ended::Exhausted, "growth was held back");
        // Cells are half a split size apart, and the rim's cells hold half as many points.
        const double cells = kWidth * kHeight / (kSplitSize * kSplitSize / 4);
        bench::Require(std::abs(static_cast<double>(worm.Cells().size()) / cells - 1) < 0.02,
                       "the cells do not cover the wall");
        std::uint64_t kept = 0;
        for (const auto& cell : worm.Cells()) kept += cell.indices.size();
        bench::Require(kept <= FindAll(*index, centres), "cells hold what no query found");
        report.Compare(
            fmt::format("{} points, {} cells", count, centres.size()), 0,
            [&] { bench::Keep(FindAll(*index, centres)); }, [&] { Launch(worm); },
            bench::AtMost(kMostOfQueries));
    }
    return 0;
}
