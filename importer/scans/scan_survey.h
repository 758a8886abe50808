// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/scans/attribute_scale.h"
#include "importer/scans/coordinate_frame.h"
#include "importer/scans/scan_reader.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// Reasons for which a point is left out, as they are reported.
inline constexpr const char* kNotANumber = "not a number";
inline constexpr const char* kOutOfRange = "out of range";
inline constexpr const char* kZero = "zero";
inline constexpr const char* kMalformed = "malformed";
inline constexpr const char* kNoReturn = "no return";
inline constexpr const char* kInvalid = "invalid";
inline constexpr const char* kDirectionOnly = "direction only";
inline constexpr const char* kDuplicate = "duplicate";

using Rejections = std::map<std::string, std::uint64_t>;

/// Why a point cannot be placed at all.
enum class PointFault { None, NotANumber, Zero };

inline PointFault FaultOf(const ScanPoint& point, bool dropZeros) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
        return PointFault::NotANumber;
    }
    const bool dropped = dropZeros && point.x == 0 && point.y == 0 && point.z == 0;
    return dropped ? PointFault::Zero : PointFault::None;
}

/// What the first pass over the inputs found.
struct Survey {
    struct Scan {
        std::uint64_t points = 0;  ///< decoded, with rejected ones
        PointlessRecords pointless;
        AttributeRange range;

        [[nodiscard]] std::uint64_t Read() const { return points + pointless.Total(); }
    };
    std::vector<Scan> scans;   ///< by station
    std::uint64_t usable = 0;  ///< points that only their place may reject
    SimplePointT<double> origin;
    GridFrame frame;     ///< around the local coordinates of the points in range
    float maxLocal = 0;  ///< largest magnitude of a coordinate in it

    [[nodiscard]] std::uint64_t Read() const;
};

/// Reads every input once and finds stations, counts, ranges, bounds and the origin.
///
/// Order    the findings of pieces are joined in the order of the pieces, so the result is the same
///          at any number of threads.
/// Errors   those of the readers; Cancelled.
Expected<Survey> SurveyScans(const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             StationTable& stations, ImportPool& pool);

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
