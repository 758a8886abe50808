// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/station_table.h"

#include <fmt/format.h>

#include <algorithm>

#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kNamesShown = 20;

std::string NameOf(const CString& path, std::size_t scan, const ScanPart& part) {
    if (!part.name.empty()) return part.name;
    const std::string file =
        platform::ToUtf8(platform::RemoveExtension(platform::FileNameOf(path)));
    return scan == 0 ? file : fmt::format("{} {}", file, scan + 1);
}

std::string Listed(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), kNamesShown); ++i) {
        list += fmt::format("{}\"{}\"", i == 0 ? "" : ", ", names[i]);
    }
    if (names.size() > kNamesShown) list += fmt::format(" and {} more", names.size() - kNamesShown);
    return list;
}

}  // namespace

StationTable::StationTable(const std::vector<ScanInput>& inputs, const ImportOptions& options)
    : inputs_(inputs),
      options_(options),
      axes_(options.unit, options.up),
      numbers_(inputs.size()),
      found_(inputs.size()) {}

Expected<void> StationTable::EnterScans(std::size_t input) {
    if (found_[input]) return {};
    return EnterAll(input, inputs_[input].reader->Info().scans);
}

Expected<void> StationTable::EnterFound(std::size_t input, const std::vector<ScanPart>& scans) {
    found_[input] = true;
    return EnterAll(input, scans);
}

Expected<void> StationTable::EnterAll(std::size_t input, const std::vector<ScanPart>& scans) {
    while (numbers_[input].size() < scans.size()) {
        const ScanPart& part = scans[numbers_[input].size()];
        if (auto entered = Enter(input, part); !entered) return entered;
    }
    return {};
}

Expected<void> StationTable::Enter(std::size_t input, const ScanPart& part) {
    const std::size_t scan = numbers_[input].size();
    const std::string name = NameOf(inputs_[input].path, scan, part);
    const auto& wanted = options_.stationNames;
    names_.push_back(name);
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), name) == wanted.end()) {
        numbers_[input].push_back(std::nullopt);
        inputs_[input].reader->Omit(scan);
        return {};
    }
    if (stations_.size() == kMaxStations) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("the inputs hold more than the {} stations of a project; import "
                                "them into several projects",
                                kMaxStations));
    }
    numbers_[input].push_back(stations_.size());
    Station& station = stations_.emplace_back();
    station.input = input;
    station.name = name;
    if (part.pose) station.pose = axes_.ToWorld(*part.pose);
    station.placement = {part.map, axes_};
    return {};
}

Expected<void> StationTable::RequireChosen() const {
    for (const std::string& wanted : options_.stationNames) {
        if (std::find(names_.begin(), names_.end(), wanted) != names_.end()) continue;
        return Fail(ErrorCode::BadInput, fmt::format("no scan is named \"{}\"; the inputs hold {}",
                                                     wanted, Listed(names_)));
    }
    return {};
}

}  // namespace orvix::importer
