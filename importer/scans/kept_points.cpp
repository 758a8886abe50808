// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/kept_points.h"

#include <algorithm>
#include <functional>

namespace orvix::importer {
namespace {

// So large a slab goes back to the system when it is released; of a small amount, an eighth.
constexpr std::uint64_t kMostSlabBytes = 40u << 20;
constexpr std::uint64_t kLeastSlabs = 8;

static_assert(sizeof(ScanPoint) == 40);

}  // namespace

// A slab is kept until its last piece is released, when records of the others have been made: so one
// slab of the amount stays free.
KeptPoints::KeptPoints(std::uint64_t bytes)
    : left_(bytes - bytes / kLeastSlabs),
      slabPoints_(static_cast<std::size_t>(std::min(bytes / kLeastSlabs, kMostSlabBytes) /
                                           sizeof(ScanPoint))) {}

KeptPoints::Room KeptPoints::Take(std::size_t points) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return std::nullopt;
    if (points == 0) return Room(std::in_place);
    if (slabs_.empty() || slabs_.back().capacity - slabs_.back().used < points) {
        const std::size_t capacity = std::max(points, slabPoints_);
        if (left_ / sizeof(ScanPoint) < capacity) return std::nullopt;
        left_ -= capacity * sizeof(ScanPoint);
        EndLastSlab();
        slabs_.push_back({std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(ScanPoint)),
                          capacity, 0, 0});
    }
    Slab& slab = slabs_.back();
    auto* const first = reinterpret_cast<ScanPoint*>(slab.bytes.get()) + slab.used;
    slab.used += points;
    return std::span(first, points);
}

void KeptPoints::Add(const Piece& piece, const ReadPlace& place, const Room& room) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!rest_ && !room) {
        rest_ = Rest{piece.input, place};
        closed_ = true;
        EndLastSlab();
    }
    if (rest_) {
        if (room) GiveBack(*room);
        return;
    }
    pieces_.push_back(piece);
    pieces_.back().points = *room;
}

bool KeptPoints::Holds(const Slab& slab, const ScanPoint* point) {
    const auto* const first = reinterpret_cast<const ScanPoint*>(slab.bytes.get());
    const std::less<> before;  // orders pointers into different slabs as well
    return !before(point, first) && before(point, first + slab.used);
}

void KeptPoints::Release(const Piece& piece) {
    const std::lock_guard<std::mutex> lock(mutex_);
    GiveBack(piece.points);
}

void KeptPoints::GiveBack(std::span<const ScanPoint> points) {
    if (points.empty()) return;
    const auto slab = std::find_if(slabs_.begin(), slabs_.end(),
                                   [&](const Slab& s) { return Holds(s, points.data()); });
    slab->released += points.size();
    if (slab->released == slab->capacity) slabs_.erase(slab);
}

// What the last slab has left will not be used.
void KeptPoints::EndLastSlab() {
    if (slabs_.empty()) return;
    Slab& last = slabs_.back();
    last.released += last.capacity - last.used;
    if (last.released == last.capacity) slabs_.pop_back();
}

void KeptPoints::Clear() {
    pieces_.clear();
    slabs_.clear();
}

}  // namespace orvix::importer
