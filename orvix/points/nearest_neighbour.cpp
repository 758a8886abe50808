// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/nearest_neighbour.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <span>

#include "orvix/platform/asker.h"
#include "orvix/points/box_tree.h"

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

/// As many neighbours as are held with their distances at once.
constexpr std::size_t kAtOnce = 1024;

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
    // Of them, unsorted: all where these are few. A block's points are written before it is known
    // which of them count.
    std::array<Neighbour, kAtOnce + 4> some;
    std::optional<Rings> rings;  // of all of them, where they are more
};

/// Sorts neighbours that are held, and stores their indices. Squared distances of the points of a
/// surface lie evenly, so most have a place of their own among as many parts of equal width, and what
/// is left to do there is little: a third of the time of sorting by comparing alone.
void StoreSorted(std::span<Neighbour> held, int* found) {
    constexpr std::size_t kFew = 12;        // no more than are sorted by insertion anyway
    constexpr std::uint16_t kCrowded = 16;  // in one part: the distances are uneven
    std::array<Neighbour, kAtOnce> laid;
    const auto store = [found](std::span<const Neighbour> sorted) {
        std::transform(sorted.begin(), sorted.end(), found,
                       [](const Neighbour& neighbour) { return neighbour.index; });
    };
    double widest = 0.0;
    for (const Neighbour& neighbour : held) widest = std::max(widest, neighbour.squaredDistance);
    const std::size_t parts = std::bit_ceil(held.size() + 1);
    const double scale = static_cast<double>(parts - 1) / widest;
    std::array<std::uint16_t, 2 * kAtOnce> ends;
    std::fill_n(ends.begin(), parts, std::uint16_t{0});
    const auto partOf = [scale](const Neighbour& neighbour) {
        return static_cast<std::size_t>(neighbour.squaredDistance * scale);
    };
    std::uint16_t most = 0;
    if (held.size() > kFew && std::isfinite(scale)) {
        for (const Neighbour& neighbour : held) most = std::max(most, ++ends[partOf(neighbour)]);
    }
    if (most == 0 || most > kCrowded) {
        std::sort(held.begin(), held.end());
        store(held);
        return;
    }
    std::exclusive_scan(ends.begin(), ends.begin() + static_cast<std::ptrdiff_t>(parts),
                        ends.begin(), std::uint16_t{0});
    for (const Neighbour& neighbour : held) laid[ends[partOf(neighbour)]++] = neighbour;
    for (std::size_t i = 1; i < held.size(); ++i) {
        const Neighbour moved = laid[i];
        std::size_t place = i;
        for (; place > 0 && moved < laid[place - 1]; --place) laid[place] = laid[place - 1];
        laid[place] = moved;
    }
    store({laid.data(), held.size()});
}

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
    std::array<Neighbour, kAtOnce> block;
    const auto end = std::transform(first, last, block.begin(), neighbour);
    std::sort(block.begin(), end);
    std::transform(block.begin(), end, first, [](const Neighbour& held) { return held.index; });
}

/// Points taken from a container between two questions.
constexpr std::uint32_t kPointsPerQuestion = 1 << 18;

/// A bound that leaves out what is farther than any number: a distance beyond it is near nothing.
double Finite(double bound) {
    return bound > std::numeric_limits<double>::max() ? std::numeric_limits<double>::max() : bound;
}

