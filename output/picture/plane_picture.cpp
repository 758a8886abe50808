// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/plane_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "output/drawing/panel.h"
#include "output/drawing/picture_view.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Dot, detail::Vector;

constexpr int kWidth = 1640;
constexpr int kHeight = 980;
constexpr PixelRect kFacePanel{24, 128, 784, 788};
constexpr PixelRect kPlanPanel{832, 128, 784, 788};

constexpr Colour kOutline{16, 24, 40};
constexpr Colour kSeed{214, 40, 57};
constexpr Colour kPlaneTop{232, 119, 34};

Colour Blend(Colour a, Colour b, double t) {
    const auto mix = [t](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>(std::lround(from + (to - from) * t));
    };
    return {mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b)};
}

// Blue behind the plane, green on it, orange before it; `t` from -1 to 1.
Colour ResidualColour(double t) {
    constexpr std::array<Colour, 5> kRamp{
        {{33, 82, 164}, {52, 140, 190}, {66, 170, 120}, {226, 178, 60}, {222, 96, 30}}};
    const double at = (std::clamp(t, -1.0, 1.0) + 1) / 2 * (kRamp.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(at), kRamp.size() - 2);
    return Blend(kRamp[below], kRamp[below + 1], at - static_cast<double>(below));
}

Colour Grey(double level) {
    const auto value = static_cast<std::uint8_t>(std::lround(std::clamp(level, 0.0, 255.0)));
    return {value, value, static_cast<std::uint8_t>(std::min(255, value + 6))};
}

ViewBounds BoundsOf(const PictureView& view, const std::vector<Vector>& points) {
    ViewBounds bounds;
    for (const Vector& p : points) bounds.Add(view.X(p), view.Y(p));
    return bounds;
}

ViewBounds Cut(const ViewBounds& bounds, const ViewBounds& to) {
    return {std::max(bounds.left, to.left), std::min(bounds.right, to.right),
            std::max(bounds.bottom, to.bottom), std::min(bounds.top, to.top)};
}

ViewBounds Join(ViewBounds bounds, const ViewBounds& with) {
    if (with.Empty()) return bounds;
    bounds.Add(with.left, with.bottom);
    bounds.Add(with.right, with.top);
    return bounds;
}

double SpacingOf(const std::vector<Vector>& points, const ViewBounds& bounds) {
    const double area = std::max(bounds.Width(), 0.01) * std::max(bounds.Height(), 0.01);
    return std::sqrt(area / static_cast<double>(std::max<std::size_t>(points.size(), 1)));
}

// The height, relative as all positions are, at which a plan cuts the cloud: through a wall, so
// that it stands free, and above a floor, so that no ceiling hides it.
double CutHeight(const PlanePicture& picture) {
    double lowest = 1e300, highest = -1e300;
    for (const Vector& p : picture.plane) {
        lowest = std::min(lowest, p.z);
        highest = std::max(highest, p.z);
    }
    const bool upright = std::fabs(picture.normal.z) < 0.5;
    return upright ? lowest + 0.7 * (highest - lowest) : highest + 1.5;  // BEHAVIOUR C8
}

class PlaneDrawing {
public:
    explicit PlaneDrawing(const PlanePicture& picture)
        : picture_(picture), canvas_(kWidth, kHeight, kPaper) {}

    Canvas Draw() {
        canvas_.Text({24, 22}, picture_.title, kTitleSize, kInk);
        canvas_.Text({24, 66}, picture_.subtitle, kTextSize, kSoftInk);
        DrawFace();
        DrawPlan();
        return std::move(canvas_);
    }

private:
    void DrawFace();
    void DrawPlan();
    void EndPanel(const PictureView& view, const PixelRect& panel);
    void DrawRings(const PictureView& view, const PixelRect& panel, double width);
    void DrawLegend(double range);
    void DrawCloud(const PictureView& view, const PixelRect& panel, double depthFrom,
                   double depthTo);

    const PlanePicture& picture_;
    Canvas canvas_;
};

void PlaneDrawing::EndPanel(const PictureView& view, const PixelRect& panel) {
    const Pixel2 seed = view.Place(picture_.seed);
    canvas_.Disc(seed, 6, kPaper);
    canvas_.Disc(seed, 4.5, kSeed);
    DrawLabel(canvas_, {seed.x + 11, seed.y - 9}, "seed", kSeed);
    FinishPanel(canvas_, view, panel);
    DrawViewAxes(canvas_, view, panel);
}

