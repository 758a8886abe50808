// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/file.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// An input file that is open for reading; every format reads its bytes from one.
///
///     auto file = ScanFile::Open(path);
///     if (auto read = file->ReadBlock(offset, bytes, buffer); !read) return read.error();
///
/// Boundaries a read that the file cannot fill whole is an error, never a short read; offsets and
///            lengths may come straight from a file's own claims.
/// Errors     a missing, an empty and an unreadable file, a folder, and a file that shrinks while
///            it is read each have a sentence of their own.
/// Threads    reads may run at once.
class ScanFile {
public:
    static Expected<ScanFile> Open(const CString& path);

    [[nodiscard]] const std::string& Name() const { return name_; }
    [[nodiscard]] std::uint64_t Size() const { return size_; }
    /// Bytes from `offset` to the end; 0 for an offset past it.
    [[nodiscard]] std::uint64_t BytesFrom(std::uint64_t offset) const {
        return offset < size_ ? size_ - offset : 0;
    }

    Expected<void> Read(std::uint64_t offset, void* buffer, std::size_t bytes) const;
    /// Resizes `buffer` and fills it; a buffer that is reused is not cleared in between.
    Expected<void> ReadBlock(std::uint64_t offset, std::size_t bytes,
                             std::vector<std::uint8_t>& buffer) const;

    /// "<path>: <what>", as a BadInput.
    [[nodiscard]] tl::unexpected<Error> Bad(std::string_view what) const;

private:
    platform::File file_;
    std::string name_;
    std::uint64_t size_ = 0;
};

/// What the sentence says about a file that ends before its declared points do.
struct CutShort {
    std::string_view noun;  ///< "points", "vertices"
    std::uint64_t declared = 0;
    std::uint64_t recordBytes = 0;  ///< of one record, at least
    std::uint64_t firstByte = 0;    ///< where the first record stands
};
tl::unexpected<Error> BadCutShort(const ScanFile& file, const CutShort& cut);

}  // namespace orvix::importer
