// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

namespace orvix::test::laz {

/// Frequencies of symbols, all kept in plain vectors.
class Model {
public:
    explicit Model(std::uint32_t symbols) : counts_(symbols, 1), cycle_(symbols) {
        Update();
        cycle_ = left_ = (symbols + 6) / 2;
    }
    [[nodiscard]] std::uint32_t Share(std::uint32_t symbol) const { return shares_[symbol]; }
    [[nodiscard]] std::uint32_t Symbols() const {
        return static_cast<std::uint32_t>(counts_.size());
    }
    void Count(std::uint32_t symbol) {
        ++counts_[symbol];
        if (--left_ == 0) Update();
    }

private:
    void Update() {
        total_ += cycle_;
        if (total_ > 32'768) {
            total_ = 0;
            for (std::uint32_t& count : counts_) total_ += count = (count + 1) / 2;
        }
        shares_.clear();
        std::uint64_t sum = 0;
        for (const std::uint32_t count : counts_) {
            shares_.push_back(static_cast<std::uint32_t>(0x80000000u / total_ * sum >> 16));
            sum += count;
        }
        cycle_ = left_ = std::min(cycle_ * 5 / 4, 8 * (Symbols() + 6));
    }
    std::vector<std::uint32_t> counts_;
    std::vector<std::uint32_t> shares_;
    std::uint32_t total_ = 0;
    std::uint32_t cycle_;
    std::uint32_t left_ = 0;
};

struct BitFrequency {
    std::uint32_t zeros = 1;
    std::uint32_t total = 2;
    std::uint32_t cycle = 4;
    std::uint32_t left = 4;
    std::uint32_t share = 4096;

    void Count(bool one) {
        if (!one) ++zeros;
        if (--left != 0) return;
        total += cycle;
        if (total > 8192) {
            total = (total + 1) / 2;
            zeros = (zeros + 1) / 2;
            if (zeros == total) ++total;
        }
        share = static_cast<std::uint32_t>(std::uint64_t{0x80000000u / total} * zeros >> 18);
        cycle = left = std::min(cycle * 5 / 4, 64u);
    }
};

/// The encoder's side of the arithmetic coder.
class Encoder {
public:
    void Symbol(Model& model, std::uint32_t symbol) {
        const std::uint32_t unit = length_ >> 15;
        const std::uint32_t low = model.Share(symbol) * unit;
        const bool last = symbol + 1 == model.Symbols();
        Narrow(low, (last ? length_ : model.Share(symbol + 1) * unit) - low);
        model.Count(symbol);
    }
    void Bit(BitFrequency& bit, bool one) {
        const std::uint32_t zero = bit.share * (length_ >> 13);
        Narrow(one ? zero : 0, one ? length_ - zero : zero);
        bit.Count(one);
    }
    void Bits(std::uint32_t count, std::uint32_t value) {
        if (count > 19) {
            Bits(16, value & 0xFFFF);
            count -= 16;
            value >>= 16;
        }
        const std::uint32_t unit = length_ >> count;
        Narrow(value * unit, unit);
    }
    std::vector<std::uint8_t> Finish() {
        for (int i = 0; i < 4; ++i, base_ <<= 8) {
            bytes_.push_back(static_cast<std::uint8_t>(base_ >> 24));
        }
        return bytes_;
    }

private:
    void Narrow(std::uint32_t low, std::uint32_t length) {
        const std::uint32_t before = base_;
        base_ += low;
        length_ = length;
        if (base_ < before) {
            std::size_t i = bytes_.size();
            while (++bytes_[--i] == 0) {
            }
        }
        while (length_ < 1u << 24) {
            bytes_.push_back(static_cast<std::uint8_t>(base_ >> 24));
            base_ <<= 8;
            length_ <<= 8;
        }
    }
    std::vector<std::uint8_t> bytes_;
    std::uint32_t base_ = 0;
    std::uint32_t length_ = 0xFFFFFFFF;
};

/// Encodes whole numbers by their distance from a prediction.
class IntegerEncoder {
public:
    IntegerEncoder(std::uint32_t bits, std::uint32_t contexts) : bits_(bits) {
        for (std::uint32_t i = 0; i < contexts; ++i) magnitudes_.emplace_back(bits + 1);
        for (std::uint32_t k = 1; k <= bits; ++k) places_.emplace_back(1u << std::min(k, 8u));
    }
    void Encode(Encoder& out, std::int64_t predicted, std::int64_t real, std::uint32_t context) {
        const std::int64_t range = std::int64_t{1} << bits_;
        std::int64_t distance = real - predicted;
        while (distance < -range / 2) distance += range;
        while (distance > range / 2 - 1) distance -= range;
        const std::int64_t size = distance <= 0 ? -distance : distance - 1;
        magnitude = 0;
        while (size >> magnitude != 0) ++magnitude;
        out.Symbol(magnitudes_[context], magnitude);
        if (magnitude == 0) return out.Bit(zeroOrOne_, distance == 1);
        if (magnitude == 32) return;
        const auto place = static_cast<std::uint32_t>(
            distance < 0 ? distance + (std::int64_t{1} << magnitude) - 1 : distance - 1);
        const std::uint32_t raw = magnitude > 8 ? magnitude - 8 : 0;
        out.Symbol(places_[magnitude - 1], place >> raw);
        if (raw != 0) out.Bits(raw, place & ((1u << raw) - 1));
    }
    std::uint32_t magnitude = 0;

private:
    std::uint32_t bits_;
    std::deque<Model> magnitudes_;
    std::deque<Model> places_;
    BitFrequency zeroOrOne_;
};

/// Models of one size by number, made when first used.
class ModelsBy {
public:
    explicit ModelsBy(std::uint32_t symbols) : symbols_(symbols) {}
    Model& operator[](std::uint32_t index) {
        return models_.try_emplace(index, symbols_).first->second;
    }

private:
    std::uint32_t symbols_;
    std::map<std::uint32_t, Model> models_;
};

/// The middle of five kept numbers, as a sorted list.
class Middle {
public:
    [[nodiscard]] std::int32_t Get() const { return kept_[2]; }
    void Add(std::int32_t v) {
        const std::int32_t middle = kept_[2];
        kept_.erase(dropGreatest_ ? kept_.end() - 1 : kept_.begin());
        kept_.insert(std::upper_bound(kept_.begin(), kept_.end(), v), v);
        dropGreatest_ = dropGreatest_ ? v < middle : !(middle < v);
    }

private:
    std::vector<std::int32_t> kept_ = std::vector<std::int32_t>(5, 0);
    bool dropGreatest_ = true;
};

}  // namespace orvix::test::laz
