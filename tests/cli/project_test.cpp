// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"
#include "tests/support/read_only_file.h"
#include "tests/support/tiny_project.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

// info, check, walk and destroy on a small project whose files an oracle wrote.
class ProjectVerbs : public testing::Test {
protected:
    ProjectVerbs() { WriteTinyProject(tiny_, project_); }

    [[nodiscard]] std::string Project() const { return Utf8(project_); }
    [[nodiscard]] CString Index(std::wstring_view name) const {
        return folder_ / (L"p_Project_Files/Index/" + std::wstring(name));
    }

    // Overwrites bytes of a file.
    static void Spoil(const CString& path, std::size_t at, std::uint64_t value, std::size_t bytes) {
        std::vector<std::uint8_t> content = ReadBytes(path);
        ASSERT_LE(at + bytes, content.size());
        std::memcpy(content.data() + at, &value, bytes);
        WriteBytes(path, content.data(), content.size());
    }

    static void Shorten(const CString& path, std::size_t by) {
        const std::vector<std::uint8_t> content = ReadBytes(path);
        ASSERT_GE(content.size(), by);
        WriteBytes(path, content.data(), content.size() - by);
    }

    void ExpectDamage(const char* why) const {
        const ProcessResult check = Orvix({"check", Project(), "--json"});
        EXPECT_EQ(check.exitCode, 5) << why;
        EXPECT_FALSE(Json::parse(check.output)["faults"].empty()) << why;
        const Json walk = OrvixError({"walk", Project()});
        EXPECT_EQ(walk["exit"], 5) << why << walk;
        const ProcessResult plane = Orvix({"plane", Project(), "--seed", "0,0,0"});
        EXPECT_LE(plane.exitCode, 5) << why << plane.errors;
    }

    ScratchFolder folder_;
    CString project_ = folder_ / L"p.prj";
    TinyProject tiny_ = MakeTinyProject(RoomPoints(7), 0.1, {1000, 2000, 30});
};

TEST_F(ProjectVerbs, TellWhatAProjectHolds) {
    const Json info = OrvixJson({"info", Project()});
    EXPECT_EQ(info["points"], tiny_.points.size());
    EXPECT_EQ(info["skeleton_points"], tiny_.skeleton.size());
    EXPECT_EQ(info["scale"], 0.1);
    EXPECT_EQ(info["origin"], Json::array({1000.0, 2000.0, 30.0}));
    EXPECT_EQ(info["bounds"]["min"][0], tiny_.head.bounds.min.x + 1000);
    EXPECT_EQ(info["bounds"]["max"][2], tiny_.head.bounds.max.z + 30);
    EXPECT_EQ(info["cells"]["1000"], tiny_.cells1000.size());
    EXPECT_EQ(info["cells"]["100"], tiny_.cells100.size());
    EXPECT_EQ(info["cells"]["10"], tiny_.cells10.size());
    EXPECT_EQ(info["stations"], tiny_.head.stationCount);
    EXPECT_GT(info["bytes"], tiny_.points.size() * 24);
}

TEST_F(ProjectVerbs, WalkEveryLevelAndAgreeWithTheOracle) {
    const Json walk = OrvixJson({"walk", Project()});
    const std::map<std::string, std::size_t> cells{{"1000", tiny_.cells1000.size()},
                                                   {"100", tiny_.cells100.size()},
                                                   {"10", tiny_.cells10.size()}};
    for (const auto& [level, count] : cells) {
        EXPECT_EQ(walk["levels"][level]["cells"], count) << level;
        EXPECT_EQ(walk["levels"][level]["points"], tiny_.points.size()) << level;
    }
    EXPECT_GE(walk["seconds"], 0.0);
    EXPECT_GT(walk["points_per_second"], 0.0);
}

TEST_F(ProjectVerbs, FindNoFaultInASoundProject) {
    const Json check = OrvixJson({"check", Project()});
    EXPECT_EQ(check["ok"], true);
    EXPECT_EQ(check["faults"], Json::array());
}

// Every count and offset of every index, one record at a time, set to what leads out of its file.
// BEHAVIOUR C4
TEST_F(ProjectVerbs, SurviveSpoiltIndexEntries) {
    struct Field {
        const wchar_t* file;
        std::size_t offset;  // of the 64-bit field; the 32-bit count follows it
        std::size_t stride;
    };
    const std::vector<Field> fields{{L"Grid1000cm.idx", 16, 32},
                                    {L"Grid.idx", 16, 32},
                                    {L"Grid1to10cm.idx", 0, 16},
                                    {L"Grid10cm.idx", 8, 24}};
    for (const Field& field : fields) {
        const CString path = Index(field.file);
        const std::vector<std::uint8_t> sound = ReadBytes(path);
        const std::size_t last = (sound.size() / field.stride - 1) * field.stride;
        for (const std::size_t record : {std::size_t{0}, last}) {
            for (const std::uint64_t value : {~std::uint64_t{0}, std::uint64_t{1} << 63}) {
                Spoil(path, record + field.offset, value, 8);
                ExpectDamage("offset");
                WriteBytes(path, sound.data(), sound.size());
            }
            for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}}) {
                Spoil(path, record + field.offset + 8, value, 4);
                ExpectDamage("count");
                WriteBytes(path, sound.data(), sound.size());
            }
        }
    }
}

