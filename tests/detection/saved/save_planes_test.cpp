// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "detection/saved/plane_records.h"
#include "detection/saved/stored_planes.h"
#include "detection/saved_planes.h"
#include "importer/import.h"
#include "orvix/platform/path.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/project_paths.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"
#include "tests/support/process.h"

namespace orvix::detection {
namespace {

using testing::HasSubstr;

/// What a set says of every point or skeleton point, in their order.
std::vector<std::int32_t> PlanesOfPoints(const CProjectCore& core, const PlaneSet& set) {
    std::vector<std::int32_t> all;
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < set.Chunks(); ++chunk) {
        auto done = set.ReadChunk(*reader, chunk, [&](const PlanePoints& block) {
            EXPECT_EQ(block.firstRecord, all.size());
            all.insert(all.end(), block.planes.begin(), block.planes.end());
        });
        EXPECT_TRUE(done) << done.error().message;
    }
    return all;
}

std::vector<std::int32_t> PlanesOfSkeleton(const CProjectCore& core, const PlaneSet& set) {
    std::vector<std::int32_t> all;
    auto done = set.ReadSkeleton(*core.CreateAlivePointReader(), [&](auto, auto planes) {
        all.insert(all.end(), planes.begin(), planes.end());
    });
    EXPECT_TRUE(done) << done.error().message;
    return all;
}

std::vector<std::uint8_t> BytesOf(const PlaneSet& set) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < set.Planes().size(); ++i)
        detail::EncodePlane(RecordOf(set.Planes()[i], set.Numbers()[i]), bytes);
    return bytes;
}

/// A building of 100,000 points, imported once for all cases.
class SavePlanesTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new test::ScratchFolder;
        test::BuildingOptions options;
        options.points = 100'000;
        test::WriteScan(test::SyntheticBuilding(options), *folder_ / L"building.las");
        ASSERT_TRUE(importer::Import({*folder_ / L"building.las"}, Project(), {}));
    }
    static void TearDownTestSuite() {
        delete folder_;
        folder_ = nullptr;
    }
    static CString Project() { return *folder_ / L"building.prj"; }

    void SetUp() override {
        auto opened = detail::OpenProject::Open(Project());
        ASSERT_TRUE(opened);
        project_ = std::move(*opened);
        std::error_code ignored;
        platform::RemoveFile(Saved(), ignored);
    }

    [[nodiscard]] CString Saved() const { return detail::SavedPlanesPath(project_->Manager()); }
    CProjectCore& Core() { return project_->Core(); }
    std::unique_ptr<PlaneSearch> Search(const PlaneSearchOptions& options = {}) {
        auto search = PlaneSearch::Run(Core(), options);
        EXPECT_TRUE(search);
        return std::move(*search);
    }
    SaveReport Save(PlaneSet& set) {
        const auto saved = SavePlanes(project_->Manager(), Core(), set, [] { return true; });
        EXPECT_TRUE(saved) << saved.error().message;
        return saved ? *saved : SaveReport();
    }
    /// Searches and saves; the numbers that the planes have.
    std::vector<std::uint32_t> SaveSearch(const PlaneSearchOptions& options = {}) {
        const auto search = Search(options);
        SearchedPlanes set(Core(), *search);
        Save(set);
        return set.Numbers();
    }
    static int RunVictim(const char* way, std::uint64_t number) {
        return test::RunProcess(
                   {ORVIX_SAVE_VICTIM, platform::ToUtf8(Project()), way, std::to_string(number)})
            .exitCode;
    }

    static inline test::ScratchFolder* folder_ = nullptr;
    std::unique_ptr<detail::OpenProject> project_;
};

TEST_F(SavePlanesTest, WhatIsStoredIsWhatTheSearchFound) {
    const auto search = Search();
    SearchedPlanes found(Core(), *search, Detail::Fine);
    Save(found);
    const auto stored = StoredPlanes::Open(Saved(), Core());
    ASSERT_TRUE(stored) << stored.error().message;
    EXPECT_GT(found.Planes().size(), 20U);
    EXPECT_EQ(BytesOf(**stored), BytesOf(found));
    EXPECT_EQ(PlanesOfPoints(Core(), **stored), PlanesOfPoints(Core(), found));
    EXPECT_EQ(PlanesOfSkeleton(Core(), **stored), PlanesOfSkeleton(Core(), found));
    EXPECT_EQ((*stored)->Points(), found.Points());
    EXPECT_EQ((*stored)->AssignedPoints(), found.AssignedPoints());
    EXPECT_EQ((*stored)->Cells(), found.Cells());
    EXPECT_EQ((*stored)->LeftOut(), found.LeftOut());
    EXPECT_EQ((*stored)->SearchDetail(), Detail::Fine);
    EXPECT_EQ((*stored)->Settings().noise, found.Settings().noise);
    EXPECT_EQ((*stored)->Settings().bridge, found.Settings().bridge);
}

