// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "importer/formats/laz/arithmetic_decoder.h"

namespace orvix::importer::laz {

inline constexpr std::size_t kChannels = 4;
inline constexpr std::size_t kPointBytes = 30;

// The streams of a point, in their order; those of colour, infrared and extra bytes follow.
enum PointLayer : std::size_t {
    kPlane,  // scanner channel, returns, x and y
    kHeight,
    kClass,
    kFlags,
    kIntensity,
    kScanAngle,
    kUserData,
    kSource,
    kGpsTime,
    kPointLayers
};

/// A stream of a chunk; one without bytes says that nothing changes.
struct Layer {
    bool present = false;
    ArithmeticDecoder in;
};

/// Decodes the point part of a layered chunk's records: point format 6, 30 bytes each.
///
/// Each scanner channel has predictions of its own.
///
/// Lifetime  borrows the layers.
/// Threads   one at a time.
class PointLayers {
public:
    /// `first` is the chunk's first record, which is not compressed.
    PointLayers(const std::uint8_t* first, std::vector<Layer>& layers);
    ~PointLayers();

    [[nodiscard]] std::size_t CurrentChannel() const { return current_; }
    /// Decodes the next record's kPointBytes.
    void Decode(std::uint8_t* record);

private:
    struct Channel;

    std::uint32_t DecodeChanges();
    void DecodeReturns(Channel& channel, std::uint32_t changed);
    void DecodeCoordinates(Channel& channel, bool timeChanged);
    void DecodeAttributes(Channel& channel, std::uint32_t changed);

    std::vector<Layer>& layers_;
    std::array<std::unique_ptr<Channel>, kChannels> channels_;
    std::size_t current_ = 0;
};

}  // namespace orvix::importer::laz
