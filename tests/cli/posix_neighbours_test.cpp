// SPDX-License-Identifier: GPL-3.0-or-later
// The command among other programs: their links, their locks, their half-written files and names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <fcntl.h>
#include <unistd.h>

#include "orvix/platform/path.h"
#include "orvix/project/access/project_lock.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class CommandAmongOthers : public testing::Test {
protected:
    CommandAmongOthers() {
        WriteCloud(folder_ / L"room.xyz", Room());
        OrvixJson({"import", File(L"room.xyz"), File(L"p.prj")});
    }
    [[nodiscard]] std::string File(std::wstring_view name) const { return Utf8(folder_ / name); }

    ScratchFolder folder_;
};

// BEHAVIOUR O11
TEST_F(CommandAmongOthers, WritesNoResultThroughAPlantedLinkNorOverAnotherWriters) {
    WriteText(folder_ / L"victim", "mine");
    ASSERT_EQ(symlink("victim", File(L"e.ply.orvix-part").c_str()), 0);
    ASSERT_EQ(symlink("victim", File(L"m.ply.orvix-part").c_str()), 0);
    OrvixJson({"export", File(L"p.prj"), File(L"e.ply")});
    OrvixJson({"plane", File(L"p.prj"), "--seed", "4,3,0", "--mesh", File(L"m.ply")});
    EXPECT_EQ(ReadBytes(folder_ / L"victim").size(), 4u);
    const auto first = ReadBytes(folder_ / L"e.ply");
    // Somebody writes the same file just now.
    const int other = open(File(L"e.ply.orvix-part").c_str(), O_RDWR | O_CREAT, 0666);
    ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    const Json refused = OrvixError({"export", File(L"p.prj"), File(L"e.ply"), "--overwrite"});
    EXPECT_EQ(refused["exit"], 1);
    EXPECT_THAT(refused["message"].get<std::string>(),
                HasSubstr("is being written by another program"));
    close(other);
    OrvixJson({"export", File(L"p.prj"), File(L"e.ply"), "--overwrite"});
    EXPECT_EQ(ReadBytes(folder_ / L"e.ply"), first);
    EXPECT_FALSE(platform::PathExists(folder_ / L"e.ply.orvix-part"));
}

// BEHAVIOUR P16
TEST_F(CommandAmongOthers, ChangesNoProjectThatAnotherProgramChanges) {
    const std::string project = File(L"p.prj");
    const std::vector<std::vector<std::string>> writers = {
        {"import", File(L"room.xyz"), project, "--overwrite"},
        {"classify", project, "--field", "z", "--apply"},
        {"planes", project, "--apply"},
        {"planes", project, "--save"},
        {"destroy", project}};
    {
        const auto lock = detail::ProjectLock::Acquire(folder_ / L"p.prj");
        ASSERT_TRUE(lock);
        for (const auto& words : writers) {
            const Json error = OrvixError(words);
            EXPECT_EQ(error["exit"], 1) << words[0];
            EXPECT_THAT(error["message"].get<std::string>(),
                        HasSubstr("(process " + std::to_string(getpid()) + ")"))
                << words[0];
        }
        OrvixJson({"check", project});
        OrvixJson({"planes", project});
    }
    for (const auto& words : writers) OrvixJson(words);
    EXPECT_FALSE(platform::PathExists(folder_ / L"p.prj.lock"));
}

// BEHAVIOUR C14
TEST_F(CommandAmongOthers, SpellsOutWhatATerminalWouldObey) {
    const std::string name = File(L"no\x1b[31m\u202e such.prj");
    const ProcessResult human = Orvix({"info", name});
    EXPECT_THAT(human.errors, HasSubstr("no\\x1b[31m\\u202e such.prj"));
    EXPECT_THAT(human.errors, Not(HasSubstr("\x1b")));
    EXPECT_EQ(human.exitCode, 3);
}

}  // namespace
}  // namespace orvix::test
