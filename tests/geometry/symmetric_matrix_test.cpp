// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/symmetric_matrix.h"

#include <Eigen/Eigenvalues>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace orvix::detail {
namespace {

/// |m v - lambda v|, the largest coordinate.
double Residual(const SymmetricMatrix& m, double lambda, const Vector& v) {
    return std::max({std::abs(m.xx * v.x + m.xy * v.y + m.xz * v.z - lambda * v.x),
                     std::abs(m.xy * v.x + m.yy * v.y + m.yz * v.z - lambda * v.y),
                     std::abs(m.xz * v.x + m.yz * v.y + m.zz * v.z - lambda * v.z)});
}

void ExpectDecomposition(const SymmetricMatrix& m, double scale) {
    const EigenSystem eigen = DecomposeSymmetric(m);
    ASSERT_TRUE(eigen.converged);
    EXPECT_GE(eigen.values[0], eigen.values[1]);
    EXPECT_GE(eigen.values[1], eigen.values[2]);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_LE(Residual(m, eigen.values[i], eigen.vectors[i]), 1e-14 * scale);
        for (std::size_t j = 0; j < 3; ++j) {
            EXPECT_NEAR(Dot(eigen.vectors[i], eigen.vectors[j]), i == j ? 1 : 0, 1e-14);
        }
    }
}

class SymmetricEigenModel : public testing::TestWithParam<unsigned> {};

TEST_P(SymmetricEigenModel, AgreesWithTheReferenceAtAnyScale) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    std::uniform_real_distribution<double> unit(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const double scale = std::ldexp(1.0, static_cast<int>(random() % 1200) - 600);
        const auto entry = [&] { return scale * unit(random); };
        const SymmetricMatrix m{entry(), entry(), entry(), entry(), entry(), entry()};
        ExpectDecomposition(m, scale);
        Eigen::Matrix3d reference;
        reference << m.xx, m.xy, m.xz, m.xy, m.yy, m.yz, m.xz, m.yz, m.zz;
        const Eigen::Vector3d values =
            Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(reference).eigenvalues();
        const EigenSystem eigen = DecomposeSymmetric(m);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(eigen.values[static_cast<std::size_t>(k)], values[2 - k], 1e-14 * scale);
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, SymmetricEigenModel, testing::Range(0U, 8U));

TEST(SymmetricEigen, TakesMatricesThatAreDiagonalRepeatedOrNothing) {
    for (const SymmetricMatrix& m :
         {SymmetricMatrix{}, SymmetricMatrix{1, 0, 0, 1, 0, 1}, SymmetricMatrix{1, 0, 0, 3, 0, 2},
          SymmetricMatrix{2, 0, 1, 2, 0, 2}, SymmetricMatrix{1, 1, 1, 1, 1, 1},
          SymmetricMatrix{0, 0, 1, 0, 0, 0}, SymmetricMatrix{1, 1e-200, 1e-200, 2, 0, 3}}) {
        ExpectDecomposition(m, 3);
    }
}

TEST(SymmetricEigen, GivesUpOnEntriesThatAreNotNumbers) {
    EXPECT_FALSE(DecomposeSymmetric({1, NAN, 0, 1, 0, 1}).converged);
}

SymmetricMatrix RandomCovariance(std::mt19937& random, double flatness) {
    std::normal_distribution<double> normal;
    Eigen::Matrix3d a;
    for (int i = 0; i < 9; ++i) a(i / 3, i % 3) = normal(random);
    a.col(2) *= flatness;
    const Eigen::Matrix3d m = a * a.transpose();
    return {m(0, 0), m(0, 1), m(0, 2), m(1, 1), m(1, 2), m(2, 2)};
}

TEST(PrincipalSpread, AgreesWithADecompositionToRounding) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const SymmetricMatrix c = RandomCovariance(random, std::pow(10.0, -double(seed % 5)));
        Eigen::Matrix3d m;
        m << c.xx, c.xy, c.xz, c.xy, c.yy, c.yz, c.xz, c.yz, c.zz;
        const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> oracle(m);
        const PrincipalSpread spread = SpreadOf(c);
        const double scale = oracle.eigenvalues()(2);
        EXPECT_NEAR(spread.min, oracle.eigenvalues()(0), 1e-12 * scale);
        EXPECT_NEAR(spread.middle, oracle.eigenvalues()(1), 1e-9 * scale);
        EXPECT_NEAR(spread.max, scale, 1e-9 * scale);
        const Eigen::Vector3d n(spread.normal.x, spread.normal.y, spread.normal.z);
        EXPECT_NEAR(std::abs(n.dot(oracle.eigenvectors().col(0))), 1, 1e-9);
    }
}

TEST(PrincipalSpread, OfExactlyFlatPointsIsZeroAcross) {
    const PrincipalSpread spread = SpreadOf({2, 0, 0, 3, 0, 0});
    EXPECT_EQ(spread.min, 0);
    EXPECT_DOUBLE_EQ(spread.middle, 2);
    EXPECT_EQ(std::abs(spread.normal.z), 1);
}

TEST(PrincipalSpread, OfOnePointHasNoSize) {
    const PrincipalSpread spread = SpreadOf({});
    EXPECT_EQ(spread.max, 0);
    EXPECT_EQ(spread.normal.z, 1);
}

}  // namespace
}  // namespace orvix::detail
