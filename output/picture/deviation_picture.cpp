// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/deviation_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "orvix/geometry/plane_frame.h"
#include "output/drawing/panel.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Vector;
using detail::operator+, detail::operator*;

constexpr int kWidth = 1880;
constexpr int kHeight = 1720;
constexpr PixelRect kPlanPanel{24, 198, 904, 700};
constexpr PixelRect kObliquePanel{952, 198, 904, 700};
constexpr PixelRect kSouthPanel{24, 978, 904, 690};
constexpr PixelRect kEastPanel{952, 978, 904, 690};
constexpr PixelRect kLegend{24, 104, 480, 22};

constexpr Colour kBehind{33, 84, 172};
constexpr Colour kOn{240, 238, 230};
constexpr Colour kBefore{190, 24, 43};
constexpr Colour kUnseen{104, 110, 122};
constexpr Colour kHidden{188, 192, 198};
constexpr double kFewest = 3;  // samples along a square that is drawn as discs

std::uint8_t Between(std::uint8_t from, std::uint8_t to, double share) {
    return static_cast<std::uint8_t>(std::floor(from + (to - from) * share + 0.5));
}

std::string MillimetreText(double metres) {
    return fmt::format("{:+g} mm", metres * 1000);
}

class DeviationDrawing {
public:
    explicit DeviationDrawing(const DeviationPicture& picture)
        : picture_(picture), canvas_(kWidth, kHeight, kPaper) {}

    Canvas Draw() {
        canvas_.Text({24, 22}, picture_.title, kTitleSize, kInk);
        canvas_.Text({24, 66}, picture_.subtitle, kTextSize, kSoftInk);
        DrawLegend();
        const char* cut = picture_.cut ? ", cut above the scanners" : "";
        DrawPanel(PictureView::Plan(), kPlanPanel, fmt::format("In plan{}", cut), true);
        DrawPanel(PictureView::Facing({-0.48, -0.64, 0.6}), kObliquePanel,
                  fmt::format("From the south-west, above{}", cut), true);
        DrawPanel(PictureView::Facing({0, -1, 0}), kSouthPanel, "From the south", false);
        DrawPanel(PictureView::Facing({1, 0, 0}), kEastPanel, "From the east", false);
        return std::move(canvas_);
    }

private:
    void DrawLegend();
    void DrawPanel(PictureView view, const PixelRect& panel, const std::string& name,
                   bool fromAbove);
    void AddSquare(SplatLayer& layer, const PictureView& view,
                   const DeviationPicture::Square& square) const;
    [[nodiscard]] bool IsShown(const PictureView& view, const DeviationPicture::Square& square,
                               bool fromAbove) const {
        if (fromAbove && (square.ceiling || (picture_.cut && square.middle.z > *picture_.cut)))
            return false;
        return square.bothSides || detail::Dot(square.normal, view.Toward()) > -1e-3;
    }

    const DeviationPicture& picture_;
    Canvas canvas_;
};

void DeviationDrawing::DrawLegend() {
    constexpr int kSteps = 240;
    for (int i = 0; i < kSteps; ++i) {
        const double height = picture_.full * (2.0 * i / (kSteps - 1) - 1);
        canvas_.FillRect({kLegend.left + i * kLegend.width / kSteps, kLegend.top,
                          kLegend.width / kSteps + 0.5, kLegend.height},
                         DeviationColour(static_cast<float>(height), picture_.full));
    }
    canvas_.Frame(kLegend, 1, kBorder);
    const double below = kLegend.top + kLegend.height + 8;
    canvas_.Text({kLegend.left, below}, MillimetreText(-picture_.full) + " behind the face",
                 kTextSize, kInk);
    canvas_.Text({kLegend.left + kLegend.width, below}, MillimetreText(picture_.full) + " in front",
                 kTextSize, kInk, Align::Right);
    const double right = kLegend.left + kLegend.width + 30;
    canvas_.FillRect({right, kLegend.top, 40, kLegend.height}, kUnseen);
    canvas_.Frame({right, kLegend.top, 40, kLegend.height}, 1, kBorder);
    canvas_.Text({right + 52, kLegend.top + 4}, "no points", kTextSize, kInk);
    const double hidden = right + 180;
    canvas_.FillRect({hidden, kLegend.top, 40, kLegend.height}, kHidden);
    canvas_.Frame({hidden, kLegend.top, 40, kLegend.height}, 1, kBorder);
    canvas_.Text({hidden + 52, kLegend.top + 4}, "no points, and hidden from the scanners",
                 kTextSize, kInk);
}

// As discs about as far apart as samples: the nearest to the viewer decides each sample.
void DeviationDrawing::AddSquare(SplatLayer& layer, const PictureView& view,
                                 const DeviationPicture::Square& square) const {
    const PlaneFrame frame(square.normal.x, square.normal.y, square.normal.z, 0);
    const double side =
        picture_.side * std::sqrt(std::clamp(static_cast<double>(square.share), 0.05, 1.0));
    const double pixels = side * view.PixelsPerMetre();
    const int steps = static_cast<int>(std::clamp(std::ceil(pixels / kFewest), 1.0, 64.0));
    const double radius = std::max(0.75 * pixels / steps, 0.6);
    const Colour colour = square.hidden ? kHidden : DeviationColour(square.height, picture_.full);
    for (int i = 0; i < steps; ++i) {
        for (int k = 0; k < steps; ++k) {
            const Vector at = square.middle + frame.U() * (side * ((i + 0.5) / steps - 0.5)) +
                              frame.V() * (side * ((k + 0.5) / steps - 0.5));
            layer.Add(view.Place(at), view.Depth(at), colour, radius);
        }
    }
}

void DeviationDrawing::DrawPanel(PictureView view, const PixelRect& panel, const std::string& name,
                                 bool fromAbove) {
    std::vector<double> xs, ys;
    for (const DeviationPicture::Square& square : picture_.squares) {
        if (!square.height) continue;
        xs.push_back(view.X(square.middle));
        ys.push_back(view.Y(square.middle));
    }
    const ViewBounds bounds = xs.empty() ? ViewBounds{0, 1, 0, 1}
                                         : MiddleOf(std::move(xs), std::move(ys), 0.0005, 0.9995);
    view.Fit(bounds.Widened(0.06, 0.5), panel);
    BeginPanel(canvas_, view, panel, name);
    SplatLayer layer(panel);
    for (const DeviationPicture::Square& square : picture_.squares)
        if (IsShown(view, square, fromAbove)) AddSquare(layer, view, square);
    const ViewBounds shown = view.Shown();
    layer.Shade(std::max(picture_.side * 4, std::max(shown.Width(), shown.Height()) / 60));
    layer.DrawOnto(canvas_);
    FinishPanel(canvas_, view, panel);
    DrawViewAxes(canvas_, view, panel);
}

}  // namespace

Colour DeviationColour(std::optional<float> height, double full) {
    if (!height) return kUnseen;
    const double share = std::clamp(static_cast<double>(*height) / full, -1.0, 1.0);
    const Colour end = share < 0 ? kBehind : kBefore;
    return {Between(kOn.r, end.r, std::abs(share)), Between(kOn.g, end.g, std::abs(share)),
            Between(kOn.b, end.b, std::abs(share))};
}

Canvas DrawDeviation(const DeviationPicture& picture) {
    return DeviationDrawing(picture).Draw();
}

}  // namespace orvix::output
