// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/attribute_scale.h"

#include <fmt/format.h>

#include "orvix/points/attributes.h"

namespace orvix::importer {
namespace {

constexpr float kMaxIntensity = 65535.0f;
constexpr float kPtsOffset = 2048.0f;

}  // namespace

void AttributeRange::Join(const AttributeRange& other) {
    maxColour = std::max(maxColour, other.maxColour);
    wholeIntensities = wholeIntensities && other.wholeIntensities;
    if (other.intensities == 0) return;
    minIntensity =
        intensities == 0 ? other.minIntensity : std::min(minIntensity, other.minIntensity);
    maxIntensity =
        intensities == 0 ? other.maxIntensity : std::max(maxIntensity, other.maxIntensity);
    intensities += other.intensities;
}

AttributeScale::AttributeScale(const ScanInfo& info, const AttributeRange& range) : range_(range) {
    wideColour_ = info.colourBits.value_or(range.maxColour > 255 ? 16 : 8) > 8;
    if (range.intensities == 0) return;
    const bool notNegative = range.minIntensity >= 0;
    if (range.wholeIntensities && notNegative && range.maxIntensity <= kMaxIntensity) return;
    if (notNegative && range.maxIntensity <= 1.0f) {  // BEHAVIOUR I8
        factor_ = kMaxIntensity;
    } else if (range.minIntensity >= -kPtsOffset && range.minIntensity <= -1.0f &&
               range.maxIntensity <= kMaxIntensity - kPtsOffset) {
        offset_ = kPtsOffset;
    } else {
        cut_ = true;
    }
}

std::uint16_t AttributeScale::Intensity(float value) const {
    if (!std::isfinite(value)) return 0;
    const float scaled = std::clamp((value + offset_) * factor_, 0.0f, kMaxIntensity);
    return static_cast<std::uint16_t>(static_cast<double>(scaled) + 0.5);
}

std::array<std::uint8_t, 8> AttributeScale::Pack(const ScanPoint& point,
                                                 std::uint16_t station) const {
    return detail::AttributeBytesOf({Intensity(point.intensity), Colour(point.red),
                                     Colour(point.green), Colour(point.blue), point.classification,
                                     station});
}

std::string AttributeScale::Warning() const {
    if (!cut_) return {};
    return fmt::format(
        "intensities range from {} to {}, which is no known scale; they are rounded and cut to "
        "0..65535",
        range_.minIntensity, range_.maxIntensity);
}

}  // namespace orvix::importer
