// SPDX-License-Identifier: GPL-3.0-or-later
#include <Eigen/Geometry>
#include <fmt/format.h>

#include <array>
#include <limits>
#include <memory>
#include <new>
#include <system_error>

#include "building/saved/building_records.h"
#include "orvix/c/project_handle.h"
#include "orvix/platform/text.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/point_editor.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

// A project file holds a whole settings record; other files of that name are not opened as one.
Answer RequireSettings(const ProjectManager& paths) {
    const std::string name = platform::ToUtf8(paths.projectFile);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(paths.projectFile, error);
    if (error) return Refuse(FailSystem(error, name + " cannot be opened").value());
    std::array<std::uint8_t, sizeof(std::int32_t)> start{};
    const std::size_t held = file.ReadAt(0, start.data(), start.size(), error);
    if (error) return Refuse(FailSystem(error, name + " cannot be read").value());
    const std::int32_t version = SettingsVersionOf({start.data(), held});
    if (version >= 1 && version <= kSettingsVersion &&
        file.Size() >= SettingsBytesOfVersion(version)) {
        return {};
    }
    return Refuse(ORVIX_BAD_INPUT,
                  fmt::format("{} is not a project: its {} bytes hold no settings record of "
                              "version 1 to {}",
                              name, file.Size(), kSettingsVersion));
}

Answer Map(platform::MappedFile& mapped, const CString& path) {
    std::error_code error;
    mapped = platform::MappedFile::Open(path, error);
    if (!error) return {};
    return Refuse(FailSystem(error, platform::ToUtf8(path) + " cannot be mapped").value());
}

Answer OpenCore(orvix_project& project) {
    // A cloud without points has nothing to map, and nothing to write.
    const bool write = project.writable && project.summary.points > 0;
    if (write ? EditedBlocks::Open(project.Core()) : project.Core().OpenCores()) return {};
    return Refuse(ORVIX_FAILED, fmt::format("the point files of {} cannot be opened for {}; check "
                                            "that they are there, and their permissions",
                                            platform::ToUtf8(project.Paths().projectFile),
                                            write ? "writing" : "reading"));
}

Answer OpenFiles(orvix_project& project) {
    const ProjectManager& paths = project.Paths();
    std::error_code error;
    project.points = platform::File::OpenRead(paths.gridPts, error);
    if (error) {
        return Refuse(
            FailSystem(error, platform::ToUtf8(paths.gridPts) + " cannot be opened").value());
    }
    if (auto done = Map(project.index1000, paths.grid1000cmIdx); !done) return done;
    if (auto done = Map(project.index100, paths.gridIdx); !done) return done;
    if (!project.Core().Has10cm()) return {};
    if (auto done = Map(project.index10, paths.grid10cmIdx); !done) return done;
    if (auto done = Map(project.runs10, paths.grid1to10cmIdx); !done) return done;
    const std::uint64_t runs = RecordsOf<CIndexerSmall>(project.runs10).size();
    const std::uint64_t cells = RecordsOf<GridCellRecord>(project.index100).size();
    if (runs >= cells) return {};
    return Refuse(
        ORVIX_DAMAGED,
        fmt::format("{} holds {} runs for {} cells of 100 cm; check the project or import "
                    "it again",
                    platform::ToUtf8(paths.grid1to10cmIdx), runs, cells));
}

Answer OpenHandle(const CString& path, bool writable, orvix_project& project) {
    auto summary = SummariseProject(path);
    if (!summary) return Refuse(summary.error());
    project.summary = *summary;
    project.writable = writable;
    project.opened = OpenProject::Load(path);
    if (auto sound = RequireSettings(project.Paths()); !sound) return sound;
    if (auto done = OpenCore(project); !done) return done;
    return OpenFiles(project);
}

void Put(double (&out)[3], const SimplePointT<double>& p) {
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
}

orvix_project_info InfoOf(const orvix_project& project) {
    const ProjectSummary& summary = project.summary;
    const PROJECT_SETTINGS& settings = project.Paths().projectSettings;
    orvix_project_info info{};
    info.stations = summary.stations;
    info.points = summary.points;
    info.skeleton_points = summary.skeletonPoints;
    info.cells_1000cm = summary.cells1000;
    info.cells_100cm = summary.cells100;
    info.cells_10cm = summary.cells10;
    info.bytes = summary.bytes;
    info.scale = summary.scale;
    Put(info.origin, summary.frame.Origin());
    std::copy(summary.frame.m.begin(), summary.frame.m.end(), info.local_to_world);
    Put(info.min, summary.bounds.min);
    Put(info.max, summary.bounds.max);
    info.split_size = settings.aliveSplitSize;
    Put(info.diff, {settings.aliveDiffA, settings.aliveDiffB, settings.aliveDiffC});
    info.min_plane = settings.aliveMinPlane;
    info.skeleton_split_size = settings.skeletSplitSize;
    Put(info.skeleton_diff, {settings.skeletDiffA, settings.skeletDiffB, settings.skeletDiffC});
    info.skeleton_min_plane = settings.skeletMinPlane;
    info.min_cell_points = settings.minCellPoints;
    info.usage = settings.usage;
    std::copy(settings.colour.begin(), settings.colour.end(), info.colour);
    return info;
}

