// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/moments.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace orvix::detection
