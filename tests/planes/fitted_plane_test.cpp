// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/fitted_plane.h"

#include <Eigen/Eigenvalues>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "orvix/geometry/symmetric_matrix.h"

namespace orvix {
namespace {

using Point = SimplePointT<double>;
using Points = std::vector<Point>;

constexpr double kLowest = std::numeric_limits<double>::lowest();

void ExpectNear(const Point& p, const Point& q, double tolerance) {
    EXPECT_NEAR(p.x, q.x, tolerance);
    EXPECT_NEAR(p.y, q.y, tolerance);
    EXPECT_NEAR(p.z, q.z, tolerance);
}

FittedPlane Fit(const Points& points) {
    FittedPlane plane;
    for (const Point& p : points) plane.AddPoint(p);
    plane.Generate(false);
    return plane;
}

FittedPlane PlaneOf(double a, double b, double c, double d) {
    FittedPlane plane;
    plane.set(a, b, c, d, 0, 0, 0);
    return plane;
}

/// A sheet of `frame`'s plane around 2D position `middle`: 6 by 4 m, a point every 10 cm, with a
/// window of 2 by 2 m in its middle.
Points SheetWithWindow(const PlaneFrame& frame, const SimplePoint2DT<double>& middle) {
    Points points;
    for (int i = -30; i <= 30; ++i) {
        for (int j = -20; j <= 20; ++j) {
            if (std::abs(i) < 10 && std::abs(j) < 10) continue;
            points.push_back(frame.To3D({middle.x + 0.1 * i, middle.y + 0.1 * j}));
        }
    }
    return points;
}

// BEHAVIOUR F3
TEST(FittedPlane, RaisesAMaximumOnlyByAPointThatDoesNotLowerTheMinimum) {
    FittedPlane plane;
    plane.AddPoint({1, 2, 3});
    ExpectNear(plane.Extends().min, {1, 2, 3}, 0);
    EXPECT_EQ(plane.Extends().max.x, kLowest);
    EXPECT_EQ(plane.Extends().max.z, kLowest);
    plane.AddPoint({0, 5, 3});
    EXPECT_EQ(plane.Extends().min.x, 0);
    EXPECT_EQ(plane.Extends().max.x, kLowest);
    EXPECT_EQ(plane.Extends().max.y, 5);
    EXPECT_EQ(plane.Extends().max.z, 3);
    EXPECT_EQ(plane.Count(), 2);
}

TEST(FittedPlane, AddsOneOfItsOwnPointsAgain) {
    FittedPlane plane;
    plane.AddPoint({4, 5, 6});
    plane.AddPoint({1, 2, 3});
    plane.data().shrink_to_fit();
    plane.AddPoint(plane.data().front());
    ExpectNear(plane.data().back(), {4, 5, 6}, 0);
    ExpectNear(plane.Extends().max, {4, 5, 6}, 0);
}

TEST(FittedPlane, AddsIndexedPointsFromEitherSourceInEitherForm) {
    const std::vector<SimplePointT<float>> cloud{{0, 0, 0}, {1, 2, 3}, {4, 5, 6}};
    const std::vector<const SimplePointT<float>*> pointers{&cloud[0], &cloud[1], &cloud[2]};
    int indices[] = {2, 1, 0};
    FittedPlane plane;
    plane.AddPoints(&cloud, indices, 2, false);
    plane.AddPoints(&pointers, indices, 2, false);
    plane.AddPoints(&cloud, std::vector<int>{0}, false);
    ASSERT_EQ(plane.data().size(), 5U);
    ExpectNear(plane.data()[2], {4, 5, 6}, 0);
    plane.AddPoints(&pointers, std::vector<int>{1}, true);
    ASSERT_EQ(plane.data().size(), 1U);
    EXPECT_EQ(plane.Count(), 1);
    plane.AddPoints(&cloud, indices, -1, false);
    EXPECT_EQ(plane.Count(), 1);
    plane.AddPoints(&cloud, indices, 0, true);
    EXPECT_EQ(plane.Count(), 0);
}

TEST(FittedPlane, ThrowsAtAnIndexOutsideTheSourceAndKeepsThePointsBeforeIt) {
    const std::vector<SimplePointT<float>> cloud{{0, 0, 0}, {1, 2, 3}};
    FittedPlane plane;
    EXPECT_THROW(plane.AddPoints(&cloud, std::vector<int>{1, 0, 2, 1}, false), std::out_of_range);
    EXPECT_EQ(plane.Count(), 2);
    EXPECT_THROW(plane.AddPoints(&cloud, std::vector<int>{-1}, false), std::out_of_range);
    EXPECT_EQ(plane.Count(), 2);
    std::vector<int> longList(700, 1);  // blocks are of 256
    for (const int outside :
         {2, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        for (const std::size_t place : {255U, 256U, 600U}) {
            FittedPlane many;
            std::vector<int> indices = longList;
            indices[place] = outside;
            EXPECT_THROW(many.AddPoints(&cloud, indices, false), std::out_of_range);
            EXPECT_EQ(many.data().size(), place);
            EXPECT_EQ(many.Count(), static_cast<std::int32_t>(place));
            ExpectNear(many.Extends().max, many.data().back(), 0);
        }
    }
    const std::vector<SimplePointT<float>> none;
    EXPECT_THROW(plane.AddPoints(&none, std::vector<int>{0}, false), std::out_of_range);
}

/// Coordinates of which some fall from point to point, some are no numbers and some are zeros of
/// either sign.
std::vector<SimplePointT<float>> OddCloud(std::mt19937& random, std::size_t count) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    std::uniform_real_distribution<float> unit(-1, 1);
    std::uniform_int_distribution<int> kind(0, 9);
    const auto falling = static_cast<std::size_t>(kind(random)) * 40;  // blocks are of 256
    const bool withGaps = kind(random) < 3;
    std::vector<SimplePointT<float>> cloud;
    for (std::size_t i = 0; i < count; ++i) {
        SimplePointT<float> p{unit(random), unit(random), unit(random)};
        if (i < falling) p.y = -2 - static_cast<float>(i);
        if (withGaps && kind(random) == 0) p.x = kNone;
        if (kind(random) == 0) p.z = std::copysign(0.0F, unit(random));
        cloud.push_back(p);
    }
    return cloud;
}

/// The bits of all that a plane says, in which no number is like any other.
std::vector<std::uint64_t> BitsOf(const FittedPlane& plane) {
    std::vector<std::uint64_t> bits{static_cast<std::uint64_t>(plane.Count())};
    const auto put = [&](double value) {
        bits.push_back(std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value));
    };
    const auto putAll = [&](const Point& p) {
        put(p.x);
        put(p.y);
        put(p.z);
    };
    for (const double value : {plane.a(), plane.b(), plane.c(), plane.d()}) put(value);
    putAll({plane.x(), plane.y(), plane.z()});
    putAll(plane.Extends().min);
    putAll(plane.Extends().max);
    for (const Point& p : plane.data()) putAll(p);
    return bits;
}

/// The mean and the covariance of a plane's points, summed in their order by plain loops.
FittedPlane FittedByPlainLoops(const FittedPlane& like) {
    FittedPlane plane = like;
    const double count = static_cast<double>(like.data().size());
    Point mean;
    for (const Point& p : like.data()) mean = {mean.x + p.x, mean.y + p.y, mean.z + p.z};
    mean = {mean.x * (1 / count), mean.y * (1 / count), mean.z * (1 / count)};
    detail::SymmetricMatrix m;
    for (const Point& p : like.data()) {
        const double x = p.x - mean.x, y = p.y - mean.y, z = p.z - mean.z;
        m = {m.xx + x * x, m.xy + x * y, m.xz + x * z, m.yy + y * y, m.yz + y * z, m.zz + z * z};
    }
    m = {m.xx / count, m.xy / count, m.xz / count, m.yy / count, m.yz / count, m.zz / count};
    const auto [a, b, c] = detail::DecomposeSymmetric(m).vectors[2];
    plane.set(a, b, c, -(a * mean.x + b * mean.y + c * mean.z), mean.x, mean.y, mean.z);
    return plane;
}

TEST(FittedPlane, HasTheBitsOfPointsThatAreAddedAndSummedOneByOne) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        const std::size_t count = random() % (round % 4 == 0 ? 1200 : 40);
        const auto cloud = OddCloud(random, count);
        std::vector<int> indices(count);
        for (int& index : indices) index = static_cast<int>(random() % count);
        FittedPlane together, oneByOne;
        for (int times = 0; times < 2; ++times) {  // the second time beside points that are there
            together.AddPoints(&cloud, indices, false);
            for (const int i : indices) {
                const auto& p = cloud[static_cast<std::size_t>(i)];
                oneByOne.AddPoint({p.x, p.y, p.z});
            }
            EXPECT_EQ(BitsOf(together), BitsOf(oneByOne));
        }
        together.Generate(false);
        EXPECT_EQ(BitsOf(together), BitsOf(FittedByPlainLoops(oneByOne)));
    }
}

