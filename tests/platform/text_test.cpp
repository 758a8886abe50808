// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/text.h"

#include <gtest/gtest.h>

#include <random>

namespace orvix::platform {
namespace {

TEST(Text, KeepsEveryByteSequenceOnTheWayThroughWideText) {
    const unsigned seed = 20'240'611;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes(random() % 9, '\0');
        // Lead and continuation bytes are frequent, so that nearly valid sequences are, too.
        for (char& byte : bytes) {
            const auto draw = static_cast<unsigned>(random());
            byte = static_cast<char>(draw % 3 == 0 ? draw >> 8 : 0x80 | ((draw >> 8) & 0x7F));
        }
        ASSERT_EQ(ToUtf8(FromUtf8(bytes)), bytes);
    }
}

/// One character, which takes a surrogate pair where wide text is UTF-16.
CString WideOf(std::uint32_t c) {
    if (sizeof(wchar_t) > 2 || c <= 0xFFFF) return CString(1, static_cast<wchar_t>(c));
    const std::uint32_t above = c - 0x10000;
    return {static_cast<wchar_t>(0xD800 + (above >> 10)),
            static_cast<wchar_t>(0xDC00 + (above & 0x3FF))};
}

TEST(Text, KeepsEveryCharacterOnTheWayThroughUtf8AndUtf16) {
    for (std::uint32_t c = 1; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        const CString text = WideOf(c);
        ASSERT_EQ(FromUtf8(ToUtf8(text)), text) << std::hex << c;
        ASSERT_EQ(FromUtf16(ToUtf16(text)), text) << std::hex << c;
    }
}

TEST(Text, TurnsBytesThatAreNotUtf8IntoLoneSurrogates) {
    EXPECT_EQ(FromUtf8("caf\xE9"), CString({L'c', L'a', L'f', wchar_t(0xDCE9)}));
    EXPECT_EQ(FromUtf8("\xC0\xAF").size(), 2u);          // an overlong "/"
    EXPECT_EQ(FromUtf8("\xED\xA0\x80").size(), 3u);      // an encoded surrogate
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80").size(), 4u);  // past U+10FFFF
}

TEST(Text, JoinsASurrogatePairAndReplacesWhatNoEncodingHolds) {
    EXPECT_EQ(ToUtf8(CString({wchar_t(0xD83D), wchar_t(0xDE00)})), "\xF0\x9F\x98\x80");
    EXPECT_EQ(ToUtf8(CString({wchar_t(0xD83D), L'a'})),
              "\xEF\xBF\xBD"
              "a");
    EXPECT_EQ(ToUtf16(CString({wchar_t(0xDC80)})), std::u16string({char16_t(0xDC80)}));
}

TEST(Text, FoldsLatinGreekAndCyrillicWithoutRegardToTheLocale) {
    EXPECT_TRUE(EqualIgnoringCase(L"Größe ÿ", L"GRÖßE \u0178"));
    EXPECT_TRUE(EqualIgnoringCase(L"λόγος ώ", L"ΛΌΓΟΣ Ώ"));
    EXPECT_TRUE(EqualIgnoringCase(L"точка ѓ", L"ТОЧКА Ѓ"));
    EXPECT_TRUE(EqualIgnoringCase(L"žluťoučký", L"ŽLUŤOUČKÝ"));
    EXPECT_FALSE(EqualIgnoringCase(L"÷", L"×"));
    EXPECT_FALSE(EqualIgnoringCase(L"a", L"ab"));
}

}  // namespace
}  // namespace orvix::platform
