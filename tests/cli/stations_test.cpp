// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

/// A scan of the points (i, 0, 0), i = 1 to 20, with intensities 100 i.
std::string PosedScan(const std::string& viewpoint) {
    std::string text =
        "VERSION 0.7\nFIELDS x y z intensity\nSIZE 4 4 4 4\nTYPE F F F F\nWIDTH 20\n";
    text += "VIEWPOINT " + viewpoint + "\nPOINTS 20\nDATA ascii\n";
    for (int i = 1; i <= 20; ++i) text += fmt::format("{} 0 0 {}\n", i, 100 * i);
    return text;
}

class Stations : public testing::Test {
protected:
    Stations() {
        WriteText(scratch / L"north.pcd", PosedScan("770500 6277500 40 1 0 0 0"));
        WriteText(scratch / L"south.pcd", PosedScan("770510 6277400 41.5 0.5 0 0 0.5"));
        WriteText(scratch / L"plain.xyz", "770501 6277501 40\n770502 6277502 41\n");
    }
    std::string Path(const std::string& name) const {
        return Utf8(scratch / platform::FromUtf8(name));
    }

    ScratchFolder scratch;
};

TEST_F(Stations, AreListedWithTheirPoses) {
    const std::string project = Path("site.prj");
    OrvixJson({"import", Path("north.pcd"), Path("plain.xyz"), Path("south.pcd"), project});
    const Json stations = OrvixJson({"stations", project})["stations"];
    ASSERT_EQ(stations.size(), 3u);
    EXPECT_EQ(stations[0]["name"], "north");
    EXPECT_EQ(stations[0]["position"], Json({770500.0, 6277500.0, 40.0}));
    EXPECT_EQ(stations[0]["orientation"]["angle"], 0);
    EXPECT_EQ(stations[0]["points"], 20);
    EXPECT_EQ(stations[0]["intensity"], Json({100, 2000}));
    EXPECT_TRUE(stations[1]["position"].is_null());
    EXPECT_TRUE(stations[1]["name"].is_null());
    EXPECT_EQ(stations[1]["points"], 2);
    EXPECT_NEAR(stations[2]["orientation"]["angle"].get<double>(), std::acos(0.0), 1e-15);
    EXPECT_EQ(stations[2]["orientation"]["axis"], Json({0.0, 0.0, 1.0}));
    EXPECT_EQ(OrvixJson({"info", project})["stations"], 3);
    EXPECT_EQ(OrvixJson({"info", project})["station_names"], Json({"north", nullptr, "south"}));
    EXPECT_EQ(OrvixJson({"check", project})["ok"], true);
    // The second scan, turned to the left, lies along y from where its scanner stood.
    const Json bounds = OrvixJson({"info", project})["bounds"];
    EXPECT_NEAR(bounds["min"][1].get<double>(), 6277401, 1e-3);
}

TEST_F(Stations, AreDrawnInPlan) {
    const std::string project = Path("site.prj");
    OrvixJson({"import", Path("north.pcd"), Path("south.pcd"), project});
    const Json result = OrvixJson({"stations", project, "--picture", Path("plan.png")});
    EXPECT_EQ(result["picture"], Path("plan.png"));
    const auto picture = ReadBytes(scratch / L"plan.png");
    ASSERT_GT(picture.size(), 1000u);
    EXPECT_EQ(picture[1], 'P');
}

TEST_F(Stations, ArePickedByTheirName) {
    const std::string project = Path("site.prj");
    const std::vector<std::string> scans{"import", Path("north.pcd"), Path("south.pcd"), project};
    auto line = scans;
    line.insert(line.end(), {"--station", "south"});
    EXPECT_EQ(OrvixJson(line)["read"], 20);
    EXPECT_EQ(OrvixJson({"stations", project})["stations"][0]["name"], "south");
    line = scans;
    line.insert(line.end(), {"--overwrite", "--station", "West"});
    const Json refused = OrvixError(line);
    EXPECT_EQ(refused["exit"], 3);
    EXPECT_NE(refused["message"].get<std::string>().find("the inputs hold \"north\", \"south\""),
              std::string::npos);
}

// Two stations on a floor that they saw 6 mm apart.
TEST_F(Stations, AreHeldAgainstEachOther) {
    for (const auto& [name, z] : {std::pair{L"low.pcd", 0.0}, std::pair{L"high.pcd", 0.006}}) {
        std::string text =
            "VERSION 0.7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nWIDTH 6400\nVIEWPOINT 2 2 1.5 1 0 "
            "0 "
            "0\nPOINTS 6400\nDATA ascii\n";
        for (int i = 0; i < 80; ++i)
            for (int k = 0; k < 80; ++k)
                text +=
                    fmt::format("{} {} {:.4f}\n", (i + 0.5) / 20 - 2, (k + 0.5) / 20 - 2, z - 1.5);
        WriteText(scratch / name, text);
    }
    const std::string project = Path("floor.prj");
    OrvixJson({"import", Path("low.pcd"), Path("high.pcd"), project});
    EXPECT_TRUE(OrvixJson({"stations", project})["consistency"].is_null());
    const Json found = OrvixJson({"stations", project, "--consistency"})["consistency"];
    ASSERT_EQ(found["compared"].size(), 2u);
    EXPECT_NEAR(found["offset"].get<double>(), 0.006, 2e-4);
    EXPECT_NEAR(found["compared"][0]["correction"]["shift"][2].get<double>(), 0.003, 2e-4);
    EXPECT_EQ(found["compared"][0]["weak"], 3);  // along the floor, and about its normal
    EXPECT_NEAR(found["pairs"][0]["correction"]["shift"][2].get<double>(), -0.006, 3e-4);
    OrvixJson({"stations", project, "--consistency", "--picture", Path("arrows.png")});
    EXPECT_GT(ReadBytes(scratch / L"arrows.png").size(), 5000u);
    const auto text = Orvix({"stations", project, "--consistency"});
    EXPECT_NE(text.output.find('?'), std::string::npos);
    const Json refused = OrvixError({"stations", Path("one.prj"), "--consistency"});
    EXPECT_EQ(refused["exit"], 3);
    OrvixJson({"import", Path("low.pcd"), Path("one.prj")});
    EXPECT_EQ(OrvixError({"stations", Path("one.prj"), "--consistency"})["exit"], 3);
}

}  // namespace
}  // namespace orvix::test
