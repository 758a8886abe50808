// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include "edits/edited_sums.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/text.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "orvix/project/height_bins.h"
#include "orvix/project/open_project.h"
#include "orvix/project/point_editor.h"

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

    [[nodiscard]] std::uint8_t Of(float z, std::uint16_t intensity) const {
        if (field_ == reports::Field::Height)
            return NumberOf(detail::HeightOfBin(detail::HeightBin(z)));
        return intensities_[intensity];
    }

private:
    [[nodiscard]] std::uint8_t NumberOf(double value) const {
        return static_cast<std::uint8_t>(classes_.ClassOf(value) + 1);
    }

    reports::Field field_;
    const reports::Classification& classes_;
    std::array<std::uint8_t, kIntensities> intensities_{};
};

class ClassWriter {
public:
    ClassWriter(CProjectCore& core, const ClassTable& table, const ApplyCallback& callback)
        : editor_(core),
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
        if (!WriteSkeleton()) return NoView();
        return points_;
    }

private:
    static tl::unexpected<Error> NoView() {
        return Fail(ErrorCode::Failure,
                    "the points could not be mapped for writing; close other programs and run it "
                    "again");
    }

    // False where there is no view to write in.
    bool WriteRun(const CIndexerSmall& run) {
        return editor_.ForEachPoint(run, [&](const auto& point, detail::DclcPair pair) {
            pair.SetSecond(table_.Of(point.z, detail::IntensityOf(point)));  // BEHAVIOUR A11
        });
    }

    bool WriteSkeleton() {
        return editor_.ForEachSkeletonPoint(
            skeletonPoints_, [&](const SimplePointT<float>& place, const CPointDataFull& data,
                                 detail::DclcPair pair) {
                const std::uint8_t* intensity = data.attributes.data() + detail::kIntensityByte;
                pair.SetSecond(table_.Of(place.z, detail::TwoBytesAt(intensity)));
            });
    }

    detail::PointEditor editor_;
    std::uint64_t points_;
    std::uint64_t skeletonPoints_;
    const ClassTable& table_;
    const ApplyCallback& callback_;
};

}  // namespace

Expected<std::uint64_t> ApplyClasses(const CString& project, const detail::ProjectStamp& counted,
                                     reports::Field field, const reports::Classification& classes,
                                     const ApplyCallback& callback) {
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return ErrorOf(writable);
    CProjectCore& core = (*opened)->Core();
    const ProjectManager& paths = (*opened)->Manager();
    // Looked at before points are marked as opened for writing, and once they are.
    if (auto same = counted.RequireSame(); !same) return ErrorOf(same);
    const auto sums = EditedSums::Begin(paths);  // BEHAVIOUR K9
    if (!sums) return ErrorOf(sums);
    if (auto mapped = (*opened)->MapForWriting(); !mapped) return ErrorOf(mapped);
    if (auto same = counted.RequireSame(); !same) return ErrorOf(same);
    if (core.SkeletPointCount() * 12 != static_cast<std::int64_t>(core.SkeletDataPtsFileSize()))
        return Fail(ErrorCode::Damaged, platform::ToUtf8(paths.gridSkeletDataPts) +
                                            ": it does not go with the skeleton's "
                                            "coordinates; 'orvix check' lists every fault");
    const auto table = std::make_unique<ClassTable>(field, classes);
    const Expected<std::uint64_t> written = ClassWriter(core, *table, callback).Run();
    if (!written) return written;
    if (auto synced = detail::PointEditor::Sync(paths); !synced) return ErrorOf(synced);
    if (auto summed = sums->End(); !summed) return ErrorOf(summed);
    return written;
}

}  // namespace orvix::edits
