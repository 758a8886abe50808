// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "tests/c/c_project.h"

namespace orvix::test {

constexpr std::uint64_t kFloorPoints = 121 * 81;
constexpr std::uint64_t kWallPoints = 121 * 37;
constexpr std::uint64_t kPierPoints = 61 * 37;

// A floor of 6 m x 4 m at z = 1.25 with points every 5 cm; behind it a wall of 6 m, and 3 m further
// on, in the same plane, a pier of 3 m; and a shelf over the floor that has too few points for a plane.
inline std::vector<CCloudPoint<float>> FloorWallAndPier() {
    std::vector<CCloudPoint<float>> points;
    const auto add = [&](double x, double y, double z) {
        CCloudPoint<float> p;
        p.x = static_cast<float>(x), p.y = static_cast<float>(y), p.z = static_cast<float>(z);
        points.push_back(p);
    };
    for (int i = 0; i <= 120; ++i)
        for (int j = 0; j <= 80; ++j) add(i * 0.05, j * 0.05, 1.25);
    for (int i = 0; i <= 240; ++i)
        for (int k = 4; k <= 40; ++k)
            if (i <= 120 || i >= 180) add(i * 0.05, 4.5, 1.25 + k * 0.05);
    for (int i = 0; i <= 8; ++i)
        for (int j = 0; j <= 8; ++j) add(2.8 + i * 0.05, 1.8 + j * 0.05, 2.4);
    return points;
}

/// The search for all planes of that cloud through the C interface.
class CPlanes : public CProject {
protected:
    CPlanes() : CProject(FloorWallAndPier(), {10000, 20000, 100}) {
        EXPECT_EQ(Open(), ORVIX_OK) << error.text;
        options.threads = 2;
        options.min_points = 200;
    }
    ~CPlanes() override { orvix_planes_close(planes); }

    orvix_status Find() { return orvix_planes_find(project, &options, &planes, &error); }
    orvix_planes_info Info() {
        auto info = Sized<orvix_planes_info>();
        EXPECT_EQ(orvix_planes_get_info(planes, &info, &error), ORVIX_OK) << error.text;
        return info;
    }
    orvix_found_plane Plane(std::uint32_t number) {
        auto plane = Sized<orvix_found_plane>();
        EXPECT_EQ(orvix_planes_get_plane(planes, number, &plane, &error), ORVIX_OK) << error.text;
        return plane;
    }

    orvix_planes_options options = Sized<orvix_planes_options>();
    orvix_planes* planes = nullptr;
};

}  // namespace orvix::test
