// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "tests/c/planes_project.h"
#include "tests/c/short_memory.h"
#include "tests/support/process.h"

namespace orvix::test {
namespace {

TEST_F(CPlanes, AreFoundAndReportedInTheWorld) {
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    orvix_project_close(project);  // a search outlives the handle of its project
    project = nullptr;
    const orvix_planes_info info = Info();
    EXPECT_EQ(info.planes, 3u);
    EXPECT_EQ(info.points, tiny.points.size());
    EXPECT_EQ(info.on_planes, kFloorPoints + kWallPoints + kPierPoints);
    EXPECT_EQ(info.detail, ORVIX_DETAIL_NORMAL);
    EXPECT_TRUE(info.cells > 0 && info.cell_size > 0 && info.distance > 0 && info.min_area > 0 &&
                info.min_points > 0 && info.angle > 0);
    EXPECT_NEAR(info.spacing, 0.05, 0.02);

    const orvix_found_plane floor = Plane(1);
    EXPECT_TRUE(floor.number == 1 && floor.kind == ORVIX_KIND_FLOOR && floor.rings == 1);
    EXPECT_EQ(floor.points, kFloorPoints);
    EXPECT_NEAR(floor.equation[2], 1, 1e-9);
    EXPECT_NEAR(floor.equation[3], -101.25, 1e-5);
    EXPECT_NEAR(floor.local_equation[3], -1.25, 1e-5);
    EXPECT_NEAR(floor.centroid[0], 10003, 1e-3);
    EXPECT_NEAR(floor.area, 24, 1.5);
    EXPECT_LT(floor.rms, 1e-5);
    EXPECT_GT(floor.tolerance, 0);

    const orvix_found_plane wall = Plane(2);
    const orvix_found_plane pier = Plane(3);
    EXPECT_TRUE(wall.kind == ORVIX_KIND_WALL && pier.kind == ORVIX_KIND_WALL);
    EXPECT_TRUE(wall.points == kWallPoints && pier.points == kPierPoints);
    EXPECT_EQ(wall.group, pier.group);  // pieces of one endless plane
    EXPECT_NE(wall.group, floor.group);
    EXPECT_GE(std::min(floor.group, wall.group), 1u);
}

TEST_F(CPlanes, HaveOutlinesThatRunCounterClockwiseOnThePlane) {
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    std::uint64_t count = 0;
    orvix_ring ring{};
    EXPECT_EQ(orvix_planes_get_rings(planes, 1, nullptr, 0, &count, &error), ORVIX_OK);
    ASSERT_EQ(count, 1u);
    ASSERT_EQ(orvix_planes_get_rings(planes, 1, &ring, 1, &count, &error), ORVIX_OK);
    EXPECT_TRUE(ring.region == 0 && ring.hole == 0 && ring.vertices >= 4);
    std::vector<double> xyz(ring.vertices * 3);
    ASSERT_EQ(orvix_planes_get_ring(planes, 1, 0, xyz.data(), ring.vertices, &count, &error),
              ORVIX_OK);
    double twice = 0;
    for (std::size_t i = 0; i < ring.vertices; ++i) {
        const double* a = &xyz[3 * i];
        const double* b = &xyz[3 * ((i + 1) % ring.vertices)];
        EXPECT_NEAR(a[2], 101.25, 1e-5);
        twice += (a[0] - 10000) * (b[1] - 20000) - (b[0] - 10000) * (a[1] - 20000);
    }
    EXPECT_NEAR(twice / 2, Plane(1).area, 1e-6);
    EXPECT_EQ(orvix_planes_get_ring(planes, 1, 0, xyz.data(), ring.vertices - 1, nullptr, &error),
              ORVIX_TOO_SMALL);
    EXPECT_EQ(orvix_planes_get_ring(planes, 1, 1, nullptr, 0, &count, &error), ORVIX_BAD_ARGUMENT);
}

TEST_F(CPlanes, FollowTheOptions) {
    options.cell_size = 0.25;
    options.distance = 0.02;
    options.angle = 15;
    options.min_area = 8;
    options.min_points = 3000;
    options.bridge = 4;
    options.detail = ORVIX_DETAIL_COARSE;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const orvix_planes_info info = Info();
    EXPECT_EQ(info.cell_size, 0.25);
    EXPECT_EQ(info.distance, 0.02);
    EXPECT_EQ(info.angle, 15);
    EXPECT_EQ(info.min_area, 8);
    EXPECT_EQ(info.min_points, 3000u);
    EXPECT_EQ(info.bridge, 4);
    EXPECT_EQ(info.detail, ORVIX_DETAIL_COARSE);
    ASSERT_EQ(info.planes, 2u);  // the pier is joined to its wall
    EXPECT_EQ(Plane(2).points, kWallPoints + kPierPoints);
    orvix_planes_close(planes);
    options.bridge = -1;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    EXPECT_EQ(Info().bridge, 0);
}

TEST_F(CPlanes, AreTheSameOnAnyNumberOfThreads) {
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const orvix_found_plane wall = Plane(2);
    orvix_planes_close(planes);
    options.threads = 1;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const orvix_found_plane again = Plane(2);
    EXPECT_EQ(std::memcmp(&wall, &again, sizeof wall), 0);
}

// BEHAVIOUR A12, A13
TEST_F(CPlanes, StayInTheProjectAndKeepTheirNumbers) {
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    auto saved = Sized<orvix_planes_saved>();
    EXPECT_EQ(orvix_planes_save(project, planes, nullptr, nullptr, &saved, &error),
              ORVIX_BAD_ARGUMENT);  // open for reading
    orvix_planes* none = nullptr;
    EXPECT_EQ(orvix_planes_open_saved(project, &none, &error), ORVIX_BAD_INPUT);
    const auto reopen = [&] {
        orvix_planes_close(planes);
        orvix_project_close(project);
        planes = nullptr;
        project = nullptr;
        ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK) << error.text;
    };
    reopen();
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const orvix_proceed no = [](void*, double) { return std::int32_t{0}; };
    EXPECT_EQ(orvix_planes_save(project, planes, no, nullptr, nullptr, &error), ORVIX_CANCELLED);
    ASSERT_EQ(orvix_planes_save(project, planes, nullptr, nullptr, &saved, &error), ORVIX_OK);
    EXPECT_TRUE(saved.kept == 0 && saved.added == 3 && saved.gone == 0);

