// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/plane_score.h"

#include <gtest/gtest.h>

namespace orvix::bench {
namespace {

using detection::Vector;

/// Two levels, 100 points each on a grid of 0.1 m, and points of neither far away.
class Levels {
public:
    Levels() {
        for (std::int32_t plane = 0; plane < 2; ++plane)
            for (int i = 0; i < 100; ++i)
                points_.push_back({{i % 10 * 0.1, i / 10 * 0.1, plane * 1.0}, plane});
        for (int i = 0; i < 50; ++i) points_.push_back({{i * 1.0, 7, 9}, -1});
    }

    static constexpr std::size_t kNone = 200;  // the first point of no plane

    /// The score of labels; `label` returns that of a point by its place, 0 to 249.
    template <class Label>
    [[nodiscard]] PlaneScore Score(Label&& label, std::uint64_t minPoints = 30) const {
        PlaneCounter counter({{{0, 0, 1}, 0, 1}, {{0, 0, 1}, -1, 1}});
        for (std::size_t i = 0; i < points_.size(); ++i)
            counter.Add(points_[i].position, points_[i].plane, label(i));
        return counter.Score(minPoints);
    }

private:
    std::vector<test::ScannedPoint> points_;
};

TEST(PlaneCounter, GivesFullMarksToTheTruthUnderOtherNumbers) {
    const PlaneScore score = Levels().Score([](std::size_t i) {
        return i < 100 ? 4 : i < 200 ? 1 : -1;
    });
    EXPECT_EQ(score.points, 250U);
    EXPECT_EQ(score.found, 2U);
    EXPECT_EQ(score.known, 2U);
    EXPECT_EQ(score.precision75, 1);
    EXPECT_EQ(score.recall75, 1);
    EXPECT_EQ(score.split, 0U);
    EXPECT_EQ(score.joined, 0U);
    EXPECT_NEAR(score.normalDegrees, 0, 1e-5);
    EXPECT_NEAR(score.offsetMillimetres, 0, 1e-9);
    EXPECT_EQ(score.assigned, 200.0 / 250);
    EXPECT_EQ(score.bestFound, (std::vector<std::int32_t>{4, 1}));
    EXPECT_EQ(score.overlaps, (std::vector<double>{1, 1}));
}

TEST(PlaneCounter, HoldsWhatIsSharedAgainstWhatEitherHas) {
    // Plane 0: 60 of its 100 points, and 20 of none: 60 / 120. Plane 1: 80 of 100 and none more.
    const PlaneScore score = Levels().Score([](std::size_t i) {
        if (i < 60 || (i >= Levels::kNone && i < Levels::kNone + 20)) return 0;
        return i >= 100 && i < 180 ? 1 : -1;
    });
    EXPECT_EQ(score.overlaps, (std::vector<double>{0.5, 0.8}));
    EXPECT_EQ(score.precision50, 1);
    EXPECT_EQ(score.recall50, 1);
    EXPECT_EQ(score.precision75, 0.5);
    EXPECT_EQ(score.recall75, 0.5);
}

TEST(PlaneCounter, CountsAPlaneOfTwoTenthsAsSplitAndTheirHolderAsJoined) {
    // Plane 0 in pieces of 90 and 10 points, the lesser of which holds plane 1 as well.
    const PlaneScore score = Levels().Score([](std::size_t i) {
        return i < 90 ? 0 : i < 200 ? 1 : -1;
    });
    EXPECT_EQ(score.split, 1U);
    EXPECT_EQ(score.joined, 1U);
    EXPECT_EQ(score.precision50, 1);
    // A piece of 9 points is too small for either.
    const PlaneScore less = Levels().Score([](std::size_t i) {
        return i < 91 ? 0 : i < 200 ? 1 : -1;
    });
    EXPECT_EQ(less.split, 0U);
    EXPECT_EQ(less.joined, 0U);
}

TEST(PlaneCounter, CountsWhatWasFoundWhereNothingIsAgainstPrecisionAlone) {
    const PlaneScore score = Levels().Score([](std::size_t i) {
        return i < 100 ? 0 : i < 200 ? 1 : 2;
    });
    EXPECT_EQ(score.found, 3U);
    EXPECT_DOUBLE_EQ(score.precision50, 2.0 / 3);
    EXPECT_EQ(score.recall50, 1);
    EXPECT_EQ(score.assigned, 1);
}

TEST(PlaneCounter, AsksForNoTruePlaneOfFewerPointsThanTheLeast) {
    const auto none = [](std::size_t) { return -1; };
    EXPECT_EQ(Levels().Score(none, 100).known, 2U);
    const PlaneScore score = Levels().Score(none, 101);
    EXPECT_EQ(score.known, 0U);
    EXPECT_EQ(score.recall50, 0);
    EXPECT_EQ(score.precision50, 0);
}

TEST(PlaneCounter, MeasuresHowFarThePlanesOfMatchesAreOff) {
    // The lower level is said to be 2 mm lower and turned by a hundredth about the x axis.
    PlaneCounter counter({{{0, -0.0099995, 0.99995}, 0.002, 1}});
    for (int i = 0; i < 100; ++i) counter.Add({i % 10 * 0.1 - 0.45, i / 10 * 0.1 - 0.45, 0}, 0, 0);
    const PlaneScore score = counter.Score(30);
    EXPECT_NEAR(score.normalDegrees, 0.573, 0.001);
    EXPECT_NEAR(score.offsetMillimetres, 2, 1e-6);
}

TEST(PlaneCounter, LeavesPlanesOnUnknownPointsOutOfThePrecision) {
    // Plane 0 and half as much again, and a plane of points of which what is known may differ.
    const auto scoreOf = [](std::int32_t others) {
        PlaneCounter counter({{{0, 0, 1}, 0, 1}});
        for (int i = 0; i < 40; ++i)
            counter.Add({i % 5 * 1.0, i / 5 * 1.0, 0}, i < 20 ? 0 : others, i < 30 ? 0 : 1);
        return counter.Score(10);
    };
    const PlaneScore score = scoreOf(kUnknownPlane);
    EXPECT_EQ(score.found, 1U);
    EXPECT_EQ(score.precision50, 1);
    EXPECT_EQ(score.recall75, 1);
    EXPECT_EQ(score.overlaps[0], 1);
    const PlaneScore strict = scoreOf(-1);
    EXPECT_EQ(strict.found, 2U);
    EXPECT_EQ(strict.precision50, 0.5);
    EXPECT_EQ(strict.recall75, 0);
}

TEST(RecallBy, CountsInEachClassThePlanesThatWereFound) {
    // 80 of the lower level's points were found, 60 of the upper one's; of a third plane 10 exist.
    PlaneCounter counter({{{0, 0, 1}, 0, 1}, {{0, 0, 1}, -1, 1}, {{0, 0, 1}, -2, 1}});
    for (int i = 0; i < 210; ++i) {
        const std::int32_t truth = i / 100;
        const bool found = truth == 0 ? i < 80 : i < 160;
        counter.Add({i % 10 * 0.1, i % 100 / 10 * 0.1, truth * 1.0}, truth, found ? truth : -1);
    }
    const PlaneScore score = counter.Score(30);
    const std::vector<double> limits{0, 0.5, 2};
    const auto classesOf = [&](std::vector<double> values) {
        return RecallBy(score, values, limits);
    };
    const auto apart = classesOf({0.4, 0.5, 0.4});
    ASSERT_EQ(apart.size(), 2U);
    EXPECT_EQ(apart[0].known, 1U);
    EXPECT_EQ(apart[0].at75, 1U);
    EXPECT_EQ(apart[1].known, 1U);
    EXPECT_EQ(apart[1].at50, 1U);
    EXPECT_EQ(apart[1].at75, 0U);
    const auto outside = classesOf({-1, 2, 0.4});
    EXPECT_EQ(outside[0].known + outside[1].known, 0U);
}

}  // namespace
}  // namespace orvix::bench
