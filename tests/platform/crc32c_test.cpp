// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/crc32c.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string_view>
#include <vector>

namespace orvix::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The vectors of RFC 3720, B.4, and the catalogue's check value.
TEST(Crc32c, IsThatOfThePublishedVectors) {
    Bytes ascending(32);
    std::iota(ascending.begin(), ascending.end(), std::uint8_t{0});
    const Bytes descending(ascending.rbegin(), ascending.rend());
    constexpr std::string_view kDigits = "123456789";
    const std::pair<Bytes, std::uint32_t> vectors[] = {
        {Bytes(32, 0x00), 0x8A9136AAu},
        {Bytes(32, 0xFF), 0x62A8AB43u},
        {ascending, 0x46DD794Eu},
        {descending, 0x113FDB5Cu},
        {{}, 0u},
        {Bytes(kDigits.begin(), kDigits.end()), 0xE3069283u}};
    for (const auto& [bytes, sum] : vectors) {
        EXPECT_EQ(Crc32c(bytes), sum);
        EXPECT_EQ(PortableCrc32c(bytes), sum);
    }
}

TEST(Crc32c, IsTheSameThroughTablesThroughTheInstructionAndInPieces) {
    std::mt19937 random(7);
    Bytes bytes(100'000);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    for (int i = 0; i < 400; ++i) {
        const std::size_t first = random() % 64;
        const std::size_t count = random() % (i % 2 == 0 ? 1'000 : bytes.size() - first);
        const std::span<const std::uint8_t> all(bytes.data() + first, count);
        const std::uint32_t sum = Crc32c(all);
        ASSERT_EQ(PortableCrc32c(all), sum) << count;
        const std::size_t cut = count == 0 ? 0 : random() % count;
        const std::uint32_t start = Crc32c(all.first(cut));
        ASSERT_EQ(Crc32c(all.subspan(cut), start), sum) << count << " cut at " << cut;
        ASSERT_EQ(JoinedCrc32c(start, Crc32c(all.subspan(cut)), count - cut), sum);
    }
}

// 2^35 zeros: no table of steps ends before that.
TEST(Crc32c, JoinsStretchesOfAnyLength) {
    std::uint32_t zeros = Crc32c(Bytes(1024));
    std::uint32_t behind = Crc32c(Bytes{1, 2, 3});
    std::uint64_t length = 1024;
    for (; length < (std::uint64_t{1} << 35); length *= 2) {
        zeros = JoinedCrc32c(zeros, zeros, length);
    }
    behind = JoinedCrc32c(behind, zeros, length);
    std::uint32_t inHalves = Crc32c(Bytes{1, 2, 3});
    const std::uint32_t piece = Crc32c(Bytes(1 << 20));
    for (std::uint64_t done = 0; done < length; done += 1 << 20) {
        inHalves = JoinedCrc32c(inHalves, piece, 1 << 20);
    }
    EXPECT_EQ(behind, inHalves);
}

}  // namespace
}  // namespace orvix::platform
