// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: how fast and how faithfully are all planes of a cloud found?
// Ceiling:  region growing and RANSAC of CGAL, PCL and Open3D on the same points, tolerances and
//           least sizes, in the same run.
//
// A synthetic building of known planes is scanned and imported; its intensities hold the truth. So is
// a furnished room after the word "room", whose options follow it; its colours hold the truth. Of a
// project's points nothing is known but what --truth, --house or --coloured says. PCL and Open3D are
// rivals where they were installed when this was built:
//
//     apt-get install --no-install-recommends libpcl-dev libopen3d-dev    (1.2 GB on the disk)
//
// Beside this, series.py runs sizes and densities, and draws them; truths.py runs all truths.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "bench/bench_support.h"
#include "bench/peers/plane_peers.h"
#include "bench/planes/building_plan.h"
#include "bench/planes/house_truth.h"
#include "bench/planes/plane_score.h"
#include "bench/planes/point_truth.h"
#include "detection/plane_search.h"
#include "importer/import.h"
#include "orvix/platform/path.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/transform_file.h"
#include "reports/station_list.h"
#include "support/scenes/room_arguments.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
using bench::PlaneCounter;
using bench::PlaneScore;
using bench::PointTruth;
using detection::PlaneSearch;

// Square metres and metres between classes of planes.
constexpr std::array<double, 5> kAreaLimits{0, 0.25, 1, 4, 1e9};
constexpr std::array<double, 5> kWidthLimits{0, 0.15, 0.3, 0.6, 1e9};
constexpr double kLeastAreaByWidth = 0.25;  // of planes that are classed by width

struct Arguments {
    bench::BuildingPlan plan;
    test::BuildingOptions building;
    test::RoomOptions room;
    bool inRoom = false;
    int repeats = 3;
    detection::PlaneSearchOptions search;
    std::string project;
    std::string truth;
    std::string house;
    bool coloured = false;
    std::string keep;
    std::vector<std::string> peers;
    std::vector<double> tolerances{1};
    bool noPeers = false;
    bool json = false;
    bool list = false;
};

std::vector<std::string> PeerNames() {
    std::vector<std::string> names;
    for (const bench::PlanePeer& peer : bench::PlanePeers()) names.emplace_back(peer.name);
    return names;
}

void AddTruthOptions(CLI::App& app, Arguments& a) {
    CLI::Option* project = app.add_option("--project", a.project, "Search this project");
    app.add_option("--truth", a.truth, "Planes marked in it, as in bench/planes/truth")
        ->needs(project);
    app.add_option("--house", a.house, "Its faces as JSON: a point's colour is its face's number")
        ->needs(project);
    app.add_flag("--coloured", a.coloured, "A point's colour is its plane's number")
        ->needs(project);
    CLI::App* room =
        app.add_subcommand("room", "Search a furnished room: of its --project, or a new one");
    room->fallthrough();
    room->callback([&a] { a.inRoom = true; });
    test::AddRoomOptions(*room, a.room);
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
    app.add_option("--min-area", a.search.minArea, "Square metres; 0: as the search has it");
    using detection::Detail;
    app.add_option("--detail", a.search.detail, "fine, normal or coarse")
        ->transform(CLI::CheckedTransformer(std::map<std::string, Detail>{
            {"fine", Detail::Fine}, {"normal", Detail::Normal}, {"coarse", Detail::Coarse}}));
    AddTruthOptions(app, a);
    app.add_option("--keep", a.keep, "Leave the project of the building or room there");
    app.add_option("--peers", a.peers, "Rivals, by commas; all that are built where left out")
        ->delimiter(',')
        ->check(CLI::IsMember(PeerNames()));
    app.add_option(
           "--tolerances", a.tolerances,
           "How many times the search's distance rivals get, by commas; the best is printed")
        ->delimiter(',')
        ->check(CLI::PositiveNumber);
    app.add_flag("--no-peers", a.noPeers, "No rivals");
    app.add_flag("--list", a.list, "Every true plane that counts, and how well it was found");
    app.add_flag("--json", a.json, "A line for each search");
}

/// Our own search, which everything is compared with.
struct Measured {
    std::unique_ptr<PlaneSearch> search;
    double seconds = 0;
    std::uint64_t minPoints = 0;    ///< of a plane of the least area
    std::uint64_t knownPoints = 0;  ///< that a true plane has at least, to count: rooms differ
};

/// A search, and how it did.
struct Result {
    std::string_view name, who;
    double seconds = 0;
    double normalSeconds = 0;  ///< of these, for normals
    double tolerance = 1;      ///< times the distance of our search
    PlaneScore score;
};

