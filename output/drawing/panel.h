// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "output/drawing/picture_view.h"

namespace orvix::output {

/// Colours that all pictures share.
inline constexpr Colour kPaper{255, 255, 255};
inline constexpr Colour kPanel{247, 248, 250};
inline constexpr Colour kGrid{228, 231, 236};
inline constexpr Colour kBorder{176, 184, 194};
inline constexpr Colour kInk{28, 36, 48};
inline constexpr Colour kSoftInk{92, 102, 116};

/// Sizes of their texts, in pixels.
inline constexpr double kTitleSize = 28;
inline constexpr double kTextSize = 18;

/// A panel's ground, its name above it and a grid of round lengths.
void BeginPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel,
                const std::string& name);
/// A panel's border, which covers lines that ran over it, and `below` pixels under it a scale bar of
/// a round length.
void FinishPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel,
                 double below = 14);
/// Two arrows in a panel's lower left corner, with the names of the view's directions.
void DrawViewAxes(Canvas& canvas, const PictureView& view, const PixelRect& panel);
/// Text with a halo of paper, to be read over anything.
void DrawLabel(Canvas& canvas, Pixel2 at, const std::string& text, Colour colour);

/// Places for names beside marks.
///
///     LabelPlaces places;
///     for (const Mark& mark : marks) places.Take({mark.x - 11, mark.y - 11, 22, 22});
///     for (const Mark& mark : marks) DrawLabel(canvas, places.Beside(mark.at, width), ...);
class LabelPlaces {
public:
    /// No name lies over this from now on.
    void Take(const PixelRect& rect) { taken_.push_back(rect); }
    /// Where a text of this width begins: the first of a few places around a mark where it hides
    /// nothing that was taken; the last of them in any case. It is taken then.
    Pixel2 Beside(Pixel2 mark, double width);

private:
    std::vector<PixelRect> taken_;
};

/// The bounds of the values between two shares, 0 to 1, of all; at least one value each.
ViewBounds MiddleOf(std::vector<double> xs, std::vector<double> ys, double low, double high);

/// What a view sees of the points, without the outermost hundredth on each side, so that stray
/// points do not shrink the rest.
ViewBounds CoreBoundsOf(const PictureView& view, const std::vector<PictureView::Vector>& points);

/// The radius in pixels of a disc about as large as the points are apart on the picture.
double SplatRadius(double spacing, double pixelsPerMetre, double min, double max);

}  // namespace orvix::output
