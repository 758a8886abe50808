// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/storeys/find_storeys.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "building/plan_grid.h"

namespace orvix::building {
namespace {

constexpr double kHeadroom = 1.7;
constexpr double kTallest = 15;
constexpr double kApart = 1.8;       // between the floors of two storeys
constexpr double kLeastFloor = 4;    // square metres
constexpr double kLeastShare = 0.1;  // of the largest storey's floor
constexpr double kCell = 0.25;
constexpr double kMostCells = 4e6;

struct Level {
    double height = 0;
    double area = 0;  // under a ceiling or a roof
};

// The height above which half of the area lies.
double MiddleOf(std::vector<Level> levels) {
    std::sort(levels.begin(), levels.end(),
              [](const Level& a, const Level& b) { return a.height < b.height; });
    double total = 0, sum = 0;
    for (const Level& level : levels) total += level.area;
    for (const Level& level : levels) {
        sum += level.area;
        if (sum * 2 >= total) return level.height;
    }
    return 0;
}

double HeightOf(const LevelPlane& face) {
    const PlanRing& ring = face.rings.front();
    double sum = 0;
    for (const PlanPoint& p : ring) sum += face.HeightAt(p);
    return sum / static_cast<double>(ring.size());
}

std::optional<PlanGrid> GridOver(const std::vector<LevelPlane>& faces) {
    std::optional<PlanPoint> low, high;
    for (const LevelPlane& face : faces)
        for (const PlanRing& ring : face.rings)
            for (const PlanPoint& p : ring) {
                if (!low) low = high = p;
                low = PlanPoint{std::min(low->x, p.x), std::min(low->y, p.y)};
                high = PlanPoint{std::max(high->x, p.x), std::max(high->y, p.y)};
            }
    if (!low) return std::nullopt;
    return PlanGrid::Over(*low, *high, kCell, kCell, kMostCells);
}

/// Heights of what hangs over each cell.
class Overhead {
public:
    Overhead(const PlanGrid& grid, const LevelPlanes& levels) : grid_(grid), heights_(grid.Size()) {
        for (const auto* list : {&levels.ceilings, &levels.lowerSlopes})
            for (const LevelPlane& face : *list)
                ForEachInside(grid, face.rings, [&](std::int64_t i, std::int64_t j) {
                    if (!grid_.Holds(grid_.Middle(i, j))) return;
                    heights_[grid_.At(i, j)].push_back(
                        static_cast<float>(face.HeightAt(grid_.Middle(i, j))));
                });
    }
    [[nodiscard]] double CoveredArea(const LevelPlane& floor) const {
        std::size_t covered = 0;
        ForEachInside(grid_, floor.rings, [&](std::int64_t i, std::int64_t j) {
            const double height = floor.HeightAt(grid_.Middle(i, j));
            const auto& above = heights_[grid_.At(i, j)];
            covered += std::any_of(above.begin(), above.end(), [&](float z) {
                return z > height + kHeadroom && z < height + kTallest;
            });
        });
        return static_cast<double>(covered) * grid_.cell * grid_.cell;
    }

private:
    const PlanGrid& grid_;
    std::vector<std::vector<float>> heights_;
};

std::vector<Level> CoveredLevels(const LevelPlanes& levels) {
    std::vector<Level> found;
    const auto grid = GridOver(levels.floors);
    if (!grid) return found;
    const Overhead overhead(*grid, levels);
    for (const LevelPlane& floor : levels.floors)
        if (const double area = overhead.CoveredArea(floor); area > 0)
            found.push_back({HeightOf(floor), area});
    std::stable_sort(found.begin(), found.end(),
                     [](const Level& a, const Level& b) { return a.area > b.area; });
    return found;
}

// Floors of about one height first: a storey's floor is many pieces, one for each room.
std::vector<double> FloorsOf(const std::vector<Level>& covered) {
    constexpr double kOneFloor = 0.3;
    std::vector<Level> bands;
    for (const Level& level : covered) {
        std::vector<Level> band;
        for (const Level& other : covered)
            if (std::abs(other.height - level.height) <= kOneFloor) band.push_back(other);
        double area = 0;
        for (const Level& other : band) area += other.area;
        bands.push_back({MiddleOf(band), area});
    }
    std::stable_sort(bands.begin(), bands.end(),
                     [](const Level& a, const Level& b) { return a.area > b.area; });
    std::vector<double> floors;
    for (const Level& band : bands) {
        if (band.area < std::max(kLeastFloor, kLeastShare * bands[0].area)) break;
        if (std::none_of(floors.begin(), floors.end(),
                         [&](double z) { return std::abs(z - band.height) < kApart; }))
            floors.push_back(band.height);
    }
    std::sort(floors.begin(), floors.end());
    return floors;
}

double TopOf(const std::vector<detection::FoundPlane>& planes) {
    double top = 0;
    bool any = false;
    for (const detection::FoundPlane& plane : planes)
        for (const PlaneRegion& region : plane.outline.regions)
            for (const SimplePoint2DT<double>& corner : region.outer.points) {
                const double z = detection::CornerOf(plane, corner).z;
                top = any ? std::max(top, z) : z;
                any = true;
            }
    return top;
}

// Under a roof the heads of its windows are no ceilings: those make a tenth of what hangs there.
std::optional<double> CeilingOver(double floor, double below, const LevelPlanes& levels) {
    std::vector<Level> ceilings;
    double level = 0, sloping = 0;
    for (const LevelPlane& face : levels.ceilings)
        if (const double z = HeightOf(face); z > floor + kHeadroom && z < below) {
            ceilings.push_back({z, face.area});
            level += face.area;
        }
    std::optional<double> top;
    for (const LevelPlane& face : levels.lowerSlopes)
        for (const PlanRing& ring : face.rings) {
            bool over = false;
            for (const PlanPoint& p : ring)
                if (const double z = face.HeightAt(p); z > floor + kHeadroom && z < below) {
                    top = std::max(top.value_or(z), z);
                    over = true;
                }
            if (over) sloping += std::abs(AreaOf(ring));
        }
    if (!ceilings.empty() && level >= kLeastShare * (level + sloping))
        return MiddleOf(std::move(ceilings));
    return top;
}

}  // namespace

std::vector<Storey> FindStoreys(const LevelPlanes& levels,
                                const std::vector<detection::FoundPlane>& planes,
                                std::vector<std::string>& remarks) {
    std::vector<double> floors = FloorsOf(CoveredLevels(levels));
    if (floors.empty() && !levels.floors.empty()) {
        const auto largest = std::max_element(
            levels.floors.begin(), levels.floors.end(),
            [](const LevelPlane& a, const LevelPlane& b) { return a.area < b.area; });
        if (largest->area >= kLeastFloor) {
            floors.push_back(HeightOf(*largest));
            remarks.emplace_back(
                "No ceiling or roof was seen above a floor; heights are those of the highest "
                "planes.");
        }
    }
    std::vector<Storey> storeys;
    for (std::size_t i = 0; i < floors.size(); ++i) {
        const double next = i + 1 < floors.size() ? floors[i + 1] : floors[i] + kTallest;
        const double ceiling = CeilingOver(floors[i], next, levels)
                                   .value_or(std::min(next, std::max(TopOf(planes), floors[i])));
        storeys.push_back({fmt::format("Storey {}", i + 1), floors[i], ceiling});
    }
    return storeys;
}

}  // namespace orvix::building
