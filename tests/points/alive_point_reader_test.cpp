// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/alive_point_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "orvix/platform/error_channel.h"
#include "tests/points/mapped_records.h"

namespace orvix {
namespace {

using test::MappedRecords;
using test::RecordNumber;
using test::SameBytes;
using test::WriteNumbered;
using Alive = CCloudPoint<float>;
using Coord = SimplePointT<float>;
using Data = CPointDataFull;
using platform::kViewAll;
using platform::kViewRead;

/// The three files as a project core hands them over; the batch bounds can be lowered.
class Reader : public CAlivePointReader {
public:
    Reader(const MappedRecords& alive, const MappedRecords& data, const MappedRecords& coord,
           std::uint32_t access = kViewRead)
        : CAlivePointReader(alive.Size(), data.Size(), coord.Size(), data.Mapping(),
                            coord.Mapping(), alive.Mapping(), access, access, access) {}
    explicit Reader(const MappedRecords& alive, std::uint32_t access = kViewRead)
        : CAlivePointReader(alive.Size(), 0, 0, nullptr, nullptr, alive.Mapping(), access, access,
                            access) {}
    void BoundBatches(std::uint64_t budget, std::uint64_t limit) {
        batchBudget_ = budget;
        batchPointLimit_ = limit;
    }
};

std::vector<std::wstring> reported;

class AlivePointReader : public testing::Test {
protected:
    AlivePointReader() {
        reported.clear();
        SetErrorChannel([](const wchar_t* text) { reported.emplace_back(text); });
    }
    ~AlivePointReader() override { SetErrorChannel(nullptr); }

    CString AliveFile(std::uint64_t count, std::size_t extraBytes = 0) {
        return WriteNumbered<Alive>(folder_ / L"Grid.pts", count, extraBytes);
    }

