// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/tile_key.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace orvix::detection {
namespace {

std::vector<TileKey> SomeKeys(unsigned seed) {
    std::mt19937 random(seed);
    const int side = std::array{2, 5, 30, 101}[seed % 4];
    std::vector<TileKey> keys;
    for (int i = 0; i < 400; ++i) {
        const auto at = [&] {
            return static_cast<std::int32_t>(random() % static_cast<unsigned>(side));
        };
        const CellPlace place{at(), at(), seed % 3 == 0 ? side - 1 : at()};
        keys.push_back(KeyOf(place, {}));
    }
    std::sort(keys.begin(), keys.end());
    // Patches of several regions have one cube; cells have places of their own.
    if (seed % 2 == 0) keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

class ColumnsAround : public testing::TestWithParam<unsigned> {};

TEST_P(ColumnsAround, AreThoseThatComparingAllKeysFinds) {
    const std::vector<TileKey> keys = SomeKeys(GetParam());
    std::vector<std::vector<std::uint32_t>> found(keys.size());
    std::vector<std::uint32_t> columns(keys.size());
    const auto wanted = [](std::uint32_t i) { return i % 5 != 3; };
    ForColumnsAround(keys, wanted, [&](std::uint32_t i, std::uint32_t first, std::uint32_t last) {
        ++columns[i];
        for (std::uint32_t k = first; k < last; ++k) {
            EXPECT_EQ(keys[k] / kKeyY, keys[first] / kKeyY);
            found[i].push_back(k);
        }
    });
    for (std::uint32_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(columns[i], wanted(i) ? 9U : 0U);
        std::vector<std::uint32_t> around;
        const CellPlace home = PlaceOf(keys[i], {});
        for (std::uint32_t k = 0; k < keys.size() && wanted(i); ++k) {
            const CellPlace at = PlaceOf(keys[k], {});
            if (std::abs(at[0] - home[0]) <= 1 && std::abs(at[1] - home[1]) <= 1 &&
                std::abs(at[2] - home[2]) <= 1)
                around.push_back(k);
        }
        EXPECT_EQ(found[i], around) << i;
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, ColumnsAround, testing::Range(0U, 12U));

TEST(ColumnsAround, OfNoKeysAreNone) {
    ForColumnsAround(
        {}, [](std::uint32_t) { return true; },
        [](std::uint32_t, std::uint32_t, std::uint32_t) { FAIL(); });
}

}  // namespace
}  // namespace orvix::detection
