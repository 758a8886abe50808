// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <string_view>

#include "importer/formats/laz/laz_layout.h"
#include "support/scans/laz_writer.h"
#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using namespace importer;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

struct Cloud {
    LasLayout layout;
    std::size_t stride = 0;
    Bytes records;
};

/// Records that resemble those of a scan, or, when wild, of nothing: each attribute stays, takes a
/// small step or jumps anywhere.
Cloud RandomCloud(int format, std::uint16_t extraBytes, std::size_t count, std::uint64_t seed,
                  bool wild) {
    Cloud cloud;
    cloud.layout = {.minorVersion = 4,
                    .pointFormat = static_cast<std::uint8_t>(format),
                    .extraBytes = extraBytes};
    cloud.stride = std::size_t{LasRecordBytes(cloud.layout.pointFormat)} + extraBytes;
    std::mt19937_64 random(seed);
    Bytes record(cloud.stride);
    for (std::uint8_t& byte : record) byte = static_cast<std::uint8_t>(random());
    const std::size_t timeAt = format < 6 ? 20 : 22;
    const bool hasTime = format == 1 || format == 3 || format >= 6;
    for (std::size_t i = 0; i < count; ++i) {
        const auto jump = [&](std::size_t at, std::size_t bytes) {
            const std::uint64_t draw = random();
            std::uint64_t value = 0;
            std::memcpy(&value, record.data() + at, bytes);
            if (draw % 64 < (wild ? 16 : 1)) value = random();
            if (draw / 64 % 4 == 0) value += random() % 41 - 20;
            std::memcpy(record.data() + at, &value, bytes);
        };
        for (const std::size_t at : {0, 4, 8}) jump(at, 4);
        jump(12, 2);
        for (std::size_t at = 14; at < 18; ++at) jump(at, 1);
        if (!wild && format >= 6) record[15] &= 0xDF;  // two of the scanner channels
        jump(18, 2);
        if (format >= 6) jump(20, 2);
        if (hasTime) jump(timeAt, random() % 16 == 0 ? 8 : 4);
        for (std::size_t at = format < 6 ? 20 : 30; at < cloud.stride; ++at) {
            if (!hasTime || at < timeAt || at >= timeAt + 8) jump(at, 1);
        }
        cloud.records.insert(cloud.records.end(), record.begin(), record.end());
    }
    return cloud;
}

/// The records of a compressed file, whole.
Bytes Decompress(const Bytes& bytes) {
    const ScratchFolder folder;
    WriteBytes(folder / L"scan", bytes.data(), bytes.size());
    const auto file = ScanFile::Open(folder / L"scan");
    const auto header = ReadLasHeader(*file);
    EXPECT_TRUE(header) << header.error().message;
    const auto layout = laz::ReadLazLayout(*file, *header);
    EXPECT_TRUE(layout) << layout.error().message;
    Bytes records;
    if (!layout) return records;
    for (const laz::Chunk& chunk : layout->chunks) {
        Bytes compressed;
        EXPECT_TRUE(file->ReadBlock(chunk.offset, chunk.bytes, compressed));
        const auto decoder = layout->layered ? laz::OpenLayeredChunk(layout->shape, compressed,
                                                                     chunk.points, laz::Layers::All)
                                             : laz::OpenPointwiseChunk(layout->shape, compressed);
        if (!decoder) return records;
        const std::size_t at = records.size();
        records.resize(at + chunk.points * header->recordBytes);
        decoder->Decode(std::span(records).subspan(at));
        EXPECT_FALSE(decoder->RanPastEnd());
    }
    return records;
}

class LazFormats : public testing::TestWithParam<std::tuple<int, int, bool>> {};

