// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/platform/read_ahead.h"
#include "orvix/points/records.h"

namespace orvix {

namespace detail {
class RunViews;
class ViewWindow;
}  // namespace detail

/// Reads the three point files of a project through mappings that its owner holds open: alive
/// points (24-byte records), skeleton coordinates and skeleton data (12-byte records each).
///
/// Three ways in. Streaming visits every record of a file once; random access fetches one record
/// by its byte position (record number times record size); runs visit or append the stretches of
/// alive points that the grid indexes name. To hold points, append runs; to look at them once,
/// stream or iterate.
///
///     auto reader = core.CreateAlivePointReader();
///     CCloudPoint<float> point;
///     for (std::int64_t i = 0; i < core.AlivePointCount() && reader->ReadNextPoint(); ++i) {
///         reader->ReadCurrentPoint(point);
///         Use(point);
///     }
///     while (reader->ReadIndexPoints(run)) { reader->ReadCurrentPoint(point); Use(point); }
///
/// Units      positions and offsets in bytes; coordinates as stored, metres.
/// Order      as stored.
/// Boundaries a record that straddles the end of a view opens the next view. An empty file, and a
///            file whose last view holds only part of a record (8,388,608 bytes: 349,525 whole
///            records), report one record too many, and then true for ever: bound a streaming
///            loop by the file's record count, as above. Streaming numbers records in 32 bits.
/// Errors     a batch or run append that cannot be mapped hands its text to the error channel and
///            appends nothing. Streaming and run iteration do not detect a failed mapping; a
///            random read past the end of the file leaves the record as it was.
/// Lifetime   borrows the mappings and must not outlive them; owns its views and cursors. An
///            address within a view holds until the view moves: on the next advance that ends a
///            chunk, a random read of another granule, `Reset`, or destruction. The view from
///            which runs are appended stays mapped after the call, for the next run, and ends at
///            the latest when the project core or manager that made the reader closes its files.
/// Threads    one thread per reader; any number of readers per mapping.
/// Cost       no allocation but one before the first run is appended; one map and one unmap per
///            8 MiB. A random read costs a copy, within a granule and beyond it: a reader for
///            reading maps the whole file for the first one, whose pages are the system's file
///            cache (a reader for writing maps anew per change of granule). Per-point calls are
///            inline and touch only the block and the view.
class ORVIX_API CAlivePointReader {
public:
    static constexpr std::uint64_t kViewBytes = 8'388'608;
    static constexpr std::uint64_t kGranuleBytes = 65'536;
    /// The most points of a run that one view serves, wherever in a granule the run begins.
    static constexpr std::uint32_t kRunChunkPoints =
        static_cast<std::uint32_t>((kViewBytes - kGranuleBytes) / kAlivePointBytes);
    static constexpr std::uint64_t kBatchBudgetBytes = 0x4000000;
    static constexpr std::uint64_t kBatchPointLimit = 50'000'000;

    /// Sizes run alive, data, coordinates; mappings and access flags run data, coordinates,
    /// alive. Null mappings are allowed for files that are never read. Access flags are those of
    /// `MapViewOfFile`: 4 to read, 0xF001F to let the host change records through their address.
    CAlivePointReader(const std::uint64_t& aliveSize, const std::uint64_t& skeletDataSize,
                      const std::uint64_t& skeletCoordSize, void* skeletDataMapping,
                      void* skeletCoordMapping, void* aliveMapping, std::uint32_t skeletDataAccess,
                      std::uint32_t skeletCoordAccess, std::uint32_t aliveAccess);
    /// The same for an owner that releases the views of its readers' runs when it closes the
    /// files, through `runViews`; null for none.
    CAlivePointReader(const std::uint64_t& aliveSize, const std::uint64_t& skeletDataSize,
                      const std::uint64_t& skeletCoordSize, void* skeletDataMapping,
                      void* skeletCoordMapping, void* aliveMapping, std::uint32_t skeletDataAccess,
                      std::uint32_t skeletCoordAccess, std::uint32_t aliveAccess,
                      std::shared_ptr<detail::RunViews> runViews);
    ~CAlivePointReader();
    CAlivePointReader(const CAlivePointReader&) = delete;
    CAlivePointReader& operator=(const CAlivePointReader&) = delete;

