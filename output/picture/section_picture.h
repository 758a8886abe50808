// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "output/drawing/picture_view.h"
#include "output/drawing/splat_layer.h"

namespace orvix::output {

/// What is known of a section's picture before its first point.
struct SectionSheet {
    PictureView view{};    ///< right and up on the section's plane
    ViewBounds shown{};    ///< in coordinates along them, as the ticks count
    double spacing = 0;    ///< metres between the cloud's points, about
    double thickness = 0;  ///< of the slab, metres
    int width = 1400;      ///< of the picture, pixels; a picture that would be higher is narrower
    std::string title{};
    std::string subtitle{};
};

/// Draws a section: its points dark, those behind it in tones that fade with the distance, the nearest
/// on top, over a grid of round coordinates. The tones spread over the distances that are seen.
///
///     SectionDrawing drawing(sheet);
///     drawing.AddIn(x, z);                       // for each point, in any order
///     drawing.AddBehind(x, z, distance);
///     WritePng(path, drawing.Finish());
///
/// Units  metres; the picture is as high as what it shows asks for, from a fifth of its width on.
/// Order  the same points give the same picture, bit by bit, in any order.
/// Cost   memory for the picture alone, 100 bytes a pixel; some 20 ns a point.
class SectionDrawing {
public:
    explicit SectionDrawing(const SectionSheet& sheet);

    void AddIn(double x, double z);
    /// `distance` from the plane of the section.
    void AddBehind(double x, double z, double distance);
    /// Where on the picture a place is drawn.
    [[nodiscard]] Pixel2 PlaceOf(double x, double z) const { return sheet_.view.PlaceAt(x, z); }
    /// Once, after all points.
    [[nodiscard]] Canvas Finish();

private:
    void DrawGrid();
    void DrawTicks();
    void DrawBehind();
    void DrawLegend();

    SectionSheet sheet_;
    PixelRect panel_;
    Canvas canvas_;
    SplatLayer behind_;
    SplatLayer in_;
    double near_ = 0;  // metres behind the plane, where tones begin to fade
    double far_ = 1;   // and where they are faintest
    double radiusIn_ = 1;
    double radiusBehind_ = 1;
};

}  // namespace orvix::output
