// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>

#include "edits/class_table.h"
#include "edits/edited_sums.h"
#include "importer/files/written_sums.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/text.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/point_editor.h"

namespace orvix::edits {

namespace {

constexpr std::uint32_t kRunPoints = CAlivePointReader::kRunChunkPoints;

// Runs of points are jobs, each with views of its own.
class ClassWriter {
public:
    ClassWriter(const CProjectCore& core, const ClassTable& table, const ApplyCallback& callback)
        : core_(core),
          points_(static_cast<std::uint64_t>(core.AlivePointCount())),
          skeletonPoints_(static_cast<std::uint64_t>(core.SkeletPointCount())),
          table_(table),
          callback_(callback) {}

    Expected<std::uint64_t> Run(const detail::BlockRunner& run) {
        const auto jobs = static_cast<std::size_t>((points_ + kRunPoints - 1) / kRunPoints);
        auto done = run(jobs, [this](std::size_t job, unsigned worker) {
            return WriteRun(job * std::uint64_t{kRunPoints}, worker);
        });
        if (!done) return ErrorOf(done);
        if (!WriteSkeleton()) return NoView();
        // The others may have written the last points.
        if (callback_ && told_ != points_) callback_(1.0, points_);
        return points_;
    }
    /// Of the blocks of Grid.pts as they were written.
    [[nodiscard]] std::vector<std::uint32_t> PointSums() const {
        return sums_.Blocks(points_ * kAlivePointBytes);
    }

private:
    static tl::unexpected<Error> NoView() {
        return Fail(ErrorCode::Failure,
                    "the points could not be mapped for writing; close other programs and run it "
                    "again");
    }

    Expected<void> WriteRun(std::uint64_t first, unsigned worker) {
        const auto count = std::min<std::uint64_t>(kRunPoints, points_ - first);
        detail::PointEditor editor(core_);
        const auto records = editor.RecordsOf({first, static_cast<std::uint32_t>(count), 0});
        if (records.write == nullptr) return NoView();
        for (std::uint64_t i = 0; i < count; ++i)
            Write(records.read + i * kAlivePointBytes, records.write + i * kAlivePointBytes);
        // While they are at hand: a pass over the file less.
        sums_.Add(first * kAlivePointBytes,
                  {records.read, static_cast<std::size_t>(count * kAlivePointBytes)});
        const std::uint64_t done = done_.fetch_add(count) + count;
        // The callback is the calling thread's.
        if (worker != 0 || !callback_) return {};
        told_ = done;
        if (callback_(double(done) / double(points_), done)) return {};
        return Fail(ErrorCode::Cancelled,
                    fmt::format("the classes were cancelled after {} of {} points; run it "
                                "again to write them all",
                                platform::CountText(done), platform::CountText(points_)));
    }

    void Write(const std::uint8_t* read, std::uint8_t* write) const {
        CCloudPoint<float> point;
        std::memcpy(&point, read, sizeof point);
        const std::uint8_t number = table_.Of(point.z, detail::IntensityOf(point));
        // BEHAVIOUR A11
        if (point.dclcSecond != number) write[offsetof(CCloudPoint<float>, dclcSecond)] = number;
    }

    // False where there is no view to write in.
    bool WriteSkeleton() {
        detail::PointEditor editor(core_);
        return editor.ForEachSkeletonPoint(
            skeletonPoints_, [&](const SimplePointT<float>& place, const CPointDataFull& data,
                                 detail::DclcPair pair) {
                const std::uint8_t* intensity = data.attributes.data() + detail::kIntensityByte;
                pair.SetSecond(table_.Of(place.z, detail::TwoBytesAt(intensity)));
            });
    }

    const CProjectCore& core_;
    std::uint64_t points_;
    std::uint64_t skeletonPoints_;
    const ClassTable& table_;
    const ApplyCallback& callback_;
    std::atomic<std::uint64_t> done_{0};
    std::uint64_t told_ = 0;  // to the callback, on the calling thread
    importer::WrittenSums sums_;
};

}  // namespace

Expected<std::uint64_t> ApplyClasses(const CString& project, const detail::ProjectStamp& counted,
                                     reports::Field field, const reports::Classification& classes,
                                     const ApplyCallback& callback,
                                     const detail::BlockRunner& run) {
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    if (auto writable = (*opened)->RequireWritable(); !writable) return ErrorOf(writable);
    CProjectCore& core = (*opened)->Core();
    const ProjectManager& paths = (*opened)->Manager();
    // Looked at before points are marked as opened for writing, and once they are.
    if (auto same = counted.RequireSame(); !same) return ErrorOf(same);
    const auto sums = EditedSums::Begin(paths, run);  // BEHAVIOUR K9
    if (!sums) return ErrorOf(sums);
    if (auto mapped = (*opened)->MapForWriting(); !mapped) return ErrorOf(mapped);
    if (auto same = counted.RequireSame(); !same) return ErrorOf(same);
    if (core.SkeletPointCount() * 12 != static_cast<std::int64_t>(core.SkeletDataPtsFileSize()))
        return Fail(ErrorCode::Damaged, platform::ToUtf8(paths.gridSkeletDataPts) +
                                            ": it does not go with the skeleton's "
                                            "coordinates; 'orvix check' lists every fault");
    const auto table = std::make_unique<ClassTable>(field, classes);
    ClassWriter writer(core, *table, callback);
    const Expected<std::uint64_t> written = writer.Run(run);
    if (!written) return written;
    if (auto synced = detail::PointEditor::Sync(paths); !synced) return ErrorOf(synced);
    if (auto summed = sums->End(run, writer.PointSums()); !summed) return ErrorOf(summed);
    return written;
}

}  // namespace orvix::edits
