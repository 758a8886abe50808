// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cmath>
#include <thread>

#include "tests/c/planes_project.h"

namespace orvix::test {
namespace {

class CPlanePoints : public CPlanes {
protected:
    CPlanePoints() { EXPECT_EQ(Find(), ORVIX_OK) << error.text; }

    std::vector<std::uint32_t> Numbers(std::uint64_t first, std::uint64_t count) {
        std::vector<std::uint32_t> numbers(static_cast<std::size_t>(count), 99);
        orvix_error mine = Sized<orvix_error>();
        EXPECT_EQ(orvix_planes_read_numbers(planes, first, count, numbers.data(), &mine), ORVIX_OK)
            << mine.text;
        return numbers;
    }
    orvix_place At(double x, double y, double z) {
        const double world[] = {10000 + x, 20000 + y, 100 + z};
        auto place = Sized<orvix_place>();
        EXPECT_EQ(orvix_planes_explain(planes, world, &place, &error), ORVIX_OK) << error.text;
        return place;
    }
};

TEST_F(CPlanePoints, HaveTheNumberOfThePlaneTheyLieOn) {
    const std::vector<std::uint32_t> numbers = Numbers(0, tiny.points.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto& p = tiny.points[i];
        std::uint32_t wanted = 0;
        if (p.z == 1.25F) wanted = 1;
        if (p.y == 4.5F) wanted = p.x < 7 ? 2 : 3;
        ASSERT_EQ(numbers[i], wanted) << p.x << ' ' << p.y << ' ' << p.z;
    }
}

TEST_F(CPlanePoints, HaveTheSameNumbersHoweverTheyAreRead) {
    const std::uint64_t points = tiny.points.size();
    const std::vector<std::uint32_t> all = Numbers(0, points);
    std::vector<std::uint32_t> stretches;
    for (std::uint64_t first = 0; first < points; first += 997) {
        const auto some = Numbers(first, std::min<std::uint64_t>(997, points - first));
        stretches.insert(stretches.end(), some.begin(), some.end());
    }
    EXPECT_EQ(stretches, all);
    std::vector<std::uint32_t> beside;
    std::thread other([&] { beside = Numbers(0, points); });
    EXPECT_EQ(Numbers(0, points), all);
    other.join();
    EXPECT_EQ(beside, all);

    std::uint32_t none = 0;
    EXPECT_EQ(orvix_planes_read_numbers(planes, points, 0, nullptr, &error), ORVIX_OK);
    EXPECT_EQ(orvix_planes_read_numbers(planes, points, 1, &none, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_planes_read_numbers(planes, 0, 1, nullptr, &error), ORVIX_BAD_ARGUMENT);
}

TEST_F(CPlanePoints, AreListedByPlane) {
    const std::vector<std::uint32_t> numbers = Numbers(0, tiny.points.size());
    for (std::uint32_t plane = 1; plane <= 3; ++plane) {
        std::uint64_t count = 0;
        ASSERT_EQ(orvix_planes_get_points(planes, plane, nullptr, nullptr, 0, &count, &error),
                  ORVIX_OK);
        std::vector<double> xyz(count * 3);
        std::vector<std::uint64_t> records(count);
        ASSERT_EQ(orvix_planes_get_points(planes, plane, xyz.data(), records.data(), count, &count,
                                          &error),
                  ORVIX_OK)
            << error.text;
        std::vector<std::uint64_t> wanted;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            if (numbers[i] == plane) wanted.push_back(i);
        EXPECT_EQ(records, wanted);
        for (std::size_t i = 0; i < records.size(); ++i) {
            ASSERT_EQ(xyz[3 * i], 10000.0 + tiny.points[records[i]].x);
            ASSERT_EQ(xyz[3 * i + 2], 100.0 + tiny.points[records[i]].z);
        }
        EXPECT_EQ(orvix_planes_get_points(planes, plane, nullptr, records.data(), count - 1, &count,
                                          &error),
                  ORVIX_TOO_SMALL);
    }
}

TEST_F(CPlanePoints, AreNotListedFurtherWhereTheHostSaysNo) {
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_planes_get_points(planes, 1, nullptr, nullptr, 0, &count, &error), ORVIX_OK);
    std::vector<std::uint64_t> records(count);
    const orvix_proceed no = [](void* user, double done) -> std::int32_t {
        EXPECT_TRUE(done >= 0 && done < 1);
        return --*static_cast<int*>(user) >= 0 ? 1 : 0;
    };
    int patience = 0;
    EXPECT_EQ(orvix_planes_get_points_while(planes, 1, no, &patience, nullptr, records.data(),
                                            count, &count, &error),
              ORVIX_CANCELLED);
    EXPECT_EQ(patience, -1);
    patience = 1'000'000;
    EXPECT_EQ(orvix_planes_get_points_while(planes, 1, no, &patience, nullptr, records.data(),
                                            count, &count, &error),
              ORVIX_OK);
    EXPECT_LT(patience, 1'000'000);
}

TEST_F(CPlanePoints, AreExplained) {
    const orvix_place floor = At(3, 1, 1.25);
    EXPECT_EQ(floor.verdict, ORVIX_PLACE_ON_PLANE);
    EXPECT_TRUE(floor.plane == 1 && floor.nearest == 1 && floor.points > 0);
    EXPECT_NEAR(std::abs(floor.cell_normal[2]), 1, 1e-6);
    EXPECT_NEAR(floor.turn, 0, 0.01);
    EXPECT_NEAR(floor.distance, 0, 1e-5);

    const orvix_place above = At(3, 1, 1.25 + floor.allowed + 0.005);
    EXPECT_EQ(above.verdict, ORVIX_PLACE_TOO_FAR);
    EXPECT_TRUE(above.plane == 0 && above.nearest == 1);
    EXPECT_NEAR(std::abs(above.distance), above.allowed + 0.005, 1e-5);

    EXPECT_THAT(At(3, 2, 2.4).verdict, testing::AnyOf(ORVIX_PLACE_LEFT_OUT, ORVIX_PLACE_NO_PLANE));
    const orvix_place air = At(3, 1, 3);
    EXPECT_EQ(air.verdict, ORVIX_PLACE_EMPTY);
    EXPECT_TRUE(air.points == 0 && air.plane == 0 && air.nearest == 0 && air.turn < 0);
    EXPECT_EQ(At(1e9, 0, 0).verdict, ORVIX_PLACE_EMPTY);

    const double endless[] = {std::nan(""), 0, 0};
    auto place = Sized<orvix_place>();
    EXPECT_EQ(orvix_planes_explain(planes, endless, &place, &error), ORVIX_BAD_ARGUMENT);
}

// A host that was compiled against fewer members gets these, and nothing behind them is written.
TEST_F(CPlanePoints, AreCountedInAShorterStructToo) {
    auto plane = Sized<orvix_found_plane>();
    plane.size = 16;
    plane.equation[0] = 42;
    ASSERT_EQ(orvix_planes_get_plane(planes, 1, &plane, &error), ORVIX_OK);
    EXPECT_TRUE(plane.number == 1 && plane.group >= 1 && plane.equation[0] == 42);
}

}  // namespace
}  // namespace orvix::test
