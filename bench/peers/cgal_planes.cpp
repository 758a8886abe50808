// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/peers/cgal_planes.h"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Shape_detection/Efficient_RANSAC.h>
#include <CGAL/Shape_detection/Region_growing/Region_growing.h>
#include <CGAL/Shape_detection/Region_growing/Region_growing_on_point_set.h>
#include <CGAL/pca_estimate_normals.h>
#include <CGAL/property_map.h>

#include <cmath>
#include <numbers>
#include <tuple>

#include "bench/bench_support.h"

namespace orvix::bench {
namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
// The place in the input goes along: Efficient RANSAC reorders its points.
using Item = std::tuple<Kernel::Point_3, Kernel::Vector_3, std::size_t>;
using Items = std::vector<Item>;
using PointMap = CGAL::Nth_of_tuple_property_map<0, Item>;
using NormalMap = CGAL::Nth_of_tuple_property_map<1, Item>;
namespace shapes = CGAL::Shape_detection;

constexpr unsigned kNeighbours = 12;

Items ItemsOf(const std::vector<SimplePointT<double>>& points, PeerResult& result) {
    Items items;
    items.reserve(points.size());
    for (const auto& p : points)
        items.emplace_back(Kernel::Point_3(p.x, p.y, p.z), Kernel::Vector_3(0, 0, 0), items.size());
    result.normalSeconds = Seconds([&] {
        CGAL::pca_estimate_normals<CGAL::Sequential_tag>(
            items, kNeighbours, CGAL::parameters::point_map(PointMap()).normal_map(NormalMap()));
    });
    result.labels.assign(points.size(), -1);
    return items;
}

}  // namespace

PeerResult CgalRegionGrowing(const std::vector<SimplePointT<double>>& points,
                             const PeerSettings& settings) {
    using Neighbours = shapes::Point_set::K_neighbor_query<Kernel, Items, PointMap>;
    using Regions =
        shapes::Point_set::Least_squares_plane_fit_region<Kernel, Items, PointMap, NormalMap>;
    using Sorting =
        shapes::Point_set::Least_squares_plane_fit_sorting<Kernel, Items, Neighbours, PointMap>;
    PeerResult result;
    const Items items = ItemsOf(points, result);
    result.seconds = Seconds([&] {
        Neighbours neighbours(items, kNeighbours);
        Regions region(items, settings.distance, settings.angleDegrees, settings.minPoints);
        Sorting sorting(items, neighbours);
        sorting.sort();
        shapes::Region_growing<Items, Neighbours, Regions, Sorting::Seed_map> growing(
            items, neighbours, region, sorting.seed_map());
        std::vector<std::vector<std::size_t>> found;
        growing.detect(std::back_inserter(found));
        for (std::size_t i = 0; i < found.size(); ++i)
            for (const std::size_t at : found[i]) result.labels[at] = static_cast<std::int32_t>(i);
    });
    return result;
}

PeerResult CgalEfficientRansac(const std::vector<SimplePointT<double>>& points,
                               const PeerSettings& settings) {
    using Traits = shapes::Efficient_RANSAC_traits<Kernel, Items, PointMap, NormalMap>;
    using Ransac = shapes::Efficient_RANSAC<Traits>;
    PeerResult result;
    Items items = ItemsOf(points, result);
    result.seconds = Seconds([&] {
        Ransac ransac;
        ransac.set_input(items);
        ransac.add_shape_factory<shapes::Plane<Traits>>();
        Ransac::Parameters parameters;
        parameters.probability = 0.01;
        parameters.min_points = settings.minPoints;
        parameters.epsilon = settings.distance;
        parameters.normal_threshold = std::cos(settings.angleDegrees * std::numbers::pi / 180);
        parameters.cluster_epsilon = settings.clusterDistance;
        ransac.detect(parameters);
        std::int32_t number = 0;
        for (const auto& shape : ransac.shapes()) {
            for (const std::size_t at : shape->indices_of_assigned_points())
                result.labels[std::get<2>(items[at])] = number;
            ++number;
        }
    });
    return result;
}

}  // namespace orvix::bench
