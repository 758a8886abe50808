// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "orvix/platform/path.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/model_file.h"
#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

class ModelVerb : public RoomProject {
protected:
    ModelVerb() { detail::BuildPaths(paths_, *folder_ / L"room.prj"); }

    static Json Model(std::vector<std::string> options) {
        options.insert(options.begin(), {"model", File(L"room.prj")});
        return OrvixJson(options);
    }
    static int ExitOf(std::vector<std::string> options) {
        options.insert(options.begin(), {"model", File(L"room.prj")});
        return OrvixError(options)["exit"];
    }
    static std::vector<std::uint8_t> Bytes(const wchar_t* name) {
        return ReadBytes(*folder_ / name);
    }

    /// Changes a byte of the saved model under a checksum that is right.
    void Spoil(std::size_t at, std::uint8_t value) const {
        auto bytes = ReadBytes(detail::SavedModelPath(paths_));
        bytes.at(at) = value;
        const std::size_t summed = bytes.size() - sizeof(std::uint64_t);
        const std::uint64_t hash = detail::HashOf(bytes.data(), summed);
        std::memcpy(bytes.data() + summed, &hash, sizeof hash);
        WriteRecords(detail::SavedModelPath(paths_), bytes);
    }
    static Json Deviation() { return OrvixJson({"deviation", File(L"room.prj"), "model"}); }

    ProjectManager paths_;
};

TEST_F(ModelVerb, WritesTheSameFilesHoweverItGetsThere) {
    const Json found = Model({File(L"a.ifc"), File(L"a.json"), File(L"a.obj"), File(L"a.dxf"),
                              "--search", "--threads", "1", "--save"});
    EXPECT_FALSE(found["planes_read"]);
    EXPECT_GT(found["planes"], 4);
    EXPECT_EQ(found["files"].size(), 4U);
    EXPECT_TRUE(found["saved"]);
    EXPECT_EQ(Json::parse(TextOf(L"a.json")), found["model"]);

    const Json again = Model({File(L"b.ifc"), File(L"b.json"), File(L"b.obj"), File(L"b.dxf"),
                              "--search", "--threads", "4", "--memory-limit", "64MiB"});
    EXPECT_EQ(again["model"], found["model"]);
    const Json read = Model({File(L"c.ifc"), File(L"c.json"), File(L"c.obj"), File(L"c.dxf"),
                             "--saved", "--picture", File(L"c.png")});
    EXPECT_EQ(read["model"], found["model"]);
    EXPECT_TRUE(read["planes"].is_null());
    EXPECT_EQ(read["picture"], File(L"c.png"));
    EXPECT_FALSE(Bytes(L"c.png").empty());
    for (const auto& [first, second, third] : {std::tuple{L"a.ifc", L"b.ifc", L"c.ifc"},
                                               {L"a.json", L"b.json", L"c.json"},
                                               {L"a.obj", L"b.obj", L"c.obj"},
                                               {L"a.dxf", L"b.dxf", L"c.dxf"}}) {
        EXPECT_FALSE(Bytes(first).empty()) << Utf8(first);
        EXPECT_TRUE(Bytes(first) == Bytes(second)) << Utf8(second);
        EXPECT_TRUE(Bytes(first) == Bytes(third)) << Utf8(third);
    }
    EXPECT_TRUE(OrvixJson({"check", File(L"room.prj")})["ok"]);
}

TEST_F(ModelVerb, TakesThePlanesThatTheProjectKeeps) {
    const Json planes = OrvixJson({"planes", File(L"room.prj"), "--save", "--min-area", "2"});
    const Json kept = Model({});
    EXPECT_TRUE(kept["planes_read"]);
    EXPECT_EQ(kept["planes"], planes["planes"].size());
    EXPECT_FALSE(Model({"--search"})["planes_read"]);
    EXPECT_FALSE(Model({"--min-area", "0.1"})["planes_read"]) << "a search was asked for";
    std::error_code error;
    platform::RemoveFile(detail::SavedPlanesPath(paths_), error);
}