    reopen();
    orvix_planes* first = nullptr;
    ASSERT_EQ(orvix_planes_open_saved(project, &first, &error), ORVIX_OK) << error.text;
    planes = first;
    std::vector<std::uint32_t> before(tiny.points.size()), after(before.size());
    ASSERT_EQ(orvix_planes_read_numbers(planes, 0, before.size(), before.data(), &error), ORVIX_OK);
    EXPECT_EQ(std::count(before.begin(), before.end(), 3u), std::ptrdiff_t{kPierPoints});
    EXPECT_EQ(Info().planes, 3u);
    EXPECT_EQ(Plane(3).points, kPierPoints);
    auto place = Sized<orvix_place>();
    EXPECT_EQ(orvix_planes_explain(planes, Plane(3).centroid, &place, &error), ORVIX_BAD_ARGUMENT);
    orvix_planes_close(planes);
    options.min_points = kFloorPoints + 1;
    options.bridge = 4;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    EXPECT_EQ(Info().planes, 0u);
    ASSERT_EQ(orvix_planes_save(project, planes, nullptr, nullptr, &saved, &error), ORVIX_OK);
    EXPECT_TRUE(saved.kept == 0 && saved.added == 0 && saved.gone == 3);
    orvix_planes_close(planes);
    options.min_points = 200;
    options.bridge = 0;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    ASSERT_EQ(orvix_planes_save(project, planes, nullptr, nullptr, &saved, &error), ORVIX_OK);
    EXPECT_EQ(saved.added, 3u);

