// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/files/written_sums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "orvix/project/manifest/manifest.h"

namespace orvix::importer {
namespace {

TEST(WrittenSums, AreThoseOfTheFileInWhateverOrderItsPiecesCome) {
    std::vector<std::uint8_t> file(2 * detail::kSumBlockBytes + 12'345);
    std::mt19937_64 random(5);
    for (std::uint8_t& byte : file) byte = static_cast<std::uint8_t>(random());
    struct Piece {
        std::size_t first, bytes;
    };
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < file.size();) {
        const std::size_t bytes = std::min<std::size_t>(1 + random() % 900'000, file.size() - at);
        pieces.push_back({at, bytes});
        at += bytes;
    }
    std::shuffle(pieces.begin(), pieces.end(), random);
    WrittenSums sums;
    for (const Piece& piece : pieces) {
        EXPECT_TRUE(sums.Blocks(file.size()).empty()) << "a piece is missing";
        sums.Add(piece.first, {file.data() + piece.first, piece.bytes});
    }
    EXPECT_EQ(sums.Blocks(file.size()), detail::SumsOf("", file).sums);
    EXPECT_TRUE(sums.Blocks(file.size() + 1).empty());
}

}  // namespace
}  // namespace orvix::importer
