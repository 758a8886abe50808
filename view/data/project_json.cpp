// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/data/project_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/attributes.h"
#include "orvix/points/records.h"
#include "orvix/project/station_files.h"
#include "orvix/version.h"
#include "reports/field_histogram.h"

namespace orvix::view {

namespace {

constexpr std::uint64_t kStretches = 256;
constexpr std::uint64_t kStretch = 256;
constexpr double kDarkShare = 0.02;
constexpr double kBrightShare = 0.98;

// As the LAS format numbers them.
constexpr std::array kClassNames{"never classified",
                                 "unassigned",
                                 "ground",
                                 "low vegetation",
                                 "medium vegetation",
                                 "high vegetation",
                                 "building",
                                 "low point (noise)",
                                 "reserved",
                                 "water",
                                 "rail",
                                 "road surface",
                                 "reserved",
                                 "wire, guard",
                                 "wire, conductor",
                                 "transmission tower",
                                 "wire structure connector",
                                 "bridge deck",
                                 "high noise"};

Json FieldJson(const char* name, std::size_t offset, const char* type, int count) {
    return Json{{"name", name}, {"offset", offset}, {"type", type}, {"count", count}};
}

Json RecordJson() {
    using Point = CCloudPoint<float>;
    constexpr std::size_t kAttributes = offsetof(Point, attributes);
    Json fields = Json::array();
    fields.push_back(FieldJson("position", offsetof(Point, x), "float32", 3));
    fields.push_back(FieldJson("intensity", kAttributes + detail::kIntensityByte, "uint16", 1));
    fields.push_back(FieldJson("colour", kAttributes + detail::kRedByte, "uint8", 3));
    fields.push_back(FieldJson("class", kAttributes + detail::kClassByte, "uint8", 1));
    fields.push_back(FieldJson("station", kAttributes + detail::kStationByte, "uint16", 1));
    return Json{{"bytes", kAlivePointBytes}, {"fields", fields}};
}

Json SkeletonDataJson() {
    Json fields = Json::array();
    fields.push_back(FieldJson("intensity", detail::kIntensityByte, "uint16", 1));
    fields.push_back(FieldJson("colour", detail::kRedByte, "uint8", 3));
    fields.push_back(FieldJson("class", detail::kClassByte, "uint8", 1));
    fields.push_back(FieldJson("station", detail::kSkeletonStationByte, "uint16", 1));
    return Json{{"bytes", kSkeletonRecordBytes}, {"fields", fields}};
}

// What some of the skeleton's points hold.
struct Sample {
    bool colour = false;
    bool intensity = false;
    bool classes = false;
    bool station = false;
    std::vector<double> intensities;
    std::array<bool, 256> found{};
};

std::uint16_t StationOf(const CPointDataFull& record) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return detail::TwoBytesAt(bytes + detail::kSkeletonStationByte);
}

void Add(const CPointDataFull& record, const CPointDataFull& first, Sample& sample) {
    const auto& bytes = record.attributes;
    const auto differs = [&](std::size_t at, std::size_t count) {
        return std::memcmp(bytes.data() + at, first.attributes.data() + at, count) != 0;
    };
    sample.colour = sample.colour || differs(detail::kRedByte, 3);
    sample.intensity = sample.intensity || differs(detail::kIntensityByte, 2);
    sample.classes = sample.classes || differs(detail::kClassByte, 1);
    sample.station = sample.station || StationOf(record) != StationOf(first);
    sample.found[bytes[detail::kClassByte]] = true;
    sample.intensities.push_back(detail::TwoBytesAt(bytes.data() + detail::kIntensityByte));
}

Expected<Sample> SampleOf(const RecordFile& data) {
    Sample sample;
    const std::uint64_t records = data.Records();
    const std::uint64_t stretches = std::min(kStretches, (records + kStretch - 1) / kStretch);
    std::vector<CPointDataFull> stretch;
    CPointDataFull first;
    for (std::uint64_t i = 0; i < stretches; ++i) {
        // Evenly spread, the last one at the end; without a product that may overflow.
        const std::uint64_t last = records - std::min(records, kStretch);
        const std::uint64_t at = stretches == 1 ? 0
                                                : last / (stretches - 1) * i +
                                                      last % (stretches - 1) * i / (stretches - 1);
        stretch.resize(static_cast<std::size_t>(std::min(kStretch, records - at)));
        auto read = data.Read(at, stretch.size(), reinterpret_cast<std::uint8_t*>(stretch.data()));
        if (!read) return ErrorOf(read);
        if (i == 0) first = stretch.front();
        for (const CPointDataFull& record : stretch) Add(record, first, sample);
    }
    return sample;
}

Json IntensityJson(std::vector<double> values) {
    if (values.empty()) return {};
    std::sort(values.begin(), values.end());
    const auto at = [&values](double share) {
        return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
    };
    return Json{{"low", at(kDarkShare)}, {"high", at(kBrightShare)}};
}

Json ClassesJson(const Sample& sample) {
    Json classes = Json::array();
    for (std::size_t number = 0; number < sample.found.size(); ++number) {
        if (!sample.found[number]) continue;
        Json name;
        if (number < kClassNames.size()) name = kClassNames[number];
        classes.push_back(Json{{"number", number}, {"name", name}});
    }
    return classes;
}

Json StationsJson(const ProjectManager& manager, Json& warnings) {
    const std::uint32_t count = std::min(manager.cloudHeader.stationCount, detail::kMaxStations);
    Json stations = Json::array();
    for (std::uint32_t i = 0; i < count; ++i)
        stations.push_back(Json{{"number", i}, {"name", nullptr}, {"position", nullptr}});
    std::vector<detail::StationFault> faults;
    for (const int number : detail::StationsWithFiles(manager, count)) {
        const detail::StationFiles files = detail::ReadStationFiles(manager, number, faults);
        Json& station = stations[static_cast<std::size_t>(number)];
        if (files.name) station["name"] = *files.name;
        if (files.position) station["position"] = JsonOf(*files.position);
    }
    for (const detail::StationFault& fault : faults)
        warnings.push_back(
            fmt::format("{} {}", platform::ToUtf8(platform::FileNameOf(fault.file)), fault.what));
    return stations;
}

void WarnOfHistograms(const ProjectManager& manager, Json& warnings) {
    for (const auto field : {reports::Field::Intensity, reports::Field::Height}) {
        const auto read = reports::ReadField(manager.projectFile, field);
        if (!read && read.error().code != ErrorCode::BadInput)
            warnings.push_back(read.error().message);
    }
}

void WarnOfCells(const ProjectFiles& files, Json& warnings) {
    const auto reached = files.cells.PointsReached();
    if (!reached) {
        warnings.push_back(reached.error().message);
    } else if (*reached != files.points.Records()) {
        warnings.push_back(
            fmt::format("the cells lead to {} of {} points; 'orvix check' says what is damaged",
                        *reached, files.points.Records()));
    }
    if (files.skeletonData.Records() != files.skeleton.Records())
        warnings.push_back(
            fmt::format("the skeleton has {} coordinates and {} records of other values; 'orvix "
                        "repair' makes it anew",
                        files.skeleton.Records(), files.skeletonData.Records()));
}

}  // namespace

