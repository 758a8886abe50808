// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/rooms/room_cells.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "building/grid_parts.h"
#include "building/plan_length.h"
#include "building/sight/rays.h"

namespace orvix::building {
namespace {

constexpr double kCell = 0.05;
constexpr double kMostCells = 2e7;
constexpr double kMargin = 2;
constexpr double kReach = 20;           // of rays that are asked
constexpr double kRayMargin = 0.06;     // beyond a place, for a ray to have gone through it
constexpr double kHalfUnseen = 0.06;    // behind a face whose wall's other side was not seen
constexpr double kLeastRoom = 1;        // square metres
constexpr double kLeastOpen = 1;        // square metres of an opening in a floor
constexpr double kLargestWell = 8;      // square metres of a stairwell
constexpr double kThickestSlab = 2;     // between a ceiling and the floor above
constexpr double kLargestUnseen = 1.5;  // square metres that a room goes on behind things

PlanGrid GridOver(const std::vector<WallPiece>& walls) {
    PlanPoint low = walls[0].Middle(walls[0].run.begin), high = low;
    for (const WallPiece& wall : walls)
        for (const double along : {wall.run.begin, wall.run.end}) {
            const PlanPoint p = wall.Middle(along);
            low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y)};
        }
    return PlanGrid::Over(low, high, kCell, kMargin, kMostCells);
}

void FillStrip(RoomCells& cells, const PlanPoint& from, const PlanPoint& to, double left,
               double right) {
    const double length = PlanLength(to.x - from.x, to.y - from.y);
    if (!(length > 0)) return;
    const PlanPoint across{-(to.y - from.y) / length, (to.x - from.x) / length};
    const auto at = [&](const PlanPoint& p, double aside) {
        return PlanPoint{p.x + across.x * aside, p.y + across.y * aside};
    };
    const PlanRing ring{at(from, -right), at(to, -right), at(to, left), at(from, left)};
    ForEachInside(cells.grid, std::span(&ring, 1), [&](std::int64_t i, std::int64_t j) {
        cells.kinds[cells.grid.At(i, j)] = RoomCells::kWall;
    });
}

// A wall is drawn a cell and a half wide at least, so that it parts cells beside each other.
void DrawWalls(RoomCells& cells, const std::vector<WallPiece>& walls,
               const std::vector<OpenBound>& bounds) {
    const double least = 0.75 * cells.grid.cell;
    for (const WallPiece& wall : walls) {
        const double half = std::max(wall.run.thickness / 2, least);
        const PlanPoint from = wall.Middle(wall.run.begin - (wall.bounded[0] ? least : 0));
        const PlanPoint to = wall.Middle(wall.run.end + (wall.bounded[1] ? least : 0));
        if (wall.run.other)
            FillStrip(cells, from, to, half, half);
        else
            FillStrip(cells, from, to, wall.face.either ? least : 2 * kHalfUnseen,
                      wall.face.either ? least : 0);
    }
    for (const OpenBound& bound : bounds) {
        const double half = std::max(bound.thickness / 2, least);
        FillStrip(cells, bound.from, bound.to, half, half);
    }
}

class CellReader {
public:
    CellReader(const ScanEvidence& evidence, const StoreyBand& band)
        : evidence_(evidence), band_(band) {}

    void Read(RoomCells& cells, std::int64_t row) const {
        std::vector<const SightImage*> near;
        for (std::int64_t i = 0; i < cells.grid.columns; ++i) {
            if (i % kBlock == 0) near = StationsNear(cells.grid, i, row);
            const std::size_t at = cells.grid.At(i, row);
            if (cells.kinds[at] == RoomCells::kWall) continue;
            const PlanPoint p = cells.grid.Middle(i, row);
            const auto height = band_.overhead.HeightAt(p);
            const double floor = band_.storey.elevation;
            const double top = std::min(height.value_or(band_.storey.ceiling), band_.next);
            const double ceiling = band_.storey.ceiling;
            cells.openAbove[at] =
                band_.next < ceiling + kThickestSlab && ThroughSlab(near, p, ceiling, band_.next);
            cells.openBelow[at] =
                band_.below > floor - kThickestSlab && ThroughSlab(near, p, band_.below, floor);
            bool free = cells.openAbove[at] != 0 ||
                        (evidence_.sights.empty() && band_.overhead.FaceAt(p, 0) != nullptr);
            for (double z = top - 0.15; z > floor + 0.1 && !free; z -= 0.3)
                free = Through(near, p, z);
            if (free) cells.kinds[at] = RoomCells::kFree;
        }
    }

private:
    static constexpr std::int64_t kBlock = 64;  // cells

