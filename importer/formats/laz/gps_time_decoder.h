// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "importer/formats/laz/integer_decoder.h"

namespace orvix::importer::laz {

/// Decodes GPS times, as the 64 bits of their doubles, from up to four interleaved series.
///
/// A time is coded as its distance from the last one of its series: a multiple of the series' usual
/// distance, and a rest.
///
/// Boundaries a change of series is followed by another code; the fourth in a row ends the time,
///            so that no bytes keep the decoder here.
class GpsTimeDecoder {
public:
    /// Whether "as before" has a code of its own (point formats 0 to 5), or a time is only coded
    /// when it changed (6 to 10).
    enum class Unchanged { Coded, Implied };

    GpsTimeDecoder(Unchanged unchanged, std::uint64_t first)
        : shift_(unchanged == Unchanged::Coded ? 1 : 0), times_{first, 0, 0, 0} {}

    std::uint64_t Decode(ArithmeticDecoder& in) {
        for (int change = 0; change < kSeries && !DecodeStep(in); ++change) {
        }
        return times_[series_];
    }

private:
    static constexpr int kSeries = 4;
    static constexpr std::int32_t kMaxMultiple = 500;
    static constexpr std::int32_t kMinMultiple = -10;
    static constexpr std::int32_t kMultiples = kMaxMultiple - kMinMultiple + 1;

    bool DecodeStep(ArithmeticDecoder& in);
    bool DecodeFirstDistance(ArithmeticDecoder& in);
    void DecodeMultiple(ArithmeticDecoder& in, std::int32_t code);
    void StartSeries(ArithmeticDecoder& in);
    void CountExtreme(std::int32_t distance);
    void Advance(std::int32_t distance) {
        times_[series_] += static_cast<std::uint64_t>(std::int64_t{distance});
    }

    std::int32_t shift_;
    std::array<std::uint64_t, kSeries> times_;
    std::array<std::int32_t, kSeries> distances_{};
    std::array<std::int32_t, kSeries> extremes_{};
    std::uint32_t series_ = 0;
    std::uint32_t newest_ = 0;
    SymbolModel<516> multiples_{static_cast<std::uint32_t>(kMultiples + 4 + shift_)};
    SymbolModel<6> firsts_{static_cast<std::uint32_t>(5 + shift_)};
    IntegerDecoder<32, 9> rest_;
};

}  // namespace orvix::importer::laz
