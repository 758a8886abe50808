// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/openings/wall_view.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "building/plan_grid.h"
#include "building/sight/rays.h"

namespace orvix::building {
namespace {

constexpr double kMostCells = 4e6;
constexpr double kReach = 25;        // of rays that are asked
constexpr double kFlattest = 0.2;    // sine of the angle between a ray and a face
constexpr double kBefore = 0.06;     // a ray that ends so far before a face did not reach it
constexpr double kBehindFace = 0.1;  // how far behind both faces a ray has gone through the wall

/// A face as its raster and the stations show it.
class FaceLooks {
public:
    /// Of the stretch of a line that lies between two places.
    FaceLooks(std::size_t line, const PlanPoint& a, const PlanPoint& b, const FaceLines& faces,
              const ScanEvidence& evidence)
        : line_(faces.lines[line]), raster_(evidence.rasters[line]) {
        const double from = line_.Along(a), to = line_.Along(b);
        const double first = std::min(from, to), last = std::max(from, to);
        for (const SightImage& sight : evidence.sights) {
            const PlanPoint place{sight.Station().x, sight.Station().y};
            const double before = line_.Before(place), along = line_.Along(place);
            if (before > 0.05 && before <= kReach && along >= first - kReach &&
                along <= last + kReach)
                before_.push_back(&sight);
        }
    }

    [[nodiscard]] WallView::Look At(const PlanPoint& place, double height, double thickness,
                                    bool& through) const {
        const double along = line_.Along(place);
        if (Solid(along, height)) return WallView::kSolid;
        const PlanPoint on = line_.At(along);
        const SimplePointT<double> p{on.x, on.y, height};
        bool hidden = false, open = false;
        for (const SightImage* sight : before_) {
            using detail::Length, detail::operator-;
            const double away = Length(p - sight->Station());
            if (away > kReach) continue;
            const double flat = line_.Before({sight->Station().x, sight->Station().y}) / away;
            if (flat < kFlattest) continue;
            const Sight seen = sight->Towards(p);
            if (!seen.Any()) continue;
            if (seen.farthest < away - kBefore)
                hidden = true;
            else
                open = true;
            if (seen.farthest > away + (thickness + kBehindFace) / flat) through = true;
        }
        return open ? WallView::kOpen : hidden ? WallView::kHidden : WallView::kUnknown;
    }

private:
    // Points lie so close that a hole of two squares is none.
    [[nodiscard]] bool Solid(double along, double height) const {
        const std::int64_t column = raster_.ColumnOf(along), row = raster_.RowOf(height);
        if (raster_.Marked(column, row)) return true;
        return (raster_.Marked(column - 1, row) && raster_.Marked(column + 1, row)) ||
               (raster_.Marked(column, row - 1) && raster_.Marked(column, row + 1)) ||
               (raster_.Marked(column - 1, row - 1) && raster_.Marked(column + 1, row + 1)) ||
               (raster_.Marked(column - 1, row + 1) && raster_.Marked(column + 1, row - 1));
    }

    const FaceLine& line_;
    const FaceRaster& raster_;
    std::vector<const SightImage*> before_;
};

WallView::Look Both(WallView::Look a, WallView::Look b) {
    if (a == WallView::kSolid || b == WallView::kSolid) return WallView::kSolid;
    return std::max(a, b);
}

}  // namespace

WallView ViewOf(const WallPiece& wall, const FaceLines& faces, const ScanEvidence& evidence,
                double bottom, double top) {
    WallView view;
    view.cell = evidence.rasters[wall.run.face].Cell();
    while (wall.Length() * (top - bottom) / (view.cell * view.cell) > kMostCells) view.cell *= 2;
    view.begin = wall.run.begin;
    view.bottom = bottom;
    view.columns = static_cast<std::int64_t>(wall.Length() / view.cell);
    view.rows = static_cast<std::int64_t>((top - bottom) / view.cell);
    view.looks.resize(static_cast<std::size_t>(view.columns * view.rows));
    view.through.resize(view.looks.size());
    const PlanPoint begin = wall.face.At(wall.run.begin), end = wall.face.At(wall.run.end);
    const FaceLooks front(wall.run.face, begin, end, faces, evidence);
    const FaceLooks back(wall.run.other.value_or(wall.run.face), begin, end, faces, evidence);
    for (std::int64_t column = 0; column < view.columns; ++column) {
        const double along = view.Along(column) + view.cell / 2;
        const PlanPoint place = wall.face.At(along);
        for (std::int64_t row = 0; row < view.rows; ++row) {
            const double height = view.Height(row) + view.cell / 2;
            bool through = false;
            WallView::Look look = front.At(place, height, wall.run.thickness, through);
            if (wall.run.other && look != WallView::kSolid)
                look = Both(look, back.At(place, height, wall.run.thickness, through));
            view.looks[view.At(column, row)] = look;
            view.through[view.At(column, row)] = through;
        }
    }
    return view;
}

void CutView(WallView& view, const PlanRing& profile) {
    if (view.looks.empty()) return;
    const PlanGrid grid{{0, view.bottom}, view.cell, view.columns, view.rows};
    std::vector<bool> inside(view.looks.size());
    ForEachInside(grid, std::span(&profile, 1), [&](std::int64_t column, std::int64_t row) {
        inside[view.At(column, row)] = true;
    });
    for (std::size_t at = 0; at < inside.size(); ++at) {
        if (inside[at]) continue;
        view.looks[at] = WallView::kBeyond;
        view.through[at] = 0;
    }
}

}  // namespace orvix::building
