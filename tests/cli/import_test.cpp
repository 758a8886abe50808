// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "orvix/platform/path.h"
#include "support/scans/las_writer.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"
#include "tests/support/read_only_file.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

class ImportVerb : public testing::Test {
protected:
    // Imports `cloud` into p.prj, and holds what must hold of any import against check and walk.
    Json ImportAndVerify(const Cloud& cloud, std::vector<std::string> options = {}) {
        WriteCloud(folder_ / L"cloud.xyz", cloud);
        options.insert(options.begin(), {"import", Utf8(folder_ / L"cloud.xyz"), Project()});
        const Json report = OrvixJson(options);
        std::uint64_t rejected = 0;
        for (const auto& [reason, count] : report["rejected"].items())
            rejected += count.get<std::uint64_t>();
        EXPECT_EQ(report["read"], report["written"].get<std::uint64_t>() + rejected);
        EXPECT_EQ(report["read"], cloud.size());
        EXPECT_EQ(OrvixJson({"check", Project()})["faults"], Json::array());
        const Json walk = OrvixJson({"walk", Project()});
        for (const char* level : {"1000", "100", "10"})
            EXPECT_EQ(walk["levels"][level]["points"], report["written"]) << level;
        return report;
    }

    [[nodiscard]] std::string Project() const { return Utf8(folder_ / L"p.prj"); }
    [[nodiscard]] std::string File(std::wstring_view name) const { return Utf8(folder_ / name); }

    // What an import that failed leaves of the project: nothing, and no debris.
    void ExpectNothingBut(std::size_t entries) const {
        std::error_code error;
        EXPECT_EQ(platform::ListFolder(folder_.Path(), error).size(), entries);
    }

    ScratchFolder folder_;
};

TEST_F(ImportVerb, TellsEveryKeyOfItsSchema) {
    const Json report = ImportAndVerify(Room());
    for (const char* key : {"project", "inputs", "read", "written", "rejected", "skeleton_points",
                            "stations", "checksum", "seconds", "peak_memory_bytes"})
        EXPECT_TRUE(report.contains(key)) << key;
    EXPECT_EQ(report["project"], Project());
    EXPECT_EQ(report["inputs"].size(), 1u);
    EXPECT_EQ(report["inputs"][0]["path"], File(L"cloud.xyz"));
    EXPECT_EQ(report["inputs"][0]["points"], report["read"]);
    EXPECT_EQ(report["checksum"].get<std::string>().size(), 16u);
    EXPECT_EQ(report["stations"], 1);
    EXPECT_GT(report["peak_memory_bytes"], 0);
    EXPECT_EQ(OrvixJson({"walk", Project()})["checksum"], report["checksum"]);
}

class DegenerateClouds : public ImportVerb, public testing::WithParamInterface<int> {};

