// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "importer/formats/byte_order.h"
#include "importer/formats/laz/chunk_decoder.h"
#include "importer/formats/laz/colour_decoder.h"
#include "importer/formats/laz/point_layers.h"

namespace orvix::importer::laz {
namespace {

constexpr std::size_t kColourBytes = 6;
constexpr std::size_t kInfraredBytes = 2;
constexpr std::size_t kInfraredAt = kPointBytes + kColourBytes;

/// The models and the last value of each channel for one of the attributes beside the point.
/// A channel starts from the last value of the one before it.
template <class Value, class Models>
class ChannelValues {
public:
    ChannelValues(const Value& first, std::size_t channel, bool switchesReference)
        : switchesReference_(switchesReference), current_(channel), reference_(channel) {
        channels_[channel] = std::make_unique<Entry>(first);
    }

    /// Before version 4 a point that returns to a channel met earlier takes the place of the last
    /// value that it refers to, that of the channel before, and leaves its own channel's alone.
    void Switch(std::size_t channel) {
        if (!switchesReference_) reference_ = current_;
        if (channel == current_) return;
        const bool isNew = !channels_[channel];
        if (isNew) channels_[channel] = std::make_unique<Entry>(Last());
        if (isNew || switchesReference_) reference_ = channel;
        current_ = channel;
    }

    [[nodiscard]] Value& Last() { return channels_[reference_]->last; }
    [[nodiscard]] Models& Current() { return channels_[current_]->models; }

private:
    struct Entry {
        explicit Entry(const Value& value) : last(value), models(value) {}
        Value last;
        Models models;
    };
    bool switchesReference_;
    std::size_t current_;
    std::size_t reference_;
    std::array<std::unique_ptr<Entry>, kChannels> channels_;
};

struct ColourModels : ColourDecoder {
    explicit ColourModels(const Colour& /*first*/) {}
};

class InfraredModels {
public:
    explicit InfraredModels(std::uint16_t /*first*/) {}

    std::uint16_t Decode(ArithmeticDecoder& in, std::uint16_t last) {
        const std::uint32_t changed = in.Symbol(changed_);
        std::uint32_t low = last & 0xFFu;
        std::uint32_t high = last >> 8;
        if ((changed & 1) != 0) low = (low + in.Symbol(low_)) & 0xFF;
        if ((changed & 2) != 0) high = (high + in.Symbol(high_)) & 0xFF;
        return static_cast<std::uint16_t>(low | high << 8);
    }

private:
    SymbolModel<4> changed_;
    SymbolModel<256> low_;
    SymbolModel<256> high_;
};

using ExtraBytes = std::vector<std::uint8_t>;

struct ExtraModels {
    explicit ExtraModels(const ExtraBytes& first) : differences(first.size()) {}
    std::vector<SymbolModel<256>> differences;
};

class LayeredChunk final : public ChunkDecoder {
public:
    LayeredChunk(const RecordShape& shape, std::span<const std::uint8_t> first,
                 std::vector<Layer> layers)
        : shape_(shape),
          first_(first),
          layers_(std::move(layers)),
          point_(first.data(), layers_),
          extra_(ExtraBytes(first.end() - shape.extraBytes, first.end()), point_.CurrentChannel(),
                 shape.switchesReference) {
        const std::uint8_t* beside = first.data() + kPointBytes;
        if (shape.hasColour) {
            colour_.emplace(Colour{Load<std::uint16_t>(beside), Load<std::uint16_t>(beside + 2),
                                   Load<std::uint16_t>(beside + 4)},
                            point_.CurrentChannel(), shape.switchesReference);
        }
        if (shape.hasInfrared) {
            infrared_.emplace(Load<std::uint16_t>(beside + kColourBytes), point_.CurrentChannel(),
                              shape.switchesReference);
        }
    }

