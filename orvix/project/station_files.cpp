// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/station_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"

namespace orvix::detail {
namespace {

using Faults = std::vector<StationFault>;

/// Reads a whole file whose size `faultOf` accepts; false where there is none or it is faulty.
template <class FaultOf>
bool ReadWhole(const CString& path, std::uint64_t maxBytes, Faults& faults, std::string& bytes,
               const FaultOf& faultOf) {
    if (!platform::PathExists(path)) return false;
    StationBytes read = ReadStationBytes(path, maxBytes);
    const auto unreadable = [](std::error_code error) {
        return "cannot be read: " + error.message();
    };
    std::string fault = read.openError ? unreadable(read.openError) : faultOf(read.size);
    if (fault.empty() && (read.readError || read.bytes.size() != read.size))
        fault = unreadable(read.readError);
    if (!fault.empty()) {
        faults.push_back({path, fault});
        return false;
    }
    bytes = std::move(read.bytes);
    return true;
}

template <class Value, std::size_t N>
bool ReadValues(const CString& path, Faults& faults, std::array<Value, N>& values) {
    std::string bytes;
    const bool read = ReadWhole(path, sizeof(values), faults, bytes, [](std::uint64_t size) {
        if (size == sizeof(values)) return std::string();
        return fmt::format("holds {} bytes instead of {}", size, sizeof(values));
    });
    if (read) std::memcpy(values.data(), bytes.data(), bytes.size());
    return read;
}

template <std::size_t N>
bool AllFinite(const std::array<double, N>& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

void ReadPosition(const CString& path, Faults& faults, StationFiles& station) {
    std::array<double, 3> p{};
    if (!ReadValues(path, faults, p)) return;
    if (AllFinite(p)) {
        station.position = SimplePointT<double>{p[0], p[1], p[2]};
    } else {
        faults.push_back({path, fmt::format("holds the position ({}, {}, {})", p[0], p[1], p[2])});
    }
}

void ReadOrientation(const CString& path, Faults& faults, StationFiles& station) {
    std::array<double, 4> turn{};
    if (!ReadValues(path, faults, turn)) return;
    const double length = std::sqrt(turn[0] * turn[0] + turn[1] * turn[1] + turn[2] * turn[2]);
    if (AllFinite(turn) && std::fabs(length - 1) <= kUnitTolerance) {
        station.orientation = turn;
        return;
    }
    faults.push_back(
        {path, fmt::format("holds a turn by {} about ({}, {}, {}), which is no axis of "
                           "length 1",
                           turn[3], turn[0], turn[1], turn[2])});
}

void ReadIntensities(const CString& path, Faults& faults, StationFiles& station) {
    std::array<std::int16_t, 2> range{};
    if (!ReadValues(path, faults, range)) return;
    if (range[0] <= range[1]) {
        station.intensities = range;
    } else {
        faults.push_back(
            {path, fmt::format("holds intensities from {} to {}", range[0], range[1])});
    }
}

void ReadName(const CString& path, Faults& faults, StationFiles& station) {
    std::string name;
    const bool read = ReadWhole(path, kStationNameBytes, faults, name, [](std::uint64_t size) {
        if (size <= kStationNameBytes) return std::string();
        return fmt::format("holds {} bytes, more than the {} of a name", size, kStationNameBytes);
    });
    if (read) station.name = std::move(name);
}

// The number in a station file's name; nothing for any other name.
std::optional<int> StationIn(const CString& name) {
    constexpr std::wstring_view kStart = L"station_";
    constexpr std::size_t kMostDigits = 5;
    if (!platform::EqualIgnoringCase(std::wstring_view(name).substr(0, kStart.size()), kStart))
        return std::nullopt;
    int number = 0;
    std::size_t at = kStart.size();
    for (; at < name.size() && name[at] >= L'0' && name[at] <= L'9'; ++at) {
        if (at == kStart.size() + kMostDigits) return std::nullopt;
        number = number * 10 + static_cast<int>(name[at] - L'0');
    }
    const bool named = at > kStart.size() && at < name.size() && name[at] == L'.';
    return named ? std::optional(number) : std::nullopt;
}

}  // namespace

CString StationNotePath(const ProjectManager& project) {
    return platform::JoinPath(project.scanposFolder, L"rtfm.txt");
}

std::vector<int> StationsWithFiles(const ProjectManager& project, std::uint32_t stations) {
    const int end = static_cast<int>(std::min(stations, kMaxStations));
    std::vector<int> found;
    std::error_code error;
    for (const CString& name : platform::ListFolder(project.scanposFolder, error)) {
        const std::optional<int> station = StationIn(name);
        if (station && *station < end) found.push_back(*station);
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        found.resize(static_cast<std::size_t>(end));
        std::iota(found.begin(), found.end(), 0);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

StationPaths StationPathsOf(const ProjectManager& project, int station) {
    const auto path = [&](const wchar_t* ending) {
        return platform::JoinPath(project.scanposFolder,
                                  L"station_" + std::to_wstring(station) + ending);
    };
    return {path(L".pos"), path(L".orientation"), path(L".intens"), path(L".name")};
}

StationBytes ReadStationBytes(const CString& path, std::uint64_t maxBytes) {
    StationBytes read;
    const platform::File file = platform::File::OpenRead(path, read.openError);
    if (read.openError) return read;
    read.size = file.Size();
    read.bytes.resize(static_cast<std::size_t>(std::min(read.size, maxBytes)));
    read.bytes.resize(file.ReadAt(0, read.bytes.data(), read.bytes.size(), read.readError));
    return read;
}

StationFiles ReadStationFiles(const ProjectManager& project, int station,
                              std::vector<StationFault>& faults) {
    const StationPaths paths = StationPathsOf(project, station);
    StationFiles files;
    ReadPosition(paths.position, faults, files);
    ReadOrientation(paths.orientation, faults, files);
    ReadIntensities(paths.intensities, faults, files);
    ReadName(paths.name, faults, files);
    return files;
}

}  // namespace orvix::detail
