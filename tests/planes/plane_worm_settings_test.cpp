// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/plane_worm_settings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "orvix/platform/cache.h"
#include "orvix/platform/path.h"
#include "orvix/points/alive_point_reader.h"
#include "support/scratch_folder.h"
#include "tests/support/settings_sandbox.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

const CString kKey = L"SOFTWARE\\Orvix\\Shared\\Worm";

CString Stored(const wchar_t* name) {
    return Cache::ReadRegistry(kCurrentUser, kKey, name);
}

void Store(const wchar_t* name, const wchar_t* text) {
    Cache::WriteRegistry(kCurrentUser, kKey, name, CString(text));
}

std::string Text(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

struct PlaneWormSettingsTest : testing::Test {
    test::SettingsSandbox sandbox;
    test::ScratchFolder folder;
    const CString path = folder / L"scan.prj";

    void WriteProject(const PROJECT_SETTINGS& stored, double scale = 0.1) {
        test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(1), scale), path);
        ProjectManager manager;
        ASSERT_TRUE(manager.Set(path, false));
        manager.SetProjectSettings(stored);
    }
};

TEST_F(PlaneWormSettingsTest, StartFromBuiltInDefaultsWithTheSkeletonSetCurrent) {
    const PlaneWormSettings settings(false, true, ProjectManager(), 2.0);
    EXPECT_EQ(settings.GetAliveSplitSize(), 0.1);
    EXPECT_EQ(settings.GetSkeletSplitSize(), 0.4);
    EXPECT_EQ(settings.SplitSizeStored(), 0.4);
    EXPECT_EQ(settings.SplitSizeScaled(), 0.8);
    EXPECT_EQ(settings.diffA, 0.15);
    EXPECT_EQ(settings.minPlane, 0);
    EXPECT_EQ(settings.minCellPoints, 5);
    EXPECT_EQ(settings.usage, 1);
    EXPECT_FALSE(settings.project);
    EXPECT_EQ(Stored(L"SplitSize"), L"") << "the store is left alone";
}

TEST_F(PlaneWormSettingsTest, ReadOneFamilyOfNamesIntoBothSets) {
    Store(L"SplitSize", L"0.25");
    Store(L"DiffB", L"0.3");
    Store(L"MinPlane", L"7.9");
    Store(L"Vertical", L"1");
    Store(L"SplitSize_SKELET", L"0.75");
    const PlaneWormSettings alive(true, true, ProjectManager(), 1.0);
    EXPECT_EQ(alive.aliveSplitSize, 0.25);
    EXPECT_EQ(alive.skeletSplitSize, 0.25);
    EXPECT_EQ(alive.skeletDiffB, 0.3);
    EXPECT_EQ(alive.aliveDiffA, 0.15);
    EXPECT_EQ(alive.minPlane, 7) << "truncated toward zero";
    EXPECT_EQ(alive.vertical, 1);
    EXPECT_EQ(alive.splitSize, 0.25);
    EXPECT_EQ(Stored(L"DiffA"), L"0.150000") << "a missing value is written back";
    EXPECT_EQ(Stored(L"DiffA_SKELET"), L"");
    const PlaneWormSettings skelet(true, false, ProjectManager(), 1.0);
    EXPECT_EQ(skelet.aliveSplitSize, 0.75);
    EXPECT_EQ(skelet.diffB, 0.15);
}

