// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/plane_numbers.h"

#include <algorithm>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include "detection/cells/point_chunks.h"
#include "orvix/platform/path.h"
#include "orvix/points/alive_point_reader.h"

namespace orvix::view {

namespace {

constexpr std::uint64_t kNumbersPerPiece = 65'536;

std::span<const std::uint8_t> BytesOf(const std::vector<std::uint32_t>& numbers) {
    return {reinterpret_cast<const std::uint8_t*>(numbers.data()),
            numbers.size() * sizeof(std::uint32_t)};
}

class PointNumbers final : public Pieces {
public:
    PointNumbers(std::shared_ptr<const PlaneList> list, const RecordRange& range)
        : list_(std::move(list)),
          range_(range),
          reader_(list_->project.Core().CreateAlivePointReader()) {}

    Expected<std::span<const std::uint8_t>> Next() override {
        numbers_.clear();
        while (range_.count > 0 && numbers_.size() < kNumbersPerPiece / 2) {
            if (auto read = ReadChunk(); !read) return ErrorOf(read);
        }
        return BytesOf(numbers_);
    }

private:
    // Of one chunk what the range takes, as far as there is room: a chunk of very many points is read
    // several times, and never kept.
    Expected<void> ReadChunk() {
        const detection::PlaneSet& set = *list_->finding.set;
        if (!reader_) return detection::PointsNotMapped();
        const std::size_t chunk = ChunkOf(range_.first);
        const std::uint64_t room = kNumbersPerPiece - numbers_.size();
        const std::uint64_t end = range_.first + range_.count;
        const std::uint64_t last = std::min(set.FirstRecord(chunk + 1), end);
        const std::uint64_t wanted =
            std::min(room, (last - range_.first + range_.every - 1) / range_.every);
        const std::size_t before = numbers_.size();
        std::uint64_t next = range_.first;
        auto read = set.ReadChunk(*reader_, chunk, [&](const detection::PlanePoints& points) {
            const std::uint64_t size = points.planes.size();
            while (numbers_.size() - before < wanted && next >= points.firstRecord &&
                   next - points.firstRecord < size) {
                const auto at = static_cast<std::size_t>(next - points.firstRecord);
                numbers_.push_back(set.NumberOf(points.planes[at]));
                next += range_.every;
            }
        });
        if (!read) return read;
        if (numbers_.size() - before != wanted) return detection::PointsNotMapped();
        const std::uint64_t passed = std::min(range_.count, wanted * range_.every);
        range_.first += passed;
        range_.count -= passed;
        return {};
    }

    // The one that holds a record: the last that does not begin after it.
    [[nodiscard]] std::size_t ChunkOf(std::uint64_t record) const {
        const detection::PlaneSet& set = *list_->finding.set;
        std::size_t low = 0;
        std::size_t high = set.Chunks();
        while (high - low > 1) {
            const std::size_t middle = low + (high - low) / 2;
            (set.FirstRecord(middle) <= record ? low : high) = middle;
        }
        return low;
    }

    std::shared_ptr<const PlaneList> list_;
    RecordRange range_;
    std::shared_ptr<CAlivePointReader> reader_;
    std::vector<std::uint32_t> numbers_;
};

// What a search found says of any place which plane it is on.
class PlaceNumbers final : public Pieces {
public:
    PlaceNumbers(std::shared_ptr<const PlaneList> list, std::unique_ptr<Pieces> places)
        : list_(std::move(list)), places_(std::move(places)) {}

    Expected<std::span<const std::uint8_t>> Next() override {
        const auto piece = places_->Next();
        if (!piece) return piece;
        numbers_.clear();
        SimplePointT<float> place;
        for (std::size_t at = 0; at + sizeof place <= piece->size(); at += sizeof place) {
            std::copy_n(piece->data() + at, sizeof place, reinterpret_cast<std::uint8_t*>(&place));
            const std::int32_t plane = list_->finding.search->PlaneOf({place.x, place.y, place.z});
            numbers_.push_back(list_->finding.set->NumberOf(plane));
        }
        return BytesOf(numbers_);
    }

private:
    std::shared_ptr<const PlaneList> list_;
    std::unique_ptr<Pieces> places_;
    std::vector<std::uint32_t> numbers_;
};

Expected<RecordFile> WriteSkeletonNumbers(const PlaneList& list, Scratch& scratch) {
    const auto path = scratch.NewName(L".numbers");
    if (!path) return ErrorOf(path);
    std::error_code error;
    platform::File file = platform::File::CreateNew(*path, error);
    const detection::PlaneSet& set = *list.finding.set;
    const auto reader = list.project.Core().CreateAlivePointReader();
    if (!reader) return detection::PointsNotMapped();
    std::vector<std::uint32_t> numbers;
    auto read = set.ReadSkeleton(*reader, [&](auto, std::span<const std::int32_t> planes) {
        if (error) return;
        numbers.clear();
        for (const std::int32_t plane : planes) numbers.push_back(set.NumberOf(plane));
        file.Append(numbers.data(), numbers.size() * sizeof(std::uint32_t), error);
    });
    if (!read) return ErrorOf(read);
    if (error) return FailSystem(error, platform::ToUtf8(*path) + " could not be written");
    return RecordFile::Open(*path, sizeof(std::uint32_t));
}

}  // namespace

std::unique_ptr<Pieces> PlaneNumbersOf(std::shared_ptr<const PlaneList> list,
                                       const RecordRange& range) {
    return std::make_unique<PointNumbers>(std::move(list), range);
}

Expected<std::unique_ptr<Pieces>> SkeletonPlaneNumbersOf(std::shared_ptr<const PlaneList> list,
                                                         const RecordFile& skeleton,
                                                         const RecordRange& range,
                                                         Scratch& scratch) {
    if (list->finding.search)
        return std::make_unique<PlaceNumbers>(std::move(list), skeleton.PiecesOf(range));
    const std::lock_guard lock(list->skeletonMutex);
    if (!list->skeletonDone && skeleton.Records() > 0) {
        auto written = WriteSkeletonNumbers(*list, scratch);
        if (!written) return ErrorOf(written);
        list->skeletonNumbers = std::move(*written);
    }
    list->skeletonDone = true;
    if (auto within = range.RequireWithin(list->skeletonNumbers.Records()); !within)
        return ErrorOf(within);
    return list->skeletonNumbers.PiecesOf(range);
}

}  // namespace orvix::view
