// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// What the picture of a plane shows. Positions are in metres along the world's axes, relative to
/// a point of the plane, so that they stay small wherever on earth the cloud lies.
struct PlanePicture {
    SimplePointT<double> normal;                           ///< of unit length
    std::vector<SimplePointT<double>> plane;               ///< the plane's points
    std::vector<SimplePointT<double>> cloud;               ///< the cloud around them, thinned
    double cloudSpacing = 0.1;                             ///< metres between its points, about
    std::vector<std::vector<SimplePointT<double>>> rings;  ///< outline and holes
    SimplePointT<double> seed;
    double rms = 0;  ///< metres; sets the range of the colours
    std::string title;
    std::string subtitle;
};

/// Draws a plane twice: face on, its points coloured by their distance from it over what of the
/// cloud lies within a few metres, and in plan, where it stands in the whole cloud. Each panel has
/// its axes, a grid and a scale bar of a round length; the outline and the seed are marked.
///
/// Order  the same input gives the same picture, bit by bit.
/// Cost   a second for a few million points.
Canvas DrawPlane(const PlanePicture& picture);

}  // namespace orvix::output