    [[nodiscard]] static bool ThroughSlab(std::span<const SightImage* const> near,
                                          const PlanPoint& p, double bottom, double top) {
        int through = 0;
        for (const double share : {0.25, 0.5, 0.75})
            through += Through(near, p, bottom + share * (top - bottom));
        return through >= 2;
    }
    [[nodiscard]] static bool Through(std::span<const SightImage* const> near, const PlanPoint& p,
                                      double z) {
        return RaysWentThrough(near, {p.x, p.y, z}, kRayMargin, kReach);
    }
    // Those that some cell of a block of a row may ask.
    [[nodiscard]] std::vector<const SightImage*> StationsNear(const PlanGrid& grid,
                                                              std::int64_t first,
                                                              std::int64_t row) const {
        const PlanPoint low = grid.Middle(first, row), high = grid.Middle(first + kBlock, row);
        std::vector<const SightImage*> near;
        for (const SightImage& sight : evidence_.sights)
            if (std::abs(sight.Station().y - low.y) <= kReach &&
                sight.Station().x >= low.x - kReach && sight.Station().x <= high.x + kReach)
                near.push_back(&sight);
        return near;
    }

    const ScanEvidence& evidence_;
    const StoreyBand& band_;
};

// Each free cell becomes what most of those around it are: single rays are lost, or led astray.
void Smooth(const RoomCells& cells, std::vector<std::uint8_t>& open) {
    constexpr std::int64_t kAround = 2;
    const PlanGrid& grid = cells.grid;
    const std::vector<std::uint8_t> old = open;
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i) {
            if (cells.kinds[grid.At(i, j)] != RoomCells::kFree) continue;
            int all = 0, some = 0;
            for (std::int64_t y = std::max(j - kAround, std::int64_t{0});
                 y <= std::min(j + kAround, grid.rows - 1); ++y)
                for (std::int64_t x = std::max(i - kAround, std::int64_t{0});
                     x <= std::min(i + kAround, grid.columns - 1); ++x) {
                    if (cells.kinds[grid.At(x, y)] != RoomCells::kFree) continue;
                    ++all;
                    some += old[grid.At(x, y)];
                }
            open[grid.At(i, j)] = some * 2 > all;
        }
}

// Takes out specks and what lies outside, and tells wells from galleries.
void TellWells(const RoomCells& cells, std::vector<std::uint8_t>& open) {
    const PlanGrid& grid = cells.grid;
    Smooth(cells, open);
    const Parts parts = PartsOf(grid, open);
    const std::vector<bool> outer = RimParts(grid, parts);
    for (std::size_t at = 0; at < open.size(); ++at) {
        if (open[at] == 0) continue;
        const auto part = static_cast<std::size_t>(parts.part[at]);
        const double area = static_cast<double>(parts.sizes[part]) * grid.cell * grid.cell;
        open[at] = outer[part] || area < kLeastOpen ? RoomCells::kClosed
                   : area <= kLargestWell           ? RoomCells::kWell
                                                    : RoomCells::kGallery;
    }
}

