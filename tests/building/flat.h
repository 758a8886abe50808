// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <vector>

#include "support/scenes/house_scene.h"

namespace orvix::building {

/// A flat of three rooms and a closet that no station stands in.
///
/// Plan     inside from (0, 0) to (9, 5), walls around it 0.3 m; floor 0, ceiling 2.6, outer walls up
///          to 2.9; ground 0.15 below.
///          Room A is west of a wall of 0.12 m at x = 5 to 5.12. East of it a wall of 0.1 m, y = 2.4 to
///          2.5, parts B from C. A closet is in C's corner: walls of 0.1 m from x = 7.8 and y = 3.7.
/// Areas    A 25, B 3.88 by 2.4, C 3.88 by 2.5 without 1.2 by 1.3.
/// Openings free door A to B at y = 1.2, 0.9 by 2.05; open leaf A to C at y = 3.6, 0.85 by 2.05; closed
///          leaf B to C at x = 7.6, 0.8 by 2; closed leaf of the closet; closed entrance in the west
///          wall at y = 1, 1 by 2.1. Windows: A's south wall at x = 2.6, 1.5 by 1.3 over 0.9; C's
///          north wall at x = 6.4, 1 by 1.2 over 0.9; B's east wall at y = 1.2, 1.2 by 1.1 over 1.
/// Things   a wardrobe and a hanging cupboard at A's north wall, a table, two people.
inline test::HouseScene Flat() {
    using test::Fill;
    test::HouseScene flat;
    flat.AddWall(
        {{-0.15, -0.3}, {-0.15, 5.3}, 0.3, -0.15, 2.9, {{1.3, 0, 1, 2.1, Fill::ClosedLeaf}}});
    flat.AddWall({{9.15, -0.3}, {9.15, 5.3}, 0.3, -0.15, 2.9, {{1.5, 1, 1.2, 1.1, Fill::Pane}}});
    flat.AddWall({{0, -0.15}, {9, -0.15}, 0.3, -0.15, 2.9, {{2.6, 0.9, 1.5, 1.3, Fill::Pane}}});
    flat.AddWall({{0, 5.15}, {9, 5.15}, 0.3, -0.15, 2.9, {{6.4, 0.9, 1, 1.2, Fill::Pane}}});
    flat.AddWall({{5.06, 5},
                  {5.06, 0},
                  0.12,
                  0,
                  2.6,
                  {{1.4, 0, 0.85, 2.05, Fill::OpenLeaf}, {3.8, 0, 0.9, 2.05, Fill::Nothing}}});
    flat.AddWall({{5.12, 2.45}, {9, 2.45}, 0.1, 0, 2.6, {{2.48, 0, 0.8, 2, Fill::ClosedLeaf}}});
    flat.AddWall({{7.85, 5}, {7.85, 3.7}, 0.1, 0, 2.6});
    flat.AddWall({{9, 3.75}, {7.8, 3.75}, 0.1, 0, 2.6, {{0.55, 0, 0.7, 2, Fill::ClosedLeaf}}});
    flat.AddLevel({0, 0}, {9, 5}, 0);
    flat.AddLevel({0, 0}, {9, 5}, 2.6);
    flat.AddLevel({-2.5, -2.5}, {11.5, 7.5}, -0.15);
    flat.AddBox({0.6, 4.4, 0}, {2.2, 5, 2});
    flat.AddBox({3, 4.65, 1.4}, {4.2, 5, 2.2});
    flat.AddBox({1.2, 2.2, 0.7}, {2.6, 3, 0.74});
    flat.AddBall({3.4, 1, 0.9}, 0.3);
    flat.AddBall({6.4, 0.6, 0.5}, 0.25);
    return flat;
}

/// Two in A, one in B and C each, then four around the flat.
inline std::vector<SimplePointT<double>> FlatStations() {
    return {{1.5, 1.4, 1.5}, {3.8, 3.3, 1.55}, {7, 1.1, 1.5}, {6.5, 2.9, 1.5},
            {-4, -4, 1.4},   {13, -4, 1.4},    {13, 9, 1.4},  {-4, 9, 1.4}};
}

/// A house of two storeys under a gable roof.
///
/// Plan    inside from (0, 0) to (6, 5), walls around it 0.3 m. Storey 1 from 0 to 2.5, storey 2 from
///         2.8, where a stairwell lies open over x = 4.4 to 5.6, y = 1 to 3.6. The attic's walls reach
///         3.8; from there both slopes rise as steep as they are wide to the ridge along y = 2.5, inside
///         at 6.3, outside 0.2 m of roof higher. Roofs end 0.6 m beyond the inside of the walls.
/// Windows in the west gable at y = 2.5, 1.2 by 1.2 over 3.7; in storey 1's south wall at x = 2, 1.4 by
///         1.2 over 0.9. A closed door in the east wall at y = 4.3, 0.9 by 2.
inline test::HouseScene GabledHouse() {
    using test::Fill;
    test::HouseScene house;
    const std::vector<test::HouseWall::Gable> gables{{2.8, 6.3, 1}};
    house.AddWall(
        {{-0.15, -0.3}, {-0.15, 5.3}, 0.3, -0.1, 7, {{2.8, 3.7, 1.2, 1.2, Fill::Pane}}, 0, gables});
    house.AddWall(
        {{6.15, -0.3}, {6.15, 5.3}, 0.3, -0.1, 7, {{4.6, 0, 0.9, 2, Fill::ClosedLeaf}}, 0, gables});
    house.AddWall({{0, -0.15}, {6, -0.15}, 0.3, -0.1, 3.5, {{2, 0.9, 1.4, 1.2, Fill::Pane}}});
    house.AddWall({{0, 5.15}, {6, 5.15}, 0.3, -0.1, 3.5});
    for (const double y : {0.0, 5.0}) house.AddRectangle({0, y, 2.8}, {6, 0, 0}, {0, 0, 1});
    house.AddLevel({0, 0}, {6, 5}, 0);
    const std::vector<test::HouseScene::Well> wells{{{4.4, 1}, {5.6, 3.6}}};
    house.AddLevel({0, 0}, {6, 5}, 2.5, wells);
    house.AddLevel({0, 0}, {6, 5}, 2.8, wells);
    house.AddRectangle({4.4, 1, 2.5}, {1.2, 0, 0}, {0, 0, 0.3});
    house.AddRectangle({4.4, 3.6, 2.5}, {1.2, 0, 0}, {0, 0, 0.3});
    house.AddRectangle({4.4, 1, 2.5}, {0, 2.6, 0}, {0, 0, 0.3});
    house.AddRectangle({5.6, 1, 2.5}, {0, 2.6, 0}, {0, 0, 0.3});
    for (const double side : {-1.0, 1.0}) {
        const double eave = 2.5 + side * 3.1, deep = 0.2 * std::sqrt(0.5);
        const detail::Vector low{-0.5, eave, 3.2}, slope{0, -side * 3.1, 3.1}, ridge{7, 0, 0};
        const detail::Vector thick{0, side * deep, deep};
        house.AddRectangle(low, ridge, slope);
        house.AddRectangle({-0.5, eave + side * deep, 3.2 + deep}, ridge,
                           {0, -side * (3.1 + deep), 3.1 + deep});
        house.AddRectangle(low, ridge, thick);
        house.AddRectangle(low, slope, thick);
        house.AddRectangle({6.5, eave, 3.2}, slope, thick);
    }
    house.AddLevel({-12, -12}, {18, 17}, -0.1);
    return house;
}

/// Two in storey 1, two in the attic, six around the house, two of them as high as
/// its eaves.
inline std::vector<SimplePointT<double>> GabledStations() {
    return {{1.5, 2, 1.5}, {5, 2.3, 1.5}, {1.4, 2.4, 4.3}, {3.6, 3, 4.3}, {-4, -6, 1.4},
            {10, -6, 1.4}, {10, 11, 1.4}, {-4, 11, 1.4},   {3, -6, 5},    {3, 11, 5}};
}

}  // namespace orvix::building
