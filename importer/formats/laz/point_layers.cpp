// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/laz/point_layers.h"

#include <algorithm>

#include "importer/formats/byte_order.h"
#include "importer/formats/laz/gps_time_decoder.h"
#include "importer/formats/laz/integer_decoder.h"
#include "importer/formats/laz/lazy_models.h"
#include "importer/formats/laz/prediction.h"

namespace orvix::importer::laz {
namespace {

// What differs from the last point.
constexpr std::uint32_t kReturnChange = 3;  // 0: none, 1: next, 2: previous, 3: another
constexpr std::uint32_t kReturnsChanged = 4;
constexpr std::uint32_t kScanAngleChanged = 8;
constexpr std::uint32_t kGpsTimeChanged = 16;
constexpr std::uint32_t kSourceChanged = 32;
constexpr std::uint32_t kChannelChanged = 64;

/// By number of returns, then return: points of like returns share their predictions.
constexpr std::uint8_t kReturnKinds[16][16] = {
    {0, 1, 2, 3, 4, 5, 3, 4, 4, 5, 5, 5, 5, 5, 5, 5},
    {1, 0, 1, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3},
    {2, 1, 2, 4, 4, 4, 4, 4, 4, 4, 4, 3, 3, 3, 3, 3},
    {3, 3, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {3, 3, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4, 4},
    {4, 3, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4},
    {5, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 4, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 4},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5},
    {5, 3, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 5},
};

/// A record of point format 6 in memory, without its channel and its time.
struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::uint16_t intensity = 0;
    std::uint8_t number = 0;   // of the return
    std::uint8_t returns = 0;  // of the pulse
    std::uint8_t flags = 0;    // of the class (4 bits), scan direction, edge
    std::uint8_t classification = 0;
    std::uint8_t userData = 0;
    std::int16_t scanAngle = 0;
    std::uint16_t source = 0;

    void Load(const std::uint8_t* bytes) {
        x = importer::Load<std::int32_t>(bytes);
        y = importer::Load<std::int32_t>(bytes + 4);
        z = importer::Load<std::int32_t>(bytes + 8);
        intensity = importer::Load<std::uint16_t>(bytes + 12);
        number = bytes[14] & 0x0F;
        returns = bytes[14] >> 4;
        flags = static_cast<std::uint8_t>((bytes[15] & 0x0F) | (bytes[15] >> 2 & 0x30));
        classification = bytes[16];
        userData = bytes[17];
        scanAngle = importer::Load<std::int16_t>(bytes + 18);
        source = importer::Load<std::uint16_t>(bytes + 20);
    }
    void Store(std::uint8_t* bytes, std::size_t channel, std::uint64_t gpsTime) const {
        importer::Store(bytes, x);
        importer::Store(bytes + 4, y);
        importer::Store(bytes + 8, z);
        importer::Store(bytes + 12, intensity);
        bytes[14] = static_cast<std::uint8_t>(number | returns << 4);
        bytes[15] = static_cast<std::uint8_t>((flags & 0x0F) | channel << 4 | (flags & 0x30) << 2);
        bytes[16] = classification;
        bytes[17] = userData;
        importer::Store(bytes + 18, scanAngle);
        importer::Store(bytes + 20, source);
        importer::Store(bytes + 22, gpsTime);
    }
};

bool IsFirst(const Point& point) {
    return point.number == 1;
}

bool IsLast(const Point& point) {
    return point.number >= point.returns;
}

}  // namespace

/// What a scanner channel has learned.
struct PointLayers::Channel {
    Channel(const Point& first, std::uint64_t gpsTime)
        : last(first), lastGpsTime(gpsTime), gpsTimes(GpsTimeDecoder::Unchanged::Implied, gpsTime) {
        heights.fill(first.z);
        intensities.fill(first.intensity);
    }

    Point last;
    std::uint64_t lastGpsTime;
    bool gpsTimeChanged = false;

    std::array<SymbolModel<128>, 8> changes;
    SymbolModel<3> channelStep;
    LazyModels<16, 16> returns;
    LazyModels<16, 16> numbers;
    SymbolModel<13> numberStep;
    IntegerDecoder<32, 2> x;
    IntegerDecoder<32, 22> y;
    std::array<RunningMedian, 12> middleX;
    std::array<RunningMedian, 12> middleY;

    IntegerDecoder<32, 20> z;
    std::array<std::int32_t, 8> heights{};
    LazyModels<256, 64> classes;
    LazyModels<64, 64> flags;
    IntegerDecoder<16, 4> intensity;
    std::array<std::uint16_t, 8> intensities{};
    IntegerDecoder<16, 2> scanAngle;
    LazyModels<256, 64> userData;
    IntegerDecoder<16, 1> source;
    GpsTimeDecoder gpsTimes;
};

PointLayers::PointLayers(const std::uint8_t* first, std::vector<Layer>& layers) : layers_(layers) {
    Point point;
    point.Load(first);
    current_ = first[15] >> 4 & 3u;
    channels_[current_] = std::make_unique<Channel>(point, Load<std::uint64_t>(first + 22));
}

PointLayers::~PointLayers() = default;

