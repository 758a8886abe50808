// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scans/laz_writer.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <span>

#include "support/scans/laz_coder.h"

namespace orvix::test {
namespace {

using namespace laz;
using Bytes = std::vector<std::uint8_t>;
using Record = std::span<const std::uint8_t>;

template <class T>
T Get(Record record, std::size_t at) {
    T value;
    std::memcpy(&value, record.data() + at, sizeof(value));
    return value;
}

template <class T>
void Append(Bytes& bytes, T value) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof(value));
    std::memcpy(bytes.data() + at, &value, sizeof(value));
}

bool HasColour(int format) {
    return format == 2 || format == 3 || format == 7 || format == 8;
}

class GpsTimes {
public:
    GpsTimes(bool unchangedIsCoded, std::int64_t first, std::mt19937_64& random)
        : shift_(unchangedIsCoded ? 1 : 0),
          random_(random),
          times_{first, 0, 0, 0},
          multiples_(515 + shift_),
          firsts_(5 + shift_) {}

    void Encode(Encoder& out, std::int64_t time) {
        const bool fresh = distances_[series_] == 0;
        const std::int64_t distance = Distance(time, times_[series_]);
        if (shift_ == 1 && distance == 0) {
            out.Symbol(fresh ? firsts_ : multiples_, fresh ? 0 : 511);
            return;
        }
        if (distance == static_cast<std::int32_t>(distance)) {
            fresh ? First(out, distance) : Multiple(out, distance);
            times_[series_] = time;
            return;
        }
        const std::uint32_t code = fresh ? 1 + shift_ : 511 + shift_;
        for (std::uint32_t i = 1; i < 4; ++i) {
            const std::int64_t other = Distance(time, times_[(series_ + i) % 4]);
            if (other != static_cast<std::int32_t>(other)) continue;
            out.Symbol(fresh ? firsts_ : multiples_, code + i);
            series_ = (series_ + i) % 4;
            return Encode(out, time);
        }
        out.Symbol(fresh ? firsts_ : multiples_, code);
        rest_.Encode(out, static_cast<std::int32_t>(times_[series_] >> 32),
                     static_cast<std::int32_t>(time >> 32), 8);
        out.Bits(32, static_cast<std::uint32_t>(time));
        series_ = newest_ = (newest_ + 1) % 4;
        times_[series_] = time;
        distances_[series_] = extremes_[series_] = 0;
    }

private:
    static std::int64_t Distance(std::int64_t a, std::int64_t b) {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) -
                                         static_cast<std::uint64_t>(b));
    }
    void First(Encoder& out, std::int64_t distance) {
        out.Symbol(firsts_, shift_);
        rest_.Encode(out, 0, distance, 0);
        distances_[series_] = static_cast<std::int32_t>(distance);
        extremes_[series_] = 0;
    }
    // Any multiple does, since the rest makes up for it: near ones mostly, far ones now and then.
    void Multiple(Encoder& out, std::int64_t distance) {
        std::int64_t multiple = distance / distances_[series_];
        if (random_() % 8 == 0) multiple = static_cast<std::int64_t>(random_() % 520) - 12;
        multiple = std::clamp<std::int64_t>(multiple, -10, 500);
        out.Symbol(multiples_,
                   static_cast<std::uint32_t>(multiple < 0 ? 500 - multiple : multiple));
        const std::uint32_t context = multiple == 500   ? 4
                                      : multiple >= 10  ? 3
                                      : multiple > 1    ? 2
                                      : multiple == 1   ? 1
                                      : multiple == 0   ? 7
                                      : multiple == -10 ? 6
                                                        : 5;
        const auto predicted = static_cast<std::int32_t>(
            static_cast<std::uint32_t>(multiple) * static_cast<std::uint32_t>(distances_[series_]));
        rest_.Encode(out, predicted, distance, context);
        if (multiple == 1) extremes_[series_] = 0;
        if (multiple == 0 || multiple == 500 || multiple == -10) {
            if (++extremes_[series_] > 3) {
                distances_[series_] = static_cast<std::int32_t>(distance);
                extremes_[series_] = 0;
            }
        }
    }

    std::uint32_t shift_;
    std::mt19937_64& random_;
    std::array<std::int64_t, 4> times_;
    std::array<std::int32_t, 4> distances_{};
    std::array<int, 4> extremes_{};
    std::uint32_t series_ = 0;
    std::uint32_t newest_ = 0;
    Model multiples_;
    Model firsts_;
    IntegerEncoder rest_{32, 9};
};

