// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/planes_picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "output/picture/picture_view.h"
#include "output/picture/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Vector;

constexpr int kWidth = 1880;
constexpr int kHeight = 1650;
constexpr PixelRect kPlanPanel{24, 128, 904, 700};
constexpr PixelRect kObliquePanel{952, 128, 904, 700};
constexpr PixelRect kSouthPanel{24, 908, 904, 690};
constexpr PixelRect kEastPanel{952, 908, 904, 690};

constexpr Colour kPaper{255, 255, 255};
constexpr Colour kPanel{247, 248, 250};
constexpr Colour kGrid{228, 231, 236};
constexpr Colour kBorder{176, 184, 194};
constexpr Colour kInk{28, 36, 48};
constexpr Colour kSoftInk{92, 102, 116};
constexpr Colour kLoose{186, 190, 196};

double Picked(std::vector<double>& values, double share) {
    const auto at = values.begin() +
                    static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

class PlanesDrawing {
public:
    explicit PlanesDrawing(const PlanesPicture& picture)
        : picture_(picture), canvas_(kWidth, kHeight, kPaper) {}

    Canvas Draw() {
        canvas_.Text({24, 22}, picture_.title, 3, kInk);
        canvas_.Text({24, 66}, picture_.subtitle, 2, kSoftInk);
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
    void DrawGrid(const PictureView& view, const PixelRect& panel);
    void DrawScaleBar(const PictureView& view, const PixelRect& panel);
    void DrawAxes(const PictureView& view, const PixelRect& panel);

    const PlanesPicture& picture_;
    Canvas canvas_;
};

// Without the outermost two hundredths of a percent on each side: stray points would shrink the
// rest.
ViewBounds PlanesDrawing::CoreBounds(const PictureView& view) const {
    std::vector<double> xs, ys;
    for (const auto& p : picture_.points) {
        if (p.plane < 0 && &p != &picture_.points.front()) continue;
        xs.push_back(view.X(detail::Widened(p.position)));
        ys.push_back(view.Y(detail::Widened(p.position)));
    }
    if (xs.empty()) return {0, 1, 0, 1};
    return {Picked(xs, 0.0002), Picked(xs, 0.9998), Picked(ys, 0.0002), Picked(ys, 0.9998)};
}

void PlanesDrawing::DrawPanel(PictureView view, const PixelRect& panel, const std::string& name,
                              bool fromAbove) {
    view.Fit(CoreBounds(view).Widened(0.04, 0.5), panel);
    canvas_.FillRect(panel, kPanel);
    canvas_.Text({panel.left, panel.top - 26}, name, 2, kInk);
    DrawGrid(view, panel);
    const double radius = std::clamp(0.75 * picture_.spacing * view.PixelsPerMetre(), 0.6, 4.5);
    SplatLayer layer(panel);
    for (const auto& p : picture_.points) {
        const Vector at = detail::Widened(p.position);
        if (fromAbove && p.ceiling) continue;
        const bool loose = p.plane < 0;
        layer.Add(view.Place(at), view.Depth(at), loose ? kLoose : PlaneColour(p.plane),
                  loose ? 0.6 * radius : radius);
    }
    const ViewBounds shown = view.Shown();
    layer.Shade(std::max(picture_.spacing * 4, std::max(shown.Width(), shown.Height()) / 60));
    layer.DrawOnto(canvas_);
    canvas_.Frame(panel, 1.5, kBorder);
    DrawScaleBar(view, panel);
    DrawAxes(view, panel);
}

void PlanesDrawing::DrawGrid(const PictureView& view, const PixelRect& panel) {
    const ViewBounds shown = view.Shown();
    const double step = RoundLength(shown.Width() / 4);
    const double scale = view.PixelsPerMetre();
    for (double x = std::ceil(shown.left / step) * step; x < shown.right; x += step)
        canvas_.FillRect({panel.left + (x - shown.left) * scale, panel.top, 1, panel.height},
                         kGrid);
    for (double y = std::ceil(shown.bottom / step) * step; y < shown.top; y += step)
        canvas_.FillRect({panel.left, panel.top + (shown.top - y) * scale, panel.width, 1}, kGrid);
}

void PlanesDrawing::DrawScaleBar(const PictureView& view, const PixelRect& panel) {
    const double length = RoundLength(panel.width * 0.28 / view.PixelsPerMetre());
    const double width = length * view.PixelsPerMetre();
    const Pixel2 at{panel.left, panel.top + panel.height + 14};
    canvas_.FillRect({at.x, at.y, width / 2, 7}, kInk);
    canvas_.FillRect({at.x + width / 2, at.y, width / 2, 7}, kPaper);
    canvas_.Frame({at.x, at.y, width, 7}, 1.5, kInk);
    canvas_.Text({at.x + width + 10, at.y - 5}, LengthText(length), 2, kInk);
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
        canvas_.FillRect({where.x - 3, where.y - 2, TextWidth(letter, 2) + 5, 19}, kPaper);
        canvas_.Text(where, letter, 2, kInk);
    }
}

}  // namespace

Colour PlaneColour(std::int32_t plane) {
    // Steps of the golden angle around the circle of hues, each turn lighter or darker.
    const double hue = std::fmod(plane * 0.61803398875, 1.0) * 6;
    const std::array<double, 3> lights{0.85, 0.68, 0.98};
    const std::array<double, 3> tints{0.72, 0.85, 0.5};
    const double light = lights[static_cast<std::size_t>(plane) % 3];
    const double tint = tints[static_cast<std::size_t>(plane) / 2 % 3];
    const auto channel = [&](double shift) {
        const double at = std::fmod(hue + shift, 6.0);
        const double full = std::clamp(std::fabs(at - 3) - 1, 0.0, 1.0);
        return static_cast<std::uint8_t>(std::lround(255 * light * (1 - tint * (1 - full))));
    };
    return {channel(0), channel(4), channel(2)};
}

Canvas DrawPlanes(const PlanesPicture& picture) {
    return PlanesDrawing(picture).Draw();
}

}  // namespace orvix::output
