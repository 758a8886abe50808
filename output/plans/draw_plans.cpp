// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/draw_plans.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "orvix/geometry/sine_cosine.h"
#include "output/drawing/picture_view.h"
#include "output/plans/opening_symbols.h"
#include "output/plans/plan_dimensions.h"
#include "output/plans/roof_lines.h"
#include "output/plans/room_labels.h"
#include "output/plans/storey_walls.h"
#include "output/plans/turned_building.h"

namespace orvix::output {

namespace {

using building::Building;

constexpr double kTitle = 3.6, kSmall = 1.9;  // millimetres of paper
constexpr double kLargest = 400;

// Of everything that has a place on a plan.
PlanBounds BoundsOf(const Building& building) {
    PlanBounds bounds;
    for (const building::Wall& wall : building.walls)
        for (const PlanPoint& p : wall.axis) bounds.Add(p);
    for (const building::Room& room : building.rooms)
        for (const PlanPoint& p : room.plan.outer) bounds.Add(p);
    for (const building::RoofSlope& slope : building.slopes)
        for (const auto& p : slope.outline) bounds.Add({p.x, p.y});
    return bounds;
}

double ScaleOf(const Building& building, const PlanOptions& options) {
    if (options.scale > 0) return options.scale;
    const PlanBounds bounds = BoundsOf(building);
    if (bounds.Empty()) return 100;
    const double longer = std::max(bounds.Size().x, bounds.Size().y);
    // A room alone would be lost on a sheet at 1:100.
    if (longer < 8) return 50;
    for (const double scale : {100.0, 200.0, 500.0})
        if (longer * 1000 / scale <= kLargest) return scale;
    return 1000;
}

// A height with its sign, as levels are written.
std::string LevelText(double metres) {
    const double shown = std::abs(metres) < 0.005 ? 0 : metres;
    return fmt::format("{:+.2f} m", shown);
}

void DrawScaleBar(const PlanPoint& at, PlanDrawing& drawing) {
    const double length = RoundLength(drawing.Paper(50));
    const double height = drawing.Paper(1.2);
    constexpr int kParts = 5;
    for (int i = 0; i < kParts; ++i) {
        const PlanPoint low = at + PlanPoint{length * i / kParts, 0};
        const PlanRing box{low, low + PlanPoint{length / kParts, 0},
                           low + PlanPoint{length / kParts, height}, low + PlanPoint{0, height}};
        if (i % 2 == 0) drawing.Area(PlanLayer::Text, {box, {}});
        drawing.Path(PlanLayer::Text, box, true);
    }
    for (const double share : {0.0, 1.0}) {
        PlanText text;
        text.at = at + PlanPoint{length * share, height + drawing.Paper(2)};
        text.height = drawing.Paper(kSmall);
        text.text = share == 0 ? "0" : LengthText(length);
        drawing.Text(std::move(text));
    }
}

// An arrow in a circle around `at`.
void DrawNorth(const PlanPoint& at, double north, PlanDrawing& drawing) {
    const auto [sine, cosine] = detail::SineCosineOf(north * std::numbers::pi / 180);
    // Where north is in the project, then on the sheet.
    const PlanPoint up = TurnedBack({sine, cosine}, {drawing.turn.x, -drawing.turn.y});
    const PlanPoint across = LeftOf(up);
    const double radius = drawing.Paper(5.5);
    for (int quarter = 0; quarter < 4; ++quarter) {
        const std::array<PlanPoint, 4> ways{{{1, 0}, {0, 1}, {-1, 0}, {0, -1}}};
        drawing.Arc({PlanLayer::Text, at, at + ways[quarter] * radius, true});
    }
    const PlanPoint tip = at + up * radius;
    const PlanPoint left = at - up * (radius * 0.8) + across * (radius * 0.5);
    const PlanPoint right = at - up * (radius * 0.8) - across * (radius * 0.5);
    const PlanPoint notch = at - up * (radius * 0.4);
    drawing.Area(PlanLayer::Text, {{tip, left, notch}, {}});
    drawing.Path(PlanLayer::Text, {tip, left, notch, right}, true);
    PlanText letter;
    letter.at = at + up * (radius + drawing.Paper(2.4));
    letter.height = drawing.Paper(2.5);
    letter.text = "N";
    drawing.Text(std::move(letter));
}

// Under `lowest`: name, level and scale on the left, scale bar and north on the right.
void DrawTitle(const std::string& name, const std::string& line, double lowest, double north,
               PlanDrawing& drawing) {
    if (drawing.bounds.Empty()) drawing.bounds.Add({0, 0});
    const PlanBounds drawn = drawing.bounds;
    PlanText title;
    title.at = {drawn.low.x, lowest - drawing.Paper(8)};
    title.height = drawing.Paper(kTitle);
    title.text = name;
    title.align = PlanAlign::Left;
    PlanText small = title;
    small.at.y -= drawing.Paper(5.5);
    small.height = drawing.Paper(kSmall);
    small.text = line;
    const double textsEnd = drawn.low.x + std::max(WidthOf(title), WidthOf(small));
    const double bar = RoundLength(drawing.Paper(50));
    const double symbols = bar + drawing.Paper(28);
    const double start = std::max(textsEnd + drawing.Paper(10), drawn.high.x - symbols);
    const double level = small.at.y - drawing.Paper(0.6);
    drawing.Text(std::move(title));
    drawing.Text(std::move(small));
    DrawScaleBar({start, level}, drawing);
    DrawNorth({start + bar + drawing.Paper(20), level + drawing.Paper(3)}, north, drawing);
}

PlanDrawing DrawStorey(const Building& building, std::size_t storey, const PlanOptions& options,
                       PlanDrawing drawing) {
    const building::Storey& level = building.storeys[storey];
    drawing.id = fmt::format("storey-{}", storey + 1);
    drawing.name = level.name;
    const StoreyWalls walls = WallsOf(building, storey, level.elevation + options.cut);
    DrawWalls(building, walls, drawing);
    const bool topmost = storey + 1 == building.storeys.size();
    std::vector<PlanBounds> covered = DrawOpenings(building, walls, drawing);
    if (topmost)
        for (const PlanBounds& box : BoundsOfRoofEdges(building)) covered.push_back(box);
    DrawRooms(building, storey, options.names, covered, drawing);
    if (topmost) DrawRoof(building, drawing);
    DrawDimensions(building, storey, walls, drawing);
    return drawing;
}

std::string LineOf(const Building& building, std::size_t storey, const PlanOptions& options,
                   const PlanDrawing& drawing) {
    std::string line =
        fmt::format("Floor {}, cut {:.2f} m above it, 1:{:.0f}",
                    LevelText(building.storeys[storey].elevation), options.cut, drawing.scale);
    if (drawing.bounds.Empty()) line += "; no wall and no room was found";
    return line;
}

}  // namespace

std::vector<PlanDrawing> DrawPlans(const Building& given, const PlanOptions& options) {
    PlanDrawing blank;
    blank.turn = MainDirection(given);
    const Building building = Turned(given, blank.turn);
    blank.scale = ScaleOf(building, options);
    std::vector<PlanDrawing> plans;
    for (std::size_t storey = 0; storey < building.storeys.size(); ++storey)
        plans.push_back(DrawStorey(building, storey, options, blank));
    PlanBounds all;  // titles stand on one line
    for (const PlanDrawing& plan : plans)
        if (!plan.bounds.Empty()) all.Add(plan.bounds.low);
    const double lowest = all.Empty() ? 0 : all.low.y;
    for (std::size_t storey = 0; storey < plans.size(); ++storey) {
        const std::string line = LineOf(building, storey, options, plans[storey]);
        DrawTitle(building.storeys[storey].name, line, lowest, options.north, plans[storey]);
    }
    if (plans.empty()) {
        blank.id = "building";
        blank.name = "Building";
        DrawRoof(building, blank);
        DrawTitle(building.slopes.empty() ? "No storey was found" : "Roof",
                  fmt::format("1:{:.0f}", blank.scale),
                  blank.bounds.Empty() ? 0 : blank.bounds.low.y, options.north, blank);
        plans.push_back(std::move(blank));
    }
    return plans;
}

}  // namespace orvix::output