class ColourEncoder {
public:
    void Encode(Encoder& out, Record now, Record last) {
        std::uint32_t changed = 0;
        for (std::uint32_t i = 0; i < 6; ++i) changed |= (now[i] != last[i] ? 1u : 0u) << i;
        const bool grey = std::memcmp(now.data(), now.data() + 2, 2) == 0 &&
                          std::memcmp(now.data(), now.data() + 4, 2) == 0;
        if (!grey) changed |= 64;
        out.Symbol(changed_, changed);
        const auto byte = [&](std::uint32_t i, int predicted) {
            if ((changed >> i & 1) != 0) {
                out.Symbol(differences_[i], static_cast<std::uint8_t>(now[i] - predicted));
            }
        };
        byte(0, last[0]);
        byte(1, last[1]);
        if (grey) return;
        for (const std::uint32_t half : {0u, 1u}) {
            const int red = now[half] - last[half];
            const int both = (red + now[half + 2] - last[half + 2]) / 2;
            byte(half + 2, std::clamp(last[half + 2] + red, 0, 255));
            byte(half + 4, std::clamp(last[half + 4] + both, 0, 255));
        }
    }

private:
    Model changed_{128};
    ModelsBy differences_{256};
};

constexpr int kKinds10[8][8] = {{15, 14, 13, 12, 11, 10, 9, 8},  {14, 0, 1, 3, 6, 10, 10, 9},
                                {13, 1, 2, 4, 7, 11, 11, 10},    {12, 3, 4, 5, 8, 12, 12, 11},
                                {11, 6, 7, 8, 9, 13, 13, 12},    {10, 10, 11, 12, 13, 14, 14, 13},
                                {9, 10, 11, 12, 13, 14, 15, 14}, {8, 9, 10, 11, 12, 13, 14, 15}};

std::uint32_t Context(std::uint32_t magnitude, std::uint32_t most, bool single) {
    return (magnitude < most ? magnitude - magnitude % 2 : most) + (single ? 1 : 0);
}

/// A chunk of point formats 0 to 3.
Bytes PointwiseChunk(int format, const std::vector<Record>& records, std::mt19937_64& random) {
    Bytes bytes(records[0].begin(), records[0].end());
    if (records.size() == 1) return bytes;
    const bool hasTime = format == 1 || format == 3;
    const std::size_t colourAt = hasTime ? 28 : 20;
    const std::size_t extraAt = colourAt + (HasColour(format) ? 6 : 0);
    Encoder out;
    Model changes(64);
    ModelsBy flags(256), classes(256), users(256), angles(256), extras(256);
    IntegerEncoder intensity(16, 4), source(16, 1), x(32, 2), y(32, 22), z(32, 20);
    std::array<Middle, 16> middleX, middleY;
    std::array<std::uint16_t, 16> intensities{};
    std::array<std::int32_t, 8> heights{};
    GpsTimes times(true, hasTime ? Get<std::int64_t>(records[0], 20) : 0, random);
    ColourEncoder colour;
    for (std::size_t i = 1; i < records.size(); ++i) {
        const Record now = records[i];
        const Record last = records[i - 1];
        const int number = now[14] & 7;
        const int returns = now[14] >> 3 & 7;
        const auto kind = static_cast<std::uint32_t>(kKinds10[returns][number]);
        const auto level = static_cast<std::size_t>(std::abs(returns - number));
        const auto value = Get<std::uint16_t>(now, 12);
        // The intensity is among what changed when it is not that of the last point of its kind;
        // with nothing changed at all, the last point's stands.
        const bool intensityChanged = value != intensities[kind];
        const bool otherSource = Get<std::uint16_t>(now, 18) != Get<std::uint16_t>(last, 18);
        std::uint32_t changed = (now[14] != last[14] ? 32u : 0) | (intensityChanged ? 16u : 0) |
                                (now[15] != last[15] ? 8u : 0) | (now[16] != last[16] ? 4u : 0) |
                                (now[17] != last[17] ? 2u : 0) | (otherSource ? 1u : 0);
        out.Symbol(changes, changed);
        if ((changed & 32) != 0) out.Symbol(flags[last[14]], now[14]);
        if ((changed & 16) != 0)
            intensity.Encode(out, intensities[kind], value, std::min(kind, 3u));
        intensities[kind] = value;
        if ((changed & 8) != 0) out.Symbol(classes[last[15]], now[15]);
        if ((changed & 4) != 0) {
            out.Symbol(angles[now[14] >> 6 & 1], static_cast<std::uint8_t>(now[16] - last[16]));
        }
        if ((changed & 2) != 0) out.Symbol(users[last[17]], now[17]);
        if ((changed & 1) != 0) {
            source.Encode(out, Get<std::uint16_t>(last, 18), Get<std::uint16_t>(now, 18), 0);
        }
        const bool single = returns == 1;
        const auto step = [&](std::size_t at) {
            return static_cast<std::int32_t>(Get<std::uint32_t>(now, at) -
                                             Get<std::uint32_t>(last, at));
        };
        x.Encode(out, middleX[kind].Get(), step(0), single ? 1 : 0);
        middleX[kind].Add(step(0));
        y.Encode(out, middleY[kind].Get(), step(4), Context(x.magnitude, 20, single));
        middleY[kind].Add(step(4));
        z.Encode(out, heights[level], Get<std::int32_t>(now, 8),
                 Context((x.magnitude + y.magnitude) / 2, 18, single));
        heights[level] = Get<std::int32_t>(now, 8);
        if (hasTime) times.Encode(out, Get<std::int64_t>(now, 20));
        if (HasColour(format)) colour.Encode(out, now.subspan(colourAt), last.subspan(colourAt));
        for (std::size_t e = extraAt; e < now.size(); ++e) {
            out.Symbol(extras[static_cast<std::uint32_t>(e)],
                       static_cast<std::uint8_t>(now[e] - last[e]));
        }
    }
    const Bytes coded = out.Finish();
    bytes.insert(bytes.end(), coded.begin(), coded.end());
    return bytes;
}

