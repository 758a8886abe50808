// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/planes_points.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>

#include "orvix/project/project_gate.h"
#include "output/text_file.h"

namespace orvix::output {

namespace {

using detection::PlaneSearch;

constexpr std::uint64_t kPicturePoints = 3'000'000;
constexpr std::size_t kPointBytes = 31;
constexpr Colour kNoPlane{160, 160, 160};

std::array<std::uint8_t, kPointBytes> RecordOf(const SimplePointT<double>& at, std::int32_t plane) {
    std::array<std::uint8_t, kPointBytes> record;
    const Colour colour = plane < 0 ? kNoPlane : PlaneColour(plane);
    const std::int32_t number = plane + 1;
    std::memcpy(record.data(), &at.x, 8);
    std::memcpy(record.data() + 8, &at.y, 8);
    std::memcpy(record.data() + 16, &at.z, 8);
    record[24] = colour.r;
    record[25] = colour.g;
    record[26] = colour.b;
    std::memcpy(record.data() + 27, &number, 4);
    return record;
}

tl::unexpected<Error> PointsNotMapped() {
    return Fail(ErrorCode::Failure, "the points cannot be mapped; close other programs and retry");
}

template <class Use>
Expected<void> ForEachPlanePoint(CAlivePointReader& reader, const PlaneSearch& search, Use&& use) {
    const auto useAll = [&use](const detection::PlanePoints& block) {
        for (std::size_t i = 0; i < block.points.size(); ++i)
            use(block.points[i], block.firstRecord + i, block.planes[i]);
    };
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        if (auto done = search.ReadChunk(reader, chunk, useAll); !done) return done;
    return {};
}

void SetNumber(std::uint8_t* at, std::int32_t plane) {
    const auto number = static_cast<std::uint16_t>(plane + 1);
    // What is equal already keeps its page clean.
    if (std::memcmp(at, &number, sizeof number) != 0) std::memcpy(at, &number, sizeof number);
}

// False where the reader gets no view to write in.
bool SetNumbers(CAlivePointReader& writer, const detection::PlanePoints& block) {
    const CIndexerSmall run{block.firstRecord, static_cast<std::uint32_t>(block.points.size()), 0};
    for (std::size_t i = 0; writer.ReadIndexPoints(run); ++i) {
        if (writer.PtsMapAddressAlive() == nullptr) return false;
        SetNumber(writer.PtsMapAddressAlive() + writer.CurrentPointPositionAlive() +
                      offsetof(CCloudPoint<float>, dclcFirst),
                  block.planes[i]);
    }
    return true;
}

Expected<void> NumberPoints(CProjectCore& core, const PlaneSearch& search,
                            const std::function<bool()>& proceed) {
    const auto reader = core.CreateAlivePointReaderWriter();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk) {
        if (!proceed())
            return Fail(ErrorCode::Cancelled,
                        "numbering the points was cancelled; run it again to number them all");
        bool mapped = true;
        auto done = search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
            mapped = mapped && SetNumbers(*reader, block);
        });
        if (!done) return done;
        if (!mapped) return PointsNotMapped();
    }
    return {};
}

Expected<void> NumberSkeleton(CProjectCore& core, const PlaneSearch& search) {
    const auto reader = core.CreateAlivePointReaderWriter();
    const auto count = std::min<std::uint64_t>(static_cast<std::uint64_t>(core.SkeletPointCount()),
                                               core.SkeletDataPtsFileSize() / kSkeletonRecordBytes);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!reader->ReadNextSkeletCoordPoint() || !reader->ReadNextSkeletDataPoint() ||
            reader->PtsMapAddressSkeletCoord() == nullptr ||
            reader->PtsMapAddressSkeletData() == nullptr)
            return PointsNotMapped();
        SimplePointT<float> place;
        reader->ReadCurrentSkeletPoint(place);
        SetNumber(reader->PtsMapAddressSkeletData() + reader->CurrentPointPositionSkeletData() +
                      offsetof(CPointDataFull, dclcFirst),
                  search.PlaneOf({place.x, place.y, place.z}));
    }
    return {};
}

}  // namespace

Expected<void> WritePlanePoints(const CString& path, detail::OpenProject& project,
                                const PlaneSearch& search, const detail::LocalToWorld& frame) {
    TextFile file(path);
    file.Print(
        "ply\nformat binary_little_endian 1.0\nelement vertex {}\nproperty double x\n"
        "property double y\nproperty double z\nproperty uchar red\nproperty uchar green\n"
        "property uchar blue\nproperty int plane\nend_header\n",
        search.Points());
    if (search.Points() > 0) {
        const auto reader = project.Core().CreateAlivePointReader();
        auto done = ForEachPlanePoint(
            *reader, search, [&](const auto& p, std::uint64_t, std::int32_t plane) {
                const auto record =
                    RecordOf(frame.ToWorld(SimplePointT<double>{p.x, p.y, p.z}), plane);
                file.Append(record.data(), record.size());
            });
        if (!done) return done;
    }
    return file.Commit();
}

Expected<void> ApplyPlaneNumbers(const CString& project, const PlaneSearch& search,
                                 const std::function<bool()>& proceed) {
    if (search.Planes().size() > std::numeric_limits<std::uint16_t>::max())
        return Fail(ErrorCode::BadInput,
                    "there are more planes than a DCLC value can number, which is 65,535; raise "
                    "--min-area");
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return writable;
    if (search.Points() == 0) return {};
    CProjectCore& core = (*opened)->Core();
    if (!core.OpenCores4Write())
        return Fail(ErrorCode::Failure,
                    detail::Shown(project) + ": its point files could not be mapped for writing");
    auto done = NumberPoints(core, search, proceed);
    if (done) done = NumberSkeleton(core, search);
    core.Close();
    return done;
}

std::vector<PlanesPicture::Point> PointsForPicture(detail::OpenProject& project,
                                                   const PlaneSearch& search,
                                                   const detail::LocalToWorld& frame) {
    std::vector<PlanesPicture::Point> points;
    if (search.Points() == 0) return points;
    const std::uint64_t stride = (search.Points() + kPicturePoints - 1) / kPicturePoints;
    const SimplePointT<double> origin = frame.Origin();
    const auto reader = project.Core().CreateAlivePointReader();
    // A view that is missing leaves the picture without its points.
    (void)ForEachPlanePoint(
        *reader, search, [&](const auto& p, std::uint64_t record, std::int32_t plane) {
            if (record % stride != 0) return;
            const auto at = frame.ToWorld(SimplePointT<double>{p.x, p.y, p.z});
            const bool ceiling =
                plane >= 0 && search.Planes()[static_cast<std::size_t>(plane)].kind ==
                                  detection::PlaneKind::Ceiling;
            points.push_back(
                {{static_cast<float>(at.x - origin.x), static_cast<float>(at.y - origin.y),
                  static_cast<float>(at.z - origin.z)},
                 plane,
                 ceiling});
        });
    return points;
}

}  // namespace orvix::output
