// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/station_adjustment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix::test {
namespace {

using detail::Vector;
using reports::AdjustStations, reports::Motion, reports::MotionMatrix, reports::Sight,
    reports::StationMotion;

TEST(MotionMatrix, HasItsInverseAndItsEigenvalues) {
    std::mt19937 draw(5);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 50; ++round) {
        MotionMatrix matrix{};
        double trace = 0;
        for (int i = 0; i < 12; ++i) {
            Motion v;
            for (double& value : v) value = normal(draw);
            reports::AddSquare(matrix, v, 0.5 + i);
            trace += (0.5 + i) * reports::Dot(v, v);
        }
        const MotionMatrix inverse = reports::InverseOf(matrix);
        for (std::size_t i = 0; i < 6; ++i) {
            const Motion column = reports::Product(matrix, inverse[i]);
            for (std::size_t k = 0; k < 6; ++k) EXPECT_NEAR(column[k], i == k ? 1 : 0, 1e-8);
        }
        const auto values = reports::EigenvaluesOf(matrix);
        double sum = 0;
        for (std::size_t i = 0; i < 6; ++i) {
            sum += values[i];
            EXPECT_GT(values[i], 0);
            if (i > 0) {
                EXPECT_LE(values[i], values[i - 1]);
            }
        }
        EXPECT_NEAR(sum, trace, 1e-9 * trace);
    }
    MotionMatrix diagonal{};
    for (std::size_t i = 0; i < 6; ++i) diagonal[i][i] = static_cast<double>(i);
    EXPECT_EQ(reports::EigenvaluesOf(diagonal), (std::array<double, 6>{5, 4, 3, 2, 1, 0}));
}

/// A hall of six planes that all stations saw, in patches; a tenth of the sights are off by 20 mm.
class Hall {
public:
    explicit Hall(std::vector<Motion> motions, std::uint32_t planes = 6) {
        std::mt19937 draw(9);
        std::normal_distribution<double> noise(0, 0.0005);
        std::uniform_real_distribution<double> place(-5, 5);
        for (std::size_t i = 0; i < motions.size(); ++i)
            centres.push_back({place(draw), place(draw), 0});
        std::uint32_t patch = 0;
        for (std::uint32_t plane = 0; plane < planes; ++plane) {
            const double side = plane % 2 == 0 ? 1 : -1;
            const Vector normal{plane / 2 == 0 ? side : 0, plane / 2 == 1 ? side : 0,
                                plane / 2 == 2 ? side : 0};
            for (int i = 0; i < 60; ++i, ++patch) {
                Vector at{place(draw), place(draw), place(draw)};
                (plane / 2 == 0 ? at.x : plane / 2 == 1 ? at.y : at.z) = -5 * side;
                const double own = 10 * noise(draw);  // the patch's height, the same for all
                for (std::uint32_t station = 0; station < motions.size(); ++station) {
                    Sight sight;
                    sight.patch = patch;
                    sight.plane = plane;
                    sight.station = station;
                    sight.variance = 2.5e-7;
                    sight.by = reports::HeightBy(normal, at, centres[station]);
                    sight.height = own + reports::Dot(sight.by, motions[station]) + noise(draw);
                    if ((patch + station) % 10 == 0) sight.height += 0.02;
                    sights.push_back(sight);
                }
            }
        }
    }
    std::vector<Sight> sights;
    std::vector<Vector> centres;
};

TEST(AdjustStations, FindsFewMotionsAmongManyStationsAndOverlooksWhatWasMoved) {
    std::vector<Motion> motions(7);
    motions[2] = {0.003, 0, 0, 0, 0, 0};
    motions[4] = {0, -0.006, 0.008, 0, 0, 0.0008};
    const Hall hall(motions);
    const auto found = AdjustStations(hall.sights, hall.centres).value();
    for (std::size_t i = 0; i < motions.size(); ++i) {
        EXPECT_TRUE(found[i].seen);
        EXPECT_EQ(reports::WeakOf(found[i].directions), 0u);
        for (std::size_t k = 0; k < 6; ++k) {
            EXPECT_NEAR(found[i].motion[k], motions[i][k], k < 3 ? 4e-4 : 8e-5) << i << " " << k;
            EXPECT_LT(found[i].sigma[k], k < 3 ? 4e-4 : 8e-5);
        }
    }
}

