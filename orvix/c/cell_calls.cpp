// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <compare>
#include <cstddef>
#include <limits>
#include <optional>

#include "orvix/c/project_handle.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

static_assert(sizeof(orvix_grid_cell) == sizeof(GridCellRecord));
static_assert(offsetof(orvix_grid_cell, offset) == offsetof(GridCellRecord, offset));
static_assert(offsetof(orvix_grid_cell, count) == offsetof(GridCellRecord, count));
static_assert(sizeof(orvix_fine_cell) == sizeof(FineCellRecord));
static_assert(offsetof(orvix_fine_cell, z) == offsetof(FineCellRecord, z));
static_assert(offsetof(orvix_fine_cell, offset) == offsetof(FineCellRecord, offset));
static_assert(offsetof(orvix_fine_cell, count) == offsetof(FineCellRecord, count));
static_assert(sizeof(orvix_run) == sizeof(CIndexerSmall));
static_assert(offsetof(orvix_run, count) == offsetof(CIndexerSmall, count));

constexpr std::uint64_t kNone = ~std::uint64_t{0};

using Position = std::array<std::int64_t, 3>;

/// The records of an open project's indexes.
struct Grid {
    explicit Grid(const orvix_project& project)
        : cells1000(RecordsOf<GridCellRecord>(project.index1000)),
          cells100(RecordsOf<GridCellRecord>(project.index100)),
          cells10(RecordsOf<FineCellRecord>(project.index10)),
          runs10(RecordsOf<CIndexerSmall>(project.runs10)),
          points(project.summary.points) {}

    std::span<const GridCellRecord> cells1000;
    std::span<const GridCellRecord> cells100;
    std::span<const FineCellRecord> cells10;
    std::span<const CIndexerSmall> runs10;  ///< of each 100 cm cell; empty without the fine level
    std::uint64_t points;
};

Answer RequireLevel(std::int32_t level) {
    if (level == ORVIX_LEVEL_1000CM || level == ORVIX_LEVEL_100CM || level == ORVIX_LEVEL_10CM) {
        return {};
    }
    return Refuse(ORVIX_BAD_ARGUMENT,
                  fmt::format("there is no level of {} cm; there are 1000, 100 and 10", level));
}

/// A run that a record names lies inside what it counts.
Answer RequireRun(std::uint64_t offset, std::uint64_t count, std::uint64_t total,
                  std::int32_t level, std::uint64_t entry) {
    if (offset <= total && count <= total - offset) return {};
    return Refuse(
        ORVIX_DAMAGED,
        fmt::format("cell {} of {} cm names records {} to {}, but there are only {}; check "
                    "the project or import it again",
                    entry, level, offset, offset + count, total));
}

/// Place and corners of a cell; x, y and z count cells of the level.
Answer Place(orvix_cell& cell, std::int32_t level, const Position& at) {
    using Limits = std::numeric_limits<std::int32_t>;
    for (const std::int64_t c : at) {
        if (c >= Limits::min() && c < Limits::max()) continue;
        return Refuse(ORVIX_DAMAGED, fmt::format("a cell of {} cm lies at {}; check the project or "
                                                 "import it again",
                                                 level, c));
    }
    cell.level = level;
    cell.x = static_cast<std::int32_t>(at[0]);
    cell.y = static_cast<std::int32_t>(at[1]);
    cell.z = static_cast<std::int32_t>(at[2]);
    // Tenths are counted from the whole metre below, as the grid itself counts them.
    const auto corner = [level](std::int64_t c) {
        if (level != ORVIX_LEVEL_10CM) return static_cast<double>(c) * (level / 100);
        const std::int64_t tenth = ((c % 10) + 10) % 10;
        return static_cast<double>((c - tenth) / 10) + 0.1 * static_cast<double>(tenth);
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        cell.min[axis] = corner(at[axis]);
        cell.max[axis] = corner(at[axis] + 1);
    }
    return {};
}

