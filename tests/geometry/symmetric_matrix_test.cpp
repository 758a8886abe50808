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
double Residual(const SymmetricMatrix3& m, double lambda, const std::array<double, 3>& v) {
    return std::max({std::abs(m.xx * v[0] + m.xy * v[1] + m.xz * v[2] - lambda * v[0]),
                     std::abs(m.xy * v[0] + m.yy * v[1] + m.yz * v[2] - lambda * v[1]),
                     std::abs(m.xz * v[0] + m.yz * v[1] + m.zz * v[2] - lambda * v[2])});
}

double Dot(const std::array<double, 3>& v, const std::array<double, 3>& w) {
    return v[0] * w[0] + v[1] * w[1] + v[2] * w[2];
}

void ExpectDecomposition(const SymmetricMatrix3& m, double scale) {
    const EigenSystem3 eigen = DecomposeSymmetric(m);
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
        const SymmetricMatrix3 m{entry(), entry(), entry(), entry(), entry(), entry()};
        ExpectDecomposition(m, scale);
        Eigen::Matrix3d reference;
        reference << m.xx, m.xy, m.xz, m.xy, m.yy, m.yz, m.xz, m.yz, m.zz;
        const Eigen::Vector3d values =
            Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(reference).eigenvalues();
        const EigenSystem3 eigen = DecomposeSymmetric(m);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(eigen.values[static_cast<std::size_t>(k)], values[2 - k], 1e-14 * scale);
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, SymmetricEigenModel, testing::Range(0U, 8U));

TEST(SymmetricEigen, TakesMatricesThatAreDiagonalRepeatedOrNothing) {
    for (const SymmetricMatrix3& m :
         {SymmetricMatrix3{}, SymmetricMatrix3{1, 0, 0, 1, 0, 1},
          SymmetricMatrix3{1, 0, 0, 3, 0, 2}, SymmetricMatrix3{2, 0, 1, 2, 0, 2},
          SymmetricMatrix3{1, 1, 1, 1, 1, 1}, SymmetricMatrix3{0, 0, 1, 0, 0, 0},
          SymmetricMatrix3{1, 1e-200, 1e-200, 2, 0, 3}}) {
        ExpectDecomposition(m, 3);
    }
}

TEST(SymmetricEigen, GivesUpOnEntriesThatAreNotNumbers) {
    EXPECT_FALSE(DecomposeSymmetric({1, NAN, 0, 1, 0, 1}).converged);
}

}  // namespace
}  // namespace orvix::detail
