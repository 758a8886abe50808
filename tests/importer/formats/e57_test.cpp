// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "importer/formats/e57/xml_tree.h"
#include "orvix/platform/path.h"
#include "support/scans/e57_writer.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using importer::ScanPoint;
using testing::HasSubstr;
using Kind = E57Column::Kind;

E57Column Real(const std::string& name, std::vector<double> values, Kind kind = Kind::Double) {
    return {.name = name, .kind = kind, .real = std::move(values)};
}

E57Column Whole(const std::string& name, std::vector<std::int64_t> values, std::int64_t maximum) {
    return {.name = name, .kind = Kind::Integer, .maximum = maximum, .whole = std::move(values)};
}

/// x = 0 to count - 1, y = -x, z = 0.5, in metres.
std::vector<E57Column> Line(std::size_t count) {
    std::vector<E57Column> columns{Real("cartesianX", {}),
                                   Real("cartesianY", {}, Kind::Single),
                                   {.name = "cartesianZ",
                                    .kind = Kind::Scaled,
                                    .minimum = -7,
                                    .maximum = 500,
                                    .scale = 0.001}};
    for (std::size_t i = 0; i < count; ++i) {
        columns[0].real.push_back(static_cast<double>(i));
        columns[1].real.push_back(-static_cast<double>(i));
        columns[2].whole.push_back(500);
    }
    return columns;
}

class E57Seeds : public testing::TestWithParam<unsigned> {};

