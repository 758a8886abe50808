// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "orvix/points/records.h"

namespace orvix::detail {

/// The attributes of a point, and the eight bytes in which an alive record holds them.
///
///     const PointAttributes attributes = AttributesOf(point);
///     if (attributes.station == 3) point.attributes = AttributeBytesOf({attributes.intensity, 255, 0, 0});
///
/// Shape   two-byte values are little-endian. A skeleton data record holds the first six bytes as
///         its own attributes, and the station's two as its first reserved bytes.
/// Cost    plain reads and copies, inline: fit for a loop over all points.
struct PointAttributes {
    std::uint16_t intensity = 0;
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t classification = 0;  ///< as the scan file numbers it
    std::uint16_t station = 0;        ///< the number of the scan, from 0
};

/// Where each of them begins among the eight bytes.
inline constexpr std::size_t kIntensityByte = 0;
inline constexpr std::size_t kRedByte = 2;
inline constexpr std::size_t kGreenByte = 3;
inline constexpr std::size_t kBlueByte = 4;
inline constexpr std::size_t kClassByte = 5;
inline constexpr std::size_t kStationByte = 6;
inline constexpr std::size_t kStationBytes = 2;
/// Where the station begins in a skeleton data record.
inline constexpr std::size_t kSkeletonStationByte = offsetof(CPointDataFull, reserved);

static_assert(sizeof(CPointDataFull::attributes) == kStationByte);
static_assert(sizeof(CCloudPoint<float>::attributes) == kStationByte + kStationBytes);

/// The two-byte value at an address.
inline std::uint16_t TwoBytesAt(const std::uint8_t* bytes) {
    std::uint16_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

inline std::uint16_t IntensityOf(const CCloudPoint<float>& point) {
    return TwoBytesAt(point.attributes.data() + kIntensityByte);
}

inline std::uint16_t StationOf(const CCloudPoint<float>& point) {
    return TwoBytesAt(point.attributes.data() + kStationByte);
}

inline PointAttributes AttributesOf(const CCloudPoint<float>& point) {
    const auto& bytes = point.attributes;
    return {IntensityOf(point), bytes[kRedByte],   bytes[kGreenByte],
            bytes[kBlueByte],   bytes[kClassByte], StationOf(point)};
}

inline std::array<std::uint8_t, 8> AttributeBytesOf(const PointAttributes& attributes) {
    std::array<std::uint8_t, 8> bytes{};
    std::memcpy(bytes.data() + kIntensityByte, &attributes.intensity, 2);
    bytes[kRedByte] = attributes.red;
    bytes[kGreenByte] = attributes.green;
    bytes[kBlueByte] = attributes.blue;
    bytes[kClassByte] = attributes.classification;
    std::memcpy(bytes.data() + kStationByte, &attributes.station, kStationBytes);
    return bytes;
}

/// The skeleton data record of a point: all its attributes, no DCLC pair.
inline CPointDataFull SkeletonDataOf(const CCloudPoint<float>& point) {
    CPointDataFull data;
    std::copy_n(point.attributes.begin(), data.attributes.size(), data.attributes.begin());
    std::copy_n(point.attributes.begin() + kStationByte, kStationBytes, data.reserved.begin());
    return data;
}

/// Whether a skeleton data record holds a point's attributes; the DCLC pairs may differ.
inline bool HoldsAttributesOf(const CPointDataFull& data, const CCloudPoint<float>& point) {
    const CPointDataFull expected = SkeletonDataOf(point);
    return data.attributes == expected.attributes &&
           std::memcmp(data.reserved.data(), expected.reserved.data(), kStationBytes) == 0;
}

}  // namespace orvix::detail