void PointLayers::Decode(std::uint8_t* record) {
    const std::uint32_t changed = DecodeChanges();
    Channel& channel = *channels_[current_];
    const bool timeChanged = (changed & kGpsTimeChanged) != 0;
    DecodeReturns(channel, changed);
    DecodeCoordinates(channel, timeChanged);
    DecodeAttributes(channel, changed);
    if (timeChanged && layers_[kGpsTime].present) {
        channel.lastGpsTime = channel.gpsTimes.Decode(layers_[kGpsTime].in);
    }
    channel.gpsTimeChanged = timeChanged;
    channel.last.Store(record, current_, channel.lastGpsTime);
}

std::uint32_t PointLayers::DecodeChanges() {
    ArithmeticDecoder& in = layers_[kPlane].in;
    Channel& before = *channels_[current_];
    const std::size_t context = (IsFirst(before.last) ? 1u : 0u) | (IsLast(before.last) ? 2u : 0u) |
                                (before.gpsTimeChanged ? 4u : 0u);
    const std::uint32_t changed = in.Symbol(before.changes[context]);
    if ((changed & kChannelChanged) != 0) {
        current_ = (current_ + in.Symbol(before.channelStep) + 1) % kChannels;
        if (!channels_[current_]) {
            channels_[current_] = std::make_unique<Channel>(before.last, before.lastGpsTime);
        }
    }
    return changed;
}

void PointLayers::DecodeReturns(Channel& channel, std::uint32_t changed) {
    ArithmeticDecoder& in = layers_[kPlane].in;
    Point& last = channel.last;
    if ((changed & kReturnsChanged) != 0) {
        last.returns = static_cast<std::uint8_t>(in.Symbol(channel.returns[last.returns]));
    }
    const std::uint32_t before = last.number;
    std::uint32_t number = before;
    switch (changed & kReturnChange) {
        case 0:
            break;
        case 1:
            number = before + 1;
            break;
        case 2:
            number = before + 15;
            break;
        default:
            number = (changed & kGpsTimeChanged) != 0 ? in.Symbol(channel.numbers[before])
                                                      : before + in.Symbol(channel.numberStep) + 2;
    }
    last.number = static_cast<std::uint8_t>(number % 16);
}

void PointLayers::DecodeCoordinates(Channel& channel, bool timeChanged) {
    ArithmeticDecoder& in = layers_[kPlane].in;
    Point& last = channel.last;
    const bool single = last.returns == 1;
    const std::size_t kind =
        kReturnKinds[last.returns][last.number] * std::size_t{2} + (timeChanged ? 1 : 0);
    const std::int32_t dx = channel.x.Decode(in, channel.middleX[kind].Middle(), single ? 1 : 0);
    last.x = WrappingSum(last.x, dx);
    channel.middleX[kind].Add(dx);
    const std::uint32_t magnitudeX = channel.x.Magnitude();
    const std::int32_t dy = channel.y.Decode(in, channel.middleY[kind].Middle(),
                                             MagnitudeContext(magnitudeX, 20, single));
    last.y = WrappingSum(last.y, dy);
    channel.middleY[kind].Add(dy);
    if (!layers_[kHeight].present) return;
    const std::uint32_t magnitude = (magnitudeX + channel.y.Magnitude()) / 2;
    const std::uint32_t apart = last.returns > last.number
                                    ? std::uint32_t{last.returns} - last.number
                                    : std::uint32_t{last.number} - last.returns;
    std::int32_t& height = channel.heights[std::min(apart, 7u)];
    height = channel.z.Decode(layers_[kHeight].in, height, MagnitudeContext(magnitude, 18, single));
    last.z = height;
}

void PointLayers::DecodeAttributes(Channel& channel, std::uint32_t changed) {
    Point& last = channel.last;
    const std::uint32_t place = (IsFirst(last) ? 1u : 0u) | (IsLast(last) ? 2u : 0u);
    const std::uint32_t timeChanged = (changed & kGpsTimeChanged) != 0 ? 1 : 0;
    if (Layer& layer = layers_[kClass]; layer.present) {
        const std::size_t model = (last.classification & 0x1Fu) * 2 + (place == 3 ? 1 : 0);
        last.classification = static_cast<std::uint8_t>(layer.in.Symbol(channel.classes[model]));
    }
    if (Layer& layer = layers_[kFlags]; layer.present) {
        last.flags = static_cast<std::uint8_t>(layer.in.Symbol(channel.flags[last.flags]));
    }
    if (Layer& layer = layers_[kIntensity]; layer.present) {
        std::uint16_t& intensity = channel.intensities[place * 2 + timeChanged];
        intensity =
            static_cast<std::uint16_t>(channel.intensity.Decode(layer.in, intensity, place));
        last.intensity = intensity;
    }
    if (Layer& layer = layers_[kScanAngle]; layer.present && (changed & kScanAngleChanged) != 0) {
        last.scanAngle = static_cast<std::int16_t>(
            channel.scanAngle.Decode(layer.in, last.scanAngle, timeChanged));
    }
    if (Layer& layer = layers_[kUserData]; layer.present) {
        last.userData =
            static_cast<std::uint8_t>(layer.in.Symbol(channel.userData[last.userData / 4u]));
    }
    if (Layer& layer = layers_[kSource]; layer.present && (changed & kSourceChanged) != 0) {
        last.source = static_cast<std::uint16_t>(channel.source.Decode(layer.in, last.source, 0));
    }
}

}  // namespace orvix::importer::laz
