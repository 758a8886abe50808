// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/points/grid_cells.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_paths.h"
#include "tests/c/c_project.h"

namespace orvix::test {
namespace {

class CPointCalls : public CProject {
protected:
    CPointCalls() : CProject(RoomPoints(11, 3000), {500, 600, 70}) {}

    static bool Same(const std::vector<orvix_point>& got, const CCloudPoint<float>* wanted) {
        return std::memcmp(got.data(), wanted, got.size() * sizeof(orvix_point)) == 0;
    }
};

TEST_F(CPointCalls, ReadAnyRangeAsTheFileHoldsIt) {
    ASSERT_EQ(Open(), ORVIX_OK) << error.text;
    const std::uint64_t all = tiny.points.size();
    EXPECT_TRUE(Same(Points(0, all), tiny.points.data()));
    EXPECT_TRUE(Same(Points(100, 17), &tiny.points[100]));
    EXPECT_EQ(orvix_points_read(project, all, 0, nullptr, &error), ORVIX_OK);
    orvix_point point;
    EXPECT_EQ(orvix_points_read(project, all, 1, &point, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_points_read(project, 1, ~std::uint64_t{0}, &point, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_points_read(project, 0, 1, nullptr, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_points_read(nullptr, 0, 1, &point, &error), ORVIX_BAD_ARGUMENT);
}

TEST_F(CPointCalls, ReadWorldPositionsInDoublePrecision) {
    ASSERT_EQ(Open(), ORVIX_OK);
    std::vector<double> xyz(tiny.points.size() * 3);
    ASSERT_EQ(orvix_points_read_world(project, 0, tiny.points.size(), xyz.data(), &error),
              ORVIX_OK);
    for (std::size_t i = 0; i < tiny.points.size(); ++i) {
        ASSERT_EQ(xyz[3 * i], 500.0 + tiny.points[i].x) << i;
        ASSERT_EQ(xyz[3 * i + 2], 70.0 + tiny.points[i].z) << i;
    }
}

TEST_F(CPointCalls, GatherRunsInTheirOrder) {
    ASSERT_EQ(Open(), ORVIX_OK);
    const std::uint32_t seed = 20240307;
    SCOPED_TRACE(seed);
    std::mt19937 draw(seed);
    std::vector<orvix_run> runs;
    std::vector<CCloudPoint<float>> wanted;
    for (int i = 0; i < 50; ++i) {
        const std::uint64_t first =
            i % 3 == 1 ? runs.back().offset + runs.back().count : draw() % tiny.points.size();
        const auto count = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(draw() % 90, tiny.points.size() - first));
        runs.push_back({first, count, 0});
        wanted.insert(wanted.end(), tiny.points.begin() + static_cast<std::ptrdiff_t>(first),
                      tiny.points.begin() + static_cast<std::ptrdiff_t>(first + count));
    }
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_points_read_runs(project, runs.data(), runs.size(), nullptr, 0, &count, &error),
              ORVIX_OK);
    ASSERT_EQ(count, wanted.size());
    std::vector<orvix_point> got(wanted.size());
    EXPECT_EQ(orvix_points_read_runs(project, runs.data(), runs.size(), got.data(), count - 1,
                                     &count, &error),
              ORVIX_TOO_SMALL);
    ASSERT_EQ(orvix_points_read_runs(project, runs.data(), runs.size(), got.data(), got.size(),
                                     &count, &error),
              ORVIX_OK);
    EXPECT_TRUE(Same(got, wanted.data()));
    runs[3].count = 1u << 30;
    EXPECT_EQ(orvix_points_read_runs(project, runs.data(), runs.size(), got.data(), got.size(),
                                     &count, &error),
              ORVIX_BAD_ARGUMENT);
}

// BEHAVIOUR B5
TEST_F(CPointCalls, LendPointsBeyondTheProjectsLife) {
    ASSERT_EQ(Open(), ORVIX_OK);
    orvix_view* view = nullptr;
    const orvix_point* points = nullptr;
    ASSERT_EQ(orvix_points_borrow(project, 2731, 200, &view, &points, &error), ORVIX_OK)
        << error.text;
    orvix_project_close(project);
    project = nullptr;
    EXPECT_EQ(std::memcmp(points, &tiny.points[2731], 200 * sizeof *points), 0);
    orvix_view_close(view);
    ASSERT_EQ(Open(), ORVIX_OK);
    ASSERT_EQ(orvix_points_borrow(project, 5, 0, &view, &points, &error), ORVIX_OK);
    EXPECT_EQ(points, nullptr);
    orvix_view_close(view);
    EXPECT_EQ(orvix_points_borrow(project, tiny.points.size(), 1, &view, &points, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(view, nullptr);
}

TEST_F(CPointCalls, ChangeNothingButTheDclcPairsAskedFor) {
    ASSERT_EQ(Open(), ORVIX_OK);
    std::vector<orvix_dclc> marks(700);
    for (std::size_t i = 0; i < marks.size(); ++i) {
        marks[i] = {static_cast<std::uint16_t>(60000 + i), static_cast<std::uint8_t>(i), 0xEE};
    }
    EXPECT_EQ(orvix_points_write_dclc(project, 0, 1, marks.data(), &error), ORVIX_BAD_ARGUMENT);
    EXPECT_THAT(error.text, testing::HasSubstr("ORVIX_READ_WRITE"));
    orvix_project_close(project);
    ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK) << error.text;
    ASSERT_EQ(orvix_points_write_dclc(project, 1000, marks.size(), marks.data(), &error), ORVIX_OK)
        << error.text;
    auto wanted = tiny.points;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        wanted[1000 + i].dclcFirst = marks[i].first;
        wanted[1000 + i].dclcSecond = marks[i].second;
    }
    EXPECT_TRUE(Same(Points(0, wanted.size()), wanted.data()));
    EXPECT_EQ(orvix_points_write_dclc(project, wanted.size() - 1, 2, marks.data(), &error),
              ORVIX_BAD_ARGUMENT);
}

// BEHAVIOUR K9
TEST_F(CPointCalls, KeepTheSumsOfTheProjectTrue) {
    ProjectManager paths;
    detail::BuildPaths(paths, path);
    ASSERT_TRUE(detail::SumProject(paths, {}, detail::RunOneByOne));
    const auto sums = [&] {
        detail::CheckOptions options;
        options.sums = detail::SumDepth::All;
        const auto report = detail::CheckProject(path, options);
        EXPECT_TRUE(report && report->Ok());
        return report ? report->sums : detail::SumReport();
    };
    const std::vector<orvix_dclc> marks(500, {4711, 42, 0});
    ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK) << error.text;
    EXPECT_EQ(orvix_points_write_dclc(project, 3, 0, marks.data(), &error), ORVIX_OK);
    EXPECT_TRUE(sums().written.empty()) << "opening alone writes nothing";
    ASSERT_EQ(orvix_points_write_dclc(project, 100, 500, marks.data(), &error), ORVIX_OK);
    ASSERT_EQ(orvix_points_write_dclc(project, 20, 1, marks.data(), &error), ORVIX_OK);
    EXPECT_FALSE(sums().written.empty()) << "until the close they are not known";
    orvix_project_close(project);
    project = nullptr;
    EXPECT_EQ(sums().state, detail::SumState::Compared);
    EXPECT_TRUE(sums().written.empty());
}

// A file of 4.8 GB, all but one record of it a hole: positions past 32 bits in every call.
TEST_F(CPointCalls, ReachPointsPastFourGigabytes) {
    const std::uint64_t far = 199'000'000;
    std::error_code failed;
    {
        const CString index =
            platform::JoinPath(folder / L"Gr\u00F6\u00DFe \u70B9\u4E91_Project_Files", L"Index");
        auto file = platform::File::OpenReadWrite(platform::JoinPath(index, L"Grid.pts"), failed);
        ASSERT_FALSE(failed);
        file.Resize(200'000'000 * sizeof(orvix_point), failed);
        ASSERT_FALSE(failed) << failed.message();
        file.WriteAt(far * sizeof(orvix_point), &tiny.points[9], sizeof(orvix_point), failed);
        ASSERT_FALSE(failed) << failed.message();
    }
    ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK) << error.text;
    EXPECT_TRUE(Same(Points(far, 1), &tiny.points[9]));
    const orvix_dclc pair{4711, 42, 0};
    ASSERT_EQ(orvix_points_write_dclc(project, far, 1, &pair, &error), ORVIX_OK) << error.text;
    orvix_view* view = nullptr;
    const orvix_point* points = nullptr;
    ASSERT_EQ(orvix_points_borrow(project, far - 1, 3, &view, &points, &error), ORVIX_OK);
    EXPECT_TRUE(points[1].x == tiny.points[9].x && points[1].dclc_first == 4711);
    EXPECT_TRUE(points[0].dclc_first == 0 && points[2].dclc_second == 0);
    orvix_view_close(view);
    const orvix_run run{far, 1, 0};
    orvix_point point{};
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_points_read_runs(project, &run, 1, &point, 1, &count, &error), ORVIX_OK);
    EXPECT_EQ(point.dclc_second, 42);
}

