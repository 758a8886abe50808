// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <set>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/path.h"
#include "tests/c/c_project.h"
#include "tests/c/short_memory.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

class CProjectCalls : public CProject {
protected:
    CProjectCalls() : CProject(RoomPoints(7), {1000.5, -2000.25, 30}) {}

    CString Inside(const CString& file) {
        return platform::JoinPath(folder / L"Gr\u00F6\u00DFe \u70B9\u4E91_Project_Files", file);
    }
    CString Index(const CString& file) { return platform::JoinPath(Inside(L"Index"), file); }
    std::string Text(std::int32_t which) {
        std::uint64_t bytes = 0;
        EXPECT_EQ(orvix_project_get_text(project, which, nullptr, 0, &bytes, &error), ORVIX_OK);
        std::string text(static_cast<std::size_t>(bytes), '?');
        EXPECT_EQ(orvix_project_get_text(project, which, text.data(), bytes, &bytes, &error),
                  ORVIX_OK);
        EXPECT_EQ(text.back(), '\0');
        text.pop_back();
        return text;
    }
};

TEST_F(CProjectCalls, TellWhatTheProjectHolds) {
    ASSERT_EQ(Open(), ORVIX_OK) << error.text;
    auto info = Sized<orvix_project_info>();
    ASSERT_EQ(orvix_project_get_info(project, &info, &error), ORVIX_OK) << error.text;
    EXPECT_EQ(info.size, sizeof info);
    EXPECT_EQ(info.points, tiny.points.size());
    EXPECT_EQ(info.skeleton_points, tiny.skeleton.size());
    EXPECT_EQ(info.cells_1000cm, tiny.cells1000.size());
    EXPECT_EQ(info.cells_100cm, tiny.cells100.size());
    EXPECT_EQ(info.cells_10cm, tiny.cells10.size());
    EXPECT_EQ(info.scale, 0.1);
    EXPECT_EQ(info.origin[1], -2000.25);
    EXPECT_EQ(info.local_to_world[3], 1000.5);
    EXPECT_EQ(info.min[0], tiny.head.bounds.min.x + 1000.5);
    EXPECT_EQ(info.min_cell_points, 10);
    EXPECT_EQ(info.diff[2], 0.15);
    EXPECT_EQ(info.colour[3], 255);
    EXPECT_EQ(Text(ORVIX_TEXT_NAME),
              "Gr\xC3\xB6\xC3\x9F"
              "e \xE7\x82\xB9\xE4\xBA\x91");
    EXPECT_EQ(Text(ORVIX_TEXT_FILE), name);
    EXPECT_EQ(Text(ORVIX_TEXT_FOLDER), name.substr(0, name.size() - 4) + "_Project_Files");
}

// BEHAVIOUR B1
TEST_F(CProjectCalls, ShareAProjectWithAHostThatKnowsLessOrMoreOfAStruct) {
    ASSERT_EQ(Open(), ORVIX_OK);
    struct Larger {
        orvix_project_info info;
        unsigned char later[16];
    } larger;
    std::memset(&larger, 0xAB, sizeof larger);
    larger.info.size = sizeof larger;
    ASSERT_EQ(orvix_project_get_info(project, &larger.info, &error), ORVIX_OK) << error.text;
    EXPECT_EQ(larger.info.points, tiny.points.size());
    EXPECT_THAT(larger.later, testing::Each(0));

    std::memset(&larger, 0xAB, sizeof larger);
    larger.info.size = 24;
    ASSERT_EQ(orvix_project_get_info(project, &larger.info, &error), ORVIX_OK) << error.text;
    EXPECT_EQ(larger.info.skeleton_points, tiny.skeleton.size());
    EXPECT_EQ(larger.info.cells_1000cm, 0xABABABABABABABABu);
}

// BEHAVIOUR B2
TEST_F(CProjectCalls, TakeOptionsOfALaterHostUnlessItAsksForWhatIsNotThere) {
    struct Larger {
        orvix_open_options options{};
        std::uint64_t later = 0;
    } larger;
    larger.options.size = sizeof larger;
    ASSERT_EQ(orvix_project_open(name.c_str(), &larger.options, &project, &error), ORVIX_OK);
    orvix_project_close(project);
    larger.later = 1;
    EXPECT_EQ(orvix_project_open(name.c_str(), &larger.options, &project, &error),
              ORVIX_UNSUPPORTED);
    EXPECT_EQ(project, nullptr);
    EXPECT_THAT(error.text, HasSubstr("newer"));
}

TEST_F(CProjectCalls, RefuseStructsWithoutASize) {
    ASSERT_EQ(Open(), ORVIX_OK);
    for (const std::uint32_t size : {0u, 4u, 12u, 4104u, 0xABABABABu}) {
        orvix_project_info info{};
        info.size = size;
        EXPECT_EQ(orvix_project_get_info(project, &info, &error), ORVIX_BAD_ARGUMENT) << size;
        EXPECT_THAT(error.text, HasSubstr("info.size"));
        orvix_open_options options{};
        options.size = size;
        orvix_project* other = nullptr;
        EXPECT_EQ(orvix_project_open(name.c_str(), &options, &other, &error), ORVIX_BAD_ARGUMENT);
    }
}

