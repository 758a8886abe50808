// SPDX-License-Identifier: GPL-3.0-or-later
// Marks every point above a height in its DCLC pair, in place in the mapped file.
//
//     03_edit_points_in_place /tmp/building.prj 5.0
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

using namespace orvix;

int main(int argc, char** argv) {
    if (argc != 3) return std::fprintf(stderr, "usage: %s PROJECT HEIGHT\n", argv[0]), 2;
    const float height = std::strtof(argv[2], nullptr);
    ProjectManager paths;
    if (!paths.Set(CString(argv[1], argv[1] + std::string(argv[1]).size()), false)) return 1;
    CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts,
              paths.LASScale(paths.cloudHeader.scale), paths.grid1000cmIdx, paths.grid10cmIdx,
              paths.grid1to10cmIdx, paths.gridIdx);
    if (!core.OpenCores4Write()) return std::fprintf(stderr, "cannot write to the project\n"), 1;
    std::int64_t marked = 0;
    {
        const auto reader = core.CreateAlivePointReaderWriter();
        CCloudPoint<float> point;
        for (std::int64_t i = 0; i < core.AlivePointCount() && reader->ReadNextPoint(); ++i) {
            reader->ReadCurrentPoint(point);
            const std::uint16_t mark = point.z > height ? 1 : 0;
            std::memcpy(reader->PtsMapAddressAlive() + reader->CurrentPointPositionAlive() +
                            offsetof(CCloudPoint<float>, dclcFirst),
                        &mark, sizeof mark);
            marked += mark;
        }
    }
    std::printf("%lld of %lld points lie above %g m (project frame)\n",
                static_cast<long long>(marked), static_cast<long long>(core.AlivePointCount()),
                static_cast<double>(height));
    core.Close();
    return 0;
}