orvix_station_info StationOf(const ProjectManager& paths, int station) {
    ProjectManager project = paths;
    orvix_station_info info{};
    SimplePointT<double> position;
    if (project.GetScanPosition(station, position.x, position.y, position.z)) {
        info.known |= ORVIX_STATION_POSITION;
        Put(info.position, position);
    }
    ScanRotation rotation;
    project.GetScanRotation(station, rotation);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            info.rotation[row * 3 + column] = rotation.linear()(row, column);
        }
    }
    std::int16_t lowest = 0;
    std::int16_t highest = 0;
    if (project.GetScanIntensityRanges(station, lowest, highest)) {
        info.known |= ORVIX_STATION_INTENSITIES;
        info.lowest_intensity = lowest;
        info.highest_intensity = highest;
    }
    return info;
}

}  // namespace

// Nobody is left to hear of a failure: the host's own calls have succeeded, and the mark beside the
// points says that their sums are of before.
// BEHAVIOUR K9
orvix_project::~orvix_project() {
    if (!edits) return;
    try {
        if (PointEditor::Sync(Paths())) (void)edits->End(opened->Stamp());
    } catch (const std::bad_alloc&) {
        return;
    }
}

namespace orvix::detail {

Answer ReadPoints(const orvix_project& project, std::uint64_t first, std::uint64_t count,
                  orvix_point* points) {
    std::error_code error;
    const std::uint64_t bytes = count * kAlivePointBytes;
    const std::size_t got = project.points.ReadAt(first * kAlivePointBytes, points,
                                                  static_cast<std::size_t>(bytes), error);
    const std::string name = platform::ToUtf8(project.Paths().gridPts);
    if (error) return Refuse(FailSystem(error, name + " cannot be read").value());
    if (got == bytes) return {};
    return Refuse(ORVIX_DAMAGED,
                  fmt::format("{} ends within the points {} to {}; it was shortened while the "
                              "project was open",
                              name, first, first + count));
}

}  // namespace orvix::detail

orvix_status orvix_project_open(const char* path, const orvix_open_options* options,
                                orvix_project** project, orvix_error* error) {
    if (project != nullptr) *project = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(path, "path"); !there) return there;
        if (auto there = RequirePointer(project, "project"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        if (taken->access != ORVIX_READ && taken->access != ORVIX_READ_WRITE) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          fmt::format("options.access is {}; it is ORVIX_READ or ORVIX_READ_WRITE",
                                      taken->access));
        }
        auto opened = std::make_unique<orvix_project>();
        auto done =
            OpenHandle(platform::FromUtf8(path), taken->access == ORVIX_READ_WRITE, *opened);
        if (done) *project = opened.release();
        return done;
    });
}

void orvix_project_close(orvix_project* project) {
    delete project;
}

orvix_status orvix_project_get_info(const orvix_project* project, orvix_project_info* info,
                                    orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        return Give(InfoOf(*project), info, "info");
    });
}

orvix_status orvix_project_get_text(const orvix_project* project, int32_t which, char* text,
                                    uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        const CString* const texts[] = {&project->Paths().projectName,
                                        &project->Paths().projectFile,
                                        &project->Paths().projectFilesFolder};
        if (which < ORVIX_TEXT_NAME || which > ORVIX_TEXT_FOLDER) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("there is no text {}", which));
        }
        const std::string utf8 = platform::ToUtf8(*texts[which]);
        const auto fill = Fits(utf8.size() + 1, text, capacity, count, "bytes");
        if (!fill) return ErrorOf(fill);
        if (*fill) std::memcpy(text, utf8.c_str(), utf8.size() + 1);
        return {};
    });
}

orvix_status orvix_project_check(const char* path, const orvix_check_options* options,
                                 uint64_t* faults, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(path, "path"); !there) return there;
        if (auto there = RequirePointer(faults, "faults"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        CheckOptions how;
        how.modelFault = building::FaultOfRecords;
        if (taken->max_faults != 0) how.maxFaults = static_cast<std::size_t>(taken->max_faults);
        if (taken->proceed != nullptr) {
            how.progress = [&](double done) { return taken->proceed(taken->user, done) != 0; };
        }
        const auto report = CheckProject(platform::FromUtf8(path), how);
        if (!report) return Refuse(report.error());
        *faults = report->total;
        if (taken->fault == nullptr) return {};
        for (const CheckFault& fault : report->faults) {
            taken->fault(taken->user, fault.file.c_str(), fault.what.c_str());
        }
        return {};
    });
}

orvix_status orvix_project_get_station(const orvix_project* project, uint32_t station,
                                       orvix_station_info* info, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (station > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("there is no station {}", station));
        }
        return Give(StationOf(project->Paths(), static_cast<int>(station)), info, "info");
    });
}
