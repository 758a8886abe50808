// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/mapping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "support/scratch_folder.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

/// A file of `bytes` bytes, sparse, and a mapping of it.
class Mapping : public ::testing::Test {
protected:
    void Map(std::uint64_t bytes, FileAccess access) {
        std::error_code error;
        File file = File::Create(Path(), error);
        file.Resize(bytes, error);
        ASSERT_FALSE(error) << error.message();
        file = access == FileAccess::Read ? File::OpenRead(Path(), error)
                                          : File::OpenReadWrite(Path(), error);
        mapping_ = CreateMapping(file.Get(), access);
        ASSERT_NE(mapping_, nullptr);
    }
    void TearDown() override { CloseMapping(mapping_); }
    CString Path() { return folder_ / L"points"; }

    ScratchFolder folder_;
    Handle mapping_ = nullptr;
};

constexpr std::uint64_t kStep = kMappingGranularity;

TEST_F(Mapping, StartsViewsAtMultiplesOf64KiBOnly) {
    Map(4 * kStep, FileAccess::Read);
    for (const std::uint64_t offset : {std::uint64_t{1}, std::uint64_t{4096}, kStep - 1}) {
        EXPECT_EQ(MapFileView(mapping_, kViewRead, offset, 1), nullptr) << offset;
    }
    std::uint8_t* const view = MapFileView(mapping_, kViewRead, 3 * kStep, kStep);
    EXPECT_NE(view, nullptr);
    UnmapFileView(view);
}

TEST_F(Mapping, RefusesRangesThatLeaveIt) {
    Map(kStep + 10, FileAccess::Read);
    constexpr std::uint64_t kHuge = ~std::uint64_t{0};
    EXPECT_EQ(MapFileView(mapping_, kViewRead, kStep, 11), nullptr);
    EXPECT_EQ(MapFileView(mapping_, kViewRead, kStep, kHuge), nullptr);
    EXPECT_EQ(MapFileView(mapping_, kViewRead, 2 * kStep, 0), nullptr);
    EXPECT_EQ(MapFileView(mapping_, kViewRead, kHuge - kStep + 1, kStep), nullptr);
    EXPECT_EQ(MapFileView(nullptr, kViewRead, 0, 1), nullptr);
    EXPECT_EQ(MapFileView(kInvalidHandle, kViewRead, 0, 1), nullptr);
}

TEST_F(Mapping, KeepsTheSizeThatTheFileHadWhenItWasMapped) {
    Map(kStep, FileAccess::Read);
    std::error_code error;
    File::OpenReadWrite(Path(), error).Resize(3 * kStep, error);
    EXPECT_EQ(MapFileView(mapping_, kViewRead, kStep, 1), nullptr);
    EXPECT_EQ(MapFileView(mapping_, kViewRead, 0, kStep + 1), nullptr);
}

TEST_F(Mapping, ShowsBytesBeyondFourGibibytesAndWritesThemBack) {
    constexpr std::uint64_t kFar = std::uint64_t{5} << 30;
    Map(kFar + 100, FileAccess::ReadWrite);
    std::uint8_t* const written = MapFileView(mapping_, kViewAll, kFar, 0);
    ASSERT_NE(written, nullptr);
    std::memcpy(written + 90, "0123456789", 10);
    std::uint8_t* const read = MapFileView(mapping_, kViewRead, kFar - kStep, kStep + 100);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(std::memcmp(read + kStep + 90, "0123456789", 10), 0);
    UnmapFileView(written);
    UnmapFileView(read);
    char bytes[10];
    std::error_code error;
    EXPECT_EQ(File::OpenRead(Path(), error).ReadAt(kFar + 90, bytes, 10, error), 10u);
    EXPECT_EQ(std::memcmp(bytes, "0123456789", 10), 0);
}

