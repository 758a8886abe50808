// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/wall_elements.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace orvix::building {
namespace {

constexpr double kBeside = 0.12;  // metres from a face to the cells of the room before it
constexpr double kStep = 0.1;
constexpr double kLowest = 0.01;      // metres that a wall under a slope is high
constexpr double kLeastSure = 0.001;  // metres

/// The roof or ceiling over a wall, place by place.
class OverWall {
public:
    // Of a wall with a room on one side what hangs over this side counts: beyond it are eaves.
    OverWall(const WallPiece& piece, const StoreyBand& band, const WallSides& sides)
        : piece_(piece), band_(band) {
        if (sides.right || !sides.left) befores_.push_back(kBeside);
        if (sides.left || !sides.right) befores_.push_back(-piece.run.thickness - kBeside);
    }

    [[nodiscard]] double Highest() const {
        double highest = band_.storey.elevation;
        bool any = false;
        for (double along = piece_.run.begin + kStep / 2; along < piece_.run.end; along += kStep)
            for (const double before : befores_)
                if (const auto z = band_.overhead.HeightAt(piece_.face.At(along, before))) {
                    highest = any ? std::max(highest, *z) : *z;
                    any = true;
                }
        return any ? highest : band_.storey.ceiling;
    }
    // (along from the beginning, height) from the beginning to the end; empty where nothing slopes.
    [[nodiscard]] PlanRing Slopes() const {
        PlanRing top;
        const LevelPlane* last = nullptr;
        bool slopes = false;
        double seen = piece_.run.begin;  // of the last face
        for (double along = piece_.run.begin + kStep / 2; along < piece_.run.end; along += kStep) {
            const LevelPlane* face = FaceAt(along);
            if (face == nullptr) continue;
            slopes = slopes || !face->IsLevel();
            if (last == nullptr)
                top.push_back(On(*face, piece_.run.begin));
            else if (!GoesOn(*last, *face, along))
                Change(*last, *face, seen, along, top);
            if (last == nullptr || !GoesOn(*last, *face, along)) last = face;
            seen = along;
        }
        if (last == nullptr || !slopes) return {};
        top.push_back(On(*last, piece_.run.end));
        return Above(top, band_.storey.elevation + kLowest);
    }

private:
    [[nodiscard]] const LevelPlane* FaceAt(double along) const {
        for (const double before : befores_)
            if (const LevelPlane* face = band_.overhead.FaceAt(piece_.face.At(along, before)))
                return face;
        return nullptr;
    }
    // Pieces of one slope lie within millimetres of each other.
    [[nodiscard]] bool GoesOn(const LevelPlane& a, const LevelPlane& b, double along) const {
        constexpr double kSame = 0.02;
        return &a == &b || std::abs(On(a, along).y - On(b, along).y) < kSame;
    }
    [[nodiscard]] PlanPoint On(const LevelPlane& face, double along) const {
        return {along - piece_.run.begin, face.HeightAt(piece_.Middle(along))};
    }
    // Where two faces cross near the place at which one takes over from the other; else a step.
    void Change(const LevelPlane& a, const LevelPlane& b, double from, double to,
                PlanRing& top) const {
        constexpr double kNear = 0.5;
        const double atFrom = On(a, from).y - On(b, from).y, atTo = On(a, to).y - On(b, to).y;
        const double along = from + atFrom / (atFrom - atTo) * (to - from);
        const bool within = along - piece_.run.begin > top.back().x && along < piece_.run.end;
        if (std::isfinite(along) && within && along > from - kNear && along < to + kNear) {
            top.push_back(On(a, along));
            return;
        }
        top.push_back(On(a, (from + to) / 2));
        top.push_back(On(b, (from + to) / 2));
    }

    // A slope's foot may lie below the floor: the wall's is then a centimetre high.
    static PlanRing Above(const PlanRing& line, double base) {
        PlanRing above;
        for (std::size_t k = 0; k < line.size(); ++k) {
            if (k > 0 && (line[k - 1].y < base) != (line[k].y < base)) {
                const PlanPoint &a = line[k - 1], &b = line[k];
                above.push_back({a.x + (base - a.y) / (b.y - a.y) * (b.x - a.x), base});
            }
            above.push_back({line[k].x, std::max(line[k].y, base)});
        }
        return above;
    }

