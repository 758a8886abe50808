// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/roof_lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "output/plans/room_labels.h"

namespace orvix::output {

namespace {

using building::Building;
using building::RoofSlope;

constexpr double kOnEdge = 0.05;  // metres from an edge's line
constexpr double kLevel = 0.03;   // the sine below which a slope has no downhill
constexpr double kArrow = 12, kHead = 2, kAngle = 1.8;  // millimetres of paper

PlanPoint OnPlan(const SimplePointT<double>& p) {
    return {p.x, p.y};
}

bool LiesOn(const PlanPoint& p, const building::RoofEdge& edge) {
    const PlanPoint from = OnPlan(edge.ends[0]), along = OnPlan(edge.ends[1]) - from;
    const double squared = Dot(along, along);
    if (!(squared > 0)) return false;
    const double t = std::clamp(Dot(p - from, along) / squared, 0.0, 1.0);
    return Length(p - from - along * t) < kOnEdge;
}

void DrawDownhill(const RoofSlope& slope, PlanDrawing& drawing) {
    const PlanPoint down = OnPlan(slope.normal);
    const double sine = Length(down);
    if (sine < kLevel) return;
    const PlanPoint way = down * (1 / sine);
    PlanRegion region;
    for (const auto& p : slope.outline) region.outer.push_back(OnPlan(p));
    if (region.outer.size() < 3 || std::abs(TwiceArea(region.outer)) < 2) return;
    std::vector<PlanBounds> covered;
    for (const PlanText& text : drawing.texts) covered.push_back(BoundsOf(text));
    const PlanPoint at = WidestPlace(region, covered, 1);
    PlanText text;
    text.layer = PlanLayer::Slope;
    text.height = drawing.Paper(kAngle);
    text.text = fmt::format("{:.1f}\u00B0",
                            std::atan2(sine, std::abs(slope.normal.z)) * 180 / std::numbers::pi);
    const double half = drawing.Paper(kArrow / 2), head = drawing.Paper(kHead);
    const PlanPoint tip = at + way * half, across = LeftOf(way);
    text.at = at + (std::abs(way.x) > std::abs(way.y) ? PlanPoint{0, text.height}
                                                      : PlanPoint{WidthOf(text) * 0.75, 0});
    if (!drawing.IsFree(text)) return;
    drawing.Line(PlanLayer::Slope, at - way * half, tip);
    for (const double side : {-0.4, 0.4})
        drawing.Line(PlanLayer::Slope, tip, tip - way * head + across * (side * head));
    drawing.Text(std::move(text));
}

}  // namespace

std::vector<PlanBounds> BoundsOfRoofEdges(const Building& building) {
    constexpr double kPiece = 0.2;
    std::vector<PlanBounds> boxes;
    for (const building::RoofEdge& edge : building.edges) {
        const PlanPoint from = OnPlan(edge.ends[0]), along = OnPlan(edge.ends[1]) - from;
        const double pieces = std::min(std::ceil(Length(along) / kPiece), 1e3);
        for (double i = 0; i < pieces; ++i)
            boxes.push_back(
                BoundsOf(PlanRing{from + along * (i / pieces), from + along * ((i + 1) / pieces)})
                    .Widened(0.05));
    }
    return boxes;
}

void DrawRoof(const Building& building, PlanDrawing& drawing) {
    for (const RoofSlope& slope : building.slopes)
        for (std::size_t i = 0; i < slope.outline.size(); ++i) {
            const PlanPoint a = OnPlan(slope.outline[i]);
            const PlanPoint b = OnPlan(slope.outline[(i + 1) % slope.outline.size()]);
            const bool edge =
                std::any_of(building.edges.begin(), building.edges.end(),
                            [&](const auto& e) { return LiesOn(a, e) && LiesOn(b, e); });
            if (!edge) drawing.Line(PlanLayer::Roof, a, b);
        }
    for (const building::RoofEdge& edge : building.edges)
        drawing.Line(PlanLayer::RoofEdge, OnPlan(edge.ends[0]), OnPlan(edge.ends[1]));
    for (const RoofSlope& slope : building.slopes) DrawDownhill(slope, drawing);
}

}  // namespace orvix::output
