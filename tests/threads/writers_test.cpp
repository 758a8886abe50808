// SPDX-License-Identifier: GPL-3.0-or-later
// What writes at several threads: imports, repairs and deep checks, and records that threads share.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "importer/import_scans.h"
#include "importer/repair/repair.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/settings_store.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/manifest/manifest.h"
#include "orvix/project/project_paths.h"
#include "parallel/pool.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"
#include "tests/support/settings_sandbox.h"
#include "tests/threads/side_by_side.h"

namespace orvix {
namespace {

using importer::test::MemoryScan;
using test::SideBySide;

MemoryScan Cloud(std::size_t points) {
    MemoryScan scan;
    std::mt19937_64 random(17);
    const auto below = [&](std::uint64_t n) { return static_cast<double>(random() % n); };
    for (std::size_t i = 0; i < points; ++i) {
        importer::ScanPoint point;
        point.x = below(9'000) / 1'000;
        point.y = below(4'000) / 1'000;
        point.z = below(3'000) / 1'000;
        point.intensity = static_cast<float>(below(3'000));
        scan.points.push_back(point);
    }
    scan.pointsPerPiece = 500;
    return scan;
}

class ThreadsOfAnImport : public testing::Test {
protected:
    /// Sorted through runs on the disk, by many small blocks.
    Expected<importer::ImportReport> Import(unsigned threads,
                                            const importer::ImportCallback& callback = {}) {
        importer::MemoryPlan plan = importer::test::SmallPlan();
        plan.workers = threads;
        importer::ImportOptions options;
        options.overwrite = true;
        return importer::ImportScans(importer::test::Open({Cloud(12'000)}), path, options, plan,
                                     callback);
    }
    detail::CheckReport CheckDeep() {
        const parallel::Pool pool(4, {}, "");
        detail::CheckOptions options;
        options.sums = detail::SumDepth::All;
        options.runBlocks = [&](std::size_t jobs, const detail::BlockJob& job) {
            return pool.RunJobs(jobs, job);
        };
        auto report = detail::CheckProject(path, options);
        EXPECT_TRUE(report) << report.error().message;
        return report ? std::move(*report) : detail::CheckReport();
    }

    test::ScratchFolder folder;
    CString path = folder / L"scan.prj";
};

TEST_F(ThreadsOfAnImport, MakeTheSameBytesAndMendThem) {
    ASSERT_TRUE(Import(1));
    const auto whole = importer::test::ReadProject(path);
    const auto report = Import(4);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(importer::test::ReadProject(path), whole);
    EXPECT_TRUE(CheckDeep().Ok());

    ProjectManager paths;
    detail::BuildPaths(paths, path);
    std::error_code error;
    for (const CString& file : {paths.gridIdx, paths.grid10cmIdx, paths.gridSkeletCoordPts})
        platform::RemoveFile(file, error);
    importer::RepairOptions options;
    options.threads = 4;
    const auto mended = importer::Repair(path, options);
    ASSERT_TRUE(mended) << mended.error().message;
    EXPECT_TRUE(mended->Ok());
    EXPECT_EQ(importer::test::ReadProject(path), whole);
    EXPECT_TRUE(CheckDeep().Ok());
}

TEST_F(ThreadsOfAnImport, EndWithItWhereverItIsCancelled) {
    for (const auto phase : {importer::ImportPhase::Scan, importer::ImportPhase::Sort,
                             importer::ImportPhase::Write, importer::ImportPhase::Skeleton}) {
        const auto report = Import(
            4, [&](const importer::ImportProgress& progress) { return progress.phase != phase; });
        ASSERT_FALSE(report);
        EXPECT_EQ(report.error().code, ErrorCode::Cancelled);
        EXPECT_TRUE(folder.Names().empty());
    }
}

TEST(ThreadsThatWrite, AnnounceRecordsOfOneManifest) {
    using detail::SumsOf;
    const test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    const std::vector<std::string> names = {"head", "transform"};
    const auto bytes = [](int content) {
        return std::vector<std::uint8_t>(204, static_cast<std::uint8_t>(content));
    };
    ASSERT_TRUE(
        detail::WriteManifest(path, {{SumsOf(names[0], bytes(0)), SumsOf(names[1], bytes(0))}}));
    for (int round = 1; round <= 5; ++round) {
        SideBySide(2, [&](int own) {
            detail::AnnounceContent(path, names[static_cast<std::size_t>(own)], bytes(round - 1),
                                    bytes(round));
        });
        const auto read = detail::ReadManifest(path);
        ASSERT_TRUE(read && *read);
        detail::Manifest wanted;
        for (const std::string& name : names) {
            wanted.files.push_back(SumsOf(name, bytes(round - 1)));
            wanted.files.push_back(SumsOf(name, bytes(round)));
        }
        ASSERT_EQ(detail::EncodeManifest(**read), detail::EncodeManifest(wanted)) << round;
    }
}

TEST(ThreadsThatWrite, StoreSettingsOfTheirOwn) {
    const test::SettingsSandbox sandbox;
    const CString key = L"SOFTWARE\\Orvix\\Threads";
    const CString names[] = {L"one", L"two", L"three"};
    SideBySide(3, [&](int own) {
        const CString& name = names[own];
        for (int round = 0; round < 3; ++round) {
            const std::vector<std::byte> bytes(4, static_cast<std::byte>(10 * own + round));
            ASSERT_TRUE(
                platform::StoreSetting(kCurrentUser, key, name, platform::kSettingBinary, bytes));
            const auto stored = platform::QuerySetting(kCurrentUser, key, name);
            ASSERT_TRUE(stored);
            ASSERT_EQ(stored->bytes, bytes);
        }
    });
    EXPECT_EQ(platform::ListSettings(kCurrentUser, key).size(), 3U);
}

TEST(ThreadsThatWrite, OneFileWriteAndReadAtPlacesOfTheirOwn) {
    constexpr std::size_t kBytes = 100'000;
    const test::ScratchFolder folder;
    std::error_code made;
    platform::File file = platform::File::Create(folder / L"file", made);
    ASSERT_FALSE(made) << made.message();
    SideBySide(4, [&](int own) {
        const std::vector<char> wanted(kBytes, static_cast<char>('a' + own));
        std::vector<char> read(kBytes);
        std::error_code error;
        const auto at = static_cast<std::uint64_t>(own) * kBytes;
        file.WriteAt(at, wanted.data(), kBytes, error);
        ASSERT_FALSE(error) << error.message();
        ASSERT_EQ(file.ReadAt(at, read.data(), kBytes, error), kBytes);
        ASSERT_EQ(read, wanted);
    });
    EXPECT_EQ(file.Size(), 4 * kBytes);
}

}  // namespace
}  // namespace orvix
