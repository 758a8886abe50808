// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: how fast and how faithfully are all planes of a cloud found?
// Ceiling:  region growing and RANSAC of CGAL, PCL and Open3D on the same points, tolerances and
//           least sizes, in the same run.
//
// A synthetic building of known planes is scanned and imported; its intensities hold the truth. So is
// a furnished room after the word "room", whose options follow it. Of a project's points nothing is
// known but what a file of bench/planes/truth says. PCL and Open3D are rivals where they were
// installed when this was built:
//
//     apt-get install --no-install-recommends libpcl-dev libopen3d-dev    (1.2 GB on the disk)
//
// series.py, beside this, runs sizes and densities, and draws them.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "bench/bench_support.h"
#include "bench/peers/plane_peers.h"
#include "bench/planes/building_plan.h"
#include "bench/planes/marked_planes.h"
#include "bench/planes/plane_score.h"
#include "detection/plane_search.h"
#include "importer/import.h"
#include "orvix/platform/path.h"
#include "orvix/points/attributes.h"
#include "orvix/project/open_project.h"
#include "orvix/project/transform_file.h"
#include "support/room_arguments.h"
#include "support/scratch_folder.h"
#include "support/synthetic_building.h"

namespace {

using namespace orvix;
using bench::PlaneCounter;
using bench::PlaneScore;
using detection::PlaneSearch;

constexpr std::uint64_t kLeastOfRoom = 30;  // points that a plane of a room has, to count

struct Arguments {
    bench::BuildingPlan plan;
    test::BuildingOptions building;
    test::RoomOptions room;
    bool inRoom = false;
    int repeats = 3;
    detection::PlaneSearchOptions search;
    std::string project;
    std::string truth;
    std::string keep;
    std::vector<std::string> peers;
    bool noPeers = false;
    bool json = false;
    bool list = false;
};

std::vector<std::string> PeerNames() {
    std::vector<std::string> names;
    for (const bench::PlanePeer& peer : bench::PlanePeers()) names.emplace_back(peer.name);
    return names;
}

void AddOptions(CLI::App& app, Arguments& a) {
    app.add_option("--points", a.plan.points, "Of the scan, about");
    app.add_option("--rooms", a.plan.rooms, "Of the building; 0: as the points suggest");
    app.add_option("--spacing", a.plan.spacing,
                   "Metres between points: decides how many there are, --points how large the "
                   "building is where --rooms does not");
    app.add_option("--noise", a.building.noise, "Metres, standard deviation");
    app.add_option("--seed", a.building.seed, "Of the building");
    app.add_option("--repeats", a.repeats, "The median of so many runs")->check(CLI::Range(1, 999));
    app.add_option("--threads", a.search.threads, "0: every core");
    app.add_option("--distance", a.search.distance, "Metres; 0: as the cloud suggests");
    app.add_option("--cell", a.search.cellSize, "Metres; 0: as the cloud suggests");
    CLI::Option* project = app.add_option("--project", a.project, "Search this project");
    app.add_option("--truth", a.truth, "Planes marked in it, as in bench/planes/truth")
        ->needs(project);
    app.add_option("--keep", a.keep, "Leave the project of the building there");
    app.add_option("--peers", a.peers, "Rivals, by commas; all that are built where left out")
        ->delimiter(',')
        ->check(CLI::IsMember(PeerNames()));
    app.add_flag("--no-peers", a.noPeers, "No rivals");
    app.add_flag("--list", a.list, "Every true plane that counts, and how well it was found");
    app.add_flag("--json", a.json, "A line for each search");
    CLI::App* room = app.add_subcommand("room", "Search a furnished room");
    room->fallthrough();
    room->callback([&a] { a.inRoom = true; });
    test::AddRoomOptions(*room, a.room);
}

/// Our own search, which everything is compared with.
struct Measured {
    std::unique_ptr<PlaneSearch> search;
    double seconds = 0;
    std::uint64_t minPoints = 0;    ///< of a plane of the least area
    std::uint64_t knownPoints = 0;  ///< that a true plane has at least, to count: rooms differ
};

void Print(const Arguments& a, std::string_view name, std::string_view who, const Measured& ours,
           double seconds, const PlaneScore& s) {
    const auto points = static_cast<double>(s.points);
    if (a.json) {
        const auto& used = ours.search->Settings();
        fmt::print(
            R"({{"bench":"find_planes","name":"{}","who":"{}","points":{},"spacing":{:.5f},)"
            R"("noise":{:.5f},"cell":{},"seconds":{:.6f},"points_per_second":{:.0f},"ratio":{:.2f},)"
            R"("found":{},"known":{},"precision50":{:.4f},"recall50":{:.4f},"precision75":{:.4f},)"
            R"("recall75":{:.4f},"split":{},"joined":{},"normal_degrees":{:.4f},)"
            R"("offset_millimetres":{:.4f},"assigned":{:.4f}}})"
            "\n",
            name, who, s.points, used.spacing, used.noise, used.cellSize, seconds, points / seconds,
            seconds / ours.seconds, s.found, s.known, s.precision50, s.recall50, s.precision75,
            s.recall75, s.split, s.joined, s.normalDegrees, s.offsetMillimetres, s.assigned);
        std::fflush(stdout);
        return;
    }
    fmt::print(
        "{:<22} {:>10} pts {:>9.3f} s {:>9.3f} M/s | {:>4} of {:>4} | P50 {:.3f} R50 {:.3f} "
        "P75 {:.3f} R75 {:.3f} | split {} joined {} | {:.3f} deg {:.2f} mm | {:.1f} %\n",
        who, s.points, seconds, points / seconds / 1e6, s.found, s.known, s.precision50, s.recall50,
        s.precision75, s.recall75, s.split, s.joined, s.normalDegrees, s.offsetMillimetres,
        100 * s.assigned);
}

void List(const std::vector<test::TruePlane>& planes, const PlaneScore& score) {
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const auto& plane = planes[i];
        if (score.knownPoints[i] == 0) continue;
        fmt::print(
            "true plane {:>4}: {:>7.3f} m2, {:>8} points, normal {:.2f} {:.2f} {:.2f}, offset "
            "{:.3f}: overlap {:.3f} with plane {}\n",
            i + 1, plane.area, score.knownPoints[i], plane.normal.x, plane.normal.y, plane.normal.z,
            plane.offset, score.overlaps[i], score.bestFound[i] + 1);
    }
}