// A part that was not seen and lies between walls and parts of which one has three quarters of its
// rim is of this one: what stands before it hid it.
void TakeUnseen(RoomCells& cells, Parts& parts) {
    const PlanGrid& grid = cells.grid;
    std::vector<std::uint8_t> unseen(grid.Size());
    for (std::size_t at = 0; at < unseen.size(); ++at)
        unseen[at] = cells.kinds[at] == RoomCells::kUnknown;
    const Parts dark = PartsOf(grid, unseen);
    std::vector<std::map<std::int32_t, std::size_t>> rims(dark.sizes.size());
    const std::vector<bool> outer = RimParts(grid, dark);
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i) {
            const std::int32_t own = dark.part[grid.At(i, j)];
            if (own < 0) continue;
            const auto k = static_cast<std::size_t>(own);
            if (outer[k]) continue;
            for (const std::size_t beside :
                 {grid.At(i - 1, j), grid.At(i + 1, j), grid.At(i, j - 1), grid.At(i, j + 1)})
                if (parts.part[beside] >= 0) ++rims[k][parts.part[beside]];
        }
    std::vector<std::int32_t> taker(dark.sizes.size(), -1);
    for (std::size_t k = 0; k < taker.size(); ++k) {
        const double area = static_cast<double>(dark.sizes[k]) * grid.cell * grid.cell;
        if (outer[k] || area > kLargestUnseen || rims[k].empty()) continue;
        std::size_t all = 0, most = 0;
        std::int32_t part = -1;
        for (const auto& [number, length] : rims[k]) {
            all += length;
            if (length > most) most = length, part = number;
        }
        if (most * 4 >= all * 3) taker[k] = part;
    }
    for (std::size_t at = 0; at < unseen.size(); ++at) {
        if (dark.part[at] < 0) continue;
        const std::int32_t part = taker[static_cast<std::size_t>(dark.part[at])];
        if (part < 0) continue;
        parts.part[at] = part;
        ++parts.sizes[static_cast<std::size_t>(part)];
    }
}

bool Covered(const RoomCells& cells, const StoreyBand& band, std::int64_t i, std::int64_t j) {
    return cells.openAbove[cells.grid.At(i, j)] != RoomCells::kClosed ||
           band.overhead.HeightAt(cells.grid.Middle(i, j)).has_value();
}

// Open space that runs on outside, through what is no wall, ends where nothing hangs over it.
void EndOutside(const RoomCells& cells, const Parts& parts, const StoreyBand& band,
                std::vector<std::uint8_t>& inside) {
    const std::vector<bool> rim = RimParts(cells.grid, parts);
    for (std::int64_t j = 0; j < cells.grid.rows; ++j)
        for (std::int64_t i = 0; i < cells.grid.columns; ++i) {
            const std::size_t at = cells.grid.At(i, j);
            if (parts.part[at] < 0 || !rim[static_cast<std::size_t>(parts.part[at])]) continue;
            inside[at] = Covered(cells, band, i, j);
        }
}

/// Of a part, its cells under something, the sides of its rim, and those towards open space.
struct PartRim {
    std::size_t covered = 0;
    std::size_t sides = 0;
    std::size_t open = 0;
};

std::vector<PartRim> RimsOf(const RoomCells& cells, const Parts& parts, const StoreyBand& band) {
    std::vector<PartRim> rims(parts.sizes.size());
    const PlanGrid& grid = cells.grid;
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i) {
            const std::int32_t part = parts.part[grid.At(i, j)];
            if (part < 0) continue;
            PartRim& rim = rims[static_cast<std::size_t>(part)];
            rim.covered += Covered(cells, band, i, j);
            for (const auto& [x, y] : {std::pair{i - 1, j}, std::pair{i + 1, j},
                                       std::pair{i, j - 1}, std::pair{i, j + 1}}) {
                const bool within = x >= 0 && y >= 0 && x < grid.columns && y < grid.rows;
                if (within && parts.part[grid.At(x, y)] == part) continue;
                ++rim.sides;
                rim.open += !within || (parts.part[grid.At(x, y)] < 0 &&
                                        cells.kinds[grid.At(x, y)] == RoomCells::kFree);
            }
        }
    return rims;
}

