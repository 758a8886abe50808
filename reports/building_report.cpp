// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/building_report.h"

#include <chrono>
#include <memory>
#include <utility>

#include "building/plan_measures.h"
#include "building/saved_building.h"
#include "detection/saved_planes.h"
#include "reports/station_list.h"

namespace orvix::reports {

namespace {

using building::Building;
using Clock = std::chrono::steady_clock;

constexpr double kShareOfPlanes = 0.6;  // of the whole work, where planes are searched

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Tells the caller of a part of the work as of the whole.
std::function<void(double)> PartOf(const std::function<void(double)>& whole, double from,
                                   double to) {
    if (!whole) return {};
    return [whole, from, to](double done) { whole(from + (to - from) * done); };
}

// Of the stations whose positions are known.
Expected<std::vector<building::ScanStation>> StationsOf(const ProjectManager& manager) {
    const auto scanners = NumberedScanners(manager);
    if (!scanners) return ErrorOf(scanners);
    std::vector<building::ScanStation> stations;
    for (std::size_t i = 0; i < scanners->size(); ++i) {
        const std::optional<SimplePointT<double>>& position = (*scanners)[i];
        if (position) stations.push_back({static_cast<std::uint16_t>(i), *position});
    }
    return stations;
}

// Planes with what they rest on.
struct Planes {
    std::unique_ptr<detection::PlaneSearch> search;
    std::unique_ptr<detection::PlaneSet> set;
};

// None where the project keeps no planes, or planes of other points.
Expected<Planes> PlanesKept(const ProjectManager& manager, const CProjectCore& core) {
    auto kept = detection::OpenSavedPlanes(manager, core);
    if (kept) return Planes{nullptr, std::move(*kept)};
    if (kept.error().code == ErrorCode::BadInput) return Planes{};
    return ErrorOf(kept);
}

Expected<Planes> PlanesSearched(const ProjectManager& manager, CProjectCore& core,
                                detection::PlaneSearchOptions options) {
    auto stations = ScannerPositions(manager);
    if (!stations) return ErrorOf(stations);
    options.stations = std::move(*stations);
    auto search = detection::PlaneSearch::Run(core, options);
    if (!search) return ErrorOf(search);
    auto set = std::make_unique<detection::SearchedPlanes>(core, **search, options.detail);
    return Planes{std::move(*search), std::move(set)};
}

}  // namespace

Expected<BuildingFinding> FindBuilding(const ProjectManager& manager, CProjectCore& core,
                                       PlanesWanted wanted, detection::PlaneSearchOptions search,
                                       building::BuildingOptions options) {
    const Clock::time_point began = Clock::now();
    Planes planes;
    if (wanted == PlanesWanted::SavedIfAny) {
        auto kept = PlanesKept(manager, core);
        if (!kept) return ErrorOf(kept);
        planes = std::move(*kept);
    }
    const bool read = planes.set != nullptr;
    if (!read) {
        search.progress = PartOf(options.progress, 0, kShareOfPlanes);
        options.progress = PartOf(options.progress, kShareOfPlanes, 1);
        auto found = PlanesSearched(manager, core, std::move(search));
        if (!found) return ErrorOf(found);
        planes = std::move(*found);
    }
    const double seconds = SecondsSince(began);
    auto finding = FindBuildingIn(manager, core, *planes.set, std::move(options));
    if (!finding) return finding;
    finding->planesRead = read;
    finding->planesSeconds = seconds;
    return finding;
}

Expected<BuildingFinding> FindBuildingIn(const ProjectManager& manager, CProjectCore& core,
                                         const detection::PlaneSet& planes,
                                         building::BuildingOptions options) {
    auto stations = StationsOf(manager);
    if (!stations) return ErrorOf(stations);
    options.stations = std::move(*stations);
    const Clock::time_point began = Clock::now();
    auto found = building::FindBuilding(core, planes, options);
    if (!found) return ErrorOf(found);
    BuildingFinding finding;
    finding.planes = planes.Planes().size();
    finding.seconds = SecondsSince(began);
    finding.building = std::move(*found);
    return finding;
}

Expected<BuildingFinding> ReadBuilding(const ProjectManager& manager, const CProjectCore& core) {
    BuildingFinding finding;
    const Clock::time_point began = Clock::now();
    auto read = building::OpenSavedBuilding(manager, core);
    if (!read) return ErrorOf(read);
    finding.seconds = SecondsSince(began);
    finding.building = std::move(*read);
    return finding;
}

BuildingSums SumsOf(const Building& building) {
    BuildingSums sums;
    for (const building::Room& room : building.rooms) {
        sums.floorArea += room.area.value;
        sums.volume += room.volume.value;
    }
    for (const building::Wall& wall : building.walls) {
        sums.wallArea += building::AreaWithin(wall.profile);
        sums.faces += wall.thickness ? 0 : 1;
    }
    for (const building::Opening& opening : building.openings) {
        sums.wallArea -= opening.width.value * opening.height.value;
        if (opening.kind == building::OpeningKind::Door)
            ++sums.doors;
        else if (opening.kind == building::OpeningKind::Window)
            ++sums.windows;
        else
            ++sums.holes;
    }
    return sums;
}

}  // namespace orvix::reports
