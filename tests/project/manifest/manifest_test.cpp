// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/manifest/manifest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"
#include "support/scratch_folder.h"

namespace orvix::detail {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::HasSubstr;

Manifest Sample() {
    return {{{"settings", 322, {7}},
             {"Index/Grid.pts", 2 * kSumBlockBytes + 24, {1, 2, 3}},
             {"Index/scanpos/station_12.name", 0, {}}}};
}

bool IsSame(const Manifest& a, const Manifest& b) {
    return EncodeManifest(a) == EncodeManifest(b);
}

// The bytes with their checksum made right again.
Bytes Sealed(Bytes bytes) {
    const std::uint32_t sum = platform::Crc32c({bytes.data(), bytes.size() - 4});
    std::memcpy(bytes.data() + bytes.size() - 4, &sum, sizeof sum);
    return bytes;
}

TEST(Manifest, ComesBackAsItWasWritten) {
    const orvix::test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    EXPECT_FALSE(ReadManifest(path)->has_value());
    ASSERT_TRUE(WriteManifest(path, Sample()));
    const auto read = ReadManifest(path);
    ASSERT_TRUE(read && *read);
    EXPECT_TRUE(IsSame(**read, Sample()));
    EXPECT_EQ(folder.Names(), std::vector<CString>{L"manifest"});
    orvix::test::WriteText(UnfinishedManifestPath(path), "of a writer that was killed");
    ASSERT_TRUE(WriteManifest(path, Sample()));
    EXPECT_EQ(folder.Names(), std::vector<CString>{L"manifest"});
}

TEST(Manifest, ThatIsCutShortOrHasAFlippedBitIsDamaged) {
    const Bytes whole = EncodeManifest(Sample());
    for (std::size_t bytes = 0; bytes < whole.size(); ++bytes) {
        const auto cut = DecodeManifest({whole.data(), bytes});
        ASSERT_FALSE(cut) << bytes;
        ASSERT_EQ(cut.error().code, ErrorCode::Damaged);
    }
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
        Bytes flipped = whole;
        flipped[bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        ASSERT_FALSE(DecodeManifest(flipped)) << bit;
    }
}

TEST(Manifest, WithARightChecksumOverWrongSizesIsDamagedAndTakesNoMemory) {
    const Bytes whole = EncodeManifest(Sample());
    std::mt19937_64 random(3);
    for (std::size_t at = 8; at + 12 < whole.size(); ++at) {
        for (const std::uint64_t value :
             {std::uint64_t{0xFFFFFFFFFFFFFFFF}, std::uint64_t{1} << 62, std::uint64_t(random())}) {
            Bytes spoilt = whole;
            std::memcpy(spoilt.data() + at, &value, sizeof value);
            const auto decoded = DecodeManifest(Sealed(spoilt));
            if (!decoded) continue;
            for (const FileSums& file : decoded->files) ASSERT_LE(file.sums.size(), whole.size());
        }
    }
}

TEST(Manifest, TakesAnAnnouncedFileAsItWasAndAsItWillBe) {
    const orvix::test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    const Bytes first(322, 1);
    const Bytes second(322, 2);
    const Bytes third(204, 3);
    AnnounceContent(path, "settings", first, second);
    EXPECT_FALSE(platform::PathExists(path)) << "there is no manifest";

    ASSERT_TRUE(WriteManifest(
        path, {{SumsOf("head", first), SumsOf("settings", first), SumsOf("transform", third)}}));
    AnnounceContent(path, "settings", first, second);
    EXPECT_TRUE(
        IsSame(**ReadManifest(path), {{SumsOf("head", first), SumsOf("settings", first),
                                       SumsOf("settings", second), SumsOf("transform", third)}}));
    AnnounceContent(path, "settings", second, third);
    EXPECT_TRUE(
        IsSame(**ReadManifest(path), {{SumsOf("head", first), SumsOf("settings", second),
                                       SumsOf("settings", third), SumsOf("transform", third)}}));
    AnnounceContent(path, "settings", third, second);  // known already
    EXPECT_EQ((*ReadManifest(path))->files.size(), 4u);
    EXPECT_EQ(folder.Names(), std::vector<CString>{L"manifest"});
}

TEST(Manifest, IsClearedOfWhatAnEndedWriterLeftUnlessOneIsAtWork) {
    const orvix::test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    const Bytes content(322, 1);
    const CString part = UnfinishedManifestPath(path);
    ASSERT_TRUE(WriteManifest(path, {{SumsOf("settings", content)}}));
    {
        const auto lock = LockManifest(path);
        ASSERT_TRUE(lock);
        orvix::test::WriteBytes(part, content.data(), content.size());
        RemoveUnfinishedManifest(path);
        EXPECT_TRUE(platform::PathExists(part)) << "its writer holds the lock";
    }
    AnnounceContent(path, "settings", content, content);  // known already: nothing is written
    EXPECT_EQ(folder.Names(), std::vector<CString>{L"manifest"});
}

TEST(Manifest, SaysThatARecordCouldNotBeAnnounced) {
    const orvix::test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    const Manifest former{{SumsOf("settings", Bytes(322, 1))}};
    ASSERT_TRUE(WriteManifest(path, former));
    std::error_code error;
    platform::MakeFolder(UnfinishedManifestPath(path), error);  // where no file can be made
    ASSERT_FALSE(error);
    EXPECT_TRUE(AnnounceContent(path, "settings", Bytes(322, 1), Bytes(322, 2)));
    EXPECT_TRUE(IsSame(**ReadManifest(path), former));
}

TEST(Manifest, DoesNotTakeAsSoundWhatDiffersFromItsSumAlready) {
    const orvix::test::ScratchFolder folder;
    const CString path = folder / L"manifest";
    const Bytes sound(322, 1);
    const Bytes damaged(322, 2);
    const Bytes next(322, 3);
    ASSERT_TRUE(WriteManifest(path, {{SumsOf("settings", sound)}}));
    AnnounceContent(path, "settings", damaged, next);
    EXPECT_TRUE(IsSame(**ReadManifest(path), {{SumsOf("settings", next)}}));
}

TEST(CoveredFiles, HaveNoNameThatLeadsOutOfTheProject) {
    ProjectManager paths;
    paths.scanposFolder = L"scanpos";
    paths.headFile = L"head file";
    EXPECT_EQ(CoveredPath(paths, "head"), L"head file");
    EXPECT_EQ(CoveredPath(paths, "Index/scanpos/station_65535.intens"),
              platform::JoinPath(L"scanpos", L"station_65535.intens"));
    for (const char* name :
         {"", "Head", "../head", "/etc/passwd", "Index/scanpos/", "Index/scanpos/station_.pos",
          "Index/scanpos/station_1.pos/..", "Index/scanpos/../../head", "Index/scanpos/rtfm.txt",
          "Index/scanpos/station_1", "Index/scanpos/station_12345678901.pos"}) {
        EXPECT_TRUE(CoveredPath(paths, name).empty()) << name;
    }
}

}  // namespace
}  // namespace orvix::detail