    const WallPiece& piece_;
    const StoreyBand& band_;
    std::vector<double> befores_;  // metres before the face
};

double SeenTop(const WallPiece& piece, const ScanEvidence& scan) {
    double top = -1e300;
    const auto take = [&](std::size_t line) {
        const FaceRaster& raster = scan.rasters[line];
        const FaceLine& face = scan.faces.lines[line];
        double from = face.Along(piece.face.At(piece.run.begin)),
               to = face.Along(piece.face.At(piece.run.end));
        if (from > to) std::swap(from, to);
        for (std::int64_t row = raster.Rows() - 1; row >= 0; --row) {
            std::int64_t marked = 0;
            for (std::int64_t c = std::max(std::int64_t{0}, raster.ColumnOf(from));
                 c <= std::min(raster.Columns() - 1, raster.ColumnOf(to)); ++c)
                marked += raster.Marked(c, row);
            if (static_cast<double>(marked) * raster.Cell() < 0.25 * (to - from)) continue;
            top = std::max(top, raster.Height(row) + raster.Cell() / 2);
            return;
        }
    };
    take(piece.run.face);
    if (piece.run.other) take(*piece.run.other);
    return top;
}

// The highest mark of both faces near a place along a wall.
double SeenTopAt(const WallPiece& piece, const ScanEvidence& scan, double along) {
    constexpr double kBesidePlace = 0.4;
    double top = -1e300;
    const auto take = [&](std::size_t line) {
        const FaceRaster& raster = scan.rasters[line];
        const std::int64_t middle =
            raster.ColumnOf(scan.faces.lines[line].Along(piece.face.At(along)));
        const auto reach = static_cast<std::int64_t>(kBesidePlace / raster.Cell());
        for (std::int64_t c = middle - reach; c <= middle + reach; ++c)
            for (std::int64_t row = raster.Rows() - 1; row >= 0; --row)
                if (raster.Marked(c, row)) {
                    top = std::max(top, raster.Height(row));
                    break;
                }
    };
    take(piece.run.face);
    if (piece.run.other) take(*piece.run.other);
    return top;
}

/// The lower face of a roof over a wall, from one place along it to another.
struct RoofStretch {
    double from = 0, to = 0;
    const RoofSlope* slope = nullptr;
};

double UndersideAt(const RoofSlope& slope, const PlanPoint& p) {
    const double z = -(slope.normal.x * p.x + slope.normal.y * p.y + slope.offset) / slope.normal.z;
    return slope.upperSeen && slope.thickness ? z - slope.thickness->value / slope.normal.z : z;
}

// Slopes' outlines are convex: a wall's middle crosses each over one stretch.
std::vector<RoofStretch> StretchesOver(const WallPiece& piece,
                                       const std::vector<RoofSlope>& slopes) {
    std::vector<RoofStretch> stretches;
    const PlanPoint start = piece.Middle(piece.run.begin), end = piece.Middle(piece.run.end);
    for (const RoofSlope& slope : slopes) {
        double from = 0, to = 1;
        for (std::size_t k = 0; k < slope.outline.size(); ++k) {
            const auto &a = slope.outline[k],
                       &b = slope.outline[k + 1 == slope.outline.size() ? 0 : k + 1];
            const auto inside = [&](const PlanPoint& p) {
                return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
            };
            const double atStart = inside(start), atEnd = inside(end);
            if (atStart < 0 && atEnd < 0) to = -1;
            if (atStart < 0 && atEnd >= 0) from = std::max(from, atStart / (atStart - atEnd));
            if (atStart >= 0 && atEnd < 0) to = std::min(to, atStart / (atStart - atEnd));
        }
        const double length = piece.Length();
        if ((to - from) * length > kStep) stretches.push_back({from * length, to * length, &slope});
    }
    std::stable_sort(stretches.begin(), stretches.end(),
                     [](const RoofStretch& a, const RoofStretch& b) { return a.from < b.from; });
    return stretches;
}

}  // namespace

WallSides SidesOf(const WallPiece& piece, const RoomCells& cells) {
    WallSides sides;
    const auto room = [&](const PlanPoint& p) {
        return cells.grid.Size() > 0 && cells.grid.Holds(p) &&
               cells.rooms[cells.grid.At(cells.grid.Column(p.x), cells.grid.Row(p.y))] >= 0;
    };
    // The way of a piece has its face's normal on the right.
    for (double along = piece.run.begin + kStep / 2; along < piece.run.end; along += kStep) {
        sides.right = sides.right || room(piece.face.At(along, kBeside));
        sides.left = sides.left || room(piece.face.At(along, -piece.run.thickness - kBeside));
    }
    return sides;
}

