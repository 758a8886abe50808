// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

std::string Header(const std::string& fields, const std::string& sizes, const std::string& types,
                   std::size_t points, const std::string& data) {
    return fmt::format(
        "# .PCD v0.7 - Point Cloud Data file format\nVERSION 0.7\nFIELDS {}\nSIZE {}\nTYPE {}\n"
        "WIDTH {}\nHEIGHT 1\nVIEWPOINT 1 2 3 1 0 0 0\nPOINTS {}\nDATA {}\n",
        fields, sizes, types, points, points, data);
}

template <class Value>
void Put(Bytes& out, Value value) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
    out.insert(out.end(), bytes, bytes + sizeof value);
}

Bytes Joined(const std::string& header, const Bytes& body) {
    Bytes file(header.begin(), header.end());
    file.insert(file.end(), body.begin(), body.end());
    return file;
}

/// Packs greedily, as the format's reference does: literals, and matches of 3 bytes or more.
Bytes PackLzf(const Bytes& raw) {
    Bytes packed, literals;
    const auto flush = [&] {
        for (std::size_t at = 0; at < literals.size(); at += 32) {
            const std::size_t part = std::min<std::size_t>(32, literals.size() - at);
            packed.push_back(static_cast<std::uint8_t>(part - 1));
            packed.insert(packed.end(), literals.begin() + static_cast<std::ptrdiff_t>(at),
                          literals.begin() + static_cast<std::ptrdiff_t>(at + part));
        }
        literals.clear();
    };
    for (std::size_t i = 0; i < raw.size();) {
        std::size_t best = 0, distance = 0;
        for (std::size_t back = 1; back <= std::min<std::size_t>(i, 8192);
             back += back < 40 ? 1 : 97) {
            std::size_t length = 0;
            while (length < 264 && i + length < raw.size() &&
                   raw[i + length] == raw[i + length - back]) {
                ++length;
            }
            if (length > best) best = length, distance = back;
        }
        if (best < 3) {
            literals.push_back(raw[i++]);
            continue;
        }
        flush();
        const std::size_t shown = best - 2;
        const auto high = static_cast<std::uint8_t>((distance - 1) >> 8);
        packed.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(shown, 7) << 5 | high));
        if (shown >= 7) packed.push_back(static_cast<std::uint8_t>(shown - 7));
        packed.push_back(static_cast<std::uint8_t>((distance - 1) & 0xFF));
        i += best;
    }
    flush();
    return packed;
}

/// Points (i, -i, 0.5 i) with rgb and label, by record or by field.
Bytes Body(std::size_t count, bool byField) {
    Bytes body;
    const auto put = [&](std::size_t i, int field) {
        const auto f = static_cast<float>(i);
        if (field == 0) Put(body, f);
        if (field == 1) Put(body, static_cast<double>(-f));
        if (field == 2) Put(body, f * 0.5F);
        if (field == 3)
            Put(body, std::bit_cast<float>(0xFF102030u + static_cast<std::uint32_t>(i % 7)));
        if (field == 4) Put(body, static_cast<std::uint16_t>(i % 300));
    };
    for (std::size_t i = 0; i < (byField ? 5 : count); ++i) {
        for (std::size_t j = 0; j < (byField ? count : 5); ++j) {
            byField ? put(j, static_cast<int>(i)) : put(i, static_cast<int>(j));
        }
    }
    return body;
}

std::string BodyHeader(std::size_t count, const std::string& data) {
    return Header("x y z rgb label", "4 8 4 4 2", "F F F F U", count, data);
}

Bytes Compressed(std::size_t count) {
    const Bytes raw = Body(count, true);
    const Bytes packed = PackLzf(raw);
    Bytes body;
    Put(body, static_cast<std::uint32_t>(packed.size()));
    Put(body, static_cast<std::uint32_t>(raw.size()));
    body.insert(body.end(), packed.begin(), packed.end());
    return Joined(BodyHeader(count, "binary_compressed"), body);
}

void ExpectBody(const WholeScan& scan, std::size_t count) {
    ASSERT_EQ(scan.error, "");
    ASSERT_EQ(scan.points.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto& p = scan.points[i];
        ASSERT_EQ(p.x, static_cast<double>(i));
        ASSERT_EQ(p.y, -static_cast<double>(i));
        ASSERT_EQ(p.z, static_cast<double>(i) * 0.5);
        ASSERT_EQ(p.red, 0x10);
        ASSERT_EQ(p.green, 0x20);
        ASSERT_EQ(p.blue, 0x30 + i % 7);
        ASSERT_EQ(p.classification, i % 300 < 256 ? i % 300 : 0);
    }
}

