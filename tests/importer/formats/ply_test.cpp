// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/ply/ply.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

/// A PLY body in any of the three encodings, from the same calls.
class PlyBody {
public:
    enum Encoding { Ascii, Little, Big };
    explicit PlyBody(Encoding encoding) : encoding_(encoding) {}

    template <class T>
    PlyBody& Put(T value) {
        if (encoding_ == Ascii) {
            bytes_ += fmt::format("{} ", +value);
            return *this;
        }
        char raw[sizeof(T)];
        std::memcpy(raw, &value, sizeof(T));
        if (encoding_ == Big) std::reverse(raw, raw + sizeof(T));
        bytes_.append(raw, sizeof(T));
        return *this;
    }
    PlyBody& End() {
        if (encoding_ == Ascii) bytes_ += '\n';
        return *this;
    }
    [[nodiscard]] std::string File(std::string_view header) const {
        constexpr std::string_view kNames[] = {"ascii", "binary_little_endian",
                                               "binary_big_endian"};
        return fmt::format("ply\nformat {} 1.0\n{}end_header\n{}", kNames[encoding_], header,
                           bytes_);
    }

private:
    Encoding encoding_;
    std::string bytes_;
};

constexpr PlyBody::Encoding kEncodings[] = {PlyBody::Ascii, PlyBody::Little, PlyBody::Big};

std::string AsciiPly(std::string_view body, std::string_view count = "2") {
    return fmt::format(
        "ply\nformat ascii 1.0\nelement vertex {}\nproperty float x\nproperty float y\n"
        "property float z\nend_header\n{}",
        count, body);
}