Wall WallOf(const WallPiece& piece, const StoreyBand& band, const WallSides& sides, bool highest,
            const PlaneEvidence& planes) {
    Wall wall;
    wall.axis = {piece.Middle(piece.run.begin), piece.Middle(piece.run.end)};
    wall.base = band.storey.elevation;
    wall.external = !(sides.left && sides.right);
    wall.rightSeen = true;
    wall.leftSeen = piece.run.other.has_value();
    const OverWall over(piece, band, sides);
    PlanRing slopes = over.Slopes();
    if (!slopes.empty() && (highest || !wall.external)) {
        wall.profile = {{0, wall.base}, {piece.Length(), wall.base}};
        wall.profile.insert(wall.profile.end(), slopes.rbegin(), slopes.rend());
        wall.top = wall.base;
        for (const PlanPoint& p : slopes) wall.top = std::max(wall.top, p.y);
    } else {
        wall.top = std::min(over.Highest(), band.next);
        if (wall.external)
            wall.top = highest ? std::max(wall.top, SeenTop(piece, planes.Scan())) : band.next;
        wall.profile = {
            {0, wall.base}, {piece.Length(), wall.base}, {piece.Length(), wall.top}, {0, wall.top}};
    }
    std::vector<std::size_t> used = PlanesWithin(planes.Scan(), piece.run.face, piece.run.begin,
                                                 piece.run.end, wall.base, wall.top);
    if (piece.run.other) {
        const FaceLine& other = planes.Scan().faces.lines[*piece.run.other];
        double from = other.Along(piece.face.At(piece.run.begin)),
               to = other.Along(piece.face.At(piece.run.end));
        if (from > to) std::swap(from, to);
        const auto behind =
            PlanesWithin(planes.Scan(), *piece.run.other, from, to, wall.base, wall.top);
        const double a = planes.Scatter(used), b = planes.Scatter(behind);
        const double sure = std::max(kLeastSure, std::sqrt(a * a + b * b));
        wall.thickness =
            Measure{piece.run.thickness, piece.run.thickness - sure, piece.run.thickness + sure};
        used.insert(used.end(), behind.begin(), behind.end());
    }
    for (const std::size_t p : used)
        wall.deviation = std::max(wall.deviation, planes.Scan().departures[p]);
    wall.evidence = planes.Of(std::move(used));
    if (!piece.run.other) wall.evidence.inferred |= kOtherSide;
    if (!piece.bounded[0] || !piece.bounded[1]) wall.evidence.inferred |= kFreeEnd;
    if (piece.face.squared) wall.evidence.inferred |= kSquared;
    return wall;
}

void EndUnderRoof(const WallPiece& piece, const std::vector<RoofSlope>& slopes,
                  const ScanEvidence& scan, Wall& wall) {
    constexpr double kReaches = 0.4;  // metres below a slope
    if (!wall.external || wall.profile.size() != 4) return;
    const std::vector<RoofStretch> stretches = StretchesOver(piece, slopes);
    if (stretches.empty() || stretches.front().from > kStep ||
        stretches.back().to < piece.Length() - kStep)
        return;
    PlanRing top;
    const double flat = wall.top;
    for (const RoofStretch& stretch : stretches) {
        const auto under = [&](double along) {
            return UndersideAt(*stretch.slope, piece.Middle(piece.run.begin + along));
        };
        const double from = std::max(stretch.from, top.empty() ? 0 : top.back().x);
        const double to = std::max(stretch.to, from);
        const double high = under(from) > under(to) ? from : to;
        const bool follows =
            SeenTopAt(piece, scan, piece.run.begin + high) > under(high) - kReaches;
        for (const double along : {from, to})
            top.push_back({along, std::max(wall.base + kLowest,
                                           follows ? under(along) : std::min(flat, under(along)))});
    }
    top.front().x = 0;
    top.back().x = piece.Length();
    wall.profile = {{0, wall.base}, {piece.Length(), wall.base}};
    wall.top = wall.base;
    for (auto p = top.rbegin(); p != top.rend(); ++p) {
        const PlanPoint& last = wall.profile.back();
        if (std::abs(last.x - p->x) > 1e-6 || std::abs(last.y - p->y) > 1e-6)
            wall.profile.push_back(*p);
        wall.top = std::max(wall.top, p->y);
    }
}

void AddSeen(const WallView& view, const std::vector<Opening>& openings, Evidence& evidence) {
    std::size_t all = 0, solid = 0, hidden = 0;
    for (std::int64_t row = 0; row < view.rows; ++row)
        for (std::int64_t column = 0; column < view.columns; ++column) {
            const double along = view.Along(column) - view.begin + view.cell / 2;
            const double z = view.Height(row) + view.cell / 2;
            const bool opens = std::any_of(openings.begin(), openings.end(), [&](const Opening& o) {
                return std::abs(along - o.along) < o.width.value / 2 && z > o.bottom &&
                       z < o.bottom + o.height.value;
            });
            if (opens || view.looks[view.At(column, row)] == WallView::kBeyond) continue;
            ++all;
            solid += view.looks[view.At(column, row)] == WallView::kSolid;
            hidden += view.looks[view.At(column, row)] == WallView::kHidden;
        }
    if (all == 0) return;
    evidence.seen = static_cast<double>(solid) / static_cast<double>(all);
    evidence.hidden = static_cast<double>(hidden) / static_cast<double>(all);
    if (evidence.hidden > 0.02) evidence.inferred |= kHiddenPart;
}

}  // namespace orvix::building
