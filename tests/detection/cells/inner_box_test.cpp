// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/inner_box.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

/// Points of a cell, and its boxes.
struct Cell {
    CellPlace place{};
    std::vector<Vector> points;
    CellBox box;
    InnerBox inner;
};

Cell AnyCell(std::mt19937& random, double size) {
    std::uniform_int_distribution<std::int32_t> place(-3, 3), count(1, 3);
    std::uniform_real_distribution<double> within(0, size);
    Cell cell;
    cell.place = {place(random), place(random), place(random)};
    const Vector corner{cell.place[0] * size, cell.place[1] * size, cell.place[2] * size};
    for (int i = count(random); i > 0; --i) {
        cell.points.push_back(corner + Vector{within(random), within(random), within(random)});
        cell.box.Add(cell.points.back());
    }
    cell.inner = {cell.box, corner, size};
    return cell;
}

double SmallestDistance(const Cell& a, const Cell& b) {
    double smallest = 1e9;
    for (const Vector& p : a.points)
        for (const Vector& q : b.points)
            smallest = std::min(smallest, std::sqrt(Dot(p - q, p - q)));
    return smallest;
}

TEST(InnerBox, AGapBetweenTwoIsNeverWiderThanThatBetweenThePoints) {
    std::mt19937 random(3);
    for (const double size : {0.1, 0.25, 10.0}) {
        for (int i = 0; i < 2000; ++i) {
            const Cell a = AnyCell(random, size), b = AnyCell(random, size);
            const double inner =
                std::sqrt(static_cast<double>(SquaredGap(a.place, a.inner, b.place, b.inner))) /
                256 * size;
            const double boxes = std::sqrt(a.box.SquaredGap(b.box));
            EXPECT_LE(boxes, SmallestDistance(a, b) * (1 + 1e-5) + 1e-5 * size);
            EXPECT_LE(inner, boxes + 1e-5 * size);
            EXPECT_GE(inner, boxes - 3.5 * size / 256);  // two parts along each of three axes
        }
    }
}

}  // namespace
}  // namespace orvix::detection
