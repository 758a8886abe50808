// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "importer/attribute_scale.h"
#include "importer/coordinate_frame.h"
#include "importer/crew.h"
#include "importer/grid_key.h"
#include "importer/import.h"
#include "importer/scan_reader.h"

namespace orvix::importer {

/// An input of an import: its path for messages and its open reader. Input i is station i.
struct ScanInput {
    CString path;
    std::unique_ptr<ScanReader> reader;
};

/// Reasons for which a point is left out, as they are reported.
inline constexpr const char* kNotANumber = "not a number";
inline constexpr const char* kOutOfRange = "out of range";
inline constexpr const char* kZero = "zero";
inline constexpr const char* kMalformed = "malformed";
inline constexpr const char* kDuplicate = "duplicate";

using Rejections = std::map<std::string, std::uint64_t>;

/// What keeps a point from being placed at all.
enum class PointFault { None, NotANumber, Zero };

inline PointFault FaultOf(const ScanPoint& point, bool dropZeros) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
        return PointFault::NotANumber;
    }
    const bool dropped = dropZeros && point.x == 0 && point.y == 0 && point.z == 0;
    return dropped ? PointFault::Zero : PointFault::None;
}

/// What the first pass over the inputs learned.
struct Survey {
    struct Input {
        std::uint64_t points = 0;  ///< decoded, rejected ones included
        std::uint64_t malformed = 0;
        AttributeRange range;
    };
    std::vector<Input> inputs;
    std::uint64_t usable = 0;  ///< points that no reason rejects, their place aside
    SimplePointT<double> origin;
    GridFrame frame;         ///< around the local coordinates of the points in range
    float largestLocal = 0;  ///< greatest magnitude of a coordinate in it

    [[nodiscard]] std::uint64_t Read() const;
};

/// Reads every input once: counts, ranges, bounds, and where the origin lies.
///
/// Order    what pieces tell is joined in their order, so the result is the same at any number
///          of threads.
/// Errors   those of the readers; Cancelled.
Expected<Survey> SurveyScans(const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             Crew& crew);

/// Hands out the pieces of all inputs, one after the other.
class PieceQueue {
public:
    explicit PieceQueue(const std::vector<ScanInput>& inputs) : inputs_(inputs) {}

    /// Rewinds every reader.
    Expected<void> Rewind();
    /// The next piece and the number of its input; false after the last.
    Expected<bool> Take(RawPiece& piece, std::size_t& input);

private:
    const std::vector<ScanInput>& inputs_;
    std::size_t current_ = 0;
};

}  // namespace orvix::importer