// BEHAVIOUR B3
TEST_F(CProjectCalls, CutAnErrorTextAtACharactersEnd) {
    std::string missing;
    while (missing.size() < 1500) missing += "\xC3\xA4\xE7\x82\xB9";
    for (std::uint32_t size = 8; size <= 40; size += 8) {
        std::memset(&error, 0x55, sizeof error);
        error.size = size;
        EXPECT_EQ(orvix_project_open(missing.c_str(), nullptr, &project, &error), ORVIX_BAD_INPUT);
        EXPECT_EQ(error.status, ORVIX_BAD_INPUT);
        if (size == 8) continue;
        const std::string text = error.text;
        EXPECT_LT(text.size(), size - 8);
        EXPECT_GE(text.size() + 3, size - 8 - 1);
        EXPECT_EQ(text, missing.substr(0, text.size()));
        EXPECT_NE(static_cast<unsigned char>(missing[text.size()]) & 0xC0, 0x80);
        EXPECT_EQ(reinterpret_cast<const unsigned char*>(&error)[size], 0x55);
    }
}

TEST_F(CProjectCalls, SayWhatIsMissing) {
    EXPECT_EQ(orvix_project_open("no such.prj", nullptr, &project, &error), ORVIX_BAD_INPUT);
    EXPECT_EQ(error.status, ORVIX_BAD_INPUT);
    EXPECT_THAT(error.text, HasSubstr("no such.prj"));
    EXPECT_EQ(orvix_project_open("no such.prj", nullptr, &project, nullptr), ORVIX_BAD_INPUT);
    EXPECT_EQ(Open(7), ORVIX_BAD_ARGUMENT);
    WriteText(path, "not a settings record");
    EXPECT_EQ(Open(), ORVIX_BAD_INPUT);
    EXPECT_THAT(error.text, HasSubstr("is not a project"));
}

// Every file that the calls read, cut to a few lengths: a status and a sentence, never a crash.
TEST_F(CProjectCalls, AnswerForEveryTruncationOfEveryFile) {
    const std::vector<CString> files{path,
                                     Inside(L"head"),
                                     Inside(L"transform"),
                                     Index(L"Grid.pts"),
                                     Index(L"Grid.idx"),
                                     Index(L"Grid1000cm.idx"),
                                     Index(L"Grid10cm.idx"),
                                     Index(L"Grid1to10cm.idx"),
                                     Index(L"GridSkelet.coordpts")};
    for (const CString& file : files) {
        const auto whole = ReadBytes(file);
        ASSERT_FALSE(whole.empty());
        for (const std::size_t bytes :
             {std::size_t{0}, std::size_t{1}, whole.size() / 2, whole.size() - 1}) {
            WriteBytes(file, whole.data(), bytes);
            const orvix_status opened = Open();
            if (opened != ORVIX_OK) {
                EXPECT_STRNE(error.text, "");
                EXPECT_EQ(project, nullptr);
                continue;
            }
            auto cell = Sized<orvix_cell>();
            for (const std::int32_t level : {1000, 100, 10}) {
                const void* records = nullptr;
                std::uint64_t cells = 0;
                ASSERT_EQ(orvix_cells_borrow(project, level, &records, &cells, &error), ORVIX_OK);
                for (std::uint64_t i = 0; i < cells; ++i) {
                    orvix_cell_get(project, level, i, &cell, &error);
                }
            }
            const double seed[] = {1000.5, -2000.25, 30};
            orvix_cell_at(project, 10, seed, &cell, &error);
            orvix_plane* plane = nullptr;
            orvix_plane_grow(project, seed, nullptr, &plane, &error);
            orvix_plane_close(plane);
            orvix_project_close(project);
        }
        WriteBytes(file, whole.data(), whole.size());
    }
    project = nullptr;
}

TEST_F(CProjectCalls, ChangeNothingByOpeningForReading) {
    std::error_code failed;
    const auto filesOf = [&] { return platform::ListFolder(Inside(L""), failed); };
    platform::RemoveTree(Inside(L"pano"), failed);
    const auto before = filesOf();
    const auto settings = ReadBytes(path);
    ASSERT_EQ(Open(), ORVIX_OK);
    EXPECT_EQ(filesOf(), before);
    EXPECT_EQ(ReadBytes(path), settings);
}

