// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_core.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

class ProjectCoreTest : public testing::Test {
protected:
    ProjectCoreTest() {
        WriteTinyProject(project, path);
        manager.Set(path, false);
        Open(5);
    }
    ~ProjectCoreTest() override { core.Close(); }

    void Open(std::int16_t scale) {
        core.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts, scale,
                  manager.grid1000cmIdx, manager.grid10cmIdx, manager.grid1to10cmIdx,
                  manager.gridIdx);
    }

    test::ScratchFolder folder;
    CString path = folder / L"scan.prj";
    test::TinyProject project = test::MakeTinyProject(test::RoomPoints(2));
    ProjectManager manager;
    CProjectCore core;
};

TEST_F(ProjectCoreTest, OpenStoresTheScaleCodeAsTwoFlagsAndOpensNothing) {
    EXPECT_TRUE(core.Has10cm());
    EXPECT_FALSE(core.Has10000cm());
    Open(2);
    EXPECT_FALSE(core.Has10cm());
    EXPECT_TRUE(core.Has10000cm());
    Open(3);
    EXPECT_FALSE(core.Has10cm() || core.Has10000cm());
    EXPECT_EQ(core.CreateAlivePointReader(), nullptr);
    EXPECT_EQ(core.AlivePointCount(), 0);
    EXPECT_EQ(core.SkeletDataPtsFileMapping(), nullptr);
}

TEST_F(ProjectCoreTest, OpensMapsAndCountsTheThreeFiles) {
    ASSERT_TRUE(core.OpenCores());
    EXPECT_EQ(core.AlivePointCount(), static_cast<std::int64_t>(project.points.size()));
    EXPECT_EQ(core.SkeletPointCount(), static_cast<std::int64_t>(project.skeleton.size()));
    EXPECT_EQ(core.SkeletDataPtsFileSize(), project.skeleton.size() * 12);
    unsigned char* first = core.SkeletCoordPtsMapAddress();
    unsigned char* second = core.SkeletCoordPtsMapAddress();
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(std::memcmp(first, project.skeleton.data(), project.skeleton.size() * 12), 0);
    unsigned char* data = core.SkeletDataPtsMapAddress();
    EXPECT_EQ(std::memcmp(data, project.skeletonData.data(), project.skeleton.size() * 12), 0);
    for (unsigned char* view : {first, second, data}) UnmapFileView(view);
    EXPECT_TRUE(core.OpenCores());
}

// BEHAVIOUR P14
TEST_F(ProjectCoreTest, WalksEveryCellOfEveryLevelToEveryPoint) {
    ASSERT_TRUE(core.OpenCores());
    const auto cells = core.CreateIndexReader();
    const auto reader = core.CreateAlivePointReader();
    std::vector<CCloudPoint<float>> walked;
    std::uint64_t offset = 0;
    unsigned count = 0;
    for (bool more1000 = true; more1000;) {
        more1000 = cells->ReadIndex1000(0);
        cells->GetOffsetCount1000(offset, count);
        cells->InitIndex100(offset);
        const unsigned count100 = count;
        for (bool more100 = true; more100;) {
            more100 = cells->ReadIndex100(count100);
            const unsigned count10 = cells->InitIndex10();
            for (bool more10 = true; more10;) {
                more10 = cells->ReadIndex10(count10);
                cells->GetOffsetCount10(offset, count);
                reader->ReadIndexPoints(offset, count, walked);
            }
        }
    }
    ASSERT_EQ(walked.size(), project.points.size());
    EXPECT_EQ(std::memcmp(walked.data(), project.points.data(), walked.size() * 24), 0);
}

// BEHAVIOUR P13
TEST_F(ProjectCoreTest, AMissingSkeletonCoordinateFileCountsNoPointsAndDoesNotFail) {
    ASSERT_TRUE(core.OpenCores());
    core.Close();
    std::error_code error;
    platform::RemoveFile(manager.gridSkeletCoordPts, error);
    EXPECT_TRUE(core.OpenCores());
    EXPECT_EQ(core.SkeletPointCount(), 0);
    EXPECT_EQ(core.SkeletCoordPtsMapAddress(), nullptr);
    EXPECT_NE(core.CreateAlivePointReader(), nullptr);
    EXPECT_FALSE(core.OpenCores4Write());
}

TEST_F(ProjectCoreTest, AMissingSkeletonDataOrAlivePointFileFails) {
    for (const CString& file : {manager.gridSkeletDataPts, manager.gridPts}) {
        WriteTinyProject(project, path);
        std::error_code error;
        platform::RemoveFile(file, error);
        EXPECT_FALSE(core.OpenCores());
        EXPECT_FALSE(core.OpenCores4Write());
        core.Close();
    }
}

TEST_F(ProjectCoreTest, CountsWholeRecordsOnly) {
    for (const auto& [bytes, count] : {std::pair{23, 0}, std::pair{24, 1}, std::pair{25, 1}}) {
        core.Close();  // a mapped file cannot be shortened everywhere
        test::WriteText(manager.gridPts, std::string(static_cast<std::size_t>(bytes), 'x'));
        ASSERT_TRUE(core.OpenCores());
        EXPECT_EQ(core.AlivePointCount(), count);
    }
    core.Close();
    test::WriteText(manager.gridPts, "");
    EXPECT_TRUE(core.OpenCores());
    EXPECT_EQ(core.CreateAlivePointReader(), nullptr);
    EXPECT_FALSE(core.OpenCores4Write());
}