    void Decode(std::span<std::uint8_t> records) override {
        std::size_t at = 0;
        if (atFirst_ && !records.empty()) {
            std::copy(first_.begin(), first_.end(), records.begin());
            atFirst_ = false;
            at = first_.size();
        }
        for (; at < records.size(); at += first_.size()) {
            std::uint8_t* record = records.data() + at;
            point_.Decode(record);
            if (colour_) DecodeColour(record + kPointBytes);
            if (infrared_) DecodeInfrared(record + kInfraredAt);
            if (shape_.extraBytes != 0) DecodeExtra(record + first_.size() - shape_.extraBytes);
        }
    }

    bool RanPastEnd() const override {
        return std::any_of(layers_.begin(), layers_.end(),
                           [](const Layer& layer) { return layer.in.RanPastEnd(); });
    }

private:
    void DecodeColour(std::uint8_t* bytes) {
        colour_->Switch(point_.CurrentChannel());
        Colour& last = colour_->Last();
        Layer& layer = layers_[kPointLayers];
        if (layer.present) last = colour_->Current().Decode(layer.in, last);
        for (std::size_t i = 0; i < last.size(); ++i) Store(bytes + 2 * i, last[i]);
    }

    void DecodeInfrared(std::uint8_t* bytes) {
        infrared_->Switch(point_.CurrentChannel());
        std::uint16_t& last = infrared_->Last();
        Layer& layer = layers_[kPointLayers + 1];
        if (layer.present) last = infrared_->Current().Decode(layer.in, last);
        Store(bytes, last);
    }

    void DecodeExtra(std::uint8_t* bytes) {
        extra_.Switch(point_.CurrentChannel());
        ExtraBytes& last = extra_.Last();
        const std::size_t firstLayer = layers_.size() - last.size();
        for (std::size_t i = 0; i < last.size(); ++i) {
            Layer& layer = layers_[firstLayer + i];
            if (layer.present) {
                last[i] = static_cast<std::uint8_t>(
                    last[i] + layer.in.Symbol(extra_.Current().differences[i]));
            }
            bytes[i] = last[i];
        }
    }

    RecordShape shape_;
    std::span<const std::uint8_t> first_;
    std::vector<Layer> layers_;
    bool atFirst_ = true;
    PointLayers point_;
    std::optional<ChannelValues<Colour, ColourModels>> colour_;
    std::optional<ChannelValues<std::uint16_t, InfraredModels>> infrared_;
    ChannelValues<ExtraBytes, ExtraModels> extra_;
};

bool IsOfImport(std::size_t layer, const RecordShape& shape) {
    return layer == kPlane || layer == kHeight || layer == kClass || layer == kIntensity ||
           (layer == kPointLayers && shape.hasColour);
}

}  // namespace

std::unique_ptr<ChunkDecoder> OpenLayeredChunk(const RecordShape& shape,
                                               std::span<const std::uint8_t> bytes,
                                               std::uint64_t points, Layers wanted) {
    const std::size_t recordBytes = kPointBytes + (shape.hasColour ? kColourBytes : 0) +
                                    (shape.hasInfrared ? kInfraredBytes : 0) + shape.extraBytes;
    const std::size_t count =
        kPointLayers + (shape.hasColour ? 1 : 0) + (shape.hasInfrared ? 1 : 0) + shape.extraBytes;
    const std::size_t tableBytes = sizeof(std::uint32_t) * (1 + count);
    if (bytes.size() < recordBytes + tableBytes) return nullptr;
    const std::uint8_t* table = bytes.data() + recordBytes;
    if (Load<std::uint32_t>(table) != points) return nullptr;
    std::span<const std::uint8_t> rest = bytes.subspan(recordBytes + tableBytes);
    std::vector<Layer> layers(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t size = Load<std::uint32_t>(table + sizeof(std::uint32_t) * (1 + i));
        if (size > rest.size()) return nullptr;
        if (size != 0 && (wanted == Layers::All || IsOfImport(i, shape))) {
            layers[i] = {true, ArithmeticDecoder(rest.first(size))};
        }
        rest = rest.subspan(size);
    }
    return std::make_unique<LayeredChunk>(shape, bytes.first(recordBytes), std::move(layers));
}

}  // namespace orvix::importer::laz