    // Numbers are given once: those of today are 4 to 6, by every call.
    std::array<std::uint32_t, 3> numbers{};
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_planes_get_numbers(planes, numbers.data(), 3, &count, &error), ORVIX_OK);
    EXPECT_THAT(numbers, testing::ElementsAre(4, 5, 6));
    EXPECT_EQ(Plane(4).number, 4u);
    EXPECT_EQ(orvix_planes_get_plane(planes, 1, nullptr, &error), ORVIX_BAD_ARGUMENT);
    ASSERT_EQ(orvix_planes_read_numbers(planes, 0, after.size(), after.data(), &error), ORVIX_OK);
    EXPECT_EQ(std::count(after.begin(), after.end(), 6u), std::ptrdiff_t{kPierPoints});
    ASSERT_EQ(orvix_planes_get_points(planes, 6, nullptr, nullptr, 0, &count, &error), ORVIX_OK);
    EXPECT_EQ(count, kPierPoints);
}

TEST_F(CPlanes, SayHowFarTheSearchIs) {
    std::vector<double> parts;
    options.user = &parts;
    options.threads = 1;
    options.proceed = [](void* user, double done) {
        static_cast<std::vector<double>*>(user)->push_back(done);
        return std::int32_t{1};
    };
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    ASSERT_GE(parts.size(), 3u);
    EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
    EXPECT_EQ(parts.front(), 0);
    EXPECT_GT(parts.back(), 0.5);
    EXPECT_LE(parts.back(), 1);
}

struct SeenThreads {
    std::size_t most = 0;
};

TEST_F(CPlanes, AreFoundOnAsManyThreadsAsAskedForAndThatEnd) {
    SeenThreads seen;
    options.user = &seen;
    options.proceed = [](void* user, double) {
        auto& most = static_cast<SeenThreads*>(user)->most;
        most = std::max(most, ThreadCount());
        return std::int32_t{1};
    };
    const std::size_t before = ThreadCount();
    options.threads = 1;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    EXPECT_EQ(seen.most, before);  // the calling thread worked alone
    orvix_planes_close(planes);
    options.threads = 3;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    EXPECT_LE(seen.most, before + 2);
    EXPECT_EQ(ThreadCount(), before);
}

TEST_F(CPlanes, StopWhenTheCallbackSaysSo) {
    int asked = 0;
    options.user = &asked;
    options.proceed = [](void* user, double) { return ++*static_cast<int*>(user) < 3 ? 1 : 0; };
    EXPECT_EQ(Find(), ORVIX_CANCELLED);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(planes, nullptr);
    EXPECT_STRNE(error.text, "");
}

// BEHAVIOUR B6
TEST_F(CPlanes, LetNoCallbacksExceptionThrough) {
    options.threads = 4;
    options.proceed = [](void*, double) -> std::int32_t { throw std::runtime_error("thrown"); };
    EXPECT_EQ(Find(), ORVIX_FAILED);
    EXPECT_STREQ(error.text, "thrown");
    options.proceed = nullptr;
    EXPECT_EQ(Find(), ORVIX_OK) << error.text;
}

// Wherever memory ends, inside a job or between them: a status, and no search lost.
TEST_F(CPlanes, TurnShortMemoryIntoAStatus) {
    options.threads = 1;
    orvix_status status = ORVIX_NO_MEMORY;
    long long limit = 0;
    for (; status != ORVIX_OK && limit < 100'000'000; limit += limit / 4 + 1) {
        LimitAllocations(limit);
        status = Find();
        LimitAllocations(-1);
        ASSERT_TRUE(status == ORVIX_OK || status == ORVIX_NO_MEMORY) << limit << error.text;
        ASSERT_EQ(planes != nullptr, status == ORVIX_OK);
    }
    EXPECT_EQ(status, ORVIX_OK);
    EXPECT_GT(limit, 1000);
}

