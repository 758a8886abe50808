// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <limits>
#include <vector>

#include "output/drawing/picture_view.h"
#include "reports/project_section.h"

namespace orvix::output {

struct SectionPictureOptions {
    int width = 1400;  ///< pixels
    /// Points further behind the plane are left out.
    double depth = std::numeric_limits<double>::infinity();
};

using SectionPlaces = std::vector<SimplePoint2DT<double>>;  // right, up

/// The bounds of places, but for strays: of each coordinate the middle 98 % count, and what lies no
/// further outside these than a quarter of the longer side.
///
/// Precondition  there is a place.
/// Cost          linear.
ViewBounds FrameOfPlaces(const SectionPlaces& places);

/// The picture of a section: every point in the slab and behind it, none before it.
///
/// It shows what `report`, the report of the same section, holds in the slab, or what lies behind where
/// that is nothing; points that lie far from the rest do not count (FrameOfPlaces).
///
/// Errors  BadInput where no point lies in the slab or behind it; those of ProjectSection::Stream.
/// Cost    a pass over the cells that are not before the slab as a whole, two where it is empty;
///         memory for the picture alone.
Expected<Canvas> PictureOf(reports::ProjectSection& section, const reports::SectionReport& report,
                           const SectionPictureOptions& options,
                           const reports::ProjectSection::Proceed& proceed);

}  // namespace orvix::output
