// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <set>
#include <system_error>

#include "orvix/platform/path.h"
#include "orvix/platform/utility_lib.h"
#include "orvix/points/alive_point_reader.h"
#include "support/scratch_folder.h"
#include "tests/support/read_only_file.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

using platform::JoinPath;
using platform::PathExists;
using test::ScratchFolder;
using Names = std::set<CString>;

// Everything below a folder, as "folder/name" with either separator.
void List(const CString& folder, const CString& prefix, Names& names) {
    std::error_code error;
    for (const CString& name : platform::ListFolder(folder, error)) {
        names.insert(prefix + name);
        List(JoinPath(folder, name), prefix + name + L"/", names);
    }
}

Names Tree(const CString& folder) {
    Names names;
    List(folder, L"", names);
    return names;
}

const Names kFolders{L"scan_Project_Files",
                     L"scan_Project_Files/pano",
                     L"scan_Project_Files/Index",
                     L"scan_Project_Files/Index/scanpos",
                     L"scan_Project_Files/Data",
                     L"scan_Project_Files/Data/Slices",
                     L"scan_Project_Files/Data/Slices/Color_Plane",
                     L"scan_Project_Files/DataView",
                     L"scan_Project_Files/LogicView",
                     L"scan_Project_Files/Images",
                     L"scan_Project_Files/Images/Cad",
                     L"scan_Project_Files/Images/SketchUp"};

Names operator+(Names names, const CString& name) {
    names.insert(name);
    return names;
}

class ProjectManagerTest : public testing::Test {
protected:
    void WriteProject(double scale = 0.1) {
        project = test::MakeTinyProject(test::RoomPoints(1), scale);
        WriteTinyProject(project, path);
    }

    ScratchFolder folder;
    CString path = folder / L"scan.prj";
    test::TinyProject project;
    ProjectManager manager;
};

CString Text(unsigned id) {
    return UtilityLib::LocaleString(id);
}

TEST_F(ProjectManagerTest, StartsEmpty) {
    EXPECT_TRUE(manager.gridPts.empty() && manager.projectFile.empty());
    EXPECT_EQ(manager.aliveReader, nullptr);
    EXPECT_EQ(manager.pointFile, nullptr);
    EXPECT_EQ(manager.settingsVersion, 13);
}

TEST_F(ProjectManagerTest, SetOfAnEmptyPathEmptiesEveryPathAndSucceeds) {
    manager.Set(path, true);
    const Names before = Tree(folder.Path());
    EXPECT_TRUE(manager.Set(L"", false));
    for (const CString* member :
         {&manager.projectFile, &manager.headFile, &manager.transformFile, &manager.gridPts,
          &manager.gridSkeletPcg, &manager.scanposFolder, &manager.zCls, &manager.viewGridLv,
          &manager.histFolder, &manager.projectFilesFolder, &manager.projectName,
          &manager.imagesFolder, &manager.indexFolder, &manager.dataViewFolder}) {
        EXPECT_EQ(*member, L"");
    }
    manager.Destroy();
    EXPECT_EQ(Tree(folder.Path()), before);
}

TEST_F(ProjectManagerTest, CreateMakesTheFoldersAndAnEmptyProjectFile) {
    manager.Create(path);
    EXPECT_EQ(Tree(folder.Path()), kFolders + L"scan.prj");
    EXPECT_TRUE(test::ReadBytes(path).empty());
    EXPECT_EQ(manager.projectName, L"scan");
    EXPECT_EQ(manager.GetRecapFolder(), JoinPath(manager.projectFilesFolder, L"Recap"));
}

// BEHAVIOUR P3
TEST_F(ProjectManagerTest, SetWithoutCreateMakesFoldersButNoProjectFileAndTellsTheMissingFile) {
    EXPECT_FALSE(manager.Set(path, false));
    EXPECT_EQ(Tree(folder.Path()), kFolders);
    EXPECT_EQ(manager.errorText, Text(1370));
    EXPECT_NE(Text(1366), Text(1370));
}

