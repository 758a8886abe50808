// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// What the picture of a comparison shows. Positions are in metres along the world's axes, relative to
/// a place near the cloud.
struct DeviationPicture {
    /// A square of a face, its sides along the face.
    struct Square {
        detail::Vector middle;
        detail::Vector normal;
        float share = 1;              ///< of it that is surface
        bool bothSides = false;       ///< it is seen from behind as well
        bool ceiling = false;         ///< left out from above
        bool hidden = false;          ///< nothing was seen, and no scanner could see it
        std::optional<float> height;  ///< metres in front of the face; none where nothing was seen
    };
    std::vector<Square> squares;
    double side = 0.1;          ///< of the squares
    double full = 0.02;         ///< the deviation that has the full colour
    std::optional<double> cut;  ///< height above which plan and oblique view show nothing
    std::string title;
    std::string subtitle;
};

/// The colour of a deviation: blue behind the face, white on it, red before it, full from `full` metres
/// on; grey for none.
Colour DeviationColour(std::optional<float> height, double full);

/// Draws faces in the colours of their deviation: in plan, obliquely, from the south and from the east,
/// with a legend. Order: the same input gives the same picture, bit by bit.
Canvas DrawDeviation(const DeviationPicture& picture);

}  // namespace orvix::output
