// SPDX-License-Identifier: GPL-3.0-or-later
// Signals, links, pipes, closed streams and full disks, as a shell hands them to the command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"
#include "tests/support/settings_sandbox.h"
#include "tests/support/tiny_project.h"

namespace orvix::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

class CommandInAShell : public testing::Test {
protected:
    [[nodiscard]] std::string File(std::wstring_view name) const { return Utf8(folder_ / name); }

    // Runs a line of shell in the scratch folder, with the command as $orvix.
    [[nodiscard]] ProcessResult Shell(const std::string& line) const {
        return RunProcess(
            {"/bin/sh", "-c",
             "cd '" + Utf8(folder_.Path()) + "'; orvix='" ORVIX_COMMAND "'; " + line});
    }

    void WriteRoom() const { WriteCloud(folder_ / L"room.xyz", Room()); }

    ScratchFolder folder_;
};

// Hangs up on an import once it has told its first phase, and tells its exit code.
constexpr const char* kHangUp =
    "\"$orvix\" import room.xyz p.prj --progress json 2>said >&2 & pid=$!; "
    "while kill -0 $pid 2>/dev/null && ! grep -q phase said; do :; done; "
    "kill -HUP $pid 2>/dev/null; wait $pid; echo $?";

TEST_F(CommandInAShell, EndsInOrderWhenItsTerminalGoes) {
    Cloud many;
    while (many.size() < 1'500'000) many.push_back({static_cast<double>(many.size()) * 1e-4, 0, 0});
    WriteCloud(folder_ / L"room.xyz", many);
    EXPECT_EQ(Shell(kHangUp).output, "130\n");
    EXPECT_THAT(folder_.Names(), ElementsAre(L"room.xyz", L"said"));
    // As nohup starts it.
    EXPECT_EQ(Shell(std::string("trap '' HUP; ") + kHangUp).output, "0\n");
    EXPECT_THAT(folder_.Names(), ElementsAre(L"p.prj", L"p_Project_Files", L"room.xyz", L"said"));
}

TEST_F(CommandInAShell, ImportsWithStreamsThatAreClosedOrCannotBeWritten) {
    WriteRoom();
    const char* const import = "\"$orvix\" import room.xyz p.prj --overwrite --progress plain ";
    for (const char* streams : {"2>&-", "2>/dev/full", "<&- 2>&- >out", ">out 2>&1 <&-"}) {
        EXPECT_EQ(Shell(import + std::string(streams)).exitCode, 0) << streams;
        const Json check = OrvixJson({"check", File(L"p.prj")});
        EXPECT_EQ(check["ok"], true) << streams;
    }
    // A result that reached nobody is a failure; the project is there all the same.
    EXPECT_EQ(Shell(import + std::string(">&-")).exitCode, 1);
    EXPECT_EQ(OrvixJson({"check", File(L"p.prj")})["ok"], true);
}

TEST_F(CommandInAShell, SaysWhatIsNoFile) {
    ASSERT_EQ(::mkfifo(File(L"pipe.las").c_str(), 0600), 0);
    for (const std::string& input : {File(L"pipe.las"), std::string("/dev/null")}) {
        const Json error = OrvixError({"import", input, File(L"p.prj")});
        EXPECT_EQ(error["exit"], 3);
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("a pipe or a device"));
        EXPECT_EQ(OrvixError({"info", input})["exit"], 3);
    }
}

// BEHAVIOUR I16, C13
TEST_F(CommandInAShell, KeepsFromProjectsThatAreLinks) {
    WriteRoom();
    OrvixJson({"import", File(L"room.xyz"), File(L"p.prj")});
    fs::rename(File(L"p_Project_Files"), File(L"elsewhere"));
    fs::create_directory_symlink("elsewhere", File(L"p_Project_Files"));
    EXPECT_EQ(OrvixJson({"check", File(L"p.prj")})["ok"], true);
    const Json error = OrvixError({"import", File(L"room.xyz"), File(L"p.prj"), "--overwrite"});
    EXPECT_EQ(error["exit"], 3);
    EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("is a link"));
    const Json kept = OrvixError({"destroy", File(L"p.prj")});
    EXPECT_EQ(kept["exit"], 3);
    EXPECT_THAT(kept["message"].get<std::string>(), HasSubstr("is a link"));
    EXPECT_EQ(OrvixJson({"check", File(L"p.prj")})["ok"], true);
    EXPECT_TRUE(fs::is_symlink(File(L"p_Project_Files")));
    EXPECT_THAT(folder_.Names(),
                ElementsAre(L"elsewhere", L"p.prj", L"p_Project_Files", L"room.xyz"));
}

// A file that goes round in circles is there and cannot be read, whoever asks.
TEST_F(CommandInAShell, TellsARefusalFromDamageInACheck) {
    WriteTinyProject(MakeTinyProject(RoomPoints(7)), folder_ / L"p.prj");
    for (const wchar_t* name : {L"Data/z.hist", L"head", L"transform", L"Index/Grid.pts"}) {
        const std::string file = File(L"p_Project_Files/" + std::wstring(name));
        fs::rename(file, File(L"kept"));
        fs::create_symlink(file, file);
        const Json error = OrvixError({"check", File(L"p.prj")});
        EXPECT_EQ(error["exit"], 1) << file;
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr(file));
        fs::rename(File(L"kept"), file);
    }
    EXPECT_EQ(OrvixJson({"check", File(L"p.prj")})["ok"], true);
}