// Oracle: the levels' cells, worked out from the points one by one.
TEST_F(CPointCalls, FindEachPointsCellAtEveryLevel) {
    ASSERT_EQ(Open(), ORVIX_OK);
    for (std::size_t i = 0; i < tiny.points.size(); ++i) {
        const auto& p = tiny.points[i];
        const double world[] = {500.0 + p.x, 600.0 + p.y, 70.0 + p.z};
        const detail::AxisCell x = detail::CellOf(p.x);
        const detail::AxisCell z = detail::CellOf(p.z);
        for (const auto& [level, wantedX, wantedZ] :
             {std::tuple{1000, x.cell1000, z.cell1000}, std::tuple{100, x.cell100, z.cell100},
              std::tuple{10, x.cell100 * 10 + x.cell10, z.cell100 * 10 + z.cell10}}) {
            auto cell = Sized<orvix_cell>();
            ASSERT_EQ(orvix_cell_at(project, level, world, &cell, &error), ORVIX_OK) << error.text;
            ASSERT_TRUE(cell.x == wantedX && cell.z == wantedZ) << i << " " << level;
            ASSERT_TRUE(i >= cell.first_point && i - cell.first_point < cell.points) << i;
            ASSERT_TRUE(p.x >= cell.min[0] - 1e-6 && p.x < cell.max[0] + 1e-6) << i;
            auto again = Sized<orvix_cell>();
            ASSERT_EQ(orvix_cell_get(project, level, cell.entry, &again, &error), ORVIX_OK);
            ASSERT_EQ(std::memcmp(&cell, &again, sizeof cell), 0);
        }
    }
}