// BEHAVIOUR W3
TEST_F(PlaneWormSettingsTest, SaveOneToleranceAndThePartsOfASplitSizeToTheStore) {
    PlaneWormSettings settings(true, true, ProjectManager(), 1.0);
    settings.Save(1, 2, 5, 0.2, 1, 0);
    EXPECT_EQ(Stored(L"SplitSize"), L"1.250000");
    for (const wchar_t* name : {L"DiffA", L"DiffB", L"DiffC"}) EXPECT_EQ(Stored(name), L"0.200000");
    EXPECT_EQ(Stored(L"Vertical"), L"1");
    EXPECT_EQ(Stored(L"AutoDetect"), L"0");
    EXPECT_EQ(Stored(L"MinPlane"), L"0.000000") << "written back by the read, never by a save";
    EXPECT_EQ(settings.splitSize, 0.1) << "the fields stay";
    PlaneWormSettings skelet(true, false, ProjectManager(), 1.0);
    skelet.Save(0.5, 0.4, 0, 1);
    EXPECT_EQ(Stored(L"SplitSize_SKELET"), L"0.500000");
    EXPECT_EQ(Stored(L"DiffC_SKELET"), L"0.400000");
    EXPECT_EQ(Stored(L"DiffC"), L"0.200000");
    EXPECT_EQ(Stored(L"AutoDetect"), L"1");
}

TEST_F(PlaneWormSettingsTest, LoadFromAProjectTheSetThatItsUsageSelects) {
    PROJECT_SETTINGS stored;
    stored.aliveSplitSize = 0.3;
    stored.aliveDiffC = 0.05;
    stored.aliveMinPlane = 9;
    stored.skeletSplitSize = 0.6;
    stored.usage = 0;
    stored.minCellPoints = 10;
    WriteProject(stored);
    PlaneWormSettings settings(path, 10.0);
    EXPECT_EQ(settings.splitSize, 0.3);
    EXPECT_EQ(settings.SplitSizeScaled(), 3.0);
    EXPECT_EQ(settings.diffC, 0.05);
    EXPECT_EQ(settings.minPlane, 9);
    EXPECT_EQ(settings.minCellPoints, 5) << "the project's value is not taken over";
    settings.usage = 2;
    settings.SetUsage();
    EXPECT_EQ(settings.splitSize, 0.6);
    EXPECT_EQ(settings.diffC, 0.15);
    EXPECT_EQ(settings.minPlane, 0);
}

// BEHAVIOUR W4
TEST_F(PlaneWormSettingsTest, RepairNegativeSplitSizesOfAProjectAndSaveThemBack) {
    PROJECT_SETTINGS stored;
    stored.baseStep = 0.25;
    stored.skeletSplitSize = 0.5;
    WriteProject(stored);
    EXPECT_EQ(PlaneWormSettings(path, 1.0).aliveSplitSize, 1.0);
    ProjectManager manager;
    ASSERT_TRUE(manager.Set(path, false));
    EXPECT_EQ(manager.projectSettings.aliveSplitSize, 1.0);
    EXPECT_EQ(manager.projectSettings.skeletSplitSize, 0.5);
}

// BEHAVIOUR W16
TEST_F(PlaneWormSettingsTest, NeverOverwriteAFileThatIsNoProject) {
    const auto load = [this] {
        const PlaneWormSettings settings(path, 1.0);
        EXPECT_EQ(settings.aliveSplitSize, 0.4);
        EXPECT_EQ(settings.skeletSplitSize, 0.4);
        return settings;
    };
    load();
    EXPECT_FALSE(platform::PathExists(path));
    test::WriteText(path, "");
    load();
    EXPECT_EQ(Text(path), "");
    test::WriteText(path, "notes of a site");
    PlaneWormSettings(path, 1.0).Save();
    EXPECT_EQ(Text(path), "notes of a site");
    std::string newer(kProjectFileBytes, '\0');
    newer[0] = kSettingsVersion + 1;
    test::WriteText(path, newer);
    PlaneWormSettings(path, 1.0).Save();
    EXPECT_EQ(Text(path), newer);
}

// BEHAVIOUR W16
TEST_F(PlaneWormSettingsTest, FillTheEmptyFileOfAProjectWhoseOtherFilesAreThere) {
    WriteProject({});
    test::WriteText(path, "");
    EXPECT_EQ(PlaneWormSettings(path, 1.0).aliveSplitSize, 0.4);
    EXPECT_EQ(Text(path).size(), kProjectFileBytes);
}

