// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/station_writer.h"

#include <algorithm>
#include <array>
#include <limits>

#include "importer/files/whole_file.h"
#include "importer/scans/attribute_scale.h"
#include "orvix/project/station_files.h"

namespace orvix::importer {
namespace {

template <class Value, std::size_t N>
Expected<void> WriteValues(const CString& path, const std::array<Value, N>& values) {
    return WriteWholeFile(path, values.data(), sizeof values);
}

std::int16_t Signed(std::uint16_t intensity) {
    constexpr std::uint16_t kMax = std::numeric_limits<std::int16_t>::max();
    return static_cast<std::int16_t>(std::min(intensity, kMax));
}

}  // namespace

std::vector<StationRecord> StationRecordsOf(const std::vector<ScanInput>& inputs,
                                            const StationTable& stations, const Survey& survey) {
    std::vector<StationRecord> records;
    for (std::size_t i = 0; i < stations.Count(); ++i) {
        const Station& station = stations[i];
        if (!station.pose) continue;  // BEHAVIOUR I5
        StationRecord& record =
            records.emplace_back(StationRecord{i, station.name, *station.pose, {}});
        record.pose.position.x -= survey.origin.x;  // BEHAVIOUR I7
        record.pose.position.y -= survey.origin.y;
        record.pose.position.z -= survey.origin.z;
        const ScanInfo& info = inputs[station.input].reader->Info();
        const AttributeRange& range = survey.scans[i].range;
        if (!info.hasIntensity || range.intensities == 0) continue;
        const AttributeScale scale(info, range);
        record.intensities.emplace(scale.Intensity(range.minIntensity),
                                   scale.Intensity(range.maxIntensity));
    }
    return records;
}

Expected<void> WriteStation(const ProjectManager& project, const StationRecord& station) {
    const detail::StationPaths paths =
        detail::StationPathsOf(project, static_cast<int>(station.number));
    const SimplePointT<double>& p = station.pose.position;
    const AxisAngle turn = AxisAngleOf(station.pose.rotation);
    Expected<void> done = WriteValues(paths.position, std::array{p.x, p.y, p.z});
    if (done) {
        done = WriteValues(paths.orientation,
                           std::array{turn.axis[0], turn.axis[1], turn.axis[2], turn.angle});
    }
    if (done) done = WriteWholeFile(paths.name, station.name.data(), station.name.size());
    if (!done || !station.intensities) return done;
    return WriteValues(paths.intensities, std::array{Signed(station.intensities->first),
                                                     Signed(station.intensities->second)});
}

}  // namespace orvix::importer
