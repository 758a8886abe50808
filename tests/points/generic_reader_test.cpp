// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/generic_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "orvix/platform/view.h"
#include "tests/points/mapped_records.h"

namespace orvix {
namespace {

using Reader = GenericReader;
using Record = CCloudPoint<float>;

constexpr std::uint64_t kChunk = Reader::kChunkBytes;

class GenericReaderTest : public testing::Test {
protected:
    Reader OpenToRead(std::int64_t recordBytes = sizeof(Record)) {
        return Reader(path, recordBytes, Reader::kRead, Reader::kPageRead, Reader::kViewRead);
    }
    // Space that the disk does not have to hold.
    void WriteZeros(std::uint64_t bytes) {
        std::error_code error;
        platform::File file = platform::File::Create(path, error);
        file.Resize(bytes, error);
        ASSERT_FALSE(error);
    }

    test::ScratchFolder folder;
    CString path = folder / L"records";
};

TEST_F(GenericReaderTest, WalksEveryRecordOnceInOrder) {
    constexpr std::uint64_t kRecords = 720'000;
    test::WriteNumbered<Record>(path, kRecords, 5);
    Reader reader = OpenToRead();
    EXPECT_EQ(reader.Count(), kRecords);
    std::uint64_t number = 0;
    std::uint64_t chunks = 0;
    for (bool more = true; more; reader.Step(), ++chunks) {
        std::uint64_t at = 0;
        more = reader.ReadChunk(at);
        ASSERT_NE(reader.chunkView, nullptr);
        for (std::uint64_t i = 0; i < reader.recordsInView; ++i, at += sizeof(Record)) {
            Record record;
            std::memcpy(&record, reader.chunkView + at, sizeof record);
            ASSERT_TRUE(test::SameBytes(record, test::RecordNumber<Record>(number++)));
        }
    }
    EXPECT_EQ(number, kRecords);
    EXPECT_EQ(chunks, 3u);
    EXPECT_EQ(reader.Progress(), 100);
}

TEST_F(GenericReaderTest, StartsARecordThatStraddlesAChunkInTheNextChunk) {
    test::WriteNumbered<Record>(path, 400'000);
    Reader reader = OpenToRead();
    std::uint64_t at = 9;
    EXPECT_TRUE(reader.ReadChunk(at));
    EXPECT_EQ(at, 0u);
    EXPECT_EQ(reader.recordsInView, kChunk / sizeof(Record));
    reader.Step();
    EXPECT_EQ(reader.chunkView, nullptr);
    EXPECT_EQ(reader.nextRecord, 349'525u);
    EXPECT_FALSE(reader.ReadChunk(at));
    EXPECT_EQ(at, 349'525 * sizeof(Record) % 65'536);
    EXPECT_EQ(reader.recordsInView, 400'000u - 349'525);
}

// BEHAVIOUR R12, R13
TEST_F(GenericReaderTest, TellsProgressByChunks) {
    WriteZeros(kChunk);
    Reader reader = OpenToRead(16);
    EXPECT_EQ(reader.chunkTotal, 2u);
    EXPECT_EQ(reader.Progress(), 0);
    std::uint64_t at = 0;
    EXPECT_TRUE(reader.ReadChunk(at));
    EXPECT_EQ(reader.recordsInView, kChunk / 16);
    reader.Step();
    EXPECT_EQ(reader.Progress(), 50);
    // Nothing is left, and the pass ends with an empty chunk.
    EXPECT_FALSE(reader.ReadChunk(at));
    EXPECT_EQ(reader.recordsInView, 0u);
    reader.Step();
    EXPECT_EQ(reader.Progress(), 100);
}

// BEHAVIOUR R13
TEST_F(GenericReaderTest, PassesAHundredPercentWhereChunksOverlap) {
    WriteZeros(16'711'704);
    Reader reader = OpenToRead(24);
    std::vector<int> shown;
    for (bool more = true; more;) {
        std::uint64_t at = 0;
        more = reader.ReadChunk(at);
        reader.Step();
        shown.push_back(reader.Progress());
    }
    EXPECT_EQ(shown, (std::vector<int>{50, 100, 150}));
}

TEST_F(GenericReaderTest, ResetsToTheFirstChunk) {
    WriteZeros(30 * kChunk);
    Reader reader = OpenToRead(8);
    EXPECT_EQ(reader.chunkTenth, 3u);
    std::uint64_t at = 0;
    reader.ReadChunk(at);
    reader.Step();
    reader.ReadChunk(at);
    reader.Reset();
    EXPECT_EQ(reader.chunkView, nullptr);
    EXPECT_EQ(reader.nextRecord + reader.chunksDone + reader.recordsInView, 0u);
    EXPECT_EQ(reader.chunkTotal, 31u);
}

TEST_F(GenericReaderTest, StartsAChunkAtAnyRecordEvenPastFourGiB) {
    constexpr std::uint64_t kFirst = 0x1'4000'0000 / 24;
    WriteZeros((kFirst + 10) * 24 + 7);
    std::error_code error;
    const Record last = test::RecordNumber<Record>(1);
    platform::File file = platform::File::OpenReadWrite(path, error);
    file.WriteAt((kFirst + 9) * 24, &last, sizeof last, error);
    ASSERT_FALSE(error);
    Reader reader = OpenToRead();
    reader.SetPoint(kFirst);
    std::uint64_t at = 0;
    EXPECT_FALSE(reader.ReadChunk(at));
    ASSERT_EQ(reader.recordsInView, 10u);
    EXPECT_EQ(std::memcmp(reader.chunkView + at + 9 * sizeof last, &last, sizeof last), 0);
}

TEST_F(GenericReaderTest, HasNoRecordsPastTheEnd) {
    WriteZeros(2'400);
    Reader reader = OpenToRead();
    for (const std::uint64_t first : {std::uint64_t{100}, std::uint64_t{5'000'000}}) {
        reader.SetPoint(first);
        std::uint64_t at = 0;
        EXPECT_FALSE(reader.ReadChunk(at));
        EXPECT_EQ(reader.recordsInView, 0u);
        reader.ReadPoint(5'000'000, at);
        EXPECT_EQ(reader.pointView, nullptr);
    }
}

// BEHAVIOUR R14
TEST_F(GenericReaderTest, MapsTheGranuleOfARecordAndAllOfTheRecord) {
    test::WriteNumbered<Record>(path, 6'000);
    Reader reader = OpenToRead();
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        // Record 2,730 begins 16 bytes before the end of the first granule.
        const std::uint64_t number = round == 0 ? 2'730 : random() % 6'000;
        std::uint64_t at = 0;
        reader.ReadPoint(number, at);
        EXPECT_EQ(at, number * sizeof(Record) % 65'536);
        Record record;
        std::memcpy(&record, reader.pointView + at, sizeof record);
        ASSERT_TRUE(test::SameBytes(record, test::RecordNumber<Record>(number))) << number;
    }
    reader.FreePoint();
    EXPECT_EQ(reader.pointView, nullptr);
}

TEST_F(GenericReaderTest, LeavesTheChunkAloneWhenItMapsARecord) {
    test::WriteNumbered<Record>(path, 10);
    Reader reader = OpenToRead();
    std::uint64_t at = 0;
    reader.ReadChunk(at);
    const std::uint8_t* const chunk = reader.chunkView;
    reader.ReadPoint(3, at);
    EXPECT_EQ(reader.chunkView, chunk);
    EXPECT_EQ(reader.recordsInView, 10u);
    reader.FreePoint();
}

TEST_F(GenericReaderTest, WritesThroughAWritableView) {
    test::WriteNumbered<Record>(path, 10);
    {
        Reader reader(path, sizeof(Record), Reader::kReadWrite, Reader::kPageReadWrite,
                      Reader::kViewAll);
        std::uint64_t at = 0;
        reader.ReadChunk(at);
        reader.chunkView[at + 2 * sizeof(Record)] = 0xAB;
        reader.ReadPoint(3, at);
        reader.pointView[at] = 0xCD;
        reader.FreePoint();
    }
    const auto bytes = test::ReadBytes(path);
    EXPECT_EQ(bytes[2 * sizeof(Record)], 0xAB);
    EXPECT_EQ(bytes[3 * sizeof(Record)], 0xCD);
}

// BEHAVIOUR R14
TEST_F(GenericReaderTest, LeavesASingleRecordsViewToTheCaller) {
    test::WriteNumbered<Record>(path, 10);
    std::uint8_t* view = nullptr;
    std::uint64_t at = 0;
    {
        Reader reader = OpenToRead();
        reader.ReadPoint(4, at);
        view = reader.pointView;
    }
    Record record;
    std::memcpy(&record, view + at, sizeof record);
    EXPECT_TRUE(test::SameBytes(record, test::RecordNumber<Record>(4)));
    UnmapFileView(view);
}

TEST_F(GenericReaderTest, HasNullViewsOfAMissingOrEmptyFile) {
    for (const bool exists : {false, true}) {
        if (exists) WriteZeros(0);
        Reader reader = OpenToRead();
        std::uint64_t at = 5;
        EXPECT_FALSE(reader.ReadChunk(at));
        EXPECT_EQ(reader.chunkView, nullptr);
        EXPECT_EQ(at + reader.recordsInView + reader.Count(), 0u);
        reader.Step();
        EXPECT_EQ(reader.Progress(), 100);
    }
}

}  // namespace
}  // namespace orvix
