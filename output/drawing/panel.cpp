// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/panel.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "orvix/geometry/quantile.h"

namespace orvix::output {

namespace {

using detail::Vector;

void DrawScaleBar(Canvas& canvas, const PictureView& view, const PixelRect& panel, double below) {
    const double length = RoundLength(panel.width * 0.28 / view.PixelsPerMetre());
    const double width = length * view.PixelsPerMetre();
    const Pixel2 at{panel.left, panel.top + panel.height + below};
    canvas.FillRect({at.x, at.y, width / 2, 7}, kInk);
    canvas.FillRect({at.x + width / 2, at.y, width / 2, 7}, kPaper);
    canvas.Frame({at.x, at.y, width, 7}, 1.5, kInk);
    canvas.Text({at.x + width + 10, at.y - 5}, LengthText(length), kTextSize, kInk);
}

}  // namespace

void BeginPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel,
                const std::string& name) {
    canvas.FillRect(panel, kPanel);
    canvas.Text({panel.left, panel.top - 26}, name, kTextSize, kInk);
    const ViewBounds shown = view.Shown();
    const double step = RoundLength(shown.Width() / 4);
    const double scale = view.PixelsPerMetre();
    for (double x = std::ceil(shown.left / step) * step; x < shown.right; x += step)
        canvas.FillRect({panel.left + (x - shown.left) * scale, panel.top, 1, panel.height}, kGrid);
    for (double y = std::ceil(shown.bottom / step) * step; y < shown.top; y += step)
        canvas.FillRect({panel.left, panel.top + (shown.top - y) * scale, panel.width, 1}, kGrid);
}

void FinishPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel, double below) {
    // Lines that ran over the panel's edge are covered from outside.
    canvas.Frame(panel, 1.5, kBorder);
    DrawScaleBar(canvas, view, panel, below);
}

void DrawViewAxes(Canvas& canvas, const PictureView& view, const PixelRect& panel) {
    const Pixel2 at{panel.left + 26, panel.top + panel.height - 26};
    const Pixel2 right{at.x + 54, at.y}, up{at.x, at.y - 54};
    for (const double width : {6.0, 2.2}) {
        const Colour colour = width > 3 ? kPaper : kInk;
        canvas.Line(at, right, width, colour);
        canvas.Line(at, up, width, colour);
        for (const double side : {-6.0, 6.0}) {
            canvas.Line(right, {right.x - 9, right.y + side}, width, colour);
            canvas.Line(up, {up.x + side, up.y + 9}, width, colour);
        }
    }
    const auto label = [&canvas](Pixel2 where, const std::string& text) {
        canvas.FillRect({where.x - 4, where.y - 2, TextWidth(text, kTextSize) + 6, 19}, kPaper);
        canvas.Text(where, text, kTextSize, kInk);
    };
    label({right.x + 12, right.y - 8}, view.RightName());
    label({up.x + 14, up.y - 6}, view.UpName());
}

void DrawLabel(Canvas& canvas, Pixel2 at, const std::string& text, Colour colour) {
    for (const double dx : {-1.5, 0.0, 1.5})
        for (const double dy : {-1.5, 0.0, 1.5})
            canvas.Text({at.x + dx, at.y + dy}, text, kTextSize, kPaper);
    canvas.Text(at, text, kTextSize, colour);
}

Pixel2 LabelPlaces::Beside(Pixel2 mark, double width) {
    constexpr double kTall = 18;
    const auto overlap = [](const PixelRect& a, const PixelRect& b) {
        return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
               b.top < a.top + a.height;
    };
    PixelRect place{};
    for (const Pixel2 corner :
         {Pixel2{mark.x + 15, mark.y - 8}, Pixel2{mark.x - 15 - width, mark.y - 8},
          Pixel2{mark.x - width / 2, mark.y + 30}, Pixel2{mark.x - width / 2, mark.y - 48},
          Pixel2{mark.x - width / 2, mark.y + 52}}) {
        place = {corner.x, corner.y, width, kTall};
        if (std::none_of(taken_.begin(), taken_.end(),
                         [&](const PixelRect& other) { return overlap(place, other); }))
            break;
    }
    taken_.push_back(place);
    return {place.left, place.top};
}

ViewBounds MiddleOf(std::vector<double> xs, std::vector<double> ys, double low, double high) {
    using detail::Quantile;
    return {Quantile(xs, low), Quantile(xs, high), Quantile(ys, low), Quantile(ys, high)};
}

ViewBounds CoreBoundsOf(const PictureView& view, const std::vector<Vector>& points) {
    if (points.empty()) return {};
    std::vector<double> xs, ys;
    for (const Vector& p : points) {
        xs.push_back(view.X(p));
        ys.push_back(view.Y(p));
    }
    return MiddleOf(std::move(xs), std::move(ys), 0.01, 0.99);
}

double SplatRadius(double spacing, double pixelsPerMetre, double min, double max) {
    return std::clamp(0.85 * spacing * pixelsPerMetre, min, max);
}

}  // namespace orvix::output
