// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/saved_planes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "orvix/platform/path.h"
#include "tests/project/saved/saved_example.h"
#include "tests/support/shown_bytes.h"

namespace orvix::detail {
namespace {

using test::FileBytes;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::size_t kEndBytes = sizeof(PlanesFileEnd);

class SavedPlanesTest : public testing::Test {
protected:
    SavedPlanesTest() {
        BuildPaths(paths, folder / L"scan.prj");
        std::error_code error;
        platform::MakeFolder(paths.projectFilesFolder, error);
        test::WriteExample(paths);
        whole = test::ReadBytes(SavedPlanesPath(paths));
    }

    // In place: emptying a file first makes some file systems wait for the disk.
    void Overwrite(const FileBytes& bytes) const {
        std::error_code error;
        auto file = platform::File::OpenReadWrite(SavedPlanesPath(paths), error);
        file.WriteAt(0, bytes.data(), bytes.size(), error);
        file.Resize(bytes.size(), error);
        ASSERT_FALSE(error);
    }

    Expected<SavedPlanes> Open(const FileBytes& bytes) const {
        Overwrite(bytes);
        return SavedPlanes::Open(SavedPlanesPath(paths));
    }

    /// The sentence that refuses the file with a value written over its bytes and a checksum that
    /// is right; empty where it is taken.
    template <class T>
    std::string Refusal(std::size_t at, T value) const {
        FileBytes bytes = whole;
        std::memcpy(bytes.data() + at, &value, sizeof value);
        test::Seal(bytes);
        const auto saved = Open(bytes);
        return saved ? std::string() : saved.error().message;
    }

    test::ScratchFolder folder;
    ProjectManager paths;
    FileBytes whole;
};

TEST_F(SavedPlanesTest, HoldAllThatWasSaved) {
    const auto saved = Open(whole);
    ASSERT_TRUE(saved) << saved.error().message;
    const SavedSearch search = test::ExampleSearch();
    EXPECT_EQ(std::memcmp(&saved->Search(), &search, sizeof search), 0);
    ASSERT_EQ(saved->Planes().size(), 1U);
    FileBytes before, after;
    EncodePlane(test::ExamplePlane(), before);
    EncodePlane(saved->Planes()[0], after);
    EXPECT_EQ(before, after);
    EXPECT_THAT(saved->Planes()[0].outline.regions[0].outer.indices, ElementsAre(0, 1, 2));
    std::vector<PlaneRun> runs;
    ASSERT_TRUE(saved->ReadBlock(CloudPart::Points, 0, runs));
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[1].plane, 0);
    EXPECT_EQ(runs[1].count, 3U);
    ASSERT_TRUE(saved->ReadBlock(CloudPart::Skeleton, 0, runs));
    EXPECT_EQ(runs[1].count, 2U);
    EXPECT_EQ(saved->PlacesHashOf(CloudPart::Points, 0), PlacesHash(test::ExamplePoints()));
}

TEST_F(SavedPlanesTest, AreTheBytesThatTheFormatDocumentShows) {
    EXPECT_EQ(test::HexShown(ORVIX_FORMAT_DOCUMENT, "planes"), whole);
}

TEST_F(SavedPlanesTest, LeaveNothingBesideTheFile) {
    std::error_code error;
    EXPECT_THAT(platform::ListFolder(paths.projectFilesFolder, error), ElementsAre(L"planes"));
}

TEST_F(SavedPlanesTest, AreRefusedAtEveryLength) {
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const auto saved = Open({whole.begin(), whole.begin() + static_cast<long>(length)});
        ASSERT_FALSE(saved) << length;
        EXPECT_EQ(saved.error().code, ErrorCode::Damaged);
        EXPECT_THAT(saved.error().message, HasSubstr("save the planes again"));
    }
    FileBytes longer = whole;
    longer.push_back(0);
    EXPECT_FALSE(Open(longer));
}

TEST_F(SavedPlanesTest, AreRefusedWithAnyBitTurned) {
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            FileBytes bytes = whole;
            bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ (1U << bit));
            const auto saved = Open(bytes);
            ASSERT_FALSE(saved) << at << ", " << bit;
            EXPECT_EQ(saved.error().code, ErrorCode::Damaged);
        }
    }
}

// Whoever makes the checksum right as well gets values that are safe to use.
TEST_F(SavedPlanesTest, AreSafeToUseWithAnyByteChangedUnderARightChecksum) {
    std::vector<PlaneRun> runs;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0x80U, 0xF0U, 0xFFU}) {
            FileBytes bytes = whole;
            bytes[at] = static_cast<std::uint8_t>(value);
            test::Seal(bytes);
            const auto saved = Open(bytes);
            if (!saved) continue;
            for (const SavedPlane& plane : saved->Planes()) {
                EXPECT_LT(plane.kind, SavedPlane::kKinds);
                EXPECT_LT(std::abs(plane.centre.x), 1e9);
                for (const PlaneRegion& region : plane.outline.regions)
                    EXPECT_GE(region.outer.points.size(), 3U);
            }
            for (const CloudPart part : {CloudPart::Points, CloudPart::Skeleton}) {
                for (std::uint64_t block = 0; block < saved->Blocks(part); ++block) {
                    if (!saved->ReadBlock(part, block, runs)) continue;
                    for (const PlaneRun& run : runs)
                        EXPECT_LT(run.plane, static_cast<int>(saved->Planes().size()));
                }
            }
        }
    }
}

