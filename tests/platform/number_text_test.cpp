// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/number_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

namespace orvix::platform {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(LeadingInteger, ReadsTheNumberThatATextStartsWith) {
    EXPECT_EQ(LeadingInteger(L"12abc"), 12);
    EXPECT_EQ(LeadingInteger(L" \t-7"), -7);
    EXPECT_EQ(LeadingInteger(L"+5.9"), 5);
    EXPECT_EQ(LeadingInteger(L"0x10"), 0);
    for (const wchar_t* text : {L"", L"abc", L"- 5", L"+-5", L"--5", L"é1", L"\u0661"}) {
        EXPECT_EQ(LeadingInteger(text), 0) << ToUtf8(text);
    }
}

TEST(LeadingInteger, SaturatesBeyond32Bits) {
    EXPECT_EQ(LeadingInteger(L"2147483647"), 2147483647);
    EXPECT_EQ(LeadingInteger(L"2147483648"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(LeadingInteger(L"-99999999999999999999"), std::numeric_limits<std::int32_t>::min());
}

TEST(LeadingDouble, ReadsTheNumberThatATextStartsWith) {
    EXPECT_EQ(LeadingDouble(L"0.100000"), 0.1);
    EXPECT_EQ(LeadingDouble(L"  +.5m"), 0.5);
    EXPECT_EQ(LeadingDouble(L"-2e-3x"), -2e-3);
    EXPECT_EQ(LeadingDouble(L"1,5"), 1.0);
    EXPECT_EQ(LeadingDouble(L"1e"), 1.0);
    EXPECT_EQ(LeadingDouble(L"-inf"), -kInfinity);
    EXPECT_TRUE(std::isnan(LeadingDouble(L"nan")));
    for (const wchar_t* text : {L"", L".", L"abc", L"- 5", L"+-5"}) {
        EXPECT_EQ(LeadingDouble(text), 0.0) << ToUtf8(text);
    }
}

TEST(LeadingDouble, SaturatesAtInfinityAndAtZero) {
    EXPECT_EQ(LeadingDouble(L"1e400"), kInfinity);
    EXPECT_EQ(LeadingDouble(L"-1e99999999999999999999"), -kInfinity);
    EXPECT_EQ(LeadingDouble(L"1e9223372036854775807"), kInfinity);
    EXPECT_EQ(LeadingDouble(L"0.01e-9223372036854775808"), 0.0);
    EXPECT_EQ(LeadingDouble(std::wstring(400, L'9')), kInfinity);
    EXPECT_EQ(LeadingDouble(L"0." + std::wstring(400, L'0') + L"1"), 0.0);
    EXPECT_EQ(LeadingDouble(L"1e-99999999999999999999"), 0.0);
    EXPECT_EQ(LeadingDouble(L"0." + std::wstring(500, L'0') + L"1e+900"), kInfinity);
}

// BEHAVIOUR U2
TEST(SixDigits, WritesAPointWhateverTheLocale) {
    // Skips nothing: where the system lacks the locale, the plain one is tested.
    const char* const before = std::setlocale(LC_ALL, nullptr);
    const std::string restored = before;
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(SixDigits(0.1), L"0.100000");
    EXPECT_EQ(LeadingDouble(L"0.25"), 0.25);
    std::setlocale(LC_ALL, restored.c_str());
}

// BEHAVIOUR U2
TEST(SixDigits, RoundsAsThePlainFormatDoes) {
    EXPECT_EQ(SixDigits(1.25), L"1.250000");
    EXPECT_EQ(SixDigits(-0.0), L"-0.000000");
    EXPECT_EQ(SixDigits(0.0000005), L"0.000000");
    const unsigned seed = 907;
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int round = 0; round < 20'000; ++round) {
        const double value =
            std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 120) - 80);
        char expected[400];
        std::snprintf(expected, sizeof expected, "%f", value);
        ASSERT_EQ(SixDigits(value), FromUtf8(expected));
        ASSERT_EQ(LeadingDouble(SixDigits(value)), std::strtod(expected, nullptr));
    }
    EXPECT_EQ(SixDigits(-std::numeric_limits<double>::max()).size(), 317u);
}

}  // namespace
}  // namespace orvix::platform
