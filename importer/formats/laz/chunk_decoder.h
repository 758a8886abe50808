// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace orvix::importer::laz {

/// What a compressed record consists of.
struct RecordShape {
    bool hasGpsTime = false;  ///< point formats 0 to 5; from 6 on every record has one
    bool hasColour = false;
    bool hasInfrared = false;
    std::uint16_t extraBytes = 0;
    /// From version 4 on, a change of scanner channel changes the reference of colours and extra
    /// bytes at once; before, only a channel's first point did.
    bool switchesReference = false;
};

/// Which layers of a chunk are decoded; the others keep the values of the chunk's first point.
enum class Layers { All, OfImport };  ///< OfImport: coordinates, intensity, class, colour

/// Decodes the points of one chunk, one after the other, as uncompressed LAS records.
///
///     auto decoder = OpenPointwiseChunk(shape, bytes);
///     decoder->Decode(records);  // as many as fit
///
/// Order      as compressed; call `Decode` until all points of the chunk are out.
/// Boundaries never reads outside `bytes`, which must stay; any bytes give some records.
/// Errors     null for a chunk too short for its first point and its table of layers, or with
///            layers that do not fit into it; `RanPastEnd` once the bytes were not enough.
/// Threads    one thread per decoder.
/// Cost       about 150 ns per point; opening one takes about 0.1 ms for its models.
class ChunkDecoder {
public:
    virtual ~ChunkDecoder() = default;
    /// Fills `records`, whole records of the shape's size, with the next points.
    virtual void Decode(std::span<std::uint8_t> records) = 0;
    [[nodiscard]] virtual bool RanPastEnd() const = 0;
};

/// Point formats 0 to 3: all attributes of a point follow each other in one stream.
std::unique_ptr<ChunkDecoder> OpenPointwiseChunk(const RecordShape& shape,
                                                 std::span<const std::uint8_t> bytes);

/// Point formats 6 to 8: each attribute has a stream of its own, and each of the four scanner
/// channels its own predictions. `points` is what the chunk must say of itself.
std::unique_ptr<ChunkDecoder> OpenLayeredChunk(const RecordShape& shape,
                                               std::span<const std::uint8_t> bytes,
                                               std::uint64_t points, Layers layers);

}  // namespace orvix::importer::laz
