// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "importer/scans/scan_reader.h"

namespace orvix::importer {

/// Points that the first pass decoded, for the second one, as far as memory lasts.
///
/// Decompressing takes longer than all else that an import does with a point, so inputs that are
/// dear to decode are decoded once. What is kept is the inputs' beginning: whole pieces, until
/// memory ends or an input follows that is read again as fast.
///
///     auto room = kept.Take(points.size());      // on any thread; copy the points there
///     kept.Add(piece, room);                     // in the order of the pieces
///     ...  for (i < kept.Pieces().size())  use Pieces()[i].points; kept.Release(i);
///
/// Lifetime  the points of a piece stay until its Release; memory goes as stretches of pieces do.
/// Errors    std::bad_alloc.
/// Threads   `Take` and `Release` on any number; the rest on one at a time.
/// Cost      40 bytes a point.
class KeptPoints {
public:
    struct Piece {
        std::size_t input = 0;
        std::size_t station = 0;
        std::uint64_t fileBytes = 0;  ///< for progress
        std::span<const ScanPoint> points;
    };
    /// Where the second pass goes on reading.
    struct Rest {
        std::size_t input = 0;
        ReadPlace place{};
    };
    using Room = std::optional<std::span<ScanPoint>>;

    /// Keeps at most so many bytes; none with 0.
    explicit KeptPoints(std::uint64_t bytes);

    /// Room for a piece's points, not initialised; none where memory is used up, nor after a piece
    /// without room.
    Room Take(std::size_t points);
    /// The next piece, with the room where its points are. From the first piece without one on,
    /// nothing is kept, and rooms that other threads have taken meanwhile are given back.
    void Add(const Piece& piece, const ReadPlace& place, const Room& room);
    [[nodiscard]] const std::vector<Piece>& Pieces() const { return pieces_; }
    /// Unset: every piece was kept.
    [[nodiscard]] const std::optional<Rest>& End() const { return rest_; }
    /// The points of a piece are not needed any more.
    void Release(const Piece& piece);
    void Clear();

private:
    struct Slab {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t capacity = 0;
        std::size_t used = 0;
        std::size_t released = 0;
    };

    [[nodiscard]] static bool Holds(const Slab& slab, const ScanPoint* point);
    // Both under the lock.
    void GiveBack(std::span<const ScanPoint> points);
    void EndLastSlab();

    std::mutex mutex_;
    bool closed_ = false;     // nothing more is kept
    std::uint64_t left_;      // bytes that new slabs may take
    std::size_t slabPoints_;  // of a slab, unless a piece has more
    std::list<Slab> slabs_;   // points are handed out of the last one
    std::vector<Piece> pieces_;
    std::optional<Rest> rest_;
};

}  // namespace orvix::importer
