// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "importer/scans/coordinate_frame.h"
#include "importer/scans/scan_reader.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// A piece, its points, and the station that it belongs to.
struct StationPiece {
    RawPiece piece;
    DecodedPiece decoded;
    std::size_t input = 0;
    std::size_t station = 0;
    const ScanReader* reader = nullptr;
    PointPlacement placement;

    Expected<void> Decode() {
        static_cast<PointlessRecords&>(decoded) = {};
        return reader->Decode(piece, decoded);
    }
    /// For progress: the bytes of the file that it stands for.
    [[nodiscard]] std::uint64_t Bytes() const {
        return piece.fileBytes.value_or(piece.bytes.size());
    }
};

/// Hands out the pieces of all inputs one after the other and enters their scans into the table of
/// stations.
class PieceQueue {
public:
    PieceQueue(const std::vector<ScanInput>& inputs, StationTable& stations)
        : inputs_(inputs), stations_(stations) {}

    /// Rewinds every reader.
    Expected<void> Rewind();
    /// The next piece of a station, with what is needed to decode and place it; false after the
    /// last.
    Expected<bool> Take(StationPiece& next);

private:
    Expected<bool> TakeFrom(std::size_t input, StationPiece& next);

    const std::vector<ScanInput>& inputs_;
    StationTable& stations_;
    std::size_t current_ = 0;
};

}  // namespace orvix::importer