// BEHAVIOUR E4
TEST(AdjustStations, GivesEachOfTwoStationsHalf) {
    std::vector<Motion> motions(2);
    motions[1] = {0.004, 0, -0.002, 0, 0, 0};
    const Hall hall(motions);
    const auto found = AdjustStations(hall.sights, hall.centres).value();
    EXPECT_NEAR(found[0].motion[0], -0.002, 2e-4);
    EXPECT_NEAR(found[1].motion[0], 0.002, 2e-4);
    EXPECT_NEAR(found[1].motion[2], -0.001, 2e-4);
    std::vector<Sight> fixed = hall.sights;
    for (Sight& sight : fixed)
        if (sight.station == 0) sight.by = {};
    EXPECT_NEAR(reports::AdjustAgainst(fixed).value().motion[0], 0.004, 3e-4);
}

TEST(AdjustStations, SaysWhatAFewPlanesDoNotDecide) {
    // A floor alone: no shift along it and no turn about its normal.
    std::vector<Motion> motions(4);
    motions[1] = {0, 0, 0.005, 0, 0, 0};
    Hall hall(motions);
    std::vector<Sight> floor;
    for (const Sight& sight : hall.sights)
        if (sight.plane == 4) floor.push_back(sight);
    const auto found = AdjustStations(floor, hall.centres).value();
    EXPECT_EQ(reports::WeakOf(found[1].directions), 3u);
    EXPECT_NEAR(found[1].motion[2], 0.005, 3e-4);
    EXPECT_GT(found[1].sigma[0], 0.01);
    // One plane may be two surfaces: what rests on it alone is as uncertain as it is large.
    EXPECT_GT(found[1].sigma[2], 0.004);
}

TEST(AdjustStations, KeepsStationsApartThatNoPatchConnects) {
    std::vector<Motion> motions(6);
    motions[5] = {0, 0.01, 0, 0, 0, 0};
    Hall hall(motions);
    std::vector<Sight> apart;
    for (const Sight& sight : hall.sights)
        if ((sight.station < 3) == (sight.patch % 2 == 0)) apart.push_back(sight);
    hall.centres.push_back({0, 0, 0});  // a station that saw nothing
    const auto found = AdjustStations(apart, hall.centres).value();
    EXPECT_NEAR(found[5].motion[1], 0.01, 3e-4);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_NEAR(found[i].motion[1], 0, 3e-4);
    EXPECT_FALSE(found[6].seen);
}

TEST(AdjustStations, IsCancelledAtAnyStepOfItsWork) {
    const Hall hall(std::vector<Motion>(4));
    int asked = 0;
    ASSERT_TRUE(AdjustStations(hall.sights, hall.centres, [&] { return ++asked > 0; }));
    // The first step, the last of the jackknife, and one between.
    for (const int last : {1, asked / 2, asked}) {
        int left = last;
        const auto found = AdjustStations(hall.sights, hall.centres, [&] { return --left > 0; });
        ASSERT_FALSE(found) << last;
        EXPECT_EQ(found.error().code, ErrorCode::Cancelled);
        EXPECT_EQ(left, 0) << "nothing is asked once it was cancelled";
    }
    const Hall pair(std::vector<Motion>(2));
    EXPECT_FALSE(reports::AdjustAgainst(pair.sights, [] { return false; }));
}

TEST(MedianOf, IsTheMiddleOne) {
    EXPECT_EQ(reports::MedianOf({}), 0);
    EXPECT_EQ(reports::MedianOf({3, 1, 2}), 2);
    EXPECT_EQ(reports::MedianOf({4, 1, 2, 3}), 2.5);
}

}  // namespace
}  // namespace orvix::test
