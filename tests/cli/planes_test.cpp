// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "orvix/project/project_manager.h"
#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

class PlanesVerb : public RoomProject {
protected:
    static Json Planes(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"planes", File(L"room.prj")});
        return OrvixJson(options);
    }
};

TEST_F(PlanesVerb, FindsTheFloorAndTheFourWallsInTheWorld) {
    const Json found = Planes();
    ASSERT_EQ(found["planes"].size(), 5U);
    std::multiset<std::string> kinds;
    double area = 0;
    std::uint64_t points = 0;
    for (const Json& plane : found["planes"]) {
        kinds.insert(plane["class"]);
        area += plane["area"].get<double>();
        points += plane["points"].get<std::uint64_t>();
        for (const Json& corner : plane["regions"][0]["outer"]) {
            double away = plane["equation"][3];
            for (std::size_t i = 0; i < 3; ++i)
                away += plane["equation"][i].get<double>() * corner[i].get<double>();
            EXPECT_NEAR(away, 0, 1e-5);
        }
    }
    EXPECT_EQ(kinds.count("wall"), 4U);
    EXPECT_EQ(kinds.count("floor"), 1U);
    EXPECT_NEAR(area, 48 + 2 * 24 + 2 * 18 - 2, 8);
    EXPECT_EQ(points, found["assigned_points"]);
    EXPECT_GT(found["settings"]["distance"], 0);
}

// BEHAVIOUR A19
TEST_F(PlanesVerb, TakesWhatItsTasksFound) {
    const auto tasks = [](const std::string& what, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {"planes-tasks", what, File(L"room.prj")});
        return OrvixJson(more);
    };
    EXPECT_EQ(OrvixError({"planes", File(L"room.prj"), "--tasks"})["exit"], 3);
    Json state = tasks("begin", {"--pieces", "3", "--min-area", "2"});
    EXPECT_EQ(OrvixError({"planes", File(L"room.prj"), "--tasks"})["exit"], 3);
    while (!state["ready"].empty()) state = tasks("run", state["ready"]);
    Json one = Planes({"--min-area", "2"}), many = Planes({"--tasks"});
    one.erase("seconds");
    many.erase("seconds");
    EXPECT_EQ(one, many);
    EXPECT_TRUE(tasks("clear")["done"].empty());
    EXPECT_EQ(OrvixError({"planes-tasks", "list", File(L"room.prj")})["exit"], 3);
}

TEST_F(PlanesVerb, ExplainsAPlaceOnAPlaneAndOneOffIt) {
    const Json on = Planes({"--explain", "700004,6000003,100"})["explain"];
    EXPECT_FALSE(on["plane"].is_null());
    EXPECT_EQ(on["verdict"], "on-plane");
    EXPECT_LT(on["nearest_turn"], 20);
    const Json off = Planes({"--explain", "700004,6000003,101.5"})["explain"];
    EXPECT_TRUE(off["plane"].is_null());
    EXPECT_EQ(off["cell_points"], 0);
    EXPECT_EQ(off["verdict"], "empty");
    EXPECT_TRUE(off["nearest_turn"].is_null());
    EXPECT_NE(off["why"].get<std::string>().find("holds no point"), std::string::npos);
}

// BEHAVIOUR A11
TEST_F(PlanesVerb, WritesPlaneNumbersIntoThePairsAndNothingElse) {
    ProjectManager manager;
    ASSERT_TRUE(manager.Set(*folder_ / L"room.prj", false));
    const auto before = ReadBytes(manager.gridPts);
    const Json found = Planes({"--apply"});
    EXPECT_TRUE(found["applied"]);
    const auto after = ReadBytes(manager.gridPts);
    ASSERT_EQ(before.size(), after.size());
    std::vector<std::uint64_t> counts(found["planes"].size() + 1);
    for (std::size_t at = 0; at < after.size(); at += kAlivePointBytes) {
        EXPECT_EQ(std::memcmp(&before[at], &after[at], 20), 0);
        EXPECT_EQ(std::memcmp(&before[at + 22], &after[at + 22], 2), 0);
        std::uint16_t number = 0;
        std::memcpy(&number, &after[at + 20], sizeof number);
        ASSERT_LT(number, counts.size());
        ++counts[number];
    }
    for (std::size_t i = 1; i < counts.size(); ++i)
        EXPECT_EQ(counts[i], found["planes"][i - 1]["points"]);
    // A skeleton point is one of the points: it carries the number of the record at its place.
    const auto skeleton = ReadBytes(manager.gridSkeletDataPts);
    const auto places = ReadBytes(manager.gridSkeletCoordPts);
    using Place = std::array<float, 3>;
    const auto placeAt = [](const std::vector<std::uint8_t>& bytes, std::size_t at) {
        Place place;
        std::memcpy(&place, &bytes[at], sizeof place);
        return place;
    };
    std::map<Place, std::uint16_t> numbers;
    for (std::size_t at = 0; at < after.size(); at += kAlivePointBytes)
        std::memcpy(&numbers[placeAt(after, at)], &after[at + 20], 2);
    for (std::size_t at = 0; at < skeleton.size(); at += kSkeletonRecordBytes) {
        std::uint16_t number = 0;
        std::memcpy(&number, &skeleton[at + 6], sizeof number);
        EXPECT_EQ(number, numbers.at(placeAt(places, at)));
    }
}

