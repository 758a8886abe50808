// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>

#include "tests/c/c_project.h"
#include "tests/c/short_memory.h"

namespace orvix::test {
namespace {

// A floor of 6 m x 4 m at z = 1.25 with points every 5 cm, and a wall beside it.
std::vector<CCloudPoint<float>> FloorAndWall() {
    std::vector<CCloudPoint<float>> points;
    const auto add = [&](double x, double y, double z) {
        CCloudPoint<float> p;
        p.x = static_cast<float>(x), p.y = static_cast<float>(y), p.z = static_cast<float>(z);
        points.push_back(p);
    };
    for (int i = 0; i <= 120; ++i) {
        for (int j = 0; j <= 80; ++j) add(i * 0.05, j * 0.05, 1.25);
    }
    for (int i = 0; i <= 120; ++i) {
        for (int k = 4; k <= 40; ++k) add(i * 0.05, 4.5, 1.25 + k * 0.05);
    }
    return points;
}

class CPlaneCalls : public CProject {
protected:
    CPlaneCalls() : CProject(FloorAndWall(), {10000, 20000, 100}) {
        EXPECT_EQ(Open(), ORVIX_OK) << error.text;
    }
    ~CPlaneCalls() override { orvix_plane_close(plane); }

    const double seed[3] = {10003, 20002, 101.25};
    orvix_plane_options options = Sized<orvix_plane_options>();
    orvix_plane* plane = nullptr;
};

TEST_F(CPlaneCalls, GrowAPlaneAndTellItInTheWorld) {
    ASSERT_EQ(orvix_plane_grow(project, seed, nullptr, &plane, &error), ORVIX_OK) << error.text;
    auto info = Sized<orvix_plane_info>();
    ASSERT_EQ(orvix_plane_get_info(plane, &info, &error), ORVIX_OK);
    orvix_project_close(project);  // a plane outlives its project
    project = nullptr;
    EXPECT_EQ(info.ended, ORVIX_ENDED_EDGE);
    EXPECT_NEAR(info.equation[2], 1, 1e-9);
    EXPECT_NEAR(info.equation[3], -101.25, 1e-5);
    EXPECT_NEAR(info.centroid[0], 10003, 0.01);
    EXPECT_EQ(info.points, 121u * 81u);
    EXPECT_EQ(info.listed_points, info.points);
    EXPECT_NEAR(info.area, 24, 0.1);
    EXPECT_EQ(info.rings, 1u);
    EXPECT_LT(info.max_distance, 1e-5);

    std::vector<double> xyz(info.points * 3);
    std::vector<std::uint64_t> records(info.points);
    std::uint64_t count = 0;
    ASSERT_EQ(
        orvix_plane_get_points(plane, xyz.data(), records.data(), info.points, &count, &error),
        ORVIX_OK);
    for (std::size_t i = 0; i < records.size(); ++i) {
        ASSERT_EQ(xyz[3 * i], 10000.0 + tiny.points[records[i]].x);
        ASSERT_EQ(xyz[3 * i + 2], 101.25);
    }
    EXPECT_EQ(
        orvix_plane_get_points(plane, nullptr, records.data(), info.points - 1, &count, &error),
        ORVIX_TOO_SMALL);

    orvix_ring ring{};
    ASSERT_EQ(orvix_plane_get_rings(plane, &ring, 1, &count, &error), ORVIX_OK);
    EXPECT_TRUE(ring.region == 0 && ring.hole == 0 && ring.vertices >= 4);
    std::vector<double> corners(ring.vertices * 3);
    ASSERT_EQ(orvix_plane_get_ring(plane, 0, corners.data(), ring.vertices, &count, &error),
              ORVIX_OK);
    EXPECT_NEAR(corners[2], 101.25, 1e-5);
    EXPECT_EQ(orvix_plane_get_ring(plane, 1, nullptr, 0, &count, &error), ORVIX_BAD_ARGUMENT);
}

TEST_F(CPlaneCalls, MeshAPlaneSeenFromTheSideOfItsNormal) {
    ASSERT_EQ(orvix_plane_grow(project, seed, nullptr, &plane, &error), ORVIX_OK) << error.text;
    orvix_mesh* mesh = nullptr;
    ASSERT_EQ(orvix_plane_mesh(plane, &mesh, &error), ORVIX_OK) << error.text;
    std::uint64_t points = 0;
    std::uint64_t triangles = 0;
    ASSERT_EQ(orvix_mesh_read(mesh, nullptr, 0, &points, nullptr, 0, &triangles, &error), ORVIX_OK);
    std::vector<double> xyz(points * 3);
    std::vector<std::uint32_t> corners(triangles * 3);
    EXPECT_EQ(orvix_mesh_read(mesh, xyz.data(), points, nullptr, corners.data(), triangles - 1,
                              nullptr, &error),
              ORVIX_TOO_SMALL);
    ASSERT_EQ(orvix_mesh_read(mesh, xyz.data(), points, &points, corners.data(), triangles,
                              &triangles, &error),
              ORVIX_OK);
    orvix_mesh_close(mesh);
    double area = 0;
    for (std::size_t t = 0; t < corners.size(); t += 3) {
        const double* a = &xyz[3 * corners[t]];
        const double* b = &xyz[3 * corners[t + 1]];
        const double* c = &xyz[3 * corners[t + 2]];
        const double twice = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
        ASSERT_GT(twice, 0);
        area += twice / 2;
    }
    EXPECT_NEAR(area, 24, 0.1);
}

TEST_F(CPlaneCalls, TakeASeedInEitherFrameAndEveryOption) {
    const double local[] = {3, 2, 1.25};
    options.seed_is_local = 1;
    options.split_size = 0.5;
    options.max_distance = 0.02;
    options.reach = 1.5;
    options.outline_points = 500;
    options.diff[0] = options.diff[1] = options.diff[2] = 0.1;
    ASSERT_EQ(orvix_plane_grow(project, local, &options, &plane, &error), ORVIX_OK) << error.text;
    auto info = Sized<orvix_plane_info>();
    ASSERT_EQ(orvix_plane_get_info(plane, &info, &error), ORVIX_OK);
    EXPECT_EQ(info.ended, ORVIX_ENDED_REACH);
    EXPECT_EQ(info.split_size, 0.5);
    EXPECT_EQ(info.max_distance_allowed, 0.02);
    EXPECT_LT(info.points, 121u * 81u);
    orvix_mesh* mesh = nullptr;
    ASSERT_EQ(orvix_plane_mesh(plane, &mesh, &error), ORVIX_OK) << error.text;
    std::uint64_t points = 0;
    ASSERT_EQ(orvix_mesh_read(mesh, nullptr, 0, &points, nullptr, 0, nullptr, &error), ORVIX_OK);
    EXPECT_LE(points, 500u);
    orvix_mesh_close(mesh);
}

TEST_F(CPlaneCalls, StopWhenTheCallbackSaysSo) {
    int asked = 0;
    options.user = &asked;
    options.proceed = [](void* user, double done) {
        EXPECT_LT(done, 0);
        return ++*static_cast<int*>(user) < 3 ? 1 : 0;
    };
    EXPECT_EQ(orvix_plane_grow(project, seed, &options, &plane, &error), ORVIX_CANCELLED);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(plane, nullptr);
}

// BEHAVIOUR B6
TEST_F(CPlaneCalls, LetNoCallbacksExceptionThrough) {
    options.proceed = [](void*, double) -> std::int32_t { throw std::runtime_error("thrown"); };
    EXPECT_EQ(orvix_plane_grow(project, seed, &options, &plane, &error), ORVIX_FAILED);
    EXPECT_STREQ(error.text, "thrown");
    options.proceed = [](void*, double) -> std::int32_t { throw 5; };
    EXPECT_EQ(orvix_plane_grow(project, seed, &options, &plane, &error), ORVIX_FAILED);
    options.proceed = nullptr;
    EXPECT_EQ(orvix_plane_grow(project, seed, &options, &plane, &error), ORVIX_OK) << error.text;
}

// Wherever memory ends, in the search, the triangulation or the index: a status, and no plane lost.
TEST_F(CPlaneCalls, TurnShortMemoryIntoAStatus) {
    options.reach = 1;
    orvix_status status = ORVIX_NO_MEMORY;
    long long limit = 0;
    for (; status != ORVIX_OK && limit < 100'000'000; limit += limit / 4 + 1) {
        LimitAllocations(limit);
        status = orvix_plane_grow(project, seed, &options, &plane, &error);
        orvix_mesh* mesh = nullptr;
        if (status == ORVIX_OK) {
            status = orvix_plane_mesh(plane, &mesh, &error);
            if (status != ORVIX_OK) orvix_plane_close(plane);
        }
        LimitAllocations(-1);
        ASSERT_TRUE(status == ORVIX_OK || status == ORVIX_NO_MEMORY) << limit << error.text;
        orvix_mesh_close(mesh);
    }
    EXPECT_EQ(status, ORVIX_OK);
    EXPECT_GT(limit, 1000);
}

TEST_F(CPlaneCalls, SayWhyThereIsNoPlane) {
    const double nowhere[] = {0, 0, 0};
    EXPECT_EQ(orvix_plane_grow(project, nowhere, nullptr, &plane, &error), ORVIX_BAD_INPUT);
    EXPECT_STRNE(error.text, "");
    const double endless[] = {std::nan(""), 0, 0};
    EXPECT_EQ(orvix_plane_grow(project, endless, nullptr, &plane, &error), ORVIX_BAD_ARGUMENT);
    options.split_size = std::nan("");
    EXPECT_EQ(orvix_plane_grow(project, seed, &options, &plane, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_plane_grow(nullptr, seed, nullptr, &plane, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_plane_grow(project, nullptr, nullptr, &plane, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_plane_mesh(nullptr, nullptr, &error), ORVIX_BAD_ARGUMENT);
    orvix_plane_close(nullptr);
    orvix_mesh_close(nullptr);
}

TEST(CSurfaceCalls, TriangulateWithTheBoundarysCrossingAsAVertex) {
    // A tilted square (z = x) whose boundary crosses itself in the middle.
    const double equation[] = {-1, 0, 1, 0};
    const double xyz[] = {0, 0, 0, 2, 0, 2, 2, 2, 2, 0, 2, 0};
    const double boundary[] = {0, 0, 0, 2, 2, 2, 2, 0, 2, 0, 2, 0};
    orvix_error error = Sized<orvix_error>();
    orvix_mesh* mesh = nullptr;
    ASSERT_EQ(orvix_triangulate(xyz, 4, equation, boundary, 4, &mesh, &error), ORVIX_OK)
        << error.text;
    std::vector<double> points(5 * 3);
    std::vector<std::uint32_t> triangles(4 * 3);
    std::uint64_t pointCount = 0;
    std::uint64_t triangleCount = 0;
    ASSERT_EQ(orvix_mesh_read(mesh, points.data(), 5, &pointCount, triangles.data(), 4,
                              &triangleCount, &error),
              ORVIX_OK)
        << error.text;
    EXPECT_TRUE(pointCount == 5 && triangleCount == 4);
    EXPECT_EQ(std::memcmp(points.data(), xyz, sizeof xyz), 0);
    for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(points[12 + axis], 1, 1e-12);
    EXPECT_EQ(std::count(triangles.begin(), triangles.end(), 4u), 4);
    orvix_mesh_close(mesh);

    ASSERT_EQ(orvix_triangulate(nullptr, 0, equation, nullptr, 0, &mesh, &error), ORVIX_OK);
    orvix_mesh_close(mesh);
    const double flat[] = {0, 0, 0, 1};
    EXPECT_EQ(orvix_triangulate(xyz, 4, flat, nullptr, 0, &mesh, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_triangulate(xyz, std::uint64_t{1} << 31, equation, nullptr, 0, &mesh, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_triangulate(nullptr, 4, equation, nullptr, 0, &mesh, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(mesh, nullptr);
}

TEST(CNeighbourCalls, AgreeWithLookingAtEveryPoint) {
    const std::uint32_t seed = 424242;
    SCOPED_TRACE(seed);
    std::mt19937 draw(seed);
    std::uniform_real_distribution<float> place(-2, 2);
    std::vector<orvix_point> points(500);
    for (auto& p : points) p.x = place(draw), p.y = place(draw), p.z = place(draw);
    orvix_error error = Sized<orvix_error>();
    orvix_neighbours* index = nullptr;
    ASSERT_EQ(orvix_neighbours_open(points.data(), points.size(), sizeof points[0], &index, &error),
              ORVIX_OK);
    for (int query = 0; query < 40; ++query) {
        const double at[] = {place(draw), place(draw), place(draw)};
        std::vector<std::pair<double, std::int32_t>> wanted;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double x = points[i].x - at[0], y = points[i].y - at[1], z = points[i].z - at[2];
            const double square = x * x + y * y + z * z;
            wanted.emplace_back(square, static_cast<std::int32_t>(i));
        }
        std::sort(wanted.begin(), wanted.end());
        std::int32_t nearest = -2;
        ASSERT_EQ(orvix_neighbours_nearest(index, at, &nearest, &error), ORVIX_OK);
        EXPECT_EQ(nearest, wanted[0].second);
        std::vector<std::int32_t> found(points.size());
        std::uint64_t count = 0;
        ASSERT_EQ(
            orvix_neighbours_within(index, at, 0.7, found.data(), found.size(), &count, &error),
            ORVIX_OK);
        for (std::uint64_t i = 0; i < count; ++i) EXPECT_EQ(found[i], wanted[i].second);
        EXPECT_TRUE(count == wanted.size() || wanted[count].first > 0.7 * 0.7);
    }
    orvix_neighbours_close(index);
    EXPECT_EQ(orvix_neighbours_open(points.data(), 1, 8, &index, &error), ORVIX_BAD_ARGUMENT);
    ASSERT_EQ(orvix_neighbours_open(nullptr, 0, 12, &index, &error), ORVIX_OK);
    std::int32_t nearest = 0;
    const double origin[] = {0, 0, 0};
    ASSERT_EQ(orvix_neighbours_nearest(index, origin, &nearest, &error), ORVIX_OK);
    EXPECT_EQ(nearest, -1);
    orvix_neighbours_close(index);
}

/// An index over random points, and random positions around them.
class CNeighbourLists : public testing::Test {
protected:
    CNeighbourLists() {
        std::mt19937 draw(31);
        std::uniform_real_distribution<float> place(-2, 2);
        for (auto& p : points) p.x = place(draw), p.y = place(draw), p.z = place(draw);
        for (double& each : xyz) each = static_cast<double>(place(draw));
        EXPECT_EQ(
            orvix_neighbours_open(points.data(), points.size(), sizeof points[0], &index, &error),
            ORVIX_OK);
    }
    ~CNeighbourLists() override { orvix_neighbours_close(index); }

    [[nodiscard]] const double* Position(std::size_t i) const { return xyz.data() + 3 * i; }
    std::vector<std::int32_t> Within(std::size_t i, double radius) {
        std::vector<std::int32_t> found(points.size());
        std::uint64_t count = 0;
        EXPECT_EQ(orvix_neighbours_within(index, Position(i), radius, found.data(), found.size(),
                                          &count, &error),
                  ORVIX_OK);
        found.resize(count);
        return found;
    }

    static constexpr std::size_t kPositions = 300;
    orvix_error error = Sized<orvix_error>();
    orvix_neighbours* index = nullptr;
    std::vector<orvix_point> points = std::vector<orvix_point>(2000);
    std::vector<double> xyz = std::vector<double>(3 * kPositions);
    std::uint64_t searched = 0;
};

// BEHAVIOUR B8
TEST_F(CNeighbourLists, AreThoseOfSingleSearchesWhateverRoomThereIs) {
    for (const std::uint64_t capacity : {40U, 333U, 100'000U}) {
        std::vector<std::uint32_t> counts(kPositions);
        std::vector<std::int32_t> indices(capacity);
        std::size_t calls = 0;
        for (std::size_t at = 0; at < kPositions; at += searched, ++calls) {
            ASSERT_EQ(orvix_neighbours_within_many(index, Position(at), kPositions - at, 0.5,
                                                   nullptr, nullptr, counts.data(), indices.data(),
                                                   capacity, &searched, &error),
                      ORVIX_OK)
                << error.text;
            ASSERT_GT(searched, 0U);
            auto begin = indices.begin();
            for (std::size_t i = 0; i < searched; ++i) {
                const std::vector<std::int32_t> wanted = Within(at + i, 0.5);
                ASSERT_EQ(std::vector<std::int32_t>(begin, begin + counts[i]), wanted);
                begin += counts[i];
            }
        }
        EXPECT_EQ(calls == 1, capacity == 100'000U);
    }
    std::vector<std::uint32_t> counts(kPositions);
    ASSERT_EQ(orvix_neighbours_within_many(index, xyz.data(), kPositions, 0.5, nullptr, nullptr,
                                           counts.data(), nullptr, 0, &searched, &error),
              ORVIX_OK);
    EXPECT_EQ(searched, kPositions);
    for (std::size_t i = 0; i < kPositions; ++i) EXPECT_EQ(counts[i], Within(i, 0.5).size());

    std::vector<std::int32_t> nearest(kPositions);
    ASSERT_EQ(orvix_neighbours_nearest_many(index, xyz.data(), kPositions, nullptr, nullptr,
                                            nearest.data(), &error),
              ORVIX_OK);
    for (std::size_t i = 0; i < kPositions; ++i) {
        std::int32_t wanted = -2;
        ASSERT_EQ(orvix_neighbours_nearest(index, Position(i), &wanted, &error), ORVIX_OK);
        EXPECT_EQ(nearest[i], wanted);
    }
}

TEST_F(CNeighbourLists, RefuseAFirstListThatDoesNotFitAndArraysThatAreMissing) {
    std::uint32_t counts[2] = {};
    std::int32_t indices[3] = {-7, -7, -7};
    EXPECT_EQ(orvix_neighbours_within_many(index, xyz.data(), 2, 10, nullptr, nullptr, counts,
                                           indices, 3, &searched, &error),
              ORVIX_TOO_SMALL);
    EXPECT_TRUE(searched == 0 && counts[0] == points.size() && indices[0] == -7);
    EXPECT_EQ(orvix_neighbours_within_many(index, xyz.data(), 2, 10, nullptr, nullptr, counts,
                                           nullptr, 3, &searched, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_neighbours_within_many(index, nullptr, 2, 10, nullptr, nullptr, counts, indices,
                                           3, &searched, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(
        orvix_neighbours_nearest_many(index, xyz.data(), 2, nullptr, nullptr, nullptr, &error),
        ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_neighbours_within_many(index, nullptr, 0, 10, nullptr, nullptr, nullptr,
                                           nullptr, 0, &searched, &error),
              ORVIX_OK);
    const double nowhere[3] = {std::nan(""), 0, 0};
    EXPECT_EQ(orvix_neighbours_nearest_many(index, nowhere, 1, nullptr, nullptr, indices, &error),
              ORVIX_OK);
    EXPECT_EQ(indices[0], -1);
}

/// Says no when it is asked the last of so many times.
struct Patience {
    static std::int32_t ORVIX_C_CALL Ask(void* user, double) {
        return static_cast<Patience*>(user)->left-- > 0 ? 1 : 0;
    }
    std::int32_t left = 0;
};

// Each call that may take long asks more than once on a hundred thousand points, and ends at each no.
TEST(CLongCalls, EndWhereTheirCallbackSaysNo) {
    std::mt19937 draw(5);
    std::uniform_real_distribution<double> place(0, 10);
    std::vector<double> xyz(300'000);
    std::vector<float> floats(xyz.size());
    for (std::size_t i = 0; i < xyz.size(); ++i) {
        xyz[i] = i % 3 == 2 ? 0 : place(draw);
        floats[i] = static_cast<float>(xyz[i]);
    }
    const std::uint64_t count = xyz.size() / 3;
    const double level[] = {0, 0, 1, 0};
    orvix_error error = Sized<orvix_error>();
    orvix_neighbours* whole = nullptr;
    ASSERT_EQ(orvix_neighbours_open(floats.data(), count, 12, &whole, &error), ORVIX_OK);
    std::vector<std::uint32_t> counts(count);
    std::vector<std::int32_t> nearest(count);
    std::uint64_t searched = 0;
    for (std::int32_t patience : {0, 1}) {
        Patience asked{patience};
        orvix_mesh* mesh = nullptr;
        EXPECT_EQ(orvix_triangulate_while(xyz.data(), count, level, nullptr, 0, Patience::Ask,
                                          &asked, &mesh, &error),
                  ORVIX_CANCELLED);
        EXPECT_TRUE(mesh == nullptr && asked.left == -1);
        orvix_neighbours* index = nullptr;
        asked = {patience};
        EXPECT_EQ(orvix_neighbours_open_while(floats.data(), count, 12, Patience::Ask, &asked,
                                              &index, &error),
                  ORVIX_CANCELLED);
        EXPECT_TRUE(index == nullptr && asked.left == -1);
        asked = {patience};
        EXPECT_EQ(
            orvix_neighbours_within_many(whole, xyz.data(), count, 0.01, Patience::Ask, &asked,
                                         counts.data(), nullptr, 0, &searched, &error),
            ORVIX_CANCELLED);
        EXPECT_EQ(asked.left, -1);
        asked = {patience};
        EXPECT_EQ(orvix_neighbours_nearest_many(whole, xyz.data(), count, Patience::Ask, &asked,
                                                nearest.data(), &error),
                  ORVIX_CANCELLED);
        EXPECT_EQ(asked.left, -1);
    }
    orvix_neighbours_close(whole);
}

// BEHAVIOUR B4
TEST(CStatisticsCalls, DivideValuesIntoTheirClasses) {
    const double values[] = {1, 1.1, 1.2, 5, 5.1, 9, 9.3};
    double breaks[4];
    std::uint64_t count = 0;
    orvix_error error = Sized<orvix_error>();
    ASSERT_EQ(orvix_natural_breaks(values, 7, 3, 0.5, breaks, 4, &count, &error), ORVIX_OK);
    EXPECT_THAT(breaks, testing::ElementsAre(0.5, 1.2, 5.1, 9.3));
    EXPECT_EQ(orvix_natural_breaks(values, 7, 4, 0.5, breaks, 4, &count, &error), ORVIX_TOO_SMALL);
    EXPECT_EQ(count, 5u);
    const double unsorted[] = {2, 1};
    EXPECT_EQ(orvix_natural_breaks(unsorted, 2, 2, 0, breaks, 4, &count, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_natural_breaks(values, 7, 0, 0, breaks, 4, &count, &error), ORVIX_BAD_ARGUMENT);
}

// Bins of 12 bytes: a value and the number of points.
void AddBin(std::vector<std::uint8_t>& bins, double value, std::int32_t points) {
    bins.resize(bins.size() + 12);
    std::memcpy(&bins[bins.size() - 12], &value, sizeof value);
    std::memcpy(&bins[bins.size() - 4], &points, sizeof points);
}

constexpr wchar_t kHistogram[] =
    L"Gr\u00F6\u00DFe \u70B9\u4E91_Project_Files/Data/intensities.hist";

TEST_F(CPlaneCalls, DrawSamplesFromAHistogramOfTheProject) {
    std::vector<std::uint8_t> bins;
    for (const double value : {10.0, 20.0, 30.0}) AddBin(bins, value, 500);
    AddBin(bins, 40, 0);
    WriteRecords(folder / kHistogram, bins);
    std::vector<double> samples(200);
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_histogram_sample(project, ORVIX_HISTOGRAM_INTENSITY, 0.5, 200, samples.data(),
                                     200, &count, &error),
              ORVIX_OK)
        << error.text;
    samples.resize(count);
    EXPECT_GT(count, 100u);
    EXPECT_TRUE(std::is_sorted(samples.begin(), samples.end()));
    EXPECT_THAT(samples, testing::Each(testing::AnyOf(10.5, 20.5, 30.5)));
    EXPECT_EQ(orvix_histogram_sample(project, 2, 0, 200, samples.data(), 200, &count, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_histogram_sample(project, 0, 0, 200, samples.data(), 199, &count, &error),
              ORVIX_TOO_SMALL);
}

// BEHAVIOUR H6
TEST_F(CPlaneCalls, DrawFromEveryBinOfAHistogramOfBillionsOfPoints) {
    std::vector<std::uint8_t> bins;
    for (int value = 0; value < 5; ++value) AddBin(bins, value, 1'000'000'000);
    WriteRecords(folder / kHistogram, bins);
    std::vector<double> samples(100'000);
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_histogram_sample(project, ORVIX_HISTOGRAM_INTENSITY, 0, 100'000, samples.data(),
                                     samples.size(), &count, nullptr),
              ORVIX_OK);
    samples.resize(count);
    for (int value = 0; value < 5; ++value)
        EXPECT_NEAR(static_cast<double>(std::count(samples.begin(), samples.end(), value)), 20'000,
                    1'500)
            << value;
}

}  // namespace
}  // namespace orvix::test
