// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "support/scans/e57_writer.h"

namespace orvix::bench {

using Kind = test::E57Column::Kind;

inline test::E57Column Scaled(const char* name) {
    return {.name = name,
            .kind = Kind::Scaled,
            .minimum = -8'388'608,
            .maximum = 8'388'607,
            .scale = 1e-6};
}

/// Scaled integers of 24 bits, intensity, colours and states, as scanners write them.
inline std::vector<test::E57Column> Cartesian(std::uint64_t points) {
    std::vector<test::E57Column> columns{Scaled("cartesianX"), Scaled("cartesianY"),
                                         Scaled("cartesianZ")};
    columns.push_back({.name = "intensity", .kind = Kind::Integer, .maximum = 32'767});
    for (const char* name : {"colorRed", "colorGreen", "colorBlue"}) {
        columns.push_back({.name = name, .kind = Kind::Integer, .maximum = 255});
    }
    columns.push_back({.name = "cartesianInvalidState", .kind = Kind::Integer, .maximum = 2});
    std::mt19937_64 random(1);
    for (std::uint64_t i = 0; i < points; ++i) {
        for (auto& column : columns) {
            const auto span = static_cast<std::uint64_t>(column.maximum - column.minimum);
            column.whole.push_back(column.minimum + static_cast<std::int64_t>(random() % span));
        }
        columns.back().whole.back() = 0;
    }
    return columns;
}

/// Spherical floats.
inline std::vector<test::E57Column> Spherical(std::uint64_t points) {
    std::vector<test::E57Column> columns;
    for (const char* name : {"sphericalRange", "sphericalAzimuth", "sphericalElevation"}) {
        columns.push_back({.name = name, .kind = Kind::Single});
    }
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> angle(-1.5, 1.5);
    for (std::uint64_t i = 0; i < points; ++i) {
        columns[0].real.push_back(20 + angle(random));
        columns[1].real.push_back(2 * angle(random));
        columns[2].real.push_back(angle(random));
    }
    return columns;
}

}  // namespace orvix::bench
