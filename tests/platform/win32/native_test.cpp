// SPDX-License-Identifier: GPL-3.0-or-later
// What only this system has: the registry itself, paths past 260 characters, sharing, devices.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "orvix/platform/cache.h"
#include "orvix/platform/debug_flag.h"
#include "orvix/platform/error_channel.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/program.h"
#include "orvix/platform/system.h"
#include "support/scratch_folder.h"
#include "tests/support/process.h"
#include "tests/support/settings_sandbox.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

TEST(Windows, TakesEitherSeparatorWhateverTheLength) {
    const ScratchFolder folder;
    std::error_code error;
    CString deep = folder.Path();
    for (int level = 0; level < 6; ++level) {
        deep = JoinPath(deep, CString(60, L'x'));
        MakeFolder(deep, error);
        const CString path = JoinPath(deep, L"scan.pts");
        File::Create(path, error);
        ASSERT_FALSE(error) << error.message();
        CString slashes = path;
        for (wchar_t& c : slashes) c = c == L'\\' ? L'/' : c;
        EXPECT_TRUE(IsSameFile(path, slashes)) << path.size();
        EXPECT_EQ(FileNameOf(slashes), L"scan.pts");
    }
}

TEST(Windows, RefusesDevicesAndPipes) {
    EXPECT_EQ(OpenExisting(L"NUL", FileAccess::Read), kInvalidHandle);
    const HANDLE pipe = CreateNamedPipeW(L"\\\\.\\pipe\\orvix-test", PIPE_ACCESS_DUPLEX,
                                         PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_EQ(OpenExisting(L"\\\\.\\pipe\\orvix-test", FileAccess::Read), kInvalidHandle);
    CloseHandle(pipe);
}

TEST(Windows, HandsOutHandlesOfTheSystem) {
    const ScratchFolder folder;
    test::WriteText(folder / L"a", "abc");
    const Handle file = OpenExisting(folder / L"a", FileAccess::Read);
    ASSERT_TRUE(IsValid(file));
    LARGE_INTEGER size{};
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, 3);
    const Handle mapping = CreateMapping(file, FileAccess::Read);
    void* const view = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    EXPECT_NE(view, nullptr);
    UnmapFileView(view);
    CloseMapping(mapping);
    CloseHandleOf(file);
}

TEST(Windows, RemovesReadOnlyFilesWithTheirTree) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"tree", error);
    const CString file = JoinPath(folder / L"tree", L"file");
    test::WriteText(file, "x");
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

// BEHAVIOUR U10
TEST(Windows, KeepsSettingsUnderAnyOpenKeyAndReadsThemFromAnyHive) {
    const test::SettingsSandbox sandbox;
    HKEY root = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"SOFTWARE\\Host", &root), ERROR_SUCCESS);
    Cache::WriteRegistry(root, L"Below", L"v", 5);
    RegCloseKey(root);
    EXPECT_EQ(Cache::ReadRegistry(HKEY_CURRENT_USER, L"SOFTWARE\\Host\\Below", L"v", 0), 5);
    EXPECT_FALSE(ListSettings(HKEY_USERS, L".Default").empty());
    EXPECT_EQ(Cache::ReadRegistry(HKEY_CLASSES_ROOT, L"SOFTWARE\\Host\\Below", L"v"), L"");
}

TEST(Windows, IgnoresARefusedWriteAndReadsTheDefault) {
    // Nobody may make keys directly under this one.
    const CString refused = CString(300, L'x');
    EXPECT_FALSE(CreateSettingKey(kCurrentUser, refused));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, refused.c_str(), L"v", 7), 7);
}

/// While it lives, the machine's hive takes no keys, as it takes none of a plain user: below a key
/// that lasts only until the system ends, nothing that lasts may be made.
class RefusingMachineHive {
public:
    RefusingMachineHive() {
        HKEY key = nullptr;
        RegCreateKeyExW(HKEY_CURRENT_USER, L"refusing", 0, nullptr, REG_OPTION_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, &key, nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, key);
        RegCloseKey(key);
    }
    ~RefusingMachineHive() { RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }
    RefusingMachineHive(const RefusingMachineHive&) = delete;
    RefusingMachineHive& operator=(const RefusingMachineHive&) = delete;
};

TEST(Windows, IgnoresThatTheMachinesLocaleMayNotBeWritten) {
    const test::SettingsSandbox sandbox;
    const RefusingMachineHive hive;
    const wchar_t* const key = L"SOFTWARE\\Orvix\\Orvix for AutoCAD\\";
    EXPECT_FALSE(CreateSettingKey(kLocalMachine, key));
    EXPECT_EQ(Cache::ReadRegistry(kLocalMachine, key, L"locale", 0x409), 0x409);
    EXPECT_FALSE(QuerySetting(kLocalMachine, key, L"locale"));
}

// BEHAVIOUR O10
TEST(Windows, LoadsNoLibraryFromTheCurrentFolder) {
    const ScratchFolder folder;
    const CString program = FromUtf8(ProgramArguments(0, nullptr)[0]);
    const CString texts = JoinPath(ParentOf(program), L"Orvix.Localization.dll");
    ASSERT_TRUE(CopyFileW(texts.c_str(), (folder / L"Orvix.Planted.dll").c_str(), TRUE));
    wchar_t before[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, before);
    SetCurrentDirectoryW(folder.Path().c_str());
    EXPECT_EQ(LoadSharedLibrary(L"Orvix.Planted"), nullptr);
    EXPECT_NE(LoadSharedLibrary(L"Orvix.Localization"), nullptr);
    SetCurrentDirectoryW(before);
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

/// The message box that this process shows, if any.
HWND MessageBoxOfThisProcess() {
    HWND found = nullptr;
    EnumWindows(
        [](HWND window, LPARAM into) -> BOOL {
            DWORD process = 0;
            wchar_t name[16] = {};
            GetWindowThreadProcessId(window, &process);
            GetClassNameW(window, name, 16);
            if (process != GetCurrentProcessId() || CString(name) != L"#32770") return TRUE;
            *reinterpret_cast<HWND*>(into) = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

CString TextOf(HWND window) {
    wchar_t text[256] = {};
    GetWindowTextW(window, text, 256);
    return text;
}

TEST(Windows, ShowsAMessageInABoxUntilItIsAnswered) {
    CString title, text;
    std::thread user([&] {
        HWND box = nullptr;
        for (int wait = 0; box == nullptr && wait < 1000; ++wait) {
            Sleep(10);
            box = MessageBoxOfThisProcess();
        }
        title = TextOf(box);
        constexpr int kText = 0xFFFF;  // what a message box calls its text
        text = TextOf(GetDlgItem(box, kText));
        PostMessageW(box, WM_COMMAND, IDOK, 0);
    });
    ShowMessage(L"ReadIndexPoints  ERROR");
    user.join();
    EXPECT_EQ(title, L"Orvix");
    EXPECT_EQ(text, L"ReadIndexPoints  ERROR");
    ShowMessage(nullptr);  // shows nothing, and waits for nobody
}

TEST(Windows, TakesItsArgumentsFromTheSystemAsUtf8) {
    const std::vector<std::string> words = ProgramArguments(0, nullptr);
    ASSERT_FALSE(words.empty());
    EXPECT_NE(words[0].find("platform_services"), std::string::npos);
}

}  // namespace
}  // namespace orvix::platform
