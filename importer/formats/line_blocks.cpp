// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/line_blocks.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvix::importer {

Expected<bool> LineBlocks::Next(RawPiece& piece) {
    piece.fileOffset = offset_;
    piece.firstRecord = line_;
    piece.records = 0;
    const std::uint64_t left = file_->BytesFrom(offset_);
    if (left == 0) return false;
    const auto bytes = static_cast<std::size_t>(std::min(left, kPieceBytes));
    if (auto read = file_->ReadBlock(offset_, bytes, piece.bytes); !read) {
        return tl::unexpected(read.error());
    }
    if (bytes < left) {
        const auto lineEnd = static_cast<std::uint8_t>(start_.lineEnd);
        const auto last = std::find(piece.bytes.rbegin(), piece.bytes.rend(), lineEnd);
        if (last == piece.bytes.rend()) {
            return file_->Bad(fmt::format(
                "line {} (from byte {}) is longer than {} bytes, which no scan's line is. Check "
                "that this is a text scan with line ends.",
                Grouped(line_ + 1), Grouped(offset_), Grouped(kPieceBytes)));
        }
        piece.bytes.erase(last.base(), piece.bytes.end());
    }
    offset_ += piece.bytes.size();
    line_ += static_cast<std::uint64_t>(std::count(piece.bytes.begin(), piece.bytes.end(),
                                                   static_cast<std::uint8_t>(start_.lineEnd)));
    return true;
}

}  // namespace orvix::importer
