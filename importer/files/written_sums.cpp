// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/files/written_sums.h"

#include <algorithm>
#include <iterator>

#include "orvix/platform/crc32c.h"
#include "orvix/project/manifest/manifest.h"

namespace orvix::importer {

void WrittenSums::Add(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::uint64_t left = detail::kSumBlockBytes - offset % detail::kSumBlockBytes;
        const auto part =
            bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size())));
        Insert(offset, {part.size(), platform::Crc32c(part)});
        offset += part.size();
        bytes = bytes.subspan(part.size());
    }
}

// Joins the piece with those that it touches in its block.
void WrittenSums::Insert(std::uint64_t offset, const Piece& piece) {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto place = pieces_.emplace(offset, piece).first;
    const auto join = [this](Pieces::iterator first, Pieces::iterator second) {
        const bool touch = first->first + first->second.bytes == second->first &&
                           second->first % detail::kSumBlockBytes != 0;
        if (!touch) return false;
        first->second = {
            first->second.bytes + second->second.bytes,
            platform::JoinedCrc32c(first->second.sum, second->second.sum, second->second.bytes)};
        pieces_.erase(second);
        return true;
    };
    if (const auto next = std::next(place); next != pieces_.end()) join(place, next);
    if (place != pieces_.begin()) join(std::prev(place), place);
}

std::vector<std::uint32_t> WrittenSums::Blocks(std::uint64_t bytes) const {
    std::vector<std::uint32_t> sums;
    std::uint64_t end = 0;
    for (const auto& [offset, piece] : pieces_) {
        const bool next = offset == end && offset == sums.size() * detail::kSumBlockBytes;
        if (!next) return {};
        sums.push_back(piece.sum);
        end = offset + piece.bytes;
    }
    return end == bytes ? sums : std::vector<std::uint32_t>();
}

}  // namespace orvix::importer
