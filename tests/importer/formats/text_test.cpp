// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/text/text.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <charconv>
#include <random>

#include "importer/formats/number_text.h"
#include "importer/formats/open_scan.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct LayoutCase {
    std::string_view text;
    std::string_view layout;
    std::string_view positions;
    std::uint64_t malformed = 0;
};

class TextLayouts : public testing::TestWithParam<LayoutCase> {};

// BEHAVIOUR X10, X11, X12, X13
TEST_P(TextLayouts, AreToldByTheContent) {
    const WholeScan scan = ReadAll(GetParam().text);
    EXPECT_EQ(scan.error, "");
    EXPECT_EQ(scan.info.format, "text, " + std::string(GetParam().layout));
    EXPECT_EQ(Positions(scan), GetParam().positions);
    EXPECT_EQ(scan.malformed, GetParam().malformed);
}

constexpr LayoutCase kLayoutCases[] = {
    {"1 2 3", "blank-separated: x y z", "1 2 3"},
    {"  1.5\t2   -3e1 \r\n4 5 6\r\n", "blank-separated: x y z", "1.5 2 -30; 4 5 6"},
    {"1 2 3\r4 5 6\r", "blank-separated: x y z", "1 2 3; 4 5 6"},
    {"1,2,3\n4 , 5,6\n", "comma-separated: x y z", "1 2 3; 4 5 6"},
    {"1,2,3,\n4,5,6,\n", "comma-separated: x y z", "1 2 3; 4 5 6"},
    {"1.5;2;3\n", "semicolon-separated: x y z", "1.5 2 3"},
    {"1;2;3\n1,5;2,25;-3\n4,5;5;6\n", "semicolon-separated, decimal comma: x y z",
     "1 2 3; 1.5 2.25 -3; 4.5 5 6"},
    {"1,5 2,5 3\n", "blank-separated, decimal comma: x y z", "1.5 2.5 3"},
    {"1\t2\t3\t9\n4\t5\t6\t\n7\t8\t9\t1\n", "tab-separated: x y z intensity",
     "1 2 3; 4 5 6; 7 8 9"},
    {"2\n1 2 3 -40\n4 5 6 70\n", "blank-separated: x y z intensity", "1 2 3; 4 5 6"},
    {"9999999999999999999999\n1 2 3 7 0 128 255\n",
     "blank-separated: x y z intensity red green blue", "1 2 3"},
    {"1 2 3 0 128 255\n", "blank-separated: x y z red green blue", "1 2 3"},
    {"1 2 3 0.6 -0.8 0\n", "blank-separated: x y z", "1 2 3"},
    {"1 2 3 4 5\n", "blank-separated: x y z", "1 2 3"},
    {"# made today\n// x y z\n1 2 3\n; aside\n#\n4 5 6\n", "blank-separated: x y z",
     "1 2 3; 4 5 6"},
    {"//X Y Z Intensity R G B\n1 2 3 4 5 6 7\n", "blank-separated: x y z intensity red green blue",
     "1 2 3"},
    {"\"id\",\"Z [m]\",\"X [m]\",\"Y [m]\",\"class\"\n7,3,1,2,6\n",
     "comma-separated: - z x y class", "1 2 3"},
    {";Easting;Northing;Height\n;1;2;3\n;4;5;6\n", "semicolon-separated: - x y z", "1 2 3; 4 5 6"},
    {"lat,lon,h\n\"1\",\"2\",\"3\"\n", "comma-separated: x y z", "1 2 3"},
    {"\xEF\xBB\xBFx y z\n1 2 3\n", "blank-separated: x y z", "1 2 3"},
    {"\xEF\xBB\xBF"
     "1 2 3\n",
     "blank-separated: x y z", "1 2 3"},
    {"1 2 3\nfour 5 6\n7 8\n7 8 9\n", "blank-separated: x y z", "1 2 3; 7 8 9", 2},
    {"1 2 3\nnan inf -Infinity\n1.#QNAN 0 1e999\n", "blank-separated: x y z",
     "1 2 3; nan inf -inf; nan 0 inf"},
    {"1 2 3 4\n1 2 3 x\n1 2 3 nan\n1 2 3\n", "blank-separated: x y z intensity",
     "1 2 3; 1 2 3; 1 2 3", 1},
};
INSTANTIATE_TEST_SUITE_P(Table, TextLayouts, testing::ValuesIn(kLayoutCases));

TEST(TextReader, AttributesComeAtTheFilesOwnScaleButUnitColours) {
    const auto point = [](std::string_view line) { return ReadAll(line).points.at(0); };
    EXPECT_EQ(point("1 2 3 -2047.5").intensity, -2047.5F);
    EXPECT_EQ(point("1 2 3 5 0 128 255").blue, 255);
    EXPECT_EQ(point("1 2 3 0 65535 70000").blue, 65535);
    EXPECT_EQ(point("1 2 3 1.0 0.5 0.0").green, 32768);
    EXPECT_EQ(point("x y z class\n1 2 3 300").classification, 0);
    EXPECT_EQ(ReadAll("1 2 3 1.0 0.5 0.0").info.colourBits, 16);
    EXPECT_EQ(ReadAll("1 2 3 1 0 0").info.colourBits, std::nullopt);
}

