// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/station_files.h"

namespace orvix::detail {
namespace {

// Folders of a project nest three deep; a host's own may go a little further.
constexpr int kDeepestFolder = 16;

std::uint64_t FileBytes(const CString& path) {
    std::uint64_t bytes = 0;
    platform::QueryFileSize(path, bytes);
    return bytes;
}

std::uint64_t FolderBytes(const CString& folder, int depth) {
    std::error_code ignored;
    std::uint64_t bytes = 0;
    for (const CString& name : platform::ListFolder(folder, ignored)) {
        const CString path = platform::JoinPath(folder, name);
        if (!platform::IsFolder(path)) {
            bytes += FileBytes(path);
        } else if (depth < kDeepestFolder) {
            bytes += FolderBytes(path, depth + 1);
        }
    }
    return bytes;
}

std::uint64_t ProjectBytes(const ProjectManager& paths) {
    const CString gridFolder = platform::ParentOf(paths.gridPts);
    std::uint64_t bytes = FileBytes(paths.projectFile) + FolderBytes(paths.projectFilesFolder, 0);
    if (!platform::IsSameFile(gridFolder, paths.indexFolder)) bytes += FolderBytes(gridFolder, 0);
    return bytes;
}

// The number of records of a headerless file; the first file that is missing is kept in `missing`.
std::uint64_t Records(const CString& path, std::uint64_t recordBytes, CString& missing) {
    std::uint64_t bytes = 0;
    if (!platform::QueryFileSize(path, bytes) && missing.empty()) missing = path;
    return bytes / recordBytes;
}

// A station file that is not right gives no name; `CheckProject` reports why.
std::vector<std::string> StationNames(const ProjectManager& paths, std::uint32_t stations) {
    std::vector<StationFault> ignored;
    std::vector<std::string> names(std::min(stations, kMaxStations));
    for (const int station : StationsWithFiles(paths, stations)) {
        const StationFiles files = ReadStationFiles(paths, station, ignored);
        names[static_cast<std::size_t>(station)] = files.name.value_or(std::string());
    }
    return names;
}

}  // namespace

Expected<ProjectSummary> SummariseProject(const CString& projectFile) {
    ProjectManager paths;
    if (auto found = FindProject(paths, projectFile); !found) {
        return ErrorOf(found);
    }
    CLOUD_HEADER head;
    paths.GetCloudHeader(&head);
    auto frame = ReadTransform(paths.transformFile);
    if (!frame) return ErrorOf(frame);

    ProjectSummary summary;
    CString missing = IsAbsent(head) ? paths.headFile : CString();
    summary.points = Records(paths.gridPts, kAlivePointBytes, missing);
    summary.skeletonPoints = Records(paths.gridSkeletCoordPts, kSkeletonRecordBytes, missing);
    summary.cells1000 = Records(paths.grid1000cmIdx, kGridCellBytes, missing);
    summary.cells100 = Records(paths.gridIdx, kGridCellBytes, missing);
    if (paths.LASScale(head.scale) == 5) {
        summary.cells10 = Records(paths.grid10cmIdx, kFineCellBytes, missing);
    }
    if (!missing.empty()) {
        return Fail(ErrorCode::Damaged, fmt::format("{} cannot be read; import the project again",
                                                    platform::ToUtf8(missing)));
    }
    summary.scale = head.scale;
    summary.frame = *frame;
    summary.bounds = frame->ToWorld(head.bounds);
    summary.stations = head.stationCount;
    summary.stationNames = StationNames(paths, head.stationCount);
    summary.bytes = ProjectBytes(paths);
    return summary;
}

}  // namespace orvix::detail
