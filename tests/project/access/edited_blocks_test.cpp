// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/edited_blocks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "orvix/platform/path.h"
#include "orvix/points/records.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_paths.h"
#include "support/scratch_folder.h"

namespace orvix::detail {
namespace {

// Three blocks; the records at their borders lie in two.
constexpr std::size_t kRecords = 900'001;
constexpr std::size_t kPair = offsetof(CCloudPoint<float>, dclcFirst);

class EditedBlocksTest : public testing::Test {
protected:
    void SetUp() override {
        BuildPaths(paths, folder / L"p.prj");
        std::error_code error;
        platform::MakeFolder(paths.projectFilesFolder, error);
        platform::MakeFolder(paths.indexFolder, error);
        for (std::uint8_t& byte : points) byte = static_cast<std::uint8_t>(random());
        Store();
        test::WriteText(paths.headFile, "another file, whose sum stays");
        ASSERT_TRUE(SumProject(paths, {}, RunOneByOne));
    }

    void Store() { test::WriteBytes(paths.gridPts, points.data(), points.size()); }

    void Set(EditedBlocks& edits, std::size_t record) {
        std::uint8_t next[3];
        for (std::uint8_t& byte : next) byte = static_cast<std::uint8_t>(random());
        std::uint8_t* const pair = points.data() + record * kAlivePointBytes + kPair;
        edits.Change(record, pair, next);
        std::memcpy(pair, next, sizeof next);
    }

    std::vector<FileSums> Stored() const {
        const auto manifest = ReadManifest(ManifestPath(paths));
        return manifest && *manifest ? (*manifest)->files : std::vector<FileSums>();
    }
    std::vector<std::uint32_t> StoredOfPoints() const {
        for (const FileSums& file : Stored())
            if (file.name == kPointsName) return file.sums;
        return {};
    }
    // Oracle: the file as it is, read as a whole.
    std::vector<std::uint32_t> Actual() const {
        std::vector<SummedFile> file{{paths.gridPts, points.size(), {}, {}, false}};
        EXPECT_TRUE(SumBlocks(file, RunOneByOne));
        return file.front().sums;
    }

    std::mt19937 random{20'241};
    test::ScratchFolder folder;
    ProjectManager paths;
    std::vector<std::uint8_t> points = std::vector<std::uint8_t>(kRecords * kAlivePointBytes);
};

// BEHAVIOUR K9
TEST_F(EditedBlocksTest, LeaveTheSumsOfTheFileThatIsThere) {
    const ProjectStamp stamp = ProjectStamp::Of(paths.projectFile);
    EditedBlocks edits = EditedBlocks::Begin(paths);
    EXPECT_EQ(TimesWritten(paths.gridPts), 1u);
    Set(edits, kRecords - 1);
    for (std::size_t record = 340'000; record < 360'000; ++record) Set(edits, record);  // a border
    for (int i = 0; i < 300; ++i) Set(edits, random() % kRecords);
    Set(edits, 0);
    Set(edits, 0);
    Store();
    ASSERT_NE(StoredOfPoints(), Actual());
    ASSERT_TRUE(edits.End(stamp));
    EXPECT_EQ(StoredOfPoints(), Actual());
    EXPECT_EQ(Stored().size(), 2u);
    EXPECT_EQ(TimesWritten(paths.gridPts), 0u) << "the mark is gone";
}

TEST_F(EditedBlocksTest, GiveDamageOfBeforeNoSumThatIsRight) {
    const std::size_t record = 500'000;
    points[record * kAlivePointBytes + 20] ^= 4;
    Store();
    const ProjectStamp stamp = ProjectStamp::Of(paths.projectFile);
    EditedBlocks edits = EditedBlocks::Begin(paths);
    for (const std::size_t near : {std::size_t{3}, record - 1, record, kRecords - 2})
        Set(edits, near);
    Store();
    ASSERT_TRUE(edits.End(stamp));
    const auto stored = StoredOfPoints();
    const auto actual = Actual();
    ASSERT_EQ(stored.size(), 3u);
    EXPECT_EQ(stored[0], actual[0]);
    EXPECT_NE(stored[1], actual[1]);
    EXPECT_EQ(stored[2], actual[2]);
}

TEST_F(EditedBlocksTest, LeaveTheMarkWhereOthersOpenedThePointsForWriting) {
    const auto before = StoredOfPoints();
    const ProjectStamp stamp = ProjectStamp::Of(paths.projectFile);
    EditedBlocks first = EditedBlocks::Begin(paths);
    Set(first, 7);
    EditedBlocks second = EditedBlocks::Begin(paths);
    Set(second, 8);
    ASSERT_TRUE(first.End(stamp));
    ASSERT_TRUE(second.End(stamp));
    EXPECT_EQ(TimesWritten(paths.gridPts), 2u);
    EXPECT_EQ(StoredOfPoints(), before);
}

TEST_F(EditedBlocksTest, LeaveAnotherProjectOfThatNameAlone) {
    const ProjectStamp stamp = ProjectStamp::Of(paths.projectFile);
    EditedBlocks edits = EditedBlocks::Begin(paths);
    Set(edits, 7);
    test::WriteText(paths.headFile, "the head of another");
    const auto before = StoredOfPoints();
    EXPECT_FALSE(edits.End(stamp));
    EXPECT_EQ(StoredOfPoints(), before);
    EXPECT_EQ(TimesWritten(paths.gridPts), 1u);
}

TEST_F(EditedBlocksTest, LeaveNoMarkWhereNothingChangesOrThereAreNoSums) {
    const ProjectStamp stamp = ProjectStamp::Of(paths.projectFile);
    const auto before = StoredOfPoints();
    EditedBlocks same = EditedBlocks::Begin(paths);
    same.Change(5, points.data(), points.data());
    ASSERT_TRUE(same.End(stamp));
    EXPECT_EQ(StoredOfPoints(), before);
    std::error_code error;
    platform::RemoveFile(ManifestPath(paths), error);
    EditedBlocks edits = EditedBlocks::Begin(paths);
    Set(edits, 5);
    ASSERT_TRUE(edits.End(stamp));
    EXPECT_EQ(TimesWritten(paths.gridPts), 0u);
    EXPECT_FALSE(platform::PathExists(ManifestPath(paths)));
}

}  // namespace
}  // namespace orvix::detail
