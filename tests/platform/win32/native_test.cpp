// SPDX-License-Identifier: GPL-3.0-or-later
// What only this system has: the registry itself, paths past 260 characters, sharing, devices.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>

#include "orvix/platform/cache.h"
#include "orvix/platform/debug_flag.h"
#include "orvix/platform/file.h"
#include "orvix/platform/io_utility.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/program.h"
#include "tests/support/process.h"
#include "tests/support/read_only_file.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/settings_sandbox.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

TEST(Windows, ServesPathsOfAnyLengthWithEitherSeparator) {
    const ScratchFolder folder;
    std::error_code error;
    CString deep = folder.Path();
    for (int level = 0; level < 8; ++level) {
        deep = JoinPath(deep, CString(60, L'x') + L" 測量");
        MakeFolder(deep, error);
        ASSERT_FALSE(error) << level << error.message();
    }
    const CString path = JoinPath(deep, L"scan.pts");
    File::Create(path, error).Append("abc", 3, error);
    ASSERT_FALSE(error) << error.message();
    CString slashes = path;
    for (wchar_t& c : slashes) c = c == L'\\' ? L'/' : c;
    EXPECT_TRUE(IsSameFile(path, slashes));
    EXPECT_EQ(FileNameOf(slashes), L"scan.pts");
    EXPECT_TRUE(IOUtility::FileIsWritable(path));
    EXPECT_EQ(MappedFile::Open(path, error).Size(), 3u);
    EXPECT_EQ(ListFolder(deep, error), std::vector<CString>{L"scan.pts"});
    Rename(path, path + L"2", error);
    EXPECT_FALSE(error);
    RemoveTree(folder.Path() + L"\\" + CString(60, L'x') + L" 測量", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_TRUE(ListFolder(folder.Path(), error).empty());
}

TEST(Windows, RefusesDevicesAndPipes) {
    EXPECT_EQ(OpenExisting(L"NUL", FileAccess::Read), kInvalidHandle);
    const HANDLE pipe = CreateNamedPipeW(L"\\\\.\\pipe\\orvix-test", PIPE_ACCESS_DUPLEX,
                                         PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenExisting(L"\\\\.\\pipe\\orvix-test", FileAccess::Read), kInvalidHandle);
    CloseHandle(pipe);
}

TEST(Windows, SharesFilesWithAnotherWriterAndHandsOutRealHandles) {
    const ScratchFolder folder;
    std::error_code error;
    File writer = File::Create(folder / L"a", error);
    const Handle reader = OpenExisting(folder / L"a", FileAccess::Read);
    ASSERT_TRUE(IsValid(reader));
    writer.Append("abc", 3, error);
    LARGE_INTEGER size{};
    EXPECT_TRUE(GetFileSizeEx(reader, &size));
    EXPECT_EQ(size.QuadPart, 3);
    const Handle mapping = CreateMapping(reader, FileAccess::Read);
    void* const view = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    EXPECT_NE(view, nullptr);
    UnmapFileView(view);
    CloseMapping(mapping);
    CloseHandleOf(reader);
}

TEST(Windows, FindsAReadOnlyFileNotWritableAndRemovesItWithItsTree) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"tree", error);
    const CString file = JoinPath(folder / L"tree", L"file");
    test::WriteText(file, "x");
    {
        const test::ReadOnlyFile readOnly(folder.Path(), file);
        EXPECT_FALSE(IOUtility::FileIsWritable(file));
        EXPECT_TRUE(IsValid(File::OpenRead(file, error).Get()));
    }
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    RemoveTree(folder / L"tree", error);
    EXPECT_FALSE(error) << error.message();
}

TEST(Windows, KeepsSettingsInTheRegistryAsTextWithItsTerminatingZero) {
    const test::SettingsSandbox sandbox;
    const CString key = L"SOFTWARE\\Orvix\\Shared\\Worm";
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, key, L"SplitSize", 0.1), 0.1);
    HKEY opened = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened), ERROR_SUCCESS);
    wchar_t text[16] = {};
    DWORD type = 0;
    DWORD bytes = sizeof text;
    EXPECT_EQ(RegQueryValueExW(opened, L"SplitSize", nullptr, &type, reinterpret_cast<BYTE*>(text),
                               &bytes),
              ERROR_SUCCESS);
    RegCloseKey(opened);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(bytes, 18u);
    EXPECT_EQ(CString(text), L"0.100000");
}

TEST(Windows, IgnoresARefusedWriteAndReadsTheDefault) {
    // Nobody may make keys directly under this one.
    const CString refused = CString(300, L'x');
    EXPECT_FALSE(CreateSettingKey(kCurrentUser, refused));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, refused.c_str(), L"v", 7), 7);
}

// A process that a death test starts anew loads the library with the settings that stand here: the
// user's real ones, which are put back.
TEST(WindowsDeathTest, ReadsTwoValuesWhileTheLibraryIsLoaded) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const wchar_t* const key = L"SOFTWARE\\Orvix\\Shared\\Cache";
    const wchar_t* const localeKey = L"SOFTWARE\\Orvix\\Orvix for AutoCAD\\";
    const CString before = Cache::ReadRegistry(kCurrentUser, key, L"Debug");
    RemoveSetting(kCurrentUser, key, L"Debug");
    test::RunProcess({ProgramArguments(0, nullptr)[0], "--gtest_list_tests"});
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, key, L"Debug"), L"0");
    EXPECT_EQ(Cache::ReadRegistry(kLocalMachine, localeKey, L"locale"), L"1033");
    Cache::WriteRegistry(kCurrentUser, key, L"Debug", 7);
    EXPECT_EXIT(std::_Exit(detail::debugFlag), ::testing::ExitedWithCode(7), "");
    Cache::WriteRegistry(kCurrentUser, key, L"Debug", before);
}

TEST(Windows, TakesItsArgumentsFromTheSystemAsUtf8) {
    const std::vector<std::string> words = ProgramArguments(0, nullptr);
    ASSERT_FALSE(words.empty());
    EXPECT_NE(words[0].find("platform_services"), std::string::npos);
}

}  // namespace
}  // namespace orvix::platform