// Between a well and a wall there is no room for anything else.
void WidenWells(RoomCells& cells) {
    constexpr double kNarrowest = 0.3;  // metres
    const PlanGrid& grid = cells.grid;
    const auto narrow = static_cast<std::int64_t>(kNarrowest / grid.cell + 0.5);
    const auto widen = [&](std::int64_t count, std::int64_t length, const auto& at) {
        for (std::int64_t line = 0; line < count; ++line)
            for (std::int64_t k = 0; k < length;) {
                std::int64_t end = k;
                const auto plain = [&](std::int64_t x) {
                    return cells.openAbove[at(line, x)] != RoomCells::kWell &&
                           cells.kinds[at(line, x)] != RoomCells::kWall;
                };
                while (end < length && plain(end)) ++end;
                const auto is = [&](std::int64_t x, bool well) {
                    if (x < 0 || x >= length) return false;
                    return well ? cells.openAbove[at(line, x)] == RoomCells::kWell
                                : cells.kinds[at(line, x)] == RoomCells::kWall;
                };
                const bool between =
                    (is(k - 1, true) && is(end, false)) || (is(k - 1, false) && is(end, true));
                if (between && end - k <= narrow)
                    for (std::int64_t x = k; x < end; ++x) {
                        cells.openAbove[at(line, x)] = RoomCells::kWell;
                        cells.kinds[at(line, x)] = RoomCells::kFree;
                    }
                k = end + 1;
            }
    };
    widen(grid.rows, grid.columns,
          [&](std::int64_t line, std::int64_t k) { return grid.At(k, line); });
    widen(grid.columns, grid.rows,
          [&](std::int64_t line, std::int64_t k) { return grid.At(line, k); });
}

}  // namespace

void RoomCells::FindBoxes() {
    boxes.assign(count, {grid.columns, grid.rows, 0, 0, 0});
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i) {
            const std::int32_t room = rooms[grid.At(i, j)];
            if (room < 0) continue;
            CellBox& box = boxes[static_cast<std::size_t>(room)];
            box = {std::min(box.left, i), std::min(box.bottom, j), std::max(box.right, i + 1),
                   std::max(box.top, j + 1), box.cells + 1};
        }
}

Expected<RoomCells> FindRoomCells(const std::vector<WallPiece>& walls,
                                  const std::vector<OpenBound>& bounds,
                                  const ScanEvidence& evidence, const StoreyBand& band,
                                  const parallel::Pool& pool) {
    RoomCells cells;
    if (walls.empty()) return cells;
    cells.grid = GridOver(walls);
    cells.kinds.assign(cells.grid.Size(), RoomCells::kUnknown);
    cells.openAbove.assign(cells.grid.Size(), 0);
    cells.openBelow.assign(cells.grid.Size(), 0);
    cells.rooms.assign(cells.grid.Size(), -1);
    DrawWalls(cells, walls, bounds);
    const CellReader reader(evidence, band);
    auto read = pool.RunJobs(static_cast<std::size_t>(cells.grid.rows),
                             [&](std::size_t row, unsigned) -> Expected<void> {
                                 reader.Read(cells, static_cast<std::int64_t>(row));
                                 return {};
                             });
    if (!read) return ErrorOf(read);
    TellWells(cells, cells.openAbove);
    TellWells(cells, cells.openBelow);
    WidenWells(cells);
    std::vector<std::uint8_t> inside(cells.grid.Size());
    for (std::size_t at = 0; at < inside.size(); ++at)
        inside[at] = cells.kinds[at] == RoomCells::kFree && cells.openBelow[at] != RoomCells::kWell;
    const auto same = [&](std::size_t a, std::size_t b) {
        return (cells.openAbove[a] == RoomCells::kWell) == (cells.openAbove[b] == RoomCells::kWell);
    };
    EndOutside(cells, PartsOf(cells.grid, inside, same), band, inside);
    Parts parts = PartsOf(cells.grid, inside, same);
    const std::vector<PartRim> rims = RimsOf(cells, parts, band);
    TakeUnseen(cells, parts);
    std::vector<std::int32_t> number(parts.sizes.size(), -1);
    const double square = cells.grid.cell * cells.grid.cell;
    for (std::size_t k = 0; k < number.size(); ++k) {
        const double area = static_cast<double>(parts.sizes[k]) * square;
        if (area >= kLeastRoom && rims[k].covered * 10 >= parts.sizes[k] * 6 &&
            rims[k].open * 20 <= rims[k].sides * 7)
            number[k] = static_cast<std::int32_t>(cells.count++);
    }
    for (std::size_t at = 0; at < inside.size(); ++at)
        if (parts.part[at] >= 0) cells.rooms[at] = number[static_cast<std::size_t>(parts.part[at])];
    cells.FindBoxes();
    return cells;
}

}  // namespace orvix::building
