// SPDX-License-Identifier: GPL-3.0-or-later
// The manifest that an import leaves, and what the check finds by it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "importer/import_scans.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_paths.h"
#include "support/scratch_folder.h"
#include "tests/importer/memory_scan.h"

namespace orvix::importer::test {
namespace {

using detail::CheckProject;
using detail::SumDepth;
using detail::SumState;
using testing::ElementsAre;
using testing::HasSubstr;

MemoryScan RoomScan(std::size_t points) {
    MemoryScan scan;
    std::mt19937_64 random(11);
    const auto below = [&](std::uint64_t n) { return static_cast<double>(random() % n); };
    for (std::size_t i = 0; i < points; ++i) {
        ScanPoint point;
        point.x = 770'000 + below(6'000) / 1'000;
        point.y = 5'000'000 + below(4'000) / 1'000;
        point.z = below(3) * 1.2;
        point.intensity = static_cast<float>(below(3'000));
        point.red = static_cast<std::uint16_t>(below(256));
        scan.points.push_back(point);
    }
    scan.info.scans = {{}};
    scan.info.scans.front().name = "the room";
    scan.info.scans.front().pose = ScanPose{};
    return scan;
}

class ImportedSums : public testing::Test {
protected:
    void Import(std::size_t points) {
        const auto report =
            ImportScans(Open(std::vector{RoomScan(points)}), project_, {}, SmallPlan());
        ASSERT_TRUE(report) << report.error().message;
        detail::BuildPaths(paths_, project_);
    }

    detail::CheckReport Check(SumDepth depth) {
        detail::CheckOptions options;
        options.sums = depth;
        auto report = CheckProject(project_, options);
        EXPECT_TRUE(report) << report.error().message;
        return std::move(*report);
    }

    static void FlipBit(const CString& path, std::uint64_t bit) {
        std::error_code error;
        auto file = platform::File::OpenReadWrite(path, error);
        std::uint8_t byte = 0;
        file.ReadAt(bit / 8, &byte, 1, error);
        byte ^= static_cast<std::uint8_t>(1u << bit % 8);
        file.WriteAt(bit / 8, &byte, 1, error);
        ASSERT_FALSE(error) << error.message();
    }

    orvix::test::ScratchFolder folder_;
    CString project_ = folder_ / L"scan.prj";
    ProjectManager paths_;
};

TEST_F(ImportedSums, CoverEveryFileThatTheImportMade) {
    Import(2'000);
    const auto report = Check(SumDepth::All);
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(report.sums.state, SumState::Compared);
    // 17 files, and four of the one station.
    EXPECT_EQ(report.sums.files, 21u);
    EXPECT_EQ(Check(SumDepth::Records).sums.files, 11u);
}

// BEHAVIOUR K7, I21
TEST_F(ImportedSums, FindEveryFlippedBitInAnyFile) {
    Import(700);
    std::vector<detail::CoveredFile> files = detail::CoveredFiles(paths_);
    files.push_back({"manifest", detail::ManifestPath(paths_)});
    std::mt19937_64 random(20);
    for (const detail::CoveredFile& file : files) {
        std::uint64_t bytes = 0;
        ASSERT_TRUE(platform::QueryFileSize(file.path, bytes));
        for (int i = 0; i < 25; ++i) {
            const std::uint64_t bit = random() % (bytes * 8);
            FlipBit(file.path, bit);
            EXPECT_FALSE(Check(SumDepth::All).Ok()) << file.name << ", bit " << bit;
            if (detail::IsRecord(file.name)) {
                EXPECT_FALSE(Check(SumDepth::Records).Ok()) << file.name << ", bit " << bit;
            }
            FlipBit(file.path, bit);
        }
    }
    EXPECT_TRUE(Check(SumDepth::All).Ok());
}

TEST_F(ImportedSums, NameTheBlocksThatAreDamaged) {
    Import(1'100'000);  // 26.4 MB: four blocks
    for (const std::uint64_t point : {400'000, 700'000}) {
        FlipBit(paths_.gridPts, (point * kAlivePointBytes + 13) * 8);
    }
    const auto report = Check(SumDepth::All);
    ASSERT_EQ(report.total, 1u);
    EXPECT_THAT(report.faults[0].what,
                HasSubstr("bytes 8388608 to 25165823 (block 1 to 2) are not those"));
    EXPECT_TRUE(Check(SumDepth::Records).Ok()) << "intensities are nobody's business there";
}

TEST_F(ImportedSums, NameAFileThatIsMissingOrOfAnotherLength) {
    Import(500);
    std::error_code error;
    platform::RemoveFile(platform::JoinPath(paths_.scanposFolder, L"station_0.name"), error);
    platform::File::OpenReadWrite(paths_.zHist, error).Resize(0, error);
    std::string found;
    for (const auto& fault : Check(SumDepth::Records).faults) found += fault.what + "\n";
    EXPECT_THAT(found, HasSubstr("is missing, and 8 bytes were written"));
    EXPECT_THAT(found, HasSubstr("holds 0 bytes where"));
}

TEST_F(ImportedSums, AreMissingFromAProjectWithoutAManifestWhichIsWhole) {
    Import(500);
    std::error_code error;
    platform::RemoveFile(detail::ManifestPath(paths_), error);
    const auto report = Check(SumDepth::All);
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(report.sums.state, SumState::None);
}

// BEHAVIOUR K8
TEST_F(ImportedSums, FollowTheRecordsThatTheLibraryReplaces) {
    Import(500);
    ProjectManager manager;
    ASSERT_TRUE(manager.Open(project_));
    const auto before = orvix::test::ReadBytes(project_);
    PROJECT_SETTINGS settings = manager.projectSettings;
    for (const double step : {0.2, 0.3}) {
        settings.baseStep = step;
        manager.SetProjectSettings(settings);
        EXPECT_TRUE(Check(SumDepth::All).Ok());
    }
    CLOUD_HEADER head = manager.cloudHeader;
    head.stationCount = 2;
    manager.SetCloudHeader(&head);
    EXPECT_TRUE(Check(SumDepth::All).Ok());
    FlipBit(manager.projectFile, 2'100);
    EXPECT_FALSE(Check(SumDepth::Records).Ok());
    // The record of before the last but one change is as foreign as any other.
    orvix::test::WriteBytes(project_, before.data(), before.size());
    EXPECT_FALSE(Check(SumDepth::Records).Ok());
    manager.Close();
}

// BEHAVIOUR K9
TEST_F(ImportedSums, DoNotJudgePointsThatWereOpenedForWriting) {
    Import(500);
    CProjectCore core;
    core.Open(paths_.gridSkeletCoordPts, paths_.gridSkeletDataPts, paths_.gridPts, 5,
              paths_.grid1000cmIdx, paths_.grid10cmIdx, paths_.grid1to10cmIdx, paths_.gridIdx);
    ASSERT_TRUE(core.OpenCores4Write());
    core.Close();
    FlipBit(paths_.gridPts, 22 * 8);  // of a pair
    const auto report = Check(SumDepth::All);
    EXPECT_TRUE(report.Ok());
    EXPECT_THAT(report.sums.written, ElementsAre("Index/Grid.pts", "Index/GridSkelet.coordpts",
                                                 "Index/GridSkelet.datapts"));
    EXPECT_EQ(report.sums.files, 18u);
}

}  // namespace
}  // namespace orvix::importer::test
