// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstring>
#include <vector>

#include "importer/formats/byte_order.h"
#include "importer/formats/laz/chunk_decoder.h"
#include "importer/formats/laz/colour_decoder.h"
#include "importer/formats/laz/gps_time_decoder.h"
#include "importer/formats/laz/integer_decoder.h"
#include "importer/formats/laz/lazy_models.h"
#include "importer/formats/laz/prediction.h"

namespace orvix::importer::laz {
namespace {

constexpr std::size_t kPointBytes = 20;
constexpr std::size_t kGpsTimeBytes = 8;
constexpr std::size_t kColourBytes = 6;

// Which attributes besides the coordinates differ from the last point's.
constexpr std::uint32_t kSourceChanged = 1;
constexpr std::uint32_t kUserDataChanged = 2;
constexpr std::uint32_t kScanAngleChanged = 4;
constexpr std::uint32_t kClassChanged = 8;
constexpr std::uint32_t kIntensityChanged = 16;
constexpr std::uint32_t kReturnsChanged = 32;

/// By number of returns, then return: points of like returns share their predictions. Where the
/// two contradict each other, the numbers spread the rest.
constexpr std::uint8_t kReturnKinds[8][8] = {
    {15, 14, 13, 12, 11, 10, 9, 8},  {14, 0, 1, 3, 6, 10, 10, 9},
    {13, 1, 2, 4, 7, 11, 11, 10},    {12, 3, 4, 5, 8, 12, 12, 11},
    {11, 6, 7, 8, 9, 13, 13, 12},    {10, 10, 11, 12, 13, 14, 14, 13},
    {9, 10, 11, 12, 13, 14, 15, 14}, {8, 9, 10, 11, 12, 13, 14, 15},
};

/// A record of point format 0 in memory.
struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::uint16_t intensity = 0;
    std::uint8_t returns = 0;
    std::uint8_t classification = 0;
    std::uint8_t scanAngle = 0;
    std::uint8_t userData = 0;
    std::uint16_t source = 0;

    void Load(const std::uint8_t* bytes) {
        x = importer::Load<std::int32_t>(bytes);
        y = importer::Load<std::int32_t>(bytes + 4);
        z = importer::Load<std::int32_t>(bytes + 8);
        intensity = importer::Load<std::uint16_t>(bytes + 12);
        returns = bytes[14];
        classification = bytes[15];
        scanAngle = bytes[16];
        userData = bytes[17];
        source = importer::Load<std::uint16_t>(bytes + 18);
    }
    void Store(std::uint8_t* bytes) const {
        importer::Store(bytes, x);
        importer::Store(bytes + 4, y);
        importer::Store(bytes + 8, z);
        importer::Store(bytes + 12, intensity);
        bytes[14] = returns;
        bytes[15] = classification;
        bytes[16] = scanAngle;
        bytes[17] = userData;
        importer::Store(bytes + 18, source);
    }
};

class PointDecoder {
public:
    // The first point's intensity predicts nothing: each kind of return starts from zero.
    explicit PointDecoder(const std::uint8_t* first) {
        last_.Load(first);
        last_.intensity = 0;
    }

    void Decode(ArithmeticDecoder& in, std::uint8_t* record) {
        const std::uint32_t changed = in.Symbol(changed_);
        if (changed != 0) DecodeAttributes(in, changed);
        DecodeCoordinates(in);
        last_.Store(record);
    }

private:
    void DecodeAttributes(ArithmeticDecoder& in, std::uint32_t changed) {
        if ((changed & kReturnsChanged) != 0) {
            last_.returns = static_cast<std::uint8_t>(in.Symbol(returns_[last_.returns]));
        }
        const std::uint32_t kind = Kind();
        if ((changed & kIntensityChanged) != 0) {
            intensities_[kind] = static_cast<std::uint16_t>(
                intensity_.Decode(in, intensities_[kind], std::min(kind, 3u)));
        }
        last_.intensity = intensities_[kind];
        if ((changed & kClassChanged) != 0) {
            last_.classification =
                static_cast<std::uint8_t>(in.Symbol(classes_[last_.classification]));
        }
        if ((changed & kScanAngleChanged) != 0) {
            const std::uint32_t direction = last_.returns >> 6 & 1u;
            last_.scanAngle =
                static_cast<std::uint8_t>(last_.scanAngle + in.Symbol(scanAngles_[direction]));
        }
        if ((changed & kUserDataChanged) != 0) {
            last_.userData = static_cast<std::uint8_t>(in.Symbol(userData_[last_.userData]));
        }
        if ((changed & kSourceChanged) != 0) {
            last_.source = static_cast<std::uint16_t>(source_.Decode(in, last_.source, 0));
        }
    }

    void DecodeCoordinates(ArithmeticDecoder& in) {
        const std::uint32_t kind = Kind();
        const std::uint32_t level = Level();
        const bool single = Returns() == 1;
        const std::int32_t dx = x_.Decode(in, middleX_[kind].Middle(), single ? 1 : 0);
        last_.x = WrappingSum(last_.x, dx);
        middleX_[kind].Add(dx);
        const std::uint32_t magnitudeX = x_.Magnitude();
        const std::int32_t dy =
            y_.Decode(in, middleY_[kind].Middle(), MagnitudeContext(magnitudeX, 20, single));
        last_.y = WrappingSum(last_.y, dy);
        middleY_[kind].Add(dy);
        const std::uint32_t magnitude = (magnitudeX + y_.Magnitude()) / 2;
        last_.z = z_.Decode(in, heights_[level], MagnitudeContext(magnitude, 18, single));
        heights_[level] = last_.z;
    }

