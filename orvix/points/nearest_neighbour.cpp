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
#include <optional>

#include "orvix/platform/asker.h"

namespace orvix {
namespace {

using detail::Asker;

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

/// Where each of many found points goes in their list, by its distance alone. The squared bound is
/// divided into equal parts, in which the points of a surface lie evenly: a first pass counts the
/// points of each, a second one stores each point in its part, and what is left to sort is short.
class Rings {
public:
    /// `widest` is about the largest squared distance; a poor guess costs time alone.
    explicit Rings(double widest) {
        const double scale = static_cast<double>(kRings) / widest;
        if (std::isfinite(scale)) scale_ = scale;
    }
    void Count(double squaredDistance) { ++ends_[RingOf(squaredDistance)]; }
    /// After all counts, before the first place.
    void Lay() { std::exclusive_scan(ends_.begin(), ends_.end(), ends_.begin(), 0U); }
    std::uint32_t TakePlace(double squaredDistance) { return ends_[RingOf(squaredDistance)]++; }
    /// Once all have their places: where each ring ends.
    [[nodiscard]] const auto& Ends() const { return ends_; }

private:
    static constexpr std::size_t kRings = 4096;

    // Never a nearer ring for a larger distance: a product rounds, but keeps the order.
    [[nodiscard]] std::size_t RingOf(double squaredDistance) const {
        const double ring = squaredDistance * scale_;
        return ring < static_cast<double>(kRings) ? static_cast<std::size_t>(ring) : kRings - 1;
    }

