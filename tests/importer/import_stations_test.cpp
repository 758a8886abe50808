// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "importer/import_scans.h"
#include "orvix/platform/path.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/station_files.h"
#include "support/scratch_folder.h"
#include "tests/importer/memory_scan.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::ElementsAre;
using testing::HasSubstr;

const double kHalf = std::sqrt(0.5);

ScanPart Posed(const std::string& name, const ScanPose& pose) {
    return {name, pose, MapOf(pose)};
}

/// Two scans of one file, a quarter of a turn about z and 100.25 m apart, of the points
/// (i, 0, 0), i = 0 to 9, each; intensities 10 i.
MemoryScan TwoScans() {
    MemoryScan scan;
    for (int i = 0; i < 20; ++i) {
        ScanPoint point;
        point.x = i % 10;
        point.intensity = static_cast<float>(i * 10);
        scan.points.push_back(point);
    }
    scan.pointsPerPiece = 5;
    scan.piecesPerScan = 2;
    scan.info.scans = {Posed("hall", {{1, 2, 3}, {}}),
                       Posed("yard", {{770'500, 100.25, 0}, {kHalf, 0, 0, kHalf}})};
    return scan;
}

class ImportStations : public testing::Test {
protected:
    Expected<ImportReport> Run(const std::vector<MemoryScan>& scans, unsigned threads = 2) {
        MemoryPlan plan = PlanMemory(std::uint64_t{1} << 28, threads);
        return ImportScans(Open(scans), project, options, plan);
    }
    detail::StationFiles Files(int station) {
        ProjectManager manager;
        EXPECT_TRUE(manager.Set(project, false));
        std::vector<detail::StationFault> faults;
        detail::StationFiles files = detail::ReadStationFiles(manager, station, faults);
        EXPECT_TRUE(faults.empty());
        return files;
    }
    std::vector<CCloudPoint<float>> Points() {
        ProjectManager manager;
        EXPECT_TRUE(manager.Open(project));
        std::vector<CCloudPoint<float>> points(manager.pointFileSize / 24);
        for (auto& point : points) {
            manager.aliveReader->ReadNextPoint();
            manager.aliveReader->ReadCurrentPoint(point);
        }
        return points;
    }

    ScratchFolder folder;
    CString project = folder / L"scan.prj";
    ImportOptions options;
};

// BEHAVIOUR I6
TEST_F(ImportStations, BringsEachScansPointsIntoTheFrameOfTheFile) {
    MemoryScan scan = TwoScans();
    scan.info.scans[1].pose->position.x = scan.info.scans[1].map->m[3] = 700;
    const auto report = Run({scan});
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->stations, 2u);
    int second = 0;
    for (const auto& p : Points()) {
        const int station = p.attributes[6];
        const double i = p.attributes[0] / 10 - 10 * station;
        const double x = station == 0 ? 1 + i : 700;
        const double y = station == 0 ? 2 : 100.25 + i;
        EXPECT_NEAR(p.x + report->origin[0], x, 1e-4);
        EXPECT_NEAR(p.y + report->origin[1], y, 1e-4);
        second += station;
    }
    EXPECT_EQ(second, 10);
}

TEST_F(ImportStations, WritesPoseNameAndIntensitiesOfEveryStation) {
    const auto report = Run({TwoScans()});
    ASSERT_TRUE(report) << report.error().message;
    ProjectManager manager;
    manager.Set(project, false);
    double x = 0, y = 0, z = 0;
    ASSERT_TRUE(manager.GetScanPosition(1, x, y, z));
    EXPECT_EQ(x, 770'500 - report->origin[0]);
    EXPECT_EQ(y, 100.25 - report->origin[1]);
    std::int16_t low = 0, high = 0;
    ASSERT_TRUE(manager.GetScanIntensityRanges(1, low, high));
    EXPECT_EQ(low, 100);
    EXPECT_EQ(high, 190);
    const detail::StationFiles second = Files(1);
    EXPECT_EQ(second.name, "yard");
    EXPECT_EQ((*second.orientation)[2], 1);
    EXPECT_DOUBLE_EQ((*second.orientation)[3], 1.5707963267948966);
    EXPECT_THAT(*Files(0).orientation, ElementsAre(0, 0, 1, 0));
    EXPECT_TRUE(detail::CheckProject(project)->Ok());
}

// BEHAVIOUR I5
TEST_F(ImportStations, AScanWithoutAPoseHasANumberAndNoFiles) {
    MemoryScan plain = TwoScans();
    plain.info.scans = {ScanPart{}};
    plain.piecesPerScan = 0;
    const auto report = Run({plain, TwoScans()});
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->stations, 3u);
    EXPECT_FALSE(Files(0).position);
    EXPECT_FALSE(Files(0).name);
    EXPECT_EQ(Files(1).name, "hall");
    EXPECT_EQ(Files(2).name, "yard");
}

TEST_F(ImportStations, TakesTheScansThatAreAskedFor) {
    options.stationNames = {"yard"};
    const auto report = Run({TwoScans()});
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->stations, 1u);
    EXPECT_EQ(report->read, 10u);
    EXPECT_EQ(Files(0).name, "yard");
    options.stationNames = {"yard", "Hall"};
    options.overwrite = true;
    EXPECT_THAT(Run({TwoScans()}).error().message,
                HasSubstr("no scan is named \"Hall\"; the inputs hold \"hall\", \"yard\""));
    EXPECT_EQ(Files(0).name, "yard");
}

TEST_F(ImportStations, AScanWithoutPointsKeepsItsNumber) {
    MemoryScan scan = TwoScans();
    scan.info.scans.push_back(Posed("empty", {{5, 5, 5}, {}}));
    ASSERT_TRUE(Run({scan, TwoScans()}));
    EXPECT_EQ(Files(2).name, "empty");
    EXPECT_FALSE(Files(2).intensities);
    EXPECT_EQ(Files(4).name, "yard");
}

// BEHAVIOUR I7
TEST_F(ImportStations, TellsIntensitiesAboveTheFilesRangeAsItsGreatest) {
    MemoryScan scan = TwoScans();
    scan.points[3].intensity = 40'000;
    ASSERT_TRUE(Run({scan}));
    EXPECT_THAT(*Files(0).intensities, ElementsAre(0, 32'767));
}

TEST_F(ImportStations, CheckNamesStationFilesThatAreNotRight) {
    ASSERT_TRUE(Run({TwoScans()}));
    ProjectManager manager;
    manager.Set(project, false);
    const double nan = std::nan("");
    const double axis[4] = {0, 0, 0.5, 1};
    const double position[3] = {1, nan, 3};
    const std::int16_t range[2] = {5, 4};
    orvix::test::WriteBytes(detail::StationPathsOf(manager, 0).orientation, axis, sizeof axis);
    orvix::test::WriteBytes(detail::StationPathsOf(manager, 0).position, position, sizeof position);
    orvix::test::WriteBytes(detail::StationPathsOf(manager, 0).intensities, range, sizeof range);
    orvix::test::WriteBytes(detail::StationPathsOf(manager, 1).position, position, 16);
    orvix::test::WriteText(detail::StationPathsOf(manager, 1).name, std::string(5000, 'a'));
    std::error_code error;  // without sums: what the values themselves show
    platform::RemoveFile(detail::ManifestPath(manager), error);
    const auto report = detail::CheckProject(project);
    ASSERT_EQ(report->total, 5u);
    std::string reported;
    for (const detail::CheckFault& fault : report->faults)
        reported += fault.file + " " + fault.what + "\n";
    EXPECT_THAT(reported, HasSubstr("station_0.orientation holds a turn by 1 about (0, 0, 0.5)"));
    EXPECT_THAT(reported, HasSubstr("station_0.intens holds intensities from 5 to 4"));
    EXPECT_THAT(reported, HasSubstr("station_1.pos holds 16 bytes instead of 24"));
    EXPECT_THAT(reported, HasSubstr("station_1.name holds 5000 bytes"));
}

}  // namespace
}  // namespace orvix::importer::test