Answer Describe1000(const Grid& grid, std::uint64_t entry, orvix_cell& cell) {
    const GridCellRecord& record = grid.cells1000[entry];
    if (auto placed = Place(cell, 1000, {record.x, record.y, record.z}); !placed) return placed;
    if (auto inside = RequireRun(record.offset, record.count, grid.cells100.size(), 1000, entry);
        !inside) {
        return inside;
    }
    cell.first_child = record.offset;
    cell.children = record.count;
    if (record.count == 0) return {};
    const auto children = grid.cells100.subspan(record.offset, record.count);
    const GridCellRecord& last = children.back();
    cell.first_point = children.front().offset;
    // Both are below 2^64 by their own checks; a last run before the first one has no points.
    if (auto inside = RequireRun(last.offset, last.count, grid.points, 1000, entry); !inside) {
        return inside;
    }
    const std::uint64_t end = last.offset + last.count;
    if (cell.first_point > end) return RequireRun(cell.first_point, 0, end, 1000, entry);
    cell.points = end - cell.first_point;
    return {};
}

Answer Describe100(const Grid& grid, std::uint64_t entry, orvix_cell& cell) {
    const GridCellRecord& record = grid.cells100[entry];
    if (auto placed = Place(cell, 100, {record.x, record.y, record.z}); !placed) return placed;
    if (auto inside = RequireRun(record.offset, record.count, grid.points, 100, entry); !inside) {
        return inside;
    }
    cell.first_point = record.offset;
    cell.points = record.count;
    if (grid.runs10.empty()) return {};
    const CIndexerSmall& run = grid.runs10[entry];
    cell.first_child = run.offset;
    cell.children = run.count;
    return RequireRun(run.offset, run.count, grid.cells10.size(), 100, entry);
}

/// The 100 cm cell whose run of 10 cm cells holds an entry.
std::optional<std::uint64_t> ParentOf10(const Grid& grid, std::uint64_t entry) {
    const auto after =
        std::upper_bound(grid.runs10.begin(), grid.runs10.end(), entry,
                         [](std::uint64_t e, const CIndexerSmall& run) { return e < run.offset; });
    if (after == grid.runs10.begin()) return std::nullopt;
    const auto parent = static_cast<std::uint64_t>(after - grid.runs10.begin()) - 1;
    const CIndexerSmall& run = grid.runs10[parent];
    if (parent >= grid.cells100.size() || entry - run.offset >= run.count) return std::nullopt;
    return parent;
}

Answer Describe10(const Grid& grid, std::uint64_t entry, orvix_cell& cell) {
    const auto parent = ParentOf10(grid, entry);
    if (!parent) {
        return Refuse(ORVIX_DAMAGED, fmt::format("no cell of 100 cm holds cell {} of 10 cm; check "
                                                 "the project or import it again",
                                                 entry));
    }
    const GridCellRecord& around = grid.cells100[*parent];
    const FineCellRecord& record = grid.cells10[entry];
    const auto tenth = [](std::int64_t metre, std::int8_t within) { return metre * 10 + within; };
    if (auto placed = Place(
            cell, 10,
            {tenth(around.x, record.x), tenth(around.y, record.y), tenth(around.z, record.z)});
        !placed) {
        return placed;
    }
    cell.first_point = record.offset;
    cell.points = record.count;
    return RequireRun(record.offset, record.count, grid.points, 10, entry);
}

std::uint64_t EntriesOf(const Grid& grid, std::int32_t level) {
    if (level == ORVIX_LEVEL_1000CM) return grid.cells1000.size();
    return level == ORVIX_LEVEL_100CM ? grid.cells100.size() : grid.cells10.size();
}

Answer Describe(const Grid& grid, std::int32_t level, std::uint64_t entry, orvix_cell& cell) {
    cell.entry = entry;
    if (level == ORVIX_LEVEL_1000CM) return Describe1000(grid, entry, cell);
    return level == ORVIX_LEVEL_100CM ? Describe100(grid, entry, cell)
                                      : Describe10(grid, entry, cell);
}

/// The entry of a position in a stretch of cells that ascend, or kNone.
template <class Record>
std::uint64_t Find(std::span<const Record> cells, std::uint64_t first, std::uint64_t count,
                   const Position& at) {
    if (first > cells.size() || count > cells.size() - first) return kNone;
    const auto stretch = cells.subspan(first, count);
    const auto key = [](const Record& r) { return Position{r.x, r.y, r.z}; };
    const auto found = std::lower_bound(
        stretch.begin(), stretch.end(), at,
        [&](const Record& record, const Position& wanted) { return key(record) < wanted; });
    if (found == stretch.end() || key(*found) != at) return kNone;
    return first + static_cast<std::uint64_t>(found - stretch.begin());
}

