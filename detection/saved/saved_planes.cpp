// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/saved_planes.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "detection/cells/point_chunks.h"
#include "detection/saved/kept_numbers.h"
#include "detection/saved/plane_records.h"
#include "detection/saved/stored_planes.h"
#include "orvix/platform/path.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/planes_file_writer.h"
#include "orvix/project/saved/saved_planes.h"

namespace orvix::detection {
namespace {

using detail::CloudPart;

constexpr std::size_t kBlock = detail::PlanesFileStart::kBlockPoints;

/// Gathers points and their planes into the blocks of the file.
class BlockBuffer {
public:
    /// Takes all of them: use(places, planes) for each block that is full.
    template <class Places, class Use>
    void Add(const Places& places, std::span<const std::int32_t> planes, Use&& use) {
        for (std::size_t i = 0; i < planes.size(); ++i) {
            places_.push_back({places[i].x, places[i].y, places[i].z});
            planes_.push_back(planes[i]);
            if (planes_.size() == kBlock) Finish(use);
        }
    }
    /// The last block, unless it is empty.
    template <class Use>
    void Finish(Use&& use) {
        if (!planes_.empty()) use(places_, planes_);
        places_.clear();
        planes_.clear();
    }

private:
    std::vector<SimplePointT<float>> places_;
    std::vector<std::int32_t> planes_;
};

/// What the project stores so far; nothing in a project without.
Expected<std::optional<detail::SavedPlanes>> OpenFormer(const ProjectManager& paths) {
    const CString path = detail::SavedPlanesPath(paths);
    if (!platform::PathExists(path)) return std::nullopt;
    auto saved = detail::SavedPlanes::Open(path);
    if (!saved) return ErrorOf(saved);
    return std::optional(std::move(*saved));
}

class Saver {
public:
    Saver(const CProjectCore& core, PlaneSet& planes, detail::PlanesFileWriter& file,
          std::optional<detail::SavedPlanes> former)
        : core_(core),
          planes_(planes),
          file_(file),
          former_(std::move(former)),
          numbers_(NumberedPlanes(), former_ ? former_->Search().nextNumber : 1) {}

    Expected<SaveReport> Run(const std::function<bool()>& proceed) {
        if (planes_.Points() > 0) {
            if (auto done = AddPoints(proceed); !done) return ErrorOf(done);
            if (auto done = AddSkeleton(); !done) return ErrorOf(done);
            if (fault_) return tl::unexpected<Error>(*fault_);
        }
        const std::size_t before = former_ ? former_->Planes().size() : 0;
        former_.reset();  // some systems replace no file that is open
        std::vector<std::uint64_t> counts;
        for (const FoundPlane& plane : planes_.Planes()) counts.push_back(plane.points);
        auto numbers = numbers_.Numbers(counts);
        if (!numbers) return ErrorOf(numbers);
        std::vector<detail::SavedPlane> records;
        for (std::size_t i = 0; i < counts.size(); ++i)
            records.push_back(RecordOf(planes_.Planes()[i], (*numbers)[i]));
        detail::SavedSearch search = RecordOf(planes_);
        search.skeletonPoints = skeletonPoints_;
        search.nextNumber = numbers_.NextNumber();
        if (auto done = file_.Commit(search, records); !done) return ErrorOf(done);
        planes_.SetNumbers(std::move(*numbers));
        return SaveReport{numbers_.Kept(), counts.size() - numbers_.Kept(),
                          before - numbers_.Kept()};
    }

private:
    [[nodiscard]] std::vector<NumberedPlane> NumberedPlanes() const {
        std::vector<NumberedPlane> numbered;
        if (!former_) return numbered;
        for (const detail::SavedPlane& plane : former_->Planes())
            numbered.push_back({plane.number, plane.points});
        return numbered;
    }

    Expected<void> AddPoints(const std::function<bool()>& proceed) {
        const auto reader = core_.CreateAlivePointReader();
        if (!reader) return PointsNotMapped();
        BlockBuffer buffer;
        const auto add = [this](const auto& places, const auto& planes) {
            const std::uint64_t hash = detail::PlacesHash(places);
            file_.AddBlock(CloudPart::Points, detail::RunsOf(planes), hash);
            CompareWithFormer(hash, planes);
        };
        for (std::size_t chunk = 0; chunk < planes_.Chunks(); ++chunk) {
            if (proceed && !proceed())
                return Fail(ErrorCode::Cancelled,
                            "saving the planes was cancelled; nothing was saved");
            auto done = planes_.ReadChunk(*reader, chunk, [&](const PlanePoints& block) {
                buffer.Add(block.points, block.planes, add);
            });
            if (!done) return done;
        }
        buffer.Finish(add);
        return {};
    }

    Expected<void> AddSkeleton() {
        const auto reader = core_.CreateAlivePointReader();
        if (!reader) return PointsNotMapped();
        BlockBuffer buffer;
        const auto add = [this](const auto& places, const auto& planes) {
            skeletonPoints_ += planes.size();
            file_.AddBlock(CloudPart::Skeleton, detail::RunsOf(planes), detail::PlacesHash(places));
        };
        auto done = planes_.ReadSkeleton(
            *reader, [&](auto places, auto planes) { buffer.Add(places, planes, add); });
        buffer.Finish(add);
        return done;
    }

    // A block of other points than before has no say.
    void CompareWithFormer(std::uint64_t hash, const std::vector<std::int32_t>& planes) {
        const std::uint64_t block = block_++;
        if (!former_ || block >= former_->Blocks(CloudPart::Points)) return;
        if (former_->PlacesHashOf(CloudPart::Points, block) != hash) return;
        if (auto read = former_->ReadBlock(CloudPart::Points, block, runs_); !read) {
            fault_ = read.error();
            return;
        }
        before_.clear();
        for (const detail::PlaneRun& run : runs_)
            before_.insert(before_.end(), run.count, run.plane);
        numbers_.Count(before_, planes);
    }

    const CProjectCore& core_;
    PlaneSet& planes_;
    detail::PlanesFileWriter& file_;
    std::optional<detail::SavedPlanes> former_;
    KeptNumbers numbers_;
    std::uint64_t block_ = 0;
    std::uint64_t skeletonPoints_ = 0;
    std::optional<Error> fault_;
    std::vector<detail::PlaneRun> runs_;
    std::vector<std::int32_t> before_;
};

}  // namespace

Expected<void> RequireSavable(const ProjectManager& paths) {
    const auto former = OpenFormer(paths);
    if (!former) return ErrorOf(former);
    return {};
}

Expected<SaveReport> SavePlanes(const ProjectManager& paths, const CProjectCore& core,
                                PlaneSet& planes, const std::function<bool()>& proceed) {
    const auto file = detail::PlanesFileWriter::Create(paths);
    if (!file) return ErrorOf(file);
    auto former = OpenFormer(paths);
    if (!former) return ErrorOf(former);
    return Saver(core, planes, **file, std::move(*former)).Run(proceed);
}

Expected<std::unique_ptr<PlaneSet>> OpenSavedPlanes(const ProjectManager& paths,
                                                    const CProjectCore& core) {
    auto stored = StoredPlanes::Open(detail::SavedPlanesPath(paths), core);
    if (!stored) return ErrorOf(stored);
    return std::unique_ptr<PlaneSet>(std::move(*stored));
}

}  // namespace orvix::detection
