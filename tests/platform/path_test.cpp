// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvix/platform/file.h"
#include "orvix/platform/io_utility.h"
#include "orvix/platform/mapping.h"
#include "support/scratch_folder.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;
using ::testing::ElementsAre;

CString Joined(const CString& folder, const CString& name) {
    return JoinPath(folder, name);
}

TEST(Path, TakesPathsApartAtTheLastSeparatorAndTheLastDot) {
    const CString path = Joined(Joined(L"a.b", L"c"), L"scan.v2.prj");
    EXPECT_EQ(RemoveExtension(path), Joined(Joined(L"a.b", L"c"), L"scan.v2"));
    EXPECT_EQ(RemoveExtension(Joined(L"a.b", L"scan")), Joined(L"a.b", L"scan"));
    EXPECT_EQ(RemoveExtension(L"scan."), L"scan");
    EXPECT_EQ(FileNameOf(path), L"scan.v2.prj");
    EXPECT_EQ(FileNameOf(L"scan"), L"scan");
    EXPECT_EQ(ParentOf(path), Joined(L"a.b", L"c"));
    EXPECT_EQ(ParentOf(L"scan"), L"");
}

TEST(Path, MakesAPathAbsoluteAgainstTheCurrentFolder) {
    const CString absolute = AbsolutePath(L"x");
    EXPECT_EQ(FileNameOf(absolute), L"x");
    EXPECT_TRUE(IsFolder(ParentOf(absolute)));
    EXPECT_EQ(AbsolutePath(absolute), absolute);
    EXPECT_TRUE(IsSameFile(AbsolutePath(L""), L"."));
}

TEST(Path, TellsFilesFromFoldersAndTheirSizes) {
    const ScratchFolder folder;
    const CString file = folder / L"Größe 測量 файл";
    test::WriteText(file, "12345");
    EXPECT_TRUE(PathExists(file));
    EXPECT_FALSE(IsFolder(file));
    EXPECT_TRUE(IsFolder(folder.Path()));
    EXPECT_FALSE(PathExists(folder / L"absent"));
    EXPECT_FALSE(PathExists(folder / std::wstring(300, L'x')));
    EXPECT_FALSE(PathExists(L""));
    std::uint64_t bytes = 9;
    EXPECT_FALSE(QueryFileSize(folder / L"absent", bytes));
    EXPECT_EQ(bytes, 9u);
    EXPECT_TRUE(QueryFileSize(file, bytes));
    EXPECT_EQ(bytes, 5u);
    EXPECT_TRUE(QueryFileSize(folder.Path(), bytes));
    EXPECT_EQ(bytes, 0u);
    EXPECT_TRUE(IsSameFile(file, Joined(folder / L".", FileNameOf(file))));
    EXPECT_FALSE(IsSameFile(file, folder / L"absent"));
}

