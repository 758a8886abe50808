// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/laz/gps_time_decoder.h"

#include "importer/formats/laz/prediction.h"

namespace orvix::importer::laz {
namespace {

// Contexts of a rest, by what precedes it.
constexpr std::uint32_t kFirstDistance = 0;
constexpr std::uint32_t kOnce = 1;
constexpr std::uint32_t kFewTimes = 2;
constexpr std::uint32_t kManyTimes = 3;
constexpr std::uint32_t kMaxTimes = 4;
constexpr std::uint32_t kBackwards = 5;
constexpr std::uint32_t kFarBackwards = 6;
constexpr std::uint32_t kNoTimes = 7;
constexpr std::uint32_t kUpperHalf = 8;

constexpr std::int32_t kFew = 10;
constexpr std::int32_t kConsecutiveExtremes = 3;

}  // namespace

void GpsTimeDecoder::StartSeries(ArithmeticDecoder& in) {
    newest_ = (newest_ + 1) % kSeries;
    const auto upper = static_cast<std::uint32_t>(
        rest_.Decode(in, static_cast<std::int32_t>(times_[series_] >> 32), kUpperHalf));
    times_[newest_] = std::uint64_t{upper} << 32 | in.Bits(32);
    series_ = newest_;
    distances_[series_] = 0;
    extremes_[series_] = 0;
}

void GpsTimeDecoder::CountExtreme(std::int32_t distance) {
    if (++extremes_[series_] <= kConsecutiveExtremes) return;
    distances_[series_] = distance;
    extremes_[series_] = 0;
}

/// False when the series changed and the time is still to come.
bool GpsTimeDecoder::DecodeFirstDistance(ArithmeticDecoder& in) {
    const auto code = static_cast<std::int32_t>(in.Symbol(firsts_)) - shift_;
    if (code < 0) return true;  // as before
    if (code == 0) {
        distances_[series_] = rest_.Decode(in, 0, kFirstDistance);
        extremes_[series_] = 0;
        Advance(distances_[series_]);
        return true;
    }
    if (code == 1) {
        StartSeries(in);
        return true;
    }
    series_ = (series_ + static_cast<std::uint32_t>(code) - 1) % kSeries;
    return false;
}

void GpsTimeDecoder::DecodeMultiple(ArithmeticDecoder& in, std::int32_t code) {
    const std::int32_t usual = distances_[series_];
    const auto rest = [&](std::int32_t multiple, std::uint32_t context) {
        return rest_.Decode(in, WrappingProduct(multiple, usual), context);
    };
    std::int32_t distance = 0;
    if (code == 1) {
        distance = rest(1, kOnce);
        extremes_[series_] = 0;
    } else if (code == 0) {
        distance = rest(0, kNoTimes);
        CountExtreme(distance);
    } else if (code < kMaxMultiple) {
        distance = rest(code, code < kFew ? kFewTimes : kManyTimes);
    } else if (code == kMaxMultiple) {
        distance = rest(kMaxMultiple, kMaxTimes);
        CountExtreme(distance);
    } else if (kMaxMultiple - code > kMinMultiple) {
        distance = rest(kMaxMultiple - code, kBackwards);
    } else {
        distance = rest(kMinMultiple, kFarBackwards);
        CountExtreme(distance);
    }
    Advance(distance);
}

/// False when the series changed and the time is still to come.
bool GpsTimeDecoder::DecodeStep(ArithmeticDecoder& in) {
    if (distances_[series_] == 0) return DecodeFirstDistance(in);
    const auto code = static_cast<std::int32_t>(in.Symbol(multiples_));
    if (code < kMultiples) {
        DecodeMultiple(in, code);
        return true;
    }
    const std::int32_t other = code - kMultiples - shift_;
    if (other < 0) return true;  // as before
    if (other == 0) {
        StartSeries(in);
        return true;
    }
    series_ = (series_ + static_cast<std::uint32_t>(other)) % kSeries;
    return false;
}

}  // namespace orvix::importer::laz
