// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <sstream>

#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"
#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::HasSubstr;

class SavedPlanesVerb : public RoomProject {
protected:
    SavedPlanesVerb() { detail::BuildPaths(paths_, *folder_ / L"room.prj"); }

    static Json Planes(std::vector<std::string> options) {
        options.insert(options.begin(), {"planes", File(L"room.prj")});
        return OrvixJson(options);
    }
    static int ExitOf(std::vector<std::string> words) {
        words.insert(words.begin() + 1, File(L"room.prj"));
        return OrvixError(words)["exit"];
    }
    static std::set<int> NumbersOf(const Json& found) {
        std::set<int> numbers;
        for (const Json& plane : found["planes"]) numbers.insert(plane["number"].get<int>());
        return numbers;
    }
    [[nodiscard]] CString Saved() const { return detail::SavedPlanesPath(paths_); }

    ProjectManager paths_;
};

TEST_F(SavedPlanesVerb, GiveEveryOutputThatTheSearchGives) {
    const std::vector<std::wstring> names{L".ply", L".obj", L".dxf", L".geojson", L".ifc", L".png"};
    const auto outputs = [&](const std::string& mode, const std::wstring& name) {
        const auto file = [&](const wchar_t* ending) { return File(name + ending); };
        Json found = Planes({mode, "--points", file(L".ply"), "--mesh", file(L".obj"), "--outlines",
                             file(L".dxf"), "--picture", file(L".png")});
        Planes({mode, "--outlines", file(L".geojson")});
        Planes({mode, "--outlines", file(L".ifc")});
        for (const char* key : {"seconds", "save", "points_file", "mesh", "outlines", "picture"})
            found.erase(key);
        return found;
    };
    const Json found = outputs("--save", L"found");
    EXPECT_EQ(outputs("--saved", L"saved"), found);
    for (const std::wstring& ending : names)
        EXPECT_TRUE(ReadBytes(*folder_ / (L"found" + ending)) ==
                    ReadBytes(*folder_ / (L"saved" + ending)))
            << Utf8(ending);
    EXPECT_FALSE(TextOf(L"saved.obj").empty());
}

TEST_F(SavedPlanesVerb, AreAppliedAsThoseOfTheSearch) {
    const Bytes points = ReadBytes(paths_.gridPts), skeleton = ReadBytes(paths_.gridSkeletDataPts);
    Planes({"--save", "--apply"});
    const Bytes numbered = ReadBytes(paths_.gridPts);
    const Bytes numberedSkeleton = ReadBytes(paths_.gridSkeletDataPts);
    EXPECT_NE(numbered, points);
    WriteRecords(paths_.gridPts, points);
    WriteRecords(paths_.gridSkeletDataPts, skeleton);
    EXPECT_EQ(ExitOf({"planes", "--saved", "--apply"}), 5) << "these are not the bytes of the sums";
    const Json repaired = OrvixJson({"repair", File(L"room.prj"), "--accept"});
    EXPECT_TRUE(repaired["ok"]);
    EXPECT_TRUE(ReadBytes(paths_.gridPts) == points);
    EXPECT_TRUE(Planes({"--saved", "--apply"})["applied"]);
    EXPECT_EQ(OrvixJson({"check", File(L"room.prj"), "--deep"})["sums"]["compared"], "all");
    EXPECT_TRUE(ReadBytes(paths_.gridPts) == numbered);
    EXPECT_TRUE(ReadBytes(paths_.gridSkeletDataPts) == numberedSkeleton);
}

// BEHAVIOUR A12
TEST_F(SavedPlanesVerb, KeepTheirNumbersInEveryOutput) {
    Planes({"--save"});
    const Json few = Planes({"--save", "--min-area", "20"});
    ASSERT_LT(few["planes"].size(), 5U);
    const Json all = Planes({"--save", "--points", File(L"kept.ply"), "--mesh", File(L"kept.obj")});
    EXPECT_EQ(all["save"]["kept"], few["planes"].size());
    EXPECT_EQ(all["save"]["gone"], 0);
    EXPECT_EQ(NumbersOf(all), NumbersOf(Planes({"--saved"})));
    const int largest = *NumbersOf(all).rbegin();
    EXPECT_GT(largest, 5);
    EXPECT_THAT(TextOf(L"kept.obj"), HasSubstr("plane_" + std::to_string(largest) + "_"));
    const std::string why = Planes({"--save", "--explain", "700004,6000003,100"})["explain"]["why"];
    const auto floor = std::find_if(all["planes"].begin(), all["planes"].end(),
                                    [](const Json& plane) { return plane["class"] == "floor"; });
    ASSERT_NE(floor, all["planes"].end());
    EXPECT_THAT(why, HasSubstr("plane " + (*floor)["number"].dump() + ", a floor"));
}

