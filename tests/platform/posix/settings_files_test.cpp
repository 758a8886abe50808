// SPDX-License-Identifier: GPL-3.0-or-later
// What only settings kept in files can meet: damage, and places that cannot be written to.
#include "tests/support/posix/settings_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <random>
#include <string>
#include <unistd.h>

#include "orvix/platform/cache.h"
#include "orvix/platform/debug_flag.h"
#include "orvix/platform/error_channel.h"
#include "orvix/platform/path.h"
#include "orvix/platform/settings_store.h"

namespace orvix::platform {
namespace {

using test::SettingsFiles;

const CString kKey = L"SOFTWARE\\Orvix\\Shared\\Worm";

std::vector<std::byte> Bytes(std::string_view text) {
    const auto* const first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

bool Store(const CString& key, const CString& name, std::string_view bytes) {
    return StoreSetting(kCurrentUser, key, name, kSettingBinary, Bytes(bytes));
}

// What the store says, it says once a process: each of these cases runs in a process of its own.

int messages = 0;
CString lastMessage;

void Count(const wchar_t* text) {
    ++messages;
    lastMessage = text;
}

/// Ends the process: 0 when the work was refused with `expected` messages, all about `word`.
[[noreturn]] void RunRefused(HKEY root, int expected, const wchar_t* word) {
    SetErrorChannel(&Count);
    bool refused = true;
    for (int i = 0; i < 3; ++i) {
        refused = !QuerySetting(root, L"k", L"n") && !StoreSetting(root, L"k", L"n", 1, {}) &&
                  !RemoveSetting(root, L"k", L"n") && ListSettings(root, L"").empty() && refused;
    }
    const bool named = messages == 0 || lastMessage.find(word) != CString::npos;
    std::_Exit(refused && named && messages == expected ? 0 : 1);
}

// BEHAVIOUR U5
TEST(SettingsFilesDeathTest, SaysOnceThatItIsDamagedAndLeavesTheFileAlone) {
    const SettingsFiles sandbox;
    const std::string garbage(5000, 'x');
    test::WriteText(sandbox.UserFile(), garbage);
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"user.db"), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(test::ReadBytes(sandbox.UserFile()).size(), garbage.size());
}

// A view runs when it is read, and this one has no end.
TEST(SettingsFilesDeathTest, RunsNoStatementThatAFileBringsAlong) {
    const SettingsFiles sandbox;
    sqlite3* planted = nullptr;
    ASSERT_EQ(sqlite3_open(ToUtf8(sandbox.UserFile()).c_str(), &planted), SQLITE_OK);
    const char* const statements =
        "CREATE TABLE setting_keys(folded TEXT PRIMARY KEY, path TEXT NOT NULL) WITHOUT ROWID;"
        "CREATE VIEW setting_values AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM"
        " n) SELECT 'K' AS key, i AS folded, 'n' AS name, 1 AS type, x'00' AS bytes FROM n;"
        "PRAGMA user_version=1;";
    EXPECT_EQ(sqlite3_exec(planted, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_close(planted), SQLITE_OK);
    EXPECT_EXIT(
        {
            alarm(20);
            RunRefused(kCurrentUser, 1, L"user.db");
        },
        ::testing::ExitedWithCode(0), "");
}

constexpr int kValues = 60;

CString KeyOf(int value) {
    return L"k" + std::to_wstring(value);
}

/// Ends the process: 0 when every value reads as it was stored or as missing, with one message
/// at most.
[[noreturn]] void ReadDamaged() {
    SetErrorChannel(&Count);
    bool sound = true;
    for (int i = 0; i < kValues; ++i) {
        const auto stored = QuerySetting(kCurrentUser, KeyOf(i), L"n");
        sound = sound && (!stored || stored->bytes == Bytes("value" + std::to_string(i)));
    }
    std::_Exit(sound && messages <= 1 ? 0 : 1);
}

TEST(SettingsFilesDeathTest, ReadsEveryTruncationAsStoredOrAsMissing) {
    const SettingsFiles sandbox;
    for (int i = 0; i < kValues; ++i) {
        ASSERT_TRUE(Store(KeyOf(i), L"n", "value" + std::to_string(i)));
    }
    const auto whole = test::ReadBytes(sandbox.UserFile());
    ASSERT_GT(whole.size(), 8192u);
    for (std::size_t bytes = 0; bytes < whole.size(); bytes += 1023) {
        test::WriteBytes(sandbox.UserFile(), whole.data(), bytes);
        EXPECT_EXIT(ReadDamaged(), ::testing::ExitedWithCode(0), "") << bytes;
    }
    test::WriteText(sandbox.UserFile(), "");
    EXPECT_TRUE(Store(L"k", L"n", "an empty file is a fresh store"));
}

TEST(SettingsFilesDeathTest, ReadsSpoiltBytesWithoutACrash) {
    const SettingsFiles sandbox;
    for (int i = 0; i < kValues; ++i) {
        ASSERT_TRUE(Store(KeyOf(i), L"n", "value" + std::to_string(i)));
    }
    const auto whole = test::ReadBytes(sandbox.UserFile());
    const unsigned seed = 4711;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 40; ++round) {
        auto spoilt = whole;
        for (int i = 0; i < 20; ++i) {
            spoilt[random() % spoilt.size()] = static_cast<std::uint8_t>(random());
        }
        test::WriteBytes(sandbox.UserFile(), spoilt.data(), spoilt.size());
        EXPECT_EXIT(
            {
                SetErrorChannel(&Count);
                for (int i = 0; i < kValues; ++i) QuerySetting(kCurrentUser, KeyOf(i), L"n");
                ListSettings(kCurrentUser, L"");
                StoreSetting(kCurrentUser, L"new", L"n", 1, {});
                std::_Exit(messages <= 1 ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
    }
}

// BEHAVIOUR U7
TEST(SettingsFilesDeathTest, SaysOnceThatTheUsersStoreCannotBeWritten) {
    SettingsFiles sandbox;
    test::WriteText(sandbox.UserFile(), "");
    sandbox.MoveTo(sandbox.UserFile());  // a file where a folder should be
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"cannot be saved"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(RunRefused(kLocalMachine, 0, L""), ::testing::ExitedWithCode(0), "");
}

TEST(SettingsFilesDeathTest, SaysOnceThatTheUsersStoreCannotBeRead) {
    const SettingsFiles sandbox;
    std::error_code error;
    MakeFolder(sandbox.UserFile(), error);  // a folder where a file should be
    ASSERT_FALSE(error);
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"cannot be read"), ::testing::ExitedWithCode(0), "");
}

TEST(SettingsFilesDeathTest, KeepsQuietWhileAskedToAndSpeaksAfterwards) {
    const SettingsFiles sandbox;
    test::WriteText(sandbox.UserFile(), std::string(5000, 'x'));
    EXPECT_EXIT(
        {
            {
                const QuietSettings quiet;
                StoreSetting(kCurrentUser, L"k", L"n", 1, {});
            }
            RunRefused(kCurrentUser, 1, L"user.db");
        },
        ::testing::ExitedWithCode(0), ::testing::Eq(std::string()));
}

// A process that a death test starts anew loads the library with the settings that stand here.
TEST(CacheDeathTest, ReadsTheDebugFlagWhileTheLibraryIsLoaded) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const wchar_t* const key = L"SOFTWARE\\Orvix\\Shared\\Cache";
    const SettingsFiles sandbox;
    EXPECT_EXIT(std::_Exit(detail::debugFlag), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, key, L"Debug"), L"0");
    EXPECT_EQ(Cache::ReadRegistry(kLocalMachine, L"SOFTWARE\\Orvix\\Orvix for AutoCAD", L"locale"),
              L"1033");
    Cache::WriteRegistry(kCurrentUser, key, L"Debug", 7);
    EXPECT_EXIT(std::_Exit(detail::debugFlag), ::testing::ExitedWithCode(7), "");
}

// BEHAVIOUR U6
TEST(CacheDeathTest, SaysNothingWhileTheLibraryIsLoadedAndFallsBackToDefaults) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const SettingsFiles sandbox;
    test::WriteText(sandbox.UserFile(), std::string(5000, 'x'));
    test::WriteText(sandbox.Path() + L"/machine.db", std::string(5000, 'x'));
    EXPECT_EXIT(
        {
            test::WriteText(sandbox.UserFile(), std::string(5000, 'x'));
            SetErrorChannel([](const wchar_t*) { ++messages; });
            const bool defaults = Cache::ReadRegistry(kCurrentUser, kKey, L"v", 0.5) == 0.5 &&
                                  Cache::ReadRegistry(kCurrentUser, kKey, L"v", 0.25) == 0.25;
            std::_Exit(defaults ? messages : 99);
        },
        ::testing::ExitedWithCode(1), ::testing::Eq(std::string()));
}

}  // namespace
}  // namespace orvix::platform
