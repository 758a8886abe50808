// SPDX-License-Identifier: GPL-3.0-or-later
#include <Eigen/Geometry>

#include <algorithm>
#include <vector>

#include "detection/plane_search.h"
#include "detection/saved/stored_planes.h"
#include "fuzz/small_project.h"
#include "importer/repair/repair.h"
#include "orvix/points/index_hash_reader.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/histogram_file.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_summary.h"
#include "orvix/project/station_files.h"
#include "reports/classification.h"
#include "reports/place_reason.h"
#include "reports/project_walk.h"
#include "reports/skeleton_sample.h"
#include "reports/station_list.h"
#include "reports/world_project.h"
#include "view/data/project_json.h"

namespace orvix::fuzz {
namespace {

constexpr std::uint64_t kMemory = std::uint64_t{64} << 20;

template <class Result>
bool Told(const Result& result) {
    Require(result || !result.error().message.empty(), "an error has a sentence");
    return result.has_value();
}

// Whether the check calls the project whole.
bool Check(const CString& file) {
    detail::CheckOptions everything;
    everything.sums = detail::SumDepth::All;
    const auto report = detail::CheckProject(file, everything);
    if (!Told(report)) return false;
    for (const detail::CheckFault& fault : report->faults)
        Require(!fault.file.empty() && !fault.what.empty(), "a fault has a file and a sentence");
    return report->Ok();
}

void UsePlanes(const detection::PlaneSet& planes, CAlivePointReader& reader) {
    std::uint64_t points = 0;
    const auto count = [&](const detection::PlanePoints& some) {
        points += some.points.size();
        for (const std::int32_t plane : some.planes)
            Require(plane >= -1 && plane < static_cast<std::int32_t>(planes.Planes().size()),
                    "points are of planes that there are");
    };
    bool whole = true;
    for (std::size_t chunk = 0; whole && chunk < planes.Chunks(); ++chunk)
        whole = Told(planes.ReadChunk(reader, chunk, count));
    Require(!whole || points == planes.Points(), "every point is handed over");
}

void Search(CProjectCore& core, bool whole) {
    detection::PlaneSearchOptions options;
    options.threads = 1;
    options.memoryLimitBytes = kMemory;
    const auto search = detection::PlaneSearch::Run(core, options);
    if (!Told(search)) {
        Require(!whole || search.error().code != ErrorCode::Damaged, "a whole project is searched");
        return;
    }
    if (const auto reader = core.CreateAlivePointReader())
        UsePlanes(detection::SearchedPlanes(core, **search, options.detail), *reader);
    const auto place = (*search)->Explain({0.1, 0.1, 0});
    if (Told(place)) static_cast<void>(reports::VerdictOf(*place));
}

void ReadPoints(const CProjectCore& core) {
    const auto reader = core.CreateAlivePointReader();
    if (!reader) return;
    CCloudPoint<float> point;
    const std::int64_t points = core.AlivePointCount();
    for (std::int64_t i = 0; i < points && reader->ReadNextPoint(); ++i)
        reader->ReadCurrentPoint(point);
    for (const std::int64_t at : {std::int64_t{0}, points / 2, points, points + 70'000})
        reader->ReadPoint(at * 24, point);
    SimplePointT<float> place;
    CPointDataFull data;
    const std::int64_t thinned = core.SkeletPointCount();
    for (std::int64_t i = 0; i < thinned && reader->ReadNextSkeletCoordPoint(); ++i)
        reader->ReadCurrentSkeletPoint(place);
    for (const std::int64_t at : {std::int64_t{0}, thinned, thinned + 70'000}) {
        reader->ReadSkeletPointData(at * 12, data);
        reader->ReadSkeletPoint(at * 12, place);
    }
}

// As a host walks cells, bounded by the entries that the file holds.
void ReadCells(const CProjectCore& core, bool fine) {
    const auto index = core.CreateIndexReader();
    const int cells = index->Count100();
    std::uint64_t offset = 0;
    unsigned count = 0;
    index->InitIndex100(0);
    for (int i = 0; i < cells; ++i) {
        const bool more = index->ReadIndex100(0);
        index->GetOffsetCount100(offset, count);
        if (fine) {
            const unsigned inside = std::min(index->InitIndex10(), 1000U);
            for (unsigned k = 0; k < inside && index->ReadIndex10(inside); ++k)
                index->GetOffsetCount10(offset, count);
        }
        if (!more) break;
    }
    for (int i = 0; i < 64 && index->ReadIndex1000(64); ++i) {
        index->GetOffsetCount1000(offset, count);
        index->InitIndex100(offset);
        index->ReadIndex100(count);
    }
}

// All bytes of an answer, of which a file that was spoilt may give fewer than announced.
void Drain(const Expected<view::Answer>& answer, bool whole) {
    Require(answer.has_value() || !whole, "a whole project has answers");
    if (!Told(answer)) return;
    std::uint64_t bytes = 0;
    while (true) {
        const auto piece = answer->pieces->Next();
        Require(piece.has_value() || !whole, "a whole project gives whole answers");
        if (!piece || piece->empty()) break;
        bytes += piece->size();
    }
    Require(bytes == answer->bytes || !whole, "as many bytes as were announced");
}

// What a page asks: the project at a glance, and cells of every level.
void ReadAsPage(const reports::WorldProject& project, bool whole) {
    const auto files = view::ProjectFiles::Open(project);
    if (!Told(files)) return;
    Told(view::ProjectJson(project, *files));
    const view::CellIndex& cells = files->cells;
    Drain(cells.Coarse(0, cells.Cells1000()), whole);
    for (std::uint64_t i = 0; i < cells.Cells1000(); ++i) Drain(cells.Children(100, i, 1), whole);
    const std::uint64_t fine = cells.Has10cm() ? cells.Cells100() : 0;
    for (std::uint64_t i = 0; i < fine; ++i) Drain(cells.Children(10, i, 1), whole);
}

void ReadSmallFiles(const ProjectManager& paths) {
    for (const CString* path :
         {&paths.intensitiesHist, &paths.intensitiesSliceHist, &paths.zHist, &paths.zSliceHist}) {
        const auto bins = detail::ReadHistogram(*path);
        if (Told(bins)) Told(reports::Classify(*bins, {3, 0, 1}));
        static_cast<void>(detail::SampleHistogram(*path, 1.5, 64));
    }
    int found = 0;
    CIndexHashReader({paths.indexHash}, {-1, -1, -1}, {2, 2, 2}).Find({1, 0, 0}, found);
    std::vector<detail::StationFault> faults;
    for (int station = -1; station < 4; ++station) ReadStationFiles(paths, station, faults);
    for (const detail::StationFault& fault : faults)
        Require(!fault.file.empty() && !fault.what.empty(), "a fault has a file and a sentence");
}

void ReadAsHost(const CString& file) {
    ProjectManager manager;
    if (!manager.Open(file)) Require(!manager.errorText.empty(), "a refusal has a text");
    ScanRotation rotation;
    double x = 0;
    double y = 0;
    double z = 0;
    std::int16_t lowest = 0;
    std::int16_t highest = 0;
    std::vector<double> samples;
    for (const int station : {-1, 0, 1, 70'000}) {
        manager.GetScanPosition(station, x, y, z);
        manager.GetScanIntensityRanges(station, lowest, highest);
        manager.GetScanRotation(station, rotation);
    }
    manager.ReadHistogram4Jenks(manager.zHist, &samples, 0.5, 64, 0);
    manager.Close();
}

void Walk(const CString& file, bool whole) {
    const bool walked = Told(reports::WalkProject(file));
    Require(!whole || walked, "a whole project is walked");
    const bool summarised = Told(detail::SummariseProject(file));
    Require(!whole || summarised, "a whole project is summarised");
}

void ReadWorld(const CString& file, bool whole, bool search) {
    auto project = reports::WorldProject::Open(file);
    Require(!whole || project, "a whole project is opened");
    if (!Told(project)) return;
    Told(reports::ListStations(*project, [] { return true; }));
    Told(reports::ScannerPositions(project->Manager()));
    reports::SampleSkeleton(*project, {}, reports::SkeletonStations::Read);
    ReadPoints(project->Core());
    ReadCells(project->Core(), project->Core().Has10cm());
    ReadAsPage(*project, whole);
    if (search) Search(project->Core(), whole);
    const auto stored =
        detection::StoredPlanes::Open(detail::SavedPlanesPath(project->Manager()), project->Core());
    const auto reader = project->Core().CreateAlivePointReader();
    if (Told(stored) && reader) UsePlanes(**stored, *reader);
}

// What a damaged file leads a repair to, which only tries.
void TryRepair(const CString& file) {
    importer::RepairOptions options;
    options.dryRun = true;
    options.accept = true;
    options.threads = 1;
    const auto report = importer::Repair(file, options);
    if (!Told(report)) return;
    for (const importer::RepairedFile& repaired : report->files) {
        const bool sound = repaired.state == importer::FileState::Sound;
        Require(sound || !repaired.why.empty(), "what was done to a file has a reason");
    }
}

}  // namespace

void ReadProject(const CString& file, unsigned readers) {
    const auto reads = [&](unsigned reader) { return (readers & reader) != 0; };
    const bool whole = reads(readers::kCheck) && Check(file);
    if (reads(readers::kWalk)) Walk(file, whole);
    if (reads(readers::kWorld | readers::kSearch)) ReadWorld(file, whole, reads(readers::kSearch));
    ProjectManager paths;
    detail::BuildPaths(paths, file);
    if (reads(readers::kSmallFiles)) ReadSmallFiles(paths);
    if (reads(readers::kC))
        ReadThroughC(file, reads(readers::kSearch) ? Searches::Made : Searches::Left);
    if (reads(readers::kHost)) ReadAsHost(file);
    if (reads(readers::kRepair)) TryRepair(file);
}

}  // namespace orvix::fuzz
