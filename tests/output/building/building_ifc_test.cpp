// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_ifc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "output/ifc/ifc_file.h"
#include "support/scenes/sample_building.h"
#include "support/scratch_folder.h"

namespace orvix::output {
namespace {

using building::Building, detail::LocalToWorld;
using testing::HasSubstr, testing::Not;

TEST(IfcFile, NumbersHaveAPointAndNoNeedlessDigits) {
    EXPECT_EQ(Real(3), "3.");
    EXPECT_EQ(Real(-0.125), "-0.125");
    EXPECT_EQ(Real(-1e-12), "0.");
    EXPECT_EQ(Real(1e-9), "0.000000001");
    EXPECT_EQ(Real(5'335'000.25), "5335000.25");
}

TEST(IfcFile, TextsAreEscaped) {
    EXPECT_EQ(Text("Wall 3"), "'Wall 3'");
    EXPECT_EQ(Text("o'clock \\ x"), "'o''clock \\\\ x'");
    EXPECT_EQ(Text("B\xC3\xBCro\n"), "'B\\X2\\00FC\\X0\\ro\\X2\\000A\\X0\\'");
    EXPECT_EQ(Text("\xF0\x9F\x8F\xA0"), "'\\X4\\0001F3E0\\X0\\'");
    EXPECT_EQ(Text("a\xFF"), "'a?'");
}

class BuildingIfcFile : public testing::Test {
protected:
    std::string TextOf(const Building& building, const LocalToWorld& frame = {}) {
        const CString path = folder_ / L"house.ifc";
        const auto written = WriteIfc(path, building, frame);
        EXPECT_TRUE(written) << (written ? "" : written.error().message);
        const auto bytes = test::ReadBytes(path);
        return {bytes.begin(), bytes.end()};
    }
    // Of each entity with an identifier: its kind and name, and the identifier.
    static std::vector<std::pair<std::string, std::string>> RootsOf(const std::string& text) {
        constexpr std::size_t kIdLength = 22;
        std::vector<std::pair<std::string, std::string>> roots;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t kind = line.find("=IFC"), id = line.find("('");
            const std::size_t rest = id + 2 + kIdLength;
            if (kind == std::string::npos || id == std::string::npos || line.size() < rest + 5 ||
                line.compare(rest, 3, "',$") != 0)
                continue;
            std::string name = line.substr(kind + 4, id - kind - 4) + " ";
            if (line.compare(rest, 5, "',$,'") == 0)
                name += line.substr(rest + 5, line.find('\'', rest + 5) - rest - 5);
            roots.emplace_back(name, line.substr(id + 2, kIdLength));
        }
        return roots;
    }
    static std::map<std::string, std::string> IdsOf(const std::string& text) {
        const auto roots = RootsOf(text);
        return {roots.begin(), roots.end()};
    }
    static std::size_t CountOf(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos;
             at = text.find(part, at + 1))
            ++count;
        return count;
    }

    test::ScratchFolder folder_;
};

TEST_F(BuildingIfcFile, EachElementIsThereAndEachEntityIsNamedBeforeItIsUsed) {
    const std::string text = TextOf(test::SampleBuilding());
    for (const auto& [entity, count] : {std::pair{"IFCWALL(", 10},
                                        {"IFCOPENINGELEMENT(", 8},
                                        {"IFCDOOR(", 3},
                                        {"IFCWINDOW(", 4},
                                        {"IFCSLAB(", 4},
                                        {"IFCSPACE(", 4},
                                        {"IFCROOF(", 1},
                                        {"IFCBUILDINGSTOREY(", 2},
                                        {"IFCRELVOIDSELEMENT(", 8},
                                        {"IFCRELFILLSELEMENT(", 7},
                                        {"'Orvix_Evidence'", 26}})
        EXPECT_EQ(CountOf(text, entity), count) << entity;
    EXPECT_THAT(text, HasSubstr("IFCTEXT('The outside of wall 6 was not seen.')"));
    EXPECT_THAT(text, Not(HasSubstr("IFCMAPCONVERSION")));
    std::istringstream lines(text);
    std::size_t last = 0;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('#')) continue;
        EXPECT_EQ(std::stoul(line.substr(1)), ++last);
        for (std::size_t at = line.find('#', 1); at != std::string::npos;
             at = line.find('#', at + 1))
            EXPECT_LT(std::stoul(line.substr(at + 1)), last) << line;
    }
    EXPECT_GT(last, 1000);
}