TEST_F(CProjectCalls, RefuseNull) {
    auto info = Sized<orvix_project_info>();
    std::uint64_t count = 0;
    EXPECT_EQ(orvix_project_open(nullptr, nullptr, &project, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_project_open(name.c_str(), nullptr, nullptr, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_project_get_info(nullptr, &info, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_THAT(error.text, HasSubstr("project is null"));
    EXPECT_EQ(orvix_project_get_text(nullptr, 0, nullptr, 0, &count, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_project_check(nullptr, nullptr, &count, &error), ORVIX_BAD_ARGUMENT);
    ASSERT_EQ(Open(), ORVIX_OK);
    EXPECT_EQ(orvix_project_get_info(project, nullptr, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_project_get_text(project, 3, nullptr, 0, &count, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_project_get_text(project, 0, nullptr, 8, &count, &error), ORVIX_BAD_ARGUMENT);
    char text[4];
    EXPECT_EQ(orvix_project_get_text(project, 0, text, 4, &count, &error), ORVIX_TOO_SMALL);
    orvix_project_close(nullptr);
}

TEST_F(CProjectCalls, CheckAProjectAndListItsFaults) {
    struct Seen {
        std::vector<std::string> files;
        double done = -1;
    } seen;
    auto options = Sized<orvix_check_options>();
    options.user = &seen;
    options.fault = [](void* user, const char* file, const char*) {
        static_cast<Seen*>(user)->files.emplace_back(file);
    };
    options.proceed = [](void* user, double done) {
        static_cast<Seen*>(user)->done = done;
        return 1;
    };
    std::uint64_t faults = 99;
    ASSERT_EQ(orvix_project_check(name.c_str(), &options, &faults, &error), ORVIX_OK) << error.text;
    EXPECT_EQ(faults, 0u);
    auto cells = tiny.cells100;
    ++cells[0].count;
    WriteRecords(Index(L"Grid.idx"), cells);
    ASSERT_EQ(orvix_project_check(name.c_str(), &options, &faults, &error), ORVIX_OK) << error.text;
    EXPECT_GE(faults, 1u);
    EXPECT_THAT(seen.files, testing::Contains(HasSubstr("Grid.idx")));
    options.proceed = [](void*, double) { return 0; };
    EXPECT_EQ(orvix_project_check(name.c_str(), &options, &faults, &error), ORVIX_CANCELLED);
}

TEST_F(CProjectCalls, TellOfAStationWhatTheProjectKnows) {
    const CString stations = Index(L"scanpos");
    std::error_code ignored;
    platform::MakeFolder(stations, ignored);
    WriteRecords<double>(platform::JoinPath(stations, L"station_3.pos"), {1, 2, 3});
    WriteRecords<double>(platform::JoinPath(stations, L"station_3.orientation"),
                         {0, 0, 1, 1.5707963267948966});
    WriteRecords<std::int16_t>(platform::JoinPath(stations, L"station_4.intens"), {-5, 700});
    ASSERT_EQ(Open(), ORVIX_OK);
    auto info = Sized<orvix_station_info>();
    ASSERT_EQ(orvix_project_get_station(project, 3, &info, &error), ORVIX_OK);
    EXPECT_EQ(info.known, static_cast<std::uint32_t>(ORVIX_STATION_POSITION));
    EXPECT_EQ(info.position[2], 3);
    EXPECT_NEAR(info.rotation[1], -1, 1e-15);  // row 0: x' = -y
    EXPECT_NEAR(info.rotation[3], 1, 1e-15);
    ASSERT_EQ(orvix_project_get_station(project, 4, &info, &error), ORVIX_OK);
    EXPECT_EQ(info.known, static_cast<std::uint32_t>(ORVIX_STATION_INTENSITIES));
    EXPECT_TRUE(info.lowest_intensity == -5 && info.highest_intensity == 700);
    EXPECT_EQ(info.rotation[0], 1);
    EXPECT_EQ(orvix_project_get_station(project, 0xFFFFFFFF, &info, &error), ORVIX_BAD_ARGUMENT);
}

TEST_F(CProjectCalls, HandTheUsersMessagesToTheHostsChannel) {
    std::string reported;
    orvix_set_channel([](void* user, const char* text) { *static_cast<std::string*>(user) = text; },
                      &reported);
    platform::ReportError(L"Gr\u00F6\u00DFe");
    EXPECT_EQ(reported,
              "Gr\xC3\xB6\xC3\x9F"
              "e");
    orvix_set_channel([](void*, const char*) { throw 1; }, nullptr);
    platform::ReportError(L"a channel that throws is left alone");
    orvix_set_channel(nullptr, nullptr);
}

// Whichever allocation fails, the call says so and the next one works.
TEST_F(CProjectCalls, TurnShortMemoryIntoAStatus) {
    orvix_status status = ORVIX_NO_MEMORY;
    long long failures = 0;
    for (; status != ORVIX_OK && failures < 10'000; ++failures) {
        LimitAllocations(failures);
        status = Open();
        LimitAllocations(-1);
        ASSERT_TRUE(status == ORVIX_OK || status == ORVIX_NO_MEMORY) << failures << error.text;
        ASSERT_EQ(status == ORVIX_OK, project != nullptr);
    }
    EXPECT_GT(failures, 10);
    EXPECT_EQ(status, ORVIX_OK);
}

TEST(CInterface, TellsItsVersion) {
    EXPECT_EQ(orvix_interface_version(), ORVIX_C_MAJOR * 65536u + ORVIX_C_MINOR);
    EXPECT_STRNE(orvix_library_version(), "");
}

}  // namespace
}  // namespace orvix::test
