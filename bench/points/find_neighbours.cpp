// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does CNearestNeighbour cost over another tree, asked directly?
// Ceiling:  nanoflann's radius search, sorted by distance, into a vector that is reused, over the same
//           points in the order in which they come.
#include <fmt/format.h>
#include <nanoflann.hpp>

#include <algorithm>
#include <random>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/points/nearest_neighbour.h"

namespace {

namespace bench = orvix::bench;
using orvix::CNearestNeighbour;
using Points = std::vector<orvix::SimplePointT<float>>;
using Query = orvix::SimplePointT<double>;

/// A room of 8 x 8 x 3 m, scanned: points on its six faces, 3 mm of noise.
Points Room(std::uint64_t count) {
    std::mt19937_64 random(1);
    const auto unit = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    Points points;
    points.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        const double noise = (unit() - 0.5) * 0.006;
        const double face = unit() * (2 * 64 + 4 * 24);
        const double a = unit() * 8;
        if (face < 128) {
            const double z = face < 64 ? 0 : 3;
            points.push_back({float(a), float(unit() * 8), float(z + noise)});
        } else {
            const double z = unit() * 3;
            const double wall = (face < 152 || (face >= 176 && face < 200) ? 0 : 8) + noise;
            const bool alongX = face < 176;
            points.push_back({float(alongX ? a : wall), float(alongX ? wall : a), float(z)});
        }
    }
    return points;
}

/// The points as nanoflann asks for them.
struct Cloud {
    const Points& points;
    [[nodiscard]] std::size_t kdtree_get_point_count() const { return points.size(); }
    [[nodiscard]] double kdtree_get_pt(int i, std::size_t axis) const {
        const auto& point = points[static_cast<std::size_t>(i)];
        return axis == 0 ? point.x : axis == 1 ? point.y : point.z;
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};
using Metric = nanoflann::L2_Simple_Adaptor<double, Cloud, double, int>;
using Tree = nanoflann::KDTreeSingleIndexAdaptor<Metric, Cloud, 3, int>;

constexpr std::size_t kLeafPoints = 20;  // of nanoflann's: the fastest for these queries

/// The tree's answers, into memory that is reused: none of it is asked for anew.
class TreeSearch {
public:
    explicit TreeSearch(const Tree& tree) : tree_(tree) {}

    const std::vector<int>& Find(const Query& query, double radius) {
        const double position[] = {query.x, query.y, query.z};
        tree_.radiusSearch(position, radius, found_, {});
        indices_.resize(found_.size());
        std::ranges::transform(found_, indices_.begin(),
                               [](const auto& pair) { return pair.first; });
        return indices_;
    }

private:
    const Tree& tree_;
    std::vector<std::pair<int, double>> found_;
    std::vector<int> indices_;
};

int NearestByTree(const Tree& tree, const Query& query) {
    const double position[] = {query.x, query.y, query.z};
    int nearest = -1;
    double squared = 0;
    tree.knnSearch(position, 1, &nearest, &squared);
    return nearest;
}

std::vector<Query> QueriesNear(const Points& points) {
    std::mt19937_64 random(2);
    std::vector<Query> queries;
    for (int i = 0; i < 16'384; ++i) {
        const auto& point = points[random() % points.size()];
        queries.push_back({point.x + 0.001, point.y - 0.001, point.z + 0.001});
    }
    return queries;
}

void CompareRadius(bench::Report& report, const Tree& tree, CNearestNeighbour& index,
                   const std::vector<Query>& all, double radius) {
    const double bound = radius * radius;
    const std::size_t checked = 64;
    TreeSearch search(tree);
    std::uint64_t total = 0;
    int count = 0;
    for (std::size_t i = 0; i < checked; ++i) {
        std::vector<int> expected = search.Find(all[i], bound);
        const int* indices = index.Find(&all[i], bound, count);
        bench::Require(static_cast<std::size_t>(count) == expected.size(), "counts differ");
        total += expected.size();
        std::vector<int> given(indices, indices + count);
        std::ranges::sort(given);
        std::ranges::sort(expected);
        bench::Require(given == expected, "other points are found");
    }
    const std::size_t asked =
        std::min<std::size_t>(all.size(), 400'000 / (total / checked + 1) + 4);
    report.Compare(
        fmt::format("{} points, {} queries of about {}", tree.dataset.points.size(), asked,
                    total / checked),
        0,
        [&] {
            for (std::size_t i = 0; i < asked; ++i) {
                bench::Keep(search.Find(all[i], bound).size());
            }
        },
        [&] {
            for (std::size_t i = 0; i < asked; ++i) bench::Keep(index.Find(&all[i], bound, count));
        },
        bench::AtMost(0.85));
}

void CompareNearest(bench::Report& report, const Tree& tree, CNearestNeighbour& index,
                    const std::vector<Query>& queries) {
    int nearest = 0;
    for (const Query& query : queries) {
        bench::Require(index.FindNearest(query, nearest), "nothing is near");
        bench::Require(nearest == NearestByTree(tree, query), "another point is the nearest");
    }
    report.Compare(
        fmt::format("{} points, {} queries of the nearest", tree.dataset.points.size(),
                    queries.size()),
        0,
        [&] {
            for (const Query& query : queries) bench::Keep(NearestByTree(tree, query));
        },
        [&] {
            for (const Query& query : queries) bench::Keep(index.FindNearest(query, nearest));
        },
        bench::AtMost(0.85));
}

void CompareAll(bench::Options options, std::uint64_t count) {
    const Points points = Room(count);
    const Cloud cloud{points};
    const Tree tree(3, cloud, kLeafPoints);
    CNearestNeighbour index(&points);
    const auto queries = QueriesNear(points);

    bench::Report queried("find_neighbours", options);
    for (const double radius : {0.05, 0.2, 0.6, 2.5}) {
        CompareRadius(queried, tree, index, queries, radius);
    }
    CompareNearest(queried, tree, index, queries);

    options.repeats = std::min<int>(options.repeats, count > 2'000'000 ? 1 : 5);
    bench::Report built("find_neighbours", options);
    built.Compare(
        fmt::format("{} points, building", count), 0,
        [&] { bench::Keep(Tree(3, cloud, kLeafPoints).root_bbox); },
        [&] { bench::Keep(CNearestNeighbour(&points)); }, bench::AtMost(0.65));
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    if (options.points != bench::Options().points) {
        CompareAll(options, options.points);
    } else {
        for (const std::uint64_t count : {100'000, 1'000'000, 10'000'000}) {
            CompareAll(options, count);
        }
    }
    return 0;
}