std::string TextOf(const std::vector<bench::ClassRecall>& classes) {
    std::string text;
    for (const bench::ClassRecall& c : classes)
        text += fmt::format("{}[{},{},{}]", text.empty() ? "" : ",", c.at50, c.at75, c.known);
    return "[" + text + "]";
}

/// Recall by area, and by width of those that are not small; empty where widths are not known.
std::array<std::string, 2> ClassesOf(const PointTruth& truth, const PlaneScore& score) {
    if (truth.Widths().empty()) return {};
    std::vector<double> areas, widths;
    for (const test::TruePlane& plane : truth.Planes()) areas.push_back(plane.area);
    for (std::size_t i = 0; i < areas.size(); ++i)
        widths.push_back(areas[i] < kLeastAreaByWidth ? -1 : truth.Widths()[i]);
    return {TextOf(RecallBy(score, areas, kAreaLimits)),
            TextOf(RecallBy(score, widths, kWidthLimits))};
}

void PrintJson(const Measured& ours, const PointTruth& truth, const Result& r) {
    const PlaneScore& s = r.score;
    const auto& used = ours.search->Settings();
    const auto [byArea, byWidth] = ClassesOf(truth, s);
    fmt::print(
        R"({{"bench":"find_planes","name":"{}","who":"{}","points":{},"spacing":{:.5f},)"
        R"("noise":{:.5f},"cell":{},"seconds":{:.6f},"points_per_second":{:.0f},"ratio":{:.2f},)"
        R"("found":{},"known":{},"precision50":{:.4f},"recall50":{:.4f},"precision75":{:.4f},)"
        R"("recall75":{:.4f},"split":{},"joined":{},"normal_degrees":{:.4f},)"
        R"("offset_millimetres":{:.4f},"assigned":{:.4f},"tolerance":{:g}{}}})"
        "\n",
        r.name, r.who, s.points, used.spacing, used.noise, used.cellSize, r.seconds,
        static_cast<double>(s.points) / r.seconds, r.seconds / ours.seconds, s.found, s.known,
        s.precision50, s.recall50, s.precision75, s.recall75, s.split, s.joined, s.normalDegrees,
        s.offsetMillimetres, s.assigned, r.tolerance,
        byArea.empty() ? "" : fmt::format(R"(,"by_area":{},"by_width":{})", byArea, byWidth));
    std::fflush(stdout);
}

void PrintText(const Measured& ours, const PointTruth& truth, const Result& r) {
    const PlaneScore& s = r.score;
    fmt::print(
        "{:<22} {:>10} pts {:>9.3f} s {:>9.3f} M/s | {:>4} of {:>4} | P50 {:.3f} R50 {:.3f} "
        "P75 {:.3f} R75 {:.3f} | split {} joined {} | {:.3f} deg {:.2f} mm | {:.1f} %\n",
        r.who, s.points, r.seconds, static_cast<double>(s.points) / r.seconds / 1e6, s.found,
        s.known, s.precision50, s.recall50, s.precision75, s.recall75, s.split, s.joined,
        s.normalDegrees, s.offsetMillimetres, 100 * s.assigned);
    const auto [byArea, byWidth] = ClassesOf(truth, s);
    if (!byArea.empty())
        fmt::print("{:<22} found at 0.5, at 0.75, of: by area {}, by width {}\n", "", byArea,
                   byWidth);
    if (r.name != "orvix")
        fmt::print(
            "{:<22} {:.1f} times as long ({:.1f} without normals), {:g} times the distance\n", "",
            r.seconds / ours.seconds, (r.seconds - r.normalSeconds) / ours.seconds, r.tolerance);
}