TEST_F(ProjectVerbs, SurviveFilesCutShort) {
    for (const wchar_t* name :
         {L"Grid1000cm.idx", L"Grid.idx", L"Grid1to10cm.idx", L"Grid10cm.idx", L"Grid.pts"}) {
        const std::vector<std::uint8_t> sound = ReadBytes(Index(name));
        for (const std::size_t by : {std::size_t{32}, sound.size()}) {
            Shorten(Index(name), by);
            ExpectDamage("cut short");
            WriteBytes(Index(name), sound.data(), sound.size());
        }
    }
}

// BEHAVIOUR C6
TEST_F(ProjectVerbs, NameAFileThatIsMissing) {
    std::error_code error;
    platform::RemoveFile(Index(L"Grid.pts"), error);
    const Json walk = OrvixError({"walk", Project()});
    EXPECT_EQ(walk["exit"], 5);
    EXPECT_THAT(walk["message"].get<std::string>(), HasSubstr("Grid.pts"));
    EXPECT_EQ(OrvixError({"destroy", Project()})["exit"], 5);
    EXPECT_TRUE(platform::PathExists(project_));
}

TEST_F(ProjectVerbs, ReadAProjectThatMayNotBeWrittenAndDestroyNone) {
    const ReadOnlyFile readOnly(folder_.Path(), Index(L"Grid.pts"));
    EXPECT_EQ(OrvixJson({"walk", Project()})["levels"]["1000"]["points"], tiny_.points.size());
    const Json destroy = OrvixError({"destroy", Project()});
    EXPECT_EQ(destroy["exit"], 1);
    EXPECT_THAT(destroy["message"].get<std::string>(), HasSubstr("Grid.pts"));
    EXPECT_TRUE(platform::PathExists(Index(L"Grid.pts")));
}

TEST_F(ProjectVerbs, ChangeNothingWhereTheyAreRefused) {
    std::error_code error;
    for (const wchar_t* name : {L"pano", L"LogicView", L"Images"})
        platform::RemoveTree(folder_ / (L"p_Project_Files/" + std::wstring(name)), error);
    const ScratchFolder elsewhere;  // the grid files' folder, where there are none
    WriteText(Index(L"network"), Utf8(elsewhere.Path()));
    const auto before = platform::ListFolder(folder_ / L"p_Project_Files", error);
    const std::vector<std::vector<std::string>> lines{
        {"destroy", Project()}, {"walk", Project()}, {"plane", Project(), "--seed", "0,0,0"}};
    for (const auto& line : lines) EXPECT_EQ(OrvixError(line)["exit"], 5) << line[0];
    EXPECT_EQ(platform::ListFolder(folder_ / L"p_Project_Files", error), before);
    EXPECT_TRUE(platform::ListFolder(elsewhere.Path(), error).empty());
}

// BEHAVIOUR C3
TEST_F(ProjectVerbs, CallAProjectFileThatIsCutShortDamagedAllAlike) {
    const std::vector<std::uint8_t> whole = ReadBytes(project_);
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{4}, whole.size() - 1}) {
        WriteBytes(project_, whole.data(), bytes);
        const ProcessResult check = Orvix({"check", Project(), "--json"});
        EXPECT_EQ(check.exitCode, 5) << bytes;
        EXPECT_FALSE(Json::parse(check.output)["faults"].empty());
        for (const char* verb : {"info", "walk", "destroy"})
            EXPECT_EQ(OrvixError({verb, Project()})["exit"], 5) << verb << ' ' << bytes;
    }
}

TEST_F(ProjectVerbs, EndAPlaneSearchOfCellsBeyondAllMeasure) {
    ProjectManager manager;
    manager.Set(project_, false);
    for (const double split : {1e160, std::numeric_limits<double>::infinity()}) {
        PROJECT_SETTINGS settings = manager.projectSettings;
        settings.aliveSplitSize = split;
        manager.SetProjectSettings(settings);
        const Json error = OrvixError({"plane", Project(), "--seed", "0,0,0", "--local"});
        EXPECT_EQ(error["exit"], 3);
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("split size"));
    }
}

// BEHAVIOUR C1, C2
TEST_F(ProjectVerbs, RefuseWhatIsNoProjectAndLeaveItAlone) {
    const ScratchFolder other;
    WriteText(other / L"notes.prj", "this is not a project, though it ends in .prj");
    WriteText(other / L"empty.prj", "");
    std::error_code error;
    platform::MakeFolder(other / L"folder.prj", error);
    const auto before = platform::ListFolder(other.Path(), error);
    for (const wchar_t* name : {L"notes.prj", L"empty.prj", L"folder.prj", L"missing.prj"}) {
        const std::string path = Utf8(other / name);
        const std::vector<std::vector<std::string>> lines{{"info", path},
                                                          {"check", path},
                                                          {"walk", path},
                                                          {"destroy", path},
                                                          {"plane", path, "--seed", "0,0,0"}};
        for (const auto& line : lines) {
            const Json refusal = OrvixError(line);
            EXPECT_EQ(refusal["exit"], 3) << line[0] << ' ' << path;
            EXPECT_THAT(refusal["message"].get<std::string>(), HasSubstr(Utf8(name)));
        }
    }
    EXPECT_EQ(platform::ListFolder(other.Path(), error), before);
}

