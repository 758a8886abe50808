// SPDX-License-Identifier: GPL-3.0-or-later
// Imports a scan, opens the project, grows the plane at a seed and prints its outline.
//
//     01_import_open_seed_outline samples/building.ply /tmp/building.prj 3.7 -4.0 12.9
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "importer/import.h"
#include "orvix/planes/plane_worm.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/nearest_neighbour.h"
#include "orvix/project/project_manager.h"

using namespace orvix;

int main(int argc, char** argv) {
    if (argc != 6) return std::fprintf(stderr, "usage: %s SCAN PROJECT X Y Z\n", argv[0]), 2;
    const CString scan(argv[1], argv[1] + std::string(argv[1]).size());
    const CString project(argv[2], argv[2] + std::string(argv[2]).size());

    // Import: one scan file becomes a project file and its folder.
    importer::ImportOptions options;
    options.overwrite = true;
    const auto report = importer::Import({scan}, project, options);
    if (!report) return std::fprintf(stderr, "%s\n", report.error().message.c_str()), 1;

    // Open it, and stream its points. Files hold floats near the project's own origin.
    ProjectManager manager;
    if (!manager.Open(project)) return std::fprintf(stderr, "%ls\n", manager.errorText.c_str()), 1;
    auto points = std::make_shared<std::vector<SimplePointT<float>>>();
    CCloudPoint<float> point;
    while (points->size() < report->written && manager.aliveReader->ReadNextPoint()) {
        manager.aliveReader->ReadCurrentPoint(point);
        points->push_back({point.x, point.y, point.z});
    }
    manager.Close();

    // Seed: the plane through the points within half a metre of it.
    const SimplePointT<double> seed{std::atof(argv[3]) - report->origin[0],
                                    std::atof(argv[4]) - report->origin[1],
                                    std::atof(argv[5]) - report->origin[2]};
    auto neighbours = std::make_shared<CNearestNeighbour>(points.get());
    int count = 0;
    int* indices = neighbours->Find(&seed, 0.5 * 0.5, count);  // the bound is a squared distance
    FittedPlane base;
    base.AddPoints(points.get(), indices, count, true);
    base.Generate(false);

    // Grow it cell by cell, and fit it once more to all that was found.
    PlaneWorm worm(std::make_shared<PlaneWormSettings>(project, 1.0));
    worm.SetBase(base);
    worm.SetCloud(neighbours, points);
    worm.SetSeed(seed);
    worm.Launch(PlaneWorm::RelationToBase::Visited);
    FittedPlane plane;
    for (const PlaneWorm::Cell& cell : worm.Cells()) {
        plane.AddPoints(points.get(), cell.indices, false);
    }
    plane.Generate(false);
    plane.Generate2DExt();

    std::printf("%.4f x + %.4f y + %.4f z + %.4f = 0 (local), %zu cells, %.1f m2\n", plane.a(),
                plane.b(), plane.c(), plane.d(), worm.Cells().size(), plane.Area());
    for (const PlaneRegion& region : plane.Outline().regions) {
        std::printf("region: %zu corners, %zu holes\n", region.outer.points.size(),
                    region.holes.size());
    }
    return plane.Outline().regions.empty() ? 1 : 0;
}
