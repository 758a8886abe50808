// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "importer/formats/laz/arithmetic_decoder.h"

namespace orvix::importer::laz {

/// Decodes whole numbers of `Bits` bits, each coded as its distance from a prediction.
///
/// First comes the distance's magnitude k (it lies in -(2^k - 1) .. 2^k), by a model of the
/// caller's context, then its place among those of that magnitude: the upper 8 bits by a model,
/// the others raw.
///
/// Units      a number of fewer than 32 bits comes back as 0 .. 2^Bits - 1 when the prediction is
///            one; arithmetic is modulo 2^32.
/// Boundaries any bytes give some number.
template <std::uint32_t Bits, std::uint32_t Contexts>
class IntegerDecoder {
public:
    IntegerDecoder() {
        for (std::uint32_t k = 1; k < kHighBits; ++k) places_[k - 1].Reset(1u << k);
    }

    std::int32_t Decode(ArithmeticDecoder& in, std::int32_t predicted, std::uint32_t context) {
        std::uint32_t real = static_cast<std::uint32_t>(predicted) + Distance(in, context);
        if constexpr (Bits < 32) {
            constexpr std::uint32_t kRange = 1u << Bits;
            if (static_cast<std::int32_t>(real) < 0) {
                real += kRange;
            } else if (real >= kRange) {
                real -= kRange;
            }
        }
        return static_cast<std::int32_t>(real);
    }

    /// The magnitude of the last distance.
    [[nodiscard]] std::uint32_t Magnitude() const { return magnitude_; }

private:
    static constexpr std::uint32_t kHighBits = 8;

    std::uint32_t Distance(ArithmeticDecoder& in, std::uint32_t context) {
        const std::uint32_t k = in.Symbol(magnitudes_[context]);
        magnitude_ = k;
        if (k == 0) return in.Bit(zeroOrOne_);
        if (k >= 32) return 0x80000000u;
        std::uint32_t place = in.Symbol(places_[k - 1]);
        if (k > kHighBits) place = place << (k - kHighBits) | in.Bits(k - kHighBits);
        return place >= 1u << (k - 1) ? place + 1 : place - ((1u << k) - 1);
    }

    std::uint32_t magnitude_ = 0;
    std::array<SymbolModel<Bits + 1>, Contexts> magnitudes_;
    BitModel zeroOrOne_;
    std::array<SymbolModel<1u << kHighBits>, Bits> places_;
};

}  // namespace orvix::importer::laz
