// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do triangulating the points of a plane and finding their outline cost?
// Ceiling:  PlanarTriangulation, CGAL's hierarchy over a constrained Delaunay triangulation, into which the
//           same points are inserted in the same order. The outline has none: its processor time counts.
//
// The points are scattered evenly over a square, in no order; the boundary is a smaller square.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "bench/surfaces/counted_memory.h"
#include "orvix/planes/fitted_plane.h"
#include "orvix/surfaces/planar_triangulation.h"
#include "orvix/surfaces/point_cloud_geometrics.h"

namespace {

namespace bench = orvix::bench;
using orvix::FittedPlane, orvix::PlanarTriangulation, orvix::PointCloudGeometrics;
using Kernel = CGAL::Epick;
using Points = std::vector<orvix::SimplePointT<double>>;
using Triangles = std::vector<std::array<int, 3>>;

constexpr double kMostOfInserting = 0.4;
constexpr double kMostSecondsOfOutline = 0.5;

const Kernel::Plane_3 kGround(0, 0, 1, 0);
const Points kNoBoundary;
const Points kSquare{{-4, -4, 0}, {4, -4, 0}, {4, 4, 0}, {-4, 4, 0}, {-4, -4, 0}};

Points Scattered(std::size_t count) {
    std::mt19937_64 random(1);
    const auto place = [&] { return static_cast<double>(random() >> 11) * 0x1p-53 * 10 - 5; };
    Points points(count);
    for (auto& p : points) {
        p.x = place();
        p.y = place();
    }
    return points;
}

std::vector<int> ByInserting(const Points& points, const Points& boundary) {
    PlanarTriangulation triangulation;
    for (std::size_t i = 0; i < points.size(); ++i)
        triangulation.insert({points[i].x, points[i].y})->index = static_cast<std::int32_t>(i);
    for (std::size_t k = 1; k < boundary.size(); ++k)
        triangulation.insert_constraint(Kernel::Point_2(boundary[k - 1].x, boundary[k - 1].y),
                                        Kernel::Point_2(boundary[k].x, boundary[k].y));
    std::vector<int> faces;
    PointCloudGeometrics::ExtractSurfaceFaces(triangulation, faces);
    return faces;
}

std::vector<int> BySurface(const Points& points) {
    std::vector<int> faces;
    PointCloudGeometrics::Surface(points, kGround, faces);
    return faces;
}

/// `points` are as before afterwards.
std::vector<int> ByConstrainedSurface(Points& points, const Points& boundary) {
    const std::size_t given = points.size();
    std::vector<int> faces;
    PointCloudGeometrics::ConstrainedSurface(points, kGround, faces, &boundary);
    points.resize(given);
    return faces;
}

/// Those between points of the list alone: what else there is has another number each way.
Triangles Sorted(const std::vector<int>& faces, std::size_t points) {
    Triangles triangles;
    for (std::size_t f = 0; f < faces.size(); f += 4) {
        std::array<int, 3> corners{faces[f + 1], faces[f + 2], faces[f + 3]};
        const auto given = [&](int c) { return c >= 0 && static_cast<std::size_t>(c) < points; };
        if (!std::all_of(corners.begin(), corners.end(), given)) continue;
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        triangles.push_back(corners);
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

template <class Work>
double MegabytesOf(const Work& work) {
    const std::size_t before = bench::LiveBytes();
    bench::ForgetPeak();
    bench::Keep(work());
    return static_cast<double>(bench::PeakBytes() - before) / 1e6;
}

template <class Inserting, class Here>
void Triangulate(const std::string& what, std::size_t count, bench::Report& report,
                 const Inserting& inserting, const Here& here) {
    bench::Require(Sorted(inserting(), count) == Sorted(here(), count),
                   what + ": the triangles differ");
    const std::string title = fmt::format("{}, {} points", what, count);
    report.Compare(
        title, 0, [&] { bench::Keep(inserting()); }, [&] { bench::Keep(here()); },
        bench::AtMost(kMostOfInserting));
    report.Figure(title + ", memory", MegabytesOf(here), "MB");
    report.Figure(title + ", memory of inserting", MegabytesOf(inserting), "MB");
}

void Outline(const Points& points, int repeats, const bench::Report& report) {
    FittedPlane plane;
    for (const auto& p : points) plane.AddPoint(p);
    plane.Generate(false);
    std::vector<double> seconds;
    for (int i = 0; i < repeats; ++i) {
        const std::clock_t start = std::clock();
        plane.Generate2DExt();
        seconds.push_back(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    bench::Require(plane.Outline().regions.size() == 1 && plane.Area() > 99 && plane.Area() < 100,
                   "the outline is not the square");
    const std::string title = fmt::format("Generate2DExt, {} points", points.size());
    const bool isAsked = points.size() == 1'000'000;
    report.Figure(title + ", processor time", bench::Median(seconds), "s",
                  isAsked ? bench::AtMost(kMostSecondsOfOutline) : bench::Aim{});
    const auto work = [&] {
        plane.Generate2DExt();
        return 0;
    };
    report.Figure(title + ", memory", MegabytesOf(work), "MB");
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    for (const std::size_t count : {std::size_t{100'000}, std::size_t{1'000'000}}) {
        if (count > options.points) break;
        Points points = Scattered(count);
        // Inserting a million points takes seconds.
        auto turns = options;
        turns.repeats = std::min(options.repeats, count > 100'000 ? 3 : 11);
        bench::Report report("triangulate", turns);
        Triangulate(
            "Surface", count, report, [&] { return ByInserting(points, kNoBoundary); },
            [&] { return BySurface(points); });
        Triangulate(
            "ConstrainedSurface", count, report, [&] { return ByInserting(points, kSquare); },
            [&] { return ByConstrainedSurface(points, kSquare); });
        Outline(points, options.repeats, report);
    }
    return 0;
}
