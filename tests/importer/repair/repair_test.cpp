// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/repair.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "importer/import_scans.h"
#include "importer/repair/damage.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_paths.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"

namespace orvix::importer::test {
namespace {

using testing::HasSubstr;

// Two scans with a pose, of which one has no points that are kept: so the head counts a station that
// no point names.
std::vector<MemoryScan> Scans(std::size_t points) {
    std::vector<MemoryScan> scans(2);
    std::mt19937_64 random(11);
    const auto below = [&](std::uint64_t n) { return static_cast<double>(random() % n); };
    for (std::size_t i = 0; i < points; ++i) {
        ScanPoint point;
        point.x = 770'000 + below(25'000) / 1'000;
        point.y = 5'000'000 + below(4'000) / 1'000;
        point.z = below(5'000) / 1'000 - 2.5;
        point.intensity = static_cast<float>(below(3'000));
        point.red = static_cast<std::uint16_t>(below(256));
        scans[0].points.push_back(point);
    }
    ScanPoint nowhere = scans[0].points.front();
    nowhere.x = std::numeric_limits<double>::quiet_NaN();
    scans[1].points = {nowhere};
    for (MemoryScan& scan : scans) {
        scan.info.scans = {{}};
        scan.info.scans.front().name = "the room";
        scan.info.scans.front().pose = ScanPose{};
    }
    return scans;
}

class RepairTest : public testing::Test {
protected:
    void Import(SkeletonSize size = SkeletonSize::TenCentimetres, std::size_t points = 3'000) {
        ImportOptions options;
        options.skeleton = size;
        options.overwrite = true;
        const auto report = ImportScans(Open(Scans(points)), project, options, SmallPlan());
        ASSERT_TRUE(report) << report.error().message;
        detail::BuildPaths(paths, project);
        whole = ReadProject(project);
    }

    RepairReport Mend(RepairOptions options = {}) {
        options.threads = 2;
        auto report = Repair(project, options);
        EXPECT_TRUE(report) << report.error().message;
        return report ? std::move(*report) : RepairReport();
    }

    static FileState StateOf(const RepairReport& report, const std::string& name) {
        for (const RepairedFile& file : report.files) {
            if (file.name == name) return file.state;
        }
        ADD_FAILURE() << name << " is not in the report";
        return FileState::Lost;
    }

    detail::CheckReport Check() {
        detail::CheckOptions options;
        options.sums = detail::SumDepth::All;
        auto report = detail::CheckProject(project, options);
        EXPECT_TRUE(report) << report.error().message;
        return report ? std::move(*report) : detail::CheckReport();
    }

    // Every file whose bytes follow from the points.
    std::vector<detail::CoveredFile> Derived() const {
        std::vector<detail::CoveredFile> files;
        for (const auto& file : detail::CoveredFiles(paths)) {
            const bool station = file.name.starts_with("Index/scanpos/");
            if (station || file.name == "transform" || file.name == "Index/Grid.pts") continue;
            files.push_back(file);
        }
        return files;
    }

    static void FlipBit(const CString& path, std::uint64_t bit) {
        auto bytes = orvix::test::ReadBytes(path);
        bytes[static_cast<std::size_t>(bit / 8)] ^= static_cast<std::uint8_t>(1u << bit % 8);
        orvix::test::WriteBytes(path, bytes.data(), bytes.size());
    }

    static void Remove(const CString& path) {
        std::error_code error;
        platform::RemoveFile(path, error);
        ASSERT_FALSE(error) << error.message();
    }

    orvix::test::ScratchFolder folder;
    CString project = folder / L"scan.prj";
    ProjectManager paths;
    ProjectBytes whole;
};

class RepairOfEachSize : public RepairTest, public testing::WithParamInterface<SkeletonSize> {};

// BEHAVIOUR I25
TEST_P(RepairOfEachSize, MakesEachFileAgainByteByByteWhetherItIsGoneOrDamaged) {
    Import(GetParam());
    std::mt19937_64 random(3);
    for (const detail::CoveredFile& file : Derived()) {
        Remove(file.path);
        auto report = Mend();
        EXPECT_TRUE(report.Ok());
        EXPECT_EQ(StateOf(report, file.name), FileState::Rebuilt) << file.name;
        EXPECT_TRUE(ReadProject(project) == whole) << file.name << " was missing";

        std::uint64_t bytes = 0;
        ASSERT_TRUE(platform::QueryFileSize(file.path, bytes));
        FlipBit(file.path, random() % (bytes * 8));
        report = Mend();
        EXPECT_TRUE(report.Ok());
        EXPECT_EQ(StateOf(report, file.name), FileState::Rebuilt) << file.name;
        EXPECT_TRUE(ReadProject(project) == whole) << file.name << " had a flipped bit";
    }
}

TEST_P(RepairOfEachSize, MakesAllFilesAgainFromThePointsTheManifestAndWhatOnlyScansHold) {
    Import(GetParam());
    for (const detail::CoveredFile& file : Derived()) Remove(file.path);
    std::error_code error;
    platform::RemoveTree(paths.dataViewFolder, error);
    EXPECT_TRUE(Mend().Ok());
    EXPECT_TRUE(ReadProject(project) == whole);
    EXPECT_TRUE(Check().Ok());
}

INSTANTIATE_TEST_SUITE_P(Sizes, RepairOfEachSize,
                         testing::Values(SkeletonSize::OneCentimetre, SkeletonSize::TenCentimetres,
                                         SkeletonSize::OneMetre));

TEST_F(RepairTest, LeavesASoundProjectAsItIs) {
    Import();
    const auto report = Mend();
    EXPECT_TRUE(report.Ok());
    EXPECT_FALSE(report.summed);
    EXPECT_TRUE(ReadProject(project) == whole);
}

TEST_F(RepairTest, GivesAProjectWithoutSumsThoseOfTheImport) {
    Import();
    Remove(detail::ManifestPath(paths));
    EXPECT_TRUE(Mend().summed);
    EXPECT_TRUE(ReadProject(project) == whole);
    const CString manifest = detail::ManifestPath(paths);
    FlipBit(manifest, 300);
    EXPECT_TRUE(Mend().summed);
    EXPECT_TRUE(ReadProject(project) == whole);
}

TEST_F(RepairTest, WithoutSumsFindsWhatDoesNotGoWithThePoints) {
    Import();
    Remove(detail::ManifestPath(paths));
    FlipBit(paths.zHist, 70);
    FlipBit(paths.gridSkeletCoordPts, 200);
    const auto report = Mend();
    EXPECT_EQ(StateOf(report, "Data/z.hist"), FileState::Rebuilt);
    EXPECT_EQ(StateOf(report, "Index/GridSkelet.coordpts"), FileState::Rebuilt);
    EXPECT_TRUE(ReadProject(project) == whole);
}

// As a repair leaves it that is killed while it replaces files: some are new, of others a part is left.
TEST_F(RepairTest, GoesOnWhereOneWasEnded) {
    Import();
    const Bytes part(5'000'000, 7);
    for (const detail::CoveredFile& file : Derived()) {
        orvix::test::WriteBytes(file.path + L".orvix-part", part.data(), part.size());
    }
    FlipBit(paths.transformFile, 200);
    const CString station = platform::JoinPath(paths.scanposFolder, L"station_0.pos");
    for (const CString& path : {paths.transformFile, station, detail::ManifestPath(paths)}) {
        orvix::test::WriteBytes(path + L".orvix-part", part.data(), part.size());
    }
    Remove(paths.zHist);
    EXPECT_TRUE(Mend().Ok());
    EXPECT_TRUE(ReadProject(project) == whole);
    orvix::test::WriteBytes(detail::ManifestPath(paths) + L".orvix-part", part.data(), part.size());
    EXPECT_FALSE(Mend().summed) << "there is nothing to repair";
    EXPECT_TRUE(ReadProject(project) == whole);
}

// A folder that holds something stands for any entry that the system does not remove.
TEST_F(RepairTest, NamesWhatItCouldNotRemoveAndTheNextOneClearsIt) {
    Import();
    const CString inTheWay = paths.transformFile + L".orvix-part";
    std::error_code error;
    platform::MakeFolder(inTheWay, error);
    orvix::test::WriteText(platform::JoinPath(inTheWay, L"file"), "x");
    Remove(paths.zHist);
    auto report = Mend();
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(StateOf(report, "Data/z.hist"), FileState::Rebuilt);
    EXPECT_THAT(report.warnings,
                testing::ElementsAre(HasSubstr(platform::ToUtf8(inTheWay) + " could not be")));

    const CString head = paths.headFile + L".orvix-part";
    platform::MakeFolder(head, error);
    orvix::test::WriteText(platform::JoinPath(head, L"file"), "x");
    Remove(paths.zHist);
    const auto failed = Repair(project, {});
    ASSERT_FALSE(failed) << "there is no room for a new head";
    EXPECT_THAT(failed.error().message, HasSubstr(platform::ToUtf8(head) + " could not be"));

    for (const CString& path : {inTheWay, head}) {
        platform::RemoveTree(path, error);
        orvix::test::WriteText(path, "x");
    }
    EXPECT_THAT(Mend().warnings, testing::IsEmpty());
    EXPECT_TRUE(ReadProject(project) == whole);
}

TEST_F(RepairTest, ThatIsOnlyTriedChangesNothing) {
    Import();
    Remove(paths.zHist);
    FlipBit(paths.gridIdx, 100);
    const ProjectBytes before = ReadProject(project);
    RepairOptions options;
    options.dryRun = true;
    const auto report = Mend(options);
    EXPECT_EQ(StateOf(report, "Data/z.hist"), FileState::Rebuilt);
    EXPECT_EQ(StateOf(report, "Index/Grid.idx"), FileState::Rebuilt);
    EXPECT_TRUE(ReadProject(project) == before);
}

TEST_F(RepairTest, NamesDamagedPointsAndTouchesNothingUntilTheyAreAccepted) {
    Import();
    const std::uint64_t point = 1'234;
    FlipBit(paths.gridPts, (point * kAlivePointBytes + 12) * 8);
    Remove(paths.zHist);
    const ProjectBytes before = ReadProject(project);
    auto report = Mend();
    EXPECT_FALSE(report.Ok());
    ASSERT_EQ(report.damaged.size(), 1u);
    EXPECT_EQ(report.damaged[0].points, 3'000u);
    EXPECT_GT(report.damaged[0].cells, 100u);
    EXPECT_TRUE(ReadProject(project) == before);

    RepairOptions options;
    options.accept = true;
    report = Mend(options);
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(StateOf(report, "Index/Grid.pts"), FileState::Accepted);
    EXPECT_EQ(StateOf(report, "Data/intensities.hist"), FileState::Rebuilt) << "it counts them";
    const ProjectBytes after = ReadProject(project);
    EXPECT_TRUE(after.at("Index/Grid.pts") == before.at("Index/Grid.pts"));
    EXPECT_TRUE(Check().Ok());
    FlipBit(paths.gridPts, (point * kAlivePointBytes + 12) * 8);
    EXPECT_TRUE(ReadProject(project).at("Index/Grid.pts") == whole.at("Index/Grid.pts"));
}

TEST_F(RepairTest, NamesPointsThatAreCutOffOrAddedAsDamaged) {
    Import();
    std::error_code error;
    auto file = platform::File::OpenReadWrite(paths.gridPts, error);
    for (const std::uint64_t points : {2'000, 3'010}) {
        file.Resize(points * kAlivePointBytes, error);
        const auto report = Mend();
        EXPECT_FALSE(report.Ok()) << points;
        EXPECT_EQ(report.damaged.size(), 1u) << points;
    }
}

TEST_F(RepairTest, DoesNotIndexPointsThatAreOutOfOrderOrNowhere) {
    Import();
    Remove(detail::ManifestPath(paths));
    Remove(paths.gridIdx);
    const auto points = orvix::test::ReadBytes(paths.gridPts);
    auto swapped = points;
    std::swap_ranges(swapped.begin(), swapped.begin() + 24, swapped.end() - 24);
    orvix::test::WriteBytes(paths.gridPts, swapped.data(), swapped.size());
    auto report = Repair(project, {});
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::Damaged);
    EXPECT_THAT(report.error().message, HasSubstr("lies in a cell before its place"));
    auto nowhere = points;
    std::fill_n(nowhere.begin() + 24 * 77, 4, std::uint8_t{0xFF});
    orvix::test::WriteBytes(paths.gridPts, nowhere.data(), nowhere.size());
    report = Repair(project, {});
    ASSERT_FALSE(report);
    EXPECT_THAT(report.error().message, HasSubstr("point 77 has no place"));
    std::error_code error;
    for (const CString& name : platform::ListFolder(paths.indexFolder, error)) {
        EXPECT_FALSE(name.ends_with(L".orvix-part")) << platform::ToUtf8(name);
    }
}

// BEHAVIOUR I26
TEST_F(RepairTest, TurnsBackTheOneBitThatFlippedInWhatOnlyTheScansHold) {
    Import();
    FlipBit(paths.transformFile, 200);
    const CString position = platform::JoinPath(paths.scanposFolder, L"station_0.pos");
    FlipBit(position, 77);
    const auto report = Mend();
    EXPECT_EQ(StateOf(report, "transform"), FileState::Mended);
    EXPECT_EQ(StateOf(report, "Index/scanpos/station_0.pos"), FileState::Mended);
    EXPECT_TRUE(ReadProject(project) == whole);
}

TEST_F(RepairTest, NamesWhatIsLostAndGoesOnNamingIt) {
    Import();
    FlipBit(paths.transformFile, 200);
    FlipBit(paths.transformFile, 300);
    Remove(platform::JoinPath(paths.scanposFolder, L"station_0.pos"));
    Remove(paths.zHist);
    auto report = Mend();
    EXPECT_FALSE(report.Ok());
    EXPECT_EQ(StateOf(report, "transform"), FileState::Lost);
    EXPECT_EQ(StateOf(report, "Index/scanpos/station_0.pos"), FileState::Lost);
    EXPECT_EQ(StateOf(report, "Data/z.hist"), FileState::Rebuilt);
    EXPECT_EQ(Check().total, 2u);
    RepairOptions options;
    options.accept = true;
    report = Mend(options);
    EXPECT_TRUE(report.Ok());
    EXPECT_EQ(StateOf(report, "transform"), FileState::Accepted);
    EXPECT_TRUE(Check().Ok());
}

TEST_F(RepairTest, SumsPointsAnewThatWereOpenedForWritingAndKeepsPairs) {
    Import();
    CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts, 5,
              paths.grid1000cmIdx, paths.grid10cmIdx, paths.grid1to10cmIdx, paths.gridIdx);
    ASSERT_TRUE(core.OpenCores4Write());
    core.Close();
    FlipBit(paths.gridPts, 22 * 8);
    FlipBit(paths.gridSkeletDataPts, offsetof(CPointDataFull, dclcSecond) * 8);
    const ProjectBytes before = ReadProject(project);
    const auto report = Mend();
    EXPECT_TRUE(report.Ok());
    EXPECT_TRUE(report.summed);
    EXPECT_EQ(StateOf(report, "Index/GridSkelet.datapts"), FileState::Sound);
    const ProjectBytes after = ReadProject(project);
    EXPECT_TRUE(after.at("Index/GridSkelet.datapts") == before.at("Index/GridSkelet.datapts"));
    EXPECT_FALSE(after.contains("Index/Grid.written"));
    const auto check = Check();
    EXPECT_TRUE(check.Ok());
    EXPECT_TRUE(check.sums.written.empty());
}

TEST_F(RepairTest, KeepsTheSettingsOfItsUserAndNoOtherProgramsFile) {
    Import();
    ProjectManager manager;
    ASSERT_TRUE(manager.Open(project));
    PROJECT_SETTINGS settings = manager.projectSettings;
    settings.baseStep = 0.35;
    manager.SetProjectSettings(settings);
    manager.Close();
    const auto changed = orvix::test::ReadBytes(project);
    Remove(paths.zHist);
    EXPECT_TRUE(Mend().Ok());
    EXPECT_TRUE(orvix::test::ReadBytes(project) == changed);

    const CString other = folder / L"scan.las";
    orvix::test::WriteText(other, "LASF");
    const auto report = Repair(other, {});
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, ErrorCode::BadInput);
    EXPECT_EQ(orvix::test::ReadBytes(other).size(), 4u);
    EXPECT_EQ(Repair(folder / L"nothing.prj", {}).error().code, ErrorCode::BadInput);
}

TEST(FlippedBit, IsFoundWhereverItIsAndNowhereElse) {
    std::mt19937 random(5);
    std::vector<std::uint8_t> bytes(128);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    const std::uint32_t sum = platform::Crc32c(bytes);
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        auto flipped = bytes;
        flipped[bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        ASSERT_EQ(WithoutFlippedBit(flipped, sum), bytes);
        flipped[(bit / 8 + 40) % 128] ^= 4;
        ASSERT_FALSE(WithoutFlippedBit(flipped, sum));
    }
}

}  // namespace
}  // namespace orvix::importer::test