Json JsonOf(const SimplePointT<double>& p) {
    return Json::array({p.x, p.y, p.z});
}

Expected<ProjectFiles> ProjectFiles::Open(const reports::WorldProject& project) {
    const ProjectManager& manager = project.Manager();
    auto points = RecordFile::Open(manager.gridPts, kAlivePointBytes);
    if (!points) return ErrorOf(points);
    auto skeleton = RecordFile::Open(manager.gridSkeletCoordPts, kSkeletonRecordBytes);
    if (!skeleton) return ErrorOf(skeleton);
    auto data = RecordFile::Open(manager.gridSkeletDataPts, kSkeletonRecordBytes);
    if (!data) return ErrorOf(data);
    auto cells = CellIndex::Open(manager, project.Core().Has10cm());
    if (!cells) return ErrorOf(cells);
    return ProjectFiles{std::move(*points), std::move(*skeleton), std::move(*data),
                        std::move(*cells)};
}

Expected<Json> ProjectJson(const reports::WorldProject& project, const ProjectFiles& files) {
    const ProjectManager& manager = project.Manager();
    const CLOUD_HEADER& head = manager.cloudHeader;
    auto sample = SampleOf(files.skeletonData);
    if (!sample) return ErrorOf(sample);
    Json warnings = Json::array();
    WarnOfCells(files, warnings);
    WarnOfHistograms(manager, warnings);
    const CString file = platform::FileNameOf(manager.projectFile);
    Json json = Json::object();
    json["name"] = platform::ToUtf8(platform::RemoveExtension(file));
    json["file"] = platform::ToUtf8(file);
    json["version"] = VersionString();
    json["points"] = files.points.Records();
    json["frame"] = project.frame.m;
    json["origin"] = JsonOf(project.frame.Origin());
    json["bounds"] = Json{{"min", JsonOf(head.bounds.min)}, {"max", JsonOf(head.bounds.max)}};
    json["record"] = RecordJson();
    json["varies"] = Json{{"colour", sample->colour},
                          {"intensity", sample->intensity},
                          {"class", sample->classes},
                          {"station", sample->station}};
    json["intensity"] = IntensityJson(std::move(sample->intensities));
    json["classes"] = ClassesJson(*sample);
    json["skeleton"] = Json{
        {"points", files.skeleton.Records()}, {"voxel", head.scale}, {"data", SkeletonDataJson()}};
    json["cells"] =
        Json{{"1000", files.cells.Cells1000()}, {"100", files.cells.Cells100()}, {"10", nullptr}};
    if (files.cells.Has10cm()) json["cells"]["10"] = files.cells.Cells10();
    json["stations"] = StationsJson(manager, warnings);
    json["warnings"] = std::move(warnings);
    return json;
}

}  // namespace orvix::view
