// SPDX-License-Identifier: GPL-3.0-or-later
// Walks a project's cells from 1000 cm to 100 cm to 10 cm and reads each cell's points.
//
//     02_walk_cells /tmp/building.prj
#include <cstdio>
#include <string>

#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

using namespace orvix;

int main(int argc, char** argv) {
    if (argc != 2) return std::fprintf(stderr, "usage: %s PROJECT\n", argv[0]), 2;
    ProjectManager paths;
    if (!paths.Set(CString(argv[1], argv[1] + std::string(argv[1]).size()), false)) {
        return std::fprintf(stderr, "%ls\n", paths.errorText.c_str()), 1;
    }
    CProjectCore core;
    core.Open(paths.gridSkeletCoordPts, paths.gridSkeletDataPts, paths.gridPts,
              paths.LASScale(paths.cloudHeader.scale), paths.grid1000cmIdx, paths.grid10cmIdx,
              paths.grid1to10cmIdx, paths.gridIdx);
    if (!core.OpenCores()) return 1;
    std::uint64_t cells = 0;
    std::uint64_t read = 0;
    {
        const auto index = core.CreateIndexReader();
        const auto reader = core.CreateAlivePointReader();
        std::vector<CCloudPoint<float>> points;
        // A call that hands out a level's last entry returns false: use the entry, then test.
        bool more1000 = index->Count100() > 0;  // an empty cloud has no first entry
        while (more1000) {
            more1000 = index->ReadIndex1000(0);
            std::uint64_t first100 = 0;
            std::uint32_t count100 = 0;
            index->GetOffsetCount1000(first100, count100);
            index->InitIndex100(first100);
            bool more100 = true;
            while (more100) {
                more100 = index->ReadIndex100(count100);
                const std::uint32_t count10 = index->InitIndex10();
                bool more10 = true;
                while (more10) {
                    more10 = index->ReadIndex10(count10);
                    std::uint64_t first = 0;
                    std::uint32_t count = 0;
                    index->GetOffsetCount10(first, count);
                    points.clear();
                    reader->ReadIndexPoints(first, count, points);
                    read += points.size();
                    ++cells;
                }
            }
        }
    }  // readers end before the core closes
    std::printf("%llu points in %llu cells of 10 cm\n", static_cast<unsigned long long>(read),
                static_cast<unsigned long long>(cells));
    const bool all = read == static_cast<std::uint64_t>(core.AlivePointCount());
    core.Close();
    return all ? 0 : 1;
}
