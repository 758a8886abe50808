// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/child_process.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"

namespace orvix::platform {
namespace {

class ChildProcessTest : public testing::Test {
protected:
    ChildProcess Start(std::vector<std::string> words, std::error_code& error) {
        words.insert(words.begin(), ORVIX_WORD_SAYER);
        return ChildProcess::Start(words, folder_ / L"Ausgäbe", folder_ / L"errors", error);
    }
    std::string Said(std::wstring_view name) {
        const auto bytes = test::ReadBytes(folder_ / name);
        return {bytes.begin(), bytes.end()};
    }
    static int CodeOf(ChildProcess& child) {
        for (;;)
            if (const auto code = child.WaitFor(1000)) return *code;
    }
    test::ScratchFolder folder_;
};

TEST_F(ChildProcessTest, ItsWordsArriveAsTheyAreAndWhatItSaysIsInTheFiles) {
    const std::vector<std::string> words{"a b",       "",       "\"q\" \\\" \\",    "Größe\\",
                                         "x'y $HOME", "`z`\tw", "two\\\\\" quotes", "7"};
    std::error_code error;
    ChildProcess child = Start(words, error);
    ASSERT_FALSE(error) << error.message();
    EXPECT_EQ(CodeOf(child), 7);
    EXPECT_EQ(child.WaitFor(0), 7);
    std::string said;
    for (const std::string& word : words) said += "<" + word + ">";
    EXPECT_EQ(Said(L"Ausgäbe"), said);
    EXPECT_EQ(Said(L"errors"), "an error");
}

TEST_F(ChildProcessTest, AProgramOrAFolderThatIsNotThereIsAnError) {
    std::error_code error;
    const auto nothing =
        ChildProcess::Start({ToUtf8(folder_ / L"nothing")}, folder_ / L"o", folder_ / L"e", error);
    EXPECT_TRUE(error);
    error.clear();
    const auto nowhere =
        ChildProcess::Start({ORVIX_WORD_SAYER}, folder_ / L"no/o", folder_ / L"e", error);
    EXPECT_TRUE(error);
}

// A system may have no way to ask it; then it sleeps its five seconds.
TEST_F(ChildProcessTest, RunsBesideItsStarterUntilItIsAskedToEnd) {
    std::error_code error;
    ChildProcess slow = Start({"sleep"}, error);
    ASSERT_FALSE(error);
    EXPECT_FALSE(slow.WaitFor(20));
    slow.AskToEnd();
    const int code = CodeOf(slow);
    EXPECT_TRUE(code != 0 || Said(L"errors") == "an error");
}

TEST_F(ChildProcessTest, AProgramKnowsItsOwnFile) {
    EXPECT_TRUE(PathExists(ProgramPath()));
}

}  // namespace
}  // namespace orvix::platform
