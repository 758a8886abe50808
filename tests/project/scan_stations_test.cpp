// SPDX-License-Identifier: GPL-3.0-or-later
#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/station_files.h"
#include "support/scratch_folder.h"

namespace orvix {
namespace {

class ScanStations : public testing::Test {
protected:
    ScanStations() { manager.Create(folder / L"scan.prj"); }

    CString StationFile(const wchar_t* name) {
        return platform::JoinPath(manager.scanposFolder, name);
    }
    void WriteOrientation(const std::vector<double>& values) {
        test::WriteRecords(StationFile(L"station_2.orientation"), values);
    }
    Eigen::Matrix4d Rotation(int station = 2) {
        Eigen::Affine3d rotation = Eigen::Affine3d(Eigen::Translation3d(7, 8, 9));
        manager.GetScanRotation(station, rotation);
        return rotation.matrix();
    }

    test::ScratchFolder folder;
    ProjectManager manager;
};

TEST_F(ScanStations, ReadPositionsByTheirUnpaddedNumber) {
    test::WriteRecords<double>(StationFile(L"station_7.pos"), {1.5, -2.5, 1e9});
    test::WriteRecords<double>(StationFile(L"station_-1.pos"), {4, 5, 6});
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(manager.GetScanPosition(7, x, y, z));
    EXPECT_TRUE(x == 1.5 && y == -2.5 && z == 1e9);
    ASSERT_TRUE(manager.GetScanPosition(-1, x, y, z));
    EXPECT_TRUE(x == 4 && y == 5 && z == 6);
}

TEST_F(ScanStations, LeaveTheOutputsOfAMissingStation) {
    double x = 1;
    double y = 2;
    double z = 3;
    std::int16_t lowest = 4;
    std::int16_t highest = 5;
    EXPECT_FALSE(manager.GetScanPosition(0, x, y, z));
    EXPECT_FALSE(manager.GetScanIntensityRanges(0, lowest, highest));
    EXPECT_TRUE(x == 1 && y == 2 && z == 3 && lowest == 4 && highest == 5);
    EXPECT_EQ(Rotation(), Eigen::Matrix4d::Identity());
}

// A head file may count four billion stations: those that are there are looked for, not each number.
TEST_F(ScanStations, AreListedByTheirFiles) {
    using testing::ElementsAre;
    for (const wchar_t* name :
         {L"station_12.name", L"station_7.pos", L"station_7.intens", L"station_65536.pos",
          L"station_655350.pos", L"station_-1.pos", L"station_.pos", L"station_3", L"rtfm.txt"}) {
        test::WriteText(StationFile(name), "x");
    }
    EXPECT_THAT(detail::StationsWithFiles(manager, 0xFFFF'FFFFU), ElementsAre(7, 12));
    EXPECT_THAT(detail::StationsWithFiles(manager, 12), ElementsAre(7));
    manager.scanposFolder = folder / L"none";
    EXPECT_TRUE(detail::StationsWithFiles(manager, 0xFFFF'FFFFU).empty());
}

// BEHAVIOUR H1
TEST_F(ScanStations, LeaveTheValuesThatAShortFileLacks) {
    const std::vector<double> stored{10, 20, 30};
    for (std::size_t bytes = 0; bytes <= 24; ++bytes) {
        test::WriteBytes(StationFile(L"station_0.pos"), stored.data(), bytes);
        double x = 1;
        double y = 2;
        double z = 3;
        ASSERT_TRUE(manager.GetScanPosition(0, x, y, z));
        EXPECT_EQ(x, bytes >= 8 ? 10 : 1) << bytes;
        EXPECT_EQ(y, bytes >= 16 ? 20 : 2) << bytes;
        EXPECT_EQ(z, bytes >= 24 ? 30 : 3) << bytes;
    }
}

TEST_F(ScanStations, ReadIntensityRangesAsSignedValues) {
    test::WriteRecords<std::int16_t>(StationFile(L"station_12.intens"), {-2048, 2047});
    std::int16_t lowest = 0;
    std::int16_t highest = 0;
    ASSERT_TRUE(manager.GetScanIntensityRanges(12, lowest, highest));
    EXPECT_EQ(lowest, -2048);
    EXPECT_EQ(highest, 2047);
    test::WriteRecords<std::int16_t>(StationFile(L"station_12.intens"), {5});
    ASSERT_TRUE(manager.GetScanIntensityRanges(12, lowest, highest));
    EXPECT_EQ(lowest, 5);
    EXPECT_EQ(highest, 2047);
}

TEST_F(ScanStations, TurnCounterClockwiseAboutTheAxis) {
    WriteOrientation({0, 0, 1, std::acos(0.0)});
    Eigen::Matrix4d quarter;
    quarter << 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1;
    EXPECT_TRUE(Rotation().isApprox(quarter, 1e-15)) << Rotation();
    EXPECT_EQ(Rotation().col(3), Eigen::Vector4d(0, 0, 0, 1));
}

// BEHAVIOUR H2
TEST_F(ScanStations, TakeTheAxisAsItIsStored) {
    const Eigen::Vector3d axis(1, -2, 0.5);
    const double angle = 0.7;
    WriteOrientation({axis.x(), axis.y(), axis.z(), angle});
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double t = 1 - c;
    const Eigen::Matrix4d rotation = Rotation();
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        EXPECT_EQ(rotation(i, i), t * axis[i] * axis[i] + c);
        EXPECT_EQ(rotation(i, j), t * axis[i] * axis[j] - s * axis[k]);
        EXPECT_EQ(rotation(j, i), t * axis[i] * axis[j] + s * axis[k]);
    }
}

// BEHAVIOUR H1
TEST_F(ScanStations, StandUprightWhereTheAngleIsMissing) {
    WriteOrientation({0, 0, 1});
    EXPECT_EQ(Rotation(), Eigen::Matrix4d::Identity());
}

}  // namespace
}  // namespace orvix
