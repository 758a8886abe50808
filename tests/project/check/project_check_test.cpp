// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/project_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_summary.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::HasSubstr;

std::string Told(const detail::CheckReport& report) {
    std::string text;
    for (const detail::CheckFault& fault : report.faults)
        text += fault.file + ": " + fault.what + "\n";
    return text;
}

class ProjectCheckTest : public testing::Test {
protected:
    ProjectCheckTest() { Write(0.1); }

    void Write(double scale, std::size_t count = 12) {
        project =
            test::MakeTinyProject(test::RoomPoints(3, count), scale, {690'000, 5'330'000, 500});
        WriteTinyProject(project, path);
        manager.Set(path, false);
    }

    detail::CheckReport Check() {
        auto report = detail::CheckProject(path);
        EXPECT_TRUE(report) << report.error().message;
        return std::move(*report);
    }

    // Every file that a complete project with its 10 cm level has.
    std::vector<CString> Files() const {
        return {manager.projectFile,
                manager.headFile,
                manager.transformFile,
                manager.gridPts,
                manager.gridIdx,
                manager.grid1000cmIdx,
                manager.grid10cmIdx,
                manager.grid1to10cmIdx,
                manager.gridSkeletCoordPts,
                manager.gridSkeletDataPts,
                manager.viewGridDtv,
                manager.viewEntriesDtv,
                manager.viewGridLv,
                manager.intensitiesHist,
                manager.intensitiesSliceHist,
                manager.zHist,
                manager.zSliceHist};
    }

    // In place: emptying a file first makes some file systems wait for the disk.
    static void Overwrite(const CString& path, const Bytes& bytes) {
        std::error_code error;
        auto file = platform::File::OpenReadWrite(path, error);
        file.WriteAt(0, bytes.data(), bytes.size(), error);
        file.Resize(bytes.size(), error);
        ASSERT_FALSE(error);
    }

    // The report after one change to a file's bytes, which are put back afterwards.
    detail::CheckReport Spoil(const CString& file, const std::function<void(Bytes&)>& change) {
        const Bytes whole = test::ReadBytes(file);
        Bytes spoilt = whole;
        change(spoilt);
        Overwrite(file, spoilt);
        detail::CheckReport report = Check();
        Overwrite(file, whole);
        return report;
    }

    // What the check reports after one value was written over a file's bytes.
    template <class T>
    std::string SpoilField(const CString& file, std::size_t position, T value) {
        return Told(Spoil(file, [&](Bytes& bytes) {
            std::memcpy(bytes.data() + position, &value, sizeof value);
        }));
    }

    test::ScratchFolder folder;
    CString path = folder / L"scan.prj";
    test::TinyProject project;
    ProjectManager manager;
};

TEST_F(ProjectCheckTest, FindsNoFaultInWholeProjectsOfEveryScale) {
    for (const double scale : {0.01, 0.1, 1.0}) {
        for (const std::size_t count : {0U, 1U, 10U, 2000U}) {
            std::error_code ignored;
            platform::RemoveTree(manager.projectFilesFolder, ignored);
            Write(scale, count);
            EXPECT_EQ(Told(Check()), "") << scale << ", " << count;
        }
    }
}

// BEHAVIOUR K1
TEST_F(ProjectCheckTest, LeavesTheFolderAsItIs) {
    std::error_code error;
    platform::RemoveFolder(manager.panoFolder, error);
    const auto before = platform::ListFolder(manager.projectFilesFolder, error);
    Check();
    EXPECT_EQ(platform::ListFolder(manager.projectFilesFolder, error), before);
    EXPECT_FALSE(platform::PathExists(manager.panoFolder));
}

TEST_F(ProjectCheckTest, TellsAPathThatIsNoProject) {
    EXPECT_EQ(detail::CheckProject(folder / L"absent.prj").error().code, ErrorCode::BadInput);
    EXPECT_EQ(detail::CheckProject(L"").error().code, ErrorCode::BadInput);
    EXPECT_EQ(detail::CheckProject(folder.Path()).error().code, ErrorCode::BadInput);
    test::WriteText(folder / L"other.prj", "text");
    const auto other = detail::CheckProject(folder / L"other.prj");
    ASSERT_FALSE(other);
    EXPECT_THAT(other.error().message, HasSubstr("other_Project_Files"));
    EXPECT_FALSE(detail::SummariseProject(folder / L"other.prj"));
}

// BEHAVIOUR K4
TEST_F(ProjectCheckTest, NamesEveryMissingFile) {
    for (const CString& file : Files()) {
        if (file == manager.transformFile || file == path) continue;
        const Bytes whole = test::ReadBytes(file);
        std::error_code error;
        platform::RemoveFile(file, error);
        EXPECT_THAT(Told(Check()), HasSubstr(platform::ToUtf8(file) + ": cannot be"))
            << Told(Check());
        test::WriteBytes(file, whole.data(), whole.size());
    }
}

TEST_F(ProjectCheckTest, NamesEveryTruncatedFileAtEveryLength) {
    for (const CString& file : Files()) {
        const std::size_t size = test::ReadBytes(file).size();
        for (std::size_t length = 0; length < size; ++length) {
            const detail::CheckReport report =
                Spoil(file, [&](Bytes& bytes) { bytes.resize(length); });
            ASSERT_FALSE(report.Ok()) << platform::ToUtf8(file) << " cut to " << length;
        }
    }
}

// BEHAVIOUR K3
TEST_F(ProjectCheckTest, NamesEverySpoiltByteOfTheIndexesAndTheViewFiles) {
    for (const CString& file :
         {manager.gridIdx, manager.grid1000cmIdx, manager.grid10cmIdx, manager.grid1to10cmIdx,
          manager.viewGridDtv, manager.viewEntriesDtv, manager.viewGridLv}) {
        const std::size_t size = test::ReadBytes(file).size();
        for (std::size_t at = 0; at < size; ++at) {
            for (const std::uint8_t bits : {std::uint8_t{0x01}, std::uint8_t{0xFF}}) {
                const detail::CheckReport report =
                    Spoil(file, [&](Bytes& bytes) { bytes[at] ^= bits; });
                // Of a block of two points either may be the nearest to their centroid.
                if (file == manager.viewGridLv && at % 48 == 36 && bits == 1) continue;
                ASSERT_FALSE(report.Ok()) << platform::ToUtf8(file) << " at " << at;
            }
        }
    }
}

TEST_F(ProjectCheckTest, SurvivesEverySpoiltByteOfEveryOtherFile) {
    for (const CString& file :
         {manager.projectFile, manager.headFile, manager.transformFile, manager.gridPts,
          manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.zHist}) {
        const std::size_t size = test::ReadBytes(file).size();
        for (std::size_t at = 0; at < size; ++at) {
            Spoil(file, [&](Bytes& bytes) { bytes[at] ^= 0xFF; });
            Spoil(file, [&](Bytes& bytes) { bytes[at] = 0x7F; });
        }
    }
}

TEST_F(ProjectCheckTest, SaysWhatIsWrongAndWhere) {
    const std::string file = platform::ToUtf8(manager.gridPts);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(SpoilField(manager.gridPts, 24, nan),
                HasSubstr(file + ": point 1 has coordinates"));
    EXPECT_THAT(SpoilField(manager.gridPts, 48, 500.0F),
                HasSubstr(file + ": point 2 lies in 100 cm cell [500, "));
    const float nudged = project.points[0].z + (project.points[0].z > -0.1F ? -0.1F : 0.1F);
    EXPECT_THAT(SpoilField(manager.gridPts, 8, nudged), HasSubstr("point 0 lies in 10"));
    EXPECT_THAT(SpoilField(manager.headFile, 0, std::uint64_t{13}),
                HasSubstr("counts 13 points where 12 are stored"));
    EXPECT_THAT(SpoilField(manager.headFile, 48, 99.0), HasSubstr("holds bounds"));
    EXPECT_THAT(SpoilField(manager.headFile, 16, -1.0), HasSubstr("holds a skeleton scale of -1"));
    EXPECT_THAT(SpoilField(manager.headFile, 80, std::uint32_t{2}),
                HasSubstr("counts 2 stations where points name station 2"));
    EXPECT_THAT(SpoilField(path, 0, std::int32_t{14}), HasSubstr("settings of version 14"));
    EXPECT_THAT(SpoilField(path, 0, std::int32_t{12}), HasSubstr("322 bytes where settings of "
                                                                 "version 12 take 310"));
    EXPECT_THAT(SpoilField(manager.gridIdx, 24, std::uint32_t{0}), HasSubstr("entry 0 is empty"));
    EXPECT_THAT(SpoilField(manager.gridIdx, 16, ~std::uint64_t{0}),
                HasSubstr("of which there are 12"));
    EXPECT_THAT(SpoilField(manager.grid10cmIdx, 0, std::int8_t{10}), HasSubstr("not within 0..9"));
    EXPECT_THAT(SpoilField(manager.zHist, 8, std::int32_t{-5}),
                HasSubstr("bin 0 counts -5 points"));
    EXPECT_THAT(SpoilField(manager.zHist, 0, 1e9), HasSubstr("bin 1 at "));
    EXPECT_THAT(SpoilField(manager.gridSkeletCoordPts, 0, 77.0F),
                HasSubstr("point 0 lies in 100 cm cell [77, "));
    EXPECT_THAT(SpoilField(manager.gridSkeletCoordPts, 8, nudged), HasSubstr("stands for ["));
    EXPECT_THAT(SpoilField(manager.transformFile, 0, 0.0), HasSubstr("has no inverse"));
}

// BEHAVIOUR K6
TEST_F(ProjectCheckTest, HoldsEachSkeletonPointAndItsDataAgainstTheCloud) {
    const std::size_t last = (project.skeleton.size() - 1) * 12;
    for (const std::size_t byte : {0U, 5U, 9U, 10U}) {  // intensity, class, station
        const auto changed = static_cast<std::uint8_t>(
            test::ReadBytes(manager.gridSkeletDataPts)[last + byte] ^ 0x40);
        EXPECT_THAT(SpoilField(manager.gridSkeletDataPts, last + byte, changed),
                    HasSubstr("does not hold intensity, colour, class and station"));
    }
    const float moved = std::nextafter(project.skeleton.back().z, 1e9F);
    EXPECT_THAT(SpoilField(manager.gridSkeletCoordPts, last + 8, moved),
                HasSubstr("lies where the cloud has no point"));
}

// BEHAVIOUR K6
TEST_F(ProjectCheckTest, LeavesTheDclcPairsOfEitherFileToTheHost) {
    EXPECT_EQ(SpoilField(manager.gridSkeletDataPts, 6, std::uint16_t{7}), "");
    EXPECT_EQ(SpoilField(manager.gridPts, 22, std::uint8_t{7}), "");
}

// BEHAVIOUR K2
TEST_F(ProjectCheckTest, ListsThreeFaultsOfAKindAndCountsTheRest) {
    const detail::CheckReport report = Spoil(manager.gridPts, [&](Bytes& bytes) {
        for (std::size_t at = 3; at < bytes.size(); at += 24) bytes[at] = 0x7F;  // huge x
    });
    // Each point, the bounds, and each skeleton point, which is none of the cloud's any more.
    EXPECT_EQ(report.total, 13U + project.skeleton.size());
    ASSERT_EQ(report.faults.size(), 7U);
    EXPECT_THAT(report.faults[2].what, HasSubstr("(and 9 more like it)"));
    detail::CheckOptions options;
    options.maxFaults = 0;
    test::WriteText(manager.gridIdx, "");
    EXPECT_TRUE(detail::CheckProject(path, options)->faults.empty());
    EXPECT_FALSE(detail::CheckProject(path, options)->Ok());
}

TEST_F(ProjectCheckTest, StopsWhenItsCallerWishes) {
    detail::CheckOptions options;
    double last = 0;
    options.progress = [&](double fraction) {
        EXPECT_GE(fraction, last);
        last = fraction;
        return true;
    };
    EXPECT_TRUE(detail::CheckProject(path, options));
    EXPECT_GT(last, 0);
    EXPECT_LE(last, 1);
    options.progress = [](double) { return false; };
    EXPECT_EQ(detail::CheckProject(path, options).error().code, ErrorCode::Cancelled);
}

TEST_F(ProjectCheckTest, ASummaryTellsCountsBoundsAndBytes) {
    const auto summary = detail::SummariseProject(path);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->points, 12U);
    EXPECT_EQ(summary->skeletonPoints, project.skeleton.size());
    EXPECT_EQ(summary->cells1000, project.cells1000.size());
    EXPECT_EQ(summary->cells100, project.cells100.size());
    EXPECT_EQ(summary->cells10, project.cells10.size());
    EXPECT_EQ(summary->stations, 3U);
    EXPECT_EQ(summary->frame.Origin().y, 5'330'000);
    EXPECT_EQ(summary->bounds.min.x, 690'000 + project.head.bounds.min.x);
    std::uint64_t bytes =
        test::ReadBytes(platform::JoinPath(manager.scanposFolder, L"rtfm.txt")).size();
    for (const CString& file : Files()) bytes += test::ReadBytes(file).size();
    EXPECT_EQ(summary->bytes, bytes);
    test::WriteText(manager.transformFile, "x");
    EXPECT_EQ(detail::SummariseProject(path).error().code, ErrorCode::Damaged);
}

// 4.8 MB: more than the check has of a file in memory.
TEST_F(ProjectCheckTest, EndsWithASentenceWhereAFileIsCutShortMeanwhile) {
    Write(0.1, 200'000);
    for (const CString& file : {manager.gridPts, manager.gridSkeletCoordPts, manager.grid10cmIdx}) {
        const Bytes whole = test::ReadBytes(file);
        detail::CheckOptions options;
        options.progress = [&](double) {
            std::error_code error;
            platform::File::OpenReadWrite(file, error).Resize(4'096, error);
            return true;
        };
        const auto report = detail::CheckProject(path, options);
        ASSERT_TRUE(!report || !report->Ok());
        if (!report) {
            EXPECT_EQ(report.error().code, ErrorCode::Damaged);
            EXPECT_THAT(report.error().message, HasSubstr("became shorter"));
        }
        Overwrite(file, whole);
    }
    EXPECT_TRUE(Check().Ok());
}

// Keys of the grid's 100 cm cells, by the rule of the cell list.
std::vector<std::uint64_t> CellKeys(const std::vector<GridCellRecord>& cells) {
    const auto range = [&](auto axis) {
        const auto [low, high] =
            std::minmax_element(cells.begin(), cells.end(),
                                [&](const auto& a, const auto& b) { return a.*axis < b.*axis; });
        return std::pair<std::int64_t, std::int64_t>((*low).*axis - 1,
                                                     (*high).*axis - (*low).*axis + 1);
    };
    const auto [originX, sizeX] = range(&GridCellRecord::x);
    const auto [originY, sizeY] = range(&GridCellRecord::y);
    const std::int64_t originZ = range(&GridCellRecord::z).first;
    std::vector<std::uint64_t> keys;
    for (const GridCellRecord& cell : cells) {
        const std::int64_t row = (cell.z - originZ) * sizeY - originY + cell.y;
        keys.push_back(static_cast<std::uint64_t>(row * sizeX - originX + cell.x));
    }
    return keys;
}

TEST_F(ProjectCheckTest, FindsEveryCellOfACellListAtItsPlace) {
    Write(0.1, 600);
    std::vector<std::uint64_t> keys = CellKeys(project.cells100);
    ASSERT_GT(keys.size(), 8u);
    test::WriteRecords(manager.indexHash, keys);
    EXPECT_TRUE(Check().Ok()) << Told(Check());
    std::swap(keys.front(), keys.back());
    test::WriteRecords(manager.indexHash, keys);
    EXPECT_THAT(Told(Check()), HasSubstr("as number"));
    keys[3] = 0;
    test::WriteRecords(manager.indexHash, keys);
    EXPECT_THAT(Told(Check()), HasSubstr("nowhere"));
    keys.pop_back();
    test::WriteRecords(manager.indexHash, keys);
    EXPECT_THAT(Told(Check()), HasSubstr("index_hash: holds"));
}

}  // namespace
}  // namespace orvix
