// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "output/picture/picture_view.h"

namespace orvix::output {

/// The colours that all pictures share.
inline constexpr Colour kPaper{255, 255, 255};
inline constexpr Colour kPanel{247, 248, 250};
inline constexpr Colour kGrid{228, 231, 236};
inline constexpr Colour kBorder{176, 184, 194};
inline constexpr Colour kInk{28, 36, 48};
inline constexpr Colour kSoftInk{92, 102, 116};

/// A panel's ground, its name above it and a grid of round lengths.
void BeginPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel,
                const std::string& name);
/// What goes over the panel's content: its border (covering what ran over it), a scale bar of a
/// round length beneath it, and the axes with their names.
void FinishPanel(Canvas& canvas, const PictureView& view, const PixelRect& panel);
/// Text with a halo of paper, to be read over anything.
void DrawLabel(Canvas& canvas, Pixel2 at, const std::string& text, Colour colour);

/// What a view sees of the points, without the outermost hundredth on each side, so that stray
/// points do not shrink the rest.
ViewBounds CoreBoundsOf(const PictureView& view, const std::vector<PictureView::Vector>& points);

/// The radius in pixels of a disc about as large as the points are apart on the picture.
double SplatRadius(double spacing, double pixelsPerMetre, double least, double most);

}  // namespace orvix::output
