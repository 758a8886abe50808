// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/consistency_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "output/drawing/panel.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Vector;

constexpr int kWidth = 1400;
constexpr int kHeight = 1080;
constexpr PixelRect kPlan{24, 168, 1352, 848};
constexpr Colour kCloud{206, 210, 216};
constexpr Colour kUndecided{140, 146, 156};
constexpr double kFull = 0.005;        // metres: the last colour
constexpr double kLongestArrow = 110;  // pixels
constexpr double kLeastScale = 0.001;  // metres: what is smaller has short arrows
constexpr double kAboveStations = 0.2;
constexpr std::array<Colour, 4> kRamp{
    {{38, 140, 80}, {196, 170, 30}, {226, 116, 30}, {190, 24, 43}}};

Colour ColourOf(const std::optional<Vector>& shift) {
    if (!shift) return kUndecided;
    const double place = std::min(detail::Length(*shift) / kFull, 1.0) * (kRamp.size() - 1);
    const auto step = std::min(static_cast<std::size_t>(place), kRamp.size() - 2);
    const double share = place - static_cast<double>(step);
    const auto mix = [share](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(std::floor(a + (b - a) * share + 0.5));
    };
    const Colour &a = kRamp[step], &b = kRamp[step + 1];
    return {mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b)};
}

void DrawArrow(Canvas& canvas, const Pixel2& from, double dx, double dy, Colour colour) {
    const double length = std::sqrt(dx * dx + dy * dy);
    if (length < 2) return;
    const Pixel2 tip{from.x + dx, from.y + dy};
    const double back = std::min(12.0, length) / length;
    for (const double width : {7.0, 3.0}) {
        const Colour ink = width > 5 ? kPaper : colour;
        canvas.Line(from, tip, width, ink);
        for (const double side : {-0.5, 0.5})
            canvas.Line(tip, {tip.x - back * (dx - side * dy), tip.y - back * (dy + side * dx)},
                        width, ink);
    }
}

class ConsistencyDrawing {
public:
    explicit ConsistencyDrawing(const ConsistencyPicture& picture)
        : picture_(picture), canvas_(kWidth, kHeight, kPaper) {
        double longest = kLeastScale;
        for (const auto& station : picture.stations)
            if (station.shift)
                longest =
                    std::max({longest, std::abs(station.shift->x), std::abs(station.shift->y)});
        pixelsPerMetre_ = kLongestArrow / longest;
    }

    Canvas Draw() {
        canvas_.Text({24, 22}, picture_.title, kTitleSize, kInk);
        canvas_.Text({24, 66}, picture_.subtitle, kTextSize, kSoftInk);
        PictureView view = PictureView::Plan();
        double top = -1e300;
        for (const auto& station : picture_.stations) top = std::max(top, station.position.z);
        std::vector<Vector> shown;
        for (const Vector& p : picture_.cloud)
            if (p.z <= top + kAboveStations) shown.push_back(p);
        ViewBounds bounds = CoreBoundsOf(view, shown);
        for (const auto& station : picture_.stations)
            bounds.Add(view.X(station.position), view.Y(station.position));
        view.Fit(bounds.Widened(0.06, 1.0), kPlan);
        BeginPanel(canvas_, view, kPlan, "In plan, cut above the stations");
        SplatLayer layer(kPlan);
        const double radius = SplatRadius(picture_.spacing, view.PixelsPerMetre(), 0.7, 5.0);
        for (const Vector& p : shown) layer.Add(view.Place(p), view.Depth(p), kCloud, radius);
        layer.Shade(1);
        layer.DrawOnto(canvas_);
        for (const auto& station : picture_.stations) DrawStation(view, station);
        DrawNames(view);
        FinishPanel(canvas_, view, kPlan);
        DrawViewAxes(canvas_, view, kPlan);
        DrawLegend();
        return std::move(canvas_);
    }

private:
    void DrawStation(const PictureView& view, const ConsistencyPicture::Station& station) {
        const Pixel2 at = view.Place(station.position);
        const Colour colour = ColourOf(station.shift);
        if (station.shift)
            DrawArrow(canvas_, at, station.shift->x * pixelsPerMetre_,
                      -station.shift->y * pixelsPerMetre_, colour);
        canvas_.Disc(at, station.moved ? 11 : 9, kPaper);
        canvas_.Disc(at, station.moved ? 9 : 7, kInk);
        canvas_.Disc(at, station.moved ? 7 : 5, colour);
    }
    void DrawNames(const PictureView& view) {
        LabelPlaces places;
        for (const auto& station : picture_.stations) {
            const Pixel2 at = view.Place(station.position);
            places.Take({at.x - 11, at.y - 11, 22, 22});
        }
        for (const auto& station : picture_.stations) {
            const std::string label =
                station.label + (station.shift
                                     ? fmt::format(", z {:+.1f} mm", station.shift->z * 1000)
                                     : std::string(", not decided"));
            const Pixel2 at =
                places.Beside(view.Place(station.position), TextWidth(label, kTextSize));
            DrawLabel(canvas_, at, label, station.moved ? ColourOf(station.shift) : kInk);
        }
    }
    void DrawLegend() {
        const double metres = RoundLength(kLongestArrow / pixelsPerMetre_);
        canvas_.Text({24, 106}, fmt::format("Arrow of {}", LengthText(metres)), kTextSize, kInk);
        DrawArrow(canvas_, {180, 113}, metres * pixelsPerMetre_, 0, kInk);
        constexpr double kLeft = 340, kStep = 62;
        for (int i = 0; i <= 5; ++i) {
            canvas_.Disc({kLeft + i * kStep, 113}, 8, ColourOf(Vector{i * 0.001, 0, 0}));
            canvas_.Text({kLeft + i * kStep + 13, 106}, fmt::format("{}", i), kTextSize, kInk);
        }
        canvas_.Text({kLeft + 6 * kStep - 20, 106}, "mm and more, in space", kTextSize, kInk);
        canvas_.Disc({kLeft + 10 * kStep, 113}, 8, kUndecided);
        canvas_.Text({kLeft + 10 * kStep + 14, 106}, "not decided by what it saw", kTextSize, kInk);
    }

    const ConsistencyPicture& picture_;
    Canvas canvas_;
    double pixelsPerMetre_ = 1;
};

}  // namespace

Canvas DrawConsistency(const ConsistencyPicture& picture) {
    return ConsistencyDrawing(picture).Draw();
}

}  // namespace orvix::output
