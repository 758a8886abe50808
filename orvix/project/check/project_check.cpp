// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/project_check.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/file.h"
#include "orvix/project/access/import_marks.h"
#include "orvix/project/check/check_cell_list.h"
#include "orvix/project/check/check_saved_model.h"
#include "orvix/project/check/check_saved_planes.h"
#include "orvix/project/check/check_skeleton.h"
#include "orvix/project/check/check_sums.h"
#include "orvix/project/histogram_file.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"
#include "orvix/project/station_files.h"
#include "orvix/project/transform_file.h"

namespace orvix::detail {
namespace {

// Up to `bytes` bytes from the start of a small file; `size` is the whole file's.
std::vector<std::uint8_t> ReadStart(CheckLog& log, const CString& path, std::size_t bytes,
                                    std::uint64_t& size) {
    std::vector<std::uint8_t> start(bytes);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    std::size_t read = 0;
    if (!error) {
        size = file.Size();
        read = file.ReadAt(0, start.data(), start.size(), error);
    }
    if (error) log.CannotRead(path, error);
    start.resize(read);
    return start;
}

void CheckSettings(CheckLog& log, const CString& path) {
    std::uint64_t size = 0;
    const auto bytes = ReadStart(log, path, kProjectFileBytes, size);
    const std::int32_t version = SettingsVersionOf(bytes);
    if (version < 0 || version > kSettingsVersion) {
        log.Add(path, "has settings of version {}; versions up to {} are known", version,
                kSettingsVersion);
    } else if (const auto whole = SettingsBytesOfVersion(version); size != whole) {
        log.Add(path, "holds {} bytes where settings of version {} take {}", size, version, whole);
    }
}

CLOUD_HEADER CheckHead(CheckLog& log, const CString& path) {
    std::uint64_t size = 0;
    const auto bytes = ReadStart(log, path, kHeadFileBytes, size);
    CLOUD_HEADER head;
    std::memcpy(&head, bytes.data(), bytes.size());
    if (size != kHeadFileBytes) log.Add(path, "holds {} bytes instead of {}", size, kHeadFileBytes);
    if (!std::isfinite(head.scale) || head.scale <= 0) {
        log.Add(path, "holds a skeleton scale of {}", head.scale);
    }
    if (head.reserved72 != 0 || head.reserved84 != 0) log.Add(path, "has reserved bytes in use");
    return head;
}

// The sum of a histogram's counts. Bins of one value follow each other where a count is too large
// for one of them.
std::int64_t CheckHistogram(CheckLog& log, const CString& path) {
    const RecordFile<HistogramRecordBytes> bins(path, log);
    double previous = -std::numeric_limits<double>::infinity();
    std::int64_t total = 0;
    for (std::uint64_t i = 0; i < bins.Count(); ++i) {
        const HistogramRecord bin = HistogramRecordAt(bins[i].data());
        if (!std::isfinite(bin.value) || bin.value < previous) {
            log.Add(path, "bin {} at {} comes before the one before it", i, bin.value);
        }
        if (bin.count < 0) log.Add(path, "bin {} counts {} points", i, bin.count);
        previous = bin.value;
        total += bin.count;
        if (i % kCheckBlock == 0 && !log.Advance(kCheckBlock * sizeof(HistogramRecordBytes))) break;
    }
    return total;
}

void CheckHistograms(CheckLog& log, const ProjectManager& paths, std::uint64_t points) {
    const auto expected = static_cast<std::int64_t>(points);
    for (const CString* path :
         {&paths.intensitiesHist, &paths.intensitiesSliceHist, &paths.zHist, &paths.zSliceHist}) {
        const std::int64_t total = CheckHistogram(log, *path);
        if (total != expected) log.Add(*path, "counts {} points of {}", total, expected);
    }
}

// A head file that counts more stations than there can be is a fault of its own.
void CheckStations(CheckLog& log, const ProjectManager& paths, std::uint32_t stations) {
    std::vector<StationFault> faults;
    for (const int station : StationsWithFiles(paths, stations))
        ReadStationFiles(paths, station, faults);
    for (const StationFault& fault : faults) log.Add(fault.file, "{}", fault.what);
}

void CheckFiles(CheckLog& log, ProjectManager& paths, const CheckOptions& options) {
    if (IsHalfReplaced(paths.projectFile)) {
        log.Add(
            paths.projectFile,
            "holds the settings of the former project beside the points of a new one: an import "
            "was ended while it replaced the project, and the next one settles it");
    }
    CheckSettings(log, paths.projectFile);
    const CLOUD_HEADER head = CheckHead(log, paths.headFile);
    if (const auto frame = ReadTransform(paths.transformFile); !frame) {  // BEHAVIOUR K4
        if (frame.error().code != ErrorCode::Damaged) return log.Refuse(frame.error());
        log.Add(paths.transformFile, "{}", frame.error().message);
    }
    CheckStations(log, paths, head.stationCount);
    const GridFiles grid(paths, paths.LASScale(head.scale) == 5, log);
    const auto stretches = CheckGrid(log, paths, grid, head, options.runBlocks);
    if (!log.Cancelled()) CheckCellList(log, paths, grid);
    if (!log.Cancelled()) CheckSkeleton(log, paths, grid, head, stretches);
    if (!log.Cancelled()) CheckHistograms(log, paths, grid.points.Count());
    if (!log.Cancelled()) CheckSavedPlanes(log, paths);
    if (!log.Cancelled()) CheckSavedModel(log, paths, options.modelFault);
}

}  // namespace

Expected<CheckReport> CheckProject(const CString& projectFile, const CheckOptions& options) {
    ProjectManager paths;
    if (auto found = FindProject(paths, projectFile); !found) {  // BEHAVIOUR K1
        return ErrorOf(found);
    }
    CheckLog log(options);
    CheckFiles(log, paths, options);
    SumReport sums;
    if (!log.Cancelled()) sums = CheckSums(log, paths, options);
    if (log.Refusal()) return tl::unexpected(*log.Refusal());
    if (log.Cancelled()) return Fail(ErrorCode::Cancelled, "the check was cancelled");
    CheckReport report = log.Finish();
    report.sums = std::move(sums);
    return report;
}

}  // namespace orvix::detail