TEST_F(Mapping, GivesNoWriteAccessWhereItWasMadeForReading) {
    Map(kStep, FileAccess::Read);
    EXPECT_EQ(MapFileView(mapping_, kViewAll, 0, 1), nullptr);
    std::error_code error;
    const File readOnly = File::OpenRead(Path(), error);
    EXPECT_EQ(CreateMapping(readOnly.Get(), FileAccess::ReadWrite), nullptr);
}

// BEHAVIOUR O7
TEST_F(Mapping, LeavesViewsUsableAfterItIsClosed) {
    Map(2 * kStep, FileAccess::ReadWrite);
    std::uint8_t* const view = MapFileView(mapping_, kViewAll, kStep, kStep);
    CloseMapping(mapping_);
    mapping_ = nullptr;
    view[kStep - 1] = 42;
    EXPECT_EQ(view[kStep - 1], 42);
    UnmapFileView(view);
    UnmapFileView(nullptr);
}

// BEHAVIOUR O7
TEST_F(Mapping, MovesAViewWithinItsAddressesOrAway) {
    constexpr std::uint64_t kSteps = 400;  // 25 MiB
    Map(kSteps * kStep, FileAccess::ReadWrite);
    {
        std::error_code error;
        File file = File::OpenReadWrite(Path(), error);
        for (std::uint64_t step = 0; step < kSteps; ++step) {
            file.WriteAt((step + 1) * kStep - sizeof step, &step, sizeof step, error);
        }
        ASSERT_FALSE(error) << error.message();
    }
    std::mt19937 random(1);
    std::uint8_t* view = nullptr;
    for (int move = 0; move < 500; ++move) {
        const std::uint64_t first = random() % kSteps;
        // As a rule views of one length; now and then a short one, one to the end, one for writing.
        const std::uint64_t most = random() % 4 == 0 ? 1 + random() % 200 : 128;
        const std::uint64_t steps = std::min(most, kSteps - first);
        const std::uint32_t access = random() % 8 == 0 ? kViewAll : kViewRead;
        const bool toTheEnd = first + steps == kSteps && random() % 2 == 0;
        view = MoveFileView(view, mapping_, access, first * kStep, toTheEnd ? 0 : steps * kStep);
        ASSERT_NE(view, nullptr) << "move " << move;
        for (std::uint64_t step = first; step < first + steps; ++step) {
            std::uint64_t stored = 0;
            const std::uint8_t* end = view + (step - first + 1) * kStep;
            std::memcpy(&stored, end - sizeof stored, sizeof stored);
            ASSERT_EQ(stored, step) << "move " << move;
        }
    }
    EXPECT_EQ(MoveFileView(view, mapping_, kViewRead, kSteps * kStep, 1), nullptr);
    EXPECT_EQ(MoveFileView(nullptr, mapping_, kViewRead, 1, 1), nullptr);
}

TEST(MappingOfNothing, IsNone) {
    const ScratchFolder folder;
    test::WriteText(folder / L"empty", "");
    std::error_code error;
    const File empty = File::OpenRead(folder / L"empty", error);
    EXPECT_EQ(CreateMapping(empty.Get(), FileAccess::Read), nullptr);
    EXPECT_EQ(CreateMapping(nullptr, FileAccess::Read), nullptr);
    EXPECT_EQ(CreateMapping(kInvalidHandle, FileAccess::ReadWrite), nullptr);
    CloseMapping(nullptr);
}

TEST(MappedFile, ShowsAWholeFileAndNothingOfAnEmptyOne) {
    const ScratchFolder folder;
    test::WriteText(folder / L"text", "hello");
    test::WriteText(folder / L"empty", "");
    std::error_code error;
    MappedFile text = MappedFile::Open(folder / L"text", error);
    ASSERT_FALSE(error);
    ASSERT_EQ(text.Size(), 5u);
    EXPECT_EQ(std::memcmp(text.Data(), "hello", 5), 0);
    text = MappedFile::Open(folder / L"empty", error);
    EXPECT_FALSE(error);
    EXPECT_EQ(text.Size(), 0u);
    EXPECT_EQ(text.Data(), nullptr);
    MappedFile::Open(folder / L"absent", error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace orvix::platform