TEST_F(ProjectVerbs, TellThatTheProjectFilesFolderIsLost) {
    std::error_code error;
    platform::RemoveTree(folder_ / L"p_Project_Files", error);
    for (const char* verb : {"info", "check", "walk", "destroy"})
        EXPECT_EQ(OrvixError({verb, Project()})["exit"], 5) << verb;
    EXPECT_EQ(platform::ListFolder(folder_.Path(), error).size(), 1u);
}

TEST_F(ProjectVerbs, DestroyTheProjectAndNameWhatRemains) {
    WriteText(folder_ / platform::JoinPath(L"p_Project_Files", L"notes.txt"), "keep me");
    // As verbs leave them that are killed.
    const CString parts[] = {
        folder_ / L"p.prj.orvix-part", folder_ / L"p_Project_Files/manifest.orvix-part",
        Index(L"Grid.idx.orvix-part"), Index(L"scanpos/station_0.pos.orvix-part")};
    for (const CString& part : parts) WriteText(part, "half");
    const CString others = Index(L"others.idx.orvix-part");
    WriteText(others, "keep me too");
    const Json destroyed = OrvixJson({"destroy", Project()});
    EXPECT_EQ(destroyed["destroyed"], true);
    EXPECT_FALSE(platform::PathExists(project_));
    EXPECT_FALSE(platform::PathExists(Index(L"Grid.pts")));
    for (const CString& part : parts)
        EXPECT_FALSE(platform::PathExists(part)) << platform::ToUtf8(part);
    EXPECT_TRUE(platform::PathExists(others));
    const auto& remains = destroyed["remains"];
    EXPECT_THAT(remains, testing::Contains(Json(Utf8(
                             folder_ / platform::JoinPath(L"p_Project_Files", L"notes.txt")))));
    for (const Json& path : remains)
        EXPECT_TRUE(platform::PathExists(platform::FromUtf8(path.get<std::string>()))) << path;
    EXPECT_EQ(OrvixError({"info", Project()})["exit"], 3);
}

// BEHAVIOUR C17
TEST_F(ProjectVerbs, GoOnWithADestructionThatWasEndedOnTheWay) {
    WriteText(folder_ / L"p_Project_Files/destroying", "");
    std::error_code error;
    platform::RemoveFile(Index(L"Grid.idx"), error);
    for (const char* verb : {"info", "check", "walk"}) {
        const Json refusal = OrvixError({verb, Project()});
        EXPECT_EQ(refusal["exit"], 5) << verb;
        EXPECT_THAT(refusal["message"].get<std::string>(), HasSubstr("destroy")) << verb;
    }
    EXPECT_EQ(OrvixJson({"destroy", Project()})["destroyed"], true);
    EXPECT_FALSE(platform::PathExists(project_));
    EXPECT_FALSE(platform::PathExists(Index(L"Grid.pts")));
    EXPECT_FALSE(platform::PathExists(folder_ / L"p_Project_Files/destroying"));
    // The project file is the last but one to go.
    WriteText(folder_ / L"p_Project_Files/destroying", "");
    EXPECT_EQ(OrvixJson({"destroy", Project()})["destroyed"], true);
    EXPECT_FALSE(platform::PathExists(folder_ / L"p_Project_Files/destroying"));
    EXPECT_EQ(OrvixError({"destroy", Project()})["exit"], 3);
}

// BEHAVIOUR C18
TEST_F(ProjectVerbs, DestroyNothingOutsideTheProjectsOwnFolder) {
    const ScratchFolder other;
    const CString neighbourFile = other / L"q.prj";
    WriteTinyProject(tiny_, neighbourFile);
    const CString points = other / L"q_Project_Files/Index/Grid.pts";
    const std::vector<std::uint8_t> before = ReadBytes(points);
    WriteText(Index(L"network"), Utf8(other / L"q_Project_Files/Index"));
    const Json destroyed = OrvixJson({"destroy", Project()});
    EXPECT_FALSE(platform::PathExists(project_));
    EXPECT_EQ(ReadBytes(points), before);
    EXPECT_EQ(OrvixJson({"walk", Utf8(neighbourFile)})["levels"]["1000"]["points"],
              tiny_.points.size());
    const CString named = platform::JoinPath(other / L"q_Project_Files/Index", L"Grid.pts");
    EXPECT_THAT(destroyed["remains"], testing::Contains(Json(Utf8(named))));
}

}  // namespace
}  // namespace orvix::test
