// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "output/drawing/panel.h"
#include "output/sheets/plan_formats.h"

namespace orvix::output {

namespace {

constexpr double kDotsPerMillimetre = 200 / 25.4;
constexpr double kMargin = 10;       // millimetres
constexpr double kThinnest = 0.7;    // dots
constexpr int kArcParts = 12;        // of a quarter; its points come from half angles
constexpr double kSmallestText = 5;  // dots: less cannot be read

class PlanPainter {
public:
    PlanPainter(Canvas& canvas, const PlanDrawing& plan, const PlanBounds& bounds,
                const PixelRect& area)
        : canvas_(canvas), plan_(plan) {
        const PlanPoint size = bounds.Size();
        scale_ = std::min(area.width / size.x, area.height / size.y);
        zero_ = {area.left + (area.width - size.x * scale_) / 2 - bounds.low.x * scale_,
                 area.top + (area.height - size.y * scale_) / 2 + bounds.high.y * scale_};
    }

    void Paint() {
        for (std::size_t i = 0; i < kPlanLayers; ++i) PaintLayer(static_cast<PlanLayer>(i));
    }

private:
    [[nodiscard]] Pixel2 At(const PlanPoint& p) const {
        return {zero_.x + p.x * scale_, zero_.y - p.y * scale_};
    }
    [[nodiscard]] double Dots(double millimetres) const {
        return plan_.Paper(millimetres) * scale_;
    }
    void PaintLayer(PlanLayer layer);
    void PaintArea(const PlanRegion& region, Colour colour);
    void PaintPath(PlanRing points, bool closed, const PlanStyle& style);
    void PaintText(const PlanText& text, Colour colour);

    Canvas& canvas_;
    const PlanDrawing& plan_;
    double scale_ = 1;
    Pixel2 zero_;
};

PlanRing PointsOf(const PlanArc& arc) {
    // Halving the angle between neighbours, from both ends: no sines.
    PlanRing points{arc.from, arc.To()};
    const double radius = Length(arc.from - arc.centre);
    while (points.size() <= kArcParts) {
        PlanRing finer;
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            const PlanPoint middle = points[i] + points[i + 1] - arc.centre * 2;
            finer.push_back(points[i]);
            finer.push_back(arc.centre + middle * (radius / Length(middle)));
        }
        finer.push_back(points.back());
        points = std::move(finer);
    }
    return points;
}

void PlanPainter::PaintLayer(PlanLayer layer) {
    const PlanStyle& style = StyleOf(layer);
    for (const PlanArea& area : plan_.areas)
        if (area.layer == layer) PaintArea(area.region, style.colour);
    for (const PlanPath& path : plan_.paths)
        if (path.layer == layer) PaintPath(path.points, path.closed, style);
    for (const PlanArc& arc : plan_.arcs)
        if (arc.layer == layer && Length(arc.from - arc.centre) > 0)
            PaintPath(PointsOf(arc), false, style);
    for (const PlanText& text : plan_.texts)
        if (text.layer == layer) PaintText(text, kInk);
}

void PlanPainter::PaintArea(const PlanRegion& region, Colour colour) {
    std::vector<std::vector<Pixel2>> rings(1);
    for (const PlanPoint& p : region.outer) rings[0].push_back(At(p));
    for (const PlanRing& hole : region.holes) {
        rings.emplace_back();
        for (const PlanPoint& p : hole) rings.back().push_back(At(p));
    }
    canvas_.FillRings(rings, colour);
}

// Dashes run on around corners.
void PlanPainter::PaintPath(PlanRing points, bool closed, const PlanStyle& style) {
    if (closed) points.push_back(points.front());
    const double width = std::max(Dots(style.width), kThinnest);
    const bool solid = style.dashes[0] <= 0;
    std::size_t dash = 0;
    double left = solid ? 1e300 : Dots(style.dashes[0]);
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const Pixel2 a = At(points[i]), b = At(points[i + 1]);
        const double length = Length({b.x - a.x, b.y - a.y});
        double from = 0;
        while (from < length) {
            const double to = std::min(length, from + left);
            const auto at = [&](double along) {
                return Pixel2{a.x + (b.x - a.x) * along / length,
                              a.y + (b.y - a.y) * along / length};
            };
            if (dash % 2 == 0) canvas_.Line(at(from), at(to), width, style.colour);
            left -= to - from;
            from = to;
            if (left > 1e-6) continue;
            do dash = (dash + 1) % style.dashes.size();
            while (style.dashes[dash] <= 0);
            left = Dots(style.dashes[dash]);
        }
    }
}

void PlanPainter::PaintText(const PlanText& text, Colour colour) {
    const double capitals = text.height * scale_;
    if (capitals < kSmallestText) return;
    const double size = capitals / kCapitalHeight;
    const auto align = static_cast<Align>(text.align);
    const Pixel2 at = At(text.at);
    if (text.upward)
        canvas_.TextUpward({at.x - capitals / 2, at.y}, text.text, size, colour, align);
    else
        canvas_.Text({at.x, at.y - capitals / 2}, text.text, size, colour, align);
}

}  // namespace

void PaintPlan(Canvas& canvas, const PlanDrawing& plan, const PlanBounds& bounds,
               const PixelRect& area) {
    PlanPainter(canvas, plan, bounds, area).Paint();
}

Canvas PaintPlans(const PlanSheet& sheet, double mostDots) {
    const PlanDrawing& first = sheet.plans.front();
    const PlanBounds bounds = sheet.bounds.Widened(first.Paper(kMargin));
    const PlanPoint size = bounds.Size();
    const double wanted = kDotsPerMillimetre * 1000 / first.scale;
    const double scale = std::min(wanted, std::sqrt(mostDots / (size.x * size.y)));
    const int width = static_cast<int>(std::ceil(size.x * scale));
    const int height = static_cast<int>(std::ceil(size.y * scale));
    Canvas canvas(width, height, kPaper);
    for (std::size_t i = 0; i < sheet.plans.size(); ++i) {
        const PlanBounds shown{bounds.low - PlanPoint{sheet.shifts[i], 0},
                               bounds.high - PlanPoint{sheet.shifts[i], 0}};
        PaintPlan(canvas, sheet.plans[i], shown, {0, 0, size.x * scale, size.y * scale});
    }
    return canvas;
}

}  // namespace orvix::output