TEST_P(LazFormats, EveryByteOfEveryRecordComesBack) {
    const auto [format, extra, wild] = GetParam();
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        const Cloud cloud =
            RandomCloud(format, static_cast<std::uint16_t>(extra), 3000, seed, wild);
        for (const std::uint16_t version : {std::uint16_t{3}, std::uint16_t{4}}) {
            const Bytes laz = MakeLaz(cloud.layout, cloud.records,
                                      {.chunkPoints = {1300},
                                       .version = format < 6 ? std::uint16_t{2} : version,
                                       .seed = seed});
            ASSERT_EQ(Decompress(laz), cloud.records) << "seed " << seed << " version " << version;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, LazFormats,
                         testing::Combine(testing::Values(0, 1, 2, 3, 6, 7, 8),
                                          testing::Values(0, 3), testing::Bool()));

class LazReading : public testing::TestWithParam<int> {};

TEST_P(LazReading, ThePointsAreThoseOfTheUncompressedFile) {
    const Cloud cloud = RandomCloud(GetParam(), 2, 2500, 7, false);
    Bytes las = LasHeaderOf(cloud.layout, 2500);
    las.insert(las.end(), cloud.records.begin(), cloud.records.end());
    const WholeScan expected = ReadAll(las);
    for (const LazOptions& options :
         {LazOptions{}, LazOptions{.chunkPoints = {100}}, LazOptions{.chunkPoints = {2500}},
          LazOptions{.chunkPoints = {1, 7, 400, 1000}, .tableAtEnd = true}}) {
        const WholeScan scan = ReadAll(MakeLaz(cloud.layout, cloud.records, options));
        ASSERT_EQ(scan.error, "");
        EXPECT_EQ(scan.info.format, "LAZ 1.4, point format " + std::to_string(GetParam()));
        EXPECT_EQ(scan.info.declaredPoints, 2500u);
        EXPECT_EQ(Positions(scan), Positions(expected));
        for (std::size_t i = 0; i < scan.points.size(); ++i) {
            EXPECT_EQ(scan.points[i].intensity, expected.points[i].intensity);
            EXPECT_EQ(scan.points[i].classification, expected.points[i].classification);
            EXPECT_EQ(scan.points[i].red, expected.points[i].red);
            EXPECT_EQ(scan.points[i].green, expected.points[i].green);
            EXPECT_EQ(scan.points[i].blue, expected.points[i].blue);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, LazReading, testing::Values(0, 1, 2, 3, 6, 7, 8));

TEST(LazReader, PointsThatAreAllEqualTakeNextToNoBytes) {
    const Cloud one = RandomCloud(6, 0, 1, 1, false);
    Bytes records;
    for (int i = 0; i < 20'000; ++i) {
        records.insert(records.end(), one.records.begin(), one.records.end());
    }
    const Bytes laz = MakeLaz(one.layout, records);
    EXPECT_LT(laz.size(), 2000u);
    EXPECT_EQ(Decompress(laz), records);
}

TEST(LazReader, AFileWithoutPointsHasNoChunks) {
    const Cloud cloud = RandomCloud(1, 0, 0, 1, false);
    const WholeScan scan = ReadAll(MakeLaz(cloud.layout, cloud.records));
    EXPECT_EQ(scan.error, "");
    EXPECT_EQ(scan.points.size(), 0u);
}

TEST(LazReader, EveryTruncationIsAnError) {
    for (const int format : {3, 8}) {
        const Cloud cloud = RandomCloud(format, 1, 20, 3, false);
        const Bytes laz = MakeLaz(cloud.layout, cloud.records, {.chunkPoints = {9}});
        // The encoder's last bytes may be left out where they are zeros.
        for (std::size_t size = 4; size + 4 < laz.size(); ++size) {
            EXPECT_NE(ReadAll(Bytes(laz.begin(), laz.begin() + static_cast<long>(size))).error, "")
                << size;
        }
    }
}

TEST(LazReader, AChunkCutShortRunsPastItsEndAndReadsNoOtherByte) {
    for (const int format : {1, 7}) {
        const Cloud cloud = RandomCloud(format, 0, 300, 3, false);
        const Bytes laz = MakeLaz(cloud.layout, cloud.records);
        const std::size_t first = 375 + 54 + 34 + 6 * 2 + 8;
        std::uint64_t table = 0;
        std::memcpy(&table, laz.data() + first - 8, 8);
        Bytes records(cloud.records.size());
        for (std::size_t cut = first; cut < table; ++cut) {
            const Bytes chunk(laz.begin() + static_cast<std::ptrdiff_t>(first),
                              laz.begin() + static_cast<std::ptrdiff_t>(cut));
            const laz::RecordShape shape{.hasGpsTime = true, .hasColour = format == 7};
            const auto decoder = format == 7
                                     ? laz::OpenLayeredChunk(shape, chunk, 300, laz::Layers::All)
                                     : laz::OpenPointwiseChunk(shape, chunk);
            if (!decoder) continue;
            decoder->Decode(records);
            // A few of the encoder's last bytes may be missing.
            EXPECT_TRUE(decoder->RanPastEnd() || cut + 8 > table) << cut;
        }
    }
}

TEST(LazReader, DamagedPointsAreAnErrorWithTheirPlace) {
    const Cloud cloud = RandomCloud(6, 0, 100, 3, false);
    Bytes laz = MakeLaz(cloud.layout, cloud.records, {.chunkPoints = {40}});
    const std::size_t first = 375 + 54 + 34 + 6 + 8;
    laz[first + 30] = 41;  // the points that the first chunk says it has
    EXPECT_THAT(ReadAll(laz).error, AllOf(HasSubstr("do not hold the 40 compressed points"),
                                          HasSubstr("from byte 477 on")));
}

// BEHAVIOUR X5
TEST(LazReader, AnySpoiltBytesGiveAnErrorOrAsManyPoints) {
    std::mt19937_64 random(11);
    for (const int format : {0, 3, 6, 8}) {
        const Cloud cloud = RandomCloud(format, 2, 400, 5, false);
        const Bytes laz = MakeLaz(cloud.layout, cloud.records, {.chunkPoints = {150}});
        for (int i = 0; i < 150; ++i) {
            Bytes spoilt = laz;
            for (std::uint64_t n = 1 + random() % 3; n > 0; --n) {
                spoilt[227 + random() % (spoilt.size() - 227)] =
                    static_cast<std::uint8_t>(random());
            }
            const WholeScan scan = ReadAll(spoilt);
            if (scan.error.empty() && scan.info.declaredPoints) {
                EXPECT_EQ(scan.points.size(), *scan.info.declaredPoints);
            }
        }
    }
}

/// The error for a file with some bytes replaced; `at` counts from the parameters' first byte.
std::string Refusal(const Bytes& laz, std::size_t at, std::initializer_list<int> values) {
    Bytes bytes = laz;
    for (const int value : values) bytes[375 + 54 + at++] = static_cast<std::uint8_t>(value);
    return ReadAll(bytes).error;
}

TEST(LazReader, ParametersThatAreNotReadAreNamedWithTheWayOut) {
    const Cloud cloud = RandomCloud(1, 0, 100, 1, false);
    const Bytes laz = MakeLaz(cloud.layout, cloud.records, {.chunkPoints = {40}});
    const auto wayOut = HasSubstr("laszip -i in.laz -o out.las");
    EXPECT_THAT(Refusal(laz, 0, {1}), AllOf(HasSubstr("compressor 1"), wayOut));
    EXPECT_THAT(Refusal(laz, 2, {1}), AllOf(HasSubstr("coder 1"), wayOut));
    EXPECT_THAT(Refusal(laz, 34 + 4, {1}), AllOf(HasSubstr("version 1 of item 6"), wayOut));
    EXPECT_THAT(Refusal(laz, 34 + 6 + 4, {3}), AllOf(HasSubstr("version 3 of item 7"), wayOut));
    EXPECT_THAT(Refusal(laz, 34, {10}), HasSubstr("do not make up point format 1"));
    EXPECT_THAT(Refusal(laz, 34 + 6 + 2, {9}), HasSubstr("do not make up point format 1"));
    EXPECT_THAT(Refusal(laz, 32, {0}), HasSubstr("too few"));
    EXPECT_THAT(Refusal(laz, 32, {0xFF, 0xFF}), HasSubstr("too few"));
    EXPECT_THAT(Refusal(laz, 12, {0, 0, 0, 0}), HasSubstr("3 chunks with 0 points"));
    Bytes waveforms = laz;
    waveforms[104] = 0x84;
    waveforms[105] = 57;
    EXPECT_THAT(ReadAll(waveforms).error, AllOf(HasSubstr("waveforms"), wayOut));
    Bytes lost = laz;
    lost[375 + 2] = 'L';
    EXPECT_THAT(ReadAll(lost).error, HasSubstr("the record that says how is missing"));
}

// BEHAVIOUR X4
TEST(LazReader, NoTableHoweverWrongIsTrusted) {
    const Cloud cloud = RandomCloud(1, 0, 100, 1, false);
    const Bytes laz = MakeLaz(cloud.layout, cloud.records, {.chunkPoints = {40}});
    const std::size_t place = 375 + 54 + 34 + 12;
    std::uint64_t table = 0;
    std::memcpy(&table, laz.data() + place, 8);
    for (const std::uint64_t wrong : {std::uint64_t{0}, std::uint64_t{place}, table + (1u << 20),
                                      ~std::uint64_t{0}, ~std::uint64_t{1}, table - 9}) {
        Bytes bytes = laz;
        std::memcpy(bytes.data() + place, &wrong, 8);
        EXPECT_NE(ReadAll(bytes).error, "") << wrong;
    }
    for (const std::uint32_t count : {0u, 2u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Bytes bytes = laz;
        std::memcpy(bytes.data() + table + 4, &count, 4);
        EXPECT_NE(ReadAll(bytes).error, "") << count;
    }
    for (const std::uint64_t points :
         {std::uint64_t{121}, std::uint64_t{1} << 40, ~std::uint64_t{0}}) {
        Bytes bytes = laz;
        std::memcpy(bytes.data() + 247, &points, 8);
        EXPECT_THAT(ReadAll(bytes).error, AnyOf(HasSubstr("declares"), HasSubstr("chunk")))
            << points;
    }
}

Bytes RecordsOf(const CString& path) {
    const auto file = ScanFile::Open(path);
    const auto header = ReadLasHeader(*file);
    Bytes records;
    EXPECT_TRUE(
        file->ReadBlock(header->firstPointByte, header->points * header->recordBytes, records));
    return records;
}

CString Shared(const std::string& name) {
    return platform::FromUtf8(std::string(ORVIX_SHARED_DATA) + "/" + name);
}

Bytes FileBytes(const CString& path) {
    const auto file = ScanFile::Open(path);
    Bytes bytes;
    EXPECT_TRUE(file->ReadBlock(0, file->Size(), bytes));
    return bytes;
}

TEST(LazReader, RealScansHoldTheRecordsOfTheirUncompressedCopies) {
    if (std::string_view(ORVIX_SHARED_DATA).empty()) {
        GTEST_SKIP() << "no folder of real scans beside this checkout";
    }
    const Bytes delft = RecordsOf(Shared("delft_ahn3.las"));
    const Bytes east = Decompress(FileBytes(Shared("delft_ahn3_east.laz")));
    ASSERT_LE(east.size(), delft.size());
    EXPECT_TRUE(std::equal(east.rbegin(), east.rend(), delft.rbegin()));

    const Bytes herault = RecordsOf(Shared("ign_herault.las"));
    const Bytes tile = Decompress(FileBytes(Shared("ign_herault_tile_77060_627755.laz")));
    EXPECT_NE(std::search(herault.begin(), herault.end(), tile.begin(), tile.end()), herault.end());

    // The uncompressed copy leaves out times and colours that are all zero.
    const Bytes lobby = RecordsOf(Shared("indoor_lobby.las"));
    const Bytes whole = Decompress(FileBytes(Shared("indoor_lobby.laz")));
    Bytes points;
    for (std::size_t at = 0; at < whole.size(); at += 34) {
        points.insert(points.end(), whole.begin() + static_cast<long>(at),
                      whole.begin() + static_cast<long>(at) + 20);
    }
    EXPECT_TRUE(points == lobby);
}
}  // namespace
}  // namespace orvix::test
