// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "orvix/platform/io_utility.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/support/read_only_file.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

TEST(File, OpensNeitherFoldersNorWhatDoesNotExist) {
    const ScratchFolder folder;
    EXPECT_EQ(OpenExisting(folder.Path(), FileAccess::Read), kInvalidHandle);
    EXPECT_EQ(OpenExisting(folder / L"absent", FileAccess::ReadWrite), kInvalidHandle);
    EXPECT_EQ(OpenExisting(CString(L"/dev/null\0x", 11), FileAccess::Read), kInvalidHandle);
    std::error_code error;
    EXPECT_FALSE(File::OpenRead(folder.Path(), error).IsOpen());
    EXPECT_EQ(error, std::errc::is_a_directory);
    EXPECT_FALSE(File::OpenReadWrite(folder / L"absent", error).IsOpen());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(File::Create(folder / std::wstring(300, L'x'), error).IsOpen());
    EXPECT_EQ(error, std::errc::filename_too_long);
}

TEST(File, TellsNoSizeOfNoHandle) {
    std::uint64_t size = 7;
    EXPECT_FALSE(SizeOf(nullptr, size));
    EXPECT_FALSE(SizeOf(kInvalidHandle, size));
    EXPECT_EQ(size, 7u);
    CloseHandleOf(nullptr);
    CloseHandleOf(kInvalidHandle);
}

TEST(File, ReadsAndWritesBeyondFourGibibytes) {
    const ScratchFolder folder;
    constexpr std::uint64_t kFar = (std::uint64_t{5} << 30) + 3;
    std::error_code error;
    File file = File::Create(folder / L"big", error);
    ASSERT_FALSE(error);
    file.WriteAt(kFar, "here", 4, error);
    ASSERT_FALSE(error) << error.message();
    EXPECT_EQ(file.Size(), kFar + 4);
    char buffer[8] = {};
    EXPECT_EQ(file.ReadAt(kFar, buffer, sizeof buffer, error), 4u);
    EXPECT_FALSE(error);
    EXPECT_STREQ(buffer, "here");
    EXPECT_EQ(file.ReadAt(kFar - 2, buffer, 2, error), 2u);
    EXPECT_EQ(buffer[0], 0);
    file.Resize(2, error);
    EXPECT_EQ(file.Size(), 2u);
}

TEST(File, AppendsFromItsStartWhateverElseIsWritten) {
    const ScratchFolder folder;
    std::error_code error;
    File file = File::Create(folder / L"a", error);
    file.WriteAt(4, "tail", 4, error);
    file.Append("he", 2, error);
    file.Append("ad", 2, error);
    EXPECT_EQ(file.AppendOffset(), 4u);
    File moved = std::move(file);
    EXPECT_FALSE(file.IsOpen());
    moved.Sync(error);
    EXPECT_FALSE(error);
    moved.Close(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(test::ReadBytes(folder / L"a").size(), 8u);
    char text[8];
    EXPECT_EQ(File::OpenRead(folder / L"a", error).ReadAt(0, text, 8, error), 8u);
    EXPECT_EQ(std::memcmp(text, "headtail", 8), 0);
}

TEST(File, ReservesSpaceWithoutChangingTheLength) {
    const ScratchFolder folder;
    std::error_code error;
    File file = File::Create(folder / L"r", error);
    file.Append("x", 1, error);
    file.Reserve(1 << 20, error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(file.Size(), 1u);
    file.Reserve(std::uint64_t{1} << 60, error);
    EXPECT_TRUE(error);  // no disk has room for that
}

TEST(File, RefusesToWriteThroughAReadOnlyHandle) {
    const ScratchFolder folder;
    test::WriteText(folder / L"a", "abc");
    std::error_code error;
    File file = File::OpenRead(folder / L"a", error);
    file.WriteAt(0, "x", 1, error);
    EXPECT_TRUE(error);
    char byte = 0;
    EXPECT_EQ(file.ReadAt(0, &byte, 1, error), 1u);
    EXPECT_FALSE(error);  // a later success clears it
}

TEST(File, SharesAFileWithAnotherWriterAndSeesItGrow) {
    const ScratchFolder folder;
    std::error_code error;
    File writer = File::Create(folder / L"a", error);
    const Handle host = OpenExisting(folder / L"a", FileAccess::ReadWrite);
    ASSERT_TRUE(IsValid(host));
    const File reader = File::OpenRead(folder / L"a", error);
    ASSERT_TRUE(reader.IsOpen()) << error.message();
    writer.Append("abc", 3, error);
    ASSERT_FALSE(error) << error.message();
    std::uint64_t size = 0;
    EXPECT_TRUE(SizeOf(host, size));
    EXPECT_EQ(size, 3u);
    char text[3] = {};
    EXPECT_EQ(reader.ReadAt(0, text, 3, error), 3u);
    EXPECT_EQ(std::memcmp(text, "abc", 3), 0);
    // Removed, it stays whole for those who have it open.
    CloseHandleOf(host);
    RemoveFile(folder / L"a", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(reader.ReadAt(1, text, 3, error), 2u);
}

TEST(File, OpensAReadOnlyFileForReadingAlone) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"tree", error);
    const CString path = JoinPath(folder / L"tree", L"file");
    test::WriteText(path, "abc");
    const test::ReadOnlyFile readOnly(folder.Path(), path);
    EXPECT_EQ(File::OpenRead(path, error).Size(), 3u);
    EXPECT_EQ(MappedFile::Open(path, error).Size(), 3u);
    EXPECT_FALSE(File::OpenReadWrite(path, error).IsOpen());
    EXPECT_TRUE(error);
    EXPECT_EQ(OpenExisting(path, FileAccess::ReadWrite), kInvalidHandle);
    EXPECT_FALSE(IOUtility::FileIsWritable(path));
}

}  // namespace
}  // namespace orvix::platform