TEST_P(E57Seeds, FieldsOfAnyWidthComeBackHoweverPacketsCutThem) {
    std::mt19937_64 random(GetParam());
    const std::size_t count = 1 + random() % 3000;
    E57TestScan scan{.name = "any"};
    const char* names[] = {"cartesianX", "cartesianY", "cartesianZ", "rowIndex", "intensity"};
    for (const char* name : names) {
        const unsigned bits = static_cast<unsigned>(random() % 65);
        E57Column column{.name = name,
                         .kind = random() % 2 == 0 ? Kind::Integer : Kind::Scaled,
                         .minimum = -static_cast<std::int64_t>(random() % 1000),
                         .scale = 1.0 / 1024,
                         .offset = 17};
        const std::uint64_t span = bits == 0 ? 0 : ~std::uint64_t{0} >> (64 - bits);
        if (bits >= 63) column.minimum = std::numeric_limits<std::int64_t>::min();
        column.maximum =
            static_cast<std::int64_t>(static_cast<std::uint64_t>(column.minimum) + span);
        for (std::size_t i = 0; i < count; ++i) {
            column.whole.push_back(static_cast<std::int64_t>(
                static_cast<std::uint64_t>(column.minimum) + (random() & span)));
        }
        scan.columns.push_back(column);
    }
    scan.columns[3].maximum = scan.columns[3].minimum + 5;  // a record takes bits in any case
    scan.columns[3].whole.assign(count, scan.columns[3].minimum + 3);
    const E57Layout layout{.bytesPerPacket = 10 + random() % 5000,
                           .seed = GetParam(),
                           .columnByColumn = random() % 4 == 0,
                           .indexPackets = random() % 2 == 0,
                           .emptyPackets = random() % 2 == 0};
    const WholeScan read = ReadAll(MakeE57({scan}, layout));
    ASSERT_EQ(read.error, "") << "seed " << GetParam();
    ASSERT_EQ(read.points.size(), count);
    const auto value = [&](std::size_t column, std::size_t i) {
        const E57Column& c = scan.columns[column];
        const auto whole = static_cast<double>(c.whole[i]);
        return c.kind == Kind::Integer ? whole : whole * c.scale + c.offset;
    };
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(read.points[i].x, value(0, i)) << "seed " << GetParam() << " point " << i;
        ASSERT_EQ(read.points[i].y, value(1, i)) << "seed " << GetParam() << " point " << i;
        ASSERT_EQ(read.points[i].z, value(2, i)) << "seed " << GetParam() << " point " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(All, E57Seeds, testing::Range(1u, 41u));

// BEHAVIOUR X17
TEST(E57, ReadsEveryScanWithItsNameAndPose) {
    const double half = std::sqrt(0.5);
    const E57TestScan hall{.name = "hall & <yard>", .columns = Line(10)};
    const E57TestScan yard{.name = "",
                           .columns = Line(5000),
                           .pose = E57Pose{{2 * half, 0, 0, 2 * half}, {1e6, -2, 0.5}}};
    const E57TestScan empty{.name = "empty", .columns = Line(0)};
    const WholeScan read = ReadAll(MakeE57({hall, yard, empty}));
    ASSERT_EQ(read.error, "");
    EXPECT_EQ(read.info.format, "E57, 3 scans");
    EXPECT_EQ(read.info.declaredPoints, 5010u);
    ASSERT_EQ(read.points.size(), 5010u);
    EXPECT_EQ(read.points[9].y, -9);
    EXPECT_EQ(read.points[5009].x, 4999);
    EXPECT_EQ(read.points[5009].z, 0.5);
    ASSERT_EQ(read.info.scans.size(), 3u);
    EXPECT_EQ(read.info.scans[0].name, "hall & <yard>");
    EXPECT_TRUE(read.info.scans[0].pose);
    EXPECT_FALSE(read.info.scans[0].map);
    EXPECT_EQ(read.info.scans[1].pose->position.x, 1e6);
    EXPECT_DOUBLE_EQ(read.info.scans[1].pose->rotation.z, half);
    EXPECT_TRUE(read.info.scans[1].map);
    EXPECT_EQ(read.info.scans[2].name, "empty");
}

// BEHAVIOUR X19
TEST(E57, CutsALongNameAtAWholeLetter) {
    for (const std::string letter : {"e", "\u00E9", "\u20AC", "\U0001F3E0"}) {
        for (std::size_t before = 4092; before <= 4096; ++before) {
            std::string name(before, 'n');
            const std::size_t whole = (4096 - before) / letter.size();
            for (std::size_t i = 0; i < 8; ++i) name += letter;
            const WholeScan read = ReadAll(MakeE57({{.name = name, .columns = Line(1)}}));
            ASSERT_EQ(read.error, "");
            EXPECT_EQ(read.info.scans[0].name, name.substr(0, before + whole * letter.size()));
        }
    }
    const std::string noLetters(5000, '\xBF');
    const WholeScan read = ReadAll(MakeE57({{.name = noLetters, .columns = Line(1)}}));
    ASSERT_EQ(read.error, "");
    EXPECT_EQ(read.info.scans[0].name.size(), 4096U);
}

TEST(E57, TurnsRangeAzimuthAndElevationIntoPositions) {
    const WholeScan read = ReadAll(MakeE57(
        {{.name = "s",
          .columns = {Real("sphericalRange", {2, 10, 3}), Real("sphericalAzimuth", {0, 2, -3}),
                      Real("sphericalElevation", {0, 0.5, -1.5})}}}));
    ASSERT_EQ(read.error, "");
    ASSERT_EQ(read.points.size(), 3u);
    EXPECT_EQ(read.points[0].x, 2);
    EXPECT_EQ(read.points[0].y, 0);
    EXPECT_EQ(read.points[0].z, 0);
    EXPECT_NEAR(read.points[1].x, 10 * std::cos(0.5) * std::cos(2), 1e-14);
    EXPECT_NEAR(read.points[1].y, 10 * std::cos(0.5) * std::sin(2), 1e-14);
    EXPECT_NEAR(read.points[2].z, 3 * std::sin(-1.5), 1e-14);
}

// BEHAVIOUR X16
TEST(E57, CountsRecordsThatAreNoPointByTheirReason) {
    auto columns = Line(6);
    columns.push_back(Whole("cartesianInvalidState", {0, 1, 2, 0, 2, 3}, 3));
    const WholeScan read = ReadAll(MakeE57({{.name = "s", .columns = columns}}));
    EXPECT_EQ(Positions(read), "0 -0 0.5; 3 -3 0.5");
    EXPECT_EQ(read.pointless.directionOnly, 1u);
    EXPECT_EQ(read.pointless.invalid, 3u);
}

// BEHAVIOUR X15
TEST(E57, SpreadsAttributesFromTheirLimits) {
    auto columns = Line(4);
    columns.push_back(Real("intensity", {0.25, 0.5, 1.0, 9}));
    columns.push_back(Whole("isIntensityInvalid", {0, 0, 0, 1}, 1));
    columns.push_back(Whole("colorRed", {0, 100, 1000, 5}, 1023));
    columns.push_back(Whole("colorGreen", {0, 255, 128, 5}, 255));
    columns.push_back(Whole("colorBlue", {0, 255, 128, 5}, 255));
    const E57TestScan scan{
        .name = "s",
        .columns = columns,
        .extraXml =
            "<intensityLimits type=\"Structure\"><intensityMinimum type=\"Float\">2.5e-1"
            "</intensityMinimum><intensityMaximum type=\"ScaledInteger\" scale=\"0.25\" "
            "offset=\"0.25\">2</intensityMaximum></intensityLimits>\n"
            "<colorLimits type=\"Structure\"><colorRedMinimum type=\"Integer\"/>"
            "<colorRedMaximum type=\"Integer\">1000</colorRedMaximum></colorLimits>\n"};
    const WholeScan read = ReadAll(MakeE57({scan}));
    ASSERT_EQ(read.error, "");
    ASSERT_EQ(read.points.size(), 4u);
    EXPECT_EQ(read.info.colourBits, 8);
    EXPECT_EQ(read.points[0].intensity, 0);
    EXPECT_EQ(read.points[1].intensity, 32768);
    EXPECT_EQ(read.points[2].intensity, 65535);
    EXPECT_EQ(read.points[3].intensity, 0);
    EXPECT_EQ(read.points[1].red, 26);
    EXPECT_EQ(read.points[2].red, 255);
    EXPECT_EQ(read.points[2].green, 128);
}

TEST(E57, NoFlippedByteGoesUnnoticed) {
    const auto whole = MakeE57({{.name = "s", .columns = Line(60)}});
    for (std::size_t at = 0; at < whole.size(); at += at < 64 ? 1 : 7) {
        auto spoilt = whole;
        spoilt[at] ^= static_cast<std::uint8_t>(1u << (at % 8));
        EXPECT_NE(ReadAll(spoilt).error, "") << "byte " << at;
    }
    auto spoilt = whole;
    spoilt[1500] ^= 4;
    EXPECT_THAT(ReadAll(spoilt).error, HasSubstr("checksum of the E57 page at byte 1,024"));
}

TEST(E57, NoTruncationGoesUnnoticed) {
    const auto whole = MakeE57({{.name = "s", .columns = Line(60)}});
    for (std::size_t size = 8; size < whole.size(); size += 13) {
        const auto end = whole.begin() + static_cast<std::ptrdiff_t>(size);
        EXPECT_NE(ReadAll(std::vector<std::uint8_t>(whole.begin(), end)).error, "") << size;
    }
}

TEST(E57, BelievesNoOffsetNorCount) {
    const auto messageFor = [](std::optional<std::uint64_t> offset,
                               std::optional<std::uint64_t> records) {
        return ReadAll(MakeE57({{.name = "s",
                                 .columns = Line(60),
                                 .xmlOffset = offset,
                                 .xmlRecords = records}}))
            .error;
    };
    EXPECT_THAT(messageFor({}, 61), HasSubstr("before the last of its records"));
    EXPECT_THAT(messageFor({}, 1'000'000'000'000), HasSubstr("cannot hold its"));
    EXPECT_THAT(messageFor({}, 9'223'372'036'854'775'807), HasSubstr("cannot hold its"));
    EXPECT_THAT(messageFor(1'000'000, {}), HasSubstr("not inside the file"));
    EXPECT_THAT(messageFor(1022, {}), HasSubstr("not inside the file"));
    EXPECT_THAT(messageFor(0, {}), HasSubstr("section of kind 65"));
    EXPECT_THAT(ReadAll(MakeE57({{.name = "a", .columns = Line(9)},
                                 {.name = "b", .columns = Line(9), .xmlOffset = 48}}))
                    .error,
                HasSubstr("share the bytes"));
    EXPECT_THAT(ReadAll(MakeE57({{.name = "s", .columns = {Whole("rowIndex", {1, 2}, 7)}}})).error,
                HasSubstr("neither Cartesian nor spherical"));
}

TEST(E57, RefusesFieldsThatCannotBe) {
    auto columns = Line(9);
    columns[2].minimum = 501;
    EXPECT_THAT(ReadAll(MakeE57({{.name = "s", .columns = columns}})).error,
                HasSubstr("scan 1 \"s\": <cartesianZ> has the range 501 to 500"));
    const E57TestScan turned{.name = "s", .columns = Line(9), .pose = E57Pose{{0, 0, 0, 0}, {}}};
    EXPECT_THAT(ReadAll(MakeE57({turned})).error, HasSubstr("<rotation> is no rotation"));
    const E57Layout entities{.xmlBefore = "<!DOCTYPE e [<!ENTITY a \"aaaa\">]>"};
    EXPECT_THAT(ReadAll(MakeE57({turned}, entities)).error, HasSubstr("document type declaration"));
}

std::string XmlFault(const std::string& text) {
    const auto tree = importer::ParseXml(text);
    return tree ? "" : tree.error().message;
}

TEST(XmlTree, BoundsDepthAndNumberBeforeItParses) {
    std::string deep, wide = "<r>";
    for (int i = 0; i < 1'000'000; ++i) deep += "<a>";
    for (int i = 0; i < 2'000'001; ++i) wide += "<a/>";
    EXPECT_THAT(XmlFault(deep), HasSubstr("nested more than 64 deep"));
    EXPECT_THAT(XmlFault(wide + "</r>"), HasSubstr("more than 2000000"));
    EXPECT_EQ(XmlFault("<r a='>'><!-- <a> --><![CDATA[<b>]]></r>"), "");
    for (const char* hidden : {"<a\">", "<a=\">", "<a b\"=\"1\">", "<a b='1'c\">", "</a\">"}) {
        EXPECT_THAT(XmlFault("<r>" + (hidden + deep) + "\"></r>"),
                    HasSubstr("quote is out of place"))
            << hidden;
    }
    EXPECT_NE(XmlFault("<r><a></r>"), "");
    EXPECT_NE(XmlFault("<r a=\"1></r>"), "");
    EXPECT_NE(XmlFault(""), "");
    EXPECT_NE(XmlFault("<a/><b/>"), "");
    const auto tree = importer::ParseXml("<r>&lt;<![CDATA[x]]><c k=\"v\"/></r>");
    ASSERT_TRUE(tree);
    EXPECT_EQ(tree->text, "<x");
    EXPECT_EQ(*tree->Child("c")->Attribute("k"), "v");
}

}  // namespace
}  // namespace orvix::test