TEST_F(SavedPlanesTest, SayWhatIsWrongWithThem) {
    const std::size_t end = whole.size() - kEndBytes;
    const std::size_t plane = end - 208;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(Refusal(8, std::uint32_t{2}), HasSubstr("version 2"));
    EXPECT_THAT(Refusal(0, 'o'), HasSubstr("does not begin"));
    EXPECT_THAT(Refusal(12, std::uint32_t{4096}), HasSubstr("blocks of 4096"));
    EXPECT_THAT(Refusal(24, std::uint64_t{17}), HasSubstr("block 0 begins at byte 17"));
    EXPECT_THAT(Refusal(40, std::uint64_t{24}), HasSubstr("block 1 begins at byte 24"));
    EXPECT_THAT(Refusal(end + 64, std::uint32_t{3}), HasSubstr("detail is 3"));
    EXPECT_THAT(Refusal(end + 72, ~std::uint64_t{0}), HasSubstr("its table ends"));
    EXPECT_THAT(Refusal(end + 68, std::uint32_t{1}), HasSubstr("reserved"));
    EXPECT_THAT(Refusal(end + 112, std::uint64_t{0}), HasSubstr("next number is 0"));
    EXPECT_THAT(Refusal(end + 112, std::uint64_t{7}), HasSubstr("has the number 7 of numbers"));
    EXPECT_THAT(Refusal(end + 120, std::uint64_t{2}), HasSubstr("plane 2 of 2 does not end"));
    EXPECT_THAT(Refusal(end + 120, std::uint64_t{0}), HasSubstr("208 bytes follow"));
    EXPECT_THAT(Refusal(end + 128, ~std::uint64_t{0}), HasSubstr("its table lies outside"));
    EXPECT_THAT(Refusal(plane + 4, std::uint32_t{5}), HasSubstr("is of kind 5"));
    EXPECT_THAT(Refusal(plane + 12, ~std::uint32_t{0}), HasSubstr("does not end"));
    EXPECT_THAT(Refusal(plane + 16, nan), HasSubstr("unit length"));
    EXPECT_THAT(Refusal(plane + 48, 1e9), HasSubstr("where no point can be"));
    EXPECT_THAT(Refusal(plane + 80, -1.0), HasSubstr("rms"));
    EXPECT_THAT(Refusal(plane + 144, 0.0), HasSubstr("outline"));
    EXPECT_THAT(Refusal(plane + 156, std::uint32_t{1'000'000}), HasSubstr("does not end"));
    EXPECT_THAT(Refusal(plane + 156, std::uint32_t{2}), HasSubstr("16 bytes follow"));
    EXPECT_THAT(Refusal(plane + 160, nan), HasSubstr("outline"));
    EXPECT_THAT(Refusal(plane + 184, 11.0), HasSubstr("outline")) << "runs clockwise";
    EXPECT_EQ(Refusal(plane + 184, 14.0), "");
}

TEST_F(SavedPlanesTest, AreRefusedWhereThereAreNone) {
    std::error_code error;
    platform::RemoveFile(SavedPlanesPath(paths), error);
    const auto saved = SavedPlanes::Open(SavedPlanesPath(paths));
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().code, ErrorCode::BadInput);
    EXPECT_THAT(saved.error().message, HasSubstr("--save"));
}

TEST_F(SavedPlanesTest, StayAsTheyWereUntilOthersAreComplete) {
    {
        const auto other = PlanesFileWriter::Create(paths);
        ASSERT_TRUE(other);
        EXPECT_FALSE(PlanesFileWriter::Create(paths)) << "one at a time";
        EXPECT_EQ(test::ReadBytes(SavedPlanesPath(paths)), whole);
    }
    EXPECT_EQ(test::ReadBytes(SavedPlanesPath(paths)), whole);
    EXPECT_TRUE(PlanesFileWriter::Create(paths));
}

TEST_F(SavedPlanesTest, HoldMorePointsThan32BitsCount) {
    constexpr std::uint64_t kPoints = (std::uint64_t{1} << 32) + 40'000;
    {
        const auto file = PlanesFileWriter::Create(paths);
        ASSERT_TRUE(file);
        const std::uint64_t blocks = BlocksOf(kPoints);
        for (std::uint64_t block = 0; block < blocks; ++block) {
            const std::uint32_t count = PointsOfBlock(kPoints, block);
            const std::int32_t plane = block + 2 < blocks ? -1 : 0;
            (*file)->AddBlock(CloudPart::Points, std::vector<PlaneRun>{{plane, count}}, block);
        }
        SavedSearch search = test::ExampleSearch();
        search.points = kPoints;
        search.skeletonPoints = 0;
        SavedPlane plane = test::ExamplePlane();
        plane.points = kPoints - (std::uint64_t{1} << 32);
        ASSERT_TRUE((*file)->Commit(search, std::vector{plane}));
    }
    const auto saved = SavedPlanes::Open(SavedPlanesPath(paths));
    ASSERT_TRUE(saved) << saved.error().message;
    EXPECT_EQ(saved->PointsOf(CloudPart::Points), kPoints);
    std::vector<PlaneRun> runs;
    std::uint64_t points = 0, assigned = 0;
    for (std::uint64_t block = 0; block < saved->Blocks(CloudPart::Points); ++block) {
        ASSERT_TRUE(saved->ReadBlock(CloudPart::Points, block, runs));
        ASSERT_EQ(saved->PlacesHashOf(CloudPart::Points, block), block);
        points += runs.at(0).count;
        if (runs[0].plane == 0) assigned += runs[0].count;
    }
    EXPECT_EQ(points, kPoints);
    EXPECT_EQ(assigned, saved->Planes()[0].points);
}

}  // namespace
}  // namespace orvix::detail
