// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/line_blocks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "orvix/platform/amounts.h"

namespace orvix::importer {

namespace {

// The size of the first `lines` lines; `lines` becomes their number. A last line without an end is
// one too.
std::size_t SizeOfLines(const std::vector<std::uint8_t>& bytes, std::uint8_t lineEnd,
                        std::uint64_t& lines) {
    std::uint64_t found = 0;
    const std::uint8_t* at = bytes.data();
    const std::uint8_t* last = at + bytes.size();
    while (at != last && found < lines) {
        const auto* end = static_cast<const std::uint8_t*>(
            std::memchr(at, lineEnd, static_cast<std::size_t>(last - at)));
        at = end == nullptr ? last : end + 1;
        ++found;
    }
    lines = found;
    return static_cast<std::size_t>(at - bytes.data());
}

}  // namespace

Expected<bool> LineBlocks::Next(RawPiece& piece, std::uint64_t maxLines) {
    piece.fileOffset = offset_;
    piece.firstRecord = line_;
    piece.records = 0;
    const std::uint64_t left = file_->BytesFrom(offset_);
    if (left == 0) return false;
    const auto bytes = static_cast<std::size_t>(std::min(left, kPieceBytes));  // BEHAVIOUR X14
    if (auto read = file_->ReadBlock(offset_, bytes, piece.bytes); !read) {
        return ErrorOf(read);
    }
    if (bytes < left) {
        const auto lineEnd = static_cast<std::uint8_t>(start_.lineEnd);
        const auto last = std::find(piece.bytes.rbegin(), piece.bytes.rend(), lineEnd);
        if (last == piece.bytes.rend()) {
            return file_->Bad(fmt::format(
                "line {} (from byte {}) is longer than {} bytes, which no scan's line is. Check "
                "that this is a text scan with line ends.",
                platform::CountText(line_ + 1), platform::CountText(offset_),
                platform::CountText(kPieceBytes)));
        }
        piece.bytes.erase(last.base(), piece.bytes.end());
    }
    std::uint64_t lines = maxLines;
    piece.bytes.resize(SizeOfLines(piece.bytes, static_cast<std::uint8_t>(start_.lineEnd), lines));
    offset_ += piece.bytes.size();
    line_ += lines;
    return true;
}

}  // namespace orvix::importer
