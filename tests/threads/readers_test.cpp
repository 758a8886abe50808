// SPDX-License-Identifier: GPL-3.0-or-later
// Threads that read one project, and that share what only answers questions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "orvix/geometry/polygon_index.h"
#include "orvix/planes/fitted_plane.h"
#include "orvix/platform/utility_lib.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/index_hash_reader.h"
#include "orvix/points/index_reader.h"
#include "orvix/points/nearest_neighbour.h"
#include "orvix/project/access/open_project.h"
#include "orvix/surfaces/point_cloud_geometrics.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"
#include "tests/threads/side_by_side.h"

namespace orvix {
namespace {

using test::SideBySide;

bool AreSame(const CCloudPoint<float>& a, const CCloudPoint<float>& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

class ThreadsOfOneProject : public testing::Test {
protected:
    ThreadsOfOneProject() {
        test::WriteTinyProject(tiny, path);
        auto opened = detail::OpenProject::Open(path);
        if (opened) project = std::move(*opened);
    }
    void SetUp() override { ASSERT_NE(project, nullptr); }

    /// Every point three times: one after the other, by its place, and by the run of its cell.
    void ReadAll(CAlivePointReader& reader, CIndexReader& cells) const {
        const std::size_t count = tiny.points.size();
        CCloudPoint<float> point;
        for (std::size_t i = 0; i < count && reader.ReadNextPoint(); ++i) {
            reader.ReadCurrentPoint(point);
            ASSERT_TRUE(AreSame(point, tiny.points[i])) << i;
        }
        for (std::size_t i = count; i-- > 0;) {
            reader.ReadPoint(static_cast<std::int64_t>(i * sizeof point), point);
            ASSERT_TRUE(AreSame(point, tiny.points[i])) << i;
        }
        std::vector<CCloudPoint<float>> appended;
        cells.InitIndex100(0);
        for (bool more = true; more;) {
            more = cells.ReadIndex100(0);
            CIndexerSmall run;
            cells.GetOffsetCount100(run.offset, run.count);
            reader.ReadIndexPoints(run.offset, run.count, appended);
        }
        ASSERT_EQ(appended.size(), count);
        for (std::size_t i = 0; i < count; ++i) ASSERT_TRUE(AreSame(appended[i], tiny.points[i]));
    }

    test::ScratchFolder folder;
    CString path = folder / L"scan.prj";
    test::TinyProject tiny = test::MakeTinyProject(test::RoomPoints(5, 2'000));
    std::unique_ptr<detail::OpenProject> project;
};

TEST_F(ThreadsOfOneProject, ReadItThroughReadersOfTheirOwnOverOneCore) {
    const CProjectCore& core = project->Core();
    std::vector<std::shared_ptr<CAlivePointReader>> readers;
    std::vector<std::shared_ptr<CIndexReader>> cells;
    for (int i = 0; i < 4; ++i) {
        readers.push_back(core.CreateAlivePointReader());
        cells.push_back(core.CreateIndexReader());
    }
    SideBySide(4, [&](int own) {
        const auto at = static_cast<std::size_t>(own);
        ReadAll(*readers[at], *cells[at]);
        readers[at]->Reset();
        ReadAll(*readers[at], *cells[at]);
        readers[at].reset();  // gives its view of runs back, while others take theirs
    });
}

// Each has a core of its own; one ends with its files closed while others read.
TEST_F(ThreadsOfOneProject, OpenAndCloseItThemselves) {
    SideBySide(3, [&](int) {
        for (int round = 0; round < 3; ++round) {
            const auto own = detail::OpenProject::Open(path);
            ASSERT_TRUE(own) << own.error().message;
            const auto reader = (*own)->Core().CreateAlivePointReader();
            const auto cells = (*own)->Core().CreateIndexReader();
            ReadAll(*reader, *cells);
        }
    });
}

TEST_F(ThreadsOfOneProject, ShareACellListAndTheTexts) {
    // The cell (x, 0, 0) of this box has the key 64 + x.
    const std::vector<std::uint64_t> keys = {67, 69, 72, 77};
    test::WriteRecords(folder / L"index_hash", keys);
    const CIndexHashReader list(folder / L"index_hash", {0, 0, 0}, {20, 1, 1});
    SideBySide(4, [&](int) {
        for (int x = 0; x < 20; ++x) {
            int index = -1;
            const auto wanted = std::find(keys.begin(), keys.end(), 64U + static_cast<unsigned>(x));
            ASSERT_EQ(list.Find({x, 0, 0}, index), wanted != keys.end()) << x;
            ASSERT_EQ(index, wanted == keys.end() ? -1 : wanted - keys.begin());
        }
        ASSERT_STREQ(UtilityLib::LocaleString(99'001), L"99001");
    });
}

/// A level square of 2 m with points every 4 cm, and its plane.
struct Square {
    Square() {
        for (int i = 0; i <= 50; ++i)
            for (int j = 0; j <= 50; ++j) {
                points.push_back({static_cast<float>(i) * 0.04F, static_cast<float>(j) * 0.04F, 1});
                wide.push_back({i * 0.04, j * 0.04, 1});
                plane.AddPoint(wide.back());
            }
        plane.Generate(false);
        plane.Generate2DExt();
    }
    std::vector<SimplePointT<float>> points;
    std::vector<SimplePointT<double>> wide;
    FittedPlane plane;
};

TEST(ThreadsThatShare, NeighboursGetTheSameAnswers) {
    const Square square;
    const CNearestNeighbour shared(&square.points);
    SideBySide(4, [&](int) {
        CNearestNeighbour own(&square.points);  // Find belongs to one thread
        std::vector<int> found;
        for (int i = 0; i < 60; ++i) {
            const SimplePointT<double> query{i * 0.03, i * 0.02, 1.01};
            int nearest = -1;
            int count = 0;
            shared.FindWithin(query, 0.04, found);
            ASSERT_TRUE(shared.FindNearest(query, nearest));
            const int* const same = own.Find(&query, 0.04, count);
            ASSERT_EQ(found, std::vector<int>(same, same + count));
            ASSERT_EQ(nearest, found.front());
        }
    });
}

TEST(ThreadsThatShare, APlaneAndItsOutlineGetTheSameAnswers) {
    const Square square;
    const FittedPlane& plane = square.plane;
    const detail::PolygonIndex outline(plane.Outline());
    SideBySide(4, [&](int) {
        for (int i = -5; i < 60; ++i) {
            const SimplePointT<double> at{(i + 0.5) * 0.04, 1.01, 1};
            const bool inside = i >= 0 && i < 50;
            ASSERT_EQ(plane.IsPointInContour(at), inside) << i;
            ASSERT_EQ(plane.IsPointInBound(at), inside) << i;
            ASSERT_EQ(outline.Contains(plane.Frame().To2D(at)), inside) << i;
        }
        ASSERT_NEAR(plane.Area(), 4, 1e-9);
        ASSERT_LT(plane.Residuals().max, 1e-6);
        const FittedPlane copy = plane;  // shares the outline
        ASSERT_EQ(copy.Outline().regions.size(), 1U);
    });
}

// Where boundary segments cross, exact numbers decide, whose copies share what they hold.
TEST(ThreadsThatShare, NothingTriangulateSideBySide) {
    std::vector<std::vector<int>> faces(3);
    SideBySide(3, [&](int own) {
        Square square;
        std::vector<SimplePointT<double>> boundary = {{0, 0, 1}, {2, 2, 1}, {0, 2, 1}, {2, 0, 1}};
        PointCloudGeometrics::ConstrainedSurface(square.wide, {0, 0, 1, -1},
                                                 faces[static_cast<std::size_t>(own)], &boundary);
    });
    EXPECT_GE(faces[0].size(), 4U * 2 * 50 * 50);
    EXPECT_EQ(faces[0], faces[1]);
    EXPECT_EQ(faces[0], faces[2]);
}

}  // namespace
}  // namespace orvix
