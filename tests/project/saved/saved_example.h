// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstring>
#include <vector>

#include "orvix/points/stream_hash.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/saved/planes_file_writer.h"
#include "orvix/project/saved/saved_planes.h"
#include "support/scratch_folder.h"

namespace orvix::test {

using FileBytes = std::vector<std::uint8_t>;

/// The planes that docs/FORMAT.md shows, of its four points.
inline detail::SavedPlane ExamplePlane() {
    detail::SavedPlane plane;
    plane.number = 7;
    plane.kind = 0;
    plane.group = 1;
    plane.normal = {0, 0, 1};
    plane.offset = -43.125;
    plane.centre = {12.302083333333334, 43.5, 43.125};
    plane.points = 3;
    plane.rms = 0;
    plane.tolerance = 0.0125;
    plane.area = 0.5;
    plane.frame = PlaneFrame(0, 0, 1, -43.125);
    plane.outline.area = 0.5;
    plane.outline.radius = 0.125;
    PlaneRegion region;
    region.outer.points = {{-43, 12}, {-44, 13}, {-44, 12}};
    region.outer.indices = {0, 1, 2};
    plane.outline.regions.push_back(region);
    return plane;
}

inline detail::SavedSearch ExampleSearch() {
    detail::SavedSearch search;
    search.cellSize = 0.5;
    search.spacing = 0.0625;
    search.noise = 0.00390625;
    search.distance = 0.0125;
    search.angle = 20;
    search.minArea = 0.25;
    search.minPoints = 3;
    search.bridge = 1;
    search.detail = 1;
    search.points = 4;
    search.skeletonPoints = 3;
    search.assignedPoints = 3;
    search.cells = 2;
    search.leftOut = 0;
    search.nextNumber = 8;
    return search;
}

inline std::vector<SimplePointT<float>> ExamplePoints() {
    return {{-1.5F, 43.5F, 43.125F},
            {12.25F, 43.5F, 43.125F},
            {12.28125F, 43.5F, 43.125F},
            {12.375F, 43.5F, 43.125F}};
}

/// Writes them into the folder of a project, as a save does.
inline void WriteExample(const ProjectManager& paths) {
    using namespace detail;
    const auto points = ExamplePoints();
    const std::vector<SimplePointT<float>> skeleton{points[0], points[1], points[3]};
    auto file = PlanesFileWriter::Create(paths);
    (*file)->AddBlock(CloudPart::Points, std::vector<PlaneRun>{{-1, 1}, {0, 3}},
                      PlacesHash(points));
    (*file)->AddBlock(CloudPart::Skeleton, std::vector<PlaneRun>{{-1, 1}, {0, 2}},
                      PlacesHash(skeleton));
    (void)(*file)->Commit(ExampleSearch(), std::vector{ExamplePlane()});
}

/// Makes the checksum that of the bytes, so that only their meaning can be refused.
inline void Seal(FileBytes& bytes) {
    if (bytes.size() < sizeof(std::uint64_t)) return;
    const std::size_t before = bytes.size() - sizeof(std::uint64_t);
    const std::uint64_t hash = detail::HashOf(bytes.data(), before);
    std::memcpy(bytes.data() + before, &hash, sizeof hash);
}

}  // namespace orvix::test
