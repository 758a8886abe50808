// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/duplicates.h"

#include <algorithm>
#include <bit>
#include <optional>

#include "orvix/points/record_hash.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kReadPoints = 1 << 15;
// Below this many points comparing each with each is the fastest way.
constexpr std::size_t kFewPoints = 12;

bool SamePosition(const AlivePoint& a, const AlivePoint& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

std::uint64_t Mix(std::uint64_t value) {
    value = (value ^ (value >> 31)) * 0x9E3779B97F4A7C15u;
    return value ^ (value >> 29);
}

std::uint64_t HashPosition(const AlivePoint& point) {
    // Adding zero makes both zeros one.
    // BEHAVIOUR I13
    const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value + 0.0f); };
    return Mix(Mix(bits(point.x) | std::uint64_t{bits(point.y)} << 32) + bits(point.z));
}

/// A set of up to `capacity` positions, by open addressing.
class PositionSet {
public:
    explicit PositionSet(std::size_t capacity)
        : capacity_(capacity), slots_(std::bit_ceil(capacity * 2)), mask_(slots_.size() - 1) {}

    enum class Outcome { Added, Known, Full };

    Outcome Add(const AlivePoint& point) {
        for (std::size_t i = HashPosition(point) & mask_;; i = (i + 1) & mask_) {
            Slot& slot = slots_[i];
            if (!slot.used) {
                if (size_ == capacity_) return Outcome::Full;
                slot = {point.x, point.y, point.z, true};
                ++size_;
                return Outcome::Added;
            }
            if (slot.x == point.x && slot.y == point.y && slot.z == point.z) return Outcome::Known;
        }
    }

private:
    struct Slot {
        float x = 0;
        float y = 0;
        float z = 0;
        bool used = false;
    };

    std::size_t capacity_;
    std::size_t size_ = 0;
    std::vector<Slot> slots_;
    std::size_t mask_;
};

// Moves the points to keep to `out` and returns how many they are.
template <class IsKnown>
std::size_t KeepNew(std::span<AlivePoint> cell, AlivePoint* out, Removed& removed,
                    const IsKnown& isKnown) {
    std::size_t kept = 0;
    for (const AlivePoint point : cell) {
        if (isKnown(point, out, kept)) {
            ++removed.points;
            removed.hash += detail::RecordHash(point);
        } else {
            out[kept++] = point;
        }
    }
    return kept;
}

std::size_t KeepFirst(std::span<AlivePoint> cell, AlivePoint* out, Removed& removed) {
    if (cell.size() <= kFewPoints) {
        return KeepNew(cell, out, removed,
                       [](const AlivePoint& point, const AlivePoint* kept, std::size_t count) {
                           return std::any_of(kept, kept + count, [&](const AlivePoint& other) {
                               return SamePosition(point, other);
                           });
                       });
    }
    PositionSet known(cell.size());
    return KeepNew(cell, out, removed,
                   [&](const AlivePoint& point, const AlivePoint*, std::size_t) {
                       return known.Add(point) == PositionSet::Outcome::Known;
                   });
}

}  // namespace

Removed RemoveDuplicates(std::span<AlivePoint> sorted, std::vector<CellCount>& cells) {
    Removed removed;
    std::size_t read = 0;
    AlivePoint* out = sorted.data();
    for (CellCount& cell : cells) {
        const std::size_t kept = KeepFirst(sorted.subspan(read, cell.count), out, removed);
        read += cell.count;
        out += kept;
        cell.count = static_cast<std::uint32_t>(kept);
    }
    return removed;
}

// A point is decided once it is known to be new or a duplicate. A point that finds the set full
// waits for the next round, and so do all its equals after it: within a round no position leaves
// the set, so the first of equal points is always decided first.
Expected<std::vector<bool>> FindDuplicates(const CellReader& reader, std::uint64_t total,
                                           std::size_t capacity,
                                           const std::function<bool()>& stopping) {
    std::vector<bool> duplicate(total, false);
    std::vector<bool> decided(total, false);
    for (bool again = true; again;) {
        again = false;
        PositionSet known(capacity);
        for (std::uint64_t first = 0; first < total; first += kReadPoints) {
            if (stopping()) return duplicate;
            const auto count =
                static_cast<std::size_t>(std::min<std::uint64_t>(kReadPoints, total - first));
            const auto points = reader(first, count);
            if (!points) return ErrorOf(points);
            for (std::size_t i = 0; i < count; ++i) {
                if (decided[first + i]) continue;
                const PositionSet::Outcome outcome = known.Add((*points)[i]);
                duplicate[first + i] = outcome == PositionSet::Outcome::Known;
                decided[first + i] = outcome != PositionSet::Outcome::Full;
                again = again || outcome == PositionSet::Outcome::Full;
            }
        }
    }
    return duplicate;
}

}  // namespace orvix::importer