TEST(FittedPlane, FitsFourPointsOfALevelPlane) {
    const FittedPlane plane = Fit({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 1, 2}});
    EXPECT_EQ(plane.a(), 0);
    EXPECT_EQ(plane.b(), 0);
    EXPECT_EQ(std::abs(plane.c()), 1);
    EXPECT_EQ(plane.d(), -2 * plane.c());
    EXPECT_EQ(plane.x(), 0.5);
    EXPECT_EQ(plane.y(), 0.5);
    EXPECT_EQ(plane.z(), 2);
}

TEST(FittedPlane, HasNoNumbersForNoPoints) {
    const FittedPlane plane = Fit({});
    EXPECT_TRUE(std::isnan(plane.x()));
    EXPECT_TRUE(std::isnan(plane.d()));
}

class FittedPlaneModel : public testing::TestWithParam<unsigned> {};

TEST_P(FittedPlaneModel, AgreesWithTheReferenceNearTheOriginAndTenKilometresAway) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    std::uniform_real_distribution<double> unit(-1, 1);
    std::normal_distribution<double> noise(0, 0.01);
    const PlaneFrame frame(unit(random), unit(random), unit(random), unit(random));
    const double away = GetParam() % 2 == 0 ? 0 : 1e4;
    const Point shift{away, -away, away / 2};
    Points points;
    for (int i = 0; i < 500; ++i) {
        const double s = 3 * unit(random);
        Point p = frame.To3D({s, 2 * unit(random)});
        const double off = noise(random);
        points.push_back({p.x + off * frame.Normal().x + shift.x,
                          p.y + off * frame.Normal().y + shift.y,
                          p.z + off * frame.Normal().z + shift.z});
    }
    const FittedPlane plane = Fit(points);

    Eigen::Matrix3Xd matrix(3, points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        matrix.col(static_cast<Eigen::Index>(i)) << points[i].x, points[i].y, points[i].z;
    }
    const Eigen::Vector3d mean = matrix.rowwise().mean();
    matrix.colwise() -= mean;
    const Eigen::Matrix3d covariance = matrix * matrix.transpose() / 500.0;
    const Eigen::Vector3d normal =
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(covariance).eigenvectors().col(0);
    const Eigen::Vector3d fitted(plane.a(), plane.b(), plane.c());
    EXPECT_NEAR(fitted.norm(), 1, 1e-14);
    EXPECT_LT((fitted - std::copysign(1.0, fitted.dot(normal)) * normal).norm(), 1e-9);
    EXPECT_NEAR(plane.d(), -fitted.dot(mean), 1e-9);
    ExpectNear({plane.x(), plane.y(), plane.z()}, {mean[0], mean[1], mean[2]}, 1e-9);

    const PlaneResiduals residuals = plane.Residuals();
    EXPECT_NEAR(residuals.rms, std::sqrt((fitted.transpose() * matrix).squaredNorm() / 500.0),
                1e-9);
    EXPECT_NEAR(residuals.max, (fitted.transpose() * matrix).cwiseAbs().maxCoeff(), 1e-9);
}
INSTANTIATE_TEST_SUITE_P(Seeds, FittedPlaneModel, testing::Range(0U, 24U));

