// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/laz/laz_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "importer/formats/byte_order.h"
#include "importer/formats/laz/integer_decoder.h"
#include "importer/scans/scan_reader.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer::laz {
namespace {

constexpr std::uint64_t kRecordHeaderBytes = 54;
constexpr std::uint16_t kParametersRecord = 22204;
constexpr std::size_t kParametersBytes = 34;
constexpr std::size_t kItemBytes = 6;
constexpr std::uint32_t kVariableChunks = 0xFFFFFFFF;
constexpr std::uint64_t kTableAtEnd = ~std::uint64_t{0};
constexpr std::size_t kTableHeaderBytes = 8;

enum Compressor : std::uint16_t { kPointwise = 1, kPointwiseChunked = 2, kLayeredChunked = 3 };

enum ItemType : std::uint16_t {
    kExtraItem = 0,
    kPointItem = 6,
    kGpsTimeItem = 7,
    kColourItem = 8,
    kLayeredPointItem = 10,
    kLayeredColourItem = 11,
    kLayeredInfraredItem = 12,
    kLayeredExtraItem = 14
};

constexpr std::string_view kWayOut =
    "Convert the file, for example with \"laszip -i in.laz -o out.las\" or \"pdal translate in.laz "
    "out.las\", and import the result.";

struct Item {
    std::uint16_t type = 0;
    std::uint16_t bytes = 0;
    std::uint16_t version = 0;
};

struct Parameters {
    std::uint16_t compressor = 0;
    std::uint16_t coder = 0;
    std::uint32_t chunkPoints = 0;
    std::vector<Item> items;
};

tl::unexpected<Error> BadTable(const ScanFile& file, std::string_view what) {
    return file.Bad(fmt::format(
        "{} The file is cut short or damaged; copy, download or export it again.", what));
}

Expected<std::vector<std::uint8_t>> FindParameters(const ScanFile& file, const LasHeader& header) {
    std::uint64_t offset = header.headerBytes;
    for (std::uint32_t i = 0; i < header.variableRecords; ++i) {
        std::array<std::uint8_t, kRecordHeaderBytes> record{};
        if (header.firstPointByte - offset < record.size()) break;
        if (auto read = file.Read(offset, record.data(), record.size()); !read) {
            return ErrorOf(read);
        }
        offset += record.size();
        const std::uint16_t bytes = Load<std::uint16_t>(record.data() + 20);
        if (header.firstPointByte - offset < bytes) break;
        if (std::memcmp(record.data() + 2, "laszip encoded", 15) == 0 &&
            Load<std::uint16_t>(record.data() + 18) == kParametersRecord) {
            std::vector<std::uint8_t> parameters;
            if (auto read = file.ReadBlock(offset, bytes, parameters); !read) {
                return ErrorOf(read);
            }
            return parameters;
        }
        offset += bytes;
    }
    return file.Bad(
        "the points are compressed (LAZ), but the record that says how is missing. The file is "
        "damaged; copy or export it again.");
}

Expected<Parameters> ReadParameters(const ScanFile& file, const LasHeader& header) {
    const auto bytes = FindParameters(file, header);
    if (!bytes) return ErrorOf(bytes);
    const std::uint8_t* record = bytes->data();
    const std::size_t items =
        bytes->size() < kParametersBytes ? 0 : Load<std::uint16_t>(record + 32);
    if (items == 0 || items > (bytes->size() - kParametersBytes) / kItemBytes) {
        return BadTable(file, fmt::format("the record of compression parameters has {} bytes, too "
                                          "few for what it says of itself.",
                                          bytes->size()));
    }
    Parameters parameters{Load<std::uint16_t>(record),
                          Load<std::uint16_t>(record + 2),
                          Load<std::uint32_t>(record + 12),
                          {}};
    for (std::size_t i = 0; i < items; ++i) {
        const std::uint8_t* item = record + kParametersBytes + i * kItemBytes;
        parameters.items.push_back({Load<std::uint16_t>(item), Load<std::uint16_t>(item + 2),
                                    Load<std::uint16_t>(item + 4)});
    }
    return parameters;
}

/// The items that a record of the header's point format and size consists of, in order.
std::vector<Item> ItemsOf(const LasHeader& header, const RecordShape& shape) {
    const bool layered = header.pointFormat >= 6;
    std::vector<Item> items;
    const auto add = [&](std::uint16_t type, std::uint16_t bytes) {
        items.push_back({type, bytes, 0});
    };
    if (layered) {
        add(kLayeredPointItem, 30);
        if (shape.hasInfrared) {
            add(kLayeredInfraredItem, 8);
        } else if (shape.hasColour) {
            add(kLayeredColourItem, 6);
        }
    } else {
        add(kPointItem, 20);
        if (shape.hasGpsTime) add(kGpsTimeItem, 8);
        if (shape.hasColour) add(kColourItem, 6);
    }
    if (shape.extraBytes != 0) add(layered ? kLayeredExtraItem : kExtraItem, shape.extraBytes);
    return items;
}

Expected<void> CheckItems(const ScanFile& file, const LasHeader& header, const RecordShape& shape,
                          const std::vector<Item>& items) {
    const std::vector<Item> expected = ItemsOf(header, shape);
    const bool same = std::equal(
        items.begin(), items.end(), expected.begin(), expected.end(),
        [](const Item& a, const Item& b) { return a.type == b.type && a.bytes == b.bytes; });
    if (!same) {
        return BadTable(file, fmt::format("the compressed items do not make up point format {} "
                                          "with records of {} bytes.",
                                          header.pointFormat, header.recordBytes));
    }
    const std::uint16_t minVersion = header.pointFormat >= 6 ? 3 : 2;
    const std::uint16_t maxVersion = header.pointFormat >= 6 ? 4 : 2;
    for (const Item& item : items) {
        if (item.version >= minVersion && item.version <= maxVersion &&
            item.version == items.front().version) {
            continue;
        }
        return file.Bad(fmt::format(
            "the points are compressed (LAZ) with version {} of item {}, which is not read. {}",
            item.version, item.type, kWayOut));
    }
    return {};
}

Expected<RecordShape> ShapeOf(const ScanFile& file, const LasHeader& header,
                              const Parameters& parameters) {
    const std::uint8_t format = header.pointFormat;
    if (format == 4 || format == 5 || format > 8) {
        return file.Bad(fmt::format(
            "the points are compressed (LAZ) and have format {}, with waveforms, which is not "
            "read. {}",
            format, kWayOut));
    }
    const bool layered = format >= 6;
    if (parameters.compressor != (layered ? kLayeredChunked : kPointwiseChunked) ||
        parameters.coder != 0) {
        return file.Bad(fmt::format(
            "the points are compressed (LAZ) by compressor {} with coder {}, which is not read "
            "for point format {}. {}",
            parameters.compressor, parameters.coder, format, kWayOut));
    }
    RecordShape shape;
    shape.hasGpsTime = layered || format == 1 || format == 3;
    shape.hasColour = header.layout.colourByte != 0;
    shape.hasInfrared = format == 8;
    shape.extraBytes = static_cast<std::uint16_t>(header.recordBytes - header.layout.recordBytes);
    shape.switchesReference = layered && parameters.items.front().version >= 4;
    if (auto checked = CheckItems(file, header, shape, parameters.items); !checked) {
        return ErrorOf(checked);
    }
    return shape;
}

/// Where the table of chunks stands: said before the first chunk or, by a writer that could not go
/// back, in the file's last bytes.
Expected<std::uint64_t> FindTable(const ScanFile& file, std::uint64_t firstChunk) {
    std::array<std::uint8_t, sizeof(std::uint64_t)> bytes{};
    if (firstChunk > file.Size()) {
        return BadTable(file, fmt::format("the file ends at byte {}, before its first chunk of "
                                          "points.",
                                          platform::CountText(file.Size())));
    }
    const auto load = [&](std::uint64_t at) -> Expected<std::uint64_t> {
        if (auto read = file.Read(at, bytes.data(), bytes.size()); !read) {
            return ErrorOf(read);
        }
        return Load<std::uint64_t>(bytes.data());
    };
    auto offset = load(firstChunk - bytes.size());
    if (offset && *offset == kTableAtEnd) offset = load(file.Size() - bytes.size());
    if (!offset) return offset;
    if (*offset < firstChunk || file.BytesFrom(*offset) < kTableHeaderBytes) {
        return BadTable(file,
                        fmt::format("the table of chunks should stand at byte {}, between "
                                    "byte {} and the file's end at byte {}.",
                                    platform::CountText(*offset), platform::CountText(firstChunk),
                                    platform::CountText(file.Size())));
    }
    return offset;
}

/// The entries of the table as stored: bytes of each chunk and, where chunks vary, its points.
Expected<std::vector<Chunk>> ReadEntries(const ScanFile& file, const LasHeader& header,
                                         std::uint64_t firstChunk, bool variable) {
    const auto table = FindTable(file, firstChunk);
    if (!table) return ErrorOf(table);
    std::array<std::uint8_t, kTableHeaderBytes> start{};
    if (auto read = file.Read(*table, start.data(), start.size()); !read) {
        return ErrorOf(read);
    }
    const auto version = Load<std::uint32_t>(start.data());
    const std::uint64_t count = Load<std::uint32_t>(start.data() + 4);
    if (version != 0 || count > (*table - firstChunk) / header.recordBytes) {
        return BadTable(
            file, fmt::format("the table of chunks at byte {} has version {} and {} "
                              "chunks, for which there is no room before it.",
                              platform::CountText(*table), version, platform::CountText(count)));
    }
    constexpr std::uint64_t kMaxEntryBytes = 16;
    std::vector<std::uint8_t> bytes;
    const std::uint64_t coded = *table + kTableHeaderBytes;
    const std::uint64_t length = std::min(file.BytesFrom(coded), (count + 1) * kMaxEntryBytes);
    if (auto read = file.ReadBlock(coded, static_cast<std::size_t>(length), bytes); !read) {
        return ErrorOf(read);
    }
    ArithmeticDecoder in(bytes);
    const auto decoder = std::make_unique<IntegerDecoder<32, 2>>();
    std::vector<Chunk> chunks(static_cast<std::size_t>(count));
    Chunk last{firstChunk, 0, 0, 0};
    for (Chunk& chunk : chunks) {
        const auto next = [&](std::uint64_t before, std::uint32_t context) {
            return static_cast<std::uint32_t>(
                decoder->Decode(in, static_cast<std::int32_t>(before), context));
        };
        chunk.offset = last.offset + last.bytes;
        chunk.points = variable ? next(last.points, 0) : 0;
        chunk.bytes = next(last.bytes, 1);
        if (in.RanPastEnd() || chunk.bytes > *table - chunk.offset) {
            return BadTable(file, fmt::format("the table of chunks at byte {} names a chunk that "
                                              "does not end before it.",
                                              platform::CountText(*table)));
        }
        last = chunk;
    }
    return chunks;
}

/// Numbers the points of the chunks and checks that they are those of the header.
Expected<void> CountPoints(const ScanFile& file, const LasHeader& header, std::uint32_t chunkPoints,
                           std::vector<Chunk>& chunks) {
    const bool variable = chunkPoints == kVariableChunks;
    std::uint64_t points = 0;
    for (Chunk& chunk : chunks) {
        if (!variable) chunk.points = std::min<std::uint64_t>(chunkPoints, header.points - points);
        chunk.firstPoint = points;
        points += chunk.points;
        if (chunk.points > kMaxChunkPoints || chunk.bytes > kMaxPieceBytes) {  // BEHAVIOUR X4
            return file.Bad(fmt::format(
                "the chunk at byte {} has {} points in {} bytes; up to {} points in {} bytes are "
                "read. {}",
                platform::CountText(chunk.offset), platform::CountText(chunk.points),
                platform::CountText(chunk.bytes), platform::CountText(kMaxChunkPoints),
                platform::CountText(kMaxPieceBytes), kWayOut));
        }
    }
    if (points != header.points) {
        return BadTable(
            file, fmt::format("the header declares {} points, but the table names {} "
                              "chunks with {} points.",
                              platform::CountText(header.points),
                              platform::CountText(chunks.size()), platform::CountText(points)));
    }
    std::erase_if(chunks, [](const Chunk& chunk) { return chunk.points == 0; });
    return {};
}

}  // namespace

Expected<LazLayout> ReadLazLayout(const ScanFile& file, const LasHeader& header) {
    const auto parameters = ReadParameters(file, header);
    if (!parameters) return ErrorOf(parameters);
    const auto shape = ShapeOf(file, header, *parameters);
    if (!shape) return ErrorOf(shape);
    LazLayout layout{*shape, header.pointFormat >= 6, {}};
    if (header.points == 0) return layout;
    const std::uint64_t firstChunk = header.firstPointByte + sizeof(std::uint64_t);
    auto chunks = ReadEntries(file, header, firstChunk, parameters->chunkPoints == kVariableChunks);
    if (!chunks) return ErrorOf(chunks);
    if (auto counted = CountPoints(file, header, parameters->chunkPoints, *chunks); !counted) {
        return ErrorOf(counted);
    }
    layout.chunks = std::move(*chunks);
    return layout;
}

}  // namespace orvix::importer::laz