TEST_P(DegenerateClouds, EndInAProjectThatChecksAndWalks) {
    const std::vector<Cloud> clouds{{{1, 2, 3}},
                                    Cloud(10, {5, 5, 5}),
                                    Sheet(5'000, {0, 0, 1}, {3, 0, 0}, {0, 3, 0}),
                                    Sheet(1'000, {-2, 0, 0}, {4, 0, 0}, {0, 0, 0}),
                                    {{1e6, 5e6, 100}, {1e6 + 1, 5e6, 100}}};
    const Cloud& cloud = clouds[static_cast<std::size_t>(GetParam())];
    EXPECT_EQ(ImportAndVerify(cloud)["written"], cloud.size());
}

INSTANTIATE_TEST_SUITE_P(OnePointTenEqualFlatLineFarAway, DegenerateClouds, testing::Range(0, 5));

// BEHAVIOUR I11
TEST_F(ImportVerb, AcceptsASkeletonOfOneMetreWithoutTenCentimetreCells) {
    WriteCloud(folder_ / L"cloud.xyz", Room());
    OrvixJson({"import", File(L"cloud.xyz"), Project(), "--skeleton", "1m"});
    EXPECT_EQ(OrvixJson({"walk", Project()})["levels"]["10"], nullptr);
    EXPECT_EQ(OrvixJson({"info", Project()})["cells"]["10"], nullptr);
    EXPECT_EQ(OrvixJson({"check", Project()})["ok"], true);
}

TEST_F(ImportVerb, CountsWhatItRejects) {
    const Cloud cloud{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, {0, 0, 0}, {2, 2, 2}};
    const Json report = ImportAndVerify(cloud, {"--drop-zeros", "--dedupe"});
    EXPECT_EQ(report["rejected"], (Json{{"zero", 2}, {"duplicate", 1}}));
    EXPECT_EQ(report["written"], 2);
}

TEST_F(ImportVerb, TurnsUnitsAndAxes) {
    ImportAndVerify({{1000, 2000, 3000}, {2000, 4000, 6000}}, {"--unit", "mm", "--up", "y"});
    const Json info = OrvixJson({"info", Project()});
    EXPECT_EQ(info["bounds"]["min"], Json::array({3.0, 1.0, 2.0}));
    EXPECT_EQ(info["bounds"]["max"], Json::array({6.0, 2.0, 4.0}));
}

TEST_F(ImportVerb, MakesOneProjectOfSeveralScansWhoseNamesHoldBlanksAndAnyLetters) {
    const CString home = folder_ / L"Scans \u00e4\u4e2d\u0436 1";
    std::error_code error;
    platform::MakeFolder(home, error);
    const CString first = platform::JoinPath(home, L"north side.xyz");
    const CString second = platform::JoinPath(home, L"\u5357.xyz");
    const std::string project = Utf8(platform::JoinPath(home, L"\u0434\u043e\u043c.prj"));
    WriteCloud(first, Room());
    WriteCloud(second, Room({20, 0, 0}));
    const Json report = OrvixJson({"import", Utf8(first), Utf8(second), project});
    EXPECT_EQ(report["stations"], 2);
    EXPECT_EQ(report["inputs"][1]["path"], Utf8(second));
    EXPECT_EQ(OrvixJson({"info", project})["points"], report["written"]);
    EXPECT_EQ(OrvixJson({"check", project})["ok"], true);
}

TEST_F(ImportVerb, ReplacesAProjectOnlyWhenToldTo) {
    ImportAndVerify(Room());
    WriteCloud(folder_ / L"other.xyz", {{1, 1, 1}});
    EXPECT_NE(OrvixError({"import", File(L"other.xyz"), Project()})["exit"], 0);
    EXPECT_GT(OrvixJson({"info", Project()})["points"], 1);
    OrvixJson({"import", File(L"other.xyz"), Project(), "--overwrite"});
    EXPECT_EQ(OrvixJson({"info", Project()})["points"], 1);
}

TEST_F(ImportVerb, SaysWhatIsWrongWithAnInputAndLeavesNothing) {
    WriteText(folder_ / L"empty.xyz", "");
    WriteText(folder_ / L"prose.txt", "Once upon a time\nthere was no number\n");
    const std::vector<LasPoint> points(100, LasPoint{.x = 1, .y = 2, .z = 3});
    std::vector<std::uint8_t> las = MakeLas({}, points);
    las.resize(las.size() - 30);
    WriteBytes(folder_ / L"cut.las", las.data(), las.size());
    for (const wchar_t* name : {L"empty.xyz", L"prose.txt", L"cut.las", L"missing.las"}) {
        const Json error = OrvixError({"import", File(name), Project()});
        EXPECT_EQ(error["exit"], 3) << Utf8(name) << error;
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr(Utf8(name)));
    }
    const Json folder = OrvixError({"import", Utf8(folder_.Path()), Project()});
    EXPECT_THAT(folder["message"].get<std::string>(), HasSubstr(Utf8(folder_.Path())));
    ExpectNothingBut(3);
}

TEST_F(ImportVerb, EndsInAResultOrASentenceForACloudWithoutPoints) {
    const std::vector<std::uint8_t> las = MakeLas({}, {});
    WriteBytes(folder_ / L"none.las", las.data(), las.size());
    const ProcessResult result = Orvix({"import", File(L"none.las"), Project()});
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 3) << result.errors;
    if (result.exitCode != 0) return;
    EXPECT_EQ(OrvixJson({"walk", Project()})["levels"]["1000"]["points"], 0);
    EXPECT_EQ(OrvixJson({"check", Project()})["ok"], true);
    EXPECT_EQ(OrvixError({"plane", Project(), "--seed", "0,0,0"})["exit"], 3);
}

TEST_F(ImportVerb, TellsProgressAsJsonLines) {
    WriteCloud(folder_ / L"cloud.xyz", Room());
    const ProcessResult result =
        Orvix({"import", File(L"cloud.xyz"), Project(), "--progress", "json"});
    std::istringstream lines(result.errors);
    double last = 0;
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const Json state = Json::parse(line, nullptr, false);
        ASSERT_TRUE(state.is_object()) << line;
        for (const char* key : {"phase", "fraction", "bytes", "points", "seconds_left"})
            EXPECT_TRUE(state.contains(key)) << line;
        EXPECT_GE(state["fraction"], last);
        last = state["fraction"];
    }
    EXPECT_GE(count, 4);
    EXPECT_LE(last, 1.0);
}

TEST_F(ImportVerb, EndsAtAnInterruptAndLeavesNothing) {
    std::vector<LasPoint> points(2'000'000);
    std::uint32_t i = 0;
    for (LasPoint& point : points) {
        point.x = static_cast<std::int32_t>(i * 7919 % 50'000);
        point.y = static_cast<std::int32_t>(i * 104'729 % 50'000);
        point.z = static_cast<std::int32_t>(i++ % 3'000);
    }
    const std::vector<std::uint8_t> las = MakeLas({}, points);
    WriteBytes(folder_ / L"large.las", las.data(), las.size());
    const ProcessResult result =
        Orvix({"import", File(L"large.las"), Project(), "--progress", "json", "--json"},
              [](const std::string& errors) { return !errors.empty(); });
    if (result.interruptRefused) GTEST_SKIP() << "no console through which to interrupt a program";
    EXPECT_EQ(result.exitCode, 130) << result.errors;
    EXPECT_EQ(Json::parse(result.output)["error"]["code"], "cancelled");
    ExpectNothingBut(1);
}

TEST_F(ImportVerb, SaysThatAFolderCannotBeWritten) {
    WriteCloud(folder_ / L"cloud.xyz", {{1, 1, 1}});
    const std::string target = "/proc/p.prj";
    const Json error = OrvixError({"import", File(L"cloud.xyz"), target});
    EXPECT_NE(error["exit"], 0);
    EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("proc"));
}

}  // namespace
}  // namespace orvix::test
