// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/utility_lib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "localization/text_ids.h"
#include "localization/text_table.h"
#include "orvix/platform/number_names.h"
#include "orvix/platform/system.h"

namespace orvix {
namespace {

using localization::Language;

class UtilityLibTest : public ::testing::Test {
protected:
    void TearDown() override { UtilityLib::OverrideLocale(0x409); }
    static CString TextIn(int language, unsigned int id) {
        UtilityLib::OverrideLocale(language);
        return UtilityLib::LocaleString(id);
    }
};

// BEHAVIOUR O6
TEST_F(UtilityLibTest, TellsTextsInFourLanguagesWhateverTheCountry) {
    constexpr unsigned int kId = localization::kProjectFileMissing;
    EXPECT_EQ(kId, 1370u);
    EXPECT_EQ(TextIn(0x409, kId).substr(0, 10), L"A required");
    EXPECT_EQ(TextIn(0x407, kId).substr(0, 17), L"Eine erforderlich");
    EXPECT_EQ(TextIn(0x40C, kId).substr(0, 17), L"Un fichier requis");
    EXPECT_EQ(TextIn(0xC0A, kId).substr(0, 16), L"Falta un archivo");
    EXPECT_EQ(TextIn(0xC07, kId), TextIn(0x407, kId));
    EXPECT_EQ(TextIn(0x809, 1366), TextIn(0x409, 1366));
}

// BEHAVIOUR O5
TEST_F(UtilityLibTest, FallsBackToEnglishAndThenToTheNumber) {
    for (const int language : {0x411, 0, -1, 0x7FFFFFFF}) {
        EXPECT_EQ(TextIn(language, 1370), TextIn(0x409, 1370)) << language;
    }
    EXPECT_EQ(TextIn(0x407, 0), L"0");
    EXPECT_EQ(TextIn(0x407, 4294967295u), L"4294967295");
}

TEST_F(UtilityLibTest, KeepsTheLanguageThatItWasGiven) {
    UtilityLib::OverrideLocale(0x40C);
    EXPECT_EQ(UtilityLib::_locale, 0x40C);
}

TEST(Localization, HasEveryTextInEveryLanguage) {
    for (unsigned int i = 0; i < localization::TextCount(); ++i) {
        const unsigned int id = localization::TextIdAt(i);
        for (const Language language :
             {Language::English, Language::German, Language::French, Language::Spanish}) {
            const CString text = localization::FindText(id, language);
            EXPECT_FALSE(text.empty()) << id;
            EXPECT_EQ(text.find_first_of(L"%\n\t"), CString::npos) << id;
            EXPECT_EQ(text.find(wchar_t(0xC3)), CString::npos) << id << ": bytes taken for text";
        }
    }
    EXPECT_EQ(localization::FindText(1367, Language::English), nullptr);
    EXPECT_EQ(CString(localization::FindText(localization::kSplitSize, Language::German)),
              L"Zellengr\u00F6\u00DFe");
}

TEST(NumberNames, GivesEachNumberOneAddressFromManyThreads) {
    static constinit platform::NumberNames names;
    std::vector<std::vector<wchar_t*>> seen(4);
    std::vector<std::thread> threads;
    for (auto& mine : seen) {
        threads.emplace_back([&mine] {
            for (unsigned n = 0; n < 2000; ++n) mine.push_back(names.Of(n * 7919));
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (unsigned n = 0; n < 2000; ++n) {
        EXPECT_EQ(CString(seen[0][n]), std::to_wstring(n * 7919));
        for (const auto& other : seen) EXPECT_EQ(other[n], seen[0][n]);
    }
}

TEST(SharedLibrary, IsNoneWhereThereIsNone) {
    EXPECT_EQ(platform::LoadSharedLibrary(L"Orvix.NoSuchLibrary"), nullptr);
    EXPECT_EQ(platform::FindSymbol(nullptr, "GetString"), nullptr);
    void* const library = platform::LoadSharedLibrary(L"Orvix.Localization");
    ASSERT_NE(library, nullptr);
    EXPECT_NE(platform::FindSymbol(library, "GetString"), nullptr);
    EXPECT_EQ(platform::FindSymbol(library, "NoSuchExport"), nullptr);
}

// BEHAVIOUR O3
TEST(IsProcessRunning, FindsThisProcessWithoutRegardToCaseButNeverTheFirst) {
    const std::vector<CString> names = platform::ProcessNames();
    ASSERT_GT(names.size(), 1u);
    // Some systems list the process that asks first; the next one is as good then.
    const auto mine = std::find_if(names.begin() + 1, names.end(), [](const CString& name) {
        return name.starts_with(L"platform_services");
    });
    const CString listed = mine != names.end() ? *mine : names[1];
    EXPECT_TRUE(UtilityLib::IsProcessRunning(platform::FoldCase(listed).c_str()));
    EXPECT_FALSE(UtilityLib::IsProcessRunning(L"platform_service"));
    EXPECT_FALSE(UtilityLib::IsProcessRunning(nullptr));
    const std::multiset<CString> all(names.begin(), names.end());
    EXPECT_EQ(UtilityLib::IsProcessRunning(names.front().c_str()), all.count(names.front()) > 1);
}

TEST(System, TellsMemoryAndMessages) {
    EXPECT_GT(platform::PeakMemory(), std::uint64_t{1} << 20);
    EXPECT_GT(platform::PhysicalMemory(), platform::PeakMemory());
    EXPECT_EQ(platform::EnvironmentVariable("ORVIX_NO_SUCH_VARIABLE"), L"");
    EXPECT_FALSE(platform::SystemMessage(2).empty());
}

}  // namespace
}  // namespace orvix
