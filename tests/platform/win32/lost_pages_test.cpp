// SPDX-License-Identifier: GPL-3.0-or-later
// A file that is mapped cannot be cut short here, so a page is only lost with its drive. The tests
// raise what the system then raises.
#include "orvix/platform/lost_pages.h"

#include <windows.h>

#include <gmock/gmock.h>

#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/unfinished_file.h"
#include "support/scratch_folder.h"
#include "tests/support/process.h"

namespace orvix::platform {
namespace {

using test::ProcessResult;
using test::ScratchFolder;
using testing::HasSubstr;

// BEHAVIOUR C15
TEST(LostPages, EndTheProgramWithTheFilesName) {
    const ScratchFolder folder;
    const CString path = folder / L"Grid 1.pts";
    test::WriteText(path, std::string(400'000, 'x'));
    const ProcessResult ended = test::RunProcess({ORVIX_LOST_PAGE_VICTIM, ToUtf8(path)});
    EXPECT_EQ(ended.exitCode, 5) << ended.output << ended.errors;
    EXPECT_THAT(ended.errors, HasSubstr("walk: "));
    EXPECT_THAT(ended.errors, HasSubstr("Grid 1.pts is gone\n"));
    EXPECT_THAT(ended.output, HasSubstr("{\"file\": \""));
    EXPECT_THAT(ended.output, HasSubstr("Grid 1.pts\"}\n"));
    // What is held cannot be removed here; the next who wants its name does it.
    EXPECT_TRUE(PathExists(path + L".half.part"));
    {
        std::error_code error;
        const UnfinishedFile next(path + L".half", L".part", error);
        EXPECT_FALSE(error) << error.message();
    }
    EXPECT_FALSE(PathExists(path + L".half.part"));
}

TEST(LostPages, LeaveFaultsThatAreAboutNoFileToOthers) {
    const ProcessResult ended = test::RunProcess({ORVIX_LOST_PAGE_VICTIM});
    EXPECT_EQ(ended.exitCode, 7) << ended.output << ended.errors;
    EXPECT_THAT(ended.errors, testing::Not(HasSubstr("is gone")));
}

TEST(LostPages, AreNotMadeByCuttingAMappedFileShort) {
    const ScratchFolder folder;
    const CString path = folder / L"Grid.pts";
    test::WriteText(path, std::string(400'000, 'x'));
    std::error_code error;
    const MappedFile mapped = MappedFile::Open(path, error);
    ASSERT_FALSE(error);
    File other = File::OpenReadWrite(path, error);
    ASSERT_FALSE(error);
    other.Resize(4096, error);
    EXPECT_EQ(error.value(), ERROR_USER_MAPPED_FILE);
    std::uint64_t bytes = 0;
    EXPECT_TRUE(QueryFileSize(path, bytes) && bytes == 400'000);
}

}  // namespace
}  // namespace orvix::platform
