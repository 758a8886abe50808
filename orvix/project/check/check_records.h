// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/file.h"
#include "orvix/platform/text.h"
#include "orvix/project/check/check_log.h"

namespace orvix::detail {

/// A headerless array of records on disk, read through two windows of 64 KiB: the one in use and the
/// one before it. So a check of any project takes little memory, and a file that another program cuts
/// short meanwhile ends the check with a sentence. Opening it names its faults: a file that is missing
/// or that does not end with a whole record.
///
///     RecordFile<GridCellRecord> cells(paths.gridIdx, log);
///     for (std::uint64_t i = 0; i < cells.Count(); ++i) Use(cells[i]);
///
/// Boundaries a trailing piece of a record is not counted. A file that cannot be opened has no
///            records; `IsOpen` is false for it and true for an empty one.
/// Errors     what cannot be read, or is no longer there, is the log's refusal, and records are zero
///            from then on.
/// Threads    one.
/// Cost       a system call per 64 KiB where records are read in about their order.
template <class Record>
class RecordFile {
public:
    /// A file that is not part of the project: not open, no records.
    RecordFile() = default;

    RecordFile(const CString& path, CheckLog& log) : path_(path), log_(&log) {
        std::error_code error;
        file_ = platform::File::OpenRead(path, error);
        open_ = !error;
        if (open_) bytes_ = file_.Size();
        if (error) {
            log.CannotRead(path, error);
        } else if (bytes_ % sizeof(Record) != 0) {
            log.Add(path, "holds {} bytes, which is no whole number of {}-byte records", bytes_,
                    sizeof(Record));
        }
        log.Expect(bytes_);
    }

    [[nodiscard]] const CString& Path() const { return path_; }
    [[nodiscard]] bool IsOpen() const { return open_; }
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }
    [[nodiscard]] std::uint64_t Count() const { return bytes_ / sizeof(Record); }

    /// Precondition: `i` is below `Count()`.
    Record operator[](std::uint64_t i) const {
        if (i - window_.first >= window_.records.size()) Slide(i);
        const std::uint64_t place = i - window_.first;
        return place < window_.records.size() ? window_.records[place] : Record();
    }

    /// Records from `i` on that the window in use holds: some of the next `count`, at least one
    /// unless the file cannot be read. Valid until another record is asked for.
    /// Precondition: `i` is below `Count()`.
    std::span<const Record> From(std::uint64_t i, std::uint64_t count) const {
        if (i - window_.first >= window_.records.size()) Slide(i);
        const std::uint64_t place = i - window_.first;
        if (place >= window_.records.size()) return {};
        const auto rest = std::span(window_.records).subspan(static_cast<std::size_t>(place));
        return rest.first(static_cast<std::size_t>(std::min<std::uint64_t>(count, rest.size())));
    }

private:
    static constexpr std::uint64_t kWindowRecords = (std::uint64_t{1} << 16) / sizeof(Record);

    struct Window {
        std::uint64_t first = 0;
        std::vector<Record> records;
    };

    void Slide(std::uint64_t i) const {
        std::swap(window_, former_);
        if (i - window_.first < window_.records.size() || failed_) return;
        window_.first = i / kWindowRecords * kWindowRecords;
        const auto end = std::min(window_.first + kWindowRecords, Count());
        window_.records.resize(static_cast<std::size_t>(end - std::min(window_.first, end)));
        const std::size_t bytes = window_.records.size() * sizeof(Record);
        std::error_code error;
        const std::size_t read =
            file_.ReadAt(window_.first * sizeof(Record), window_.records.data(), bytes, error);
        if (!error && read == bytes && bytes > 0) return;
        failed_ = true;
        window_.records.clear();
        if (error) return log_->CannotRead(path_, error);
        log_->Refuse({ErrorCode::Damaged,
                      platform::ToUtf8(path_) +
                          " became shorter while it was checked; is another program at work in its "
                          "folder?"});
    }

    CString path_;
    CheckLog* log_ = nullptr;
    platform::File file_;
    std::uint64_t bytes_ = 0;
    bool open_ = false;
    mutable Window window_;
    mutable Window former_;
    mutable bool failed_ = false;
};

}  // namespace orvix::detail
