// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/polygon_index.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "orvix/surfaces/point_cloud_geometrics.h"

namespace orvix::detail {
namespace {

using Ring = std::vector<SimplePoint2DT<double>>;

// A star around the origin: simple, with spikes of random length.
Ring Star(std::mt19937& random, int corners) {
    std::uniform_real_distribution<double> radius(0.1, 2);
    Ring ring;
    for (int i = 0; i < corners; ++i) {
        SimplePoint2DT<double> p;
        PointCloudGeometrics::Polar(2 * std::numbers::pi * i / corners, radius(random), {0, 0}, p);
        ring.push_back(p);
    }
    return ring;
}

class PolygonIndexModel : public testing::TestWithParam<unsigned> {};

TEST_P(PolygonIndexModel, AgreesWithThePolygonTestOnRandomStars) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    const Ring ring = Star(random, 3 + static_cast<int>(random() % 200));
    const PolygonIndex index(ring);
    std::vector<CGAL::Point_2<CGAL::Epick>> corners;
    for (const auto& p : ring) corners.emplace_back(p.x, p.y);
    const auto polygon = PointCloudGeometrics::ptArrToCGPolygon(corners);
    const auto expectSame = [&](double x, double y) {
        EXPECT_EQ(index.Contains({x, y}), PointCloudGeometrics::isInPolygonCGAL({x, y}, polygon))
            << x << ", " << y;
    };
    std::uniform_real_distribution<double> place(-2.1, 2.1);
    for (int i = 0; i < 300; ++i) expectSame(place(random), place(random));
    for (const auto& p : ring) {  // at the heights of vertices, where a ray meets two edges
        expectSame(place(random), p.y);
        expectSame(p.x, p.y);
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, PolygonIndexModel, testing::Range(0U, 24U));

TEST(PolygonIndex, CountsEdgesAndVerticesAsInside) {
    const PolygonIndex index(Ring{{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    for (const auto& p : Ring{{0, 0}, {4, 4}, {2, 0}, {4, 1}, {2, 4}, {0, 3}}) {
        EXPECT_TRUE(index.Contains(p)) << p.x << ", " << p.y;
    }
    EXPECT_FALSE(index.Contains({4, std::nextafter(4.0, 5.0)}));
    EXPECT_FALSE(index.Contains({std::nextafter(0.0, -1.0), 2}));
}

TEST(PolygonIndex, SeesHolesAndIslandsInThemWithTheirRimsInside) {
    PlaneOutline outline;
    outline.regions.push_back(
        {{{{0, 0}, {9, 0}, {9, 9}, {0, 9}}, {}}, {{{{2, 2}, {2, 7}, {7, 7}, {7, 2}}, {}}}});
    outline.regions.push_back({{{{4, 4}, {5, 4}, {5, 5}, {4, 5}}, {}}, {}});
    const PolygonIndex index(outline);
    EXPECT_TRUE(index.Contains({1, 5}));
    EXPECT_FALSE(index.Contains({3, 5}));
    EXPECT_TRUE(index.Contains({4.5, 4.5}));
    EXPECT_TRUE(index.Contains({2, 5}));
    EXPECT_TRUE(index.Contains({4, 4.5}));
}

TEST(PolygonIndex, FlatRingsFarApartTakeNoMoreMemoryThanTheirEdges) {
    PlaneOutline outline;
    outline.regions.push_back({{{{0, 0}, {1, 0}, {1, 1e-16}}, {}}, {}});
    outline.regions.push_back({{{{0, 5}, {1, 5}, {1, 5}}, {}}, {}});
    const PolygonIndex index(outline);
    EXPECT_TRUE(index.Contains({0.5, 5}));
    EXPECT_FALSE(index.Contains({0.5, 2}));
}

TEST(PolygonIndex, ContainsNothingWithoutFiniteRings) {
    EXPECT_FALSE(PolygonIndex().Contains({0, 0}));
    EXPECT_FALSE(PolygonIndex(Ring{{0, 0}, {1, NAN}, {0, 1}}).Contains({0.1, 0.1}));
    const PolygonIndex flat(Ring{{0, 1}, {2, 1}, {5, 1}});
    EXPECT_TRUE(flat.Contains({3, 1}));
    EXPECT_FALSE(flat.Contains({3, 1.5}));
    EXPECT_FALSE(flat.Contains({NAN, NAN}));
}

}  // namespace
}  // namespace orvix::detail
