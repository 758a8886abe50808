// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>

#include "importer/import_scans.h"
#include "importer/scans/coordinate_frame.h"
#include "orvix/platform/path.h"
#include "orvix/points/record_hash.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::HasSubstr;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

MemoryPlan TinyPlan(unsigned workers = 2, std::uint64_t poolPoints = 1'000'000) {
    MemoryPlan plan;
    plan.workers = workers;
    plan.poolBytes = poolPoints * 24;
    plan.memoryBlockPoints = 64;
    plan.fileBlockPoints = 64;
    plan.shortPiecePoints = 40;
    plan.joinedPoints = 100;
    plan.mergeRuns = 3;
    return plan;
}

ScanPoint At(double x, double y, double z) {
    ScanPoint point;
    point.x = x;
    point.y = y;
    point.z = z;
    return point;
}

/// The records of scans whose attributes need no scaling, in metres, z up: what is left of the
/// import once the conversion is trivial.
std::vector<CCloudPoint<float>> RecordsOf(const std::vector<MemoryScan>& scans,
                                          const std::array<double, 3>& origin) {
    std::vector<CCloudPoint<float>> records;
    for (std::size_t station = 0; station < scans.size(); ++station) {
        for (const ScanPoint& p : scans[station].points) {
            const auto intensity = static_cast<std::uint16_t>(p.intensity);
            CCloudPoint<float> r;
            r.x = static_cast<float>(p.x - origin[0]);
            r.y = static_cast<float>(p.y - origin[1]);
            r.z = static_cast<float>(p.z - origin[2]);
            r.attributes = {static_cast<std::uint8_t>(intensity & 255),
                            static_cast<std::uint8_t>(intensity >> 8),
                            static_cast<std::uint8_t>(p.red),
                            static_cast<std::uint8_t>(p.green),
                            static_cast<std::uint8_t>(p.blue),
                            p.classification,
                            static_cast<std::uint8_t>(station),
                            0};
            records.push_back(r);
        }
    }
    return records;
}

