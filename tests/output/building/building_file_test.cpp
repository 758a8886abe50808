// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <sstream>

#include "output/building/building_json.h"
#include "support/scenes/sample_building.h"
#include "support/scratch_folder.h"

namespace orvix::output {
namespace {

using nlohmann::json;
using testing::DoubleNear, testing::ElementsAre, testing::HasSubstr;

const detail::LocalToWorld kFrame =
    detail::LocalToWorld::Translation({4'468'000.5, 5'335'000, 512});

// A quarter turn to the left, then a shift.
detail::LocalToWorld Turned() {
    return {{0, -1, 0, 100, 1, 0, 0, 200, 0, 0, 1, 10, 0, 0, 0, 1}};
}

TEST(BuildingJson, HasElementsInTheWorldAndNumbersFromOne) {
    const json house = json::parse(JsonOf(test::SampleBuilding(), kFrame));
    ASSERT_EQ(house["walls"].size(), 9);
    ASSERT_EQ(house["faces"].size(), 1);
    const json& wall = house["walls"][4];
    EXPECT_EQ(wall["number"], 5);
    EXPECT_EQ(wall["axis"], json::parse("[[4468005.56, 5335001.9], [4468008.5, 5335004.105]]"));
    EXPECT_EQ(wall["thickness"], 0.12);
    EXPECT_EQ(wall["base"], 512);
    EXPECT_EQ(wall["top"], 514.5);
    EXPECT_EQ(house["faces"][0]["number"], 6);
    EXPECT_FALSE(house["faces"][0].contains("thickness"));
    EXPECT_EQ(house["faces"][0]["evidence"]["inferred"], json::parse(R"(["other side"])"));
    const json& room = house["rooms"][0];
    EXPECT_EQ(room["name"], "Room 1.1");
    EXPECT_EQ(room["polygon"].size(), 2);
    EXPECT_EQ(room["area"]["value"], 29.39);
    EXPECT_EQ(house["rooms"][3]["ceiling"], 518.8);
    EXPECT_EQ(house["slabs"][0]["bottom"], nullptr);
    EXPECT_EQ(house["slabs"][1]["bottom"]["value"], 514.5);
    EXPECT_EQ(house["storeys"][1]["elevation"], 514.8);
    EXPECT_EQ(house["edges"][0]["kind"], "ridge");
    EXPECT_EQ(house["stationsKnown"], true);
    EXPECT_EQ(house["remarks"].size(), 1);
}

TEST(BuildingJson, PlacesOpeningsByTheirMiddleAndSill) {
    const json house = json::parse(JsonOf(test::SampleBuilding(), kFrame));
    const json& window = house["openings"][7];
    EXPECT_EQ(window["kind"], "window");
    EXPECT_EQ(window["wall"], 7);
    const std::vector<double> centre = window["centre"];
    EXPECT_THAT(centre, ElementsAre(DoubleNear(4'468'000.35, 1e-6), DoubleNear(5'335'003, 1e-6),
                                    DoubleNear(516.4, 1e-9)));
    EXPECT_NEAR(window["sill"], 1, 1e-12);
    EXPECT_EQ(window["rooms"], json::parse("[null, 4]"));
    EXPECT_EQ(house["openings"][1]["state"], "free");
}

TEST(BuildingJson, TurnsWithTheProjectsFrame) {
    const json house = json::parse(JsonOf(test::SampleBuilding(), Turned()));
    EXPECT_EQ(house["walls"][1]["axis"], json::parse("[[100.15, 200.0], [100.15, 208.0]]"));
    EXPECT_EQ(house["openings"][1]["direction"], json::parse("[0.0, 1.0]"));
    const json& equation = house["slopes"][0]["equation"];
    for (const json& p : house["slopes"][0]["outline"])
        EXPECT_NEAR(double(equation[0]) * double(p[0]) + double(equation[1]) * double(p[1]) +
                        double(equation[2]) * double(p[2]) + double(equation[3]),
                    0, 1e-9);
}

std::string TextOf(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

class BuildingFile : public testing::Test {
protected:
    test::ScratchFolder folder_;
};

TEST_F(BuildingFile, ObjHasAGroupForEachElementInTheWorld) {
    const auto path = folder_ / L"house.OBJ";
    ASSERT_TRUE(WriteBuilding(path, test::SampleBuilding(), kFrame));
    std::istringstream text(TextOf(path));
    std::vector<std::string> groups;
    double lowest = 1e9;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("g ")) groups.push_back(line.substr(2));
        double x = 0, y = 0, z = 0;
        if (std::sscanf(line.c_str(), "v %lf %lf %lf", &x, &y, &z) == 3)
            lowest = std::min(lowest, z);
    }
    ASSERT_EQ(groups.size(), 26);
    EXPECT_EQ(groups[0], "wall_1");
    EXPECT_EQ(groups[17], "room_2.1");
    EXPECT_EQ(groups[19], "door_2");
    EXPECT_EQ(lowest, 512);
}

TEST_F(BuildingFile, NamesTheEndingsThatItKnowsAndKeepsWhatIsThere) {
    const auto path = folder_ / L"house.docx";
    EXPECT_FALSE(IsBuildingName(path));
    const auto written = WriteBuilding(path, test::SampleBuilding(), kFrame);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, ErrorCode::BadInput);
    EXPECT_THAT(written.error().message, HasSubstr("house.docx must end in " + BuildingEndings()));
    EXPECT_THAT(BuildingEndings(), HasSubstr(".obj"));
    EXPECT_THAT(folder_.Names(), testing::IsEmpty());
    const auto lost =
        WriteBuilding(folder_ / L"no folder/house.json", test::SampleBuilding(), kFrame);
    ASSERT_FALSE(lost);
    EXPECT_THAT(lost.error().message, HasSubstr("house.json"));
}

TEST_F(BuildingFile, ABuildingOfNothingIsAFileToo) {
    for (const wchar_t* name : {L"house.ifc", L"house.json", L"house.obj"}) {
        const auto path = folder_ / name;
        ASSERT_TRUE(WriteBuilding(path, {}, kFrame));
        EXPECT_THAT(folder_.Names(), testing::Contains(CString(name)));
    }
}

}  // namespace
}  // namespace orvix::output
