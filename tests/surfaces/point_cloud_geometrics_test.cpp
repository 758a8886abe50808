// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/point_cloud_geometrics.h"

#include <CGAL/ch_graham_andrew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>
#include <set>

#include "orvix/geometry/plane_frame.h"
#include "orvix/surfaces/planar_triangulation.h"
#include "orvix/surfaces/stoppable_surface.h"

namespace orvix {
namespace {

using Geometrics = PointCloudGeometrics;
using Kernel = CGAL::Epick;
using Plane = CGAL::Plane_3<Kernel>;
using Point = SimplePointT<double>;
using Points = std::vector<Point>;

const Plane kGround(0, 0, 1, 0);
const Plane kTilted(1, 2, 3, -4);

Points OnPlane(std::mt19937& random, const Plane& plane, std::size_t count) {
    const PlaneFrame frame(plane.a(), plane.b(), plane.c(), plane.d());
    std::uniform_real_distribution<double> place(-5, 5);
    Points points;
    for (std::size_t i = 0; i < count; ++i) {
        const double s = place(random);
        points.push_back(frame.To3D({s, place(random)}));
    }
    return points;
}

/// The corners of each face, smallest index first.
std::set<std::array<int, 3>> Triangles(const std::vector<int>& faces) {
    std::set<std::array<int, 3>> triangles;
    EXPECT_EQ(faces.size() % 4, 0U);
    for (std::size_t f = 0; f + 3 < faces.size(); f += 4) {
        EXPECT_EQ(faces[f], 3);
        std::array<int, 3> corners{faces[f + 1], faces[f + 2], faces[f + 3]};
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        EXPECT_TRUE(triangles.insert(corners).second) << "a face is listed twice";
    }
    return triangles;
}

using Flat = std::vector<Kernel::Point_2>;

Flat KernelPositions(const Points& points, const Plane& plane) {
    Flat flat;
    for (const Point& p : points) flat.push_back(plane.to_2d(Kernel::Point_3(p.x, p.y, p.z)));
    return flat;
}

Flat FramePositions(const Points& points, const Plane& plane) {
    const PlaneFrame frame(plane.a(), plane.b(), plane.c(), plane.d());
    Flat flat;
    for (const Point& p : points) flat.emplace_back(frame.To2D(p).x, frame.To2D(p).y);
    return flat;
}

/// Every face runs counter-clockwise and no point lies inside its circumscribed circle.
void ExpectDelaunay(const std::vector<int>& faces, const Flat& flat) {
    for (const auto& [i, j, k] : Triangles(faces)) {
        ASSERT_EQ(CGAL::orientation(flat[i], flat[j], flat[k]), CGAL::LEFT_TURN);
        for (const auto& p : flat) {
            ASSERT_NE(CGAL::side_of_oriented_circle(flat[i], flat[j], flat[k], p),
                      CGAL::ON_POSITIVE_SIDE);
        }
    }
}

double AreaOf(const std::vector<int>& faces, const Flat& flat) {
    double area = 0;
    for (const auto& [i, j, k] : Triangles(faces)) area += CGAL::area(flat[i], flat[j], flat[k]);
    return area;
}

bool HasEdge(const std::vector<int>& faces, int from, int to) {
    const auto triangles = Triangles(faces);
    return std::any_of(triangles.begin(), triangles.end(), [&](const auto& corners) {
        return std::count(corners.begin(), corners.end(), from) == 1 &&
               std::count(corners.begin(), corners.end(), to) == 1;
    });
}

class TriangulationModel : public testing::TestWithParam<unsigned> {};

TEST_P(TriangulationModel, SurfacesAreDelaunayAndFillTheHull) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    Points points = OnPlane(random, kTilted, 3 + random() % 80);
    std::vector<int> faces;
    Geometrics::Surface(points, kTilted, faces);
    const Flat flat = KernelPositions(points, kTilted);
    ExpectDelaunay(faces, flat);

    const Points none;
    std::vector<int> constrained;
    const std::size_t given = points.size();
    Geometrics::ConstrainedSurface(points, kTilted, constrained, &none);
    EXPECT_EQ(points.size(), given);
    ExpectDelaunay(constrained, FramePositions(points, kTilted));
    EXPECT_EQ(constrained.size(), faces.size());

