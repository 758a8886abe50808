// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "importer/formats/laz/arithmetic_decoder.h"

namespace orvix::importer::laz {

using Colour = std::array<std::uint16_t, 3>;

/// Decodes colours byte by byte from the last colour: first which bytes differ and whether the
/// colour is no grey, then each difference, green and blue corrected by what red (and green) did.
class ColourDecoder {
public:
    Colour Decode(ArithmeticDecoder& in, const Colour& last) {
        const std::uint32_t changed = in.Symbol(changed_);
        Bytes low = Split(last, 0);
        Bytes high = Split(last, 8);
        const Bytes lastLow = low;
        const Bytes lastHigh = high;
        if ((changed & 1) != 0) low[0] = Add(lastLow[0], in.Symbol(differences_[0]));
        if ((changed & 2) != 0) high[0] = Add(lastHigh[0], in.Symbol(differences_[1]));
        if ((changed & 64) == 0) {
            low[1] = low[2] = low[0];
            high[1] = high[2] = high[0];
        } else {
            DecodeOthers(in, changed, lastLow, low, 0);
            DecodeOthers(in, changed >> 1, lastHigh, high, 1);
        }
        Colour colour{};
        for (std::size_t i = 0; i < 3; ++i) {
            colour[i] = static_cast<std::uint16_t>(low[i] | high[i] << 8);
        }
        return colour;
    }

private:
    using Bytes = std::array<int, 3>;

    static Bytes Split(const Colour& colour, int shift) {
        return {colour[0] >> shift & 0xFF, colour[1] >> shift & 0xFF, colour[2] >> shift & 0xFF};
    }
    static int Add(int byte, std::uint32_t difference) {
        return (byte + static_cast<int>(difference)) & 0xFF;
    }

    // `changed` has green's bit at 4 and blue's at 16.
    void DecodeOthers(ArithmeticDecoder& in, std::uint32_t changed, const Bytes& last, Bytes& bytes,
                      std::size_t half) {
        int moved = bytes[0] - last[0];
        if ((changed & 4) != 0) {
            bytes[1] = Add(std::clamp(last[1] + moved, 0, 255), in.Symbol(differences_[2 + half]));
        }
        if ((changed & 16) != 0) {
            moved = (moved + bytes[1] - last[1]) / 2;
            bytes[2] = Add(std::clamp(last[2] + moved, 0, 255), in.Symbol(differences_[4 + half]));
        }
    }

    SymbolModel<128> changed_;
    std::array<SymbolModel<256>, 6> differences_;
};

}  // namespace orvix::importer::laz
