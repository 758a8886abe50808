// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_records.h"

#include <fmt/format.h>

#include <array>
#include <utility>

#include "importer/files/whole_file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_settings_file.h"
#include "orvix/project/station_files.h"
#include "orvix/project/transform_file.h"

namespace orvix::importer {
namespace {

namespace detail = orvix::detail;
using platform::ToUtf8;

}  // namespace

double ScaleOf(SkeletonSize size) {
    switch (size) {
        case SkeletonSize::OneCentimetre:
            return 0.01;
        case SkeletonSize::TenCentimetres:
            return 0.1;
        case SkeletonSize::OneMetre:
            break;
    }
    return 1.0;
}

CLOUD_HEADER HeadOf(const ProjectFacts& facts) {
    // Adding zero turns negative zeros into positive ones.
    const auto wide = [](const SimplePointT<float>& p) {
        return SimplePointT<double>{p.x + 0.0, p.y + 0.0, p.z + 0.0};
    };
    CLOUD_HEADER head;
    head.pointCount = facts.points;
    head.skeletonCount = facts.skeleton->points;
    head.scale = ScaleOf(facts.skeletonSize);
    head.bounds = {wide(facts.bounds.min), wide(facts.bounds.max)};
    head.stationCount = facts.stationCount;
    return head;
}

PROJECT_SETTINGS SettingsOf(const SkeletonSummary& summary) {
    PROJECT_SETTINGS settings;
    settings.baseStep = BaseStep(summary.aliveDensity.Median());
    // The skeleton is thinner than the cloud: its neighbourhoods reach further.
    settings.skeletSplitSize = kBaseStepsPerSplitSize * BaseStep(summary.skeletonDensity.Median());
    return settings;
}

namespace {

Expected<void> CheckOpens(const CString& projectFile) {
    ProjectManager check;
    if (check.Set(projectFile, false)) return {};
    return Fail(ErrorCode::Failure, fmt::format("the new project {} is not complete: {}",
                                                ToUtf8(projectFile), ToUtf8(check.errorText)));
}

Expected<void> CheckSizes(const ProjectManager& project, const ProjectFacts& facts) {
    const std::uint64_t skeletonBytes = facts.skeleton->points * kSkeletonRecordBytes;
    const std::array<std::pair<const CString*, std::uint64_t>, 3> files{
        {{&project.gridPts, facts.points * kAlivePointBytes},
         {&project.gridSkeletCoordPts, skeletonBytes},
         {&project.gridSkeletDataPts, skeletonBytes}}};
    for (const auto& [path, expected] : files) {
        std::uint64_t bytes = 0;
        if (platform::QueryFileSize(*path, bytes) && bytes == expected) continue;
        return Fail(ErrorCode::Failure,
                    fmt::format("{} holds {} bytes instead of {}; is another program at work "
                                "in its folder?",
                                ToUtf8(*path), bytes, expected));
    }
    return {};
}

}  // namespace

Expected<void> WriteProjectRecords(ProjectManager& project, const ProjectFacts& facts) {
    Expected<void> done = facts.skeleton->histograms.Write(project);
    for (const StationRecord& station : facts.stations) {
        if (done) done = WriteStation(project, station);
    }
    const CLOUD_HEADER head = HeadOf(facts);
    const auto origin = detail::LocalToWorld::Translation(facts.origin);
    project.projectSettings = SettingsOf(*facts.skeleton);
    const auto settings = detail::EncodeSettings(project.settingsVersion, project.projectSettings);
    if (done) {
        done = WriteWholeFile(project.transformFile, origin.m.data(), detail::kTransformFileBytes);
    }
    if (done) done = WriteWholeFile(project.headFile, &head, kHeadFileBytes);
    if (done) done = WriteWholeFile(project.projectFile, settings.data(), settings.size());
    if (done) done = CheckOpens(project.projectFile);
    // Opening has written the note once more, as it always does, without a look at the outcome.
    if (done) {
        done = WriteWholeFile(detail::StationNotePath(project), detail::kStationNote.data(),
                              detail::kStationNote.size());
    }
    return done ? CheckSizes(project, facts) : done;
}

}  // namespace orvix::importer