TEST_F(PlanesVerb, WritesEveryPointWithItsPlane) {
    const Json found = Planes({"--points", File(L"points.ply")});
    const std::string text = TextOf(L"points.ply");
    const std::size_t body = text.find("end_header\n") + 11;
    const auto points = found["points"].get<std::size_t>();
    ASSERT_EQ(text.size() - body, points * 31);
    std::size_t assigned = 0;
    for (std::size_t i = 0; i < points; ++i) {
        std::int32_t plane = 0;
        double x = 0;
        std::memcpy(&x, text.data() + body + 31 * i, sizeof x);
        std::memcpy(&plane, text.data() + body + 31 * i + 27, sizeof plane);
        EXPECT_GE(x, 699'999.9);
        assigned += plane > 0 ? 1 : 0;
    }
    EXPECT_EQ(assigned, found["assigned_points"]);
}

// BEHAVIOUR A9
TEST_F(PlanesVerb, MeshesEveryPlaneAsAPartOfItsArea) {
    const Json found = Planes({"--mesh", File(L"planes.obj")});
    std::istringstream text(TextOf(L"planes.obj"));
    std::vector<std::array<double, 3>> corners;
    std::vector<double> areas;
    for (std::string word; text >> word;) {
        if (word == "v") {
            auto& c = corners.emplace_back();
            text >> c[0] >> c[1] >> c[2];
        } else if (word == "g") {
            areas.push_back(0);
        } else if (word == "f") {
            std::array<std::size_t, 3> f{};
            text >> f[0] >> f[1] >> f[2];
            const auto &a = corners[f[0] - 1], &b = corners[f[1] - 1], &c = corners[f[2] - 1];
            double cross[3];
            for (int i = 0; i < 3; ++i) {
                const int j = (i + 1) % 3, k = (i + 2) % 3;
                cross[i] = (b[j] - a[j]) * (c[k] - a[k]) - (b[k] - a[k]) * (c[j] - a[j]);
            }
            areas.back() += std::hypot(cross[0], cross[1], cross[2]) / 2;
        }
    }
    ASSERT_EQ(areas.size(), found["planes"].size());
    for (std::size_t i = 0; i < areas.size(); ++i)
        EXPECT_NEAR(areas[i], found["planes"][i]["area"], 0.01);
}

TEST_F(PlanesVerb, WritesOutlinesAsClosedPolylinesOnLayers) {
    const Json found = Planes({"--outlines", File(L"planes.dxf")});
    const std::string text = TextOf(L"planes.dxf");
    std::size_t rings = 0, corners = 0;
    for (const Json& plane : found["planes"])
        for (const Json& region : plane["regions"]) {
            rings += 1 + region["holes"].size();
            corners += region["outer"].size();
            for (const Json& hole : region["holes"]) corners += hole.size();
        }
    const auto count = [&text](const std::string& what) {
        std::size_t n = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(count("\nPOLYLINE\n"), rings);
    EXPECT_EQ(count("\nVERTEX\n"), corners);
    EXPECT_EQ(count("LAYER\n2\nORVIX_WALL\n"), 1U);
    EXPECT_EQ(count("LAYER\n2\nORVIX_FLOOR\n"), 1U);
    EXPECT_TRUE(text.ends_with("0\nEOF\n"));
}

// BEHAVIOUR A10
TEST_F(PlanesVerb, WritesOutlinesAsFeaturesWhoseRingsClose) {
    const Json found = Planes({"--outlines", File(L"planes.geojson")});
    const Json features = Json::parse(TextOf(L"planes.geojson"))["features"];
    ASSERT_EQ(features.size(), found["planes"].size());
    for (const Json& feature : features)
        for (const Json& polygon : feature["geometry"]["coordinates"])
            for (const Json& ring : polygon) EXPECT_EQ(ring.front(), ring.back());
    // On the map outer rings run counter-clockwise.
    for (const Json& feature : features) {
        const Json& ring = feature["geometry"]["coordinates"][0][0];
        double twice = 0;
        for (std::size_t i = 1; i < ring.size(); ++i) {
            const auto at = [&](std::size_t k, int axis) {
                return ring[k][axis].get<double>() - ring[0][axis].get<double>();
            };
            twice += at(i - 1, 0) * at(i, 1) - at(i, 0) * at(i - 1, 1);
        }
        EXPECT_GE(twice, 0);
    }
    EXPECT_EQ(features[0]["properties"]["equation"], found["planes"][0]["equation"]);
}

TEST_F(PlanesVerb, WritesAModelWhoseReferencesAllLeadBack) {
    const Json found = Planes({"--outlines", File(L"planes.ifc")});
    std::istringstream text(TextOf(L"planes.ifc"));
    std::size_t walls = 0, last = 0;
    std::set<std::string> identifiers;
    for (std::string line; std::getline(text, line);) {
        if (line.empty() || line[0] != '#') continue;
        EXPECT_EQ(std::stoul(line.substr(1)), ++last) << "numbers follow each other";
        EXPECT_EQ(line.back(), ';');
        for (auto at = line.find('#', 1); at != std::string::npos; at = line.find('#', at + 1)) {
            EXPECT_LT(std::stoul(line.substr(at + 1)), last) << line;
        }
        walls += line.find("=IFCWALL(") != std::string::npos ? 1 : 0;
        const auto quote = line.find("('");
        if (quote != std::string::npos && line.substr(quote + 24, 3) == "',$") {
            EXPECT_TRUE(identifiers.insert(line.substr(quote + 2, 22)).second) << line;
        }
    }
    EXPECT_EQ(walls, 4U);
    EXPECT_GT(identifiers.size(), found["planes"].size());
}

// The lines of a model that begin an entity of this name, without their numbers.
std::vector<std::string> EntitiesOf(const std::string& model, const std::string& name) {
    std::vector<std::string> found;
    std::istringstream text(model);
    for (std::string line; std::getline(text, line);)
        if (const auto at = line.find("=" + name + "("); at != std::string::npos)
            found.push_back(line.substr(at + name.size() + 2));
    return found;
}

TEST_F(PlanesVerb, WritesAModelWhoseZeroIsNearItAndIsToldByTheMapConversion) {
    const Json found = Planes({"--outlines", File(L"near.ifc")});
    const std::string text = TextOf(L"near.ifc");
    const auto conversions = EntitiesOf(text, "IFCMAPCONVERSION");
    ASSERT_EQ(conversions.size(), 1U);
    std::vector<double> zero;
    std::istringstream fields(conversions[0]);
    for (std::string field; std::getline(fields, field, ',');)
        if (field[0] != '#') zero.push_back(std::stod(field));
    std::vector<std::array<double, 3>> corners;
    for (const std::string& point : EntitiesOf(text, "IFCCARTESIANPOINT")) {
        auto& p = corners.emplace_back();
        ASSERT_EQ(std::sscanf(point.c_str(), "(%lf,%lf,%lf)", &p[0], &p[1], &p[2]), 3);
        for (const double value : p) EXPECT_LT(std::abs(value), 200);
    }
    // The first point is the axes' zero; then come the planes' corners, in turn.
    std::size_t at = 1;
    const auto expectRing = [&](const Json& ring) {
        for (const Json& corner : ring) {
            ASSERT_LT(at, corners.size());
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(corners[at][i] + zero[i], corner[i].get<double>(), 1e-6);
            ++at;
        }
    };
    for (const Json& plane : found["planes"])
        for (const Json& region : plane["regions"]) {
            expectRing(region["outer"]);
            for (const Json& hole : region["holes"]) expectRing(hole);
        }
    EXPECT_EQ(at, corners.size());
}

TEST_F(PlanesVerb, NamesAPlaneInAModelTheSameWhateverStandsBesideIt) {
    const auto wallsOf = [](const std::string& leastArea, std::wstring_view name) {
        Planes({"--min-area", leastArea, "--outlines", File(name)});
        std::set<std::string> identifiers;
        for (const std::string& wall : EntitiesOf(TextOf(name), "IFCWALL"))
            identifiers.insert(wall.substr(0, 24));
        return identifiers;
    };
    const auto all = wallsOf("1", L"all.ifc"), large = wallsOf("20", L"large.ifc");
    EXPECT_EQ(all.size(), 4U);
    EXPECT_EQ(large.size(), 2U);
    EXPECT_TRUE(std::includes(all.begin(), all.end(), large.begin(), large.end()));
    EXPECT_NE(EntitiesOf(TextOf(L"all.ifc"), "IFCPROJECT"),
              EntitiesOf(TextOf(L"large.ifc"), "IFCPROJECT"));
    const std::string before = TextOf(L"all.ifc");
    wallsOf("1", L"all.ifc");
    EXPECT_EQ(TextOf(L"all.ifc"), before);
}

TEST_F(PlanesVerb, DrawsAPicture) {
    Planes({"--picture", File(L"planes.png")});
    EXPECT_EQ(TextOf(L"planes.png").substr(1, 3), "PNG");
}

TEST_F(PlanesVerb, RefusesNamesAndNumbersThatCannotBeUsed) {
    EXPECT_EQ(OrvixError({"planes", File(L"room.prj"), "--distance", "-1"})["exit"], 2);
    EXPECT_EQ(OrvixError({"planes", File(L"room.prj"), "--mesh", "planes.stl"})["exit"], 2);
    EXPECT_EQ(OrvixError({"planes", File(L"room.prj"), "--explain", "1,2"})["exit"], 2);
    EXPECT_EQ(OrvixError({"planes", File(L"none.prj")})["exit"], 3);
}

}  // namespace
}  // namespace orvix::test
