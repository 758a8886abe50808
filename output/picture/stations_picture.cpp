// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/stations_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "orvix/geometry/vector.h"
#include "output/drawing/panel.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

namespace {

using detail::Vector;

constexpr int kWidth = 1400;
constexpr int kHeight = 1040;
constexpr PixelRect kPlan{24, 128, 1352, 848};
constexpr double kAboveStations = 0.2;
constexpr std::array<Colour, 8> kColours{{{52, 120, 190},
                                          {222, 110, 40},
                                          {66, 150, 90},
                                          {170, 70, 150},
                                          {190, 150, 30},
                                          {40, 150, 160},
                                          {200, 60, 70},
                                          {110, 110, 120}}};

double CutHeight(const StationsPicture& picture) {
    double height = -1e300;
    for (const StationMark& mark : picture.marks) height = std::max(height, mark.position.z);
    return picture.marks.empty() ? 1e300 : height + kAboveStations;
}

void DrawMark(Canvas& canvas, const PictureView& view, const StationMark& mark) {
    const Pixel2 at = view.Place(mark.position);
    const double length = std::hypot(mark.ahead.x, mark.ahead.y);
    if (length > 0.1) {
        const Pixel2 tip{at.x + 26 * mark.ahead.x / length, at.y - 26 * mark.ahead.y / length};
        canvas.Line(at, tip, 7, kPaper);
        canvas.Line(at, tip, 3, kInk);
    }
    canvas.Disc(at, 10, kPaper);
    canvas.Disc(at, 8, kInk);
    canvas.Disc(at, 5.5, kColours[mark.number % kColours.size()]);
}

void DrawNames(Canvas& canvas, const PictureView& view, const std::vector<StationMark>& marks) {
    LabelPlaces places;
    for (const StationMark& mark : marks) {
        const Pixel2 at = view.Place(mark.position);
        places.Take({at.x - 11, at.y - 11, 22, 22});
    }
    for (const StationMark& mark : marks)
        DrawLabel(canvas,
                  places.Beside(view.Place(mark.position), TextWidth(mark.label, kTextSize)),
                  mark.label, kInk);
}

void DrawCloud(Canvas& canvas, const PictureView& view, const StationsPicture& picture) {
    SplatLayer layer(kPlan);
    const double radius = SplatRadius(picture.spacing, view.PixelsPerMetre(), 0.7, 5.0);
    const double cut = CutHeight(picture);
    double nearest = 1e300, farthest = -1e300;
    for (std::size_t i = 0; i < picture.cloud.size(); ++i) {
        const Vector& p = picture.cloud[i];
        if (p.z > cut) continue;
        const double depth = view.Depth(p);
        nearest = std::min(nearest, depth);
        farthest = std::max(farthest, depth);
        layer.Add(view.Place(p), depth, kColours[picture.stations[i] % kColours.size()], radius);
    }
    layer.Shade(std::max((farthest - nearest) / 6, 0.3));
    layer.DrawOnto(canvas);
}

}  // namespace

Canvas DrawStations(const StationsPicture& picture) {
    Canvas canvas(kWidth, kHeight, kPaper);
    canvas.Text({24, 22}, picture.title, kTitleSize, kInk);
    canvas.Text({24, 66}, picture.subtitle, kTextSize, kSoftInk);
    PictureView view = PictureView::Plan();
    std::vector<Vector> shown;
    const double cut = CutHeight(picture);
    std::copy_if(picture.cloud.begin(), picture.cloud.end(), std::back_inserter(shown),
                 [cut](const Vector& p) { return p.z <= cut; });
    ViewBounds bounds = CoreBoundsOf(view, shown);
    for (const StationMark& mark : picture.marks) {
        bounds.Add(view.X(mark.position), view.Y(mark.position));
    }
    view.Fit(bounds.Widened(0.06, 1.0), kPlan);
    BeginPanel(canvas, view, kPlan,
               "In plan: seen from above, what lies higher than the stations cut off");
    DrawCloud(canvas, view, picture);
    for (const StationMark& mark : picture.marks) DrawMark(canvas, view, mark);
    DrawNames(canvas, view, picture.marks);
    FinishPanel(canvas, view, kPlan);
    DrawViewAxes(canvas, view, kPlan);
    return canvas;
}

}  // namespace orvix::output