// BEHAVIOUR P1
TEST_F(ProjectManagerTest, TheStationNoteExistsFromTheSecondSetOn) {
    manager.Set(path, true);
    const CString note = JoinPath(manager.scanposFolder, L"rtfm.txt");
    EXPECT_FALSE(PathExists(note));
    manager.Set(path, true);
    const auto bytes = test::ReadBytes(note);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "*.dist -> distances in milimeters int[filesize/4]\n"
              "*.pos -> scanner position double[3]\n"
              "*.orientation -> scanner orientation x y z angle double[4]\n"
              "*.angledata -> (vertical and horizontal angles) rowcount colcount vmin hmin vmax "
              "hmax int[2]+double[4]\n");
}

TEST_F(ProjectManagerTest, AProjectFileWithoutExtensionAppendsToItsWholeName) {
    manager.Set(folder / L"a.b", true);
    EXPECT_EQ(manager.projectFilesFolder, folder / L"a_Project_Files");
    manager.Set(folder / L"plain", true);
    EXPECT_EQ(manager.projectFilesFolder, folder / L"plain_Project_Files");
    EXPECT_EQ(manager.projectName, L"plain");
}

// BEHAVIOUR P2
TEST_F(ProjectManagerTest, TheLastLineOfANetworkFileMovesGridSkeletonAndStations) {
    manager.Set(path, true);
    const CString network = JoinPath(manager.indexFolder, L"network");
    const CString other = folder / L"other drive \u00e4";
    const std::string utf8 = platform::ToUtf8(other);
    for (const std::string& text :
         {utf8, utf8 + "\n", "ignored\r\n" + utf8 + "\r\n", "ignored\n" + utf8}) {
        test::WriteText(network, text);
        manager.Set(path, true);
        EXPECT_EQ(manager.gridPts, JoinPath(other, L"Grid.pts")) << text;
        EXPECT_EQ(manager.indexHash, JoinPath(other, L"index_hash"));
        EXPECT_EQ(manager.scanposFolder, JoinPath(other, L"scanpos"));
    }
    EXPECT_EQ(manager.indexFolder, JoinPath(manager.projectFilesFolder, L"Index"));
    test::WriteText(network, "");
    manager.Set(path, true);
    EXPECT_EQ(manager.gridPts, JoinPath(manager.indexFolder, L"Grid.pts"));
}

TEST_F(ProjectManagerTest, OpensACompleteProjectAndReadsItsPoints) {
    WriteProject();
    ASSERT_TRUE(manager.Open(path)) << platform::ToUtf8(manager.errorText);
    EXPECT_EQ(manager.cloudHeader.pointCount, project.points.size());
    EXPECT_EQ(manager.pointFileSize, project.points.size() * kAlivePointBytes);
    EXPECT_EQ(manager.fineLevel, 1);
    EXPECT_EQ(manager.coarseLevel, 0);
    CCloudPoint<float> point;
    for (const auto& expected : project.points) {
        ASSERT_TRUE(manager.aliveReader->ReadNextPoint());
        manager.aliveReader->ReadCurrentPoint(point);
        ASSERT_EQ(point.x, expected.x);
    }
    const std::unique_ptr<CAlivePointReader> further(manager.CreateAliveReader());
    ASSERT_TRUE(further->ReadNextPoint());
    ASSERT_TRUE(manager.Open(path));
    manager.Close();
    EXPECT_EQ(manager.pointFile, nullptr);
    EXPECT_EQ(manager.pointMapping, nullptr);
}

// BEHAVIOUR P9
TEST_F(ProjectManagerTest, OpensAnEmptyPointFileWithoutAMapping) {
    WriteProject();
    ASSERT_TRUE(manager.Set(path, false));
    test::WriteText(manager.gridPts, "");
    EXPECT_TRUE(manager.Open(path));
    EXPECT_EQ(manager.pointMapping, nullptr);
    EXPECT_EQ(manager.pointFileSize, 0u);
}

