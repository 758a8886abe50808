// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "orvix/platform/amounts.h"
#include "orvix/platform/file.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/project/height_bins.h"
#include "orvix/project/open_project.h"
#include "orvix/project/project_gate.h"

namespace orvix::edits {

namespace {

constexpr std::uint32_t kRunPoints = CAlivePointReader::kRunChunkPoints;
constexpr std::size_t kIntensities = 65'536;

// The class number of any record, from 1.
class ClassTable {
public:
    ClassTable(reports::Field field, const reports::Classification& classes)
        : field_(field), classes_(classes) {
        for (std::size_t i = 0; i < kIntensities; ++i) intensities_[i] = NumberOf(double(i));
    }

    [[nodiscard]] std::uint8_t Of(float z, const std::uint8_t* intensity) const {
        if (field_ == reports::Field::Height)
            return NumberOf(detail::HeightOfBin(detail::HeightBin(z)));
        return intensities_[static_cast<std::size_t>(intensity[0] | intensity[1] << 8)];
    }

private:
    [[nodiscard]] std::uint8_t NumberOf(double value) const {
        return static_cast<std::uint8_t>(classes_.ClassOf(value) + 1);
    }

    reports::Field field_;
    const reports::Classification& classes_;
    std::array<std::uint8_t, kIntensities> intensities_{};
};

void SetByte(std::uint8_t* byte, std::uint8_t value) {
    if (*byte != value) *byte = value;
}

class ClassWriter {
public:
    ClassWriter(CProjectCore& core, const ClassTable& table, const ApplyCallback& callback)
        : reader_(core.CreateAlivePointReaderWriter()),
          points_(static_cast<std::uint64_t>(core.AlivePointCount())),
          skeletonPoints_(static_cast<std::uint64_t>(core.SkeletPointCount())),
          table_(table),
          callback_(callback) {}

    Expected<std::uint64_t> Run() {
        for (std::uint64_t first = 0; first < points_; first += kRunPoints) {
            const auto count = std::min<std::uint64_t>(kRunPoints, points_ - first);
            if (!WriteRun({first, static_cast<std::uint32_t>(count), 0})) return NoView();
            if (callback_ && !callback_(double(first + count) / double(points_), first + count))
                return Fail(
                    ErrorCode::Cancelled,
                    fmt::format("the classes were cancelled after {} of {} points; run it "
                                "again to write them all",
                                platform::CountText(first + count), platform::CountText(points_)));
        }
        for (std::uint64_t i = 0; i < skeletonPoints_; ++i) {
            if (!WriteSkeletonPoint()) return NoView();
        }
        return points_;
    }

private:
    static tl::unexpected<Error> NoView() {
        return Fail(ErrorCode::Failure,
                    "the points could not be mapped for writing; close other programs and run it "
                    "again");
    }

    // False where the reader got no view.
    bool WriteRun(const CIndexerSmall& run) {
        while (reader_->ReadIndexPoints(run)) {
            std::uint8_t* const view = reader_->PtsMapAddressAlive();
            if (view == nullptr) return false;
            std::uint8_t* const record = view + reader_->CurrentPointPositionAlive();
            float z = 0;
            std::memcpy(&z, record + offsetof(CCloudPoint<float>, z), sizeof z);
            // BEHAVIOUR A11
            SetByte(record + offsetof(CCloudPoint<float>, dclcSecond),
                    table_.Of(z, record + offsetof(CCloudPoint<float>, attributes)));
        }
        return true;
    }

    bool WriteSkeletonPoint() {
        if (!reader_->ReadNextSkeletCoordPoint() || !reader_->ReadNextSkeletDataPoint() ||
            reader_->PtsMapAddressSkeletCoord() == nullptr ||
            reader_->PtsMapAddressSkeletData() == nullptr) {
            return false;
        }
        SimplePointT<float> place;
        reader_->ReadCurrentSkeletPoint(place);
        std::uint8_t* const record =
            reader_->PtsMapAddressSkeletData() + reader_->CurrentPointPositionSkeletData();
        SetByte(record + offsetof(CPointDataFull, dclcSecond),
                table_.Of(place.z, record + offsetof(CPointDataFull, attributes)));
        return true;
    }

    std::shared_ptr<CAlivePointReader> reader_;
    std::uint64_t points_;
    std::uint64_t skeletonPoints_;
    const ClassTable& table_;
    const ApplyCallback& callback_;
};

struct CloseAtEnd {
    CProjectCore& core;
    ~CloseAtEnd() { core.Close(); }
};

Expected<void> SyncFile(const CString& path) {
    std::error_code error;
    platform::File file = platform::File::OpenReadWrite(path, error);
    if (!error) file.Sync(error);
    if (error) return FailSystem(error, detail::Shown(path) + " could not be brought to the disk");
    return {};
}

}  // namespace

Expected<std::uint64_t> ApplyClasses(const CString& project, reports::Field field,
                                     const reports::Classification& classes,
                                     const ApplyCallback& callback) {
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return ErrorOf(writable);
    CProjectCore& core = (*opened)->Core();
    const ProjectManager& paths = (*opened)->Manager();
    const CloseAtEnd close{core};
    if (!core.OpenCores4Write())
        return Fail(ErrorCode::Failure,
                    detail::Shown(project) + ": its point files could not be mapped for writing");
    if (core.SkeletPointCount() * 12 != static_cast<std::int64_t>(core.SkeletDataPtsFileSize()))
        return Fail(ErrorCode::Damaged, detail::Shown(paths.gridSkeletDataPts) +
                                            ": it does not go with the skeleton's "
                                            "coordinates; 'orvix check' lists every fault");
    const auto table = std::make_unique<ClassTable>(field, classes);
    const Expected<std::uint64_t> written = ClassWriter(core, *table, callback).Run();
    if (!written) return written;
    for (const CString* path : {&paths.gridPts, &paths.gridSkeletDataPts}) {
        if (auto synced = SyncFile(*path); !synced) return ErrorOf(synced);
    }
    return written;
}

}  // namespace orvix::edits
