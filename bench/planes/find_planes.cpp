// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: how fast and how faithfully are all planes of a cloud found?
// Ceiling:  CGAL's region growing and Efficient RANSAC on the same points, tolerances and least
//           sizes, in the same run.
//
// find_planes [--points N] [--noise METRES] [--seed N] [--repeats N] [--threads N]
//             [--distance METRES] [--cell METRES] [--project FILE.prj [--truth FILE]]
//             [--no-peers] [--list] [--json]
//
// Without a project, a synthetic building of known planes is scanned and imported; its intensities
// tell the truth. Of a project's points nothing is known but what a file of bench/planes/truth
// says.
#include <fmt/format.h>
#include <cstring>
#include <optional>
#include <string_view>

#include "bench/bench_support.h"
#include "bench/peers/cgal_planes.h"
#include "bench/planes/marked_planes.h"
#include "bench/planes/plane_score.h"
#include "detection/plane_search.h"
#include "importer/import.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/transform_file.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/synthetic_building.h"

namespace {

using namespace orvix;
using bench::PlaneScore;
using bench::ScoreOf;
using detection::PlaneSearch;

struct Arguments {
    std::uint64_t points = 1'000'000;
    double noise = 0.003;
    std::uint32_t seed = 1;
    int repeats = 3;
    unsigned threads = 0;
    double distance = 0;
    double cell = 0;
    std::string project;
    std::string truth;
    bool peers = true;
    bool json = false;
    bool list = false;  // every true plane and how well it was found
};

Arguments Parse(int argc, char** argv) {
    Arguments a;
    for (int i = 1; i < argc; ++i) {
        const std::string_view name = argv[i];
        const bool more = i + 1 < argc;
        if (name == "--no-peers") {
            a.peers = false;
        } else if (name == "--json") {
            a.json = true;
        } else if (name == "--list") {
            a.list = true;
        } else if (name == "--points" && more) {
            a.points = std::strtoull(argv[++i], nullptr, 10);
        } else if (name == "--noise" && more) {
            a.noise = std::atof(argv[++i]);
        } else if (name == "--distance" && more) {
            a.distance = std::atof(argv[++i]);
        } else if (name == "--cell" && more) {
            a.cell = std::atof(argv[++i]);
        } else if (name == "--seed" && more) {
            a.seed = static_cast<std::uint32_t>(std::atoi(argv[++i]));
        } else if (name == "--repeats" && more) {
            a.repeats = std::max(1, std::atoi(argv[++i]));
        } else if (name == "--threads" && more) {
            a.threads = static_cast<unsigned>(std::atoi(argv[++i]));
        } else if (name == "--project" && more) {
            a.project = argv[++i];
        } else if (name == "--truth" && more) {
            a.truth = argv[++i];
        } else {
            fmt::print(stderr, "see the head of bench/planes/find_planes.cpp\n");
            std::exit(2);
        }
    }
    return a;
}

// More storeys and rooms for more points, so that the density stays what a scanner gives.
test::BuildingOptions BuildingFor(const Arguments& a) {
    test::BuildingOptions options;
    options.seed = a.seed;
    options.points = a.points;
    options.noise = a.noise;
    const double rooms = static_cast<double>(a.points) / 250'000;
    options.storeys = rooms > 12 ? 3 : 2;
    options.roomsY = std::max(2, static_cast<int>(std::sqrt(rooms / options.storeys)));
    options.roomsX = std::max(2, static_cast<int>(rooms / options.storeys / options.roomsY));
    return options;
}

void Print(const Arguments& a, std::string_view who, std::size_t points, double seconds,
           const PlaneScore& s) {
    if (a.json) {
        fmt::print(
            R"({{"bench":"find_planes","who":"{}","points":{},"seconds":{:.6f},"points_per_second":{:.0f},)"
            R"("found":{},"known":{},"precision50":{:.4f},"recall50":{:.4f},"precision75":{:.4f},)"
            R"("recall75":{:.4f},"split":{},"joined":{},"normal_degrees":{:.4f},)"
            R"("offset_millimetres":{:.4f},"assigned":{:.4f}}})"
            "\n",
            who, points, seconds, static_cast<double>(points) / seconds, s.found, s.known,
            s.precision50, s.recall50, s.precision75, s.recall75, s.split, s.joined,
            s.normalDegrees, s.offsetMillimetres, s.assigned);
        return;
    }
    fmt::print(
        "{:<22} {:>10} pts {:>9.3f} s {:>9.3f} M/s | {:>4} of {:>4} | P50 {:.3f} R50 {:.3f} "
        "P75 {:.3f} R75 {:.3f} | split {} joined {} | {:.3f} deg {:.2f} mm | {:.1f} %\n",
        who, points, seconds, static_cast<double>(points) / seconds / 1e6, s.found, s.known,
        s.precision50, s.recall50, s.precision75, s.recall75, s.split, s.joined, s.normalDegrees,
        s.offsetMillimetres, 100 * s.assigned);
}

void List(const std::vector<test::TruePlane>& planes, const PlaneScore& score) {
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const auto& plane = planes[i];
        fmt::print(
            "true plane {:>4}: {:>7.2f} m2, normal {:.2f} {:.2f} {:.2f}, offset {:.3f}: overlap "
            "{:.3f} with plane {}\n",
            i, plane.area, plane.normal.x, plane.normal.y, plane.normal.z, plane.offset,
            score.overlaps[i], score.bestFound[i] + 1);
    }
}

