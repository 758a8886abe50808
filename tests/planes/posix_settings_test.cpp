// SPDX-License-Identifier: GPL-3.0-or-later
// A project's settings record under many programs at once, on a full disk, and behind a link.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <unistd.h>

#include "orvix/planes/plane_worm_settings.h"
#include "orvix/platform/path.h"
#include "orvix/project/access/settings_update.h"
#include "support/scratch_folder.h"
#include "tests/support/process.h"
#include "tests/support/tiny_project.h"

namespace orvix::detail {
namespace {

class SettingsOfMany : public testing::Test {
protected:
    SettingsOfMany() {
        test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(3)), project_);
    }

    /// Runs `body` in `count` processes at once; how many ended well.
    template <class Body>
    static int InProcesses(int count, Body body) {
        for (int p = 0; p < count; ++p) {
            if (fork() != 0) continue;
            std::_Exit(body(p) ? 0 : 1);
        }
        int well = 0;
        for (int p = 0; p < count; ++p) {
            int status = 1;
            wait(&status);
            well += status == 0 ? 1 : 0;
        }
        return well;
    }

    test::ScratchFolder folder_;
    CString project_ = folder_ / L"p.prj";
};

// BEHAVIOUR P16, P18
TEST_F(SettingsOfMany, LoseNoChangeOfTenProcesses) {
    constexpr int kProcesses = 10;
    constexpr int kChanges = 10;
    ASSERT_TRUE(ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
        settings.hostField1 = 0;
        return true;
    }));
    const int well = InProcesses(kProcesses, [this](int) {
        bool done = true;
        for (int i = 0; i < kChanges; ++i)
            done = done && ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
                       ++settings.hostField1;
                       return true;
                   });
        return done;
    });
    EXPECT_EQ(well, kProcesses);
    PROJECT_SETTINGS read{};
    ASSERT_TRUE(ReadSettings(project_, read));
    EXPECT_EQ(read.hostField1, kProcesses * kChanges);
}

// BEHAVIOUR W17
TEST_F(SettingsOfMany, KeepTheirValuesWhenManyLoadThemForTheFirstTime) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
            settings.hostField1 = 4711;
            settings.baseStep = 0.3;
            settings.aliveSplitSize = settings.skeletSplitSize = -1;
            return true;
        }));
        InProcesses(6, [this](int) {
            const PlaneWormSettings loaded(project_, 1.0);
            return loaded.aliveSplitSize == 4 * 0.3;
        });
        PROJECT_SETTINGS read{};
        ASSERT_TRUE(ReadSettings(project_, read));
        EXPECT_EQ(read.hostField1, 4711);
        EXPECT_EQ(read.baseStep, 0.3);
        EXPECT_EQ(read.skeletSplitSize, 4 * 0.3);
    }
}

// BEHAVIOUR P18
TEST_F(SettingsOfMany, StayAsTheyWereOnAFullDisk) {
    const auto former = test::ReadBytes(project_);
    const int well = InProcesses(1, [this](int) {
        std::signal(SIGXFSZ, SIG_IGN);
        if (!test::LimitFileSize(100)) return false;
        const auto stored = ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
            settings.aliveSplitSize = 0.25;
            return true;
        });
        PlaneWormSettings settings(project_, 1.0);
        settings.SetAliveSplitSize(0.25);
        settings.Save();
        return !stored && stored.error().code == ErrorCode::NoSpace;
    });
    EXPECT_EQ(well, 1);
    EXPECT_EQ(test::ReadBytes(project_), former);
    EXPECT_EQ(folder_.Names().size(), 2u);
}

// BEHAVIOUR P18
TEST_F(SettingsOfMany, AreWrittenToWhatALinkLeadsToAndKeepTheirPermissions) {
    const auto change = [](PROJECT_SETTINGS& settings) {
        settings.aliveSplitSize = 0.25;
        return true;
    };
    chmod(platform::ToUtf8(project_).c_str(), 0640);
    ASSERT_TRUE(ChangeSettings(project_, change));
    struct stat status;
    ASSERT_EQ(stat(platform::ToUtf8(project_).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    const CString link = folder_ / L"link.prj";
    ASSERT_EQ(symlink("p.prj", platform::ToUtf8(link).c_str()), 0);
    ASSERT_TRUE(ChangeSettings(link, [](PROJECT_SETTINGS& settings) {
        settings.aliveSplitSize = 0.5;
        return true;
    }));
    EXPECT_TRUE(platform::IsLink(link));
    PROJECT_SETTINGS read{};
    ASSERT_TRUE(ReadSettings(project_, read));
    EXPECT_EQ(read.aliveSplitSize, 0.5);
}

}  // namespace
}  // namespace orvix::detail
