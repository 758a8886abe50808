// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/roofs/find_roofs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "building/plan_grid.h"
#include "building/plan_length.h"
#include "building/rooms/plan_parts.h"

namespace orvix::building {
namespace {

constexpr double kLeastSlope = 2;      // square metres
constexpr double kNarrowest = 0.4;     // metres of plan: what is narrower is the edge of a roof
constexpr double kSameTurn = 0.99939;  // cosine of 2 degrees
constexpr double kSamePlane = 0.03;
constexpr double kThinnest = 0.05;
constexpr double kThickest = 0.8;
constexpr double kOneSide = 0.93;  // share of what was seen of a slope
constexpr double kLeastEdge = 0.3;
constexpr double kLevelEdge = 0.02;  // rise of a ridge per metre
constexpr double kNearEdge = 0.6;    // metres from a slope to the crossing that bounds it

/// Planes that are one slope, seen from one side.
struct Sheet {
    SimplePointT<double> normal;  ///< up
    double offset = 0;
    std::vector<const LevelPlane*> faces;
    double area = 0;  ///< of the plan of what was seen

    [[nodiscard]] double HeightAt(const PlanPoint& p) const {
        return -(normal.x * p.x + normal.y * p.y + offset) / normal.z;
    }
};

PlanPoint MiddleOfRings(const LevelPlane& face) {
    return MiddleOf(face.rings.front());
}

std::vector<Sheet> SheetsOf(const std::vector<LevelPlane>& faces, double above) {
    std::vector<const LevelPlane*> order;
    for (const LevelPlane& face : faces) order.push_back(&face);
    std::stable_sort(order.begin(), order.end(),
                     [](const LevelPlane* a, const LevelPlane* b) { return a->area > b->area; });
    std::vector<Sheet> sheets;
    for (const LevelPlane* face : order) {
        const double up = face->normal.z > 0 ? 1 : -1;
        const SimplePointT<double> normal{face->normal.x * up, face->normal.y * up,
                                          face->normal.z * up};
        const auto same = std::find_if(sheets.begin(), sheets.end(), [&](const Sheet& sheet) {
            const double turn =
                sheet.normal.x * normal.x + sheet.normal.y * normal.y + sheet.normal.z * normal.z;
            const PlanPoint p = MiddleOfRings(*face);
            return turn > kSameTurn &&
                   std::abs(sheet.HeightAt(p) - face->HeightAt(p)) * normal.z < kSamePlane;
        });
        if (same != sheets.end()) {
            same->faces.push_back(face);
            same->area += face->area;
        } else if (face->HeightAt(MiddleOfRings(*face)) > above) {
            sheets.push_back({normal, face->offset * up, {face}, face->area});
        }
    }
    std::erase_if(sheets,
                  [](const Sheet& sheet) { return sheet.area / sheet.normal.z < kLeastSlope; });
    return sheets;
}

/// A slope on the way to an element.
struct Draft {
    Sheet sheet;
    std::vector<const LevelPlane*> lower;  ///< faces of its other side
    bool upperSeen = false;
    PlanRing ring;
    std::optional<double> thickness;
};

PlanRing RectangleAround(const Sheet& sheet) {
    const double steep = PlanLength(sheet.normal.x, sheet.normal.y);
    const PlanPoint down{sheet.normal.x / steep, sheet.normal.y / steep};
    double low = std::numeric_limits<double>::infinity(), high = -low, left = low, right = -low;
    for (const LevelPlane* face : sheet.faces)
        for (const PlanRing& ring : face->rings)
            for (const PlanPoint& p : ring) {
                const double d = p.x * down.x + p.y * down.y, l = -p.x * down.y + p.y * down.x;
                low = std::min(low, d), high = std::max(high, d);
                left = std::min(left, l), right = std::max(right, l);
            }
    const auto at = [&](double d, double l) {
        return PlanPoint{down.x * d - down.y * l, down.y * d + down.x * l};
    };
    return {at(low, left), at(high, left), at(high, right), at(low, right)};
}

double NarrowestSide(const PlanRing& rectangle) {
    const PlanPoint &a = rectangle[0], &b = rectangle[1], &c = rectangle[2];
    return std::min(PlanLength(b.x - a.x, b.y - a.y), PlanLength(c.x - b.x, c.y - b.y));
}

/// The line on which two planes cross, in plan: normal . p = offset.
struct Crossing {
    PlanPoint normal;
    double offset = 0;
};

std::optional<Crossing> CrossingOf(const Sheet& a, const Sheet& b) {
    const PlanPoint slope{b.normal.x / b.normal.z - a.normal.x / a.normal.z,
                          b.normal.y / b.normal.z - a.normal.y / a.normal.z};
    const double steep = PlanLength(slope.x, slope.y);
    if (steep < 0.03) return std::nullopt;
    const double apart = b.offset / b.normal.z - a.offset / a.normal.z;
    return Crossing{{slope.x / steep, slope.y / steep}, -apart / steep};
}

// Of what was seen of a sheet, how much lies behind a crossing.
double ShareBehind(const Sheet& sheet, const Crossing& crossing) {
    double behind = 0, all = 0;
    for (const LevelPlane* face : sheet.faces)
        for (const PlanRing& ring : face->rings) {
            all += AreaOf(ring);
            const PlanRing part = PartBehind(ring, crossing.normal, crossing.offset);
            if (!part.empty()) behind += AreaOf(part);
        }
    return all > 0 ? behind / all : 0;
}

// How far a ring is from a line.
double Away(const PlanRing& ring, const Crossing& crossing) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (const PlanPoint& p : ring) {
        const double d = p.x * crossing.normal.x + p.y * crossing.normal.y - crossing.offset;
        low = std::min(low, d), high = std::max(high, d);
    }
    return low > 0 ? low : high < 0 ? -high : 0;
}

struct Span {
    double begin = std::numeric_limits<double>::infinity();
    double end = -std::numeric_limits<double>::infinity();
};

// Of the sides of a ring that lie on a line, from where to where along it.
Span SpanOn(const PlanRing& ring, const Crossing& crossing) {
    Span span;
    for (const PlanPoint& p : ring) {
        if (std::abs(p.x * crossing.normal.x + p.y * crossing.normal.y - crossing.offset) > 1e-4)
            continue;
        const double along = p.y * crossing.normal.x - p.x * crossing.normal.y;
        span.begin = std::min(span.begin, along);
        span.end = std::max(span.end, along);
    }
    return span;
}

class RoofFinder {
public:
    RoofFinder(const LevelPlanes& levels, double above, const PlaneEvidence& planes)
        : planes_(planes) {
        std::vector<Sheet> lowers = SheetsOf(levels.lowerSlopes, above);
        for (Sheet& upper : SheetsOf(levels.upperSlopes, above)) {
            Draft draft{upper, {}, true, {}, std::nullopt};
            const auto lower = std::find_if(lowers.begin(), lowers.end(), [&](const Sheet& sheet) {
                const auto under = Under(upper, sheet);
                return under && *under >= kThinnest && *under <= kThickest;
            });
            if (lower != lowers.end()) {
                draft.thickness = Under(upper, *lower);
                draft.lower = lower->faces;
                lowers.erase(lower);
            }
            drafts_.push_back(std::move(draft));
        }
        for (Sheet& lower : lowers)
            drafts_.push_back({std::move(lower), {}, false, {}, std::nullopt});
    }