/// By number of returns, then return: the rows' runs of equal numbers written out.
int Kind14(int returns, int number) {
    static constexpr const char* kRows[16] = {
        "0123453445555555", "1013333333333333", "2124444444433333", "3345444444444444",
        "4344544444444444", "5344454444444444", "3344445444444444", "4344444544444444",
        "4344444454444444", "5344444445444444", "5344444444544444", "5334444444455444",
        "5334444444455544", "5334444444445554", "5334444444444555", "5334444444444455"};
    return kRows[returns][number] - '0';
}

/// One scanner channel of a layered chunk.
struct Channel {
    Channel(Record first, std::mt19937_64& random)
        : last(first.begin(), first.end()), times(false, Get<std::int64_t>(first, 22), random) {
        heights.fill(Get<std::int32_t>(first, 8));
        intensities.fill(Get<std::uint16_t>(first, 12));
    }
    Bytes last;  // the point's 30 bytes count
    bool timeChanged = false;
    ModelsBy changes{128}, returns{16}, numbers{16}, classes{256}, flags{64}, users{256};
    Model channelStep{3}, numberStep{13};
    IntegerEncoder x{32, 2}, y{32, 22}, z{32, 20}, intensity{16, 4}, angle{16, 2}, source{16, 1};
    std::array<Middle, 12> middleX, middleY;
    std::array<std::int32_t, 8> heights{};
    std::array<std::uint16_t, 8> intensities{};
    GpsTimes times;
    // Beside the point.
    ColourEncoder colour;
    Model infraredChanges{4};
    ModelsBy infrared{256}, extras{256};
    Bytes beside;
};

struct LayerWriter {
    Encoder out;
    bool changed = false;
};

/// A chunk of point formats 6 to 8.
class LayeredChunkWriter {
public:
    LayeredChunkWriter(int format, std::uint16_t version, Record first, std::mt19937_64& random)
        : format_(format),
          version_(version),
          random_(random),
          layers_(9 + (format >= 7 ? 1 : 0) + (format == 8 ? 1 : 0) + first.size() - ExtraAt()),
          current_(first[15] >> 4 & 3) {
        channels_[current_] = std::make_unique<Channel>(first, random);
        channels_[current_]->beside.assign(first.begin() + 30, first.end());
        layers_[0].changed = true;
    }

    void Add(Record now) {
        const std::size_t channel = now[15] >> 4 & 3;
        const std::size_t before = current_;
        WritePoint(now, channel);
        WriteBeside(now.subspan(30), before, channel);
    }