    double scale_ = 0.0;
    std::array<std::uint32_t, kRings> ends_{};
};

/// What counting finds out.
struct Survey {
    std::size_t count = 0;
    Block some;                  // of them, unsorted: all where these are few
    std::optional<Rings> rings;  // of all of them, where they are more
};

/// Sorts entries by what `neighbour` computes anew of each, and turns them into its indices. Large
/// parts are divided in place and small ones sorted in a block, so memory does not grow with the
/// number of entries.
template <class NeighbourOf>
void SortInBlocks(int* first, int* last, int divisions, const NeighbourOf& neighbour) {
    while (last - first > static_cast<std::ptrdiff_t>(kAtOnce)) {
        if (divisions-- == 0) {
            std::sort(first, last, [&](int a, int b) { return neighbour(a) < neighbour(b); });
            std::transform(first, last, first, [&](int e) { return neighbour(e).index; });
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
    Block block;
    const auto end = std::transform(first, last, block.begin(), neighbour);
    std::sort(block.begin(), end);
    std::transform(block.begin(), end, first, [](const Neighbour& held) { return held.index; });
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

/// Ends the building of a tree, whose library knows no other way; it is caught in this file.
struct BuildingStopped {};

/// Reads of coordinates between two questions: some milliseconds of building.
constexpr std::uint32_t kReadsPerQuestion = 1 << 20;

template <std::size_t Dimension>
bool IsFinite(const std::array<double, Dimension>& position) {
    return std::all_of(position.begin(), position.end(), [](double c) { return std::isfinite(c); });
}

}  // namespace

struct CNearestNeighbour::Tree {
    virtual ~Tree() = default;
    /// Counts those within `bound`.
    virtual void CountWithin(const SimplePointT<double>& query, double bound,
                             Survey& survey) const = 0;
    /// All of them, where they are more than kAtOnce, sorted, into `found`, which has room for them.
    virtual void Within(const SimplePointT<double>& query, double bound, Rings& rings,
                        int* found) const = 0;
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
    TreeOf(const Container& points, PositionOf positionOf,
           const std::function<bool()>& proceed = {}) {
        Asker asker(proceed, kReadsPerQuestion);
        if (proceed) asker_ = &asker;
        entries.reserve(points.size());
        int source = 0;
        for (const auto& point : points) {
            Ask();
            const Position position = positionOf(point);
            if (IsFinite(position)) entries.push_back({position, source});  // BEHAVIOUR N4
            ++source;
        }
        index = std::make_unique<Index>(Dimension, *this, kLeafPoints);
        StoreInTreeOrder();
        asker_ = nullptr;
    }

    // What nanoflann asks of a set of points.
    [[nodiscard]] std::size_t kdtree_get_point_count() const { return entries.size(); }
    [[nodiscard]] double kdtree_get_pt(int i, std::size_t axis) const {
        Ask();
        return entries[static_cast<std::size_t>(i)].position[axis];
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }

    void CountWithin(const SimplePointT<double>& query, double bound,
                     Survey& survey) const override {
        const auto take = [&](int entry, double squaredDistance) {
            const std::size_t number = survey.count++;
            if (number < kAtOnce) {
                survey.some[number] = {squaredDistance, SourceOf(entry)};
                return;
            }
            if (number == kAtOnce) {
                survey.rings.emplace(std::min(bound, Farthest(At(query))));
                for (const Neighbour& held : survey.some) survey.rings->Count(held.squaredDistance);
            }
            survey.rings->Count(squaredDistance);
        };
        Search(query, WithinBound{bound, take});
    }

    void Within(const SimplePointT<double>& query, double bound, Rings& rings,
                int* found) const override {
        rings.Lay();
        Search(query, WithinBound{bound, [&](int entry, double squaredDistance) {
                                      found[rings.TakePlace(squaredDistance)] = entry;
                                  }});
        const Position position = At(query);
        const Metric metric(*this);
        const auto neighbour = [&](int entry) {
            return Neighbour{metric.evalMetric(position.data(), entry, Dimension), SourceOf(entry)};
        };
        std::uint32_t begin = 0;
        for (const std::uint32_t end : rings.Ends()) {
            SortInBlocks(found + begin, found + end, kDivisions, neighbour);
            begin = end;
        }
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
            Ask();
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

    /// The squared distance of the farthest corner of the box around all points.
    [[nodiscard]] double Farthest(const Position& position) const {
        double squared = 0.0;
        for (std::size_t axis = 0; axis < position.size(); ++axis) {
            const auto& [low, high] = index->root_bbox[axis];
            const double distance = std::max(position[axis] - low, high - position[axis]);
            squared += distance * distance;
        }
        return squared;
    }

    static Position At(const SimplePointT<double>& query) {
        if constexpr (Dimension == 2) {
            return {query.x, query.y};
        } else {
            return {query.x, query.y, query.z};
        }
    }

    // While the tree is built, and only where somebody is to be asked.
    void Ask() const {
        if (asker_ != nullptr && !asker_->GoesOn()) throw BuildingStopped();
    }

    Asker* asker_ = nullptr;
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

CNearestNeighbour::CNearestNeighbour(std::unique_ptr<Tree> tree) : tree_(std::move(tree)) {}

CNearestNeighbour::~CNearestNeighbour() = default;

std::unique_ptr<CNearestNeighbour> CNearestNeighbour::Make(
    const std::vector<SimplePointT<float>>& points, const std::function<bool()>& proceed) {
    const auto positionOf = [](const SimplePointT<float>& point) {
        return std::array<double, 3>{point.x, point.y, point.z};
    };
    try {
        std::unique_ptr<Tree> tree = std::make_unique<TreeOf<3>>(points, positionOf, proceed);
        return std::unique_ptr<CNearestNeighbour>(new CNearestNeighbour(std::move(tree)));
    } catch (const BuildingStopped&) {
        return nullptr;
    }
}

template <class Allocate>
std::size_t CNearestNeighbour::AllWithin(const SimplePointT<double>& query, double bound,
                                         Allocate allocate) const {
    Survey survey;
    tree_->CountWithin(query, bound, survey);
    int* found = allocate(survey.count);
    if (survey.rings) {
        tree_->Within(query, bound, *survey.rings, found);
    } else {
        const auto end = survey.some.begin() + static_cast<std::ptrdiff_t>(survey.count);
        std::sort(survey.some.begin(), end);
        std::transform(survey.some.begin(), end, found,
                       [](const Neighbour& held) { return held.index; });
    }
    return survey.count;
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