template <class Coordinate, std::size_t Dimension>
bool IsFinite(const std::array<Coordinate, Dimension>& position) {
    return std::all_of(position.begin(), position.end(),
                       [](Coordinate c) { return std::isfinite(c); });
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

template <class Coordinate, std::size_t Dimension>
struct CNearestNeighbour::TreeOf final : Tree {
    using Boxes = detail::BoxTree<Coordinate, Dimension>;
    using Query = typename Boxes::Query;

    /// Null when `proceed` said no.
    template <class Container, class PositionOf>
    static std::unique_ptr<Tree> Make(const Container& points, PositionOf positionOf,
                                      const std::function<bool()>& proceed = {}) {
        Asker asker(proceed, kPointsPerQuestion);
        std::vector<typename Boxes::Entry> entries;
        entries.reserve(points.size());
        int source = 0;
        for (const auto& point : points) {
            if (proceed && !asker.GoesOn()) return nullptr;
            const typename Boxes::Position position = positionOf(point);
            if (IsFinite(position)) entries.push_back({position, source});  // BEHAVIOUR N4
            ++source;
        }
        auto tree = std::make_unique<TreeOf>();
        if (!tree->boxes.Build(std::move(entries), proceed)) return nullptr;
        return tree;
    }

    void CountWithin(const SimplePointT<double>& query, double bound,
                     Survey& survey) const override {
        const Query position = At(query);
        if (!IsFinite(position)) return;
        bound = Finite(bound);
        boxes.VisitWithin(position, bound, [&](std::uint32_t block) {
            const auto distances = boxes.Distances(block, position);
            if (survey.rings) {
                for (const double distance : distances) {
                    if (!(distance <= bound)) continue;
                    ++survey.count;
                    survey.rings->Count(distance);
                }
                return;
            }
            const auto& sources = boxes.Sources(block);
            for (std::size_t lane = 0; lane < Boxes::kLanes; ++lane) {
                survey.some[survey.count] = {distances[lane], sources[lane]};
                survey.count += distances[lane] <= bound ? 1 : 0;
            }
            if (survey.count <= kAtOnce) return;
            survey.rings.emplace(std::min(bound, boxes.Farthest(position)));
            for (std::size_t i = 0; i < survey.count; ++i) {
                survey.rings->Count(survey.some[i].squaredDistance);
            }
        });
    }

    void Within(const SimplePointT<double>& query, double bound, Rings& rings,
                int* found) const override {
        rings.Lay();
        const Query position = At(query);
        bound = Finite(bound);
        boxes.VisitWithin(position, bound, [&](std::uint32_t block) {
            const auto distances = boxes.Distances(block, position);
            for (std::uint32_t lane = 0; lane < Boxes::kLanes; ++lane) {
                if (!(distances[lane] <= bound)) continue;
                found[rings.TakePlace(distances[lane])] =
                    static_cast<int>(block * Boxes::kLanes + lane);
            }
        });
        const auto neighbour = [&](int entry) {
            const auto number = static_cast<std::uint32_t>(entry);
            const auto block = static_cast<std::uint32_t>(number / Boxes::kLanes);
            const std::size_t lane = number % Boxes::kLanes;
            return Neighbour{boxes.Distance(block, lane, position), boxes.Sources(block)[lane]};
        };
        std::uint32_t begin = 0;
        for (const std::uint32_t end : rings.Ends()) {
            SortInBlocks(found + begin, found + end, kDivisions, neighbour);
            begin = end;
        }
    }

    bool Nearest(const SimplePointT<double>& query, int& nearest) const override {
        const Query position = At(query);
        if (!IsFinite(position)) return false;
        constexpr int kNone = std::numeric_limits<int>::max();
        // Two numbers and no Neighbour: one that is assigned as a whole goes through memory.
        double least = std::numeric_limits<double>::max();
        int source = kNone;
        boxes.VisitNearest(position, least, [&](std::uint32_t block) {
            const auto distances = boxes.Distances(block, position);
            const auto& sources = boxes.Sources(block);
            for (std::size_t lane = 0; lane < Boxes::kLanes; ++lane) {
                const bool nearer =
                    distances[lane] < least || (distances[lane] == least && sources[lane] < source);
                if (!nearer) continue;  // BEHAVIOUR N2
                least = distances[lane];
                source = sources[lane];
            }
            return least;
        });
        if (source == kNone) return false;
        nearest = source;
        return true;
    }

private:
    static constexpr int kDivisions = 64;  // a fair pivot needs about 22 of 2^31 points

    static Query At(const SimplePointT<double>& query) {
        if constexpr (Dimension == 2) {
            return {query.x, query.y};
        } else {
            return {query.x, query.y, query.z};
        }
    }

    Boxes boxes;
};

CNearestNeighbour::CNearestNeighbour(std::map<std::pair<int, int>, std::pair<int, double>>& points)
    : tree_(TreeOf<double, 2>::Make(points, [](const auto& entry) {
          return std::array<double, 2>{double(entry.first.first), double(entry.first.second)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<std::pair<int, int>>& points)
    : tree_(TreeOf<double, 2>::Make(points, [](const std::pair<int, int>& point) {
          return std::array<double, 2>{double(point.first), double(point.second)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<CPoint>& points)
    : tree_(TreeOf<double, 2>::Make(points, [](const CPoint& point) {
          return std::array<double, 2>{double(point.x), double(point.y)};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<const SimplePointT<float>*>* points)
    : tree_(TreeOf<float, 3>::Make(*points, [](const SimplePointT<float>* point) {
          return std::array<float, 3>{point->x, point->y, point->z};
      })) {}

CNearestNeighbour::CNearestNeighbour(const std::vector<SimplePointT<float>>* points)
    : tree_(TreeOf<float, 3>::Make(*points, [](const SimplePointT<float>& point) {
          return std::array<float, 3>{point.x, point.y, point.z};
      })) {}

CNearestNeighbour::CNearestNeighbour(std::unique_ptr<Tree> tree) : tree_(std::move(tree)) {}

CNearestNeighbour::~CNearestNeighbour() = default;

std::unique_ptr<CNearestNeighbour> CNearestNeighbour::Make(
    const std::vector<SimplePointT<float>>& points, const std::function<bool()>& proceed) {
    const auto positionOf = [](const SimplePointT<float>& point) {
        return std::array<float, 3>{point.x, point.y, point.z};
    };
    std::unique_ptr<Tree> tree = TreeOf<float, 3>::Make(points, positionOf, proceed);
    if (tree == nullptr) return nullptr;
    return std::unique_ptr<CNearestNeighbour>(new CNearestNeighbour(std::move(tree)));
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
        StoreSorted({survey.some.data(), survey.count}, found);
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
