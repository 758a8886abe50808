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

/// Collects what lies within an inclusive bound.
template <class Entry>
struct WithinBound {
    double bound;
    const std::vector<Entry>& entries;
    std::vector<Neighbour> found = {};

    [[nodiscard]] double worstDist() const { return Widened(bound); }
    [[nodiscard]] bool full() const { return true; }
    bool addPoint(double squaredDistance, int entry) {
        if (squaredDistance <= bound) {
            found.push_back({squaredDistance, entries[static_cast<std::size_t>(entry)].source});
        }
        return true;
    }
};

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
    virtual void Within(const SimplePointT<double>& query, double bound,
                        std::vector<int>& found) const = 0;
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

    void Within(const SimplePointT<double>& query, double bound,
                std::vector<int>& found) const override {
        WithinBound<Entry> within{bound, entries};
        Search(query, within);
        std::sort(within.found.begin(), within.found.end());
        found.resize(within.found.size());
        std::transform(within.found.begin(), within.found.end(), found.begin(),
                       [](const Neighbour& neighbour) { return neighbour.index; });
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
    void Search(const SimplePointT<double>& query, Results& results) const {
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

int* CNearestNeighbour::Find(const SimplePointT<double>* query, double radius, int& count) {
    if (radius < 0.0) {  // BEHAVIOUR N1
        found_.assign(1, 0);
        if (!tree_->Nearest(*query, found_.front())) found_.clear();
    } else {
        tree_->Within(*query, radius, found_);
    }
    count = static_cast<int>(found_.size());
    if (count != 0) {  // BEHAVIOUR N3
        result_ = std::make_unique_for_overwrite<int[]>(found_.size());
        std::copy(found_.begin(), found_.end(), result_.get());
    }
    return result_.get();
}

void CNearestNeighbour::FindWithin(const SimplePointT<double>& query, double squaredRadius,
                                   std::vector<int>& found) const {
    tree_->Within(query, squaredRadius, found);
}

bool CNearestNeighbour::FindNearest(const SimplePointT<double>& query, int& nearest) const {
    return tree_->Nearest(query, nearest);
}

}  // namespace orvix
