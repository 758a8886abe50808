// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/cache.h"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <gtest/gtest.h>

#include "tests/support/settings_sandbox.h"

namespace orvix {
namespace {

using platform::StoredSetting;

const CString kKey = L"SOFTWARE\\Orvix\\Shared\\Worm";

class CacheTest : public ::testing::Test {
protected:
    static std::vector<std::byte> Utf16(std::u16string_view text) {
        std::vector<std::byte> bytes;
        for (const char16_t unit : text) {
            bytes.push_back(static_cast<std::byte>(unit & 0xFF));
            bytes.push_back(static_cast<std::byte>(unit >> 8));
        }
        return bytes;
    }
    static void Store(std::uint32_t type, const std::vector<std::byte>& bytes) {
        ASSERT_TRUE(platform::StoreSetting(kCurrentUser, kKey, L"v", type, bytes));
    }
    static StoredSetting Stored(const CString& name = L"v") {
        return platform::QuerySetting(kCurrentUser, kKey, name).value_or(StoredSetting{});
    }

    const test::SettingsSandbox sandbox_;
};

TEST_F(CacheTest, WritesTextWithItsTerminatingZero) {
    Cache::WriteRegistry(kCurrentUser, kKey, L"v", CString(L"aé\U0001F600"));
    EXPECT_EQ(Stored().type, platform::kSettingText);
    EXPECT_EQ(Stored().bytes, Utf16({u"aé\U0001F600", 5}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v"), L"aé\U0001F600");
    Cache::WriteRegistry(kCurrentUser, kKey, L"v", -42);
    EXPECT_EQ(Stored().bytes, Utf16({u"-42", 4}));
}

// BEHAVIOUR U10
TEST_F(CacheTest, TakesTheRootAsAHostOfEverySystemWritesIt) {
    HKEY root = HKEY_CURRENT_USER;
    Cache::WriteRegistry(root, kKey, L"v", 3);
    EXPECT_EQ(Cache::ReadRegistry(HKEY_CURRENT_USER, kKey.c_str(), L"v", 0), 3);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v"), L"3");
    root = HKEY_LOCAL_MACHINE;
    EXPECT_EQ(Cache::ReadRegistry(root, kKey, L"v"), L"");
    Cache::WriteRegistry(kLocalMachine, kKey, L"v", 4);
    EXPECT_EQ(Cache::ReadRegistry(root, kKey, L"v"), L"4");
}

// BEHAVIOUR U1
TEST_F(CacheTest, WritesBackTheDefaultOfAMissingValue) {
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"text", CString(L"d")), L"d");
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey.c_str(), L"long", -3), -3);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"double", 0.1), 0.1);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"fine", 1.23456789), 1.23456789);
    EXPECT_EQ(Stored(L"text").bytes, Utf16({u"d", 2}));
    EXPECT_EQ(Stored(L"long").bytes, Utf16({u"-3", 3}));
    EXPECT_EQ(Stored(L"double").bytes, Utf16({u"0.100000", 9}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"fine", 0.0), 1.234568);
}

TEST_F(CacheTest, WritesNothingWithoutADefaultAndOnlyTheKeyForANullText) {
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v"), L"");
    EXPECT_FALSE(platform::SettingKeyExists(kCurrentUser, kKey));
    const wchar_t* const none = nullptr;
    Cache::WriteRegistry(kCurrentUser, kKey, L"v", none);
    EXPECT_TRUE(platform::SettingKeyExists(kCurrentUser, kKey));
    EXPECT_TRUE(platform::ListSettings(kCurrentUser, kKey).empty());
}

// BEHAVIOUR U3
TEST_F(CacheTest, AcceptsTextOfUpTo512BytesEndingInZero) {
    const std::u16string longest = std::u16string(255, u'7') + u'\0';
    Store(platform::kSettingText, Utf16(longest));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", CString(L"d")), CString(255, L'7'));
    Store(platform::kSettingExpandableText, Utf16({u"%HOME%", 7}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", CString(L"d")), L"%HOME%");
    Store(platform::kSettingText, Utf16({u"a\0b", 4}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", CString(L"d")), L"a");
    Store(platform::kSettingText, {});
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", CString(L"d")), L"");
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey.c_str(), L"v", 5), 0);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", 5.0), 0.0);
}

// BEHAVIOUR U3
TEST_F(CacheTest, CountsAnythingElseAsMissingAndOverwritesIt) {
    std::vector<std::byte> odd = Utf16({u"12", 3});
    odd.insert(odd.begin(), std::byte{1});
    const std::u16string tooLong = std::u16string(256, u'7') + u'\0';
    std::vector<std::byte> oneByteTooLong = Utf16(std::u16string(256, u'\0'));
    oneByteTooLong.push_back(std::byte{0});
    const std::pair<std::uint32_t, std::vector<std::byte>> unaccepted[] = {
        {platform::kSettingText, odd},
        {platform::kSettingText, Utf16(tooLong)},
        {platform::kSettingText, oneByteTooLong},
        {platform::kSettingText, Utf16(u"12")},
        {platform::kSettingDword, Utf16({u"1", 2})},
        {platform::kSettingBinary, {}},
    };
    for (const auto& [type, bytes] : unaccepted) {
        Store(type, bytes);
        EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v"), L"");
        EXPECT_EQ(Stored().bytes, bytes);
        EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey.c_str(), L"v", 9), 9);
        EXPECT_EQ(Stored().type, platform::kSettingText);
        EXPECT_EQ(Stored().bytes, Utf16({u"9", 2}));
    }
}

// BEHAVIOUR U4
TEST_F(CacheTest, ReadsTheNumberThatATextStartsWith) {
    Store(platform::kSettingText, Utf16({u"12abc", 6}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey.c_str(), L"v", 5), 12);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey, L"v", 5.0), 12.0);
    Store(platform::kSettingText, Utf16({u"abc", 4}));
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, kKey.c_str(), L"v", 5), 0);
}

TEST_F(CacheTest, TakesANullKeyOrNameAsAnEmptyOne) {
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, nullptr, nullptr, 5), 5);
    EXPECT_EQ(Cache::ReadRegistry(kCurrentUser, L"", L"", 6), 5);
}

}  // namespace
}  // namespace orvix
