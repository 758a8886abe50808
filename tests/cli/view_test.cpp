// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>

#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

class ViewVerb : public RoomProject {
protected:
    ViewVerb() { WriteText(*folder_ / L"index.html", "<!doctype html>"); }
    static bool SaysHowToEnd(const std::string& errors) {
        return errors.find("Ctrl-C") != std::string::npos;
    }
};

TEST_F(ViewVerb, PrintsAnAddressAndEndsInOrderWhenAsked) {
    const ProcessResult result = Orvix(
        {"view", File(L"room.prj"), "--no-open", "--page", Utf8(folder_->Path())}, SaysHowToEnd);
    if (result.interruptRefused) GTEST_SKIP() << "no console through which to interrupt a program";
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output.substr(0, 17), "http://127.0.0.1:");
    EXPECT_EQ(result.output.size() - result.output.rfind('/', result.output.size() - 3), 35u)
        << result.output;
}

TEST_F(ViewVerb, SaysWhatIsMissingBeforeItServes) {
    const Json page =
        OrvixError({"view", File(L"room.prj"), "--no-open", "--page", File(L"nowhere")});
    EXPECT_EQ(page["exit"], 3);
    EXPECT_NE(page["message"].get<std::string>().find("index.html"), std::string::npos);
    const Json project =
        OrvixError({"view", File(L"none.prj"), "--no-open", "--page", Utf8(folder_->Path())});
    EXPECT_EQ(project["exit"], 3);
    EXPECT_EQ(Orvix({"view", File(L"room.prj"), "--port", "0"}).exitCode, 2);
    EXPECT_EQ(Orvix({"view", File(L"room.prj"), "--port", "65536"}).exitCode, 2);
}

}  // namespace
}  // namespace orvix::test
