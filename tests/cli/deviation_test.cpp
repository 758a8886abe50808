// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

/// A partition of 4 x 3 m, 8 cm thick, whose faces are at y = 0 and y = 0.08, far from zero.
constexpr double kX = 700'000, kY = 6'000'000, kZ = 100;

std::string PartitionObj() {
    std::string text = "o 2O2Fr$t4X7Zf8NOew3FNr2 IfcWall Partition\n";
    for (const double z : {0.0, 3.0})
        for (const auto& [x, y] : {std::pair{0.0, 0.0}, {4.0, 0.0}, {4.0, 0.08}, {0.0, 0.08}})
            text += fmt::format("v {} {} {}\n", kX + x, kY + y, kZ + z);
    text += "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    // A shelf that was never built, and one whose number comes later but is the same place.
    for (const char* name : {"shelf", "copy"}) {
        text += fmt::format("o {}\n", name);
        for (const auto& [x, y] : {std::pair{0.0, 5.0}, {1.0, 5.0}, {1.0, 6.0}, {0.0, 6.0}})
            text += fmt::format("v {} {} {}\n", kX + x, kY + y, kZ + 1);
        text += "f -4 -3 -2 -1\n";
    }
    return text;
}

/// A scan of one side: points on the face `y`, moved by `off`, from a scanner at `stand`.
std::string Scan(double y, double off, double stand) {
    std::string points;
    int count = 0;
    for (int i = 0; i < 80; ++i) {
        for (int k = 0; k < 60; ++k, ++count)
            points += fmt::format("{:.4f} {:.4f} {:.4f}\n", (i + 0.5) / 20 - 2, y + off - stand,
                                  (k + 0.5) / 20 - 1.5);
    }
    return fmt::format(
               "VERSION 0.7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nWIDTH {}\nVIEWPOINT {} {} {} 1 "
               "0 "
               "0 0\nPOINTS {}\nDATA ascii\n",
               count, kX + 2, kY + stand, kZ + 1.5, count) +
           points;
}

class Deviation : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        // The front face stands out by 6 mm, the back face lies back by 30 mm: of a point between
        // them the scanner alone knows whose it is.
        WriteText(*folder_ / L"front.pcd", Scan(0, -0.006, -3));
        WriteText(*folder_ / L"back.pcd", Scan(0.08, -0.050, 4));
        WriteText(*folder_ / L"house.obj", PartitionObj());
        OrvixJson({"import", File(L"front.pcd"), File(L"back.pcd"), File(L"wall.prj")});
    }
    static void TearDownTestSuite() {
        delete folder_;
        folder_ = nullptr;
    }
    static std::string File(std::wstring_view name) { return Utf8(*folder_ / name); }
    static Json Run(std::vector<std::string> more) {
        more.insert(more.begin(), {"deviation", File(L"wall.prj")});
        Json result = OrvixJson(more);
        result.erase("seconds");
        return result;
    }
    static inline ScratchFolder* folder_ = nullptr;
};

// BEHAVIOUR E1
TEST_F(Deviation, IsMeasuredFromTheFaceThatTheScannerSaw) {
    const Json result = Run({File(L"house.obj")});
    EXPECT_EQ(result["project_points"], 9600);
    EXPECT_EQ(result["points"], 9600);
    EXPECT_TRUE(result["stations_known"]);
    const Json& wall = result["elements"][0];
    EXPECT_EQ(wall["id"], "2O2Fr$t4X7Zf8NOew3FNr2");
    EXPECT_EQ(wall["class"], "IfcWall");
    EXPECT_EQ(wall["name"], "Partition");
    EXPECT_EQ(wall["points"], 9600);
    EXPECT_NEAR(wall["within"].get<double>(), 0.5, 1e-9);
    EXPECT_NEAR(wall["p95"].get<double>(), 0.006, 1e-4);
    EXPECT_NEAR(wall["p5"].get<double>(), -0.050, 1e-4);
    // 24 m2 of 24.64 + 0.64 were seen.
    EXPECT_NEAR(wall["area"].get<double>(), 24 + 2 * 0.32 + 2 * 0.24, 1e-3);
    EXPECT_NEAR(wall["missing"].get<double>(), 1.12 / 25.12, 1e-3);
    // BEHAVIOUR E5: top and base, and the two ends, which neither scanner is in front of.
    EXPECT_NEAR(wall["hidden"].get<double>(), wall["missing"].get<double>(), 1e-6);
    // Either side: the back face's points, 30 mm from the front one, are of that.
    const Json either = Run({File(L"house.obj"), "--both-sides"});
    EXPECT_NEAR(either["elements"][0]["p5"].get<double>(), -0.030, 1e-4);
}

