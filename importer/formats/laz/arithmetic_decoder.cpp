// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/laz/arithmetic_decoder.h"

#include <bit>

namespace orvix::importer::laz {
namespace {

constexpr std::uint32_t kShareBits = 15;
constexpr std::uint32_t kMaxCounts = 1u << kShareBits;
constexpr std::uint32_t kMaxBitCounts = 1u << 13;
constexpr std::uint16_t kNoSymbol = 0xFFFF;  // above every share

// A cell of the table for each symbol, rounded up to a power of two, at least 16.
std::uint32_t CellBits(std::uint32_t symbols) {
    return std::clamp<std::uint32_t>(static_cast<std::uint32_t>(std::bit_width(symbols - 1)), 4, 9);
}

std::uint32_t HalveCounts(const ModelState& state, const ModelTables& tables) {
    std::uint32_t total = 0;
    for (std::uint32_t i = 0; i < state.symbols; ++i) {
        tables.counts[i] = static_cast<std::uint16_t>((tables.counts[i] + 1) >> 1);
        total += tables.counts[i];
    }
    return total;
}

void FillTable(const ModelState& state, const ModelTables& tables) {
    const std::uint32_t cells = 1u << (kShareBits - state.tableShift);
    std::uint32_t symbol = 0;
    for (std::uint32_t cell = 0; cell <= cells; ++cell) {
        while (tables.shares[symbol + 1] <= cell << state.tableShift) ++symbol;
        tables.table[cell] = static_cast<std::uint16_t>(symbol);
    }
}

}  // namespace

void UpdateModel(ModelState& state, const ModelTables& tables) {
    state.total += state.cycle;
    if (state.total > kMaxCounts) state.total = HalveCounts(state, tables);
    const std::uint32_t scale = 0x80000000u / state.total;
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < state.symbols; ++i) {
        tables.shares[i] = static_cast<std::uint16_t>(scale * sum >> 16);
        sum += tables.counts[i];
    }
    FillTable(state, tables);
    state.cycle = std::min(5 * state.cycle >> 2, (state.symbols + 6) << 3);
    state.untilUpdate = state.cycle;
}

void ResetModel(ModelState& state, const ModelTables& tables, std::uint32_t symbols) {
    state = {.symbols = symbols, .cycle = symbols, .tableShift = kShareBits - CellBits(symbols)};
    std::fill_n(tables.counts, symbols, std::uint16_t{1});
    tables.shares[symbols] = kNoSymbol;
    UpdateModel(state, tables);
    state.cycle = state.untilUpdate = (symbols + 6) >> 1;
}

void BitModel::Update() {
    total_ += cycle_;
    if (total_ > kMaxBitCounts) {
        total_ = (total_ + 1) >> 1;
        zeros_ = (zeros_ + 1) >> 1;
        if (zeros_ == total_) ++total_;
    }
    zeroShare_ = zeros_ * (0x80000000u / total_) >> 18;
    cycle_ = std::min(5 * cycle_ >> 2, 64u);
    untilUpdate_ = cycle_;
}

}  // namespace orvix::importer::laz