TEST(FittedPlane, KeepsExtentsAndCountWhenItDropsItsPoints) {
    FittedPlane plane = Fit({{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 1, 2}});
    plane.Generate(true);
    EXPECT_TRUE(plane.data().empty());
    ExpectNear(plane.Extends().min, {0, 0, 2}, 0);
    EXPECT_EQ(plane.Count(), 4);
    plane.Clear();
    EXPECT_EQ(plane.Count(), 0);
    EXPECT_EQ(plane.Extends().max.x, kLowest);
    EXPECT_EQ(std::abs(plane.c()), 1) << "the coefficients stay";
}

// BEHAVIOUR F4
TEST(FittedPlane, KeepsItsOutlineWhenItsCoefficientsAreSet) {
    FittedPlane plane = Fit({{0, 0, 2}, {3, 0, 2}, {0, 2, 2}, {3, 2, 2}});
    plane.Generate2DExt();
    EXPECT_DOUBLE_EQ(plane.Area(), 6);
    plane.set(0, 0, 1, -2.5, 0, 0, 2.5);
    EXPECT_DOUBLE_EQ(plane.Area(), 6);
    plane.Generate(false);
    EXPECT_EQ(plane.Area(), 0);
}

TEST(FittedPlane, OutlinesItsPointsAndTellsInsideFromOutside) {
    const PlaneFrame frame(0.36, 0.48, 0.8, -14000);
    FittedPlane plane = Fit(SheetWithWindow(frame, {9000, -500}));
    EXPECT_FALSE(plane.IsPointInContour(plane.data()[0])) << "there is no outline yet";
    EXPECT_FALSE(plane.IsPointInBound(plane.data()[0]));
    plane.Generate2DExt();
    ASSERT_EQ(plane.Outline().regions.size(), 1U);
    ASSERT_EQ(plane.Outline().regions[0].holes.size(), 1U);
    EXPECT_NEAR(plane.Area(), 24 - 4, 0.25);

    const auto at = [&](double s, double t) { return frame.To3D({9000 + s, -500 + t}); };
    EXPECT_TRUE(plane.IsPointInContour(at(2.05, 1.05)));
    EXPECT_FALSE(plane.IsPointInContour(at(0, 0))) << "in the window";
    EXPECT_TRUE(plane.IsPointInBound(at(0, 0)));
    EXPECT_FALSE(plane.IsPointInContour(at(3.05, 0)));
    EXPECT_FALSE(plane.IsPointInBound(at(0, 2.05)));

    for (const Point& p : plane.RingTo3D(plane.Outline().regions[0].outer)) {
        EXPECT_NEAR(frame.Distance(p), 0, 1e-9);
    }
}

