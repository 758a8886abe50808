// SPDX-License-Identifier: GPL-3.0-or-later
// Finds all planes of a project and lists them; reads every point with the number of its plane; then
// keeps the planes in the project and opens them again without a search.
//
//     07_all_planes /tmp/building.prj
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "detection/plane_search.h"
#include "detection/saved_planes.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

using namespace orvix;
using detection::FoundPlane;
using detection::PlaneSearch;

namespace {

const char* const kKinds[] = {"floor", "ceiling", "wall", "roof", "other"};

// Where the scanners stood says which side of a wall is seen, and what is a ceiling.
std::vector<SimplePointT<double>> Stations(ProjectManager& project) {
    std::vector<SimplePointT<double>> stations;
    for (std::uint32_t i = 0; i < project.cloudHeader.stationCount; ++i) {
        SimplePointT<double> at;
        if (project.GetScanPosition(static_cast<int>(i), at.x, at.y, at.z)) stations.push_back(at);
    }
    return stations;
}

int Show(const PlaneSearch& search) {
    int number = 0;
    for (const FoundPlane& plane : search.Planes()) {
        std::size_t corners = 0;
        for (const PlaneRegion& region : plane.outline.regions)
            corners += region.outer.points.size();
        std::printf("%3d %-7s group %d: %.3f x %+.3f y %+.3f z %+.3f = 0, %.2f m2, %zu corners\n",
                    ++number, kKinds[static_cast<int>(plane.kind)], plane.group, plane.normal.x,
                    plane.normal.y, plane.normal.z, plane.offset, plane.area, corners);
    }
    return number;
}

// Counts the points of each plane, as a host would colour or copy them.
bool AgreesWithItsPoints(const PlaneSearch& search, const CProjectCore& core) {
    const auto reader = core.CreateAlivePointReader();
    std::vector<std::uint64_t> counts(search.Planes().size());
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk) {
        const auto done = search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& some) {
            for (const std::int32_t plane : some.planes)
                if (plane >= 0) ++counts[static_cast<std::size_t>(plane)];
        });
        if (!done) return std::fprintf(stderr, "%s\n", done.error().message.c_str()), false;
    }
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] != search.Planes()[i].points) return false;
    return true;
}

// What the command does with `orvix planes --save` and `--saved`.
bool StaysInTheProject(const ProjectManager& paths, const CProjectCore& core,
                       const PlaneSearch& search) {
    detection::SearchedPlanes found(core, search);
    const auto saved = detection::SavePlanes(paths, core, found, {});
    if (!saved) return std::fprintf(stderr, "%s\n", saved.error().message.c_str()), false;
    const auto opened = detection::OpenSavedPlanes(paths, core);
    if (!opened) return std::fprintf(stderr, "%s\n", opened.error().message.c_str()), false;
    std::printf("saved: %zu planes have an earlier number, %zu a new one\n", saved->kept,
                saved->added);
    return (*opened)->Numbers() == found.Numbers();
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

    detection::PlaneSearchOptions options;
    options.stations = Stations(paths);
    options.proceed = [] { return true; };  // a host with a Cancel button returns its state
    int planes = 0;
    bool sound = false;
    {
        const auto search = PlaneSearch::Run(core, options);
        if (!search) return std::fprintf(stderr, "%s\n", search.error().message.c_str()), 1;
        planes = Show(**search);
        sound = AgreesWithItsPoints(**search, core) && StaysInTheProject(paths, core, **search);
        std::printf("%d planes hold %llu of %llu points\n", planes,
                    static_cast<unsigned long long>((*search)->AssignedPoints()),
                    static_cast<unsigned long long>((*search)->Points()));
    }
    core.Close();
    return planes > 0 && sound ? 0 : 1;
}
