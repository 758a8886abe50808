// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/sheets/plan_formats.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "output/plans/turned_building.h"
#include "output/sheets/building_picture.h"
#include "output/sheets/write_plans.h"
#include "support/scenes/sample_building.h"
#include "support/scratch_folder.h"

namespace orvix::output {
namespace {

using building::Building;

class PlanFormats : public ::testing::Test {
protected:
    std::string Written(std::wstring_view name, const Building& building,
                        const detail::LocalToWorld& frame = {}) {
        const CString path = folder_ / name;
        const auto written = WritePlans(path, building, frame);
        EXPECT_TRUE(written) << written.error().message;
        const std::vector<std::uint8_t> bytes = test::ReadBytes(path);
        return {bytes.begin(), bytes.end()};
    }

private:
    test::ScratchFolder folder_;
};

Building Renamed(const std::string& name) {
    Building house = test::SampleBuilding();
    house.rooms[0].name = name;
    house.storeys[0].name = name;
    return house;
}

TEST_F(PlanFormats, SvgIsWellFormedWhateverRoomsAreCalled) {
    for (const Building& building : {Renamed("K\u00FCche & <Bad> \"\u5BA4\" \x01 \U0001F6AA"),
                                     Renamed("\xFF\xC3"), Building{}}) {
        std::istringstream text(Written(L"plan.svg", building));
        boost::property_tree::ptree tree;
        ASSERT_NO_THROW(boost::property_tree::read_xml(text, tree)) << text.str().substr(0, 400);
        std::size_t storeys = 0;
        for (const auto& [tag, child] : tree.get_child("svg"))
            if (tag == "g") ++storeys;
        EXPECT_EQ(storeys, std::max<std::size_t>(building.storeys.size(), 1));
    }
    const std::string svg = Written(L"plan.svg", Renamed("K\u00FCche & <Bad>"));
    EXPECT_NE(svg.find(">K\u00FCche &amp; &lt;Bad&gt;</text>"), std::string::npos);
}

TEST_F(PlanFormats, SvgIsTrueToScale) {
    const std::string svg = Written(L"plan.svg", test::SampleBuilding());
    std::istringstream text(svg);
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(text, tree);
    double width = 0, height = 0, zero = 1;
    std::istringstream(tree.get<std::string>("svg.<xmlattr>.viewBox")) >> zero >> zero >> width >>
        height;
    EXPECT_EQ(std::stod(tree.get<std::string>("svg.rect.<xmlattr>.width")), width);
    EXPECT_EQ(tree.get<std::string>("svg.<xmlattr>.width").find("mm"),
              tree.get<std::string>("svg.<xmlattr>.width").size() - 2);
    // The ridge is 9 m: 90 mm at 1:100.
    const std::size_t ridge = svg.find("<g class=\"roof-edge\">");
    ASSERT_NE(ridge, std::string::npos);
    double fromX = 0, fromY = 0, toX = 0, toY = 0;
    ASSERT_EQ(std::sscanf(svg.c_str() + svg.find("d=\"M", ridge), "d=\"M%lf %lfL%lf %lf", &fromX,
                          &fromY, &toX, &toY),
              4);
    EXPECT_NEAR(toX - fromX, 90, 1e-3);
    EXPECT_NEAR(toY, fromY, 1e-3);
}

// Group codes and values in turn; the values by "type.code" and entity.
std::vector<std::map<int, std::string>> EntitiesOf(const std::string& dxf) {
    std::istringstream lines(dxf.substr(dxf.find("ENTITIES")));
    std::vector<std::map<int, std::string>> entities;
    std::string code, value;
    std::getline(lines, code);
    while (std::getline(lines, code) && std::getline(lines, value)) {
        const int number = std::stoi(code);
        if (number == 0) entities.emplace_back();
        entities.back()[number] = value;
    }
    return entities;
}

TEST_F(PlanFormats, DxfLiesInTheWorldAndHoldsLettersInAscii) {
    const auto frame = detail::LocalToWorld::Translation({500000, 4000000, 30});
    const std::string dxf = Written(L"plan.dxf", Renamed("K\u00FCche \u5BA4 2^3"), frame);
    EXPECT_TRUE(std::all_of(dxf.begin(), dxf.end(), [](char c) { return c > 0; }));
    EXPECT_NE(dxf.find("\nK\\U+00FCche \\U+5BA4 2^ 3\n"), std::string::npos);
    bool door = false, wall = false;
    for (auto& entity : EntitiesOf(dxf)) {
        if (entity[0] == "ARC" && entity[8] == "A-DOOR") {
            door = true;  // of door 4, on the jamb at (5.06, 1.45): from east to south, clockwise
            EXPECT_EQ(entity[10], "500005.060000");
            EXPECT_EQ(entity[20], "4000001.450000");
            EXPECT_EQ(entity[40], "0.900000");
            EXPECT_EQ(entity[50], "270.0000");
            EXPECT_EQ(entity[51], "0.0000");
        }
        if (entity[0] == "VERTEX" && entity[8] == "A-WALL")
            wall = wall || (entity[10] == "499999.700000" && entity[20] == "3999999.700000");
    }
    EXPECT_TRUE(door);
    EXPECT_TRUE(wall);
}

TEST_F(PlanFormats, DxfLeadsBackWhereTheSheetIsTurned) {
    Building house = test::SampleBuilding();
    house = Turned(house, {0.8, 0.6});
    const std::string dxf = Written(L"plan.dxf", house);
    // The outer corner at (-0.3, -0.3) of the upright house.
    const PlanPoint corner = TurnedBack({-0.3, -0.3}, {0.8, -0.6});
    const std::string x = fmt::format("{:.4f}", corner.x), y = fmt::format("{:.4f}", corner.y);
    bool found = false;
    for (auto& entity : EntitiesOf(dxf))
        found =
            found || (entity[0] == "VERTEX" && entity[8] == "A-WALL" &&
                      entity[10].substr(0, x.size()) == x && entity[20].substr(0, y.size()) == y);
    EXPECT_TRUE(found) << x << " " << y;
}

TEST_F(PlanFormats, PngIsOfASizeToBeLookedAt) {
    const PlanSheet sheet = SheetOf(DrawPlans(test::SampleBuilding(), {}));
    const PlanPoint size = sheet.bounds.Size();  // and a centimetre of paper around it
    const Canvas small = PaintPlans(sheet, 1e5);
    EXPECT_NEAR(small.Width() * 1.0 * small.Height(), 1e5, 2e3);
    EXPECT_NEAR(small.Width() * 1.0 / small.Height(), (size.x + 2) / (size.y + 2), 0.02);
    const PlanSheet empty = SheetOf(DrawPlans({}, {}));
    EXPECT_NEAR(PaintPlans(empty).Width(), (empty.bounds.Size().x * 10 + 20) * 200 / 25.4, 1.5);
    EXPECT_EQ(Written(L"plan.png", {}).substr(1, 3), "PNG");
    EXPECT_FALSE(WritePlans(L"plan.pdf", {}, {}));
}

// Plans are the same bytes on every system; these sums change with what is drawn.
TEST_F(PlanFormats, AreTheSameBytesOnEverySystem) {
    const Building house = Turned(test::SampleBuilding(), {0.96, 0.28});
    const auto sum = [](const auto& bytes) {  // FNV-1a
        std::uint64_t hash = 0xcbf29ce484222325;
        for (const auto byte : bytes)
            hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001b3;
        return fmt::format("{:016x}", hash);
    };
    const std::string svg = Written(L"plan.svg", house), dxf = Written(L"plan.dxf", house);
    EXPECT_EQ(sum(svg), "606946f37d41ad21");
    EXPECT_EQ(sum(dxf), "6747ddaeae4ccf9b");
    const auto pixels = PaintPlans(SheetOf(DrawPlans(house, {})), 4e5).Finish();
    EXPECT_EQ(sum(pixels), "4e987c09699f9803");
    BuildingPicture shown = PictureOf(house);
    shown.panelWidth = 240;
    const auto picture = DrawBuilding(shown).Finish();
    EXPECT_EQ(sum(picture), "324073706085030a");
}

}  // namespace
}  // namespace orvix::output
