// SPDX-License-Identifier: GPL-3.0-or-later
// make_house OUT.ptx [--step DEGREES] [--noise M]
//
// Writes scans of a furnished house of six rooms under a gable roof, as PTX, from a station in each
// room and six around it: something to try `orvix model` on.
#include <CLI/CLI.hpp>

#include <cmath>
#include <string>
#include <vector>

#include "orvix/platform/text.h"
#include "support/scans/ptx_writer.h"
#include "support/scenes/house_scene.h"

namespace {

using orvix::detail::Vector;
using orvix::test::Fill, orvix::test::HouseScene, orvix::test::HouseWall;

constexpr double kWidth = 11.4, kDepth = 8.4;  // inside the outer walls
constexpr double kCeiling = 2.6, kEaves = 2.9, kRise = 0.7;
constexpr double kGround = -0.15;

void AddOuterWalls(HouseScene& house) {
    const double middle = kDepth / 2 + 0.3;
    const std::vector<HouseWall::Gable> gables{{middle, kEaves + kRise * middle, kRise}};
    const double ridge = kEaves + kRise * middle;
    house.AddWall({{-0.15, -0.3},
                   {-0.15, kDepth + 0.3},
                   0.3,
                   kGround,
                   ridge,
                   {{2.7, 0.9, 1.6, 1.3, Fill::Pane}, {6.9, 0.9, 1.2, 1.3, Fill::Pane}},
                   0,
                   gables});
    house.AddWall({{kWidth + 0.15, -0.3},
                   {kWidth + 0.15, kDepth + 0.3},
                   0.3,
                   kGround,
                   ridge,
                   {{1.9, 0.9, 1.2, 1.3, Fill::Pane},
                    {4.35, 0, 1, 2.1, Fill::ClosedLeaf},
                    {7.1, 0.9, 1.2, 1.3, Fill::Pane}},
                   0,
                   gables});
    house.AddWall({{0, -0.15},
                   {kWidth, -0.15},
                   0.3,
                   kGround,
                   kEaves,
                   {{2, 0.9, 1.6, 1.3, Fill::Pane},
                    {4.9, 0, 1.8, 2.2, Fill::Pane},
                    {9, 1.1, 1.4, 1.1, Fill::Pane}}});
    house.AddWall({{0, kDepth + 0.15},
                   {kWidth, kDepth + 0.15},
                   0.3,
                   kGround,
                   kEaves,
                   {{2, 0.9, 1.6, 1.3, Fill::Pane},
                    {5.3, 1.5, 0.8, 0.7, Fill::Pane},
                    {9, 0.9, 1.6, 1.3, Fill::Pane}}});
}

void AddInnerWalls(HouseScene& house) {
    house.AddWall(
        {{6.56, 0}, {6.56, kDepth}, 0.12, 0, kCeiling, {{4.1, 0, 0.9, 2.05, Fill::Nothing}}});
    house.AddWall({{0, 4.86},
                   {6.5, 4.86},
                   0.12,
                   0,
                   kCeiling,
                   {{2.2, 0, 0.85, 2.05, Fill::OpenLeaf}, {5.2, 0, 0.8, 2.05, Fill::Nothing}}});
    house.AddWall(
        {{6.62, 4.86}, {kWidth, 4.86}, 0.12, 0, kCeiling, {{2.4, 0, 0.85, 2.05, Fill::Nothing}}});
    house.AddWall({{4.06, 4.92}, {4.06, kDepth}, 0.12, 0, kCeiling});
    house.AddWall(
        {{6.62, 3.26}, {kWidth, 3.26}, 0.12, 0, kCeiling, {{1.2, 0, 0.85, 2.05, Fill::Nothing}}});
}

void AddRoof(HouseScene& house) {
    constexpr double kOver = 0.5, kThick = 0.2;
    const double middle = kDepth / 2, reach = middle + 0.3 + kOver;
    const double low = kEaves - kRise * kOver, ridge = low + kRise * reach;
    const double length = std::sqrt(1 + kRise * kRise);
    for (const double side : {-1.0, 1.0}) {
        const Vector eave{-0.3 - kOver, middle + side * reach, low};
        const Vector along{kWidth + 0.6 + 2 * kOver, 0, 0}, up{0, -side * reach, ridge - low};
        const double y = side * kThick * kRise / length, z = kThick / length;
        house.AddRectangle(eave, along, up);
        house.AddRectangle({eave.x, eave.y + y, eave.z + z}, along, up);
        house.AddRectangle(eave, along, {0, y, z});
    }
}

void Furnish(HouseScene& house) {
    house.AddBox({0.02, 1.2, 0}, {0.9, 3.4, 0.8});     // a sofa
    house.AddBox({1.6, 1.8, 0.38}, {2.6, 2.8, 0.42});  // a low table
    house.AddBox({3.4, 4.3, 0}, {4.6, 4.78, 1.9});     // a cupboard
    house.AddBox({4.2, 1.4, 0.7}, {5.8, 2.3, 0.74});   // a table
    house.AddBox({7.2, 0.02, 0}, {11.38, 0.62, 0.9});  // a kitchen's counter
    house.AddBox({0.4, 6.4, 0}, {2.4, 8.2, 0.5});      // beds
    house.AddBox({9.2, 6.4, 0}, {11.2, 8.2, 0.5});
    house.AddBox({6.64, 6.2, 0}, {7.24, 8.2, 2.1});  // a wardrobe
    house.AddBox({4.2, 7.6, 0}, {5.9, 8.38, 0.55});  // a tub
    for (const auto& [x, y] : {std::pair{5.0, 1.0}, std::pair{5.0, 2.7}, std::pair{10.2, 4.1}})
        house.AddBall({x, y, 0.45}, 0.25);
}

std::vector<Vector> Stations() {
    return {{2.9, 3.4, 1.5}, {5.9, 3.2, 1.5}, {9, 1.9, 1.5}, {8.6, 4.1, 1.5}, {2.9, 6, 1.5},
            {5.3, 6.1, 1.5}, {8.4, 6, 1.5},   {-4, -4, 1.4}, {5.7, -6, 1.4},  {15.5, -4, 1.4},
            {15.5, 12, 1.4}, {5.7, 14, 1.4},  {-4, 12, 1.4}, {-7, 4.2, 5},    {18, 4.2, 5}};
}

}  // namespace

int main(int argc, char** argv) {
    orvix::test::RayOptions options;
    options.step = 0.35;
    std::string path;
    CLI::App app("Writes scans of a house of six rooms");
    app.add_option("output", path, "OUT.ptx")->required();
    app.add_option("--step", options.step, "Degrees between directions")
        ->check(CLI::Range(0.02, 10.0));
    app.add_option("--noise", options.noise, "Metres along the ray, standard deviation");
    CLI11_PARSE(app, argc, argv);
    HouseScene house;
    AddOuterWalls(house);
    AddInnerWalls(house);
    AddRoof(house);
    Furnish(house);
    house.AddLevel({0, 0}, {kWidth, kDepth}, 0);
    house.AddLevel({0, 0}, {kWidth, kDepth}, kCeiling);
    house.AddLevel({-8, -8}, {19, 16}, kGround);
    std::vector<orvix::test::RayOptions> stations;
    for (const Vector& place : Stations()) {
        options.station = place;
        options.seed = stations.size() + 1;
        stations.push_back(options);
    }
    orvix::test::WritePtx(house.Scene(), stations, orvix::platform::FromUtf8(path));
    return 0;
}