    // The kernel's axes are not of unit length; the frame's are, so only its area is the true one.
    const Flat framed = FramePositions(points, kTilted);
    Flat hull;
    CGAL::ch_graham_andrew(framed.begin(), framed.end(), std::back_inserter(hull));
    EXPECT_NEAR(AreaOf(constrained, framed), Geometrics::ptArrToCGPolygon(hull).area(), 1e-9);
}
INSTANTIATE_TEST_SUITE_P(Seeds, TriangulationModel, testing::Range(0U, 20U));

TEST(PointCloudGeometrics, ListsThreePointsCounterClockwiseAndAppends) {
    std::vector<int> faces{7};
    Geometrics::Surface({{0, 0, 0}, {0, 1, 0}, {1, 0, 0}}, kGround, faces);
    ASSERT_EQ(faces.size(), 5U);
    EXPECT_EQ(faces[0], 7);
    faces.erase(faces.begin());
    EXPECT_EQ(*Triangles(faces).begin(), (std::array<int, 3>{0, 2, 1}));
}

TEST(PointCloudGeometrics, HasNoFacesForPointsOnALine) {
    Points line{{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0}};
    const Points none;
    std::vector<int> faces;
    Geometrics::Surface(line, kGround, faces);
    Geometrics::Surface({}, kGround, faces);
    Geometrics::ConstrainedSurface(line, kGround, faces, &none);
    EXPECT_TRUE(faces.empty());
}

// BEHAVIOUR S1
TEST(PointCloudGeometrics, SurfaceKeepsTheFirstAndConstrainedSurfaceTheLastOfEqualPositions) {
    Points points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 5}, {1, 0, -2}};
    std::vector<int> first;
    Geometrics::Surface(points, kGround, first);
    EXPECT_EQ(Triangles(first), (std::set<std::array<int, 3>>{{0, 1, 2}}));

    const Points none;
    std::vector<int> last;
    Geometrics::ConstrainedSurface(points, kGround, last, &none);
    EXPECT_EQ(Triangles(last), (std::set<std::array<int, 3>>{{2, 3, 4}}));
}

TEST(PointCloudGeometrics, ConstrainedSurfaceKeepsTheBoundaryAsEdges) {
    // A flat rhombus: its short diagonal is the Delaunay edge, its long one the boundary.
    Points points{{-3, 0, 0}, {0, -1, 0}, {3, 0, 0}, {0, 1, 0}};
    std::vector<int> faces;
    const Points onePoint{{9, 9, 0}};
    Geometrics::ConstrainedSurface(points, kGround, faces, &onePoint);
    EXPECT_TRUE(HasEdge(faces, 1, 3));
    EXPECT_EQ(points.size(), 4U);

    faces.clear();
    const Points boundary{points[0], points[0], points[2]};
    Geometrics::ConstrainedSurface(points, kGround, faces, &boundary);
    EXPECT_FALSE(HasEdge(faces, 1, 3));
    EXPECT_TRUE(HasEdge(faces, 0, 2));
    EXPECT_EQ(points.size(), 4U);
}

// A corner by its 2D position and, unless it was appended, its place in the list.
using Corner = std::array<double, 3>;

std::multiset<std::array<Corner, 3>> WithAppended(const std::vector<int>& faces, const Flat& flat,
                                                  std::size_t given) {
    std::multiset<std::array<Corner, 3>> triangles;
    for (std::size_t f = 0; f + 3 < faces.size(); f += 4) {
        std::array<Corner, 3> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto i = static_cast<std::size_t>(faces[f + 1 + k]);
            corners[k] = {flat[i].x(), flat[i].y(), i < given ? static_cast<double>(i) : -1};
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()),
                    corners.end());
        triangles.insert(corners);
    }
    return triangles;
}

// Points and boundary inserted one by one in the order of their lists.
std::vector<int> OneByOne(const Flat& points, const Flat& boundary, Flat& all) {
    PlanarTriangulation triangulation;
    for (std::size_t i = 0; i < points.size(); ++i)
        triangulation.insert(points[i])->index = static_cast<std::int32_t>(i);
    for (std::size_t k = 1; k < boundary.size(); ++k) {
        const auto from = triangulation.insert(boundary[k - 1]);
        const auto to = triangulation.insert(boundary[k]);
        if (from != to) triangulation.insert_constraint(from, to);
    }
    all = points;
    std::vector<int> faces;
    for (const auto face : triangulation.finite_face_handles()) {
        faces.push_back(3);
        for (int k = 0; k < 3; ++k) {
            const auto vertex = face->vertex(k);
            if (vertex->index < 0) {
                vertex->index = static_cast<std::int32_t>(all.size());
                all.push_back(vertex->point());
            }
            faces.push_back(vertex->index);
        }
    }
    return faces;
}