// BEHAVIOUR M2
TEST_F(BuildingIfcFile, IdentifiersAreUniqueAndTheElementsOwn) {
    Building house = test::SampleBuilding();
    const std::string text = TextOf(house);
    EXPECT_EQ(TextOf(house), text);
    std::set<std::string> all;
    for (const auto& [name, id] : RootsOf(text)) EXPECT_TRUE(all.insert(id).second) << name;
    EXPECT_GT(all.size(), 150);
    auto before = IdsOf(text);
    house.walls[9].top = 5;
    house.walls[9].profile = {{0, 2.8}, {6.6, 2.8}, {6.6, 5}, {0, 5}};
    house.walls[0].evidence.points = 1;
    auto after = IdsOf(TextOf(house));
    EXPECT_EQ(before.size(), after.size());
    for (const char* same : {"WALL wall 1", "DOOR door 2", "SLAB slab 2", "SPACE Room 1.1",
                             "BUILDINGSTOREY Storey 1", "ROOF roof"})
        EXPECT_EQ(before[same], after[same]) << same;
    EXPECT_NE(before["WALL wall 10"], after["WALL wall 10"]);
    EXPECT_NE(before["PROJECT Building"], after["PROJECT Building"]);
}

TEST_F(BuildingIfcFile, TwoElementsAtOnePlaceHaveTwoIdentifiers) {
    Building house = test::SampleBuilding();
    house.walls.push_back(house.walls[0]);
    auto ids = IdsOf(TextOf(house));
    EXPECT_NE(ids["WALL wall 1"], ids["WALL wall 11"]);
}

TEST_F(BuildingIfcFile, FarFromTheWorldsZeroTheModelsIsNearby) {
    const std::string text =
        TextOf(test::SampleBuilding(), LocalToWorld::Translation({4'468'000.25, 5'335'100.5, 512}));
    EXPECT_THAT(text, HasSubstr(",4468000.0,5335100.0,500.0,1.,0.,1.)"));
    EXPECT_THAT(text, HasSubstr("IFCCARTESIANPOINT((0.25,0.5,12.))"));
    EXPECT_THAT(text, Not(HasSubstr("IFCCARTESIANPOINT((4468")));
}

TEST_F(BuildingIfcFile, AFrameThatStretchesIsRefusedAndNothingIsWritten) {
    LocalToWorld frame;
    frame.m[10] = 0.3048;
    const auto written = WriteIfc(folder_ / L"house.ifc", test::SampleBuilding(), frame);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, ErrorCode::BadInput);
    EXPECT_THAT(written.error().message, HasSubstr("write .obj or .json"));
    EXPECT_THAT(folder_.Names(), testing::IsEmpty());
}

// BEHAVIOUR M3: window 7 is in wall 6, of which one face was seen.
TEST_F(BuildingIfcFile, AnOpeningOfASurfaceHasNoShape) {
    const std::string text = TextOf(test::SampleBuilding());
    EXPECT_EQ(CountOf(text, ",$,'7',.OPENING.)"), 1);
    EXPECT_EQ(CountOf(text, ",.OPENING.)"), 8);
    EXPECT_EQ(CountOf(text, ",$,'3',.OPENING.)"), 0);
}

TEST_F(BuildingIfcFile, WhatHasNoExtentHasNoShape) {
    Building house = test::SampleBuilding();
    house.rooms[0].faces.clear();
    house.slabs[0].regions.clear();
    house.slopes[1].outline.clear();
    const std::string text = TextOf(house);
    EXPECT_EQ(CountOf(text, "IFCSPACE("), 4);
    EXPECT_EQ(CountOf(text, "IFCCONNECTEDFACESET(())"), 0);
    EXPECT_THAT(TextOf({}), HasSubstr("IFCBUILDING("));
}

}  // namespace
}  // namespace orvix::output
