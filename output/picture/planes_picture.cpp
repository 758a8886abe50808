// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/planes_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "output/drawing/panel.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Vector;

constexpr int kWidth = 1880;
constexpr int kHeight = 1650;
constexpr PixelRect kPlanPanel{24, 128, 904, 700};
constexpr PixelRect kObliquePanel{952, 128, 904, 700};
constexpr PixelRect kSouthPanel{24, 908, 904, 690};
constexpr PixelRect kEastPanel{952, 908, 904, 690};

constexpr Colour kLoose{186, 190, 196};

class PlanesDrawing {
public:
    explicit PlanesDrawing(const PlanesPicture& picture)
        : picture_(picture), canvas_(kWidth, kHeight, kPaper) {}

    Canvas Draw() {
        canvas_.Text({24, 22}, picture_.title, kTitleSize, kInk);
        canvas_.Text({24, 66}, picture_.subtitle, kTextSize, kSoftInk);
        const bool cut = std::any_of(picture_.points.begin(), picture_.points.end(),
                                     [](const auto& p) { return p.ceiling; });
        DrawPanel(PictureView::Plan(), kPlanPanel, cut ? "In plan, without ceilings" : "In plan",
                  true);
        DrawPanel(PictureView::Facing({-0.48, -0.64, 0.6}), kObliquePanel,
                  "From the south-west, above", true);
        DrawPanel(PictureView::Facing({0, -1, 0}), kSouthPanel, "From the south", false);
        DrawPanel(PictureView::Facing({1, 0, 0}), kEastPanel, "From the east", false);
        return std::move(canvas_);
    }

private:
    void DrawPanel(PictureView view, const PixelRect& panel, const std::string& name,
                   bool fromAbove);
    [[nodiscard]] ViewBounds CoreBounds(const PictureView& view) const;
    void DrawAxes(const PictureView& view, const PixelRect& panel);

    const PlanesPicture& picture_;
    Canvas canvas_;
};

// Without the outermost two hundredths of a percent on each side: stray points would shrink the
// rest.
ViewBounds PlanesDrawing::CoreBounds(const PictureView& view) const {
    std::vector<double> xs, ys;
    for (const auto& p : picture_.points) {
        if (p.plane == 0 && &p != &picture_.points.front()) continue;
        xs.push_back(view.X(detail::Widened(p.position)));
        ys.push_back(view.Y(detail::Widened(p.position)));
    }
    if (xs.empty()) return {0, 1, 0, 1};
    return MiddleOf(std::move(xs), std::move(ys), 0.0002, 0.9998);
}

void PlanesDrawing::DrawPanel(PictureView view, const PixelRect& panel, const std::string& name,
                              bool fromAbove) {
    view.Fit(CoreBounds(view).Widened(0.04, 0.5), panel);
    BeginPanel(canvas_, view, panel, name);
    const double radius = std::clamp(0.75 * picture_.spacing * view.PixelsPerMetre(), 0.6, 4.5);
    SplatLayer layer(panel);
    for (const auto& p : picture_.points) {
        const Vector at = detail::Widened(p.position);
        if (fromAbove && p.ceiling) continue;
        const bool loose = p.plane == 0;
        layer.Add(view.Place(at), view.Depth(at), loose ? kLoose : PlaneColour(p.plane),
                  loose ? 0.6 * radius : radius);
    }
    const ViewBounds shown = view.Shown();
    layer.Shade(std::max(picture_.spacing * 4, std::max(shown.Width(), shown.Height()) / 60));
    layer.DrawOnto(canvas_);
    FinishPanel(canvas_, view, panel);
    DrawAxes(view, panel);
}

void PlanesDrawing::DrawAxes(const PictureView& view, const PixelRect& panel) {
    const Pixel2 at{panel.left + 26, panel.top + panel.height - 26};
    const std::array<std::pair<Vector, const char*>, 3> axes{
        {{{1, 0, 0}, "x"}, {{0, 1, 0}, "N"}, {{0, 0, 1}, "z"}}};
    for (const auto& [axis, letter] : axes) {
        const double dx = 54 * view.X(axis), dy = -54 * view.Y(axis);
        const double length = std::hypot(dx, dy);
        if (length < 6) continue;
        const Pixel2 tip{at.x + dx, at.y + dy};
        const Pixel2 back{dx / length * 9, dy / length * 9};
        for (const double width : {6.0, 2.2}) {
            const Colour colour = width > 3 ? kPaper : kInk;
            canvas_.Line(at, tip, width, colour);
            for (const double side : {-0.65, 0.65})
                canvas_.Line(tip, {tip.x - back.x + side * back.y, tip.y - back.y - side * back.x},
                             width, colour);
        }
        const Pixel2 where{tip.x + back.x * 1.3 - 5, tip.y + back.y * 1.3 - 7};
        canvas_.FillRect({where.x - 3, where.y - 2, TextWidth(letter, kTextSize) + 5, 19}, kPaper);
        canvas_.Text(where, letter, kTextSize, kInk);
    }
}

}  // namespace

Canvas DrawPlanes(const PlanesPicture& picture) {
    return PlanesDrawing(picture).Draw();
}

}  // namespace orvix::output