// On the ground the frame's positions are (-y, x); appended points are these as they are.
Flat OnGround(const Points& points, std::size_t given) {
    Flat flat = FramePositions(points, kGround);
    for (std::size_t i = given; i < points.size(); ++i) flat[i] = {points[i].x, points[i].y};
    return flat;
}

class ConstrainedModel : public testing::TestWithParam<unsigned> {};

TEST_P(ConstrainedModel, HasTheTrianglesOfInsertingOneByOne) {
    for (unsigned seed = GetParam(); seed < 200; seed += 4) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        // Scattered, on a raster, on a line: the boundary's corners are among the points or are not.
        const auto draw = [&] {
            const auto whole = [&](unsigned below) {
                return static_cast<double>(random() % below);
            };
            const double x = whole(16), y = whole(16);
            if (seed % 4 == 0) return Point{1e-3 * whole(9973), 1e-3 * whole(9973), 0};
            return seed % 4 == 1 ? Point{x, x + 1, 0} : Point{x, y, 0};
        };
        Points points(random() % (seed % 7 == 0 ? 600 : 40));
        for (Point& p : points) p = draw();
        Points boundary(random() % 8);
        for (Point& p : boundary) {
            p = random() % 2 == 0 || points.empty()
                    ? Point{0.5 * static_cast<double>(random() % 32), draw().y, 0}
                    : points[random() % points.size()];
        }
        Flat all;
        const std::vector<int> expected =
            OneByOne(FramePositions(points, kGround), FramePositions(boundary, kGround), all);
        const std::size_t given = points.size();
        std::vector<int> faces;
        Geometrics::ConstrainedSurface(points, kGround, faces, &boundary);
        ASSERT_EQ(points.size(), all.size());
        ASSERT_EQ(WithAppended(faces, OnGround(points, given), given),
                  WithAppended(expected, all, given));
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, ConstrainedModel, testing::Range(0U, 4U));

