// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/height_bins.h"

#include "orvix/platform/truncate.h"

namespace orvix::detail {
namespace {

constexpr std::int64_t kFineBins = 1'000'000;   // centimetres: 10 km
constexpr std::int64_t kFarCentimetres = 1000;  // 10 m
constexpr std::int64_t kFarOffset = kFineBins - kFineBins / kFarCentimetres;
// A damaged record may hold any height, or none.
constexpr std::int64_t kFarthest = 1'000'000'000'000'000'000;

std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) {
    return value / divisor - static_cast<std::int64_t>(value % divisor < 0);
}

}  // namespace

std::int64_t HeightBin(float z) {
    const std::int64_t bin = FloorWithin(static_cast<double>(z) * 100.0, kFarthest);
    if (bin >= -kFineBins && bin < kFineBins) return bin;  // BEHAVIOUR I19
    const std::int64_t tens = FloorDivide(bin, kFarCentimetres);
    return tens < 0 ? tens - kFarOffset : tens + kFarOffset;
}

double HeightOfBin(std::int64_t bin, std::int64_t centimetres) {
    const bool far = bin < -kFineBins || bin >= kFineBins;
    if (!far) {
        const std::int64_t slice = FloorDivide(bin, centimetres);
        return static_cast<double>((2 * slice + 1) * centimetres) / 200.0;
    }
    const std::int64_t tens = bin < 0 ? bin + kFarOffset : bin - kFarOffset;
    return static_cast<double>((2 * tens + 1) * kFarCentimetres) / 200.0;
}

}  // namespace orvix::detail
