// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/plan_drawing.h"

#include <algorithm>

#include "output/drawing/canvas.h"

namespace orvix::output {

namespace {

constexpr Colour kBlack{24, 28, 34};
constexpr Colour kGrey{110, 118, 128};
constexpr Colour kPale{150, 157, 166};

constexpr std::array<PlanStyle, kPlanLayers> kStyles{{
    {"room", "A-AREA-FLOR", 9, 0, {250, 248, 242}, {}},
    {"below", "A-WALL-LOW", 8, 0.18, kGrey, {}},
    {"hatch", "A-WALL-PATT", 8, 0.09, kGrey, {}},
    {"opening", "A-WALL-OPEN", 8, 0.13, kGrey, {}},
    {"glass", "A-GLAZ", 4, 0.18, {38, 96, 150}, {}},
    {"door", "A-DOOR", 3, 0.25, kBlack, {}},
    {"swing", "A-DOOR", 3, 0.13, kGrey, {}},
    {"swing-guess", "A-DOOR-SWNG", 3, 0.13, kPale, {0.9, 0.6}},
    {"above", "A-WALL-HEAD", 8, 0.13, kGrey, {1.4, 0.8}},
    {"bound", "A-AREA-BNDY", 9, 0.13, kPale, {2.4, 1.2}},
    {"far-side", "A-WALL-FARS", 8, 0.18, kGrey, {0.25, 0.75}},
    {"face", "A-WALL-FACE", 2, 0.35, kBlack, {}},
    {"wall", "A-WALL", 7, 0.5, kBlack, {}},
    {"roof", "A-ROOF", 1, 0.18, {176, 84, 56}, {2.0, 1.0}},
    {"roof-edge", "A-ROOF-EDGE", 1, 0.25, {176, 84, 56}, {4.0, 1.0, 0.5, 1.0}},
    {"slope", "A-ROOF-IDEN", 1, 0.18, {176, 84, 56}, {}},
    {"dimension", "A-DIMS", 6, 0.13, {64, 72, 84}, {}},
    {"room-text", "A-AREA-IDEN", 7, 0, kBlack, {}},
    {"text", "A-ANNO", 7, 0.18, kBlack, {}},
}};

}  // namespace

const PlanStyle& StyleOf(PlanLayer layer) {
    return kStyles[static_cast<std::size_t>(layer)];
}

double WidthOf(const PlanText& text) {
    return TextWidth(text.text, text.height / kCapitalHeight);
}

PlanBounds BoundsOf(const PlanRing& ring) {
    PlanBounds bounds;
    for (const PlanPoint& p : ring) bounds.Add(p);
    return bounds;
}

PlanBounds BoundsOf(const PlanText& text) {
    const double width = WidthOf(text);
    const double start = text.align == PlanAlign::Left     ? 0
                         : text.align == PlanAlign::Centre ? -width / 2
                                                           : -width;
    PlanBounds bounds;
    for (const double along : {start, start + width})
        for (const double up : {-text.height / 2, text.height / 2})
            bounds.Add(text.at + (text.upward ? PlanPoint{-up, along} : PlanPoint{along, up}));
    return bounds.Widened(text.height / 4);
}

void PlanBounds::Add(const PlanPoint& p) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
}

bool PlanBounds::Meets(const PlanBounds& other) const {
    return low.x < other.high.x && other.low.x < high.x && low.y < other.high.y &&
           other.low.y < high.y;
}

PlanBounds PlanBounds::Widened(double metres) const {
    return {{low.x - metres, low.y - metres}, {high.x + metres, high.y + metres}};
}

void PlanDrawing::Line(PlanLayer layer, const PlanPoint& from, const PlanPoint& to) {
    Path(layer, {from, to}, false);
}

void PlanDrawing::Path(PlanLayer layer, PlanRing points, bool closed) {
    for (const PlanPoint& p : points) bounds.Add(p);
    paths.push_back({layer, std::move(points), closed});
}

void PlanDrawing::Arc(const PlanArc& arc) {
    // A quarter's corner holds it.
    for (const PlanPoint& p : {arc.centre, arc.from, arc.To()}) bounds.Add(p);
    bounds.Add(arc.from + arc.To() - arc.centre);
    arcs.push_back(arc);
}

void PlanDrawing::Area(PlanLayer layer, PlanRegion region) {
    for (const PlanPoint& p : region.outer) bounds.Add(p);
    areas.push_back({layer, std::move(region)});
}

void PlanDrawing::Text(PlanText text) {
    const PlanBounds covered = BoundsOf(text);
    bounds.Add(covered.low);
    bounds.Add(covered.high);
    texts.push_back(std::move(text));
}

bool PlanDrawing::IsFree(const PlanText& text) const {
    const PlanBounds covered = BoundsOf(text);
    return std::none_of(texts.begin(), texts.end(), [&covered](const PlanText& other) {
        return BoundsOf(other).Meets(covered);
    });
}

}  // namespace orvix::output
