// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/alive_point_reader.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <tuple>
#include <utility>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/append_records.h"
#include "orvix/points/run_views.h"

namespace orvix {
namespace {

static_assert(CAlivePointReader::kGranuleBytes == platform::kMappingGranularity);
static_assert(CAlivePointReader::kRunChunkPoints == 346'794);

std::uint64_t GranuleStart(std::uint64_t position) {
    return position - position % platform::kMappingGranularity;
}

/// The most records whose bytes, and the granule they begin in, count in 64 bits.
constexpr std::uint64_t kMaxRecords =
    (std::numeric_limits<std::uint64_t>::max() - platform::kMappingGranularity) / kAlivePointBytes;

/// Positions are multiples of 24 and views start on pages, so records are aligned for their
/// 4-byte fields; being trivially copyable, they exist where their bytes do.
const CCloudPoint<float>* RecordsAt(const std::uint8_t* bytes) {
    return reinterpret_cast<const CCloudPoint<float>*>(bytes);
}

/// A view for the length of one batch; released on every way out, as growing the caller's vector
/// may throw.
class BatchView {
public:
    explicit BatchView(std::uint8_t* base) : base_(base) {}
    ~BatchView() { UnmapFileView(base_); }
    BatchView(const BatchView&) = delete;
    BatchView& operator=(const BatchView&) = delete;
    [[nodiscard]] const std::uint8_t* Base() const { return base_; }

private:
    std::uint8_t* base_;
};

}  // namespace

CAlivePointReader::CAlivePointReader(const std::uint64_t& aliveSize,
                                     const std::uint64_t& skeletDataSize,
                                     const std::uint64_t& skeletCoordSize, void* skeletDataMapping,
                                     void* skeletCoordMapping, void* aliveMapping,
                                     std::uint32_t skeletDataAccess,
                                     std::uint32_t skeletCoordAccess, std::uint32_t aliveAccess)
    : CAlivePointReader(aliveSize, skeletDataSize, skeletCoordSize, skeletDataMapping,
                        skeletCoordMapping, aliveMapping, skeletDataAccess, skeletCoordAccess,
                        aliveAccess, nullptr) {}

CAlivePointReader::CAlivePointReader(const std::uint64_t& aliveSize,
                                     const std::uint64_t& skeletDataSize,
                                     const std::uint64_t& skeletCoordSize, void* skeletDataMapping,
                                     void* skeletCoordMapping, void* aliveMapping,
                                     std::uint32_t skeletDataAccess,
                                     std::uint32_t skeletCoordAccess, std::uint32_t aliveAccess,
                                     std::shared_ptr<detail::RunViews> runViews)
    : runViews_(std::move(runViews)),
      aliveFile_{aliveSize, aliveMapping, aliveAccess},
      skeletCoordFile_{skeletCoordSize, skeletCoordMapping, skeletCoordAccess},
      skeletDataFile_{skeletDataSize, skeletDataMapping, skeletDataAccess} {
    Reset();
}

CAlivePointReader::~CAlivePointReader() {
    for (reader_vars* rv : {&skeletCoord_, &alive_, &skeletData_}) ReleaseView(*rv);
    if (runView_ != nullptr) runViews_->GiveBack(runView_);
}

void CAlivePointReader::Reset() {
    pendingPoints_ = 0;
    runCounter_ = 0;
    firstPending_ = {};
    nextRun_ = {};
    batchInProgress_ = false;
    for (reader_vars* rv : {&skeletData_, &skeletCoord_, &alive_}) InitRv(*rv);  // BEHAVIOUR R8
    if (runView_ != nullptr) runView_->Release();
}

detail::ViewWindow& CAlivePointReader::RunView() {
    if (runView_ == nullptr) {
        if (runViews_ == nullptr) runViews_ = std::make_shared<detail::RunViews>();
        runView_ = runViews_->Take();
    }
    return *runView_;
}

void CAlivePointReader::InitRv(reader_vars& rv) {
    ReleaseView(rv);
    rv = reader_vars{};
}

void CAlivePointReader::ReleaseView(reader_vars& rv) {
    UnmapFileView(rv.whole != nullptr ? rv.whole : rv.view);
    rv.whole = nullptr;
    rv.view = nullptr;
}

void CAlivePointReader::MoveView(reader_vars& rv, const point_file& file, std::uint64_t start,
                                 std::uint64_t bytes) {
    rv.viewOffset = start;
    std::uint8_t* const old = rv.whole != nullptr ? rv.whole : rv.view;
    rv.whole = nullptr;
    rv.view = platform::MoveFileView(old, file.mapping, file.access, start, bytes);
}

void CAlivePointReader::MapWindow(reader_vars& rv, const point_file& file) {
    const bool whole = rv.viewOffset <= file.size && file.size - rv.viewOffset >= kViewBytes;
    MoveView(rv, file, rv.viewOffset, whole ? kViewBytes : 0);
}

void CAlivePointReader::MoveAnywhere(reader_vars& rv, const point_file& file,
                                     std::uint64_t start) noexcept {
    // BEHAVIOUR R16
    if (rv.whole == nullptr && file.access == platform::kViewRead && start < file.size) {
        MoveView(rv, file, 0, file.size);
        rv.whole = rv.view;
    }
    rv.viewOffset = start;
    if (rv.whole != nullptr) {
        rv.view = start < file.size ? rv.whole + start : nullptr;
    } else {
        MapWindow(rv, file);
    }
}

bool CAlivePointReader::NextChunk(reader_vars& rv, const point_file& file,
                                  std::uint64_t recordBytes) noexcept {
    if (rv.lastChunk) {
        ReleaseView(rv);
        return false;
    }

    rv.chunkFirstIndex +=
        static_cast<std::uint32_t>((rv.nextPosition - rv.bufferOffset) / recordBytes);
    rv.chunkPosition = rv.chunkFirstIndex * recordBytes;
    const std::uint64_t start = GranuleStart(rv.chunkPosition);
    rv.bufferOffset = rv.chunkPosition - start;

    // Counted in whole windows although views advance by less: the last view begins early and
    // grows by up to a granule per view before it.
    // BEHAVIOUR R2
    const bool whole = file.size >= kViewBytes && file.size - kViewBytes >= rv.mappedBytes;
    const std::uint64_t left = file.size - std::min(file.size, start);
    const std::uint64_t length = whole ? kViewBytes : left;
    rv.lastChunk = !whole;
    MoveView(rv, file, start, whole ? kViewBytes : 0);
    const std::uint64_t held = length - std::min(length, rv.bufferOffset);
    rv.nextPosition = rv.bufferOffset;
    rv.endPosition = rv.bufferOffset + held / recordBytes * recordBytes;
    rv.mappedBytes += kViewBytes;
    return true;
}

bool CAlivePointReader::NextRunChunk(const CIndexerSmall& run) noexcept {
    reader_vars& rv = alive_;
    if (rv.runRemaining == kNoRun) {
        rv.runDone = 0;
        rv.chunkPoints = 0;
        rv.runRemaining = run.count;
    }
    if (rv.runDone >= run.count) {
        rv.runRemaining = kNoRun;
        return false;
    }
    rv.chunkPoints = std::min(rv.runRemaining, kRunChunkPoints);  // BEHAVIOUR R5
    if (rv.runRemaining > kRunChunkPoints) rv.runRemaining -= kRunChunkPoints;
    rv.chunkBytes = rv.chunkPoints * kAlivePointBytes;
    rv.chunkPosition = (rv.runDone + run.offset) * kAlivePointBytes;
    if (rv.chunkBytes > kViewBytes) {
        platform::ReportError(L"Critical error, contact support personnel!");
    }
    InitView(rv);
    rv.runDone += rv.chunkPoints;
    rv.nextPosition = rv.bufferOffset;
    rv.endPosition = rv.bufferOffset + rv.chunkBytes;
    return true;
}

void CAlivePointReader::InitView(reader_vars& rv) {
    rv.granule = rv.chunkPosition / kGranuleBytes;
    rv.viewOffset = rv.granule * kGranuleBytes;
    MapWindow(rv, aliveFile_);
    rv.bufferOffset = rv.chunkPosition % kGranuleBytes;
}

void CAlivePointReader::ReadIndexPoints(std::uint64_t first, std::uint32_t count,
                                        std::vector<CCloudPoint<float>>& out) {
    const std::uint64_t position = first * kAlivePointBytes;
    detail::ViewWindow& view = RunView();
    const std::uint8_t* records = first > kMaxRecords ? nullptr
                                                      : view.At(aliveFile_.mapping, aliveFile_.size,
                                                                position, count * kAlivePointBytes);
    if (records == nullptr) {
        platform::ReportError(L"ReadIndexPoints  ERROR");
        return;
    }
    detail::AppendRecords(out, RecordsAt(records), count);
    // BEHAVIOUR R15
    if (view.Bytes() > kViewBytes) view.Release();
}

bool CAlivePointReader::ReadIndexesPts(std::vector<CIndexerSmall>& runs,
                                       std::vector<CCloudPoint<float>>& out) {
    if (batchInProgress_) {
        out.clear();
        return ContinueBatch(runs, out);
    }
    if (runs.empty()) return false;
    if (runs.size() == 1) {
        ReadIndexesPts(out, runs.begin(), runs.end(), runs.front().count, runs.front().count);
        return false;
    }
    pendingPoints_ = 0;
    firstPending_ = runs.begin();
    nextRun_ = runs.begin();
    batchInProgress_ = true;
    return ContinueBatch(runs, out);
}

bool CAlivePointReader::ContinueBatch(std::vector<CIndexerSmall>& runs,
                                      std::vector<CCloudPoint<float>>& out) {
    const auto spanTo = [this](const CIndexerSmall& run) {
        return run.offset + run.count - firstPending_->offset;
    };
    for (; nextRun_ != runs.end(); ++nextRun_) {
        if ((pendingPoints_ + nextRun_->count) * kAlivePointBytes > batchBudget_) {  // BEHAVIOUR R6
            // The view reaches over the run that did not fit, although only those before it are
            // copied.
            // BEHAVIOUR R7
            ReadIndexesPts(out, firstPending_, nextRun_, spanTo(*nextRun_), pendingPoints_);
            firstPending_ = nextRun_;
            pendingPoints_ = 0;
            if (out.size() > batchPointLimit_) return true;
        }
        pendingPoints_ += nextRun_->count;
    }
    ReadIndexesPts(out, firstPending_, runs.end(), spanTo(runs.back()), pendingPoints_);
    batchInProgress_ = false;
    return false;
}

void CAlivePointReader::ReadIndexesPts(std::vector<CCloudPoint<float>>& out, RunIterator first,
                                       RunIterator last, std::uint64_t span,
                                       std::uint64_t count) const {
    // Where runs overlap, one may reach past those after it: the view holds them all. A run before
    // the first is a distance that no file has.
    for (RunIterator run = first; run != last; ++run) {
        const std::uint64_t distance = run->offset - first->offset;
        span = std::max(span, std::min(distance, kMaxRecords) + run->count);
    }
    const std::uint64_t position = first->offset * kAlivePointBytes;
    const std::uint64_t place = position % kGranuleBytes;
    const bool countable = first->offset <= kMaxRecords && span <= kMaxRecords;
    const BatchView view(countable ? platform::MapFileView(aliveFile_.mapping, platform::kViewRead,
                                                           position - place,
                                                           place + span * kAlivePointBytes)
                                   : nullptr);
    if (view.Base() == nullptr) {
        platform::ReportError(L"ReadIndexesPoints  ERROR");
        return;
    }
    detail::Reserve(out, count);
    const CCloudPoint<float>* records = RecordsAt(view.Base() + place);
    for (RunIterator run = first; run != last;) {
        // Runs that follow one another in the file, as those of neighbouring cells do, are one
        // copy.
        const std::uint64_t begin = run->offset;
        std::uint64_t end = begin;
        for (; run != last && run->offset == end; ++run) end += run->count;
        detail::AppendRecords(out, records + (begin - first->offset), end - begin);
    }
}

namespace {

[[maybe_unused]] ORVIX_EMITTED constexpr std::tuple kInlineMembers{
    &CAlivePointReader::ReadNextPoint,
    &CAlivePointReader::ReadNextSkeletCoordPoint,
    &CAlivePointReader::ReadNextSkeletDataPoint,
    &CAlivePointReader::ReadCurrentPoint,
    &CAlivePointReader::ReadCurrentSkeletPoint,
    &CAlivePointReader::ReadCurrentSkeletPointData,
    &CAlivePointReader::ReadCurrentDCLC,
    &CAlivePointReader::ReadCurrentSkeletDCLC,
    &CAlivePointReader::ReadCurrentXYZAlive,
    &CAlivePointReader::PtsMapAddressAlive,
    &CAlivePointReader::PtsMapAddressSkeletCoord,
    &CAlivePointReader::PtsMapAddressSkeletData,
    &CAlivePointReader::CurrentOffsetAlive,
    &CAlivePointReader::CurrentOffsetSkeletCoord,
    &CAlivePointReader::CurrentOffsetSkeletData,
    &CAlivePointReader::CurrentBufferOffsetAlive,
    &CAlivePointReader::CurrentBufferOffsetSkeletCoord,
    &CAlivePointReader::CurrentBufferOffsetSkeletData,
    &CAlivePointReader::CurrentPointPositionAlive,
    &CAlivePointReader::CurrentPointPositionSkeletCoord,
    &CAlivePointReader::CurrentPointPositionSkeletData,
    &CAlivePointReader::ReadPoint,
    &CAlivePointReader::ReadSkeletPointData,
    &CAlivePointReader::ReadSkeletPoint,
    static_cast<bool (CAlivePointReader::*)(const CIndexerSmall&)>(
        &CAlivePointReader::ReadIndexPoints),
    &CAlivePointReader::MapView,
    &CAlivePointReader::MapViewSkeletCoords,
    &CAlivePointReader::MapViewSkeletData};

}  // namespace

}  // namespace orvix
