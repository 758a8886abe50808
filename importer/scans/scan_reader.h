// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer/scans/scan_pose.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// One point as a scan file holds it.
///
/// Units  coordinates in the scan's own frame, in the file's unit and axes; attributes at the
///        file's own scale. Pose, unit, axes, origin and ranges are applied later.
struct ScanPoint {
    double x = 0;
    double y = 0;
    double z = 0;
    float intensity = 0;  ///< always finite
    std::uint16_t red = 0;
    std::uint16_t green = 0;
    std::uint16_t blue = 0;
    std::uint8_t classification = 0;
};

/// One scan of a file; it becomes a station of the project.
struct ScanPart {
    std::string name;              ///< UTF-8; empty where the file holds none
    std::optional<ScanPose> pose;  ///< of the scanner, in the file's frame; unset: not in it
    std::optional<AffineMap> map;  ///< from points to the file's frame; unset: they are in it
};

/// What is known of a file before its points are read.
struct ScanInfo {
    std::string format;                           ///< for people: "LAS 1.4, point format 8"
    std::optional<std::uint64_t> declaredPoints;  ///< the header's count, if it has one
    bool hasIntensity = false;
    bool hasColour = false;
    bool hasClassification = false;
    /// Set where the format fixes the colour scale: 8 (0..255) or 16 (0..65535). Unset where
    /// writers use either (LAS): the largest value of the scan decides.
    std::optional<int> colourBits;
    /// Where a project that the file was exported from has its origin; world coordinates.
    std::optional<std::array<double, 3>> exportedOrigin = {};
    /// In file order. A format whose scans follow each other without a table appends them as `Next`
    /// meets them; after a pass they are complete.
    std::vector<ScanPart> scans = std::vector<ScanPart>(1);
};

/// A piece of a file: whole records or lines, not decoded yet.
struct RawPiece {
    std::uint64_t fileOffset = 0;   ///< where the piece's first byte stands in the file
    std::uint64_t firstRecord = 0;  ///< number of its first record or line, for messages
    std::uint64_t records = 0;      ///< whole records in it; 0 where only decoding shows it
    std::size_t scan = 0;           ///< which of the file's scans it belongs to
    /// How much of `FileBytes` it stands for; unset: as much as `bytes` holds.
    std::optional<std::uint64_t> fileBytes;
    std::vector<std::uint8_t> bytes;
};

/// Counts records that hold no point, by reason; the import reports them as rejected.
struct PointlessRecords {
    std::uint64_t malformed = 0;      ///< not understood: a line whose coordinate is no number
    std::uint64_t noReturn = 0;       ///< a direction without a return
    std::uint64_t invalid = 0;        ///< marked as invalid by the file
    std::uint64_t directionOnly = 0;  ///< marked as a direction without a distance

    [[nodiscard]] std::uint64_t Total() const {
        return malformed + noReturn + invalid + directionOnly;
    }
    void Join(const PointlessRecords& other) {
        malformed += other.malformed;
        noReturn += other.noReturn;
        invalid += other.invalid;
        directionOnly += other.directionOnly;
    }
};

/// The points of a piece and how many of its records hold none.
///
/// Boundaries coordinates may be not-a-number or infinite.
struct DecodedPiece : PointlessRecords {
    std::vector<ScanPoint> points;
};

/// Where a reader stands between two pieces: numbers of the reader's own, which mean the same in every
/// process while the file stays the same.
using ReadPlace = std::array<std::uint64_t, 5>;

/// Reads one scan file in two steps, so that any format can be decoded on every core.
///
/// `Next` cuts the file into pieces of about `kPieceBytes`, one after the other; `Decode` makes
/// points of a piece. Each format has a room under formats/; `OpenScan` chooses one by content.
///
///     auto reader = OpenScan(path);
///     RawPiece piece;
///     while (*(*reader)->Next(piece)) (*reader)->Decode(piece, decoded);
///
/// Order      pieces come in file order, points in record order.
/// Boundaries a piece may be empty (a stretch of the file without points was skipped, and the
///            caller gets the chance to stop); a piece belongs to one scan, and scans come in
///            order. The caller hands in pieces whose `scan` is zero and `fileBytes` unset, and
///            decoded pieces without counts; `Decode` replaces the points that `decoded` held.
/// Errors     BadInput with file, byte or line, numbers, and what to do; a file that ends before
///            its declared points do is such an error, not a short read.
/// Threads    `Next`, `Rewind`, `Place` and `GoTo` on one thread; `Decode` on any number at once, on different
///            pieces.
/// Cost       `Next` reads, `Decode` computes; both reuse the caller's buffers.
class ScanReader {
public:
    virtual ~ScanReader() = default;
    [[nodiscard]] virtual const ScanInfo& Info() const = 0;
    /// What a pass reads, for progress: as a rule the file's size.
    [[nodiscard]] virtual std::uint64_t FileBytes() const = 0;
    /// Whether `Decode` takes so long that its points are better kept than decoded again.
    [[nodiscard]] virtual bool IsDearToDecode() const { return false; }
    /// Says that a scan's pieces are not wanted; readers that can skip them do.
    virtual void Omit(std::size_t /*scan*/) {}
    /// False at the end of the file.
    virtual Expected<bool> Next(RawPiece& piece) = 0;
    virtual Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const = 0;
    /// Starts again at the first piece.
    virtual Expected<void> Rewind() = 0;
    /// Where the next piece begins.
    [[nodiscard]] virtual ReadPlace Place() const = 0;
    /// Goes to a place that `Place` returned, in this process or another, or to one before it from
    /// which `Next` leads there: a stream can be entered at its start alone. Scans before the place
    /// that the reader has not met stand in `Info` without a name or pose.
    virtual Expected<void> GoTo(const ReadPlace& place) = 0;
};

inline constexpr std::uint64_t kPieceBytes = 2u << 20;
/// No piece is larger. Only a format whose pieces are cut by the file (a LAZ chunk) exceeds
/// kPieceBytes.
inline constexpr std::uint64_t kMaxPieceBytes = 16u << 20;

}  // namespace orvix::importer
