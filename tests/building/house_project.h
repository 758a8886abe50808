// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "building/find_building.h"
#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "orvix/project/access/open_project.h"
#include "support/scenes/house_scene.h"
#include "support/scratch_folder.h"

namespace orvix::building {

/// What one station saw: its place, and its points from there. Frame of the house.
struct HouseStation {
    SimplePointT<double> place;
    std::vector<SimplePointT<double>> points;
};

/// Scans a house from each place, side by side.
std::vector<HouseStation> ScanHouse(const test::HouseScene& house,
                                    const std::vector<SimplePointT<double>>& places,
                                    double step = 0.5);

/// How scans become a project.
struct HouseImport {
    double turn = 0;                  ///< degrees about z
    SimplePointT<double> shift = {};  ///< metres, after the turn
    std::size_t every = 1;            ///< of the points one in so many
    bool poses = true;
};

/// A project of a scanned house, with its planes, open.
///
/// Units  places that it takes back are in the frame of the house.
class HouseProject {
public:
    HouseProject(const std::vector<HouseStation>& stations, const HouseImport& how = {});
    HouseProject(const HouseProject&) = delete;
    HouseProject& operator=(const HouseProject&) = delete;

    /// Threads, memory and the rest of `options`; its stations are the project's.
    [[nodiscard]] Expected<Building> Search(BuildingOptions options = {}) const;
    /// The same; where it fails so does the test, and the building is empty.
    [[nodiscard]] Building Find(BuildingOptions options = {}) const;
    /// A place of the project, in the house.
    [[nodiscard]] SimplePointT<double> Back(const SimplePointT<double>& p) const;
    [[nodiscard]] PlanPoint Back(const PlanPoint& p) const;
    [[nodiscard]] const std::vector<ScanStation>& Stations() const { return stations_; }
    [[nodiscard]] std::uint64_t Points() const { return points_; }
    [[nodiscard]] const detection::PlaneSet& Planes() const { return *planes_; }
    /// How far up the house lies in the project.
    [[nodiscard]] double Up() const;

private:
    test::ScratchFolder folder_;
    HouseImport how_;
    SimplePointT<double> origin_;
    std::uint64_t points_ = 0;
    std::unique_ptr<detail::OpenProject> project_;
    std::vector<ScanStation> stations_;
    std::unique_ptr<detection::PlaneSearch> search_;
    std::unique_ptr<detection::PlaneSet> planes_;
};

}  // namespace orvix::building
