// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/merge_part.h"

#include <array>
#include <utility>

#include "importer/tasks/task_name.h"
#include "importer/tasks/task_runs.h"
#include "importer/write/cloud_sink.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

// The files of a part: the path of a project's file that each is a part of, and its ending.
constexpr std::array kPartFiles{
    std::pair{&ProjectManager::grid1000cmIdx, L".blocks"},
    std::pair{&ProjectManager::gridIdx, L".metres"},
    std::pair{&ProjectManager::grid10cmIdx, L".fines"},
    std::pair{&ProjectManager::grid1to10cmIdx, L".runs"},
    std::pair{&ProjectManager::gridSkeletCoordPts, L".coordinates"},
    std::pair{&ProjectManager::gridSkeletDataPts, L".data"},
    std::pair{&ProjectManager::viewEntriesDtv, L".cells"},
    std::pair{&ProjectManager::viewGridDtv, L".view"},
    std::pair{&ProjectManager::viewGridLv, L".coarse"},
};

ProjectManager PathsFrom(const CString& start) {
    ProjectManager paths;
    for (const auto& [member, ending] : kPartFiles) paths.*member = start + ending;
    return paths;
}

std::string NoteName(std::uint64_t part) {
    return FileNameOf({TaskKind::Merge, part});
}

Json NoteOf(const MergedPart& part) {
    const Histograms::Counts counts = part.skeleton.histograms.All();
    return {{"first", part.first},
            {"points", part.points},
            {"removed", {part.removed.points, part.removed.hash}},
            {"sums", JsonOf(part.sums)},
            {"skeleton", part.skeleton.points},
            {"intensities", counts.intensities},
            {"heights", counts.heights},
            {"alive", part.skeleton.aliveDensity.All()},
            {"thinned", part.skeleton.skeletonDensity.All()}};
}

MergedPart PartOf(const Json& json) {
    MergedPart part;
    part.first = json.at("first");
    part.points = json.at("points");
    part.removed = {json.at("removed").at(0), json.at("removed").at(1)};
    part.sums = PiecesOf(json.at("sums"));
    part.skeleton.points = json.at("skeleton");
    Histograms::Counts counts;
    json.at("intensities").get_to(counts.intensities);
    json.at("heights").get_to(counts.heights);
    part.skeleton.histograms.AddCounts(counts);
    part.skeleton.aliveDensity.Join(json.at("alive").get<SurfaceDensity::Cells>());
    part.skeleton.skeletonDensity.Join(json.at("thinned").get<SurfaceDensity::Cells>());
    return part;
}

Expected<void> PublishFiles(const ProjectManager& from, const ProjectManager& to) {
    for (const auto& [member, ending] : kPartFiles) {
        if (!platform::PathExists(from.*member)) continue;  // the level that is left out
        if (auto done = TaskNotes::Publish(from.*member, to.*member); !done) return done;
    }
    return {};
}

void RemoveFiles(const ProjectManager& paths) {
    std::error_code ignored;
    for (const auto& [member, ending] : kPartFiles) platform::RemoveFile(paths.*member, ignored);
}

Expected<void> WritePart(const ProjectManager& paths, const std::vector<SortedRun>& runs,
                         const MergeRequest& request, MergedPart& part, ImportPool& pool) {
    const bool fine = request.skeleton != SkeletonSize::OneMetre;  // BEHAVIOUR I11
    GridWriter grid(request.frame,
                    fine ? IndexWriter::FineLevel::Write : IndexWriter::FineLevel::Omit,
                    part.first);
    Expected<void> done = grid.CreatePart(paths);
    if (done) done = request.stillOwn();
    SkeletonWriter skeleton(paths, request.skeleton, pool);
    CloudSink sink(request.frame, request.skeleton, grid, skeleton, part.skeleton);
    if (done) done = MergeRuns(runs, request.frame, request.merge, pool, sink);
    if (done) done = pool.RunOne([&] { return grid.Finish(); });
    if (!done) return done;
    part.points = grid.Points() - part.first;
    part.removed = grid.Duplicates();
    part.sums = grid.Pieces();
    done = sink.FinishSkeleton();
    if (done) done = skeleton.ClosePart();
    return done ? pool.RunOne([&] { return grid.Close(); }) : done;
}

}  // namespace

ProjectManager PartPaths(const TaskNotes& notes, std::uint64_t part) {
    return PathsFrom(notes.PathOf(NoteName(part)));
}

Expected<void> MergePart(const TaskNotes& notes, const ProjectManager& project,
                         const std::vector<SortedRun>& runs, const MergeRequest& request,
                         ImportPool& pool) {
    ProjectManager paths = PathsFrom(notes.NewPath(NoteName(request.part)));
    paths.gridPts = project.gridPts;
    MergedPart part;
    part.first = request.range.first;
    auto done = WritePart(paths, runs, request, part, pool);
    if (done) done = PublishFiles(paths, PartPaths(notes, request.part));
    if (!done) RemoveFiles(paths);
    return done ? notes.Write(NoteName(request.part), NoteOf(part)) : done;
}

Expected<MergedPart> ReadPart(const TaskNotes& notes, std::uint64_t part) {
    return ReadNote(notes, NoteName(part), PartOf);
}

}  // namespace orvix::importer
