// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/formats/las/las_header.h"
#include "importer/formats/laz/chunk_decoder.h"

namespace orvix::importer::laz {

/// Points that were compressed together and can be decoded without any others.
struct Chunk {
    std::uint64_t offset = 0;  ///< of its first byte in the file
    std::uint64_t bytes = 0;
    std::uint64_t points = 0;
    std::uint64_t firstPoint = 0;  ///< points in the chunks before
};

/// Where a compressed file holds its points, and how.
struct LazLayout {
    RecordShape shape;
    bool layered = false;
    std::vector<Chunk> chunks;  ///< in file order; no empty ones
};

/// A chunk of more points, or of more bytes (kMaxPieceBytes), is not read: it is one piece of an
/// import and one share of its memory. The usual chunk has 50,000 points.
inline constexpr std::uint64_t kMaxChunkPoints = 1u << 20;

/// Reads the record of compression parameters and the table of chunks of a file whose header says
/// that it is compressed, and checks both against the header and the file.
///
/// Boundaries every chunk lies between the first point and the table; all hold together exactly
///            the points that the header declares; chunks of no points are left out.
/// Errors     BadInput with the numbers and the way out: a compressor, coder or item version that
///            is not read, items that do not make up the point format, a table that is missing,
///            cut short or contradicts the header, a chunk larger than the limits.
Expected<LazLayout> ReadLazLayout(const ScanFile& file, const LasHeader& header);

}  // namespace orvix::importer::laz
