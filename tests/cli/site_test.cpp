// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

/// Two rooms, one in a folder of its own, and a scan that is none.
class SiteVerb : public testing::Test {
protected:
    SiteVerb() {
        std::error_code error;
        platform::MakeFolder(folder_ / L"scans", error);
        platform::MakeFolder(Scan(L"Stock 1"), error);
        WriteCloud(Scan(L"a.xyz"), Room());
        WriteCloud(platform::JoinPath(Scan(L"Stock 1"), L"it's b.xyz"), Room({50, 0, 0}));
        WriteText(Scan(L"broken.las"), "this is no scan");
        WriteText(Scan(L"notes.txt"), "nor is this");
    }
    CString Scan(std::wstring_view name) { return folder_ / (L"scans/" + std::wstring(name)); }
    CString Project(std::wstring_view name) { return folder_ / (L"out/" + std::wstring(name)); }
    Json Site(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"site", Utf8(folder_ / L"scans"), "--to",
                                         Utf8(folder_ / L"out"), "--json"});
        const ProcessResult done = Orvix(options);
        Json json = Json::parse(done.output, nullptr, false);
        json["exit"] = done.exitCode;
        return json;
    }
    /// "import ran, check ran, planes ran" of a scan.
    static std::string StatesOf(const Json& site, std::size_t scan) {
        std::string states;
        for (const Json& step : site["scans"][scan]["steps"])
            states += (states.empty() ? "" : ", ") + step["step"].get<std::string>() + " " +
                      step["state"].get<std::string>();
        return states;
    }

    ScratchFolder folder_;
};

TEST_F(SiteVerb, DoesAllScansNamesThoseThatFailAndThenOnlyWhatIsLeft) {
    const Json plan = Site({"--dry-run"});
    EXPECT_EQ(plan["exit"], 0);
    ASSERT_EQ(plan["scans"].size(), 3U);
    EXPECT_EQ(plan["scans"][0]["scan"], "Stock 1/it's b.xyz");
    EXPECT_EQ(StatesOf(plan, 0), "import to-do, check to-do, planes to-do");
    EXPECT_FALSE(platform::PathExists(folder_ / L"out"));

    const Json first = Site({"--jobs", "2"});
    EXPECT_EQ(first["exit"], 1);
    EXPECT_EQ(first["failed"], 1);
    EXPECT_EQ(StatesOf(first, 0), "import ran, check ran, planes ran");
    EXPECT_EQ(StatesOf(first, 1), "import ran, check ran, planes ran");
    EXPECT_EQ(StatesOf(first, 2), "import failed, check left, planes left");
    const std::string why = first["scans"][2]["steps"][0]["message"];
    EXPECT_NE(why.find("broken.las"), std::string::npos) << why;
    const Json planes = OrvixJson({"planes", Utf8(Project(L"a.xyz.prj")), "--saved"});
    EXPECT_EQ(planes["planes"].size(), 5U);

    const Json second = Site();
    EXPECT_EQ(StatesOf(second, 0), "import done, check done, planes done");
    EXPECT_EQ(StatesOf(second, 2), "import failed, check left, planes left");
    EXPECT_EQ(Site({"--dry-run"})["scans"][2]["steps"][0]["message"], why);
    EXPECT_EQ(Site({"--scan", "a.xyz"})["exit"], 0);
    EXPECT_EQ(OrvixError({"site", Utf8(folder_ / L"scans"), "--scan", "c.xyz"})["exit"], 3);
}

// BEHAVIOUR C21
TEST_F(SiteVerb, DoesAgainWhatHasChanged) {
    const std::vector<std::string> one{"--scan", "a.xyz"};
    Site(one);
    EXPECT_EQ(StatesOf(Site({"--scan", "a.xyz", "--min-area", "2"}), 0),
              "import done, check done, planes ran");
    EXPECT_EQ(StatesOf(Site({"--scan", "a.xyz", "--steps", "check,import", "--skeleton", "1m"}), 0),
              "import ran, check ran");
    WriteCloud(Scan(L"a.xyz"), Room({1, 2, 3}));
    EXPECT_EQ(StatesOf(Site(one), 0), "import ran, check ran, planes ran");
    std::error_code error;
    platform::Rename(folder_ / L"scans", folder_ / L"moved", error);
    platform::Rename(folder_ / L"out", folder_ / L"projects", error);
    const Json moved = OrvixJson(
        {"site", Utf8(folder_ / L"moved"), "--to", Utf8(folder_ / L"projects"), "--scan", "a.xyz"});
    EXPECT_EQ(StatesOf(moved, 0), "import done, check done, planes done");
    platform::Rename(folder_ / L"moved", folder_ / L"scans", error);
    platform::Rename(folder_ / L"projects", folder_ / L"out", error);
    OrvixJson({"destroy", Utf8(Project(L"a.xyz.prj"))});
    EXPECT_EQ(StatesOf(Site(one), 0), "import ran, check ran, planes ran");
}

// BEHAVIOUR C22
TEST_F(SiteVerb, LeavesAProjectThatItHasNotMade) {
    OrvixJson({"import", Utf8(Scan(L"a.xyz")), Utf8(Scan(L"a.xyz.prj")), "--skeleton", "1m"});
    const auto before = OrvixJson({"info", Utf8(Scan(L"a.xyz.prj"))});
    for (int i = 0; i < 2; ++i) {
        const ProcessResult done = Orvix({"site", Utf8(folder_ / L"scans"), "--scan", "a.xyz"});
        EXPECT_EQ(done.exitCode, 1);
        EXPECT_NE(done.output.find("no site has made it"), std::string::npos) << done.output;
    }
    EXPECT_EQ(OrvixJson({"info", Utf8(Scan(L"a.xyz.prj"))}), before);
}

TEST_F(SiteVerb, SaysAnObjectALineAsStepsEnd) {
    const ProcessResult done = Orvix({"site", Utf8(folder_ / L"scans"), "--to",
                                      Utf8(folder_ / L"out"), "--lines", "--steps", "import"});
    EXPECT_EQ(done.exitCode, 1);
    std::size_t lines = 0;
    for (std::size_t at = 0; at < done.output.size(); ++lines) {
        const std::size_t end = done.output.find('\n', at);
        const Json line = Json::parse(done.output.substr(at, end - at), nullptr, false);
        ASSERT_TRUE(line.is_object()) << done.output;
        EXPECT_EQ(line["state"], line["scan"] == "broken.las" ? "failed" : "ran");
        at = end + 1;
    }
    EXPECT_EQ(lines, 3U);
}

TEST_F(SiteVerb, WritesAScriptOfWhatIsLeft) {
    Site({"--scan", "a.xyz"});
    EXPECT_EQ(Site({"--slurm", Utf8(folder_ / L"site.sh"), "--jobs", "5"})["exit"], 0);
    const auto bytes = ReadBytes(folder_ / L"site.sh");
    const std::string script(bytes.begin(), bytes.end());
    EXPECT_NE(script.find("#SBATCH --array=0-1%5\n"), std::string::npos) << script;
    EXPECT_NE(script.find("\n    'Stock 1/it'\\''s b.xyz'\n    'broken.las'\n)"), std::string::npos)
        << script;
    EXPECT_EQ(script.find("'a.xyz'"), std::string::npos);
}

}  // namespace
}  // namespace orvix::test
