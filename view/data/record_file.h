// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/file.h"
#include "orvix/platform/text.h"
#include "view/http/answer.h"

namespace orvix::view {

/// Records first, first + every, ... below first + count.
struct RecordRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    std::uint64_t every = 1;

    [[nodiscard]] std::uint64_t Taken() const { return count / every + (count % every != 0); }
    /// Errors  BadInput where it reaches past `records`, or takes every 0th.
    [[nodiscard]] Expected<void> RequireWithin(std::uint64_t records) const;
};

/// A file of records of one size, whose ranges are sent as they lie.
///
/// Boundaries the number of records is that of the opening; a last one that is not whole does not count.
/// Errors     of Open: those of the system, with the path. Damaged where the file has been cut since.
/// Threads    any number of ranges side by side. Pieces may outlive the RecordFile.
/// Cost       256 KiB for each range that is being sent. Reads, not views: what another program cuts
///            off the file ends an answer, and not the program.
class RecordFile {
public:
    static Expected<RecordFile> Open(const CString& path, std::uint64_t recordBytes);
    /// An empty one, of a file that the project does not have.
    RecordFile() = default;

    [[nodiscard]] std::uint64_t Records() const { return records_; }
    [[nodiscard]] std::uint64_t RecordBytes() const { return recordBytes_; }
    /// Reads records whole, all of them or none. Precondition: they are within the file.
    [[nodiscard]] Expected<void> Read(std::uint64_t first, std::uint64_t count,
                                      std::uint8_t* into) const;
    /// Precondition: the range lies within the file.
    [[nodiscard]] std::unique_ptr<Pieces> PiecesOf(const RecordRange& range) const;

private:
    struct Content {
        CString path;
        platform::File file;
    };

    std::shared_ptr<const Content> content_;
    std::uint64_t recordBytes_ = 1;
    std::uint64_t records_ = 0;
};

/// The records of a RecordFile one by one, in ascending order or nearly: read in blocks of 64 KiB.
template <class Record>
class RecordCursor {
public:
    explicit RecordCursor(const RecordFile& file) : file_(&file) {}

    [[nodiscard]] std::uint64_t Records() const { return file_->Records(); }
    /// Precondition: there is such a record.
    Expected<Record> At(std::uint64_t number) {
        if (number < first_ || number - first_ >= block_.size()) {
            first_ = number;
            const std::uint64_t left = file_->Records() - number;
            block_.resize(static_cast<std::size_t>(left < kBlock ? left : kBlock));
            auto read =
                file_->Read(first_, block_.size(), reinterpret_cast<std::uint8_t*>(block_.data()));
            if (!read) {
                block_.clear();
                return ErrorOf(read);
            }
        }
        return block_[static_cast<std::size_t>(number - first_)];
    }

private:
    static constexpr std::uint64_t kBlock = 65'536 / sizeof(Record);

    const RecordFile* file_;
    std::uint64_t first_ = 0;
    std::vector<Record> block_;
};

}  // namespace orvix::view