TEST_F(CPlanes, RefuseWhatCannotBe) {
    EXPECT_EQ(orvix_planes_find(nullptr, nullptr, &planes, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_planes_find(project, nullptr, nullptr, &error), ORVIX_BAD_ARGUMENT);
    const auto refused = [&](auto change) {
        options = Sized<orvix_planes_options>();
        change(options);
        EXPECT_EQ(Find(), ORVIX_BAD_ARGUMENT);
        EXPECT_EQ(planes, nullptr);
    };
    refused([](auto& o) { o.detail = 3; });
    refused([](auto& o) { o.detail = -1; });
    refused([](auto& o) { o.threads = 1025; });
    refused([](auto& o) { o.angle = std::nan(""); });
    refused([](auto& o) { o.bridge = std::numeric_limits<double>::infinity(); });
    refused([](auto& o) { o.size = 7; });

    options = Sized<orvix_planes_options>();
    options.min_points = 200;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    auto plane = Sized<orvix_found_plane>();
    for (const std::uint32_t number : {0u, 4u}) {
        EXPECT_EQ(orvix_planes_get_plane(planes, number, &plane, &error), ORVIX_BAD_ARGUMENT);
        EXPECT_EQ(orvix_planes_get_rings(planes, number, nullptr, 0, nullptr, &error),
                  ORVIX_BAD_ARGUMENT);
        EXPECT_EQ(orvix_planes_get_points(planes, number, nullptr, nullptr, 0, nullptr, &error),
                  ORVIX_BAD_ARGUMENT);
    }
    auto info = Sized<orvix_planes_info>();
    EXPECT_EQ(orvix_planes_get_info(nullptr, &info, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_planes_read_numbers(nullptr, 0, 0, nullptr, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_planes_explain(nullptr, nullptr, nullptr, &error), ORVIX_BAD_ARGUMENT);
    orvix_planes_close(nullptr);
}

TEST_F(CPlanes, AreNoneInAProjectWhoseCellsContradictItsPoints) {
    orvix_project_close(project);
    project = nullptr;
    tiny.cells100[1].offset += 5;
    WriteRecords(folder / L"Gr\u00F6\u00DFe \u70B9\u4E91_Project_Files/Index/Grid.idx",
                 tiny.cells100);
    ASSERT_EQ(Open(), ORVIX_OK) << error.text;
    EXPECT_EQ(Find(), ORVIX_DAMAGED);
    EXPECT_EQ(planes, nullptr);
    EXPECT_STRNE(error.text, "");
}

class CEmptyProject : public CProject {
protected:
    CEmptyProject() : CProject(std::vector<CCloudPoint<float>>{}) {}
};

TEST_F(CEmptyProject, HasNoPlanes) {
    ASSERT_EQ(Open(), ORVIX_OK) << error.text;
    orvix_planes* planes = nullptr;
    ASSERT_EQ(orvix_planes_find(project, nullptr, &planes, &error), ORVIX_OK) << error.text;
    auto info = Sized<orvix_planes_info>();
    EXPECT_EQ(orvix_planes_get_info(planes, &info, &error), ORVIX_OK);
    EXPECT_EQ(info.planes + info.points + info.left_out, 0u);
    EXPECT_EQ(orvix_planes_read_numbers(planes, 0, 0, nullptr, &error), ORVIX_OK);
    const double origin[] = {0, 0, 0};
    auto place = Sized<orvix_place>();
    EXPECT_EQ(orvix_planes_explain(planes, origin, &place, &error), ORVIX_OK) << error.text;
    EXPECT_EQ(place.verdict, ORVIX_PLACE_EMPTY);
    orvix_planes_close(planes);
}

}  // namespace
}  // namespace orvix::test