/// What is known about the points of a project.
struct Truth {
    enum class Source { Nothing, Marks, Intensity, Colour };

    std::vector<test::TruePlane> planes;  ///< in the project's frame
    Source source = Source::Nothing;      ///< of a point's plane
    std::vector<bench::MarkedPlane> marked;
    detail::Vector origin;
    std::uint64_t minPoints = 0;  ///< that a plane has at least, to count; 0: as the search has it

    [[nodiscard]] std::int32_t Of(const CCloudPoint<float>& p) const {
        using detail::operator+;
        const detail::PointAttributes attributes = detail::AttributesOf(p);
        switch (source) {
            case Source::Marks:
                return bench::LabelOf(marked, detail::Vector{p.x, p.y, p.z} + origin);
            case Source::Intensity:
                return static_cast<std::int32_t>(attributes.intensity) - 1;
            case Source::Colour:
                return test::PlaneOfColour(attributes.red, attributes.green, attributes.blue);
            case Source::Nothing:
                break;
        }
        return test::kNoPlane;
    }
};

/// The marked planes, in the form in which planes are scored.
std::vector<test::TruePlane> TrueOf(const std::vector<bench::MarkedPlane>& marked) {
    std::vector<test::TruePlane> planes;
    for (const auto& plane : marked) planes.push_back({plane.normal, plane.offset, plane.Area()});
    return planes;
}

/// Calls use(position, true plane, found plane) for each point.
template <class Use>
void ForEachPoint(CProjectCore& core, const PlaneSearch& search, const Truth& truth, Use&& use) {
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        (void)search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
            for (std::size_t i = 0; i < block.points.size(); ++i) {
                const auto& p = block.points[i];
                use(detail::Vector{p.x, p.y, p.z}, truth.Of(p), block.planes[i]);
            }
        });
}

Measured Search(const Arguments& a, CProjectCore& core) {
    Measured ours;
    std::vector<double> times;
    for (int i = 0; i < a.repeats; ++i) {
        times.push_back(bench::Seconds([&] {
            auto run = PlaneSearch::Run(core, a.search);
            bench::Require(run.has_value(), "the search fails");
            ours.search = std::move(*run);
        }));
    }
    ours.seconds = bench::Median(times);
    const auto& used = ours.search->Settings();
    const double inMinArea = used.minArea / (used.spacing * used.spacing);
    ours.minPoints = static_cast<std::uint64_t>(std::max(used.minPoints, inMinArea));
    ours.knownPoints = static_cast<std::uint64_t>(std::max(used.minPoints, inMinArea / 4));
    fmt::print(
        stderr,
        "cells {:g} m, {} cells, spacing {:.4f}, noise {:.4f}, distance {:.4f}, least {} points\n",
        used.cellSize, ours.search->Cells(), used.spacing, used.noise, used.distance,
        ours.minPoints);
    return ours;
}

