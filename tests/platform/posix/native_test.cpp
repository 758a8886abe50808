// SPDX-License-Identifier: GPL-3.0-or-later
// What only these systems have: names that are no text, pipes, links, permissions, forks.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "orvix/platform/cache.h"
#include "orvix/platform/error_channel.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/posix/sqlite.h"
#include "tests/support/posix/settings_files.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

TEST(Posix, OpensEveryNameThatAFolderListsTextOrNot) {
    const ScratchFolder folder;
    const std::string name = "scan\xFF\xC3.las";
    close(open((ToUtf8(folder.Path()) + "/" + name).c_str(), O_CREAT | O_WRONLY, 0666));
    std::error_code error;
    const auto names = ListFolder(folder.Path(), error);
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(ToUtf8(names[0]), name);
    EXPECT_TRUE(File::OpenRead(folder / names[0], error).IsOpen());
}

TEST(Posix, RefusesPipesAndDevicesWithoutWaiting) {
    const ScratchFolder folder;
    ASSERT_EQ(mkfifo(ToUtf8(folder / L"pipe").c_str(), 0666), 0);
    std::error_code error;
    EXPECT_FALSE(File::OpenRead(folder / L"pipe", error).IsOpen());
    EXPECT_EQ(error, std::errc::invalid_seek);
    EXPECT_EQ(OpenExisting(L"/dev/null", FileAccess::Read), kInvalidHandle);
}

TEST(Posix, RemovesLinksInATreeAndNotWhatTheyPointTo) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"kept", error);
    test::WriteText(JoinPath(folder / L"kept", L"file"), "x");
    MakeFolder(folder / L"tree", error);
    ASSERT_EQ(symlink("../kept", (ToUtf8(folder / L"tree") + "/link").c_str()), 0);
    RemoveTree(folder / L"tree", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_FALSE(PathExists(folder / L"tree"));
    EXPECT_TRUE(PathExists(JoinPath(folder / L"kept", L"file")));
}

/// Runs `body` in a process of its own as a user without special rights; its result, or -1.
template <class Body>
int AsPlainUser(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setegid(kNobody) != 0 || seteuid(kNobody) != 0)) std::_Exit(98);
        std::_Exit(body());
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Posix, ReadsAStoreThatItMayNotWrite) {
    const test::SettingsFiles sandbox;
    Cache::WriteRegistry(kCurrentUser, L"k", L"v", 5);
    ASSERT_EQ(chmod(ToUtf8(sandbox.UserFile()).c_str(), 0444), 0);
    ASSERT_EQ(chmod(ToUtf8(sandbox.Path()).c_str(), 0555), 0);
    const int result = AsPlainUser([] {
        const int stored = Cache::ReadRegistry(kCurrentUser, L"k", L"v", 0);
        const QuietSettings quiet;
        return stored * 10 + Cache::ReadRegistry(kCurrentUser, L"k", L"other", 7);
    });
    EXPECT_EQ(result, 57);
    chmod(ToUtf8(sandbox.Path()).c_str(), 0755);
    EXPECT_FALSE(QuerySetting(kCurrentUser, L"k", L"other"));
}

std::string changedFile;

[[noreturn]] void ExitWithTheResultOfAChange(const wchar_t*) {
    detail::Database database(changedFile, SQLITE_OPEN_READWRITE);
    std::_Exit(database.Execute("BEGIN IMMEDIATE"));
}

TEST(PosixDeathTest, LetsGoOfTheStoreBeforeItTellsTheUserOfTrouble) {
    const test::SettingsFiles sandbox;
    Cache::WriteRegistry(kCurrentUser, L"k", L"v", 5);
    changedFile = ToUtf8(sandbox.UserFile());
    const auto whole = test::ReadBytes(sandbox.UserFile());
    test::WriteBytes(sandbox.UserFile(), whole.data(), whole.size() - 100);
    EXPECT_EXIT(
        {
            SetErrorChannel(&ExitWithTheResultOfAChange);
            Cache::WriteRegistry(kCurrentUser, L"k", L"v", 6);
        },
        ::testing::ExitedWithCode(SQLITE_OK), "");
}

TEST(Posix, LosesNoSettingOfProcessesThatWriteAtOnce) {
    const test::SettingsFiles sandbox;
    constexpr int kProcesses = 6;
    constexpr int kValues = 12;
    pid_t children[kProcesses];
    for (int p = 0; p < kProcesses; ++p) {
        children[p] = fork();
        if (children[p] != 0) continue;
        bool stored = true;
        for (int v = 0; v < kValues; ++v) {
            const CString key = L"k\\" + std::to_wstring(p);
            const std::byte bytes[] = {std::byte(p), std::byte(v)};
            stored = StoreSetting(kCurrentUser, key, std::to_wstring(v), 3, bytes) && stored;
            stored = QuerySetting(kCurrentUser, key, std::to_wstring(v)).has_value() && stored;
            StoreSetting(kCurrentUser, L"k", L"shared", 3, bytes);
        }
        std::_Exit(stored ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ListSettings(kCurrentUser, L"k").size(), std::size_t{kProcesses * kValues + 1});
}

// BEHAVIOUR O8
TEST(Posix, TakesOverTheLockOfAKilledProcess) {
    const ScratchFolder folder;
    std::error_code error;
    const pid_t child = fork();
    if (child == 0) {
        const PathLock lock = PathLock::TryAcquire(folder / L"lock", error);
        std::_Exit(lock ? 0 : 1);  // dies without releasing it
    }
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(PathExists(folder / L"lock"));
    EXPECT_TRUE(PathLock::TryAcquire(folder / L"lock", error));
}

}  // namespace
}  // namespace orvix::platform