TEST_F(Deviation, NamesWhatIsNotThere) {
    const Json result = Run({File(L"house.obj")});
    const Json& shelf = result["elements"][1];
    EXPECT_EQ(shelf["points"], 0);
    EXPECT_TRUE(shelf["median"].is_null());
    EXPECT_TRUE(shelf["id"].is_null());
    EXPECT_EQ(shelf["missing"], 1.0);
    EXPECT_EQ(shelf["hidden"], 0.0);  // nothing stands before it
    const auto text = Orvix({"deviation", File(L"wall.prj"), File(L"house.obj")});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_NE(text.output.find("no points"), std::string::npos);
}

// BEHAVIOUR E5
TEST_F(Deviation, OfASheetIsSeenFromEitherSide) {
    // A board that looks down while both scanners stand above it: it encloses no solid, so that
    // whoever drew it may have meant either side.
    std::string text = "o board\n";
    for (const auto& [x, y] : {std::pair{0.0, 5.0}, {0.0, 6.0}, {1.0, 6.0}, {1.0, 5.0}})
        text += fmt::format("v {} {} {}\n", kX + x, kY + y, kZ + 1);
    text += "f 1 2 3 4\n";
    WriteText(*folder_ / L"board.obj", text);
    const Json board = Run({File(L"board.obj")})["elements"][0];
    EXPECT_EQ(board["missing"], 1.0);
    EXPECT_EQ(board["hidden"], 0.0);
}

TEST_F(Deviation, IsTheSameAtAnyNumberOfThreads) {
    const Json one = Run({File(L"house.obj"), "--threads", "1"});
    EXPECT_EQ(one, Run({File(L"house.obj"), "--threads", "3"}));
    EXPECT_EQ(one["step"], 1e-4);
    EXPECT_GT(Run({File(L"house.obj"), "--memory-limit", "4kB"})["step"].get<double>(), 1e-3);
}

TEST_F(Deviation, FromTheProjectsOwnPlanesIsNoise) {
    const Json searched = Run({"planes"});
    ASSERT_GE(searched["elements"].size(), 2u);
    EXPECT_EQ(searched["elements"][0]["class"], "wall");
    EXPECT_LT(std::abs(searched["elements"][0]["median"].get<double>()), 1e-3);
    EXPECT_LT(searched["missing"].get<double>(), 0.1);  // slivers of squares along the rims
    OrvixJson({"planes", File(L"wall.prj"), "--save"});
    EXPECT_EQ(Run({"planes"}), searched);
}

TEST_F(Deviation, IsDrawn) {
    const Json result = Run({File(L"house.obj"), "--picture", File(L"house.png")});
    EXPECT_EQ(result["picture"], File(L"house.png"));
    const auto picture = ReadBytes(*folder_ / L"house.png");
    ASSERT_GT(picture.size(), 5000u);
    EXPECT_EQ(picture[1], 'P');
    EXPECT_EQ(OrvixError({"deviation", File(L"wall.prj"), File(L"house.obj"), "--picture",
                          File(L"none") + "/house.png"})["exit"],
              3);
}

TEST_F(Deviation, FromTheBuildingFoundInTheScan) {
    // Two faces without a floor are no building yet, or a wall: a sentence or an element.
    const auto text = Orvix({"deviation", File(L"wall.prj"), "model"});
    EXPECT_TRUE(text.exitCode == 0 || text.exitCode == 3) << text.errors;
    EXPECT_NE((text.output + text.errors).find(text.exitCode == 0 ? "against" : "no building"),
              std::string::npos);
}

TEST_F(Deviation, RefusesWhatHoldsNoSurface) {
    WriteText(*folder_ / L"empty.obj", "v 0 0 0\n");
    EXPECT_EQ(OrvixError({"deviation", File(L"wall.prj"), File(L"empty.obj")})["exit"], 3);
    EXPECT_EQ(OrvixError({"deviation", File(L"wall.prj"), File(L"none.obj")})["exit"], 1);
    EXPECT_EQ(OrvixError({"deviation", File(L"wall.prj"), "house.dxf"})["exit"], 2);
    EXPECT_EQ(
        OrvixError({"deviation", File(L"wall.prj"), File(L"house.obj"), "--reach", "0"})["exit"],
        2);
    WriteText(*folder_ / L"no.ifc", "this is no model\n");
    EXPECT_EQ(OrvixError({"deviation", File(L"wall.prj"), File(L"no.ifc")})["exit"], 3);
}

}  // namespace
}  // namespace orvix::test