// BEHAVIOUR R15
TEST_F(ProjectManagerTest, CloseReleasesTheViewOfARunWithTheReaderStillThere) {
    WriteProject();
    ASSERT_TRUE(manager.Open(path));
    std::vector<CCloudPoint<float>> points;
    manager.aliveReader->ReadIndexPoints(0, 10, points);
    ASSERT_EQ(points.size(), 10u);
    manager.Close();
    EXPECT_NE(manager.aliveReader, nullptr);
    test::WriteText(manager.gridPts, "");
    std::error_code error;
    platform::RemoveFile(manager.gridPts, error);
    EXPECT_FALSE(error) << error.message();
}

// BEHAVIOUR P8
TEST_F(ProjectManagerTest, ACopyOfAnOpenManagerMayDieWithoutClosingTheOthersFiles) {
    WriteProject();
    ASSERT_TRUE(manager.Open(path));
    {
        ProjectManager copy = manager;
        EXPECT_EQ(copy.pointMapping, manager.pointMapping);
        EXPECT_EQ(copy.aliveReader, manager.aliveReader);
    }
    CCloudPoint<float> point;
    manager.aliveReader->ReadPoint(0, point);
    EXPECT_EQ(point.x, project.points[0].x);
    const ProjectManager survivor = manager;
    manager.Close();
    EXPECT_NE(survivor.pointMapping, nullptr);
}

TEST_F(ProjectManagerTest, EachMissingFileOfACompleteProjectFailsWithTheMissingText) {
    WriteProject();
    manager.Set(path, true);
    for (const CString& file : {manager.viewGridDtv, manager.viewGridLv, manager.viewEntriesDtv,
                                manager.projectFile, manager.headFile, manager.gridSkeletDataPts,
                                manager.gridSkeletCoordPts, manager.gridIdx, manager.gridPts}) {
        WriteTinyProject(project, path);
        std::error_code error;
        platform::RemoveFile(file, error);
        manager.errorText.clear();
        EXPECT_FALSE(manager.Open(path)) << platform::ToUtf8(file);
        EXPECT_EQ(manager.errorText, Text(1370));
    }
}

// BEHAVIOUR P4
TEST_F(ProjectManagerTest, AReadOnlyPointFileFailsWithTheReadOnlyText) {
    WriteProject();
    ASSERT_TRUE(manager.Open(path));
    {
        const test::ReadOnlyFile readOnly(folder.Path(), manager.gridPts);
        EXPECT_FALSE(manager.Open(path));
    }
    EXPECT_EQ(manager.errorText, Text(1366));
    EXPECT_EQ(manager.pointFile, nullptr);
    EXPECT_TRUE(manager.Open(path));
    EXPECT_EQ(manager.errorText, Text(1366));
}

// BEHAVIOUR P5
TEST_F(ProjectManagerTest, DestroyLeavesDataImagesAndStations) {
    WriteProject();
    manager.Set(path, true);
    test::WriteText(JoinPath(manager.scanposFolder, L"station_0.pos"), "x");
    test::WriteText(JoinPath(manager.indexFolder, L"originaltransforms"), "x");
    test::WriteText(manager.indexHash, "x");
    test::WriteText(manager.zCls, "x");
    test::WriteText(manager.histFolder, "x");
    test::WriteText(manager.mergedLv, "x");
    manager.Destroy(path);
    EXPECT_EQ(
        Tree(folder.Path()),
        (Names{L"scan_Project_Files", L"scan_Project_Files/Data", L"scan_Project_Files/Images",
               L"scan_Project_Files/Images/Cad", L"scan_Project_Files/Images/SketchUp",
               L"scan_Project_Files/Index", L"scan_Project_Files/Index/scanpos",
               L"scan_Project_Files/Index/scanpos/station_0.pos"}));
}

// BEHAVIOUR P7
TEST_F(ProjectManagerTest, DestroyOfAnIncompleteProjectDeletesNothing) {
    manager.Create(path);
    manager.Destroy(path);
    EXPECT_TRUE(PathExists(path));
}