TEST(Path, ServesFilesFarBeyond260CharactersInAnyScript) {
    const ScratchFolder folder;
    std::error_code error;
    const CString first = folder / L"Größe 測量 файл \U0001F4D0 0";
    CString deep = first;
    for (int level = 1; level < 10; ++level) {
        MakeFolder(deep, error);
        ASSERT_FALSE(error) << level << error.message();
        deep = Joined(deep, CString(50, L'ö') + std::to_wstring(level));
    }
    MakeFolder(deep, error);
    const CString path = Joined(deep, L"скан.pts");
    ASSERT_GT(path.size(), 500u);
    File::Create(path, error).Append("abc", 3, error);
    ASSERT_FALSE(error) << error.message();
    EXPECT_TRUE(PathExists(path));
    EXPECT_TRUE(IOUtility::FileIsWritable(path));
    EXPECT_EQ(MappedFile::Open(path, error).Size(), 3u);
    const Handle file = OpenExisting(path, FileAccess::ReadWrite);
    EXPECT_TRUE(IsValid(file));
    CloseHandleOf(file);
    EXPECT_THAT(ListFolder(deep, error), ElementsAre(L"скан.pts"));
    Rename(path, path + L"2", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_GT(FreeSpace(deep, error), 0u);
    RemoveTree(first, error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_THAT(ListFolder(folder.Path(), error), ::testing::IsEmpty());
}

TEST(Path, MakesAnExistingFolderAgainWithoutErrorButNotAFile) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"sub", error);
    EXPECT_FALSE(error);
    MakeFolder(folder / L"sub", error);
    EXPECT_FALSE(error);
    test::WriteText(folder / L"file", "");
    MakeFolder(folder / L"file", error);
    EXPECT_EQ(error, std::errc::file_exists);
    MakeFolder(Joined(folder / L"missing", L"b"), error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(Path, ListsNamesInCodePointOrder) {
    const ScratchFolder folder;
    for (const wchar_t* name : {L"b", L"ä", L"\U0001F600", L"C", L"a.txt", L"\uFF21"}) {
        test::WriteText(folder / name, "");
    }
    std::error_code error;
    EXPECT_THAT(ListFolder(folder.Path(), error),
                ElementsAre(L"C", L"a.txt", L"b", L"ä", L"\uFF21", L"\U0001F600"));
    EXPECT_FALSE(error);
    EXPECT_TRUE(ListFolder(folder / L"absent", error).empty());
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(Path, RemovesATreeAndWhatDoesNotExist) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"tree", error);
    MakeFolder(Joined(folder / L"tree", L"sub"), error);
    test::WriteText(Joined(folder / L"tree", L"file"), "x");
    RemoveFolder(folder / L"tree", error);
    EXPECT_EQ(error, std::errc::directory_not_empty);
    RemoveTree(folder / L"tree", error);
    EXPECT_FALSE(error);
    EXPECT_FALSE(PathExists(folder / L"tree"));
    RemoveTree(folder / L"tree", error);
    EXPECT_FALSE(error);
    RemoveFile(folder / L"tree", error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(Path, RenamesOverAFileAndNeverOverAFolder) {
    const ScratchFolder folder;
    std::error_code error;
    test::WriteText(folder / L"new", "new");
    test::WriteText(folder / L"old", "");
    Rename(folder / L"new", folder / L"old", error);
    EXPECT_FALSE(error);
    EXPECT_EQ(test::ReadBytes(folder / L"old").size(), 3u);
    MakeFolder(folder / L"full", error);
    MakeFolder(folder / L"empty", error);
    Rename(folder / L"full", folder / L"empty", error);
    EXPECT_TRUE(error);
    Rename(folder / L"old", folder / L"empty", error);
    EXPECT_TRUE(error);
    Rename(folder / L"full", folder / L"other", error);
    EXPECT_FALSE(error);
}

TEST(Path, ExchangesTwoFoldersInOneStep) {
    const ScratchFolder folder;
    std::error_code error;
    MakeFolder(folder / L"a", error);
    MakeFolder(folder / L"b", error);
    test::WriteText(Joined(folder / L"a", L"mark"), "");
    ExchangePaths(folder / L"a", folder / L"b", error);
    if (error == std::errc::operation_not_supported) {
        GTEST_SKIP() << "this system exchanges no two folders in one step";
    }
    EXPECT_FALSE(error);
    EXPECT_TRUE(PathExists(Joined(folder / L"b", L"mark")));
    ExchangePaths(folder / L"a", folder / L"absent", error);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST(Path, TellsFreeSpaceAndSyncsFolders) {
    const ScratchFolder folder;
    std::error_code error;
    EXPECT_GT(FreeSpace(folder.Path(), error), 0u);
    EXPECT_FALSE(error);
    SyncFolder(folder.Path(), error);
    EXPECT_FALSE(error);
    EXPECT_EQ(FreeSpace(folder / L"absent", error), 0u);
    EXPECT_TRUE(error);
}

// BEHAVIOUR O8
TEST(PathLock, AdmitsOneHolderAndLeavesNoFile) {
    const ScratchFolder folder;
    const CString path = folder / L"lock";
    std::error_code error;
    PathLock first = PathLock::TryAcquire(path, error);
    ASSERT_TRUE(first);
    EXPECT_FALSE(PathLock::TryAcquire(path, error));
    EXPECT_FALSE(error);
    PathLock moved = std::move(first);
    EXPECT_FALSE(PathLock::TryAcquire(path, error));
    moved = PathLock();
    EXPECT_FALSE(PathExists(path));
    test::WriteText(path, "left by a killed process");
    EXPECT_TRUE(PathLock::TryAcquire(path, error));
    EXPECT_FALSE(PathLock::TryAcquire(Joined(folder / L"absent", L"lock"), error));
    EXPECT_TRUE(error);
}

}  // namespace
}  // namespace orvix::platform
