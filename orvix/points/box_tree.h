// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <span>
#include <vector>

#include "orvix/platform/asker.h"

namespace orvix::detail {

/// A tree of boxes around points, each box drawn tight, for exact searches by squared distance.
///
///     BoxTree<float, 3> tree;
///     if (!tree.Build(entries, proceed)) return;   // the user stopped it
///     tree.VisitWithin(query, bound, [&](std::uint32_t block) { ... tree.Distances(block, query) ... });
///
/// Shape      points lie in blocks of four, coordinate by coordinate, so that four distances are
///            computed side by side; a block that is not full is filled up with places that are no
///            number, and so near nothing.
/// Order      a visit comes to every block that has a point within the bound, and some more, in no
///            order that callers may rely on.
/// Boundaries distances are sums of squares in double, first axis first. A box's distance is computed
///            by the same steps, each of which keeps the order of its operands, so it never exceeds
///            that of a point inside: bounds are exact, rounding included. Positions are finite.
/// Threads    const calls from any number of threads.
/// Cost       building n log n, in the memory of the entries and the tree; searches allocate nothing.
template <class Coordinate, std::size_t Dimension>
class BoxTree {
public:
    static constexpr std::size_t kLanes = 4;
    using Position = std::array<Coordinate, Dimension>;
    using Query = std::array<double, Dimension>;
    using FourDistances = std::array<double, kLanes>;

    struct Entry {
        Position position;
        int source;
    };

    /// `proceed` is asked every few milliseconds; false when it said no. Empty: not asked.
    [[nodiscard]] bool Build(std::vector<Entry> entries, const std::function<bool()>& proceed) {
        Questions questions{proceed};
        Builder builder{entries, questions, {}};
        root_ = builder.Make(0, entries.size(), 0, box_);
        if (questions.stopped) return false;
        pairs_ = std::move(builder.pairs);
        StoreBlocks(entries, questions);
        return !questions.stopped;
    }

    /// Hands every block that may have a point within `bound` to `visit`.
    template <class Visit>
    void VisitWithin(const Query& query, double bound, Visit&& visit) const {
        std::array<Branch, kMaxDepth> waiting;
        std::size_t count = 0;
        for (Branch branch = root_;;) {
            if (branch.points == 0 && branch.first != kNothing) {
                const Pair& pair = pairs_[branch.first];
                const auto [left, right] = pair.Distances(query);
                branch = kNoBranch;
                if (left <= bound) branch = pair.branches[0];
                if (right <= bound) {
                    if (left <= bound) waiting[count++] = branch;
                    branch = pair.branches[1];
                }
                if (branch.first != kNothing) continue;
            }
            for (std::uint32_t i = 0; i < BlocksOf(branch.points); ++i) visit(branch.first + i);
            if (count == 0) return;
            branch = waiting[--count];
        }
    }

    /// Hands blocks to `visit`, near ones first, as long as they may have a point within the bound
    /// that its last call returned.
    template <class Visit>
    void VisitNearest(const Query& query, double bound, Visit&& visit) const {
        struct Waiting {
            Branch branch;
            double distance;
        };
        std::array<Waiting, kMaxDepth> waiting;
        std::size_t count = 0;
        for (Branch branch = root_;;) {
            while (branch.points == 0 && branch.first != kNothing) {
                const Pair& pair = pairs_[branch.first];
                const auto [left, right] = pair.Distances(query);
                // Two ways instead of a choice by number: the processor goes on by a guess.
                if (left <= right) {
                    if (right <= bound) waiting[count++] = {pair.branches[1], right};
                    branch = pair.branches[0];
                } else {
                    if (left <= bound) waiting[count++] = {pair.branches[0], left};
                    branch = pair.branches[1];
                }
            }
            for (std::uint32_t i = 0; i < BlocksOf(branch.points); ++i) {
                bound = visit(branch.first + i);
            }
            while (count != 0 && waiting[count - 1].distance > bound) --count;
            if (count == 0) return;
            branch = waiting[--count].branch;
        }
    }