TEST(FittedPlane, CountsItsRimAsInside) {
    FittedPlane plane;
    for (int i = 0; i <= 9; ++i) {
        for (int j = 0; j <= 9; ++j) plane.AddPoint({double(i), double(j), 2});
    }
    plane.Generate(false);
    plane.Generate2DExt();
    for (const Point& p : Points{{0, 0, 2}, {9, 9, 2}, {4.5, 0, 2}, {9, 0.25, 7}}) {
        EXPECT_TRUE(plane.IsPointInContour(p));
        EXPECT_TRUE(plane.IsPointInBound(p));
    }
    EXPECT_FALSE(plane.IsPointInContour({9.001, 4, 2}));
    EXPECT_EQ(plane.Area(), 81);
}

TEST(FittedPlane, RegeneratesItsOutlineFromOtherPoints) {
    FittedPlane plane = PlaneOf(0, 0, 1, -2);
    const Points points{{0, 0, 2}, {4, 0, 2}, {0, 3, 2}};
    plane.ReGenerate2DExt(&points);
    EXPECT_EQ(plane.Area(), 6);
    EXPECT_EQ(plane.Extends2D().min.x, -3);
    EXPECT_EQ(plane.Extends2D().max.y, 4);
    plane.ReGenerate2DExt(nullptr);
    EXPECT_EQ(plane.Area(), 0);
    EXPECT_GT(plane.Extends2D().min.x, plane.Extends2D().max.x);
}