// A limit on the size of files stands for a full disk.
TEST_F(CommandInAShell, LeavesNoPieceOfAMeshOrPictureOnAFullDisk) {
    WriteRoom();
    OrvixJson({"import", File(L"room.xyz"), File(L"p.prj")});
    const auto before = folder_.Names();
    const std::string plane = "\"$orvix\" plane p.prj --seed 1.5,0,1.5 ";
    for (const char* output : {"--mesh wall.ply", "--picture wall.png"}) {
        const ProcessResult full = Shell("trap '' XFSZ; ulimit -f 1; " + plane + output);
        EXPECT_EQ(full.exitCode, 4) << full.errors;
        EXPECT_EQ(folder_.Names(), before) << output;
    }
}

// BEHAVIOUR I24
TEST_F(CommandInAShell, EndsAnImportInOrderThatMeetsALimitOfTheShell) {
    WriteRoom();
    OrvixJson({"import", File(L"room.xyz"), File(L"p.prj")});
    const auto before = folder_.Names();
    const std::vector<std::uint8_t> points = ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts");
    // A limit on the size of files ends most programs by a signal; one on open files is met anywhere.
    std::vector<std::string> limits{"ulimit -f 1", "ulimit -f 8"};
#if !defined(__SANITIZE_ADDRESS__)  // a sanitizer needs descriptors of its own to look at memory
    limits.insert(limits.end(), {"ulimit -n 4", "ulimit -n 6"});
#endif
    for (const std::string& limit : limits) {
        // Descriptors that the test inherited would count.
        const ProcessResult ended =
            Shell("exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; " + limit +
                  "; \"$orvix\" import room.xyz p.prj --overwrite --dedupe");
        EXPECT_THAT(ended.exitCode, testing::AnyOf(1, 3, 4)) << limit << ended.errors;
        EXPECT_THAT(ended.errors, HasSubstr("orvix import: ")) << limit;
        EXPECT_EQ(ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts"), points) << limit;
        EXPECT_EQ(OrvixJson({"check", File(L"p.prj")})["ok"], true) << limit;
    }
    OrvixJson({"import", File(L"room.xyz"), File(L"p.prj"), "--overwrite"});
    EXPECT_EQ(folder_.Names(), before);
}

TEST_F(CommandInAShell, FollowsNoLinkUnderTheNamesThatAnImportWorksWith) {
    WriteRoom();
    for (const wchar_t* name : {L"p.importing.prj", L"p.importing.note",
                                L"p.importing_Project_Files", L"p.importing_Replaced_Files"}) {
        fs::create_symlink(File(L"elsewhere"), File(name));
        const Json error = OrvixError({"import", File(L"room.xyz"), File(L"p.prj")});
        EXPECT_EQ(error["exit"], 3) << File(name);
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("in the way")) << File(name);
        EXPECT_FALSE(fs::exists(File(L"elsewhere"))) << File(name);
        EXPECT_TRUE(fs::is_symlink(File(name)));
        fs::remove(File(name));
    }
}

// Sanitizers take memory of their own.
#ifndef __SANITIZE_ADDRESS__
TEST_F(CommandInAShell, KeepsWithinTheLeastMemoryWhereEachPointHasACell) {
    WriteCloud(folder_ / L"sparse.xyz", Sheet(1'000'000, {}, {100, 0, 30}, {0, 100, 10}));
    const Json report =
        OrvixJson({"import", File(L"sparse.xyz"), File(L"p.prj"), "--memory-limit", "64M"});
    EXPECT_LE(report["peak_memory_bytes"], 64 << 20);
}
#endif

// BEHAVIOUR U9
TEST_F(CommandInAShell, SaysThatDamagedSettingsCannotBeReset) {
    const ChildSettingsSandbox sandbox;
    EXPECT_EQ(
        Shell("echo these are no settings, whatever their name >\"$ORVIX_SETTINGS_DIR\"/user.db")
            .exitCode,
        0);
    for (const auto& line :
         std::vector<std::vector<std::string>>{{"settings", "reset"},
                                               {"settings", "reset", "DiffA"},
                                               {"settings", "set", "DiffA", "1"}}) {
        const Json error = OrvixError(line);
        EXPECT_EQ(error["exit"], 1) << line[1];
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("delete it to start anew"));
    }
}

// The reader of IFC is the program beside the command: here one that ends as it is told.
TEST_F(CommandInAShell, SaysWhyNoIfcModelWasRead) {
    WriteRoom();
    ASSERT_EQ(Shell("\"$orvix\" import room.xyz p.prj").exitCode, 0);
    WriteText(folder_ / L"house.ifc", "a model\n");
    ASSERT_EQ(Shell("cp \"$orvix\" orvix && printf '#!/bin/sh\\n' > orvix-ifc && "
                    "chmod +x orvix-ifc")
                  .exitCode,
              0);
    const auto errorsOf = [this](const std::string& body, const std::string& setting) {
        const ProcessResult run = Shell("printf '#!/bin/sh\\n" + body + "\\n' > orvix-ifc; " +
                                        setting + " ./orvix deviation p.prj house.ifc");
        EXPECT_NE(run.exitCode, 0);
        return run.errors;
    };
    EXPECT_THAT(errorsOf("exit 7", ""), HasSubstr("exit code 7, and said nothing"));
    EXPECT_THAT(errorsOf("echo house is odd >&2; exit 1", ""), HasSubstr("house is odd"));
    const std::string none = errorsOf("exit 0", "TMPDIR=/no/such");
    EXPECT_THAT(none, HasSubstr("/no/such: no temporary file"));
    EXPECT_THAT(none, HasSubstr("TMPDIR"));
    EXPECT_THAT(none, HasSubstr("No such file"));
}

}  // namespace
}  // namespace orvix::test