    /// The squared distances of a block's points; no number where it has none.
    [[nodiscard]] FourDistances Distances(std::uint32_t block, const Query& query) const {
        Halves sum{};
        for (std::size_t axis = 0; axis < Dimension; ++axis) {
            const Halves places = FourAt(blocks_[block].places[axis]);
            const Two first = query[axis] - places.first;
            const Two second = query[axis] - places.second;
            sum.first += first * first;
            sum.second += second * second;
        }
        FourDistances squared;
        std::memcpy(&squared, &sum, sizeof squared);
        return squared;
    }
    [[nodiscard]] const std::array<int, kLanes>& Sources(std::uint32_t block) const {
        return blocks_[block].sources;
    }
    /// Of one point, in the same bits.
    [[nodiscard]] double Distance(std::uint32_t block, std::size_t lane, const Query& query) const {
        double squared = 0.0;
        for (std::size_t axis = 0; axis < Dimension; ++axis) {
            const double distance = query[axis] - blocks_[block].places[axis][lane];
            squared += distance * distance;
        }
        return squared;
    }
    /// The squared distance of the farthest corner of the box around all points.
    [[nodiscard]] double Farthest(const Query& query) const {
        double squared = 0.0;
        for (std::size_t axis = 0; axis < Dimension; ++axis) {
            const double distance =
                std::max(query[axis] - box_.low[axis], box_.high[axis] - query[axis]);
            squared += distance * distance;
        }
        return squared;
    }

private:
    /// Points at which a branch is divided no further: of 8 to 32 the best for a search of few points
    /// and of many (bench_find_neighbours).
    static constexpr std::size_t kLeafPoints = 24;
    /// Boxes are halved in space, which is fast and makes them compact; where points lie so unevenly
    /// that this goes on and on, they are halved by number from here on.
    static constexpr std::size_t kMaxHalvings = 64;
    static constexpr std::size_t kMaxDepth = kMaxHalvings + 34;
    static constexpr std::uint32_t kNothing = ~std::uint32_t{0};
    /// Points between two questions: some milliseconds of building.
    static constexpr std::size_t kPointsPerQuestion = std::size_t{1} << 19;

    /// Numbers that are computed side by side, in the bits that each would have alone.
    using Two = double __attribute__((vector_size(16)));
    using Four = double __attribute__((vector_size(32)));
    struct Halves {
        Two first;
        Two second;
    };
    static Halves FourAt(const std::array<double, 4>& places) {
        Halves halves;
        std::memcpy(&halves, &places, sizeof halves);
        return halves;
    }
    static Halves FourAt(const std::array<float, 4>& places) {
        using Given = float __attribute__((vector_size(16)));
        Given given;
        std::memcpy(&given, &places, sizeof given);
        const Four four = __builtin_convertvector(given, Four);
        Halves halves;
        std::memcpy(&halves, &four, sizeof halves);
        return halves;
    }

    struct Box {
        Position low;
        Position high;
    };

    /// A pair of branches, or points. Without initial values, as searches hold a hundred of them.
    struct Branch {
        std::uint32_t first;   // the pair, or the first entry or block
        std::uint32_t points;  // 0 for a pair
    };
    static constexpr Branch kNoBranch{kNothing, 0};

    /// The two boxes into which one is divided, side by side.
    struct Pair {
        std::array<std::array<Coordinate, 4>, Dimension> sides;  // low, low, high, high
        std::array<Branch, 2> branches;

        [[nodiscard]] std::array<double, 2> Distances(const Query& query) const {
            Two sum{};
            for (std::size_t axis = 0; axis < Dimension; ++axis) {
                const auto [low, high] = FourAt(sides[axis]);
                const Two below = low - query[axis];
                const Two above = query[axis] - high;
                const Two outside = below > above ? below : above;
                const Two distance = outside > Two{} ? outside : Two{};
                sum += distance * distance;
            }
            return {sum[0], sum[1]};
        }
    };

    struct Block {
        std::array<std::array<Coordinate, kLanes>, Dimension> places;
        std::array<int, kLanes> sources;
    };

    static std::uint32_t BlocksOf(std::uint32_t points) {
        return points / std::uint32_t{kLanes} + (points % kLanes != 0 ? 1U : 0U);
    }

    /// Asks whether the building goes on, now and then.
    struct Questions {
        const std::function<bool()>& proceed;
        std::size_t unasked = 0;
        bool stopped = false;

        void Passed(std::size_t points) {
            unasked += points;
            if (unasked < kPointsPerQuestion) return;
            unasked = 0;
            stopped = stopped || (proceed && !proceed());
        }
    };

    /// Divides entries in place.
    struct Builder {
        std::vector<Entry>& entries;
        Questions& questions;
        std::vector<Pair> pairs;

        Branch Make(std::size_t first, std::size_t last, std::size_t depth, Box& box) {
            if (first == last || questions.stopped) return kNoBranch;
            box = BoxOf(first, last);
            std::size_t widest = 0;
            for (std::size_t axis = 1; axis < Dimension; ++axis) {
                if (Extent(box, axis) > Extent(box, widest)) widest = axis;
            }
            const bool alike = !(box.low[widest] < box.high[widest]);
            if (last - first <= kLeafPoints || alike) {
                return {static_cast<std::uint32_t>(first),
                        static_cast<std::uint32_t>(last - first)};
            }
            const std::size_t middle = depth < kMaxHalvings ? HalveSpace(first, last, widest, box)
                                                            : HalveNumber(first, last, widest);
            const auto pair = static_cast<std::uint32_t>(pairs.size());
            pairs.emplace_back();
            for (std::size_t side = 0; side < 2; ++side) {
                Box half{};
                const Branch branch = side == 0 ? Make(first, middle, depth + 1, half)
                                                : Make(middle, last, depth + 1, half);
                pairs[pair].branches[side] = branch;
                for (std::size_t axis = 0; axis < Dimension; ++axis) {
                    pairs[pair].sides[axis][side] = half.low[axis];
                    pairs[pair].sides[axis][side + 2] = half.high[axis];
                }
            }
            return {pair, 0};
        }

