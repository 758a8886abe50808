// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <numeric>
#include <random>

#include "bench/instructions/hot_paths.h"
#include "orvix/planes/fitted_plane.h"
#include "orvix/stats/mathematic.h"
#include "orvix/surfaces/point_cloud_geometrics.h"

namespace orvix::bench {

namespace {

/// From 0 to below 1.
double Draw(std::mt19937_64& random) {
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

/// FittedPlane: points taken up, and Generate.
CountedWork FitPlanes() {
    std::mt19937_64 random(1);
    std::vector<SimplePointT<float>> points(200'000);
    for (auto& point : points) {
        const double x = 20 * Draw(random), y = 5 * Draw(random);
        point = {static_cast<float>(x), static_cast<float>(y),
                 static_cast<float>(0.1 * x - 0.2 * y + 0.002 * Draw(random))};
    }
    return [points = std::move(points)] {
        std::vector<int> indices(points.size());
        std::iota(indices.begin(), indices.end(), 0);
        FittedPlane plane;
        for (int round = 0; round < 5; ++round) {
            plane.AddPoints(&points, indices, true);
            plane.Generate(false);
        }
        return static_cast<std::uint64_t>(plane.Count());
    };
}

/// PointCloudGeometrics::Surface of points in random order, and of a grid, where four points lie on
/// one circle everywhere.
CountedWork Triangulate() {
    std::mt19937_64 random(1);
    std::vector<SimplePointT<double>> scattered(30'000);
    for (auto& point : scattered) point = {10 * Draw(random), 10 * Draw(random), 2};
    std::vector<SimplePointT<double>> grid;
    for (int i = 0; i < 10'000; ++i) grid.push_back({0.25 * (i % 100), 0.25 * (i / 100), 2});
    return [scattered = std::move(scattered), grid = std::move(grid)] {
        const CGAL::Plane_3<CGAL::Epick> level(0, 0, 1, -2);
        std::vector<int> faces;
        PointCloudGeometrics::Surface(scattered, level, faces);
        PointCloudGeometrics::Surface(grid, level, faces);
        return static_cast<std::uint64_t>(faces.size() / 4);
    };
}

/// GetJenksBreaks of values as heights and intensities are.
CountedWork FindBreaks() {
    std::mt19937_64 random(1);
    std::vector<double> values(32'000);
    for (double& value : values) value = Draw(random) * Draw(random);
    std::ranges::sort(values);
    return [values = std::move(values)]() mutable {
        return static_cast<std::uint64_t>(Mathematic::GetJenksBreaks(values, 8, 0).size());
    };
}

}  // namespace

std::vector<HotPath> FittingPaths() {
    return {
        {"fit_planes", FitPlanes}, {"triangulate", Triangulate}, {"natural_breaks", FindBreaks}};
}

}  // namespace orvix::bench