/// The marked planes, in the form in which planes are scored.
std::vector<test::TruePlane> TrueOf(const std::vector<bench::MarkedPlane>& marked) {
    std::vector<test::TruePlane> planes;
    for (const auto& plane : marked) planes.push_back({plane.normal, plane.offset, plane.Area()});
    return planes;
}

struct Labelled {
    std::vector<SimplePointT<double>> points;
    std::vector<std::int32_t> truth;
    std::vector<std::int32_t> found;
};

Labelled LabelsOf(CProjectCore& core, const PlaneSearch& search) {
    Labelled labelled;
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        (void)search.ForEachPoint(
            *reader, chunk, [&](const auto& p, std::uint64_t, std::int32_t plane) {
                std::uint16_t intensity = 0;
                std::memcpy(&intensity, p.attributes.data(), sizeof intensity);
                labelled.points.push_back({p.x, p.y, p.z});
                labelled.truth.push_back(static_cast<std::int32_t>(intensity) - 1);
                labelled.found.push_back(plane);
            });
    return labelled;
}

void Measure(const Arguments& a, const CString& path, std::vector<test::TruePlane> planes,
             const std::vector<bench::MarkedPlane>& marked = {}) {
    ProjectManager manager;
    bench::Require(manager.Open(path), "the project does not open");
    CProjectCore core;
    core.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts,
              manager.LASScale(manager.cloudHeader.scale), manager.grid1000cmIdx,
              manager.grid10cmIdx, manager.grid1to10cmIdx, manager.gridIdx);
    bench::Require(core.OpenCores(), "the points do not open");
    // Planes are compared in the project's frame.
    auto frame = ReadTransform(manager.transformFile);
    for (test::TruePlane& plane : planes)
        plane.offset += detection::Dot(plane.normal, frame->Origin());
    detection::PlaneSearchOptions options;
    options.threads = a.threads;
    options.distance = a.distance;
    options.cellSize = a.cell;
    std::unique_ptr<PlaneSearch> search;
    std::vector<double> times;
    for (int i = 0; i < a.repeats; ++i) {
        times.push_back(bench::Seconds([&] {
            auto run = PlaneSearch::Run(core, options);
            bench::Require(run.has_value(), "the search fails");
            search = std::move(*run);
        }));
    }
    const auto& used = search->Settings();
    const double spacing = used.spacing;
    const auto leastPoints = static_cast<std::uint64_t>(
        std::max(used.leastPoints, used.leastArea / (spacing * spacing) / 4));
    Labelled labelled = LabelsOf(core, *search);
    if (!marked.empty()) {
        using detection::operator+;
        for (std::size_t i = 0; i < labelled.points.size(); ++i)
            labelled.truth[i] = bench::LabelOf(marked, labelled.points[i] + frame->Origin());
    }
    const bool known = !planes.empty();
    const auto truth =
        known ? labelled.truth : std::vector<std::int32_t>(labelled.points.size(), -1);
    fmt::print(
        stderr,
        "cells {:g} m, {} cells, spacing {:.4f}, noise {:.4f}, distance {:.4f}, least {} points\n",
        used.cellSize, search->Cells(), spacing, used.noise, used.distance, leastPoints);
    const double ours = bench::Median(times);
    const PlaneScore score = ScoreOf(labelled.points, truth, labelled.found, planes, leastPoints);
    Print(a, "orvix planes", labelled.points.size(), ours, score);
    if (a.list) List(planes, score);
    if (a.peers) {
        bench::PeerSettings settings{used.distance, used.angle, leastPoints, 4 * spacing};
        for (const auto& [who, run] :
             {std::pair{"CGAL region growing", &bench::CgalRegionGrowing},
              std::pair{"CGAL Efficient RANSAC", &bench::CgalEfficientRansac}}) {
            const bench::PeerResult result = run(labelled.points, settings);
            const double seconds = result.normalSeconds + result.seconds;
            Print(a, who, labelled.points.size(), seconds,
                  ScoreOf(labelled.points, truth, result.labels, planes, leastPoints));
            fmt::print("{:<22} {:.1f} times as long ({:.1f} without normals)\n", "", seconds / ours,
                       result.seconds / ours);
        }
    }
    core.Close();
    manager.aliveReader.reset();
    manager.Close();
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments a = Parse(argc, argv);
    if (!a.project.empty()) {
        std::vector<bench::MarkedPlane> marked;
        if (!a.truth.empty()) {
            auto read = bench::ReadMarkedPlanes(platform::FromUtf8(a.truth));
            bench::Require(read.has_value(), read ? "" : read.error().message);
            marked = std::move(*read);
        }
        Measure(a, platform::FromUtf8(a.project), TrueOf(marked), marked);
        return 0;
    }
    test::ScratchFolder folder;
    const test::SyntheticBuilding building(BuildingFor(a));
    test::WriteScan(building, folder / L"building.las");
    const CString project = folder / L"building.prj";
    auto imported = importer::Import({folder / L"building.las"}, project, {});
    bench::Require(imported.has_value(), imported ? "" : imported.error().message);
    Measure(a, project, building.Planes());
    return 0;
}
