// SPDX-License-Identifier: GPL-3.0-or-later
// A host that has nothing but the installed package: imports three points, opens the project
// through the library, reads them back, and searches them for planes and a building.
#include <cstdio>
#include <fstream>
#include <string>

#include "building/find_building.h"
#include "building/saved_building.h"
#include "building/wall_frame.h"
#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "detection/saved_planes.h"
#include "importer/import.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace {

// Nor are they a building; what was found of them can be kept.
bool IsNoBuilding(const orvix::ProjectManager& paths, orvix::CProjectCore& core,
                  const orvix::detection::PlaneSearch& search) {
    const orvix::detection::SearchedPlanes planes(core, search);
    const auto building = orvix::building::FindBuilding(core, planes, {});
    if (!building || !building->rooms.empty() || building->remarks.empty()) return false;
    return !orvix::building::OpenSavedBuilding(paths, core) &&
           orvix::building::SaveBuilding(paths, core, *building) &&
           orvix::building::OpenSavedBuilding(paths, core)->remarks == building->remarks;
}

// Three points are no plane, but they are searched.
bool FindsNoPlane(orvix::ProjectManager& paths) {
    orvix::CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts,
              paths.LASScale(paths.cloudHeader.scale), paths.grid1000cmIdx, paths.grid10cmIdx,
              paths.grid1to10cmIdx, paths.gridIdx);
    if (!core.OpenCores()) return false;
    bool none = false;
    {
        const auto search = orvix::detection::PlaneSearch::Run(core, {});
        if (!search) std::fprintf(stderr, "%s\n", search.error().message.c_str());
        none = search && (*search)->Points() == 3 && (*search)->Planes().empty();
        none = none && !orvix::detection::OpenSavedPlanes(paths, core);
        none = none && IsNoBuilding(paths, core, **search);
    }
    core.Close();
    return none;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::string project = argv[1];
    const std::string scan = project + ".xyz";
    std::ofstream(scan) << "1 2 3\n4 5 6\n7 8 9\n";
    const orvix::CString wideProject(project.begin(), project.end());
    const orvix::CString wideScan(scan.begin(), scan.end());

    const auto report = orvix::importer::Import({wideScan}, wideProject, {});
    if (!report) return std::fprintf(stderr, "%s\n", report.error().message.c_str()), 1;

    orvix::ProjectManager manager;
    if (!manager.Open(wideProject)) return 1;
    double sum = 0;
    for (std::uint64_t i = 0; i < manager.pointFileSize / orvix::kAlivePointBytes; ++i) {
        orvix::CCloudPoint<float> point;
        if (!manager.aliveReader->ReadNextPoint()) return 1;
        manager.aliveReader->ReadCurrentPoint(point);
        sum += double(point.x) + point.y + point.z;
    }
    std::printf("%llu points, coordinate sum %g\n",
                static_cast<unsigned long long>(report->written), sum);
    if (!FindsNoPlane(manager)) return 1;
    return report->written == 3 && sum == 45 ? 0 : 1;
}