/// Clouds of every shape that the sort and the skeleton may meet.
std::vector<MemoryScan> RandomScans(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const auto below = [&](std::uint64_t n) { return random() % n; };
    const auto unit = [&] { return static_cast<double>(below(1 << 20)) / (1 << 20); };
    const double centre = static_cast<double>(below(3)) * 770'000.0;
    const std::uint64_t shape = seed % 8;
    const auto coordinate = [&]() -> double {
        switch (shape) {
            case 0:
                return centre + unit() * 40 - 20;  // many cells
            case 1:
                return centre + unit() * 0.09 + 0.01;  // one 10 cm cell
            case 2:
                return centre + static_cast<double>(below(8)) / 10;  // on cell boundaries
            case 3:
                return centre + 3.25;  // all equal
            case 4:
                return centre + (below(50) == 0 ? unit() * 8e5 : unit());  // wild ones
            case 5:
                return centre + static_cast<double>(below(5)) * 1e-3;  // many duplicates
            case 6:
                return centre - unit() * unit() * unit() * 30;  // dense towards a corner
            default:
                return centre + unit() * 900 - 450;  // few points per cell
        }
    };
    std::vector<MemoryScan> scans(1 + below(3));
    for (MemoryScan& scan : scans) {
        scan.pointsPerPiece = 1 + below(400);
        scan.points.resize(1 + below(1500));
        for (ScanPoint& p : scan.points) {
            p = At(coordinate(), coordinate(), shape == 2 ? 1.5 : coordinate());
            p.intensity = static_cast<float>(below(65'536));
            p.red = static_cast<std::uint16_t>(below(256));
            p.green = static_cast<std::uint16_t>(below(256));
            p.blue = static_cast<std::uint16_t>(below(256));
            p.classification = static_cast<std::uint8_t>(below(256));
        }
    }
    return scans;
}

class ImportModel : public testing::TestWithParam<int> {};

// BEHAVIOUR I9, I10
TEST_P(ImportModel, EveryFileIsWhatSortingEverythingInMemoryGives) {
    const auto seed = static_cast<std::uint64_t>(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::vector<MemoryScan> scans = RandomScans(seed);
    std::uint64_t points = 0;
    for (const MemoryScan& scan : scans) points += scan.points.size();
    // Whether the first pass keeps an input's points, none of another's.
    for (std::size_t i = 0; i < scans.size(); ++i) scans[i].dearToDecode = (seed + i) % 4 != 0;
    ImportOptions options;
    options.skeleton = static_cast<SkeletonSize>(seed / 8 % 3);
    const ScratchFolder folder;
    ProjectBytes first;
    // In memory, with all points kept from the first pass or half of them, and in many runs on disk
    // that take several rounds of merging.
    const MemoryPlan onDisk = seed % 2 == 0 ? TinyPlan(1, 300) : TinyPlan(5, 150);
    for (const MemoryPlan& plan : {TinyPlan(2), TinyPlan(3, points), onDisk}) {
        const CString project = folder / (L"p" + std::to_wstring(plan.workers) + L".prj");
        const auto report = ImportScans(Open(scans), project, options, plan);
        ASSERT_TRUE(report) << report.error().message;
        const auto records = RecordsOf(scans, report->origin);
        EXPECT_EQ(report->written, records.size());
        EXPECT_EQ(report->checksum, detail::RecordHashSum(records.data(), records.size()));
        const ProjectBytes written = ReadProject(project);
        const ProjectBytes expected = ExpectedProject(
            records, options.skeleton, static_cast<std::uint32_t>(scans.size()), report->origin);
        for (const auto& [name, bytes] : expected) {
            ASSERT_TRUE(written.contains(name)) << name;
            ASSERT_TRUE(written.at(name) == bytes) << name << ", " << plan.workers << " workers";
        }
        EXPECT_EQ(written.size(), expected.size());
        EXPECT_TRUE(ProjectManager().Set(project, false));
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ImportModel, testing::Range(0, 64));

// BEHAVIOUR I20
TEST(Import, ReadsWhatIsDearToDecodeOnceAsFarAsMemoryLasts) {
    MemoryScan scan = RandomScans(0).front();
    scan.points.resize(2'000, scan.points.front());
    scan.pointsPerPiece = 250;
    using Pieces = std::vector<std::size_t>;
    const auto readAgain = [&](bool dear, std::uint64_t poolPoints) {
        Pieces again;
        scan.dearToDecode = dear;
        scan.before = [&](int pass, std::size_t piece) -> Expected<void> {
            if (pass > 0) again.push_back(piece);
            return {};
        };
        const ScratchFolder folder;
        // Of two workers, the one ahead may take the last room that the piece before it wanted.
        const auto report =
            ImportScans(Open({scan}), folder / L"p.prj", {}, TinyPlan(1, poolPoints));
        EXPECT_TRUE(report && report->written == 2'000);
        return again;
    };
    EXPECT_EQ(readAgain(false, 10'000), (Pieces{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(readAgain(true, 10'000), Pieces());
    // 48,000 bytes, seven eighths of which hold 1,050 points of 40.
    EXPECT_EQ(readAgain(true, 2'000), (Pieces{4, 5, 6, 7}));
}

// BEHAVIOUR I13
TEST(Import, KeepsTheFirstOfPointsAtOnePositionWhenToldTo) {
    for (std::uint64_t seed : {3u, 5u, 13u, 21u, 2u}) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const std::vector<MemoryScan> scans = RandomScans(seed);
        const ScratchFolder folder;
        ImportOptions options;
        options.dedupe = true;
        for (const MemoryPlan& plan : {TinyPlan(2), TinyPlan(3, 150)}) {
            const CString project = folder / (L"p" + std::to_wstring(plan.workers) + L".prj");
            const auto report = ImportScans(Open(scans), project, options, plan);
            ASSERT_TRUE(report) << report.error().message;
            std::vector<CCloudPoint<float>> kept;
            std::set<std::array<float, 3>> met;
            for (const auto& r : RecordsOf(scans, report->origin)) {
                if (met.insert({r.x, r.y, r.z}).second) kept.push_back(r);
            }
            EXPECT_EQ(report->written, kept.size());
            EXPECT_EQ(report->rejected.at("duplicate"), report->read - kept.size());
            EXPECT_EQ(report->checksum, detail::RecordHashSum(kept.data(), kept.size()));
            EXPECT_TRUE(ReadProject(project) ==
                        ExpectedProject(kept, options.skeleton,
                                        static_cast<std::uint32_t>(scans.size()), report->origin));
        }
    }
}

TEST(Import, AccountsForEveryPointItLeavesOut) {
    MemoryScan scan;
    scan.points = {At(1, 2, 3), At(kNan, 0, 0),  At(0, kInfinity, 0), At(0, 0, 0),
                   At(2, 2, 3), At(9e6, 9e6, 0), At(2e7, 0, 0),       At(-1e300, 0, 0)};
    scan.malformedPerPiece = 4;
    ImportOptions options;
    options.dropZeros = true;
    const ScratchFolder folder;
    const auto report =
        ImportScans(Open(std::vector{scan}), folder / L"p.prj", options, TinyPlan());
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->read, 12u);
    EXPECT_EQ(report->written, 3u);
    EXPECT_THAT(
        report->rejected,
        testing::ElementsAre(testing::Pair("malformed", 4), testing::Pair("not a number", 2),
                             testing::Pair("out of range", 2), testing::Pair("zero", 1)));
    EXPECT_EQ(report->inputs.at(0).points, 12u);
}

TEST(Import, KeepsZerosUnlessToldToDropThem) {
    MemoryScan scan;
    scan.points = {At(0, 0, 0), At(0, 0, 0), At(1, 1, 1)};
    const ScratchFolder folder;
    const auto report = ImportScans(Open(std::vector{scan}), folder / L"p.prj", {}, TinyPlan());
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->written, 3u);
}

TEST(Import, RoundsOnceToAFloatNearTheCloudHoweverFarItLies) {
    MemoryScan scan;
    for (int i = 0; i < 100; ++i) {
        scan.points.push_back(At(770'512.37 + i * 0.013, 6'277'543.21 + i * 0.007, 43.49));
    }
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    const auto report = ImportScans(Open(std::vector{scan}), project, {}, TinyPlan());
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->origin, (std::array<double, 3>{770'500, 6'277'500, 0}));
    EXPECT_TRUE(ReadProject(project) == ExpectedProject(RecordsOf({scan}, report->origin),
                                                        SkeletonSize::TenCentimetres, 1,
                                                        report->origin));
    EXPECT_TRUE(report->warnings.empty());
}

// BEHAVIOUR I1
TEST(Import, LetsNoWildPointMoveTheOrigin) {
    MemoryScan scan;
    scan.points.assign(99, At(512, 512, 512));
    scan.points.push_back(At(9e11, -9e11, 9e11));
    const ScratchFolder folder;
    const auto report = ImportScans(Open(std::vector{scan}), folder / L"p.prj", {}, TinyPlan());
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->origin, (std::array<double, 3>{500, 500, 500}));
    EXPECT_EQ(report->rejected.at("out of range"), 1u);
}

// BEHAVIOUR I2
TEST(Import, WarnsWithTheStepWhereFloatsAreCoarserThanATenthOfAMillimetre) {
    MemoryScan scan;
    scan.points.assign(9, At(0, 0, 0));
    scan.points.push_back(At(3000, 0, 0));
    const ScratchFolder folder;
    const auto report = ImportScans(Open(std::vector{scan}), folder / L"p.prj", {}, TinyPlan());
    ASSERT_TRUE(report) << report.error().message;
    ASSERT_EQ(report->warnings.size(), 1u);
    EXPECT_THAT(report->warnings[0], HasSubstr("up to 3000 m"));
    EXPECT_THAT(report->warnings[0], HasSubstr("0.2441 mm"));
}

TEST(Import, TurnsUnitsAndAxesIntoMetresWithZUp) {
    MemoryScan scan;
    scan.points = {At(1000, 2000, 3000)};
    MemoryScan upright;
    upright.points = {At(3, 1, 2)};
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    ImportOptions options;
    options.unit = LengthUnit::Millimetre;
    options.up = UpAxis::Y;
    ASSERT_TRUE(ImportScans(Open(std::vector{scan}), project, options, TinyPlan()));
    EXPECT_TRUE(ReadProject(project).at("Index/Grid.pts") ==
                ExpectedProject(RecordsOf({upright}, {}), SkeletonSize::TenCentimetres, 1, {})
                    .at("Index/Grid.pts"));
}

TEST(Import, SaysWhyACloudWithoutAUsablePointMakesNoProject) {
    MemoryScan scan;
    scan.points = {At(kNan, 0, 0), At(kNan, 1, 0)};
    const ScratchFolder folder;
    for (const auto& points : {scan.points, std::vector<ScanPoint>{}}) {
        scan.points = points;
        const auto report = ImportScans(Open(std::vector{scan}), folder / L"p.prj", {}, TinyPlan());
        ASSERT_FALSE(report);
        EXPECT_EQ(report.error().code, ErrorCode::BadInput);
        EXPECT_THAT(report.error().message, HasSubstr("no point"));
        EXPECT_FALSE(platform::PathExists(folder / L"p.prj"));
    }
}

TEST(Import, ReportsProgressThatNeverFallsAndEndsAtOne) {
    const std::vector<MemoryScan> scans = RandomScans(0);
    const ScratchFolder folder;
    std::vector<ImportProgress> reported;
    const auto report =
        ImportScans(Open(scans), folder / L"p.prj", {}, TinyPlan(), [&](const ImportProgress& p) {
            reported.push_back(p);
            return true;
        });
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end(), [](const auto& a, const auto& b) {
        return std::tie(a.phase, a.fraction) < std::tie(b.phase, b.fraction);
    }));
    EXPECT_EQ(reported.back().fraction, 1.0);
    EXPECT_EQ(reported.front().fraction, 0.0);
}

}  // namespace
}  // namespace orvix::importer::test