TEST(PointCloudGeometrics, StopsWhereTheCallerSaysSo) {
    std::mt19937 random(6);
    const Points scattered = OnPlane(random, kGround, 20'000);
    const PlaneFrame frame(0, 0, 1, 0);
    const Points boundary(scattered.begin(), scattered.begin() + 140);
    int asked = 0;
    const auto stopsAt = [&](int last) {
        asked = 0;
        Points points = scattered;
        std::vector<int> faces;
        return !detail::ConstrainedSurfaceWhile(points, frame, faces, boundary,
                                                [&] { return ++asked != last; });
    };
    EXPECT_FALSE(stopsAt(0));
    const int all = asked;
    EXPECT_GT(all, 30);  // strips, faces and segments
    for (int last = 1; last <= all; last += 1 + all / 10) {
        ASSERT_TRUE(stopsAt(last));
        ASSERT_EQ(asked, last);
    }
}

// BEHAVIOUR S4
TEST(PointCloudGeometrics, LeavesTheBoundaryOpen) {
    Points points{{-3, 0, 0}, {0, -1, 0}, {3, 0, 0}, {0, 1, 0}, {0, 4, 0}};
    const Points boundary{points[0], points[4], points[2]};
    std::vector<int> faces;
    Geometrics::ConstrainedSurface(points, kGround, faces, &boundary);
    EXPECT_FALSE(HasEdge(faces, 0, 2));
}

// BEHAVIOUR S2
TEST(PointCloudGeometrics, AppendsBoundaryPointsAsPlanarPositionsWithTheirDistance) {
    const PlaneFrame frame(1, 2, 3, -4);
    std::mt19937 random(4);
    Points points = OnPlane(random, kTilted, 12);
    const Points given = points;
    const Points boundary{frame.To3D({6, 1}), frame.To3D({7, 2})};
    std::vector<int> faces;
    Geometrics::ConstrainedSurface(points, kTilted, faces, &boundary);
    ASSERT_EQ(points.size(), given.size() + 2);
    std::set<double> lefts;
    for (std::size_t i = given.size(); i < points.size(); ++i) {
        const Point& p = points[i];
        lefts.insert(std::round(p.x));
        EXPECT_EQ(p.z, (1 * p.x + 2 * p.y + 3 * 0 - 4) / std::sqrt(14.0));
    }
    EXPECT_EQ(lefts, (std::set<double>{6, 7}));
    // New vertices are numbered in the order in which the faces first meet them.
    const int first = static_cast<int>(given.size());
    const auto place = [&](int index) { return std::find(faces.begin(), faces.end(), index); };
    EXPECT_LT(place(first), place(first + 1));
}

TEST(PointCloudGeometrics, MakesAVertexWhereBoundarySegmentsCross) {
    Points points{{-1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {1, -1, 0}};
    const Points boundary{points[0], points[1], points[2], points[3]};
    std::vector<int> faces;
    Geometrics::ConstrainedSurface(points, kGround, faces, &boundary);
    ASSERT_EQ(points.size(), 5U);
    EXPECT_EQ(points[4].x, 0);
    EXPECT_EQ(points[4].y, 0);
    EXPECT_EQ(points[4].z, 0);
    EXPECT_EQ(Triangles(faces).size(), 4U);
    for (int corner = 0; corner < 4; ++corner) EXPECT_TRUE(HasEdge(faces, corner, 4));
}

TEST(PointCloudGeometrics, LeavesOutPointsThatAreNotFinite) {
    Points points{{0, 0, 0}, {NAN, 0, 0}, {1, 0, 0}, {0, INFINITY, 0}, {0, 1, 0}};
    const Points none;
    std::vector<int> faces;
    Geometrics::Surface(points, kGround, faces);
    Geometrics::ConstrainedSurface(points, Plane(0, 0, 2, 0), faces, &none);
    EXPECT_EQ(faces.size(), 8U);
}

TEST(PointCloudGeometrics, ExtractsUnassignedVerticesAsMinusOne) {
    PlanarTriangulation triangulation;
    triangulation.insert(Kernel::Point_2(0, 0))->index = 5;
    triangulation.insert(Kernel::Point_2(1, 0))->index = 6;
    triangulation.insert(Kernel::Point_2(0, 1));
    std::vector<int> faces;
    Geometrics::ExtractSurfaceFaces(triangulation, faces);
    EXPECT_EQ(Triangles(faces), (std::set<std::array<int, 3>>{{-1, 5, 6}}));
}

TEST(PointCloudGeometrics, CountsThePolygonsRimAsInside) {
    const auto polygon = Geometrics::ptArrToCGPolygon({{0, 0}, {2, 0}, {1, 1}, {2, 2}, {0, 2}});
    EXPECT_TRUE(Geometrics::isInPolygonCGAL({0, 0}, polygon));
    EXPECT_TRUE(Geometrics::isInPolygonCGAL({1, 1}, polygon));
    EXPECT_TRUE(Geometrics::isInPolygonCGAL({0.5, 1}, polygon));
    EXPECT_FALSE(Geometrics::isInPolygonCGAL({1.5, 1}, polygon));
    EXPECT_TRUE(Geometrics::ptArrToCGPolygon({}).is_empty());
}

// BEHAVIOUR S5
TEST(PointCloudGeometrics, AngleMultipliesByTheLengthOfItsSecondVector) {
    using Vector = CGAL::Vector_3<Kernel>;
    EXPECT_EQ(Geometrics::Angle(Vector(1, 0, 0), Vector(0, 1, 0)), std::acos(0.0));
    EXPECT_EQ(Geometrics::Angle(Vector(2, 0, 0), Vector(1, 0, 0)), 0);
    EXPECT_EQ(Geometrics::Angle(Vector(1, 0, 0), Vector(0.5, 0, 0)), std::acos(0.25));
    EXPECT_TRUE(std::isnan(Geometrics::Angle(Vector(1, 0, 0), Vector(2, 0, 0))));
    EXPECT_EQ(Geometrics::Angle(Vector(0, 0, 0), Vector(1, 0, 0)), 0);
    EXPECT_EQ(Geometrics::Angle(Vector(1, 0, 0), Vector(0, 0, 0)), 0);
}

TEST(PointCloudGeometrics, PolarAndMiddlePoint) {
    SimplePoint2DT<double> p;
    Geometrics::Polar(std::numbers::pi / 6, 2, {10, 20}, p);
    EXPECT_DOUBLE_EQ(p.x, 10 + std::sqrt(3.0));
    EXPECT_DOUBLE_EQ(p.y, 21);
    Point a{1, 2, 3};
    const Point b{3, 6, -3};
    Geometrics::CalcMiddlePoint(&a, &b, &a);
    EXPECT_EQ(a.x, 2);
    EXPECT_EQ(a.y, 4);
    EXPECT_EQ(a.z, 0);
}

}  // namespace
}  // namespace orvix
