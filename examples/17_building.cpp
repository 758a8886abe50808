// SPDX-License-Identifier: GPL-3.0-or-later
// Finds the building that a scan shows and lists its rooms, walls and openings; then keeps it in the
// project and opens it again without a search.
//
//     17_building /tmp/building.prj
#include <cstdio>
#include <string>
#include <vector>

#include "building/find_building.h"
#include "building/saved_building.h"
#include "building/wall_frame.h"
#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

using namespace orvix;

namespace {

// Rays from where the scanners stood say what is open, and what was merely not seen.
std::vector<building::ScanStation> Stations(ProjectManager& project) {
    std::vector<building::ScanStation> stations;
    for (std::uint32_t i = 0; i < project.cloudHeader.stationCount; ++i) {
        building::ScanStation station;
        station.number = static_cast<std::uint16_t>(i);
        SimplePointT<double>& at = station.position;
        if (project.GetScanPosition(static_cast<int>(i), at.x, at.y, at.z))
            stations.push_back(station);
    }
    return stations;
}

void Show(const building::Building& house) {
    for (const building::Room& room : house.rooms)
        std::printf("%s: %.2f m2 (%.2f to %.2f), %.2f m high, %zu faces\n", room.name.c_str(),
                    room.area.value, room.area.low, room.area.high, room.height.value,
                    room.faces.size());
    for (const building::Wall& wall : house.walls)
        std::printf("wall of %.2f m, thickness %s, %.0f %% of it seen\n", LengthOf(wall),
                    wall.thickness ? std::to_string(wall.thickness->value).c_str() : "not known",
                    100 * wall.evidence.seen);
    for (const building::Opening& opening : house.openings)
        std::printf("opening of %.2f x %.2f m, rays went through %.0f %% of it\n",
                    opening.width.value, opening.height.value, 100 * opening.free);
    for (const std::string& remark : house.remarks) std::printf("%s\n", remark.c_str());
}

// What the command does with `orvix model --save` and `--saved`.
bool StaysInTheProject(const ProjectManager& paths, const CProjectCore& core,
                       const building::Building& house) {
    const auto saved = building::SaveBuilding(paths, core, house);
    if (!saved) return std::fprintf(stderr, "%s\n", saved.error().message.c_str()), false;
    const auto opened = building::OpenSavedBuilding(paths, core);
    if (!opened) return std::fprintf(stderr, "%s\n", opened.error().message.c_str()), false;
    return opened->rooms.size() == house.rooms.size() &&
           opened->walls.size() == house.walls.size() && opened->remarks == house.remarks;
}

bool FindsAndKeeps(ProjectManager& paths, CProjectCore& core) {
    const auto search = detection::PlaneSearch::Run(core, {});
    if (!search) return std::fprintf(stderr, "%s\n", search.error().message.c_str()), false;
    const detection::SearchedPlanes planes(core, **search);
    building::BuildingOptions options;
    options.stations = Stations(paths);
    options.proceed = [] { return true; };  // a host with a Cancel button returns its state
    const auto house = building::FindBuilding(core, planes, options);
    if (!house) return std::fprintf(stderr, "%s\n", house.error().message.c_str()), false;
    Show(*house);
    std::printf("%zu storeys, %zu rooms, %zu walls\n", house->storeys.size(), house->rooms.size(),
                house->walls.size());
    return StaysInTheProject(paths, core, *house);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fprintf(stderr, "usage: %s PROJECT\n", argv[0]), 2;
    ProjectManager paths;
    if (!paths.Set(CString(argv[1], argv[1] + std::string(argv[1]).size()), false)) return 1;
    CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts,
              paths.LASScale(paths.cloudHeader.scale), paths.grid1000cmIdx, paths.grid10cmIdx,
              paths.grid1to10cmIdx, paths.gridIdx);
    if (!core.OpenCores()) return std::fprintf(stderr, "cannot read the project\n"), 1;
    const bool sound = FindsAndKeeps(paths, core);
    core.Close();
    return sound ? 0 : 1;
}
