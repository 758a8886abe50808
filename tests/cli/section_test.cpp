// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "orvix/platform/path.h"
#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

class SectionVerb : public RoomProject {
protected:
    static bool Exists(std::wstring_view name) { return platform::PathExists(*folder_ / name); }
};

TEST_F(SectionVerb, CountsDrawsAndExportsAPlan) {
    const Json result = OrvixJson({"section", File(L"room.prj"), "--level", "101.5", "--thickness",
                                   "0.2", "--picture", File(L"plan.png"), "--export",
                                   File(L"slab.xyz"), "--device", "cpu"});
    std::uint64_t in = 0, behind = 0;
    const Cloud room = Room({700'000, 6'000'000, 100});
    for (const auto& p : room) {
        in += std::fabs(p.z - 101.5) <= 0.1;
        behind += p.z < 101.4;
    }
    EXPECT_EQ(result["points"]["in"], in);
    EXPECT_EQ(result["points"]["behind"], behind);
    EXPECT_EQ(result["points"]["before"], room.size() - in - behind);
    EXPECT_EQ(result["points"]["outside"], 0);
    EXPECT_EQ(result["plane"], Json({0.0, 0.0, 1.0, -101.5}));
    EXPECT_NEAR(result["extent"]["x"][0].get<double>(), 700'000, 0.01);
    EXPECT_NEAR(result["extent"]["z"][1].get<double>(), 6'000'006, 0.01);
    EXPECT_NEAR(result["bounds"]["min"][2].get<double>(), 101.4, 0.01);
    EXPECT_EQ(result["export"]["points"], in);
    EXPECT_EQ(result["device"], "processor");
    const std::string lines = TextOf(L"slab.xyz");
    EXPECT_EQ(static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n')), in + 1);
    EXPECT_EQ(TextOf(L"plan.png").substr(1, 3), "PNG");
}

TEST_F(SectionVerb, SeesTheRoomThroughItsWindow) {
    const std::vector<std::string> words{"section",     File(L"room.prj"),
                                         "--through",   "700000,6000000,700008,6000000",
                                         "--thickness", "0.05"};
    auto bounded = words;
    bounded.insert(bounded.end(), {"--bounds", "3.1,101.1,4.9,101.9"});
    const Json wall = OrvixJson(words), window = OrvixJson(bounded);
    EXPECT_GT(wall["points"]["in"], 15'000);
    EXPECT_EQ(wall["points"]["before"], 0);
    EXPECT_NEAR(wall["extent"]["x"][1].get<double>(), 8, 0.01);
    EXPECT_NEAR(wall["extent"]["z"][0].get<double>(), 100, 0.01);
    EXPECT_EQ(window["points"]["in"], 0);
    EXPECT_TRUE(window["extent"].is_null());
    EXPECT_TRUE(window["bounds"].is_null());
    EXPECT_GT(window["points"]["behind"], 500);  // the wall at the other side
    EXPECT_GT(window["points"]["outside"], 50'000);
    // From the other side of the same plane all of it lies before.
    const Json back = OrvixJson({"section", File(L"room.prj"), "--plane", "0,5,0,-30000000.5"});
    EXPECT_EQ(back["points"]["before"].get<std::uint64_t>() +
                  back["points"]["behind"].get<std::uint64_t>() +
                  back["points"]["in"].get<std::uint64_t>(),
              Room().size());
    EXPECT_GT(back["points"]["before"], 50'000);
}

TEST_F(SectionVerb, RefusesAndLeavesNothing) {
    const std::string project = File(L"room.prj");
    const auto exit = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"section", project});
        return OrvixError(std::move(words))["exit"].get<int>();
    };
    EXPECT_EQ(exit({}), 2);
    EXPECT_EQ(exit({"--plane", "0,0,0,1"}), 2);
    EXPECT_EQ(exit({"--plane", "0,0,1"}), 2);
    EXPECT_EQ(exit({"--plane", "0,0,1,2,3"}), 2);
    EXPECT_EQ(exit({"--plane", "0,0,1e-9,20"}), 2);
    EXPECT_EQ(exit({"--through", "1,2,1,2"}), 2);
    EXPECT_EQ(exit({"--level", "1", "--plane", "0,0,1,1"}), 2);
    EXPECT_EQ(exit({"--level", "nan"}), 2);
    EXPECT_EQ(exit({"--level", "101", "--thickness", "0"}), 2);
    EXPECT_EQ(exit({"--level", "101", "--bounds", "3,0,3,1"}), 2);
    EXPECT_EQ(exit({"--level", "101", "--depth", "3"}), 2);
    EXPECT_EQ(exit({"--level", "101", "--overwrite"}), 2);
    EXPECT_EQ(exit({"--level", "101", "--picture", File(L"a.jpg")}), 2);
    EXPECT_EQ(exit({"--level", "101", "--device", "abacus"}), 2);

    // Nothing there to draw, or to write.
    EXPECT_EQ(OrvixJson({"section", project, "--level", "90"})["points"]["in"], 0);
    EXPECT_EQ(exit({"--level", "90", "--picture", File(L"none.png")}), 3);
    EXPECT_EQ(exit({"--level", "120", "--export", File(L"none.las")}), 3);
    EXPECT_FALSE(Exists(L"none.png"));
    EXPECT_FALSE(Exists(L"none.las"));

    // A scan that is there is kept, and nothing else is begun.
    WriteText(*folder_ / L"kept.ply", "kept");
    EXPECT_EQ(
        exit({"--level", "101", "--picture", File(L"none.png"), "--export", File(L"kept.ply")}), 3);
    EXPECT_EQ(TextOf(L"kept.ply"), "kept");
    EXPECT_FALSE(Exists(L"none.png"));
    OrvixJson({"section", project, "--level", "101", "--export", File(L"kept.ply"), "--overwrite"});
    EXPECT_EQ(TextOf(L"kept.ply").substr(0, 3), "ply");
}

TEST_F(SectionVerb, DrawsWhatLiesBehindAnEmptySlab) {
    const Json result = OrvixJson({"section", File(L"room.prj"), "--level", "110", "--picture",
                                   File(L"above.png"), "--depth", "9", "--width", "1000"});
    EXPECT_EQ(result["points"]["in"], 0);
    EXPECT_EQ(TextOf(L"above.png").substr(1, 3), "PNG");
    // All of the room lies further than that.
    const Json none = OrvixError({"section", File(L"room.prj"), "--level", "110", "--picture",
                                  File(L"none.png"), "--depth", "6"});
    EXPECT_EQ(none["exit"], 3);
}

TEST_F(SectionVerb, EndsAtAnInterruptAndLeavesNothing) {
    const ProcessResult result =
        Orvix({"section", File(L"room.prj"), "--level", "101", "--picture", File(L"large.png"),
               "--width", "2500", "--progress", "json", "--json"},
              [](const std::string& errors) { return !errors.empty(); });
    if (result.interruptRefused) GTEST_SKIP() << "no console through which to interrupt a program";
    EXPECT_EQ(result.exitCode, 130) << result.errors;
    EXPECT_EQ(Json::parse(result.output)["error"]["code"], "cancelled");
    EXPECT_FALSE(Exists(L"large.png"));
    EXPECT_FALSE(Exists(L"large.png.orvix-part"));
}

TEST_F(SectionVerb, NamesAProjectWhoseCellsLeadAstray) {
    OrvixJson({"import", File(L"room.xyz"), File(L"astray.prj")});
    const CString index = *folder_ / L"astray_Project_Files/Index/Grid.idx";
    auto bytes = ReadBytes(index);
    bytes[bytes.size() / 64 * 32 + 21] ^= 0x40;  // where the run of a cell in the middle begins
    WriteBytes(index, bytes.data(), bytes.size());
    const Json error = OrvixError({"section", File(L"astray.prj"), "--level", "101"});
    EXPECT_EQ(error["exit"], 5);
    EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("orvix check"));
}

}  // namespace
}  // namespace orvix::test