void PlaneDrawing::DrawCloud(const PictureView& view, const PixelRect& panel, double depthFrom,
                             double depthTo) {
    SplatLayer layer(panel);
    const double radius = SplatRadius(picture_.cloudSpacing, view.PixelsPerMetre(), 0.7, 5.0);
    for (const Vector& p : picture_.cloud) {
        const double depth = view.Depth(p);
        if (depth < depthFrom || depth > depthTo) continue;
        const double share = (depth - depthFrom) / std::max(depthTo - depthFrom, 1e-9);
        layer.Add(view.Place(p), depth, Grey(150 + 75 * share), radius);
    }
    layer.Shade(std::max(picture_.cloudSpacing * 6, (depthTo - depthFrom) / 12));
    layer.DrawOnto(canvas_);
}

void PlaneDrawing::DrawFace() {
    PictureView view = PictureView::Facing(picture_.normal);
    const ViewBounds bounds = BoundsOf(view, picture_.plane);
    view.Fit(bounds.Widened(0.12, 0.2), kFacePanel);
    BeginPanel(canvas_, view, kFacePanel, "Face on: distance from the plane");
    const double reach = std::clamp(std::max(bounds.Width(), bounds.Height()) / 4, 0.5, 6.0);
    DrawCloud(view, kFacePanel, -reach, reach);
    const double range = RoundLength(std::max(picture_.rms, 1e-5) * 4.5);
    SplatLayer layer(kFacePanel);
    const double radius =
        SplatRadius(SpacingOf(picture_.plane, bounds), view.PixelsPerMetre(), 0.7, 4.5);
    const double side = Dot(view.Toward(), picture_.normal) < 0 ? -1.0 : 1.0;
    for (const Vector& p : picture_.plane) {
        const double distance = Dot(picture_.normal, p) * side;
        layer.Add(view.Place(p), -distance, ResidualColour(distance / range), radius);
    }
    layer.DrawOnto(canvas_);
    DrawRings(view, kFacePanel, 1.6);
    EndPanel(view, kFacePanel);
    DrawLegend(range);
}

void PlaneDrawing::DrawPlan() {
    PictureView view = PictureView::Plan();
    const bool edgeOn = std::fabs(picture_.normal.z) < 0.2;
    const ViewBounds bounds = BoundsOf(view, picture_.plane);
    const double size = std::max({bounds.Width(), bounds.Height(), 1.0});
    const ViewBounds around = bounds.Widened(3.0, 1.0);
    const ViewBounds whole = Join(bounds, CoreBoundsOf(view, picture_.cloud));
    view.Fit(Cut(whole, around).Widened(0.05, size / 4), kPlanPanel);
    BeginPanel(canvas_, view, kPlanPanel, "In plan: seen from above, what lies higher cut off");
    const double nearest = -CutHeight(picture_);
    double farthest = nearest + 1;
    for (const Vector& p : picture_.cloud) farthest = std::max(farthest, view.Depth(p));
    DrawCloud(view, kPlanPanel, nearest, farthest);
    SplatLayer layer(kPlanPanel);
    const double radius = SplatRadius(SpacingOf(picture_.plane, bounds), view.PixelsPerMetre(),
                                      edgeOn ? 2.2 : 1.0, 4.5);
    for (const Vector& p : picture_.plane)
        layer.Add(view.Place(p), view.Depth(p), kPlaneTop, radius);
    layer.Shade(std::max((farthest - nearest) / 6, 0.3));
    layer.DrawOnto(canvas_);
    // Seen edge on, the outline would only hide the points.
    if (!edgeOn) DrawRings(view, kPlanPanel, 1.2);
    EndPanel(view, kPlanPanel);
}

void PlaneDrawing::DrawRings(const PictureView& view, const PixelRect& panel, double width) {
    const auto inside = [&panel](Pixel2 p) {
        return p.x >= panel.left && p.x <= panel.left + panel.width && p.y >= panel.top &&
               p.y <= panel.top + panel.height;
    };
    for (const auto& ring : picture_.rings) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
            const Pixel2 a = view.Place(ring[i]), b = view.Place(ring[(i + 1) % ring.size()]);
            if (inside(a) && inside(b)) canvas_.Line(a, b, width, kOutline);
        }
    }
}

void PlaneDrawing::DrawLegend(double range) {
    const double top = kFacePanel.top + kFacePanel.height + 14;
    const double right = kFacePanel.left + kFacePanel.width;
    constexpr int kSteps = 160;
    const std::string high = "+" + LengthText(range), low = "-" + LengthText(range);
    const double left = right - TextWidth(high, kTextSize) - 10 - kSteps;
    for (int i = 0; i < kSteps; ++i)
        canvas_.FillRect({left + i, top, 1, 9}, ResidualColour(2.0 * i / (kSteps - 1) - 1));
    canvas_.Text({left - 10, top - 4}, low, kTextSize, kInk, Align::Right);
    canvas_.Text({right, top - 4}, high, kTextSize, kInk, Align::Right);
}

}  // namespace

Canvas DrawPlane(const PlanePicture& picture) {
    return PlaneDrawing(picture).Draw();
}

}  // namespace orvix::output
