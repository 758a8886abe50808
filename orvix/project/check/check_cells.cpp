// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_cells.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <string>

#include "orvix/platform/path.h"

namespace orvix::detail {
namespace {

bool HasPadding(const GridCellRecord& cell) {
    return (cell.padding | cell.padding2) != 0;
}

bool HasPadding(const CIndexerSmall& run) {
    return run.padding != 0;
}

bool HasPadding(const FineCellRecord& cell) {
    return cell.padding2 != 0 || std::any_of(cell.padding.begin(), cell.padding.end(),
                                             [](std::uint8_t byte) { return byte != 0; });
}

CellKey ParentOf(const CellKey& cell) {
    return {FloorTenth(cell[0]), FloorTenth(cell[1]), FloorTenth(cell[2])};
}

bool InsideParent(const CellKey& cell) {
    return std::all_of(cell.begin(), cell.end(), [](std::int32_t c) { return c >= 0 && c <= 9; });
}

}  // namespace

template <class Record>
bool CheckRuns(CheckLog& log, const RecordFile<Record>& runs, std::uint64_t total,
               const char* target) {
    const std::uint64_t before = log.Total();
    std::uint64_t harmless = 0;
    std::uint64_t next = 0;
    for (std::uint64_t i = 0; i < runs.Count(); ++i) {
        const Record run = runs[i];
        if (run.count == 0) log.Add(runs.Path(), "entry {} is empty", i);
        if (run.offset > total || run.count > total - run.offset) {
            log.Add(runs.Path(), "entry {} names {} {} from {} on, of which there are {}", i,
                    run.count, target, run.offset, total);
        }
        if (run.offset != next) {
            log.Add(runs.Path(), "entry {} starts at {} {} where the one before ends at {}", i,
                    target, run.offset, next);
        }
        if (HasPadding(run)) {
            log.Add(runs.Path(), "entry {} has reserved bytes in use", i);
            ++harmless;
        }
        next = run.offset + run.count;
        if (i % kCheckBlock == 0 && !log.Advance(kCheckBlock * sizeof(Record))) return false;
    }
    if (next != total) log.Add(runs.Path(), "covers {} of {} {}", next, total, target);
    return log.Total() - before == harmless;
}

template bool CheckRuns(CheckLog&, const RecordFile<GridCellRecord>&, std::uint64_t, const char*);
template bool CheckRuns(CheckLog&, const RecordFile<FineCellRecord>&, std::uint64_t, const char*);
template bool CheckRuns(CheckLog&, const RecordFile<CIndexerSmall>&, std::uint64_t, const char*);

void CheckNesting(CheckLog& log, const RecordFile<GridCellRecord>& cells1000,
                  const RecordFile<GridCellRecord>& cells100) {
    for (std::uint64_t i = 0; i < cells1000.Count(); ++i) {
        const GridCellRecord block = cells1000[i];
        const CellKey parent = KeyOf(block);
        if (i > 0 && KeyOf(cells1000[i - 1]) >= parent) {
            log.Add(cells1000.Path(), "entry {} with cell {} does not come after the one before", i,
                    parent);
        }
        for (std::uint64_t j = block.offset; j < block.offset + block.count; ++j) {
            const CellKey cell = KeyOf(cells100[j]);
            if (ParentOf(cell) != parent) {
                log.Add(cells100.Path(), "entry {} with cell {} lies outside its 1000 cm cell {}",
                        j, cell, parent);
            }
            if (j > block.offset && KeyOf(cells100[j - 1]) >= cell) {
                log.Add(cells100.Path(), "entry {} with cell {} does not come after the one before",
                        j, cell);
            }
        }
    }
}

void CheckFineCells(CheckLog& log, const RecordFile<GridCellRecord>& cells100,
                    const RecordFile<CIndexerSmall>& runs10,
                    const RecordFile<FineCellRecord>& cells10) {
    for (std::uint64_t i = 0; i < cells100.Count(); ++i) {
        const GridCellRecord parent = cells100[i];
        const CIndexerSmall run = runs10[i];
        const std::uint64_t end = run.offset + run.count;
        const FineCellRecord last = cells10[end - 1];
        if (cells10[run.offset].offset != parent.offset ||
            last.offset + last.count != parent.offset + parent.count) {
            log.Add(runs10.Path(),
                    "entry {} names 10 cm cells that hold other points than 100 cm "
                    "cell {}",
                    i, KeyOf(parent));
        }
        for (std::uint64_t j = run.offset; j < end; ++j) {
            const CellKey cell = KeyOf(cells10[j]);
            if (!InsideParent(cell)) {
                log.Add(cells10.Path(), "entry {} has cell {}, which is not within 0..9", j, cell);
            }
            if (j > run.offset && KeyOf(cells10[j - 1]) >= cell) {
                log.Add(cells10.Path(), "entry {} with cell {} does not come after the one before",
                        j, cell);
            }
        }
    }
}

void CheckSameCells(CheckLog& log, const RecordFile<GridCellRecord>& view,
                    const RecordFile<GridCellRecord>& grid) {
    const std::string name = platform::ToUtf8(platform::FileNameOf(grid.Path()));
    if (view.Count() != grid.Count()) {
        log.Add(view.Path(), "holds {} cells where {} holds {}", view.Count(), name, grid.Count());
        return;
    }
    for (std::uint64_t i = 0; i < view.Count(); ++i) {
        const CellKey cell = KeyOf(view[i]);
        if (cell == KeyOf(grid[i])) continue;
        log.Add(view.Path(), "entry {} has cell {} where {} has {}", i, cell, name, KeyOf(grid[i]));
    }
}

}  // namespace orvix::detail
