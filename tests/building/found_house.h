// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/building/house_project.h"

namespace orvix::building {

/// A building that was found in a scanned house, with questions in the house's own frame.
struct FoundHouse {
    explicit FoundHouse(const HouseProject& scanned, BuildingOptions options = {})
        : project(scanned), building(scanned.Find(std::move(options))) {}

    const HouseProject& project;
    Building building;

    /// Metres above the house's zero.
    [[nodiscard]] double Height(double z) const { return z - project.Up(); }
    [[nodiscard]] PlanRing Ring(const PlanRing& ring) const;
    /// The wall of a storey whose axis lies within 5 mm of a line and ends within `slack` of its ends;
    /// null, and a failure of the test, where there is none.
    [[nodiscard]] const Wall* WallAlong(std::size_t storey, const PlanPoint& from,
                                        const PlanPoint& to, double slack = 0.05) const;
    /// The room of a storey in whose plan a place lies.
    [[nodiscard]] const Room* RoomAt(std::size_t storey, const PlanPoint& place) const;
    /// The opening whose middle and sides lie within 5 cm, or another slack, of these.
    [[nodiscard]] const Opening* OpeningAt(const PlanPoint& middle, double bottom, double width,
                                           double height, double slack = 0.05) const;
    /// A sentence for each wall, opening and room, for people to read when a test fails.
    [[nodiscard]] std::string Words() const;
};

/// Whether two rings have the same corners, in any order, within a distance.
bool SameCorners(const PlanRing& a, const PlanRing& b, double near);

/// Everything of a building, bit by bit.
std::vector<double> FingerprintOf(const Building& building);

}  // namespace orvix::building
