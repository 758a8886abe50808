// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/moments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

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
    const SymmetricMatrix a = all.Covariance(), b = joined.Covariance();
    for (const auto entry : {&SymmetricMatrix::xx, &SymmetricMatrix::xy, &SymmetricMatrix::xz,
                             &SymmetricMatrix::yy, &SymmetricMatrix::yz, &SymmetricMatrix::zz}) {
        EXPECT_NEAR(a.*entry, b.*entry, 1e-12);
    }
    EXPECT_NEAR(all.Mean().x, joined.Mean().x, 1e-13);
    EXPECT_EQ(all.count, joined.count);
}

TEST(VarianceFloor, IsNeverAboveTheLeastVarianceAndNearItWhereTheOthersAreAlike) {
    std::mt19937 random(3);
    std::normal_distribution<double> unit;
    for (int round = 0; round < 5000; ++round) {
        const double wide = std::pow(10.0, -(round % 5)),
                     thin = wide * std::pow(10.0, -(round % 7));
        const Vector u{unit(random), unit(random), unit(random)};
        const Vector v = detail::Cross(u, Vector{1, 2, 3});
        MomentSum sum;
        for (int i = 0; i < 8 + round % 30; ++i) {
            const double s = wide * unit(random), t = (round % 3 == 0 ? thin : wide) * unit(random);
            const double w = thin * unit(random);
            sum.Add(u * s + v * t + Vector{w, -w, w * unit(random)});
        }
        const SymmetricMatrix m = sum.Covariance();
        const double least = detail::DecomposeSymmetric(m).values[2];
        EXPECT_LE(VarianceFloor(m), least + 1e-15 * (m.xx + m.yy + m.zz)) << round;
    }
    EXPECT_NEAR(VarianceFloor({1, 0, 0, 1, 0, 0.01}), 0.01, 1e-4);
    EXPECT_FALSE(VarianceFloor({}) > 0);
}

}  // namespace
}  // namespace orvix::detection
