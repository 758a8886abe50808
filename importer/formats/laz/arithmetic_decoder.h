// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvix::importer::laz {

/// What a model of every size keeps beside its tables.
struct ModelState {
    std::uint32_t symbols = 0;
    std::uint32_t total = 0;        ///< sum of the counts the shares were made from
    std::uint32_t cycle = 0;        ///< symbols between two updates
    std::uint32_t untilUpdate = 0;  ///< symbols left until the next
    std::uint32_t tableShift = 0;
};

/// The tables of a model; `shares` has one entry more than symbols, `table` one more than cells.
struct ModelTables {
    std::uint16_t* shares;
    std::uint16_t* counts;
    std::uint16_t* table;
};

void ResetModel(ModelState& state, const ModelTables& tables, std::uint32_t symbols);
void UpdateModel(ModelState& state, const ModelTables& tables);

/// The learned frequencies of up to `Capacity` symbols.
///
/// Every symbol is counted; from time to time, ever more rarely, the counts become shares of 2^15.
/// A table leads from the upper bits of a share to the first symbol that may own it.
///
/// Cost  a few bytes per symbol; an update walks all symbols and the table.
template <std::uint32_t Capacity>
class SymbolModel {
public:
    explicit SymbolModel(std::uint32_t symbols = Capacity) { Reset(symbols); }
    void Reset(std::uint32_t symbols) { ResetModel(state_, Tables(), symbols); }

private:
    friend class ArithmeticDecoder;
    ModelTables Tables() { return {shares_.data(), counts_.data(), table_.data()}; }

    static constexpr std::uint32_t kCells = Capacity <= 16 ? 16 : Capacity <= 256 ? 256 : 512;

    ModelState state_;
    std::array<std::uint16_t, Capacity + 1> shares_{};
    std::array<std::uint16_t, Capacity> counts_{};
    std::array<std::uint16_t, kCells + 1> table_{};
};

/// The learned frequency of a bit.
class BitModel {
public:
    BitModel() = default;

private:
    friend class ArithmeticDecoder;
    void Update();

    std::uint32_t zeroShare_ = 1u << 12;  // of 2^13
    std::uint32_t zeros_ = 1;
    std::uint32_t total_ = 2;
    std::uint32_t cycle_ = 4;
    std::uint32_t untilUpdate_ = 4;
};

/// Decodes one stream of an arithmetic coder with 32-bit intervals.
///
///     ArithmeticDecoder in(bytes);
///     const unsigned symbol = in.Symbol(model);
///
/// Boundaries past its bytes it reads zeros and counts them: no byte outside `bytes` is ever
///            read, and `RanPastEnd` reports it afterwards. An encoder may leave out its last
///            bytes where they are zeros, so a few are granted. With any bytes `value_` stays below
///            `length_`, so every share is below 2^15 + 2^6 and every symbol within its model.
/// Threads    a plain value.
/// Cost       one division and about one table look-up per symbol.
/// Source     A. Said, Introduction to Arithmetic Coding: Theory and Practice, HPL-2004-76.
class ArithmeticDecoder {
public:
    ArithmeticDecoder() = default;
    explicit ArithmeticDecoder(std::span<const std::uint8_t> bytes)
        : at_(bytes.data()), end_(bytes.data() + bytes.size()) {
        for (int i = 0; i < 4; ++i) value_ = value_ << 8 | NextByte();
        value_ = std::min(value_, length_ - 1);
    }

    template <std::uint32_t Capacity>
    std::uint32_t Symbol(SymbolModel<Capacity>& model) {
        ModelState& state = model.state_;
        const std::uint32_t unit = length_ >> kShareBits;
        const std::uint32_t share = value_ / unit;
        std::uint32_t symbol = model.table_[share >> state.tableShift];
        while (model.shares_[symbol + 1] <= share) ++symbol;
        const std::uint32_t low = model.shares_[symbol] * unit;
        const std::uint32_t high =
            symbol + 1 == state.symbols ? length_ : model.shares_[symbol + 1] * unit;
        value_ -= low;
        length_ = high - low;
        Refill();
        ++model.counts_[symbol];
        if (--state.untilUpdate == 0) [[unlikely]]
            UpdateModel(state, model.Tables());
        return symbol;
    }

    std::uint32_t Bit(BitModel& model) {
        const std::uint32_t zeroLength = model.zeroShare_ * (length_ >> kBitShareBits);
        const bool one = value_ >= zeroLength;
        if (one) {
            value_ -= zeroLength;
            length_ -= zeroLength;
        } else {
            length_ = zeroLength;
            ++model.zeros_;
        }
        Refill();
        if (--model.untilUpdate_ == 0) model.Update();
        return one ? 1 : 0;
    }

    /// `count` (1 to 32) bits that no model describes.
    std::uint32_t Bits(std::uint32_t count) {
        if (count <= kMaxBits) return RawBits(count);
        const std::uint32_t low = RawBits(16);
        return low | RawBits(count - 16) << 16;
    }

    [[nodiscard]] bool RanPastEnd() const { return missing_ > kGrantedBytes; }

private:
    static constexpr std::uint32_t kShareBits = 15;
    static constexpr std::uint32_t kBitShareBits = 13;
    static constexpr std::uint32_t kMinLength = 1u << 24;
    static constexpr std::uint32_t kMaxBits = 19;
    static constexpr std::uint32_t kGrantedBytes = 4;

    std::uint32_t RawBits(std::uint32_t count) {
        length_ >>= count;
        const std::uint32_t bits = value_ / length_;
        value_ -= bits * length_;
        Refill();
        return bits;
    }

    std::uint8_t NextByte() {
        if (at_ != end_) return *at_++;
        ++missing_;
        return 0;
    }

    void Refill() {
        while (length_ < kMinLength) {
            value_ = value_ << 8 | NextByte();
            length_ <<= 8;
        }
    }

    const std::uint8_t* at_ = nullptr;
    const std::uint8_t* end_ = nullptr;
    std::uint32_t value_ = 0;
    std::uint32_t length_ = 0xFFFFFFFF;
    std::uint64_t missing_ = 0;
};

}  // namespace orvix::importer::laz
