// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/cli/command_runner.h"

namespace orvix::test {
namespace {

// The whole run of the command on real scans: import, check, walk, and a plane where a person
// would put the seed.
struct Scan {
    const char* name;
    std::uint64_t points;
    std::vector<std::string> options;
    const char* seed;  ///< empty: no plane
    double leastArea;
};

void RunScan(const std::string& folder, const Scan& scan) {
    const ScratchFolder scratch;
    const std::string project = Utf8(scratch / L"scan.prj");
    std::vector<std::string> line{"import", folder + "/" + scan.name, project};
    line.insert(line.end(), scan.options.begin(), scan.options.end());
    const Json report = OrvixJson(line);
    EXPECT_EQ(report["read"], scan.points);
    EXPECT_EQ(OrvixJson({"check", project})["ok"], true);
    const Json walk = OrvixJson({"walk", project});
    EXPECT_EQ(walk["checksum"], report["checksum"]);
    for (const char* level : {"1000", "100", "10"})
        EXPECT_EQ(walk["levels"][level]["points"], report["written"]);
    if (*scan.seed == '\0') return;
    const Json plane = OrvixJson({"plane", project, "--seed", scan.seed});
    EXPECT_GE(plane["area"], scan.leastArea);
    EXPECT_LT(plane["rms"], 0.1);
}

TEST(RealScans, TheSampleBuilding) {
    RunScan(ORVIX_SAMPLES, {"building.ply", 100'000, {}, "", 0});
}

class SharedScans : public testing::TestWithParam<Scan> {};

TEST_P(SharedScans, AreImportedCheckedAndWalkedWithoutLosingAPoint) {
    const std::string folder = ORVIX_SHARED_DATA;
    if (folder.empty()) GTEST_SKIP() << "no folder of real scans beside this checkout";
    RunScan(folder, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    All, SharedScans,
    testing::Values(Scan{"indoor_lobby.las", 808'042, {"--up", "y"}, "", 0},
                    Scan{"delft_ahn3.las", 848'942, {}, "", 0},
                    Scan{"ign_herault.las", 405'937, {}, "", 0},
                    Scan{"room_scan1.ply", 112'586, {}, "", 0},
                    Scan{"room_scan1.pcd", 112'586, {}, "", 0},
                    Scan{"office_room1_objects.pcd", 237'907, {}, "", 0},
                    Scan{"pumproom_station.e57", 155'201, {}, "", 0},
                    Scan{"courtyard_source.ply", 69'792, {"--drop-zeros"}, "", 0}),
    [](const auto& scan) {
        std::string name = scan.param.name;
        for (char& c : name) c = c == '.' ? '_' : c;
        return name;
    });

}  // namespace
}  // namespace orvix::test
