// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/station_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <system_error>

#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "orvix/project/station_files.h"

namespace orvix::reports {

namespace {

using detail::kMaxStations;
constexpr std::uint64_t kPointsBetweenLooks = 1u << 20;

Expected<std::vector<ListedStation>> ReadFiles(const WorldProject& project) {
    const ProjectManager& manager = project.Manager();
    const std::uint32_t count = std::min(manager.cloudHeader.stationCount, kMaxStations);
    std::vector<ListedStation> stations(count);
    for (std::size_t i = 0; i < stations.size(); ++i) stations[i].number = i;
    std::vector<detail::StationFault> faults;
    for (const int number : detail::StationsWithFiles(manager, count)) {
        const detail::StationFiles files = detail::ReadStationFiles(manager, number, faults);
        if (!faults.empty()) {
            return Fail(ErrorCode::Damaged,
                        fmt::format("{} {}; import the scans again",
                                    platform::ToUtf8(faults.front().file), faults.front().what));
        }
        ListedStation& station = stations[static_cast<std::size_t>(number)];
        station.name = files.name;
        if (files.position) station.position = project.frame.ToWorld(*files.position);
        station.orientation = files.orientation;
    }
    return stations;
}

Expected<void> CountPoints(const WorldProject& project, const std::function<bool()>& proceed,
                           std::vector<ListedStation>& stations) {
    const auto reader = project.Core().CreateAlivePointReader();
    const std::int64_t count = reader ? project.Core().AlivePointCount() : 0;
    CCloudPoint<float> point;
    for (std::int64_t i = 0; i < count; ++i) {
        if (static_cast<std::uint64_t>(i) % kPointsBetweenLooks == 0 && !proceed())
            return Fail(ErrorCode::Cancelled, "the list was cancelled");
        if (!reader->ReadNextPoint()) break;
        reader->ReadCurrentPoint(point);
        const std::uint16_t intensity = detail::IntensityOf(point);
        const std::uint16_t number = detail::StationOf(point);
        if (number >= stations.size())
            return Fail(ErrorCode::Damaged,
                        fmt::format("point {} is of station {} of {}; import the scans again", i,
                                    number, stations.size()));
        ListedStation& station = stations[number];
        station.lowest = station.points == 0 ? intensity : std::min(station.lowest, intensity);
        station.highest = std::max(station.highest, intensity);
        ++station.points;
    }
    return {};
}

}  // namespace

Expected<std::vector<ListedStation>> ListStations(const WorldProject& project,
                                                  const std::function<bool()>& proceed) {
    auto stations = ReadFiles(project);
    if (!stations) return stations;
    if (auto counted = CountPoints(project, proceed, *stations); !counted) return ErrorOf(counted);
    return stations;
}

// A position that cannot be read is not one that was never stored: planes are turned by it.
Expected<std::vector<std::optional<SimplePointT<double>>>> NumberedScanners(
    const ProjectManager& manager) {
    std::vector<std::optional<SimplePointT<double>>> positions;
    std::error_code listed;
    platform::ListFolder(manager.scanposFolder, listed);
    if (listed && listed != std::errc::no_such_file_or_directory) {
        return FailSystem(listed, platform::ToUtf8(manager.scanposFolder) + " cannot be read");
    }
    for (const int i : detail::StationsWithFiles(manager, manager.cloudHeader.stationCount)) {
        const CString path = detail::StationPathsOf(manager, i).position;
        SimplePointT<double> at;
        const detail::StationBytes read = detail::ReadStationBytes(path, sizeof at);
        if (read.openError == std::errc::no_such_file_or_directory) continue;
        if (const std::error_code error = read.openError ? read.openError : read.readError) {
            return FailSystem(error, platform::ToUtf8(path) + " cannot be read");
        }
        std::memcpy(&at, read.bytes.data(), read.bytes.size() / sizeof at.x * sizeof at.x);
        positions.resize(static_cast<std::size_t>(i) + 1);
        positions.back() = at;
    }
    return positions;
}

Expected<std::vector<SimplePointT<double>>> ScannerPositions(const ProjectManager& manager) {
    const auto numbered = NumberedScanners(manager);
    if (!numbered) return ErrorOf(numbered);
    std::vector<SimplePointT<double>> positions;
    for (const auto& position : *numbered)
        if (position) positions.push_back(*position);
    return positions;
}

}  // namespace orvix::reports