TEST_F(ProjectCoreTest, CountsMoreRecordsThan32BitsHold) {
    const std::uint64_t count = (std::uint64_t{1} << 32) + 5;
    std::error_code error;
    auto file = platform::File::Create(manager.gridPts, error);
    file.Resize(count * kAlivePointBytes, error);
    ASSERT_FALSE(error);
    ASSERT_TRUE(core.OpenCores());
    EXPECT_EQ(core.AlivePointCount(), static_cast<std::int64_t>(count));
    CCloudPoint<float> point;
    point.x = 1;
    core.CreateAlivePointReader()->ReadPoint(static_cast<std::int64_t>((count - 1) * 24), point);
    EXPECT_EQ(point.x, 0);
}

TEST_F(ProjectCoreTest, AReaderWriterChangesPointsInPlace) {
    ASSERT_TRUE(core.OpenCores4Write());
    {
        const auto writer = core.CreateAlivePointReaderWriter();
        ASSERT_TRUE(writer->ReadNextPoint());
        unsigned char* record = writer->PtsMapAddressAlive() + writer->CurrentPointPositionAlive();
        const std::uint16_t changed = 4711;
        std::memcpy(record + 20, &changed, sizeof changed);
    }
    core.Close();
    const auto bytes = test::ReadBytes(manager.gridPts);
    EXPECT_EQ(bytes[20] + 256 * bytes[21], 4711);
}

/// How many mappings of this process the system lists with `file` in them; -1 where it keeps no
/// such list.
int MappingsOf(const std::string& file) {
    if (std::filesystem::path::preferred_separator != '/') return -1;
    std::ifstream maps("/proc/self/maps");
    int found = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find(file) != std::string::npos) ++found;
    }
    return found;
}

// BEHAVIOUR R15
TEST_F(ProjectCoreTest, CloseReleasesTheViewsOfRunsWhileTheirReadersAreStillThere) {
    ASSERT_TRUE(core.OpenCores());
    const CProjectCore copy = core;
    const auto before = core.CreateAlivePointReader();
    const auto ofCopy = copy.CreateAlivePointReader();
    std::vector<CCloudPoint<float>> points;
    core.CreateAlivePointReader()->ReadIndexPoints(0, 10, points);  // ends before the core closes
    for (const auto& reader : {before, ofCopy}) reader->ReadIndexPoints(0, 10, points);
    ASSERT_EQ(points.size(), 30u);
    EXPECT_NE(MappingsOf("Grid.pts"), 0);

    core.Close();
    EXPECT_LE(MappingsOf("Grid.pts"), 0);
    std::error_code error;
    {
        const platform::File emptied = platform::File::Create(manager.gridPts, error);
        EXPECT_FALSE(error) << error.message();
    }
    platform::Rename(manager.gridPts, manager.gridPts + L".old", error);
    EXPECT_FALSE(error) << error.message();
    platform::RemoveFile(manager.gridPts + L".old", error);
    EXPECT_FALSE(error) << error.message();
}

// BEHAVIOUR R15
TEST_F(ProjectCoreTest, AReaderOfRunsMayOutliveItsCore) {
    std::shared_ptr<CAlivePointReader> reader;
    std::vector<CCloudPoint<float>> points;
    {
        CProjectCore shortLived = core;
        ASSERT_TRUE(shortLived.OpenCores());
        reader = shortLived.CreateAlivePointReader();
        reader->ReadIndexPoints(0, 10, points);
        shortLived.Close();
    }
    reader->Reset();
    reader.reset();
    EXPECT_LE(MappingsOf("Grid.pts"), 0);
}

// BEHAVIOUR P8
TEST_F(ProjectCoreTest, CopiesCarryTheSameHandles) {
    ASSERT_TRUE(core.OpenCores());
    {
        CProjectCore copy = core;
        EXPECT_EQ(copy.SkeletDataPtsFileMapping(), core.SkeletDataPtsFileMapping());
        EXPECT_EQ(copy.AlivePointCount(), core.AlivePointCount());
    }
    EXPECT_TRUE(core.CreateAlivePointReader()->ReadNextPoint());
}

// BEHAVIOUR P15
TEST(ProjectType, DropsTheFractionOfTheCentimetres) {
    using enum ProjectType;
    const auto type = [](double scale) { return CProjectCore::ProjectTypeFromSkeletScale(scale); };
    EXPECT_EQ(type(0.01), OneCentimetre);
    EXPECT_EQ(type(0.0149), OneCentimetre);
    EXPECT_EQ(type(0.1), TenCentimetres);
    EXPECT_EQ(type(0.0999), Other);
    EXPECT_EQ(type(1.0), OneMetre);
    EXPECT_EQ(type(0.5), Other);
    EXPECT_EQ(type(1e300), Other);
    EXPECT_EQ(type(std::numeric_limits<double>::quiet_NaN()), Other);
    EXPECT_EQ(static_cast<int>(Other), 3);
}

}  // namespace
}  // namespace orvix