TEST(PlyReader, AnyOrderAndTypeOfPropertiesIsUnderstoodInEveryEncoding) {
    for (const auto encoding : kEncodings) {
        PlyBody body(encoding);
        for (int i = 0; i < 1500; ++i) {
            body.Put<std::uint8_t>(250).Put<std::int16_t>(static_cast<std::int16_t>(-i));
            body.Put<std::uint32_t>(4'000'000'000u).Put<float>(0.5F).Put<std::uint8_t>(1);
            body.Put<double>(i + 0.125).Put<std::int8_t>(-7).Put<std::uint8_t>(2);
            body.Put<std::int32_t>(6).Put<std::uint16_t>(65'535).End();
        }
        const WholeScan scan = ReadAll(body.File(
            "comment any words\nobj_info more\nelement vertex 1500\nproperty uchar red\n"
            "property short y\nproperty uint unused\nproperty float32 scalar_Intensity\n"
            "property uint8 green\nproperty double z\nproperty int8 x\nproperty uchar blue\n"
            "property int scalar_Classification\nproperty uint16 more\n"));
        ASSERT_EQ(scan.points.size(), 1500u) << scan.error;
        EXPECT_TRUE(scan.info.hasIntensity && scan.info.hasColour && scan.info.hasClassification);
        EXPECT_EQ(scan.info.colourBits, 8);
        const auto& point = scan.points[1234];
        EXPECT_EQ(point.x, -7);
        EXPECT_EQ(point.y, -1234);
        EXPECT_EQ(point.z, 1234.125);
        EXPECT_EQ(point.intensity, 0.5F);
        EXPECT_EQ(point.red * 1'000'000 + point.green * 1000 + point.blue, 250'001'002);
        EXPECT_EQ(point.classification, 6);
    }
}

TEST(PlyReader, ListsAndOtherElementsAreSteppedOverExactly) {
    for (const auto encoding : kEncodings) {
        PlyBody body(encoding);
        body.Put<float>(9).End();                                                   // camera
        body.Put<std::uint8_t>(2).Put<std::int32_t>(1).Put<std::int32_t>(2).End();  // face
        body.Put<std::uint8_t>(0).End();
        for (int i = 0; i < 3; ++i) {
            body.Put<float>(static_cast<float>(i))
                .Put<std::uint16_t>(static_cast<std::uint16_t>(i));
            for (int k = 0; k < i; ++k) body.Put<double>(-1);
            body.Put<float>(5).Put<float>(6).End();
        }
        body.Put<std::int32_t>(77).End();
        const WholeScan scan = ReadAll(body.File(
            "element camera 1\nproperty float f\nelement face 2\nproperty list uchar int indices\n"
            "element vertex 3\nproperty float x\nproperty list ushort double weights\n"
            "property float y\nproperty float z\nelement tail 1\nproperty int t\n"));
        EXPECT_EQ(scan.error, "");
        EXPECT_EQ(Positions(scan), "0 5 6; 1 5 6; 2 5 6");
    }
}

// BEHAVIOUR X7
TEST(PlyReader, ColoursReachToTheLargestValueOfTheirType) {
    const auto colour = [](std::string_view type, std::string_view value) {
        const WholeScan scan = ReadAll(fmt::format(
            "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty "
            "float z\nproperty {0} r\nproperty {0} g\nproperty {0} b\nend_header\n1 2 3 {1} {1} "
            "{1}",
            type, value));
        return std::pair(scan.info.colourBits.value_or(0), int{scan.points.at(0).green});
    };
    EXPECT_EQ(colour("uchar", "200"), std::pair(8, 200));
    EXPECT_EQ(colour("ushort", "60000"), std::pair(16, 60000));
    EXPECT_EQ(colour("float", "0.5"), std::pair(16, 32768));
    EXPECT_EQ(colour("float", "1.5"), std::pair(16, 65535));
    EXPECT_EQ(colour("float", "nan"), std::pair(16, 0));
    EXPECT_EQ(colour("int", "-3"), std::pair(0, 0));
}

// BEHAVIOUR X8
TEST(PlyReader, AClassThatDoesNotFitIntoAByteIsNone) {
    for (const auto encoding : kEncodings) {
        PlyBody body(encoding);
        for (const std::int32_t label : {-1, 0, 7, 255, 256, 300}) {
            body.Put<float>(1).Put<float>(2).Put<float>(3).Put<std::int32_t>(label).End();
        }
        const WholeScan scan = ReadAll(
            body.File("element vertex 6\nproperty float x\nproperty float y\nproperty float z\n"
                      "property int label\n"));
        std::vector<int> classes;
        for (const importer::ScanPoint& point : scan.points)
            classes.push_back(point.classification);
        EXPECT_EQ(classes, (std::vector<int>{0, 0, 7, 255, 0, 0}));
    }
}

TEST(PlyReader, LinesMayEndInAnyOfTheThreeWays) {
    for (const std::string_view end : {"\n", "\r\n", "\r"}) {
        std::string text = AsciiPly("1 2 3\n\n4 5 nan\n");
        for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;
             at += end.size()) {
            text.replace(at, 1, end);
        }
        EXPECT_EQ(Positions(ReadAll(text)), "1 2 3; 4 5 nan") << end.size();
    }
}

// BEHAVIOUR X9
TEST(PlyReader, ALineWithoutItsNumbersIsMalformedAndCountsAsAVertex) {
    const WholeScan scan = ReadAll(AsciiPly("1 2\n4 5 6 7\nx 1 2\n8 9 9", "4"));
    EXPECT_EQ(scan.error, "");
    EXPECT_EQ(Positions(scan), "4 5 6; 8 9 9");
    EXPECT_EQ(scan.malformed, 2u);
}

TEST(PlyReader, EveryTruncationEndsInASentence) {
    for (const auto encoding : kEncodings) {
        PlyBody body(encoding);
        body.Put<std::uint8_t>(1).Put<std::int16_t>(5).End();
        for (int i = 0; i < 5; ++i) {
            body.Put<float>(100.25F).Put<float>(200.5F).Put<float>(300.75F).End();
        }
        const std::string whole = body.File(
            "element face 1\nproperty list uchar short i\nelement vertex 5\nproperty float x\n"
            "property float y\nproperty float z\n");
        ASSERT_EQ(ReadAll(whole).points.size(), 5u);
        // In an ascii file the last number may lose digits unseen, and the last blank and line
        // end are not missed.
        const std::size_t slack = encoding == PlyBody::Ascii ? 9 : 1;
        for (std::size_t size = 4; size + slack <= whole.size(); ++size) {
            const WholeScan scan = ReadAll(whole.substr(0, size));
            EXPECT_TRUE(scan.malformed != 0 || !scan.error.empty()) << size;
            EXPECT_LT(scan.points.size(), 5u) << size;
        }
    }
}

TEST(PlyReader, NoCountHoweverLargeIsTrusted) {
    for (const auto* count : {"3", "4294967297", "18446744073709551615"}) {
        EXPECT_THAT(ReadAll(AsciiPly("1 2 3\n4 5 6\n", count)).error, HasSubstr("cut short"));
        const std::string head = fmt::format(
            "ply\nformat binary_little_endian 1.0\nelement face {0}\nproperty list int int i\n"
            "element vertex {0}\nproperty float x\nproperty float y\nproperty float "
            "z\nend_header\n",
            count);
        EXPECT_THAT(ReadAll(head + std::string(30, '\x01')).error, HasSubstr("cut short"));
    }
    EXPECT_THAT(ReadAll(AsciiPly("1 2 3\n", "18446744073709551616")).error, HasSubstr("2^64"));
}

TEST(PlyReader, AListOfNegativeLengthIsDamage) {
    const std::string head =
        "ply\nformat binary_big_endian 1.0\nelement face 1\nproperty list int int i\nelement "
        "vertex "
        "1\nproperty float x\nproperty float y\nproperty float z\nend_header\n";
    EXPECT_THAT(ReadAll(head + std::string(90, '\xFF')).error, HasSubstr("length is negative"));
}

TEST(PlyReader, AHeaderThatCannotBeUsedIsToldWithItsLine) {
    const auto refusal = [](std::string_view header) {
        return ReadAll(fmt::format("ply\n{}end_header\n", header)).error;
    };
    EXPECT_THAT(refusal("format binary 1.0\n"), HasSubstr("line 2 of the PLY header"));
    EXPECT_THAT(refusal("element vertex 1\n"), HasSubstr("no format line"));
    EXPECT_THAT(refusal("format ascii 1.0\nelement v 1\n"), HasSubstr("no vertex element"));
    EXPECT_THAT(refusal("format ascii 1.0\nelement vertex 1\nproperty float x\n"),
                HasSubstr("x, y and z"));
    EXPECT_THAT(refusal("property float x\n"), HasSubstr("before the first element"));
    EXPECT_THAT(refusal("element a 1\nproperty real x\n"), HasSubstr("type is not known"));
    EXPECT_THAT(refusal("element a 1\nproperty list float int x\n"), HasSubstr("integer type"));
    EXPECT_THAT(refusal("polygon 3\n"), HasSubstr("keyword"));
    EXPECT_THAT(refusal("1 2 3\x1b\n"), HasSubstr("\"1 2 3.\""));
    EXPECT_THAT(refusal("element vertex 1\nelement vertex 2\n"), HasSubstr("already"));
    EXPECT_THAT(ReadAll("ply\n" + std::string(3u << 20, ' ')).error, HasSubstr("does not end"));
}

}  // namespace
}  // namespace orvix::test