TEST(Pcd, ReadsTheSamePointsFromBinaryAndCompressedBodies) {
    for (const std::size_t count : {1u, 33u, 100'001u}) {
        ExpectBody(ReadAll(Joined(BodyHeader(count, "binary"), Body(count, false))), count);
    }
    for (const std::size_t count : {1u, 33u, 5001u}) ExpectBody(ReadAll(Compressed(count)), count);
}

TEST(Pcd, ReadsLinesWithTheirWordsWhereTheFieldsSay) {
    const std::string fields =
        "VERSION .6\nFIELDS x y z normals rgb\nSIZE 4 4 4 4 4\nTYPE F F F F U\nCOUNT 1 1 1 3 1\n"
        "WIDTH 2\nHEIGHT 2\nDATA ascii\n";
    const WholeScan scan = ReadAll(fields +
                                   "1 2 3 0 0 1 66051\nnan nan nan 0 0 1 0\n"
                                   "4 5 x 0 0 1 1\n7 8 9 0 0 1 1\nmore 1 2\n");
    ASSERT_EQ(scan.error, "");
    EXPECT_EQ(scan.info.format, "PCD 0.6, ascii");
    EXPECT_EQ(Positions(scan), "1 2 3; nan nan nan; 7 8 9");
    EXPECT_EQ(scan.malformed, 1u);
    EXPECT_EQ(scan.points[0].red * 65536 + scan.points[0].green * 256 + scan.points[0].blue, 66051);
    EXPECT_FALSE(scan.info.scans[0].pose);
}

// BEHAVIOUR X20
TEST(Pcd, TheViewpointIsTheScannersPose) {
    const WholeScan scan = ReadAll(Header("x y z", "4 4 4", "F F F", 1, "ascii") + "0 0 0\n");
    ASSERT_TRUE(scan.info.scans[0].pose);
    EXPECT_EQ(scan.info.scans[0].pose->position.z, 3);
    EXPECT_EQ(scan.info.scans[0].map->Apply(1, 1, 1).x, 2);
}

TEST(Pcd, SaysWhatIsWrongWithAHeader) {
    const auto fault = [](const std::string& from, const std::string& to) {
        std::string text = Header("x y z", "4 4 4", "F F F", 2, "binary") + std::string(24, 'a');
        text.replace(text.find(from), from.size(), to);
        return ReadAll(text).error;
    };
    EXPECT_EQ(fault("POINTS", "POINTS"), "");
    EXPECT_THAT(fault("POINTS 2", "POINTS 3"), HasSubstr("2 points at most"));
    EXPECT_THAT(fault("POINTS 2", "POINTS 99999999999999999999"), HasSubstr("POINTS"));
    EXPECT_THAT(fault("SIZE 4 4 4", "SIZE 4 4"), HasSubstr("each of its fields"));
    EXPECT_THAT(fault("SIZE 4 4 4", "SIZE 4 3 4"), HasSubstr("field y"));
    EXPECT_THAT(fault("FIELDS x y z", "FIELDS x y w"), HasSubstr("no fields x, y and z"));
    EXPECT_THAT(fault("VIEWPOINT 1 2 3 1", "VIEWPOINT 1 2 3 0"), HasSubstr("VIEWPOINT"));
    EXPECT_THAT(fault("DATA binary", "DATA other"), HasSubstr("unknown encoding"));
    EXPECT_THAT(fault("DATA binary\n", "DOTA binary\n"), HasSubstr("no line DATA"));
}

TEST(Pcd, DamageToCompressedBytesIsToldOrHarmless) {
    const Bytes whole = Compressed(300);
    for (std::size_t size = 30; size < whole.size(); size += 11) {
        const auto end = whole.begin() + static_cast<std::ptrdiff_t>(size);
        EXPECT_NE(ReadAll(Bytes(whole.begin(), end)).error, "") << size;
    }
    const std::size_t body = BodyHeader(300, "binary_compressed").size();
    auto spoilt = whole;
    spoilt[body + 4] ^= 1;
    EXPECT_THAT(ReadAll(spoilt).error, HasSubstr("compressed bytes"));
    spoilt = whole;
    spoilt[body + 8] = 0xFF;  // a match before anything is there
    EXPECT_THAT(ReadAll(spoilt).error, HasSubstr("before their start"));
    std::mt19937 random(5);
    for (int i = 0; i < 400; ++i) {
        spoilt = whole;
        spoilt[body + 8 + random() % (whole.size() - body - 8)] ^=
            static_cast<std::uint8_t>(1u << (random() % 8));
        const WholeScan scan = ReadAll(spoilt);
        EXPECT_TRUE(!scan.error.empty() || scan.points.size() == 300);
    }
}

TEST(Pcd, FewerLinesThanDeclaredAreAnError) {
    EXPECT_THAT(ReadAll(Header("x y z", "4 4 4", "F F F", 3, "ascii") + "0 0 0\n1 1 1").error,
                HasSubstr("declares 3 points, but the file ends after 2"));
}

}  // namespace
}  // namespace orvix::test
