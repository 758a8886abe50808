// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "detection/outlines/rim.h"

namespace orvix::detection {

/// Which lines pass each square tile of 8 pixels, or come near it, and which each row of tiles.
///
///     LineIndex index(2);
///     index.Begin(rightmost);                              // empties it
///     for (std::uint32_t line = 0; line < count; ++line) index.Add(line, from, to);
///     index.Finish();
///     for (const auto& [tile, line] : index.InTile(corner)) Use(line);
///
/// Units      pixels.
/// Boundaries corners have no negative coordinates.
/// Order      entries ascend by tile or row, then by line.
/// Cost       one entry of 16 bytes for each tile and row that a line passes; Finish sorts them.
class LineIndex {
public:
    /// A tile or a row, and a line.
    using Entry = std::pair<std::uint64_t, std::uint32_t>;

    /// Lines count for the tiles beside them up to `reach` pixels away.
    explicit LineIndex(double reach) : reach_(reach) {}

    /// `right` is the largest x of all corners to come.
    void Begin(std::int64_t right);
    void Add(std::uint32_t line, const RimCorner& from, const RimCorner& to);
    void Finish();

    /// All entries by tile: those of one tile follow each other.
    [[nodiscard]] std::span<const Entry> ByTile() const { return tiles_; }
    [[nodiscard]] std::span<const Entry> InTile(const RimCorner& corner) const;
    /// The lines of the row of tiles that holds a height.
    [[nodiscard]] std::span<const Entry> InRow(std::int64_t y) const;

private:
    double reach_;
    std::uint64_t tilesPerRow_ = 0;
    std::vector<Entry> tiles_;
    std::vector<Entry> rows_;
};

}  // namespace orvix::detection