/// The cells of each level that a local position lies in, along the three axes.
struct Places {
    Position at1000{};
    Position at100{};
    Position within100{};
};

std::optional<Places> PlacesOf(const SimplePointT<double>& local) {
    Places places;
    const std::array<double, 3> metres{local.x, local.y, local.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // Written so that not-a-number is outside as well.
        if (!(std::abs(metres[axis]) < 2147483000.0)) return std::nullopt;
        const double whole = std::floor(metres[axis]);
        const auto cell = static_cast<std::int64_t>(whole);
        places.at100[axis] = cell;
        places.at1000[axis] = (cell - ((cell % 10) + 10) % 10) / 10;
        places.within100[axis] =
            std::min<std::int64_t>(static_cast<std::int64_t>((metres[axis] - whole) * 10.0), 9);
    }
    return places;
}

std::uint64_t EntryAt(const Grid& grid, std::int32_t level, const Places& places) {
    const std::uint64_t entry1000 = Find(grid.cells1000, 0, grid.cells1000.size(), places.at1000);
    if (level == ORVIX_LEVEL_1000CM || entry1000 == kNone) return entry1000;
    const GridCellRecord& coarse = grid.cells1000[entry1000];
    const std::uint64_t entry100 = Find(grid.cells100, coarse.offset, coarse.count, places.at100);
    if (level == ORVIX_LEVEL_100CM || entry100 == kNone || grid.runs10.empty()) {
        return level == ORVIX_LEVEL_100CM ? entry100 : kNone;
    }
    const CIndexerSmall& run = grid.runs10[entry100];
    return Find(grid.cells10, run.offset, run.count, places.within100);
}

Position PositionOf(std::int32_t level, const Places& places) {
    if (level == ORVIX_LEVEL_1000CM) return places.at1000;
    Position at = places.at100;
    if (level == ORVIX_LEVEL_100CM) return at;
    for (std::size_t axis = 0; axis < 3; ++axis) at[axis] = at[axis] * 10 + places.within100[axis];
    return at;
}

}  // namespace

orvix_status orvix_cells_borrow(const orvix_project* project, int32_t level, const void** records,
                                uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(records, "records"); !there) return there;
        if (auto there = RequirePointer(count, "count"); !there) return there;
        if (auto sound = RequireLevel(level); !sound) return sound;
        const platform::MappedFile& file = level == ORVIX_LEVEL_1000CM  ? project->index1000
                                           : level == ORVIX_LEVEL_100CM ? project->index100
                                                                        : project->index10;
        *records = file.Data();
        *count = EntriesOf(Grid(*project), level);
        return {};
    });
}

orvix_status orvix_fine_runs_borrow(const orvix_project* project, const orvix_run** runs,
                                    uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(runs, "runs"); !there) return there;
        if (auto there = RequirePointer(count, "count"); !there) return there;
        *runs = reinterpret_cast<const orvix_run*>(project->runs10.Data());
        *count = Grid(*project).runs10.size();
        return {};
    });
}

orvix_status orvix_cell_get(const orvix_project* project, int32_t level, uint64_t entry,
                            orvix_cell* cell, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto sound = RequireLevel(level); !sound) return sound;
        const Grid grid(*project);
        if (auto inside = RequireRange(entry, 1, EntriesOf(grid, level), "cells"); !inside) {
            return inside;
        }
        orvix_cell described{};
        if (auto done = Describe(grid, level, entry, described); !done) return done;
        return Give(described, cell, "cell");
    });
}

orvix_status orvix_cell_at(const orvix_project* project, int32_t level, const double* world,
                           orvix_cell* cell, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(world, "world"); !there) return there;
        if (auto sound = RequireLevel(level); !sound) return sound;
        const auto places =
            PlacesOf(project->summary.frame.ToLocal({world[0], world[1], world[2]}));
        if (!places) {
            return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("no cell has a place for {}, {}, {}",
                                                          world[0], world[1], world[2]));
        }
        const Grid grid(*project);
        const std::uint64_t entry = EntryAt(grid, level, *places);
        orvix_cell described{};
        described.entry = kNone;
        auto done = entry == kNone ? Place(described, level, PositionOf(level, *places))
                                   : Describe(grid, level, entry, described);
        return done ? Give(described, cell, "cell") : done;
    });
}