    Roofs Find() {
        std::stable_sort(drafts_.begin(), drafts_.end(), [](const Draft& a, const Draft& b) {
            return a.sheet.area > b.sheet.area;
        });
        for (Draft& draft : drafts_) draft.ring = RectangleAround(draft.sheet);
        std::erase_if(drafts_,
                      [](const Draft& draft) { return NarrowestSide(draft.ring) < kNarrowest; });
        Cut();
        Roofs roofs;
        for (const Draft& draft : drafts_) roofs.slopes.push_back(SlopeOf(draft));
        for (std::size_t a = 0; a < drafts_.size(); ++a)
            for (std::size_t b = a + 1; b < drafts_.size(); ++b)
                if (auto edge = EdgeOf(a, b)) roofs.edges.push_back(*edge);
        return roofs;
    }

private:
    // How far under a sheet another lies, square to it; none where they are not parallel or lie apart.
    static std::optional<double> Under(const Sheet& upper, const Sheet& lower) {
        const double turn = upper.normal.x * lower.normal.x + upper.normal.y * lower.normal.y +
                            upper.normal.z * lower.normal.z;
        if (turn < kSameTurn) return std::nullopt;
        const PlanPoint p = MiddleOfRings(*lower.faces[0]);
        const PlanRing around = RectangleAround(upper);
        const PlanGrid probe = PlanGrid::Over(p, p, 0.1, 0.1, 100);
        bool inside = false;
        ForEachInside(probe, std::span(&around, 1),
                      [&](std::int64_t, std::int64_t) { inside = true; });
        if (!inside) return std::nullopt;
        return (upper.HeightAt(p) - lower.HeightAt(p)) * upper.normal.z;
    }
    void Cut() {
        std::vector<PlanRing> cut(drafts_.size());
        for (std::size_t a = 0; a < drafts_.size(); ++a) {
            cut[a] = drafts_[a].ring;
            for (std::size_t b = 0; b < drafts_.size(); ++b) {
                if (a == b) continue;
                const auto crossing = CrossingOf(drafts_[a].sheet, drafts_[b].sheet);
                if (!crossing || Away(drafts_[a].ring, *crossing) > kNearEdge ||
                    Away(drafts_[b].ring, *crossing) > kNearEdge)
                    continue;
                const double behind = ShareBehind(drafts_[a].sheet, *crossing);
                if (behind < kOneSide && behind > 1 - kOneSide) continue;
                const double side = behind >= kOneSide ? 1 : -1;
                Crossing own{{crossing->normal.x * side, crossing->normal.y * side},
                             crossing->offset * side};
                cut[a] = Reach(cut[a], own);
                PlanRing part = PartBehind(cut[a], own.normal, own.offset);
                if (!part.empty()) cut[a] = std::move(part);
            }
        }
        for (std::size_t a = 0; a < drafts_.size(); ++a) drafts_[a].ring = std::move(cut[a]);
    }
    // Moves corners that end just before a crossing beyond it, so that the cut reaches it.
    static PlanRing Reach(PlanRing ring, const Crossing& crossing) {
        double nearest = -std::numeric_limits<double>::infinity();
        for (const PlanPoint& p : ring)
            nearest = std::max(nearest,
                               p.x * crossing.normal.x + p.y * crossing.normal.y - crossing.offset);
        if (nearest > 0 || nearest < -kNearEdge) return ring;
        for (PlanPoint& p : ring) {
            const double d = p.x * crossing.normal.x + p.y * crossing.normal.y - crossing.offset;
            if (d < nearest - 0.05) continue;
            const double move = 0.01 - d;
            p = {p.x + crossing.normal.x * move, p.y + crossing.normal.y * move};
        }
        return ring;
    }
    [[nodiscard]] RoofSlope SlopeOf(const Draft& draft) const {
        RoofSlope slope;
        slope.normal = draft.sheet.normal;
        slope.offset = draft.sheet.offset;
        slope.upperSeen = draft.upperSeen;
        for (const PlanPoint& p : draft.ring)
            slope.outline.push_back({p.x, p.y, draft.sheet.HeightAt(p)});
        const double plan = AreaOf(draft.ring);
        slope.area = plan / draft.sheet.normal.z;
        std::vector<std::size_t> upper, lower;
        for (const LevelPlane* face : draft.sheet.faces) upper.push_back(face->plane);
        for (const LevelPlane* face : draft.lower) lower.push_back(face->plane);
        if (draft.thickness) {
            const double sure =
                std::max(0.001, PlanLength(planes_.Scatter(upper), planes_.Scatter(lower)));
            slope.thickness =
                Measure{*draft.thickness, *draft.thickness - sure, *draft.thickness + sure};
        }
        upper.insert(upper.end(), lower.begin(), lower.end());
        slope.evidence = planes_.Of(std::move(upper));
        slope.evidence.seen = plan > 0 ? std::min(1.0, draft.sheet.area / plan) : 0;
        if (!draft.thickness) slope.evidence.inferred |= kOtherSide;
        return slope;
    }
    [[nodiscard]] std::optional<RoofEdge> EdgeOf(std::size_t a, std::size_t b) const {
        const Sheet &first = drafts_[a].sheet, &second = drafts_[b].sheet;
        const auto crossing = CrossingOf(first, second);
        if (!crossing) return std::nullopt;
        const Span one = SpanOn(drafts_[a].ring, *crossing),
                   other = SpanOn(drafts_[b].ring, *crossing);
        const double begin = std::max(one.begin, other.begin), end = std::min(one.end, other.end);
        if (!(end - begin >= kLeastEdge)) return std::nullopt;
        RoofEdge edge;
        edge.slopes = {a, b};
        const auto at = [&](double along) {
            const PlanPoint p{crossing->normal.x * crossing->offset - crossing->normal.y * along,
                              crossing->normal.y * crossing->offset + crossing->normal.x * along};
            return SimplePointT<double>{p.x, p.y, first.HeightAt(p)};
        };
        edge.ends = {at(begin), at(end)};
        const PlanPoint middle = MiddleOf(drafts_[a].ring);
        const bool convex = first.HeightAt(middle) < second.HeightAt(middle);
        const double rise = std::abs(edge.ends[1].z - edge.ends[0].z) / (end - begin);
        edge.kind = !convex             ? RoofEdgeKind::Valley
                    : rise < kLevelEdge ? RoofEdgeKind::Ridge
                                        : RoofEdgeKind::Hip;
        return edge;
    }

    const PlaneEvidence& planes_;
    std::vector<Draft> drafts_;
};

}  // namespace

Roofs FindRoofs(const LevelPlanes& levels, double above, const PlaneEvidence& planes) {
    return RoofFinder(levels, above, planes).Find();
}

}  // namespace orvix::building