// BEHAVIOUR A13
TEST_F(SavedPlanesVerb, SurviveAnEditAndNotAMovedPoint) {
    const Json before = Planes({"--save"});
    OrvixJson({"classify", File(L"room.prj"), "--field", "z", "--classes", "3", "--apply"});
    EXPECT_EQ(Planes({"--saved"})["planes"], before["planes"]);
    EXPECT_EQ(Planes({"--save"})["save"]["kept"], before["planes"].size());
    const Bytes points = ReadBytes(paths_.gridPts);
    Bytes moved = points;
    moved[0] ^= 1;
    WriteRecords(paths_.gridPts, moved);
    EXPECT_EQ(ExitOf({"planes", "--saved"}), 3);
    EXPECT_THAT(Orvix({"check", File(L"room.prj")}).output, HasSubstr("is of other points than"));
    WriteRecords(paths_.gridPts, points);
    EXPECT_TRUE(OrvixJson({"check", File(L"room.prj")})["ok"]);
}

TEST_F(SavedPlanesVerb, AreRefusedAndFoundByTheCheckWhenDamaged) {
    Planes({"--save"});
    const Bytes whole = ReadBytes(Saved());
    const auto expectRefused = [&](const Bytes& bytes) {
        WriteRecords(Saved(), bytes);
        EXPECT_EQ(ExitOf({"planes", "--saved"}), 5) << bytes.size();
        const auto checked = Orvix({"check", File(L"room.prj")});
        EXPECT_EQ(checked.exitCode, 5);
        EXPECT_THAT(checked.output, HasSubstr(Utf8(Saved())));
    };
    for (const std::size_t length : {std::size_t{0}, std::size_t{17}, whole.size() - 1})
        expectRefused({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    for (const std::size_t at : {std::size_t{9}, whole.size() / 2, whole.size() - 1}) {
        Bytes bytes = whole;
        bytes[at] ^= 4;
        expectRefused(bytes);
    }
    EXPECT_EQ(ExitOf({"planes", "--save"}), 5) << "its numbers cannot be read";
    WriteRecords(Saved(), whole);
    EXPECT_EQ(Planes({"--saved"})["save"], Json());
}

TEST_F(SavedPlanesVerb, GiveEachExportedPointItsNumber) {
    Planes({"--save", "--apply"});
    for (const wchar_t* name : {L"all.xyz", L"all.ply", L"all.las"})
        OrvixJson({"export", File(L"room.prj"), File(name), "--planes"});
    // The first value of a point's pair, one column ahead, is its number too.
    std::istringstream lines(TextOf(L"all.xyz"));
    std::string line, last;
    std::getline(lines, line);
    EXPECT_TRUE(line.ends_with(" dclc_first dclc_second plane")) << line;
    std::size_t points = 0;
    for (; std::getline(lines, line); ++points) {
        std::istringstream row(line);
        std::vector<std::string> cells{std::istream_iterator<std::string>(row), {}};
        ASSERT_EQ(cells.size(), 12U);
        ASSERT_EQ(cells[11], cells[9]) << line;
    }
    const std::string ply = TextOf(L"all.ply");
    EXPECT_EQ(ply.size() - ply.find("end_header\n") - 11, points * 39);
    EXPECT_EQ(TextOf(L"all.las").size(), 375 + 54 + 3 * 192 + points * 43);
    for (const wchar_t* name : {L"all.ply", L"all.las"})
        EXPECT_EQ(OrvixJson({"import", File(name), File(L"all.prj"), "--overwrite"})["written"],
                  points);
    EXPECT_EQ(OrvixError({"export", File(L"all.prj"), File(L"none.ply"), "--planes"})["exit"], 3);
}

TEST_F(SavedPlanesVerb, GoWithTheProject) {
    WriteCloud(*folder_ / L"gone.xyz", Room());
    const std::string project = File(L"gone.prj");
    OrvixJson({"import", File(L"gone.xyz"), project});
    EXPECT_EQ(OrvixError({"planes", project, "--saved"})["exit"], 3) << "there are none";
    OrvixJson({"planes", project, "--save"});
    OrvixJson({"import", File(L"gone.xyz"), project, "--overwrite"});
    EXPECT_EQ(OrvixError({"planes", project, "--saved"})["exit"], 3) << "imported again";
    OrvixJson({"planes", project, "--save"});
    const Json destroyed = OrvixJson({"destroy", project});
    for (const Json& path : destroyed["remains"])
        EXPECT_THAT(path.get<std::string>(), testing::Not(HasSubstr("planes")));
}

TEST_F(SavedPlanesVerb, TakeNothingThatASearchGoesBy) {
    for (const char* option :
         {"--cell", "--distance", "--angle", "--min-area", "--min-points", "--bridge"})
        EXPECT_EQ(ExitOf({"planes", "--saved", option, "1"}), 2) << option;
    EXPECT_EQ(ExitOf({"planes", "--saved", "--save"}), 2);
    EXPECT_EQ(ExitOf({"planes", "--saved", "--explain", "1,2,3"}), 2);
}

}  // namespace
}  // namespace orvix::test
