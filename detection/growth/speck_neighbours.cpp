// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/speck_neighbours.h"

#include <nanoflann.hpp>

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

#include "orvix/geometry/pair.h"

namespace orvix::detection {
namespace {

using detail::Pair;
using Place = SpeckNeighbours::Place;
using Four = float __attribute__((vector_size(16)));

constexpr std::uint32_t kLeafSize = 12;
constexpr std::uint32_t kAtOnce = 4;  // distances

/// The tree: nanoflann builds it, and what is searched lies in its order.
class SpeckTree {
public:
    explicit SpeckTree(std::vector<Place> places)
        : places_(std::move(places)),
          index_(3, *this, nanoflann::KDTreeSingleIndexAdaptorParams(kLeafSize)) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            ordered_[axis].reserve(places_.size() + kAtOnce);
            for (const std::uint32_t speck : index_.vAcc)
                ordered_[axis].push_back(places_[speck][axis]);
            ordered_[axis].resize(places_.size() + kAtOnce);
        }
    }

    // What nanoflann asks of a set of points.
    [[nodiscard]] std::size_t kdtree_get_point_count() const { return places_.size(); }
    [[nodiscard]] float kdtree_get_pt(std::uint32_t i, std::size_t axis) const {
        return places_[i][axis];
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }

    using Metric = nanoflann::L2_Simple_Adaptor<float, SpeckTree, float, std::uint32_t>;
    using Index = nanoflann::KDTreeSingleIndexAdaptor<Metric, SpeckTree, 3, std::uint32_t>;
    using Node = std::remove_pointer_t<decltype(Index::root_node)>;

    [[nodiscard]] const Node* Root() const { return index_.root_node; }
    [[nodiscard]] std::uint32_t SpeckAt(std::uint32_t place) const { return index_.vAcc[place]; }
    [[nodiscard]] const Place& PlaceOf(std::uint32_t speck) const { return places_[speck]; }
    /// Squared distances of a place from `kAtOnce` specks, x then y then z.
    [[nodiscard]] Four SquaresFrom(const Place& at, std::uint32_t first) const {
        Four sum{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Four its;
            std::memcpy(&its, ordered_[axis].data() + first, sizeof its);
            const Four apart = its - at[axis];
            sum += apart * apart;
        }
        return sum;
    }

private:
    std::vector<Place> places_;
    Index index_;
    std::array<std::vector<float>, 3> ordered_;
};

/// The nearest so far, sorted. Each is a number whose upper half is a squared distance and whose lower
/// half counts arrivals: such numbers are ordered by distance, then by arrival, as whole numbers and
/// as doubles above 0 alike. That lets one be sorted in without a branch, all places at once.
class NearestFew {
public:
    static constexpr std::size_t kWanted = 13;  // a speck is its own nearest

    /// From now on, nothing is found yet, and nothing as far as `farthest` is wanted.
    void Clear(float farthest) {
        few_.fill(Pair{KeyOf(farthest, kNobody), KeyOf(farthest, kNobody)});
        arrived_ = 0;
    }
    /// What a further one has to be nearer than.
    [[nodiscard]] float Worst() const { return SquareOf(few_[kWanted / 2][0]); }
    void Add(float square, std::uint32_t place) {
        if (arrived_ == places_.size()) places_.resize(2 * arrived_);
        places_[arrived_] = place;
        const double key = KeyOf(square, arrived_++);
        const Pair added{key, key};
        for (std::size_t i = few_.size() - 1; i > 0; --i)
            few_[i] = Larger(Pair{few_[i - 1][1], few_[i][0]}, Smaller(few_[i], added));
        few_[0] = Larger(Pair{0, few_[0][0]}, Smaller(few_[0], added));
    }
    /// use(place), nearest first.
    template <class Use>
    void ForEach(Use&& use) const {
        for (std::size_t i = 0; i < kWanted; ++i) {
            const auto arrival = static_cast<std::uint32_t>(
                std::bit_cast<std::uint64_t>(static_cast<double>(few_[i / 2][i % 2])));
            if (arrival == kNobody) return;
            use(places_[arrival]);
        }
    }

private:
    static constexpr std::uint32_t kNobody = 0xFFFF'FFFF;

