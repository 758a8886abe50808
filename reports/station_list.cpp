// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/station_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "orvix/geometry/vector.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "orvix/project/open_project.h"
#include "orvix/project/project_gate.h"
#include "orvix/project/station_files.h"
#include "orvix/project/transform_file.h"

namespace orvix::reports {

namespace {

using detail::Vector, detail::operator-;

constexpr std::uint32_t kMostStations = 65'536;
constexpr std::uint64_t kPicturePoints = 2'000'000;
constexpr std::uint64_t kPointsBetweenLooks = 1u << 20;

/// One listing, step by step.
class Listing {
public:
    Listing(detail::OpenProject& project, const detail::LocalToWorld& frame,
            const std::function<bool()>& proceed)
        : project_(project), frame_(frame), proceed_(proceed) {}

    Expected<StationList> Run(WantPicture wanted) {
        Expected<void> done = ReadFiles();
        if (done) done = CountPoints();
        if (!done) return ErrorOf(done);
        if (wanted == WantPicture::Yes) list_.picture = Picture();
        return std::move(list_);
    }

private:
    Expected<void> ReadFiles();
    Expected<void> CountPoints();
    [[nodiscard]] output::StationsPicture Picture();
    void AddCloud(output::StationsPicture& picture);
    [[nodiscard]] output::StationMark MarkOf(const ListedStation& station) const;
    [[nodiscard]] Vector Near(const Vector& world) const { return world - frame_.Origin(); }

    detail::OpenProject& project_;
    const detail::LocalToWorld& frame_;
    const std::function<bool()>& proceed_;
    StationList list_;
};

Expected<void> Listing::ReadFiles() {
    const ProjectManager& manager = project_.Manager();
    const std::uint32_t count = std::min(manager.cloudHeader.stationCount, kMostStations);
    std::vector<detail::StationFault> faults;
    for (std::uint32_t i = 0; i < count; ++i) {
        const detail::StationFiles files =
            detail::ReadStationFiles(manager, static_cast<int>(i), faults);
        if (!faults.empty()) {
            return Fail(ErrorCode::Damaged,
                        fmt::format("{} {}; import the scans again",
                                    detail::Shown(faults.front().file), faults.front().what));
        }
        ListedStation& station = list_.stations.emplace_back();
        station.number = i;
        station.name = files.name;
        if (files.position) station.position = frame_.ToWorld(*files.position);
        station.orientation = files.orientation;
    }
    return {};
}

Expected<void> Listing::CountPoints() {
    const auto reader = project_.Core().CreateAlivePointReader();
    const std::int64_t count = reader ? project_.Core().AlivePointCount() : 0;
    CCloudPoint<float> point;
    for (std::int64_t i = 0; i < count; ++i) {
        if (static_cast<std::uint64_t>(i) % kPointsBetweenLooks == 0 && !proceed_())
            return Fail(ErrorCode::Cancelled, "the list was cancelled");
        if (!reader->ReadNextPoint()) break;
        reader->ReadCurrentPoint(point);
        const std::uint16_t intensity = detail::IntensityOf(point);
        const std::uint16_t number = detail::StationOf(point);
        if (number >= list_.stations.size())
            return Fail(ErrorCode::Damaged,
                        fmt::format("point {} is of station {} of {}; import the scans again", i,
                                    number, list_.stations.size()));
        ListedStation& station = list_.stations[number];
        station.lowest = station.points == 0 ? intensity : std::min(station.lowest, intensity);
        station.highest = std::max(station.highest, intensity);
        ++station.points;
    }
    return {};
}

void Listing::AddCloud(output::StationsPicture& picture) {
    CProjectCore& core = project_.Core();
    std::uint8_t* coordinates = core.SkeletCoordPtsMapAddress();
    std::uint8_t* data = core.SkeletDataPtsMapAddress();
    const auto count = std::min<std::uint64_t>(static_cast<std::uint64_t>(core.SkeletPointCount()),
                                               core.SkeletDataPtsFileSize() / kSkeletonRecordBytes);
    const std::uint64_t stride =
        std::max<std::uint64_t>(1, (count + kPicturePoints - 1) / kPicturePoints);
    for (std::uint64_t i = 0; coordinates != nullptr && data != nullptr && i < count; i += stride) {
        SimplePointT<float> p;
        std::memcpy(&p, coordinates + i * kSkeletonRecordBytes, sizeof p);
        picture.cloud.push_back(Near(frame_.ToWorld(Vector{p.x, p.y, p.z})));
        picture.stations.push_back(
            detail::TwoBytesAt(data + i * kSkeletonRecordBytes + detail::kSkeletonStationByte));
    }
    if (coordinates != nullptr) UnmapFileView(coordinates);
    if (data != nullptr) UnmapFileView(data);
}

// Where the rotation takes the x axis.
Vector Ahead(const std::array<double, 4>& turn) {
    const auto& [x, y, z, angle] = turn;
    const double t = 1 - std::cos(angle);
    const double s = std::sin(angle);
    return {t * x * x + 1 - t, t * x * y + s * z, t * x * z - s * y};
}

output::StationMark Listing::MarkOf(const ListedStation& station) const {
    output::StationMark mark{station.number, station.name.value_or(std::to_string(station.number)),
                             Near(*station.position)};
    if (station.orientation) mark.ahead = Ahead(*station.orientation);
    return mark;
}

output::StationsPicture Listing::Picture() {
    output::StationsPicture picture;
    picture.spacing = project_.Manager().cloudHeader.scale;
    AddCloud(picture);
    std::uint64_t points = 0;
    for (const ListedStation& station : list_.stations) {
        points += station.points;
        if (station.position) picture.marks.push_back(MarkOf(station));
    }
    picture.title = fmt::format("{} station{}, {} with a pose", list_.stations.size(),
                                list_.stations.size() == 1 ? "" : "s", picture.marks.size());
    picture.subtitle = fmt::format(
        "{} points, each in its station's colour; a mark's line is the "
        "scanner's x axis",
        platform::CountText(points));
    return picture;
}

}  // namespace

Expected<StationList> ListStations(const CString& project, WantPicture wanted,
                                   const std::function<bool()>& proceed) {
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    const auto frame = detail::ReadTransform((*opened)->Manager().transformFile);
    if (!frame) return ErrorOf(frame);
    return Listing(**opened, *frame, proceed).Run(wanted);
}

}  // namespace orvix::reports