    Bytes Finish(Record first, std::uint32_t points) {
        Bytes bytes(first.begin(), first.end());
        Append(bytes, points);
        Bytes coded;
        for (LayerWriter& layer : layers_) {
            const Bytes stream = layer.changed ? layer.out.Finish() : Bytes();
            Append(bytes, static_cast<std::uint32_t>(stream.size()));
            coded.insert(coded.end(), stream.begin(), stream.end());
        }
        bytes.insert(bytes.end(), coded.begin(), coded.end());
        return bytes;
    }

private:
    [[nodiscard]] std::size_t ExtraAt() const { return format_ == 8 ? 38 : format_ == 7 ? 36 : 30; }

    void WritePoint(Record now, std::size_t channel) {
        Channel& before = *channels_[current_];
        if (!channels_[channel])
            channels_[channel] = std::make_unique<Channel>(before.last, random_);
        Channel& c = *channels_[channel];
        const Record last = c.last;
        const int number = now[14] & 15;
        const int returns = now[14] >> 4;
        const int lastNumber = last[14] & 15;
        const int step = (number - lastNumber + 16) % 16;
        const bool timeChanged = Get<std::int64_t>(now, 22) != Get<std::int64_t>(last, 22);
        const bool angleChanged = Get<std::int16_t>(now, 18) != Get<std::int16_t>(last, 18);
        const bool sourceChanged = Get<std::uint16_t>(now, 20) != Get<std::uint16_t>(last, 20);
        const std::uint32_t change = step == 0 ? 0 : step == 1 ? 1 : step == 15 ? 2 : 3;
        const bool returnsChanged = returns != last[14] >> 4;
        const int numberBefore = before.last[14] & 15;
        const std::uint32_t context = (numberBefore == 1 ? 1u : 0) |
                                      (numberBefore >= before.last[14] >> 4 ? 2u : 0) |
                                      (before.timeChanged ? 4u : 0);
        Encoder& plane = layers_[0].out;
        plane.Symbol(before.changes[context],
                     change | (returnsChanged ? 4u : 0) | (angleChanged ? 8u : 0) |
                         (timeChanged ? 16u : 0) | (sourceChanged ? 32u : 0) |
                         (channel != current_ ? 64u : 0));
        if (channel != current_) {
            plane.Symbol(before.channelStep,
                         static_cast<std::uint32_t>((channel + 4 - current_) % 4 - 1));
        }
        current_ = channel;
        if (returnsChanged) plane.Symbol(c.returns[last[14] >> 4], static_cast<unsigned>(returns));
        if (change == 3 && timeChanged) {
            plane.Symbol(c.numbers[static_cast<unsigned>(lastNumber)],
                         static_cast<unsigned>(number));
        } else if (change == 3) {
            plane.Symbol(c.numberStep, static_cast<unsigned>(step - 2));
        }
        WriteCoordinates(now, c, timeChanged);
        WriteAttributes(now, c, timeChanged);
        c.timeChanged = timeChanged;
        c.last.assign(now.begin(), now.begin() + 30);
    }

    void WriteCoordinates(Record now, Channel& c, bool timeChanged) {
        const int number = now[14] & 15;
        const int returns = now[14] >> 4;
        const bool single = returns == 1;
        const auto step = [&](std::size_t at) {
            return static_cast<std::int32_t>(Get<std::uint32_t>(now, at) -
                                             Get<std::uint32_t>(c.last, at));
        };
        const auto kind =
            static_cast<std::size_t>(2 * Kind14(returns, number) + (timeChanged ? 1 : 0));
        Encoder& plane = layers_[0].out;
        c.x.Encode(plane, c.middleX[kind].Get(), step(0), single ? 1 : 0);
        c.middleX[kind].Add(step(0));
        c.y.Encode(plane, c.middleY[kind].Get(), step(4), Context(c.x.magnitude, 20, single));
        c.middleY[kind].Add(step(4));
        const auto level = static_cast<std::size_t>(std::min(std::abs(returns - number), 7));
        layers_[1].changed |= step(8) != 0;
        c.z.Encode(layers_[1].out, c.heights[level], Get<std::int32_t>(now, 8),
                   Context((c.x.magnitude + c.y.magnitude) / 2, 18, single));
        c.heights[level] = Get<std::int32_t>(now, 8);
    }

