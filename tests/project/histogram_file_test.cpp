// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/histogram_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"

namespace orvix {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class HistogramFile : public testing::Test {
protected:
    void Write(const std::vector<std::pair<double, std::int32_t>>& bins, std::size_t extra = 0) {
        std::vector<std::uint8_t> bytes(bins.size() * 12 + extra);
        for (std::size_t i = 0; i < bins.size(); ++i) {
            std::memcpy(&bytes[i * 12], &bins[i].first, 8);
            std::memcpy(&bytes[i * 12 + 8], &bins[i].second, 4);
        }
        test::WriteBytes(path, bytes.data(), bytes.size());
    }
    std::vector<double> Read(double shift = 0, int samples = 500) {
        std::vector<double> values;
        manager.ReadHistogram4Jenks(path, &values, shift, samples, 0);
        return values;
    }

    test::ScratchFolder folder;
    CString path = folder / L"z.hist";
    ProjectManager manager;
};

TEST_F(HistogramFile, GivesTheBinsThatHoldPoints) {
    Write({{1.25, 1'000'000}, {2.5, 1'000'000}});
    EXPECT_THAT(Read(), testing::AllOf(testing::Contains(1.25), testing::Contains(2.5),
                                       Each(testing::AnyOf(1.25, 2.5))));
    EXPECT_THAT(Read(0, 0), IsEmpty());
}

TEST_F(HistogramFile, AddsTheShiftToEveryValue) {
    Write({{1.25, 1'000'000}});
    EXPECT_THAT(Read(100, 300), Each(101.25));
}

TEST_F(HistogramFile, IgnoresATrailingPartialRecord) {
    Write({{1.25, 1'000'000}}, 11);
    EXPECT_THAT(Read(), Each(1.25));
}

// BEHAVIOUR H3
TEST_F(HistogramFile, LetsABinWithoutPointsTakeThePlaceOfTheOneBeforeIt) {
    Write({{1.25, 1'000'000}, {9.5, 0}, {7.5, 0}});
    EXPECT_THAT(Read(), Each(7.5));
}

TEST_F(HistogramFile, ReadsMoreRecordsThanABlockHolds) {
    std::vector<std::pair<double, std::int32_t>> bins(12'000, {5.0, 0});
    bins.back() = {6.0, 1'000'000};
    Write(bins);
    EXPECT_THAT(Read(), Each(6.0));
}

TEST_F(HistogramFile, IsReadWholeWithRecordsOfOneValueJoined) {
    constexpr std::int32_t kMost = 2'147'483'647;
    Write({{-0.5, 3}, {1.5, kMost}, {1.5, kMost}, {1.5, 2}, {2.5, 0}, {3.5, 1}});
    const auto bins = detail::ReadHistogram(path);
    ASSERT_TRUE(bins);
    ASSERT_EQ(bins->size(), 3u);
    EXPECT_EQ((*bins)[1].value, 1.5);
    EXPECT_EQ((*bins)[1].count, 4'294'967'296u);
    EXPECT_EQ((*bins)[2].value, 3.5);
}

TEST_F(HistogramFile, IsRefusedWhenItIsDamaged) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::vector<std::pair<double, std::int32_t>>> spoilt{
        {{2, 1}, {1, 1}}, {{1, 1}, {2, -1}}, {{infinity, 1}}, {{std::nan(""), 1}}};
    for (const auto& records : spoilt) {
        Write(records);
        const auto bins = detail::ReadHistogram(path);
        ASSERT_FALSE(bins);
        EXPECT_EQ(bins.error().code, ErrorCode::Damaged);
        EXPECT_THAT(bins.error().message, testing::HasSubstr("z.hist"));
    }
    for (std::size_t extra = 1; extra < 12; ++extra) {
        Write({{1, 1}}, extra);
        EXPECT_FALSE(detail::ReadHistogram(path)) << extra;
    }
    EXPECT_EQ(detail::ReadHistogram(folder / L"none.hist").error().code, ErrorCode::Damaged);
}

TEST_F(HistogramFile, AddsNothingWhenItIsMissingButSorts) {
    std::vector<double> values{3, 1};
    manager.ReadHistogram4Jenks(path, &values, 0, 500, 0);
    EXPECT_THAT(values, ElementsAre(1, 3));
}

}  // namespace
}  // namespace orvix