TEST_F(ModelVerb, RefusesWhatItCannotDo) {
    std::error_code error;
    platform::RemoveFile(detail::SavedModelPath(paths_), error);
    EXPECT_EQ(ExitOf({"--saved"}), 3) << "none is kept";
    EXPECT_EQ(ExitOf({File(L"a.txt")}), 2);
    EXPECT_EQ(ExitOf({"--saved", "--cell", "0.5"}), 2);
    EXPECT_EQ(ExitOf({"--saved", "--save"}), 2);
    EXPECT_EQ(ExitOf({"--cut", "0"}), 2);
    EXPECT_EQ(ExitOf({File(L"no/a.ifc")}), 3);
    WriteText(detail::SavedPlanesPath(paths_), "no planes");
    EXPECT_EQ(ExitOf({}), 5) << "what is damaged is not passed over";
    platform::RemoveFile(detail::SavedPlanesPath(paths_), error);
    WriteText(detail::SavedModelPath(paths_), "no model");
    EXPECT_EQ(ExitOf({"--saved"}), 5);
    EXPECT_EQ(Orvix({"check", File(L"room.prj")}).exitCode, 5);
    EXPECT_TRUE(Model({"--save"})["saved"]) << "a damaged model may be replaced";
    EXPECT_TRUE(OrvixJson({"check", File(L"room.prj")})["ok"]);
}

TEST_F(ModelVerb, IsCheckedAsItsReaderWould) {
    Model({"--save"});
    const auto bytes = ReadBytes(detail::SavedModelPath(paths_));
    detail::ModelFileEnd end;
    std::memcpy(&end, bytes.data() + bytes.size() - sizeof end, sizeof end);
    Spoil(bytes.size() - sizeof end - end.contentBytes, 0xFF);  // how many storeys there are
    EXPECT_EQ(ExitOf({"--saved"}), 5);
    const auto check = Orvix({"check", File(L"room.prj")});
    EXPECT_EQ(check.exitCode, 5);
    EXPECT_THAT(check.output, HasSubstr("do not end where they should"));
    Model({"--save"});
}

TEST_F(ModelVerb, IsNamedWherePointsAreHeldAgainstIt) {
    std::error_code error;
    platform::RemoveFile(detail::SavedModelPath(paths_), error);
    const Json found = Deviation();
    EXPECT_EQ(found["model"], "found");
    EXPECT_TRUE(found["not_taken"].is_null());
    Model({"--save"});
    const Json saved = Deviation();
    EXPECT_EQ(saved["model"], "saved");
    EXPECT_EQ(saved["elements"], found["elements"]);
    Spoil(8, 2);  // of a later version
    const Json passedOver = Deviation();
    EXPECT_EQ(passedOver["model"], "found");
    EXPECT_THAT(passedOver["not_taken"].get<std::string>(), HasSubstr("version"));
    EXPECT_THAT(Orvix({"deviation", File(L"room.prj"), "model"}).output,
                HasSubstr("found now, and not the one that the project keeps"));
    platform::RemoveFile(detail::SavedModelPath(paths_), error);
}

TEST_F(ModelVerb, DrawsPlansAsItsOptionsSay) {
    Model({File(L"plan.svg"), "--cut", "1.5"});
    EXPECT_THAT(TextOf(L"plan.svg"), HasSubstr("cut 1.50 m above it"));
    Model({File(L"north.svg"), "--cut", "1.5", "--north", "30"});
    EXPECT_NE(TextOf(L"north.svg"), TextOf(L"plan.svg"));
}

TEST_F(ModelVerb, SaysInTextWhatItFound) {
    const ProcessResult run = Orvix({"model", File(L"room.prj")});
    EXPECT_EQ(run.exitCode, 0);
    for (const char* word : {"planes ", "rooms ", "walls ", "openings ", "slabs "})
        EXPECT_THAT(run.output, HasSubstr(word));
}

}  // namespace
}  // namespace orvix::test