    void WriteAttributes(Record now, Channel& c, bool timeChanged) {
        const Record last = c.last;
        const int number = now[14] & 15;
        const std::uint32_t place = (number == 1 ? 1u : 0) | (number >= now[14] >> 4 ? 2u : 0);
        const auto flags = [](Record r) {
            return static_cast<std::uint32_t>((r[15] & 15) | (r[15] >> 6 & 3) << 4);
        };
        Symbol(2, c.classes[(last[16] & 31u) * 2 + (place == 3 ? 1 : 0)], last[16], now[16]);
        Symbol(3, c.flags[flags(last)], flags(last), flags(now));
        const auto intensity = Get<std::uint16_t>(now, 12);
        layers_[4].changed |= intensity != Get<std::uint16_t>(last, 12);
        std::uint16_t& predicted = c.intensities[2 * place + (timeChanged ? 1 : 0)];
        c.intensity.Encode(layers_[4].out, predicted, intensity, place);
        predicted = intensity;
        const auto angle = Get<std::int16_t>(now, 18);
        if (angle != Get<std::int16_t>(last, 18)) {
            layers_[5].changed = true;
            c.angle.Encode(layers_[5].out, Get<std::int16_t>(last, 18), angle, timeChanged ? 1 : 0);
        }
        Symbol(6, c.users[last[17] / 4u], last[17], now[17]);
        const auto source = Get<std::uint16_t>(now, 20);
        if (source != Get<std::uint16_t>(last, 20)) {
            layers_[7].changed = true;
            c.source.Encode(layers_[7].out, Get<std::uint16_t>(last, 20), source, 0);
        }
        if (timeChanged) {
            layers_[8].changed = true;
            c.times.Encode(layers_[8].out, Get<std::int64_t>(now, 22));
        }
    }

    void Symbol(std::size_t layer, Model& model, std::uint32_t last, std::uint32_t now) {
        layers_[layer].changed |= now != last;
        layers_[layer].out.Symbol(model, now);
    }

    // Up to version 3, a point of a channel met before refers to, and replaces, the last value of
    // the channel that the point before it had.
    void WriteBeside(Record now, std::size_t before, std::size_t channel) {
        const bool isNew = channels_[channel]->beside.size() != now.size();
        if (isNew) channels_[channel]->beside = channels_[before]->beside;
        Bytes& last = channels_[isNew || version_ >= 4 ? channel : before]->beside;
        Channel& c = *channels_[channel];
        std::size_t layer = 9;
        std::size_t at = 0;
        if (format_ >= 7) {
            layers_[layer].changed |= std::memcmp(now.data(), last.data(), 6) != 0;
            c.colour.Encode(layers_[layer++].out, now, last);
            at = 6;
        }
        if (format_ == 8) {
            const std::uint32_t changed =
                (now[6] != last[6] ? 1u : 0) | (now[7] != last[7] ? 2u : 0);
            Symbol(layer, c.infraredChanges, 0, changed);
            for (std::uint32_t i = 0; i < 2; ++i) {
                if ((changed >> i & 1) == 0) continue;
                layers_[layer].out.Symbol(c.infrared[i],
                                          static_cast<std::uint8_t>(now[6 + i] - last[6 + i]));
            }
            ++layer;
            at = 8;
        }
        for (; at < now.size(); ++at, ++layer) {
            Symbol(layer, c.extras[static_cast<std::uint32_t>(at)], 0,
                   static_cast<std::uint8_t>(now[at] - last[at]));
        }
        last.assign(now.begin(), now.end());
    }

    int format_;
    std::uint16_t version_;
    std::mt19937_64& random_;
    std::vector<LayerWriter> layers_;
    std::array<std::unique_ptr<Channel>, 4> channels_;
    std::size_t current_;
};

Bytes ParametersRecord(const LasLayout& layout, std::uint16_t version, std::uint32_t chunkPoints) {
    const int format = layout.pointFormat;
    std::vector<std::array<std::uint16_t, 2>> items;
    if (format < 6) {
        items.push_back({6, 20});
        if (format == 1 || format == 3) items.push_back({7, 8});
        if (HasColour(format)) items.push_back({8, 6});
        if (layout.extraBytes != 0) items.push_back({0, layout.extraBytes});
    } else {
        items.push_back({10, 30});
        if (format == 7) items.push_back({11, 6});
        if (format == 8) items.push_back({12, 8});
        if (layout.extraBytes != 0) items.push_back({14, layout.extraBytes});
    }
    Bytes bytes(54);
    std::memcpy(bytes.data() + 2, "laszip encoded", 14);
    const std::uint16_t id = 22204;
    std::memcpy(bytes.data() + 18, &id, 2);
    const auto length = static_cast<std::uint16_t>(34 + 6 * items.size());
    std::memcpy(bytes.data() + 20, &length, 2);
    Append<std::uint16_t>(bytes, format < 6 ? 2 : 3);
    Append<std::uint16_t>(bytes, 0);
    Append<std::uint32_t>(bytes, 0x00000403);
    Append<std::uint32_t>(bytes, 0);
    Append(bytes, chunkPoints);
    Append<std::int64_t>(bytes, -1);
    Append<std::int64_t>(bytes, -1);
    Append(bytes, static_cast<std::uint16_t>(items.size()));
    for (const auto& [type, size] : items) {
        Append(bytes, type);
        Append(bytes, size);
        Append(bytes, version);
    }
    return bytes;
}

