// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
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
    ReadPlace place{};  ///< where its reader stood before it
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

/// A stretch of an import's input: whole pieces of one input, or of several that follow each other.
struct InputStretch {
    std::size_t firstInput = 0;
    std::optional<ReadPlace> from;  ///< in the first input; unset: its start
    std::size_t lastInput = 0;
    std::optional<ReadPlace> to;  ///< in the last input, before which it ends; unset: its end
};

/// Hands out the pieces of all inputs one after the other and enters their scans into the table of
/// stations. There is at least one input.
class PieceQueue {
public:
    PieceQueue(const std::vector<ScanInput>& inputs, StationTable& stations)
        : inputs_(inputs), stations_(stations), stretch_{0, {}, inputs.size() - 1, {}} {}

    /// Rewinds every reader.
    Expected<void> Rewind();
    /// Hands out one stretch alone. Where a reader has to read its way there, `stopping` is
    /// asked between pieces and ends it.
    Expected<void> GoTo(const InputStretch& stretch, const std::function<bool()>& stopping);
    /// The next piece of a station, with what is needed to decode and place it; false after the
    /// last.
    Expected<bool> Take(StationPiece& next);

private:
    Expected<bool> TakeFrom(std::size_t input, StationPiece& next);
    [[nodiscard]] bool IsAtEnd(std::size_t input) const;

    const std::vector<ScanInput>& inputs_;
    StationTable& stations_;
    InputStretch stretch_;
    std::size_t current_ = 0;
};

/// The error of an input that is not what an earlier pass over it found.
tl::unexpected<Error> FailChanged(const CString& path);

}  // namespace orvix::importer