    [[nodiscard]] std::uint32_t Return() const { return last_.returns & 7u; }
    [[nodiscard]] std::uint32_t Returns() const { return last_.returns >> 3 & 7u; }
    [[nodiscard]] std::uint32_t Kind() const { return kReturnKinds[Returns()][Return()]; }
    /// How many returns apart the point is from its pulse's last.
    [[nodiscard]] std::uint32_t Level() const {
        return Returns() > Return() ? Returns() - Return() : Return() - Returns();
    }

    Point last_;
    std::array<std::uint16_t, 16> intensities_{};
    std::array<std::int32_t, 8> heights_{};
    std::array<RunningMedian, 16> middleX_;
    std::array<RunningMedian, 16> middleY_;
    SymbolModel<64> changed_;
    LazyModels<256, 256> returns_;
    LazyModels<256, 256> classes_;
    LazyModels<256, 256> userData_;
    std::array<SymbolModel<256>, 2> scanAngles_;
    IntegerDecoder<16, 4> intensity_;
    IntegerDecoder<16, 1> source_;
    IntegerDecoder<32, 2> x_;
    IntegerDecoder<32, 22> y_;
    IntegerDecoder<32, 20> z_;
};

/// Bytes of no known meaning: each is coded as its difference from the last record's.
class ExtraBytesDecoder {
public:
    ExtraBytesDecoder(const std::uint8_t* first, std::size_t count)
        : last_(first, first + count), differences_(count) {}

    void Decode(ArithmeticDecoder& in, std::uint8_t* record) {
        for (std::size_t i = 0; i < last_.size(); ++i) {
            last_[i] = static_cast<std::uint8_t>(last_[i] + in.Symbol(differences_[i]));
            record[i] = last_[i];
        }
    }

private:
    std::vector<std::uint8_t> last_;
    std::vector<SymbolModel<256>> differences_;
};

template <bool HasGpsTime, bool HasColour>
class PointwiseChunk final : public ChunkDecoder {
public:
    PointwiseChunk(std::size_t extraBytes, std::span<const std::uint8_t> bytes)
        : first_(bytes.first(kExtraAt + extraBytes)),
          in_(bytes.subspan(first_.size())),
          point_(first_.data()),
          gpsTime_(GpsTimeDecoder::Unchanged::Coded,
                   HasGpsTime ? Load<std::uint64_t>(first_.data() + kPointBytes) : 0),
          extra_(first_.data() + kExtraAt, extraBytes) {
        if constexpr (HasColour) {
            for (std::size_t i = 0; i < 3; ++i) {
                lastColour_[i] = Load<std::uint16_t>(first_.data() + kColourAt + 2 * i);
            }
        }
    }

    void Decode(std::span<std::uint8_t> records) override {
        std::size_t at = 0;
        if (atFirst_ && !records.empty()) {
            std::copy(first_.begin(), first_.end(), records.begin());
            atFirst_ = false;
            at = first_.size();
        }
        ArithmeticDecoder in = in_;
        for (; at < records.size(); at += first_.size()) DecodeRecord(in, records.data() + at);
        in_ = in;
    }

    bool RanPastEnd() const override { return in_.RanPastEnd(); }

private:
    static constexpr std::size_t kColourAt = kPointBytes + (HasGpsTime ? kGpsTimeBytes : 0);
    static constexpr std::size_t kExtraAt = kColourAt + (HasColour ? kColourBytes : 0);

    void DecodeRecord(ArithmeticDecoder& in, std::uint8_t* record) {
        point_.Decode(in, record);
        if constexpr (HasGpsTime) Store(record + kPointBytes, gpsTime_.Decode(in));
        if constexpr (HasColour) {
            lastColour_ = colour_.Decode(in, lastColour_);
            for (std::size_t i = 0; i < 3; ++i) Store(record + kColourAt + 2 * i, lastColour_[i]);
        }
        extra_.Decode(in, record + kExtraAt);
    }

    std::span<const std::uint8_t> first_;
    ArithmeticDecoder in_;
    bool atFirst_ = true;
    PointDecoder point_;
    GpsTimeDecoder gpsTime_;
    ColourDecoder colour_;
    Colour lastColour_{};
    ExtraBytesDecoder extra_;
};

}  // namespace

std::unique_ptr<ChunkDecoder> OpenPointwiseChunk(const RecordShape& shape,
                                                 std::span<const std::uint8_t> bytes) {
    const std::size_t recordBytes = kPointBytes + (shape.hasGpsTime ? kGpsTimeBytes : 0) +
                                    (shape.hasColour ? kColourBytes : 0) + shape.extraBytes;
    if (bytes.size() < recordBytes) return nullptr;
    const std::size_t extra = shape.extraBytes;
    if (shape.hasGpsTime && shape.hasColour) {
        return std::make_unique<PointwiseChunk<true, true>>(extra, bytes);
    }
    if (shape.hasGpsTime) return std::make_unique<PointwiseChunk<true, false>>(extra, bytes);
    if (shape.hasColour) return std::make_unique<PointwiseChunk<false, true>>(extra, bytes);
    return std::make_unique<PointwiseChunk<false, false>>(extra, bytes);
}

}  // namespace orvix::importer::laz
