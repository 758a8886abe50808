// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_cell_list.h"

#include <algorithm>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/path.h"
#include "orvix/points/index_hash_reader.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kKeyBytes = 8;
constexpr std::uint64_t kMaxSearches = 1'024;

SimplePointT<float> Corner(const GridCellRecord& cell) {
    return {static_cast<float>(cell.x), static_cast<float>(cell.y), static_cast<float>(cell.z)};
}

ExtendsT<float> BoxOf(const RecordFile<GridCellRecord>& cells) {
    ExtendsT<float> box{Corner(cells[0]), Corner(cells[0])};
    for (std::uint64_t i = 1; i < cells.Count(); ++i) {
        const SimplePointT<float> cell = Corner(cells[i]);
        Extend(box, cell);
    }
    return box;
}

}  // namespace

void CheckCellList(CheckLog& log, const ProjectManager& paths, const GridFiles& grid) {
    const auto& cells = grid.cells100;
    std::uint64_t bytes = 0;
    if (!platform::QueryFileSize(paths.indexHash, bytes)) return;
    if (bytes != cells.Count() * kKeyBytes) {
        log.Add(paths.indexHash, "holds {} bytes where {} cells of 100 cm take {}", bytes,
                cells.Count(), cells.Count() * kKeyBytes);
        return;
    }
    if (cells.Count() == 0) return;
    const ExtendsT<float> box = BoxOf(cells);
    const CIndexHashReader list(paths.indexHash, box.min, box.max);
    const std::uint64_t searches = std::min(cells.Count(), kMaxSearches);
    for (std::uint64_t i = 0; i < searches; ++i) {
        const std::uint64_t number = searches == 1 ? 0 : i * (cells.Count() - 1) / (searches - 1);
        const GridCellRecord cell = cells[number];
        int found = -1;
        list.Find({cell.x, cell.y, cell.z}, found);
        if (found >= 0 && static_cast<std::uint64_t>(found) == number) continue;
        log.Add(paths.indexHash, "lists cell ({}, {}, {}), number {} of Grid.idx, {}", cell.x,
                cell.y, cell.z, number,
                found < 0 ? std::string("nowhere") : "as number " + std::to_string(found));
    }
}

}  // namespace orvix::detail
