// SPDX-License-Identifier: GPL-3.0-or-later
// Cuts a slab of 10 cm out of a project, seen from the south: counts its points by class as they are
// streamed from the disk, cuts what was found thinner, colours it by distance, and snaps to a point.
//
//     12_section /tmp/building.prj 3.7 -5 12.9
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "orvix/gpu/revit_amp.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

using namespace orvix;

namespace {

// The project's own frame lies there in the world: sixteen doubles, the shift in the last column.
SimplePointT<double> OriginOf(const ProjectManager& paths) {
    std::array<double, 16> matrix{};
    std::ifstream file(std::filesystem::path(paths.transformFile), std::ios::binary);
    file.read(reinterpret_cast<char*>(matrix.data()), sizeof matrix);
    return {matrix[3], matrix[7], matrix[11]};
}

// The points of the slab. Cells that lie beside it are counted and not read.
bool Gather(RevitAMP& section, std::vector<CCloudPoint<float>>& slab, SectionCounts& counts) {
    const auto use = [&](const RevitAMP::Chunk& chunk) {
        for (std::size_t k = 0; k < chunk.points.size(); ++k) {
            if (chunk.classes[k] == SectionClass::In) slab.push_back(chunk.points[k]);
        }
        return true;  // a host with a Cancel button returns its state
    };
    return section.StreamPlaneXZ(RevitAMP::Bit(SectionClass::In), use, &counts);
}

// The held points stay where they are while the plane, or here the slab, changes.
bool CutThinner(RevitAMP& section, const std::vector<CCloudPoint<float>>& slab) {
    if (!section.Hold(SectionPoints::Of(std::span<const CCloudPoint<float>>(slab)))) return false;
    for (const double halfThickness : {0.02, 0.005}) {
        section.SetSlab({.halfThickness = halfThickness});
        std::vector<std::uint64_t> indices;
        if (!section.CheckPlaneXZ(SectionClass::In, indices)) return false;
        std::printf("%zu points within %.0f mm\n", indices.size(), 1000 * halfThickness);
    }
    const std::array<SectionColour, 3> ramp{SectionColour{0, 0, 255}, SectionColour{255, 255, 255},
                                            SectionColour{255, 0, 0}};
    std::vector<SectionColour> colours(section.Count());
    if (!section.CheckPlaneXZ_ColorPlane({-0.05, 0.05, ramp}, colours)) return false;
    std::size_t white = 0;
    for (const SectionColour& colour : colours) white += colour == ramp[1] ? 1 : 0;
    std::printf("%zu points in the middle third are white\n", white);
    return true;
}

// What a click means: the first point along the line of sight, in an aperture of 5 cm.
bool Pick(RevitAMP& section, const SimplePointT<double>& seen) {
    const PickingRay ray{{seen.x, seen.y - 30, seen.z}, {0, 1, 0}, 0.05, 0};
    SnappedPoint snapped;
    if (!section.SnapInProject({&ray, 1}, {&snapped, 1})) return false;
    if (!snapped.Found()) return std::printf("nothing is there\n"), true;
    std::printf("point %llu, %.3f m along the ray and %.1f mm beside it\n",
                static_cast<unsigned long long>(snapped.index), snapped.along,
                1000 * snapped.distance);
    return true;
}

bool Show(const CProjectCore& core, const SimplePointT<double>& origin,
          const SimplePointT<double>& seen) {
    RevitAMP section;
    SectionCounts counts;
    std::vector<CCloudPoint<float>> slab;
    if (!section.SetOrigin(origin) || !section.SetPlane(seen, {0, -1, 0}) ||
        !section.SetSlab({.halfThickness = 0.05}) || !section.SetProject(core) ||
        !Gather(section, slab, counts)) {
        return false;
    }
    std::printf("in %llu behind %llu before %llu\n", static_cast<unsigned long long>(counts.in),
                static_cast<unsigned long long>(counts.behind),
                static_cast<unsigned long long>(counts.before));
    const bool all = counts.Total() == static_cast<std::uint64_t>(core.AlivePointCount());
    return all && slab.size() == counts.in && CutThinner(section, slab) && Pick(section, seen);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return std::fprintf(stderr, "usage: %s PROJECT X Y Z\n", argv[0]), 2;
    ProjectManager paths;
    if (!paths.Set(CString(argv[1], argv[1] + std::string(argv[1]).size()), false)) {
        return std::fprintf(stderr, "%ls\n", paths.errorText.c_str()), 1;
    }
    CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts,
              paths.LASScale(paths.cloudHeader.scale), paths.grid1000cmIdx, paths.grid10cmIdx,
              paths.grid1to10cmIdx, paths.gridIdx);
    if (!core.OpenCores()) return std::fprintf(stderr, "cannot read the project\n"), 1;
    const bool shown =
        Show(core, OriginOf(paths), {std::atof(argv[2]), std::atof(argv[3]), std::atof(argv[4])});
    core.Close();
    return shown ? 0 : 1;
}
