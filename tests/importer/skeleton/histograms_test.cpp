// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/histograms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "support/scratch_folder.h"

namespace orvix::detail {

void PrintTo(const HistogramBin& bin, std::ostream* out) {
    *out << bin.value << ": " << bin.count;
}

}  // namespace orvix::detail

namespace orvix::importer::test {
namespace {

using testing::ElementsAre;

auto Bin(double value, std::uint64_t count) {
    return testing::AllOf(testing::Field(&detail::HistogramBin::value, value),
                          testing::Field(&detail::HistogramBin::count, count));
}

AlivePoint AtHeight(float z) {
    AlivePoint point;
    point.z = z;
    return point;
}

TEST(Histograms, CountHeightsByHalfOpenCentimetres) {
    Histograms histograms;
    for (const float z : {0.0f, 0.0078125f, 0.015625f, -0.0078125f, -1e-20f}) {
        histograms.Add(AtHeight(z));
    }
    EXPECT_THAT(histograms.Heights(), ElementsAre(Bin(-0.005, 2), Bin(0.005, 2), Bin(0.015, 1)));
    EXPECT_THAT(histograms.HeightSlices(), ElementsAre(Bin(-0.05, 2), Bin(0.05, 3)));
}

// BEHAVIOUR I19
TEST(Histograms, CountHeightsBeyondTenKilometresByTenMetres) {
    Histograms histograms;
    for (const float z : {-9.9e6f, -10'000.5f, -10'000.0f, 9999.0f, 10'000.0f, 10'009.0f, 9.9e6f}) {
        histograms.Add(AtHeight(z));
    }
    const auto ends = ElementsAre(Bin(-9'899'995, 1), Bin(-10'005, 1), Bin(-9999.995, 1),
                                  Bin(9999.005, 1), Bin(10'005, 2), Bin(9'900'005, 1));
    EXPECT_THAT(histograms.Heights(), ends);
}

TEST(Histograms, AddUpWhatSeveralThreadsCountedAndEmptyTheirs) {
    Histograms sum;
    Histograms part;
    AlivePoint point;
    point.attributes[1] = 1;
    for (int round = 0; round < 2; ++round) {
        part.Add(point);
        sum.Take(part);
    }
    EXPECT_THAT(sum.Intensities(), ElementsAre(Bin(256, 2)));
    EXPECT_THAT(sum.IntensitySlices(), ElementsAre(Bin(383.5, 2)));
    EXPECT_TRUE(part.Intensities().empty() && part.Heights().empty());
}

TEST(Histograms, TellCountsBeyondThirtyOneBitsInSeveralRecords) {
    const orvix::test::ScratchFolder folder;
    ASSERT_TRUE(WriteHistogram(folder / L"z.hist", {{1.5, 5'000'000'000}, {2.5, 1}}));
    const auto bytes = orvix::test::ReadBytes(folder / L"z.hist");
    ASSERT_EQ(bytes.size(), 4u * 12);
    std::uint64_t sum = 0;
    for (std::size_t record = 0; record < 3; ++record) {
        double value = 0;
        std::int32_t count = 0;
        std::memcpy(&value, &bytes[record * 12], 8);
        std::memcpy(&count, &bytes[record * 12 + 8], 4);
        EXPECT_EQ(value, 1.5);
        EXPECT_GT(count, 0);
        sum += static_cast<std::uint64_t>(count);
    }
    EXPECT_EQ(sum, 5'000'000'000u);
}

}  // namespace
}  // namespace orvix::importer::test