TEST(TextReader, WhatIsNoTextScanEndsInASentence) {
    using namespace std::string_literals;
    EXPECT_THAT(ReadAll("\xFF\xFE\x31\0 \0\x32\0"s).error, HasSubstr("UTF-16"));
    EXPECT_THAT(ReadAll("1\0 \0002\0 \0003\0"s).error, HasSubstr("UTF-16"));
    EXPECT_THAT(ReadAll("1 2 3\n4 \0 5\n"s).error, HasSubstr("value 0 at byte 8"));
    EXPECT_THAT(ReadAll("\n# nothing\n").error, HasSubstr("no line with a point"));
    EXPECT_THAT(ReadAll("x,y,z\n").error, HasSubstr("not a scan file"));
    EXPECT_THAT(ReadAll("17\n").error, HasSubstr("not a scan file"));
    EXPECT_THAT(ReadAll("Dear reader,\nthis is 1 2 3\nletter.\n").error,
                HasSubstr("\"Dear reader,\""));
}

// BEHAVIOUR X14
TEST(TextReader, ALineWithoutEndIsRefusedNotReadIntoMemory) {
    const std::string tooLong(3u << 20, '1');
    EXPECT_THAT(ReadAll(tooLong).error, HasSubstr("no whole line"));
    EXPECT_THAT(ReadAll("1 2 3\n" + tooLong).error, HasSubstr("line 2 (from byte 6) is longer"));
}

TEST(TextReader, PiecesEndAtLineEndsAndKnowTheirLineNumber) {
    std::string text = "x y z\n";
    for (int i = 0; i < 300'000; ++i) text += fmt::format("{} {}.5 -1\n", i, i);
    const ScratchFolder folder;
    WriteText(folder / L"long.xyz", text);
    const WholeScan scan = ReadAll(folder / L"long.xyz");
    ASSERT_EQ(scan.points.size(), 300'000u);
    EXPECT_EQ(scan.pieces, text.size() / importer::kPieceBytes + 1);
    EXPECT_EQ(scan.points.back().y, 299'999.5);

    auto reader = importer::OpenScan(folder / L"long.xyz");
    importer::RawPiece piece;
    while (*(*reader)->Next(piece)) {
        const auto lines = std::count(
            text.begin(), text.begin() + static_cast<std::ptrdiff_t>(piece.fileOffset), '\n');
        EXPECT_EQ(piece.firstRecord, static_cast<std::uint64_t>(lines));
    }
}

TEST(NumberText, EveryNumberIsTheNearestDouble) {
    const unsigned seed = 20'260'101;
    std::mt19937_64 random(seed);
    for (int i = 0; i < 200'000; ++i) {
        std::string text;
        const std::uint64_t bits = random();
        const auto places = static_cast<int>(random() % 21);
        switch (i % 3) {
            case 0:
                text = fmt::format(
                    "{:.{}f}", static_cast<double>(static_cast<std::int64_t>(bits)) / 1e12, places);
                break;
            case 1:
                text = fmt::format("{:.{}e}", std::bit_cast<double>(bits), places);
                break;
            default:
                text = fmt::format("{}e{}", bits >> (bits % 64), places * 40 - 400);
                break;
        }
        if (text.find_first_of("an") != std::string::npos) continue;
        double expected = 0;
        const auto result = std::from_chars(text.data(), text.data() + text.size(), expected);
        if (result.ec != std::errc()) continue;
        double value = 0;
        const char* end = importer::ParseNumber(text.data(), text.data() + text.size(), '.', value);
        ASSERT_EQ(end, text.data() + text.size()) << text << " seed " << seed;
        ASSERT_EQ(value, expected) << text << " seed " << seed;
    }
}

TEST(NumberText, WhatLiesBeyondDoublesIsInfiniteOrZero) {
    const auto value = [](std::string_view text) {
        double number = 7;
        importer::ParseNumber(text.data(), text.data() + text.size(), '.', number);
        return number;
    };
    EXPECT_EQ(value("-1e400"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(value("1e-400"), 0.0);
    EXPECT_EQ(value("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(value("1" + std::string(400, '0')), std::numeric_limits<double>::infinity());
    EXPECT_EQ(value("1" + std::string(400, '0') + "e-400"), 1.0);
    EXPECT_EQ(value("+5"), 5.0);
    for (const std::string_view none : {"", "-", ".", "e5", "#", "--1", "x1"}) {
        EXPECT_FALSE(importer::IsNumber(none, '.')) << none;
    }
}

}  // namespace
}  // namespace orvix::test
