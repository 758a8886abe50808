// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/section_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "orvix/geometry/quantile.h"
#include "output/drawing/panel.h"

namespace orvix::output {

namespace {

constexpr double kMargin = 24;
constexpr double kTop = 104;     // title and subtitle
constexpr double kBottom = 78;   // ticks, scale bar
constexpr double kBelow = 44;    // from the panel to the scale bar
constexpr double kTickGap = 10;  // from the panel to its ticks

constexpr double kNearTone = 138;
constexpr double kFarTone = 230;
constexpr int kNarrowest = 1000;  // room for a title

// `share` from 0, the nearest, to 1.
Colour ToneOf(double share) {
    const auto value = static_cast<std::uint8_t>(
        std::lround(kNearTone + (kFarTone - kNearTone) * std::clamp(share, 0.0, 1.0)));
    return {value, value, static_cast<std::uint8_t>(std::min(255, value + 5))};
}

// Several lines each way, and more the longer side, but no crowd, however narrow the view is.
double StepOf(const ViewBounds& shown) {
    const double longer = std::max(shown.Width(), shown.Height());
    return RoundLength(std::max(std::min(shown.Width() / 4, shown.Height() / 2), longer / 12));
}

struct Tick {
    double at = 0;
    std::string text;
};

std::vector<Tick> TicksOf(double low, double high, double step) {
    int decimals = 0;
    for (double size = step; size < 0.999 && decimals < 6; size *= 10) ++decimals;
    std::vector<Tick> ticks;
    for (double count = std::ceil(low / step); count * step <= high; ++count) {
        const double at = count == 0 ? 0 : count * step;  // no -0
        ticks.push_back({at, fmt::format("{:.{}f}", at, decimals)});
    }
    return ticks;
}

double WidestOf(const std::vector<Tick>& ticks) {
    double widest = 0;
    for (const Tick& tick : ticks) widest = std::max(widest, TextWidth(tick.text, kTextSize));
    return widest;
}

// Between the margins, as high as the bounds ask for, but no higher than a picture of full width is
// wide; heights stand to its left.
PixelRect PanelOf(const SectionSheet& sheet) {
    const ViewBounds& shown = sheet.shown;
    const auto heights = TicksOf(shown.bottom, shown.top, StepOf(shown));
    const double left = std::ceil(kMargin + WidestOf(heights) + kTickGap);
    const double full = sheet.width - left - kMargin;
    const double ratio = shown.Height() / shown.Width();
    const double narrowest = std::min(full, kNarrowest - left - kMargin);
    const double width = std::clamp(std::round(full / ratio), narrowest, full);
    return {left, kTop, width, std::clamp(std::round(width * ratio), std::round(width / 5), full)};
}

int WidthOf(const PixelRect& panel) {
    return static_cast<int>(panel.left + panel.width + kMargin);
}

int HeightOf(const PixelRect& panel) {
    return static_cast<int>(panel.top + panel.height + kBottom);
}

}  // namespace

SectionDrawing::SectionDrawing(const SectionSheet& sheet)
    : sheet_(sheet),
      panel_(PanelOf(sheet)),
      canvas_(WidthOf(panel_), HeightOf(panel_), kPaper),
      behind_(panel_),
      in_(panel_) {
    sheet_.view.Fit(sheet.shown, panel_);
    const double scale = sheet_.view.PixelsPerMetre();
    radiusIn_ = SplatRadius(sheet.spacing, scale, 0.9, 2.2);
    radiusBehind_ = SplatRadius(sheet.spacing, scale, 0.7, 5.0);
}

void SectionDrawing::AddIn(double x, double z) {
    in_.Add(PlaceOf(x, z), 0, kInk, radiusIn_);
}

void SectionDrawing::AddBehind(double x, double z, double distance) {
    behind_.Add(PlaceOf(x, z), distance, kPaper, radiusBehind_);
}

Canvas SectionDrawing::Finish() {
    canvas_.Text({kMargin, 22}, sheet_.title, kTitleSize, kInk);
    canvas_.Text({kMargin, 66}, sheet_.subtitle, kTextSize, kSoftInk);
    DrawGrid();
    DrawBehind();
    in_.DrawOnto(canvas_);
    FinishPanel(canvas_, sheet_.view, panel_, kBelow);
    DrawViewAxes(canvas_, sheet_.view, panel_);
    DrawTicks();
    DrawLegend();
    return std::move(canvas_);
}

// What is hidden does not count: tones spread over the distances of what is seen.
void SectionDrawing::DrawBehind() {
    std::vector<double> depths = behind_.Depths(8);
    if (depths.empty()) return;
    near_ = detail::Quantile(depths, 0.02);
    far_ = detail::Quantile(depths, 0.98);
    // A single level surface is no relief.
    const double least = std::max(0.5, (sheet_.shown.Width() + sheet_.shown.Height()) / 200);
    if (far_ - near_ < least) {
        near_ = std::max(0.0, (near_ + far_ - least) / 2);
        far_ = near_ + least;
    }
    behind_.Paint([this](double depth) { return ToneOf((depth - near_) / (far_ - near_)); });
    behind_.Shade(std::max((far_ - near_) / 4, 2 * sheet_.spacing));
    behind_.DrawOnto(canvas_);
}

void SectionDrawing::DrawGrid() {
    const ViewBounds shown = sheet_.view.Shown();
    const double step = StepOf(shown);
    for (const Tick& tick : TicksOf(shown.left, shown.right, step)) {
        const double x = sheet_.view.PlaceAt(tick.at, shown.top).x;
        canvas_.FillRect({x, panel_.top, 1, panel_.height}, kGrid);
    }
    for (const Tick& tick : TicksOf(shown.bottom, shown.top, step)) {
        const double y = sheet_.view.PlaceAt(shown.left, tick.at).y;
        canvas_.FillRect({panel_.left, y, panel_.width, 1}, kGrid);
    }
}

// The coordinates of the grid's lines; along the lower side as many of them as have room.
void SectionDrawing::DrawTicks() {
    const ViewBounds shown = sheet_.view.Shown();
    const double step = StepOf(shown);
    const double bottom = panel_.top + panel_.height;
    const auto across = TicksOf(shown.left, shown.right, step);
    const double room = WidestOf(across) + 16;
    double next = -1e300;
    for (const Tick& tick : across) {
        const double x = sheet_.view.PlaceAt(tick.at, shown.top).x;
        canvas_.FillRect({x, bottom, 1, 5}, kBorder);
        if (x < next) continue;
        canvas_.Text({x, bottom + kTickGap}, tick.text, kTextSize, kSoftInk, Align::Centre);
        next = x + room;
    }
    for (const Tick& tick : TicksOf(shown.bottom, shown.top, step)) {
        const double y = sheet_.view.PlaceAt(shown.left, tick.at).y;
        canvas_.FillRect({panel_.left - 5, y, 5, 1}, kBorder);
        canvas_.Text({panel_.left - kTickGap, y - 7}, tick.text, kTextSize, kSoftInk, Align::Right);
    }
}

void SectionDrawing::DrawLegend() {
    const double top = panel_.top + panel_.height + kBelow;
    double x = panel_.left + panel_.width;
    const auto text = [&](const std::string& words) {
        x -= TextWidth(words, kTextSize);
        canvas_.Text({x, top - 5}, words, kTextSize, kInk);
        x -= 10;
    };
    constexpr int kSteps = 120;
    text(fmt::format("{:.1f} m behind", far_));
    x -= kSteps;
    for (int i = 0; i < kSteps; ++i)
        canvas_.FillRect({x + i, top - 2, 1, 11}, ToneOf(static_cast<double>(i) / (kSteps - 1)));
    x -= 10;
    text(fmt::format("{:.1f} m", near_));
    x -= 16;
    text("in the slab");
    canvas_.FillRect({x - 24, top - 2, 24, 11}, kInk);
}

}  // namespace orvix::output