TEST_F(ProjectManagerTest, CanOverwriteDeletesTheSkeletonMarkThatItFinds) {
    manager.Create(path);
    EXPECT_TRUE(manager.CanOverwrite(manager.projectFilesFolder));
    test::WriteText(manager.gridSkeletPcg, "x");
    EXPECT_TRUE(manager.CanOverwrite(manager.projectFilesFolder));
    EXPECT_FALSE(PathExists(manager.gridSkeletPcg));
    std::error_code error;
    platform::MakeFolder(manager.gridSkeletPcg, error);
    EXPECT_FALSE(manager.CanOverwrite(manager.projectFilesFolder));
}

// BEHAVIOUR P10
TEST_F(ProjectManagerTest, AMissingHeadFileSetsEveryBitOfTheFirstWordAndKeepsTheStations) {
    manager.Create(path);
    CLOUD_HEADER header;
    header.scale = 0.5;
    header.reserved72 = 7;
    header.stationCount = 8;
    manager.GetCloudHeader(&header);
    EXPECT_TRUE(IsAbsent(header));
    EXPECT_EQ(header.scale, 0.5);
    EXPECT_EQ(header.reserved72, 0U);
    EXPECT_EQ(header.stationCount, 8U);
}

// BEHAVIOUR P10
TEST_F(ProjectManagerTest, AShortHeadFileLeavesTheFieldsThatItLacks) {
    manager.Create(path);
    CLOUD_HEADER written;
    written.pointCount = 3;
    written.scale = 0.01;
    written.stationCount = 4;
    manager.SetCloudHeader(&written);
    EXPECT_EQ(test::ReadBytes(manager.headFile).size(), 88U);
    test::WriteBytes(manager.headFile, &written, 24);
    CLOUD_HEADER header;
    header.bounds.max.z = 9;
    header.reserved72 = 7;
    header.stationCount = 8;
    manager.GetCloudHeader(&header);
    EXPECT_EQ(header.pointCount, 3U);
    EXPECT_EQ(header.scale, 0.01);
    EXPECT_EQ(header.bounds.max.z, 9);
    EXPECT_EQ(header.reserved72, 0U);
    EXPECT_EQ(header.stationCount, 0U);
}

// BEHAVIOUR P12
TEST_F(ProjectManagerTest, SettingsGoToTheProjectFileUnderTheManagersVersion) {
    manager.Create(path);
    PROJECT_SETTINGS settings;
    settings.minCellPoints = 21;
    settings.hostField3 = 77;
    manager.SetProjectSettings(settings);
    EXPECT_EQ(manager.projectSettings.minCellPoints, 21);
    EXPECT_EQ(test::ReadBytes(path).size(), kProjectFileBytes);
    EXPECT_EQ(test::ReadBytes(path)[0], 13);
    PROJECT_SETTINGS read;
    ProjectManager second;
    second.Create(path);
    EXPECT_TRUE(second.GetProjectSettings(&read));
    EXPECT_EQ(read.minCellPoints, 21);

    manager.settingsVersion = 4;
    manager.SetProjectSettings(settings);
    EXPECT_EQ(test::ReadBytes(path).size(), kProjectFileBytes);
    manager.GetProjectSettings(&read);
    EXPECT_EQ(read.minCellPoints, 10);
    EXPECT_EQ(read.hostField3, 77U);
}

TEST_F(ProjectManagerTest, SortsScalesIntoThreeCodes) {
    EXPECT_EQ(manager.LASScale(1.0), 3);
    EXPECT_EQ(manager.LASScale(1.0000001), 2);
    EXPECT_EQ(manager.LASScale(0.01), 5);
    EXPECT_EQ(manager.LASScale(std::numeric_limits<double>::quiet_NaN()), 5);
    WriteProject(1.0);
    ASSERT_TRUE(manager.Open(path));
    EXPECT_EQ(manager.fineLevel, 0);
}

}  // namespace
}  // namespace orvix
