// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "importer/formats/scan_file.h"

namespace orvix::importer {

/// Reads the content of an E57 file out of its pages: 1020 bytes of content and a CRC-32C each.
///
/// Offsets in the file's own tables count all bytes (physical); in logical offsets the content has
/// no gaps.
///
///     auto pages = E57Pages::Open(std::move(file));
///     const auto at = pages->ToLogical(physicalOffset);
///     if (at) pages->Read(*at, buffer, bytes);
///
/// Boundaries reads and offsets may come from the file itself; nothing outside it is touched.
/// Errors   BadInput: no E57 header of version 1, another page size than 1024, a file that is cut
///          short, a page whose checksum is not that of its bytes. Every page is verified whenever
///          it is read.
/// Threads  one at a time.
// BEHAVIOUR X18
class E57Pages {
public:
    static Expected<E57Pages> Open(ScanFile file);

    [[nodiscard]] const ScanFile& File() const { return file_; }
    [[nodiscard]] std::uint64_t LogicalSize() const { return pages_ * kContentBytes; }
    /// Empty for an offset outside the content.
    [[nodiscard]] std::optional<std::uint64_t> ToLogical(std::uint64_t physical) const;
    [[nodiscard]] static std::uint64_t ToPhysical(std::uint64_t logical) {
        return logical / kContentBytes * kPageBytes + logical % kContentBytes;
    }
    Expected<void> Read(std::uint64_t logical, void* buffer, std::size_t bytes);
    /// The XML section.
    Expected<std::string> ReadXml();

private:
    static constexpr std::uint64_t kPageBytes = 1024;
    static constexpr std::uint64_t kContentBytes = 1020;

    explicit E57Pages(ScanFile file) : file_(std::move(file)) {}
    Expected<void> ReadHeader();
    Expected<void> LoadPages(std::uint64_t first, std::uint64_t count);

    ScanFile file_;
    std::uint64_t pages_ = 0;
    std::uint64_t xmlPhysical_ = 0;
    std::uint64_t xmlBytes_ = 0;
    std::vector<std::uint8_t> block_;  // verified pages
    std::uint64_t blockFirst_ = 0;
    std::uint64_t blockPages_ = 0;
};

}  // namespace orvix::importer
