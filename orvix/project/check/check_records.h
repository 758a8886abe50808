// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstring>
#include <system_error>

#include "orvix/platform/mapping.h"
#include "orvix/platform/text.h"
#include "orvix/project/check/check_log.h"

namespace orvix::detail {

/// A headerless array of records on disk, mapped whole. Opening it names its faults: a file that
/// is missing or that does not end with a whole record.
///
///     RecordFile<GridCellRecord> cells(paths.gridIdx, log);
///     for (std::uint64_t i = 0; i < cells.Count(); ++i) Use(cells[i]);
///
/// Boundaries a trailing piece of a record is not counted. A file that cannot be opened has no
///            records; `IsOpen` is false for it and true for an empty one.
template <class Record>
class RecordFile {
public:
    /// A file that is not part of the project: not open, no records.
    RecordFile() = default;

    RecordFile(const CString& path, CheckLog& log) : path_(path) {
        std::error_code error;
        file_ = platform::MappedFile::Open(path, error);
        open_ = !error;
        if (error) {
            log.CannotRead(path, error);
        } else if (file_.Size() % sizeof(Record) != 0) {
            log.Add(path, "holds {} bytes, which is no whole number of {}-byte records",
                    file_.Size(), sizeof(Record));
        }
        log.Expect(Bytes());
    }

    [[nodiscard]] const CString& Path() const { return path_; }
    [[nodiscard]] bool IsOpen() const { return open_; }
    [[nodiscard]] std::uint64_t Bytes() const { return file_.Size(); }
    [[nodiscard]] std::uint64_t Count() const { return file_.Size() / sizeof(Record); }

    /// Precondition: `i` is below `Count()`.
    Record operator[](std::uint64_t i) const {
        Record record;
        std::memcpy(&record, file_.Data() + i * sizeof(Record), sizeof(Record));
        return record;
    }

private:
    CString path_;
    platform::MappedFile file_;
    bool open_ = false;
};

}  // namespace orvix::detail
