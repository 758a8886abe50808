// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "orvix/platform/export.h"

namespace orvix {

/// Walks any file of fixed-size records in mapped chunks of 8 MiB, counts the progress in percent,
/// and maps the surroundings of a single record. Use it for files that have no reader of their own,
/// and to change records in place; `CAlivePointReader` knows the point files.
///
///     GenericReader file(path, 24, GenericReader::kRead, GenericReader::kPageRead,
///                        GenericReader::kViewRead);
///     for (bool more = true; more; file.Step()) {
///         std::uint64_t at = 0;
///         more = file.ReadChunk(at);
///         for (std::uint64_t i = 0; i < file.recordsInView; ++i, at += 24)
///             Use(file.chunkView + at);
///         Show(file.Progress());
///     }
///
/// Units      positions and sizes in bytes, progress in percent of the chunks.
/// Order      as stored.
/// Boundaries a record that straddles the end of a chunk is not counted in it and starts the next.
///            A file of a multiple of 8 MiB has a last chunk that may be empty; so has an empty
///            file, whose only chunk has no records and a null address. A trailing partial record
///            is never counted. Past the end of the file there are 0 records.
/// Errors     none are reported: a file that cannot be opened or mapped has null views, and the
///            records of one that can be opened only are counted all the same.
/// Lifetime   owns file, mapping and chunk view. A single-record view is the caller's: it stays
///            until `FreePoint` or the next `ReadPoint`, even beyond the reader's life.
/// Threads    one thread per reader.
/// Cost       no allocation; one map and one unmap per chunk.
class ORVIX_API GenericReader {
public:
    static constexpr std::uint64_t kChunkBytes = 8'388'608;
    static constexpr std::uint64_t kGranuleBytes = 65'536;
    /// File access, page protection and view access are those of `CreateFileW`,
    /// `CreateFileMappingW` and `MapViewOfFile`, on every system.
    static constexpr std::uint32_t kRead = 0x80000000, kReadWrite = 0xC0000000;
    static constexpr std::uint32_t kPageRead = 2, kPageReadWrite = 4;
    static constexpr std::uint32_t kViewRead = 4, kViewAll = 0xF001F;

    /// Precondition: `recordBytes` is above 0, and at most 8 MiB - 64 KiB for chunks.
    GenericReader(const std::wstring& path, const std::int64_t& recordBytes,
                  const std::uint32_t& fileAccess, const std::uint32_t& pageProtection,
                  const std::uint32_t& access);
    ~GenericReader();
    GenericReader(const GenericReader&) = delete;
    GenericReader& operator=(const GenericReader&) = delete;

    /// Maps the next chunk at `chunkView`; its first record lies `bufferOffset` bytes in, and there
    /// are `recordsInView`. False for the last chunk, which is valid like the others.
    bool ReadChunk(std::uint64_t& bufferOffset);
    /// Done with the chunk: the next one begins after its records.
    void Step();
    /// The next chunk begins with record `first`.
    void SetPoint(const std::uint64_t& first);

    /// Maps the 64 KiB granule in which record `index` begins at `pointView`, and the rest of a
    /// record that reaches beyond it; the record lies `bufferOffset` bytes in.
    void ReadPoint(const std::uint64_t& index, std::uint64_t& bufferOffset);
    void FreePoint();

    /// Chunks done x 100 / `chunkTotal`. Chunks overlap, so that a pass may take more of them than
    /// `chunkTotal` counts and end above 100 (BEHAVIOUR R13).
    int Progress() const;
    /// Whole records in the file.
    ORVIX_INLINE_API std::uint64_t Count() const { return recordCount; }
    /// Back to the start: the next chunk is the first one.
    void Reset();

    std::uint64_t chunksDone = 0;
    std::uint64_t chunkTotal = 0;       ///< file size / 8 MiB + 1
    std::uint64_t chunkTenth = 0;       ///< chunkTotal / 10: for a caller that shows ten steps
    std::uint8_t* chunkView = nullptr;  ///< null between `Step` and `ReadChunk`
    std::uint8_t* pointView = nullptr;  ///< null unless `ReadPoint` mapped it
    std::uint64_t recordsInView = 0;
    void* file = nullptr;     ///< all bits set when it could not be opened
    void* mapping = nullptr;  ///< null when there is none
    std::uint64_t fileSize = 0;
    std::uint64_t nextRecord = 0;  ///< the next chunk's first
    std::uint64_t recordSize = 0;
    std::uint64_t recordCount = 0;
    std::uint32_t viewAccess = 0;

private:
    std::uint8_t* Map(std::uint64_t start, std::uint64_t bytes) const;
};

}  // namespace orvix