struct ChunkEntry {
    std::uint32_t points;
    std::uint32_t bytes;
};

Bytes ChunkTable(const std::vector<ChunkEntry>& chunks, bool variable) {
    Bytes bytes;
    Append<std::uint32_t>(bytes, 0);
    Append(bytes, static_cast<std::uint32_t>(chunks.size()));
    Encoder out;
    IntegerEncoder numbers(32, 2);
    ChunkEntry last{0, 0};
    for (const ChunkEntry& chunk : chunks) {
        if (variable) {
            numbers.Encode(out, static_cast<std::int32_t>(last.points),
                           static_cast<std::int32_t>(chunk.points), 0);
        }
        numbers.Encode(out, static_cast<std::int32_t>(last.bytes),
                       static_cast<std::int32_t>(chunk.bytes), 1);
        last = chunk;
    }
    const Bytes coded = out.Finish();
    bytes.insert(bytes.end(), coded.begin(), coded.end());
    return bytes;
}

}  // namespace

std::vector<std::uint8_t> MakeLaz(const LasLayout& layout, const std::vector<std::uint8_t>& records,
                                  const LazOptions& options) {
    const int format = layout.pointFormat;
    const std::size_t stride = std::size_t{LasRecordBytes(layout.pointFormat)} + layout.extraBytes;
    const std::size_t points = records.size() / stride;
    const std::uint16_t version = options.version != 0 ? options.version : format < 6 ? 2 : 3;
    const bool variable = options.chunkPoints.size() > 1;
    const Bytes parameters =
        ParametersRecord(layout, version, variable ? 0xFFFFFFFFu : options.chunkPoints.front());
    LasLayout outer = layout;
    const std::uint32_t headerBytes = LasHeaderBytes(layout.minorVersion);
    outer.firstPointByte = headerBytes + static_cast<std::uint32_t>(parameters.size());
    Bytes file = LasHeaderOf(outer, points);
    const std::uint32_t one = 1;
    std::memcpy(file.data() + 100, &one, 4);
    file[104] = static_cast<std::uint8_t>(file[104] | 0x80);
    std::copy(parameters.begin(), parameters.end(), file.begin() + headerBytes);

    const std::size_t tablePlace = file.size();
    Append<std::int64_t>(file, -1);
    std::mt19937_64 random(options.seed);
    std::vector<ChunkEntry> chunks;
    for (std::size_t first = 0; first < points;) {
        const std::size_t wanted = options.chunkPoints[chunks.size() % options.chunkPoints.size()];
        std::vector<Record> chunk;
        for (; chunk.size() < wanted && first < points; ++first) {
            chunk.push_back(Record(records).subspan(first * stride, stride));
        }
        Bytes bytes;
        if (format < 6) {
            bytes = PointwiseChunk(format, chunk, random);
        } else {
            LayeredChunkWriter writer(format, version, chunk[0], random);
            for (std::size_t i = 1; i < chunk.size(); ++i) writer.Add(chunk[i]);
            bytes = writer.Finish(chunk[0], static_cast<std::uint32_t>(chunk.size()));
        }
        chunks.push_back(
            {static_cast<std::uint32_t>(chunk.size()), static_cast<std::uint32_t>(bytes.size())});
        file.insert(file.end(), bytes.begin(), bytes.end());
    }
    const auto tableAt = static_cast<std::int64_t>(file.size());
    const Bytes table = ChunkTable(chunks, variable);
    file.insert(file.end(), table.begin(), table.end());
    if (options.tableAtEnd) {
        Append(file, tableAt);
    } else {
        std::memcpy(file.data() + tablePlace, &tableAt, sizeof(tableAt));
    }
    return file;
}

}  // namespace orvix::test
