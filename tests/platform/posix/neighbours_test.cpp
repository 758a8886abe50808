// SPDX-License-Identifier: GPL-3.0-or-later
// What other programs do to files of ours: links planted under our names, files cut short while they
// are mapped, locks of programs that were killed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

#include "orvix/platform/lost_pages.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/unfinished_file.h"
#include "support/scratch_folder.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;
using testing::HasSubstr;

std::string Text(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

void PlantLink(const CString& target, const CString& link) {
    ASSERT_EQ(symlink(ToUtf8(target).c_str(), ToUtf8(link).c_str()), 0);
}

// BEHAVIOUR O11
TEST(PlantedLinks, AreNotWrittenThrough) {
    const ScratchFolder folder;
    test::WriteText(folder / L"victim", "mine");
    std::error_code error;
    for (const wchar_t* target : {L"victim", L"nothing there"}) {
        PlantLink(folder / target, folder / L"result.part");
        UnfinishedFile file(folder / L"result", L".part", error);
        ASSERT_FALSE(error);
        file.Append("new", 3, error);
        file.Publish(error);
        EXPECT_EQ(Text(folder / L"result"), "new");
        EXPECT_FALSE(IsLink(folder / L"result"));
        PlantLink(folder / target, folder / L"lock");
        EXPECT_FALSE(PathLock::TryAcquire(folder / L"lock", error));
        EXPECT_TRUE(error);
        File::CreateNew(folder / L"lock", error);
        EXPECT_EQ(error, std::errc::file_exists);
        RemoveFile(folder / L"lock", error);
    }
    EXPECT_EQ(Text(folder / L"victim"), "mine");
    EXPECT_FALSE(PathExists(folder / L"nothing there"));
}

// BEHAVIOUR O8
TEST(PathLocks, NameTheProcessThatHoldsThem) {
    const ScratchFolder folder;
    const CString path = folder / L"lock";
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        std::error_code error;
        const PathLock lock = PathLock::TryAcquire(path, error);
        const char done = lock ? '1' : '0';
        static_cast<void>(!write(ready[1], &done, 1));
        for (;;) pause();
    }
    char done = 0;
    ASSERT_EQ(read(ready[0], &done, 1), 1);
    std::error_code error;
    EXPECT_FALSE(PathLock::TryAcquire(path, error));
    EXPECT_FALSE(error);
    EXPECT_EQ(PathLock::HolderOf(path), static_cast<std::uint64_t>(child));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const PathLock mine = PathLock::TryAcquire(path, error);
    EXPECT_TRUE(mine) << "the lock of a killed process is free";
    EXPECT_EQ(PathLock::HolderOf(path), static_cast<std::uint64_t>(getpid()));
    test::WriteText(folder / L"list", std::string(65, 'x'));
    EXPECT_FALSE(PathLock::TryAcquire(folder / L"list", error));
    EXPECT_EQ(Text(folder / L"list").size(), 65u) << "what is no lock file stays";
}

/// Runs `body` in a process of its own with standard error in a file; its wait status.
template <class Body>
int StatusOf(const CString& said, Body body) {
    const pid_t child = fork();
    if (child == 0) {
        const int file = open(ToUtf8(said).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(file, STDERR_FILENO);
        dup2(file, STDOUT_FILENO);
        body();
        std::_Exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

// BEHAVIOUR C15
TEST(LostPages, EndTheProgramWithTheFilesName) {
    const ScratchFolder folder;
    const CString path = folder / L"Grid \"1\".pts";
    test::WriteText(path, std::string(400'000, 'x'));
    const int status = StatusOf(folder / L"said", [&] {
        EndOnLostPages({"walk: ", " is gone\n", "{\"file\": \"", "\"}\n", 5});
        std::error_code error;
        UnfinishedFile half(folder / L"half", L".part", error);
        const MappedFile mapped = MappedFile::Open(path, error);
        if (truncate(ToUtf8(path).c_str(), 4096) != 0) std::_Exit(9);
        const volatile std::uint8_t* const bytes = mapped.Data();
        if (bytes[0] != 'x') std::_Exit(8);
        static_cast<void>(bytes[300'000]);
    });
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 5);
    EXPECT_THAT(Text(folder / L"said"), HasSubstr("walk: " + ToUtf8(path) + " is gone\n"));
    EXPECT_THAT(Text(folder / L"said"), HasSubstr("Grid \\\"1\\\".pts\"}\n"));
    EXPECT_FALSE(PathExists(folder / L"half.part")) << "what was half written is gone";
}

TEST(LostPages, LeaveFaultsThatAreAboutNoFileToTheSystem) {
    const ScratchFolder folder;
    const int status = StatusOf(folder / L"said", [] {
        std::signal(SIGBUS, SIG_DFL);
        EndOnLostPages({"walk: ", " is gone\n", "", "", 5});
        raise(SIGBUS);
        raise(SIGBUS);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(Text(folder / L"said"), "");
}

}  // namespace
}  // namespace orvix::platform
