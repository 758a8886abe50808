// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/alive_point_reader.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/mapping.h"

namespace orvix {
namespace {

static_assert(CAlivePointReader::kGranuleBytes == platform::kMappingGranularity);
static_assert(CAlivePointReader::kRunChunkPoints == 346'794);

std::uint64_t GranuleStart(std::uint64_t position) {
    return position - position % platform::kMappingGranularity;
}

/// A read-only view of a stretch of alive records, unmapped on every way out: growing the
/// caller's vector may throw.
class RecordsView {
public:
    RecordsView(void* mapping, std::uint64_t first, std::uint64_t count) {
        constexpr std::uint64_t kMost =
            std::numeric_limits<std::uint64_t>::max() / kAlivePointBytes;
        if (first > kMost || count > kMost - 1 - kGranuleRecords) return;
        const std::uint64_t position = first * kAlivePointBytes;
        const std::uint64_t start = GranuleStart(position);
        const std::uint64_t place = position - start;
        base_ = platform::MapFileView(mapping, platform::kViewRead, start,
                                      place + count * kAlivePointBytes);
        // Positions are multiples of 24 and views start on pages: records are aligned for their
        // 4-byte fields, and being trivially copyable they exist where their bytes do.
        if (base_ != nullptr) {
            records_ = reinterpret_cast<const CCloudPoint<float>*>(base_ + place);
        }
    }
    ~RecordsView() { UnmapFileView(base_); }
    RecordsView(const RecordsView&) = delete;
    RecordsView& operator=(const RecordsView&) = delete;

    [[nodiscard]] const CCloudPoint<float>* Records() const { return records_; }

private:
    static constexpr std::uint64_t kGranuleRecords =
        platform::kMappingGranularity / kAlivePointBytes;

    std::uint8_t* base_ = nullptr;
    const CCloudPoint<float>* records_ = nullptr;
};

/// Room for `count` more, at least doubling, so that many appends stay linear.
void GrowFor(std::vector<CCloudPoint<float>>& out, std::uint64_t count) {
    if (out.capacity() - out.size() >= count) return;
    out.reserve(std::max<std::size_t>(out.size() + count, out.capacity() * 2));
}

}  // namespace

CAlivePointReader::CAlivePointReader(const std::uint64_t& aliveSize,
                                     const std::uint64_t& skeletDataSize,
                                     const std::uint64_t& skeletCoordSize, void* skeletDataMapping,
                                     void* skeletCoordMapping, void* aliveMapping,
                                     std::uint32_t skeletDataAccess,
                                     std::uint32_t skeletCoordAccess, std::uint32_t aliveAccess)
    : aliveFile_{aliveSize, aliveMapping, aliveAccess},
      skeletCoordFile_{skeletCoordSize, skeletCoordMapping, skeletCoordAccess},
      skeletDataFile_{skeletDataSize, skeletDataMapping, skeletDataAccess} {
    Reset();
}

CAlivePointReader::~CAlivePointReader() {
    UnmapFileView(skeletCoord_.view);
    UnmapFileView(alive_.view);
    UnmapFileView(skeletData_.view);
}

void CAlivePointReader::Reset() {
    pendingPoints_ = 0;
    runCounter_ = 0;
    firstPending_ = {};
    nextRun_ = {};
    batchInProgress_ = false;
    for (reader_vars* rv : {&skeletData_, &skeletCoord_, &alive_}) InitRv(*rv);
}

void CAlivePointReader::InitRv(reader_vars& rv) {
    UnmapFileView(rv.view);
    rv = reader_vars{};
}

void CAlivePointReader::MapWindow(reader_vars& rv, const point_file& file) {
    UnmapFileView(rv.view);
    const bool whole = rv.viewOffset <= file.size && file.size - rv.viewOffset >= kViewBytes;
    rv.view =
        platform::MapFileView(file.mapping, file.access, rv.viewOffset, whole ? kViewBytes : 0);
}

void CAlivePointReader::MoveView(reader_vars& rv, const point_file& file, std::uint64_t start) {
    rv.viewOffset = start;
    MapWindow(rv, file);
}

bool CAlivePointReader::NextChunk(reader_vars& rv, const point_file& file,
                                  std::uint64_t recordBytes) {
    UnmapFileView(rv.view);
    rv.view = nullptr;
    if (rv.lastChunk) return false;

    rv.chunkFirstIndex += rv.indexInChunk;
    rv.indexInChunk = 0;
    rv.chunkPosition = rv.chunkFirstIndex * recordBytes;
    rv.viewOffset = GranuleStart(rv.chunkPosition);
    rv.bufferOffset = rv.chunkPosition - rv.viewOffset;

    // Counted in whole windows although views advance by less: the last view begins early and
    // grows by up to a granule per view before it.
    const bool whole = file.size >= kViewBytes && file.size - kViewBytes >= rv.mappedBytes;
    const std::uint64_t left = file.size - std::min(file.size, rv.viewOffset);
    const std::uint64_t length = whole ? kViewBytes : left;
    rv.lastChunk = !whole;
    rv.view =
        platform::MapFileView(file.mapping, file.access, rv.viewOffset, whole ? kViewBytes : 0);
    rv.chunkCount =
        static_cast<std::uint32_t>((length - std::min(length, rv.bufferOffset)) / recordBytes);
    rv.mappedBytes += kViewBytes;
    return true;
}

bool CAlivePointReader::NextRunChunk(const CIndexerSmall& run) {
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
    rv.chunkPoints = std::min(rv.runRemaining, kRunChunkPoints);
    if (rv.runRemaining > kRunChunkPoints) rv.runRemaining -= kRunChunkPoints;
    rv.chunkBytes = rv.chunkPoints * kAlivePointBytes;
    rv.chunkPosition = (rv.runDone + run.offset) * kAlivePointBytes;
    if (rv.chunkBytes > kViewBytes) {
        platform::ReportError(L"Critical error, contact support personnel!");
    }
    InitView(rv);
    rv.runDone += rv.chunkPoints;
    rv.indexInChunk = 0;
    rv.chunkCount = rv.chunkPoints;
    return true;
}

void CAlivePointReader::InitView(reader_vars& rv) {
    rv.granule = rv.chunkPosition / kGranuleBytes;
    MoveView(rv, aliveFile_, rv.granule * kGranuleBytes);
    rv.bufferOffset = rv.chunkPosition % kGranuleBytes;
}

void CAlivePointReader::ReadIndexPoints(std::uint64_t first, std::uint32_t count,
                                        std::vector<CCloudPoint<float>>& out) const {
    const RecordsView view(aliveFile_.mapping, first, count);
    if (view.Records() == nullptr) {
        platform::ReportError(L"ReadIndexPoints  ERROR");
        return;
    }
    GrowFor(out, count);
    out.insert(out.end(), view.Records(), view.Records() + count);
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
        if ((pendingPoints_ + nextRun_->count) * kAlivePointBytes > batchBudget_) {
            // The view reaches over the run that did not fit, although only those before it are
            // copied.
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
    const RecordsView view(aliveFile_.mapping, first->offset, span);
    if (view.Records() == nullptr) {
        platform::ReportError(L"ReadIndexesPoints  ERROR");
        return;
    }
    GrowFor(out, count);
    for (RunIterator run = first; run != last; ++run) {
        assert(run->offset >= first->offset && "runs ascend in the file");
        const CCloudPoint<float>* records = view.Records() + (run->offset - first->offset);
        out.insert(out.end(), records, records + run->count);
    }
}

}  // namespace orvix