        static double Extent(const Box& box, std::size_t axis) {
            return double{box.high[axis]} - double{box.low[axis]};
        }

        Box BoxOf(std::size_t first, std::size_t last) {
            Box box{entries[first].position, entries[first].position};
            InStrips(first, last, [&](std::size_t begin, std::size_t end) {
                Box strip = box;  // in registers
                for (std::size_t i = begin; i < end; ++i) {
                    for (std::size_t axis = 0; axis < Dimension; ++axis) {
                        const Coordinate place = entries[i].position[axis];
                        strip.low[axis] = std::min(strip.low[axis], place);
                        strip.high[axis] = std::max(strip.high[axis], place);
                    }
                }
                box = strip;
            });
            return box;
        }

        // Where the upper half begins: neither is empty, as one holds the lowest point and the
        // other the highest.
        std::size_t HalveSpace(std::size_t first, std::size_t last, std::size_t axis,
                               const Box& box) {
            const Coordinate low = box.low[axis];
            const Coordinate high = box.high[axis];
            const Coordinate half = std::midpoint(low, high);
            const Coordinate cut = half > low && half <= high ? half : high;
            std::size_t middle = first;
            InStrips(first, last, [&](std::size_t begin, std::size_t end) {
                // Without a branch on where a point goes, which nobody could foresee.
                std::size_t place = middle;
                for (std::size_t i = begin; i < end; ++i) {
                    const Entry entry = entries[i];
                    const bool below = entry.position[axis] < cut;
                    entries[i] = entries[place];
                    entries[place] = entry;
                    place += below ? 1 : 0;
                }
                middle = place;
            });
            return middle;
        }

        std::size_t HalveNumber(std::size_t first, std::size_t last, std::size_t axis) {
            const std::size_t middle = first + (last - first) / 2;
            const auto at = [this](std::size_t i) {
                return entries.begin() + static_cast<std::ptrdiff_t>(i);
            };
            std::nth_element(at(first), at(middle), at(last),
                             [axis](const Entry& a, const Entry& b) {
                                 return a.position[axis] < b.position[axis];
                             });
            return middle;
        }

        template <class Work>
        void InStrips(std::size_t first, std::size_t last, Work work) {
            while (first < last && !questions.stopped) {
                const std::size_t end = std::min(last, first + kPointsPerQuestion);
                work(first, end);
                questions.Passed(end - first);
                first = end;
            }
        }
    };

    /// Lays the points of each leaf side by side.
    void StoreBlocks(const std::vector<Entry>& entries, Questions& questions) {
        std::size_t count = 0;
        ForEachLeaf([&](const Branch& leaf) { count += BlocksOf(leaf.points); });
        blocks_.reserve(count);
        ForEachLeaf([&](Branch& leaf) {
            const auto first = static_cast<std::uint32_t>(blocks_.size());
            const std::span<const Entry> points(entries.data() + leaf.first, leaf.points);
            for (std::size_t i = 0; i < points.size() && !questions.stopped; i += kLanes) {
                Block& block = blocks_.emplace_back();
                for (std::size_t lane = 0; lane < kLanes; ++lane) {
                    StoreLane(block, lane, i + lane < points.size() ? &points[i + lane] : nullptr);
                }
                questions.Passed(kLanes);
            }
            leaf.first = first;
        });
    }

    static void StoreLane(Block& block, std::size_t lane, const Entry* entry) {
        for (std::size_t axis = 0; axis < Dimension; ++axis) {
            block.places[axis][lane] = entry != nullptr
                                           ? entry->position[axis]
                                           : std::numeric_limits<Coordinate>::quiet_NaN();
        }
        block.sources[lane] = entry != nullptr ? entry->source : -1;
    }

    template <class Work>
    void ForEachLeaf(Work work) {
        if (root_.points != 0) work(root_);
        for (Pair& pair : pairs_) {
            for (Branch& branch : pair.branches) {
                if (branch.points != 0) work(branch);
            }
        }
    }

    Branch root_ = kNoBranch;
    Box box_{};
    std::vector<Pair> pairs_;
    std::vector<Block> blocks_;
};

}  // namespace orvix::detail