TEST(FittedPlane, BoundsByAPolygonInEitherForm) {
    FittedPlane plane = PlaneOf(0, 0, 1, -2);
    const Points triangle{{10, 0, 5}, {14, 0, 1}, {10, 4, 2}};
    plane.SetBound3D(&triangle);
    EXPECT_TRUE(plane.IsPointInBound({11, 1, 2}));
    EXPECT_TRUE(plane.IsPointInBound({12, 2, 9})) << "on the polygon's edge";
    EXPECT_FALSE(plane.IsPointInBound({13, 3, 2}));

    const Points flat{{0, 0, 0}, {-4, 0, 0}, {-4, 4, 0}, {0, 4, 0}};  // (x, y) = (-v, u) there
    plane.SetBound(&flat);
    EXPECT_TRUE(plane.IsPointInBound({1, 3, 2}));
    EXPECT_FALSE(plane.IsPointInBound({1, -3, 2}));
    plane.Generate2DExt();
    EXPECT_TRUE(plane.IsPointInBound({1, 3, 2})) << "a bound outlives a new outline";
    plane.SetBound(nullptr);
    EXPECT_FALSE(plane.IsPointInBound({1, 3, 2}));
}

TEST(FittedPlane, SharesItsOutlineWithCopiesUntilOneGetsANewOne) {
    FittedPlane plane = Fit({{0, 0, 2}, {4, 0, 2}, {0, 3, 2}});
    plane.Generate2DExt();
    FittedPlane copy = plane;
    EXPECT_EQ(&copy.Outline(), &plane.Outline());
    copy.Generate(false);
    EXPECT_EQ(copy.Area(), 0);
    EXPECT_EQ(plane.Area(), 6);
    plane.set(0, 0, 1, -2, 0, 0, 2);
    EXPECT_EQ(plane.Area(), 6);
    plane.Clear();
    EXPECT_EQ(plane.Area(), 0);
}

// BEHAVIOUR F5
TEST(FittedPlane, Takes3dBoundsABillionthWider) {
    FittedPlane plane;
    plane.AddPoint({0, 0, 1000});
    EXPECT_FALSE(plane.IsPointIn3dBound({0, 0, 1000})) << "one point has no maxima";
    plane.AddPoint({3, 4, 1000});
    EXPECT_TRUE(plane.IsPointIn3dBound({3, 4, 1000}));
    EXPECT_TRUE(plane.IsPointIn3dBound({1, 1, 1000 + 1e-10}));
    EXPECT_FALSE(plane.IsPointIn3dBound({1, 1, 1000 + 1e-5}));
    EXPECT_FALSE(plane.IsPointIn3dBound({1, 4.1, 1000}));
}

void ExpectContourBox(const FittedPlane& plane, const Point& centre, const Point& e,
                      const Point& f) {
    Point c1, c2, c3, c4;
    plane.GetContourBox(centre, 0.4, c1, c2, c3, c4);
    const Point foot{centre.x - plane.Frame().Distance(centre) * plane.Frame().Normal().x,
                     centre.y - plane.Frame().Distance(centre) * plane.Frame().Normal().y,
                     centre.z - plane.Frame().Distance(centre) * plane.Frame().Normal().z};
    const auto corner = [&](double i, double j) {
        return Point{foot.x + 0.2 * (i * e.x + j * f.x), foot.y + 0.2 * (i * e.y + j * f.y),
                     foot.z + 0.2 * (i * e.z + j * f.z)};
    };
    ExpectNear(c1, corner(-1, -1), 1e-12);
    ExpectNear(c2, corner(1, 1), 1e-12);
    ExpectNear(c3, corner(-1, 1), 1e-12);
    ExpectNear(c4, corner(1, -1), 1e-12);
}

