// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/unfinished_file.h"

#include <gtest/gtest.h>

#include <optional>

#include "orvix/platform/file_identity.h"
#include "orvix/platform/path.h"
#include "support/scratch_folder.h"

namespace orvix::platform {
namespace {

using test::ScratchFolder;

constexpr const wchar_t* kEnding = L".part";

std::string Text(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

// BEHAVIOUR O11
TEST(UnfinishedFile, AppearsWholeOrNotAtAll) {
    const ScratchFolder folder;
    const CString path = folder / L"result";
    test::WriteText(path, "former");
    std::error_code error;
    {
        UnfinishedFile file(path, kEnding, error);
        ASSERT_FALSE(error);
        file.Append("half", 4, error);
        EXPECT_EQ(Text(path), "former");
    }
    EXPECT_EQ(folder.Names().size(), 1u) << "what was not published is gone";
    UnfinishedFile file(path, kEnding, error);
    file.Append("whole", 5, error);
    file.TakePermissions(error);
    EXPECT_FALSE(error);
    file.Publish(error);
    EXPECT_FALSE(error);
    EXPECT_EQ(Text(path), "whole");
    EXPECT_EQ(folder.Names().size(), 1u);
}

// BEHAVIOUR O11
TEST(UnfinishedFile, RefusesASecondWriterAndTakesOverFromOneThatHasEnded) {
    const ScratchFolder folder;
    const CString path = folder / L"result";
    std::error_code error;
    std::optional<UnfinishedFile> first(std::in_place, path, kEnding, error);
    ASSERT_FALSE(error);
    std::error_code refused;
    { const UnfinishedFile second(path, kEnding, refused); }
    EXPECT_EQ(refused, std::errc::device_or_resource_busy);
    first->Append("first", 5, error);
    first->Publish(error);
    EXPECT_FALSE(error) << "the refused one took nothing away";
    EXPECT_EQ(Text(path), "first");
    test::WriteText(folder / L"result.part", "left by a killed program");
    UnfinishedFile next(path, kEnding, error);
    ASSERT_FALSE(error);
    next.Append("next", 4, error);
    next.Publish(error);
    EXPECT_EQ(Text(path), "next");
    EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(UnfinishedFile, IsRefusedWhereItsFolderIsMissingOrItsNameIsAFolders) {
    const ScratchFolder folder;
    std::error_code error;
    { const UnfinishedFile file(folder / L"absent/result", kEnding, error); }
    EXPECT_TRUE(error);
    MakeFolder(folder / L"result.part", error);
    { const UnfinishedFile file(folder / L"result", kEnding, error); }
    EXPECT_TRUE(error);
    EXPECT_TRUE(IsFolder(folder / L"result.part"));
}

TEST(FileIdentity, IsThatOfTheFileAndNotOfItsName) {
    const ScratchFolder folder;
    test::WriteText(folder / L"a", "a");
    test::WriteText(folder / L"b", "a");
    std::error_code error;
    const File a = File::OpenRead(folder / L"a", error);
    const File again = File::OpenRead(folder / L"a", error);
    const File b = File::OpenRead(folder / L"b", error);
    FileIdentity first, second, other;
    ASSERT_TRUE(IdentityOf(a.Get(), first) && IdentityOf(again.Get(), second) &&
                IdentityOf(b.Get(), other));
    EXPECT_EQ(first, second);
    EXPECT_FALSE(first == other);
    EXPECT_FALSE(IdentityOf(nullptr, other));
}

}  // namespace
}  // namespace orvix::platform
