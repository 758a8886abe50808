// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/las/las.h"

#include <gmock/gmock.h>

#include <limits>

#include "orvix/platform/file.h"
#include "support/scans/las_writer.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using importer::ScanPoint;
using testing::HasSubstr;

std::vector<LasPoint> SomePoints(std::size_t count) {
    std::vector<LasPoint> points;
    for (std::size_t i = 0; i < count; ++i) {
        const auto n = static_cast<std::int32_t>(i);
        const auto u = static_cast<std::uint16_t>(i * 2531);
        points.push_back({n * 1'000'003 - 500, -n * 77'777, 2'147'483'647 - n, u,
                          static_cast<std::uint8_t>(i * 37), static_cast<std::uint16_t>(u + 1),
                          static_cast<std::uint16_t>(u + 2), static_cast<std::uint16_t>(u + 3)});
    }
    return points;
}

bool HasColour(std::uint8_t format) {
    return format == 2 || format == 3 || format == 5 || format == 7 || format == 8 || format == 10;
}

class LasPointFormats : public testing::TestWithParam<int> {};

// BEHAVIOUR X6
TEST_P(LasPointFormats, EveryAttributeOfEveryVersionIsReadAsStored) {
    const auto format = static_cast<std::uint8_t>(GetParam());
    const auto points = SomePoints(50);
    for (int minor = format >= 6 ? 4 : 0; minor <= 4; ++minor) {
        for (const std::uint16_t extra : {std::uint16_t{0}, std::uint16_t{7}}) {
            const LasLayout layout{.minorVersion = minor,
                                   .pointFormat = format,
                                   .extraBytes = extra,
                                   .scale = {0.01, 0.001, 1e-7},
                                   .offset = {85'000.5, -447'000, 3.25},
                                   .firstPointByte = 500};
            const WholeScan scan = ReadAll(MakeLas(layout, points));
            ASSERT_EQ(scan.error, "");
            ASSERT_EQ(scan.points.size(), points.size());
            EXPECT_EQ(scan.info.format, "LAS 1." + std::to_string(minor) + ", point format " +
                                            std::to_string(format));
            EXPECT_EQ(scan.info.declaredPoints, points.size());
            EXPECT_EQ(scan.info.hasColour, HasColour(format));
            for (std::size_t i = 0; i < points.size(); ++i) {
                const LasPoint& stored = points[i];
                const ScanPoint& read = scan.points[i];
                EXPECT_EQ(read.x, stored.x * 0.01 + 85'000.5);
                EXPECT_EQ(read.y, stored.y * 0.001 + -447'000.0);
                EXPECT_EQ(read.z, stored.z * 1e-7 + 3.25);
                EXPECT_EQ(read.intensity, static_cast<float>(stored.intensity));
                EXPECT_EQ(read.classification, stored.classification & (format < 6 ? 31 : 255));
                EXPECT_EQ(read.red, HasColour(format) ? stored.red : 0);
                EXPECT_EQ(read.green, HasColour(format) ? stored.green : 0);
                EXPECT_EQ(read.blue, HasColour(format) ? stored.blue : 0);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, LasPointFormats, testing::Range(0, 11));

TEST(LasReader, ThePieceBoundaryCutsNoRecord) {
    const LasLayout layout{.minorVersion = 4, .pointFormat = 10, .extraBytes = 30'011};
    const auto points = SomePoints(200);
    const WholeScan scan = ReadAll(MakeLas(layout, points));
    ASSERT_EQ(scan.points.size(), 200u) << scan.error;
    EXPECT_EQ(scan.pieces, 3u);
    EXPECT_EQ(scan.points[199].green, points[199].green);
}

// BEHAVIOUR X3
TEST(LasReader, TheWideCountOfLas14CountsUnlessItIsZero) {
    const auto points = SomePoints(5);
    LasLayout layout{.minorVersion = 4, .pointFormat = 6, .count32 = 2, .count64 = 4};
    EXPECT_EQ(ReadAll(MakeLas(layout, points)).points.size(), 4u);
    layout.count64 = 0;
    EXPECT_EQ(ReadAll(MakeLas(layout, points)).points.size(), 2u);
    layout.count32 = 0;
    const WholeScan none = ReadAll(MakeLas(layout, points));
    EXPECT_EQ(none.error, "");
    EXPECT_EQ(none.points.size(), 0u);
}

// BEHAVIOUR X2
TEST(LasReader, EveryTruncationIsToldWithItsNumbers) {
    const auto bytes = MakeLas({.minorVersion = 4, .pointFormat = 7}, SomePoints(10));
    for (std::size_t size = 4; size < bytes.size(); ++size) {
        const WholeScan scan = ReadAll(std::vector(bytes.begin(), bytes.begin() + size));
        EXPECT_THAT(scan.error, HasSubstr("cut short")) << size;
        if (size < 375) continue;
        const auto whole = std::to_string((size - 375) / 36);
        EXPECT_THAT(scan.error, HasSubstr("declares 10 points of 36 bytes")) << size;
        EXPECT_THAT(scan.error, HasSubstr(": " + whole + " points at most")) << size;
    }
}

TEST(LasReader, NoCountHoweverLargeIsTrusted) {
    const auto points = SomePoints(3);
    for (const std::uint64_t count : {4ull, 1ull << 32, (1ull << 63) / 30, ~0ull / 30, ~0ull}) {
        const LasLayout layout{.minorVersion = 4, .pointFormat = 6, .count64 = count};
        EXPECT_THAT(ReadAll(MakeLas(layout, points)).error, HasSubstr("cut short")) << count;
    }
}

TEST(LasReader, AHeaderThatContradictsItselfIsRefused) {
    const auto refusal = [](LasLayout layout, std::size_t at = 0, int value = 0) {
        auto bytes = MakeLas(layout, SomePoints(3));
        if (at != 0) bytes[at] = static_cast<std::uint8_t>(value);
        return ReadAll(bytes).error;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(refusal({.scale = {1, 0, 1}}), HasSubstr("y the scale 0"));
    EXPECT_THAT(refusal({.scale = {nan, 1, 1}}), HasSubstr("x the scale nan"));
    EXPECT_THAT(refusal({.offset = {0, 0, 1 / 0.0}}), HasSubstr("z the scale"));
    EXPECT_THAT(refusal({}, 24, 2), HasSubstr("LAS 2.2"));
    EXPECT_THAT(refusal({}, 25, 5), HasSubstr("LAS 1.5"));
    EXPECT_THAT(refusal({}, 104, 11), HasSubstr("format 11"));
    EXPECT_THAT(refusal({}, 105, 19), HasSubstr("19 bytes, but point format 0 needs 20"));
    EXPECT_THAT(refusal({}, 94, 200), HasSubstr("header of 200 bytes"));
    EXPECT_THAT(refusal({}, 96, 226), HasSubstr("points from byte 226"));
    EXPECT_THAT(refusal({}, 99, 0xFF), HasSubstr("cut short"));
}

TEST(LasReader, AnUnknownCompressionIsNamedWithTheWayOut) {
    for (const int bits : {0xC0, 0x40}) {
        auto bytes = MakeLas({}, SomePoints(3));
        bytes[104] = static_cast<std::uint8_t>(bytes[104] | bits);
        EXPECT_THAT(ReadAll(bytes).error, HasSubstr("laszip -i in.laz -o out.las"));
    }
    auto bytes = MakeLas({.firstPointByte = 400, .count32 = 1000}, SomePoints(3));
    bytes[100] = 1;
    std::copy_n("laszip encoded", 14, bytes.begin() + 227 + 2);
    EXPECT_THAT(ReadAll(bytes).error, HasSubstr("compressed"));
}

TEST(LasReader, PointsBeyondFourGigabytesAreReadWhereTheyStand) {
    const ScratchFolder folder;
    const LasLayout layout{.minorVersion = 4, .pointFormat = 6, .firstPointByte = 0xFFFFFFFF};
    constexpr std::uint64_t kPoints = 200'000;
    LasLayout small = layout;
    small.firstPointByte = 375;
    auto header = LasHeaderOf(small, kPoints);
    std::fill_n(header.begin() + 96, 4, std::uint8_t{0xFF});
    std::vector<std::uint8_t> last;
    AppendLasPoint(layout, {.x = 1000, .y = 2000, .z = -3000}, last);

    std::error_code error;
    auto file = platform::File::Create(folder / L"big.las", error);
    file.WriteAt(0, header.data(), header.size(), error);
    file.WriteAt(0xFFFFFFFFull + (kPoints - 1) * 30, last.data(), last.size(), error);
    file.Close(error);
    ASSERT_FALSE(error) << error.message();

    const WholeScan scan = ReadAll(folder / L"big.las");
    ASSERT_EQ(scan.points.size(), kPoints) << scan.error;
    EXPECT_EQ(scan.points.back().z, -3.0);
    EXPECT_EQ(scan.points[kPoints - 2].z, 0.0);
}

}  // namespace
}  // namespace orvix::test
