// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/face_points.h"

#include <algorithm>

#include "detection/cells/point_readers.h"

namespace orvix::detection {
namespace {

// The chunks of the tiles that a region of several faces passes.
std::vector<std::uint32_t> ChunksOfFaces(const CloudRegions& regions, const RegionFaces& faces) {
    const CellMap& map = regions.grown.map;
    std::vector<std::uint32_t> chunks;
    for (std::size_t tile = 0; tile < map.Tiles(); ++tile) {
        bool passes = false;
        for (std::uint32_t cell = 0; cell < map.CellsIn(tile) && !passes; ++cell) {
            const std::span<const std::int32_t> choice = regions.choices.At(tile, cell);
            passes = std::any_of(choice.begin(), choice.end(),
                                 [&](std::int32_t region) { return faces.AreSeveral(region); });
        }
        const std::vector<std::uint32_t>& its = regions.cut.tiles[tile].chunks;
        if (passes) chunks.insert(chunks.end(), its.begin(), its.end());
    }
    std::sort(chunks.begin(), chunks.end());
    return chunks;
}

}  // namespace

Expected<void> AddFacePoints(CProjectCore& core, const CloudRegions& regions,
                             const RegionFaces& faces, const std::vector<PlaneHeight>& planes,
                             const parallel::Pool& pool, std::vector<RegionPoints>& points) {
    const std::vector<std::uint32_t> chunks = ChunksOfFaces(regions, faces);
    std::vector<ChunkSums> parts(chunks.size());
    PointReaders readers(core, pool.Threads());
    const PointAssignment assignment(regions, planes);
    auto done = pool.RunJobs(chunks.size(), [&](std::size_t i, unsigned worker) -> Expected<void> {
        const auto sumOf = [&](std::int32_t face) -> MomentSum& {
            auto at = std::find_if(parts[i].begin(), parts[i].end(),
                                   [&](const auto& part) { return part.first == face; });
            if (at == parts[i].end()) at = parts[i].insert(at, {face, MomentSum{}});
            return at->second;
        };
        return assignment.ForEachRun(
            readers[worker], chunks[i],
            [&](std::span<const CCloudPoint<float>> run, std::span<const std::int32_t> choice) {
                if (std::none_of(choice.begin(), choice.end(),
                                 [&](std::int32_t region) { return faces.AreSeveral(region); }))
                    return;
                for (const auto& p : run) {
                    const Vector at{p.x, p.y, p.z};
                    const std::int32_t region = assignment.Nearest(at, choice);
                    if (region == kNoRegion || !faces.AreSeveral(region)) continue;
                    const std::int32_t face = faces.NumberOf(region, at);
                    RegionPoints& its = points[static_cast<std::size_t>(face)];
                    sumOf(face).Add(at - its.centre);
                    its.raster.Mark(its.frame.To2D(at));
                }
            });
    });
    if (!done) return ErrorOf(done);
    AddSums(parts, points);
    return {};
}

}  // namespace orvix::detection
