// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/io_utility.h"

#include <gtest/gtest.h>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/system.h"
#include "support/scratch_folder.h"
#include "tests/support/last_error.h"

namespace orvix {
namespace {

using test::ScratchFolder;

TEST(IOUtility, TellsTheFullSizeOfAFiveGibibyteFile) {
    const ScratchFolder folder;
    std::error_code error;
    platform::File file = platform::File::Create(folder / L"big", error);
    file.Resize((std::uint64_t{5} << 30) + 1, error);
    ASSERT_FALSE(error) << error.message();
    std::uint64_t size = 9;
    EXPECT_EQ(IOUtility::GetFileSizeQW(file.Get(), &size), 1);
    EXPECT_EQ(size, (std::uint64_t{5} << 30) + 1);
}

TEST(IOUtility, LeavesTheSizeOfNoHandleUntouched) {
    std::uint64_t size = 9;
    EXPECT_EQ(IOUtility::GetFileSizeQW(nullptr, &size), 0);
    EXPECT_EQ(IOUtility::GetFileSizeQW(platform::kInvalidHandle, &size), 0);
    EXPECT_EQ(size, 9u);
}

TEST(IOUtility, SetsTheSizeOfAClosedHandleToZero) {
    const ScratchFolder folder;
    test::WriteText(folder / L"a", "abc");
    const platform::Handle file = platform::OpenExisting(folder / L"a", platform::FileAccess::Read);
    platform::CloseHandleOf(file);
    std::uint64_t size = 9;
    EXPECT_EQ(IOUtility::GetFileSizeQW(file, &size), 0);
    EXPECT_EQ(size, 0u);
}

// BEHAVIOUR O4
TEST(IOUtility, FindsExistingFilesWritableAndChangesNothing) {
    const ScratchFolder folder;
    test::WriteText(folder / L"a", "abc");
    EXPECT_TRUE(IOUtility::FileIsWritable(folder / L"a"));
    EXPECT_EQ(test::ReadBytes(folder / L"a").size(), 3u);
    EXPECT_FALSE(IOUtility::FileIsWritable(folder / L"absent"));
    EXPECT_FALSE(platform::PathExists(folder / L"absent"));
    EXPECT_FALSE(IOUtility::FileIsWritable(folder.Path()));
}

// BEHAVIOUR O1
TEST(IOUtility, CountsOnFromATakenNameAfterItsExtension) {
    const ScratchFolder folder;
    CString path = folder / L"a.txt";
    IOUtility::GetUniqueFilename(path);
    EXPECT_EQ(path, folder / L"a.txt");
    test::WriteText(folder / L"a.txt", "");
    IOUtility::GetUniqueFilename(path);
    EXPECT_EQ(path, folder / L"a.txt1");
    std::error_code error;
    platform::MakeFolder(folder / L"a.txt1", error);
    path = folder / L"a.txt";
    IOUtility::GetUniqueFilename(path);
    EXPECT_EQ(path, folder / L"a.txt2");
}

CString shown;

// BEHAVIOUR O2
TEST(IOUtility, ShowsTheLastErrorCutToTheLengthOfItsMessage) {
    const ErrorChannel before = SetErrorChannel([](const wchar_t* text) { shown = text; });
    for (const std::uint32_t code : {2u, 5u, 13u}) {
        const CString message = platform::SystemMessage(code);
        const CString whole = L"failed with error " + std::to_wstring(code) + L": " + message;
        test::SetLastErrorCode(code);
        IOUtility::LastErr();
        EXPECT_EQ(shown, whole.substr(0, message.size() - 1));
    }
    SetErrorChannel(before);
}

TEST(ErrorChannel, TellsTheChannelSetBefore) {
    const ErrorChannel mine = [](const wchar_t*) {};
    const ErrorChannel standard = SetErrorChannel(mine);
    EXPECT_EQ(SetErrorChannel(nullptr), mine);
    EXPECT_EQ(SetErrorChannel(standard), standard);
}

}  // namespace
}  // namespace orvix
