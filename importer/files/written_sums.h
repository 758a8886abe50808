// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <vector>

namespace orvix::importer {

/// Sums a file's blocks (orvix/project/manifest/manifest.h) from the pieces that are written to it,
/// in any order: so the file need not be read again, and the sums are those of what was to be
/// written.
///
///     WrittenSums sums;
///     sums.Add(offset, bytes);  file.WriteAt(offset, bytes.data(), bytes.size());
///
/// Boundaries a byte is added once.
/// Threads    any number.
/// Cost       that of the sum, and some microseconds per piece; memory for the pieces that wait for
///            their neighbours, and for one piece a block.
class WrittenSums {
public:
    void Add(std::uint64_t offset, std::span<const std::uint8_t> bytes);
    /// The sum of each block of a file of so many bytes; none unless each byte was added.
    [[nodiscard]] std::vector<std::uint32_t> Blocks(std::uint64_t bytes) const;

    struct Piece {
        std::uint64_t bytes = 0;
        std::uint32_t sum = 0;
    };
    using Pieces = std::map<std::uint64_t, Piece>;  // by offset
    /// What was added so far, joined within blocks, to be handed to another by `Insert`.
    [[nodiscard]] const Pieces& All() const { return pieces_; }
    /// Adds bytes by their sum; they lie in one block.
    void Insert(std::uint64_t offset, const Piece& piece);

private:
    std::mutex mutex_;
    Pieces pieces_;
};

}  // namespace orvix::importer