void RunPeers(const Arguments& a, CProjectCore& core, const Measured& ours, const Truth& truth) {
    std::vector<detail::Vector> points;
    std::vector<std::int32_t> labels;
    ForEachPoint(core, *ours.search, truth, [&](const auto& p, std::int32_t t, auto) {
        points.push_back(p);
        labels.push_back(t);
    });
    const auto& used = ours.search->Settings();
    const bench::PeerSettings settings{used.distance, used.angle, ours.minPoints, 4 * used.spacing};
    for (const bench::PlanePeer& peer : bench::PlanePeers()) {
        if (!a.peers.empty() &&
            std::find(a.peers.begin(), a.peers.end(), peer.name) == a.peers.end())
            continue;
        if (peer.run == nullptr) {
            fmt::print(stderr, "left out: {}, which needs {}\n", peer.who, peer.package);
            continue;
        }
        const bench::PeerResult result = peer.run(points, settings);
        PlaneCounter counter(truth.planes);
        for (std::size_t i = 0; i < points.size(); ++i)
            counter.Add(points[i], labels[i], result.labels[i]);
        const double seconds = result.normalSeconds + result.seconds;
        Print(a, peer.name, peer.who, ours, seconds, counter.Score(ours.knownPoints));
        if (!a.json)
            fmt::print("{:<22} {:.1f} times as long ({:.1f} without normals)\n", "",
                       seconds / ours.seconds, result.seconds / ours.seconds);
    }
}

void Measure(const Arguments& a, const CString& path, Truth truth) {
    const auto project = detail::OpenProject::Open(path);
    bench::Require(project.has_value(), project ? "" : project.error().message);
    CProjectCore& core = (*project)->Core();
    // Planes are compared in the project's frame.
    truth.origin = detail::ReadTransform((*project)->Manager().transformFile)->Origin();
    for (test::TruePlane& plane : truth.planes)
        plane.offset += detail::Dot(plane.normal, truth.origin);
    Measured ours = Search(a, core);
    if (truth.minPoints > 0) ours.knownPoints = truth.minPoints;
    PlaneCounter counter(truth.planes);
    ForEachPoint(core, *ours.search, truth,
                 [&](const auto& p, std::int32_t t, std::int32_t f) { counter.Add(p, t, f); });
    const PlaneScore score = counter.Score(ours.knownPoints);
    Print(a, "orvix", "orvix planes", ours, ours.seconds, score);
    if (a.list) List(truth.planes, score);
    if (!a.noPeers) RunPeers(a, core, ours, truth);
}

/// Imports a scan, which is then removed.
CString Imported(const Arguments& a, const test::ScratchFolder& folder, const CString& scan) {
    const CString project = a.keep.empty() ? folder / L"scan.prj" : platform::FromUtf8(a.keep);
    auto imported = importer::Import({scan}, project, {});
    bench::Require(imported.has_value(), imported ? "" : imported.error().message);
    std::error_code ignored;
    platform::RemoveFile(scan, ignored);
    return project;
}

void MeasureBuilding(const Arguments& a) {
    test::ScratchFolder folder;
    const test::SyntheticBuilding building(bench::BuildingFor(a.plan, a.building));
    bench::Require(building.Planes().size() < 0xFFFF, "more planes than intensities can number");
    const CString scan = folder / L"building.las";
    test::WriteScan(building, scan);
    Measure(a, Imported(a, folder, scan), {building.Planes(), Truth::Source::Intensity, {}, {}});
}

void MeasureRoom(const Arguments& a) {
    test::ScratchFolder folder;
    test::RoomOptions options = a.room;
    options.seed = a.building.seed;
    const test::SyntheticRoom room(options);
    const CString scan = folder / L"room.ptx";
    test::WritePtx(room, scan);
    Measure(a, Imported(a, folder, scan),
            {room.Planes(), Truth::Source::Colour, {}, {}, kLeastOfRoom});
}

void MeasureProject(const Arguments& a) {
    Truth truth;
    if (!a.truth.empty()) {
        auto read = bench::ReadMarkedPlanes(platform::FromUtf8(a.truth));
        bench::Require(read.has_value(), read ? "" : read.error().message);
        truth.planes = TrueOf(*read);
        truth.source = Truth::Source::Marks;
        truth.marked = std::move(*read);
    }
    Measure(a, platform::FromUtf8(a.project), std::move(truth));
}

}  // namespace

int main(int argc, char** argv) {
    Arguments a;
    CLI::App app("How fast and how faithfully are all planes of a cloud found?");
    AddOptions(app, a);
    CLI11_PARSE(app, argc, argv);
    if (!a.project.empty())
        MeasureProject(a);
    else if (a.inRoom)
        MeasureRoom(a);
    else
        MeasureBuilding(a);
    return 0;
}
