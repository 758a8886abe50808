// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvix/version.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

TEST(CommandLine, TellsItsVersion) {
    const ProcessResult result = Orvix({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, std::string("orvix ") + VersionString() + "\n");
}

TEST(CommandLine, HelpsWithExamplesOnEveryVerb) {
    EXPECT_THAT(Orvix({"--help"}).output, HasSubstr("Exit codes"));
    const std::vector<std::vector<std::string>> verbs{{"import"},
                                                      {"info"},
                                                      {"check"},
                                                      {"walk"},
                                                      {"plane"},
                                                      {"destroy"},
                                                      {"settings", "list"},
                                                      {"settings", "get"},
                                                      {"settings", "set"},
                                                      {"settings", "reset"}};
    for (std::vector<std::string> words : verbs) {
        const std::string name = words.front();
        words.push_back("--help");
        const ProcessResult result = Orvix(words);
        EXPECT_EQ(result.exitCode, 0) << name;
        EXPECT_THAT(result.output, HasSubstr("Examples:\n  orvix " + name));
        EXPECT_THAT(result.output, HasSubstr("--json"));
    }
}

class UsageErrors : public testing::TestWithParam<std::vector<std::string>> {};

// BEHAVIOUR C5
TEST_P(UsageErrors, EndWithCode2AndASentence) {
    const Json error = OrvixError(GetParam());
    EXPECT_EQ(error["exit"], 2);
    EXPECT_EQ(error["code"], "usage");
    EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("--help'"));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, UsageErrors,
    testing::Values(
        std::vector<std::string>{}, std::vector<std::string>{"frobnicate"},
        std::vector<std::string>{"info"}, std::vector<std::string>{"info", "a.prj", "b.prj"},
        std::vector<std::string>{"info", "a.prj", "--colour"},
        std::vector<std::string>{"import", "a.las"},
        std::vector<std::string>{"import", "a.las", "b.las"},
        std::vector<std::string>{"import", "a.las", "b.prj", "--unit", "furlong"},
        std::vector<std::string>{"import", "a.las", "b.prj", "--memory-limit", "much"},
        std::vector<std::string>{"import", "a.las", "b.prj", "--memory-limit", "1M"},
        std::vector<std::string>{"import", "a.las", "b.prj", "--threads", "-1"},
        std::vector<std::string>{"import", "a.las", "b.prj", "--progress", "loud"},
        std::vector<std::string>{"plane", "a.prj"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,nan"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--mesh", "a.stl"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--split", "0"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--angle", "5", "--diff-a",
                                 "0.1"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--split", "1e160"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--angle", "181"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1,2,3", "--distance", "1e300"},
        std::vector<std::string>{"plane", "a.prj", "--seed", "1e300,0,0"},
        std::vector<std::string>{"import", "a.las", ".prj"},
        std::vector<std::string>{"import", "a.las", "out/.prj"},
        std::vector<std::string>{"settings"}));

TEST(CommandLine, NamesTheVerbThatThereIsNot) {
    EXPECT_THAT(OrvixError({"frobnicate"})["message"].get<std::string>(),
                HasSubstr("there is no verb frobnicate;"));
    EXPECT_THAT(OrvixError({"settings", "frobnicate"})["message"].get<std::string>(),
                HasSubstr("there is no verb frobnicate;"));
}

}  // namespace
}  // namespace orvix::test