TEST_F(PlaneWormSettingsTest, SaveEveryFieldOfTheSearchToTheProjectAndNothingElse) {
    PROJECT_SETTINGS stored;
    stored.hostField3 = 42;
    WriteProject(stored);
    PlaneWormSettings settings(path, 1.0);
    settings.SetAliveSplitSize(0.7);
    settings.aliveMinPlane = -3;
    settings.skeletDiffB = 0.9;
    settings.usage = 1;
    settings.Save();
    ProjectManager manager;
    ASSERT_TRUE(manager.Set(path, false));
    EXPECT_EQ(manager.projectSettings.aliveSplitSize, 0.7);
    EXPECT_EQ(manager.projectSettings.aliveMinPlane, -3);
    EXPECT_EQ(manager.projectSettings.skeletDiffB, 0.9);
    EXPECT_EQ(manager.projectSettings.minCellPoints, 5);
    EXPECT_EQ(manager.projectSettings.usage, 1);
    EXPECT_EQ(manager.projectSettings.hostField3, 42u);
}

// BEHAVIOUR W1
TEST_F(PlaneWormSettingsTest, TruncateTheSkeletonGridToWholeCentimetres) {
    const auto steps = [](double scale) {
        ProjectManager project;
        project.cloudHeader.scale = scale;
        return PlaneWormSettings(false, true, project, 1.0);
    };
    EXPECT_EQ(steps(0.01).stepClass, 0);
    EXPECT_EQ(steps(0.0199).stepClass, 0) << "1.99 cm counts as 1";
    EXPECT_EQ(steps(0.1).stepClass, 1);
    EXPECT_EQ(steps(0.1).defaultStepA, 0.18);
    EXPECT_EQ(steps(0.0999).stepClass, 3) << "9.99 cm counts as 9";
    EXPECT_EQ(steps(1.0).defaultStepB, 0.8);
    EXPECT_EQ(steps(0.05).stepClass, 3);
    EXPECT_EQ(steps(0.05).defaultStepA, 10.0);
    EXPECT_EQ(steps(0.05).defaultStepB, 4.0);
    EXPECT_EQ(steps(std::numeric_limits<double>::quiet_NaN()).stepClass, 3);
}

// BEHAVIOUR W2
TEST_F(PlaneWormSettingsTest, OpenEveryToleranceWhateverTheArgument) {
    PlaneWormSettings settings(false, true, ProjectManager(), 2.0);
    settings.SetSkeletSplitSize(0.9);
    EXPECT_EQ(settings.splitSize, 0.4) << "a set's change waits for the next refresh";
    settings.SetDiff(0.3);
    for (const double diff : {settings.aliveDiffA, settings.skeletDiffB, settings.aliveDiffC,
                              settings.diffA, settings.diffB, settings.diffC}) {
        EXPECT_EQ(diff, 1.5);
    }
    EXPECT_EQ(settings.splitSizeScaled, 1.8);
    settings.ChangeSplitSize(0.2);
    EXPECT_EQ(settings.splitSizeScaled, 0.4);
    EXPECT_EQ(settings.skeletSplitSize, 0.9);
}

TEST_F(PlaneWormSettingsTest, ShareTheProjectWithTheirCopies) {
    WriteProject({});
    const PlaneWormSettings settings(path, 1.0);
    const PlaneWormSettings copy(settings);
    EXPECT_EQ(copy.project, settings.project);
    EXPECT_EQ(copy.aliveSplitSize, 0.4);
}

TEST_F(PlaneWormSettingsTest, LeaveAnOpenProjectOfTheCallerOpen) {
    WriteProject({});
    ProjectManager manager;
    ASSERT_TRUE(manager.Open(path));
    { const PlaneWormSettings settings(false, true, manager, 1.0); }
    const std::unique_ptr<CAlivePointReader> reader(manager.CreateAliveReader());
    CCloudPoint<float> first;
    reader->ReadPoint(0, first);
    EXPECT_LT(std::abs(first.x), 1000.0f);
}

}  // namespace
}  // namespace orvix
