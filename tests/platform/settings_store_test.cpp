// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/path.h"
#include "tests/support/settings_sandbox.h"

namespace orvix::platform {
namespace {

using test::SettingsSandbox;

std::vector<std::byte> Bytes(std::string_view text) {
    const auto* const first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

bool Store(const CString& key, const CString& name, std::string_view bytes) {
    return StoreSetting(kCurrentUser, key, name, kSettingBinary, Bytes(bytes));
}

TEST(SettingsStore, KeepsTypeAndBytesOfEachRootApart) {
    const SettingsSandbox sandbox;
    const std::vector<std::byte> bytes = Bytes(std::string_view("a\0\xFF", 3));
    ASSERT_TRUE(StoreSetting(kCurrentUser, L"A\\B", L"name", kSettingBinary, bytes));
    ASSERT_TRUE(StoreSetting(kCurrentUser, L"A\\B", L"", kSettingDword, {}));
    const auto stored = QuerySetting(kCurrentUser, L"A\\B", L"name");
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->type, kSettingBinary);
    EXPECT_EQ(stored->bytes, bytes);
    const auto unnamed = QuerySetting(kCurrentUser, L"A\\B", L"");
    ASSERT_TRUE(unnamed);
    EXPECT_EQ(unnamed->type, kSettingDword);
    EXPECT_TRUE(unnamed->bytes.empty());
    EXPECT_FALSE(QuerySetting(kLocalMachine, L"A\\B", L"name"));
    EXPECT_FALSE(QuerySetting(kCurrentUser, L"A", L"name"));
}

TEST(SettingsStore, ComparesKeysAndNamesWithoutCaseAndDropsEmptyParts) {
    const SettingsSandbox sandbox;
    ASSERT_TRUE(Store(L"SOFTWARE\\Orvix\\", L"Größe", "1"));
    ASSERT_TRUE(Store(L"software\\\\ORVIX", L"GRÖßE", "22"));
    const auto listed = ListSettings(kCurrentUser, L"");
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].key, L"SOFTWARE\\Orvix");
    EXPECT_EQ(listed[0].name, L"Größe");
    EXPECT_EQ(listed[0].value.bytes, Bytes("22"));
}

TEST(SettingsStore, ListsAKeyWithThoseBelowItAndNoOthers) {
    const SettingsSandbox sandbox;
    for (const wchar_t* key : {L"a\\b", L"A", L"a\\B\\c", L"a]", L"ab", L"a[", L"b"}) {
        ASSERT_TRUE(Store(key, L"y", ""));
        ASSERT_TRUE(Store(key, L"X", ""));
    }
    std::vector<CString> paths;
    for (const NamedSetting& setting : ListSettings(kCurrentUser, L"a\\")) {
        paths.push_back(setting.key + L":" + setting.name);
    }
    EXPECT_THAT(paths, ::testing::ElementsAre(L"A:X", L"A:y", L"a\\b:X", L"a\\b:y", L"a\\B\\c:X",
                                              L"a\\B\\c:y"));
}

TEST(SettingsStore, KnowsKeysThatHoldNoValue) {
    const SettingsSandbox sandbox;
    EXPECT_FALSE(SettingKeyExists(kCurrentUser, L"a"));
    ASSERT_TRUE(CreateSettingKey(kCurrentUser, L"a\\b"));
    EXPECT_TRUE(SettingKeyExists(kCurrentUser, L"A\\B"));
    EXPECT_TRUE(SettingKeyExists(kCurrentUser, L"a"));
    EXPECT_FALSE(SettingKeyExists(kCurrentUser, L"a\\b\\c"));
    EXPECT_TRUE(ListSettings(kCurrentUser, L"a").empty());
}

TEST(SettingsStore, RemovesAValueOnce) {
    const SettingsSandbox sandbox;
    EXPECT_FALSE(RemoveSetting(kCurrentUser, L"a", L"x"));
    ASSERT_TRUE(Store(L"a", L"x", "1"));
    EXPECT_TRUE(RemoveSetting(kCurrentUser, L"A", L"X"));
    EXPECT_FALSE(RemoveSetting(kCurrentUser, L"a", L"x"));
    EXPECT_TRUE(SettingKeyExists(kCurrentUser, L"a"));
}

// What the store says, it says once a process: each of these cases runs in a process of its own.

int messages = 0;
CString lastMessage;

void Count(const wchar_t* text) {
    ++messages;
    lastMessage = text;
}

/// Ends the process: 0 when the work was refused with `expected` messages, all about `word`.
[[noreturn]] void RunRefused(RegistryRoot root, int expected, const wchar_t* word) {
    SetErrorChannel(&Count);
    bool refused = true;
    for (int i = 0; i < 3; ++i) {
        refused = !QuerySetting(root, L"k", L"n") && !StoreSetting(root, L"k", L"n", 1, {}) &&
                  !RemoveSetting(root, L"k", L"n") && ListSettings(root, L"").empty() && refused;
    }
    const bool told = messages == 0 || lastMessage.find(word) != CString::npos;
    std::_Exit(refused && told && messages == expected ? 0 : 1);
}

TEST(SettingsStoreDeathTest, SaysOnceThatItIsDamagedAndLeavesTheFileAlone) {
    const SettingsSandbox sandbox;
    const std::string garbage(5000, 'x');
    test::WriteText(sandbox.UserFile(), garbage);
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"user.db"), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(test::ReadBytes(sandbox.UserFile()).size(), garbage.size());
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

TEST(SettingsStoreDeathTest, ReadsEveryTruncationAsStoredOrAsMissing) {
    const SettingsSandbox sandbox;
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

TEST(SettingsStoreDeathTest, ReadsSpoiltBytesWithoutACrash) {
    const SettingsSandbox sandbox;
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

TEST(SettingsStoreDeathTest, SaysOnceThatTheUsersStoreCannotBeWritten) {
    SettingsSandbox sandbox;
    test::WriteText(sandbox.UserFile(), "");
    sandbox.MoveTo(sandbox.UserFile());  // a file where a folder should be
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"cannot be saved"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(RunRefused(kLocalMachine, 0, L""), ::testing::ExitedWithCode(0), "");
}

TEST(SettingsStoreDeathTest, SaysOnceThatTheUsersStoreCannotBeRead) {
    const SettingsSandbox sandbox;
    std::error_code error;
    MakeFolder(sandbox.UserFile(), error);  // a folder where a file should be
    ASSERT_FALSE(error);
    EXPECT_EXIT(RunRefused(kCurrentUser, 1, L"cannot be read"), ::testing::ExitedWithCode(0), "");
}

TEST(SettingsStoreDeathTest, KeepsQuietWhileAskedToAndSpeaksAfterwards) {
    const SettingsSandbox sandbox;
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

}  // namespace
}  // namespace orvix::platform
