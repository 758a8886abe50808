// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// The ranges of one scan's attribute values. Those of its pieces can be joined in any order.
struct AttributeRange {
    float minIntensity = 0;  ///< meaningful while `intensities` is not 0
    float maxIntensity = 0;
    std::uint64_t intensities = 0;  ///< how many are finite
    bool wholeIntensities = true;   ///< all of them are whole numbers
    std::uint16_t maxColour = 0;

    void Add(const ScanPoint& point) {
        maxColour = std::max({maxColour, point.red, point.green, point.blue});
        const float value = point.intensity;
        if (!std::isfinite(value)) return;
        minIntensity = intensities == 0 ? value : std::min(minIntensity, value);
        maxIntensity = intensities == 0 ? value : std::max(maxIntensity, value);
        ++intensities;
        // Beyond 2^23 every float is whole; the comparison below needs an int's range.
        if (value > -8388608.0f && value < 8388608.0f &&
            value != static_cast<float>(static_cast<std::int32_t>(value))) {
            wholeIntensities = false;
        }
    }
    void Join(const AttributeRange& other);
};

/// Converts one scan's intensities to u16 and its colours to u8 each.
///
/// The range of the whole scan decides how intensities are converted; the first rule that fits
/// applies:
///   1. whole numbers within 0..65535 are kept;
///   2. values within 0..1, at least one of them a fraction: times 65535, rounded;
///   3. with the smallest value within -2048..-1 (the scale -2048..2047 of PTS files): plus 2048,
///      rounded;
///   4. anything else is rounded and cut to 0..65535, with a warning.
/// A value that is no finite number becomes 0. Rounding is to the nearest, halves away from zero.
/// Colours: a scale of 8 bits (or of unknown bits with no value above 255) is kept, a larger one
/// gives its high byte.
///
/// Threads  a plain value.
class AttributeScale {
public:
    AttributeScale() = default;
    AttributeScale(const ScanInfo& info, const AttributeRange& range);

    /// The eight attribute bytes of an alive record: intensity u16, red, green, blue, class u8,
    /// station u16, little-endian.
    [[nodiscard]] std::array<std::uint8_t, 8> Pack(const ScanPoint& point,
                                                   std::uint16_t station) const;
    [[nodiscard]] std::uint16_t Intensity(float value) const;
    [[nodiscard]] std::uint8_t Colour(std::uint16_t value) const {
        return static_cast<std::uint8_t>(wideColour_ ? value >> 8
                                                     : std::min<std::uint16_t>(value, 255));
    }
    /// A sentence for the user where rule 4 had to be used; else empty.
    [[nodiscard]] std::string Warning() const;

private:
    float offset_ = 0;
    float factor_ = 1;
    bool wideColour_ = false;
    bool cut_ = false;
    AttributeRange range_;
};

}  // namespace orvix::importer