    static double KeyOf(float square, std::uint32_t arrival) {
        return std::bit_cast<double>(std::uint64_t{std::bit_cast<std::uint32_t>(square)} << 32 |
                                     arrival);
    }
    static float SquareOf(double key) {
        return std::bit_cast<float>(
            static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(key) >> 32));
    }
    static Pair Smaller(const Pair& a, const Pair& b) { return a < b ? a : b; }
    static Pair Larger(const Pair& a, const Pair& b) { return a > b ? a : b; }

    std::array<Pair, (kWanted + 1) / 2> few_{};
    std::vector<std::uint32_t> places_ = std::vector<std::uint32_t>(256);  // by arrival
    std::uint32_t arrived_ = 0;
};

/// A search of the tree from one of its own specks: nanoflann's, step by step and number by number, with
/// four distances at a time.
class Search {
public:
    Search(const SpeckTree& tree, NearestFew& nearest) : tree_(tree), nearest_(nearest) {}

    void From(const Place& at) {
        at_ = at;
        beside_ = {};  // a speck lies in the box of all
        Visit(*tree_.Root(), 0);
    }

private:
    void Visit(const SpeckTree::Node& node, float square) {
        if (node.child1 == nullptr) return Look(node.node_type.lr.left, node.node_type.lr.right);
        const auto& cut = node.node_type.sub;
        const auto axis = static_cast<std::size_t>(cut.divfeat);
        const bool low = (at_[axis] - cut.divlow) + (at_[axis] - cut.divhigh) < 0;
        const float apart = at_[axis] - (low ? cut.divhigh : cut.divlow);
        const float across = apart * apart;
        Visit(low ? *node.child1 : *node.child2, square);
        const float before = beside_[axis];
        const float other = square + across - before;
        if (!(other <= nearest_.Worst())) return;
        beside_[axis] = across;
        Visit(low ? *node.child2 : *node.child1, other);
        beside_[axis] = before;
    }
    // Which specks are near is left to no branch, of which half would be guessed wrong.
    void Look(std::size_t first, std::size_t last) {
        const float worst = nearest_.Worst();
        std::array<float, kAtOnce*((kLeafSize + kAtOnce) / kAtOnce)> squares;
        std::array<std::uint32_t, squares.size()> places;
        for (; first < last; first += kLeafSize) {
            const auto from = static_cast<std::uint32_t>(first);
            const auto many =
                static_cast<std::uint32_t>(std::min<std::size_t>(kLeafSize, last - first));
            std::uint32_t near = 0;
            for (std::uint32_t i = 0; i < many; i += kAtOnce) {
                const Four its = tree_.SquaresFrom(at_, from + i);
                for (std::uint32_t k = 0; k < kAtOnce; ++k) {
                    squares[near] = its[k];
                    places[near] = from + i + k;
                    near += static_cast<std::uint32_t>((its[k] < worst) & (i + k < many));
                }
            }
            for (std::uint32_t i = 0; i < near; ++i) nearest_.Add(squares[i], places[i]);
        }
    }

    const SpeckTree& tree_;
    NearestFew& nearest_;
    Place at_{};
    Place beside_{};  // squared distances to the part of the tree at work, by axis
};

}  // namespace

SpeckNeighbours::SpeckNeighbours(std::vector<Place> places, std::span<const float> farthest,
                                 detail::Asker& asker)
    : nearest_(places.size() * kMost), counts_(places.size(), 0) {
    const SpeckTree tree(std::move(places));
    NearestFew nearest;
    Search search(tree, nearest);
    for (std::uint32_t speck = 0; speck < farthest.size() && asker.GoesOn(); ++speck) {
        nearest.Clear(farthest[speck]);
        search.From(tree.PlaceOf(speck));
        nearest.ForEach([&](std::uint32_t place) {
            const std::uint32_t found = tree.SpeckAt(place);
            if (found == speck || counts_[speck] == kMost) return;
            nearest_[speck * kMost + counts_[speck]++] = found;
        });
    }
}

}  // namespace orvix::detection