    /// Streaming: each moves to its file's next record; false at the end of the file.
    ORVIX_INLINE_API bool ReadNextPoint() { return Advance<kAlivePointBytes>(alive_, aliveFile_); }
    ORVIX_INLINE_API bool ReadNextSkeletCoordPoint() {
        return Advance<kSkeletonRecordBytes>(skeletCoord_, skeletCoordFile_);
    }
    ORVIX_INLINE_API bool ReadNextSkeletDataPoint() {
        return Advance<kSkeletonRecordBytes>(skeletData_, skeletDataFile_);
    }

    /// The current record. Precondition: the file's last advance, or `ReadIndexPoints(run)`,
    /// returned true for a record that exists, and no random read or `Reset` came in between.
    ORVIX_INLINE_API void ReadCurrentPoint(CCloudPoint<float>& point) const {
        point = Current<CCloudPoint<float>>(alive_);
    }
    ORVIX_INLINE_API void ReadCurrentSkeletPoint(SimplePointT<float>& point) const {
        point = Current<SimplePointT<float>>(skeletCoord_);
    }
    ORVIX_INLINE_API void ReadCurrentSkeletPointData(CPointDataFull& data) const {
        data = Current<CPointDataFull>(skeletData_);
    }
    /// The DCLC pair alone, without copying the record.
    ORVIX_INLINE_API void ReadCurrentDCLC(unsigned short& first, unsigned char& second) const {
        const auto& record = Current<CCloudPoint<float>>(alive_);
        first = record.dclcFirst;
        second = record.dclcSecond;
    }
    ORVIX_INLINE_API void ReadCurrentSkeletDCLC(unsigned short& first,
                                                unsigned char& second) const {
        const auto& record = Current<CPointDataFull>(skeletData_);
        first = record.dclcFirst;
        second = record.dclcSecond;
    }
    /// Does nothing; `ReadCurrentPoint` reads the coordinates with the rest of the record.
    ORVIX_INLINE_API void ReadCurrentXYZAlive(CCloudPoint<float>*) const {}

    /// Where the current record is: in the file at CurrentOffset + CurrentPointPosition, in
    /// memory at PtsMapAddress + CurrentPointPosition. CurrentOffset is all ones before a view.
    ORVIX_INLINE_API unsigned char* PtsMapAddressAlive() const { return alive_.view; }
    ORVIX_INLINE_API unsigned char* PtsMapAddressSkeletCoord() const { return skeletCoord_.view; }
    ORVIX_INLINE_API unsigned char* PtsMapAddressSkeletData() const { return skeletData_.view; }
    ORVIX_INLINE_API std::uint64_t CurrentOffsetAlive() const { return alive_.viewOffset; }
    ORVIX_INLINE_API std::uint64_t CurrentOffsetSkeletCoord() const {
        return skeletCoord_.viewOffset;
    }
    ORVIX_INLINE_API std::uint64_t CurrentOffsetSkeletData() const {
        return skeletData_.viewOffset;
    }
    ORVIX_INLINE_API std::uint64_t CurrentBufferOffsetAlive() const { return alive_.bufferOffset; }
    ORVIX_INLINE_API std::uint64_t CurrentBufferOffsetSkeletCoord() const {
        return skeletCoord_.bufferOffset;
    }
    ORVIX_INLINE_API std::uint64_t CurrentBufferOffsetSkeletData() const {
        return skeletData_.bufferOffset;
    }
    ORVIX_INLINE_API std::uint64_t& CurrentPointPositionAlive() { return alive_.pointPosition; }
    ORVIX_INLINE_API std::uint64_t& CurrentPointPositionSkeletCoord() {
        return skeletCoord_.pointPosition;
    }
    ORVIX_INLINE_API std::uint64_t& CurrentPointPositionSkeletData() {
        return skeletData_.pointPosition;
    }