void Print(const Arguments& a, const Measured& ours, const PointTruth& truth, const Result& r) {
    if (a.json)
        PrintJson(ours, truth, r);
    else
        PrintText(ours, truth, r);
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

/// Calls use(position, true plane, found plane) for each point.
template <class Use>
void ForEachPoint(CProjectCore& core, const PlaneSearch& search, const PointTruth& truth,
                  Use&& use) {
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        (void)search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
            for (std::size_t i = 0; i < block.points.size(); ++i) {
                const auto& p = block.points[i];
                use(detail::Vector{p.x, p.y, p.z}, truth.Of(block.firstRecord + i, p),
                    block.planes[i]);
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

/// How good a score is where one has to be chosen: the harmonic mean of precision and recall.
double MeritOf(const PlaneScore& score) {
    const double sum = score.precision50 + score.recall50;
    return sum > 0 ? 2 * score.precision50 * score.recall50 / sum : 0;
}

/// A scan as rivals get it.
struct LabelledPoints {
    std::vector<detail::Vector> points;
    std::vector<std::int32_t> labels;
};

/// What a rival finds with the best of its tolerances.
Result BestOf(const Arguments& a, const bench::PlanePeer& peer, const LabelledPoints& scan,
              const Measured& ours, const PointTruth& truth) {
    const auto& used = ours.search->Settings();
    Result best;
    for (const double tolerance : a.tolerances) {
        const bench::PeerResult result = peer.run(
            scan.points, {used.distance * tolerance, used.angle, ours.minPoints, 4 * used.spacing});
        PlaneCounter counter(truth.Planes());
        for (std::size_t i = 0; i < scan.points.size(); ++i)
            counter.Add(scan.points[i], scan.labels[i], result.labels[i]);
        Result now{peer.name,
                   peer.who,
                   result.normalSeconds + result.seconds,
                   result.normalSeconds,
                   tolerance,
                   counter.Score(ours.knownPoints)};
        if (best.name.empty() || MeritOf(now.score) > MeritOf(best.score)) best = std::move(now);
    }
    return best;
}

void RunPeers(const Arguments& a, CProjectCore& core, const Measured& ours,
              const PointTruth& truth) {
    LabelledPoints scan;
    ForEachPoint(core, *ours.search, truth, [&](const auto& p, std::int32_t t, auto) {
        scan.points.push_back(p);
        scan.labels.push_back(t);
    });
    for (const bench::PlanePeer& peer : bench::PlanePeers()) {
        if (!a.peers.empty() &&
            std::find(a.peers.begin(), a.peers.end(), peer.name) == a.peers.end())
            continue;
        if (peer.run == nullptr) {
            fmt::print(stderr, "left out: {}, which needs {}\n", peer.who, peer.package);
            continue;
        }
        Print(a, ours, truth, BestOf(a, peer, scan, ours, truth));
    }
}

void Measure(Arguments a, const CString& path, PointTruth truth) {
    const auto project = detail::OpenProject::Open(path);
    bench::Require(project.has_value(), project ? "" : project.error().message);
    CProjectCore& core = (*project)->Core();
    // Planes are compared in the project's frame.
    truth.MoveTo(detail::ReadTransform((*project)->Manager().transformFile)->Origin());
    truth.Read(core);
    a.search.stations = reports::ScannerPositions((*project)->Manager()).value();
    Measured ours = Search(a, core);
    if (truth.MinPoints() > 0) ours.knownPoints = truth.MinPoints();
    PlaneCounter counter(truth.Planes());
    ForEachPoint(core, *ours.search, truth,
                 [&](const auto& p, std::int32_t t, std::int32_t f) { counter.Add(p, t, f); });
    const Result result{
        "orvix", "orvix planes", ours.seconds, 0, 1, counter.Score(ours.knownPoints)};
    Print(a, ours, truth, result);
    if (a.list) List(truth.Planes(), result.score);
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
    Measure(a, Imported(a, folder, scan), PointTruth::OfIntensities(building.Planes()));
}

/// Scans and searches a room, or searches one that was kept.
void MeasureRoom(const Arguments& a) {
    test::ScratchFolder folder;
    test::RoomOptions options = a.room;
    options.seed = a.building.seed;
    const test::SyntheticRoom room(options);
    std::vector<bench::TrueFace> faces;
    for (const test::TruePlane& plane : room.Planes()) faces.push_back({plane, true});
    CString project = platform::FromUtf8(a.project);
    if (a.project.empty()) {
        const CString scan = folder / L"room.ptx";
        test::WritePtx(room, scan);
        project = Imported(a, folder, scan);
    }
    Measure(a, project, PointTruth::OfFaces(std::move(faces), test::kNoPlane));
}

/// The value, or the end of the program with what is wrong.
template <class T>
T Wanted(Expected<T> value) {
    bench::Require(value.has_value(), value ? "" : value.error().message);
    return std::move(*value);
}

PointTruth TruthOfProject(const Arguments& a) {
    if (!a.truth.empty())
        return PointTruth::OfMarks(Wanted(bench::ReadMarkedPlanes(platform::FromUtf8(a.truth))));
    if (!a.house.empty())
        return PointTruth::OfFaces(Wanted(bench::ReadHouse(platform::FromUtf8(a.house))),
                                   test::kUnjudgedPlane);
    return a.coloured ? PointTruth::OfColours() : PointTruth();
}

}  // namespace

int main(int argc, char** argv) {
    Arguments a;
    CLI::App app("How fast and how faithfully are all planes of a cloud found?");
    AddOptions(app, a);
    CLI11_PARSE(app, argc, argv);
    if (a.inRoom)
        MeasureRoom(a);
    else if (!a.project.empty())
        Measure(a, platform::FromUtf8(a.project), TruthOfProject(a));
    else
        MeasureBuilding(a);
    return 0;
}
