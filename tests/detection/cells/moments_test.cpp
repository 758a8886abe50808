// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/moments.h"

#include <Eigen/Eigenvalues>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

Symmetric RandomCovariance(std::mt19937& random, double flatness) {
    std::normal_distribution<double> normal;
    Eigen::Matrix3d a;
    for (int i = 0; i < 9; ++i) a(i / 3, i % 3) = normal(random);
    a.col(2) *= flatness;
    const Eigen::Matrix3d m = a * a.transpose();
    return {m(0, 0), m(0, 1), m(0, 2), m(1, 1), m(1, 2), m(2, 2)};
}

TEST(Spread, AgreesWithADecompositionToRounding) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const Symmetric c = RandomCovariance(random, std::pow(10.0, -double(seed % 5)));
        Eigen::Matrix3d m;
        m << c[0], c[1], c[2], c[1], c[3], c[4], c[2], c[4], c[5];
        const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> oracle(m);
        const Spread spread = SpreadOf(c);
        const double scale = oracle.eigenvalues()(2);
        EXPECT_NEAR(spread.least, oracle.eigenvalues()(0), 1e-12 * scale);
        EXPECT_NEAR(spread.middle, oracle.eigenvalues()(1), 1e-9 * scale);
        EXPECT_NEAR(spread.largest, scale, 1e-9 * scale);
        const Eigen::Vector3d n(spread.normal.x, spread.normal.y, spread.normal.z);
        EXPECT_NEAR(std::abs(n.dot(oracle.eigenvectors().col(0))), 1, 1e-9);
    }
}

TEST(Spread, OfExactlyFlatPointsIsZeroAcross) {
    const Spread spread = SpreadOf({2, 0, 0, 3, 0, 0});
    EXPECT_EQ(spread.least, 0);
    EXPECT_DOUBLE_EQ(spread.middle, 2);
    EXPECT_EQ(std::abs(spread.normal.z), 1);
}

TEST(Spread, OfOnePointHasNoSize) {
    const Spread spread = SpreadOf({});
    EXPECT_EQ(spread.largest, 0);
    EXPECT_EQ(spread.normal.z, 1);
}

TEST(MomentSum, OfCellsIsThatOfTheirPointsWhereverThePlaceLies) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> side(-1, 1);
    MomentSum all, first, second;
    const Vector moved{3, -2, 0.5};
    for (int i = 0; i < 100; ++i) {
        const Vector p{side(random), side(random), side(random)};
        all.Add(p - moved);
        (i % 3 == 0 ? first : second).Add(p);
    }
    MomentSum joined = first;
    joined.Add(second);
    joined = joined.About(moved);
    const Symmetric a = all.Covariance(), b = joined.Covariance();
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(a[i], b[i], 1e-12);
    EXPECT_NEAR(all.Mean().x, joined.Mean().x, 1e-13);
    EXPECT_EQ(all.count, joined.count);
}

}  // namespace
}  // namespace orvix::detection