TEST_F(CPointCalls, CellsOfEveryLevelHoldEveryPointOnce) {
    ASSERT_EQ(Open(), ORVIX_OK);
    std::uint64_t parents = 0;
    for (const std::int32_t level : {10, 100, 1000}) {
        const void* records = nullptr;
        std::uint64_t cells = 0;
        ASSERT_EQ(orvix_cells_borrow(project, level, &records, &cells, &error), ORVIX_OK);
        std::uint64_t next = 0;
        std::uint64_t children = 0;
        for (std::uint64_t i = 0; i < cells; ++i) {
            auto cell = Sized<orvix_cell>();
            ASSERT_EQ(orvix_cell_get(project, level, i, &cell, &error), ORVIX_OK) << error.text;
            ASSERT_EQ(cell.first_point, next);
            ASSERT_EQ(cell.first_child, level == 10 ? 0 : children);
            next += cell.points;
            children += cell.children;
        }
        EXPECT_EQ(next, tiny.points.size());
        EXPECT_EQ(children, parents);
        parents = cells;
    }
    const orvix_run* runs = nullptr;
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_fine_runs_borrow(project, &runs, &count, &error), ORVIX_OK);
    ASSERT_EQ(count, tiny.runs10.size());
    EXPECT_EQ(std::memcmp(runs, tiny.runs10.data(), count * sizeof *runs), 0);
}

TEST_F(CPointCalls, DescribeThePlaceOfACellThatIsNotThere) {
    ASSERT_EQ(Open(), ORVIX_OK);
    auto cell = Sized<orvix_cell>();
    const double outside[] = {-1e6 + 500, 600.25, 70};
    ASSERT_EQ(orvix_cell_at(project, 10, outside, &cell, &error), ORVIX_OK);
    EXPECT_EQ(cell.points, 0u);
    EXPECT_EQ(cell.entry, ~std::uint64_t{0});
    EXPECT_TRUE(cell.x == -10'000'000 && cell.y == 2 && cell.min[1] == 0.2);
    for (const double far : {1e12, std::nan(""), HUGE_VAL}) {
        const double at[] = {far, 0, 0};
        EXPECT_EQ(orvix_cell_at(project, 100, at, &cell, &error), ORVIX_BAD_ARGUMENT);
    }
    EXPECT_EQ(orvix_cell_at(project, 7, outside, &cell, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_cell_get(project, 10, tiny.cells10.size(), &cell, &error), ORVIX_BAD_ARGUMENT);
}

// Each number of every index record, spoilt in turn: an answer, and none beyond the files.
TEST_F(CPointCalls, StayInsideTheFilesWhateverTheIndexesSay) {
    const CString index = folder / L"Gr\u00F6\u00DFe \u70B9\u4E91_Project_Files";
    for (const auto* file : {L"Grid.idx", L"Grid1000cm.idx", L"Grid10cm.idx", L"Grid1to10cm.idx"}) {
        CString records = index;
        for (const auto* part : {L"Index", file}) records = platform::JoinPath(records, part);
        const auto whole = ReadBytes(records);
        ASSERT_FALSE(whole.empty());
        for (const int value : {0x00, 0x7F, 0x80, 0xFF}) {
            auto spoilt = whole;
            for (std::size_t at = 0; at < spoilt.size(); ++at) {
                if (at / 4 % 3 == static_cast<std::size_t>(value % 3)) {
                    spoilt[at] = static_cast<std::uint8_t>(value);
                }
            }
            WriteBytes(records, spoilt.data(), spoilt.size());
            ASSERT_EQ(Open(), ORVIX_OK) << error.text;
            for (const std::int32_t level : {1000, 100, 10}) {
                auto cell = Sized<orvix_cell>();
                std::uint64_t i = 0;
                for (; orvix_cell_get(project, level, i, &cell, &error) != ORVIX_BAD_ARGUMENT;
                     ++i) {
                    ASSERT_TRUE(cell.points <= tiny.points.size());
                }
                EXPECT_GT(i, 0u);
                const double at[] = {500.5, 600.5, 70.5};
                orvix_cell_at(project, level, at, &cell, &error);
            }
            orvix_project_close(project);
        }
        WriteBytes(records, whole.data(), whole.size());
    }
    project = nullptr;
}

}  // namespace
}  // namespace orvix::test