    test::ScratchFolder folder_;
};

bool CurrentIs(CAlivePointReader& reader, std::uint64_t number) {
    Alive point;
    reader.ReadCurrentPoint(point);
    return SameBytes(point, RecordNumber<Alive>(number));
}

bool HoldsRun(const std::vector<Alive>& points, std::size_t from, const CIndexerSmall& run) {
    for (std::uint64_t i = 0; i < run.count; ++i) {
        if (!SameBytes(points.at(from + i), RecordNumber<Alive>(run.offset + i))) return false;
    }
    return true;
}

TEST_F(AlivePointReader, StartsARecordThatStraddlesAViewInTheNextView) {
    const MappedRecords file(AliveFile(349'526));  // 8 MiB and the rest of one record
    Reader reader(file);
    for (int i = 0; i < 349'525; ++i) ASSERT_TRUE(reader.ReadNextPoint());
    EXPECT_EQ(reader.CurrentOffsetAlive(), 0u);
    EXPECT_TRUE(CurrentIs(reader, 349'524));
    ASSERT_TRUE(reader.ReadNextPoint());
    EXPECT_EQ(reader.CurrentOffsetAlive(), 8'323'072u);
    EXPECT_EQ(reader.CurrentBufferOffsetAlive(), 65'528u);
    EXPECT_EQ(reader.CurrentPointPositionAlive(), 65'528u);
    EXPECT_TRUE(CurrentIs(reader, 349'525));
    EXPECT_FALSE(reader.ReadNextPoint());
    EXPECT_FALSE(reader.ReadNextPoint());
    EXPECT_EQ(reader.PtsMapAddressAlive(), nullptr);
}

// BEHAVIOUR R1
TEST_F(AlivePointReader, GoesOnReturningTrueWhenTheLastViewHoldsNoWholeRecord) {
    const MappedRecords eightMiB(AliveFile(349'525, 8));
    ASSERT_EQ(eightMiB.Size(), CAlivePointReader::kViewBytes);
    Reader reader(eightMiB);
    for (int i = 0; i < 349'525 + 1'000; ++i) ASSERT_TRUE(reader.ReadNextPoint());

    const MappedRecords empty(WriteNumbered<Alive>(folder_ / L"empty", 0));
    Reader emptyReader(empty);
    for (int i = 0; i < 1'000; ++i) ASSERT_TRUE(emptyReader.ReadNextPoint());
}

// BEHAVIOUR R5
TEST_F(AlivePointReader, ServesALongRunInChunksThatFitAViewWhereverTheyBegin) {
    const MappedRecords file(AliveFile(350'000));
    Reader reader(file);
    for (const CIndexerSmall run : {CIndexerSmall{2'730, 346'795}, CIndexerSmall{5, 346'794},
                                    CIndexerSmall{7, 0}, CIndexerSmall{349'999, 1}}) {
        std::uint64_t served = 0;
        std::vector<std::uint64_t> views;
        while (reader.ReadIndexPoints(run)) {
            ASSERT_TRUE(CurrentIs(reader, run.offset + served++));
            const std::uint64_t view = reader.CurrentOffsetAlive();
            if (views.empty() || views.back() != view) views.push_back(view);
        }
        EXPECT_EQ(served, run.count);
        EXPECT_EQ(views.size(), (run.count + 346'793) / 346'794);
    }
    EXPECT_TRUE(reported.empty());
}

TEST_F(AlivePointReader, AppendsARunWithoutMovingTheCursors) {
    const MappedRecords file(AliveFile(360'000));
    Reader reader(file);
    for (int i = 0; i < 10; ++i) reader.ReadNextPoint();
    std::vector<Alive> out(3);
    // Within one view, across its end, longer than any view.
    const CIndexerSmall runs[] = {{100, 50}, {349'000, 11'000}, {0, 360'000}, {17, 0}};
    for (const auto& run : runs) {
        const std::size_t before = out.size();
        reader.ReadIndexPoints(run.offset, run.count, out);
        ASSERT_EQ(out.size(), before + run.count);
        EXPECT_TRUE(HoldsRun(out, before, run));
    }
    EXPECT_TRUE(CurrentIs(reader, 9));
    ASSERT_TRUE(reader.ReadNextPoint());
    EXPECT_TRUE(CurrentIs(reader, 10));
    EXPECT_TRUE(reported.empty());
}

// BEHAVIOUR R7
TEST_F(AlivePointReader, ReportsARunThatCannotBeMappedAndAppendsNothing) {
    const MappedRecords file(AliveFile(100));
    Reader reader(file);
    std::vector<Alive> out(2);
    reader.ReadIndexPoints(0, 10, out);  // maps a view that the next run must not be taken from
    reader.ReadIndexPoints(99, 2, out);
    reader.ReadIndexPoints(~std::uint64_t{0} / 24 + 1, 1, out);
    EXPECT_EQ(out.size(), 12u);
    EXPECT_EQ(reported, std::vector<std::wstring>(2, L"ReadIndexPoints  ERROR"));

    reported.clear();
    std::vector<CIndexerSmall> runs = {{0, 10}, {99, 2}};
    EXPECT_FALSE(reader.ReadIndexesPts(runs, out));
    std::vector<CIndexerSmall> descending = {{50, 10}, {0, 10}};
    EXPECT_FALSE(reader.ReadIndexesPts(descending, out));
    std::vector<CIndexerSmall> dip = {{50, 10}, {0, 10}, {70, 10}};
    EXPECT_FALSE(reader.ReadIndexesPts(dip, out));
    EXPECT_EQ(out.size(), 12u);
    EXPECT_EQ(reported, std::vector<std::wstring>(3, L"ReadIndexesPoints  ERROR"));
}

// BEHAVIOUR R6
TEST_F(AlivePointReader, ReadsOneRunAsABatchWithoutRegardToTheBudget) {
    const MappedRecords file(AliveFile(5'000));
    Reader reader(file);
    reader.BoundBatches(24, 1);
    std::vector<CIndexerSmall> runs = {{3, 4'000}};
    std::vector<Alive> out;
    EXPECT_FALSE(reader.ReadIndexesPts(runs, out));
    ASSERT_EQ(out.size(), 4'000u);
    EXPECT_TRUE(HoldsRun(out, 0, runs[0]));
    runs.clear();
    EXPECT_FALSE(reader.ReadIndexesPts(runs, out));
    EXPECT_EQ(out.size(), 4'000u);
}

// BEHAVIOUR R6, R8
TEST_F(AlivePointReader, HandsABatchBackOnceTheOutputHasPassedTheLimitAndThenResumes) {
    const MappedRecords file(AliveFile(1'000));
    Reader reader(file);
    reader.BoundBatches(100 * 24, 150);
    std::vector<CIndexerSmall> runs = {{0, 60},   {60, 40},   {200, 60},
                                       {300, 60}, {400, 250}, {900, 9}};
    std::vector<Alive> out;
    // 60 + 40 fit exactly; {200, 60} does not: 100 points, not above the limit. {300, 60} does not
    // fit with {200, 60}: 160 points, above it.
    ASSERT_TRUE(reader.ReadIndexesPts(runs, out));
    ASSERT_EQ(out.size(), 160u);
    EXPECT_TRUE(HoldsRun(out, 0, runs[0]) && HoldsRun(out, 100, runs[2]));
    // Resumes at {300, 60}; {400, 250} is over the budget alone and is copied with what follows
    // only at the next overflow, which puts 60 + 250 points into the output.
    ASSERT_TRUE(reader.ReadIndexesPts(runs, out));
    ASSERT_EQ(out.size(), 310u);
    EXPECT_TRUE(HoldsRun(out, 0, runs[3]) && HoldsRun(out, 60, runs[4]));
    EXPECT_FALSE(reader.ReadIndexesPts(runs, out));
    ASSERT_EQ(out.size(), 9u);
    EXPECT_TRUE(HoldsRun(out, 0, runs[5]));
    // The batch is over: the next call begins anew and appends.
    ASSERT_TRUE(reader.ReadIndexesPts(runs, out));
    EXPECT_EQ(out.size(), 169u);
    reader.Reset();
    EXPECT_TRUE(reader.ReadIndexesPts(runs, out)) << "a reset abandons the batch";
    EXPECT_EQ(out.size(), 269u);
    EXPECT_TRUE(reported.empty());
}

TEST_F(AlivePointReader, ChangesRecordsInPlaceThroughTheirAddress) {
    const CString path = AliveFile(1'000);
    {
        const MappedRecords file(path, platform::FileAccess::ReadWrite);
        Reader reader(file, kViewAll);
        for (int i = 0; i < 700; ++i) ASSERT_TRUE(reader.ReadNextPoint());
        unsigned char* record = reader.PtsMapAddressAlive() + reader.CurrentPointPositionAlive();
        const std::uint16_t first = 0xABCD;
        std::memcpy(record + 20, &first, 2);
        record[22] = 0xEF;
        unsigned short readFirst = 0;
        unsigned char readSecond = 0;
        reader.ReadCurrentDCLC(readFirst, readSecond);
        EXPECT_EQ(readFirst, 0xABCD);
        EXPECT_EQ(readSecond, 0xEF);
    }
    auto expected = RecordNumber<Alive>(699);
    expected.dclcFirst = 0xABCD;
    expected.dclcSecond = 0xEF;
    const auto bytes = test::ReadBytes(path);
    EXPECT_EQ(std::memcmp(bytes.data() + 699 * 24, &expected, 24), 0);
    EXPECT_EQ(std::memcmp(bytes.data() + 700 * 24,
                          &std::as_const(expected = RecordNumber<Alive>(700)), 24),
              0);
}

// BEHAVIOUR R3
TEST_F(AlivePointReader, FindsASkeletonCoordinateInTheGranuleOfTheDataRecordReadLast) {
    const CString coordPath = WriteNumbered<Coord>(folder_ / L"coord", 20'000);
    const MappedRecords alive(AliveFile(1)), coord(coordPath),
        data(WriteNumbered<Data>(folder_ / L"data", 20'000));
    Reader reader(alive, data, coord);
    const std::int64_t near = 12 * 5, far = 12 * 12'000;  // granules 0 and 2
    Data record;
    Coord point;
    reader.ReadSkeletPointData(far, record);
    reader.ReadSkeletPoint(far, point);
    EXPECT_TRUE(SameBytes(record, RecordNumber<Data>(12'000)));
    EXPECT_TRUE(SameBytes(point, RecordNumber<Coord>(12'000)));
    reader.ReadSkeletPoint(near, point);
    EXPECT_EQ(std::memcmp(&point, test::ReadBytes(coordPath).data() + 2 * 65'536 + near, 12), 0);
    reader.ReadSkeletPointData(near, record);
    reader.ReadSkeletPoint(near, point);
    EXPECT_TRUE(SameBytes(point, RecordNumber<Coord>(5)));
}

TEST_F(AlivePointReader, ReadsRecordsBeyondFourGigabytes) {
    const std::uint64_t last = (std::uint64_t{5} << 30) / 24, count = last + 1;
    const CString path = folder_ / L"sparse";
    const auto expected = RecordNumber<Alive>(last);
    std::error_code error;
    {
        auto file = platform::File::Create(path, error);
        file.Resize(count * 24, error);
        file.WriteAt(last * 24, &expected, 24, error);
    }
    ASSERT_FALSE(error) << error.message();
    const MappedRecords file(path);
    Reader reader(file);
    Alive point;
    reader.ReadPoint(static_cast<std::int64_t>(last * 24), point);
    EXPECT_TRUE(SameBytes(point, expected));
    ASSERT_TRUE(reader.ReadIndexPoints(CIndexerSmall{last, 1}));
    reader.ReadCurrentPoint(point);
    EXPECT_TRUE(SameBytes(point, expected));
    std::vector<Alive> out;
    std::vector<CIndexerSmall> runs = {{last - 3, 1}, {last, 1}};
    reader.ReadIndexPoints(last - 1, 2, out);
    reader.ReadIndexesPts(runs, out);
    ASSERT_EQ(out.size(), 4u);
    EXPECT_TRUE(SameBytes(out[1], expected) && SameBytes(out[3], expected));
    EXPECT_TRUE(SameBytes(out[0], Alive{}) && SameBytes(out[2], Alive{}));
}

// BEHAVIOUR R4
TEST_F(AlivePointReader, LeavesTheRecordAsItWasForAPositionPastTheEnd) {
    const MappedRecords file(AliveFile(10, 13));
    Reader reader(file);
    Alive point{1, 2, 3};
    for (const std::int64_t position : {240, 65'536, 1 << 30, -24}) {
        reader.ReadPoint(position, point);
        EXPECT_EQ(point.x, 1);
    }
    reader.ReadPoint(216, point);
    EXPECT_TRUE(SameBytes(point, RecordNumber<Alive>(9)));
}

// BEHAVIOUR R16
TEST_F(AlivePointReader, ShowsTheRecordOfARandomReadInAViewAtItsGranule) {
    constexpr std::uint64_t kCount = 720'000;
    const MappedRecords file(AliveFile(kCount), platform::FileAccess::ReadWrite);
    std::mt19937 random(1);
    for (const std::uint32_t access : {platform::kViewRead, platform::kViewAll}) {
        CAlivePointReader reader(file.Size(), 0, 0, nullptr, nullptr, file.Mapping(), 0, 0, access);
        const auto shows = [&](std::uint64_t number) {
            const std::uint64_t position = number * 24;
            Alive point;
            reader.ReadPoint(static_cast<std::int64_t>(position), point);
            const std::uint8_t* shown =
                reader.PtsMapAddressAlive() + (position - reader.CurrentOffsetAlive());
            return SameBytes(point, RecordNumber<Alive>(number)) &&
                   std::memcmp(shown, &point, sizeof point) == 0 &&
                   reader.CurrentOffsetAlive() == position / 65'536 * 65'536;
        };
        for (int i = 0; i < 300; ++i) {
            ASSERT_TRUE(shows(random() % kCount)) << "access " << access;
            // The others take views of their own, and give the next random read the file again.
            if (i % 7 == 0) reader.Reset();
            if (i % 5 == 0) {
                Alive point;
                const auto first = random() % kCount;
                const CIndexerSmall run{first, 1};
                reader.Reset();
                ASSERT_TRUE(reader.ReadIndexPoints(run));
                ASSERT_TRUE(CurrentIs(reader, first));
                ASSERT_TRUE(shows(first));
                ASSERT_FALSE(reader.ReadIndexPoints(run));
                reader.MapView();
                reader.ReadPoint(static_cast<std::int64_t>(first * 24), point);
                ASSERT_TRUE(SameBytes(point, RecordNumber<Alive>(first)));
            }
        }
        // Nothing of a random read reaches the stream that follows.
        reader.Reset();
        for (std::uint64_t number = 0; number < kCount; ++number) {
            ASSERT_TRUE(reader.ReadNextPoint());
            if (number % 1'000 == 0) {
                ASSERT_TRUE(CurrentIs(reader, number));
            }
        }
        ASSERT_FALSE(reader.ReadNextPoint());
    }
}

// BEHAVIOUR R16
TEST_F(AlivePointReader, ReadsAtRandomWhatTheMappingHoldsOfALargerSize) {
    constexpr std::uint64_t kMapped = 720'000;
    const MappedRecords file(AliveFile(kMapped));
    const std::uint64_t size = file.Size() + (std::uint64_t{1} << 40);
    CAlivePointReader reader(size, 0, 0, nullptr, nullptr, file.Mapping(), 0, 0, kViewRead);
    Alive point{1, 2, 3};
    // Not even a view of 8 MiB at the first of these lies in the mapping, as it has never done.
    for (const std::uint64_t number : {kMapped - 1, kMapped * 2, std::uint64_t{1} << 35}) {
        reader.ReadPoint(static_cast<std::int64_t>(number * 24), point);
        EXPECT_EQ(point.x, 1);
    }
    reader.ReadPoint(24 * 1'000, point);
    EXPECT_TRUE(SameBytes(point, RecordNumber<Alive>(1'000)));
}

/// Three views of each file, so that streams, runs and random reads cross views at every seed.
class AlivePointReaderModel : public testing::TestWithParam<std::uint32_t> {
protected:
    static constexpr std::uint64_t kAlive = 720'000, kSkelet = 1'440'000;

    struct Files {
        test::ScratchFolder folder;
        MappedRecords alive{WriteNumbered<Alive>(folder / L"alive", kAlive, 5)};
        MappedRecords coord{WriteNumbered<Coord>(folder / L"coord", kSkelet)};
        MappedRecords data{WriteNumbered<Data>(folder / L"data", kSkelet, 11)};
    };
    static void SetUpTestSuite() { files_ = std::make_unique<Files>(); }
    static void TearDownTestSuite() { files_.reset(); }

    std::uint64_t Below(std::uint64_t bound) { return random_() % bound; }

    template <class Record, class Next, class Read>
    void Stream(std::uint64_t& at, std::uint64_t count, Next next, Read read) {
        for (std::uint64_t steps = Below(500'000); steps > 0; --steps) {
            const bool more = (reader_.*next)();
            ASSERT_EQ(more, at < count) << "record " << at;
            if (!more) return;
            if (at++ % 97 != 0) continue;
            Record record;
            (reader_.*read)(record);
            ASSERT_TRUE(SameBytes(record, RecordNumber<Record>(at - 1))) << "record " << at - 1;
        }
    }

    void Rewind() {
        reader_.Reset();
        alive_ = coord_ = data_ = 0;
    }

    void Iterate() {
        Rewind();
        const std::uint64_t first = Below(kAlive);
        const CIndexerSmall run{first, static_cast<std::uint32_t>(Below(kAlive - first))};
        std::uint64_t served = 0;
        for (; reader_.ReadIndexPoints(run); ++served) {
            if (served % 97 == 0) {
                ASSERT_TRUE(CurrentIs(reader_, run.offset + served));
            }
        }
        ASSERT_EQ(served, run.count);
        Rewind();
    }

    void Jump() {
        Alive alive;
        Coord coord;
        Data data;
        for (int i = 0; i < 50; ++i) {
            const std::uint64_t a = Below(kAlive), s = Below(kSkelet);
            reader_.ReadPoint(static_cast<std::int64_t>(a * 24), alive);
            reader_.ReadSkeletPointData(static_cast<std::int64_t>(s * 12), data);
            reader_.ReadSkeletPoint(static_cast<std::int64_t>(s * 12), coord);
            ASSERT_TRUE(SameBytes(alive, RecordNumber<Alive>(a)));
            ASSERT_TRUE(SameBytes(data, RecordNumber<Data>(s)));
            ASSERT_TRUE(SameBytes(coord, RecordNumber<Coord>(s)));
        }
        Rewind();
    }

    void Append() {
        std::vector<CIndexerSmall> runs;
        for (std::uint64_t at = Below(1'000); at < kAlive; at += 1 + Below(3'000)) {
            const auto room = std::min<std::uint64_t>(kAlive - at, 4'000);
            runs.push_back({at, static_cast<std::uint32_t>(Below(room))});
            if (Below(2) == 0) at += runs.back().count;
        }
        std::vector<Alive> single, batch, part;
        for (const auto& run : runs) reader_.ReadIndexPoints(run.offset, run.count, single);
        reader_.BoundBatches(1 + Below(1'000'000), 1 + Below(100'000));
        for (bool more = true; more;) {
            more = reader_.ReadIndexesPts(runs, part);
            batch.insert(batch.end(), part.begin(), part.end());
        }
        std::size_t at = 0;
        for (const auto& run : runs) {
            ASSERT_LE(at + run.count, single.size());
            if (run.count > 0) {
                ASSERT_TRUE(HoldsRun(single, at, {run.offset, 1}));
            }
            at += run.count;
        }
        ASSERT_EQ(at, single.size());
        ASSERT_EQ(batch.size(), single.size());
        ASSERT_EQ(std::memcmp(batch.data(), single.data(), at * 24), 0);
    }

    static std::unique_ptr<Files> files_;
    std::mt19937 random_{GetParam()};
    Reader reader_{files_->alive, files_->data, files_->coord};
    std::uint64_t alive_ = 0, coord_ = 0, data_ = 0;
};

std::unique_ptr<AlivePointReaderModel::Files> AlivePointReaderModel::files_;

// BEHAVIOUR R2
TEST_P(AlivePointReaderModel, AnyMixOfCallsAgreesWithAPlainVector) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    for (int call = 0; call < 8 && !HasFatalFailure(); ++call) {
        switch (Below(7)) {
            case 0:
            case 1:
                Stream<Alive>(alive_, kAlive, &Reader::ReadNextPoint, &Reader::ReadCurrentPoint);
                break;
            case 2:
                Stream<Coord>(coord_, kSkelet, &Reader::ReadNextSkeletCoordPoint,
                              &Reader::ReadCurrentSkeletPoint);
                break;
            case 3:
                Stream<Data>(data_, kSkelet, &Reader::ReadNextSkeletDataPoint,
                             &Reader::ReadCurrentSkeletPointData);
                break;
            case 4:
                Iterate();
                break;
            case 5:
                Jump();
                break;
            default:
                Append();
                break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AlivePointReaderModel, testing::Range(0u, 64u));

}  // namespace
}  // namespace orvix