// BEHAVIOUR F9
TEST(FittedPlane, LaysContourBoxesAlongXOnFloorsAndUprightOnWalls) {
    const Point x{1, 0, 0};
    const Point y{0, 1, 0};
    const Point z{0, 0, 1};
    ExpectContourBox(PlaneOf(0, 0, 1, -2), {5, 6, 7}, x, y);
    ExpectContourBox(PlaneOf(0, 0, -3, 6), {5, 6, 7}, x, y);
    ExpectContourBox(PlaneOf(0, 1, 0, -2), {5, 6, 7}, {-1, 0, 0}, z);
    ExpectContourBox(PlaneOf(0, -1, 0, 2), {5, 6, 7}, {-1, 0, 0}, z);
    ExpectContourBox(PlaneOf(-2, 0, 0, 2), {5, 6, 7}, y, z);
    ExpectContourBox(PlaneOf(0.6, 0, 0.8, 2), {5, 6, 7}, y, {-0.8, 0, 0.6});
}

// BEHAVIOUR F10
TEST(FittedPlane, LaysTheSameContourBoxForEitherSignOfItsNormal) {
    const double s = std::sqrt(5.0);
    ExpectContourBox(PlaneOf(1, -2, 0, 3), {5, 6, 7}, {2 / s, 1 / s, 0}, {0, 0, 1});
    for (const Point& n : {Point{1, -2, 0}, Point{2, 0, -1}, Point{0, -4, 1}, Point{1, 2, -1},
                           Point{3, -2, -1}, Point{0.3, -0.2, 0.9}, Point{-1, -1, 0}}) {
        std::array<Point, 4> box;
        std::array<Point, 4> opposite;
        const Point centre{5, 6, 7};
        PlaneOf(n.x, n.y, n.z, 2).GetContourBox(centre, 0.4, box[0], box[1], box[2], box[3]);
        PlaneOf(-n.x, -n.y, -n.z, -2)
            .GetContourBox(centre, 0.4, opposite[0], opposite[1], opposite[2], opposite[3]);
        for (std::size_t i = 0; i < box.size(); ++i) ExpectNear(box[i], opposite[i], 0);
    }
}

TEST(FittedPlane, TurnsUprightAboutItsHorizontalDirection) {
    const Point p{1, 2, 10};
    FittedPlane plane = PlaneOf(0.36, 0.48, 0.8, -5);
    const double t = plane.Frame().Distance(p);
    const Point foot{p.x - t * 0.36, p.y - t * 0.48, p.z - t * 0.8};
    plane.MakeVertical(p);
    ExpectNear({plane.a(), plane.b(), plane.c()}, {0.6, 0.8, 0}, 1e-15);
    EXPECT_NEAR(plane.Frame().Distance(foot), 0, 1e-14);

    FittedPlane upright = PlaneOf(0.6, -0.8, 0, -5);
    upright.MakeVertical(p);
    ExpectNear({upright.a(), upright.b(), upright.c()}, {0.6, -0.8, 0}, 1e-15);
    EXPECT_NEAR(upright.d(), -5, 1e-14);

    FittedPlane level = Fit({{0, 0, 2}, {4, 0, 2}, {0, 3, 2}});
    level.Generate2DExt();
    level.MakeVertical(p);
    EXPECT_EQ(std::abs(level.a()), 1);
    EXPECT_EQ(level.d(), -level.a());
    EXPECT_EQ(level.Area(), 0);
    EXPECT_EQ(level.data().size(), 3U);
}

}  // namespace
}  // namespace orvix
