// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "orvix/platform/settings_store.h"
#include "tests/cli/command_runner.h"
#include "tests/support/settings_sandbox.h"

namespace orvix::test {
namespace {

class SettingsVerb : public testing::Test {
    ChildSettingsSandbox sandbox_;
};

TEST_F(SettingsVerb, ListsEverySettingWithItsDefault) {
    const Json settings = OrvixJson({"settings", "list"})["settings"];
    EXPECT_EQ(settings.size(), 14u);
    for (const Json& setting : settings) {
        EXPECT_EQ(setting["value"], setting["default"]) << setting;
        EXPECT_FALSE(setting["meaning"].get<std::string>().empty());
    }
    EXPECT_EQ(settings[0]["name"], "SplitSize");
    EXPECT_EQ(settings[0]["value"], 0.1);
    EXPECT_EQ(settings[0]["stored"], false);
}

TEST_F(SettingsVerb, SetsGetsAndResetsAValue) {
    const Json set = OrvixJson({"settings", "set", "splitsize", "0.25"});
    EXPECT_EQ(set["name"], "SplitSize");
    EXPECT_EQ(set["stored"], true);
    EXPECT_EQ(OrvixJson({"settings", "get", "SplitSize"})["value"], 0.25);
    EXPECT_EQ(Orvix({"settings", "get", "SplitSize"}).output, "0.250000\n");
    EXPECT_EQ(OrvixJson({"settings", "reset", "SplitSize"})["reset"], Json::array({"SplitSize"}));
    EXPECT_EQ(OrvixJson({"settings", "get", "SplitSize"})["value"], 0.1);
}

TEST_F(SettingsVerb, ResetsAllOfThemAtOnce) {
    OrvixJson({"settings", "set", "MinPlane", "400"});
    OrvixJson({"settings", "set", "DiffA_SKELET", "0.3"});
    const Json reset = OrvixJson({"settings", "reset"})["reset"];
    EXPECT_NE(std::find(reset.begin(), reset.end(), "MinPlane"), reset.end());
    EXPECT_NE(std::find(reset.begin(), reset.end(), "DiffA_SKELET"), reset.end());
    EXPECT_EQ(OrvixJson({"settings", "get", "MinPlane"})["value"], 0);
}

TEST_F(SettingsVerb, RefusesUnknownNamesAndUselessValues) {
    const std::vector<std::vector<std::string>> lines{
        {"get", "Colour"},         {"set", "Colour", "1"},       {"reset", "Colour"},
        {"set", "SplitSize", "0"}, {"set", "SplitSize", "wide"}, {"set", "MinPlane", "1.5"},
        {"set", "Vertical", "2"},  {"set", "DiffA", "-1"}};
    for (std::vector<std::string> line : lines) {
        line.insert(line.begin(), "settings");
        EXPECT_EQ(OrvixError(line)["exit"], 3) << line[1] << ' ' << line[2];
    }
    EXPECT_EQ(OrvixJson({"settings", "get", "SplitSize"})["stored"], false);
}

// ORVIX_SETTINGS_DIR means nothing where the registry keeps the settings.
TEST_F(SettingsVerb, SaysWhereSettingsAreKept) {
    const std::string help = Orvix({"settings", "--help"}).output;
    EXPECT_NE(help.find(platform::SettingsPlace()), std::string::npos) << help;
}

}  // namespace
}  // namespace orvix::test
