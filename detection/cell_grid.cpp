// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cell_grid.h"

#include <fmt/format.h>

namespace orvix::detection {
namespace {

std::uint64_t Mixed(const CellPlace& place) {
    std::uint64_t hash = static_cast<std::uint32_t>(place[0]) * 0x9E3779B97F4A7C15ULL;
    hash = (hash ^ (hash >> 29)) + static_cast<std::uint32_t>(place[1]) * 0xBF58476D1CE4E5B9ULL;
    hash = (hash ^ (hash >> 31)) + static_cast<std::uint32_t>(place[2]) * 0x94D049BB133111EBULL;
    hash ^= hash >> 32;
    return hash * 0xD6E8FEB86659FD93ULL >> 16;
}

}  // namespace

std::size_t CellGrid::SlotOf(const CellPlace& block) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = Mixed(block) & mask;
    while (slots_[slot] != kNoCell && !Same(blocks_[slots_[slot]].place, block))
        slot = (slot + 1) & mask;
    return slot;
}

std::uint32_t CellGrid::FindBlock(const CellPlace& block) const {
    return slots_.empty() ? kNoCell : slots_[SlotOf(block)];
}

void CellGrid::Widen() {
    slots_.assign(std::max<std::size_t>(1024, slots_.size() * 2), kNoCell);
    for (std::size_t i = 0; i < blocks_.size(); ++i)
        slots_[SlotOf(blocks_[i].place)] = static_cast<std::uint32_t>(i);
}

std::uint32_t CellGrid::ObtainBlock(const CellPlace& block) {
    if (blocks_.size() * 2 >= slots_.size()) Widen();
    const std::size_t slot = SlotOf(block);
    if (slots_[slot] == kNoCell) {
        slots_[slot] = static_cast<std::uint32_t>(blocks_.size());
        blocks_.emplace_back();
        blocks_.back().place = block;
        blocks_.back().cells.fill(kNoCell);
    }
    return slots_[slot];
}

Expected<void> CellGrid::Link() {
    blockOf_.resize(cells_.size());
    CellPlace last{};
    std::uint32_t block = kNoCell;
    for (std::uint32_t i = 0; i < Size(); ++i) {
        const CellPlace& place = cells_[i].place;
        const CellPlace its = BlockOf(place);
        if (block == kNoCell || !Same(its, last)) block = ObtainBlock(its);
        last = its;
        std::uint32_t& held = blocks_[block].cells[Inside(place)];
        if (held != kNoCell)
            return Fail(ErrorCode::Damaged,
                        fmt::format("the points at {}, {}, {} are not stored cell by cell; check "
                                    "the project or import it again",
                                    frame_.Middle(place[0]), frame_.Middle(place[1]),
                                    frame_.Middle(place[2])));
        held = i;
        blockOf_[i] = block;
    }
    for (Block& it : blocks_) {
        std::size_t at = 0;
        for (std::int32_t x = -1; x <= 1; ++x)
            for (std::int32_t y = -1; y <= 1; ++y)
                for (std::int32_t z = -1; z <= 1; ++z)
                    it.beside[at++] =
                        FindBlock({it.place[0] + x, it.place[1] + y, it.place[2] + z});
    }
    return {};
}

void CellGrid::Around(std::uint32_t cell, std::array<std::uint32_t, 27>& around) const {
    const CellPlace& place = cells_[cell].place;
    const Block& block = blocks_[blockOf_[cell]];
    // For each axis: the block, 0 to 2 within `beside`, and the place in it, of the three cells.
    std::array<std::array<std::uint32_t, 3>, 3> step{}, inside{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::uint32_t d = 0; d < 3; ++d) {
            const std::int32_t at = (place[axis] & 3) + static_cast<std::int32_t>(d) - 1;
            step[axis][d] = static_cast<std::uint32_t>((at >> 2) + 1);
            inside[axis][d] = static_cast<std::uint32_t>(at & 3);
        }
    }
    std::size_t at = 0;
    for (std::size_t x = 0; x < 3; ++x) {
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t z = 0; z < 3; ++z) {
                const std::uint32_t other =
                    block.beside[step[0][x] * 9 + step[1][y] * 3 + step[2][z]];
                around[at++] =
                    other == kNoCell
                        ? kNoCell
                        : blocks_[other].cells[inside[0][x] * 16 + inside[1][y] * 4 + inside[2][z]];
            }
        }
    }
}

std::uint32_t CellGrid::CellAt(const CellPlace& place) const {
    const std::uint32_t block = FindBlock(BlockOf(place));
    return block == kNoCell ? kNoCell : blocks_[block].cells[Inside(place)];
}

}  // namespace orvix::detection