    /// Random access by byte position.
    ORVIX_INLINE_API void ReadPoint(const std::int64_t& position, CCloudPoint<float>& point) {
        alive_.granule = GranuleOf(position);
        ReadAt(alive_, aliveFile_, alive_.granule, position, point);
    }
    ORVIX_INLINE_API void ReadSkeletPointData(const std::int64_t& position, CPointDataFull& data) {
        skeletData_.granule = GranuleOf(position);
        ReadAt(skeletData_, skeletDataFile_, skeletData_.granule, position, data);
    }
    /// The coordinates that belong to the data record read last: call it after
    /// `ReadSkeletPointData` of the same position. The view follows the data record's granule and
    /// the argument gives the place within it, so a position in another granule reads other bytes.
    ORVIX_INLINE_API void ReadSkeletPoint(const std::int64_t& position,
                                          SimplePointT<float>& point) {
        // BEHAVIOUR R3
        ReadAt(skeletCoord_, skeletCoordFile_, skeletData_.granule, position, point);
        skeletCoord_.granule = GranuleOf(position);
    }

    /// Iterates a run: true for each of its points, then false once, after which the reader takes
    /// the next run. Hand over the same run until the false.
    /// Precondition: the run lies inside the file, and streaming is at its start or its end.
    ORVIX_INLINE_API bool ReadIndexPoints(const CIndexerSmall& run) {
        if (alive_.nextPosition == alive_.endPosition) [[unlikely]] {
            if (!NextRunChunk(run)) return false;
        }
        HandOut<kAlivePointBytes>(alive_);
        return true;
    }
    /// Appends one run to `out` with a single copy, through a view of its own: streaming and
    /// iteration stay where they are. A view of up to 8 MiB serves the runs that lie in it, one
    /// after the other, and a longer one ends with the call. "ReadIndexPoints  ERROR" when the run
    /// cannot be mapped.
    void ReadIndexPoints(std::uint64_t first, std::uint32_t count,
                         std::vector<CCloudPoint<float>>& out);
    /// Appends many runs, gathered to 64 MiB a view. True when `out` has passed 50,000,000 points
    /// and more is to come: use `out`, then call again with the same runs, which first clears
    /// `out`. False with the last batch. "ReadIndexesPoints  ERROR" when a batch cannot be mapped.
    /// Precondition: runs ascend by their first point (a run before its batch's first one cannot
    /// be mapped); they stay alive and unchanged until the false.
    bool ReadIndexesPts(std::vector<CIndexerSmall>& runs, std::vector<CCloudPoint<float>>& out);

    /// Maps a file's view at its current offset, replacing the one there; at most 8 MiB.
    ORVIX_INLINE_API void MapView() { MapWindow(alive_, aliveFile_); }
    ORVIX_INLINE_API void MapViewSkeletCoords() { MapWindow(skeletCoord_, skeletCoordFile_); }
    ORVIX_INLINE_API void MapViewSkeletData() { MapWindow(skeletData_, skeletDataFile_); }

    /// Rewinds all three files, releases their views and abandons a batch in progress.
    void Reset();

protected:
    /// What bounds one `ReadIndexesPts` call; a derived reader may lower them.
    std::uint64_t batchBudget_ = kBatchBudgetBytes;
    std::uint64_t batchPointLimit_ = kBatchPointLimit;

private:
    static constexpr std::uint32_t kNoRun = 0xFFFFFFFF;
    static constexpr std::uint64_t kNoView = ~std::uint64_t{0};

    /// The cursor over one file.
    struct reader_vars {
        std::uint64_t bufferOffset = 0;  // first record of the chunk, inside the view
        std::uint64_t granule = 0;       // last requested position / 65,536
        std::uint8_t* view = nullptr;    // base of the view
        std::uint8_t* whole = nullptr;   // base of the file, where `view` is a part of all of it
        std::uint64_t viewOffset = kNoView;   // where the view starts in the file
        std::uint32_t runDone = 0;            // points of the run put in chunks so far
        std::uint32_t chunkPoints = 0;        // points of the run in the current chunk
        std::uint32_t runRemaining = kNoRun;  // points of the run not yet in a chunk
        std::uint64_t chunkBytes = 0;         // bytes of the run's chunk
        std::uint64_t chunkPosition = 0;      // where the chunk starts in the file
        std::uint32_t chunkFirstIndex = 0;    // number of the chunk's first record
        bool lastChunk = false;               // the view reaches the end of the file
        std::uint64_t nextPosition = 0;       // record to hand out next, inside the view
        std::uint64_t endPosition = 0;        // where the chunk's records end, inside the view
        std::uint64_t pointPosition = 0;      // current record, inside the view
        std::uint64_t mappedBytes = 0;        // 8 MiB per view streamed so far
    };

