// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/settings_sandbox.h"

namespace orvix::platform {
namespace {

using test::SettingsSandbox;

/// The name of a key's unnamed value, and the path above all keys.
const CString kNone;

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
    ASSERT_TRUE(StoreSetting(kCurrentUser, L"A\\B", kNone, kSettingDword, {}));
    const auto stored = QuerySetting(kCurrentUser, L"A\\B", L"name");
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->type, kSettingBinary);
    EXPECT_EQ(stored->bytes, bytes);
    const auto unnamed = QuerySetting(kCurrentUser, L"A\\B", kNone);
    ASSERT_TRUE(unnamed);
    EXPECT_EQ(unnamed->type, kSettingDword);
    EXPECT_TRUE(unnamed->bytes.empty());
    EXPECT_FALSE(QuerySetting(kLocalMachine, L"A\\B", L"name"));
    EXPECT_FALSE(QuerySetting(kCurrentUser, L"A", L"name"));
}

// BEHAVIOUR U8
TEST(SettingsStore, ComparesKeysAndNamesWithoutCaseAndDropsEmptyParts) {
    const SettingsSandbox sandbox;
    ASSERT_TRUE(Store(L"SOFTWARE\\Orvix\\", L"Größe", "1"));
    ASSERT_TRUE(Store(L"software\\\\ORVIX", L"GRÖßE", "22"));
    const auto listed = ListSettings(kCurrentUser, kNone);
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
        paths.push_back(FoldCase(setting.key + L":" + setting.name));
    }
    EXPECT_THAT(paths, ::testing::ElementsAre(L"A:X", L"A:Y", L"A\\B:X", L"A\\B:Y", L"A\\B\\C:X",
                                              L"A\\B\\C:Y"));
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

// BEHAVIOUR U1
TEST(SettingsStore, StoresADefaultOnlyOverWhatWasSeen) {
    const SettingsSandbox sandbox;
    const auto over = [](const std::optional<StoredSetting>& seen, std::string_view bytes) {
        return StoreSettingOver(kCurrentUser, L"k", L"n", seen, kSettingBinary, Bytes(bytes));
    };
    const auto stored = [] { return QuerySetting(kCurrentUser, L"k", L"n")->bytes; };
    EXPECT_TRUE(over(std::nullopt, "default"));
    EXPECT_EQ(stored(), Bytes("default"));
    const auto seen = QuerySetting(kCurrentUser, L"k", L"n");
    Store(L"k", L"n", "another program's");
    EXPECT_TRUE(over(std::nullopt, "late"));
    EXPECT_TRUE(over(seen, "late"));
    EXPECT_EQ(stored(), Bytes("another program's"));
    EXPECT_TRUE(over(QuerySetting(kCurrentUser, L"k", L"n"), "next"));
    EXPECT_EQ(stored(), Bytes("next"));
}

}  // namespace
}  // namespace orvix::platform
