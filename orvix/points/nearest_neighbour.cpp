// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/nearest_neighbour.h"

#include <nanoflann.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>

namespace orvix {
namespace {

struct Neighbour {
    double squaredDistance;
    int index;

    bool operator<(const Neighbour& other) const {  // BEHAVIOUR N2
        if (squaredDistance != other.squaredDistance) {
            return squaredDistance < other.squaredDistance;
        }
        return index < other.index;
    }
};

/// The tree's lower bounds of a branch are sums kept up to date by adding and subtracting, so they
/// may exceed the true one by some rounding errors; and it compares leaves with `<`. Searching
/// with a bound a billionth wider and deciding each point by its own distance makes the answer
/// exact, ties across branches included.
double Widened(double bound) {
    return bound + bound * 1e-9 + std::numeric_limits<double>::min();
}

/// Hands what lies within an inclusive bound to `take`: its entry and its squared distance.
template <class Take>
struct WithinBound {
    double bound;
    Take take;

    [[nodiscard]] double worstDist() const { return Widened(bound); }
    [[nodiscard]] bool full() const { return true; }
    bool addPoint(double squaredDistance, int entry) {
        if (squaredDistance <= bound) take(entry, squaredDistance);
        return true;
    }
};

template <class Take>
WithinBound(double, Take) -> WithinBound<Take>;

/// As many neighbours as are held with their distances at once.
constexpr std::size_t kAtOnce = 512;
using Block = std::array<Neighbour, kAtOnce>;

/// Sorts by what `neighbour` computes anew of each entry. Large parts are divided in place and
/// small ones sorted in a block, so memory does not grow with the number of entries.
template <class NeighbourOf>
void SortInBlocks(int* first, int* last, int divisions, const NeighbourOf& neighbour) {
    while (last - first > static_cast<std::ptrdiff_t>(kAtOnce)) {
        if (divisions-- == 0) {
            std::sort(first, last, [&](int a, int b) { return neighbour(a) < neighbour(b); });
            return;
        }
        const Neighbour low = neighbour(*first);
        const Neighbour high = neighbour(last[-1]);
        const Neighbour pivot = std::clamp(neighbour(first[(last - first) / 2]),
                                           std::min(low, high), std::max(low, high));
        int* middle = std::partition(first, last, [&](int e) { return neighbour(e) < pivot; });
        SortInBlocks(first, middle, divisions, neighbour);
        first = middle;
    }
    std::array<std::pair<Neighbour, int>, kAtOnce> block;
    auto end = std::transform(first, last, block.begin(),
                              [&](int e) { return std::pair(neighbour(e), e); });
    std::sort(block.begin(), end, [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(block.begin(), end, first, [](const auto& held) { return held.second; });
}

/// Keeps the nearest, of lowest index among equals.
template <class Entry>
struct NearestOne {
    const std::vector<Entry>& entries;
    Neighbour best{std::numeric_limits<double>::infinity(), -1};

    [[nodiscard]] double worstDist() const { return Widened(best.squaredDistance); }
    [[nodiscard]] bool full() const { return true; }
    bool addPoint(double squaredDistance, int entry) {
        best = std::min(
            best, Neighbour{squaredDistance, entries[static_cast<std::size_t>(entry)].source});
        return true;
    }
};

template <std::size_t Dimension>
bool IsFinite(const std::array<double, Dimension>& position) {
    return std::all_of(position.begin(), position.end(), [](double c) { return std::isfinite(c); });
}

}  // namespace

struct CNearestNeighbour::Tree {
    virtual ~Tree() = default;
    /// How many lie within `bound`; up to kAtOnce of them, unsorted, into `some`.
    virtual std::size_t CountWithin(const SimplePointT<double>& query, double bound,
                                    Block& some) const = 0;
    /// All of them, sorted, into `found`, which has room for as many.
    virtual void Within(const SimplePointT<double>& query, double bound, int* found) const = 0;
    virtual bool Nearest(const SimplePointT<double>& query, int& nearest) const = 0;
};

template <int Dimension>
struct CNearestNeighbour::TreeOf final : Tree {
    using Position = std::array<double, Dimension>;
    using Metric = nanoflann::L2_Simple_Adaptor<double, TreeOf, double, int>;
    using Index = nanoflann::KDTreeSingleIndexAdaptor<Metric, TreeOf, Dimension, int>;

    struct Entry {
        Position position;
        int source;  // its index in the container
    };

    template <class Container, class PositionOf>
    TreeOf(const Container& points, PositionOf positionOf) {
        entries.reserve(points.size());
        int source = 0;
        for (const auto& point : points) {
            const Position position = positionOf(point);
            if (IsFinite(position)) entries.push_back({position, source});  // BEHAVIOUR N4
            ++source;
        }
        index = std::make_unique<Index>(Dimension, *this, kLeafPoints);
        StoreInTreeOrder();
    }

    // What nanoflann asks of a set of points.
    [[nodiscard]] std::size_t kdtree_get_point_count() const { return entries.size(); }
    [[nodiscard]] double kdtree_get_pt(int i, std::size_t axis) const {
        return entries[static_cast<std::size_t>(i)].position[axis];
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }

    std::size_t CountWithin(const SimplePointT<double>& query, double bound,
                            Block& some) const override {
        std::size_t count = 0;
        const auto take = [&](int entry, double squaredDistance) {
            if (count < kAtOnce) some[count] = {squaredDistance, SourceOf(entry)};
            ++count;
        };
        Search(query, WithinBound{bound, take});
        return count;
    }

    void Within(const SimplePointT<double>& query, double bound, int* found) const override {
        int* end = found;
        Search(query, WithinBound{bound, [&end](int entry, double) { *end++ = entry; }});
        const Position position = At(query);
        const Metric metric(*this);
        SortInBlocks(found, end, kDivisions, [&](int entry) {
            return Neighbour{metric.evalMetric(position.data(), entry, Dimension), SourceOf(entry)};
        });
        std::transform(found, end, found, [this](int entry) { return SourceOf(entry); });
    }

    bool Nearest(const SimplePointT<double>& query, int& nearest) const override {
        NearestOne<Entry> nearestOne{entries};
        Search(query, nearestOne);
        if (nearestOne.best.index < 0) return false;
        nearest = nearestOne.best.index;
        return true;
    }

private:
    static constexpr std::size_t kLeafPoints = 20;
    static constexpr int kDivisions = 64;  // a fair pivot needs about 22 of 2^31 points

    [[nodiscard]] int SourceOf(int entry) const {
        return entries[static_cast<std::size_t>(entry)].source;
    }

    /// Lays the points of each leaf side by side, so that a query reads memory in sequence.
    void StoreInTreeOrder() {
        std::vector<Entry> ordered;
        ordered.reserve(entries.size());
        for (const int entry : index->vAcc) {
            ordered.push_back(entries[static_cast<std::size_t>(entry)]);
        }
        entries.swap(ordered);
        std::iota(index->vAcc.begin(), index->vAcc.end(), 0);
    }

    template <class Results>
    void Search(const SimplePointT<double>& query, Results&& results) const {
        const Position position = At(query);
        if (IsFinite(position)) index->findNeighbors(results, position.data(), {});
    }

    static Position At(const SimplePointT<double>& query) {
        if constexpr (Dimension == 2) {
            return {query.x, query.y};
        } else {
            return {query.x, query.y, query.z};
        }
    }

    std::vector<Entry> entries;
    std::unique_ptr<Index> index;
};

CNearestNeighbour::CNearestNeighbour(std::map<std::pair<int, int>, std::pair<int, double>>& points)
    : tree_(std::make_unique<TreeOf<2>>(points, [](const auto& entry) {
          return std::array<double, 2>{double(entry.first.first), double(entry.first.second)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<std::pair<int, int>>& points)
    : tree_(std::make_unique<TreeOf<2>>(points, [](const std::pair<int, int>& point) {
          return std::array<double, 2>{double(point.first), double(point.second)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<CPoint>& points)
    : tree_(std::make_unique<TreeOf<2>>(points, [](const CPoint& point) {
          return std::array<double, 2>{double(point.x), double(point.y)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<const SimplePointT<float>*>* points)
    : tree_(std::make_unique<TreeOf<3>>(*points, [](const SimplePointT<float>* point) {
          return std::array<double, 3>{point->x, point->y, point->z};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<SimplePointT<float>>* points)
    : tree_(std::make_unique<TreeOf<3>>(*points, [](const SimplePointT<float>& point) {
          return std::array<double, 3>{point.x, point.y, point.z};
      })) {}

CNearestNeighbour::~CNearestNeighbour() = default;

template <class Allocate>
std::size_t CNearestNeighbour::AllWithin(const SimplePointT<double>& query, double bound,
                                         Allocate allocate) const {
    Block some;
    const std::size_t count = tree_->CountWithin(query, bound, some);
    int* found = allocate(count);
    if (count > kAtOnce) {
        tree_->Within(query, bound, found);
    } else {
        const auto end = some.begin() + static_cast<std::ptrdiff_t>(count);
        std::sort(some.begin(), end);
        std::transform(some.begin(), end, found, [](const Neighbour& held) { return held.index; });
    }
    return count;
}

int* CNearestNeighbour::Find(const SimplePointT<double>* query, double radius, int& count) {
    // BEHAVIOUR N3
    const auto allocate = [this](std::size_t n) { return n != 0 ? NewResult(n) : result_.get(); };
    if (radius < 0.0) {  // BEHAVIOUR N1
        int nearest = 0;
        count = tree_->Nearest(*query, nearest) ? 1 : 0;
        if (count != 0) *allocate(1) = nearest;
    } else {
        count = static_cast<int>(AllWithin(*query, radius, allocate));
    }
    return result_.get();
}

int* CNearestNeighbour::NewResult(std::size_t count) {
    result_.reset();  // first, so that the two are never held together
    result_ = std::make_unique_for_overwrite<int[]>(count);
    return result_.get();
}

void CNearestNeighbour::FindWithin(const SimplePointT<double>& query, double squaredRadius,
                                   std::vector<int>& found) const {
    AllWithin(query, squaredRadius, [&found](std::size_t count) {
        found.resize(count);
        return found.data();
    });
}

bool CNearestNeighbour::FindNearest(const SimplePointT<double>& query, int& nearest) const {
    return tree_->Nearest(query, nearest);
}

}  // namespace orvix
