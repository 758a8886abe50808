// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/obj_elements.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "orvix/geometry/vector.h"
#include "reports/deviation/polygon_triangles.h"
#include "reports/deviation/surface_sides.h"
#include "support/scratch_folder.h"

namespace orvix::test {
namespace {

using detail::Cross, detail::Length, detail::Vector;
using detail::operator-;
using reports::DrawnElement, reports::SurfaceSides;

class ObjElements : public testing::Test {
protected:
    Expected<std::vector<DrawnElement>> Read(const std::string& text) const {
        WriteText(scratch / L"house.obj", text);
        return reports::ReadObjElements(scratch / L"house.obj");
    }
    std::string Refusal(const std::string& text) const {
        const auto elements = Read(text);
        EXPECT_FALSE(elements.has_value()) << text;
        if (elements) return {};
        EXPECT_EQ(elements.error().code, ErrorCode::BadInput);
        return elements.error().message;
    }
    ScratchFolder scratch;
};

double AreaOf(const DrawnElement& element) {
    double area = 0;
    for (const auto& [a, b, c] : element.triangles) area += Length(Cross(b - a, c - a)) / 2;
    return area;
}

TEST_F(ObjElements, AreObjectsAndGroupsInTheOrderOfTheirFirstNames) {
    const auto elements = Read(
        "# a house\r\nmtllib house.mtl\r\nv 0 0 0\r\nv 1 0 0\r\nv 1 1 0 1.0\r\n"
        "f 1/1/1 2//2 3\r\no 2O2Fr$t4X7Zf8NOew3FNr2 IfcWall North wall\r\nv 0 1 0\r\n"
        "f -4 -3 -2 -1\r\ng roof\nf 1 2 \\\n 3\no empty\n"
        "o 2O2Fr$t4X7Zf8NOew3FNr2 IfcWall North wall\nf 3 2 1");
    ASSERT_TRUE(elements.has_value()) << elements.error().message;
    ASSERT_EQ(elements->size(), 3u);
    EXPECT_EQ((*elements)[0].name, "");
    const DrawnElement& wall = (*elements)[1];
    EXPECT_EQ(wall.id, "2O2Fr$t4X7Zf8NOew3FNr2");
    EXPECT_EQ(wall.kind, "IfcWall");
    EXPECT_EQ(wall.name, "North wall");
    EXPECT_EQ(wall.triangles.size(), 3u);
    EXPECT_EQ((*elements)[2].name, "roof");
    EXPECT_EQ((*elements)[2].id, "");
}

TEST_F(ObjElements, AreRefusedWithTheLineThatIsWrong) {
    EXPECT_NE(Refusal("v 0 0\n").find("line 1"), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 nan\n").find("\"nan\""), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 1e300\n").find("line 1"), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 4\n").find("line 4"), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 -4\n").find("\"-4\""), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\nf 1 0 1\n").find("\"0\""), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\nf 1 99999999999999999999 1\n").find("line 2"), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\nf 1 1\n").find("three"), std::string::npos);
    EXPECT_NE(Refusal("v 0 0 0\n").find("no faces"), std::string::npos);
    EXPECT_NE(Refusal("").find("no faces"), std::string::npos);
    EXPECT_NE(Refusal(std::string(3 << 20, 'x')).find("longer"), std::string::npos);
    EXPECT_FALSE(reports::ReadObjElements(scratch / L"missing.obj").has_value());
}

TEST_F(ObjElements, TakeFacesWithNotchesAsTheyAre) {
    // A wall of 4 x 3 m with a door of 1 x 2 m cut into its lower edge, upright and turned.
    const auto elements = Read(
        "v 0 0 0\nv 1 1 0\nv 1 1 2\nv 2 2 2\nv 2 2 0\nv 4 4 0\nv 4 4 3\nv 0 0 3\n"
        "f 1 2 3 4 5 6 7 8\nf 8 7 6 5 4 3 2 1\n");
    ASSERT_TRUE(elements.has_value());
    ASSERT_EQ((*elements)[0].triangles.size(), 12u);
    EXPECT_NEAR(AreaOf((*elements)[0]), 2 * (12 - 2) * std::sqrt(2.0), 1e-12);
    double twiceUp = 0;  // the two rings run opposite ways, and so do their triangles
    for (const auto& [a, b, c] : (*elements)[0].triangles) twiceUp += Cross(b - a, c - a).x;
    EXPECT_NEAR(twiceUp, 0, 1e-12);
}

TEST_F(ObjElements, OfSolidsHaveTheirFrontOutsideWhicheverWayTheyRun) {
    const std::string corners =
        "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n";
    const std::string outward =
        corners + "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    const std::string inward =
        corners + "f 1 2 3 4\nf 8 7 6 5\nf 5 6 2 1\nf 6 7 3 2\nf 7 8 4 3\nf 8 5 1 4\n";
    const std::string mixed =
        corners + "f 1 2 3 4\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    const std::string open = corners + "f 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    const auto sidesOf = [&](const std::string& text) {
        return reports::SidesOf((*Read(text))[0].triangles);
    };
    EXPECT_EQ(sidesOf(outward), SurfaceSides::Front);
    EXPECT_EQ(sidesOf(inward), SurfaceSides::Back);
    EXPECT_EQ(sidesOf(mixed), SurfaceSides::Both);
    EXPECT_EQ(sidesOf(open), SurfaceSides::Both);
    EXPECT_EQ(sidesOf(corners + "f 1 2 3 4\n"), SurfaceSides::Both);
}

}  // namespace
}  // namespace orvix::test