    /// What the owner handed over for one file.
    struct point_file {
        std::uint64_t size;
        void* mapping;
        std::uint32_t access;
    };

    using RunIterator = std::vector<CIndexerSmall>::iterator;

    static std::uint64_t GranuleOf(std::int64_t position) {
        return static_cast<std::uint64_t>(position) / kGranuleBytes;
    }

    // Positions instead of a number of records: nothing is multiplied at a point. What comes next is
    // kept apart from the current position, which a host may set.
    template <std::uint64_t RecordBytes>
    static void HandOut(reader_vars& rv) {
        rv.pointPosition = rv.nextPosition;
        detail::ReadAhead(rv.view, rv.nextPosition + detail::kReadAheadBytes);
        rv.nextPosition += RecordBytes;
    }

    template <std::uint64_t RecordBytes>
    static bool Advance(reader_vars& rv, const point_file& file) {
        // Equality decides and nothing else: a chunk without a whole record hands one out.
        // BEHAVIOUR R1
        if (rv.nextPosition == rv.endPosition) [[unlikely]] {
            if (!NextChunk(rv, file, RecordBytes)) return false;
        }
        HandOut<RecordBytes>(rv);
        return true;
    }

    /// Records are trivially copyable and exist where their bytes do; positions are multiples of
    /// their size, so they are aligned. A copy by assignment, unlike memcpy, costs a caller only
    /// the fields that it uses.
    template <class Record>
    static const Record& Current(const reader_vars& rv) {
        assert(rv.view != nullptr && "no current record");
        return *reinterpret_cast<const Record*>(rv.view + rv.pointPosition);
    }

    template <class Record>
    static void ReadAt(reader_vars& rv, const point_file& file, std::uint64_t granule,
                       std::int64_t position, Record& record) {
        const std::uint64_t start = granule * kGranuleBytes;
        const std::uint64_t place = static_cast<std::uint64_t>(position) % kGranuleBytes;
        if (start != rv.viewOffset || rv.view == nullptr) [[unlikely]] {
            MoveAnywhere(rv, file, start);
        }
        // BEHAVIOUR R4
        if (rv.view == nullptr || file.size - start < place + sizeof record) return;
        std::memcpy(&record, rv.view + place, sizeof record);
    }

    // Both are noexcept so that a loop around an inlined advance keeps its running values in
    // registers: a call that may throw makes the compiler store them at every point.
    static bool NextChunk(reader_vars& rv, const point_file& file,
                          std::uint64_t recordBytes) noexcept;
    bool NextRunChunk(const CIndexerSmall& run) noexcept;
    static void MoveAnywhere(reader_vars& rv, const point_file& file, std::uint64_t start) noexcept;
    static void MoveView(reader_vars& rv, const point_file& file, std::uint64_t start,
                         std::uint64_t bytes);
    static void ReleaseView(reader_vars& rv);
    static void MapWindow(reader_vars& rv, const point_file& file);
    static void InitRv(reader_vars& rv);
    void InitView(reader_vars& rv);
    detail::ViewWindow& RunView();
    bool ContinueBatch(std::vector<CIndexerSmall>& runs, std::vector<CCloudPoint<float>>& out);
    void ReadIndexesPts(std::vector<CCloudPoint<float>>& out, RunIterator first, RunIterator last,
                        std::uint64_t span, std::uint64_t count) const;

    reader_vars skeletData_;
    reader_vars skeletCoord_;
    reader_vars alive_;
    std::shared_ptr<detail::RunViews> runViews_;  // shared with the owner of the mappings
    detail::ViewWindow* runView_ = nullptr;       // of these; taken for the first run appended
    point_file aliveFile_;
    point_file skeletCoordFile_;
    point_file skeletDataFile_;
    std::uint64_t pendingPoints_ = 0;
    std::uint32_t runCounter_ = 0;
    RunIterator firstPending_;
    RunIterator nextRun_;
    bool batchInProgress_ = false;
};

}  // namespace orvix