TEST_F(SavePlanesTest, TheFileIsTheSameAtAnyNumberOfThreadsAndEveryTime) {
    std::set<std::vector<std::uint8_t>> files;
    for (const unsigned threads : {1U, 2U, 7U, 1U}) {
        PlaneSearchOptions options;
        options.threads = threads;
        SaveSearch(options);
        files.insert(test::ReadBytes(Saved()));
    }
    EXPECT_EQ(files.size(), 1U);
}

// BEHAVIOUR A12
TEST_F(SavePlanesTest, NumbersStayWithTheirSurfacesAndAreNotGivenAgain) {
    const std::vector<std::uint32_t> first = SaveSearch();
    PlaneSearchOptions large;
    large.minArea = 12;
    const std::vector<std::uint32_t> few = SaveSearch(large);
    ASSERT_LT(few.size(), first.size());
    for (const std::uint32_t number : few) EXPECT_LE(number, first.size());
    const std::vector<std::uint32_t> again = SaveSearch();
    ASSERT_EQ(again.size(), first.size());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < again.size(); ++i) {
        EXPECT_TRUE(again[i] == first[i] || again[i] > first.size());
        kept += again[i] == first[i] ? 1 : 0;
    }
    EXPECT_EQ(kept, few.size());
}

// BEHAVIOUR A13
TEST_F(SavePlanesTest, PlanesSurviveNewValuesAndNotOneMovedPoint) {
    const std::vector<std::uint32_t> before = SaveSearch();
    const CString points = project_->Manager().gridPts;
    const std::vector<std::uint8_t> whole = test::ReadBytes(points);
    project_.reset();
    const auto spoil = [&](std::size_t record, std::size_t byte) {
        std::vector<std::uint8_t> bytes = whole;
        bytes[record * kAlivePointBytes + byte] ^= 1;
        test::WriteRecords(points, bytes);
        project_ = std::move(*detail::OpenProject::Open(Project()));
    };
    for (std::size_t byte = 12; byte < kAlivePointBytes; ++byte) {
        spoil(40'000, byte);
        const auto stored = StoredPlanes::Open(Saved(), Core());
        ASSERT_TRUE(stored);
        EXPECT_EQ(PlanesOfPoints(Core(), **stored).size(), whole.size() / kAlivePointBytes);
        project_.reset();
    }
    spoil(40'000, 20);
    EXPECT_EQ(SaveSearch(), before);
    project_.reset();
    for (const std::size_t byte : {0U, 5U, 11U}) {
        spoil(40'000, byte);
        const auto stored = StoredPlanes::Open(Saved(), Core());
        ASSERT_FALSE(stored);
        EXPECT_EQ(stored.error().code, ErrorCode::BadInput);
        EXPECT_THAT(stored.error().message, HasSubstr("points have changed"));
        project_.reset();
    }
    test::WriteRecords(points, whole);
}

TEST_F(SavePlanesTest, ASaveThatIsCancelledKilledOrOutOfSpaceLeavesTheFormerOne) {
    SaveSearch();
    const std::vector<std::uint8_t> before = test::ReadBytes(Saved());
    PlaneSearchOptions large;
    large.minArea = 5;
    const auto search = Search(large);
    SearchedPlanes set(Core(), *search);
    int calls = 0;
    const auto cancelled =
        SavePlanes(project_->Manager(), Core(), set, [&] { return ++calls < 2; });
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error().code, ErrorCode::Cancelled);
    EXPECT_EQ(test::ReadBytes(Saved()), before);
    EXPECT_EQ(RunVictim("kill", 2), test::kKilled);
    EXPECT_EQ(test::ReadBytes(Saved()), before);
    const int code = RunVictim("limit", 1000);
    EXPECT_TRUE(code == 2 || code == 77) << code;
    EXPECT_EQ(test::ReadBytes(Saved()), before);
    EXPECT_EQ(RunVictim("kill", 1'000'000), 0);
    EXPECT_NE(test::ReadBytes(Saved()), before);
    std::error_code error;
    EXPECT_THAT(platform::ListFolder(project_->Manager().projectFilesFolder, error),
                testing::Not(testing::Contains(L"planes.orvix-part")));
}

TEST_F(SavePlanesTest, ADamagedFileIsNotWrittenOver) {
    SaveSearch();
    std::vector<std::uint8_t> bytes = test::ReadBytes(Saved());
    bytes[100] ^= 1;
    test::WriteRecords(Saved(), bytes);
    EXPECT_FALSE(RequireSavable(project_->Manager()));
    const auto search = Search();
    SearchedPlanes set(Core(), *search);
    const auto saved = SavePlanes(project_->Manager(), Core(), set, [] { return true; });
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().code, ErrorCode::Damaged);
    EXPECT_EQ(test::ReadBytes(Saved()), bytes);
}

}  // namespace
}  // namespace orvix::detection
